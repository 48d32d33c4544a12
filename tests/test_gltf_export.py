"""Exports of the host for glTF files: what they hold, where it stands, what the flags do, and failures."""

import base64
import json
import os
from collections import Counter
from pathlib import Path

import numpy as np
import pytest
import trimesh
from gltf_files import Data, document, glb, grow, put, write
from hosts import logged
from hypothesis import given, settings
from hypothesis import strategies as st

from heron.hosts.gltf import GltfError, GltfScene
from heron.hosts.gltf_export import exporters

PNG = b"\x89PNG\r\n\x1a\n" + bytes(range(24))
WOOD = PNG[::-1]
JPEG = b"\xff\xd8\xff\xe0" + bytes(range(12))
TRIANGLE = [[0, 0, 0], [1, 0, 0], [0, 1, 0]]
TURN = [0, 0, 0.6, 0.8]
STRAIGHT = [0, 0, 0, 1]
BULB, NIGHT = {"type": "point", "name": "bulb"}, {"name": "night"}


def packed(rows, kind="<f4"):
    return np.array(rows, kind).tobytes()


def lists_of_extensions(lights, variants):
    return {"KHR_lights_punctual": {"lights": lights}, "KHR_materials_variants": {"variants": variants}}


def street():
    """Two hierarchies that share much, each with things of its own, and one that nobody asks for.

    All places lie in one buffer view, as many exporters write them; those of the pole are interleaved with
    their normals, and those of the body are sparse.
    """
    data = Data()
    shared = data.view(packed([*TRIANGLE, *TRIANGLE, [9, 9, 9]]))
    indices = {"bufferView": data.view(packed([2], "<u2")), "componentType": 5123}
    values = {"bufferView": data.view(packed([0, 2, 0]))}
    body = data.place(shared, 0, 3, sparse={"count": 1, "indices": indices, "values": values})
    sign = data.place(shared, 36, 3)
    mixed = data.view(packed(np.hstack([TRIANGLE, [[0, 0, 1]] * 3])), byteStride=24)
    pole, normals = data.place(mixed, 0, 3), data.place(mixed, 12, 3)
    bind = data.place(data.view(packed([np.eye(4)] * 2)), 0, 2, type="MAT4")
    order, joints = data.add([0, 1, 2], "u1"), data.add([[0, 1, 0, 0]] * 3, "u1")
    weights, times = data.add([[0.5, 0.5, 0, 0]] * 3), data.add([0, 1], min=[0], max=[1])
    slide = {"input": times, "output": data.add([[0, 0, 0], [0, 0, 3]])}
    turn = {"input": times, "output": data.add([STRAIGHT, TURN])}
    photo = data.view(JPEG)
    skinned = {"POSITION": body, "JOINTS_0": joints, "WEIGHTS_0": weights}
    shiny = {"clearcoatTexture": {"index": 3, "texCoord": 0}}
    rig = {"node": 6, "path": "translation"}
    instances = {"EXT_mesh_gpu_instancing": {"attributes": {"TRANSLATION": slide["output"]}}}
    nodes = [
        {"name": "unused", "mesh": 1}, {"name": "world", "translation": [10, 0, 0], "children": [2, 7, 0, 6]},
        {"name": "car", "rotation": TURN, "scale": [2, 2, 2], "children": [3, 4], "extras": {"id": 7}},
        {"name": "body", "mesh": 0, "skin": 0}, {"name": "hips", "children": [5]},
        {"name": "spine", "translation": [0, 1, 0]}, {"name": "rig"},
        {"name": "post", "children": [8, 9, 10]}, {"name": "pole", "mesh": 2},
        {"name": "lamp", "extensions": {"KHR_lights_punctual": {"light": 1}}},
        {"name": "eye", "camera": 1, "extensions": instances},
    ]  # fmt: skip
    variants = {"KHR_materials_variants": {"mappings": [{"material": 2, "variants": [1]}]}}
    upright = {"attributes": {"POSITION": pole, "NORMAL": normals}, "indices": order, "extensions": variants}
    parts = {"attributes": skinned}, {"attributes": {"POSITION": sign}}, upright
    coat = {"normalTexture": {"index": 1}, "extensions": {"KHR_materials_clearcoat": shiny}}
    images = [{"uri": "gone.png"}, {"uri": "maps/wood%20grain.png"}]
    flat = {"uri": "data:image/png;base64," + base64.b64encode(PNG).decode(), "name": "flat"}
    channels = [{"sampler": 1, "target": {"node": 5, "path": "rotation"}}, {"sampler": 0, "target": rig}]
    content = document(
        nodes,
        **data.members("street.bin"),
        meshes=[{"primitives": [{**part, "material": number}]} for part, number in zip(parts, (1, 0, 2))],
        materials=[{}, {"pbrMetallicRoughness": {"baseColorTexture": {"index": 2}}}, coat],
        textures=[{"source": 0}, {"source": 1, "sampler": 1}, {"source": 3}, {"source": 2}],
        images=[*images, flat, {"bufferView": photo, "mimeType": "image/jpeg", "name": "photo: 1/2"}],
        samplers=[{"name": "other"}, {"wrapS": 33071}],
        skins=[{"joints": [4, 5], "inverseBindMatrices": bind, "skeleton": 1}],
        cameras=[{"type": "x"}, {"type": "perspective", "perspective": {"yfov": 1, "znear": 0.1}}],
        animations=[{"channels": channels[n:], "samplers": [slide, turn][: 2 - n]} for n in (1, 0)],
        extensions=lists_of_extensions([{"type": "spot"}, BULB], [{"name": "day"}, NIGHT]),
        scene=0,
        extensionsUsed=["KHR_lights_punctual", "KHR_materials_clearcoat", "EXT_other"],
        extras={"studio": "X", "heron": [{"name": "car", "joint": {"path": "/car", "children": []}}]},
    )
    return content, data.bytes


