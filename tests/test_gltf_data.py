"""The data behind a glTF document: buffers, accessors, triangles, edges; reading and writing."""

import base64
import gc
import struct

import numpy as np
import pytest
import trimesh
from gltf_files import COMPONENTS, Data, document, glb, write
from hypothesis import given
from hypothesis import strategies as st
from pygltflib import GLTF2

from heron.hosts.array_cache import ArrayCache
from heron.hosts.gltf import GltfError, GltfScene, current_scene

CORNERS = [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]]
SQUARE = [0, 1, 2, 0, 2, 3]
BIN = 0x004E4942


def geometry(path, members):
    return GltfScene(write(path / "scene.gltf", document([], **members))).geometry


def square(uri=None, **part):
    """A document with one square of two triangles."""
    data = Data()
    attributes = {"POSITION": data.add(CORNERS, min=[0, 0, 0], max=[1, 1, 0])}
    part = {"attributes": attributes, "indices": data.add(SQUARE, "u2"), **part}
    return document(
        [{"name": "square", "mesh": 0}], meshes=[{"primitives": [part]}], **data.members(uri)
    ), data


def first_part(scene):
    return scene.geometry.mesh(0, "the test").primitives[0]


# Accessors

LAYOUTS = {"SCALAR": (1, 1), "VEC2": (1, 2), "VEC3": (1, 3), "VEC4": (1, 4)}
LAYOUTS |= {"MAT2": (2, 2), "MAT3": (3, 3), "MAT4": (4, 4)}
FORMATS = {"i1": "b", "u1": "B", "i2": "h", "u2": "H", "u4": "I", "f4": "f"}


def component_values(kind):
    if kind == "f4":
        return st.floats(width=32, allow_nan=False)
    bits = 8 * int(kind[1])
    low, high = (0, 2**bits - 1) if kind[0] == "u" else (-(2 ** (bits - 1)), 2 ** (bits - 1) - 1)
    return st.integers(low, high)


def pack(kind, type, row):
    """One element as the format lays it out: each column of a matrix begins at a multiple of four."""
    columns, rows = LAYOUTS[type]
    packed = b""
    for column in range(columns):
        values = row[column * rows : (column + 1) * rows]
        packed += struct.pack(f"<{rows}{FORMATS[kind]}", *values)
        packed += bytes(-len(packed) % 4) if columns > 1 else b""
    return packed


@given(st.data())
def test_accessors_decode_to_what_was_packed(tmp_path_factory, data):
    kind, type = data.draw(st.sampled_from(list(FORMATS))), data.draw(st.sampled_from(list(LAYOUTS)))
    columns, rows = LAYOUTS[type]
    element = st.lists(component_values(kind), min_size=columns * rows, max_size=columns * rows)
    expected = data.draw(st.lists(element, min_size=1, max_size=8))
    gap, before = data.draw(st.sampled_from([None, 0, 4, 7])), data.draw(st.sampled_from([0, 4, 12]))
    packed = Data()
    packed.view(b"\xff" * 5)
    record = {"componentType": COMPONENTS[kind], "type": type, "count": len(expected)}
    if data.draw(st.booleans(), "with data"):
        elements = [pack(kind, type, row) for row in expected]
        stride = {} if gap is None else {"byteStride": len(elements[0]) + gap}
        raw = b"\xff" * before + bytes(gap or 0).join(elements)
        record |= {"bufferView": packed.view(raw, **stride), "byteOffset": before}
    else:
        expected = [[0] * columns * rows for _ in expected]
    replaced = data.draw(st.dictionaries(st.integers(0, len(expected) - 1), element, max_size=4), "sparse")
    if replaced:
        replaced = dict(sorted(replaced.items()))
        index_kind = data.draw(st.sampled_from(["u1", "u2", "u4"]))
        indices = struct.pack(f"<{len(replaced)}{FORMATS[index_kind]}", *replaced)
        values = b"".join(pack(kind, type, row) for row in replaced.values())
        record["sparse"] = {
            "count": len(replaced),
            "indices": {
                "bufferView": packed.view(b"\xff" + indices),
                "byteOffset": 1,
                "componentType": COMPONENTS[index_kind],
            },
            "values": {"bufferView": packed.view(values)},
        }
        for index, row in replaced.items():
            expected[index] = row
    normalized = kind not in ("u4", "f4") and data.draw(st.booleans(), "normalized")
    expected = np.array(expected, "<" + kind)
    if normalized:
        record["normalized"] = True
        top = np.iinfo(expected.dtype).max
        expected = np.maximum(expected.astype(np.float64) / top, -1)
    packed.accessors.append(record)
    values = geometry(tmp_path_factory.mktemp("accessor"), packed.members()).accessors.read(0, "the test")
    assert values.dtype == (np.float32 if normalized else expected.dtype)
    np.testing.assert_allclose(values, expected, rtol=1e-6)


