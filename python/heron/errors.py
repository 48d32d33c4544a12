"""The kind of error that ends a command with status 2."""

from __future__ import annotations


class InputError(ValueError):
    """What the user gave cannot be used; the text says why, in one line."""


def described(error: BaseException) -> str:
    """Class, words and notes of an exception, in one line."""
    if isinstance(error, InputError):
        return str(error)
    words = "; ".join(filter(None, [str(error), *getattr(error, "__notes__", ())]))
    return f"{type(error).__name__}: {words}"
