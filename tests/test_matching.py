"""The engine against a plain writing of the same matching, over scenes and patterns of every shape."""

import re
from functools import cache
from random import Random

import plain_scan
import pytest
from hosts import DictHost, logged, node, rule, scene, session
from hypothesis import event, given, settings
from hypothesis import strategies as st

STEMS = ["a", "b", "ab"]
NAMES = [
    *(f"{stem}_{end}" for stem in STEMS for end in "xy"),
    *STEMS,
    "",
    "a_x_y",
    "._x",
    "^a",
    "grp",
    "b\n",
    "\udc80_x",
]
TYPES = ["transform", "locator"]
# Expressions as projects have them, beside those of random pieces.
USUAL = [
    *("^<n:[ab]+>_x$", "^<n>_y$", "^<n>_[xy]", "^<m:[ab]+>_<n:[xy]>$", "^<m>_<n>", "^[ab]+_x", "_y$", "."),
    *("^<n:[ab]+>", "^<n>", "^<n:a><m:b?>_", "^<m:<n>>_", "^<n:[ab]+>_<n>?", "^<n>$|^<n>_", "^<n:[ab]*>$"),
]
PIECES = [
    *(
        "<n:[ab]+>",
        "<n:[a-z]>",
        "<m:.>",
        "<m:[ab]*>",
        "<n:^[ab]+>",
        "<n:[ab]+$>",
        "<m:^a$>",
        "<m:x|y>",
        "<n:b>",
    ),
    *("<:a>", "<<n:[ab]>", "<n:(>", "<n>", "<m>", "<n><n>", "<>", "<k>", "<a:x:y>", "(?:<n>|b)"),
    *("", "a", "[ab]+", ".", "_", "_x", "_[xy]", "\\w*", "(", "a|b"),
]
RANGES = [(0, 0), (0, 2), (2, 3), *3 * [(1, 1), (0, 1), (1, 2)], *7 * [(1, 5), (0, 5), (0, 9)], (2, 1)]


@cache
def names_for(expression):
    """The names that the expression may match when its usages stand for anything."""
    loose = re.sub("<[^:>]*>", "[abxy]+", re.sub("<+[^:>]*:([^:>]*)>", r"(?:\1)", expression))
    try:
        return [name for name in NAMES if re.match(loose, name)] or NAMES
    except re.error:
        return NAMES


class Maker:
    """Makes a pattern, and a scene that mostly fits it."""

    def __init__(self, seed, depth):
        self.random, self.depth = Random(seed), depth
        self.host = DictHost()

    def chance(self, percent):
        return self.random.random() * 100 < percent

    def expression(self):
        if self.chance(80):
            return self.random.choice(USUAL)
        parts = [["", "^"], PIECES, PIECES, ["", "_x", "$"]]
        return "".join(map(self.random.choice, parts))

    def rule(self):
        kinds = self.random.choice([(), (), (), ("transform",), ("locator", "transform"), None])
        made = rule(self.random.choice("pqrs"), self.expression(), *self.random.choice(RANGES), kinds)
        made.stamp = f"{made.name} {made.regex} {made.range.data} {made.types}"
        return made

    def layer(self, depth):
        some = [self.rule() for _ in range(self.random.choice([1, 1, 1, 2, 2, 3]))]
        if some and self.chance(10) and (depth or not self.has_ghost):
            some.append(self.random.choice(some))  # equal rules; not where objects can come twice
        return [
            node(one, *(self.layer(depth + 1) if depth < self.depth and self.chance(70) else ()))
            for one in some
        ]

    def pattern(self):
        self.has_ghost = self.chance(30)
        top = self.layer(0)
        if not self.has_ghost:
            self.grow_groups(top, "")
            return top
        ghost = rule("ghost", self.random.choice(["^grp", "^grp", "", "^<n:a>", "p$"]))
        ghost.types = self.random.choice([[], ["sceneRoot", "locator"], ["transform"], ["transform"]])
        self.grow_groups(
            top, "" if self.chance(30) else self.put("", self.random.choice(["grp", "grp_a"]), ghost)
        )
        return [node(self.rule()), node(ghost, *top)] if self.chance(20) else [node(ghost, *top)]

    def put(self, parent, name, rule):
        path = f"{parent}{self.random.choice('//|')}{name}"
        path += f"#{len(self.host.objects)}" if path in self.host.objects else ""
        kind = self.random.choice(TYPES) if self.chance(10) else (rule.types or TYPES)[0]
        self.host.put(path, parent or None, kind)
        return path

    def grow_groups(self, top, parent):
        for _ in range(self.random.randint(1, 3)):
            self.grow(top, parent, self.random.choice(STEMS))
        paths = list(self.host.objects)
        roots = [path for path in paths if not self.host.objects[path][0]]
        self.host.selection = (
            roots if self.chance(70) else self.random.sample(paths, self.random.randint(0, len(paths)))
        )
        self.random.shuffle(self.host.selection)

    def grow(self, layer, parent, stem):
        for one in layer:
            least, most = one.rule.range.data
            for _ in range(self.random.randint(least, min(most, least + 2)) if least <= most else 1):
                names = NAMES if self.chance(4) else names_for(one.rule.regex)
                names = [name for name in names if name.split("_")[0] == stem] or names
                path = self.put(parent, self.random.choice(names), one.rule)
                self.grow(one.children, path, self.random.choice(STEMS) if self.chance(10) else stem)
        siblings = self.host.children.get(parent, [])
        if self.chance(50):
            self.random.shuffle(siblings)
        if siblings and self.chance(2):
            siblings.append("/lost")  # listed, and not there


