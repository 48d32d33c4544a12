"""Checks of meshes: triangles, vertex numbers, normals, bounds, size."""

from __future__ import annotations

from typing import Any

import numpy as np

import core
from heron.checking import GltfCheck, amount
from heron.hosts.array_cache import Array
from heron.hosts.gltf_file import GltfError
from heron.hosts.gltf_geometry import Primitive, face_vectors

_P = core.Parameters
_CATEGORY = core.Constants.Check.Category.Mesh
_SHARED = "A mesh that several objects use changes for all of them."
_SQUARE_MILLIMETRE = 1e-6
_UP = (0.0, 1.0, 0.0)


class VertexNumbers(GltfCheck):
    """Finds faces that name vertices which do not exist."""

    class_id = "heron.mesh.indices"
    long_name = "Vertex Numbers Out Of Range"
    short_name = "Vertex numbers"
    description = (
        "Finds faces, lines and points that name vertices which their mesh does not have, and lists of "
        "triangles that break off in the middle of one. Such a mesh crashes some viewers; export it "
        "anew. Nothing is fixed."
    )
    category = _CATEGORY
    sort_index = 10

    def inspect(self, path: str, parameters: Any) -> None:
        """Holds each number to the count of vertices."""
        mesh = self.mesh(path)
        for part in [] if mesh is None else mesh.primitives:
            numbers, vertices = part.indices(), part.vertex_count()
            (beyond,) = np.nonzero(numbers >= vertices)
            if len(beyond):
                self.found_in(
                    part,
                    f"{amount(len(beyond), 'corner')} of {len(numbers):,} beyond its "
                    f"{amount(vertices, 'vertex', 'vertices')}; the highest is number {numbers.max():,}",
                    beyond.tolist(),
                )
            if part.is_list and len(numbers) % 3:
                self.found_in(part, f"its {amount(len(numbers), 'corner')} make no whole triangles")