def lay_out(directory, content, name="street.gltf"):
    """Writes a scene with the files beside it, and returns its path."""
    (directory / "maps").mkdir(parents=True, exist_ok=True)
    (directory / "maps" / "wood grain.png").write_bytes(WOOD)
    (directory / "street.bin").write_bytes(street()[1])
    return write(directory / name, content)


@pytest.fixture(params=["gltf", "glb"])
def scene(request, tmp_path):
    content, raw = street()
    if request.param == "glb":
        content = glb(put(content, "buffers/0/uri"), (0x004E4942, raw))
    (tmp_path / "out").mkdir()
    return GltfScene(lay_out(tmp_path / "scene", content, f"street.{request.param}"))


def small(tmp_path, nodes, data=None, **members):
    """A scene of its own with a triangle as its first mesh."""
    data = data or Data()
    place = data.add(TRIANGLE)
    members.setdefault("meshes", [{"primitives": [{"attributes": {"POSITION": place}}]}])
    return GltfScene(write(tmp_path / "scene.gltf", document(nodes, **data.members(), **members)))


def export(scene, target, *roots, args=None, **flags):
    """Exports, and opens what was written, whose data must lie as graphics cards need them."""
    scene.export(list(roots), str(target), Path(target).suffix[1:], args or {}, **flags)
    new = GltfScene(str(target))
    content = written(new)
    views, users = content.get("bufferViews", ()), Counter()
    assert all(view["byteOffset"] % 4 == 0 for view in views)
    parts = [part for mesh in content.get("meshes", ()) for part in mesh["primitives"]]
    for index in {index for part in parts for index in part["attributes"].values()}:
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


def world(scene):
    """The triangles of a file by the name of their object, as another program places them."""
    loaded = trimesh.load_scene(scene.get_current_file())
    found = {}
    for node in loaded.graph.nodes_geometry:
        matrix, name = loaded.graph[node]
        found[node] = trimesh.transform_points(loaded.geometry[name].triangles.reshape(-1, 3), matrix)
    return found


