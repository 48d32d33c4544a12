"""Exports of the host for glTF files: what they hold, where it stands, what the flags do, and failures."""

import base64
import json
import os
from collections import Counter
from pathlib import Path

import numpy as np
import pytest
import trimesh
from gltf_files import Data, document, glb, write
from hosts import logged
from hypothesis import given, settings
from hypothesis import strategies as st
from pygltflib import GLTF2

from heron.hosts.gltf import GltfError, GltfScene
from heron.hosts.gltf_export import exporters

PNG = b"\x89PNG\r\n\x1a\n" + bytes(range(24))
JPEG = b"\xff\xd8\xff\xe0" + bytes(range(12))
TRIANGLE = [[0, 0, 0], [1, 0, 0], [0, 1, 0]]
TURN = [0, 0, 0.6, 0.8]


def data_uri(raw, kind="application/octet-stream"):
    return f"data:{kind};base64," + base64.b64encode(raw).decode()


def street():
    """Two hierarchies that share much, each with things of its own, and one that nobody asks for.

    All places lie in one buffer view, as many exporters write them; those of the pole are interleaved with
    their normals, and those of the body are sparse.
    """
    data = Data()
    view = data.view(np.array([*TRIANGLE, *TRIANGLE, [9, 9, 9]], "<f4").tobytes())
    body, sign = (
        {"bufferView": view, "byteOffset": start, "componentType": 5126, "count": 3, "type": "VEC3"}
        for start in (0, 36)
    )
    places = data.view(np.array([2], "<u2").tobytes())
    values = data.view(np.array([[0, 2, 0]], "<f4").tobytes())
    body["sparse"] = {
        "count": 1,
        "indices": {"bufferView": places, "componentType": 5123},
        "values": {"bufferView": values},
    }
    rows = np.hstack([TRIANGLE, [[0, 0, 1]] * 3]).astype("<f4")
    mixed = data.view(rows.tobytes(), byteStride=24)
    pole, normals = (
        {"bufferView": mixed, "byteOffset": start, "componentType": 5126, "count": 3, "type": "VEC3"}
        for start in (0, 12)
    )
    data.accessors = [body, sign, pole, normals]
    order = data.add([0, 1, 2], "u1")
    bind = {"bufferView": data.view(np.stack([np.eye(4)] * 2).astype("<f4").tobytes())}
    data.accessors.append({**bind, "componentType": 5126, "count": 2, "type": "MAT4"})
    joints = data.add([[0, 1, 0, 0]] * 3, "u1")
    weights = data.add([[0.5, 0.5, 0, 0]] * 3)
    times = data.add([0, 1], min=[0], max=[1])
    moves = data.add([[0, 0, 0], [0, 0, 3]])
    turns = data.add([[0, 0, 0, 1], TURN])
    image = data.view(JPEG)
    body_part = {"attributes": {"POSITION": 0, "JOINTS_0": joints, "WEIGHTS_0": weights}, "material": 1}
    members = data.members("street.bin")
    nodes = [
        {"name": "unused", "mesh": 1},
        {"name": "world", "translation": [10, 0, 0], "children": [2, 7, 0, 6]},
        {"name": "car", "rotation": TURN, "scale": [2, 2, 2], "children": [3, 4], "extras": {"id": 7}},
        {"name": "body", "mesh": 0, "skin": 0},
        {"name": "hips", "children": [5]},
        {"name": "spine", "translation": [0, 1, 0]},
        {"name": "rig"},
        {"name": "post", "children": [8, 9, 10]},
        {"name": "pole", "mesh": 2},
        {"name": "lamp", "extensions": {"KHR_lights_punctual": {"light": 1}}},
        {"name": "eye", "camera": 1},
    ]
    scene = document(
        nodes,
        **members,
        meshes=[
            {"primitives": [body_part]},
            {"primitives": [{"attributes": {"POSITION": 1}, "material": 0}]},
            {"primitives": [{"attributes": {"POSITION": 2, "NORMAL": 3}, "indices": order, "material": 2}]},
        ],
        materials=[
            {"name": "dull"},
            {"name": "paint", "pbrMetallicRoughness": {"baseColorTexture": {"index": 2}}},
            {
                "name": "metal",
                "normalTexture": {"index": 1},
                "extensions": {"KHR_materials_clearcoat": {"clearcoatTexture": {"index": 3, "texCoord": 0}}},
            },
        ],
        textures=[{"source": 0}, {"source": 1, "sampler": 1}, {"source": 3}, {"source": 2}],
        images=[
            {"uri": "gone.png"},
            {"uri": "maps/wood%20grain.png"},
            {"uri": data_uri(PNG, "image/png"), "name": "flat"},
            {"bufferView": image, "mimeType": "image/jpeg", "name": "photo: 1/2"},
        ],
        samplers=[{"name": "other"}, {"wrapS": 33071}],
        skins=[{"joints": [4, 5], "inverseBindMatrices": 5, "skeleton": 1}],
        cameras=[{"type": "x"}, {"type": "perspective", "perspective": {"yfov": 1, "znear": 0.1}}],
        animations=[
            {
                "channels": [{"sampler": 0, "target": {"node": 6, "path": "translation"}}],
                "samplers": [{"input": times, "output": moves}],
            },
            {
                "name": "wave",
                "channels": [
                    {"sampler": 1, "target": {"node": 5, "path": "rotation"}},
                    {"sampler": 0, "target": {"node": 6, "path": "translation"}},
                ],
                "samplers": [{"input": times, "output": moves}, {"input": times, "output": turns}],
            },
        ],
        extensions={"KHR_lights_punctual": {"lights": [{"type": "spot"}, {"type": "point", "name": "bulb"}]}},
        extensionsUsed=["KHR_lights_punctual", "KHR_materials_clearcoat", "EXT_other"],
        extras={"studio": "X", "heron": [{"name": "car"}]},
    )
    return scene, data.bytes


