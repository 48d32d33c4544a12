"""The stored states of checks, their configuration, directories and presets."""

import copy
import gc
import os
import pickle
import weakref
from types import MappingProxyType, ModuleType, SimpleNamespace

import pytest
from hosts import logged
from hypothesis import given
from hypothesis import strategies as st

from core import _Settings, _Str

Check = _Settings.Check
Config = Check.Config
Directory = Check.Directory
Presets = Check.Presets

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
    assert list(config.data) == kept
    assert config.is_empty == (not kept)
    assert len(config) == len(table)
    assert [check.class_id for check in config] == list(table)
    applied = Config({"other": ENABLED})
    applied.apply(config)
    for other in (config.clone(), applied):
        assert other == config
        assert len(other) == len(kept)
    assert config != Config(table | {"more": ENABLED})
    assert config != config.data


def test_get_adds_an_unknown_check_only_by_force():
    config = Config({"a": ENABLED})
    assert config.get("b") is None
    assert len(config) == 1
    check = config.get("b", force=True)
    assert config.get("b") is check
    assert list(config.data) == ["a"]
    check.enabled = True
    assert list(config.data) == ["a", "b"]


def test_the_table_is_changed_in_place():
    config = Config(dict.fromkeys("abc", ENABLED))
    table = config._table
    config.mask("c", "a", "x")
    assert list(table) == ["a", "c"]
    config.mask()
    assert table == {}
    config._load({"b": ENABLED})
    config.apply(config)
    assert list(table) == ["b"]


def test_derived_classes_make_their_own_kind_and_may_leave_the_constructor_out():
    State, Own = (type("Derived", (base,), {"__init__": lambda *_: None}) for base in (Check, Config))
    assert isinstance(State.empty("id"), State)
    assert State().data == EMPTY
    assert isinstance(Own.empty(), Own)
    assert Own().get("id", True).data == EMPTY


def test_wrong_arguments_are_refused():
    with pytest.raises(TypeError, match=r"^apply\(\) argument 'config'"):
        Config.empty().apply({})
    with pytest.raises(AttributeError):
        Config(None)


def test_cycles_are_collected():
    config = Config({"a": {}})
    check = config.get("a")
    check.class_id = check.enabled = check.opened = check.parameters = [config]
    watch = weakref.ref(config)
    del config, check
    gc.collect()
    assert watch() is None


# Directories


