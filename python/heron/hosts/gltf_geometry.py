"""The meshes of a glTF document: their parts, triangles and edges."""

from __future__ import annotations

from collections.abc import Callable, Hashable
from typing import NamedTuple

import numpy as np

from ..files import Json
from .array_cache import Array, ArrayCache
from .gltf_accessors import INDICES, VERTICES, Accessors, limits
from .gltf_buffers import Buffers
from .gltf_file import GltfFile
from .gltf_members import Members

_TRIANGLES, _STRIP, _FAN = 4, 5, 6
_MODES = range(7)
_DRACO = "KHR_draco_mesh_compression"
# The highest number of a type ends a strip for some graphics cards, so no vertex may have it.
_MAX_SHORT_VERTICES = 0xFFFF


class Edges(NamedTuple):
    """The edges of the triangles of a mesh, each once.

    Attributes:
        uses: How many triangles meet at each.
        turns: How often each is passed in one direction less how often in the other.
        triangles: For each triangle the numbers of its three edges, in the order of the mesh's parts;
            -1 for a triangle of fewer than three corners, which has none.
    """

    uses: Array
    turns: Array
    triangles: Array


class Geometry:
    """What a file holds in its accessors, decoded when it is asked for.

    What was decoded is kept, within limits, so that a mesh costs its time once however many objects use
    it. Whoever changes the document beneath must call `changed`; the operations of this package do.
    """

    def __init__(self, file: GltfFile):
        """Reads nothing yet."""
        self.members = Members(file.path, file.document)
        self.cache = ArrayCache()
        self.buffers = Buffers(file, self.members)
        self.accessors = Accessors(self.members, self.buffers, self.cache)

    def copy(self, file: GltfFile) -> Geometry:
        """The geometry of a copy of the file. Changes stay there, what was read from files is shared."""
        other = Geometry(file)
        other.buffers = self.buffers.copy(file, other.members)
        other.accessors = Accessors(other.members, other.buffers, other.cache)
        return other

    def mesh(self, index: int, where: str) -> Mesh:
        """The mesh `index`, which `where` names.

        Raises:
            GltfError: It does not exist, or has no parts.
        """
        return Mesh(self, index, where)

    def changed(self) -> None:
        """Forgets what was decoded."""
        self.cache.clear()


class Mesh:
    """A mesh.

    Attributes:
        index: Its number.
        primitives: Its parts.
    """

    def __init__(self, geometry: Geometry, index: int, where: str):
        """Reads the mesh `index`, which `where` names."""
        members = geometry.members
        self._geometry = geometry
        self.index = index
        own = f"mesh {index}"
        parts = members.objects(members.item("meshes", index, where), "primitives", own)
        if not parts:
            raise members.error(f"{own} has no parts")
        self.primitives = [Primitive(geometry, part, index, number) for number, part in enumerate(parts)]

    def triangle_count(self) -> int:
        """The number of triangles of all parts."""
        return sum(primitive.triangle_count() for primitive in self.primitives)

    def edges(self, weld: bool) -> Edges:
        """The edges of all parts together.

        Args:
            weld: Takes vertices at exactly one place for one vertex. Without it every hard edge, and
                every border of a texture, parts the surface.
        """
        key = ("edges", self.index, weld)
        return Edges(*self._geometry.cache.get(key, lambda: self._find_edges(weld)))

    def _find_edges(self, weld: bool) -> tuple[Array, Array, Array]:
        corners, places, first = [], [], 0
        for primitive in self.primitives:
            positions = primitive.positions()
            corners.append(primitive.triangles() + first)
            places.append(positions)
            first += len(positions)
        triangles = np.concatenate(corners)
        if weld:
            triangles = _same_places(np.concatenate(places))[triangles]
        return _find_edges(triangles, first)