@pytest.fixture(params=["gltf", "glb"])
def scene(request, tmp_path):
    (tmp_path / "scene" / "maps").mkdir(parents=True)
    (tmp_path / "out").mkdir()
    (tmp_path / "scene" / "maps" / "wood grain.png").write_bytes(PNG[::-1])
    content, raw = street()
    if request.param == "glb":
        content["buffers"][0].pop("uri")
        content = glb(content, (0x004E4942, raw + bytes(-len(raw) % 4)))
    else:
        (tmp_path / "scene" / "street.bin").write_bytes(raw)
    return GltfScene(write(tmp_path / "scene" / f"street.{request.param}", content))


def small(tmp_path, nodes, data=None, name="scene.gltf", **members):
    """A scene of its own with a triangle as its first mesh."""
    data = data or Data()
    place = data.add(TRIANGLE)
    members.setdefault("meshes", [{"primitives": [{"attributes": {"POSITION": place}}]}])
    return GltfScene(write(tmp_path / name, document(nodes, **data.members(), **members)))


def export(scene, target, *roots, args=None, **flags):
    """Exports, and opens what was written, whose data must lie as graphics cards need them."""
    scene.export(list(roots), str(target), Path(target).suffix[1:], args or {}, **flags)
    new = GltfScene(str(target))
    content = written(new)
    views, users = content.get("bufferViews", ()), Counter()
    assert all(view["byteOffset"] % 4 == 0 for view in views)
    attributes = {
        index
        for mesh in content.get("meshes", ())
        for part in mesh["primitives"]
        for index in part["attributes"].values()
    }
    for index in attributes:
        accessor = content["accessors"][index]
        view = views[accessor["bufferView"]]
        size = {5121: 1, 5126: 4}[accessor["componentType"]] * int(accessor["type"][3])
        assert accessor.get("byteOffset", 0) % 4 == view.get("byteStride", size) % 4 == 0
        users[accessor["bufferView"]] += "byteStride" not in view
    assert max(users.values(), default=0) <= 1
    return new


def written(scene):
    return scene._open_file().document


def mesh(scene, path):
    return scene.geometry.mesh(scene.node(path)["mesh"], path)


def part(scene, path):
    return mesh(scene, path).primitives[0]


def world(path):
    """The triangles of a file by the name of their object, as another program places them."""
    loaded = trimesh.load_scene(path)
    found = {}
    for node in loaded.graph.nodes_geometry:
        matrix, name = loaded.graph[node]
        found[node] = trimesh.transform_points(loaded.geometry[name].triangles.reshape(-1, 3), matrix)
    return found


def same(left, right):
    return left.keys() == right.keys() and all(np.allclose(left[key], right[key], atol=1e-5) for key in left)


# What is in the file


def test_a_hierarchy_brings_what_it_refers_to_and_nothing_else(scene, tmp_path):
    before = json.dumps(written(scene))
    new = export(scene, tmp_path / "out" / "post.gltf", "/world/post")
    content = written(new)
    assert new.paths() == ["/post", "/post/pole", "/post/lamp", "/post/eye"]
    counts = {key: len(value) for key, value in content.items() if isinstance(value, list)}
    assert counts == {
        "scenes": 1, "nodes": 4, "meshes": 1, "materials": 1, "textures": 2, "images": 2, "samplers": 1,
        "cameras": 1, "accessors": 3, "bufferViews": 2, "buffers": 1, "extensionsUsed": 2,
    }  # fmt: skip
    assert content["extensions"] == {"KHR_lights_punctual": {"lights": [{"type": "point", "name": "bulb"}]}}
    assert content["extensionsUsed"] == ["KHR_lights_punctual", "KHR_materials_clearcoat"]
    assert content["cameras"][0]["type"] == "perspective"
    assert content["textures"] == [{"source": 0, "sampler": 0}, {"source": 1}]
    assert content["extras"] == {"studio": "X"}
    # The interleaved places and normals stay together, and only they and the indices are there.
    assert (tmp_path / "out" / "post.bin").stat().st_size == 72 + 4
    assert part(new, "/post/pole").attribute("NORMAL").tolist() == [[0, 0, 1]] * 3
    assert part(new, "/post/pole").indices().tolist() == [0, 1, 2]
    assert sorted(os.listdir(tmp_path / "out")) == ["flat.png", "maps", "post.bin", "post.gltf"]
    assert (tmp_path / "out" / "maps" / "wood grain.png").read_bytes() == PNG[::-1]
    assert (tmp_path / "out" / "flat.png").read_bytes() == PNG
    # Nothing happened to the scene.
    assert json.dumps(written(scene)) == before