def test_a_hierarchy_brings_what_it_refers_to_and_nothing_else(scene, tmp_path):
    before = json.dumps(written(scene))
    out = tmp_path / "out"
    new = export(scene, out / "post.gltf", "/world/post")
    content, pole = written(new), part(new, "/post/pole")
    assert new.paths() == ["/post", "/post/pole", "/post/lamp", "/post/eye"]
    counts = {key: len(value) for key, value in content.items() if isinstance(value, list)}
    single = dict.fromkeys(["scenes", "meshes", "materials", "samplers", "cameras", "buffers"], 1)
    double = dict.fromkeys(["textures", "images"], 2)
    assert counts == {**single, **double, "accessors": 4, "bufferViews": 3, "extensionsUsed": 4, "nodes": 4}
    assert content["extensions"] == lists_of_extensions([BULB], [NIGHT])
    assert pole.record["extensions"]["KHR_materials_variants"] == {
        "mappings": [{"material": 0, "variants": [0]}]
    }
    (instances,) = new.node("/post/eye")["extensions"].values()
    assert new.geometry.accessors.read(*instances["attributes"].values(), "it").tolist()[1] == [0, 0, 3]
    assert "EXT_other" not in content["extensionsUsed"]
    assert (content["cameras"][0]["type"], content["extras"]) == ("perspective", {"studio": "X"})
    assert content["textures"] == [{"source": 0, "sampler": 0}, {"source": 1}]
    # The interleaved places and normals stay together; besides them indices and instances are there.
    assert (out / "post.bin").stat().st_size == 72 + 4 + 24
    assert (pole.attribute("NORMAL").tolist(), pole.indices().tolist()) == ([[0, 0, 1]] * 3, [0, 1, 2])
    images = {"flat.png": PNG, "maps/wood grain.png": WOOD}
    assert {name: content for name, content in listing(out).items() if name.endswith("png")} == images
    assert json.dumps(written(scene)) == before


@pytest.mark.parametrize("kind", ["glb", "gltf"])
def test_skins_animations_and_sparse_data_come_along(scene, tmp_path, kind):
    new = export(scene, tmp_path / "out" / f"car.{kind}", "/world/car")
    content = written(new)
    assert new.paths() == ["/car", "/car/body", "/car/hips", "/car/hips/spine"]
    assert part(new, "/car/body").positions().tolist() == [[0, 0, 0], [1, 0, 0], [0, 2, 0]]
    (skin,), (animation,) = content["skins"], content["animations"]
    assert [content["nodes"][joint]["name"] for joint in skin["joints"]] == ["hips", "spine"]
    assert "skeleton" not in skin
    read = new.geometry.accessors.read
    assert np.array_equal(read(skin["inverseBindMatrices"], "skin", "MAT4"), [np.eye(4).ravel()] * 2)
    (channel,), (sampler,) = animation["channels"], animation["samplers"]
    assert content["nodes"][channel["target"]["node"]]["name"] == "spine"
    assert np.allclose(read(sampler["output"], "animation"), [STRAIGHT, TURN])
    assert content["nodes"][0]["extras"] == {"id": 7}


def test_joints_elsewhere_come_bare_at_their_place(scene, tmp_path):
    scene.node("/world/car/hips/spine")["mesh"] = 1
    new = export(scene, tmp_path / "out" / "body.gltf", "/world/car/body")
    assert new.paths() == ["/body", "/hips", "/hips/spine"]
    assert "mesh" not in new.node("/hips/spine") and len(written(new)["meshes"]) == 1
    assert new.node("/hips")["translation"] == [10, 0, 0] and np.allclose(new.node("/hips")["scale"], 2)


