"""What an export does with the transforms of its objects: where they come to stand, and resetting them."""

from __future__ import annotations

from collections.abc import Callable, Iterator

import numpy as np

from ..files import Json
from .array_cache import Array
from .gltf_accessors import VERTICES
from .gltf_branches import Branches
from .gltf_draft import Draft
from .gltf_file import GltfError
from .gltf_geometry import Primitive
from .gltf_matrices import Transform, decompose, is_identity, local_matrix, multiply, set_matrix

_MOVING = ("translation", "rotation", "scale")
_INSTANCING = "EXT_mesh_gpu_instancing"

# For each attribute and number of an accessor the number of the one that takes its place, and by what each of
# its directions was multiplied to be of length 1.
_Done = dict[tuple[str, int], "tuple[int, Array | None]"]


class Transforms:
    """Moves the objects of a draft."""

    def __init__(self, draft: Draft, branches: Branches, name: Callable[[int], str]):
        """Reads nothing yet.

        Args:
            draft: The document, which is changed.
            branches: The nodes of the export.
            name: Tells what a node is called in an error.
        """
        self._draft = draft
        self._members = draft.members
        self._branches = branches
        self._name = name
        self._nodes = set(branches.nodes)
        self._animated = {node for *_, node in self._channels()}

    def place(self, turn: Array, may_shear: bool = False) -> None:
        """Leaves each hierarchy where it stands in the scene, then turns all of them together.

        The top of a hierarchy takes over the transforms of the objects above it. Its animations go on in the
        same place; animations of the objects above do not come along.

        Args:
            turn: The matrix that turns them.
            may_shear: Lets tops come to stand where no node can, since transforms are reset afterwards.

        Raises:
            GltfError: No node, or no animation, can tell where an object comes to stand; or something that
                tells it has a wrong kind.
        """
        spaces: dict[int, Array] = {}
        for top in self._branches.tops:
            head = self._branches.heads.get(top)
            if head is None:
                spaces[top] = turn @ self._product(reversed(self._branches.ancestors(top)))
            else:
                spaces[top] = spaces.get(head, np.eye(4))
        for top, space in spaces.items():
            if is_identity(space):
                continue
            if top in self._animated:
                self._turn_animations(top, space)
            self._set(top, space @ self._local(top), may_shear)

    def reset(self) -> None:
        """Applies the transforms of the objects to their meshes.

        Meshes and groups have none any more. Lights, cameras and objects without anything, which consist of
        their place alone, keep it.

        Raises:
            GltfError: An object is bound to a skin, animated or instanced, or keeps its place and has others
                below it; or its data cannot be read.
        """
        joints = self._joints()
        users = self._mesh_users()
        worlds: dict[int, Array] = {}
        for index in self._branches.nodes:
            above = self._space(index, worlds)
            local = self._local(index)
            worlds[index] = above @ local
            if is_identity(above) and is_identity(local):
                continue
            node = self._draft.own("nodes", index, "the scene")
            self._must_be_free(index, node, joints)
            if "mesh" in node:
                self._apply(index, self._members.size(node, "mesh", self._name(index)), worlds[index], users)
            self._set(index, worlds[index] if self._is_mere_place(index, node) else np.eye(4))

    def _set(self, index: int, matrix: Array, may_shear: bool = False) -> None:
        if not may_shear and decompose(matrix) is None:
            raise self._error(
                index, "is sheared by the objects above it, and only meshes whose transforms are reset can be"
            )
        set_matrix(self._draft.own("nodes", index, "the scene"), matrix)

    # Placing

    def _product(self, nodes: Iterator[int]) -> Array:
        matrix = np.eye(4)
        for index in nodes:
            matrix = matrix @ self._local(index)
        return matrix

    def _local(self, index: int) -> Array:
        return local_matrix(self._members, self._members.item("nodes", index, "the scene"), f"node {index}")

    def _channels(self) -> Iterator[tuple[int, int, int]]:
        """Yields the channels that move objects of the export: numbers of animation, channel, node."""
        for number, animation in enumerate(self._members.items("animations")):
            where = f"animation {number}"
            for place, channel in enumerate(self._members.objects(animation, "channels", where)):
                target: Json = self._members.member(channel, "target", dict, where) or {}
                node = target.get("node")
                if type(node) is int and node in self._nodes and target.get("path") in _MOVING:
                    yield number, place, node

    def _turn_animations(self, top: int, space: Array) -> None:
        parts = decompose(space)
        if parts is None or parts.uniform_scale is None:
            raise self._error(
                top,
                "is animated below objects that stretch it, and no animation can tell where it stands alone",
            )
        for number, place, node in list(self._channels()):
            if node == top:
                self._turn_channel(number, place, space, parts, parts.uniform_scale)

    def _turn_channel(self, number: int, place: int, space: Array, parts: Transform, factor: float) -> None:
        where = f"animation {number}"
        animation = self._draft.own("animations", number, "the document")
        channel = animation["channels"][place]
        samplers = self._members.objects(animation, "samplers", where)
        index = self._members.size(channel, "sampler", f"a channel of {where}")
        if index >= len(samplers):
            raise self._members.error(f"{where} has no sampler {index}")
        sampler = dict(samplers[index])
        output = self._members.size(sampler, "output", f"a sampler of {where}")
        path = channel["target"]["path"]
        accessors = self._draft.geometry.accessors
        values = accessors.read(output, where, "VEC4" if path == "rotation" else "VEC3").astype(np.float64)
        if path == "rotation":
            values = multiply(parts.rotation, values)
        elif path == "scale":
            values = values * factor
        else:
            values = values @ space[:3, :3].T
            # Of the three rows of each key of a curve two are slopes, which are nowhere.
            curve = sampler.get("interpolation") == "CUBICSPLINE"
            values[1::3] += space[:3, 3] if curve else 0
            values += 0 if curve else space[:3, 3]
        sampler["output"] = accessors.add(values.astype(np.float32))
        channel["sampler"] = len(samplers)
        animation["samplers"] = [*samplers, sampler]

    # Resetting

    def _space(self, index: int, worlds: dict[int, Array]) -> Array:
        """The transform of what is above an object."""
        parent = self._branches.parent(self._branches.heads.get(index, index))
        return worlds.get(parent, np.eye(4)) if parent is not None else np.eye(4)

    def _is_mere_place(self, index: int, node: Json) -> bool:
        more = "mesh" in node or any(child in self._nodes for child in node.get("children", ()))
        carries = "camera" in node or "KHR_lights_punctual" in node.get("extensions", {})
        if carries and more:
            raise self._error(
                index, "is a camera or a light with a mesh or objects below it: its transform cannot be reset"
            )
        return not more

    def _must_be_free(self, index: int, node: Json, joints: set[int]) -> None:
        extensions: Json = self._members.member(node, "extensions", dict, self._name(index)) or {}
        reasons = {
            "is animated": index in self._animated,
            "moves a skin": index in joints,
            "is bound to a skin": "skin" in node,
            "is instanced": _INSTANCING in extensions,
        }
        for reason, holds in reasons.items():
            if holds:
                raise self._error(index, f"{reason}: its transform cannot be reset")

    def _joints(self) -> set[int]:
        found = set(self._branches.bones)
        for index in self._branches.nodes:
            node = self._members.item("nodes", index, "the scene")
            if "skin" in node and index not in self._branches.bones:
                skin = self._members.item("skins", node["skin"], f"node {index}")
                found.update(skin.get("joints", ()))
        return found

    def _mesh_users(self) -> dict[int, list[int]]:
        users: dict[int, list[int]] = {}
        for index in self._branches.nodes:
            node = self._members.item("nodes", index, "the scene")
            if "mesh" in node and index not in self._branches.bones:
                users.setdefault(self._members.size(node, "mesh", f"node {index}"), []).append(index)
        return users

    def _apply(self, index: int, mesh: int, matrix: Array, users: dict[int, list[int]]) -> None:
        others = [self._name(user) for user in users[mesh] if user != index]
        if others:
            raise self._error(index, f"has a mesh in common with {others[0]}: its transform cannot be reset")
        if is_identity(matrix):
            return
        self._draft.own("meshes", mesh, self._name(index))
        applied: _Done = {}
        for primitive in self._draft.geometry.mesh(mesh, self._name(index)).primitives:
            _Applied(self._draft, primitive, matrix, applied).write()

    def _error(self, index: int, reason: str) -> GltfError:
        return self._members.error(f"{self._name(index)} {reason}")