@pytest.mark.parametrize("kind", ["glb", "gltf"])
def test_skins_animations_and_sparse_data_come_along(scene, tmp_path, kind):
    new = export(scene, tmp_path / "out" / f"car.{kind}", "/world/car")
    content = written(new)
    assert new.paths() == ["/car", "/car/body", "/car/hips", "/car/hips/spine"]
    assert part(new, "/car/body").positions().tolist() == [[0, 0, 0], [1, 0, 0], [0, 2, 0]]
    (skin,) = content["skins"]
    assert [content["nodes"][joint]["name"] for joint in skin["joints"]] == ["hips", "spine"]
    assert "skeleton" not in skin
    matrices = new.geometry.accessors.read(skin["inverseBindMatrices"], "skin", "MAT4")
    assert np.array_equal(matrices, np.stack([np.eye(4)] * 2).reshape(2, 16))
    (animation,) = content["animations"]
    (channel,) = animation["channels"]
    assert content["nodes"][channel["target"]["node"]]["name"] == "spine"
    (sampler,) = animation["samplers"]
    turns = new.geometry.accessors.read(sampler["output"], "animation")
    assert np.allclose(turns, [[0, 0, 0, 1], TURN])
    assert content["nodes"][0]["extras"] == {"id": 7}
    reader = GLTF2().load(new.get_current_file())
    assert reader.buffers[0].byteLength == sum(
        view.byteLength + -view.byteLength % 4 for view in reader.bufferViews
    )


def test_joints_elsewhere_come_bare_at_their_place(scene, tmp_path):
    scene.node("/world/car/hips/spine")["mesh"] = 1
    new = export(scene, tmp_path / "out" / "body.gltf", "/world/car/body")
    assert new.paths() == ["/body", "/hips", "/hips/spine"]
    assert "mesh" not in new.node("/hips/spine")
    assert len(written(new)["meshes"]) == 1
    assert new.node("/hips")["translation"] == [10, 0, 0]
    assert np.allclose(new.node("/hips")["scale"], 2)
    # An object below a joint stays below it.
    scene.node("/world/car/hips/spine")["skin"] = 0
    new = export(scene, tmp_path / "out" / "spine.gltf", "/world/car/hips/spine")
    assert new.paths() == ["/hips", "/hips/spine"]


def test_each_object_is_written_once_and_shared_data_stay_shared(tmp_path):
    nodes = [{"name": "a", "children": [1, 2]}, {"name": "b", "mesh": 0}, {"name": "c", "mesh": 0}]
    scene = small(tmp_path, nodes)
    new = export(scene, tmp_path / "new.glb", "/a/c", "/a", "/a/c")
    assert new.paths() == ["/a", "/a/b", "/a/c"]
    assert new.node("/a/b")["mesh"] == new.node("/a/c")["mesh"] == 0
    apart = export(scene, tmp_path / "apart.glb", "/a/c", "/a/b")
    assert apart.roots() == ["/c", "/b"]
    assert len(written(apart)["accessors"]) == 1


def test_levels_of_detail_come_along_outside_the_scene(tmp_path):
    nodes = [
        {"name": "up", "translation": [0, 5, 0], "children": [1]},
        {"name": "near", "mesh": 0, "extensions": {"MSFT_lod": {"ids": [2]}}},
        {"name": "far", "mesh": 0},
    ]
    scene = small(tmp_path, nodes, scenes=[{"nodes": [0]}], extensionsUsed=["MSFT_lod"])
    new = export(scene, tmp_path / "new.glb", "/up/near")
    assert new.paths() == ["/near"]
    assert [node["name"] for node in written(new)["nodes"]] == ["near", "far"]
    assert new.node("/near")["extensions"] == {"MSFT_lod": {"ids": [1]}}
    # It stands in for the object, and so is where that is.
    assert written(new)["nodes"][1]["translation"] == [0, 5, 0]


@st.composite
def forests(draw):
    """Nodes, each with the number of its parent or None, and the meshes that they show."""
    count = draw(st.integers(1, 9))
    parents = [draw(st.none() | st.integers(0, index - 1)) if index else None for index in range(count)]
    meshes = [draw(st.none() | st.integers(0, 3)) for _ in range(count)]
    return parents, meshes, draw(st.randoms(use_true_random=False))


