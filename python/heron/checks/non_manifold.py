"""Checks of how the triangles of a mesh join: what makes a surface that has an inside."""

from __future__ import annotations

from typing import Any

import numpy as np

import core
from heron.checking import GltfCheck, amount
from heron.hosts.array_cache import Array
from heron.hosts.gltf_geometry import Edges

_P = core.Parameters
_CATEGORY = core.Constants.Check.Category.MeshNonManifold


class CrowdedEdges(GltfCheck):
    """Finds edges at which more than two triangles meet."""

    class_id = "heron.mesh_non_manifold.edges"
    long_name = "Edges Of More Than Two Triangles"
    short_name = "Non-manifold edges"
    description = (
        "Finds edges at which three or more triangles meet: inner walls, doubled faces, fins. Such a "
        "surface has no clear inside, and simplifying, unwrapping and baking fail on it. Nothing is "
        "fixed."
    )
    category = _CATEGORY
    sort_index = 10

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """How vertices join."""
        return _P.Block(_weld())

    def inspect(self, path: str, parameters: Any) -> None:
        """Counts the triangles at each edge."""
        edges = _edges(self, path, parameters)
        crowded = edges.uses > 2
        if crowded.any():
            self.found(
                f"{amount(int(crowded.sum()), 'edge')} of more than two triangles",
                path,
                _triangles_at(edges, crowded),
            )


class OpenEdges(GltfCheck):
    """Finds edges at which only one triangle lies."""

    class_id = "heron.mesh_non_manifold.open_edges"
    long_name = "Open Edges"
    short_name = "Open edges"
    description = (
        "Finds edges at which only one triangle lies: the rims of holes, and places where pieces do not "
        "join. For meshes that must be closed, such as those to be printed or given mass. Nothing is "
        "fixed."
    )
    category = _CATEGORY
    sort_index = 20

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """How many are fine, and how vertices join."""
        return _P.Block(
            _P.IntRange("most", 0, 1_000_000, 1, 0, "", "edges", "At most", "The open edges allowed"), _weld()
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Counts the triangles at each edge."""
        edges = _edges(self, path, parameters)
        opened = edges.uses == 1
        if opened.sum() > parameters.most.value:
            self.found(
                f"{amount(int(opened.sum()), 'open edge')}, {parameters.most.value:,} are allowed",
                path,
                _triangles_at(edges, opened),
            )


class Winding(GltfCheck):
    """Finds neighbouring triangles that face opposite ways."""

    class_id = "heron.mesh_non_manifold.winding"
    long_name = "Neighbours Facing Opposite Ways"
    short_name = "Flipped triangles"
    description = (
        "Finds edges whose two triangles face opposite ways, so that one of them shows its back: holes "
        "where back faces are not drawn, and dark seams elsewhere. Nothing is fixed: it takes an eye to "
        "know which side is the outer one."
    )
    category = _CATEGORY
    sort_index = 30

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """How vertices join."""
        return _P.Block(_weld())

    def inspect(self, path: str, parameters: Any) -> None:
        """Compares the directions in which the two triangles pass each edge."""
        edges = _edges(self, path, parameters)
        flipped = (edges.uses == 2) & (edges.turns != 0)
        if flipped.any():
            self.found(
                f"{amount(int(flipped.sum()), 'edge')} between triangles that face opposite ways",
                path,
                _triangles_at(edges, flipped),
            )


def _weld() -> core.Parameters.Switch:
    return _P.Switch(
        "weld",
        True,
        "Join vertices",
        "Takes vertices in exactly one place for one; otherwise hard edges and texture seams part a mesh",
    )


def _edges(check: GltfCheck, path: str, parameters: Any) -> Edges:
    """The edges of the object's mesh; none if it has no mesh."""
    mesh = check.mesh(path)
    if mesh is None:
        nothing = np.empty(0, np.int64)
        return Edges(nothing, nothing, nothing.reshape(0, 3))
    return mesh.edges(parameters.weld.enabled)


def _triangles_at(edges: Edges, chosen: Array) -> list[int]:
    """The numbers of the triangles that lie at one of the chosen edges."""
    at_edge = chosen[edges.triangles] & (edges.triangles >= 0)
    numbers: list[int] = np.flatnonzero(at_edge.any(axis=1)).tolist()
    return numbers
