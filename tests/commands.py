"""The command line as a process of its own, and the example that comes with it."""

import os
import subprocess
import sys
from pathlib import Path

EXAMPLES = Path(__file__).resolve().parent.parent / "examples"
STREET, STREET_PROJECT = (str(EXAMPLES / name) for name in ("street.gltf", "street.json"))


def run_module(*arguments, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **environment):
    """Runs `python -m heron`."""
    return subprocess.run(
        [sys.executable, "-m", "heron", *map(str, arguments)],
        stdout=stdout,
        stderr=stderr,
        env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path), **environment},
    )
