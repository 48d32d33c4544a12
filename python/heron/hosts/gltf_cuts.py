"""The part of the data of a glTF document that an export takes along."""

from __future__ import annotations

from collections import defaultdict
from collections.abc import Callable, Iterator
from typing import NamedTuple

from ..files import Json
from .gltf_buffers import Buffers

_ALIGNMENT = 4


class _Need(NamedTuple):
    """Bytes of a buffer view, and the object that names the view."""

    start: int
    end: int
    record: Json


class Cuts:
    """Gathers what is needed of each buffer view, and packs it into views of one new buffer.

    Parts that overlap stay together, as those of interleaved attributes do; what lies between parts is left
    out.
    """

    def __init__(self, buffers: Buffers):
        """Begins with nothing."""
        self._buffers = buffers
        self._needs: dict[int, list[_Need]] = defaultdict(list)
        self._new: list[tuple[bytes, Json]] = []

    def take(self, record: Json, view: int, start: int, end: int) -> None:
        """Takes bytes of the buffer view that `record` names; `pack` brings the new number into it."""
        self._needs[view].append(_Need(start, end, record))

    def take_all(self, record: Json, where: str) -> None:
        """Takes the buffer view that `record` names, from its first to its last byte.

        Raises:
            GltfError: It does not exist, or has no data.
        """
        view = record["bufferView"]
        self.take(record, view, 0, len(self._buffers.view(view, where).data))

    def add(self, record: Json, data: bytes) -> None:
        """Takes data that have no buffer view yet; `pack` brings the number into `record`."""
        self._new.append((data, record))

    def pack(self, copy_view: Callable[[int], Json]) -> tuple[list[Json], bytes]:
        """The new buffer views, and the bytes of their buffer.

        Args:
            copy_view: Gives a copy of the object of a buffer view by its number.
        """
        views: list[Json] = []
        content = bytearray()

        def append(view: Json, data: bytes | memoryview) -> int:
            content.extend(bytes(-len(content) % _ALIGNMENT))
            view.pop("byteOffset", None)
            view.update(buffer=0, byteOffset=len(content), byteLength=len(data))
            content.extend(data)
            views.append(view)
            return len(views) - 1

        for number in sorted(self._needs):
            source = self._buffers.view(number, "the document").data
            for needs in _joined(self._needs[number]):
                first = needs[0].start
                place = append(copy_view(number), source[first : max(need.end for need in needs)])
                for need in needs:
                    need.record["bufferView"] = place
                    need.record.pop("byteOffset", None)
                    if need.start > first:
                        need.record["byteOffset"] = need.start - first
        for data, record in self._new:
            record["bufferView"] = append({}, data)
        content.extend(bytes(-len(content) % _ALIGNMENT))
        return views, bytes(content)


def _joined(needs: list[_Need]) -> Iterator[list[_Need]]:
    """Yields the groups of needs that overlap."""
    group: list[_Need] = []
    end = 0
    for need in sorted(needs, key=lambda need: need[:2]):
        if group and need.start >= end:
            yield group
            group = []
        end = max(end, need.end) if group else need.end
        group.append(need)
    yield group
