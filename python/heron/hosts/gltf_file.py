"""The two containers of glTF 2: `.gltf`, a JSON text, and `.glb`, the same text with binary chunks.

Everything but the JSON document is carried through unread, byte for byte.
"""

from __future__ import annotations

import codecs
import json
import os
import re
import struct
from collections.abc import Iterable, Iterator
from dataclasses import dataclass, field
from urllib.parse import unquote

from ..files import FileError, Json, parse_object, read_bytes, replace_file, same_directory

GLB_MAGIC = b"glTF"
GLB_VERSION = 2
JSON_CHUNK = 0x4E4F534A  # "JSON", read as a little-endian number
BIN_CHUNK = 0x004E4942  # "BIN"
_HEADER = struct.Struct("<4sII")
_CHUNK = struct.Struct("<II")
_GLB_LIMIT = 0xFFFFFFFF
_MAJOR_VERSION = 2

_VERSION = re.compile(r"(\d+)\.\d+")
ABSOLUTE_URI = re.compile(r"[A-Za-z][A-Za-z0-9+.-]*:|[/\\]")
_FIRST_INDENT = re.compile(r"\s*\{\r?\n([ \t]+)")


class GltfError(FileError):
    """A glTF file that cannot be read or written."""


@dataclass
class GltfFile:
    """A glTF file in memory.

    Attributes:
        path: Where it was read from, or written to last.
        document: The JSON document; the caller may change it.
        chunks: The chunks of a `.glb` behind its JSON chunk as (type, bytes), in file order;
            None for a `.gltf`.
        indent: The indentation of the JSON text, None where it stands on one line.
        directory: The directory that it was read from, wherever the process goes later.
    """

    path: str
    document: Json
    chunks: list[tuple[int, bytes]] | None = None
    indent: str | None = None
    directory: str = field(init=False)

    def __post_init__(self) -> None:
        """Keeps the directory."""
        self.directory = os.path.dirname(os.path.abspath(self.path))

    @classmethod
    def read(cls, path: str) -> GltfFile:
        """Reads a `.gltf` or a `.glb`; the content tells which, not the name.

        Raises:
            GltfError: The file cannot be opened, or is no well-formed glTF 2.
        """
        path = os.fspath(path)
        raw = read_bytes(path, GltfError)
        if raw.startswith(GLB_MAGIC):
            text, chunks = _split_glb(path, raw)
            return cls(path, _parse(path, text), chunks)
        document = _parse(path, raw)
        indent = _FIRST_INDENT.match(raw[:200].decode("utf-8-sig", "ignore"))
        return cls(path, document, None, indent and indent.group(1))

    def write(self, path: str | None = None) -> None:
        """Writes the file as it now is, by default to where it came from.

        The new content takes the old one's place in one step: a reader, or a crash, sees the one
        or the other.

        Args:
            path: The file to write. It keeps the container, and so the extension; and another
                directory is refused while the document points to files beside it.

        Raises:
            GltfError: The file cannot be written, or must not be written there.
        """
        path = self.path if path is None else os.fspath(path)
        self._check_target(path)
        replace_file(path, self.encode(path), GltfError)
        self.path = path

    def _check_target(self, path: str) -> None:
        extension, wanted = (os.path.splitext(name)[1].lower() for name in (self.path, path))
        if extension != wanted:
            raise GltfError(path, f'a "{extension}" file cannot be saved as "{wanted}"')
        if not same_directory(path, self.path):
            beside = next(relative_uris(self.document), None)
            if beside is not None:
                raise GltfError(
                    path, f'cannot be saved in another directory: "{beside}" stands beside {self.path}'
                )

    def encode(self, path: str) -> bytes:
        """The bytes of the file; `path` stands in errors.

        Raises:
            GltfError: The document has no JSON form, or the file is too large for its container.
        """
        text = _serialize(path, self.document, self.indent)
        if self.chunks is None:
            return text
        text += b" " * (-len(text) % 4)
        chunks = [(JSON_CHUNK, text), *self.chunks]
        size = _HEADER.size + sum(_CHUNK.size + len(data) for _, data in chunks)
        if size > _GLB_LIMIT:
            raise GltfError(path, "too large for a .glb")
        parts = [_HEADER.pack(GLB_MAGIC, GLB_VERSION, size)]
        for kind, data in chunks:
            parts += [_CHUNK.pack(len(data), kind), data]
        return b"".join(parts)


