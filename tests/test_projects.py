"""Rules, their list, and the tree that arranges them."""

import copy
import gc
import logging
import re
import threading
import weakref
from collections import UserDict
from contextlib import contextmanager

import pytest
from hypothesis import given
from hypothesis import strategies as st

from core import Constants, _Project, _Settings, _Str

Rule = _Project.Settings.Rule
Node, Root = Rule.Tree.Node, Rule.Tree.Root
Success, Failure = Constants.Plugin.Status.Success, Constants.Plugin.Status.Failure

FULL = {
    "stamp": "0123456789abcdef",
    "name": "wheel",
    "regex": "^wheel",
    "types": ["mesh"],
    "checklist": {"id": {"enabled": True, "opened": False, "parameters": [1]}},
    "range": [0, 10**30],
    "color": "#123456",
    "icon": "Wheel",
}
DEEP = 100_000
TEXTS = st.text(st.characters(categories=None))  # lone surrogates included


def make_list(names):
    """A list of rules whose stamps are their names."""
    return Rule.List([{"stamp": name, "name": name} for name in names])


def deep_tree(rule):
    root = node = Root()
    for _ in range(DEEP):
        child = Node(rule)
        node.append(child)
        node = child
    return root


@contextmanager
def logged():
    """The messages logged inside; complete after the block, as each comes on a thread of its own."""
    messages = []
    handler = logging.Handler(logging.WARNING)
    handler.emit = lambda record: messages.append(record.getMessage())
    before = set(threading.enumerate())
    logging.getLogger().addHandler(handler)
    try:
        yield messages
        for thread in set(threading.enumerate()) - before:
            thread.join()
    finally:
        logging.getLogger().removeHandler(handler)


# Rules


def test_a_rule_of_no_data_has_the_defaults():
    rule = Rule(FULL)
    rule.__init__({})
    data = rule.data
    assert re.fullmatch("[0-9a-f]{16}", data.pop("stamp"))
    assert data == {
        "name": "name",
        "regex": "",
        "types": None,
        "checklist": {},
        "range": [1, 1],
        "color": "#000000",
        "icon": "",
    }
    assert rule.stamp != Rule({}).stamp


@pytest.mark.parametrize("data", [FULL, UserDict(FULL)])
def test_a_rule_gives_back_its_data_in_order(data):
    rule = Rule(data)
    assert list(rule.data.items()) == list(FULL.items())
    assert isinstance(rule.check_config, _Settings.Check.Config)
    assert {type(text) for text in (rule.stamp, rule.name, rule.regex)} == {_Str}


@pytest.mark.parametrize("field", ["stamp", "name", "regex"])
@pytest.mark.parametrize("value", [None, 5, b"text", ["text"]])
def test_what_is_no_text_is_ignored(field, value):
    assert type(getattr(Rule({field: value}), field)) is _Str
    rule = Rule(FULL)
    setattr(rule, field, value)
    assert getattr(rule, field) == FULL[field]
    setattr(rule, field, "other")
    assert getattr(rule, field) == getattr(rule, "_" + field) == rule.data[field] == "other"


def test_types_are_kept_as_they_come():
    class Broken(str):
        def __str__(self):
            return 5

    rule = Rule({})
    types = ["no such type"]
    rule.types = types
    assert rule.types is rule._types is types
    rule.types = Broken("mesh")
    assert rule.types is types


@pytest.mark.parametrize(
    ("bounds", "error"),
    [([], ValueError), ([1], ValueError), ([1, 2, 3], ValueError), (5, TypeError), (None, TypeError)],
)
def test_a_range_has_two_bounds(bounds, error):
    with pytest.raises(error):
        Rule({"range": bounds})


def test_ranges_are_equal_by_their_bounds_and_copied_apart():
    limits = Rule.Range(0, 10**30)
    other = copy.copy(limits)
    assert (other.minimum, other.maximum) == (0, 10**30)
    assert other == limits
    other.maximum = 2
    assert other.data == [0, 2]
    assert other != limits != [0, 10**30]
    with pytest.raises(AttributeError):
        Rule({}).range = limits


# Lists


@given(st.lists(st.fixed_dictionaries({"stamp": TEXTS, "name": TEXTS})))
def test_a_list_gives_back_its_data(data):
    rules = Rule.List(data)
    assert rules.names == [rule["name"] for rule in data]
    assert [rule.stamp for rule in rules] == [rule["stamp"] for rule in data]
    assert Rule.List(rules.data).data == rules.data
    assert rules.is_empty() == (not data)


def test_predefined_rules():
    rules = Rule.List.predefined()
    shown = [(r.name, r.regex, r.types, r.range.data, r.check_config.data, r.color, r.icon) for r in rules]
    assert shown == [
        ("empty", ".+", [], [1, 1], {}, "#000000", "Something"),
        ("render", ".+", [Constants.Scene.Type.Mesh], [1, 1], {}, "#4390ea", "Render"),
        (Constants.Scene.Type.Ghost, "", [], [0, 99], {}, "#262626", "Ghost"),
    ]
    stamps = {rule.stamp for rule in rules + Rule.List.predefined()}
    assert len(stamps) == 6


