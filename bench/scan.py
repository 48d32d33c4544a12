"""How long a scan takes, and how that grows with the scene.

The host is a dictionary, so that the engine's own cost shows. "upload" is the snapshot alone, "scan" all
else of `upload_buffer`. Each figure is the median of several runs in fresh sessions, in processor time,
which other programs on the machine disturb least. The garbage collector has nothing left to do before and
is off meanwhile: a scan turns it off itself, so that upload alone would else be dearer than within a scan.

"growth" is the scan's time over that of the size above: what matters on any machine. Ten times as many
objects should take about ten times as long; what no longer fits the processor's caches adds a little.
"""

from __future__ import annotations

import argparse
import gc
import itertools
import statistics
import sys
import time

from scenes import SHAPES, DictHost

import core

LIMIT = 12.0  # for ten times as many objects


def seconds(operation) -> float:
    """The processor time that an operation takes."""
    gc.collect()
    gc.disable()
    start = time.process_time()
    operation()
    elapsed = time.process_time() - start
    gc.enable()
    return elapsed


def measure(shape, size: int, run: int) -> tuple[int, float, float]:
    """Objects, seconds of upload and seconds of scan of one run; exits if the scan did not find all."""
    parents, record, expected = shape(size, run)
    host = DictHost(parents)
    virtual = core.Scene._Virtual(host)
    hierarchy = core._Hierarchy(virtual, None)
    hierarchy.pattern.set(record)
    buffer = core.Scene._Buffer(host, virtual, hierarchy)
    api = core.Api(host, None)
    scanner = core.Scene._Scanner(api, host, virtual, hierarchy, buffer, api.callbacks)
    upload = seconds(lambda: virtual.upload(host.roots))
    virtual.offload()
    whole = seconds(scanner.upload_buffer)
    buckets = buffer.get()
    joints = sum(len(bucket.get_joints()) for bucket in buckets)
    if (len(buckets), joints) != (expected, len(parents)):
        sys.exit(
            f"{shape.__name__}: {len(buckets)} hierarchies of {joints} objects found, "
            f"but there are {expected} of {len(parents)}"
        )
    return len(parents), upload, max(whole - upload, 0.0)


def median(shape, size: int, runs: int) -> tuple[int, float, float]:
    """The same as the medians of several runs."""
    counts, uploads, scans = zip(*(measure(shape, size, run) for run in range(runs)))
    return counts[0], statistics.median(uploads), statistics.median(scans)


def table(shape, sizes: list[int], runs: int) -> float:
    """Prints the rows of a shape. Returns the growth over the last step, as for ten times the objects."""
    rows = []
    for size in sizes:
        objects, upload, scan = median(shape, size, runs)
        rows.append((objects, scan))
        growth = f"{scan / rows[-2][1]:.1f}" if len(rows) > 1 else "-"
        each = 1e6 * scan / objects
        print(
            f"{shape.__name__:<10}{objects:>10,}{upload:>11.4f}{scan:>11.4f}{each:>14.2f}{growth:>9}",
            flush=True,
        )
    steps = [10 * (b / a) / (more / fewer) for (fewer, a), (more, b) in itertools.pairwise(rows)]
    return steps[-1] if steps else 0.0


def main() -> int:
    """Prints the table; the exit status is 1 if `--check` finds a growth beyond the limit."""
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--runs", type=int, default=3, help="runs of which the median counts (%(default)s)")
    parser.add_argument("--sizes", type=int, nargs="+", default=[1_000, 10_000, 100_000], help="objects")
    parser.add_argument("--shapes", nargs="+", choices=SHAPES, default=list(SHAPES), help="shapes of scenes")
    parser.add_argument(
        "--check",
        action="store_true",
        help=f"fail if a shape grows beyond {LIMIT:.0f}-fold over the last step of ten times the objects",
    )
    options = parser.parse_args()

    print(f"{'shape':<10}{'objects':>10}{'upload s':>11}{'scan s':>11}{'scan us each':>14}{'growth':>9}")
    growths = {name: table(SHAPES[name], options.sizes, options.runs) for name in options.shapes}
    too_steep = [name for name, growth in growths.items() if growth > LIMIT]
    if options.check and too_steep:
        print(f"grows beyond {LIMIT:.0f}-fold: {', '.join(too_steep)}", file=sys.stderr)
    return int(options.check and bool(too_steep))


if __name__ == "__main__":
    sys.exit(main())
