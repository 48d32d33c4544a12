"""Checks of texture coordinates."""

from __future__ import annotations

from typing import Any

import numpy as np

import core
from heron.checking import GltfCheck, amount
from heron.hosts.array_cache import Array
from heron.hosts.gltf_geometry import Primitive
from heron.hosts.gltf_textures import texture_references

_P = core.Parameters
_CATEGORY = core.Constants.Check.Category.Mapping
_SQUARE_MILLIMETRE = 1e-6
_ON_A_LINE = 1e-7


class MissingCoordinates(GltfCheck):
    """Finds parts of meshes that lack the texture coordinates they need."""

    class_id = "heron.mapping.missing"
    long_name = "Missing Texture Coordinates"
    short_name = "Missing UVs"
    description = (
        "Finds parts of meshes that have no texture coordinates although a texture of their material "
        "needs them, each in the set that the texture names. Nothing is fixed."
    )
    category = _CATEGORY
    sort_index = 10

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """Whether meshes without textures need coordinates too."""
        return _P.Block(
            _P.Switch(
                "always", False, "Also without textures", "Every mesh must have the first set, for baking"
            )
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Compares the sets that textures name with those that are there."""
        for part in self.parts(path):
            references = texture_references(self.members, part.material() or {})
            needed = {reference.uv_set for reference in references}
            if parameters.always.enabled:
                needed.add(0)
            missing = [uv_set for uv_set in sorted(needed) if not part.has(f"TEXCOORD_{uv_set}")]
            if missing:
                told = ", ".join(map(str, missing))
                self.found_in(part, f"no texture coordinates in set {told}", missing)


class OutsideCoordinates(GltfCheck):
    """Finds texture coordinates outside the unit square, or across the borders of its repeats."""

    class_id = "heron.mapping.outside"
    long_name = "Texture Coordinates Outside The Texture"
    short_name = "UVs outside 0..1"
    description = (
        "Finds texture coordinates outside 0 to 1, where a texture repeats or its border is stretched. "
        "For textures that are baked or packed into one, where coordinates must stay inside. Nothing is "
        "fixed."
    )
    category = _CATEGORY
    sort_index = 20

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """Which set, where it must lie, and how exactly."""
        return _P.Block(
            _uv_set(),
            _P.ComboBox(
                "area",
                [
                    _P.ComboBox.Item("square", "Between 0 and 1", True),
                    _P.ComboBox.Item("tile", "Within any one repeat of the texture"),
                ],
                label="Area",
                help_text="Where the coordinates of one part must lie",
            ),
            _P.FloatRange(
                "tolerance",
                0.0,
                1.0,
                0.001,
                4,
                0.001,
                "",
                "",
                "Tolerance",
                "How far outside a coordinate may be",
            ),
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Holds each coordinate to the area."""
        semantic = f"TEXCOORD_{parameters.uv_set.value}"
        for part in self.parts(path):
            if not part.has(semantic):
                continue
            inside = _inside(part, semantic, parameters.area.get_selected().attr, parameters.tolerance.value)
            if not inside.all():
                places = _places(part, semantic)
                self.found_in(
                    part,
                    f"{(~inside).sum():,} of {amount(len(places), 'coordinate')} outside{_reach(places)}",
                    np.flatnonzero(~inside).tolist(),
                )


class CollapsedCoordinates(GltfCheck):
    """Finds triangles that have an area but none in the texture."""

    class_id = "heron.mapping.collapsed"
    long_name = "Triangles Without Area In The Texture"
    short_name = "Collapsed UVs"
    description = (
        "Finds triangles that can be seen but lie on a point or a line of the texture: it smears over "
        "them, and normal maps and baking fail. Nothing is fixed."
    )
    category = _CATEGORY
    sort_index = 30

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """Which set, and which triangles are too small to matter."""
        return _P.Block(
            _uv_set(),
            _P.FloatRange(
                "area",
                0.0,
                10_000.0,
                0.1,
                1,
                1.0,
                "",
                "mm²",
                "Area",
                "Triangles up to this area do not count",
            ),
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Compares the areas in space and in the texture."""
        semantic = f"TEXCOORD_{parameters.uv_set.value}"
        for part in self.parts(path):
            if not part.has(semantic):
                continue
            visible = part.areas() > parameters.area.value * _SQUARE_MILLIMETRE
            found = visible & _flat(part, semantic)
            if found.any():
                self.found_in(
                    part,
                    f"{found.sum():,} of {amount(len(found), 'triangle')} without area in the texture",
                    np.flatnonzero(found).tolist(),
                )


def _uv_set() -> core.Parameters.IntRange:
    return _P.IntRange("uv_set", 0, 7, 1, 0, "", "", "Set", "The set of texture coordinates, counted from 0")


def _places(part: Primitive, semantic: str) -> Array:
    places: Array = part.attribute(semantic, "VEC2").astype(np.float64)
    return places


def _finite(places: Array) -> Array:
    """The coordinates that are numbers."""
    finite: Array = places[np.isfinite(places).all(axis=1)]
    return finite


def _inside(part: Primitive, semantic: str, area: str, tolerance: float) -> Array:
    """For each coordinate whether it lies in the area."""

    def find() -> Array:
        places = _places(part, semantic)
        low, finite = np.zeros(2), _finite(places)
        if area == "tile" and len(finite):
            # The tile of the middle one: rounding at a border must not move it.
            low = np.floor(np.median(finite, axis=0))
        inside: Array = np.all((places >= low - tolerance) & (places <= low + 1 + tolerance), axis=1)
        return inside

    return part.once(("inside", semantic, area, tolerance), find)


def _reach(places: Array) -> str:
    """How far the coordinates reach, as the end of a sentence."""
    finite = _finite(places)
    if not len(finite):
        return "; none is a number"
    corners = (", ".join(f"{value:.4g}" for value in corner) for corner in (finite.min(0), finite.max(0)))
    return "; they reach from " + " to ".join(corners)


def _flat(part: Primitive, semantic: str) -> Array:
    """For each triangle whether its corners in the texture lie on one line, as far as numbers tell."""

    def find() -> Array:
        places, triangles = _places(part, semantic), part.triangles()
        a, b, c = (places[triangles[:, corner]] for corner in range(3))
        with np.errstate(invalid="ignore"):  # coordinates that are no numbers
            u, v = b - a, c - a
            area = np.abs(u[:, 0] * v[:, 1] - u[:, 1] * v[:, 0])
            size = np.abs(u).sum(axis=1) + np.abs(v).sum(axis=1)
            flat: Array = area <= _ON_A_LINE * size * size
        return flat

    return part.once(("flat", semantic), find)
