"""The pattern: its rules, its tree, and the order of its scopes."""

from collections.abc import Set
from contextlib import suppress
from types import SimpleNamespace

import pytest
from hosts import node, record, rule, scene, session
from hypothesis import given, settings
from hypothesis import strategies as st

import core

Pattern = core._Hierarchy.Pattern
Sorter = Pattern._Sorter


def load(*nodes):
    pattern = Pattern(None)
    pattern.set(record(*nodes))
    return pattern


def names(scopes):
    return [scope.rule.name for scope in scopes]


def make_rule(**fields):
    config = {"stamp": "s", "name": "n", "icon": "i", "color": "c", "regex": "r", "types": ["t"]}
    bounds = rule("x", "", *fields.pop("bounds", (1, 1))).range
    return Pattern.Rule(SimpleNamespace(**{**config, "range": bounds, **fields}), "checks")


def test_a_ghost_hands_over_its_children():
    pattern = Pattern("classes")
    assert (pattern.check_classes, pattern._rules, pattern._hierarchy) == ("classes", {}, [])
    assert pattern.get() is pattern._hierarchy and pattern.get_ghost() is None and not pattern.has_ghost()
    pattern = load(node(rule("a")), node(rule("ghost"), node(rule("b"), node(rule("Ghost")))))
    assert pattern.get_ghost() is pattern._hierarchy[1]
    assert pattern.get() is pattern.get_ghost().children and names(pattern.get()) == ["b"]
    assert load(node(rule("a")), node(rule("ghost"))).get() == []
    assert not load(node(rule("a"), node(rule("ghost")))).has_ghost()  # only at the top
    second = rule("ghost")
    second.stamp = "another"
    pattern = load(node(rule("ghost"), node(rule("a"))), node(second, node(rule("b"))))
    assert names(pattern.get()) == ["a"] and names(pattern._hierarchy) == ["ghost", "ghost"]


def test_a_set_replaces_everything_in_place():
    pattern = load(node(rule("a"), node(rule("b"))), node(rule("c")))
    held = pattern._hierarchy
    assert sorted(pattern._rules) == ["<a>", "<b>", "<c>"]
    pattern.set(record(node(rule("d"))))
    assert pattern._hierarchy is held and names(held) == ["d"] and list(pattern._rules) == ["<d>"]
    with pytest.raises(AttributeError, match="no rule"):
        pattern.set(SimpleNamespace(rules=[], pattern=node(None, node(rule("a")))))


def test_nodes_of_one_rule_share_a_copy_of_it():
    shared = rule("a", "x", 1, 2, ["t"])
    pattern = load(node(shared, node(shared)))
    copied = pattern.get()[0].rule
    assert copied is pattern.get()[0].children[0].rule is pattern._rules["<a>"]
    shared.name, shared.regex, shared.range.maximum, shared.color = "b", "y", 9, "#000000"
    shared.types.append("u")
    fields = (copied.name, copied.regex, copied.types, copied.range.maximum, copied.color, copied.icon)
    assert fields == ("a", "x", ["t"], 2, "#123456", "icon of a")
    pattern.set(SimpleNamespace(rules=[rule("a", "1"), rule("a", "2")], pattern=node(None, node(rule("a")))))
    assert pattern.get()[0].rule.regex == "2"  # the later one


def test_ranges():
    for bounds, numbers in (
        ((1, 1), {1}),
        ((0, 3), {0, 1, 2, 3}),
        ((2, 1), set()),
        ((-2, 0), {-2, -1, 0}),
    ):
        made = make_rule(bounds=bounds)
        assert made.get_range() == numbers == set(made.get_range())
        made_set = made.get_range() | {7}, {7} & made.get_range(), made.get_range() <= {*numbers, 7}
        assert isinstance(made.get_range(), Set) and made_set == (numbers | {7}, numbers & {7}, True)
        assert len(made.get_range()) == len(numbers) and made.is_optional() is (0 in numbers)
    for most in (10**9, 10**30):  # takes no room
        wide = make_rule(bounds=(0, most))
        assert wide.is_optional() and most in wide.get_range() and -1 not in wide.get_range()
        assert wide.get_range() != {0, 1}
        engine = session(scene({"a": None}), node(rule("any", ".", 0, most)))
        engine.virtual.upload(["/a"])
        assert engine.hierarchy.mask(["/a"]) == ["/a"]