@settings(max_examples=60)
@given(forest=forests())
def test_any_choice_of_hierarchies_stays_as_it_is(tmp_path_factory, forest):
    parents, meshes, chance = forest
    nodes = [
        {"name": f"n{index}", "translation": [chance.randint(-3, 3), 0, 1]} for index in range(len(parents))
    ]
    for index, (parent, shown) in enumerate(zip(parents, meshes)):
        nodes[index] |= {} if shown is None else {"mesh": shown}
        if parent is not None:
            nodes[parent].setdefault("children", []).append(index)
    data = Data()
    data.add([[number, side, 0] for number in range(4) for side in TRIANGLE[1]])
    shared = data.accessors.pop()["bufferView"]
    data.accessors = [
        {"bufferView": shared, "byteOffset": 36 * number, "componentType": 5126, "count": 3, "type": "VEC3"}
        for number in range(4)
    ]
    parts = [{"primitives": [{"attributes": {"POSITION": number}}]} for number in range(4)]
    directory = tmp_path_factory.mktemp("forest")
    scene = GltfScene(write(directory / "scene.gltf", document(nodes, **data.members(), meshes=parts)))
    roots = chance.sample(scene.paths(), chance.randint(1, len(nodes)))
    new = export(scene, directory / "new.glb", *roots)
    names = {
        path.rpartition("/")[2]: path
        for path in scene.paths()
        if any((path + "/").startswith(f"{root}/") for root in roots)
    }
    assert {path.rpartition("/")[2] for path in new.paths()} == names.keys()
    for path in new.paths():
        name = path.rpartition("/")[2]
        assert names[name].endswith(path)
        old, copy = scene.node(names[name]), new.node(path)
        assert ("mesh" in old) == ("mesh" in copy)
        if "mesh" in old:
            assert np.array_equal(part(scene, names[name]).positions(), part(new, path).positions())
    shown = {scene.node(path)["mesh"] for path in names.values() if "mesh" in scene.node(path)}
    assert len(written(new).get("accessors", ())) == len(shown)
    if shown:
        everything = world(scene.get_current_file())
        assert same(
            world(new.get_current_file()), {name: everything[name] for name in names if name in everything}
        )


# Options


def test_the_options_on_offer_and_their_values(scene, tmp_path):
    binary, text = exporters()
    assert (binary.attr, text.attr) == ("glb", "gltf")
    text.load({"layout": "embedded", "embed_images": True, "keep_extras": False, "up_axis": "z", "newer": 1})
    assert text.data == {"layout": "embedded", "embed_images": True, "keep_extras": False, "up_axis": "z"}
    target = tmp_path / "out" / "all.gltf"
    new = export(scene, target, "/world", args={**text.data, "newer": 1})
    assert os.listdir(tmp_path / "out") == ["all.gltf"]
    images = written(new)["images"]
    assert [image["mimeType"] for image in images] == ["image/png", "image/png", "image/jpeg"]
    stored = [bytes(new.geometry.buffers.view(image["bufferView"], "it").data) for image in images]
    assert stored == [PNG[::-1], PNG, JPEG]
    assert '"extras"' not in target.read_text()
    high = world(str(target))["pole"][:, 2]
    assert np.allclose(high, world(scene.get_current_file())["pole"][:, 1])


def test_images_beside_the_file_take_nobodys_name(scene, tmp_path):
    out = tmp_path / "out"
    (out / "flat.png").write_bytes(b"mine")
    (out / "maps").mkdir()
    (out / "maps" / "wood grain.png").write_bytes(PNG[::-1])
    new = export(scene, out / "post.glb", "/world", args={"embed_images": False})
    uris = [image["uri"] for image in written(new)["images"]]
    assert uris == ["maps/wood%20grain.png", "flat.001.png", "photo_ 1_2.jpg".replace(" ", "%20")]
    assert (out / "flat.png").read_bytes() == b"mine"
    before = sorted(os.walk(out))
    export(scene, out / "post.glb", "/world", args={"embed_images": False})
    assert sorted(os.walk(out)) == before


def test_an_image_in_the_net_stays_there_or_is_refused(tmp_path):
    image = {"uri": "https://example.org/a.png"}
    members = {"images": [image], "textures": [{"source": 0}]}
    part = {"attributes": {}, "material": 0}
    scene = small(
        tmp_path, [{"name": "a", "mesh": 0}], **members,
        meshes=[{"primitives": [part]}], materials=[{"normalTexture": {"index": 0}}],
    )  # fmt: skip
    assert written(export(scene, tmp_path / "new.gltf", "/a"))["images"] == [image]
    with pytest.raises(GltfError, match="only files beside the scene"):
        export(scene, tmp_path / "new.glb", "/a")


@pytest.mark.parametrize(
    ("path", "type", "args", "reason"),
    [
        ("a.fbx", "fbx", {}, 'cannot be exported as "fbx"'),
        ("a.glb", "gltf", {}, "not the extension"),
        ("a.glb", "glb", [], "no map"),
        ("a.glb", "glb", {"up_axis": "x"}, '"up_axis" cannot be'),
        ("a.glb", "glb", {"embed_images": 1}, '"embed_images" cannot be'),
    ],
)
def test_arguments_that_do_not_serve(scene, tmp_path, path, type, args, reason):
    with pytest.raises(GltfError, match=reason):
        scene.export(["/world"], str(tmp_path / "out" / path), type, args)
    assert os.listdir(tmp_path / "out") == []


def test_the_name_of_the_file_gets_an_extension(scene, tmp_path):
    scene.export(["/world/post"], str(tmp_path / "out" / "post.v01"), "GLB", {})
    scene.export(["/world/post"], str(tmp_path / "out" / "post.v02.GLB"), "glb", None)
    assert sorted(os.listdir(tmp_path / "out")) == ["post.v01.glb", "post.v02.GLB"]


# Places