def test_append_numbers_a_name_that_is_taken_and_refuses_a_second_ghost():
    rules = make_list(["a", "ghost"])
    second = Rule({"name": "a"})
    assert rules.append(second) is Success
    assert rules.append(Rule({"name": "a"})) is Success
    assert rules.append(Rule({"name": "ghost"})) is Failure
    assert rules.names == ["a", "ghost", "a0", "a1"]
    assert rules.remove(second) is Success
    assert rules.append(Rule({"name": "a0"})) is Success
    assert rules.names == ["a", "ghost", "a1", "a0"]


def test_rename_moves_the_name_and_takes_any():
    rules = make_list("ab")
    a, b = rules
    rules.rename(a, "ghost")
    assert rules.has_ghost()
    assert rules.append(Rule({"name": "a"})) is Success
    assert rules.names == ["ghost", "b", "a"]
    rules.rename(b, "ghost")
    assert rules.names == ["ghost", "ghost", "a"]
    assert [rules.has_unique_name(rule) for rule in rules] == [False, False, True]
    assert not rules.has_unique_name(Rule({"name": "a"}))
    assert rules.has_unique_name(Rule({"name": "b"}))


def test_sync_names_registers_the_names_anew():
    rules = make_list("aab")
    next(rule for rule in rules if rule.name == "b").name = "c"
    rules.sync_names()
    assert rules.names == ["a", "a", "c"]
    assert rules._control._names == {"a", "c"}


def test_rules_are_found_by_stamp_and_removed_by_identity():
    rules = make_list("ab")
    first = rules.get("a")
    assert rules.get("c") is rules.get(None) is None
    for stranger in (Rule(first.data), None, 5):
        assert rules.remove(stranger) is Failure
    for rule in rules:  # over a copy
        assert rules.remove(rule) is Success
    assert rules.is_empty()
    assert rules._control._names == set()


@given(st.lists(st.sampled_from("abcdefg"), unique=True), st.lists(st.sampled_from("abcdefgxyz")))
def test_reorder_puts_the_given_first_and_reverses_the_others(names, wanted):
    rules = make_list(names)
    array, known = rules._array, list(rules)
    given_rules = [Rule({"stamp": stamp}) for stamp in wanted]
    rules.reorder([None, *given_rules, "no rule"])
    first = [rule for rule in given_rules if rule.stamp in names]
    others = [rule for rule in reversed(known) if rule.stamp not in wanted]
    assert rules._array is array
    assert list(map(id, array)) == list(map(id, first + others if wanted else known))


def test_reorder_keeps_one_of_the_rules_that_share_a_stamp():
    rules = make_list("xabx")
    first, a, b, _ = rules
    rules.reorder([a])
    assert list(map(id, rules)) == list(map(id, [a, b, first]))


# Trees

PATTERNS = st.recursive(
    st.just([]),
    lambda below: st.lists(
        st.fixed_dictionaries(
            {"stamp": st.sampled_from(["a", "b", "gone", None])}, optional={"children": below}
        ),
        max_size=3,
    ),
    max_leaves=20,
)


def without_unknown(nodes, dropped):
    """The nodes that a list of the rules a and b leaves; others go to `dropped`, not what is below them."""
    dropped += [node for node in nodes if node["stamp"] not in ("a", "b")]
    return [
        {"stamp": node["stamp"], "children": without_unknown(node.get("children", []), dropped)}
        for node in nodes
        if node["stamp"] in ("a", "b")
    ]


@given(PATTERNS)
def test_loading_keeps_all_but_nodes_of_unknown_rules(pattern):
    root, rules = Root(), make_list("ab")
    with logged() as messages:
        root.load(pattern, rules)
    dropped = []
    expected = without_unknown(pattern, dropped)
    assert root.data == expected
    assert messages == ["Incompatible Hierarchy Settings"] * len(dropped)
    assert root.is_empty() == (not expected)
    assert [node.rule for node in root.children] == [rules.get(node["stamp"]) for node in expected]
    root.load(root.data, rules)
    assert root.data == expected


def test_loading_drops_old_nodes_and_leaves_them_as_they_were():
    rules = make_list("ab")
    root = Root()
    root.load([{"stamp": "a", "children": [{"stamp": "b"}]}], rules)
    old = root.children
    root.load((UserDict(stamp="b"),), rules)
    assert root.data == [{"stamp": "b", "children": []}]
    assert len(old) == len(old[0].children) == 1
    with pytest.raises(AttributeError):
        root.load([5], rules)


