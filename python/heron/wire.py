"""What both sides of the exchange of projects hold the documents to."""

from __future__ import annotations

import math

from .file_names import is_safe_name

CONTENT_TYPE = "application/json"
SUFFIX = ".json"


class DocumentError(ValueError):
    """A document that cannot be exchanged; the text says why."""


def check_project(project: object, target: str) -> None:
    """Looks whether the document of a project can be exchanged.

    Args:
        project: The document.
        target: The host application that it should be for.

    Raises:
        DocumentError: It cannot.
    """
    if not isinstance(project, dict):
        raise DocumentError("a project is not an object")
    name = project.get("filename")
    if not isinstance(name, str) or not is_safe_name(name) or not name.endswith(SUFFIX):
        raise DocumentError(f'"filename" of a project is not a valid file name: {name!r:.80}')
    if project.get("target") != target:
        raise DocumentError(f'"target" of {name} is {project.get("target")!r:.80}, not "{target}"')
    for key in ("version", "edit_timestamp"):
        if not _is_number(project.get(key)):
            raise DocumentError(f'"{key}" of {name} is not a number')


def _is_number(value: object) -> bool:
    if isinstance(value, bool) or not isinstance(value, (int, float)):
        return False
    try:
        return math.isfinite(value)
    except OverflowError:
        return False