def test_objects_keep_their_place_in_the_world(scene, tmp_path):
    everything = world(scene.get_current_file())
    new = export(scene, tmp_path / "out" / "new.glb", "/world/car/body", "/world/post/pole")
    found = world(new.get_current_file())
    assert same(
        {"pole": found["pole"], "body": found["body"]},
        {"pole": everything["pole"], "body": everything["body"]},
    )


def test_a_mirror_image_stays_one(tmp_path):
    mirror = {"name": "up", "scale": [-2, 2, 2], "rotation": [1, 0, 0, 0], "children": [1]}
    scene = small(tmp_path, [mirror, {"name": "top", "mesh": 0, "rotation": TURN, "translation": [1, 2, 3]}])
    new = export(scene, tmp_path / "new.glb", "/up/top")
    assert same(world(new.get_current_file()), world(scene.get_current_file()))


def moving(tmp_path, interpolation, above):
    data = Data()
    rows = [[1, 0, 0], [1, 2, 3], [0, 1, 0]] * 2 if interpolation == "CUBICSPLINE" else [[1, 2, 3], [4, 5, 6]]
    times = data.add([0, 1])
    moves, turns = data.add(rows), data.add([[0, 0, 0, 1], TURN])
    sizes = data.add([[1, 2, 3], [1, 1, 1]])
    channels = [
        {"sampler": n, "target": {"node": 1, "path": p}}
        for n, p in enumerate(("translation", "rotation", "scale"))
    ]
    samplers = [
        {"input": times, "output": moves, "interpolation": interpolation},
        {"input": times, "output": turns},
        {"input": times, "output": sizes},
    ]
    nodes = [{"name": "up", "children": [1], **above}, {"name": "top", "mesh": 0}]
    return small(tmp_path, nodes, data, animations=[{"channels": channels, "samplers": samplers}])


@pytest.mark.parametrize("interpolation", ["LINEAR", "CUBICSPLINE"])
def test_an_animated_top_moves_as_it_did(tmp_path, interpolation):
    scene = moving(
        tmp_path, interpolation, {"rotation": [0, 0, 1, 0], "scale": [2, 2, 2], "translation": [1, 0, 0]}
    )
    new = export(scene, tmp_path / "new.glb", "/up/top")
    samplers = written(new)["animations"][0]["samplers"]
    moves, turns, sizes = (new.geometry.accessors.read(sampler["output"], "it") for sampler in samplers)
    if interpolation == "LINEAR":
        assert np.allclose(moves, [[-1, -4, 6], [-7, -10, 12]])
    else:
        assert np.allclose(moves, [[-2, 0, 0], [-1, -4, 6], [0, -2, 0]] * 2)
    assert np.allclose(turns, [[0, 0, 1, 0], [0, 0, 0.8, -0.6]])
    assert np.allclose(sizes, [[2, 4, 6], [2, 2, 2]])
    assert len(written(new)["accessors"]) == 5


def test_places_that_no_node_can_tell(tmp_path):
    stretched = {"scale": [1, 3, 1]}
    with pytest.raises(GltfError, match="/up/top is animated below objects that stretch it"):
        export(moving(tmp_path, "LINEAR", stretched), tmp_path / "new.glb", "/up/top")
    nodes = [{"name": "up", "children": [1], **stretched}, {"name": "top", "mesh": 0, "rotation": TURN}]
    scene = small(tmp_path, nodes)
    with pytest.raises(GltfError, match="/up/top is sheared"):
        export(scene, tmp_path / "new.glb", "/up/top")
    assert not (tmp_path / "new.glb").exists()
    # A mesh can be sheared, and the upright axis be turned, all in one.
    new = export(scene, tmp_path / "new.glb", "/up/top", args={"up_axis": "z"}, reset_xforms=True)
    places = world(scene.get_current_file())["top"][:, [0, 2, 1]] * [1, -1, 1]
    assert np.allclose(part(new, "/top").positions(), places, atol=1e-6)


# Flags


def test_transforms_are_applied_to_meshes(tmp_path):
    data = Data()
    normals = data.add([[0, 0.6, 0.8]] * 3)
    tangents = data.add([[1, 0, 0, 1]] * 3)
    offsets = data.add([[0, 0, 1]] * 3)
    strip = data.add([0, 1, 2, 1], "u1")
    attributes = {"POSITION": 4, "NORMAL": normals, "TANGENT": tangents}
    target = {"POSITION": offsets, "NORMAL": offsets}
    primitive = {"attributes": attributes, "indices": strip, "mode": 5, "targets": [target]}
    nodes = [
        {"name": "group", "rotation": TURN, "scale": [-1, 2, 1], "children": [1, 2]},
        {"name": "shown", "mesh": 0, "translation": [0, 0, 4]},
        {"name": "spot", "translation": [1, 1, 1]},
    ]
    meshes = [{"primitives": [primitive]}]
    scene = small(tmp_path, nodes, data, meshes=meshes)
    new = export(scene, tmp_path / "new.gltf", "/group", reset_xforms=True)
    assert all(
        "rotation" not in new.node(path) and "matrix" not in new.node(path)
        for path in ("/group", "/group/shown")
    )
    before, after = world(scene.get_current_file())["shown"], world(new.get_current_file())["shown"]
    assert np.allclose(sorted(before.tolist()), sorted(after.tolist()), atol=1e-6)
    old, changed = part(scene, "/group/shown"), part(new, "/group/shown")
    turned = np.array([[0.28, -0.96, 0], [0.96, 0.28, 0], [0, 0, 1]]) * [-1, 2, 1]
    upright = np.linalg.inv(turned).T @ [0, 0.6, 0.8]
    factor = 1 / np.linalg.norm(upright)
    assert np.allclose(changed.attribute("NORMAL"), upright * factor)
    assert np.allclose(changed.attribute("TANGENT"), [-0.28, -0.96, 0, -1])
    assert np.allclose(changed.target_values(changed.targets()[0], "POSITION"), [0, 0, 1])
    assert np.allclose(changed.target_values(changed.targets()[0], "NORMAL"), [0, 0, factor])
    # A mirror image shows its front where the original does.
    assert changed.triangles().tolist() == old.triangles()[:, [0, 2, 1]].tolist()
    assert new.node("/group/spot")["translation"] == pytest.approx((turned @ [1, 1, 1]).tolist())
    accessor = changed.position_accessor()
    assert [accessor["min"], accessor["max"]] == changed.bounds().tolist()


