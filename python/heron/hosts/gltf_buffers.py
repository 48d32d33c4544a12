"""The bytes behind a glTF document: its buffers, and the views into them."""

from __future__ import annotations

import base64
import binascii
import os
import re
from dataclasses import dataclass, field, replace
from urllib.parse import unquote, unquote_to_bytes

from ..files import Json
from .gltf_file import ABSOLUTE_URI, BIN_CHUNK, GltfFile
from .gltf_members import Members

_DATA_URI = re.compile(r"data:([^,]*),(.*)", re.DOTALL)
_BASE64_URI = "data:application/octet-stream;base64,"
_ALIGNMENT = 4


@dataclass(frozen=True)
class BufferView:
    """A part of a buffer.

    Attributes:
        data: Its bytes.
        stride: The distance of its elements in bytes, None where they follow one another.
    """

    data: memoryview
    stride: int | None


@dataclass
class _Growing:
    """The buffer that takes new data: its number, what it held when it was read, what came since."""

    number: int
    base: bytes
    tail: bytearray = field(default_factory=bytearray)


class Buffers:
    """Reads the buffers of a file when they are asked for, and takes new data.

    New data of a `.glb` go to the end of its binary chunk, those of a `.gltf` into a buffer of their
    own within the document: a file beside it, which others may share, is never written.
    """

    def __init__(self, file: GltfFile, members: Members):
        """Reads nothing yet. `members` reads the document of `file`."""
        self._file = file
        self._members = members
        self._loaded: dict[tuple[str, int], bytes] = {}
        self._growing: _Growing | None = None

    def copy(self, file: GltfFile, members: Members) -> Buffers:
        """The buffers of a copy of the file: what was read from files is shared, what is new is not."""
        other = Buffers(file, members)
        other._loaded = self._loaded
        if self._growing is not None:
            other._growing = replace(self._growing, tail=bytearray(self._growing.tail))
        return other

    def view(self, index: int, where: str) -> BufferView:
        """The buffer view `index`, which `where` names.

        Raises:
            GltfError: It does not exist, its buffer cannot be read or is too short.
        """
        record = self._members.item("bufferViews", index, where)
        name = f"buffer view {index} (of {where})"
        start = self._members.size(record, "byteOffset", name, 0)
        length = self._members.size(record, "byteLength", name)
        stride: int | None = None
        if "byteStride" in record:
            stride = self._members.size(record, "byteStride", name)
        buffer = self._members.size(record, "buffer", name)
        return BufferView(self._bytes(buffer, start, length, name), stride)

    def find_image(self, record: Json, where: str) -> None:
        """Makes sure that the data of an image are there, without reading a file.

        Args:
            record: The image's object in the document.
            where: What it is called in an error.

        Raises:
            GltfError: They are not.
        """
        uri: str | None = self._members.member(record, "uri", str, where)
        if uri is None:
            self.view(self._members.size(record, "bufferView", where), where)
        elif _DATA_URI.fullmatch(uri) is None:
            self._find_file(uri, where)

    def read_image(self, record: Json, where: str) -> bytes:
        """The data of an image, as they are stored.

        Args:
            record: The image's object in the document.
            where: What it is called in an error.

        Raises:
            GltfError: They cannot be read.
        """
        uri: str | None = self._members.member(record, "uri", str, where)
        if uri is not None:
            return self._load(uri, None, where)
        return bytes(self.view(self._members.size(record, "bufferView", where), where).data)

    def add_view(self, data: bytes, target: int | None = None) -> int:
        """Appends `data` in a buffer view of its own, and returns the number of the view.

        Args:
            data: The bytes.
            target: What a graphics card takes them for, as the document names it.

        Raises:
            GltfError: The buffers as they are cannot take more.
        """
        growing = self._growing or self._begin_growing()
        self._growing = growing
        offset = len(growing.base) + len(growing.tail)
        growing.tail += data + bytes(-len(data) % _ALIGNMENT)
        record = self._members.item("buffers", growing.number, "new data")
        record["byteLength"] = len(growing.base) + len(growing.tail)
        view: Json = {"buffer": growing.number, "byteOffset": offset, "byteLength": len(data)}
        if target is not None:
            view["target"] = target
        return append_to(self._members.document, "bufferViews", view)

    def store(self) -> None:
        """Brings new data into the document or the binary chunk, so that the file can be written."""
        growing = self._growing
        if growing is None or not growing.tail:
            return
        record = self._members.item("buffers", growing.number, "new data")
        if self._file.chunks is None or growing.number > 0:
            record["uri"] = _BASE64_URI + base64.b64encode(growing.tail).decode("ascii")
            return
        growing.base += bytes(growing.tail)
        growing.tail.clear()
        self._file.chunks[:1] = [(BIN_CHUNK, growing.base)]

    def _bytes(self, index: int, start: int, length: int, where: str) -> memoryview:
        growing = self._growing
        if growing is not None and index == growing.number and start >= len(growing.base):
            start -= len(growing.base)
            content = memoryview(bytes(growing.tail[start : start + length]))
            start = 0
        else:
            content = self._content(index, where)
        if start + length > len(content):
            raise self._members.error(
                f"{where} ends at byte {start + length} of buffer {index}, which has {len(content)}"
            )
        return content[start : start + length]

    def _content(self, index: int, where: str) -> memoryview:
        """A buffer as it was read, cut to the length that the document tells."""
        record = self._members.item("buffers", index, where)
        name = f"buffer {index}"
        length = self._members.size(record, "byteLength", name)
        uri: str | None = self._members.member(record, "uri", str, name)
        if uri is not None:
            content = self._loaded.get((uri, length))
            if content is None:
                content = self._loaded[uri, length] = self._load(uri, length, name)
        elif self._growing is not None and self._growing.number == index:
            content = self._growing.base
            length = len(content)
        else:
            content = self._binary_chunk(index)
        if len(content) < length:
            raise self._members.error(f"{name} has {len(content)} bytes where {length} are told")
        return memoryview(content)[:length]

    def _binary_chunk(self, index: int) -> bytes:
        chunks = self._file.chunks
        if index == 0 and chunks and chunks[0][0] == BIN_CHUNK:
            return chunks[0][1]
        raise self._members.error(f'buffer {index} has no data: there is no "uri" and no binary chunk')

    def _load(self, uri: str, length: int | None, name: str) -> bytes:
        """What is at `uri`; the beginning of a file, or all of it without a `length`."""
        embedded = _DATA_URI.fullmatch(uri)
        if embedded is not None:
            kind, text = embedded.groups()
            try:
                if kind.lower().endswith(";base64"):
                    return base64.b64decode(unquote(text), validate=True)
                return unquote_to_bytes(text)
            except (binascii.Error, ValueError) as error:
                raise self._members.error(f"the data URI of {name} cannot be decoded: {error}") from error
        return self._read(self._find_file(uri, name), length, name)

    def _find_file(self, uri: str, name: str) -> str:
        """The path of a file that stands beside the scene."""
        if ABSOLUTE_URI.match(uri):
            raise self._members.error(f'{name} is at "{uri[:80]}"; only files beside the scene are read')
        path = os.path.join(self._file.directory, unquote(uri))
        if not os.path.isfile(path):
            raise self._members.error(f"the file of {name} is missing: {path}")
        return path

    def _read(self, path: str, length: int | None, name: str) -> bytes:
        try:
            with open(path, "rb") as file:
                size = os.fstat(file.fileno()).st_size
                if length is not None and size < length:
                    raise self._members.error(f"{name} has {size} bytes in {path} where {length} are told")
                return file.read(-1 if length is None else length)
        except OSError as error:
            raise self._members.error(f"{path} cannot be read: {error.strerror or error}") from error

    def _begin_growing(self) -> _Growing:
        document = self._members.document
        buffers = self._members.items("buffers")
        if self._file.chunks is None or (buffers and "uri" in buffers[0]):
            return _Growing(append_to(document, "buffers", {"byteLength": 0}), b"")
        if not buffers:
            self._file.chunks.insert(0, (BIN_CHUNK, b""))
            return _Growing(append_to(document, "buffers", {"byteLength": 0}), b"")
        # A view that ends beyond the data must not come to show what is appended there.
        for index, view in enumerate(self._members.items("bufferViews")):
            if view.get("buffer") == 0:
                self.view(index, "the document")
        return _Growing(0, self._binary_chunk(0))


def append_to(document: Json, key: str, item: Json) -> int:
    """Appends to a top-level list, and returns the place of the item."""
    array = document.setdefault(key, [])
    array.append(item)
    return len(array) - 1