def test_equality_of_rules():
    one = make_rule()
    assert one == make_rule(icon="z", color="z") != "a rule"
    for fields in ({"stamp": "z"}, {"name": "z"}, {"regex": "z"}, {"types": ["u"]}, {"bounds": (1, 2)}):
        assert one != make_rule(**fields)
    assert hash(one) == hash(make_rule(types=["u"], bounds=(1, 2), icon="z"))


def test_checklists_are_found_by_stamp():
    pattern = load(node(rule("a")))
    for empty in (True, False):
        checklist = pattern._rules["<a>"].checklist = SimpleNamespace(is_empty=lambda empty=empty: empty)
        assert pattern.get_checklist("<a>") is checklist
        assert pattern.is_verifiable("<a>") is not empty
    assert pattern.get_checklist("?") is None and pattern.is_verifiable("?") is False


# The order of scopes.


def plain_order(units):
    """The same order, by the same steps: (index, definitions, usages)."""
    order = []

    def run(stops):
        return next((i for i, unit in enumerate(order) if stops(unit)), len(order))

    for unit in units:
        _, definitions, usages = unit
        index = 0
        if definitions:
            index = run(lambda other: other[1])
            index += sum(any(key in d for key in other[2] for d in definitions) for other in order)
        elif usages:
            index = run(lambda other: other[1] or other[2])
        order.insert(index, unit)
    return [unit[0] for unit in reversed(order)]


usages = st.lists(st.sampled_from(["x", "y", "xy", "", "1"]), max_size=2)
definitions = st.lists(st.sampled_from(["x:1", "y:2", "xy:3", "z:x"]), max_size=2)


@settings(max_examples=3 * settings().max_examples)
@given(st.lists(st.tuples(definitions, usages), max_size=7))
def test_any_order_agrees_with_a_plain_writing(layer):
    regexes = ["^" + "_".join(f"<{text}>" for text in [*defined, *used]) for defined, used in layer]
    scopes = load(*(node(rule(f"{i}", regex)) for i, regex in enumerate(regexes))).get()
    order = plain_order([(i, *anchors) for i, anchors in enumerate(layer)])
    assert [scope.rule.name for scope in scopes] == [f"{i}" for i in order]


def test_every_layer_below_the_ghost_is_sorted_and_its_own_is_not():
    below = node(rule("d", "<x:1>"), node(rule("v", "<y>")), node(rule("e", "<y:1>")))
    ghost = node(rule("ghost", "<x:1>"), node(rule("u", "<x>")), below)
    pattern = load(node(rule("t", "<x>")), ghost)
    assert names(pattern._hierarchy) == ["t", "ghost"]
    assert names(pattern.get()) == ["d", "u"] and names(pattern.get()[0].children) == ["e", "v"]


def test_a_pattern_may_be_deep_or_too_deep():
    engine = session(scene({"a": None}))
    engine.virtual.upload(["/a"])
    shared, deep = rule("a", "^<n:a>"), []
    for depth in range(1, 10_001):
        deep = [node(shared, *deep)]
        if depth == 100:
            engine.hierarchy.pattern.set(record(*deep))
            assert engine.hierarchy.mask(["/a"]) == ["/a"]
    with suppress(RecursionError):
        engine.hierarchy.pattern.set(SimpleNamespace(rules=[shared], pattern=node(None, *deep)))
        assert engine.hierarchy.mask(["/a"]) == ["/a"]


def test_scopes_below_themselves():
    hierarchy = session(scene({}), node(rule("a"))).hierarchy
    top = hierarchy.pattern.get()
    top[0].children.append(top[0])
    for operation in (
        Sorter.sort,
        lambda scopes: hierarchy._hierarchy_runner(lambda rule: None, scopes),
        lambda scopes: hierarchy.find_anchors(),
    ):
        with pytest.raises(RecursionError):
            operation(top)


def test_rules_of_something_else_raise_and_never_more():
    hierarchy = session(scene({"a": None})).hierarchy
    for wrong in (
        {"regex": 1},
        {"range": None},
        {"range": SimpleNamespace(minimum="a", maximum=1)},
        {"types": 5},
    ):
        with pytest.raises((TypeError, AttributeError)):
            hierarchy.match(["/a"], [Pattern.Scope(make_rule(**wrong), [])])
    assert hierarchy.match([], []) is True