def test_levels_of_detail_come_along_outside_the_scene(tmp_path):
    nodes = [
        {"name": "up", "translation": [0, 5, 0], "children": [1]},
        {"name": "near", "mesh": 0, "extensions": {"MSFT_lod": {"ids": [2]}}},
        {"name": "far", "mesh": 0},
    ]
    scene = small(tmp_path, nodes, scenes=[{"nodes": [0]}], extensionsUsed=["MSFT_lod"])
    new = export(scene, tmp_path / "new.glb", "/up/near")
    assert new.paths() == ["/near"]
    near, far = written(new)["nodes"]
    assert near["extensions"] == {"MSFT_lod": {"ids": [1]}}
    # It stands in for the object, and so is where that is.
    assert (far["name"], far["translation"]) == ("far", [0, 5, 0])


SCALES, TURNS = [[1, 1, 1], [2, 2, 2], [-2, 2, 2]], [STRAIGHT, TURN, [1, 0, 0, 0]]
NODES = st.tuples(st.integers(0, 4), st.booleans(), st.sampled_from(SCALES), st.sampled_from(TURNS))


@settings(max_examples=60)
@given(st.lists(NODES, min_size=1, max_size=9), st.randoms(use_true_random=False))
def test_any_choice_of_hierarchies_stays_as_it_is(tmp_path_factory, shape, chance):
    steps, meshes, scales, turns = zip(*shape)
    nodes = [
        {"name": f"n{index}", "translation": [chance.randint(-3, 3), 0, 1], "scale": scale, "rotation": turn}
        | ({"mesh": 0} if shown else {})
        for index, (shown, scale, turn) in enumerate(zip(meshes, scales, turns))
    ]
    directory = tmp_path_factory.getbasetemp()
    scene = small(directory, grow(nodes, steps))
    roots = chance.choices(scene.paths(), k=chance.randint(1, len(nodes)))
    new = export(scene, directory / "choice.glb", *roots)
    tops = [root for root in roots if not any(root.startswith(f"{other}/") for other in roots)]
    assert new.roots() == list(dict.fromkeys("/" + top.rpartition("/")[2] for top in tops))
    chosen = {
        path[len(top.rpartition("/")[0]) :]: scene.node(path)
        for top in tops
        for path in scene.paths()
        if f"{path}/".startswith(f"{top}/")
    }
    assert sorted(new.paths()) == sorted(chosen)
    shown = {node["name"] for node in chosen.values() if "mesh" in node}
    if shown:
        before, after = world(scene), world(new)
        assert after.keys() == shown
        assert all(np.allclose(after[name], before[name], atol=1e-4) for name in shown)


def test_the_options_on_offer_and_their_values(scene, tmp_path):
    binary, text = exporters()
    assert (binary.attr, text.attr) == ("glb", "gltf")
    text.load({"layout": "embedded", "embed_images": True, "keep_extras": False, "up_axis": "z"})
    target = tmp_path / "out" / "all.gltf"
    new = export(scene, target, "/world", args={**text.data, "newer": 1})
    assert os.listdir(tmp_path / "out") == ["all.gltf"]
    images = written(new)["images"]
    assert [image["mimeType"] for image in images] == ["image/png", "image/png", "image/jpeg"]
    stored = [bytes(new.geometry.buffers.view(image["bufferView"], "it").data) for image in images]
    assert stored == [WOOD, PNG, JPEG]
    assert '"extras"' not in target.read_text()


