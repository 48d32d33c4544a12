"""The engine against a plain writing of the same matching, over scenes and patterns of every shape."""

import re
import shutil
import subprocess
from functools import cache
from pathlib import Path
from random import Random

import plain_scan
import pytest
from hosts import QUERIES, DictHost, logged, node, rule, scene, session
from hypothesis import given, settings
from hypothesis import strategies as st

import core

STEMS = ["a", "b", "ab"]
NAMES = [f"{stem}{end}" for stem in STEMS for end in ("", "_x", "_y")]
NAMES += ["", "a_x_y", "._x", "^a", "grp", "<n>", "é_x", "b\n", "\udc80_x"]
TYPES = ["transform", "locator"]
# Expressions as projects have them, and pieces that make others.
USUAL = r"""
    ^<n:[ab]+>_x$ ^<n>_y$ ^<n>_[xy] ^<m:[ab]+>_<n:[xy]>$ ^<m>_<n> ^[ab]+_x _y$ .
    ^<n:[ab]+> ^<n> ^<n:a><m:b?>_ ^<m:<n>>_ ^<n:[ab]+>_<n>? ^<n>$|^<n>_ ^<n:[ab]*>$
"""
PIECES = r"""
    <n:[ab]+> <n:[a-z]> <m:.> <m:[ab]*> <n:^[ab]+> <n:[ab]+$> <m:^a$> <m:x|y> <n:b>
    <:a> <<n:[ab]> <n:(> <n> <m> <n><n> <> <k> <a:x:y> (?:<n>|b) a [ab]+ . _ _x _[xy] \w* ( a|b
"""
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
            return self.random.choice(USUAL.split())
        pieces = ["", *PIECES.split()]
        parts = [["", "^"], pieces, pieces, ["", "_x", "$"]]
        return "".join(map(self.random.choice, parts))

    def rule(self):
        kinds = self.random.choice([(), (), (), ("transform",), ("locator", "transform"), None])
        made = rule(self.random.choice("pqrs"), self.expression(), *self.random.choice(RANGES), kinds)
        made.stamp = f"{made.name} {made.regex} {made.range.data} {made.types}"
        return made

    def layer(self, depth):
        some = [self.rule() for _ in range(self.random.choice([1, 1, 1, 2, 2, 3]))]
        if self.chance(10) and (depth or not self.has_ghost):
            some.append(self.random.choice(some))  # equal rules; not where objects can come twice
        deeper = depth < self.depth
        return [node(one, *(self.layer(depth + 1) if deeper and self.chance(70) else ())) for one in some]

    def pattern(self):
        self.has_ghost = self.chance(30)
        top = self.layer(0)
        if not self.has_ghost:
            self.grow_groups(top, "")
            return top
        ghost = rule("ghost", self.random.choice(["^grp", "^grp", "", "^<n:a>", "p$"]))
        ghost.types = self.random.choice([[], ["sceneRoot", "locator"], ["transform"], ["transform"]])
        parent = "" if self.chance(30) else self.put("", self.random.choice(["grp", "grp_a"]), ghost)
        self.grow_groups(top, parent)
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
        count = self.random.randint(0, len(paths))
        self.host.selection = roots if self.chance(70) else self.random.sample(paths, count)
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

    def __init__(self, depth, seed):
        maker = Maker(seed, depth)
        pattern, host = maker.pattern(), maker.host
        self.engine = session(host, *pattern)
        self.hierarchy = self.engine.hierarchy
        self.roots = host.get_selection_roots()
        self.engine.virtual.upload(self.roots)
        top = plain_scan.plain_scopes(self.hierarchy.pattern._hierarchy)
        self.plain = plain_scan.Matching(plain_scan.take_snapshot(host, self.roots), top)

    def find_anchors(self):
        self.hierarchy.find_anchors()
        self.plain.find_anchors()

    def agree(self, engine, plain):
        """Do both say the same? Only then, and if it was no error, their captures must be the same too."""
        assert engine == plain
        if not isinstance(plain, type):
            captures = self.hierarchy.search.logic.state.expressions
            assert list(captures.items()) == list(self.plain.anchors.table.items())


@many
@given(cases)
def test_a_scan_agrees(case):
    both = Both(*case)
    host = both.engine.host
    selection, plain = list(host.selection), both.plain
    expected = outcome(lambda: plain.scan(plain.begin_at(selection, both.roots)))
    if isinstance(expected, type):
        with logged() as messages:
            assert both.engine.scanner.upload_buffer() is False
        assert [type(message) for message in messages] == [expected]
        return
    assert both.engine.scanner.upload_buffer() is bool(expected)
    assert (host.data, host.appended, host.selection) == (expected, plain.hooks, selection)
    nothing = "empty_scan_result" if selection else "empty_scan_selection"
    assert both.engine.events == ([] if expected else [nothing])


@many
@given(cases, st.lists(st.booleans(), min_size=2, max_size=4))
def test_matching_agrees(case, exacts):
    both = Both(*case)
    hierarchy, search, plain, level = both.hierarchy, both.hierarchy.search, both.plain, both.roots
    scopes, top = hierarchy.pattern.get(), plain.top
    assert outcome(hierarchy.root_scopes, level) == outcome(plain.root_scopes, level)
    both.agree(outcome(hierarchy.is_valid, level), outcome(plain.is_valid, level))
    claimed = outcome(plain.mask, level)
    both.agree(outcome(hierarchy.mask, level), claimed)
    if claimed and not isinstance(claimed, type):
        # Captures stay from one to the next.
        both.agree(outcome(hierarchy.match, claimed, scopes), outcome(plain.match, claimed, top))
        both.agree(outcome(hierarchy.is_valid, claimed), outcome(plain.is_valid, claimed))
    both.find_anchors()
    for scope, plain_scope in zip(scopes, top):  # object by object
        for location in both.engine.virtual.get_locations(level):
            expected = outcome(plain.fits, plain.snapshot[location.path], plain_scope)
            both.agree(outcome(search.scope_match, location, scope), expected)
    both.find_anchors()
    for exact in exacts:  # one level after the other, with the captures of those before
        engine = outcome(search.layer, level, scopes, exact)
        expected = outcome(plain.layer, level, top, exact)
        both.agree(pairs(engine), pairs(expected))
        if isinstance(expected, type) or not expected:
            return
        location, scope = expected[-1]
        level, scopes, top = location.children, list(engine)[-1].scope.children, scope.children


def test_the_matching_by_itself():
    program = shutil.which("test_matching", path=Path(core.__file__).parent / "tests" / "native")
    if program is None:
        pytest.skip("the native tests stand beside a development build")
    result = subprocess.run([program], capture_output=True, text=True, timeout=100, check=False)
    assert result.returncode == 0, result.stderr


def test_the_host_and_the_runtime_are_asked_once_for_each_object(monkeypatch):
    compiled, compile_ = [], re.compile
    monkeypatch.setattr(re, "compile", lambda text: compiled.append(text) or compile_(text))
    count = 60  # hierarchies of one pattern, each with a name of its own
    host = scene({f"{i}": {f"{i}_body": None, f"{i}_wheel": None} for i in range(count)})
    parts = node(rule("body", "^<n>_body(?!x)$")), node(rule("wheel", "^<n>_wheel(?!x)$", 1, 4))
    engine = session(host, node(rule("asset", "^<n:\\d+>$"), *parts))
    host.selection = [f"/{i}" for i in range(count)]
    assert engine.scanner.upload_buffer() and len(engine.buffer.get()) == count
    assert {host.calls[query] for query in QUERIES} == {3 * count}
    assert len(compiled) == len({*compiled}) == 2 * count  # however often an object is looked at
