"""The saved states of a project, their history, and what an editor shows of it."""

import json
import threading
from collections import Counter
from types import SimpleNamespace

import pytest
from hosts import logged

from core import Parameters, _Export, _Project

Settings = _Project.Settings
Record, History = Settings.Record, Settings.Record.History

RULES = [{"stamp": "a", "name": "car", "range": [1, 2]}, {"stamp": "b", "name": "wheel"}]
TREE = [{"stamp": "a", "children": [{"stamp": "b", "children": []}]}]
FLAGS = dict.fromkeys(("automatic_uv", "triangulate", "reset_xforms", "version_control"), False)
EXPORT = {"directory": "~/out", "options": {"selected": "glb", "formats": {}}, "flags": FLAGS}
FULL = {"export": EXPORT, "rules": RULES, "pattern": TREE, "author": "Zoë", "comment": "first"}


class Project:
    """What a history needs of its project."""

    def __init__(self):
        self.saves, self.on_save = 0, lambda: None

    def save(self):
        self.saves += 1
        self.on_save()


def make_history(*times, selected=None):
    """A history of records whose comments are their times."""
    history = History(Project())
    history.load(
        {"records": {str(time): {"comment": str(time)} for time in times}, "selected_record": selected}
    )
    return history


def comments(records):
    return [record.comment for record in records]


def test_a_record_gives_back_its_data_in_order():
    record = Record(None, FULL, "12")
    assert list(record.data) == list(FULL)
    assert (record.data["pattern"], record.rules.get("b").name) == (TREE, "wheel")
    assert (record.timestamp, record.author, record.export.directory) == (12, "Zoë", "~/out")
    assert json.dumps(record.data["export"]) == json.dumps(EXPORT)
    export = {"directory": "~", "options": {}, "flags": FLAGS}
    empty = {"export": export, "rules": [], "pattern": [], "author": "", "comment": ""}
    assert Record.emtpy(None).data == empty
    assert record == Record(None, record.data, 2) != Record(None, {}, 12)
    assert record != FULL
    with pytest.raises(TypeError):
        hash(record)


def test_edits_are_told_and_dropped():
    record = Record(None, FULL, 7)
    record.rules.append(Settings.Rule({"name": "door"}))
    record.export.flags.triangulate = True
    clone, old = record.clone(), record.rules
    assert (record.is_changed(), clone.is_changed()) == (True, False)
    assert (clone.timestamp, clone.rules.names) == (7, ["car", "wheel", "door"])
    for _ in range(2):
        record.reset()
        assert not record.is_changed()
        assert record.data == Record(None, FULL).data
        assert record.rules is not old
        record.export.set_options(_Export.Options())
        assert record.is_changed()
    assert clone.rules.names == ["car", "wheel", "door"]


def test_stored_export_options_are_copies():
    size = Parameters.IntRange("size", maximum=9)
    options = _Export.Options(Parameters.Options("glb", contents=(size,)))
    stored = {"nested": [1]}
    export = Record.Export({"options": stored, "flags": {"triangulate": True}})
    export.get_options()["nested"].append(2)
    export.data["options"]["nested"].append(2)
    export.set_options({"other": 1})
    assert export._options is stored
    assert (stored, export.flags.triangulate) == ({"nested": [1]}, True)
    size.value = 5
    export.set_options(options)
    assert export._options is stored
    assert stored == {"selected": "glb", "formats": {"glb": {"size": 5}}}


def test_a_promise_becomes_a_record_when_it_is_saved(monkeypatch):
    monkeypatch.setattr("time.time", lambda: 99.9)
    history = make_history(5)
    promise = Record.emtpy(history)
    promise.select()
    assert promise.is_promise() and not promise.is_selected()
    assert history.pointer == 5
    promise.comment = "new"
    promise.save()
    assert (promise.comment, promise.timestamp) == ("", 0)
    assert (history.pointer, history._project_settings.saves) == (99, 1)
    saved = history._records[99]
    assert (saved.comment, saved.timestamp, saved.is_changed()) == ("new", 99, False)
    assert saved.is_selected() and history.edit_toggle.current is saved

    promise.comment = "of the same second"
    promise.save()
    assert comments(history) == ["of the same second", "5"]


@pytest.mark.parametrize(
    "selected, pointer", [(None, 5), (9, 9), ("7", 7), (7.9, 7), (6, 5), ("", 5), ([9], 5)]
)
def test_a_stale_selection_falls_back_on_the_first_record_of_the_file(selected, pointer):
    history = make_history(5, 9, 7, selected=selected)
    assert history.pointer == history.get_record().timestamp == pointer
    assert history.get_record() is not history.get_record()
    assert make_history(selected=selected).pointer == 0


def test_the_newest_record_stands_in_for_one_that_has_gone():
    history = make_history(5, 9, 7, selected=7)
    del history._records[7]
    assert history.get_record().comment == "9"
    history.bake()
    assert list(history) == list(history.edit_toggle) == []
    assert history.get_record().is_promise()


