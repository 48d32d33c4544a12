"""All projects of one target: the directory, the lists, and the exchange with a server."""

import json
import os
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from types import SimpleNamespace

import pytest
from hosts import logged

from core import Constants, Error, _CallBacks, _Project

Collection, Settings = _Project.Collection, _Project.Settings
Maya, Blender = Constants.Plugin.Target.DCC_Maya, Constants.Plugin.Target.DCC_Blender

BROKEN = {"records": {"1": {"rules": [{"name": "wheel", "range": 5}]}}}


def document(filename="a.json", edited=10.0, **changes):
    name = filename.strip("./").partition(".")[0]
    records = {"5": {"author": "Zoë", "rules": [{"stamp": "s", "name": "car"}], "pattern": [{"stamp": "s"}]}}
    whole = {"name": name, "filename": filename, "target": Maya, "version": 3, "records": records}
    return whole | {"edit_timestamp": edited} | changes


def store(directory, *documents):
    for contents in documents:
        (directory / contents["filename"]).write_text(json.dumps(contents), encoding="utf-8")


def open_collection(directory, target=Maya):
    env = SimpleNamespace(get_projects_directory=lambda: str(directory))
    return Collection(SimpleNamespace(env=env, callbacks=_CallBacks()), target)


def files(directory):
    """The time of the last edit in each project file."""
    stored = {file.name: json.loads(file.read_text(encoding="utf-8")) for file in directory.glob("*.json")}
    return {name: contents["edit_timestamp"] for name, contents in stored.items()}


def response(body, content_type="application/json"):
    """What is made of a transport's answer."""
    content = body if isinstance(body, bytes) else json.dumps(body).encode()
    headers = {"Content-type": content_type}
    return Collection.HttpResponse(SimpleNamespace(getheader=headers.get, read=lambda: content))


def test_a_directory_is_read_for_one_target(tmp_path):
    store(
        tmp_path,
        document("b.json"),
        document("a.json", deleted=True),
        document("old.json", version=2),
        document("other.json", target=Blender),
        document("bare.json", version=None),
        document("range.json", **BROKEN),
        document("time.json", records={"nan": {}}),
    )
    (tmp_path / "damaged.json").write_text("{", encoding="utf-8")
    (tmp_path / "directory.json").mkdir()
    for name in ("a.JSON", ".json", "notes.txt"):
        (tmp_path / name).write_text("{", encoding="utf-8")
    before = set(os.listdir(tmp_path))
    with logged() as log:
        collection = open_collection(tmp_path)
    found = [(project.name, project.compatible, project.deleted) for project in collection]
    assert found == [("a", True, True), ("b", True, False), ("old", False, False)]
    assert set(os.listdir(tmp_path)) == before - {"damaged.json"} | {".corrupted"}
    messages = {f"Incompatible Project File - {tmp_path / name}" for name in ("range.json", "time.json")}
    messages.add(f"Incompatible Stored Value - version in {tmp_path / 'bare.json'}")
    assert {*log} >= messages | {f"Read Corrupted Project: {tmp_path / 'damaged.json'}"}
    told = {os.path.basename(path): type(error).__name__ for path, error in collection.errors.items()}
    assert told == {"damaged.json": "JSONDecodeError", "directory.json": "IsADirectoryError",
                    "range.json": "TypeError", "time.json": "ValueError"}  # fmt: skip
    path = str(tmp_path / "range.json")
    notes = collection.errors[path].__notes__
    assert notes == ['in the range of the rule "wheel"', f"in the project {path}"]


