"""`heron export`: write the hierarchies of a scene to files of their own."""

from __future__ import annotations

import argparse
import os

import core

from ..documents import ignored_warnings
from ..exporting import ExportScene, describe_options, export, set_format, set_options
from ..home import find_home
from ..hosts.gltf_export import exporters
from ..projects import choose_project
from ..reports.console import Console, complain, reader_may_leave
from ..reports.exported import write
from ..selection import select_paths
from ..session import Outcome, Session
from .options import OutputError, add_command, add_home, add_project, add_scene, add_select

WRITTEN, SKIPPED, BAD_INPUT = range(3)

_FORMATS = "\n".join(f"  {exporter.attr}: {describe_options(exporter)}" for exporter in exporters())
_EPILOG = f"""\
The scene is scanned first; each hierarchy that the project describes goes to a file that has its name.
What the project says of the export holds, unless an option says otherwise.

options of the formats:
{_FORMATS}

exit status:
  0  every hierarchy that was found was written
  1  some were not, or nothing was found
  2  bad input: a file that cannot be used, an unknown object or option, a broken project

examples:
  heron export street.gltf --project street.json --to export
  heron export street.gltf --project street.json --to export --versions --format gltf --option layout=embedded
"""


def add_parser(commands: argparse._SubParsersAction[argparse.ArgumentParser]) -> None:
    """Declares the command."""
    parser = add_command(
        commands,
        "export",
        help="write the hierarchies of a scene to files of their own",
        description="Finds the hierarchies of a glTF scene that match a project, and writes each to a file "
        "of its own.",
        epilog=_EPILOG,
    )
    add_scene(parser)
    add_project(parser, required=True)
    parser.add_argument(
        "--to", metavar="DIR", required=True, help="the directory for the files, made if need be"
    )
    add_select(parser, "export only the hierarchies that these objects belong to (default: all)")
    parser.add_argument("--format", choices=[exporter.attr for exporter in exporters()], help="what to write")
    parser.add_argument(
        "--option",
        metavar="NAME=VALUE",
        action="append",
        default=[],
        help="an option of the format, see below; may be repeated",
    )
    for name, help in (
        ("versions", "number the files, such as car.v02.glb, instead of replacing them"),
        ("triangulate", "make lists of triangles of strips and fans"),
        ("reset-xforms", "apply the transforms of objects to their meshes"),
        ("automatic-uv", "give texture coordinates to meshes that have none"),
    ):
        parser.add_argument(f"--{name}", action=argparse.BooleanOptionalAction, help=help)
    add_home(parser)
    parser.set_defaults(run=run)


def run(options: argparse.Namespace) -> int:
    """Carries the command out; returns the exit status."""
    home = find_home(options.home)
    scene = ExportScene(options.scene)
    _, project = choose_project(options.project, home)
    # What else the session warns of, checks and settings, does not concern an export.
    session = Session(scene, project.history.get_record(), home)
    for warning in ignored_warnings(
        f"the export options of {project.name}", session.api.export.options.ignored
    ):
        complain(warning)
    _configure(session.api.export, options)
    select_paths(scene, options.select or session.default_selection())
    outcome = session.scan()
    refused = [] if outcome is Outcome.NOTHING_SELECTED else session.refused()
    diagnosis = session.diagnosis()
    reasons = [(path, diagnosis.explain(path)) for path in refused]
    _make(options.to)
    result = export(session, scene, options.to)
    with reader_may_leave():
        write(result, reasons, Console(highlight=False))
    return WRITTEN if result.written and not result.skipped else SKIPPED


def _configure(driver: core.Api._Export, options: argparse.Namespace) -> None:
    """Puts what the user asks for in the place of what the project says."""
    if options.format:
        set_format(driver.options, options.format)
    set_options(driver.options, options.option)
    for flag, wish in (
        ("version_control", options.versions),
        ("triangulate", options.triangulate),
        ("reset_xforms", options.reset_xforms),
        ("automatic_uv", options.automatic_uv),
    ):
        if wish is not None:
            setattr(driver.flags, flag, wish)


def _make(directory: str) -> None:
    try:
        os.makedirs(directory, exist_ok=True)
    except (OSError, ValueError) as error:
        reason = getattr(error, "strerror", None) or str(error)
        raise OutputError(directory, f"cannot be made: {reason}") from error
