"""`heron checks`: list the known checks."""

from __future__ import annotations

import argparse

from ..catalogue import read_catalogue
from ..home import find_home
from ..hosts.gltf import GltfScene
from ..reports import checks as report
from ..reports.console import Console, reader_may_leave
from ..session import Session
from .options import add_checks, add_command, add_home

USABLE, UNUSABLE = range(2)

_EPILOG = """\
exit status:
  0  every module and class of the directories can be used
  1  something cannot be used: a module cannot be imported, a class does not hold to what is asked of a
     check, the settings are broken
  2  bad input: a missing directory

example:
  heron checks --checks studio/checks
"""


def add_parser(commands: argparse._SubParsersAction[argparse.ArgumentParser]) -> None:
    """Declares the command."""
    parser = add_command(
        commands,
        "checks",
        help="list the known checks with their parameters",
        description="Lists the known checks by category, with their parameters, and the classes that cannot "
        "be used, with the reason.",
        epilog=_EPILOG,
    )
    add_checks(parser)
    parser.add_argument("--format", choices=("text", "json"), default="text", help="default: text")
    add_home(parser)
    parser.set_defaults(run=run)


def run(options: argparse.Namespace) -> int:
    """Carries the command out; returns the exit status."""
    session = Session(GltfScene(), None, find_home(options.home), options.checks)
    catalogue = read_catalogue(session)
    with reader_may_leave():
        if options.format == "json":
            print(report.render_json(catalogue), end="")
        else:
            report.write(catalogue, Console(highlight=False))
    return UNUSABLE if catalogue.troubles() else USABLE
