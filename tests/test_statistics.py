"""The records of use: what is kept, what is sent, and the file that several processes share."""

import json
import subprocess
import sys
import threading
from types import SimpleNamespace

import pytest
from hosts import logged
from hypothesis import given
from hypothesis import strategies as st

from core import _Statistics

Type = _Statistics.Type
CATEGORIES = ["validate", "checks", "exported", "feedback_sent"]
LISTS = {key: [] for key in CATEGORIES}
EMPTY = LISTS | {"version": 1}

WRITER = """
import sys
from types import SimpleNamespace
from core import _Statistics

path, number, count = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
statistics = _Statistics(SimpleNamespace(get_statistics_file=lambda: path))
print("ready", flush=True)
sys.stdin.readline()
for i in range(count):
    statistics.add(_Statistics.Type.Checks(number + i / 1024, 0.5, "name", "pass"))
    statistics.write()
"""


@pytest.fixture
def file(tmp_path):
    return tmp_path / "statistics.json"


def open_store(file):
    return _Statistics(SimpleNamespace(get_statistics_file=lambda: str(file)))


def record(time, name="name"):
    return Type.Checks(time, 0.5, name, "pass")


def content(file):
    return json.loads(file.read_text(encoding="utf-8"))


def set_aside(file):
    """What stands in the directory for corrupted files."""
    return [path.read_bytes() for path in file.parent.glob(".corrupted/*")]


def test_records_have_a_category_and_their_keys_in_order(monkeypatch):
    monkeypatch.setattr("time.time", lambda: 12.5)
    check = Type.Checks(1.5, 0.25, name="Ngons", result="fail")
    validation = Type.Validate(2.5, 3.5, project="street")
    assert (check.key, list(check.data.items())) == (
        "checks",
        [("name", "Ngons"), ("result", "fail"), ("timestamp", 1.5), ("speed", 0.25)],
    )
    assert (validation.key, list(validation.data.items())) == (
        "validate",
        [("project", "street"), ("timestamp", 2.5), ("speed", 3.5)],
    )
    assert Type.Validate(1, 2).data["project"] is None
    for record, key in (
        (Type.Exported(), "exported"),
        (Type.FeedbackSent(), "feedback_sent"),
        (Type._Record(), ""),
    ):
        assert isinstance(record, Type._Record)
        assert (record.key, record.data) == (key, {"timestamp": 12.5})


def test_a_request_is_json_on_one_line():
    request = _Statistics.HttpRequest("Зоя", {"checks": [{"name": "Ü"}]})
    assert str(request) == '{"username": "Зоя", "contents": {"checks": [{"name": "Ü"}]}}'
    assert bytes(request) == str(request).encode()
    assert request.headers == {"Content-type": "application/json"}


def test_a_request_that_cannot_be_written_is_refused():
    endless = []
    endless.append(endless)
    for contents, error in (("\ud800", ValueError), (object(), TypeError), (endless, RecursionError)):
        with pytest.raises(error):
            bytes(_Statistics.HttpRequest("", contents))


def test_only_the_status_of_a_response_counts():
    class Broken:
        @property
        def status(self):
            raise OSError("closed")

    with logged() as log:
        answers = [
            _Statistics.HttpResponse(SimpleNamespace(status=status)).accepted for status in (200, 201, "200")
        ]
        assert answers == [True, False, False]
        assert not log
        assert _Statistics.HttpResponse(Broken()).accepted is False
    assert log == ["OSError: closed"]


def test_writing_merges_by_time_and_repeats_nothing(file):
    store, other = open_store(file), open_store(file)
    assert store._data == EMPTY
    store.add(record(2.5, "first"))
    store.add(record(2.5, "of the same time"))
    store.add(Type._Record())
    store.write()
    assert content(file) == {
        **LISTS,
        "checks": [record(2.5, "of the same time").data],
    }
    other.add(record(1.5))
    other.add(record(2.5, "other"))
    other.add(Type.Validate(1.5, 1))
    other.write()
    merged = file.read_bytes()
    assert [(one["timestamp"], one["name"]) for one in content(file)["checks"]] == [
        (2.5, "other"),
        (1.5, "name"),
    ]
    assert content(file)["validate"] == [Type.Validate(1.5, 1).data]
    other.write()
    assert file.read_bytes() == merged
    assert open_store(file)._data == content(file) | {"version": 1}


RECORDS = st.lists(
    st.fixed_dictionaries({"timestamp": st.integers(0, 5) | st.floats(0, 5), "name": st.integers()}),
    max_size=8,
)


