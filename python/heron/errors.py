"""The kind of error that ends a command with status 2."""

from __future__ import annotations


class InputError(ValueError):
    """What the user gave cannot be used; the text says why, in one line."""


def described(error: BaseException) -> str:
    """Class and words of an exception, in one line."""
    if isinstance(error, InputError):
        return str(error)
    return f"{type(error).__name__}: {error}"
