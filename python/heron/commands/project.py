"""`heron project`: the projects of a home."""

from __future__ import annotations

import argparse
import getpass

from ..home import find_home
from ..hosts.gltf import GltfScene
from ..project import read_record
from ..projects import Projects
from ..reports.console import Console, complain, count, printable, reader_may_leave
from ..reports.projects import Report, history_json, list_json, show_json
from ..session import Session
from .options import add_command, add_home

DONE = 0

_EPILOG = """\
A project is named by its name, or by its file name where two have one name. The current project is the one
with which front-ends on this home begin; the selected record of a project is the state that it applies to
scenes.

To change rules: `heron project show NAME --json > new.json`, edit the file, then
`heron project save NAME --from new.json --comment "why"`.

exit status:
  0  done
  2  bad input: an unknown project or record, a file that cannot be used or written

examples:
  heron project new Street --from examples/street.json --comment "first rules"
  heron project history Street
  heron project select Street 1767225600
"""


def add_parser(commands: argparse._SubParsersAction[argparse.ArgumentParser]) -> None:
    """Declares the command with all that it can do."""
    parser = add_command(
        commands,
        "project",
        help="make, list, show, change and delete the projects of a home",
        description="Works on the projects in the projects directory of a home.",
        epilog=_EPILOG,
    )
    # Behind the action, like every other option.
    home = argparse.ArgumentParser(add_help=False)
    add_home(home)
    actions = parser.add_subparsers(title="actions", metavar="ACTION", required=True)

    def action(name: str, help: str) -> argparse.ArgumentParser:
        return actions.add_parser(name, help=help, description=f"{help.capitalize()}.", parents=[home])

    new = action("new", "make a project, which becomes the current one")
    new.add_argument("name", metavar="NAME", help="the name of the project")
    new.add_argument("--description", default="", metavar="TEXT", help="what the project is for")
    _add_record(new, False, "begin with the selected record of this project document (default: a few rules)")
    new.set_defaults(run=run_new)

    save = action("save", "add a record to the history of a project, and select it")
    _add_project(save)
    _add_record(save, True, "the selected record of this project document is what is saved")
    save.set_defaults(run=run_save)

    listing = action("list", "list the projects")
    _add_json(listing, "print the list as JSON, for other programs")
    listing.set_defaults(run=run_list)

    show = action("show", "show a project with the rules of its selected record")
    _add_project(show, optional=True)
    _add_json(show, "print the document of the project")
    show.set_defaults(run=run_show)

    history = action("history", "list the records of a project, the newest first")
    _add_project(history, optional=True)
    _add_json(history, "print the list as JSON, for other programs")
    history.set_defaults(run=run_history)

    select = action("select", "make a project the current one, or a record the selected one")
    _add_project(select)
    select.add_argument(
        "record", metavar="RECORD", nargs="?", type=int, help="the time of a record, as `history` lists it"
    )
    select.set_defaults(run=run_select)

    delete = action(
        "delete", "delete a project; its file stays until the next `heron sync`, for the server to see"
    )
    _add_project(delete)
    delete.set_defaults(run=run_delete)


def _add_project(parser: argparse.ArgumentParser, optional: bool = False) -> None:
    parser.add_argument(
        "project",
        metavar="PROJECT",
        nargs="?" if optional else None,
        help="the name of the project, or its file name"
        + (" (default: the current one)" if optional else ""),
    )


def _add_record(parser: argparse.ArgumentParser, required: bool, help: str) -> None:
    parser.add_argument("--from", dest="source", metavar="FILE", required=required, help=help)
    parser.add_argument("--author", metavar="NAME", help="who saves this (default: the user of the process)")
    parser.add_argument("--comment", default="", metavar="TEXT", help="why")


def _add_json(parser: argparse.ArgumentParser, help: str) -> None:
    parser.add_argument("--json", action="store_true", help=help)


def run_new(options: argparse.Namespace) -> int:
    """Makes a project; returns the exit status, as all of these do."""
    state = read_record(options.source) if options.source else None
    projects = open_projects(options)
    project = projects.new(options.name, options.description, state, _author(options), options.comment)
    return _say(f"{project.name}: {project.path}")


def run_save(options: argparse.Namespace) -> int:
    """Adds a record."""
    state = read_record(options.source)
    projects = open_projects(options)
    project = projects.save(projects.find(options.project), state, _author(options), options.comment)
    return _say(f"{project.name}: record {project.history.pointer}, {count(len(list(project)), 'record')}")


def run_list(options: argparse.Namespace) -> int:
    """Lists the projects."""
    projects = open_projects(options)
    with reader_may_leave():
        if options.json:
            print(list_json(projects), end="")
        else:
            Report(Console(highlight=False)).list(projects)
    return DONE


def run_show(options: argparse.Namespace) -> int:
    """Shows a project."""
    project = open_projects(options).find(options.project)
    with reader_may_leave():
        if options.json:
            print(show_json(project), end="")
        else:
            Report(Console(highlight=False)).show(project)
    return DONE


def run_history(options: argparse.Namespace) -> int:
    """Lists the records of a project."""
    project = open_projects(options).find(options.project)
    with reader_may_leave():
        if options.json:
            print(history_json(project), end="")
        else:
            Report(Console(highlight=False)).history(project)
    return DONE


def run_select(options: argparse.Namespace) -> int:
    """Makes a project the current one."""
    projects = open_projects(options)
    project = projects.find(options.project)
    projects.select(project, options.record)
    return _say(f"{project.name}: record {project.history.pointer}")


def run_delete(options: argparse.Namespace) -> int:
    """Deletes a project."""
    projects = open_projects(options)
    project = projects.find(options.project)
    projects.delete(project)
    return _say(f"{project.name}: deleted")


def open_session(options: argparse.Namespace) -> Session:
    """The engine on the home, without a scene; tells on standard error which documents cannot be used."""
    session = Session(GltfScene(), None, find_home(options.home))
    for warning in session.warnings():
        complain(f"warning: {warning}")
    return session


def open_projects(options: argparse.Namespace) -> Projects:
    """The projects of the home."""
    return Projects(open_session(options))


def _author(options: argparse.Namespace) -> str:
    if options.author is not None:
        return str(options.author)
    try:
        return getpass.getuser()
    except (OSError, KeyError, ImportError):
        return ""  # a process without a user, as in a container


def _say(text: str) -> int:
    with reader_may_leave():
        Console(highlight=False, markup=False).print(printable(text), soft_wrap=True)
    return DONE