def broken(place, **members):
    """The square with members of one of its objects replaced; None removes one."""
    content, _ = square()
    target = content
    for key in place:
        target = target[key]
    for key, value in members.items():
        if value is None:
            del target[key]
        else:
            target[key] = value
    return content


def sparse(**members):
    indices = {"bufferView": 1, "componentType": 5123}
    return {"count": 2, "indices": indices, "values": {"bufferView": 0}, **members}


A, V, B, P = ("accessors", 0), ("bufferViews", 0), ("buffers", 0), ("meshes", 0, "primitives", 0)
BROKEN = {
    "no such accessor": (broken(("meshes", 0, "primitives", 0, "attributes"), POSITION=9), "number 9 of"),
    "negative accessor": (broken(("meshes", 0, "primitives", 0, "attributes"), POSITION=-1), "is -1"),
    "accessor is a text": (broken(("meshes", 0, "primitives", 0, "attributes"), POSITION="0"), "POSITION"),
    "unknown component type": (broken(A, componentType=5124), "5124"),
    "unknown type": (broken(A, type="VEC5"), '"type"'),
    "type is a list": (broken(A, type=["VEC3"]), '"type"'),
    "other type": (broken(A, type="VEC2"), "is not VEC3"),
    "count below zero": (broken(A, count=-1), '"count"'),
    "count too large": (broken(A, count=5), "ends at byte 60"),
    "count beyond memory": (broken(A, count=2**50), "ends at byte"),
    "count beyond numbers": (broken(A, count=10**400), "beyond all reason"),
    "zeros beyond memory": (broken(A, count=2**40, bufferView=None), "no data"),
    "no count": (broken(A, count=None), 'no "count"'),
    "offset beyond the view": (broken(A, byteOffset=4), "ends at byte"),
    "offset below zero": (broken(A, byteOffset=-12), '"byteOffset"'),
    "normalized numbers": (broken(A, normalized=True), "normalized"),
    "fewer normals than vertices": (
        broken(("meshes", 0, "primitives", 0), attributes={"POSITION": 0, "NORMAL": 1}),
        "accessor 1 has 6 values for NORMAL",
    ),
    "view beyond the buffer": (broken(V, byteLength=9_999), "which has 60"),
    "view below zero": (broken(V, byteOffset=-4), '"byteOffset"'),
    "stride too small": (broken(V, byteStride=8), "stride is 8"),
    "no such view": (broken(A, bufferView=2), 'number 2 of "bufferViews"'),
    "no such buffer": (broken(V, buffer=1), 'number 1 of "buffers"'),
    "views no list": (broken((), bufferViews={}), '"bufferViews"'),
    "buffer longer than its data": (broken(B, byteLength=100), "has 60 bytes where 100"),
    "buffer without data": (broken(B, uri=None), "no data"),
    "bad base64": (broken(B, uri="data:;base64,A"), "cannot be decoded"),
    "base64 of other letters": (broken(B, uri="data:;base64,äöü="), "cannot be decoded"),
    "from the network": (broken(B, uri="https://localhost/x.bin"), "only files beside"),
    "missing file": (broken(B, uri="missing.bin"), "missing"),
    "a directory": (broken(B, uri="."), "missing"),
    "no file name": (broken(B, uri="a%00b"), "missing|null"),
    "sparse beyond the end": (broken(A, sparse=sparse(count=4, values={"bufferView": 1})), "indices of"),
    "sparse values too short": (broken(A, sparse=sparse(values={"bufferView": 1})), "ends at byte 24"),
    "sparse of more than all": (broken(A, sparse=sparse(count=5)), "5 of 4"),
    "sparse of signed indices": (
        broken(A, sparse=sparse(indices={"bufferView": 1, "componentType": 5122})),
        "5122",
    ),
    "sparse without values": (broken(A, sparse=sparse(values=None)), '"values"'),
    "vertex numbers with signs": (broken(("accessors", 1), componentType=5122), "no vertex numbers"),
    "vertex out of range": (broken(A, count=3), "draws vertex 3; there are 3"),
    "unknown mode": (broken(P, mode=7), "mode 7"),
    "no attributes": (broken(P, attributes=None), '"attributes"'),
    "parts no objects": (broken(("meshes", 0), primitives=[5]), '"primitives"'),
    "compressed": (broken(P, extensions={"KHR_draco_mesh_compression": {}}), "compressed"),
}


