"""What a validation costs above the checks themselves.

Five small checks in Python look at each of the selected objects. "loop" calls them as a front-end without
an engine would: a new instance of the check for each object, its outcome kept. "run" is
`Api.validator.start`, with all that the engine adds: parameters of its own for each result, the selection
kept, a record of each check in the statistics. At its end it writes these records, fifty thousand for ten
thousand objects, into their file: "write", which is the work of the runtime's JSON module. Medians of several
runs, in processor time.
"""

from __future__ import annotations

import argparse
import gc
import logging
import re
import statistics
import sys
import tempfile
import time
from pathlib import Path

import core

LIMIT = 2.0  # times the loop


class Check(core.Check.Base):
    """What the checks below have in common."""

    description = "A check of names."
    category = "object"

    def fail(self, path):
        self.result.append(path)
        raise core.Error.ValidationError


class LowerCase(Check):
    class_id, short_name, long_name = "lower", "Lower case", "Names in lower case"

    def check(self, path, parameters):
        if path != path.lower():
            self.fail(path)


class Length(Check):
    class_id, short_name, long_name = "length", "Length", "Length of names"

    @staticmethod
    def parameters():
        return core.Parameters.Block(core.Parameters.IntRange("limit", value=40))

    def check(self, path, parameters):
        if len(path.rpartition("/")[2]) > parameters.limit.value:
            self.fail(path)


class Prefix(Check):
    class_id, short_name, long_name = "prefix", "Prefix", "Prefix of names"

    def check(self, path, parameters):
        if not path.rpartition("/")[2].startswith("object"):
            self.fail(path)


class Pattern(Check):
    class_id, short_name, long_name = "pattern", "Pattern", "Form of names"
    form = re.compile(r"[a-z]+_[0-9]+")

    def check(self, path, parameters):
        if not self.form.fullmatch(path.rpartition("/")[2]):
            self.fail(path)


class Depth(Check):
    class_id, short_name, long_name = "depth", "Depth", "Depth of objects"

    def check(self, path, parameters):
        if path.count("/") > 3:
            self.fail(path)


CHECKS = (LowerCase, Length, Prefix, Pattern, Depth)


class Host(core.Scene.Operator):
    """Selected objects and nothing else; one in ten has a name that a check does not like.

    It is its own selection manager, and notes when the checks have run.
    """

    def __init__(self, size: int):
        super().__init__()
        self.selection = [f"/scene/{'Object' if i % 10 == 0 else 'object'}_{i}" for i in range(size)]

    def get_selection(self):
        return self.selection

    def get_current_file(self):
        return ""

    def query_filedata(self):
        return []

    def register_scene_opened_callback(self, function):
        pass

    def selection_manager(self):
        return self

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.done = time.process_time()


class Home(core.Environment):
    """An environment in one directory."""

    target = scope = "bench"

    def __init__(self, directory: Path):
        self.directory = directory
        super().__init__()

    def get_settings_file(self):
        return str(self.directory / "settings.json")

    def get_settings_directory(self):
        return str(self.directory)

    def get_projects_directory(self):
        return str(self.directory)

    def get_statistics_file(self):
        return str(self.directory / "statistics.json")


def loop(paths: list[str], tasks: list) -> list:
    """The checks in a plain loop; each outcome."""
    outcomes = []
    for path in paths:
        for check_class, task in tasks:
            check = check_class()
            check.result = []
            try:
                check.check(path, task)
            except core.Error.ValidationError:
                outcomes.append((path, check, "fail"))
            else:
                outcomes.append((path, check, "pass"))
    return outcomes


def seconds(operation) -> float:
    """The processor time that an operation takes, without what the garbage collector had left to do."""
    gc.collect()
    start = time.process_time()
    operation()
    return time.process_time() - start


def measure(size: int, directory: Path) -> tuple[float, float, float]:
    """Seconds of the loop, of the run and of the writing; exits if loop and run differ in an outcome."""
    host = Host(size)
    api = core.Api(host, Home(directory))
    api.validator.checklist.workspace = core.Check._List(CHECKS, config=core._Settings.Check.Config({}))
    controls = list(api.validator.checklist.workspace)
    for control in controls:
        control.enabled = True
    outcomes = []
    tasks = [(control.check, next(iter(control.parameters))) for control in controls]
    plain = seconds(lambda: outcomes.extend(loop(host.selection, tasks)))
    statuses = [status for _, _, status in outcomes]
    outcomes.clear()
    gc.collect()
    start = time.process_time()
    api.validator.start()
    end = time.process_time()
    results = [result.status for task in api.validator.queue for result in task.results]
    if results != statuses or len(results) != size * len(CHECKS):
        sys.exit(f"{size}: the validation and the loop do not agree")
    return plain, host.done - start, end - host.done


def main() -> int:
    """Prints the table; the exit status is 1 if `--check` finds a run beyond the limit."""
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--runs", type=int, default=5, help="runs of which the median counts (%(default)s)")
    parser.add_argument("--sizes", type=int, nargs="+", default=[1_000, 10_000], help="objects")
    parser.add_argument("--check", action="store_true", help=f"fail beyond {LIMIT:.0f} times the loop")
    options = parser.parse_args()

    print(f"{'objects':>10}{'loop s':>11}{'run s':>11}{'write s':>11}{'run / loop':>13}")
    beyond = False
    for size in options.sizes:
        runs = []
        for _ in range(options.runs):
            with tempfile.TemporaryDirectory() as directory:
                runs.append(measure(size, Path(directory)))
        plain, run, writing = map(statistics.median, zip(*runs))
        print(f"{size:>10,}{plain:>11.4f}{run:>11.4f}{writing:>11.4f}{run / plain:>13.2f}", flush=True)
        beyond = beyond or run > LIMIT * plain
    return int(options.check and beyond)


if __name__ == "__main__":
    logging.disable(logging.WARNING)  # the settings of a new home are told to be new
    sys.exit(main())
