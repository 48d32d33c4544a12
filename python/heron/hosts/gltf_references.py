"""Where the objects of a glTF document refer to one another by number."""

from __future__ import annotations

from collections.abc import Iterator
from typing import Any, NamedTuple

from ..files import Json
from .gltf_members import Members
from .gltf_textures import texture_uses

# For each list of the document the places in its items that hold numbers, and the list they count in. A "*"
# stands for each item of a list or each member of an object.
REFERENCES: dict[str, dict[str, str]] = {
    "nodes": {
        "children/*": "nodes",
        "mesh": "meshes",
        "skin": "skins",
        "camera": "cameras",
        "extensions/KHR_lights_punctual/light": "lights",
        "extensions/MSFT_lod/ids/*": "nodes",
        "extensions/EXT_mesh_gpu_instancing/attributes/*": "accessors",
    },
    "meshes": {
        "primitives/*/attributes/*": "accessors",
        "primitives/*/indices": "accessors",
        "primitives/*/targets/*/*": "accessors",
        "primitives/*/material": "materials",
        "primitives/*/extensions/KHR_draco_mesh_compression/bufferView": "bufferViews",
        "primitives/*/extensions/KHR_materials_variants/mappings/*/material": "materials",
        "primitives/*/extensions/KHR_materials_variants/mappings/*/variants/*": "variants",
    },
    "materials": {"extensions/MSFT_lod/ids/*": "materials"},
    "textures": {
        "sampler": "samplers",
        "source": "images",
        "extensions/KHR_texture_basisu/source": "images",
        "extensions/EXT_texture_webp/source": "images",
        "extensions/EXT_texture_avif/source": "images",
        "extensions/MSFT_texture_dds/source": "images",
    },
    "skins": {"inverseBindMatrices": "accessors", "skeleton": "nodes", "joints/*": "nodes"},
    "animations": {
        "channels/*/target/node": "nodes",
        "samplers/*/input": "accessors",
        "samplers/*/output": "accessors",
    },
    "accessors": {},
    "images": {},
    "samplers": {},
    "cameras": {},
    "lights": {},
    "variants": {},
}

# Lists that an extension keeps at the top of the document.
EXTENSION_LISTS = {"lights": "KHR_lights_punctual", "variants": "KHR_materials_variants"}

_WITHOUT_REFERENCES = {
    "KHR_mesh_quantization",
    "KHR_node_hoverability",
    "KHR_node_selectability",
    "KHR_node_visibility",
    "KHR_texture_transform",
    "MSFT_packing_normalRoughnessMetallic",
    "MSFT_packing_occlusionRoughnessMetallic",
}
_WITH_REFERENCES = {
    path.split("extensions/")[1].split("/")[0]
    for paths in REFERENCES.values()
    for path in paths
    if "extensions/" in path
}


class Slot(NamedTuple):
    """A place that holds a number.

    Attributes:
        owner: The object or the list that holds it.
        key: Under which key.
        target: The list that it counts in.
    """

    owner: Any
    key: Any
    target: str


def is_known(extension: str) -> bool:
    """Whether all numbers in this extension that refer to something are told by `slots`."""
    return (
        extension in _WITHOUT_REFERENCES
        or extension in _WITH_REFERENCES
        # Materials refer to nothing but textures, which are known by the names of their slots.
        or extension.startswith("KHR_materials_")
    )


def slots(members: Members, kind: str, record: Json, where: str) -> Iterator[Slot]:
    """Yields the places in an item of the list `kind` that refer to others.

    Raises:
        GltfError: A part of the item is of a wrong kind.
    """
    for path, target in REFERENCES[kind].items():
        for owner, key in _places(members, record, path, where):
            yield Slot(owner, key, target)
    if kind == "materials":
        for _, owner in texture_uses(record):
            yield Slot(owner, "index", "textures")


def _places(members: Members, record: Json, path: str, where: str) -> Iterator[tuple[Any, Any]]:
    *steps, last = path.split("/")
    owners: list[Any] = [record]
    for step in steps:
        owners = [owner[key] for owner in owners for key in _keys(members, owner, step, path, where)]
    for owner in owners:
        for key in _keys(members, owner, last, path, where):
            yield owner, key


def _keys(members: Members, owner: Any, step: str, path: str, where: str) -> list[Any]:
    if step != "*":
        if not isinstance(owner, dict):
            raise members.error(f'{where} is malformed at "{path}"')
        return [step] if step in owner else []
    if isinstance(owner, dict):
        return list(owner)
    if isinstance(owner, list):
        return list(range(len(owner)))
    raise members.error(f'{where} is malformed at "{path}"')
