"""How much memory a scan takes and keeps, per scanned object.

Counted is how much larger the resident memory of a fresh process is after `upload_buffer` than before, when
the host with its scene was there: snapshot, captures, compiled expressions, joints and buckets, and whatever
the allocators hold back. The data that the scan embeds in the scene is the host's from then on: it is counted
as what encoding the buffer once more allocates, shown in its own column, and taken off.
"""

from __future__ import annotations

import os
import sys
import tracemalloc
from pathlib import Path

from measuring import Session, Table, Target, in_fresh_process, main
from scenes import SHAPES

LIMIT = 1_200  # bytes


def resident() -> int:
    """Bytes of this process that are in memory."""
    pages = Path("/proc/self/statm").read_text().split()[1]
    return int(pages) * os.sysconf("SC_PAGE_SIZE")


def measure(shape, size: int) -> tuple[float, float]:
    """Bytes an object that a scan takes, and those of them that are the host's."""
    session = Session(shape, size)
    before = resident()
    session.scanner.upload_buffer()
    grown = resident() - before
    session.check()
    tracemalloc.start()
    data = session.buffer.encode(session.buffer.get())
    embedded, _ = tracemalloc.get_traced_memory()
    tracemalloc.stop()
    assert data == session.host.data
    return grown / len(session.parents), embedded / len(session.parents)


def report(options) -> None:
    """Prints a row for each shape, at the largest size."""
    table = Table("Memory, bytes per object", ["shape"], ["objects", "all", "embedded", "engine's"])
    for name in options.shapes:
        size = max(options.sizes)
        grown, embedded = in_fresh_process(measure, SHAPES[name], size)
        cells = f"{size:,}", f"{grown:.0f}", f"{embedded:.0f}", f"{grown - embedded:.0f}"
        table.row(name, *cells, target=Target(grown - embedded, LIMIT))


if __name__ == "__main__":
    sys.exit(main(report))
