"""What all benchmarks share: sessions of the engine, the clock, tables with targets, the command line."""

from __future__ import annotations

import argparse
import gc
import multiprocessing
import sys
import time
from dataclasses import dataclass

from scenes import SHAPES, DictHost

import core


class Session:
    """The engine around a fresh scene with some embedded data. It has no directory and writes no file."""

    def __init__(self, shape, size: int, run: int = 0, data: list | None = None):
        self.name, (self.parents, pattern, self.expected) = shape.__name__, shape(size, run)
        self.host = host = DictHost(self.parents)
        self.virtual = core.Scene._Virtual(host)
        self.hierarchy = core._Hierarchy(self.virtual, None)
        self.hierarchy.pattern.set(pattern)
        self.buffer = core.Scene._Buffer(host, self.virtual, self.hierarchy)
        parts = self.virtual, self.hierarchy, self.buffer, core._CallBacks()
        self.scanner = core.Scene._Scanner(None, host, *parts)
        if data is not None:
            host.data = data
            self.buffer.load()

    def check(self) -> None:
        """Exits unless the buffer holds the whole scene."""
        buckets = self.buffer.get()
        joints = sum(len(bucket.get_joints()) for bucket in buckets)
        if (len(buckets), joints) != (self.expected, len(self.parents)):
            found = f"{len(buckets)} hierarchies of {joints} objects found"
            sys.exit(f"{self.name}: {found}, but there are {self.expected} of {len(self.parents)}")


def seconds(operation) -> float:
    """The processor time that an operation takes, which other programs on the machine disturb least.

    The garbage collector has nothing left to do before and is off meanwhile: a scan turns it off itself, so
    that the parts of a scan alone would else be dearer than within it.
    """
    gc.collect()
    gc.disable()
    start = time.process_time()
    operation()
    elapsed = time.process_time() - start
    gc.enable()
    return elapsed


def yardstick() -> float:
    """Seconds of one turn of a small loop in Python, here and now: what budgets of time are told in."""
    turns = range(100_000)

    def loop():
        kept = {}
        for turn in turns:
            kept[f"/{turn}"] = [turn]

    return seconds(loop) / len(turns)


def in_fresh_process(function, *arguments, limit: float | None = None):
    """What the function gives in a process of its own. After the limit it ends, with TimeoutError."""
    with multiprocessing.get_context("spawn").Pool(1) as pool:
        try:
            return pool.apply_async(function, arguments).get(limit)
        except multiprocessing.TimeoutError:
            raise TimeoutError(f"no answer in {limit} s") from None


def growths(sizes: list[int], times: list[float]) -> list[float]:
    """How much dearer each step from a size to the next makes it, as for ten times the objects."""
    steps = zip(sizes, sizes[1:], times, times[1:])
    return [10 * (after / before) / (more / fewer) for fewer, more, before, after in steps]


@dataclass
class Target:
    """What a figure should be."""

    value: float
    limit: float
    at_least: bool = False

    @property
    def met(self) -> bool:
        return self.value >= self.limit if self.at_least else self.value <= self.limit

    @property
    def text(self) -> str:
        return f"at {'least' if self.at_least else 'most'} {self.limit:g}"


class Table:
    """A table that is printed row by row: columns of texts, of figures, and of targets."""

    missed: list[str] = []  # of all tables

    def __init__(self, title: str, texts: list[str], figures: list[str]):
        self.title, self.texts = title, len(texts)
        print(f"\n{title}")
        self._print([*texts, *figures, "target"])

    def row(self, *cells: str, target: Target | None = None) -> None:
        self._print([*cells, f"{target.text}: {'met' if target.met else 'MISSED'}" if target else ""])
        if target and not target.met:
            name = ", ".join(cells[: self.texts])
            self.missed.append(f"{self.title}: {name}: {target.value:.4g}, not {target.text}")

    def _print(self, cells: list[str]) -> None:
        texts, figures, target = cells[: self.texts], cells[self.texts : -1], cells[-1]
        line = "".join(f"{text:<24}" for text in texts) + "".join(f"{figure:>12}" for figure in figures)
        print(f"{line}   {target}".rstrip(), flush=True)


def main(*reports) -> int:
    """Runs reports of the given options; the exit status is 1 if `--check` finds a missed target."""
    parser = argparse.ArgumentParser(description="Measures Heron and prints tables.")
    parser.add_argument("--runs", type=int, default=5, help="runs of which the median counts (%(default)s)")
    parser.add_argument("--sizes", type=int, nargs="+", default=[1_000, 10_000, 100_000], help="objects")
    parser.add_argument("--shapes", nargs="+", choices=SHAPES, default=list(SHAPES), help="shapes of scenes")
    parser.add_argument("--check", action="store_true", help="fail if a target is missed")
    options = parser.parse_args()
    for report in reports:
        report(options)
    print("\nAll targets are met." if not Table.missed else "\nMissed:")
    for missed in Table.missed:
        print(f"  {missed}")
    return int(options.check and bool(Table.missed))
