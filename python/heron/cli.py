"""The command line of Heron: one module of `heron.commands` for each command."""

from __future__ import annotations

import argparse
import logging
from collections.abc import Sequence

from . import __version__
from .commands import checks, export, project, scan, serve, sync, validate
from .errors import InputError
from .reports.console import complain

BAD_INPUT = 2
INTERRUPTED = 130

_SILENCE = logging.NullHandler()


def main(arguments: Sequence[str] | None = None) -> int:
    """Runs the command line.

    Args:
        arguments: The arguments behind the program's name, by default those of the process.

    Returns:
        The exit status. A wrong usage leaves through `SystemExit` with status 2.
    """
    options = _parser().parse_args(arguments)
    _set_up_log(options.verbose)
    try:
        status: int = options.run(options)
        return status
    except InputError as error:
        complain(str(error))
        return BAD_INPUT
    except KeyboardInterrupt:
        complain("interrupted")
        return INTERRUPTED


def _set_up_log(shown: bool) -> None:
    """Commands tell what concerns the user by themselves: the log would say it twice."""
    if shown:
        logging.basicConfig(format="%(levelname)s: %(message)s")
    else:
        logging.getLogger().addHandler(_SILENCE)


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="heron", description="Validates the structure and the naming of 3D scenes."
    )
    parser.add_argument("--version", action="version", version=f"heron {__version__}")
    parser.add_argument(
        "--verbose",
        action="store_true",
        help="show on standard error what the engine and the checks log, too",
    )
    commands = parser.add_subparsers(title="commands", metavar="COMMAND", required=True)
    for command in (scan, validate, export, checks, project, sync, serve):
        command.add_parser(commands)
    return parser
