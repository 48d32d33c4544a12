"""Rules, their list, and the tree that arranges them."""

import re
from collections import UserDict

import pytest
from hosts import logged
from hypothesis import given
from hypothesis import strategies as st

from core import Constants, _Project, _Settings, _Str

Rule = _Project.Settings.Rule
Node, Root = Rule.Tree.Node, Rule.Tree.Root
Success, Failure = Constants.Plugin.Status.Success, Constants.Plugin.Status.Failure

DEFAULTS = {"name": "name", "regex": "", "types": None, "checklist": {}, "range": [1, 1]}
DEFAULTS |= {"color": "#000000", "icon": ""}
FULL = {"stamp": "0123456789abcdef", "name": "wheel", "regex": "^wheel", "types": ["mesh"]}
FULL |= {"checklist": {"id": {"enabled": True, "opened": False, "parameters": [1]}}}
FULL |= {"range": [0, 10**30], "color": "#123456", "icon": "Wheel"}
TEXTS = st.text(st.characters(categories=None))  # lone surrogates included


def make_list(names):
    """A list of rules whose stamps are their names."""
    return Rule.List([{"stamp": name, "name": name} for name in names])


def test_a_rule_gives_back_its_data_in_order():
    for data in (FULL, UserDict(FULL)):
        rule = Rule(data)
        assert list(rule.data.items()) == list(FULL.items())
        assert isinstance(rule.check_config, _Settings.Check.Config)
    rule.__init__({})
    assert rule.data == {"stamp": rule.stamp} | DEFAULTS
    assert re.fullmatch("[0-9a-f]{16}", rule.stamp) and rule.stamp != Rule({}).stamp


@pytest.mark.parametrize("field", ["stamp", "name", "regex"])
def test_what_is_no_text_is_ignored(field):
    rule = Rule({field: 5})
    for value, kept in (("other", "other"), (None, "other"), (b"text", "other")):
        assert type(getattr(rule, field)) is _Str
        setattr(rule, field, value)
        assert getattr(rule, field) == getattr(rule, "_" + field) == rule.data[field] == kept


def test_types_are_kept_as_they_come():
    rule, types = Rule({}), ["no such type"]
    rule.types = types
    assert rule.types is rule._types is types
    rule.types = type("Odd", (str,), {"__str__": lambda self: 5})("mesh")
    assert rule.types == "mesh" and type(rule.types).__name__ == "_Str"


def test_a_range_has_two_bounds_of_any_size():
    for bounds, error in [([], ValueError), ([1, 2, 3], ValueError), (5, TypeError), (None, TypeError)]:
        with pytest.raises(error):
            Rule({"range": bounds})
    limits, other = Rule.Range(0, 10**30), Rule.Range(0, 10**30)
    assert other == limits != [0, 10**30]
    other.maximum = 2
    assert other.data == [0, 2]
    assert other != limits
    with pytest.raises(AttributeError):
        Rule({}).range = limits


@given(st.lists(st.fixed_dictionaries({"stamp": TEXTS, "name": TEXTS})))
def test_a_list_gives_back_its_data(data):
    rules = Rule.List(data)
    assert rules.data == [DEFAULTS | rule for rule in data]
    assert rules.names == [rule["name"] for rule in data]
    assert rules.is_empty() == (not data)


def test_predefined_rules():
    rules = Rule.List.predefined()
    assert [rule.name for rule in rules] == ["empty", "render", "ghost"]
    assert len({rule.stamp for rule in rules + Rule.List.predefined()}) == 6


def test_names_are_numbered_on_append_and_taken_as_they_are_on_rename():
    rules, second = make_list(["a", "ghost"]), Rule({"name": "a"})
    appended = [rules.append(rule) for rule in (second, Rule({"name": "a"}), Rule({"name": "ghost"}))]
    assert appended == [Success, Success, Failure]
    assert rules.names == ["a", "ghost", "a0", "a1"]
    assert rules.remove(second) is rules.append(Rule({"name": "a0"})) is Success
    assert rules.names == ["a", "ghost", "a1", "a0"]

    rules = make_list("ab")
    a, b = rules
    rules.rename(a, "ghost")
    assert rules.append(Rule({"name": "a"})) is Success
    rules.rename(b, "ghost")
    assert (rules.names, rules.has_ghost()) == (["ghost", "ghost", "a"], True)
    assert [rules.has_unique_name(rule) for rule in rules] == [False, False, True]
    assert [rules.has_unique_name(Rule({"name": name})) for name in "ab"] == [False, True]
    a.name = b.name = "c"
    rules.sync_names()
    assert rules._control._names == {"a", "c"}


def test_rules_are_found_by_stamp_and_removed_by_identity():
    rules = make_list("ab")
    assert rules.get("c") is rules.get(None) is None
    for stranger in (Rule(rules.get("a").data), None, 5):
        assert rules.remove(stranger) is Failure
    for rule in rules:  # over a copy
        assert rules.remove(rule) is Success
    assert rules.is_empty()