class Primitive:
    """A part of a mesh, with one material.

    Attributes:
        record: Its object in the document.
        number: Its place in the mesh, from 0.
        where: What it is called in an error.
    """

    def __init__(self, geometry: Geometry, record: Json, mesh: int, number: int):
        """Reads the mode and the attributes of a part; its data wait until they are asked for."""
        self._geometry = geometry
        self._members = geometry.members
        self._key = (mesh, number)
        self.record = record
        self.number = number
        self.where = f"mesh {mesh} part {number}"
        self.mode = self._members.size(record, "mode", self.where, _TRIANGLES)
        if self.mode not in _MODES:
            raise self._members.error(f"{self.where} has the unknown mode {self.mode}")
        attributes: Json | None = self._members.member(record, "attributes", dict, self.where)
        if attributes is None:
            raise self._members.error(f'{self.where} has no "attributes"')
        self._attributes = attributes
        extensions = self._members.member(record, "extensions", dict, self.where) or {}
        self._compressed = _DRACO in extensions

    @property
    def has_triangles(self) -> bool:
        """Whether it is made of triangles rather than of points or lines."""
        return self.mode >= _TRIANGLES

    @property
    def is_list(self) -> bool:
        """Whether its triangles are listed one by one, and are not run together to a strip or a fan."""
        return self.mode == _TRIANGLES

    def material(self) -> Json | None:
        """The material's object in the document, or None if it has no material.

        Raises:
            GltfError: It names a material that does not exist.
        """
        if "material" not in self.record:
            return None
        index = self._members.size(self.record, "material", self.where)
        return self._members.item("materials", index, self.where)

    def once(self, name: Hashable, make: Callable[[], Array]) -> Array:
        """What `make` computes of this part. It is kept under `name`, mostly until the document changes."""
        return self._geometry.cache.get((*self._key, name), make)

    def has(self, semantic: str) -> bool:
        """Whether it has the attribute, such as "NORMAL"."""
        return semantic in self._attributes

    def attributes(self) -> list[str]:
        """The names of its attributes."""
        return list(self._attributes)

    def vertex_count(self) -> int:
        """The number of vertices."""
        if not self.has("POSITION"):
            return 0
        return self._geometry.accessors.count(self._accessor("POSITION"), self.where)

    def attribute(self, semantic: str, *types: str) -> Array:
        """The values of an attribute, one row for each vertex.

        Args:
            semantic: Its name, such as "TEXCOORD_0". It must be there.
            types: The element types that serve.

        Raises:
            GltfError: Its data cannot be read, or there are more or fewer than vertices.
        """
        self._must_be_plain()
        return self._vertex_values(self._accessor(semantic), f"{semantic}, {self.where}", *types)

    def positions(self) -> Array:
        """The places of the vertices as 64-bit numbers; none if there are no positions."""
        if not self.has("POSITION"):
            return np.empty((0, 3))
        return self.attribute("POSITION", "VEC3").astype(np.float64)

    def finite_positions(self) -> Array:
        """As `positions`.

        Raises:
            GltfError: One of them is no number, or infinite; or they cannot be read.
        """
        positions = self.positions()
        if not np.isfinite(positions).all():
            raise self._members.error(f"{self.where} has a position that is not a finite number")
        return positions

    def position_accessor(self) -> Json:
        """The accessor of the positions, which must be there: its object in the document."""
        return self._members.item("accessors", self._accessor("POSITION"), self.where)

    def stored_positions(self) -> Array:
        """The positions as they are stored, which is how their accessor tells its bounds."""
        self._must_be_plain()
        return self._geometry.accessors.stored(self._accessor("POSITION"), self.where)

    def bounds(self) -> Array:
        """The lowest and the highest values of the stored positions, of which there must be some.

        They are no numbers, or infinite, where a position is.
        """
        return self.once("bounds", lambda: np.array(limits(self.stored_positions())))

    def targets(self) -> list[Json]:
        """What its vertices can morph into: for each target an object of attributes, as in the document."""
        return self._members.objects(self.record, "targets", self.where)

    def target_values(self, target: Json, semantic: str) -> Array:
        """The offsets of an attribute in one of `targets`, one row for each vertex.

        Raises:
            GltfError: They cannot be read, or there are more or fewer than vertices.
        """
        self._must_be_plain()
        where = f"a target of {self.where}"
        return self._vertex_values(
            self._members.size(target, semantic, where), f"{semantic}, {where}", "VEC3"
        )

    def indices(self) -> Array:
        """The vertices in the order in which they are drawn, by number. None is held to the vertices."""
        self._must_be_plain()
        accessor = self._index_accessor()
        if accessor is None:
            return np.arange(self.vertex_count())
        values = self._geometry.accessors.read(accessor, f"indices, {self.where}", "SCALAR")
        if values.dtype.kind != "u":
            raise self._members.error(f"accessor {accessor} holds no vertex numbers for {self.where}")
        return values[:, 0].astype(np.int64)

    def triangles(self) -> Array:
        """The numbers of the three vertices of each triangle; none for points and lines.

        Raises:
            GltfError: A vertex does not exist, or data cannot be read.
        """
        return self.once("triangles", self._find_triangles)

    def triangle_count(self) -> int:
        """The number of triangles. It is known for compressed geometry too."""
        if not self.has_triangles:
            return 0
        accessor = self._index_accessor()
        accessors = self._geometry.accessors
        count = self.vertex_count() if accessor is None else accessors.count(accessor, self.where)
        return count // 3 if self.is_list else max(count - 2, 0)

    def areas(self) -> Array:
        """The area of each triangle in square metres, before the objects that use it are scaled."""
        return self.once("areas", self._find_areas)

    def set_triangles(self, triangles: Array) -> None:
        """Replaces the triangles, which become a list.

        Args:
            triangles: At least one row of three vertex numbers.

        Raises:
            GltfError: The buffers as they are cannot take more.
        """
        kind = np.uint16 if self.vertex_count() <= _MAX_SHORT_VERTICES else np.uint32
        values = triangles.reshape(-1, 1).astype(kind)
        self.record["indices"] = self._geometry.accessors.add(values, INDICES)
        self.record.pop("mode", None)
        self.mode = _TRIANGLES
        self._geometry.changed()

    def list_triangles(self) -> None:
        """Makes a list of a strip or a fan, without those triangles that show nothing since a vertex repeats.

        Raises:
            GltfError: The triangles cannot be read, or the buffers as they are cannot take more.
        """
        if not self.has_triangles or self.is_list:
            return
        triangles = self.triangles()
        solid = triangles[np.all(triangles != np.roll(triangles, 1, axis=1), axis=1)]
        if len(solid):
            self.set_triangles(solid)

    def set_normals(self, normals: Array) -> None:
        """Replaces the normals.

        Args:
            normals: One row for each vertex.

        Raises:
            GltfError: The buffers as they are cannot take more.
        """
        self._attributes["NORMAL"] = self._geometry.accessors.add(normals.astype(np.float32), VERTICES)
        self._geometry.changed()

    def split(self, vertices: Array, triangles: Array) -> None:
        """Replaces the vertices, in the morph targets too, and the triangles, which become a list.

        Args:
            vertices: For each new vertex the number of the old one that it takes its attributes from.
            triangles: At least one row of three numbers of new vertices.

        Raises:
            GltfError: Data cannot be read, or the buffers as they are cannot take more.
        """
        self._must_be_plain()
        owners = (self._attributes, *self.targets())
        for owner, split in [(owner, self._split(owner, vertices)) for owner in owners]:
            owner.update(split)
        self.set_triangles(triangles)

    def set_texture_coordinates(self, coordinates: Array) -> None:
        """Gives it a first set of texture coordinates.

        Args:
            coordinates: One row of two for each vertex.

        Raises:
            GltfError: The buffers as they are cannot take more.
        """
        values = coordinates.astype(np.float32)
        self._attributes["TEXCOORD_0"] = self._geometry.accessors.add(values, VERTICES)
        self._geometry.changed()

    def set_bounds(self) -> None:
        """Tells the lowest and the highest position as they are."""
        record = self.position_accessor()
        record["min"], record["max"] = limits(self.stored_positions())
        self._geometry.changed()

    def _accessor(self, semantic: str) -> int:
        return self._members.size(self._attributes, semantic, f"the attributes of {self.where}")

    def _split(self, attributes: Json, vertices: Array) -> dict[str, int]:
        """The numbers of new accessors for attributes, with values of those of the vertices."""
        accessors = {}
        for semantic in attributes:
            accessor = self._members.size(attributes, semantic, f"the attributes of {self.where}")
            where = f"{semantic}, {self.where}"
            self._vertex_values(accessor, where)
            accessors[semantic] = self._geometry.accessors.add_rows(accessor, where, vertices)
        return accessors

    def _vertex_values(self, accessor: int, where: str, *types: str) -> Array:
        values = self._geometry.accessors.read(accessor, where, *types)
        if len(values) != self.vertex_count():
            raise self._members.error(
                f"accessor {accessor} has {len(values)} values for {where}, "
                f"which has {self.vertex_count()} vertices"
            )
        return values

    def _index_accessor(self) -> int | None:
        if "indices" not in self.record:
            return None
        return self._members.size(self.record, "indices", self.where)

    def _must_be_plain(self) -> None:
        if self._compressed:
            raise self._members.error(f"{self.where} is compressed with {_DRACO}, which cannot be read")

    def _find_triangles(self) -> Array:
        if not self.has_triangles:
            return np.empty((0, 3), np.int64)
        order = self.indices()
        if len(order) and int(order.max()) >= self.vertex_count():
            raise self._members.error(
                f"{self.where} draws vertex {order.max()}; there are {self.vertex_count()}"
            )
        if self.is_list:
            return order[: len(order) // 3 * 3].reshape(-1, 3)
        if len(order) < 3:
            return np.empty((0, 3), np.int64)
        if self.mode == _FAN:
            first = np.full(len(order) - 2, order[0])
            return np.stack([order[1:-1], order[2:], first], axis=1)
        strip = np.stack([order[:-2], order[1:-1], order[2:]], axis=1)
        strip[1::2] = strip[1::2][:, [0, 2, 1]]  # every other one is passed the other way round
        return strip

    def _find_areas(self) -> Array:
        return np.linalg.norm(face_vectors(self.positions(), self.triangles()), axis=1) / 2


def face_vectors(positions: Array, triangles: Array) -> Array:
    """For each triangle the vector that stands upright on its front, of twice its area in length."""
    a, b, c = (positions[triangles[:, corner]] for corner in range(3))
    # Places that are no numbers, or beyond them, give vectors that are none; callers meet them as such.
    with np.errstate(invalid="ignore", over="ignore"):
        vectors: Array = np.cross(b - a, c - a)
    return vectors


def _same_places(positions: Array) -> Array:
    """A number for each position, the same for equal ones."""
    if not len(positions):
        return np.empty(0, np.int64)
    order = np.lexsort(positions.T)
    fresh = np.ones(len(order), bool)
    fresh[1:] = np.any(positions[order[1:]] != positions[order[:-1]], axis=1)
    numbers = np.empty(len(order), np.int64)
    numbers[order] = np.cumsum(fresh) - 1
    return numbers


def _find_edges(triangles: Array, vertices: int) -> tuple[Array, Array, Array]:
    starts, ends = triangles, np.roll(triangles, -1, axis=1)
    whole = np.all(starts != ends, axis=1)
    starts, ends = starts[whole], ends[whole]
    keys = np.minimum(starts, ends) * vertices + np.maximum(starts, ends)
    _, numbers, uses = np.unique(keys.ravel(), return_inverse=True, return_counts=True)
    turns = np.bincount(numbers, np.where(starts < ends, 1, -1).ravel(), len(uses)).astype(np.int64)
    sides = np.full(triangles.shape, -1)
    sides[whole] = numbers.reshape(-1, 3)
    return uses, turns, sides
