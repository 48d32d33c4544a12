"""The transforms of glTF nodes as matrices."""

from __future__ import annotations

from typing import NamedTuple

import numpy as np

from ..files import Json
from .array_cache import Array
from .gltf_members import Members

_KEYS = ("matrix", "translation", "rotation", "scale")
# Files tell numbers with about seven digits.
_TOLERANCE = 1e-5
_TINY = 1e-12


class Transform(NamedTuple):
    """A matrix taken apart.

    Attributes:
        translation: A vector.
        rotation: A unit quaternion, its real part last.
        scale: A factor for each axis.
    """

    translation: Array
    rotation: Array
    scale: Array

    @property
    def uniform_scale(self) -> float | None:
        """The one positive factor for all axes, or None if there is none."""
        factor = float(self.scale.mean())
        even = factor > 0 and np.allclose(self.scale, factor, rtol=_TOLERANCE, atol=0)
        return factor if even else None


def local_matrix(members: Members, node: Json, where: str) -> Array:
    """The transform of a node within its parent.

    Raises:
        GltfError: A value in it is not a number.
    """
    values = members.numbers(node, "matrix", 16, where)
    if values is not None:
        return np.array(values).reshape(4, 4).T
    matrix = np.eye(4)
    matrix[:3, :3] = _rotation_matrix(members.numbers(node, "rotation", 4, where) or [0, 0, 0, 1])
    matrix[:3, :3] *= members.numbers(node, "scale", 3, where) or [1, 1, 1]
    matrix[:3, 3] = members.numbers(node, "translation", 3, where) or [0, 0, 0]
    return matrix


def is_identity(matrix: Array) -> bool:
    """Whether the matrix moves nothing, as far as the digits of a file tell."""
    return np.allclose(matrix, np.eye(4), rtol=0, atol=_TOLERANCE / 10)


def decompose(matrix: Array) -> Transform | None:
    """The parts of an affine matrix, or None if it shears, which a node cannot."""
    axes = matrix[:3, :3]
    scale = np.linalg.norm(axes, axis=0)
    solid = scale > _TINY
    rotation = np.eye(3)
    rotation[:, solid] = axes[:, solid] / scale[solid]
    # An axis that is scaled to nothing has lost its direction: any that is upright on the others serves.
    basis = np.linalg.qr(np.hstack([rotation[:, solid], np.eye(3)]))[0]
    rotation[:, ~solid] = basis[:, np.count_nonzero(solid) :]
    if not np.allclose(rotation.T @ rotation, np.eye(3), rtol=0, atol=_TOLERANCE):
        return None
    if np.linalg.det(rotation) < 0:
        mirrored = 0 if solid.all() else int(np.argmin(solid))
        rotation[:, mirrored] *= -1
        scale[mirrored] *= -1
    return Transform(matrix[:3, 3].copy(), _quaternion(rotation), scale)


def multiply(left: Array, right: Array) -> Array:
    """The product of a quaternion with each row of `right`, of which each is a quaternion."""
    x, y, z, w = left
    factor = np.array([[w, -z, y, x], [z, w, -x, y], [-y, x, w, z], [-x, -y, -z, w]])
    product: Array = right @ factor.T
    return product


def set_matrix(node: Json, matrix: Array) -> None:
    """Gives a node a transform; a matrix that shears is kept as one."""
    for key in _KEYS:
        node.pop(key, None)
    if is_identity(matrix):
        return
    parts = decompose(matrix)
    if parts is None:
        node["matrix"] = matrix.T.ravel().tolist()
        return
    neutral = ([0, 0, 0], [0, 0, 0, 1], [1, 1, 1])
    for key, values, usual in zip(_KEYS[1:], parts, neutral):
        if not np.allclose(values, usual, rtol=0, atol=_TINY):
            node[key] = values.tolist()


def _rotation_matrix(quaternion: list[float]) -> Array:
    length = float(np.linalg.norm(quaternion))
    if length < _TINY:
        return np.eye(3)
    x, y, z, w = (value / length for value in quaternion)
    return np.array(
        [
            [1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)],
            [2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)],
            [2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)],
        ]
    )


def _quaternion(rotation: Array) -> Array:
    """The quaternion of a rotation. Four times the products of its parts are sums of the elements."""
    (a, b, c), (d, e, f), (g, h, i) = rotation
    products = np.array(
        [
            [1 + a - e - i, b + d, c + g, h - f],
            [b + d, 1 - a + e - i, f + h, c - g],
            [c + g, f + h, 1 - a - e + i, d - b],
            [h - f, c - g, d - b, 1 + a + e + i],
        ]
    )
    # The row of the largest part loses the fewest digits.
    row = products[int(np.argmax(products.diagonal()))]
    quaternion: Array = row / np.linalg.norm(row)
    return quaternion
