"""One project: its document, its file, and what is wrong with either."""

import json
import os
import re
import subprocess
import sys

import pytest
from hosts import full_disk, logged

import core
from core import Constants, _Project, _Str

Settings = _Project.Settings
Maya = Constants.Plugin.Target.DCC_Maya

EMPTY = {"name": "", "description": "", "records": {}, "selected_record": 0, "deleted": False, "version": -1}
EMPTY |= {"filename": "", "target": ""}
RECORDS = {"20": Settings.Record(None, {"comment": "new"}).data, "10": Settings.Record(None, {}).data}
DOCUMENT = EMPTY | {"name": "Street", "description": "Ten houses", "records": RECORDS, "selected_record": 10}
DOCUMENT |= {"version": 3, "filename": "street.json", "target": Maya}
DATED = DOCUMENT | {"edit_timestamp": 12.5}


def make(directory, document=DATED):
    return Settings(None, str(directory), "given.json", document)


def store(directory, name, content=DATED):
    file = directory / name
    file.write_text(content if isinstance(content, str) else json.dumps(content), encoding="utf-8")
    return file


def test_a_project_writes_its_document_in_order(tmp_path):
    project = make(tmp_path)
    project.write()
    text = (tmp_path / "street.json").read_text(encoding="utf-8")
    assert text == json.dumps(DATED, indent=2, ensure_ascii=False)
    assert sorted(os.listdir(tmp_path)) == [".backup", "street.json"]

    again = Settings.init(None, str(tmp_path / "street.json"))
    assert again == project and again.data == DOCUMENT
    assert (again.edit_timestamp, again._write_timestamp) == (12.5, len(text))
    assert [record.timestamp for record in again] == [20, 10]
    assert {type(getattr(again, f)) for f in ("name", "description", "filename", "target")} == {_Str}


def test_projects_are_equal_by_their_data(tmp_path):
    project = make(tmp_path)
    clone = project.clone()
    assert clone == project != make(tmp_path, DATED | {"name": "Other"})
    assert (clone.edit_timestamp, clone.filename) == (0.0, "street.json")
    assert project != DOCUMENT
    with pytest.raises(TypeError):
        hash(project)
    clone.clear_filename()
    clone.clear_name()
    assert (clone.name, clone.filename, clone.path) == ("", "", os.path.join(tmp_path, ""))


def test_names_are_text_and_blanks_around_them_are_not_written(tmp_path):
    project = make(tmp_path, {})
    for value in (5, None, b"x"):
        project.name = project.description = value
    assert project.name == project.description == ""
    project.name = "  Ten houses "
    assert (project.name, project.data["name"]) == ("  Ten houses ", "Ten houses")


@pytest.mark.parametrize(
    "name, start", [("Ten Houses", "ten_houses_"), ("Дом", "dom_"), ("../..", "_*"), ("家", "")]
)
def test_a_file_name_is_made_once_of_the_name(tmp_path, name, start):
    project, other = (make(tmp_path, {"name": name}) for _ in range(2))
    assert project.filename == ""
    path = project.path
    assert re.fullmatch(rf"{start}[0-9a-f]{{8}}\.json", project.filename)
    project.name = "other"
    assert project.path == path == str(tmp_path / project.filename)
    assert other.path != path


def test_the_file_name_in_the_document_wins(tmp_path):
    file = store(tmp_path, "renamed.json")
    project = Settings.init(None, str(file))
    assert project.path == str(tmp_path / "street.json")
    project.write()
    assert sorted(os.listdir(tmp_path)) == [".backup", "renamed.json", "street.json"]


FOREIGN = "../street.json", "a/b.json", "..", ".corrupted", "x.txt", "a.json.lock", 5, None
WRONG = [("name", 5), ("description", ["x"]), ("target", None), ("version", "3"), ("version", float("nan"))]
WRONG += [("edit_timestamp", "soon"), ("edit_timestamp", float("inf"))]


@pytest.mark.parametrize("key, value", [*(("filename", name) for name in FOREIGN), *WRONG])
def test_values_that_cannot_be_used_count_as_absent_and_lead_nowhere_else(tmp_path, key, value):
    with logged() as log:
        project = make(tmp_path, DATED | {key: value})
    warning = f"Incompatible Stored Value - {key} in {tmp_path / 'given.json'}"
    assert (log, project.ignored) == ([warning], (key,))
    assert getattr(project, key) == (EMPTY | {"edit_timestamp": 0.0})[key]
    assert os.path.dirname(project.path) == str(tmp_path)


def test_an_empty_document_has_the_defaults(tmp_path):
    project = make(tmp_path, {})
    assert project.data == EMPTY
    assert (project.edit_timestamp, project.compatible) == (0.0, False)
    assert project.history.get_record().is_promise()


def test_the_version_is_that_of_the_document(tmp_path):
    assert Settings.version == 3
    projects = [make(tmp_path, DATED | {"version": version}) for version in (2, 3, 4)]
    assert [project.compatible for project in projects] == [False, True, False]
    assert (
        [project.data["version"] for project in projects]
        == [project.version for project in projects]
        == [2, 3, 4]
    )


def test_records_that_cannot_be_used_leave_a_project_as_it_was(tmp_path):
    project = make(tmp_path)
    with pytest.raises(ValueError, match="bounds"):
        project.apply({"name": "New", "records": {"1": {"rules": [{"range": []}]}}})
    assert (project.data, project.edit_timestamp) == (DOCUMENT, 12.5)


