"""The options that commands share."""

from __future__ import annotations

import argparse
import os

from ..files import FileError


class OutputError(FileError):
    """A report that cannot be written where the user wants it."""


def add_command(
    commands: argparse._SubParsersAction[argparse.ArgumentParser],
    name: str,
    help: str,
    description: str,
    epilog: str,
) -> argparse.ArgumentParser:
    """Declares one command; `epilog` keeps its lines."""
    return commands.add_parser(
        name,
        help=help,
        description=description,
        epilog=epilog,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )


def add_scene(parser: argparse.ArgumentParser) -> None:
    """The scene, a positional argument."""
    parser.add_argument("scene", metavar="SCENE", help="the scene, a .gltf or .glb file")


def add_project(parser: argparse.ArgumentParser, required: bool = False, default: str = "") -> None:
    """The project, by its file or its name."""
    parser.add_argument(
        "--project",
        metavar="FILE",
        required=required,
        help="the project: its document, a .json file, or its name in the home"
        + (f" (default: {default})" if default else ""),
    )


def add_select(parser: argparse.ArgumentParser, help: str) -> None:
    """The objects to look at."""
    parser.add_argument("--select", metavar="PATH", nargs="+", action="extend", default=[], help=help)


def add_checks(parser: argparse.ArgumentParser) -> None:
    """Further directories of checks."""
    parser.add_argument(
        "--checks",
        metavar="DIR",
        nargs="+",
        action="extend",
        default=[],
        help="look for checks in these directories too; of two checks with one id the built-in one counts, "
        "then the one of the settings, then the first of these",
    )


def add_home(parser: argparse.ArgumentParser) -> None:
    """Where settings, projects and statistics live."""
    parser.add_argument(
        "--home",
        metavar="DIR",
        help="where settings, projects and statistics live, made if need be "
        "(default: beside Heron's own files)",
    )


def check_output(path: str | None, *inputs: str | None) -> None:
    """Finds out early whether a report can go to `path`.

    Raises:
        OutputError: It cannot, or one of the inputs is there.
    """
    if path is None:
        return
    directory = os.path.dirname(os.path.abspath(path))
    if not os.path.isdir(directory):
        raise OutputError(path, "no such directory for the report")
    if os.path.isdir(path):
        raise OutputError(path, "a directory, not a file for the report")
    for other in inputs:
        if (
            other is not None
            and os.path.exists(path)
            and os.path.exists(other)
            and os.path.samefile(path, other)
        ):
            raise OutputError(path, "the report would replace what it is about")
