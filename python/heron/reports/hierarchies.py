"""Showing the result of a scan on a terminal, or as plain lines where there is none."""

from __future__ import annotations

import re
from collections.abc import Iterator
from dataclasses import dataclass
from itertools import islice

from rich.cells import cell_len
from rich.console import Console
from rich.segment import Segment, Segments
from rich.style import Style
from rich.text import Text

import core

from .console import printable

_COLOR = re.compile(r"#[0-9A-Fa-f]{6}")
_REFUSED_SHOWN = 20
_GAP = "  "
_NAME, _ROOT_NAME, _RULE, _PATH = map(Style.parse, ("none", "bold", "cyan", "dim"))


@dataclass
class _Row:
    """One found object as a line of the tree."""

    cells: tuple[str, str, str]  # the indented name, the rule, the type in the scene
    path: str
    color: str


class Report:
    """Writes results to a console. Whatever the console cannot show is written as an escape."""

    def __init__(self, console: Console):
        """Takes the console; colour is used where it has colour."""
        self._console = console
        self._swatches = console.color_system is not None
        self._encoding = console.encoding

    def hierarchies(self, buckets: list[core.Scene._Buffer.DataBucket], operator: core.Scene.Operator) -> int:
        """Prints each bucket as an indented tree: name, rule, type in the scene and path.

        Returns:
            The number of objects printed.
        """
        groups = [
            [self._row(joint, depth, operator) for joint, depth in _walk(bucket.joint)] for bucket in buckets
        ]
        rows = [row for group in groups for row in group]
        widths = [max(map(cell_len, column)) for column in zip(*(row.cells for row in rows), strict=True)]
        for group in groups:
            segments = [segment for row in group for segment in self._segments(row, widths)]
            self._print(Segments([*segments, Segment.line()]))
        return len(rows)

    def refused(self, reasons: Iterator[tuple[str, str]], count: int) -> None:
        """Prints the refused objects, with the reasons of the first few of them.

        Args:
            reasons: (path, reason) of each; only as many are taken as are shown.
            count: How many there are.
        """
        if not count:
            return
        self._print(Text("refused", style="bold"))
        for path, reason in islice(reasons, _REFUSED_SHOWN):
            text = Text.assemble("  ", self._safe(path), "\n", ("    " + self._safe(reason), "dim"))
            self._print(text)
        if count > _REFUSED_SHOWN:
            self._print(Text(f"  and {count - _REFUSED_SHOWN} more"))
        self._print(Text())

    def line(self, text: str, style: str = "") -> None:
        """Prints one line."""
        self._print(Text(self._safe(text), style=style))

    def _row(self, joint: core.Scene._Buffer.DataJoint, depth: int, operator: core.Scene.Operator) -> _Row:
        cells = (
            "  " * depth + self._safe(joint.name),
            self._safe(joint.type),
            self._safe(operator.get_type(joint.path)),
        )
        return _Row(cells, self._safe(joint.path), joint.color or "")

    def _segments(self, row: _Row, widths: list[int]) -> Iterator[Segment]:
        name, rule, type = (
            cell + " " * (width - cell_len(cell)) + _GAP
            for cell, width in zip(row.cells, widths, strict=True)
        )
        if self._swatches:
            known = _COLOR.fullmatch(row.color)
            yield Segment(" ", Style(bgcolor=row.color) if known else None)
            yield Segment(" ")
        yield Segment(name, _NAME if name.startswith(" ") else _ROOT_NAME)
        yield Segment(rule, _RULE)
        yield Segment(type)
        yield Segment(row.path, _PATH)
        yield Segment.line()

    def _print(self, content: Text | Segments) -> None:
        # Without wrapping a line stays a line, however narrow the terminal or absent.
        self._console.print(content, soft_wrap=True, end="" if isinstance(content, Segments) else "\n")

    def _safe(self, text: str | None) -> str:
        return printable(text or "", self._encoding)


def _walk(root: core.Scene._Buffer.DataJoint) -> Iterator[tuple[core.Scene._Buffer.DataJoint, int]]:
    """The joints of a bucket with their depth. A ghost is no object: its children come first."""
    stack = [(root, 0)]
    if root.is_ghost():
        stack = [(joint, 0) for joint in reversed(root.children)]
    while stack:
        joint, depth = stack.pop()
        yield joint, depth
        stack.extend((child, depth + 1) for child in reversed(joint.children))
