"""The data behind a glTF document: buffers, accessors, triangles, edges; reading and writing."""

import gc

import numpy as np
import pytest
import trimesh
from gltf_files import COMPONENTS, CORNERS, SQUARE, TYPES, Data, document, glb, opened, put, write
from hypothesis import given
from hypothesis import strategies as st

from heron.hosts.gltf import GltfError, GltfScene, current_scene

BIN = 0x004E4942


def model(path, *parts, data):
    """The mesh of a scene with these parts."""
    return opened(path, document([], meshes=[{"primitives": parts}], **data.members())).geometry.mesh(0, "it")


def square(uri=None, **part):
    """A document with one square of two triangles."""
    data = Data()
    attributes = {"POSITION": data.add(CORNERS, min=[0, 0, 0], max=[1, 1, 0])}
    part = {"attributes": attributes, "indices": data.add(SQUARE, "u2"), **part}
    content = document([{"name": "square", "mesh": 0}], meshes=[{"primitives": [part]}], **data.members(uri))
    return content, data


def first_part(scene):
    return scene.geometry.mesh(0, "the test").primitives[0]


LAYOUTS = {name: (1, width) for width, name in TYPES.items()} | {f"MAT{n}": (n, n) for n in (2, 3, 4)}


def component_values(kind):
    if kind == "f4":
        return st.floats(width=32, allow_nan=False)
    return st.integers(int(np.iinfo(kind).min), int(np.iinfo(kind).max))


def pack(kind, type, row):
    """One element as the format lays it out: each column of a matrix begins at a multiple of four."""
    columns = [column.tobytes() for column in np.array(row, "<" + kind).reshape(LAYOUTS[type])]
    return b"".join(raw + bytes(-len(raw) % 4 if len(columns) > 1 else 0) for raw in columns)


@given(st.data())
def test_accessors_decode_to_what_was_packed(tmp_path_factory, data):
    kind, type = data.draw(st.sampled_from(list(COMPONENTS))), data.draw(st.sampled_from(list(LAYOUTS)))
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
        view = packed.view(b"\xff" + np.array(list(replaced), "<" + index_kind).tobytes())
        indices = {"bufferView": view, "byteOffset": 1, "componentType": COMPONENTS[index_kind]}
        values = {"bufferView": packed.view(b"".join(pack(kind, type, row) for row in replaced.values()))}
        record["sparse"] = {"count": len(replaced), "indices": indices, "values": values}
        expected = [replaced.get(index, row) for index, row in enumerate(expected)]
    normalized = kind not in ("u4", "f4") and data.draw(st.booleans(), "normalized")
    expected = np.array(expected, "<" + kind)
    if normalized:
        record["normalized"] = True
        expected = np.maximum(expected.astype(np.float64) / np.iinfo(expected.dtype).max, -1)
    packed.accessors.append(record)
    scene = opened(tmp_path_factory.getbasetemp(), document([], **packed.members()))
    values = scene.geometry.accessors.read(0, "the test")
    assert values.dtype == (np.float32 if normalized else expected.dtype)
    np.testing.assert_allclose(values, expected, rtol=1e-6)


def test_broken_data_are_told_with_their_place(tmp_path):
    for place, value, reason in (
        ("meshes/0/primitives/0/attributes/POSITION", -1, "is -1"),
        ("meshes/0/primitives/0/attributes/NORMAL", 1, "accessor 1 has 6 values for NORMAL"),
        ("meshes/0/primitives/0/mode", 7, "mode 7"),
        ("meshes/0/primitives/0/extensions", {"KHR_draco_mesh_compression": {}}, "compressed"),
        ("accessors/0/count", 3, "draws vertex 3; there are 3"),
        ("accessors/0/count", 10**400, "beyond all reason"),
        ("accessors/0", {"componentType": 5126, "type": "VEC3", "count": 2**40}, "no data"),
        ("bufferViews/0/byteLength", 9_999, "which has 60"),
        ("bufferViews/0/byteStride", 8, "stride is 8"),
        ("buffers/0/byteLength", 100, "has 60 bytes where 100"),
        ("buffers/0/uri", "data:;base64,äöü=", "cannot be decoded"),
        ("buffers/0/uri", "https://localhost/x.bin", "only files beside"),
    ):
        scene = opened(tmp_path, put(square()[0], place, value))
        with pytest.raises(GltfError, match=reason) as caught:
            part = first_part(scene)
            part.triangles()
            part.positions()
            part.attribute("NORMAL")
        assert caught.value.path == scene.get_current_file()


def test_buffers_are_read_from_wherever_they_are(tmp_path, monkeypatch):
    content, data = square()
    (tmp_path / "two parts").mkdir()
    (tmp_path / "two parts" / "mé.bin").write_bytes(data.bytes + b"more")
    escaped = "data:," + "".join(f"%{byte:02x}" for byte in data.bytes)
    for uri in (content["buffers"][0]["uri"], escaped, "two%20parts/m%C3%A9.bin", "two parts/mé.bin"):
        monkeypatch.chdir(tmp_path)
        write(tmp_path / "scene.gltf", square(uri)[0])
        scene = GltfScene("scene.gltf")
        monkeypatch.chdir("/")
        assert first_part(scene).positions().tolist() == CORNERS
    scene = opened(tmp_path, glb(put(content, "buffers/0/uri"), (BIN, data.bytes)))
    assert first_part(scene).positions().tolist() == CORNERS


