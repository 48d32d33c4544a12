"""The textures of a glTF document, and the images behind them."""

from __future__ import annotations

from collections.abc import Iterator
from dataclasses import dataclass

from ..files import Json
from .gltf_members import Members

_TRANSFORM = "KHR_texture_transform"


@dataclass(frozen=True)
class TextureReference:
    """A texture as a material uses it.

    Attributes:
        slot: What it is used for, such as "baseColorTexture".
        texture: Its number.
        uv_set: The set of texture coordinates that it needs.
    """

    slot: str
    texture: int
    uv_set: int


def texture_references(members: Members, material: Json) -> list[TextureReference]:
    """All textures that a material uses, those of its extensions too.

    Raises:
        GltfError: A value in it is not a number.
    """
    return [_reference(members, slot, value) for slot, value in texture_uses(material)]


def texture_uses(material: Json) -> Iterator[tuple[str, Json]]:
    """Yields for each use of a texture its slot, and the object whose "index" is the texture's number."""
    stack = [material]
    while stack:
        for key, value in stack.pop().items():
            if not isinstance(value, dict) or key == "extras":
                continue
            if key.endswith("Texture") and "index" in value:
                yield key, value
            else:
                stack.append(value)


def images(members: Members, texture: int) -> list[int]:
    """The numbers of the images that a texture may show: the common one, and those of extensions.

    Raises:
        GltfError: The texture does not exist.
    """
    record = members.item("textures", texture, "a material")
    name = f"texture {texture}"
    extensions = members.member(record, "extensions", dict, name) or {}
    sources = [record, *(extension for extension in extensions.values() if isinstance(extension, dict))]
    return [members.size(source, "source", name) for source in sources if "source" in source]


def _reference(members: Members, slot: str, value: Json) -> TextureReference:
    where = f"the {slot} of a material"
    uv_set = members.size(value, "texCoord", where, 0)
    extensions = members.member(value, "extensions", dict, where) or {}
    transform: Json = members.member(extensions, _TRANSFORM, dict, where) or {}
    return TextureReference(
        slot, members.size(value, "index", where), members.size(transform, "texCoord", where, uv_set)
    )
