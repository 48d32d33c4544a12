"""Where the images of an export go: into its buffer, or into files beside it."""

from __future__ import annotations

import mimetypes
import os
import posixpath
import re
from collections.abc import Collection
from urllib.parse import quote, unquote

from ..files import Json
from .gltf_buffers import Buffers
from .gltf_file import ABSOLUTE_URI, GltfError
from .gltf_members import Members

_SIGNATURES = {
    b"\x89PNG": "image/png",
    b"\xff\xd8\xff": "image/jpeg",
    b"RIFF": "image/webp",
    b"\xabKTX 20": "image/ktx2",
    b"DDS ": "image/vnd-ms.dds",
}
_EXTENSIONS = {"image/jpeg": ".jpg", "image/webp": ".webp", "image/ktx2": ".ktx2", "image/vnd-ms.dds": ".dds"}
_UNFIT = re.compile(r"[^\w.\- ]")
_LONGEST_NAME = 80


class FilesBeside:
    """Files that an export writes beside its own one, under names that take nothing from anybody.

    Attributes:
        files: Path and content of each that is to be written.
    """

    def __init__(self, path: str):
        """Begins with none.

        Args:
            path: The file of the export itself.
        """
        self._directory, own = os.path.split(os.path.abspath(path))
        self._contents: dict[str, bytes | None] = {own.lower(): None}
        self.files: list[tuple[str, bytes]] = []

    def add(self, name: str, data: bytes, replaceable: Collection[str] = ()) -> str:
        """Takes a file, and returns its URI.

        Args:
            name: The name that it should have, with "/" between directories. It gets a number if there is
                a file of other content, in this export or on the disk.
            data: The content.
            replaceable: Names of files that may be overwritten.
        """
        stem, extension = posixpath.splitext(name)
        number = 0
        while True:
            path = os.path.join(self._directory, *name.split("/"))
            if name.lower() in self._contents:
                if self._contents[name.lower()] == data:
                    break
            elif name in replaceable or not os.path.lexists(path):
                self.files.append((path, data))
                break
            elif _holds(path, data):
                break
            number += 1
            name = f"{stem}.{number:03d}{extension}"
        self._contents[name.lower()] = data
        try:
            return quote(name)
        except UnicodeEncodeError as error:
            raise GltfError(path, "no URI can hold the name") from error


class Images:
    """Settles where each image goes."""

    def __init__(self, members: Members, buffers: Buffers, beside: FilesBeside | None):
        """Reads nothing yet.

        Args:
            members: The members of the document.
            buffers: Its buffers.
            beside: Takes the images; without it they go into the buffer.
        """
        self._members = members
        self._buffers = buffers
        self._beside = beside

    def store(self, record: Json, where: str) -> bytes | None:
        """Takes the data of an image to a file, or returns them for the buffer.

        An image elsewhere, such as in the net, stays there if it may.

        Args:
            record: A copy of the image's object in the document, which is changed.
            where: What it is called in an error.

        Raises:
            GltfError: They cannot be read, or what is to go into the buffer is of no known kind.
        """
        uri = record.get("uri")
        elsewhere = isinstance(uri, str) and ABSOLUTE_URI.match(uri) and not uri.startswith("data:")
        if elsewhere and self._beside is not None:
            return None
        data = self._buffers.read_image(record, where)
        record.pop("bufferView", None)
        if self._beside is not None:
            record["uri"] = self._beside.add(_file_name(record, data, where), data)
            return None
        kind = _kind(record, data)
        if kind is None:
            raise self._members.error(f"{where} is of no known kind and cannot be embedded")
        record["mimeType"] = kind
        return data


def _kind(record: Json, data: bytes) -> str | None:
    """The media type of an image: what it is, else what the document tells, else what its name does."""
    for signature, kind in _SIGNATURES.items():
        if data.startswith(signature):
            return kind
    told = record.get("mimeType")
    if isinstance(told, str):
        return told
    uri = record.get("uri")
    guess = mimetypes.guess_type(unquote(uri))[0] if isinstance(uri, str) else None
    return guess if guess is not None and guess.startswith("image/") else None


def _file_name(record: Json, data: bytes, where: str) -> str:
    """The name of an image's file: where it stood, if that was below the scene, else after its own name."""
    uri = record.get("uri")
    if isinstance(uri, str) and not uri.startswith("data:"):
        path = posixpath.normpath(unquote(uri).replace("\\", "/"))
        below = not path.startswith(("../", "/")) and ":" not in path
        return path if below else posixpath.basename(path).replace(":", "_")
    name = record.get("name")
    stem = _UNFIT.sub("_", name if isinstance(name, str) else "").strip(" .")[:_LONGEST_NAME]
    stem = stem or where.replace(" ", "_")
    kind = _kind(record, data) or ""
    extension = _EXTENSIONS.get(kind) or mimetypes.guess_extension(kind) or ""
    return stem if stem.lower().endswith(extension) else stem + extension


def _holds(path: str, data: bytes) -> bool:
    """Whether there is a file with this content."""
    try:
        if os.path.getsize(path) != len(data):
            return False
        with open(path, "rb") as file:
            return file.read() == data
    except OSError:
        return False