def test_transforms_that_cannot_be_applied_are_told_with_their_object(scene, tmp_path):
    target = tmp_path / "out" / "new.glb"

    def reason(*roots):
        with pytest.raises(GltfError) as caught:
            export(scene, target, *roots, reset_xforms=True)
        return caught.value.reason

    assert reason("/world/car").startswith("/world/car/body is bound to a skin")
    assert reason("/world/car/hips").startswith("/world/car/hips/spine is animated")
    scene.node("/world/unused")["mesh"] = 2
    assert reason("/world/unused", "/world/post").startswith(
        "/world/unused has a mesh in common with /world/post/pole"
    )
    scene.node("/world/unused")["extensions"] = {
        "EXT_mesh_gpu_instancing": {"attributes": {"TRANSLATION": 0}}
    }
    assert reason("/world/unused").startswith("/world/unused is instanced")
    assert os.listdir(tmp_path / "out") == []


@pytest.mark.parametrize("mode", [5, 6])
def test_strips_and_fans_become_lists(tmp_path, mode):
    data = Data()
    square = data.add([[0, 0, 0], [1, 0, 0], [0, 1, 0], [1, 1, 0]])
    order = data.add([0, 1, 2, 2, 3], "u1")
    parts = [
        {"attributes": {"POSITION": square}, "indices": order, "mode": mode},
        {"attributes": {"POSITION": square}, "mode": 1},
    ]
    scene = small(tmp_path, [{"name": "a", "mesh": 0}], data, meshes=[{"primitives": parts}])
    new = export(scene, tmp_path / "new.glb", "/a", triangulate=True)
    shape, lines = mesh(new, "/a").primitives
    assert (shape.mode, lines.mode) == (4, 1)
    corners = part(scene, "/a").triangles()
    assert shape.triangles().tolist() == [row for row in corners.tolist() if len(set(row)) == 3]
    # The old indices are gone, and the scene is as it was.
    assert len(written(new)["accessors"]) == 2
    assert part(scene, "/a").mode == mode


def test_a_box_gets_texture_coordinates(tmp_path):
    box = trimesh.creation.box((2, 1, 1))
    data = Data()
    colors = data.add([[10, 20, 30, 40]] * 8, "u1", normalized=True)
    numbers = data.add([[7, 8, 9]] * 8, "u1")
    attributes = {"POSITION": data.add(box.vertices), "COLOR_0": colors, "_NUMBERS": numbers}
    order = data.add(box.faces.ravel(), "u2")
    mapped = {"POSITION": attributes["POSITION"], "TEXCOORD_1": data.add([[0, 0]] * 8)}
    morph = [{"POSITION": attributes["POSITION"]}]
    parts = [
        {"attributes": attributes, "indices": order, "targets": morph},
        {"attributes": mapped, "indices": order},
        {"attributes": {"POSITION": attributes["POSITION"]}, "mode": 0},
    ]
    meshes, quantized = [{"primitives": parts}], ["KHR_mesh_quantization"]
    scene = small(tmp_path, [{"name": "a", "mesh": 0}], data, meshes=meshes, extensionsRequired=quantized)
    new = export(scene, tmp_path / "new.glb", "/a", automatic_uv=True)
    shape, kept, points = mesh(new, "/a").primitives
    assert not kept.has("TEXCOORD_0") and not points.has("TEXCOORD_0")
    triangles, places = shape.triangles(), shape.positions()
    assert np.allclose(places[triangles], box.triangles)
    assert np.allclose(shape.attribute("COLOR_0") * 255, [10, 20, 30, 40])
    assert np.allclose(shape.attribute("_NUMBERS"), [7, 8, 9])
    assert written(new)["extensionsRequired"] == quantized
    assert np.allclose(shape.target_values(shape.targets()[0], "POSITION"), places)
    coordinates = shape.attribute("TEXCOORD_0").astype(float)
    assert coordinates.min() >= 0 and coordinates.max() <= 1
    corners = coordinates[triangles]
    first, second = corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0]
    areas = (first[:, 0] * second[:, 1] - first[:, 1] * second[:, 0]) / 2
    # Equally dense everywhere, and no mirror image anywhere: down is up in a texture.
    assert np.allclose(areas, -box.area_faces / 4)


