"""The node tree of a glTF document as the objects of a scene: paths, parents, children, kinds."""

from __future__ import annotations

from dataclasses import dataclass, field

from ..files import Json
from .gltf_file import GltfFile
from .gltf_members import Members

# Every object keeps its whole path, so a chain of nodes costs the square of its length. The two
# limits stand far above any scene made by people and keep a hostile file from eating the memory.
MAX_DEPTH = 4_000
MAX_PATH_CHARACTERS = 2**28

_SEPARATORS = str.maketrans("/|\\", "___")


@dataclass
class SceneTree:
    """The objects of one scene; every table is keyed by path, parents before their children.

    Attributes:
        roots: The paths at the top of the scene.
        parents: The parent's path, None at the top.
        children: The paths of the direct children, in file order.
        kinds: What the node is: "mesh", "lod", "camera", "light", "skin", "group" or "empty".
        indices: The index of the node in the document.
    """

    roots: list[str] = field(default_factory=list)
    parents: dict[str, str | None] = field(default_factory=dict)
    children: dict[str, list[str]] = field(default_factory=dict)
    kinds: dict[str, str] = field(default_factory=dict)
    indices: dict[str, int] = field(default_factory=dict)


def read_tree(file: GltfFile) -> SceneTree:
    """Builds the tree of the document's default scene.

    That is the scene which "scene" names, else the first one. A document without any scene shows
    all its nodes, as an application that opens it would.

    A path is "/" and the names from the top down, joined by "/". A node without a name is
    node_N by its index; the separators "/", "|" and "\\" within a name become "_"; of equal
    names among siblings the first stays and the others get ".001", ".002" and so on.

    Raises:
        GltfError: The nodes are no forest, point outside the document, are of a wrong kind, or
            exceed `MAX_DEPTH` or `MAX_PATH_CHARACTERS`.
    """
    reader = _Reader(file.path, file.document)
    nodes = reader.items("nodes")
    children = [
        reader.indices(node, "children", len(nodes), f"node {index}") if "children" in node else []
        for index, node in enumerate(nodes)
    ]
    parents = _find_parents(reader, children)
    top = _scene_roots(reader, len(nodes), parents)
    names = [reader.name(node, index) for index, node in enumerate(nodes)]
    kinds = [reader.kind(node, index) for index, node in enumerate(nodes)]
    return _name_objects(reader, top, children, names, kinds)


def unique_names(names: list[str]) -> list[str]:
    """Tells siblings of one name apart: the first keeps it, the others get ".001" and so on.

    A number that gives the name of another sibling is passed over, so that a name which is
    unique in the file always stays.
    """
    taken = set(names)
    counters: dict[str, int] = {}
    result = []
    for name in names:
        if name not in counters:
            counters[name] = 0
            result.append(name)
            continue
        candidate = name
        while candidate in taken:
            counters[name] += 1
            candidate = f"{name}.{counters[name]:03d}"
        taken.add(candidate)
        result.append(candidate)
    return result


class _Reader(Members):
    """Reads nodes and scenes."""

    def indices(self, owner: Json, key: str, count: int, where: str) -> list[int]:
        """A list of node indices below `count`."""
        array: list[int] = self.member(owner, key, list, where) or []
        for index in array:
            if type(index) is not int:
                raise self.error(f'an entry in "{key}" of {where} is not a whole number')
            if not 0 <= index < count:
                raise self.error(f'"{key}" of {where} names node {index}; there are {count}')
        return array

    def name(self, node: Json, index: int) -> str:
        name: str | None = self.member(node, "name", str, index)
        return name.translate(_SEPARATORS) if name else f"node_{index}"

    def kind(self, node: Json, index: int) -> str:
        """The first that applies: mesh, lod, camera, light, skin; else a group or a lone empty."""
        if self.member(node, "mesh", int, index) is not None:
            return "mesh"
        extensions = self.member(node, "extensions", dict, index) or {}
        if "MSFT_lod" in extensions:
            return "lod"
        if self.member(node, "camera", int, index) is not None:
            return "camera"
        if "KHR_lights_punctual" in extensions:
            return "light"
        if self.member(node, "skin", int, index) is not None:
            return "skin"
        return "group" if node.get("children") else "empty"


def _find_parents(reader: _Reader, children: list[list[int]]) -> list[int | None]:
    """The one parent of each node; raises where there are two, or where nodes form a ring."""
    parents: list[int | None] = [None] * len(children)
    for parent, indices in enumerate(children):
        for index in indices:
            if parents[index] is not None:
                raise reader.error(f"node {index} has two parents, {parents[index]} and {parent}")
            parents[index] = parent
    # With one parent at most, the only nodes out of reach from the top are those of a ring.
    reached = [parent is None for parent in parents]
    stack = [index for index, parent in enumerate(parents) if parent is None]
    while stack:
        for index in children[stack.pop()]:
            reached[index] = True
            stack.append(index)
    if not all(reached):
        raise reader.error(f"node {reached.index(False)} is its own ancestor")
    return parents


def _scene_roots(reader: _Reader, count: int, parents: list[int | None]) -> list[int]:
    """The top nodes of the default scene. Every scene must hold, the default one is returned."""
    scenes = reader.items("scenes")
    tops = [reader.indices(scene, "nodes", count, f"scene {index}") for index, scene in enumerate(scenes)]
    for number, top in enumerate(tops):
        for index in top:
            if parents[index] is not None:
                raise reader.error(
                    f"node {index} is at the top of scene {number} and below node {parents[index]}"
                )
        if len(set(top)) < len(top):
            raise reader.error(f"scene {number} names a node twice")
    default: int | None = reader.member(reader.document, "scene", int, "the document")
    if default is None:
        if not scenes:
            return [index for index, parent in enumerate(parents) if parent is None]
        default = 0
    if not 0 <= default < len(scenes):
        raise reader.error(f'"scene" names scene {default}; there are {len(scenes)}')
    return tops[default]


def _name_objects(
    reader: _Reader, top: list[int], children: list[list[int]], names: list[str], kinds: list[str]
) -> SceneTree:
    tree = SceneTree()
    characters = 0
    stack: list[tuple[int, str, str | None, int]] = []

    def place(siblings: list[int], parent: str | None, depth: int) -> list[str]:
        nonlocal characters
        prefix = "" if parent is None else parent
        paths = [f"{prefix}/{name}" for name in unique_names([names[index] for index in siblings])]
        characters += sum(map(len, paths))
        if characters > MAX_PATH_CHARACTERS:
            raise reader.error(f"the paths of its objects exceed {MAX_PATH_CHARACTERS} characters")
        if depth > MAX_DEPTH:
            raise reader.error(f"its nodes are nested more than {MAX_DEPTH} levels deep")
        below = zip(reversed(siblings), reversed(paths), strict=True)
        stack.extend((index, path, parent, depth) for index, path in below)
        return paths

    tree.roots = place(top, None, 1)
    while stack:
        index, path, parent, depth = stack.pop()
        tree.parents[path] = parent
        tree.kinds[path] = kinds[index]
        tree.indices[path] = index
        if children[index]:
            tree.children[path] = place(children[index], path, depth + 1)
    return tree
