"""The stored states of checks and their configuration."""

import gc
import weakref
from types import MappingProxyType

import pytest
from hypothesis import given
from hypothesis import strategies as st

from core import _Settings

Check = _Settings.Check
Config = Check.Config

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
    for copy in (config.clone(), applied):
        assert copy == config
        assert len(copy) == len(kept)
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
    for table in (None, {"id": None}):
        with pytest.raises(AttributeError):
            Config(table)


def test_cycles_are_collected():
    config = Config({"a": {}})
    check = config.get("a")
    check.class_id = check.enabled = check.opened = check.parameters = [config]
    watch = weakref.ref(config)
    del config, check
    gc.collect()
    assert watch() is None