# Extensions


def test_unknown_extensions(tmp_path):
    named, numbered = {"X_named": {"shader": "toon", "on": True}}, {"X_numbered": {"node": 0}}
    nodes = [{"name": "a", "mesh": 0, "extensions": {**named, **numbered}}, {"name": "b"}]
    scene = small(
        tmp_path,
        nodes,
        extensionsUsed=["X_named", "X_numbered", "X_all"],
        extensionsRequired=["X_named", "X_all"],
    )
    with logged() as messages:
        new = export(scene, tmp_path / "new.gltf", "/a")
    assert new.node("/a")["extensions"] == named
    # One that stands nowhere may tell how all else is to be read.
    assert written(new)["extensionsRequired"] == ["X_named", "X_all"]
    assert written(new)["extensionsUsed"] == ["X_named", "X_all"]
    assert ["without X_numbered" in text for text in messages] == [True]
    written(scene)["extensionsRequired"].append("X_numbered")
    with pytest.raises(GltfError, match="node 0 needs the extension X_numbered"):
        export(scene, tmp_path / "new.gltf", "/a")
    export(scene, tmp_path / "b.gltf", "/b")


# Failures


BREAKS = {
    "missing buffer": (lambda d: d["buffers"][0].update(uri="no.bin"), "missing"),
    "short buffer": (lambda d: d["bufferViews"][0].update(byteLength=10**9), "ends at byte"),
    "huge count": (lambda d: d["accessors"][2].update(count=10**15), "ends at byte"),
    "zeros": (
        lambda d: d["accessors"][2].pop("bufferView") and d["accessors"][2].update(count=10**12),
        "no data",
    ),
    "no accessor": (lambda d: d["meshes"][2]["primitives"][0]["attributes"].update(POSITION=99), "number 99"),
    "no material": (lambda d: d["meshes"][2]["primitives"][0].update(material="x"), "no whole number"),
    "no light": (lambda d: d["nodes"][9]["extensions"].update(KHR_lights_punctual={"light": 5}), "number 5"),
    "no texture": (lambda d: d["materials"][2]["normalTexture"].update(index=-1), "names number -1"),
    "no image": (lambda d: d["images"][1].update(uri="no.png"), "missing"),
    "no joint": (lambda d: d["skins"][0].update(joints=[99]), "number 99"),
    "no sampler": (lambda d: d["animations"][1]["channels"][0].update(sampler=7), "no sampler 7"),
    "odd parts": (lambda d: d["meshes"][2].update(primitives={"a": 1}), "malformed"),
    "no place": (lambda d: d["nodes"][1].update(translation=[1e999, 0, 0]), "no list of 3 numbers"),
    "beyond JSON": (lambda d: d["nodes"][7].update(extras=1e999), "cannot be written"),
}


@pytest.mark.parametrize("name", BREAKS)
def test_a_broken_scene_is_told_and_nothing_is_written(tmp_path, name):
    change, reason = BREAKS[name]
    content, raw = street()
    change(content)
    (tmp_path / "street.bin").write_bytes(raw)
    (tmp_path / "maps").mkdir()
    (tmp_path / "maps" / "wood grain.png").write_bytes(PNG)
    text = json.dumps(content).replace("Infinity", "1e999")
    scene = GltfScene(write(tmp_path / "street.gltf", text.encode()))
    (tmp_path / "out").mkdir()
    with pytest.raises(GltfError, match=reason):
        roots = ["/world/car", "/world/post"] if name == "no place" else ["/world"]
        scene.export(roots, str(tmp_path / "out" / "new.gltf"), "gltf", {})
    assert os.listdir(tmp_path / "out") == []


def places(value, path=()):
    """Every place in a document, as the keys that lead to it."""
    if isinstance(value, (dict, list)):
        for key in value if isinstance(value, dict) else range(len(value)):
            yield (*path, key)
            yield from places(value[key], (*path, key))


ODD = [
    None,
    -1,
    0,
    3,
    99,
    2**53,
    10**20,
    1.5,
    True,
    "x",
    "a%00",
    "data:,",
    "../x",
    [],
    [0],
    [[]],
    {},
    {"index": 0},
]


@settings(max_examples=150)
@given(place=st.sampled_from(list(places(street()[0]))), odd=st.sampled_from(ODD), flags=st.integers(0, 15))
def test_a_scene_with_any_odd_value_is_exported_whole_or_refused(tmp_path_factory, place, odd, flags):
    content, raw = street()
    owner = content = json.loads(json.dumps(content))
    for key in place[:-1]:
        owner = owner[key]
    owner[place[-1]] = odd
    directory = tmp_path_factory.mktemp("odd")
    (directory / "street.bin").write_bytes(raw)
    (directory / "maps").mkdir()
    (directory / "maps" / "wood grain.png").write_bytes(PNG)
    target = str(directory / "new.glb")
    names = ("automatic_uv", "triangulate", "reset_xforms")
    chosen = {name: bool(flags & 2 << place) for place, name in enumerate(names)}
    try:
        scene = GltfScene(write(directory / "scene.gltf", content))
        scene.export(["/world/post"] if flags & 1 else ["/world"], target, "glb", {}, **chosen)
        new = GltfScene(target)
    except GltfError:
        assert not (directory / "new.glb").exists()
    else:
        for index in range(len(written(new).get("accessors", ()))):
            new.geometry.accessors.read(index, "the test")


