"""Expressions with anchors, and the table of what was captured."""

import re

import plain_scan
import pytest
from hypothesis import example, given, settings
from hypothesis import strategies as st

import core

Anchor = core._Hierarchy.Anchor
State = Anchor._State
KEY = "<n:[ab]+>"


def anchor_of(table):
    anchor = Anchor()
    anchor.state.set_expressions(table)
    return anchor


def outcome(operation, *arguments):
    try:
        return operation(*arguments)
    except (ValueError, re.error) as error:
        return type(error)


# Texts, captures and tables as projects and scenes bring them along, and as they should not.
texts = st.text(st.sampled_from("ab<n>:^$.é\ud800\n"), max_size=4)
paths = st.text(st.sampled_from("/|ab\\éè€\ud800\n"), max_size=6)
captures = st.sets(st.tuples(texts, paths), max_size=12)
keys = [KEY, "<n:^a$>", "<m:.>", "<<n:b>", "<:a>", "<n:a>b<c>"]
tables = st.dictionaries(st.sampled_from(keys), captures, max_size=4)
expressions = st.lists(st.sampled_from([*keys, "<n>", "<m>", "<>", "^", "$", "a", ".", "_"]), max_size=5)


@example("<a:x:y><a:x><<a:x>><a:(?P<g>x)><>_<:><b")
@example("<<a:x>")
@given(st.text("<>:ab\n\u00e9\ud800", max_size=12))
def test_finding(text):
    anchors = re.findall("<.*?>", text)
    assert Anchor.findall(text) == anchors
    assert Anchor.findall(text, unpacked=True) == [anchor[1:-1] for anchor in anchors]
    assert Anchor.find(text) == plain_scan.find_definitions(text)
    assert Anchor.has_definition(text) is (text.count(":") == 1)
    assert outcome(Anchor.unpack_anchor, text) == outcome(plain_scan.split_definition, text)


@given(paths, paths)
def test_paths_are_compared_by_parents_and_by_characters(scope, path):
    assert Anchor.same_scope(scope, path) is plain_scan.same_scope(scope, path)
    assert Anchor.count_shared_symbols(scope, path) == plain_scan.count_shared(scope, path)


@given(captures, paths)
def test_the_closest_comes_first(pairs, path):
    assert Anchor.get_scope_sorted(path, pairs) == plain_scan.by_closeness(path, pairs)
    assert Anchor.get_scope_sorted("", [*pairs]) == [*pairs][::-1]  # a list has an order of its own


def test_values_lose_their_ends_where_more_stands_beside_them():
    for source, begins, both in (
        ("<v>", "^a$", "^a$"),
        ("<v>_", "^a", "^a"),
        ("_<v>", "^a$", "a$"),
        ("_<v>_", "^a", "a"),
    ):
        assert Anchor.merge_begins("<v>", "^a$", source) == begins
        assert Anchor.merge_ends("<v>", begins, source) == both
    assert Anchor.merge_ends("<v>", "a$", "<v><v>") == "a$"
    for operation in (Anchor.merge_begins, Anchor.merge_ends):
        with pytest.raises(ValueError):
            operation("<v>", "^a$", "<v><v>")


@settings(max_examples=4 * settings().max_examples)
@example({KEY: {(":", ""), ("n><", "")}}, "<n><n>", "")  # a usage that comes about where two captures meet
@example({KEY: {("<n>", "/a"), ("b", "/b")}}, "<n>", "/a")  # or that a capture brings along
@example({KEY: ()}, KEY + KEY, "")
@example({"<n:a$>": ()}, "<n:a$><n:a$>", "")  # refused before anything is compared
@example({"<n:a>": (), "<m:b>": ()}, "(<n:a>)<m:b>", "")  # only when the name is cut
@given(tables, expressions.map("".join), paths)
def test_agrees_with_the_plain_writing(table, expression, path):
    ours, plain = anchor_of(table), plain_scan.Anchors()
    plain.table = {key: set(pairs) for key, pairs in table.items()}
    assert outcome(ours.replace_anchors, expression, path) == outcome(plain.replace, expression, path)
    assert outcome(ours.apply_anchors, expression) == outcome(plain.apply, expression)
    assert ours.has_anchor(expression) is any(key in expression for key in table)
    usages = [plain_scan.split_definition(key)[0] for key in table]
    assert ours.has_sub_anchor(expression) is any(usage in expression for usage in usages)
    for name in ("ab", "a", "", "b\n", "é"):
        assert outcome(ours.match, expression, name, path) == outcome(plain.match, expression, name, path)
    assert list(ours.state.expressions.items()) == list(plain.table.items())