def test_an_image_from_elsewhere_stays_there_or_comes_along(tmp_path):
    image = {"uri": "https://example.org/a.png"}
    members = {"images": [image], "textures": [{"source": 0}], "materials": [{"aTexture": {"index": 0}}]}
    meshes = [{"primitives": [{"attributes": {}, "material": 0}]}]
    scene = small(tmp_path, [{"name": "a", "mesh": 0}], **members, meshes=meshes)
    assert written(export(scene, tmp_path / "new.gltf", "/a"))["images"] == [image]
    with pytest.raises(GltfError, match="only files beside the scene"):
        export(scene, tmp_path / "new.glb", "/a")
    # One that lies above the scene must not come to lie above the export.
    (tmp_path / "a.png").write_bytes(PNG)
    (tmp_path / "scene").mkdir()
    (tmp_path / "out").mkdir()
    image["uri"] = "../a.png"
    scene = small(tmp_path / "scene", [{"name": "a", "mesh": 0}], **members, meshes=meshes)
    assert written(export(scene, tmp_path / "out" / "new.gltf", "/a"))["images"] == [{"uri": "a.png"}]
    assert (tmp_path / "out" / "a.png").read_bytes() == PNG


def test_what_cannot_be_exported_is_told_and_leaves_nothing(scene, tmp_path):
    for roots, path, type, args, reason in (
        ("/world", "a.fbx", "fbx", {}, 'cannot be exported as "fbx"'),
        ("/world", "a.glb", "glb", {"up_axis": "x"}, '"up_axis" cannot be'),
        ("", "a.glb", "glb", {}, "nothing to export"),
        ("/nobody", "a.glb", "glb", {}, "no object /nobody"),
        ("/world", "a\0.gltf", "gltf", {}, "zero character"),
    ):
        with pytest.raises(GltfError, match=reason):
            scene.export(roots.split(), str(tmp_path / "out" / path), type, args)
        assert os.listdir(tmp_path / "out") == []


def moving(tmp_path, above, interpolation="LINEAR"):
    data = Data()
    slope, other = ([[1, 0, 0]], [[0, 1, 0]]) if interpolation == "CUBICSPLINE" else ([], [])
    moves = [*slope, [1, 2, 3], *other, *slope, [4, 5, 6], *other]
    values = {"translation": moves, "rotation": [STRAIGHT, TURN], "scale": [[1, 2, 3], [1, 1, 1]]}
    times = data.add([0, 1])
    samplers = [{"input": times, "output": data.add(rows)} for rows in values.values()]
    samplers[0]["interpolation"] = interpolation
    channels = [{"sampler": n, "target": {"node": 1, "path": path}} for n, path in enumerate(values)]
    nodes = [{"name": "up", "children": [1], **above}, {"name": "top", "mesh": 0}]
    return small(tmp_path, nodes, data, animations=[{"channels": channels, "samplers": samplers}])


def test_an_animated_top_moves_as_it_did(tmp_path):
    for interpolation, expected in (
        ("LINEAR", [[-1, -4, 6], [-7, -10, 12]]),
        ("CUBICSPLINE", [[-2, 0, 0], [-1, -4, 6], [0, -2, 0], [-2, 0, 0], [-7, -10, 12], [0, -2, 0]]),
    ):
        above = {"rotation": [0, 0, 1, 0], "scale": [2, 2, 2], "translation": [1, 0, 0]}
        new = export(moving(tmp_path, above, interpolation), tmp_path / "new.glb", "/up/top")
        samplers = written(new)["animations"][0]["samplers"]
        moves, turns, sizes = (new.geometry.accessors.read(sampler["output"], "it") for sampler in samplers)
        assert np.allclose(moves, expected) and np.allclose(turns, [[0, 0, 1, 0], [0, 0, 0.8, -0.6]])
        assert np.allclose(sizes, [[2, 4, 6], [2, 2, 2]])
        assert len(written(new)["accessors"]) == 5


