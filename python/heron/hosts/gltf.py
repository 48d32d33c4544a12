"""A host for `.gltf` and `.glb` files that needs no application: `GltfScene`."""

from __future__ import annotations

import weakref
from collections.abc import Callable
from types import TracebackType
from typing import TYPE_CHECKING, Any, ClassVar

import core

from ..files import Json
from .filedata import EXTRAS_KEY, is_filedata, plain
from .gltf_file import GltfError, GltfFile
from .gltf_tree import SceneTree, read_tree

if TYPE_CHECKING:
    from .gltf_geometry import Geometry

__all__ = ["GltfError", "GltfScene", "current_scene"]

_TYPE = core.Constants.Scene.Type


class GltfScene(core.Scene.Operator):
    """The default scene of a glTF file, as the engine sees it.

    The objects are the nodes (see `heron.hosts.gltf_tree.read_tree` for their paths). A node with
    a mesh is a mesh, even if it heads a group of levels of detail; of the others, a node with
    the extension MSFT_lod is a LOD group; a leaf with no camera, light or skin is a locator; all
    else is a transform.

    The selection lives in memory. The embedded data live in the document's "extras", under the
    key "heron", and reach the file through `save` alone.
    """

    TYPE_MAPPING: ClassVar[dict[str, str]] = {
        "scene": _TYPE.SceneRoot,
        "mesh": _TYPE.Mesh,
        "lod": _TYPE.LodGroup,
        "group": _TYPE.Transform,
        "camera": _TYPE.Transform,
        "light": _TYPE.Transform,
        "skin": _TYPE.Transform,
        "empty": _TYPE.Locator,
    }

    _alive: ClassVar[weakref.WeakSet[GltfScene]] = weakref.WeakSet()
    _current: ClassVar[weakref.ref[GltfScene] | None] = None

    def __init__(self, path: str | None = None):
        """Opens a file, or begins with an empty scene that has none.

        Raises:
            GltfError: The file cannot be used.
        """
        super().__init__()
        self._opened_callbacks: list[Callable[[], object]] = []
        self._shutdown_callbacks: list[Callable[[], object]] = []
        self._selection: list[str] = []
        self._geometry: Geometry | None = None
        self._show(None, SceneTree())
        if path is not None:
            self.open(path)
        self._alive.add(self)

    # The file

    def open(self, path: str) -> None:
        """Shows another file, with nothing selected, then calls the scene-opened callbacks.

        The scene becomes the current one.

        Raises:
            GltfError: The file cannot be used; the scene stays the one it was.
        """
        file = GltfFile.read(path)
        self._show(file, read_tree(file))
        self.activate()
        for function in list(self._opened_callbacks):
            function()

    def save(self, path: str | None = None) -> None:
        """Writes the scene with its embedded data, by default to the file it came from.

        Another path becomes the current file, as in the "save as" of an application.

        Args:
            path: A file of the same extension; in another directory only if the document does
                not point to files beside it.

        Raises:
            GltfError: The file cannot be written, or "extras" has no place for the data.
        """
        if self._file is None:
            raise GltfError(path or "", "there is no open scene to save")
        if self._filedata_changed:
            self._write_extras(self._file)
        if self._geometry is not None:
            self._geometry.buffers.store()
        self._file.write(path)

    def close(self) -> None:
        """Calls the shutdown callbacks, once, and lets go of the scene."""
        callbacks = list(self._shutdown_callbacks)
        self._shutdown_callbacks.clear()
        for function in callbacks:
            function()
        self._show(None, SceneTree())

    def get_current_file(self) -> str:
        """The path of the open file, empty if there is none."""
        return "" if self._file is None else self._file.path

    def activate(self) -> None:
        """Makes this the current scene: the one that checks look at.

        A check is given no operator. A front-end that has several scenes open activates the one that
        it is about to validate.
        """
        GltfScene._current = weakref.ref(self)

    # The document

    @property
    def geometry(self) -> Geometry:
        """The meshes of the file, with the data of their accessors.

        Raises:
            GltfError: There is no open file.
        """
        if self._geometry is None:
            # Loading numpy takes longer than a whole scan, which does not need it.
            from .gltf_geometry import Geometry

            self._geometry = Geometry(self._open_file())
        return self._geometry

    def node_index(self, path: str) -> int:
        """The number of the node at `path` in the document.

        Raises:
            GltfError: The scene has no object at `path`.
        """
        if path not in self._tree.indices:
            raise GltfError(self.get_current_file(), f"there is no object {path}")
        return self._tree.indices[path]

    def node(self, path: str) -> Json:
        """The node at `path`: its object in the document, which the caller may change.

        Raises:
            GltfError: The scene has no object at `path`.
        """
        node: Json = self._open_file().document["nodes"][self.node_index(path)]
        return node

    def path_of(self, node_index: int) -> str | None:
        """The path of a node by its number in the document, or None if the scene does not have it."""
        return self._paths.get(node_index)

    def write_name(self, path: str) -> None:
        """Gives the node at `path` the name under which it is shown. No path changes by that.

        Raises:
            GltfError: The scene has no object at `path`.
        """
        self.node(path)["name"] = path.rpartition("/")[2]

    # The objects

    def paths(self) -> list[str]:
        """All objects of the scene, parents before their children."""
        return list(self._tree.parents)

    def roots(self) -> list[str]:
        """The objects at the top of the scene."""
        return list(self._tree.roots)

    def object_exists(self, path: str) -> bool:
        """Whether the scene has an object at `path`."""
        return path in self._tree.parents

    def get_type(self, path: str) -> str:
        """The unified type of an object; empty for an unknown path."""
        return self._types.get(path, "")

    def get_parent(self, path: str) -> str | None:
        """The parent's path; None at the top and for an unknown path."""
        return self._tree.parents.get(path)

    def get_children(self, path: str) -> list[str]:
        """The paths of the direct children, in file order; empty for an unknown path."""
        return list(self._tree.children.get(path, ()))

    # The selection

    def get_selection(self) -> list[str]:
        """The selected paths, in the order of selection."""
        return list(self._selection)

    def get_selection_roots(self) -> list[str]:
        """The objects at the top of the scene that contain the selection, each once."""
        # No name holds a "/", so the top of a path is its first component.
        return list(dict.fromkeys("/" + path.split("/", 2)[1] for path in self._selection))

    def select(self, *paths: str) -> None:
        """Selects exactly these objects; a path without an object is left out."""
        self._selection = [path for path in dict.fromkeys(paths) if self.object_exists(path)]

    @staticmethod
    def selection_manager() -> SelectionScope:
        """A scope that gives every open glTF scene its selection back. Asks for no instance."""
        return SelectionScope()

    # The events

    def register_scene_opened_callback(self, function: Callable[[], object]) -> None:
        """Has `function` called, without arguments, each time a file has been opened."""
        self._opened_callbacks.append(function)

    def register_shutdown_callback(self, function: Callable[[], object]) -> None:
        """Has `function` called, without arguments, when the scene is closed."""
        self._shutdown_callbacks.append(function)

    def delete_callbacks(self) -> None:
        """Forgets all registered functions."""
        self._opened_callbacks.clear()
        self._shutdown_callbacks.clear()

    # The embedded data

    def query_filedata(self) -> list[dict[str, Any]]:
        """A copy of the embedded data; empty if there are none, or none of the engine's shape."""
        return plain(self._filedata)

    def embed_filedata(self, data: list[dict[str, Any]]) -> None:
        """Keeps `data` with the scene; `save` brings them into the file.

        Raises:
            TypeError: Something in `data` has no JSON form.
        """
        self._filedata = plain(data)
        self._filedata_changed = True

    def erase_filedata(self) -> None:
        """Drops the embedded data, if any."""
        self._filedata = []
        self._filedata_changed = True

    def postscript_scan_append(self, joint: core.Scene._Buffer.DataJoint) -> None:
        """Does nothing: a glTF node bears no marks."""

    def postscript_scan_remove(self, joint: core.Scene._Buffer.DataJoint) -> None:
        """Does nothing: a glTF node bears no marks."""

    # Export

    def export(
        self,
        roots: list[str],
        file_path: str,
        type: str,
        args: Any,
        automatic_uv: bool = False,
        triangulate: bool = False,
        reset_xforms: bool = False,
    ) -> None:
        """Writes hierarchies to a file of their own, with all that they refer to and nothing else.

        Objects keep their place in the world: the top of a hierarchy takes over the transforms of the objects
        above it. Animations of the hierarchy's objects come along. Skins bring their joints, bare and at
        their place, if those stand elsewhere. The embedded data stay behind, since they tell of the scene.

        The file and those beside it get their names only when all of them are written. Images are kept under
        their names, or under numbered ones where a file of other content has the name. The scene itself
        stays as it is.

        Args:
            roots: The paths of the hierarchies, each written with all below it.
            file_path: Where to; the extension is added if there is none. A file that is there is replaced,
                unless the open scene consists of it.
            type: "glb" or "gltf", in any case.
            args: The options of the exporter of this name (see `heron.hosts.gltf_export.exporters`) that
                are not to have their usual values.
            automatic_uv: Gives meshes without texture coordinates those of a box around each part.
            triangulate: Makes lists of strips and fans.
            reset_xforms: Applies the transforms of objects to their meshes. Lights, cameras and objects
                without anything, which consist of their place alone, keep it.

        Raises:
            GltfError: An argument does not serve; something is missing or broken; what is to be done cannot
                be done to an object; or a file cannot be written. All files stay as they were.
        """
        from .gltf_export import Flags, export_hierarchies

        flags = Flags(automatic_uv, triangulate, reset_xforms)
        export_hierarchies(self, self._open_file(), roots, file_path, type, args, flags)

    # What this host lacks

    def directory_dialog(self, starting: str = "~", caption: str = "") -> None:
        """None: there is nobody to ask."""

    def file_dialog(self, starting: str = "~", caption: str = "", file_filter: str = "") -> None:
        """None: there is nobody to ask."""

    def _open_file(self) -> GltfFile:
        if self._file is None:
            raise GltfError("", "there is no open scene")
        return self._file

    def _show(self, file: GltfFile | None, tree: SceneTree) -> None:
        self._file = file
        self._geometry = None
        self._tree = tree
        self._paths = {index: path for path, index in tree.indices.items()}
        types = {kind: self.map_type(kind) or "" for kind in set(tree.kinds.values())}
        self._types = {path: types[kind] for path, kind in tree.kinds.items()}
        self._selection = []
        extras = None if file is None else file.document.get("extras")
        stored = extras.get(EXTRAS_KEY) if isinstance(extras, dict) else None
        self._filedata = stored if is_filedata(stored) else []
        self._filedata_changed = False

    def _write_extras(self, file: GltfFile) -> None:
        document = file.document
        extras = document.get("extras", {})
        if not isinstance(extras, dict):
            if not self._filedata:
                return
            raise GltfError(file.path, '"extras" is not an object and so cannot hold data')
        if self._filedata:
            document["extras"] = {**extras, EXTRAS_KEY: self._filedata}
        elif extras.pop(EXTRAS_KEY, None) is not None and not extras:
            del document["extras"]


def current_scene() -> GltfScene | None:
    """The scene that was opened or activated last, or None if it is gone.

    It is held weakly: it lives only as long as its owner keeps it.
    """
    return None if GltfScene._current is None else GltfScene._current()


class SelectionScope:
    """Puts the selection of every glTF scene back to what it was on entering.

    It belongs to no scene, since it may be asked for without one; in practice one is open.
    An exception goes on its way.
    """

    def __init__(self) -> None:
        self._kept: list[tuple[GltfScene, list[str]]] = []

    def __enter__(self) -> SelectionScope:
        self._kept = [(scene, scene.get_selection()) for scene in list(GltfScene._alive)]
        return self

    def __exit__(
        self, kind: type[BaseException] | None, value: BaseException | None, trace: TracebackType | None
    ) -> None:
        for scene, selection in self._kept:
            scene.select(*selection)
        self._kept = []