@given(st.dictionaries(st.sampled_from(["checks", "exported", "new"]), RECORDS), RECORDS)
def test_a_merge_loses_no_time_and_prefers_memory(tmp_path_factory, document, ours):
    store = open_store(tmp_path_factory.getbasetemp() / "missing.json")
    for one in ours:
        store.add(SimpleNamespace(key="checks", data=one))
    latest = {one["timestamp"]: one for one in [*document.get("checks", ()), *ours]}
    times = {key: {one["timestamp"] for one in records} for key, records in document.items()}
    store._extend(document)
    assert {one["timestamp"]: one for one in document["checks"]} == latest
    assert all(len(records) == len({one["timestamp"] for one in records}) for records in document.values())
    assert all(times[key] == {one["timestamp"] for one in document[key]} for key in times if key != "checks")
    again = json.dumps(document)
    store._extend(document)
    assert json.dumps(document) == again


def write_in_processes(file, count, writes):
    """The times in the file after so many processes wrote at the same time."""
    command = [sys.executable, "-c", WRITER, str(file)]
    pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE, "text": True}
    writers = [subprocess.Popen([*command, str(number), str(writes)], **pipes) for number in range(count)]
    for writer in writers:
        assert writer.stdout.readline() == "ready\n"
    for writer in writers:
        writer.stdin.write("\n")
        writer.stdin.flush()
    for writer in writers:
        writer.communicate()
        assert writer.returncode == 0
    return sorted(one["timestamp"] for one in content(file)["checks"])


def test_processes_that_write_at_the_same_time_lose_nothing(tmp_path):
    # A process that stalls on its way into the queue may be overtaken; not each time, though.
    attempts = (write_in_processes(tmp_path / f"{n}.json", count=4, writes=3) for n in range(3))
    assert [number + i / 1024 for number in range(4) for i in range(3)] in attempts


def test_threads_add_while_others_write(file):
    store = open_store(file)
    threads = [threading.Thread(target=store.write)]
    threads += [
        threading.Thread(target=lambda n=n: [store.add(record(n + i / 1024)) for i in range(1000)])
        for n in range(4)
    ]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(store._data["checks"]) == 4000
    store.write()
    assert len(content(file)["checks"]) == 4000


@pytest.mark.parametrize("text", [b"", b'{"checks": [', b'{"checks": "\xff"}', b"\xef\xbb\xbf{}"])
def test_a_corrupted_file_is_set_aside(file, text):
    file.write_bytes(text)
    with logged() as log:
        store = open_store(file)
    assert (store._data, log) == (EMPTY, [f"Read Corrupted Statistics: {file}"])
    assert set_aside(file) == [text]
    store.write()
    assert content(file) == LISTS


def test_what_cannot_be_opened_stays_and_is_logged(file):
    file.mkdir()
    with logged() as log:
        store = open_store(file)
        store.write()
    assert store._data == EMPTY
    assert [text.partition(":")[0] for text in log] == ["IsADirectoryError"] * 2
    file.rmdir()
    deep = "[" * 100_000 + "]" * 100_000
    file.write_text(f'{{"checks": {deep}}}')
    with logged() as log:
        store = open_store(file)
        store.write()
    assert store._data == EMPTY
    assert [text.partition(":")[0] for text in log] == ["RecursionError"] * 2
    assert len(file.read_text()) > 200_000


def test_a_newer_version_is_left_alone_until_a_write_merges(file):
    newer = {"version": 2, "checks": [record(1).data], "more": {"a": 1}}
    file.write_text(json.dumps(newer))
    with logged() as log:
        store = open_store(file)
        assert store._data == EMPTY
        store.add(record(2))
        store.write()
    assert log == [f"Incompatible Statistics Version - {file}"]
    assert content(file) == {
        **LISTS,
        **newer,
        "checks": [record(1).data, record(2).data],
    }
    for older in ({"version": 0}, {}):
        file.write_text(json.dumps(older | {"checks": [record(1).data], "Version": 7}))
        assert open_store(file)._data == EMPTY | older | {"checks": [record(1).data], "Version": 7}


@pytest.mark.parametrize("text", ["[]", "3", "null", '"{}"'])
def test_a_file_that_is_no_map_is_refused(file, text):
    file.write_text(text)
    with pytest.raises(AttributeError):
        open_store(file)
    assert file.read_text() == text


FOREIGN = {
    "validate": None,
    "exported": {"timestamp": 1},
    "feedback_sent": ["text", None, {}, {"timestamp": None}, {"timestamp": [1]}, {"timestamp": float("nan")}],
    "checks": [record(1).data, record(2, "\ud800").data],
    "\ud800": [],
    "version": "1",
}


