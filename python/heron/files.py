"""Reading JSON files, with one kind of error for all that can be wrong with one."""

from __future__ import annotations

import json
import os
from typing import Any, NoReturn

Json = dict[str, Any]


class FileError(ValueError):
    """A file that cannot be used.

    Attributes:
        path: The file.
        reason: What is wrong with it, as one line of text.
    """

    def __init__(self, path: str, reason: str):
        super().__init__(f"{path}: {reason}")
        self.path = path
        self.reason = reason


def read_bytes(path: str, error: type[FileError]) -> bytes:
    """The content of a file that must not be empty.

    Raises:
        FileError: Of the class `error`, if there is nothing to read.
    """
    try:
        with open(path, "rb") as file:
            raw = file.read()
    except OSError as cause:
        raise error(path, cause.strerror or str(cause)) from cause
    except ValueError as cause:  # a zero character in the path
        raise error(path, str(cause)) from cause
    if not raw:
        raise error(path, "the file is empty")
    return raw


def parse_object(path: str, raw: bytes, error: type[FileError]) -> Json:
    """The JSON object that `raw` holds as UTF-8 text.

    Raises:
        FileError: Of the class `error`, if it holds anything else.
    """
    try:
        value = json.loads(raw.decode("utf-8"), parse_constant=_refuse_constant)
    except UnicodeDecodeError as cause:
        raise error(path, f"not UTF-8 text (byte {cause.start})") from cause
    except RecursionError as cause:
        raise error(path, "the JSON is nested too deeply") from cause
    except ValueError as cause:
        raise error(path, f"not JSON: {cause}") from cause
    if not isinstance(value, dict):
        raise error(path, "the JSON is not an object")
    return value


def same_directory(left: str, right: str) -> bool:
    """Whether two files stand, or would stand, in one directory."""
    return _directory(left) == _directory(right)


def _directory(path: str) -> str:
    return os.path.realpath(os.path.dirname(os.path.abspath(path)))


def _refuse_constant(name: str) -> NoReturn:
    raise ValueError(f"{name} is no JSON value")
