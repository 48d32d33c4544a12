"""Reading JSON files, with one kind of error for all that can be wrong with one."""

from __future__ import annotations

import json
import os
import uuid
from collections.abc import Callable, Sequence
from contextlib import ExitStack, suppress
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
    replace_files([(path, payload)], error)


def replace_files(files: Sequence[tuple[str, bytes]], error: type[FileError]) -> None:
    """Puts each payload in the place of its file, once all of them are on the disk.

    Args:
        files: Paths and payloads. The last file is the one that refers to the others; directories that
            those lack are made.
        error: The class of the error.

    Raises:
        FileError: A file cannot be written. All files stay as they were, as they do on an interrupt.
    """
    *others, (path, payload) = files
    with ExitStack() as cleanup:
        try:
            last = _write_beside(path, payload, cleanup)
            prepared = []
            for path, payload in others:
                _make_directories(os.path.dirname(path), cleanup)
                prepared.append(_write_beside(path, payload, cleanup))
            for temporary, path in prepared:
                _set_aside(path, last[0], cleanup)
                os.replace(temporary, path)
            path = files[-1][0]
            os.replace(*last)
        except OSError as cause:
            raise error(path, f"cannot be written: {cause.strerror or cause}") from cause
        except ValueError as cause:  # a zero character in the path
            raise error(path, str(cause)) from cause


def same_directory(left: str, right: str) -> bool:
    """Whether two files stand, or would stand, in one directory."""
    return _directory(left) == _directory(right)


def _make_directories(path: str, cleanup: ExitStack) -> None:
    """Makes the directories of `path` that are missing; those still empty in the end go again."""
    missing = []
    while path and not os.path.isdir(path):
        missing.append(path)
        path = os.path.dirname(path)
    for directory in reversed(missing):
        os.mkdir(directory)
        cleanup.callback(_quietly, os.rmdir, directory)


def _write_beside(path: str, payload: bytes, cleanup: ExitStack) -> tuple[str, str]:
    """Writes a file under a name that goes in the end, and returns that name and the one to come."""
    target = os.path.realpath(path)
    temporary = _fresh_name(target)
    mode = os.stat(target).st_mode & 0o7777 if os.path.exists(target) else None
    cleanup.callback(_quietly, os.unlink, temporary)
    with open(temporary, "xb") as file:
        file.write(payload)
        file.flush()
        os.fsync(file.fileno())
    if mode is not None:
        os.chmod(temporary, mode)
    return temporary, target


def _set_aside(target: str, last: str, cleanup: ExitStack) -> None:
    """Renames the file at `target`, if there is one, for as long as `last` has not got its final name."""
    kept = _fresh_name(target)
    existed = os.path.exists(target)
    cleanup.callback(_settle, target, kept, existed, last)
    if existed:
        os.replace(target, kept)


def _settle(target: str, kept: str, existed: bool, last: str) -> None:
    """Drops what stood at `target` before, or puts it back if `last` never got its final name."""
    if not os.path.exists(last):
        _quietly(os.unlink, kept)
    elif existed:
        _quietly(os.replace, kept, target)
    else:
        _quietly(os.unlink, target)


def _fresh_name(target: str) -> str:
    return f"{target}.{uuid.uuid4().hex[:8]}.tmp"


def _quietly(operation: Callable[..., object], *paths: str) -> None:
    with suppress(OSError):
        operation(*paths)


def _directory(path: str) -> str:
    return os.path.realpath(os.path.dirname(os.path.abspath(path)))


def _refuse_constant(name: str) -> NoReturn:
    raise ValueError(f"{name} is not a JSON value")