def test_the_pointer_takes_times_of_records_only():
    history = make_history(5, 9)
    for value, pointer in ((6, 5), ("9", 5), (None, 5), ([9], 5), (float("nan"), 5), (9, 9)):
        history.pointer = value
        assert history.pointer == pointer
    history.select_record(history._records[9].clone())
    history.select_record(history._records[5])
    assert history.pointer == 5


def test_keys_that_are_no_times_are_left_out():
    history = History(Project())
    records = {"x": {}, "": {}, "3.7": {"comment": "3"}, " 1e1 ": {"comment": "10"}}
    history.load({"records": records, "selected_record": None})
    assert (list(history._records), list(history.data)) == ([3, 10], ["3", "10"])
    assert all(map(History._is_timestamp, ("12", 1.5, "-1e3")))
    assert not any(map(History._is_timestamp, (None, "", [])))


UNUSABLE = {
    ValueError: ({"nan": {}}, {"1": {"rules": [{"range": [1, 2, 3]}]}}),
    OverflowError: ({"inf": {}},),
    TypeError: ({"1": {"rules": 5}},),
    AttributeError: ({"1": {"pattern": [5]}}, {"1": 5}, [1]),
}
CASES = [({"records": records}, error) for error, unusable in UNUSABLE.items() for records in unusable]
CASES += [({"records": {"1": {}}, "selected_record": "1.5"}, ValueError), (5, AttributeError)]


@pytest.mark.parametrize("document, error", CASES)
def test_records_that_cannot_be_used_change_nothing(document, error):
    history = make_history(5, 9, selected=9)
    with pytest.raises(error):
        history.load(document)
    assert (history.pointer, comments(history)) == (9, ["9", "5"])
    assert comments(history.edit_toggle) == ["9", "5"]


def test_what_is_broken_inside_a_record_is_left_out_with_a_warning():
    tree = [{"stamp": "?", "children": TREE}, {"stamp": "a", "children": [{"stamp": "?"}, {"stamp": "b"}]}]
    with logged() as log:
        record = Record(None, {"rules": RULES, "pattern": tree, "export": 5})
        export = Record.Export({"options": [], "flags": None, "directory": None})
    assert (record.data["pattern"], record.export.directory) == (TREE, "~")
    assert export.data == {"directory": "", "options": {}, "flags": FLAGS}  # and not the user's home
    warnings = [f"Incompatible Stored Value - {key}" for key in ("export", "directory", "options", "flags")]
    assert Counter(map(str, log)) == Counter(warnings + 2 * ["Incompatible Hierarchy Settings"])


def test_baking_leaves_the_selected_record_and_a_loop_goes_on():
    history = make_history(5, 9, 7, selected=7)
    records = iter(history)
    assert next(records).comment == "9"
    history.bake()
    assert comments(records) == comments(history.edit_toggle) == list(history.data) == ["7"]


def test_a_save_within_a_save_is_dropped():
    history = make_history(5)
    project, other = history._project_settings, Record(history, {"comment": "other"})

    def save_again():
        assert history._mutex_save.locked()
        other.save()
        thread = threading.Thread(target=other.save)
        thread.start()
        thread.join()

    project.on_save = save_again
    Record(history, {"comment": "outer"}).save()
    assert (project.saves, comments(history)) == (1, ["outer", "5"])


def test_a_save_that_fails_lets_the_next_one_pass():
    history = make_history()
    project = history._project_settings
    project.on_save = lambda: 1 / 0
    with pytest.raises(ZeroDivisionError):
        Record.emtpy(history).save()
    project.on_save = lambda: None
    history.save_record("no record")
    assert project.saves == 1
    Record.emtpy(history).save()
    assert project.saves == 2


def test_an_editor_switches_among_the_records():
    toggle = make_history(5, 9, 7).edit_toggle
    first = toggle.current
    assert (first.comment, comments(toggle)) == ("9", ["9", "7", "5"])
    first.comment = "edited"
    assert toggle.switch(99) is first
    assert first.comment == "9"
    assert [toggle.switch(index).comment for index in (1, -1)] == ["7", "5"]
    with pytest.raises(IndexError):
        toggle.switch(-9)
    empty = make_history().edit_toggle
    assert empty.switch(0) is None
    assert empty.current.is_promise() and empty.current is not empty.current


def test_a_promise_under_edit_survives_a_switch_but_no_update():
    history = make_history(5, 9)
    toggle, promise = history.edit_toggle, history.get_record()
    promise.clear_timestamp()
    toggle.switch(1)
    toggle.set_promise(promise)
    toggle.set_promise(SimpleNamespace())
    assert toggle.current is promise
    assert [*toggle] == [promise, *history]
    promise.comment = "edited"
    toggle.switch(1)
    assert toggle.switch(0) is promise
    assert promise.comment == "edited"
    toggle.update()
    assert (toggle.current.comment, comments(toggle)) == ("9", ["9", "5"])
