"""`heron sync`: exchange projects with a server."""

from __future__ import annotations

import argparse

from ..exchange import Exchange, Server, ServerError, exchange_projects
from ..reports.console import complain, count, printable, reader_may_leave
from .options import add_command, add_home
from .project import open_session

DONE, FAILED = range(2)
_PATIENCE = 30.0

_EPILOG = """\
All projects of the home go to the server, those marked as deleted too. Then the projects of the server take
their place where they are newer, and projects that the server does not have are removed. When two have
edited one project, the later edit counts.

exit status:
  0  done
  1  the server gave no answer that can be used, and nothing has changed here; or a project could not be
     written
  2  bad input: a malformed URL, a home that cannot be used

example:
  heron sync http://127.0.0.1:8080/projects
"""


def add_parser(commands: argparse._SubParsersAction[argparse.ArgumentParser]) -> None:
    """Declares the command."""
    parser = add_command(
        commands,
        "sync",
        help="exchange the projects of a home with a server",
        description="Sends the projects of a home to a server and takes over what is newer there.",
        epilog=_EPILOG,
    )
    parser.add_argument("url", metavar="URL", help="the address, as `heron serve` prints it")
    parser.add_argument(
        "--timeout",
        type=_seconds,
        default=_PATIENCE,
        metavar="SECONDS",
        help=f"how long the server may stay silent (default: {_PATIENCE:g})",
    )
    parser.add_argument(
        "--insecure",
        action="store_true",
        help="with https, take any certificate, such as one that a studio's server has signed itself",
    )
    add_home(parser)
    parser.set_defaults(run=run)


def run(options: argparse.Namespace) -> int:
    """Carries the command out; returns the exit status."""
    server = Server(options.url, options.timeout, not options.insecure)
    session = open_session(options)
    try:
        result = exchange_projects(session.api, server)
    except ServerError as error:
        complain(f"{error}; the projects here stay as they are")
        return FAILED
    for message in result.errors:
        complain(message)
    with reader_may_leave():
        for line in _lines(result):
            print(printable(line))
    return FAILED if result.errors else DONE


def _lines(result: Exchange) -> list[str]:
    lines = [
        f"{what:7}  {name}"
        for what, names in (("new", result.new), ("updated", result.updated), ("removed", result.removed))
        for name in names
    ]
    summary = (
        f"{count(result.sent, 'project')} sent; {len(result.new)} new, {len(result.updated)} updated, "
        f"{len(result.removed)} removed, {result.kept} as before"
    )
    return [*lines, summary]


def _seconds(text: str) -> float:
    try:
        value = float(text)
    except ValueError:
        value = 0.0
    if not 0 < value < 86400:
        raise argparse.ArgumentTypeError(f"{text} is not a number of seconds above 0 and below 86400")
    return value