def test_nodes_are_held_by_identity():
    rule, other = make_list("ab")
    root, twin = Root(), Root()
    node, same = twin.create_node(rule), Node(rule)
    for added in (node, node, same):
        root.append(added)
    assert root.children == [node, same]
    node.append(Node(other))
    assert root.is_root(rule)
    assert not root.is_root(other)
    assert not root.is_root(Rule(rule.data))
    root.remove(Node(rule))
    root.remove(node)
    assert root.children == [same]


def test_a_node_takes_a_list_that_is_not_empty():
    rule = Rule({})
    empty, full = [], [Node(rule)]
    assert Node(rule, full).children is full
    assert Node(rule, tuple(full)).children == []
    assert Node(rule, empty).children is not empty


def test_the_text_form_is_an_outline():
    rules = make_list(["car", "wheel", "two\nlines"])
    root = Root()
    root.load(
        [
            {
                "stamp": "car",
                "children": [{"stamp": "wheel", "children": [{"stamp": "two\nlines"}]}, {"stamp": "car"}],
            },
            {"stamp": "wheel"},
        ],
        rules,
    )
    assert str(root) == "car\n  wheel\n    two\n    lines\n  car\nwheel"
    assert str(Root()) == ""


def test_clear_empties_every_list_below_in_place():
    rule = Rule({})
    leaf = Node(rule)
    nodes = [leaf, Node(rule, [leaf]), Node(rule)]
    nodes += [Node(rule, [nodes[1], leaf])]
    root = Root()
    root.append(nodes[3])
    lists = [node.children for node in (root, *nodes)]
    root.clear()
    assert lists == [[]] * 5
    assert all(node.children is kept for node, kept in zip((root, *nodes), lists, strict=True))


def test_deep_trees_are_walked_to_their_end():
    rules = make_list("a")
    root = deep_tree(rules.get("a"))
    data = root.data
    loaded = Root()
    loaded.load(data, rules)
    depth, node = 0, loaded
    while node.children:
        depth, node = depth + 1, node.children[0]
    assert depth == DEEP
    with pytest.raises(RecursionError):
        str(root)
    below = root.children[0]
    root.clear()
    assert below.children == []


@pytest.mark.parametrize(
    "use",
    [
        lambda root, _: root.data,
        lambda root, _: root.clear(),
        lambda root, _: str(root),
        lambda _, load: load(),
    ],
    ids=["data", "clear", "str", "load"],
)
def test_a_node_below_itself_is_an_error(use):
    rules = make_list("a")
    node = Node(rules.get("a"))
    node.append(Node(rules.get("a"), [node]))
    root = Root()
    root.append(node)
    entry = {"stamp": "a"}
    entry["children"] = [entry]
    with pytest.raises(RecursionError):
        use(root, lambda: Root().load([entry], rules))


# All of them


def test_derived_classes_may_leave_the_constructor_out():
    def derive(base):
        return type("Derived", (base,), {"__init__": lambda self: None})()

    assert derive(Rule).data == Rule({}).data | {"stamp": None}
    assert derive(Rule.Range) == Rule.Range(1, 1)
    rules = derive(Rule.List)
    assert rules.append(Rule({})) is Success
    assert rules.append(Rule({})) is Success
    assert rules.names == ["name", "name0"]
    node, root = derive(Node), derive(Root)
    root.append(node)
    assert node.rule is None
    assert not root.is_root(None)
    for use in (lambda: root.data, lambda: str(root)):
        with pytest.raises(AttributeError):
            use()
    root.clear()
    assert root.is_empty()


@pytest.mark.parametrize(
    ("call", "operation"),
    [
        (lambda: make_list("a").append("a"), "append"),
        (lambda: make_list("a").rename("a", "b"), "rename"),
        (lambda: make_list("a").has_unique_name(None), "has_unique_name"),
        (lambda: Root().append(Rule({})), "append"),
        (lambda: Root().load([], []), "load"),
        (lambda: Root.create_node(None), "create_node"),
        (lambda: Node(None), "Node"),
    ],
)
def test_wrong_arguments_name_the_operation(call, operation):
    with pytest.raises(TypeError, match=rf"^{operation}\(\) argument"):
        call()


def test_strangers_in_the_lists_are_found_out():
    rules, root = make_list("a"), Root()
    (rule,) = rules
    rules._array.append("no rule")
    root.children.append("no node")
    for use in (lambda: rules.names, lambda: rules.reorder([rule]), lambda: root.data, root.clear):
        with pytest.raises(TypeError, match="expected, not"):
            use()
    assert len(rules._array) == 2


def test_cycles_are_collected():
    rule = Rule({})
    rule.color = rule.icon = rule.types = [rule]
    rule.range.minimum = rule.range.maximum = rule
    rules = make_list("a")
    rules._array.append(rules)
    node = Node(rule)
    node.append(node)
    watches = [weakref.ref(thing) for thing in (rule, rules, node)]
    del rule, rules, node
    gc.collect()
    assert [watch() for watch in watches] == [None] * 3
