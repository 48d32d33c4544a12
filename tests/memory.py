"""What many uses leave in memory."""

import gc
import os
import sys
from pathlib import Path


def resident():
    """The memory of this process in pages, or nothing where the system does not tell."""
    statm = Path("/proc/self/statm")
    keeps_freed_memory = "asan" in os.environ.get("LD_PRELOAD", "")  # a sanitizer does, to find late uses
    return int(statm.read_text().split()[1]) if statm.exists() and not keeps_freed_memory else 0


def stays_flat(use, times=50, rounds=20):
    """Whether there comes a round in which each use leaves less than a block, and less than 4 kB.

    Caches fill for a while, and threads come and go; what a use leaves for good it leaves in every round.
    """

    def taken():
        gc.collect()
        return sys.getallocatedblocks(), resident()

    for _ in range(rounds):
        before = taken()
        for _ in range(times):
            use()
        if all(now - then < times for now, then in zip(taken(), before)):
            return True
    return False
