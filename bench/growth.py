"""How many instructions an object takes, and how that grows with the scene.

Counted by valgrind, so that neither other programs nor the processor's caches show. A process makes a scene
and runs some of the steps, one after the other; what a step takes is how much more it takes with it than
without. Work that does the same for each object is ten times as much for ten times the objects.
"""

from __future__ import annotations

import os
import re
import shutil
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from itertools import pairwise

from measuring import Session, Table, Target, growths, main
from scenes import SHAPES

LIMIT = 10.5
SIZES = [10_000, 100_000]
STEPS = {
    "upload": lambda session: session.virtual.upload(session.host.roots),
    "upload_buffer": lambda session: session.scanner.upload_buffer(),
    "validate": lambda session: session.buffer.validate(),
    "reload": lambda session: session.scanner.reload_buffer(),
}
COUNTER = ["valgrind", "--tool=cachegrind", "--cache-sim=no", "--cachegrind-out-file=/dev/null"]


def count(shape: str, size: int, steps: int) -> int:
    """Instructions of a process that makes the scene and runs so many steps."""
    command = [*COUNTER, sys.executable, __file__, shape, str(size), str(steps)]
    environment = {**os.environ, "PYTHONHASHSEED": "0"}  # dicts and sets are the same in each
    run = subprocess.run(command, env=environment, capture_output=True, text=True, check=True)
    return int(re.search(r"I +refs: +([\d,]+)", run.stderr)[1].replace(",", ""))


def report(options) -> None:
    """Prints a row for each step in each shape."""
    table = Table(
        "Growth, instructions per object", ["shape", "step"], [*map("{:,}".format, SIZES), "growth"]
    )
    if shutil.which("valgrind") is None:
        print("not counted: there is no valgrind")
        return
    cases = [
        (name, size, steps) for name in options.shapes for size in SIZES for steps in range(len(STEPS) + 1)
    ]
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        counts = dict(zip(cases, pool.map(count, *zip(*cases))))
    for name in options.shapes:
        for step, (before, after) in zip(STEPS, pairwise(range(len(STEPS) + 1))):
            taken = [counts[name, size, after] - counts[name, size, before] for size in SIZES]
            (grown,) = growths(SIZES, taken)
            cells = (f"{each / size:,.0f}" for each, size in zip(taken, SIZES))
            table.row(name, step, *cells, f"{grown:.2f}", target=Target(grown, LIMIT))


def run(shape: str, size: str, steps: str) -> None:
    """What the counted process does."""
    session = Session(SHAPES[shape], int(size))
    for step in [*STEPS.values()][: int(steps)]:
        step(session)


if __name__ == "__main__":
    sys.exit(main(report) if len(sys.argv) != 4 else run(*sys.argv[1:]))
