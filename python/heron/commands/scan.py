"""`heron scan`: find the hierarchies of a scene that match a project."""

from __future__ import annotations

import argparse
import json
import time

from ..home import find_home
from ..hosts.gltf import GltfScene
from ..projects import choose_project
from ..reports.console import Console, complain, count, reader_may_leave
from ..reports.hierarchies import Report
from ..selection import select_paths
from ..session import Outcome, Session
from .options import add_command, add_home, add_project, add_scene, add_select

FOUND, NOTHING_FOUND, BAD_INPUT = range(3)

_EPILOG = """\
exit status:
  0  at least one hierarchy was found
  1  nothing was found
  2  bad input: a file that cannot be used, an unknown object, a broken project

example:
  heron scan street.gltf --project street.json
"""


def add_parser(commands: argparse._SubParsersAction[argparse.ArgumentParser]) -> None:
    """Declares the command."""
    parser = add_command(
        commands,
        "scan",
        help="find the hierarchies of a scene that match a project",
        description="Finds the hierarchies of a glTF scene that match the rules of a project, "
        "and tells which objects were refused and why.",
        epilog=_EPILOG,
    )
    add_scene(parser)
    add_project(parser, required=True)
    add_select(parser, "look only at these objects, such as /cars/car_red (default: all)")
    parser.add_argument(
        "--append",
        action="store_true",
        help="keep the hierarchies that the scene file holds from earlier scans",
    )
    parser.add_argument(
        "--save",
        action="store_true",
        help="write what was found into the scene file; the file stays as it is when nothing was found",
    )
    parser.add_argument(
        "--json", action="store_true", help="print nothing but the found hierarchies, as JSON"
    )
    add_home(parser)
    parser.set_defaults(run=run)


def run(options: argparse.Namespace) -> int:
    """Carries the command out; returns the exit status."""
    home = find_home(options.home)
    scene = GltfScene(options.scene)
    _, project = choose_project(options.project, home)
    # What the session warns of, checks and settings, does not concern a scan.
    session = Session(scene, project.history.get_record(), home)
    if options.append:
        session.load()
    earlier = len(session.buffer.get())
    select_paths(scene, options.select or session.default_selection())
    start = time.perf_counter()
    outcome = session.scan(options.append)
    seconds = time.perf_counter() - start
    if outcome is Outcome.ALREADY_LOADED:
        complain(
            "the scene file holds some of the selected hierarchies already; "
            "select others, or leave out --append"
        )
        return BAD_INPUT
    if options.save and outcome is Outcome.FOUND:
        scene.save()
    with reader_may_leave():
        if options.json:
            buffer = session.buffer
            print(json.dumps(buffer.encode(buffer.get()), indent=2))
        else:
            _show(Report(Console(highlight=False)), session, outcome, earlier, seconds)
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
        f"{count(len(buckets), 'hierarchy', 'hierarchies')} with "
        f"{count(objects, 'object')} found{kept}, {count(len(refused), 'object')} refused "
        f"in {seconds * 1000:.1f} ms",
        "bold",
    )
