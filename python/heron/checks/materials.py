"""Checks of materials and of the images that they use."""

from __future__ import annotations

import fnmatch
import re
from typing import Any

import core
from heron.checking import GltfCheck
from heron.files import Json
from heron.hosts.gltf_file import GltfError
from heron.hosts.gltf_textures import images, texture_references

_P = core.Parameters
_CATEGORY = core.Constants.Check.Category.Material


class MissingMaterial(GltfCheck):
    """Finds parts of meshes without a material."""

    class_id = "heron.material.missing"
    long_name = "Missing Material"
    short_name = "Missing material"
    description = (
        "Finds parts of meshes that have no material, so that viewers show them in a colour of their "
        "own. Nothing is fixed: assign a material."
    )
    category = _CATEGORY
    sort_index = 10

    def inspect(self, path: str, parameters: Any) -> None:
        """Looks for the materials."""
        mesh = self.mesh(path)
        for part in [] if mesh is None else mesh.primitives:
            if part.material() is None:
                self.found_in(part, "no material", [part.number])


class MaterialName(GltfCheck):
    """Holds the names of an object's materials to an expression."""

    class_id = "heron.material.name"
    long_name = "Material Name"
    short_name = "Material name"
    description = (
        "Finds materials of the object that have no name, or one that neither matches the expression "
        "nor is among the names that are allowed besides. Nothing is fixed: a name is often a key in an "
        "engine."
    )
    category = _CATEGORY
    sort_index = 20

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """The expression, and further names."""
        return _P.Block(
            _P.RegEx("pattern", ".+", "Expression", "The regular expression that the whole name must match"),
            _P.TextMatchList(
                "allowed", [], "Further names that are fine; * stands for any text, ? for one letter"
            ),
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Looks at each material once."""
        mesh = self.mesh(path)
        seen: list[Json] = []
        for part in [] if mesh is None else mesh.primitives:
            material = part.material()
            if material is None or any(material is other for other in seen):
                continue
            seen.append(material)
            name = self.members.member(material, "name", str, "a material") or ""
            if any(fnmatch.fnmatchcase(name, allowed) for allowed in parameters.allowed.values()):
                continue
            if not name:
                self.found(f"the material of part {part.number + 1} has no name")
            elif re.fullmatch(parameters.pattern.text, name) is None:
                self.found(f'the material "{name}" does not match {parameters.pattern.text}', name)


class Images(GltfCheck):
    """Finds textures whose images are not there."""

    class_id = "heron.material.images"
    long_name = "Missing Images"
    short_name = "Images"
    description = (
        "Finds textures of the object's materials whose image does not exist: a file that is not where "
        "it is looked for, an address in the network, or no image at all. Nothing is fixed."
    )
    category = _CATEGORY
    sort_index = 30

    def inspect(self, path: str, parameters: Any) -> None:
        """Looks for the image of each texture."""
        mesh = self.mesh(path)
        told = set()
        for part in [] if mesh is None else mesh.primitives:
            for reference in texture_references(self.members, part.material() or {}):
                fault = self._fault(reference.texture)
                if fault and (reference.slot, fault) not in told:
                    told.add((reference.slot, fault))
                    self.found_in(part, f"{reference.slot}: {fault}", [reference.texture])

    def _fault(self, texture: int) -> str:
        """What keeps a texture from being shown; empty if nothing does."""
        try:
            sources = images(self.members, texture)
            if not sources:
                return f"texture {texture} has no image"
            for source in sources:
                record = self.members.item("images", source, f"texture {texture}")
                self.geometry.buffers.find_image(record, f"image {source}")
        except GltfError as error:
            return error.reason
        return ""
