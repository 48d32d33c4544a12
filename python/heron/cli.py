"""The command line: `heron scan SCENE --project FILE`."""

from __future__ import annotations

import argparse
import contextlib
import json
import os
import sys
import time
from collections.abc import Iterator, Sequence
from typing import NoReturn

from rich.console import Console

from . import __version__
from .files import FileError
from .hosts.gltf import GltfScene
from .logs import LogCollector
from .project import read_record
from .report import Report, printable
from .selection import SelectionError, select_paths
from .session import Outcome, Session

FOUND = 0
NOTHING_FOUND = 1
BAD_INPUT = 2

_EPILOG = """\
exit status:
  0  at least one hierarchy was found
  1  nothing was found
  2  bad input: a file that cannot be used, an unknown object, a broken project

example:
  heron scan street.gltf --project street.json
"""


def main(arguments: Sequence[str] | None = None) -> int:
    """Runs the command line.

    Args:
        arguments: The arguments behind the program's name, by default those of the process.

    Returns:
        The exit status. A wrong usage leaves through `SystemExit` with status 2.
    """
    options = _parser().parse_args(arguments)
    try:
        return _scan(options)
    except (FileError, SelectionError) as error:
        _complain(str(error))
        return BAD_INPUT


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="heron", description="Validates the structure and the naming of 3D scenes."
    )
    parser.add_argument("--version", action="version", version=f"heron {__version__}")
    commands = parser.add_subparsers(title="commands", metavar="COMMAND", required=True)
    scan = commands.add_parser(
        "scan",
        help="find the hierarchies of a scene that match a project",
        description="Finds the hierarchies of a glTF scene that match the rules of a project, "
        "and tells which objects were refused and why.",
        epilog=_EPILOG,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    scan.add_argument("scene", metavar="SCENE", help="the scene, a .gltf or .glb file")
    scan.add_argument("--project", metavar="FILE", required=True, help="the project document, a .json file")
    scan.add_argument(
        "--select",
        metavar="PATH",
        nargs="+",
        action="extend",
        default=[],
        help="look only at these objects, such as /cars/car_red (default: all)",
    )
    scan.add_argument(
        "--append",
        action="store_true",
        help="keep the hierarchies that the scene file holds from earlier scans",
    )
    scan.add_argument(
        "--save",
        action="store_true",
        help="write what was found into the scene file; the file stays as it is when nothing was found",
    )
    scan.add_argument("--json", action="store_true", help="print nothing but the found hierarchies, as JSON")
    return parser


def _scan(options: argparse.Namespace) -> int:
    scene = GltfScene(options.scene)
    session = Session(scene, read_record(options.project))
    if options.append:
        session.load()
    earlier = len(session.buffer.get())
    select_paths(scene, options.select or session.default_selection())
    start = time.perf_counter()
    with LogCollector() as log:
        outcome = session.scan(options.append)
    seconds = time.perf_counter() - start
    for message in log.warnings():
        _complain(f"warning: {message}")
    if outcome is Outcome.FAILED:
        _complain(f"the scan failed: {'; '.join(log.errors())}")
        return BAD_INPUT
    if outcome is Outcome.ALREADY_LOADED:
        _complain(
            "the scene file holds some of the selected hierarchies already; "
            "select others, or leave out --append"
        )
        return BAD_INPUT
    if options.save and outcome is Outcome.FOUND:
        scene.save()
    with _reader_may_leave():
        if options.json:
            buffer = session.buffer
            print(json.dumps(buffer.encode(buffer.get()), indent=2))
        else:
            _show(Report(_Console(highlight=False)), session, outcome, earlier, seconds)
    return FOUND if outcome is Outcome.FOUND else NOTHING_FOUND


def _show(report: Report, session: Session, outcome: Outcome, earlier: int, seconds: float) -> None:
    buckets = session.buffer.get()
    objects = report.hierarchies(buckets, session.operator)
    refused = [] if outcome is Outcome.NOTHING_SELECTED else session.refused()
    diagnosis = session.diagnosis()
    report.refused(((path, diagnosis.explain(path)) for path in refused), len(refused))
    if outcome is Outcome.NOTHING_SELECTED:
        report.line("nothing to scan: no object of the scene is left to look at")
    elif outcome is Outcome.NOTHING_FOUND and not refused and session.begins_below_top():
        report.line(
            "nothing to scan: this project looks for hierarchies below a top object, "
            "and none of the selected objects stands there"
        )
    kept = f" ({earlier} of them from earlier scans)" if earlier else ""
    report.line(
        f"{_count(len(buckets), 'hierarchy', 'hierarchies')} with "
        f"{_count(objects, 'object')} found{kept}, {_count(len(refused), 'object')} refused "
        f"in {seconds * 1000:.1f} ms",
        "bold",
    )


@contextlib.contextmanager
def _reader_may_leave() -> Iterator[None]:
    """Ends the output quietly when its reader has closed the pipe, as `head` does."""
    try:
        yield
        sys.stdout.flush()
    except BrokenPipeError:
        # What is still in the buffer must not fail once more when the process ends.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())


class _Console(Console):
    """A console that leaves a closed pipe to `_reader_may_leave`."""

    def on_broken_pipe(self) -> NoReturn:
        """Keeps the base class from ending the process with a status of its own."""
        raise BrokenPipeError


def _count(number: int, word: str, words: str = "") -> str:
    return f"{number} {word if number == 1 else words or word + 's'}"


def _complain(message: str) -> None:
    print(f"heron: {printable(message, sys.stderr.encoding or 'utf-8')}", file=sys.stderr)
