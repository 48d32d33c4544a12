"""What `import core` costs beyond `import ssl, logging`, which it needs at once.

In fresh processes, in processor time: the two modules first, then the engine with all else that it imports.
"""

from __future__ import annotations

import subprocess
import sys
from statistics import median

from measuring import Table, Target, main

LIMIT = 8  # milliseconds
CODE = """
from time import process_time
start = process_time()
import ssl, logging
known = process_time()
import core
print(1e3 * (known - start), 1e3 * (process_time() - known))
"""


def measure() -> list[float]:
    """Milliseconds of the two modules, and of the engine after them."""
    command = [sys.executable, "-c", CODE]
    return [float(time) for time in subprocess.run(command, capture_output=True, check=True).stdout.split()]


def report(options) -> None:
    """Prints the one row."""
    needed, more = map(median, zip(*(measure() for _ in range(3 * options.runs))))
    table = Table("Import, ms", ["module"], ["ssl, logging", "core, more"])
    table.row("core", f"{needed:.1f}", f"{more:.1f}", target=Target(more, LIMIT))


if __name__ == "__main__":
    sys.exit(main(report))