# The state.


def test_copies_are_apart():
    state = State()
    state.set({KEY: [("a", "/a")]})
    copy = state.clone()
    copy.expressions[KEY].add(("b", "/b"))
    state.expressions["<m:x>"] = set()
    assert state.expressions == {KEY: {("a", "/a")}, "<m:x>": set()}
    state.apply(copy)
    copy.expressions[KEY].clear()
    assert state.expressions == {KEY: {("a", "/a"), ("b", "/b")}}


def test_a_map_that_is_held_shows_what_is_captured_and_counts():
    anchor = anchor_of({KEY: (), "<m:.>": ()})
    held = anchor.state.expressions
    for path in ("/a", "/b"):
        assert anchor.match(KEY + "_", "a_", path) and ("a", path) in held[KEY]
    held[KEY].remove(("a", "/b"))  # as many as before
    held[KEY].add(("b", "/b"))
    assert anchor.replace_anchors("<n>", "/b") == "b" and anchor.match(KEY, "ab", "/c")
    assert held == {KEY: {("a", "/a"), ("b", "/b"), ("ab", "/c")}, "<m:.>": set()}
    held[KEY] = held.pop(KEY)
    assert anchor.match("a", "a", "/") and [*anchor.state.clone().expressions] == ["<m:.>", KEY]
    del held[KEY]
    assert anchor.match(KEY, "a", "/") is False and held == {"<m:.>": set()}


def test_a_sum_holds_both_in_the_order_of_their_keys():
    left, right = State(), State()
    left.set({"<b:1>": {("x", "/")}, "<a:1>": ()})
    right.set({"<c:1>": (), "<a:1>": {("z", "/")}, "<b:1>": {("y", "/")}})
    both = {"<b:1>": {("x", "/"), ("y", "/")}, "<a:1>": {("z", "/")}, "<c:1>": set()}
    assert list((left + right).expressions.items()) == list(both.items())
    assert left + left == left and (left + left) is not left
    rebound = left
    rebound += right
    assert rebound == left + right and list(left.expressions) == ["<b:1>", "<a:1>"]
    with pytest.raises(TypeError):
        left + {}


def test_the_hash_is_that_of_the_last_time():
    state, other = State(), State()
    assert state.get_hash() == hash(state) == 0
    state.set_expressions({KEY: [("b", "/"), ("a", "/")]})
    assert state.get_hash() == 0
    state.make_hash()
    other.set({KEY: [("a", "/"), ("b", "/")]})
    assert state == other and hash(state) == hash(other) != 0
    state.expressions[KEY].add(("c", "/"))
    assert state == other and state.clone() != other
    assert state != object()


def test_a_table_may_be_changed_and_replaced_from_python():
    anchor = anchor_of({KEY: ()})
    table = anchor.state.expressions
    table[KEY].add(("a", "/a"))
    assert anchor.replace_anchors("<n>", "/b") == "a"
    assert anchor.match(KEY, "bb", "/b")
    assert table is anchor.state.expressions and table[KEY] == {("a", "/a"), ("bb", "/b")}
    anchor.state.expressions = other = {"<m:.>": {("c", "/c")}}
    assert anchor.state.expressions is other and anchor.replace_anchors("<n><m>", "/b") == "<n>c"
    assert anchor.match("<m:.>", "d", "/d") and other == {"<m:.>": {("c", "/c"), ("d", "/d")}}
    assert len(table[KEY]) == 2


@pytest.mark.parametrize("table", [{1: ()}, {KEY: [("a",)]}, {KEY: [(1, 2)]}, {KEY: 1}, None])
def test_tables_of_something_else_are_refused_whole(table):
    state = State()
    state.set({KEY: [("a", "/")]})
    with pytest.raises((TypeError, ValueError, AttributeError)):
        state.set_expressions(table)
    with pytest.raises((TypeError, ValueError, AttributeError)):
        state.expressions = table
    assert state.expressions == {KEY: {("a", "/")}}