@given(st.lists(st.sampled_from("abcdefg"), unique=True), st.lists(st.sampled_from("abcdefgxyz")))
def test_reorder_puts_the_given_first_and_reverses_the_others(names, wanted):
    rules = make_list(names)
    array, known = rules._array, list(rules)
    given_rules = [Rule({"stamp": stamp}) for stamp in wanted]
    rules.reorder([None, *given_rules, "no rule"])
    first = [rule for rule in given_rules if rule.stamp in names]
    others = [rule for rule in reversed(known) if rule.stamp not in wanted]
    assert rules._array is array
    assert array == (first + others if wanted else known)


def test_reorder_keeps_one_of_the_rules_that_share_a_stamp():
    rules = make_list("xabx")
    first, a, b, _ = rules
    rules.reorder([a])
    assert list(rules) == [a, b, first]


ENTRIES = {"stamp": st.sampled_from(["a", "b", "gone", None])}
PATTERNS = st.recursive(
    st.just([]),
    lambda below: st.lists(st.fixed_dictionaries(ENTRIES, optional={"children": below}), max_size=3),
    max_leaves=20,
)


def without_unknown(entries, dropped):
    """The entries that a list of the rules a and b leaves; others go to `dropped`, not what is below them."""
    known = [entry for entry in entries if entry["stamp"] in ("a", "b")]
    dropped += [entry for entry in entries if entry not in known]
    return [entry | {"children": without_unknown(entry.get("children", []), dropped)} for entry in known]


@given(PATTERNS)
def test_loading_keeps_all_but_nodes_of_unknown_rules(pattern):
    root, rules, dropped = Root(), make_list("ab"), []
    with logged() as messages:
        root.load(pattern, rules)
    expected = without_unknown(pattern, dropped)
    assert (root.data, root.is_empty()) == (expected, not expected)
    assert messages == ["Incompatible Hierarchy Settings"] * len(dropped)
    assert [node.rule for node in root.children] == [rules.get(node["stamp"]) for node in expected]


def test_loading_drops_old_nodes_and_leaves_them_as_they_were():
    root, rules = Root(), make_list("ab")
    root.load([{"stamp": "a", "children": [{"stamp": "b"}]}], rules)
    old = root.children
    root.load((UserDict(stamp="b"),), rules)
    assert root.data == [{"stamp": "b", "children": []}]
    assert len(old) == len(old[0].children) == 1
    with pytest.raises(AttributeError):
        root.load([5], rules)


def test_nodes_are_held_by_identity():
    rule, other = make_list("ab")
    root, node, same = Root(), Root.create_node(rule), Node(rule)
    for added in (node, node, same):
        root.append(added)
    assert root.children == [node, same]
    node.append(Node(other))
    assert [root.is_root(asked) for asked in (rule, other, Rule(rule.data))] == [True, False, False]
    for removed in (Node(rule), node):
        root.remove(removed)
    assert root.children == [same]
    below = [node]
    assert Node(rule, below).children is below
    assert Node(rule, (node,)).children == []


def test_the_text_form_is_an_outline():
    car, wheel, lines = make_list(["car", "wheel", "two\nlines"])
    root = Root()
    root.append(Node(car, [Node(wheel, [Node(lines)]), Node(car)]))
    root.append(Node(car))
    assert str(root) == "car\n  wheel\n    two\n    lines\n  car\ncar"
    assert str(Root()) == ""


def test_deep_trees_are_walked_to_their_end():
    rules = make_list("a")
    root = node = Root()
    for _ in range(100_000):
        node.append(node := Node(rules.get("a")))
    loaded, depth = Root(), 0
    loaded.load(root.data, rules)
    while loaded.children:
        loaded, depth = loaded.children[0], depth + 1
    assert depth == 100_000
    with pytest.raises(RecursionError):
        str(root)
    below = root.children[0]
    root.clear()
    assert below.children == []


def test_a_node_below_itself_is_an_error():
    rules, root, entry = make_list("a"), Root(), {"stamp": "a"}
    node = Node(rules.get("a"))
    node.append(Node(rules.get("a"), [node]))
    root.append(node)
    entry["children"] = [entry]
    for use in (lambda: root.data, root.clear, root.__str__, lambda: Root().load([entry], rules)):
        with pytest.raises(RecursionError):
            use()


@pytest.mark.parametrize(
    ("call", "message"),
    [
        (lambda rules, _: rules.append("a"), "append() argument"),
        (lambda rules, _: rules._array.append(5) or rules.reorder(Rule.List.predefined()), "Rule expected"),
        (lambda _, root: root.children.append(5) or root.data, "Node expected"),
    ],
)
def test_strangers_are_found_out(call, message):
    with pytest.raises(TypeError, match=re.escape(message)):
        call(make_list("a"), Root())