def _split_glb(path: str, raw: bytes) -> tuple[bytes, list[tuple[int, bytes]]]:
    """The JSON text of a `.glb`, and the chunks behind it."""
    if len(raw) < _HEADER.size:
        raise GltfError(path, "the file ends within the GLB header")
    _, version, size = _HEADER.unpack_from(raw)
    if version != GLB_VERSION:
        raise GltfError(path, f"GLB version {version} is not supported, only {GLB_VERSION}")
    if size != len(raw):
        raise GltfError(path, f"the GLB header tells {size} bytes, the file has {len(raw)}")
    chunks = []
    offset = _HEADER.size
    while offset < size:
        if size - offset < _CHUNK.size:
            raise GltfError(path, f"a GLB chunk header is cut off at byte {offset}")
        length, kind = _CHUNK.unpack_from(raw, offset)
        offset += _CHUNK.size
        if length > size - offset or length % 4:
            raise GltfError(path, f"the GLB chunk at byte {offset} has the wrong length {length}")
        chunks.append((kind, raw[offset : offset + length]))
        offset += length
    if not chunks or chunks[0][0] != JSON_CHUNK:
        raise GltfError(path, "the first GLB chunk is not JSON")
    return chunks[0][1], chunks[1:]


def _parse(path: str, raw: bytes) -> Json:
    document = parse_object(path, raw.removeprefix(codecs.BOM_UTF8), GltfError)
    asset = document.get("asset")
    version = asset.get("version") if isinstance(asset, dict) else None
    match = _VERSION.fullmatch(version) if isinstance(version, str) else None
    if match is None:
        raise GltfError(path, 'not glTF: "asset" tells no "version"')
    if int(match.group(1)) != _MAJOR_VERSION:
        raise GltfError(path, f"glTF version {version} is not supported, only {_MAJOR_VERSION}.x")
    return document


def _serialize(path: str, document: Json, indent: str | None) -> bytes:
    separators = (",", ":") if indent is None else (",", ": ")
    try:
        text = json.dumps(document, ensure_ascii=False, allow_nan=False, indent=indent, separators=separators)
    except RecursionError as error:
        raise GltfError(path, "cannot be written: the JSON is nested too deeply") from error
    except ValueError as error:
        raise GltfError(path, f"cannot be written: {error}") from error
    # Only a lone surrogate has no UTF-8, and its Python escape is its JSON escape as well.
    return text.encode("utf-8", "backslashreplace")


def relative_files(file: GltfFile) -> set[str]:
    """The real paths of a file and of all others that it refers to."""
    names = (unquote(uri) for uri in relative_uris(file.document))
    beside = (os.path.join(file.directory, name) for name in names if "\0" not in name)
    # The process may have gone elsewhere since the file was read.
    own = os.path.join(file.directory, os.path.basename(file.path))
    return {os.path.realpath(path) for path in (file.path, own, *beside)}


def relative_uris(document: Json) -> Iterator[str]:
    """Yields the URIs in the document that depend on the directory of the file."""
    stack: list[Json | list[object]] = [document]
    while stack:
        value = stack.pop()
        items: Iterable[object] = value
        if isinstance(value, dict):
            uri = value.get("uri")
            if isinstance(uri, str) and not ABSOLUTE_URI.match(uri):
                yield uri
            items = (item for key, item in value.items() if key != "extras")
        stack.extend(item for item in items if isinstance(item, (dict, list)))
