"""Callback lists, masks and the log."""

import logging
import threading

import pytest

from core import Logger, Mask, _CallBacks, _Str

SURROGATE = "\ud800"


@pytest.fixture
def log(caplog):
    """The records so far, after all threads that were started since the test began."""
    before = set(threading.enumerate())
    caplog.set_level(logging.DEBUG)

    def records():
        for thread in set(threading.enumerate()) - before:
            thread.join()
        return caplog.records

    return records


# Callback lists

EVENTS = [
    "empty_scan_selection",
    "used_scan_selection",
    "empty_scan_result",
    "lost_export_directory",
    "empty_export_selection",
    "export_skipped",
    "export_success",
    "projects_synchronized",
    "projects_response_closed",
    "projects_saved",
    "buffer_loaded",
    "http_no_response",
]


def test_each_event_has_a_list_that_stays_when_it_is_emptied():
    callbacks = _CallBacks()
    lists = [getattr(callbacks, event) for event in EVENTS]
    assert len({id(each) for each in lists}) == len(EVENTS)
    for each in lists:
        each.register(print)
    callbacks.clear()
    for event, each in zip(EVENTS, lists):
        assert getattr(callbacks, event) is each
        assert each._array == []
    with pytest.raises(AttributeError):
        callbacks.another_event = _CallBacks.List()


def test_functions_are_called_in_order_once_each_with_all_arguments():
    calls = []

    def first(*args, **kwargs):
        calls.append(("first", args, kwargs))

    def second(*args, **kwargs):
        calls.append(("second", args, kwargs))

    event = _CallBacks.List()
    event()
    for function in (first, second, first, "no function", None):
        event.register(function)
    assert event(1, two=2) is None
    assert calls == [("first", (1,), {"two": 2}), ("second", (1,), {"two": 2})]
    for function in (first, first, print):
        event.delete(function)
    assert event._array == [second]
    event.clear()
    assert event._array == []


def test_functions_may_change_their_own_list():
    calls = []
    event = _CallBacks.List()

    def once():
        calls.append("once")
        event.delete(once)

    event.register(once)
    event.register(lambda: calls.append("last"))
    event()
    event()
    assert calls == ["once", "last", "last"]


def test_a_function_that_fails_is_logged_and_stops_no_other(log):
    def fail():
        raise ValueError("broken")

    calls = []
    event = _CallBacks.List()
    for function in (lambda: calls.append(1), fail, lambda: calls.append(3)):
        event.register(function)
    event()
    assert calls == [1, 3]
    (record,) = log()
    assert (record.levelname, record.getMessage()) == ("ERROR", "broken")


def test_an_interrupt_is_no_failure_of_a_function():
    def interrupt():
        raise KeyboardInterrupt

    event = _CallBacks.List()
    event.register(interrupt)
    with pytest.raises(KeyboardInterrupt):
        event()


# Masks


class Host:
    def __init__(self, *types):
        self.types = types

    def exist(self, unified_type):
        return unified_type in self.types


ALL = ("sceneRoot", "transform", "mesh", "locator", "lodGroup")
RESULTS = ["Fail", "Fail & Info"]


@pytest.mark.parametrize(
    ("host", "ghosts", "types"),
    [
        (
            Host(*ALL),
            ["scene root", "group", "locator", "group or locator"],
            ["Loc. or Group", "Locator", "Group", "LOD Group", "Mesh", "Any"],
        ),
        (
            Host("sceneRoot", "transform", "mesh", "locator"),
            ["scene root", "group", "locator", "group or locator"],
            ["Loc. or Group", "Locator", "Group", "Mesh", "Any"],
        ),
        (Host("transform"), ["group"], ["Group", "Any"]),
        (Host(), [], ["Any"]),
    ],
)
def test_a_host_is_offered_what_it_has(host, ghosts, types):
    mask = Mask(host)
    assert [[item.name for item in choices] for choices in (mask.Ghost, mask.Type, mask.Result)] == [
        ghosts,
        types,
        RESULTS,
    ]
    assert mask._mapping is host
    assert mask.Type.TransformLocator == ["locator", "transform"]  # a member, offered or not


@pytest.mark.parametrize(
    ("choices", "items"),
    [
        (
            Mask.Ghost,
            [
                (["sceneRoot"], "scene root", "SceneRoot", True),
                (["transform"], "group", "Transform", True),
                (["locator"], "locator", "Locator", True),
                (["locator", "transform"], "group or locator", "TransformLocator", True),
            ],
        ),
        (
            Mask.Type,
            [
                (["locator", "transform"], "Loc. or Group", "TransformLocator", True),
                (["locator"], "Locator", "Locator", True),
                (["transform"], "Group", "Transform", True),
                (["lodGroup"], "LOD Group", "LodGroup", True),
                (["mesh"], "Mesh", "Mesh", True),
                ([], "Any", "Any", False),
            ],
        ),
        (
            Mask.Result,
            [(["fail"], "Fail", "Fail", False), (["fail", "info"], "Fail & Info", "FailInfo", False)],
        ),
    ],
)
def test_the_choices_and_their_members(choices, items):
    made = choices()
    assert [(list(item), item.name, item.attr, item.mapped) for item in made] == items
    assert all(getattr(made, item.attr) is item for item in made)
    assert (made == choices(), made is choices()) == (True, False)
    assert isinstance(made, Mask._Set)


def test_own_sets_and_items():
    item = Mask.Item("a", 1, name="label", attr="member", mapped=True)
    assert (item, item._name, item._attr, item._mapped) == (["a", 1], "label", "member", True)
    bare = Mask.Item()
    assert (bare, bare.name, bare.attr, bare.mapped) == ([], "", "", False)
    assert {type(text) for text in (item.name, item.attr, bare.name)} == {_Str}
    made = Mask._Set(item, bare)
    assert made == [item, bare]
    assert made.member is item
    assert vars(made) == {"member": item}
    with pytest.raises(TypeError, match="_Set"):
        Mask._Set(["a list, but no item"])


# The log


@pytest.mark.parametrize("level", ["debug", "info", "warning", "error"])
def test_messages_of_any_kind_are_handed_over_on_another_thread(log, level):
    message = object()
    options = {"extra": {"origin": "test"}}
    getattr(Logger, level)(message, **options)
    (record,) = log()
    assert (record.levelname, record.msg, record.origin) == (level.upper(), message, "test")
    assert record.thread != threading.get_ident()
    assert options == {"extra": {"origin": "test"}}


@pytest.mark.parametrize(
    ("message", "logged"),
    [("\n\nfirst\nsecond \n", "first\nsecond "), ("\n", ""), (5, 5), (None, None), (SURROGATE, SURROGATE)],
)
def test_an_exception_is_logged_by_its_message_alone(log, message, logged):
    try:
        raise ValueError("not part of the record")
    except ValueError:
        Logger.exception(message, exc_info=True)
    (record,) = log()
    assert (record.levelname, record.msg) == ("ERROR", logged)
    assert not record.exc_info


def test_no_error_carries_exception_information(log):
    Logger.error("x", exc_info=True)
    (record,) = log()
    assert not record.exc_info


def test_the_log_is_the_root_logger_of_the_runtime():
    assert Logger._root is logging.getLogger()


def test_a_call_is_not_waited_for():
    go, done = threading.Event(), threading.Event()

    def work(text, number):
        if go.wait(60) and (text, number) == ("a", 1):
            done.set()

    assert Logger._call(work, ("a",), {"number": 1}) is None
    assert not done.is_set()
    go.set()
    assert done.wait(60)
