"""Callback lists, masks and the log."""

import logging
import threading
from itertools import combinations

import pytest

from core import Logger, Mask, _CallBacks, _Str


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


def test_each_event_has_a_list_that_stays_when_it_is_emptied():
    callbacks = _CallBacks()
    members = {name: getattr(callbacks, name) for name in dir(callbacks)}
    lists = {name: each for name, each in members.items() if isinstance(each, _CallBacks.List)}
    assert len({id(each) for each in lists.values()}) == len(lists) == 12
    for each in lists.values():
        each.register(print)
    callbacks.clear()
    for event, each in lists.items():
        assert getattr(callbacks, event) is each and each._array == [], event


def test_functions_are_called_in_order_once_each_whatever_the_others_do(log):
    calls = []

    def once(*args, **kwargs):
        calls.append((args, kwargs))
        event.delete(once)

    def fail(*_, **__):
        raise ValueError("broken")

    def last(*args, **kwargs):
        calls.append((args, kwargs))

    def interrupt():
        raise KeyboardInterrupt

    event = _CallBacks.List()
    for function in (once, fail, last, once, "no function", None):
        event.register(function)
    assert event(1, two=2) is None
    assert calls == [((1,), {"two": 2})] * 2
    line = fail.__code__.co_firstlineno + 1
    place = f"callback {fail.__qualname__}: ValueError in {__file__}, line {line}: broken"
    assert {("ERROR", "broken"), ("INFO", place)} < {(one.levelname, one.getMessage()) for one in log()}
    for function in (fail, fail, print):
        event.delete(function)
    assert event._array == [last]
    event.register(interrupt)
    with pytest.raises(KeyboardInterrupt):
        event()
    assert calls[2:] == [((), {})]


@pytest.mark.parametrize("error", [AssertionError(), KeyError("name")])
def test_what_a_function_raises_is_logged_with_its_class(log, caplog, error):
    def fail():
        raise error

    event = _CallBacks.List()
    event.register(fail)
    caplog.set_level(logging.ERROR)  # the level at which most look at the log
    event()
    assert [record.getMessage() for record in log()] == [f"{type(error).__name__}: {error}"]


# Masks

CHOICES = {
    Mask.Ghost: [
        ("SceneRoot", "scene root", ["sceneRoot"]),
        ("Transform", "group", ["transform"]),
        ("Locator", "locator", ["locator"]),
        ("TransformLocator", "group or locator", ["locator", "transform"]),
    ],
    Mask.Type: [
        ("TransformLocator", "Loc. or Group", ["locator", "transform"]),
        ("Locator", "Locator", ["locator"]),
        ("Transform", "Group", ["transform"]),
        ("LodGroup", "LOD Group", ["lodGroup"]),
        ("Mesh", "Mesh", ["mesh"]),
        ("Any", "Any", []),
    ],
    Mask.Result: [("Fail", "Fail", ["fail"]), ("FailInfo", "Fail & Info", ["fail", "info"])],
}


class Host(set):
    """The types that a host knows."""

    exist = set.__contains__


def test_a_host_is_offered_what_it_has():
    every = ("sceneRoot", "transform", "mesh", "locator", "lodGroup")
    for types in (known for count in range(6) for known in combinations(every, count)):
        mask = Mask(Host(types))
        assert mask._mapping == set(types)
        for choices, rows in CHOICES.items():
            made = getattr(mask, choices.__name__)
            offered = [row for row in rows if choices is Mask.Result or set(types).issuperset(row[2])]
            assert [(item.attr, item.name, list(item)) for item in made] == offered, types
            for attr, _, elements in rows:  # members, offered or not
                item = getattr(made, attr)
                assert item == elements and item.mapped == (choices is not Mask.Result and elements != [])


def test_own_sets_and_items():
    item = Mask.Item("a", 1, name="label", attr="member", mapped=True)
    assert (item, item._name, item._attr, item._mapped) == (["a", 1], "label", "member", True)
    bare = Mask.Item()
    assert (bare, bare.name, bare.attr, bare.mapped) == ([], "", "", False)
    assert {type(text) for text in (item.name, item.attr, bare.name)} == {_Str}
    made = Mask._Set(item, bare)
    assert (made, vars(made)) == ([item, bare], {"member": item})
    with pytest.raises(TypeError, match="_Set"):
        Mask._Set(["a list, but no item"])


# The log


def test_messages_of_any_kind_are_handed_over_on_another_thread(log):
    message, options = object(), {"extra": {"origin": "test"}}
    for level in ("debug", "info", "warning", "error", "exception"):
        getattr(Logger, level)(message, **options)
        record = log()[-1]
        expected = "ERROR" if level == "exception" else level.upper()
        assert (record.levelname, record.msg, record.origin) == (expected, message, "test")
        assert record.thread != threading.get_ident()
    assert options == {"extra": {"origin": "test"}}


def test_an_exception_is_logged_by_its_message_alone(log):
    texts = {"\n\nfirst\nsecond \n": "first\nsecond ", "\n": "", 5: 5, None: None, "\ud800": "\ud800"}
    for message, logged in texts.items():
        try:
            raise ValueError("not part of the record")
        except ValueError:
            Logger.exception(message, exc_info=True)
            Logger.error(logged, exc_info=True)
        for record in log()[-2:]:
            assert (record.levelname, record.msg, bool(record.exc_info)) == ("ERROR", logged, False)


def test_a_call_is_not_waited_for():
    go, called = threading.Event(), threading.Event()

    def work(text, number):
        if go.wait(60) and (text, number) == ("a", 1):
            called.set()

    Logger._call(work, ("a",), {"number": 1})
    go.set()
    assert called.wait(60)