def test_places_that_no_node_can_tell(tmp_path):
    stretched, target = {"scale": [1, 3, 1]}, tmp_path / "new.glb"
    with pytest.raises(GltfError, match="/up/top is animated below objects that stretch it"):
        export(moving(tmp_path, stretched), target, "/up/top")
    nodes = [{"name": "up", "children": [1], **stretched}, {"name": "top", "mesh": 0, "rotation": TURN}]
    scene = small(tmp_path, nodes)
    with pytest.raises(GltfError, match="/up/top is sheared"):
        export(scene, target, "/up/top")
    assert not target.exists()
    # A mesh can be sheared, and the upright axis be turned, all in one.
    new = export(scene, target, "/up/top", args={"up_axis": "z"}, reset_xforms=True)
    places = world(scene)["top"][:, [0, 2, 1]] * [1, -1, 1]
    assert np.allclose(part(new, "/top").positions(), places, atol=1e-6)


def test_transforms_are_applied_to_meshes(tmp_path):
    data = Data()
    offsets = data.add([[0, 0, 1]] * 3)
    attributes = {"NORMAL": data.add([[0, 0.6, 0.8]] * 3), "TANGENT": data.add([[1, 0, 0, 1]] * 3)}
    primitive = {
        "attributes": {**attributes, "POSITION": data.add(TRIANGLE)},
        "indices": data.add([0, 1, 2, 1], "u1"),
        "mode": 5,
        "targets": [{"POSITION": offsets, "NORMAL": offsets}],
    }
    nodes = [
        {"name": "group", "rotation": TURN, "scale": [-1, 2, 1], "children": [1, 2]},
        {"name": "shown", "mesh": 0, "translation": [0, 0, 4]},
        {"name": "spot", "translation": [1, 1, 1]},
    ]
    scene = small(tmp_path, nodes, data, meshes=[{"primitives": [primitive]}])
    new = export(scene, tmp_path / "new.gltf", "/group", reset_xforms=True)
    turned = np.array([[0.28, -0.96, 0], [0.96, 0.28, 0], [0, 0, 1]]) * [-1, 2, 1]
    assert new.node("/group") == {"name": "group", "children": [1, 2]}
    assert new.node("/group/shown") == {"name": "shown", "mesh": 0}
    assert new.node("/group/spot")["translation"] == pytest.approx((turned @ [1, 1, 1]).tolist())
    before, after = world(scene)["shown"], world(new)["shown"]
    assert np.allclose(sorted(before.tolist()), sorted(after.tolist()), atol=1e-6)
    old, changed = part(scene, "/group/shown"), part(new, "/group/shown")
    upright = np.linalg.inv(turned).T @ [0, 0.6, 0.8]
    factor = 1 / np.linalg.norm(upright)
    assert np.allclose(changed.attribute("NORMAL"), upright * factor)
    assert np.allclose(changed.attribute("TANGENT"), [-0.28, -0.96, 0, -1])
    (target,) = changed.targets()
    assert np.allclose(changed.target_values(target, "POSITION"), [0, 0, 1])
    assert np.allclose(changed.target_values(target, "NORMAL"), [0, 0, factor])
    # A mirror image shows its front where the original does.
    assert changed.triangles().tolist() == old.triangles()[:, [0, 2, 1]].tolist()
    accessor = changed.position_accessor()
    assert [accessor["min"], accessor["max"]] == changed.bounds().tolist()


def test_transforms_that_cannot_be_applied_are_told_with_their_object(scene, tmp_path):
    def refused(reason, *roots):
        with pytest.raises(GltfError, match=reason):
            export(scene, tmp_path / "out" / "new.glb", *roots, reset_xforms=True)

    refused("/world/car/body is bound to a skin", "/world/car")
    refused("/world/car/hips/spine is animated", "/world/car/hips")
    unused = scene.node("/world/unused")
    unused["mesh"] = 2
    refused("/world/unused has a mesh in common with /world/post/pole", "/world/unused", "/world/post")
    unused["extensions"] = {"EXT_mesh_gpu_instancing": {"attributes": {"TRANSLATION": 0}}}
    refused("/world/unused is instanced", "/world/unused")
    del written(scene)["animations"], scene.node("/world")["translation"]
    del scene.node("/world/car")["rotation"], scene.node("/world/car")["scale"]
    refused("/world/car/hips/spine moves a skin", "/world/car/body")
    assert os.listdir(tmp_path / "out") == []


