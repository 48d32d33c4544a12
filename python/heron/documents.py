"""What the engine could not read, use or write of its documents, in sentences."""

from __future__ import annotations

from collections.abc import Iterator, Sequence

import core

from .errors import described


def document_warnings(path: str, document: core._Settings | core._Statistics) -> Iterator[str]:
    """What went wrong with a document of the engine's, in sentences."""
    if document.read_error is not None:
        yield f"{path}: cannot be used: {described(document.read_error)}"
    if document.write_error is not None:
        yield f"{path}: cannot be written: {described(document.write_error)}"
    yield from ignored_warnings(path, document.ignored)


def ignored_warnings(path: str, keys: Sequence[str]) -> Iterator[str]:
    """The values of a document that are passed over, in sentences, each once."""
    for key in dict.fromkeys(keys):
        yield f'{path}: "{key}" cannot be used and counts as absent'
