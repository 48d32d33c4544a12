"""Reading JSON files, with one kind of error for all that can be wrong with one."""

from __future__ import annotations

import json
import os
import uuid
from typing import Any, NoReturn

from .errors import InputError

Json = dict[str, Any]


class FileError(InputError):
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


def replace_file(path: str, payload: bytes, error: type[FileError]) -> None:
    """Puts `payload` in the place of a file in one step; the file keeps its mode, a link stays a link.

    Raises:
        FileError: Of the class `error`, if the file cannot be written; it stays as it was.
    """
    target = os.path.realpath(path)
    temporary = f"{target}.{uuid.uuid4().hex[:8]}.tmp"
    try:
        mode = os.stat(target).st_mode & 0o7777 if os.path.exists(target) else None
        try:
            with open(temporary, "xb") as file:
                file.write(payload)
                file.flush()
                os.fsync(file.fileno())
            if mode is not None:
                os.chmod(temporary, mode)
            os.replace(temporary, target)
        except BaseException:
            if os.path.exists(temporary):
                os.unlink(temporary)
            raise
    except OSError as cause:
        raise error(path, f"cannot be written: {cause.strerror or cause}") from cause


def same_directory(left: str, right: str) -> bool:
    """Whether two files stand, or would stand, in one directory."""
    return _directory(left) == _directory(right)


def _directory(path: str) -> str:
    return os.path.realpath(os.path.dirname(os.path.abspath(path)))


def _refuse_constant(name: str) -> NoReturn:
    raise ValueError(f"{name} is no JSON value")