def test_many_documents_are_waited_for_once(tmp_path, monkeypatch):
    naps, reading, slow = [], [], 0
    store(tmp_path, *(document(f"{number}.json") for number in range(9)))

    def nap(seconds):
        naps.append(seconds)
        if len(naps) == 3:
            (tmp_path / "2.json.lock").unlink(missing_ok=True)  # who was inside has left
            (tmp_path / "0.json.id.0").unlink(missing_ok=True)

    def load(stream, loaded=json.load):
        reading.append(sorted(path.name.partition(".")[0] for path in tmp_path.glob("*.id.*")))
        now = time.time() + slow
        monkeypatch.setattr("time.time", lambda: now)
        return loaded(stream)

    listed = os.listdir
    monkeypatch.setattr("os.listdir", lambda directory: sorted(listed(directory)))
    monkeypatch.setattr("time.sleep", nap)
    monkeypatch.setattr("json.load", load)
    assert len(list(open_collection(tmp_path))) == 9
    assert naps == [0.1] and reading == [list("012345678")[at:] for at in range(9)]

    # Those that others are in are read when these have left.
    (tmp_path / "2.json.lock").touch()
    (tmp_path / "0.json.id.0").touch()
    del naps[:], reading[:]
    collection = open_collection(tmp_path)
    assert len(list(collection)) == 9 and collection.errors == {}
    assert naps == [0.1] * 4 and sorted(listed(tmp_path)) == [f"{number}.json" for number in range(9)]

    # Where reading takes long, the others are left to whoever needs them.
    del naps[:], reading[:]
    slow = 3
    assert len(list(open_collection(tmp_path))) == 9
    assert naps == [0.1] * 5 and [len(ids) for ids in reading] == [9, 8, 7, 6, 5, 4, 3, 2, 1]


def test_a_directory_that_cannot_be_read_counts_as_empty(tmp_path):
    with logged() as log:
        collection = open_collection(tmp_path / "missing")
    assert (collection.names, list(collection.errors)) == ([], [str(tmp_path / "missing")])
    assert log[0].startswith("FileNotFoundError")


def test_lists_are_sorted_and_pass_deleted_projects_over(tmp_path):
    store(
        tmp_path,
        document("2.json", 20, name="b"),
        document("1.json", 30, name="b"),
        document("3.json", 5, name="c", deleted=True),
        document("4.json", 40, name="a", version=2),
    )
    collection = open_collection(tmp_path)
    assert collection.names == ["a", "b", "b"]
    told = [(h.name, h.filename, h.edit_timestamp, h.compatible) for h in collection.headers]
    assert told == [("a", "4.json", 40, False), ("b", "2.json", 20, True), ("b", "1.json", 30, True)]
    assert collection.get("3.json").deleted
    assert (collection.get_file("c"), collection.get_file("d")) == (str(tmp_path / "3.json"), None)


def test_a_saved_project_is_part_of_the_collection_before_it_is_told(tmp_path):
    collection, seen = open_collection(tmp_path), []
    collection._api.callbacks.projects_saved.register(lambda: seen.append(collection.names))
    project = collection.get_empty()
    project.name = "Ten houses"
    project.get_record_promise().save()
    assert seen == [["Ten houses"]]
    assert collection.get(project.filename) is project
    assert open_collection(tmp_path).get(project.filename) == project
    assert files(tmp_path) == {project.filename: project.edit_timestamp}


def test_a_project_is_read_again_when_its_file_has_grown(tmp_path):
    store(tmp_path, document())
    collection = open_collection(tmp_path)
    project = collection.get("a.json")
    store(tmp_path, document(name="of another process"))
    assert collection.get("a.json") is project
    assert project.name == "of another process"
    before, (record,) = project.data, project
    # What has become useless leaves the project as it was.
    for content in ("{" * 2000, json.dumps({"x": "x" * 2000}), json.dumps(document(x="x" * 2000, **BROKEN))):
        (tmp_path / "a.json").write_text(content, encoding="utf-8")
        with logged() as log:
            assert collection.get("a.json") is project
        assert f"Incompatible Project File - {tmp_path / 'a.json'}" in log
        assert (project.data, project.edit_timestamp, next(iter(project))) == (before, 10.0, record)
    assert collection.names == ["of another process"]