def test_what_is_no_record_is_set_aside_once_and_no_record_is_lost(file):
    file.write_text(json.dumps(FOREIGN | {"note": "kept", "new": [{"timestamp": 1}]}))
    original = file.read_bytes()
    with logged() as log:
        store = open_store(file)
        store.add(record(3))
        store.write()
    assert log == [f"Incompatible Statistics Records - {file}"] * 2
    kept = {"checks": [record(1).data], "note": "kept", "new": [{"timestamp": 1}]}
    assert store._data == EMPTY | kept | {"checks": [record(1).data, record(3).data]}
    assert set_aside(file) == [original]
    assert content(file) == LISTS | kept | {"checks": [record(1).data, record(3).data]}
    with logged() as log:
        open_store(file).write()
    assert not log


def test_what_cannot_be_set_aside_stays(file, monkeypatch):
    monkeypatch.setattr("time.time", lambda: 1763200000.0)
    monkeypatch.setattr("time.sleep", lambda seconds: None)
    store = open_store(file)
    store.add(record(1))
    unsound = [{"checks": [{"timestamp": time}]} for time in ("Monday", "Tuesday")]
    aside = file.parent / ".corrupted"
    aside.write_text("no directory")

    def write(document):
        file.write_text(json.dumps(document))
        with logged() as log:
            store.write()
        return sorted(text.partition(":")[0] for text in log)

    warning = f"Incompatible Statistics Records - {file}".partition(":")[0]
    assert write(unsound[0]) == sorted([warning, "NotADirectoryError"])
    assert content(file) == unsound[0]
    aside.unlink()
    assert write(unsound[0]) == [warning]
    assert write(unsound[1]) == sorted([warning, "FileExistsError"])  # in the same second
    assert content(file) == unsound[1]
    assert [json.loads(text) for text in set_aside(file)] == unsound[:1]
    assert store._data["checks"] == [record(1).data]


@pytest.mark.parametrize("clear", [False, True])
def test_a_file_cut_off_meanwhile_is_set_aside_by_the_next_write(file, clear):
    store = open_store(file)
    store.add(record(1))
    file.write_text('{"checks": [')
    with logged() as log:
        store.write(clear)
        store.write(clear)
    error, message = sorted(log)
    assert error.startswith("JSONDecodeError: ")
    assert message == f"Read Corrupted Statistics: {file}"
    assert set_aside(file) == [b'{"checks": [']
    assert content(file) == ({} if clear else LISTS | {"checks": [record(1).data]})


def test_a_record_that_cannot_be_written_spoils_no_other(file):
    endless = {"timestamp": 3}
    endless["self"] = endless
    store = open_store(file)
    store.add(record(1))
    for name in ("\ud800", object(), threading.Lock()):
        store.add(record(2, name))
    for data in (None, {}, endless):
        store.add(SimpleNamespace(key="checks", data=data))
    with logged() as log:
        store.write()
        store.write()
        request = store.create_http_request("Zoe")
    assert log == ["Statistics Records Cannot Be Written"] * 3
    assert content(file)["checks"] == [record(1).data]
    assert json.loads(bytes(request))["contents"] == EMPTY | {"checks": [record(1).data]}
    assert len(store._data["checks"]) == 7


def test_records_go_when_the_server_took_them(file):
    store = open_store(file)
    store.add(record(1))
    store.write()
    lists = [store._data[category] for category in CATEGORIES]
    request = store.create_http_request("Zoe")
    assert json.loads(bytes(request)) == {"username": "Zoe", "contents": EMPTY | {"checks": [record(1).data]}}
    for status, clear in ((500, True), (200, False)):
        store.accept_http_response(SimpleNamespace(status=status), clear)
        assert store.create_http_request("Zoe").contents == request.contents
        assert content(file)["checks"]
    store.accept_http_response(SimpleNamespace(status=200))
    assert (store._data, content(file)) == (EMPTY, {})
    assert all(store._data[category] is kept for category, kept in zip(CATEGORIES, lists, strict=True))
    assert request.contents["checks"]


def test_an_interrupt_leaves_the_store_usable(file, monkeypatch):
    def interrupt(seconds):
        raise KeyboardInterrupt

    store = open_store(file)
    store.add(record(1))
    with monkeypatch.context() as patch:
        patch.setattr("time.sleep", interrupt)
        with pytest.raises(KeyboardInterrupt):
            store.write()
    assert not store._mutex_edit.locked()
    store.write()
    assert content(file)["checks"] == [record(1).data]
