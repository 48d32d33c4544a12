"""The pattern: its rules, its tree, and the order of its scopes."""

from types import SimpleNamespace

import pytest
from hosts import node, record, rule, scene, session
from hypothesis import given
from hypothesis import strategies as st

import core

Pattern = core._Hierarchy.Pattern
Sorter = Pattern._Sorter
Unit = Sorter.Order.Unit


def load(*nodes):
    pattern = Pattern(None)
    pattern.set(record(*nodes))
    return pattern


def names(scopes):
    return [scope.rule.name for scope in scopes]


def config(**fields):
    base = {"stamp": "s", "name": "n", "icon": "i", "color": "c", "regex": "r", "types": ["t"]}
    return SimpleNamespace(**{**base, "range": SimpleNamespace(minimum=1, maximum=1), **fields})


def make_rule(**fields):
    if "bounds" in fields:
        fields["range"] = rule("x", "", *fields.pop("bounds")).range
    return Pattern.Rule(config(**fields), "checks")


def test_a_ghost_hands_over_its_children():
    pattern = Pattern("classes")
    assert (pattern.check_classes, pattern._rules, pattern._hierarchy) == ("classes", {}, [])
    assert pattern.get() is pattern._hierarchy and pattern.get_ghost() is None and not pattern.has_ghost()
    pattern = load(node(rule("a")), node(rule("ghost"), node(rule("b"), node(rule("Ghost")))))
    assert pattern.get_ghost() is pattern._hierarchy[1]
    assert pattern.get() is pattern.get_ghost().children and names(pattern.get()) == ["b"]
    assert load(node(rule("a")), node(rule("ghost"))).get() == []
    assert not load(node(rule("a"), node(rule("ghost")))).has_ghost()  # only at the top


def test_the_first_of_two_ghosts_counts():
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


def test_nodes_of_one_rule_share_it():
    shared = rule("a")
    pattern = load(node(shared, node(shared)))
    top = pattern.get()[0]
    assert top.rule is top.children[0].rule is pattern._rules["<a>"]
    twice = SimpleNamespace(rules=[rule("a", "1"), rule("a", "2")], pattern=node(None, node(shared)))
    pattern.set(twice)
    assert pattern.get()[0].rule.regex == "2"  # the later one


def test_a_node_without_its_rule_fails_with_a_reason():
    pattern = Pattern(None)
    with pytest.raises(AttributeError, match="no rule"):
        pattern.set(SimpleNamespace(rules=[], pattern=node(None, node(rule("a")))))


def test_rules_are_copied():
    source = rule("a", "x", 1, 2, ["t"])
    copied = load(node(source)).get()[0].rule
    source.name, source.regex, source.range.maximum, source.color = "b", "y", 9, "#000000"
    source.types.append("u")
    fields = (copied.name, copied.regex, copied.types, copied.range.maximum, copied.color, copied.icon)
    assert fields == ("a", "x", ["t"], 2, "#123456", "icon of a")


@pytest.mark.parametrize(
    ("bounds", "numbers", "optional"),
    [
        ((1, 1), {1}, False),
        ((0, 3), {0, 1, 2, 3}, True),
        ((2, 1), set(), False),
        ((-2, 0), {-2, -1, 0}, True),
    ],
)
def test_ranges(bounds, numbers, optional):
    made = make_rule(bounds=bounds)
    assert made.get_range() == numbers == set(made.get_range()) and len(made.get_range()) == len(numbers)
    assert made.is_optional() is optional


def test_ranges_of_any_size_take_no_room():
    wide = make_rule(bounds=(0, 10**30))
    assert wide.is_optional() and 10**29 in wide.get_range() and -1 not in wide.get_range()
    assert 1_000_000_000 in make_rule(bounds=(0, 1_000_000_000)).get_range()
    assert wide.get_range() != {0, 1}


def test_equality_of_rules():
    one = make_rule()
    assert one == make_rule(icon="z", color="z") != "a rule"
    for fields in ({"stamp": "z"}, {"name": "z"}, {"regex": "z"}, {"types": ["u"]}, {"bounds": (1, 2)}):
        assert one != make_rule(**fields)
    assert hash(one) == hash(make_rule(types=["u"], bounds=(1, 2), icon="z"))


def test_checklists_are_found_by_stamp():
    class Checks:
        def __init__(self, empty):
            self.is_empty = lambda: empty

    pattern = load(node(rule("a")))
    made = pattern._rules["<a>"]
    for empty in (True, False):
        made.checklist = Checks(empty)
        assert pattern.get_checklist("<a>") is made.checklist
        assert pattern.is_verifiable("<a>") is not empty
    assert pattern.get_checklist("?") is None and pattern.is_verifiable("?") is False


# The order of scopes.


def sort(*regexes):
    return [
        scope.rule.regex
        for scope in load(*(node(rule(f"r{i}", regex)) for i, regex in enumerate(regexes))).get()
    ]