def test_a_request_has_all_projects(tmp_path):
    store(tmp_path, document("ü.json", 1.5, deleted=True))
    request = open_collection(tmp_path).create_http_request()
    assert request.target == Maya
    assert [(p["name"], p["deleted"]) for p in request] == [("ü", True)]
    assert list(request.projects[0])[-1] == "edit_timestamp"
    assert json.loads(bytes(request)) == {"target": Maya, "projects": request.projects}
    assert b"\n" not in bytes(request) and "ü".encode() in bytes(request)
    empty = open_collection(tmp_path, Blender).create_http_request()
    assert str(empty) == '{"target": "blender", "projects": []}'
    assert request.headers == Collection.HttpResponse.headers == {"Content-type": "application/json"}
    with pytest.raises(UnicodeEncodeError):
        bytes(Collection.HttpRequest(Maya, [{"name": "\ud800"}]))


def test_a_response_is_accepted_for_its_type_and_its_form(tmp_path):
    store(tmp_path, document())
    collection = open_collection(tmp_path)
    kinds = "application/json; charset=utf-8", "Application/json", "", None
    refused = [(response([], kind), []) for kind in kinds]
    bodies = b"\xff", b"", b"<html>", b"\xef\xbb\xbf[]", b"[" * 100_000
    with logged() as log:
        refused += [(response(body), {}) for body in bodies]
        assert not Collection.HttpResponse(SimpleNamespace()).accepted
    assert len(log) == len(bodies) + 1
    with logged() as log:
        for answer, projects in refused:
            assert (answer.accepted, answer.projects) == (False, projects)
            collection.accept_http_response(answer)
    own = type("Own", (Collection.HttpResponse,), {"headers": {"Content-type": "text/json"}})
    assert own(SimpleNamespace(getheader=lambda *_: "text/json", read=lambda: b"[1]")).projects == [1]
    assert log == ["Projects Response Was Not Accepted"] * len(refused)
    assert (collection.names, files(tmp_path)) == (["a"], {"a.json": 10})
    other = refused[0][0]
    assert response([]) == other != response([document()]) and other != []
    with pytest.raises(TypeError):
        hash(other)


def test_a_response_replaces_the_projects(tmp_path):
    names = "older.json", "same.json", "gone.json", "other.json"
    store(tmp_path, *map(document, names), document("blender.json", target=Blender))
    collection, told = open_collection(tmp_path), []
    collection._api.callbacks.projects_saved.register(lambda: told.append(1))
    same = collection.get("same.json")
    body = [
        document("older.json", 11, name="fresh"),
        document("same.json", 10, name="ignored"),
        document("unknown.json", 0.1),
        document("zero.json", 0.0),
        document("other.json", 30, target=Blender),
        document("bare.json", 30, version=-1),
    ]
    collection.accept_http_response(response(body))
    expected = {"older.json": 11, "same.json": 10, "unknown.json": 0.1}
    assert files(tmp_path) == expected | {"blender.json": 10}
    assert collection.names == ["fresh", "same", "unknown"]
    assert collection.get("same.json") is same
    assert len(told) == 2
    collection.accept_http_response(response([]))
    assert files(tmp_path) == {"blender.json": 10}


@pytest.mark.parametrize(
    "body, error",
    [
        ([document("a.json", 99, name="new"), 5], AttributeError),
        ({"error": "no"}, AttributeError),
        *((body, TypeError) for body in ({}, "", None, 7)),
        *(([document(**BROKEN) | {"filename": name}], TypeError) for name in ("", None, 5, "../a.json")),
    ],
)
def test_rubbish_in_an_accepted_response_erases_nothing(tmp_path, body, error):
    store(tmp_path, document("a.json"), document("b.json"))
    collection, answer = open_collection(tmp_path), response(body)
    assert answer.accepted
    with pytest.raises(error):
        collection.accept_http_response(answer)
    assert sorted(files(tmp_path)) == ["a.json", "b.json"]
    assert len(collection.names) == 2 and not collection._mutex_edit.locked()


