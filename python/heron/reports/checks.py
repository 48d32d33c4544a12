"""The known checks, as text and as JSON."""

from __future__ import annotations

import json
from dataclasses import asdict
from itertools import groupby

from rich.text import Text

from ..catalogue import Catalogue, DeniedCheck, KnownCheck, Parameter
from .console import Console, count, printable, printable_lines
from .json import VERSION

_KINDS = {
    "IntRange": "whole number",
    "FloatRange": "number",
    "RegEx": "regular expression",
    "Switch": "switch",
    "ComboBox": "one of",
    "TextInputList": "texts, each on or off",
    "TextMatchList": "texts",
    "IntSliceList": "ranges of whole numbers",
}


def render_json(catalogue: Catalogue) -> str:
    """The catalogue for other programs; `docs/reports.md` tells what each member means."""
    return json.dumps({"version": VERSION, **asdict(catalogue)}, indent=2) + "\n"


def write(catalogue: Catalogue, console: Console) -> None:
    """Prints the checks by category, then what cannot be used."""
    _Text(console).catalogue(catalogue)


class _Text:
    """Writes a catalogue to a console. Whatever the console cannot show is written as an escape."""

    def __init__(self, console: Console):
        self._console = console
        self._encoding = console.encoding

    def catalogue(self, catalogue: Catalogue) -> None:
        for category, checks in groupby(catalogue.checks, lambda check: check.category):
            self._line((self._safe(category or "no category"), "bold"))
            for check in checks:
                self._check(check)
            self._line()
        if catalogue.denied:
            self._line(("cannot be used", "bold"))
            for denied in catalogue.denied:
                self._denied(denied)
            self._line()
        for warning in catalogue.warnings:
            self._line(("warning: ", "bold"), self._safe(warning))
        self._line((f"{count(len(catalogue.checks), 'check')}, {len(catalogue.denied)} unusable", "bold"))

    def _check(self, check: KnownCheck) -> None:
        whole = ("  (looks at the scene as a whole)", "dim") if check.scene_oriented else ""
        self._line("  ", (self._safe(check.id), "cyan"), "  ", self._safe(check.name), whole)
        for line in printable_lines(check.description, self._encoding):
            self._line("      ", line)
        for parameter in check.parameters:
            kind = self._safe(_kind(parameter))
            self._line("      ", (self._safe(parameter.name), "bold"), f": {kind}")
            for line in printable_lines(parameter.help or parameter.label, self._encoding):
                self._line("          ", (line, "dim"))

    def _denied(self, denied: DeniedCheck) -> None:
        self._line("  ", self._safe(denied.name), "  ", (self._safe(denied.file), "dim"))
        self._line("      ", self._safe(denied.reason))

    def _line(self, *parts: str | Text | tuple[str, str]) -> None:
        # Without wrapping a line stays a line, however narrow the terminal or absent.
        self._console.print(Text.assemble(*parts), soft_wrap=True)

    def _safe(self, text: str) -> str:
        return printable(text, self._encoding)


def _kind(parameter: Parameter) -> str:
    """What a parameter takes, and its default, as the end of a sentence."""
    text = _KINDS.get(parameter.kind, parameter.kind)
    if parameter.choices:
        text += " " + ", ".join(
            f"{name} ({label})" if label else name for name, label in parameter.choices.items()
        )
    if parameter.limits:
        text += " from {minimum} to {maximum} in steps of {step}".format_map(parameter.limits)
        units = (parameter.limits["prefix"], parameter.limits["units"])
        text += "".join(f", {unit.strip()}" for unit in units if unit.strip())
    return f"{text}; default {_default(parameter.default)}"


def _default(data: object) -> str:
    """The default as short as it can be told: a form with one member by that member."""
    if isinstance(data, dict) and len(data) == 1:
        (data,) = data.values()
    return json.dumps(data, ensure_ascii=False)
