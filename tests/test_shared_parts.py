"""Trees whose parts stand in their parents twice: few levels have more ways down than anybody waits for."""

import gc
import signal

import pytest
from hosts import node, rule, scene, session

import core

Joint, Bucket = core.Scene._Buffer.DataJoint, core.Scene._Buffer.DataBucket
Scope, Tree = core._Hierarchy.Pattern.Scope, core._Project.Settings.Rule.Tree
LEVELS = 40


def shared(make):
    """The top level of a tree, made of the lists of what stands below."""
    level = []
    for number in range(LEVELS, 0, -1):
        level = [make(number, level)] * 2
    return level


def engine(regex):
    """A scene of shared objects, and a pattern that fits it."""
    host, below = scene({"0": None}), []
    for number in range(1, LEVELS + 1):
        host.put(f"/{number}", f"/{number - 1}")
        host.children[f"/{number - 1}"] = [f"/{number}"] * 2
        below = [node(rule(f"{number}", regex, 2, 2), *below)]
    engine = session(host, node(rule("top", regex), *below))
    engine.virtual.upload(["/0"])
    return engine


def joints():
    return shared(lambda number, below: Joint(path=f"/{number}", children=below))


def scopes():
    return shared(lambda number, below: Scope(rule("a", "<n:a>"), below))


def data():
    return shared(lambda number, below: {"stamp": "<a>", "children": below})


def tree(rules):
    root = Tree.Root()
    root.children[:] = shared(lambda number, below: Tree.Node(rules.get("<a>"), below))
    return root


@pytest.mark.skipif(not hasattr(signal, "setitimer"), reason="no clock sends a signal here")
@pytest.mark.parametrize(
    "walk",
    [
        lambda rules: Bucket(joints()[0]).data,
        lambda rules: core.Scene._Buffer(None, None, None)._decode(data()[0]),
        lambda rules: tree(rules).data,
        lambda rules: str(tree(rules)),
        lambda rules: Tree.Root().load(data(), rules),
        lambda rules: core._Hierarchy.Pattern(None)._set_hierarchy(tree(rules)),
        lambda rules: core._Hierarchy(None, None)._hierarchy_runner(id, scopes()),
        lambda rules: engine("<n:.+>").hierarchy.is_valid(["/0"]),
    ],
)
def test_an_interrupt_ends_what_has_no_end(walk):
    before = signal.signal(signal.SIGALRM, signal.default_int_handler)
    gc.disable()  # callbacks of the collector would swallow the interrupt
    with pytest.raises(KeyboardInterrupt):
        try:
            signal.setitimer(signal.ITIMER_REAL, 0.2, 0.5)
            walk(core._Project.Settings.Rule.List([{"stamp": "<a>", "name": "a"}]))
        finally:
            signal.setitimer(signal.ITIMER_REAL, 0)
            gc.enable()
    signal.signal(signal.SIGALRM, before)


def test_each_part_is_looked_at_once_where_that_makes_no_difference():
    whole = engine(".+")
    assert whole.hierarchy.is_valid(["/0"]) and not whole.hierarchy.is_valid([f"/{LEVELS}"])
    whole.buffer.add([Bucket(Joint(path="/0", children=joints()))])
    whole.buffer.sort()
    whole.host.calls.clear()
    assert whole.buffer.is_match() and whole.host.calls["object_exists"] < 4 * LEVELS
    core._Hierarchy.Pattern._Sorter.sort(scopes())
    assert whole.hierarchy.match([], shared(lambda number, below: Scope(rule("a", "<n:a>", 0), below)))
