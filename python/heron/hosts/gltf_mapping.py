"""Texture coordinates for meshes that have none."""

from __future__ import annotations

import numpy as np

from .array_cache import Array
from .gltf_geometry import Primitive, face_vectors

# For each side of a box, that is for each axis and direction, the axes of the picture on it: to the right and
# up, so that it is no mirror image when it is looked at from outside.
_SIDES = np.array(
    [
        [[0, 0, -1], [0, 1, 0]],
        [[1, 0, 0], [0, 0, -1]],
        [[1, 0, 0], [0, 1, 0]],
        [[0, 0, 1], [0, 1, 0]],
        [[1, 0, 0], [0, 0, 1]],
        [[-1, 0, 0], [0, 1, 0]],
    ]
)


def map_box(primitive: Primitive) -> None:
    """Gives a part of a mesh texture coordinates if it has triangles and none of any set.

    Each triangle is seen from that side of the part's bounding box which it faces most. The longest edge of
    the box is one length of a texture on all sides, and so nothing is stretched; the sides lie over one
    another. Vertices where sides meet are split. Strips and fans become lists.

    Raises:
        GltfError: Data cannot be read, or a position is no number.
    """
    mapped = any(name.startswith("TEXCOORD_") for name in primitive.attributes())
    if mapped or not primitive.triangle_count():
        return
    triangles = primitive.triangles()
    positions = primitive.finite_positions()
    sides = _sides(face_vectors(positions, triangles))
    keys, corners = np.unique(triangles * len(_SIDES) + sides[:, np.newaxis], return_inverse=True)
    vertices, sides = keys // len(_SIDES), keys % len(_SIDES)
    primitive.split(vertices, corners.reshape(-1, 3))
    low = positions.min(axis=0)
    length = float((positions.max(axis=0) - low).max()) or 1.0
    primitive.set_texture_coordinates(_project((positions[vertices] - low) / length, sides))


def _sides(normals: Array) -> Array:
    """For each vector the number of the side that it points to most."""
    axes = np.abs(normals).argmax(axis=1)
    backwards = normals[np.arange(len(normals)), axes] < 0
    return axes + 3 * backwards


def _project(places: Array, sides: Array) -> Array:
    """The coordinates of places, from 0 to 1 along each axis, on their sides; a texture begins at the top."""
    axes = _SIDES[sides]
    # A picture that runs against an axis begins at the axis's end, which is 1.
    coordinates: Array = np.einsum("vij,vj->vi", axes, places) - axes.min(axis=2)
    coordinates[:, 1] = 1 - coordinates[:, 1]
    return coordinates
