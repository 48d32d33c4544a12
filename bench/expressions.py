"""Expressions that a matcher that tries all ways takes years for: how long one match takes.

Compiling the expression included, each in a fresh process, which ends when it takes too long.
"""

from __future__ import annotations

import sys
from statistics import median

from measuring import Table, Target, in_fresh_process, main, seconds

import core

LIMIT = 1  # millisecond
PATIENCE = 2.0  # seconds, with the start of the process
CASES = [(r"^(a+)+$", "a" * 59 + "b"), (r"^(a|a)*b$", "a" * 60)]


def measure(expression: str, name: str) -> float:
    """Milliseconds of one match that fails."""
    anchor = core._Hierarchy.Anchor()
    return 1e3 * seconds(lambda: anchor.match(expression, name, f"/{name}"))


def report(options) -> None:
    """Prints a row for each expression."""
    table = Table("Expressions, ms for 60 characters that do not match", ["expression"], ["match"])
    for expression, name in CASES:
        try:
            time = median(
                in_fresh_process(measure, expression, name, limit=PATIENCE) for _ in range(options.runs)
            )
        except TimeoutError:
            time = float("inf")
        table.row(expression, f"{time:.3f}" if time < float("inf") else "endless", target=Target(time, LIMIT))


if __name__ == "__main__":
    sys.exit(main(report))
