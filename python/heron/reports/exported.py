"""What came of an export, as text."""

from __future__ import annotations

from rich.text import Text

from ..exporting import Exported
from .console import Console, count, printable

_SHOWN = 20


def write(result: Exported, refused: list[tuple[str, str]], console: Console) -> None:
    """Prints each hierarchy with its files, then what was not exported and why, then a summary.

    Args:
        result: The export.
        refused: (path, reason) of the objects that fit no rule of the project.
        console: Where to. Whatever it cannot show is written as an escape.
    """

    def line(*parts: tuple[str, str]) -> None:
        safe = [(printable(text, console.encoding), style) for text, style in parts]
        # Without wrapping a line stays a line, however narrow the terminal or absent.
        console.print(Text.assemble(*safe), soft_wrap=True)

    def section(title: str, reasons: list[tuple[str, str]]) -> None:
        if not reasons:
            return
        line((title, "bold"))
        for name, reason in reasons[:_SHOWN]:
            line((f"  {name}", ""))
            line((f"    {reason}", "dim"))
        if len(reasons) > _SHOWN:
            line((f"  and {len(reasons) - _SHOWN} more", ""))
        line()

    if result.written:
        line(("written", "bold"))
        for _, files in result.written:
            for file in files:
                line((f"  {file}", ""))
        line()
    section("skipped", result.skipped)
    section("no hierarchy", refused)
    total = sum(len(files) for _, files in result.written)
    hierarchies = count(len(result.written), "hierarchy", "hierarchies")
    told = [f"{hierarchies} written to {count(total, 'file')}", f"{len(result.skipped)} skipped"]
    if refused:
        told.append(f"{count(len(refused), 'object')} refused")
    line((", ".join(told), "bold"))