many = settings(max_examples=15 * settings().max_examples)
cases = st.tuples(st.sampled_from([1, 0, 2, 3]), st.integers(0, 2**32))


def outcome(function, *arguments):
    """The result, or the kind of the error."""
    try:
        return function(*arguments)
    except Exception as error:
        return type(error)


def pairs(result):
    """What a layer's search found, of either writing, with the rules told by their stamps."""
    if isinstance(result, type):
        return result
    found = [(r.location, r.scope) for r in result] if hasattr(result, "is_empty") else result
    return [(location.path, scope.rule.stamp) for location, scope in found]


class Both:
    """The engine and the plain writing, set up alike."""

    def __init__(self, host, *pattern):
        self.engine = session(host, *pattern)
        self.hierarchy = self.engine.hierarchy
        self.roots = host.get_selection_roots()
        self.engine.virtual.upload(self.roots)
        top = plain_scan.plain_scopes(self.hierarchy.pattern._hierarchy)
        self.plain = plain_scan.Matching(plain_scan.take_snapshot(host, self.roots), top)

    @classmethod
    def made(cls, depth, seed):
        maker = Maker(seed, depth)
        pattern = maker.pattern()
        return cls(maker.host, *pattern)

    def captures(self):
        return self.hierarchy.search.logic.state.expressions

    def agree(self, engine, plain):
        """Do both say the same? Only then, and if it was no error, their captures must be the same too."""
        assert engine == plain
        if not isinstance(plain, type):
            assert list(self.captures().items()) == list(self.plain.anchors.table.items())


@many
@given(cases)
def test_a_scan_agrees(case):
    both = Both.made(*case)
    host = both.engine.host
    selection, plain = list(host.selection), both.plain
    expected = outcome(lambda: plain.scan(plain.begin_at(selection, both.roots)))
    if isinstance(expected, type):
        event("error")
        with logged() as messages:
            assert both.engine.scanner.upload_buffer() is False
        assert [type(message) for message in messages] == [expected]
        return
    event("hierarchies" if expected else "nothing")
    event("levels" if any(bucket["joint"]["children"] for bucket in expected) else "flat")
    assert both.engine.scanner.upload_buffer() is bool(expected)
    assert host.data == expected
    assert host.appended == plain.hooks
    assert host.selection == selection
    assert both.engine.events == (
        [] if expected else ["empty_scan_result" if selection else "empty_scan_selection"]
    )


