"""Showing projects, their rules and their records, as text and as JSON."""

from __future__ import annotations

import json
import time
from typing import Any

from rich.text import Text

import core

from ..project import Project, types_of
from ..projects import Projects
from .console import Console, count, printable
from .json import VERSION

_TIME = "%Y-%m-%d %H:%M:%S"
_MARK = {True: "* ", False: "  "}


def list_json(projects: Projects) -> str:
    """The projects for other programs."""
    listed = [
        {
            "name": header.name,
            "filename": header.filename,
            "edit_timestamp": header.edit_timestamp,
            "compatible": header.compatible,
            "current": projects.is_current(header.filename),
            "records": len(list(projects.collection.get(header.filename))),
        }
        for header in projects.collection.headers
    ]
    return _dump({"version": VERSION, "projects": listed})


def show_json(project: Project) -> str:
    """The document of a project, as its file has it."""
    return _dump({**project.data, "edit_timestamp": project.edit_timestamp})


def history_json(project: Project) -> str:
    """The records of a project without what they hold, for other programs."""
    listed = [
        {
            "timestamp": record.timestamp,
            "author": record.author,
            "comment": record.comment,
            "selected": record.is_selected(),
        }
        for record in project
    ]
    return _dump({"version": VERSION, "records": listed})


def _dump(value: Any) -> str:
    return json.dumps(value, indent=2) + "\n"


class Report:
    """Writes projects to a console. Whatever the console cannot show is written as an escape."""

    def __init__(self, console: Console):
        """Takes the console."""
        self._console = console

    def list(self, projects: Projects) -> None:
        """A line for each project; the current one has a star."""
        headers = projects.collection.headers
        width = max((len(header.name) for header in headers), default=0)
        for header in headers:
            project = projects.collection.get(header.filename)
            told = (
                count(len(list(project)), "record")
                if project.compatible
                else f"project format {project.version}, which this release cannot use"
            )
            mark = _MARK[projects.is_current(header.filename)]
            self._line(mark, (header.name.ljust(width), "bold"), f"  {header.filename}  {told}, edited ",
                       _moment(header.edit_timestamp))  # fmt: skip
        self._line(f"{count(len(headers), 'project')} in {projects.collection.directory}")

    def show(self, project: Project) -> None:
        """What a project is, and the rules of its selected record as a tree."""
        record = project.history.get_record()
        self._line((project.name, "bold"), f"  {project.path}")
        if project.description:
            self._line(project.description)
        self._line(f"edited {_moment(project.edit_timestamp)}, {count(len(list(project)), 'record')}")
        if not record.is_promise():
            self._line("selected: ", _record(record))
        self._line()
        stack = [(node, 0) for node in reversed(list(record.pattern.children))]
        used = set()
        while stack:
            node, depth = stack.pop()
            used.add(node.rule.stamp)
            self._rule(node.rule, depth)
            stack += [(child, depth + 1) for child in reversed(list(node.children))]
        unused = [rule for rule in record.rules if rule.stamp not in used]
        if unused:
            self._line(("not in the tree", "dim"))
        for rule in unused:
            self._rule(rule, 0)

    def history(self, project: Project) -> None:
        """A line for each record, the newest first; the selected one has a star."""
        for record in project:
            self._line(_MARK[record.is_selected()], _record(record))

    def _rule(self, rule: core._Project.Settings.Rule, depth: int) -> None:
        bounds = rule.range
        amount = str(bounds.minimum)
        if bounds.maximum != bounds.minimum:
            amount += f" to {bounds.maximum}"
        checks = [state.class_id for state in rule.check_config if state.enabled]
        self._line("  " * (depth + 1), (rule.name, "bold"), "  ", (rule.regex, "cyan"), f"  {amount}",
                   *(f"  {kind}" for kind in types_of(rule)))  # fmt: skip
        for check in checks:
            self._line("  " * (depth + 3), (check, "dim"))

    def _line(self, *parts: str | tuple[str, str]) -> None:
        safe = [
            (printable(part[0], self._console.encoding), part[1])
            if isinstance(part, tuple)
            else printable(part, self._console.encoding)
            for part in parts
        ]
        # Without wrapping a line stays a line, however narrow the terminal or absent.
        self._console.print(Text.assemble(*safe), soft_wrap=True)


def _record(record: core._Project.Settings.Record) -> str:
    told = [str(record.timestamp), _moment(record.timestamp), str(record.author), str(record.comment)]
    return "  ".join(part for part in told if part)


def _moment(timestamp: float) -> str:
    """A time for the user, in the zone of the machine."""
    try:
        return time.strftime(_TIME, time.localtime(timestamp))
    except (ValueError, OverflowError, OSError):
        return f"at {timestamp}"
