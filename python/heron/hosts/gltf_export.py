"""Writing hierarchies of a glTF scene to files of their own, and the options for that."""

from __future__ import annotations

import base64
import os
from collections.abc import Mapping
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

import core

from ..files import Json, replace_files
from .gltf_file import BIN_CHUNK, GltfError, GltfFile, relative_files

if TYPE_CHECKING:
    from .gltf import GltfScene
    from .gltf_branches import Branches
    from .gltf_draft import Draft
    from .gltf_images import FilesBeside

_P = core.Parameters


def exporters() -> list[core.Parameters.Options]:
    """The exporters of this host, for `core.Api(export_options=...)`; each call makes new ones.

    The name of an exporter is the extension of its files: a `.glb` is one file; a `.gltf` has its data beside
    it, or within itself.
    """
    return [
        _P.Options(
            "glb",
            "glTF binary (.glb)",
            "One file with everything in it",
            [_embed_images(True), _keep_extras(), _up_axis()],
        ),
        _P.Options(
            "gltf",
            "glTF (.gltf)",
            "A text file, with its data beside it or within",
            [_layout(), _embed_images(False), _keep_extras(), _up_axis()],
        ),
    ]


@dataclass(frozen=True)
class Flags:
    """What is done to the objects on their way to the file."""

    automatic_uv: bool
    triangulate: bool
    reset_xforms: bool


def export_hierarchies(
    scene: GltfScene, file: GltfFile, roots: list[str], file_path: str, type: str, args: Any, flags: Flags
) -> None:
    """Writes hierarchies of a scene; see `GltfScene.export`.

    Raises:
        GltfError: As there.
    """
    options = _read_options(file_path, type, args)
    kind = str(type).lower()
    path = _with_extension(file_path, kind)
    if not roots:
        raise GltfError(path, "there is nothing to export")
    kept = relative_files(file) if os.path.exists(path) else None
    if kept is not None and os.path.realpath(path) in kept:
        raise GltfError(path, "is a file of the open scene and cannot be overwritten by a part of it")
    # Loading these takes longer than a whole scan, which does not need them.
    from .gltf_branches import find_branches, parents_in
    from .gltf_draft import Draft
    from .gltf_extract import Extract
    from .gltf_images import FilesBeside, Images

    draft = Draft(file, scene.geometry)
    branches = find_branches(draft.members, [scene.node_index(root) for root in roots], parents_in(scene))
    _change(scene, draft, branches, options["up_axis"], flags)
    beside = FilesBeside(path)
    images = Images(draft.members, draft.geometry.buffers, None if options["embed_images"] else beside)
    extract = Extract(draft, branches, options["keep_extras"], images.store)
    result = GltfFile(path, extract.document, None, file.indent)
    if kind == "glb":
        result.chunks = [(BIN_CHUNK, extract.data)] if extract.data else []
    elif extract.data:
        buffer = extract.document["buffers"][0]
        buffer["uri"] = _store_data(path, extract.data, options["layout"], beside, kept)
    replace_files([*beside.files, (path, result.encode(path))], GltfError)


def _change(scene: GltfScene, draft: Draft, branches: Branches, up_axis: str, flags: Flags) -> None:
    """Changes the draft as the options and the flags tell."""
    import numpy as np

    from .gltf_mapping import map_box
    from .gltf_transforms import Transforms

    turn = np.eye(4)
    if up_axis == "z":
        turn[1:3, 1:3] = [[0, -1], [1, 0]]
    transforms = Transforms(draft, branches, lambda index: scene.path_of(index) or f"node {index}")
    transforms.place(turn, may_shear=flags.reset_xforms)
    if flags.reset_xforms:
        transforms.reset()
    if not flags.triangulate and not flags.automatic_uv:
        return
    for mesh in _meshes(draft, branches):
        draft.own("meshes", mesh, "the scene")
        for primitive in draft.geometry.mesh(mesh, "the scene").primitives:
            if flags.triangulate:
                primitive.list_triangles()
            if flags.automatic_uv:
                map_box(primitive)


def _meshes(draft: Draft, branches: Branches) -> list[int]:
    """The numbers of the meshes of an export, each once."""
    meshes: dict[int, None] = {}
    for index in branches.nodes:
        node = draft.members.item("nodes", index, "the scene")
        if "mesh" in node and index not in branches.bones:
            meshes[draft.members.size(node, "mesh", f"node {index}")] = None
    return list(meshes)


def _store_data(path: str, data: bytes, layout: str, beside: FilesBeside, kept: set[str] | None) -> str:
    """The URI of the data of a `.gltf`. If it replaces an older one, `kept` are the files of the scene."""
    if layout == "embedded":
        return "data:application/octet-stream;base64," + base64.b64encode(data).decode("ascii")
    name = os.path.splitext(os.path.basename(path))[0] + ".bin"
    # Beside an older export stands its data file, which goes with it; any other is somebody else's.
    target = os.path.realpath(os.path.join(os.path.dirname(path), name))
    return beside.add(name, data, [name] if kept is not None and target not in kept else [])


def _with_extension(file_path: str, kind: str) -> str:
    if "\0" in file_path:
        raise GltfError(file_path, "a zero character cannot be in the name of a file")
    extension = os.path.splitext(file_path)[1].lower()
    if extension == f".{kind}":
        return file_path
    if extension in (".glb", ".gltf"):
        raise GltfError(file_path, f'"{extension}" is not the extension of a {kind} file')
    return f"{file_path}.{kind}"


# The options


def _layout() -> core.Parameters.ComboBox:
    items = [
        _P.ComboBox.Item("separate", "Beside the .gltf, in a .bin"),
        _P.ComboBox.Item("embedded", "Within the .gltf"),
    ]
    return _P.ComboBox("layout", items, "Data", "Where meshes and animations are kept")


def _embed_images(enabled: bool) -> core.Parameters.Switch:
    return _P.Switch(
        "embed_images", enabled, "Embed images", "Keeps images with the data, instead of in files beside them"
    )


def _keep_extras() -> core.Parameters.Switch:
    return _P.Switch("keep_extras", True, "Keep extras", "Keeps the custom properties of objects")


def _up_axis() -> core.Parameters.ComboBox:
    items = [_P.ComboBox.Item("y", "Y, as glTF has it"), _P.ComboBox.Item("z", "Z")]
    return _P.ComboBox(
        "up_axis", items, "Up axis", "Turns all objects so that this axis of the file points up"
    )


def _read_options(file_path: str, type: str, args: Any) -> Json:
    """The value of each option of an exporter; what `args` leave out has its usual value.

    Options that are unknown are passed over, as those of a newer version are.
    """
    options = next((option for option in exporters() if option.attr == str(type).lower()), None)
    if options is None:
        raise GltfError(file_path, f'cannot be exported as "{type}", only as glb or gltf')
    if args is not None and not isinstance(args, Mapping):
        raise GltfError(file_path, "the options of the exporter are not a mapping")
    values: Json = {"layout": "separate"}
    for entry in options:
        if isinstance(entry, _P.Switch):
            values[entry.attr] = _chosen(file_path, entry.attr, args, entry.enabled, [False, True])
        elif isinstance(entry, _P.ComboBox):
            names = [item.attr for item in entry]
            values[entry.attr] = _chosen(file_path, entry.attr, args, names[entry.current_index], names)
    return values


def _chosen(file_path: str, name: str, args: Mapping[str, Any] | None, usual: Any, choices: list[Any]) -> Any:
    value = (args or {}).get(name, usual)
    if value not in choices or not isinstance(value, type(usual)):
        raise GltfError(file_path, f'the export option "{name}" cannot be {value!r:.80}')
    return value
