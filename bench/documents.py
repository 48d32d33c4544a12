"""What it costs to write a document, against the runtime's own encoder of the same layout.

Statistics are the largest documents: a record for each check of each object.
"""

from __future__ import annotations

import json
import sys
from pathlib import Path
from statistics import median
from tempfile import TemporaryDirectory

from measuring import Table, Target, main, seconds

import core

RECORDS = 100_000
FASTER = 10


def records() -> list[dict]:
    times = (1_760_000_000 + number * 0.0137 for number in range(RECORDS))
    return [
        {"name": f"Check {number % 30}", "result": number % 4, "timestamp": time, "speed": time % 1}
        for number, time in enumerate(times)
    ]


def report(options) -> None:
    """Prints a row for the statistics of a validation."""
    table = Table("Documents, milliseconds", ["document"], ["MB", "runtime", "engine", "faster"])
    document = {"checks": records(), "version": 1}
    with TemporaryDirectory() as directory:
        path = Path(directory, "statistics.json")

        def runtime() -> None:
            with path.open("w", encoding="utf-8", newline="\n") as stream:
                json.dump(document, stream, indent=2, ensure_ascii=False)

        def engine() -> None:
            core._File.Json.write(str(path), document)

        theirs, ours = (median(seconds(write) for _ in range(options.runs)) for write in (runtime, engine))
        size = path.stat().st_size / 1e6
    figures = f"{size:.1f}", f"{theirs * 1e3:.0f}", f"{ours * 1e3:.0f}", f"{theirs / ours:.1f}"
    table.row("statistics", *figures, target=Target(theirs / ours, FASTER, at_least=True))


if __name__ == "__main__":
    sys.exit(main(report))