class DegenerateTriangles(GltfCheck):
    """Finds triangles without area, and can remove them."""

    class_id = "heron.mesh.degenerate_triangles"
    long_name = "Degenerate Triangles"
    short_name = "Degenerate triangles"
    description = (
        "Finds triangles that have no area or less than the given one: two corners in one place, or all "
        "three on a line. They are not seen, but cost time and spoil normals and collisions. The area "
        "is that of the mesh itself, before objects are scaled. Corners that only join the pieces of a "
        "strip are fine.\n"
        f"The fix removes the triangles; the vertices stay. {_SHARED}"
    )
    category = _CATEGORY
    sort_index = 20

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """The area up to which a triangle counts as degenerate."""
        return _P.Block(
            _P.FloatRange(
                "area",
                0.0,
                100.0,
                0.0001,
                4,
                0.0001,
                "",
                "mm²",
                "Area",
                "Triangles of at most this area are found",
            )
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Compares the areas."""
        removable = []
        for part in self.parts(path):
            found = _degenerate(part, parameters)
            if found.any():
                self.found_in(
                    part,
                    f"{found.sum():,} of {amount(len(found), 'triangle')} without area",
                    np.flatnonzero(found).tolist(),
                )
                removable.append(not found.all())
        self.could_be_fixed = any(removable)

    def fix_result(self, path: str, parameters: Any) -> None:
        """Removes the triangles of each part, except of one that would have none left."""
        for part in self.parts(path):
            found = _degenerate(part, parameters)
            if found.any() and not found.all():
                part.set_triangles(part.triangles()[~found])


class Normals(GltfCheck):
    """Finds missing and malformed normals, and can compute them."""

    class_id = "heron.mesh.normals"
    long_name = "Missing Or Malformed Normals"
    short_name = "Normals"
    description = (
        "Finds parts of meshes that have no normals, and normals that are not one unit long. Without "
        "them every viewer shades the faces flat. Materials without lighting need none.\n"
        "The fix computes missing normals, smooth over faces that share vertices, and brings the others "
        f"to the right length. {_SHARED}"
    )
    category = _CATEGORY
    sort_index = 30

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """Whether the lengths matter, and how exactly."""
        return _P.Block(
            _P.Switch("lengths", True, "Check lengths", "Also finds normals that are too long or too short"),
            _P.FloatRange(
                "tolerance", 0.0, 1.0, 0.001, 3, 0.01, "", "", "Tolerance", "How far from 1 a length may be"
            ),
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Looks for the normals, then at their lengths."""
        for part in self.parts(path):
            if _is_unlit(part):
                continue
            if not part.has("NORMAL"):
                self.found_in(part, "no normals")
            elif parameters.lengths.enabled:
                found = _malformed(part, parameters)
                if found.any():
                    self.found_in(
                        part,
                        f"{found.sum():,} of {amount(len(found), 'normal')} not of length 1",
                        np.flatnonzero(found).tolist(),
                    )
        self.could_be_fixed = len(self.result) > 0

    def fix_result(self, path: str, parameters: Any) -> None:
        """Computes what is missing, and corrects the rest."""
        for part in self.parts(path):
            if _is_unlit(part):
                continue
            if not part.has("NORMAL"):
                part.set_normals(_computed_normals(part))
            elif parameters.lengths.enabled and _malformed(part, parameters).any():
                normals = part.attribute("NORMAL", "VEC3").astype(np.float64)
                part.set_normals(_unit(normals, _computed_normals(part)))


class Bounds(GltfCheck):
    """Holds the told bounds of a mesh to its vertices, and can correct them."""

    class_id = "heron.mesh.bounds"
    long_name = "Wrong Bounds"
    short_name = "Bounds"
    description = (
        "Finds meshes whose lowest and highest positions are not told, or not told right: viewers then "
        "frame the object wrongly, or hide it while it is in sight. Positions that are not numbers are "
        "found too.\n"
        f"The fix tells the bounds as they are; it cannot mend positions that are not numbers. {_SHARED}"
    )
    category = _CATEGORY
    sort_index = 40

    def inspect(self, path: str, parameters: Any) -> None:
        """Compares what is told with the positions."""
        for part in self._placed_parts(path):
            if not np.isfinite(part.bounds()).all():
                wild = np.logical_not(np.isfinite(part.stored_positions()).all(axis=1))
                self.found_in(
                    part,
                    f"{wild.sum():,} of {amount(len(wild), 'position')} not a number",
                    np.flatnonzero(wild).tolist(),
                )
            elif not self._are_right(part):
                self.found_in(part, "its lowest and highest positions are not told right")
                self.could_be_fixed = True

    def fix_result(self, path: str, parameters: Any) -> None:
        """Tells the bounds of each part whose positions are all numbers."""
        for part in self._placed_parts(path):
            if np.isfinite(part.bounds()).all() and not self._are_right(part):
                part.set_bounds()

    def _placed_parts(self, path: str) -> list[Primitive]:
        mesh = self.mesh(path)
        return [] if mesh is None else [part for part in mesh.primitives if part.vertex_count()]

    def _are_right(self, part: Primitive) -> bool:
        for key, actual in zip(("min", "max"), part.bounds()):
            try:
                told = self.members.numbers(part.position_accessor(), key, 3, part.where)
            except GltfError:  # of another kind than numbers
                return False
            if told is None or not np.allclose(told, actual, rtol=1e-6, atol=1e-9):
                return False
        return True


class TriangleBudget(GltfCheck):
    """Holds the triangles of an object to limits."""

    class_id = "heron.mesh.triangle_budget"
    long_name = "Triangles Of An Object"
    short_name = "Triangles"
    description = "Counts the triangles of the object's own mesh, without its children. Nothing is fixed."
    category = _CATEGORY
    sort_index = 50

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """The limits."""
        return _P.Block(
            _P.IntRange("most", 0, 100_000_000, 100, 10_000, "", "triangles", "At most", "More are too many"),
            _P.IntRange("least", 0, 100_000_000, 1, 1, "", "triangles", "At least", "Fewer are too few"),
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Compares the count with the limits."""
        mesh = self.mesh(path)
        if mesh is None:
            return
        count, most, least = mesh.triangle_count(), parameters.most.value, parameters.least.value
        if count > most:
            self.found(f"{amount(count, 'triangle')}, {most:,} are allowed", path)
        if count < least:
            self.found(f"{amount(count, 'triangle')}, at least {least:,} are expected", path)


def _degenerate(part: Primitive, parameters: Any) -> Array:
    """For each triangle whether it counts as degenerate."""
    found: Array = part.areas() <= parameters.area.value * _SQUARE_MILLIMETRE
    if not part.is_list:
        a, b, c = part.triangles().T
        found = found & (a != b) & (b != c) & (c != a)
    return found


def _malformed(part: Primitive, parameters: Any) -> Array:
    """For each normal whether its length is wrong."""
    lengths = part.once("normal lengths", lambda: _lengths(part.attribute("NORMAL", "VEC3")))
    # Written so that what is no number counts as wrong.
    wrong: Array = ~(np.abs(lengths - 1) <= parameters.tolerance.value)
    return wrong


def _lengths(vectors: Array) -> Array:
    lengths: Array = np.linalg.norm(vectors.astype(np.float64), axis=1)
    return lengths


def _is_unlit(part: Primitive) -> bool:
    material = part.material() or {}
    return "KHR_materials_unlit" in material.get("extensions", {})


def _computed_normals(part: Primitive) -> Array:
    """For each vertex the middle of the directions of its faces, larger faces counting more."""
    triangles = part.triangles()
    vectors = face_vectors(part.positions(), triangles)
    vectors[~np.isfinite(vectors).all(axis=1)] = 0
    count = part.vertex_count()
    corners = triangles.ravel()
    sums = [np.bincount(corners, np.repeat(vectors[:, axis], 3), count) for axis in range(3)]
    return _unit(np.stack(sums, axis=1), np.tile(_UP, (count, 1)))


def _unit(vectors: Array, instead: Array) -> Array:
    """The vectors at the length of one; where that is not possible those of `instead`."""
    lengths = np.linalg.norm(vectors, axis=1, keepdims=True)
    usable = np.isfinite(lengths) & (lengths > 0)
    result: Array = np.where(usable, vectors / np.where(usable, lengths, 1), instead)
    return result
