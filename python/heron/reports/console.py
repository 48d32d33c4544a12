"""What all output to a terminal or a pipe shares."""

from __future__ import annotations

import contextlib
import os
import sys
from collections.abc import Iterator
from typing import NoReturn

from rich.console import Console as RichConsole


class Console(RichConsole):
    """A console that leaves a closed pipe to `reader_may_leave`."""

    def on_broken_pipe(self) -> NoReturn:
        """Keeps the base class from ending the process with a status of its own."""
        raise BrokenPipeError


@contextlib.contextmanager
def reader_may_leave() -> Iterator[None]:
    """Ends the output quietly when its reader has closed the pipe, as `head` does."""
    try:
        yield
        sys.stdout.flush()
    except BrokenPipeError:
        # What is still in the buffer must not fail once more when the process ends.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())


def complain(message: str) -> None:
    """Says something on standard error, as one line."""
    print(f"heron: {printable(message, sys.stderr.encoding or 'utf-8')}", file=sys.stderr)


def printable(text: str, encoding: str = "utf-8") -> str:
    """`text` with escapes for control characters, lone surrogates and what `encoding` lacks."""
    if not text.isprintable():
        text = "".join(char if char.isprintable() else ascii(char)[1:-1] for char in text)
    return text.encode(encoding, "backslashreplace").decode(encoding)


def printable_lines(text: str, encoding: str = "utf-8") -> list[str]:
    """The lines of `text`, each as `printable` gives it, tabs as spaces."""
    return [printable(line.expandtabs(4), encoding) for line in text.splitlines()]


def count(number: int, word: str, words: str = "") -> str:
    """A number and the word for so many things."""
    return f"{number} {word if number == 1 else words or word + 's'}"
