"""A bounded store for what was computed from a scene."""

from __future__ import annotations

from collections import OrderedDict
from collections.abc import Callable, Hashable
from typing import Any, TypeVar, cast

import numpy as np
import numpy.typing as npt

Array = npt.NDArray[Any]
_T = TypeVar("_T", bound="Array | tuple[Array, ...]")

_LIMIT = 2**29


class ArrayCache:
    """Arrays, and tuples of them, by key; those unused for longest go when it is full.

    What it hands out is shared and cannot be written to.
    """

    def __init__(self, limit: int = _LIMIT):
        """Makes an empty cache for about `limit` bytes."""
        self._limit = limit
        self._bytes = 0
        self._kept: OrderedDict[Hashable, Array | tuple[Array, ...]] = OrderedDict()

    def get(self, key: Hashable, make: Callable[[], _T]) -> _T:
        """The value at `key`, made by `make` if it is not there."""
        if key in self._kept:
            self._kept.move_to_end(key)
            return cast(_T, self._kept[key])
        value = make()
        for array in _arrays(value):
            array.flags.writeable = False
        self._kept[key] = value
        self._bytes += _size(value)
        while self._bytes > self._limit and len(self._kept) > 1:
            self._bytes -= _size(self._kept.popitem(last=False)[1])
        return value

    def clear(self) -> None:
        """Forgets everything."""
        self._kept.clear()
        self._bytes = 0


def _arrays(value: Array | tuple[Array, ...]) -> tuple[Array, ...]:
    return (value,) if isinstance(value, np.ndarray) else value


def _size(value: Array | tuple[Array, ...]) -> int:
    return sum(array.nbytes for array in _arrays(value))