def test_a_directory_is_the_text_of_its_path(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    directory = Directory("Mine", f"x{os.sep}..{os.sep}checks{os.sep}")
    path = str(tmp_path / "checks")
    assert isinstance(directory, _Str)
    assert directory == path
    assert hash(directory) == hash(path)
    assert Directory("", "") == str(tmp_path)
    assert list(directory.data.items()) == [("name", "Mine"), ("path", path), ("enabled", True)]
    directory.enabled = False
    with pytest.raises(TypeError):
        directory.enabled = 1
    assert directory.data["enabled"] is False
    with pytest.raises(TypeError):
        Directory("Mine", None)


def test_directories_are_copied_with_what_they_carry(tmp_path):
    directory = Directory("Mine", str(tmp_path), enable=False, locked=True)
    directory.own = [1]
    for twin in (copy.copy(directory), copy.deepcopy(directory), pickle.loads(pickle.dumps(directory))):
        assert type(twin) is Directory
        assert (twin, twin.data, twin.locked, twin.own) == (directory, directory.data, True, [1])


def test_directories_are_texts_without_their_constructor_and_collected_with_their_cycles():
    class Own(Directory):
        def __init__(self, name, path):
            self.own = [self]

    directory = Own("name", os.sep)
    assert directory == os.path.abspath(os.sep)
    assert directory.data == {"name": None, "path": os.path.abspath(os.sep), "enabled": True}
    alive = weakref.ref(directory)
    del directory
    gc.collect()
    assert alive() is None


def test_a_list_takes_each_directory_that_exists_once(tmp_path, monkeypatch):
    for name in "abc":
        (tmp_path / name).mkdir()
    (tmp_path / "file").touch()
    monkeypatch.chdir(tmp_path)
    directories = Directory.List([{"path": "a", "enabled": False}, {"name": "gone", "path": "gone"}])
    for path in ("a", f"a{os.sep}", str(tmp_path / "a"), "file", "nul\0", "\udc80"):
        directories.register("again", path)
    directories.append("b")
    directories.insert(0, Directory("b", "b"))
    c = Directory("c", "c")
    directories.extend([c, Directory("b", "b"), c])  # all are judged before the first is added
    paths = [str(tmp_path / name) for name in "bacc"]
    assert directories == paths
    assert [each["enabled"] for each in directories.data] == [True, False, True, True]
    same = directories
    (tmp_path / "d").mkdir()
    same += [Directory("d", str(tmp_path / "d")), Directory("gone", str(tmp_path / "gone"))]
    assert same is directories and directories.pop().name == "d"
    both = Directory.List([]) + directories
    assert type(both) is Directory.List
    assert both == paths
    assert both + [c] == directories + both == paths  # noqa: RUF005
    with pytest.raises(TypeError):
        directories.register("a", "a", enable=1)


def test_the_directory_of_an_embedded_module_is_not_written(tmp_path):
    module = ModuleType("checks")
    directories = Directory.List([])
    for nothing in (None, str(tmp_path), SimpleNamespace(__file__=str(tmp_path / "x.py")), module):
        directories.embed(nothing)
        assert directories._embedded is None
    module.__file__ = str(tmp_path / "checks" / "__init__.py")
    directories.embed(module)
    assert directories._embedded == str(tmp_path / "checks")
    assert directories == []
    (tmp_path / "checks").mkdir()
    directories.register("own", str(tmp_path))
    directories.embed(module)
    default = directories[1]
    assert (default, default.name, default.locked) == (str(tmp_path / "checks"), "Default", True)
    assert [each["name"] for each in directories.data] == ["own"]


# Presets


class CheckList:
    """Takes configurations as the checklist does."""

    def __init__(self, config):
        self.config, self.loaded = config, []

    def load(self, config):
        self.loaded.append(config)


def test_presets_are_sorted_and_told_apart_by_their_stamps():
    presets = Presets([{"name": "b", "stamp": "1"}, {"name": "a", "stamp": "2"}, {"name": "a", "stamp": "3"}])
    presets.add("B", Config.empty())
    assert presets.names == ["B", "a", "a", "b"]
    assert [preset.stamp for preset in presets][1:] == ["2", "3", "1"]
    assert len(presets._array[0].stamp) == 16
    presets.pop(Presets.Set(None, "a", None, stamp="3"))
    presets.pop(Presets.Set(presets, "a", None))
    presets.pop("2")
    assert presets.names == ["B", "a", "b"]
    array = presets._array
    array[1].name = "c\ud800"
    array[2].name = ""
    array[0].name = None
    assert presets.names == ["B", "b", "c\ud800"]
    presets._load(None)
    assert len(presets) == 0
    assert array is presets._array


def test_a_preset_is_dated_by_its_changes():
    presets = Presets([{"name": "a", "changed": 5.5}, {"name": "b", "changed": 0}])
    first, second = presets
    assert second._changed > 5.5
    first.name = ""
    first.config = {}
    assert (first.data["changed"], first.name, len(first)) == (5.5, "a", 0)
    first.config = Config({"id": ENABLED})
    assert first._changed > 5.5
    renamed = Presets([{"changed": 5.5}])._array[0]
    renamed.name = "x"
    assert renamed._changed > 5.5


def test_presets_are_written_with_their_enabled_checks_and_stripped_names():
    preset = Presets.Set.load(None, {"name": " a\t ", "list": {"on": ENABLED, "off": EMPTY}})
    assert preset.name == " a\t "
    assert len(preset) == 2
    data = preset.data
    assert list(data) == ["stamp", "changed", "name", "list"]
    assert (data["name"], data["list"]) == ("a\t", {"on": ENABLED})
    assert Presets.Set.load(None, data).data == data
    assert Presets.Set.load(None, data) == preset != Presets.Set.load(None, {**data, "stamp": ""})


def test_the_editor_moves_configurations_between_presets_and_checklist():
    checks = CheckList(Config({"a": ENABLED}))
    presets = Presets()
    editor = Presets.Editor(checks, presets)
    editor.create("first")
    checks.config._load({"b": ENABLED})
    editor.create("second")
    editor.create("third")
    first, second, third = presets
    assert editor.names == ["first", "second", "third"]
    assert second.config == checks.config
    assert second.config is not checks.config

    editor.apply(first)
    assert checks.loaded == [checks.config]
    assert list(checks.config.data) == ["a"]
    editor.sync_applied()
    assert [preset.applied for preset in presets] == [True, False, False]
    editor.upload(third)
    editor.sync_applied()
    assert [preset.applied for preset in presets] == [True, False, True]
    editor.erase(first)
    assert editor.names == ["second", "third"]


def test_the_editor_waits_for_a_configuration():
    checks = CheckList(None)
    presets = Presets([{"name": "a", "list": {"a": ENABLED}}])
    editor = Presets.Editor(checks, presets)
    (preset,) = presets
    preset.applied = True
    editor.create("b")
    editor.upload(preset)
    editor.apply(preset)
    editor.sync_applied()
    assert (len(presets), len(preset), checks.loaded, preset.applied) == (1, 1, [], False)


# The whole


def test_a_state_is_written_as_it_was_read(tmp_path):
    data = {
        "directories": [{"name": "a", "path": str(tmp_path), "enabled": False}],
        "mode": 1,
        "list": {"id": ENABLED},
        "presets": [{"stamp": "1", "changed": 2.5, "name": "a", "list": {"id": ENABLED}}],
    }
    assert list(Check.State(data).data.items()) == list(data.items())
    assert Check.State({}).data == {"directories": [], "mode": 0, "list": {}, "presets": []}


@pytest.mark.parametrize(
    ("data", "kept", "key"),
    [
        ({"directories": {"path": "."}}, {}, "directories"),
        ({"directories": [None]}, {}, "directories"),
        ({"directories": [{"path": 5}]}, {}, "path"),
        ({"list": []}, {}, "list"),
        ({"list": {"a": None, "b": ENABLED}}, {"list": {"b": ENABLED}}, "a"),
        ({"presets": "text"}, {}, "presets"),
        ({"presets": [[]]}, {}, "presets"),
    ],
)
def test_stored_values_of_the_wrong_kind_count_as_missing(data, kept, key):
    with logged() as messages:
        state = Check.State(data)
    assert state.data == Check.State({}).data | kept
    assert messages == [f"Incompatible Stored Value - {key}"]


def test_presets_of_the_wrong_kind_keep_what_can_be_used():
    with logged() as messages:
        (preset,) = Presets([{"name": 5, "stamp": "1", "changed": "now", "list": None}])
    assert (preset.name, preset.stamp, len(preset)) == ("", "1", 0)
    assert preset._changed > 0
    assert sorted(messages) == [f"Incompatible Stored Value - {key}" for key in ("changed", "list")]