@pytest.mark.parametrize(("content", "reason"), BROKEN.values(), ids=BROKEN)
def test_broken_data_are_told_with_their_place(tmp_path, content, reason):
    scene = GltfScene(write(tmp_path / "scene.gltf", content))
    with pytest.raises(GltfError, match=reason) as caught:
        part = first_part(scene)
        part.triangles()
        part.positions()
        part.attribute("NORMAL")
    assert caught.value.path == str(tmp_path / "scene.gltf")


@given(st.data())
def test_any_wrong_value_is_an_error_of_the_file(tmp_path_factory, data):
    content, _ = square()
    content["accessors"][0]["sparse"] = sparse(indices={"bufferView": 1, "componentType": 5121})
    place = data.draw(
        st.sampled_from(
            [
                content["accessors"][0],
                content["accessors"][0]["sparse"],
                content["accessors"][0]["sparse"]["indices"],
                content["accessors"][1],
                *content["bufferViews"],
                content["buffers"][0],
                content["meshes"][0]["primitives"][0],
                content["meshes"][0]["primitives"][0]["attributes"],
            ]
        )
    )
    key = data.draw(st.sampled_from(sorted(place)))
    place[key] = data.draw(
        st.integers() | st.sampled_from([None, True, 5120, 5126, "SCALAR", "MAT4", [], {}, 1.5, 2**53])
    )
    scene = GltfScene(write(tmp_path_factory.mktemp("wrong") / "scene.gltf", content))
    try:
        mesh = scene.geometry.mesh(0, "the test")
        mesh.edges(weld=True)
        assert len(mesh.primitives[0].areas()) == mesh.triangle_count()
    except GltfError:
        pass


# Where the bytes are


def test_buffers_are_read_from_wherever_they_are(tmp_path, monkeypatch):
    content, data = square()
    (tmp_path / "two parts").mkdir()
    (tmp_path / "two parts" / "mé.bin").write_bytes(data.bytes + b"more")
    escaped = "".join(f"%{byte:02x}" for byte in data.bytes)
    monkeypatch.chdir(tmp_path)
    for uri in (
        content["buffers"][0]["uri"],
        "data:," + escaped,
        "two%20parts/m%C3%A9.bin",
        "two parts/mé.bin",
    ):
        write(tmp_path / "scene.gltf", square(uri)[0])
        scene = GltfScene("scene.gltf")
        monkeypatch.chdir("/")
        assert first_part(scene).positions().tolist() == CORNERS
        monkeypatch.chdir(tmp_path)
    del content["buffers"][0]["uri"]
    scene = GltfScene(write(tmp_path / "scene.glb", glb(content, (BIN, data.bytes))))
    assert first_part(scene).positions().tolist() == CORNERS


# Triangles and edges