def test_a_box_gets_texture_coordinates_and_a_strip_becomes_a_list(tmp_path):
    box = trimesh.creation.box((2, 1, 1))
    data = Data()
    places, order = data.add(box.vertices), data.add(box.faces.ravel(), "u2")
    colors = data.add([[10, 20, 30, 40]] * 8, "u1", normalized=True)
    attributes = {"POSITION": places, "COLOR_0": colors}
    mapped = {"POSITION": places, "TEXCOORD_1": data.add([[0, 0]] * 8)}
    parts = [
        {"attributes": attributes, "indices": order, "targets": [{"POSITION": places}]},
        {"attributes": mapped, "indices": order, "mode": 5},
        {"attributes": {"POSITION": places}, "mode": 0},
    ]
    members = {"meshes": [{"primitives": parts}], "extensionsRequired": ["KHR_mesh_quantization"]}
    scene = small(tmp_path, [{"name": "a", "mesh": 0}], data, **members)
    new = export(scene, tmp_path / "new.glb", "/a", automatic_uv=True, triangulate=True)
    shape, kept, points = mesh(new, "/a").primitives
    assert (kept.mode, points.mode) == (4, 0)
    assert not kept.has("TEXCOORD_0") and not points.has("TEXCOORD_0")
    triangles, places = shape.triangles(), shape.positions()
    assert np.allclose(places[triangles], box.triangles)
    assert np.allclose(shape.attribute("COLOR_0") * 255, [10, 20, 30, 40])
    assert written(new)["extensionsRequired"] == ["KHR_mesh_quantization"]
    assert np.allclose(shape.target_values(shape.targets()[0], "POSITION"), places)
    coordinates = shape.attribute("TEXCOORD_0").astype(float)
    assert coordinates.min() >= 0 and coordinates.max() <= 1
    corners = coordinates[triangles]
    first, second = corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0]
    areas = (first[:, 0] * second[:, 1] - first[:, 1] * second[:, 0]) / 2
    # Equally dense everywhere, and no mirror image anywhere: down is up in a texture.
    assert np.allclose(areas, -box.area_faces / 4)


def test_unknown_extensions(tmp_path):
    named, numbered = {"X_named": {"shader": "toon", "on": True}}, {"X_numbered": {"node": 0}}
    nodes = [{"name": "a", "mesh": 0, "extensions": {**named, **numbered}}, {"name": "b"}]
    used = ["X_named", "X_numbered", "X_all"]
    scene = small(tmp_path, nodes, extensionsUsed=used, extensionsRequired=used[::2])
    with logged() as messages:
        new = export(scene, tmp_path / "new.gltf", "/a")
    assert new.node("/a")["extensions"] == named
    # One that stands nowhere may tell how all else is to be read.
    assert written(new)["extensionsRequired"] == written(new)["extensionsUsed"] == ["X_named", "X_all"]
    assert ["without X_numbered" in text for text in messages] == [True]
    written(scene)["extensionsRequired"].append("X_numbered")
    with pytest.raises(GltfError, match="node 0 needs the extension X_numbered"):
        export(scene, tmp_path / "new.gltf", "/a")
    export(scene, tmp_path / "b.gltf", "/b")


def places(value, path=""):
    """Every place in a document."""
    items = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, item in items:
        yield f"{path}{key}"
        yield from places(item, f"{path}{key}/")


NUMBERS = [None, -1, 0, 3, 99, 2**53, 10**20, 1.5, True]
ODD = [*NUMBERS, "x", "a%00", "data:,", "../x", [], [0], [[]], {}, {"index": 0}]


