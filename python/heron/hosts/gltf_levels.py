"""Levels of detail, as the extension MSFT_lod tells them."""

from __future__ import annotations

from ..files import Json
from .gltf import GltfScene

_EXTENSION = "MSFT_lod"


class LevelsOfDetail:
    """The levels of one object.

    The object itself is level 0: its mesh and all below it, less the nodes of the other levels, which are
    those that the extension lists, each with all below it. They need not be part of the scene.
    """

    def __init__(self, scene: GltfScene, path: str):
        """Reads the levels of the object at `path`; there is none if it has no such extension.

        Raises:
            GltfError: There is no such object, or its extension is malformed.
        """
        self._scene = scene
        self._members = scene.geometry.members
        self._path = path
        extensions: Json = self._members.member(scene.node(path), "extensions", dict, path) or {}
        self._record: Json | None = self._members.member(extensions, _EXTENSION, dict, path)
        self._lower = self._read_lower()

    def triangle_counts(self) -> list[int]:
        """The number of triangles of each level, beginning with level 0; empty without levels.

        Raises:
            GltfError: Data of a mesh cannot be read.
        """
        if self._record is None:
            return []
        lower = set(self._lower)
        own = self._count(self._scene.node_index(self._path), lower)
        return [own, *(self._count(index, lower - {index}) for index in self._lower)]

    def paths(self, level: int) -> list[str]:
        """The object of a level; none if it is not part of the scene."""
        index = self._lower[level - 1] if level else self._scene.node_index(self._path)
        path = self._scene.path_of(index)
        return [] if path is None else [path]

    def sort(self) -> None:
        """Puts the levels behind level 0 into order, the one of the most triangles first."""
        if self._record is None:
            return
        lower = set(self._lower)
        self._lower.sort(key=lambda index: self._count(index, lower - {index}), reverse=True)
        self._record["ids"] = list(self._lower)

    def _read_lower(self) -> list[int]:
        if self._record is None:
            return []
        where = f"{_EXTENSION} of {self._path}"
        numbers: list[object] = self._members.member(self._record, "ids", list, where) or []
        own = self._scene.node_index(self._path)
        lower: list[int] = []
        for number in numbers:
            if type(number) is not int or number == own or number in lower:
                raise self._members.error(f'"ids" of {where} is not a list of other nodes, each once')
            self._members.item("nodes", number, where)
            lower.append(number)
        return lower

    def _count(self, top: int, without: set[int]) -> int:
        """The triangles of a node and of all below it, less those of the nodes in `without`."""
        nodes = self._members.document["nodes"]
        total = 0
        stack = [top]
        while stack:
            index = stack.pop()
            node = nodes[index]
            if "mesh" in node:
                where = f"node {index}"
                mesh = self._scene.geometry.mesh(self._members.size(node, "mesh", where), where)
                total += mesh.triangle_count()
            stack.extend(child for child in node.get("children", ()) if child not in without)
        return total
