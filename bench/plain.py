"""The engine's matching against its plain writing in Python, side by side on the same scenes.

Both begin with their snapshot taken and the pattern sorted, and end with the hierarchies of the whole
scene found and their joints built and sorted by name: the engine's `_scan` and `sort` against
`Matching.scan`, whose joints are dicts, in the form in which the engine embeds them. What both found is
compared, outside the time. The plain writing takes seconds, and minutes for the larger layer of captures:
it runs again only while all its runs together take less than five seconds.
"""

from __future__ import annotations

import sys
from pathlib import Path
from statistics import median

from measuring import Session, Table, Target, main, seconds
from scenes import SHAPES

sys.path.append(str(Path(__file__).parents[1] / "tests"))
from plain_scan import Matching, plain_scopes, take_snapshot

PATIENCE = 5.0  # seconds


def engine(session: Session) -> float:
    """Seconds of the engine's scan, whose outcome is then in the buffer."""
    session.virtual.upload(session.host.roots)

    def scan():
        session.buffer.add(session.scanner._scan(session.host.roots))
        session.buffer.sort()

    return seconds(scan)


def plain(session: Session) -> float:
    """Seconds of the plain scan; exits if the engine found something else."""
    snapshot = take_snapshot(session.host, session.host.roots)
    matching = Matching(snapshot, plain_scopes(session.hierarchy.pattern.get()))
    found: list[dict] = []
    elapsed = seconds(lambda: found.extend(matching.scan(list(session.host.roots))))
    if found != session.buffer.encode(session.buffer.get()):
        sys.exit(f"{session.name}: the engine and the plain writing do not agree")
    return elapsed


def compare(shape, size: int, runs: int) -> tuple[float, float]:
    """Seconds of both, as medians."""
    ours: list[float] = []
    theirs: list[float] = []
    for run in range(runs):  # its number stands in the names, so that no expression is known from one before
        session = Session(shape, size, run)
        ours.append(engine(session))
        session.check()
        if sum(theirs) < PATIENCE:
            theirs.append(plain(session))
    return median(ours), median(theirs)


def report(options) -> None:
    """Prints a row for each shape, and one for the larger layer of captures."""
    table = Table(
        "Scan without snapshot, engine and plain Python",
        ["shape"],
        ["objects", "engine s", "plain s", "times"],
    )
    rows = [(name, 2_000, 30) for name in options.shapes]
    rows += [("captures", 10_000, 100)] if "captures" in options.shapes else []
    for name, size, least in rows:
        ours, theirs = compare(SHAPES[name], size, options.runs)
        multiple = theirs / ours
        cells = f"{size:,}", f"{ours:.4f}", f"{theirs:.3f}", f"{multiple:.1f}"
        table.row(name, *cells, target=Target(multiple, least, at_least=True))


if __name__ == "__main__":
    sys.exit(main(report))