def test_a_broken_project_of_the_server_costs_no_other(tmp_path):
    store(tmp_path, document("a.json"), document("b.json"), document("gone.json"))
    collection = open_collection(tmp_path)
    theirs = [document(name, 99) for name in ("b.json", "../evil.json", ".corrupted")]
    theirs.insert(0, document("a.json", 99, **BROKEN))
    with logged() as log:
        collection.accept_http_response(theirs)
    assert any(line.startswith("TypeError") for line in log)
    assert sum("Incompatible Stored Value - filename" in str(line) for line in log) == 2
    assert sorted(os.listdir(tmp_path)) == [".backup", "a.json", "b.json"]
    assert files(tmp_path) == {"a.json": 10, "b.json": 99}
    assert not (tmp_path.parent / "evil.json").exists()
    assert collection.get("a.json").edit_timestamp == 10
    assert [type(error) for error in collection.errors.values()] == [TypeError]


def test_a_file_that_was_passed_over_is_not_replaced_unread(tmp_path):
    store(tmp_path, document(edited=20, **BROKEN))
    collection = open_collection(tmp_path)
    with logged() as log:
        collection.accept_http_response([document(edited=30)])
    assert log.count(f"Incompatible Project File - {tmp_path / 'a.json'}") == 2
    assert (collection.names, files(tmp_path), collection.errors) == (["a"], {"a.json": 30}, {})
    assert list(files(tmp_path / ".corrupted").values()) == [20]
    store(tmp_path, document(edited=20, **BROKEN))
    collection = open_collection(tmp_path)
    (tmp_path / "a.json.lock").touch()  # somebody else is at it for too long, and it may be whole
    collection.accept_http_response([document(edited=30)])
    assert (collection.names, files(tmp_path)) == ([], {"a.json": 20})
    assert [type(error) for error in collection.errors.values()] == [Error.AccessQueueTimeout]
    store(tmp_path, document(edited=20))
    for edited in (10, 30):
        collection.accept_http_response([document(edited=edited)])
        assert (collection.names, files(tmp_path)) == (["a"], {"a.json": max(edited, 20)})
        assert collection.errors == {}


def test_a_file_that_cannot_be_erased_stays(tmp_path):
    store(tmp_path, document("a.json"), document("b.json"), document("c.json"))
    collection = open_collection(tmp_path)
    collection.save_project(collection.get("c.json"))
    (tmp_path / "a.json").write_text("{", encoding="utf-8")
    (tmp_path / "b.json").unlink()
    with logged() as log:
        collection.accept_http_response([])
    assert (collection.names, len(log), len(collection.errors)) == ([], 2, 2)
    assert sorted(os.listdir(tmp_path)) == [".backup", "a.json"] and os.listdir(tmp_path / ".backup") == []
    assert not collection._mutex_edit.locked()


def test_lists_are_read_while_another_thread_synchronises(tmp_path):
    names = [f"{i}.json" for i in range(6)]
    collection, done = open_collection(tmp_path), threading.Event()

    def read():
        while not done.is_set():
            assert len(collection.names) <= len(names)
            assert {project.target for project in collection} <= {Maya}
            assert all(header.filename in names for header in collection.headers)
            assert {project["target"] for project in collection.create_http_request()} <= {Maya}
            assert collection.get("0.json").target == Maya

    with ThreadPoolExecutor(3) as pool:
        readers = [pool.submit(read) for _ in range(2)]
        try:
            for time in range(1, 6):
                here = names[time % 2 :: 2]
                collection.accept_http_response([document(name, time) for name in here])
                assert sorted(files(tmp_path)) == sorted(here)
        finally:
            done.set()
        for reader in readers:
            reader.result(60)
