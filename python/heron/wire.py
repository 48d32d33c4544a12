"""What both sides of the exchange of projects hold the documents to."""

from __future__ import annotations

import math
import re

CONTENT_TYPE = "application/json"
SUFFIX = ".json"
# A name that means itself on every system: no separators, nothing hidden, no control characters.
_NAME = re.compile(r"""[^\x00-\x1f\x7f<>:"/\\|?*.][^\x00-\x1f\x7f<>:"/\\|?*]*""")
# Windows opens a device instead of a file of such a name, whatever its extension.
_DEVICE = re.compile(r"(con|prn|aux|nul|(com|lpt)[0-9¹²³]|con(in|out)\$) *(\..*)?", re.IGNORECASE)
_LONGEST_NAME = 200


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


def is_safe_name(name: str) -> bool:
    """Whether a file of this name can stand in the directory it is meant for, and nowhere else."""
    try:
        size = len(name.encode("utf-8"))
    except UnicodeEncodeError:
        return False
    if size > _LONGEST_NAME or name.endswith((" ", ".")):  # Windows drops these at the end
        return False
    return _NAME.fullmatch(name) is not None and _DEVICE.fullmatch(name) is None


def _is_number(value: object) -> bool:
    if isinstance(value, bool) or not isinstance(value, (int, float)):
        return False
    try:
        return math.isfinite(value)
    except OverflowError:
        return False
