"""Reading the members of a glTF document, each held to its kind."""

from __future__ import annotations

import math
from typing import Any

from ..files import Json
from .gltf_file import GltfError

_KIND_NAMES = {
    dict: "an object",
    list: "a list",
    str: "a text",
    int: "a whole number",
    bool: "true or false",
}
# The largest whole number that every JSON reader keeps exactly.
_LARGEST = 2**53


class Members:
    """Reads members of one document. Whatever is of a wrong kind is a `GltfError`.

    In all operations `where` says in words whose member it is, for the text of the error; a number
    means a node.
    """

    def __init__(self, path: str, document: Json):
        self.path = path
        self.document = document

    def error(self, reason: str) -> GltfError:
        """The error to raise about this document."""
        return GltfError(self.path, reason)

    def items(self, key: str) -> list[Json]:
        """A top-level list of objects, empty where it is absent."""
        array: list[Json] = self.member(self.document, key, list, "the document") or []
        for index, item in enumerate(array):
            if not isinstance(item, dict):
                raise self.error(f'"{key}" {index} is not an object')
        return array

    def item(self, key: str, index: int, where: str) -> Json:
        """The object number `index` of a top-level list, as `where` names it."""
        array = self.member(self.document, key, list, "the document") or []
        if not 0 <= index < len(array):
            raise self.error(f'{where} names number {_shown(index)} of "{key}"; there are {len(array)}')
        item = array[index]
        if not isinstance(item, dict):
            raise self.error(f'"{key}" {index} is not an object')
        return item

    def member(self, owner: Json, key: str, kind: type, where: str | int) -> Any:
        """The member `key`, or None where it is absent."""
        value = owner.get(key)
        if type(value) is kind or (value is None and key not in owner):
            return value
        where = f"node {where}" if isinstance(where, int) else where
        raise self.error(f'"{key}" of {where} is not {_KIND_NAMES[kind]}')

    def objects(self, owner: Json, key: str, where: str) -> list[Json]:
        """A list of objects, empty where it is absent."""
        items: list[Json] = self.member(owner, key, list, where) or []
        if not all(isinstance(item, dict) for item in items):
            raise self.error(f'"{key}" of {where} is not a list of objects')
        return items

    def size(self, owner: Json, key: str, where: str, default: int | None = None) -> int:
        """A whole number that is not negative. Without a `default` it must be there."""
        value: int | None = self.member(owner, key, int, where)
        if value is None:
            if default is None:
                raise self.error(f'{where} has no "{key}"')
            return default
        if not 0 <= value <= _LARGEST:
            raise self.error(f'"{key}" of {where} is {_shown(value)}')
        return value

    def numbers(self, owner: Json, key: str, length: int, where: str) -> list[float] | None:
        """A list of `length` finite numbers, or None where it is absent."""
        values: list[Any] | None = self.member(owner, key, list, where)
        if values is None:
            return None
        if len(values) != length or not all(map(_is_number, values)):
            raise self.error(f'"{key}" of {where} is not a list of {length} numbers')
        return [float(value) for value in values]


def _is_number(value: object) -> bool:
    if type(value) is int:
        return abs(value) <= _LARGEST
    return type(value) is float and math.isfinite(value)


def _shown(number: int) -> str:
    return str(number) if abs(number) <= _LARGEST else "beyond all reason"
