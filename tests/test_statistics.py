"""The records of use: what is kept, what is sent, and the file that several processes share."""

import json
import os
import threading
from types import SimpleNamespace

import pytest
from hosts import full_disk, logged
from hypothesis import given
from hypothesis import strategies as st

from core import _Statistics

Type = _Statistics.Type
LISTS = {key: [] for key in ("validate", "checks", "exported", "feedback_sent")}
EMPTY = LISTS | {"version": 1}


@pytest.fixture
def file(tmp_path):
    return tmp_path / "statistics.json"


def open_store(file, *times):
    """The store of a file, with records of these times in memory."""
    store = _Statistics(SimpleNamespace(get_statistics_file=lambda: str(file)))
    for time in times:
        store.add(record(time))
    return store


def record(time, name="name"):
    return Type.Checks(time, 0.5, name, "pass")


def checks(*times):
    """The member of a document that has records of these times."""
    return {"checks": [record(time).data for time in times]}


def content(file):
    return json.loads(file.read_text(encoding="utf-8"))


def set_aside(file):
    """What stands in the directory for corrupted files."""
    return [path.read_bytes() for path in file.parent.glob(".corrupted/*")]


def kinds(log):
    """What was logged, up to the first colon."""
    return sorted(text.partition(":")[0] for text in log)


def test_a_full_disk_costs_nothing_that_was_written(file):
    open_store(file, 1).write()
    before, store = file.read_bytes(), open_store(file, *range(2, 99))
    with full_disk(len(before) + 9), logged():
        store.write()
    assert isinstance(store.write_error, OSError) and file.read_bytes() == before
    store.write()
    assert len(content(file)["checks"]) == 98 and os.listdir(file.parent) == [file.name]


def test_records_have_a_category_and_their_keys_in_order(monkeypatch):
    monkeypatch.setattr("time.time", lambda: 12.5)
    times = {"timestamp": 1.5, "speed": 0.25}
    for one, key, data in (
        (Type.Checks(1.5, 0.25, "Ngons", "fail"), "checks", {"name": "Ngons", "result": "fail", **times}),
        (Type.Validate(1.5, 0.25, project="street"), "validate", {"project": "street", **times}),
        (Type.FeedbackSent(), "feedback_sent", {"timestamp": 12.5}),
        (Type._Record(), "", {"timestamp": 12.5}),
    ):
        assert isinstance(one, Type._Record)
        assert (one.key, list(one.data.items())) == (key, list(data.items()))


def test_writing_merges_by_time_and_repeats_nothing(file):
    store, other = open_store(file), open_store(file, 1.5)
    for one in (record(2.5), Type.Validate(1.5, 1), Type._Record()):
        store.add(one)
    for each in (store, other, other):
        each.write()
    merged = LISTS | {"validate": [Type.Validate(1.5, 1).data]} | checks(2.5, 1.5)
    assert content(file) == merged
    assert open_store(file)._data == EMPTY | merged


TIMES = st.integers(0, 5) | st.floats(0, 5)
RECORDS = st.lists(st.fixed_dictionaries({"timestamp": TIMES, "name": st.integers()}), max_size=8)


def by_time(records):
    return sorted(records, key=lambda one: one["timestamp"])


@given(st.dictionaries(st.sampled_from(["checks", "exported", "new"]), RECORDS), RECORDS)
def test_a_merge_loses_no_time_and_prefers_memory(tmp_path_factory, document, ours):
    store = open_store(tmp_path_factory.getbasetemp() / "missing.json")
    for one in ours:
        store.add(SimpleNamespace(key="checks", data=one))
    both = {**LISTS, **document, "checks": [*document.get("checks", ()), *ours]}
    latest = {key: {one["timestamp"]: one for one in records}.values() for key, records in both.items()}
    for _ in range(2):
        store._extend(document)
        assert all(by_time(document[key]) == by_time(latest[key]) for key in document.keys() | latest.keys())


@pytest.mark.parametrize("clear", [False, True])
def test_a_corrupted_file_is_set_aside_whenever_it_is_found(file, clear):
    file.write_bytes(b"")
    with logged() as log:
        store = open_store(file, 1)
    assert log == [f"Read Corrupted Statistics: {file}"]
    assert set_aside(file) == [b""]
    file.write_text('{"checks": [')
    with logged() as log:
        store.write(clear)
        store.write(clear)
    assert kinds(log) == ["JSONDecodeError", "Read Corrupted Statistics"]
    assert b'{"checks": [' in set_aside(file)
    assert content(file) == ({} if clear else LISTS | checks(1))