@many
@given(cases)
def test_matching_agrees(case):
    both = Both.made(*case)
    hierarchy, plain, roots = both.hierarchy, both.plain, both.roots
    assert outcome(hierarchy.root_scopes, roots) == outcome(plain.root_scopes, roots)
    both.agree(outcome(hierarchy.mask, roots), outcome(plain.mask, roots))
    both.agree(outcome(hierarchy.is_valid, roots), outcome(plain.is_valid, roots))
    claimed = outcome(plain.mask, roots)
    if claimed and not isinstance(claimed, type):
        event("claimed")
        both.agree(outcome(hierarchy.is_valid, claimed), outcome(plain.is_valid, claimed))
        # Captures stay from one to the next.
        scopes, top = hierarchy.pattern.get(), plain.top
        both.agree(outcome(hierarchy.match, claimed, scopes), outcome(plain.match, claimed, top))


@many
@given(cases, st.lists(st.booleans(), min_size=2, max_size=4))
def test_layers_agree(case, exacts):
    both = Both.made(*case)
    search, plain = both.hierarchy.search, both.plain
    both.hierarchy.find_anchors()
    plain.find_anchors()
    level, scopes, top = both.roots, both.hierarchy.pattern.get(), plain.top
    for exact in exacts:  # one level after the other, with the captures of those before
        engine, expected = (
            outcome(search.layer, level, scopes, exact),
            outcome(plain.layer, level, top, exact),
        )
        both.agree(pairs(engine), pairs(expected))
        if isinstance(expected, type) or not expected:
            return
        event("found")
        location, scope = expected[-1]
        level, scopes, top = location.children, list(engine)[-1].scope.children, scope.children


def test_equal_rules_share_what_they_take():
    shared = rule("part", "^a", 0, 2)
    host = scene({"a1": None, "a2": None, "b": None})
    both = Both(host, node(shared), node(rule("b", "^b", 0, 1)), node(shared))
    paths, search = ["/a1", "/a2", "/b"], both.hierarchy.search
    both.engine.virtual.upload(paths)
    found = pairs(search.layer(paths, both.hierarchy.pattern.get()))
    assert [path for path, _ in found] == ["/b"]  # what stands for both is what the later one found: nothing


# Growth, told by counts of calls.


@pytest.fixture
def compiled(monkeypatch):
    """The expressions handed to the runtime, one entry a call."""
    calls, compile_ = [], re.compile
    monkeypatch.setattr(re, "compile", lambda *arguments: calls.append(arguments[0]) or compile_(*arguments))
    return calls


def assets(count):
    """Hierarchies of one pattern, each with a name of its own."""
    number = "^<n:\\d+>$"
    return (
        scene({f"{i}": {f"{i}_body": None, f"{i}_wheel": None} for i in range(count)}),
        node(
            rule("asset", number), node(rule("body", "^<n>_body$")), node(rule("wheel", "^<n>_wheel$", 1, 4))
        ),
    )


def test_the_host_is_asked_once_for_each_object_and_never_while_matching():
    for count in (1, 40):
        host, pattern = assets(count)
        host.selection = [str(f"/{i}") for i in range(count)]
        engine = session(host, pattern)
        assert engine.scanner.upload_buffer()
        queries = ("object_exists", "get_type", "get_parent", "get_children", "name_from_path")
        assert {host.calls[query] for query in queries} == {3 * count}
        assert len(engine.buffer.get()) == count


def test_expressions_grow_with_the_assets_only(compiled):
    counts = []
    for count in (30, 60):
        host, pattern = assets(count)
        host.selection = [f"/{i}" for i in range(count)]
        del compiled[:]
        assert session(host, pattern).scanner.upload_buffer()
        assert max(map(compiled.count, compiled), default=0) <= 1
        counts.append(len(compiled))
    assert counts[1] <= 2 * 60 + 5  # two of its own for each asset, however often it is looked at


def test_a_range_of_a_thousand_million_costs_nothing():
    engine = session(scene({"a": None}), node(rule("any", ".", 0, 1_000_000_000)))
    engine.virtual.upload(["/a"])
    assert engine.hierarchy.mask(["/a"]) == ["/a"]
