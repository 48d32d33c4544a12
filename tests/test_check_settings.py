"""The stored states of checks, their configuration, directories and presets."""

import gc
import os
import weakref
from types import MappingProxyType, ModuleType, SimpleNamespace

import pytest
from hosts import logged
from hypothesis import given
from hypothesis import strategies as st

from core import _Settings, _Str

Check = _Settings.Check
Config, Directory, Presets = Check.Config, Check.Directory, Check.Presets

EMPTY = {"enabled": False, "opened": False, "parameters": []}
ENABLED = {"enabled": True, "opened": "yes", "parameters": [{"value": [1]}]}
STATES = st.fixed_dictionaries({}, optional={"enabled": st.booleans(), "parameters": st.lists(st.integers())})


def test_a_state_keeps_its_values_and_writes_a_deep_copy_of_its_parameters():
    (check,) = Config(MappingProxyType({"id": MappingProxyType(ENABLED)}))
    assert check.parameters is ENABLED["parameters"]
    assert list(check.data.items()) == list(ENABLED.items())
    assert check.data["parameters"][0]["value"] is not check.parameters[0]["value"]
    assert Config({"id": {}}).get("id").data == Check.empty("id").data == EMPTY


@given(st.dictionaries(st.text(max_size=2), STATES))
def test_only_enabled_checks_are_written_copied_and_compared(table):
    config = Config(table)
    kept = [class_id for class_id, state in table.items() if state.get("enabled")]
    assert (list(config.data), config.is_empty, len(config)) == (kept, not kept, len(table))
    assert [check.class_id for check in config] == list(table)
    applied = Config({"other": ENABLED})
    applied.apply(config)
    for other in (config.clone(), applied):
        assert other == config and len(other) == len(kept)
    assert config != Config(table | {"more": ENABLED}) and config != config.data


def test_the_table_is_changed_in_place_and_takes_an_unknown_check_only_by_force():
    config = Config(dict.fromkeys("abc", ENABLED))
    table = config._table
    config.mask("c", "a", "x")
    assert (list(table), config.get("b")) == (["a", "c"], None)
    check = config.get("b", force=True)
    assert config.get("b") is check and list(config.data) == ["a", "c"]
    check.enabled = True
    assert list(config.data) == ["a", "c", "b"]
    config.mask()
    assert table == {}
    config._load({"b": ENABLED})
    config.apply(config)
    assert list(table) == ["b"]


def test_derived_classes_make_their_own_kind_and_may_leave_the_constructor_out():
    classes = (Check, Config, Directory)
    State, Own, Place = (type("Derived", (base,), {"__init__": lambda *_: None}) for base in classes)
    assert isinstance(State.empty("id"), State) and isinstance(Own.empty(), Own)
    assert State().data == Own().get("id", True).data == EMPTY
    root = os.path.abspath(os.sep)
    directory = Place("name", os.sep)
    assert (directory, directory.data) == (root, {"name": None, "path": root, "enabled": True})
    directory.own = [directory]  # texts are collected, too
    alive = weakref.ref(directory)
    del directory
    gc.collect()
    assert alive() is None


# Directories