class _Applied:
    """A part of a mesh to which a transform is applied."""

    def __init__(self, draft: Draft, primitive: Primitive, matrix: Array, applied: _Done):
        """Takes a part of a mesh in the draft, and what is done of the other parts, which grows."""
        self._draft = draft
        self._primitive = primitive
        self._attributes: Json = primitive.record["attributes"]
        self._applied = applied
        self._matrix = matrix
        axes = matrix[:3, :3]
        self._mirrored = bool(np.linalg.det(axes) < 0)
        # The cofactors turn what stands upright on a surface, even if the matrix has no inverse.
        rows = [np.cross(axes[1], axes[2]), np.cross(axes[2], axes[0]), np.cross(axes[0], axes[1])]
        self._upright = np.array(rows) * (-1 if self._mirrored else 1)

    def write(self) -> None:
        """Replaces positions, normals and tangents, and turns the triangles of a mirror image."""
        upright = self._turn("NORMAL", self._upright)
        along = self._turn("TANGENT", self._matrix[:3, :3])
        self._move_positions()
        for target in self._primitive.targets():
            self._turn_target(target, "POSITION", self._matrix[:3, :3], None)
            self._turn_target(target, "NORMAL", self._upright, upright)
            self._turn_target(target, "TANGENT", self._matrix[:3, :3], along)
        turned = self._primitive.triangles()[:, [0, 2, 1]] if self._mirrored else np.empty((0, 3))
        if len(turned):
            self._primitive.set_triangles(turned)

    def _move_positions(self) -> None:
        if not self._primitive.has("POSITION"):
            return
        values = self._primitive.positions()
        key = ("POSITION", self._attributes["POSITION"])
        if key not in self._applied:
            moved = values @ self._matrix[:3, :3].T + self._matrix[:3, 3]
            self._applied[key] = self._add(moved, bounds=True), None
        self._attributes["POSITION"], _ = self._applied[key]

    def _turn(self, semantic: str, axes: Array) -> Array | None:
        """Turns directions, and returns by what each was multiplied beyond that to stay of length 1."""
        if not self._primitive.has(semantic):
            return None
        values = self._primitive.attribute(semantic, "VEC3", "VEC4").astype(np.float64)
        key = (semantic, self._attributes[semantic])
        if key not in self._applied:
            turned = values[:, :3] @ axes.T
            lengths = np.linalg.norm(turned, axis=1, keepdims=True)
            factors = 1 / np.where(lengths > 0, lengths, 1)
            rest = values[:, 3:] * (-1 if self._mirrored else 1)
            self._applied[key] = self._add(np.hstack([turned * factors, rest])), factors
        self._attributes[semantic], made = self._applied[key]
        return made

    def _turn_target(self, target: Json, semantic: str, axes: Array, factors: Array | None) -> None:
        if semantic not in target:
            return
        values = self._primitive.target_values(target, semantic).astype(np.float64) @ axes.T
        values = values if factors is None else values * factors
        target[semantic] = self._add(values, bounds=semantic == "POSITION")

    def _add(self, values: Array, bounds: bool = False) -> int:
        return self._draft.geometry.accessors.add(
            values.astype(np.float32), VERTICES, bounds and len(values) > 0
        )