@pytest.mark.parametrize(
    ("mode", "order", "triangles"),
    [
        (None, [0, 1, 2, 2, 1, 3, 0], [[0, 1, 2], [2, 1, 3]]),
        (4, None, [[0, 1, 2]]),
        (5, [0, 1, 2, 3, 0], [[0, 1, 2], [1, 3, 2], [2, 3, 0]]),
        (5, None, [[0, 1, 2], [1, 3, 2]]),
        (6, [3, 0, 1, 2], [[0, 1, 3], [1, 2, 3]]),
        (5, [0, 1], []),
        (6, [0], []),
        (1, [0, 1], []),
        (0, None, []),
    ],
)
def test_triangles_of_every_mode(tmp_path, mode, order, triangles):
    data = Data()
    part = {"attributes": {"POSITION": data.add(CORNERS)}}
    part |= {} if mode is None else {"mode": mode}
    part |= {} if order is None else {"indices": data.add(order, "u1")}
    mesh = geometry(tmp_path, {"meshes": [{"primitives": [part]}], **data.members()}).mesh(0, "the test")
    assert mesh.primitives[0].triangles().tolist() == triangles
    assert mesh.triangle_count() == len(triangles)


def test_edges_join_parts_where_vertices_meet(tmp_path):
    # Two parts with vertices of their own; they share the edge from 0,0 to 0,1, once as -0.
    data = Data()
    left = data.add([[0, 0, 0], [0, 1, 0], [-1, 0, 0]])
    right = data.add([[0, 1, 0], [-0.0, 0, 0], [1, 0, 0], [1, 0, 0]])
    parts = [
        {"attributes": {"POSITION": left}},
        {"attributes": {"POSITION": right}, "indices": data.add([0, 1, 2, 0, 2, 3], "u1")},
    ]
    mesh = geometry(tmp_path, {"meshes": [{"primitives": parts}], **data.members()}).mesh(0, "the test")
    assert sorted(mesh.edges(weld=False).uses) == [1, 1, 1, 1, 1, 1, 1, 2]
    welded = mesh.edges(weld=True)
    assert sorted(welded.uses) == [1, 1, 1, 1, 2]
    shared = int(np.flatnonzero(welded.uses == 2)[0])
    assert welded.turns[shared] == 0
    assert shared in welded.triangles[0]
    assert shared in welded.triangles[1]
    assert welded.triangles[2].tolist() == [-1, -1, -1]


# Writing


def change(scene):
    """Leaves the first triangle, and gives normals."""
    part = first_part(scene)
    part.set_triangles(part.triangles()[:1])
    assert part.triangles().tolist() == [[0, 1, 2]]
    part.set_normals(np.array([[0.0, 0.0, 1.0]] * 4))
    assert part.attribute("NORMAL").tolist() == [[0, 0, 1]] * 4


@pytest.mark.parametrize("kind", ["gltf", "glb", "bin beside"])
def test_new_data_are_saved_and_open_elsewhere(tmp_path, kind):
    content, data = square(uri="square.bin" if kind == "bin beside" else None)
    (tmp_path / "square.bin").write_bytes(data.bytes)
    path = tmp_path / ("scene.glb" if kind == "glb" else "scene.gltf")
    if kind == "glb":
        # The chunk is longer than its buffer tells, as it may be.
        del content["buffers"][0]["uri"]
        content["buffers"][0]["byteLength"] = 60
        write(path, glb(content, (BIN, data.bytes + bytes(4)), (7, b"kept")))
    else:
        write(path, content)
    scene = GltfScene(str(path))
    change(scene)
    for _ in range(2):
        scene.save()
        assert first_part(scene).triangles().tolist() == [[0, 1, 2]]
        again = GltfScene(str(path))
        assert first_part(again).positions().tolist() == CORNERS
        assert first_part(again).triangles().tolist() == [[0, 1, 2]]
        assert first_part(again).attribute("NORMAL").tolist() == [[0, 0, 1]] * 4
        (read,) = trimesh.load_scene(path, process=False).geometry.values()
        assert read.faces.tolist() == [[0, 1, 2]]
        assert read.vertices.tolist() == CORNERS
        first_part(scene).set_normals(np.array([[0.0, 0.0, 1.0]] * 4))
    assert (tmp_path / "square.bin").read_bytes() == data.bytes
    if kind == "glb":
        assert path.read_bytes().endswith(b"kept")
        with pytest.warns(UserWarning, match="unknown type"):
            assert len(GLTF2().load(str(path)).binary_blob()) % 4 == 0