@settings(max_examples=150)
@given(place=st.sampled_from(list(places(street()[0]))), odd=st.sampled_from(ODD), flags=st.integers(0, 15))
def test_a_scene_with_any_odd_value_is_exported_whole_or_refused(tmp_path_factory, place, odd, flags):
    directory = tmp_path_factory.getbasetemp() / "odd"
    path, target = lay_out(directory, put(street()[0], place, odd)), directory / "new.glb"
    target.unlink(missing_ok=True)
    names = ("automatic_uv", "triangulate", "reset_xforms")
    chosen = {name: bool(flags & 2 << place) for place, name in enumerate(names)}
    try:
        scene = GltfScene(path)
        assert isinstance(scene.query_filedata(), list)
        scene.save()
        for index in range(len(written(scene)["meshes"]) if flags & 1 else 0):
            scene.geometry.mesh(index, "the test").edges(weld=True)
        scene.export(["/world/post"] if flags & 1 else ["/world"], str(target), "glb", {}, **chosen)
        new = GltfScene(str(target))
    except GltfError:
        assert not target.exists()
    else:
        for index in range(len(written(new).get("accessors", ()))):
            new.geometry.accessors.read(index, "the test")


def listing(directory):
    """Every file below with its content, and every directory."""
    paths = sorted(directory.rglob("*"))
    return {path.relative_to(directory).as_posix(): path.is_file() and path.read_bytes() for path in paths}


def test_the_open_scene_is_never_overwritten(scene, tmp_path):
    before = listing(tmp_path)
    with pytest.raises(GltfError, match="is a file of the open scene"):
        export(scene, scene.get_current_file(), "/world")
    assert listing(tmp_path) == before


def test_files_beside_an_export_take_nobodys_name(scene, tmp_path):
    out = tmp_path / "out"
    foreign = {"post.bin": b"foreign", "flat.png": b"foreign", "maps/wood grain.png": WOOD}
    (out / "maps").mkdir()
    for name, content in foreign.items():
        write(out / name, content)

    def uris(scene, name, root, **options):
        new = written(export(scene, out / name, root, **options))
        return [item["uri"] for item in (*new["buffers"], *new.get("images", ())) if "uri" in item]

    images = ["maps/wood%20grain.png", "flat.001.png", "photo_%201_2.jpg"]
    for _ in range(2):
        assert uris(scene, "all.glb", "/world", args={"embed_images": False}) == images
    assert uris(scene, "post.gltf", "/world/post") == ["post.001.bin", *images[:2]]
    assert listing(out).items() > foreign.items()
    # What stands beside an older export is its own and goes with it.
    assert uris(scene, "car.gltf", "/world/car")[0] == "car.bin"
    before = listing(out)
    assert uris(scene, "car.gltf", "/world/post") == ["car.bin", *images[:2]]
    after = listing(out)
    assert after["car.bin"] != before["car.bin"]
    assert after.keys() == before.keys()


@pytest.mark.parametrize("failure", [OSError(28, "No space left on device"), KeyboardInterrupt()])
@pytest.mark.parametrize("step", range(9))
def test_a_failure_at_any_step_leaves_all_files_as_they_were(scene, tmp_path, monkeypatch, step, failure):
    out = tmp_path / "out"
    export(scene, out / "post.gltf", "/world/car")
    before, calls = listing(out), iter(range(100))

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
    monkeypatch.undo()
    export(scene, out / "post.gltf", "/world/post")


def test_unsaved_changes_are_exported(tmp_path):
    scene = small(tmp_path, [{"name": "a", "mesh": 0}])
    part(scene, "/a").set_normals(np.array([[0, 0, 1]] * 3))
    new = export(scene, tmp_path / "new.glb", "/a")
    assert part(new, "/a").attribute("NORMAL").tolist() == [[0, 0, 1]] * 3
    export(scene, tmp_path / "mapped.glb", "/a", automatic_uv=True)
    scene.save()
    saved = GltfScene(scene.get_current_file())
    assert part(saved, "/a").attributes() == ["POSITION", "NORMAL"]