@pytest.mark.parametrize(
    ("before", "after"),
    [
        ([], []),
        (["a", "b", "c"], ["a", "b", "c"]),
        (["a", "<x>_b", r"<x:\d+>_c"], [r"<x:\d+>_c", "<x>_b", "a"]),
        (["<x>1", "<x>2", "p", "<y>3"], ["<x>1", "<x>2", "<y>3", "p"]),
        (["<x:1>", "<y:2>", "<z:3>"], ["<x:1>", "<y:2>", "<z:3>"]),
        (["<x><y:1>", "<x:2>"], ["<x:2>", "<x><y:1>"]),
        (["<x><y:1>", "<y><x:2>"], ["<y><x:2>", "<x><y:1>"]),
        (["<b>", "<abc:1>"], ["<abc:1>", "<b>"]),  # a part of a name counts
        (["<k:1><1>", "<x:1>"], ["<x:1>", "<k:1><1>"]),  # so does a part of a value
        # Every dependent counts on top, wherever it stands.
        (["<q:1>", "<x><y:1>", "<x>", "<x:1>"], ["<x:1>", "<q:1>", "<x><y:1>", "<x>"]),
    ],
)
def test_sorting(before, after):
    assert sort(*before) == after


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


inner = st.lists(st.sampled_from(["x", "y", "xy", ""]), max_size=2)
definitions = st.lists(st.sampled_from(["x:1", "y:2", "xy:3", "z:x"]), max_size=2)


@given(st.lists(st.tuples(definitions, inner), max_size=7))
def test_any_order_agrees_with_a_plain_writing(anchors):
    order = Sorter.Order()
    for index, (defined, used) in enumerate(anchors):
        unit = Unit(index)
        for text in defined:
            unit.add_definition(text)
        for text in used:
            unit.add_usage(text)
        order.append(unit)
    changed = Sorter.change_order(order)
    assert [unit.index for unit in changed] == plain_order([(i, *pair) for i, pair in enumerate(anchors)])
    assert [unit.index for unit in order] == list(range(len(anchors)))


def test_every_layer_below_the_ghost_is_sorted_and_its_own_is_not():
    wrong = [
        node(rule("u", "<x>")),
        node(rule("d", "<x:1>"), node(rule("v", "<y>")), node(rule("e", "<y:1>"))),
    ]
    pattern = load(node(rule("t", "<x>")), node(rule("ghost", "<x:1>"), *wrong))
    assert names(pattern._hierarchy) == ["t", "ghost"]
    assert names(pattern.get()) == ["d", "u"] and names(pattern.get()[0].children) == ["e", "v"]


def chain(depth):
    below = []
    for _ in range(depth):
        below = [node(rule("a", "^<n:a>"), *below)]
    return below


def test_a_pattern_may_be_deep_or_too_deep():
    host = scene({"a": None})
    engine = session(host, *chain(100))
    engine.virtual.upload(["/a"])
    assert engine.hierarchy.mask(["/a"]) == ["/a"]
    shared = rule("a", "^<n:a>")
    deep = node(shared)
    for _ in range(10_000):
        deep = node(shared, deep)
    project = SimpleNamespace(rules=[shared], pattern=node(None, deep))
    try:
        engine.hierarchy.pattern.set(project)
    except RecursionError:
        return
    assert engine.hierarchy.mask(["/a"]) == ["/a"]


def test_scopes_below_themselves():
    hierarchy = session(scene({}), node(rule("a"))).hierarchy
    top = hierarchy.pattern.get()
    top[0].children.append(top[0])
    for operation in (Sorter.sort, lambda scopes: hierarchy._hierarchy_runner(lambda rule: None, scopes)):
        with pytest.raises(RecursionError):
            operation(top)
    with pytest.raises(RecursionError):
        hierarchy.find_anchors()


@pytest.mark.parametrize(
    ("call", "told"),
    [
        (lambda: Pattern(), "Pattern"),
        (lambda: Pattern(None).set(), "set"),
        (lambda: Sorter.sort_scopes((1,)), "sort_scopes"),
        (lambda: Sorter.change_order([]), "change_order"),
        (lambda: Sorter.Order().insert("a", None), "insert"),
        (lambda: Pattern.Rule(config()), "Rule"),
    ],
)
def test_wrong_arguments_are_told_by_name(call, told):
    with pytest.raises(TypeError, match=told):
        call()


@pytest.mark.parametrize(
    "wrong", [{"regex": 1}, {"range": None}, {"range": SimpleNamespace(minimum="a", maximum=1)}, {"types": 5}]
)
def test_rules_of_something_else_raise_and_never_more(wrong):
    hierarchy = session(scene({"a": None})).hierarchy
    scopes = [Pattern.Scope(Pattern.Rule(config(**wrong), None), [])]
    with pytest.raises((TypeError, AttributeError)):
        hierarchy.match(["/a"], scopes)
    assert hierarchy.match([], []) is True
