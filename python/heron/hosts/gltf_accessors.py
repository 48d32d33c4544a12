"""The accessors of a glTF document as arrays."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any, NamedTuple

import numpy as np

from ..files import Json
from .array_cache import Array, ArrayCache
from .gltf_buffers import Buffers, append_to
from .gltf_members import Members

BYTE, UNSIGNED_BYTE, SHORT, UNSIGNED_SHORT, UNSIGNED_INT, FLOAT = 5120, 5121, 5122, 5123, 5125, 5126

# What lies in a view, for the graphics card.
VERTICES, INDICES = 34962, 34963

_COMPONENTS: dict[int, np.dtype[Any]] = {
    BYTE: np.dtype("<i1"),
    UNSIGNED_BYTE: np.dtype("<u1"),
    SHORT: np.dtype("<i2"),
    UNSIGNED_SHORT: np.dtype("<u2"),
    UNSIGNED_INT: np.dtype("<u4"),
    FLOAT: np.dtype("<f4"),
}
_COMPONENT_TYPES = {dtype: number for number, dtype in _COMPONENTS.items()}
_NORMALIZABLE = {BYTE, UNSIGNED_BYTE, SHORT, UNSIGNED_SHORT}
_SPARSE_INDICES = {UNSIGNED_BYTE, UNSIGNED_SHORT, UNSIGNED_INT}

# Columns and rows.
_SHAPES = {
    "SCALAR": (1, 1),
    "VEC2": (1, 2),
    "VEC3": (1, 3),
    "VEC4": (1, 4),
    "MAT2": (2, 2),
    "MAT3": (3, 3),
    "MAT4": (4, 4),
}
_TYPES_BY_WIDTH = {1: "SCALAR", 2: "VEC2", 3: "VEC3", 4: "VEC4"}
_ALIGNMENT = 4

# An accessor without a buffer view is all zeros; a few bytes of text must not fill the memory.
MAX_ZEROS = 2**28


class _Element(NamedTuple):
    """How one element lies in memory; the sizes are in bytes."""

    component: np.dtype[Any]
    columns: int
    rows: int

    @property
    def column_stride(self) -> int:
        size = self.rows * self.component.itemsize
        return size if self.columns == 1 else size + -size % _ALIGNMENT

    @property
    def size(self) -> int:
        """Without what fills up the last column."""
        return (self.columns - 1) * self.column_stride + self.rows * self.component.itemsize

    @property
    def stride(self) -> int:
        """The distance of elements that follow one another."""
        return self.columns * self.column_stride


class Extent(NamedTuple):
    """The bytes of a buffer view in which elements lie, with all that stands between them.

    Attributes:
        part: Where the accessor names the view: the keys down to the object that does.
        view: The number of the buffer view.
        start: The first byte within it.
        end: The byte behind the last one; the same if there are no elements.
    """

    part: tuple[str, ...]
    view: int
    start: int
    end: int


@dataclass(frozen=True)
class _Layout:
    """An accessor whose members were held to their kinds, and whose bytes were found."""

    name: str
    record: Json
    element: _Element
    count: int
    normalized: bool
    elements: Array | None
    sparse: Json | None


class Accessors:
    """Decodes accessors, and makes new ones.

    Every fault of an accessor is a `GltfError` that names it by its number.
    """

    def __init__(self, members: Members, buffers: Buffers, cache: ArrayCache):
        """Joins a document with its buffers. What is decoded is kept in `cache`."""
        self._members = members
        self._buffers = buffers
        self._cache = cache

    def read(self, index: int, where: str, *types: str) -> Array:
        """The values of an accessor, one row for each element; a matrix is a row by columns.

        Normalized integers come as 32-bit floating-point numbers, all others as they are stored.

        Args:
            index: Its number.
            where: Who asks, for the text of an error.
            types: The element types that serve, such as "VEC3"; by default all.

        Raises:
            GltfError: It does not exist, is of another type, is malformed, or its data are missing
                or too short.
        """
        array = self._cache.get(("accessor", index), lambda: self._decode(self._layout(index, where)))
        if types and self._members.item("accessors", index, where)["type"] not in types:
            raise self._members.error(f"accessor {index} (of {where}) is not {' or '.join(types)}")
        return array

    def stored(self, index: int, where: str) -> Array:
        """The values as `read` gives them, but normalized integers as the integers that are stored.

        Raises:
            GltfError: As `read`.
        """
        return self._values(self._layout(index, where))

    def count(self, index: int, where: str) -> int:
        """The number of elements, whose data are known to be there but are not decoded.

        Raises:
            GltfError: As `read`.
        """
        return self._layout(index, where).count

    def extents(self, index: int, where: str) -> list[Extent]:
        """The parts of buffer views that an accessor needs. They are known to be there.

        Raises:
            GltfError: As `read`.
        """
        layout = self._layout(index, where)
        found = []
        if "bufferView" in layout.record:
            found.append(self._extent((), layout.record, layout.element, layout.count, layout.name))
        if layout.sparse is not None:
            self._values(layout)  # tells whether its indices fit
            name = f"the sparse part of {layout.name}"
            count = self._members.size(layout.sparse, "count", name)
            places, component = self._sparse_places(layout.sparse, name)
            values = self._member_object(layout.sparse, "values", name)
            found.append(self._extent(("sparse", "indices"), places, component, count, name))
            found.append(self._extent(("sparse", "values"), values, layout.element, count, name))
        return found

    def add(self, values: Array, target: int | None = None, bounds: bool = False) -> int:
        """Appends an accessor for `values`, one element for each row, and returns its number.

        The accessors that stood there before stay, since others may use them.

        Args:
            values: Of a component type that glTF has, with one to four columns.
            target: `VERTICES`, `INDICES`, or None for what no graphics card draws.
            bounds: Tells the lowest and the highest values, as positions must.

        Raises:
            GltfError: The buffers as they are cannot take more.
        """
        little = np.ascontiguousarray(values, values.dtype.newbyteorder("<"))
        record: Json = {
            "bufferView": self._buffers.add_view(little.tobytes(), target),
            "componentType": _COMPONENT_TYPES[little.dtype],
            "count": len(little),
            "type": _TYPES_BY_WIDTH[little.shape[1]],
        }
        if bounds:
            record["min"], record["max"] = limits(little)
        return append_to(self._members.document, "accessors", record)

    def add_rows(self, index: int, where: str, rows: Array) -> int:
        """Appends an accessor for some rows of another one, for vertices, and returns its number.

        They are stored in the same way where that way has room for whole words, else as 32-bit
        floating-point numbers.

        Args:
            index: The number of the other accessor.
            where: Who asks, for the text of an error.
            rows: The numbers of the rows.

        Raises:
            GltfError: As `read` and `add`, or it holds matrices, which vertices have not.
        """
        layout = self._layout(index, where)
        if layout.element.columns > 1:
            raise self._members.error(f"{layout.name} holds matrices, which cannot be vertices' own")
        whole_words = layout.element.size % _ALIGNMENT == 0
        values = self._values(layout)[rows] if whole_words else self._decode(layout)[rows].astype(np.float32)
        bounds = len(values) > 0 and bool({"min", "max"} & layout.record.keys())
        new = self.add(values, VERTICES, bounds)
        if layout.normalized and whole_words:
            self._members.item("accessors", new, where)["normalized"] = True
        return new

    def _layout(self, index: int, where: str) -> _Layout:
        record = self._members.item("accessors", index, where)
        name = f"accessor {index} (of {where})"
        component = self._members.size(record, "componentType", name)
        if component not in _COMPONENTS:
            raise self._members.error(f'{name} has the unknown "componentType" {component}')
        kind: str | None = self._members.member(record, "type", str, name)
        if kind not in _SHAPES:
            raise self._members.error(f'{name} has no known "type"')
        normalized = bool(self._members.member(record, "normalized", bool, name))
        if normalized and component not in _NORMALIZABLE:
            raise self._members.error(f"{name} is normalized, which its component type cannot be")
        element = _Element(_COMPONENTS[component], *_SHAPES[kind])
        count = self._members.size(record, "count", name)
        elements = None
        if "bufferView" in record:
            elements = self._elements(record, element, count, name)
        elif count * element.columns * element.rows * element.component.itemsize > MAX_ZEROS:
            raise self._members.error(f"{name} has {count} elements and no data")
        sparse: Json | None = self._members.member(record, "sparse", dict, name)
        return _Layout(name, record, element, count, normalized, elements, sparse)

    def _place(
        self, owner: Json, element: _Element, count: int, name: str
    ) -> tuple[memoryview, int, int, int]:
        """The bytes of the buffer view that `owner` names, the elements' start, end and stride."""
        view_index = self._members.size(owner, "bufferView", name)
        view = self._buffers.view(view_index, name)
        offset = self._members.size(owner, "byteOffset", name, 0)
        stride = element.stride if view.stride is None else view.stride
        if stride < element.size:
            raise self._members.error(f"{name} needs {element.size} bytes an element; the stride is {stride}")
        end = offset + stride * (count - 1) + element.size if count else offset
        if count and end > len(view.data):
            raise self._members.error(
                f"{name} ends at byte {end} of buffer view {view_index}, which has {len(view.data)}"
            )
        return view.data, offset, end, stride

    def _extent(self, part: tuple[str, ...], owner: Json, element: _Element, count: int, name: str) -> Extent:
        _, start, end, _ = self._place(owner, element, count, name)
        return Extent(part, owner["bufferView"], start, end)

    def _elements(self, owner: Json, element: _Element, count: int, name: str) -> Array:
        """The elements in a buffer view, without a copy where their layout allows."""
        data, offset, _, stride = self._place(owner, element, count, name)
        width = element.columns * element.rows
        if not count:
            return np.empty((0, width), element.component)
        strides = (stride, element.column_stride, element.component.itemsize)
        shape = (count, element.columns, element.rows)
        array: Array = np.ndarray(shape, element.component, data, offset, strides)
        return array[:, 0, :] if element.columns == 1 else array.reshape(count, width)

    def _decode(self, layout: _Layout) -> Array:
        values = self._values(layout)
        if not layout.normalized:
            return values
        return np.maximum(values / np.float32(np.iinfo(values.dtype).max), np.float32(-1))

    def _values(self, layout: _Layout) -> Array:
        width = layout.element.columns * layout.element.rows
        elements = layout.elements
        if elements is None:
            elements = np.zeros((layout.count, width), layout.element.component)
        if layout.sparse is None:
            return elements
        return self._overwritten(elements, layout, layout.sparse)

    def _overwritten(self, elements: Array, layout: _Layout, sparse: Json) -> Array:
        """A copy in which the elements that `sparse` names are replaced."""
        name = f"the sparse part of {layout.name}"
        count = self._sparse_count(layout, sparse, name)
        places, element = self._sparse_places(sparse, name)
        indices = self._elements(places, element, count, name)[:, 0]
        if count and (int(indices.max()) >= layout.count or np.any(indices[1:] <= indices[:-1])):
            raise self._members.error(f"the indices of {name} do not rise or point beyond its end")
        values = self._member_object(sparse, "values", name)
        result = elements.copy()
        result[indices] = self._elements(values, layout.element, count, name)
        return result

    def _sparse_count(self, layout: _Layout, sparse: Json, name: str) -> int:
        count = self._members.size(sparse, "count", name)
        if count > layout.count:
            raise self._members.error(f"{name} replaces {count} of {layout.count} elements")
        return count

    def _sparse_places(self, sparse: Json, name: str) -> tuple[Json, _Element]:
        """The object that tells which elements are replaced, and how their numbers are stored."""
        places = self._member_object(sparse, "indices", name)
        component = self._members.size(places, "componentType", name)
        if component not in _SPARSE_INDICES:
            raise self._members.error(f'{name} has the unfit "componentType" {component} for its indices')
        return places, _Element(_COMPONENTS[component], 1, 1)

    def _member_object(self, owner: Json, key: str, name: str) -> Json:
        value: Json | None = self._members.member(owner, key, dict, name)
        if value is None:
            raise self._members.error(f'{name} has no "{key}"')
        return value


def limits(values: Array) -> tuple[list[float | int], list[float | int]]:
    """The lowest and the highest value of each column, as the document tells them.

    Args:
        values: At least one row.
    """
    return values.min(axis=0).tolist(), values.max(axis=0).tolist()