def test_triangles_of_every_mode_and_as_lists(tmp_path):
    for mode, order, triangles in (
        (None, [0, 1, 2, 2, 1, 3, 0], [[0, 1, 2], [2, 1, 3]]),
        (4, None, [[0, 1, 2]]),
        (5, [0, 1, 2, 2, 3], [[0, 1, 2], [1, 2, 2], [2, 2, 3]]),
        (6, [3, 0, 1, 1, 2], [[0, 1, 3], [1, 1, 3], [1, 2, 3]]),
        (6, [0], []),
        (3, [0, 1, 2], []),
    ):
        data = Data()
        part = {"attributes": {"POSITION": data.add(CORNERS)}}
        part |= {} if mode is None else {"mode": mode}
        part |= {} if order is None else {"indices": data.add(order, "u1")}
        mesh = model(tmp_path, part, data=data)
        (part,) = mesh.primitives
        assert part.triangles().tolist() == triangles, (mode, order)
        assert mesh.triangle_count() == len(triangles)
        solid = [row for row in triangles if len(set(row)) == 3]
        part.list_triangles()
        assert part.triangles().tolist() == solid and part.is_list == (mode in (None, 4) or len(solid) > 0)


UP = np.array([[0.0, 0.0, 1.0]] * 4)


def change(scene):
    """Leaves the first triangle, and gives normals."""
    part = first_part(scene)
    part.set_triangles(part.triangles()[:1])
    part.set_normals(UP)
    assert_changed(scene)


def assert_changed(scene):
    part = first_part(scene)
    assert part.triangles().tolist() == [[0, 1, 2]]
    assert part.attribute("NORMAL").tolist() == UP.tolist()


@pytest.mark.parametrize("kind", ["gltf", "glb", "bin beside"])
def test_new_data_are_saved_and_open_elsewhere(tmp_path, kind):
    content, data = square(uri="square.bin" if kind == "bin beside" else None)
    (tmp_path / "square.bin").write_bytes(data.bytes)
    path = tmp_path / ("scene.glb" if kind == "glb" else "scene.gltf")
    if kind == "glb":
        # The chunk is longer than its buffer tells, as it may be.
        content = put(content, "buffers/0", {"byteLength": 60})
        content = glb(content, (BIN, data.bytes + bytes(4)), (7, b"kept"))
    scene = GltfScene(write(path, content))
    change(scene)
    for _ in range(2):
        scene.save()
        again = GltfScene(str(path))
        for saved in (scene, again):
            assert_changed(saved)
            assert first_part(saved).positions().tolist() == CORNERS
        (read,) = trimesh.load_scene(path, process=False).geometry.values()
        assert (read.faces.tolist(), read.vertices.tolist()) == ([[0, 1, 2]], CORNERS)
        first_part(scene).set_normals(UP)
    scene.save()
    saved = path.read_bytes()
    scene.save()
    assert path.read_bytes() == saved and saved.endswith(b"kept" if kind == "glb" else b"")
    assert (tmp_path / "square.bin").read_bytes() == data.bytes


def test_a_glb_without_a_chunk_gets_one_and_one_with_a_uri_keeps_it(tmp_path):
    bare = put(square()[0], "accessors", [{"componentType": 5126, "type": "VEC3", "count": 4}])
    del bare["meshes"][0]["primitives"][0]["indices"], bare["buffers"], bare["bufferViews"]
    for content, lengths in ((glb(bare), [56]), (glb(square()[0], (BIN, b"none")), [60, 56])):
        scene = opened(tmp_path, content)
        change(scene)
        scene.save()
        again = GltfScene(scene.get_current_file())
        assert_changed(again)
        assert [buffer["byteLength"] for buffer in again.geometry.members.document["buffers"]] == lengths


def test_appended_data_do_not_mend_a_view_that_ends_too_late(tmp_path):
    content, data = square()
    content["bufferViews"].append({"buffer": 0, "byteOffset": 40, "byteLength": 40})
    scene = opened(tmp_path, glb(put(content, "buffers/0/uri"), (BIN, data.bytes)))
    part = first_part(scene)
    with pytest.raises(GltfError, match="buffer view 2"):
        part.set_triangles(part.triangles()[:1])
    scene.save()
    assert len(first_part(GltfScene(scene.get_current_file())).triangles()) == 2


def test_vertices_beyond_the_short_numbers_keep_theirs(tmp_path):
    data = Data()
    place = data.add(np.zeros((70_000, 3)))
    (part,) = model(tmp_path, {"attributes": {"POSITION": place}}, data=data).primitives
    part.set_triangles(np.array([[0, 1, 69_999]]))
    assert part.triangles().tolist() == [[0, 1, 69_999]]


def test_bounds_are_told_as_they_are_stored(tmp_path):
    data = Data()
    place = data.add([[-128, 0, 3], [1, 2, 2]], "i1", normalized=True)
    (part,) = model(tmp_path, {"attributes": {"POSITION": place}}, data=data).primitives
    part.set_bounds()
    record = part.position_accessor()
    assert (record["min"], record["max"]) == ([-128, 0, 2], [1, 2, 3])
    assert part.positions().min() == -1


def test_a_mesh_is_decoded_once_until_the_document_changes(tmp_path):
    scene = opened(tmp_path, square()[0])
    kept = first_part(scene).areas()
    assert first_part(scene).areas() is kept
    scene.open(write(tmp_path / "other.gltf", square(mode=0)[0]))
    assert len(first_part(scene).areas()) == 0


def test_neither_what_is_current_nor_an_ended_scope_keeps_a_scene_alive(tmp_path):
    scene = opened(tmp_path, square()[0])
    with GltfScene.selection_manager() as scope:
        assert current_scene() is scene
    del scene
    gc.collect()
    assert (current_scene(), scope._kept) == (None, [])
