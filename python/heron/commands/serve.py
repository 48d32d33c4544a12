"""`heron serve`: a small server for projects."""

from __future__ import annotations

import argparse
import os

from ..home import find_home
from ..reports.console import complain, reader_may_leave
from ..server.http import ProjectServer
from ..server.store import Store
from .options import add_command, add_home

STOPPED = 0

_EPILOG = """\
It keeps the newest state of each project, one file for each, and hands them to whoever runs `heron sync`
with its address. There is no password and no encryption: it is meant for one machine, or for a network in
which everybody may change the projects. For more, put a web server with both in front of it.

exit status:
  0  it was stopped, with Ctrl-C
  2  bad input: a port that is taken, a directory that cannot be made

example:
  heron serve --dir projects
"""


def add_parser(commands: argparse._SubParsersAction[argparse.ArgumentParser]) -> None:
    """Declares the command."""
    parser = add_command(
        commands,
        "serve",
        help="run a small server that keeps projects for `heron sync`",
        description="Runs a small server with which `heron sync` exchanges projects.",
        epilog=_EPILOG,
    )
    parser.add_argument(
        "--dir",
        metavar="DIR",
        help="where the server keeps the projects, made if need be (default: `server` in the home)",
    )
    parser.add_argument(
        "--host", default="127.0.0.1", help="where to listen (default: 127.0.0.1, for this machine only)"
    )
    parser.add_argument("--port", type=int, default=8080, help="default: 8080; 0 takes a free one")
    add_home(parser)
    parser.set_defaults(run=run)


def run(options: argparse.Namespace) -> int:
    """Carries the command out; returns the exit status."""
    directory = options.dir
    if directory is None:
        directory = os.path.join(find_home(options.home).get_settings_directory(), "server")
    with ProjectServer(options.host, options.port, Store(directory, complain), complain) as server:
        with reader_may_leave():
            print(server.url, flush=True)
        try:
            server.serve_forever()
        except KeyboardInterrupt:
            complain("stopped")
    return STOPPED
