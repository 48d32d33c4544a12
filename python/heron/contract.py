"""Telling why the engine refuses a check class, in the words of those who write checks."""

from __future__ import annotations

from collections.abc import Callable
from typing import Any

import core

_TEXTS = ("class_id", "short_name", "long_name", "description", "category")
_SWITCHES = ("scene_oriented", "could_be_fixed", "could_be_selected")
_OPERATIONS = ("check", "fix_result", "select_result", "result_message")


class _Refusal(Exception):
    """The first question to which a class has the wrong answer."""


def refusal(check: type) -> str:
    """Why the engine refuses a class: the first of its questions that the class fails.

    The questions and their order are the engine's own. Asking them runs code of the class.
    """
    try:
        _examine(check)
    except _Refusal as reason:
        return str(reason)
    return "nothing is wrong when it is asked again: it answers differently from time to time"


def _examine(check: type) -> None:
    _operation(check, "parameters")
    block = _call(check.parameters, "parameters()")  # type: ignore[attr-defined]
    if not isinstance(block, core.Parameters.Block):
        raise _Refusal(f"parameters() gives {_kind(block)}, not a core.Parameters.Block")
    for name in _TEXTS:
        _typed(check, name, str, "a text")
    _typed(check, "sort_index", int, "a whole number")
    for name in _SWITCHES:
        _typed(check, name, bool, "True or False")
    instance = _call(check, "making an instance")
    if not isinstance(instance, core.Check.Base):
        raise _Refusal(f"making an instance gives {_kind(instance)}, not a core.Check.Base")
    for name in _OPERATIONS:
        _operation(instance, name)


def _operation(owner: object, name: str) -> None:
    value = _read(owner, name)
    if not callable(value):
        raise _Refusal(f'"{name}" is {_kind(value)}, not an operation')


def _typed(owner: object, name: str, kind: type, wanted: str) -> None:
    value = _read(owner, name)
    if not isinstance(value, kind):
        raise _Refusal(f'"{name}" is {_kind(value)}, not {wanted}')


def _read(owner: object, name: str) -> Any:
    return _call(lambda: getattr(owner, name), f'reading "{name}"')


def _call(function: Callable[[], Any], what: str) -> Any:
    try:
        return function()
    except Exception as error:
        raise _Refusal(f"{what} raises {type(error).__name__}: {error}") from error


def _kind(value: object) -> str:
    return "None" if value is None else f"of type {type(value).__name__}"
