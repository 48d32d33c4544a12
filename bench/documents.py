"""What documents cost: to write one, against the runtime's encoder, and how reading and changing them grows.

Statistics are the largest documents: a record for each check of each object.
"""

from __future__ import annotations

import json
import sys
from functools import partial
from pathlib import Path
from statistics import median
from tempfile import TemporaryDirectory
from types import SimpleNamespace

from measuring import Table, Target, growths, main, seconds

import core

RECORDS = 100_000
FASTER = 10
GROWTH = 30  # for ten times the parts


def records() -> list[dict]:
    times = (1_760_000_000 + number * 0.0137 for number in range(RECORDS))
    return [
        {"name": f"Check {number % 30}", "result": number % 4, "timestamp": time, "speed": time % 1}
        for number, time in enumerate(times)
    ]


def rules(size: int) -> None:
    """A record with so many rules in one layer."""
    names = [f"rule{number}" for number in range(size)]
    layer = [{"stamp": name, "children": []} for name in names]
    core._Project.Settings.Record(None, {"rules": [{"stamp": n, "name": n} for n in names], "pattern": layer})


def presets(size: int) -> None:
    """So many presets, one after the other."""
    presets, config = core._Settings.Check.Presets(), core._Settings.Check.Config({})
    for number in range(size):
        presets.add(f"preset {number * 7919 % size:05}", config)


def projects(size: int) -> None:
    """A directory of so many projects. The waits are not counted: these are times of the processor."""
    with TemporaryDirectory() as directory:
        for number in range(size):
            project = {"name": str(number), "filename": f"{number}.json", "target": "maya", "version": 3}
            Path(directory, f"{number}.json").write_text(json.dumps(project), encoding="utf-8")
        environment = SimpleNamespace(get_projects_directory=lambda: directory)
        api = SimpleNamespace(env=environment, callbacks=core._CallBacks())
        assert len(core._Project.Collection(api, "maya").names) == size


def report(options) -> None:
    """Prints a row for the statistics of a validation, and one for each document of many parts."""
    writing(options)
    sizes = [200, 2_000]
    table = Table("Documents, microseconds a part", ["parts"], [*map("{:,}".format, sizes), "growth"])
    for load in (rules, presets, projects):
        times = [median(seconds(partial(load, size)) for _ in range(options.runs)) for size in sizes]
        (grown,) = growths(sizes, times)
        cells = (f"{1e6 * each / size:.0f}" for each, size in zip(times, sizes))
        table.row(load.__name__, *cells, f"{grown:.1f}", target=Target(grown, GROWTH))


def writing(options) -> None:
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
