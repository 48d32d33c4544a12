"""A validation as one web page that needs nothing else, neither a network nor files beside it."""

from __future__ import annotations

from collections.abc import Iterator
from dataclasses import dataclass, field
from datetime import datetime, timezone
from functools import cache

from jinja2 import Environment, PackageLoader, StrictUndefined, Template
from markupsafe import Markup

from ..outcome import PASS, STATUSES, ObjectOutcome, Validation, worst
from .console import count, printable, printable_lines
from .text import summary


@dataclass
class Row:
    """A line of the tree.

    Attributes:
        name: The last piece of the path, or what stands for the whole scene.
        level: How deep it stands, 0 at the top.
        path: The path, empty for what is no object of the scene.
        outcomes: The outcomes at this place; none for an object that only leads to others.
        status: The worst status here and below.
    """

    name: str
    level: int
    path: str
    outcomes: list[ObjectOutcome] = field(default_factory=list)
    status: str = PASS

    @property
    def is_open(self) -> bool:
        """Whether something was found here, so that the page should show it at once."""
        return any(check.found.status != PASS for one in self.outcomes for check in one.checks)

    @property
    def rules(self) -> str:
        """The rules that the object matched."""
        return ", ".join(one.rule for one in self.outcomes if one.rule)


def render(validation: Validation) -> str:
    """The whole page; ASCII, so that any name comes through any pipe."""
    rows = tree_rows(validation.objects)
    fixed = validation.fixed()
    left = validation.left()
    counts = {"fixed": fixed} if fixed else {}
    counts |= {status: left[status] - (fixed if status == PASS else 0) for status in STATUSES}
    when = datetime.fromtimestamp(validation.started, timezone.utc).strftime("%Y-%m-%d %H:%M:%S UTC")
    page = _template().render(
        validation=validation, rows=rows, counts=counts, when=when, summary=summary(validation)
    )
    return page.encode("ascii", "xmlcharrefreplace").decode()


def tree_rows(objects: list[ObjectOutcome]) -> list[Row]:
    """The objects as a tree, parents before their children, each place once.

    The tree is a flat list with levels: it may be far deeper than browsers nest their elements.
    """
    top = _Node(Row("", -1, ""))
    rows = []
    for one in objects:
        if one.name:
            rows.append(Row(one.name, 0, one.path, [one], one.status))
            continue
        node = top
        for name in one.path.strip("/").split("/"):
            node = node.child(name)
        node.row.outcomes.append(one)
    below = list(top.walk())
    for node in reversed(below):
        own = [one.status for one in node.row.outcomes]
        node.row.status = worst([*own, *(child.row.status for child in node.children.values())])
    return rows + [node.row for node in below]


@dataclass
class _Node:
    row: Row
    children: dict[str, _Node] = field(default_factory=dict)

    def child(self, name: str) -> _Node:
        if name not in self.children:
            self.children[name] = _Node(Row(name, self.row.level + 1, f"{self.row.path}/{name}"))
        return self.children[name]

    def walk(self) -> Iterator[_Node]:
        """All nodes below this one, parents before their children."""
        stack = list(reversed(self.children.values()))
        while stack:
            node = stack.pop()
            yield node
            stack.extend(reversed(node.children.values()))


def _finalize(value: object) -> object:
    return printable(value) if isinstance(value, str) and not isinstance(value, Markup) else value


@cache
def _template() -> Template:
    environment = Environment(
        loader=PackageLoader(__package__, "."),
        autoescape=True,
        undefined=StrictUndefined,
        trim_blocks=True,
        lstrip_blocks=True,
        # Whatever is shown passes here first: a page has no place for control characters.
        finalize=_finalize,
    )
    environment.filters["lines"] = printable_lines
    environment.globals["count"] = count
    return environment.get_template("page.html")
