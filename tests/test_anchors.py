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


@example("<a:x:y><a:x><<a:x>><a:(?P<g>x)><>_<:><b")
@given(st.text("<>:ab\n\u00e9\ud800", max_size=12))
def test_finding(text):
    anchors = re.findall("<.*?>", text)
    assert Anchor.findall(text) == anchors
    assert Anchor.findall(text, unpacked=True) == [anchor[1:-1] for anchor in anchors]
    assert Anchor.find(text) == [anchor for anchor in anchors if anchor.count(":") == 1]
    assert all(Anchor.has_definition(anchor) is (anchor.count(":") == 1) for anchor in anchors)


def test_unpacking():
    for text, parts in (
        ("<a:x>", ("<a>", "x")),
        ("<<a:x>", ("<a>", "x")),
        ("a:<x", ("<a>", "x")),
        ("<:>", ("<>", "")),
    ):
        assert Anchor.unpack_anchor(text) == parts
    for text in ("<a>", "<a:b:c>", ""):
        assert not Anchor.has_definition(text)
        with pytest.raises(ValueError):
            Anchor.unpack_anchor(text)


def test_what_is_visible_from_where():
    for scope, path in (
        ("a|b|c", "a/b/d"),
        ("a\\b\\c", "|a|b|d"),
        ("/x", "/a/b/c"),
        ("/a/x", "/a/b/c"),
        ("", "/a"),
    ):
        assert Anchor.same_scope(scope, path), (scope, path)
    for scope, path in (
        ("/a/c/x", "/a/b/x"),
        ("/a/b/c", "/x"),
        ("/ab/x", "/a/b"),
        ("/a/b", ""),
        ("//a//x", "b|y"),
    ):
        assert not Anchor.same_scope(scope, path), (scope, path)


def test_shared_starts_are_counted_in_characters():
    assert Anchor.count_shared_symbols("/a/b1", "/a/b2") == 4
    assert Anchor.count_shared_symbols("/é", "/è") == 1  # of one first byte
    assert Anchor.count_shared_symbols("/é1", "/é") == 2
    assert Anchor.count_shared_symbols("", "a") == 0


@pytest.mark.parametrize(
    ("expression", "plain"),
    [
        ("pre_<v:^\\d+$>_post", "pre_\\d+_post"),
        ("<v:^\\d+$>", "^\\d+$"),
        ("<v:^\\d+$>_post", "^\\d+_post"),
        ("pre_<v:^\\d+$>", "pre_\\d+$"),
        ("^<v:^\\d+$>", "^\\d+$"),
        ("<v>_", "^\\d+_"),
        ("no anchors", "no anchors"),
    ],
)
def test_values_are_trimmed_where_more_follows(expression, plain):
    assert anchor_of({"<v:^\\d+$>": ()}).apply_anchors(expression) == plain


def test_the_example_of_a_car():
    anchor = anchor_of({"<asset:[a-z]+>": ()})
    body, wheel = "^<asset:[a-z]+>_body$", r"^<asset>_wheel_\d+$"
    assert anchor.match(body, "car_body", "/cars/car_body")
    assert anchor.state.expressions == {"<asset:[a-z]+>": {("car", "/cars/car_body")}}
    assert anchor.replace_anchors(wheel, "/cars/car_wheel_1") == r"^car_wheel_\d+$"
    assert anchor.match(wheel, "car_wheel_1", "/cars/car_wheel_1")
    assert not anchor.match(wheel, "truck_wheel_1", "/cars/truck_wheel_1")
    assert anchor.match(wheel, "_wheel_1", "/other/_wheel_1")  # not visible there: the usage vanishes
    assert anchor.has_anchor(body) and not anchor.has_sub_anchor(body)
    assert anchor.has_sub_anchor(wheel) and not anchor.has_anchor(wheel)


@pytest.mark.parametrize(
    ("table", "expression", "name", "error"),
    [
        ({KEY: ()}, KEY + KEY, "ab", ValueError),
        ({"<n:a$>": ()}, "<n:a$><n:a$>", "b", ValueError),  # before anything is compared
        (
            {"<n:a$>": ()},
            "<n><n>x",
            "b",
            None,
        ),  # a usage may stand twice: there is nothing captured to stand for it
        ({"<n:(>": ()}, "<n:(>", "(", re.error),
        ({}, "(", "(", re.error),
        ({"<n:a>": (), "<m:b>": ()}, "(<n:a>)<m:b>", "ab", re.error),  # only when the name is cut
    ],
)
def test_errors_leave_the_captures(table, expression, name, error):
    anchor = anchor_of(table)
    if error is None:
        assert anchor.match(expression, name, "/p") is False
    else:
        with pytest.raises(error):
            anchor.match(expression, name, "/p")
    assert anchor.state.expressions == {key: set() for key in table}


texts = st.text(st.sampled_from("ab<n>:^$.é\ud800\n"), max_size=4)
paths = st.text(st.sampled_from("/|ab\\éè€\ud800\n"), max_size=6)
captures = st.sets(st.tuples(texts, paths), max_size=12)
keys = [KEY, "<n:^a$>", "<m:.>", "<<n:b>", "<:a>", "<n:a>b<c>"]
tables = st.dictionaries(st.sampled_from(keys), captures, max_size=4)
expressions = st.lists(st.sampled_from([*keys, "<n>", "<m>", "<>", "^", "$", "a", ".", "_"]), max_size=5)


