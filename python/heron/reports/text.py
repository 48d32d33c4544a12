"""A validation as text: on a terminal in colour, elsewhere plain."""

from __future__ import annotations

from collections import Counter
from io import StringIO
from itertools import islice

from rich.cells import cell_len
from rich.text import Text

from ..outcome import ERROR, FAIL, INFO, PASS, STATUSES, CheckOutcome, ObjectOutcome, Validation
from .console import Console, count, printable, printable_lines

_SHOWN = 20
_FIXED = "fixed"
_STYLES = {PASS: "green", INFO: "cyan", FAIL: "bold red", ERROR: "bold magenta", _FIXED: "bold green"}
_LABEL_WIDTH = max(map(len, _STYLES)) + 2


def render(validation: Validation) -> str:
    """The whole report as plain text."""
    file = StringIO()
    write(validation, Console(file=file, highlight=False, color_system=None))
    return file.getvalue()


def write(validation: Validation, console: Console) -> None:
    """Prints objects without findings, the refused, then each object with findings, then the summary."""
    _Text(console).report(validation)


def summary(validation: Validation) -> list[str]:
    """What was found, fixed and left, in a few short sentences."""
    found, checks = validation.found(), sum(validation.found().values())
    where = f"{count(len(validation.objects), 'object')}, {count(checks, 'check')}"
    lines = [
        f"{where} in {validation.seconds * 1000:.1f} ms: {_numbers(found)}" if checks else "nothing checked"
    ]
    if validation.fixing and checks:
        lines.append(f"{validation.fixed()} fixed, left: {_numbers(validation.left())}")
        if validation.fixed() and not validation.saved:
            lines.append("the scene file stays as it was; --save would keep the fixes")
    if validation.refused:
        lines.append(f"{count(len(validation.refused), 'object')} not checked: no rule of the project fits")
    return lines


def _numbers(statuses: Counter[str]) -> str:
    return ", ".join(f"{statuses[status]} {status}" for status in STATUSES if statuses[status])


class _Text:
    """Writes a report to a console. Whatever the console cannot show is written as an escape."""

    def __init__(self, console: Console):
        self._console = console
        self._encoding = console.encoding

    def report(self, validation: Validation) -> None:
        clean = [one for one in validation.objects if all(map(_is_clean, one.checks))]
        self._clean(clean)
        self._refused(validation.refused)
        for one in validation.objects:
            if not all(map(_is_clean, one.checks)):
                self._object(one)
        for line in summary(validation):
            self._line((line, "bold"))

    def _clean(self, objects: list[ObjectOutcome]) -> None:
        if not objects:
            return
        self._line(("no findings", "bold"))
        for one in objects[:_SHOWN]:
            checks = ", ".join(check.name for check in one.checks)
            self._line("  ", (PASS.ljust(_LABEL_WIDTH), _STYLES[PASS]), self._title(one))
            self._line(" " * (_LABEL_WIDTH + 4), (self._safe(checks), "dim"))
        self._more(len(objects))

    def _refused(self, refused: list[tuple[str, str]]) -> None:
        if not refused:
            return
        self._line(("not checked", "bold"))
        for path, reason in islice(refused, _SHOWN):
            self._line("  ", self._safe(path))
            self._line("    ", (self._safe(reason), "dim"))
        self._more(len(refused))

    def _more(self, number: int) -> None:
        if number > _SHOWN:
            self._line(f"  and {number - _SHOWN} more")
        self._line()

    def _object(self, one: ObjectOutcome) -> None:
        self._line(self._title(one))
        width = max(cell_len(self._safe(check.name)) for check in one.checks)
        for check in one.checks:
            self._check(check, width)
        self._line()

    def _title(self, one: ObjectOutcome) -> Text:
        rule = ("  " + self._safe(one.rule), "cyan") if one.rule else ""
        return Text.assemble((self._safe(one.title), "bold"), rule)

    def _check(self, check: CheckOutcome, width: int) -> None:
        label = _FIXED if check.fixed else check.now.status
        name = self._safe(check.name)
        head, *rest = printable_lines(
            check.found.message if check.fixed else check.now.message, self._encoding
        ) or [""]
        indent = "  " + " " * _LABEL_WIDTH
        gap = " " * (width - cell_len(name) + 2) if head else ""
        self._line("  ", (label.ljust(_LABEL_WIDTH), _STYLES[label]), name, gap, head)
        for line in rest:
            self._line(indent + " " * (width + 2) + line)
        if check.left is not None and not check.fixed:
            self._line(indent, (" " * (width + 2) + "the fix did not help", "dim"))

    def _line(self, *parts: str | Text | tuple[str, str]) -> None:
        # Without wrapping a line stays a line, however narrow the terminal or absent.
        self._console.print(Text.assemble(*parts), soft_wrap=True)

    def _safe(self, text: str) -> str:
        return printable(text, self._encoding)


def _is_clean(check: CheckOutcome) -> bool:
    return check.found.status == PASS