def test_what_cannot_be_opened_stays_and_is_logged(file):
    file.write_text(deep := f'{{"checks": {"[" * 100_000 + "]" * 100_000}}}')
    with logged() as log:
        store = open_store(file)
        store.write()
    assert (store._data, kinds(log), file.read_text()) == (EMPTY, ["RecursionError"] * 2, deep)
    assert isinstance(store.read_error, RecursionError) and isinstance(store.write_error, RecursionError)


def test_a_newer_version_is_left_alone_until_a_write_merges(file):
    newer = {"version": 2, **checks(1), "more": {"a": 1}}
    file.write_text(json.dumps(newer))
    with logged() as log:
        store = open_store(file)
        assert store._data == EMPTY
        store.add(record(2))
        store.write()
    assert log == [f"Incompatible Statistics Version - {file}"]
    assert str(store.read_error) == "statistics of version 2, newer than 1" and store.write_error is None
    assert content(file) == LISTS | newer | checks(1, 2)
    older = {"version": 0, "Version": 7, **checks(1)}
    file.write_text(json.dumps(older))
    assert open_store(file)._data == EMPTY | older


def test_a_file_that_is_no_map_is_refused(file):
    file.write_text("[]")
    with pytest.raises(AttributeError):
        open_store(file)
    assert file.read_text() == "[]"


def test_what_is_no_record_is_set_aside_once_and_no_record_is_lost(file):
    kept = {**checks(1), "note": "kept", "new": [{"timestamp": 1}]}
    strange = [None, [1], float("nan")]
    foreign = {
        "validate": None,
        "exported": {"timestamp": 1},
        "feedback_sent": ["text", None, {}, *({"timestamp": time} for time in strange)],
        "checks": [record(1).data, record(2, "\ud800").data],
        "\ud800": [],
        "version": "1",
    }
    file.write_text(json.dumps(kept | foreign))
    original = file.read_bytes()
    with logged() as log:
        store = open_store(file, 3)
        store.write()
    assert log == [f"Incompatible Statistics Records - {file}"] * 2
    assert sorted(store.ignored) == sorted(foreign)
    assert store._data == EMPTY | kept | checks(1, 3)
    assert set_aside(file) == [original]
    assert content(file) == LISTS | kept | checks(1, 3)
    with logged() as log:
        open_store(file).write()
    assert not log


def test_what_cannot_be_set_aside_stays(file, monkeypatch):
    monkeypatch.setattr("time.time", lambda: 1763200000.0)
    store = open_store(file, 1)
    for time in ("Monday", "Tuesday"):  # in the same second
        unsound = {"checks": [{"timestamp": time}]}
        file.write_text(json.dumps(unsound))
        with logged() as log:
            store.write()
    assert "FileExistsError" in kinds(log)
    assert (content(file), store._data) == (unsound, EMPTY | checks(1))
    (first,) = set_aside(file)
    assert b"Monday" in first


def test_a_record_that_cannot_be_written_spoils_no_other(file):
    store = open_store(file, 1)
    endless = {"timestamp": 3}
    endless["self"] = endless
    unsound = [record(2, name).data for name in ("\ud800", object(), threading.Lock())]
    for data in (*unsound, None, {}, endless):
        store.add(SimpleNamespace(key="checks", data=data))
    with logged() as log:
        store.write()
        store.write()
        request = store.create_http_request("Zoe")
    assert log == ["Statistics Records Cannot Be Written"] * 3
    assert content(file) == LISTS | checks(1)
    assert json.loads(bytes(request)) == {"username": "Zoe", "contents": EMPTY | checks(1)}
    assert len(store._data["checks"]) == 7


def test_records_go_when_the_server_took_them(file):
    store = open_store(file, 1)
    store.write()
    lists = [store._data[category] for category in LISTS]
    request = store.create_http_request("Zoe")
    kept = ({"status": 201}, True), ({"status": "200"}, True), ({}, True), ({"status": 200}, False)
    with logged() as log:
        for response, clear in kept:
            store.accept_http_response(SimpleNamespace(**response), clear)
            assert store.create_http_request("Zoe").contents == request.contents
            assert content(file) == LISTS | checks(1)
    assert kinds(log) == ["AttributeError"]
    store.accept_http_response(SimpleNamespace(status=200))
    assert (store._data, content(file)) == (EMPTY, {})
    assert all(store._data[category] is kept for category, kept in zip(LISTS, lists, strict=True))
    assert request.contents == EMPTY | checks(1)