@pytest.mark.parametrize(
    "content, message, stays",
    [
        *((text, "Read Corrupted Project: {}", False) for text in ("{", "", "\ufeff{}")),
        *((text, "Incompatible Project File", True) for text in ("[1]", "null")),
        ("[" * 100_000, "RecursionError: .*", True),
    ],
)
def test_a_file_that_cannot_be_used_gives_an_empty_project(tmp_path, content, message, stays):
    file = store(tmp_path, "street.json", content)
    with logged() as log:
        project = Settings.init(None, str(file))
    assert len(log) == 1 and re.fullmatch(message.replace("{}", re.escape(str(file))), log[0])
    assert (project.version, file.exists()) == (-1, stays)
    assert isinstance(project.read_error, Exception)
    (kept,) = [file] if stays else (tmp_path / ".corrupted").iterdir()
    assert kept.read_text(encoding="utf-8") == content


def test_a_file_that_cannot_be_read_stays(tmp_path):
    with logged() as log:
        for path in (tmp_path, tmp_path / "missing" / "x.json", tmp_path / "missing.json"):
            assert Settings._open(str(path)) == {}
    assert len(log) == 2
    assert os.listdir(tmp_path) == []


def test_a_write_that_fails_leaves_the_file_as_it_was(tmp_path):
    project, file = make(tmp_path), tmp_path / "street.json"
    project.write()
    size, before = project._write_timestamp, file.read_bytes()
    project.description = "x" * 1000
    for field, value, error in (
        ("name", "\ud800", "UnicodeEncodeError"),
        ("edit_timestamp", object(), "TypeError"),
    ):
        kept = getattr(project, field)
        setattr(project, field, value)
        with logged() as log:
            project.write()
        assert error in log[0] and type(project.write_error).__name__ == error
        assert (file.read_bytes(), project._write_timestamp) == (before, size)
        setattr(project, field, kept)
    file.write_text("[1]", encoding="utf-8")
    with logged() as log:
        project.write()
    assert len(log) == 1 and json.loads(file.read_text(encoding="utf-8")) == [1]


def test_a_full_disk_leaves_the_file_as_another_program_wrote_it(tmp_path):
    project = make(tmp_path)
    project.write()
    file = store(tmp_path, "street.json", DATED | {"name": "Avenue"})
    before, project.description = file.read_bytes(), "x" * 4000
    with full_disk(4000), logged():
        project.write()
    assert isinstance(project.write_error, OSError) and file.read_bytes() == before


# Stops in the middle of a write, for good.
WRITE = """
import io, sys
import core

def open_slowly(path, mode="r", *options, opened=io.open):
    stream = opened(path, mode, *options)
    if mode == "wb":
        write = stream.write
        steps = lambda data: (write(data[:50]), stream.flush(), print("cut", flush=True), sys.stdin.read())
        stream.write = steps
    return stream

project = core._Project.Settings.init(None, sys.argv[1])
io.open, project.name = open_slowly, "Avenue"
project.write()
"""


@pytest.mark.parametrize("is_kept_copy_cut", [False, True])
def test_a_process_that_is_killed_while_it_writes_costs_a_project_its_last_edit_alone(
    tmp_path, is_kept_copy_cut
):
    project, file = make(tmp_path), tmp_path / "street.json"
    project.write()
    child = subprocess.Popen(
        [sys.executable, "-c", WRITE, str(file)],
        stdin=subprocess.PIPE,
        stdout=subprocess.PIPE,
        env={**os.environ, "PYTHONPATH": os.path.dirname(core.__file__)},
    )
    with child:
        assert child.stdout.readline().startswith(b"cut")
        child.kill()
    assert file.stat().st_size == 50
    for marker in tmp_path.glob("street.json.*"):
        os.utime(marker, (0, 0))
    if is_kept_copy_cut:
        store(tmp_path / ".backup", "street.json", "{")
    with logged() as log:
        again = Settings.init(None, str(file))
    assert log[0] == f"Read Corrupted Project: {file}" and isinstance(again.read_error, ValueError)
    if is_kept_copy_cut:
        assert (again.version, file.exists()) == (-1, False) and log[1].startswith("JSONDecodeError")
    else:
        assert again == project and log[1:] == [f"Restored Corrupted Project: {file}"]
        assert "its last whole state is used: Unterminated string" in str(again.read_error)
        again = Settings.init(None, str(file))
        assert again == project and again.read_error is None
    assert [path.stat().st_size for path in (tmp_path / ".corrupted").iterdir()] == [50]


def test_a_file_that_has_grown_is_outdated_until_it_is_written(tmp_path):
    project = make(tmp_path)
    assert not project.is_outdated()
    project.write()
    file = tmp_path / "street.json"
    store(tmp_path, "street.json", DATED | {"name": "Streets", "description": "x" * 4000})
    assert project.is_outdated()
    project.reload()
    assert (project.name, project.edit_timestamp) == ("Streets", 12.5)
    assert project.is_outdated()
    project.write()
    assert not project.is_outdated()
    store(tmp_path, "street.json", {})
    assert not project.is_outdated()
    file.unlink()
    assert not project.is_outdated()
    project.reload()
    assert project.name == "Streets"


def test_saving_marks_the_edit_and_goes_through_the_collection(tmp_path, monkeypatch):
    saved = []

    class Shelf:
        def save_project(self, project):
            saved.append((project, project.edit_timestamp, list(project.data["records"])))

    monkeypatch.setattr("time.time", lambda: 1234.75)
    project = Settings(Shelf(), str(tmp_path), "", DATED)
    promise = project.get_record_promise()
    assert (promise.is_promise(), promise.author, promise.comment) == (True, "", "")
    promise.comment = "third"
    promise.save()
    assert saved == [(project, 1234.75, ["20", "10", "1234"])]
    assert project.data["selected_record"] == 1234
    project.delete()
    assert (project.deleted, len(saved)) == (True, 1)
    judged = [Settings(None, "", "", {"deleted": value}).deleted for value in (1, 0.5, 0, True, "yes", None)]
    assert judged == [True, True, False, True, False, False]
