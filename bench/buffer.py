"""What the operations of the buffer cost, and how that grows, for the trees that could make one slow.

The buffer holds as many joints as there are objects: all below one, each below the last, or each in a bucket
of its own; "ghosts" is one of two joints each for half of the objects, all of which stand below one of the
scene. All operations run one after the other in one session, each session in a process of its own: medians of
three, as no figure here is a target of its own. What is checked tells work that is quadratic from work that
only outgrows the processor's caches, where each object is up to twice as dear to read.
"""

from __future__ import annotations

import sys
from functools import partial
from itertools import pairwise
from statistics import median

from measuring import Session, Table, Target, growths, in_fresh_process, main, seconds
from scenes import MANY, record, rule

import core

DataBucket, DataJoint = core.Scene._Buffer.DataBucket, core.Scene._Buffer.DataJoint
GROWTH = 30


def flat(size: int, run: int):
    """One joint, and all others below it."""
    parents = {"/top": None, **{f"/top/{number}": "/top" for number in range(size - 1)}}
    return parents, record((rule("top", "^top$"), (rule("leaf", r"^\d+$", 1, MANY),))), 1


def chain(size: int, run: int):
    """Each joint below the last. No pattern is that deep."""
    paths = [f"/{number}" for number in range(size)]
    return (
        {paths[0]: None, **{below: above for above, below in pairwise(paths)}},
        record((rule("top", "^0$"),)),
        1,
    )


def many(size: int, run: int):
    """A bucket for each joint."""
    parents = {f"/{number}": None for number in range(size)}
    return parents, record((rule("top", r"^\d+$", 1, MANY),)), size


def ghosts(size: int, run: int):
    """Groups of one object each, all below one of the scene."""
    parents: dict[str, str | None] = {"/scene": None}
    for number in range(size // 2):
        parents[f"/scene/group{number}"] = "/scene"
        parents[f"/scene/group{number}/{number}"] = f"/scene/group{number}"
    ghost = rule("ghost", r"^group\d+$")
    return parents, record((ghost | {"types": ["transform"]}, (rule("top", r"^\d+$"),))), size // 2


def joint_tree(host, root: str):
    """The joints of an object and all below it, found by no pattern."""
    order, joints = [root], {}
    for path in order:
        order += host.get_children(path) or []
    for path in reversed(order):
        children = [joints[child] for child in host.get_children(path) or []]
        joints[path] = DataJoint(name=host.name_from_path(path), path=path, children=children)
    return joints[root]


def fill(session: Session) -> None:
    """Puts everything into the buffer."""
    if session.name == "ghosts":
        roots = [session.host.get_children(group)[0] for group in session.host.get_children("/scene")]
        trees = [joint_tree(session.host, root) for root in roots]
        joints = [DataJoint(type="ghost", name=joint.name, children=[joint]) for joint in trees]
    else:
        joints = [joint_tree(session.host, root) for root in session.host.roots]
    session.buffer.add([DataBucket(joint) for joint in joints])


def clear_half(session: Session) -> None:
    """Clears every other bucket."""
    for bucket in session.buffer.get()[::2]:
        bucket.checked = False
    session.buffer.clear(selected=True)


def forget(session: Session) -> None:
    """Lets go of what is in the buffer and in the scene."""
    session.buffer.__init__(session.host, session.virtual, session.hierarchy)
    session.host.data = []


OPERATIONS = {
    "get_joints": lambda session: [bucket.get_joints() for bucket in session.buffer.get()],
    "encode": lambda session: session.buffer.encode(session.buffer.get()),
    "repath": lambda session: session.buffer.repath("/", "|"),
    "repath back": lambda session: session.buffer.repath("|", "/"),
    "sort": lambda session: session.buffer.sort(),
    "is_match": lambda session: session.buffer.is_match(),
    "validate": lambda session: session.buffer.validate(),
    "ghosts_match": lambda session: session.buffer.ghosts_match(),
    "update": lambda session: session.buffer.update(),
    "decode": lambda session: session.buffer.decode(session.host.data),
    "load": lambda session: session.buffer.load(),
    "reload": lambda session: session.scanner.reload_buffer(),
    "add": fill,
    "clear checked": clear_half,
    "clear": lambda session: session.buffer.clear(),
    "add again": fill,
    "clear held": lambda session: [session.buffer._data, clear_half(session)],
    "forget": forget,
}


def measure(shape, size: int) -> list[float]:
    """Microseconds an object of each operation."""
    session = Session(shape, size)
    fill(session)
    return [1e6 * seconds(partial(operation, session)) / size for operation in OPERATIONS.values()]


def report(options) -> None:
    """Prints a row for each operation and each kind of tree."""
    sizes = [size for size in options.sizes if size >= 10_000] or options.sizes
    runs = min(options.runs, 3)
    columns = [*(f"{size:,}" for size in sizes), *("growth" for _ in sizes[1:])]
    table = Table("Buffer, us per joint", ["joints", "operation"], columns)
    for shape in (flat, chain, many, ghosts):
        measured = [[in_fresh_process(measure, shape, size) for _ in range(runs)] for size in sizes]
        figures = [[median(times) for times in zip(*of_size)] for of_size in measured]
        for operation, *each in zip(OPERATIONS, *figures):
            grown = growths(sizes, [time * size for time, size in zip(each, sizes)])
            cells = [*(f"{time:.2f}" for time in each), *(f"{times:.1f}" for times in grown)]
            table.row(shape.__name__, operation, *cells, target=Target(grown[-1], GROWTH) if grown else None)


if __name__ == "__main__":
    sys.exit(main(report))
