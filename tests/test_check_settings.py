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

ENABLED = {"enabled": True, "opened": True, "parameters": [{"name": "limit", "value": 3}]}
STATES = st.fixed_dictionaries(
    {}, optional={"enabled": st.booleans(), "opened": st.booleans(), "parameters": st.lists(st.integers())}
)


def test_a_state_keeps_its_values_and_writes_a_deep_copy_of_its_parameters():
    parameters = [{"value": [1]}]
    check = Check("id", 1, "yes", parameters)
    assert (check.class_id, check.enabled, check.opened) == ("id", 1, "yes")
    assert check.parameters is parameters
    assert list(check.data.items()) == [("enabled", 1), ("opened", "yes"), ("parameters", parameters)]
    check.data["parameters"][0]["value"].append(2)
    assert parameters == [{"value": [1]}]


def test_missing_values_take_their_defaults():
    (check,) = Config({"id": {}})
    assert (check.class_id, check.data) == ("id", Check.empty("id").data)
    assert check.data == {"enabled": False, "opened": False, "parameters": []}
    assert Config({"a": {}}).get("a").parameters is not Config({"a": {}}).get("a").parameters


def test_any_mapping_serves():
    assert Config(MappingProxyType({"id": MappingProxyType(ENABLED)})).data == {"id": ENABLED}


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
    for copy in (config.clone(), applied, Config(config.data)):
        assert copy == config
        assert len(copy) == len(kept)


def test_equality_sees_enabled_checks_and_nothing_else():
    config = Config({"a": ENABLED, "b": {}})
    assert config == Config({"a": ENABLED})
    assert config != Config({"a": ENABLED | {"opened": False}})
    assert config != {"a": ENABLED}
    with pytest.raises(TypeError, match="unhashable"):
        hash(config)


def test_get_adds_an_unknown_check_only_by_force():
    config = Config({"a": ENABLED})
    assert config.get("b") is None
    assert len(config) == 1
    check = config.get("b", force=True)
    assert config.get("b") is check
    assert list(config.data) == ["a"]
    check.enabled = True
    assert list(config.data) == ["a", "b"]


@pytest.mark.parametrize(("ids", "left"), [((), []), (("c", "a", "x"), ["a", "c"])])
def test_mask_keeps_the_given_checks(ids, left):
    config = Config(dict.fromkeys("abc", ENABLED))
    config.mask(*ids)
    assert list(config.data) == left


def test_loading_empties_the_table_in_place():
    config = Config({"a": ENABLED})
    table = config._table
    config._load({"b": ENABLED})
    assert config._table is table
    assert list(table) == ["b"]
    config.apply(config)
    assert list(table) == ["b"]


def test_derived_classes_make_their_own_kind_and_may_leave_the_constructor_out():
    class State(Check):
        def __init__(self, *values):
            pass

    class Own(Config):
        def __init__(self, *tables):
            pass

    assert isinstance(State.empty("id"), State)
    assert State().data == {"enabled": False, "opened": False, "parameters": []}
    assert isinstance(Own.empty(), Own)
    assert Own().get("id", True).class_id == "id"
    assert Own() == Config.empty()


@pytest.mark.parametrize("call", [lambda config: config.apply({}), lambda config: config.get("a", True, 1)])
def test_wrong_calls_name_the_operation(call):
    with pytest.raises(TypeError, match=r"^(apply|get)\(\) "):
        call(Config.empty())


@pytest.mark.parametrize("table", [None, {"id": None}, {"id": []}])
def test_what_is_no_mapping_is_refused(table):
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
