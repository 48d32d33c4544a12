"""A document that an export changes on its way to the file, beside the scene that stays as it is."""

from __future__ import annotations

import json
from typing import TypeVar, cast

from ..files import Json
from .gltf_file import GltfError, GltfFile
from .gltf_geometry import Geometry
from .gltf_members import Members

_T = TypeVar("_T")


class Draft:
    """A copy of the document of a scene. It shares with the scene all that nobody asks to change.

    Numbers mean the same in both; what is new comes behind.

    Attributes:
        file: The copy as a file in memory.
        geometry: Its data.
    """

    def __init__(self, file: GltfFile, geometry: Geometry):
        """Copies the lists of the document of `file`, and none of their items but the buffers."""
        document = {
            key: list(value) if isinstance(value, list) else value for key, value in file.document.items()
        }
        buffers = geometry.members.items("buffers")
        if buffers:
            document["buffers"] = [dict(buffer) for buffer in buffers]
        chunks = None if file.chunks is None else list(file.chunks)
        self.file = GltfFile(file.path, document, chunks, file.indent)
        self.file.directory = file.directory
        self.geometry = geometry.copy(self.file)
        self._own: set[tuple[str, int]] = set()

    @property
    def members(self) -> Members:
        """The members of the copy."""
        return self.geometry.members

    def own(self, key: str, index: int, where: str) -> Json:
        """An item of a list at the top of the document, for the caller to change.

        Raises:
            GltfError: It does not exist.
        """
        item = self.members.item(key, index, where)
        if (key, index) not in self._own:
            item = self.file.document[key][index] = deep_copy(self.file.path, item)
            self._own.add((key, index))
        return item


def deep_copy(path: str, value: _T) -> _T:
    """A copy of a part of the document of the file at `path`.

    Raises:
        GltfError: It is nested too deeply.
    """
    try:
        return cast(_T, json.loads(json.dumps(value)))
    except RecursionError as error:
        raise GltfError(path, "cannot be exported: the JSON is nested too deeply") from error