def test_roots_and_scenes_that_are_not_there(scene, tmp_path):
    for roots, reason in (([], "nothing to export"), (["/nobody"], "no object /nobody")):
        with pytest.raises(GltfError, match=reason):
            scene.export(roots, str(tmp_path / "out" / "new.glb"), "glb", {})
    with pytest.raises(GltfError, match="no open scene"):
        GltfScene().export(["/world"], str(tmp_path / "out" / "new.glb"), "glb", {})


def listing(directory):
    """Every file below with its content."""
    return {str(path): path.read_bytes() for path in sorted(Path(directory).rglob("*")) if path.is_file()}


def test_the_open_scene_is_never_overwritten(scene, tmp_path):
    home = tmp_path / "scene"
    before = listing(home)
    kind = scene.get_current_file().rpartition(".")[2]
    with pytest.raises(GltfError, match="is a file of the open scene"):
        scene.export(["/world"], scene.get_current_file(), kind, {})
    assert listing(home) == before
    # Data of the same name as the scene's get another one, images that are there serve as they are.
    os.chdir(home)
    new = export(scene, home / ("other.gltf" if kind == "glb" else "street.001.gltf"), "/world")
    assert listing(home).items() > before.items()
    assert written(new)["images"][0]["uri"] == "maps/wood%20grain.png"


def test_data_of_somebody_else_keep_their_name(scene, tmp_path):
    out = tmp_path / "out"
    (out / "post.bin").write_bytes(b"foreign")
    new = export(scene, out / "post.gltf", "/world/post")
    assert written(new)["buffers"][0]["uri"] == "post.001.bin"
    assert (out / "post.bin").read_bytes() == b"foreign"
    # What stands beside an older export is its own and goes with it.
    export(scene, out / "car.gltf", "/world/car")
    old = (out / "car.bin").read_bytes()
    new = export(scene, out / "car.gltf", "/world/post")
    assert written(new)["buffers"][0]["uri"] == "car.bin"
    assert (out / "car.bin").read_bytes() != old
    names = [
        "car.bin",
        "car.gltf",
        "flat.png",
        "maps",
        "photo_ 1_2.jpg",
        "post.001.bin",
        "post.bin",
        "post.gltf",
    ]
    assert sorted(os.listdir(out)) == names
    # Even beside an older export, data of the open scene are none of it.
    (out / "car.gltf").rename(out / "other.gltf")
    tied = GltfScene(str(out / "other.gltf"))
    write(out / "car.gltf", {})
    new = export(tied, out / "car.gltf", "/post", automatic_uv=True)
    assert written(new)["buffers"][0]["uri"] == "car.001.bin"


@pytest.mark.parametrize("failure", [OSError(28, "No space left on device"), KeyboardInterrupt()])
@pytest.mark.parametrize("step", range(9))
def test_a_failure_at_any_step_leaves_all_files_as_they_were(scene, tmp_path, monkeypatch, step, failure):
    out = tmp_path / "out"
    export(scene, out / "post.gltf", "/world/car")
    before, folders = listing(out), sorted(path for path, *_ in os.walk(out))
    calls = iter(range(100))

    def failing(function):
        def called(*arguments, **keywords):
            if next(calls) == step:
                raise failure
            return function(*arguments, **keywords)

        return called

    monkeypatch.setattr(os, "fsync", failing(os.fsync))
    monkeypatch.setattr(os, "replace", failing(os.replace))
    with pytest.raises(GltfError if isinstance(failure, OSError) else KeyboardInterrupt):
        export(scene, out / "post.gltf", "/world/post")
    assert listing(out) == before
    assert sorted(path for path, *_ in os.walk(out)) == folders
    monkeypatch.undo()
    export(scene, out / "post.gltf", "/world/post")


def test_a_directory_that_takes_no_files(scene, tmp_path):
    (tmp_path / "out" / "post.gltf").mkdir()
    for target in ("out/post.gltf", "none/post.gltf", "out/po\0st.gltf"):
        with pytest.raises(GltfError):
            scene.export(["/world/post"], str(tmp_path / target), "gltf", {})
    assert [path.name for path in (tmp_path / "out").rglob("*")] == ["post.gltf"]


def test_unsaved_changes_are_exported(tmp_path):
    scene = small(tmp_path, [{"name": "a", "mesh": 0}])
    part(scene, "/a").set_normals(np.array([[0, 0, 1]] * 3))
    new = export(scene, tmp_path / "new.glb", "/a")
    assert part(new, "/a").attribute("NORMAL").tolist() == [[0, 0, 1]] * 3
    export(scene, tmp_path / "mapped.glb", "/a", automatic_uv=True)
    scene.save()
    saved = GltfScene(scene.get_current_file())
    assert part(saved, "/a").attributes() == ["POSITION", "NORMAL"]
    stored = [base64.b64decode(buffer["uri"].partition(",")[2]) for buffer in written(saved)["buffers"]]
    assert [len(content) for content in stored] == [36, 36]