def test_a_directory_is_the_text_of_its_path(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    directory = Directory("Mine", f"x{os.sep}..{os.sep}checks{os.sep}", locked=True)
    path = str(tmp_path / "checks")
    assert isinstance(directory, _Str) and (directory, hash(directory)) == (path, hash(path))
    assert Directory("", "") == str(tmp_path)
    assert list(directory.data.items()) == [("name", "Mine"), ("path", path), ("enabled", True)]
    directory.enabled = False
    stored = [{"path": path, "enabled": 1}]
    with pytest.raises(TypeError):
        Directory("Mine", None)
    os.mkdir(path)
    with logged() as messages:
        (kept,) = Directory.List(stored)
    assert (kept.enabled, messages) == (True, ["Incompatible Stored Value - enabled"])
    assert directory.locked and directory.data == {"name": "Mine", "path": path, "enabled": False}


def test_a_list_takes_each_directory_that_exists_once(tmp_path, monkeypatch):
    for name in "abcd":
        (tmp_path / name).mkdir()
    (tmp_path / "file").touch()
    monkeypatch.chdir(tmp_path)
    a, b, c, d = [str(tmp_path / name) for name in "abcd"]
    directories = Directory.List([{"path": "a", "enabled": False}, {"name": "gone", "path": "gone"}])
    for path in ("a", f"a{os.sep}", a, "file", "nul\0", "\udc80"):
        directories.register("again", path)
    directories.append("b")
    directories.insert(0, Directory("b", "b"))
    directories.extend([Directory("c", c), Directory("b", "b"), Directory("c", c)])
    assert directories == [b, a, c, c]  # all are judged before the first is added
    assert [each["enabled"] for each in directories.data] == [True, False, True, True]
    same = directories
    same += [Directory("d", "d"), Directory("gone", "gone")]
    assert same is directories and directories.pop() == d
    both = Directory.List([]) + directories
    assert (type(both), both) == (Directory.List, [b, a, c, c])
    assert directories + both == both + [Directory("d", "d")] == both  # noqa: RUF005
    with pytest.raises(TypeError):
        directories.register("a", "a", enable=1)


def test_the_directory_of_an_embedded_module_is_not_written(tmp_path):
    module, directories = ModuleType("checks"), Directory.List([])
    for nothing in (None, str(tmp_path), SimpleNamespace(__file__=str(tmp_path / "x.py")), module):
        directories.embed(nothing)
        assert directories._embedded is None
    path = str(tmp_path / "checks")
    module.__file__ = os.path.join(path, "__init__.py")
    directories.embed(module)
    assert (directories._embedded, directories) == (path, [])
    os.mkdir(path)
    directories.register("own", str(tmp_path))
    directories.embed(module)
    default = directories[1]
    assert (default, default.name, default.locked) == (path, "Default", True)
    assert [each["name"] for each in directories.data] == ["own"]


# Presets


def test_presets_are_sorted_and_told_apart_by_their_stamps():
    presets = Presets([{"name": "b", "stamp": "1"}, {"name": "a", "stamp": "2"}, {"name": "a", "stamp": "3"}])
    array = presets._array
    presets.add("B", Config.empty())
    assert presets.names == ["B", "a", "a", "b"]
    assert [preset.stamp for preset in presets][1:] == ["2", "3", "1"]
    assert len(array[0].stamp) == 16
    for unknown in (Presets.Set(presets, "a", None), "2"):
        presets.pop(unknown)
    presets.pop(Presets.Set(None, "a", None, stamp="3"))
    assert [preset.stamp for preset in presets][1:] == ["2", "1"]
    for preset, name in zip(list(presets), (None, "c\ud800", "")):
        preset.name = name
    assert presets.names == ["B", "b", "c\ud800"]
    presets._load(None)
    assert len(presets) == 0 and array is presets._array


def test_a_preset_is_dated_by_its_changes():
    stored = [{"name": "a", "changed": 5.5}, {"name": "b", "changed": 5.5}, {"name": "c", "changed": 0}]
    first, second, third = Presets(stored)
    first.name, first.config = "", {}
    assert (first.data["changed"], first.name, len(first)) == (5.5, "a", 0)
    first.config = Config({"id": ENABLED})
    second.name = "x"
    assert min(first._changed, second._changed, third._changed) > 5.5


def test_presets_are_written_with_their_enabled_checks_and_stripped_names():
    preset = Presets.Set.load(None, {"name": " a\t ", "list": {"on": ENABLED, "off": EMPTY}})
    assert (preset.name, len(preset)) == (" a\t ", 2)
    data = preset.data
    assert list(data) == ["stamp", "changed", "name", "list"]
    assert (data["name"], data["list"]) == ("a\t", {"on": ENABLED})
    assert Presets.Set.load(None, data).data == data
    assert Presets.Set.load(None, data) == preset != Presets.Set.load(None, {**data, "stamp": ""})


def test_the_editor_moves_configurations_between_presets_and_checklist():
    loaded = []
    checks = SimpleNamespace(config=Config({"a": ENABLED}), load=loaded.append)  # as the checklist has them
    presets = Presets()
    editor = Presets.Editor(checks, presets)
    editor.create("first")
    checks.config._load({"b": ENABLED})
    editor.create("second")
    editor.create("third")
    first, second, third = presets
    assert second.config == checks.config and second.config is not checks.config
    editor.apply(first)
    assert loaded == [checks.config] and list(checks.config.data) == ["a"]
    editor.sync_applied()
    assert [preset.applied for preset in presets] == [True, False, False]
    editor.upload(third)
    assert third.config is not checks.config
    editor.sync_applied()
    assert [preset.applied for preset in presets] == [True, False, True]
    editor.erase(first)
    assert editor.names == ["second", "third"]
    checks.config = None  # there is none until the checklist has loaded one
    for act in (editor.upload, editor.apply):
        act(second)
    editor.create("fourth")
    editor.sync_applied()
    assert (len(presets), list(second.config.data), len(loaded)) == (2, ["b"], 1)
    assert not third.applied


def test_stored_values_of_the_wrong_kind_count_as_missing():
    groups = {"directories": {"path": "."}, "list": [], "presets": "text"}
    preset = {"name": 5, "stamp": "1", "changed": "now", "list": None}
    elements = {"directories": [None, {"path": 5}], "list": {"a": None}, "presets": [[], preset]}
    with logged() as messages:
        assert Check.State(groups).data == Check.State({}).data
        state = Check.State(elements)
    (kept,) = state.presets
    assert (state.directories, state.config.data) == ([], {})
    assert (kept.name, kept.stamp, len(kept)) == ("", "1", 0) and kept._changed > 0
    wrong = ["a", "changed", "directories", "directories", "list", "list", "path", "presets", "presets"]
    assert sorted(messages) == [f"Incompatible Stored Value - {key}" for key in wrong]