def test_a_glb_without_a_chunk_gets_one_and_one_with_a_uri_keeps_it(tmp_path):
    content, _ = square()
    whole = {**content, "accessors": [{"componentType": 5126, "type": "VEC3", "count": 4}]}
    del whole["meshes"][0]["primitives"][0]["indices"], whole["buffers"], whole["bufferViews"]
    scene = GltfScene(write(tmp_path / "empty.glb", glb(whole)))
    change(scene)
    scene.save()
    assert scene.geometry.members.document["buffers"] == [{"byteLength": 56}]
    assert first_part(GltfScene(scene.get_current_file())).attribute("NORMAL").tolist() == [[0, 0, 1]] * 4
    scene = GltfScene(write(tmp_path / "uri.glb", glb(square()[0], (BIN, b"none"))))
    change(scene)
    scene.save()
    again = GltfScene(scene.get_current_file())
    assert first_part(again).attribute("NORMAL").tolist() == [[0, 0, 1]] * 4
    added = again.geometry.members.document["buffers"][1]
    assert len(base64.b64decode(added["uri"].partition(",")[2])) == added["byteLength"]


def test_appended_data_do_not_mend_a_view_that_ends_too_late(tmp_path):
    content, data = square()
    del content["buffers"][0]["uri"]
    content["bufferViews"].append({"buffer": 0, "byteOffset": 40, "byteLength": 40})
    before = glb(content, (BIN, data.bytes))
    scene = GltfScene(write(tmp_path / "scene.glb", before))
    part = first_part(scene)
    with pytest.raises(GltfError, match="buffer view 2"):
        part.set_triangles(part.triangles()[:1])
    scene.save()
    assert len(first_part(GltfScene(scene.get_current_file())).triangles()) == 2


def test_bounds_are_told_as_they_are_stored(tmp_path):
    data = Data()
    part = {"attributes": {"POSITION": data.add([[-5, 0, 3], [1, 2, 2]], "i1", normalized=True)}}
    scene = GltfScene(
        write(
            tmp_path / "scene.gltf",
            document([], meshes=[{"primitives": [part]}], **data.members()),
        )
    )
    first_part(scene).set_bounds()
    record = scene.geometry.members.document["accessors"][0]
    assert (record["min"], record["max"]) == ([-5, 0, 2], [1, 2, 3])


# The cache and the current scene


def test_the_cache_keeps_within_its_limit_and_forgets_the_oldest():
    cache, made = ArrayCache(limit=40), []

    def get(key):
        return cache.get(key, lambda: made.append(key) or np.zeros(2))

    for key in "ababcab":
        get(key)
    assert made == ["a", "b", "c", "a", "b"]
    with pytest.raises(ValueError, match="read-only"):
        get("b")[0] = 1
    cache.get("large", lambda: (np.zeros(100), np.zeros(1)))
    assert cache.get("large", list) is cache.get("large", list)


def test_a_mesh_is_decoded_once_until_the_document_changes(tmp_path):
    scene = GltfScene(write(tmp_path / "scene.gltf", square()[0]))
    kept = first_part(scene).areas()
    assert first_part(scene).areas() is kept
    change(scene)
    assert first_part(scene).areas().tolist() == [0.5]
    scene.open(write(tmp_path / "other.gltf", square(mode=0)[0]))
    assert len(first_part(scene).areas()) == 0


def test_the_current_scene_is_the_last_one_opened_or_activated(tmp_path):
    path = write(tmp_path / "scene.gltf", square()[0])
    first, second = GltfScene(path), GltfScene(path)
    assert current_scene() is second
    first.activate()
    assert current_scene() is first
    with pytest.raises(GltfError):
        second.open(str(tmp_path / "missing.gltf"))
    assert current_scene() is first
    second.open(path)
    assert current_scene() is second
    del second
    gc.collect()
    assert current_scene() is None
