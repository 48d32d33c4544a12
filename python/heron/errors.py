"""The kind of error that ends a command with status 2."""

from __future__ import annotations


class InputError(ValueError):
    """What the user gave cannot be used; the text says why, in one line."""