@settings(max_examples=10 * settings().max_examples)
@example({KEY: {(":", ""), ("n><", "")}}, "<n><n>", "")  # a usage that comes about where two captures meet
@given(tables, expressions.map("".join), paths)
def test_agrees_with_the_plain_writing(table, expression, path):
    def outcome(anchors, operation, *arguments):
        try:
            return getattr(anchors, operation)(*arguments)
        except (ValueError, re.error) as error:
            return type(error)

    ours, plain = anchor_of(table), plain_scan.Anchors()
    plain.table = {key: set(pairs) for key, pairs in table.items()}
    assert outcome(ours, "replace_anchors", expression, path) == outcome(plain, "replace", expression, path)
    assert outcome(ours, "apply_anchors", expression) == outcome(plain, "apply", expression)
    for name in ("ab", "a", "", "b\n", "é"):
        assert outcome(ours, "match", expression, name, path) == outcome(
            plain, "match", expression, name, path
        )
    assert list(ours.state.expressions.items()) == list(plain.table.items())


@given(captures, paths)
def test_the_closest_comes_first(pairs, path):
    assert Anchor.get_scope_sorted(path, pairs) == plain_scan.by_closeness(path, pairs)
    backwards = Anchor.get_scope_sorted("", [*pairs])
    assert backwards == [*pairs][::-1]  # a list has an order: among equals the later comes first


# The state.


def test_copies_are_apart():
    state = State()
    state.set({KEY: [("a", "/a")]})
    copy = state.clone()
    copy.expressions[KEY].add(("b", "/b"))
    state.expressions["<m:x>"] = set()
    assert state.expressions == {KEY: {("a", "/a")}, "<m:x>": set()}
    assert copy.expressions == {KEY: {("a", "/a"), ("b", "/b")}}
    state.apply(copy)
    copy.expressions[KEY].clear()
    assert state.expressions == {KEY: {("a", "/a"), ("b", "/b")}}


def test_a_sum_holds_both_in_the_order_of_their_keys():
    left, right = State(), State()
    left.set({"<b:1>": {("x", "/")}, "<a:1>": ()})
    right.set({"<c:1>": (), "<a:1>": {("z", "/")}, "<b:1>": {("y", "/")}})
    both = left + right
    assert list(both.expressions.items()) == [
        *(("<b:1>", {("x", "/"), ("y", "/")}), ("<a:1>", {("z", "/")}), ("<c:1>", set())),
    ]
    assert left + left == left and (left + left) is not left
    rebound = left
    rebound += right
    assert rebound == both and list(left.expressions) == ["<b:1>", "<a:1>"]
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
    empty = State()
    empty.make_hash()
    assert empty == State() or empty.get_hash() != 0


def test_what_python_adds_to_the_table_counts():
    anchor = anchor_of({KEY: ()})
    table = anchor.state.expressions
    table[KEY].add(("a", "/a"))
    assert anchor.replace_anchors("<n>", "/b") == "a"
    assert anchor.match(KEY, "bb", "/b")
    assert table is anchor.state.expressions and table[KEY] == {("a", "/a"), ("bb", "/b")}


@pytest.mark.parametrize("table", [{1: ()}, {KEY: [("a",)]}, {KEY: [(1, 2)]}, {KEY: 1}, None])
def test_tables_of_something_else_are_refused_whole(table):
    state = State()
    state.set({KEY: [("a", "/")]})
    with pytest.raises((TypeError, ValueError, AttributeError)):
        state.set_expressions(table)
    assert state.expressions == {KEY: {("a", "/")}}


@pytest.mark.parametrize(
    ("operation", "arguments"),
    [
        *(("find", (1,)), ("findall", (None,)), ("has_definition", (b"a",)), ("unpack_anchor", (1,))),
        *(("same_scope", ("a", 1)), ("count_shared_symbols", (1, "a")), ("merge_begins", ("a", "b"))),
        *(("get_scope_sorted", (1, [])), ("replace_anchors", ("a", None)), ("match", ("a", "b", 3))),
        *(("apply_anchors", (1,)), ("extract_anchors", ("a", 1, "c")), ("has_anchor", ()), ("match", ("a",))),
    ],
)
def test_wrong_arguments_are_told_by_name(operation, arguments):
    with pytest.raises(TypeError, match=operation):
        getattr(Anchor(), operation)(*arguments)


def test_many_captures_are_looked_up_and_dropped():
    # A chain of captures is dropped without recursion, and a usage finds the closest of all.
    anchor = anchor_of({KEY: {(f"a{i}", f"/r/{i:06}/x") for i in range(100_000)} | {("b", "/r/y")}})
    assert anchor.replace_anchors("<n>", "/r/000777/z") == "a777"
    assert anchor.replace_anchors("<n>", "/r/z") == "b"
    anchor.state.set_expressions({})
    assert anchor.replace_anchors("<n>", "/r/z") == "<n>"
