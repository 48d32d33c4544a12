"""What checks of glTF scenes are made from: the base class `GltfCheck`.

A check is a class derived from it, in a module of a directory that the settings list, or of
`heron.checks`. The module is loaded without a package around it, so it imports by whole names:

    import core
    from heron.checking import GltfCheck

It should import no other class that is derived from `GltfCheck`: such a class would count as a check of the
module. What several checks share is better a function.
"""

from __future__ import annotations

import weakref
from collections.abc import Iterable
from typing import Any

import core

from .files import Json
from .hosts.gltf import GltfScene, current_scene
from .hosts.gltf_geometry import Geometry, Mesh, Primitive
from .hosts.gltf_members import Members

_MOST_LINES = 6


class GltfCheck(core.Check.Base):
    """Looks at one object of the open glTF scene, or at the scene as a whole.

    A check tells `class_id`, its names, `description` and `category`, and defines `inspect`, which calls
    `found` for each finding. One that can help further sets `could_be_fixed` or `could_be_selected` there,
    and defines `fix_result` or `select_result`.
    """

    def __init__(self) -> None:
        """Makes a check that has not looked at anything yet."""
        super().__init__()
        self.result = core.Structure.NamedBuffer()
        self._lines: list[str] = []
        self._scene: weakref.ref[GltfScene] | None = None

    def inspect(self, path: str, parameters: Any) -> None:
        """Looks at one object, and calls `found` for whatever is wrong with it.

        Args:
            path: The object; of a check that is scene-oriented the path of the file.
            parameters: The settings of this run, each reached by its name.
        """
        raise NotImplementedError

    def check(self, path: str, parameters: Any) -> None:
        """Runs `inspect`.

        Raises:
            core.Error.ValidationError: It found something.
            GltfError: The object has gone, or its data are broken.
        """
        self.result.clear()
        self._lines.clear()
        self.could_be_fixed = self.could_be_selected = False
        self.inspect(path, parameters)
        if self._lines:
            raise core.Error.ValidationError()

    def result_message(self) -> str:
        """What the last run found, line by line; long lists are cut short."""
        lines = self._lines[:_MOST_LINES]
        if len(self._lines) > _MOST_LINES:
            lines.append(f"... and {len(self._lines) - _MOST_LINES:,} more")
        return "\n".join(lines)

    def found(self, text: str, name: str = "", items: Iterable[object] = ()) -> None:
        """Notes a finding.

        Args:
            text: What is wrong, for the user, in one line.
            name: What it is wrong with.
            items: The very things, such as the numbers of triangles or the paths of objects.
        """
        self._lines.append(text)
        self.result.append(core.Structure.NamedBuffer(name, list(items)))

    # What it looks at

    @property
    def scene(self) -> GltfScene:
        """The scene that was current when this check first asked; it stays with that one.

        Raises:
            RuntimeError: There is none, or it has gone.
        """
        if self._scene is None:
            current = current_scene()
            self._scene = None if current is None else weakref.ref(current)
        scene = None if self._scene is None else self._scene()
        if scene is None:
            raise RuntimeError("there is no open glTF scene to check")
        return scene

    @property
    def geometry(self) -> Geometry:
        """The meshes of the file."""
        return self.scene.geometry

    @property
    def members(self) -> Members:
        """What reads the document of the file."""
        return self.geometry.members

    def node(self, path: str) -> Json:
        """The node at `path`: its object in the document."""
        return self.scene.node(path)

    def mesh(self, path: str) -> Mesh | None:
        """The mesh of the node at `path`, or None if it has none."""
        node = self.node(path)
        if "mesh" not in node:
            return None
        return self.geometry.mesh(self.members.size(node, "mesh", path), path)

    def parts(self, path: str) -> list[Primitive]:
        """The parts of the mesh at `path` that are made of triangles; none if there is no mesh."""
        mesh = self.mesh(path)
        return [] if mesh is None else [part for part in mesh.primitives if part.has_triangles]

    def found_in(self, part: Primitive, text: str, items: Iterable[object] = ()) -> None:
        """Notes a finding in a part of a mesh, whose name goes before the text."""
        material = part.material() or {}
        name = f"part {part.number + 1}"
        if isinstance(material.get("name"), str):
            name += f" ({material['name']})"
        self.found(f"{name}: {text}", name, items)


def amount(number: int, word: str, words: str = "") -> str:
    """A number with its word, such as "1 triangle" or "1,204 triangles".

    Args:
        number: How many.
        word: The word for one.
        words: The word for more, by default with an "s".
    """
    return f"{number:,} {word if number == 1 else words or word + 's'}"
