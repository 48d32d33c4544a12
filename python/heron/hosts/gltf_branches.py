"""What of the node tree an export takes."""

from __future__ import annotations

from collections.abc import Callable, Iterable
from dataclasses import dataclass, field
from functools import cache
from typing import TYPE_CHECKING

from ..files import Json
from .gltf_members import Members

if TYPE_CHECKING:
    from .gltf import GltfScene

ParentOf = Callable[[int], "int | None"]
_LOD = "MSFT_lod"


@dataclass
class Branches:
    """The nodes of an export, by number.

    Attributes:
        nodes: All of them; parents come before their children.
        bones: Those outside the hierarchies that move their skins. They come without what they carry.
        tops: Those whose parent is not among them, in the order of the hierarchies.
        heads: For each top that is part of no scene the object for which it stands in, as a level of detail.
        parent: Tells the parent of a node, None where there is none.
    """

    parent: ParentOf
    nodes: list[int] = field(default_factory=list)
    bones: set[int] = field(default_factory=set)
    tops: list[int] = field(default_factory=list)
    heads: dict[int, int] = field(default_factory=dict)

    def ancestors(self, index: int) -> list[int]:
        """The nodes above a node, from its parent up."""
        found = []
        above = self.parent(index)
        while above is not None:
            found.append(above)
            above = self.parent(above)
        return found


def parents_in(scene: GltfScene) -> ParentOf:
    """Tells the parents of nodes; those outside the scene cost one look at all nodes of the document."""

    @cache
    def outside() -> dict[int, int]:
        nodes = scene.geometry.members.items("nodes")
        return {child: index for index, node in enumerate(nodes) for child in node.get("children", ())}

    def parent(index: int) -> int | None:
        path = scene.path_of(index)
        if path is None:
            return outside().get(index)
        above = scene.get_parent(path)
        return None if above is None else scene.node_index(above)

    return parent


def find_branches(members: Members, roots: Iterable[int], parent: ParentOf) -> Branches:
    """The hierarchies below `roots`, with the nodes outside them that they need.

    Those are the levels of detail of their objects, each with all below it, and the joints of their skins
    with the nodes that join these to one another.

    Args:
        members: The members of the document.
        roots: The numbers of the nodes at the tops of the hierarchies.
        parent: Tells the parent of a node.

    Raises:
        GltfError: A node refers to something that does not exist.
    """
    finder = _Finder(members, parent)
    roots = list(dict.fromkeys(roots))
    for root in roots:
        finder.add_all(root)
    for skin in finder.skins:
        finder.add_joints(skin)
    return finder.result(roots)


class _Finder:
    def __init__(self, members: Members, parent: ParentOf):
        self._members = members
        self._nodes = members.items("nodes")
        self._whole: dict[int, None] = {}
        self._heads: dict[int, int] = {}
        self._branches = Branches(parent)
        self.skins: dict[int, None] = {}

    def add_all(self, top: int) -> None:
        """Takes a node, all below it, and all levels of detail of these."""
        stack = [top]
        while stack:
            index = stack.pop()
            if index in self._whole:
                continue
            self._whole[index] = None
            node = self._nodes[index]
            if "skin" in node:
                self.skins[self._members.size(node, "skin", f"node {index}")] = None
            levels = self._levels(index)
            for level in levels:
                self._heads.setdefault(level, index)
            stack += reversed([*self._children(index), *levels])

    def add_joints(self, skin: int) -> None:
        """Takes the joints of a skin, and the nodes between them and what they have in common."""
        where = f"skin {skin}"
        record = self._members.item("skins", skin, "a node")
        joints = self._numbers(record, "joints", where)
        chains = [[joint, *self._branches.ancestors(joint)] for joint in joints]
        above = set(chains[0]).intersection(*chains[1:]) if chains else set()
        for chain in chains:
            for index in chain:
                if index not in self._whole:
                    self._branches.bones.add(index)
                if index in above:
                    break

    def result(self, roots: list[int]) -> Branches:
        branches = self._branches
        taken = self._whole.keys() | branches.bones
        candidates = [
            *roots,
            *(index for index in self._whole if index in self._heads),
            *sorted(branches.bones),
        ]
        branches.tops = [index for index in dict.fromkeys(candidates) if branches.parent(index) not in taken]
        levels = [top for top in branches.tops if top in self._heads and top not in roots]
        shown = self._shown() if levels else set()
        branches.heads = {
            top: self._heads[top] for top in levels if top not in shown and branches.parent(top) is None
        }
        stack = branches.tops[::-1]
        while stack:
            index = stack.pop()
            branches.nodes.append(index)
            stack += (child for child in reversed(self._children(index)) if child in taken)
        return branches

    def _shown(self) -> set[int]:
        """The nodes at the top of a scene."""
        scenes = self._members.items("scenes")
        if not scenes:
            return set(range(len(self._nodes)))
        return {
            index
            for number, scene in enumerate(scenes)
            for index in self._numbers(scene, "nodes", f"scene {number}")
        }

    def _children(self, index: int) -> list[int]:
        return self._numbers(self._nodes[index], "children", f"node {index}")

    def _levels(self, index: int) -> list[int]:
        node, where = self._nodes[index], f"node {index}"
        extensions: Json = self._members.member(node, "extensions", dict, where) or {}
        record: Json = self._members.member(extensions, _LOD, dict, where) or {}
        return self._numbers(record, "ids", f"{_LOD} of {where}")

    def _numbers(self, owner: Json, key: str, where: str) -> list[int]:
        """A copy of a list of numbers of nodes, empty where it is absent."""
        numbers: list[object] = self._members.member(owner, key, list, where) or []
        found = []
        for number in numbers:
            if type(number) is not int:
                raise self._members.error(f'an entry in "{key}" of {where} is not a whole number')
            self._members.item("nodes", number, where)
            found.append(number)
        return found
