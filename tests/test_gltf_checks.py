"""The checks that come with the glTF host: what they catch, pass, fix and select."""

import math
import os
import re

import numpy as np
import pytest
import trimesh
from gltf_files import Data, document, glb, write
from hosts import logged

import core
import heron.checks
from heron.hosts.gltf import GltfScene

FOLDER = os.path.dirname(heron.checks.__file__)
STATUS = core.Constants.Check.Result
CORNERS = [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]]
SQUARE = [0, 1, 2, 0, 2, 3]
FIN = [*CORNERS, [0.5, 0.5, 1]]
TEXTURED = {"name": "brick", "normalTexture": {"index": 0, "texCoord": 1}}


class Records(list):
    """What the engine needs of statistics."""

    add = list.append


@pytest.fixture(scope="module")
def classes():
    directories = core._Settings.Check.Directory.List([])
    directories.embed(heron.checks)
    return core.Check._Classes(directories)


def part(data, positions=CORNERS, order=SQUARE, normals=True, uvs=None, bounds=None, **members):
    """A part of a mesh; everything is right unless told otherwise."""
    places = np.array(positions, float)
    low, high = bounds or (places.min(axis=0).tolist(), places.max(axis=0).tolist())
    attributes = {"POSITION": data.add(places, min=low, max=high)}
    if normals:
        attributes["NORMAL"] = data.add([[0, 0, 1]] * len(places) if normals is True else normals)
    for number, values in enumerate(uvs or ()):
        attributes[f"TEXCOORD_{number}"] = data.add(values)
    members = {"material": 0, **members}
    present = {key: value for key, value in members.items() if value is not None}
    return {"attributes": attributes, "indices": data.add(order, "u2"), **present}


def model(*parts, node=None, material=None, **members):
    """A document with one object, whose mesh has these parts."""
    data = Data()
    primitives = [part(data, **members) for members in parts or ({},)]
    return document(
        [{"name": "thing", "mesh": 0, **(node or {})}, {"name": "no mesh"}],
        meshes=[{"primitives": primitives}],
        materials=[material or {"name": "brick"}],
        **data.members(),
        **members,
    )


def levels(counts, ids, **members):
    """An object with meshes of so many triangles; its levels are the nodes of the given numbers."""
    data = Data()
    meshes = [{"primitives": [part(data, order=[0, 1, 2] * count)]} for count in counts]
    nodes = [{"name": f"level_{index}", "mesh": index, **members} for index in range(len(counts))]
    nodes[0]["extensions"] = {"MSFT_lod": {"ids": ids}}
    return document(nodes, meshes=meshes, materials=[{}], **data.members())


def names(*names):
    return document([{"name": name} if name else {} for name in names])


def run(classes, class_id, scene, path="/thing", **state):
    """A result of the engine, with these settings in place of the default ones."""
    block = classes.get(class_id).parameters()
    block.load(None)
    (task,) = block
    task.load(state)
    return core.Check._Queue.Task.Result(path, classes.get(class_id), task, Records(), scene)


def opened(tmp_path, content, name="scene.gltf"):
    return GltfScene(write(tmp_path / name, content))


def test_the_engine_finds_every_check_and_denies_none(classes):
    found = list(classes)
    assert classes.get_denied() == []
    assert len(found) == len({check.class_id for check in found})
    categories = [check.category for check in found]
    assert set(categories) == set(classes._group_order) - {"project"}
    for check in found:
        assert check.class_id.startswith("heron." + check.category.replace(" ", "_").replace("-", "_"))
        assert "fix" in check.description
        assert check.long_name and check.short_name


ON = {"enabled": True}
SHEAR = [1, 0, 0, 0, 0.5, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]
MIRROR = [-2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1]
UNIT = [[0, 0], [1, 0], [1, 1], [0, 1]]
UNLIT = {"extensions": {"KHR_materials_unlit": {}}}
TEXTURES = {"textures": [{"source": 0}], "images": [{"uri": "brick.png"}]}
WEBP = {"textures": [{"extensions": {"EXT_texture_webp": {"source": 0}}}], "images": [{"uri": "data:,x"}]}

# The check, what it catches, what it says of it, its settings.
CAUGHT = [
    ("scene.triangle_budget", model(), "2 triangles, 1 are allowed", {"most": {"value": 1}}),
    ("object.name", names("") | {}, "no name", {}),
    ("object.name", names("Thing Copy"), 'holds "copy"', {}),
    ("object.name", names("thing 2"), "does not match", {"pattern": {"text": "thing"}}),
    ("object.scale", model(node={"scale": [1, -1, 1]}), "scale 1, -1, 1 is negative", {}),
    ("object.scale", model(node={"scale": [1, 1.5, 1]}), "1, 1.5, 1 differs by axis", {}),
    ("object.scale", model(node={"scale": [1, 0, 1]}), "flattened", {}),
    ("object.scale", model(node={"matrix": MIRROR}), "-2, 2, 2 is negative", {}),
    ("object.scale", model(node={"matrix": SHEAR}), "shears", {"uneven": ON}),
    ("mesh.indices", model({}, {"order": [0, 4, 9]}), r"part 2 \(brick\): 2 corners of 3 .* number 9", {}),
    ("mesh.indices", model({"mode": 0, "order": [5]}), "1 corner of 1", {}),
    ("mesh.indices", model({"order": [0, 1, 2, 3]}), "4 corners make no whole", {}),
    ("mesh.degenerate_triangles", model({"order": [0, 1, 2, 0, 3, 3]}), "1 of 2 triangles", {}),
    (
        "mesh.degenerate_triangles",
        model({"positions": [[0, 0, 0], [1e-5, 0, 0], [0, 1e-5, 0]], "order": [0, 1, 2]}),
        "1 of 1 triangle without",
        {},
    ),
    (
        "mesh.degenerate_triangles",
        model({"positions": [*CORNERS[:3], [4, 4, 0]], "order": [0, 1, 2, 3], "mode": 5}),
        "1 of 2",
        {"area": {"value": 6e5}},
    ),
    ("mesh.normals", model({"normals": False}), "no normals", {}),
    ("mesh.normals", model({"normals": [[0, 0, 1], [0, 0, 0], [0, 2, 0], [math.nan] * 3]}), "3 of 4", {}),
    ("mesh.bounds", model({"bounds": ([0, 0, 0], [1, 2, 0])}), "not told right", {}),
    ("mesh.bounds", model({"bounds": ("none", [1, 1, 0])}), "not told right", {}),
    (
        "mesh.bounds",
        model({"positions": [[math.nan, 0, 0]], "mode": 0, "order": [0], "bounds": ([0], [0])}),
        "1 of 1 position not a number",
        {},
    ),
    ("mesh.triangle_budget", model({}, {}), "4 triangles, 3 are", {"most": {"value": 3}}),
    ("mesh.triangle_budget", model({"mode": 1}), "0 triangles, at least 1", {}),
    (
        "mesh_non_manifold.edges",
        model({"positions": FIN}, {"positions": FIN, "order": [0, 2, 4]}),
        "1 edge of more",
        {},
    ),
    ("mesh_non_manifold.open_edges", model(), "4 open edges, 3 are allowed", {"most": {"value": 3}}),
    ("mesh_non_manifold.winding", model({"order": [0, 1, 2, 0, 3, 2]}), "1 edge between", {}),
    ("mapping.missing", model({"uvs": [UNIT]}, material=TEXTURED), "in set 1", {}),
    ("mapping.missing", model(), "in set 0", {"always": ON}),
    ("mapping.outside", model({"uvs": [[[0, 0], [1.5, 0], [1, 1], [0, -0.25]]]}), "2 of 4 .* 0, -0.25", {}),
    (
        "mapping.outside",
        model({"uvs": [UNIT, [[2, 2], [3, 2], [3, 3], [2, 4]]]}),
        "1 of 4",
        {"uv_set": {"value": 1}, "area": {"selected_attr": "tile"}},
    ),
    (
        "mapping.outside",
        model({"uvs": [[[0, 0], [math.nan, 0], [math.inf, 1], [2, 3]]]}),
        "3 of 4 .* to 2, 3",
        {},
    ),
    ("mapping.outside", model({"uvs": [[[math.nan, 0]] * 4]}), "none is a number", {}),
    ("mapping.collapsed", model({"uvs": [[[0, 0], [1, 0], [1, 1], [0.5, 0.5]]]}), "1 of 2 triangles", {}),
    ("material.missing", model({}, {"material": None}), "part 2: no material", {}),
    ("material.name", model(), "does not match mat_", {"pattern": {"text": "mat_.*"}}),
    ("material.name", model(material={"alphaMode": "MASK"}), "part 1 has no name", {}),
    ("material.images", model(material=TEXTURED, **TEXTURES), r"normalTexture: .*missing.*brick\.png", {}),
    ("material.images", model(material=TEXTURED), "names number 0", {}),
    ("material.images", model(material=TEXTURED, textures=[{}]), "has no image", {}),
    ("lod.decreasing", levels([3, 2, 2], [1, 2]), "level 2 has 2 triangles, level 1 before it 2", {}),
    ("lod.decreasing", levels([4, 3], [1]), "level 1", {"share": {"value": 0.5}}),
    (
        "lod.triangles",
        levels([3, 2], [1]),
        "level 1 has 2 triangles, allowed are 0 to 1$",
        {
            "levels": [
                {"start": {"value": 0}, "stop": {"value": 3}},
                {"start": {"value": 0}, "stop": {"value": 1}},
            ]
        },
    ),
]

# The check, what it lets pass, its settings.
PASSED = [
    ("scene.triangle_budget", model(), {"most": {"value": 2}}),
    ("object.name", names("thing"), {"pattern": {"text": "th.+g"}}),
    ("object.scale", model(node={"scale": [2, 2, 2.001]}), {}),
    (
        "object.scale",
        model(node={"scale": [1, -2, 1]}),
        {"negative": ON, "uneven": ON},
    ),
    ("object.scale", model(node={"matrix": np.eye(4).ravel().tolist()}), {}),
    ("mesh.indices", model({"mode": 5, "order": [0, 1, 2, 3]}), {}),
    ("mesh.degenerate_triangles", model({"mode": 5, "order": [0, 1, 2, 2, 2, 3, 0]}), {}),
    ("mesh.normals", model({"normals": False}, material=UNLIT), {}),
    ("mesh.normals", model({"normals": False, "mode": 0}), {}),
    ("mesh.normals", model({"normals": [[0, 0, 2]] * 4}), {"lengths": {"enabled": False}}),
    ("mesh.bounds", model(), {}),
    ("mesh.triangle_budget", model(), {"most": {"value": 2}}),
    (
        "mesh_non_manifold.edges",
        model({}, {"order": [0, 3, 2], "positions": FIN}),
        {"weld": {"enabled": False}},
    ),
    ("mesh_non_manifold.open_edges", model({"order": [0, 1, 2, 0, 2, 1]}), {}),
    ("mesh_non_manifold.winding", model(), {}),
    ("mapping.missing", model({"uvs": [UNIT, UNIT]}, material=TEXTURED), {}),
    ("mapping.outside", model({"uvs": [UNIT]}), {}),
    ("mapping.outside", model(), {}),
    ("mapping.collapsed", model({"uvs": [UNIT]}), {}),
    ("mapping.collapsed", model({"uvs": [[[math.inf, 0], *UNIT[1:]]]}), {}),
    ("material.missing", model(), {}),
    ("material.name", model(), {"pattern": {"text": "x"}, "allowed": [{"text": "br*"}]}),
    ("material.images", model(material=TEXTURED, **WEBP), {}),
    ("lod.decreasing", levels([3, 2, 1], [1, 2]), {}),
    ("lod.triangles", levels([3, 2], [1]), {}),
]


@pytest.mark.parametrize(("name", "content", "text", "state"), CAUGHT)
def test_what_is_caught_is_told(tmp_path, classes, name, content, text, state):
    scene = opened(tmp_path, content)
    result = run(classes, f"heron.{name}", scene, scene.roots()[0], **state)
    assert result.status == STATUS.Fail
    lines = result.result_message().split("\n")
    assert len(lines) == len(result._check.result)
    assert any(re.search(text, line) for line in lines), lines


@pytest.mark.parametrize(("name", "content", "state"), PASSED)
def test_what_is_right_passes(tmp_path, classes, name, content, state):
    scene = opened(tmp_path, content)
    result = run(classes, f"heron.{name}", scene, scene.roots()[0], **state)
    assert (result.status, result.result_message()) == (STATUS.Pass, "")


def test_the_tables_hold_every_check(classes):
    both = {"scene.duplicate_names"} | {row[0] for row in CAUGHT} & {row[0] for row in PASSED}
    assert {f"heron.{name}" for name in both} == {check.class_id for check in classes}


def test_an_object_without_mesh_passes_and_broken_data_are_errors(tmp_path, classes):
    content = model({"uvs": [UNIT]}, node={"extensions": {"MSFT_lod": {"ids": [2]}}}, material=TEXTURED)
    content["nodes"].append({"mesh": 7})
    for accessor in content["accessors"]:
        accessor["count"] = 1_000
    scene = opened(tmp_path, content)
    without_data = {"object.name", "object.scale", "scene.duplicate_names"}
    without_data |= {"mapping.missing", "material.missing", "material.name", "material.images"}
    for check in classes:
        if not check.scene_oriented:
            assert run(classes, check.class_id, scene, "/no mesh").status == STATUS.Pass, check
        if check.class_id.removeprefix("heron.") in without_data:
            continue
        with logged() as messages:
            result = run(classes, check.class_id, scene)
        assert result.status == STATUS.Error, check
        assert not result.could_be_fixed
        assert any("accessor" in message for message in messages)
    with logged() as messages:
        assert run(classes, "heron.object.scale", scene, "/gone").status == STATUS.Error
        scene.close()
        assert run(classes, "heron.object.scale", scene).status == STATUS.Error
    assert [message.partition(": ")[0] for message in messages] == ["GltfError"] * 2


# Fixes

LINE = {"order": [0, 1, 1]}
FIXES = {
    "degenerate": (
        "mesh.degenerate_triangles",
        model({"order": [0, 1, 2, 3, 3, 0, 0, 2, 3], "uvs": [UNIT]}, {"mode": 5, "order": [0, 1, 3, 2]}),
        {},
    ),
    "normals": ("mesh.normals", model({"normals": False}, {"normals": [[0, 0, 3], *[[0, 0, 1]] * 3]}), {}),
    "bounds": ("mesh.bounds", model({"bounds": (None, "wide")}), {}),
    "lod order": ("lod.decreasing", levels([4, 1, 3, 2], [1, 2, 3]), {}),
}


@pytest.mark.parametrize("binary", [False, True], ids=["gltf", "glb"])
@pytest.mark.parametrize(("name", "content", "state"), FIXES.values(), ids=FIXES)
def test_a_fix_holds_after_saving(tmp_path, classes, name, content, state, binary):
    content = glb(content) if binary else content
    path = "scene.glb" if binary else "scene.gltf"
    scene = opened(tmp_path, content, path)
    others = [check.class_id for check in classes if check.class_id.startswith("heron.mesh.")]
    top = scene.roots()[0]
    result = run(classes, f"heron.{name}", scene, top, **state)
    assert (result.status, result.could_be_fixed) == (STATUS.Fail, True)
    result.fix_result()
    assert (result.status, result.could_be_fixed, result.result_message()) == (STATUS.Pass, False, "")
    scene.save()
    again = GltfScene(scene.get_current_file())
    for class_id in [f"heron.{name}", *others]:
        if name != "lod.decreasing" or class_id.startswith("heron.lod"):
            assert run(classes, class_id, again, top).status == STATUS.Pass, class_id
    read = trimesh.load_scene(tmp_path / path, process=False).geometry.values()
    assert sum(len(mesh.faces) for mesh in read) == sum(
        again.geometry.mesh(index, "the test").triangle_count()
        for index in range(len(again.geometry.members.document["meshes"]))
    )


def test_removing_triangles_keeps_the_others_and_never_all(tmp_path, classes):
    scene = opened(tmp_path, model({"order": [3, 3, 0, 0, 1, 2, 0, 2, 3]}, LINE))
    result = run(classes, "heron.mesh.degenerate_triangles", scene)
    assert [finding.name for finding in result._check.result] == ["part 1 (brick)", "part 2 (brick)"]
    assert [list(finding) for finding in result._check.result] == [[0], [0]]
    result.fix_result()
    assert (result.status, result.could_be_fixed) == (STATUS.Fail, False)
    parts = scene.geometry.mesh(0, "the test").primitives
    assert parts[0].triangles().tolist() == [[0, 1, 2], [0, 2, 3]]
    assert parts[1].triangles().tolist() == [[0, 1, 1]]


def test_computed_normals_lie_between_the_faces(tmp_path, classes):
    # Two faces of one size at a right angle, and a vertex of none.
    places = [[0, 0, 0], [0, 0, 1], [1, 0, 0], [0, 1, 0], [9, 9, 9]]
    scene = opened(tmp_path, model({"positions": places, "order": [0, 1, 2, 0, 3, 1], "normals": False}))
    run(classes, "heron.mesh.normals", scene).fix_result()
    (found,) = scene.geometry.mesh(0, "the test").primitives
    half = math.sqrt(0.5)
    expected = [[half, half, 0], [half, half, 0], [0, 1, 0], [1, 0, 0], [0, 1, 0]]
    np.testing.assert_allclose(found.attribute("NORMAL"), expected, atol=1e-6)


def test_a_fixed_name_is_the_one_that_is_shown(tmp_path, classes):
    scene = opened(tmp_path, names("", "node_0", "a/b"))
    paths = scene.roots()
    result = run(classes, "heron.object.name", scene, paths[0])
    assert result.could_be_fixed
    result.fix_result()
    assert result.status == STATUS.Pass
    scene.save()
    again = GltfScene(scene.get_current_file())
    assert again.roots() == paths
    assert [again.node(path)["name"] for path in paths] == ["node_0", "node_0", "a/b"]


# Scene-wide checks, selection


def repeated():
    nodes = names("car", "car", "wheel", "lamp")["nodes"]
    nodes[0]["children"] = [2]
    nodes.append({"name": "wheel"})
    nodes[1]["children"] = [4]
    return document(nodes)


def test_repeated_names_are_selected_and_told_apart(tmp_path, classes):
    scene = opened(tmp_path, repeated())
    before = scene.paths()
    result = run(classes, "heron.scene.duplicate_names", scene, scene.get_current_file())
    assert result.result_message() == '2 objects of the name "car": /car, /car.001'
    assert result.could_be_selected
    result.select_result()
    assert scene.get_selection() == ["/car", "/car.001"]
    ignored = {"ignored": [{"text": "c?r"}]}
    assert run(classes, "heron.scene.duplicate_names", scene, "", **ignored).status == STATUS.Pass
    wide = run(classes, "heron.scene.duplicate_names", scene, "", within={"selected_attr": "scene"})
    assert [list(group) for group in wide._check.result] == [
        before[:1] + before[2:3],
        before[1:2] + before[3:4],
    ]
    wide.fix_result()
    assert (wide.status, wide.could_be_fixed) == (STATUS.Fail, False)
    result._check.check("", next(iter(loaded(classes, "heron.scene.duplicate_names"))))
    scene.save()
    assert GltfScene(scene.get_current_file()).paths() == before


def loaded(classes, class_id):
    block = classes.get(class_id).parameters()
    block.load(None)
    return block


def test_levels_that_are_too_large_are_selected(tmp_path, classes):
    # The second level is not part of the scene.
    content = levels([3, 3, 3], [1, 2])
    content["scenes"] = [{"nodes": [0, 1]}]
    scene = opened(tmp_path, content)
    result = run(classes, "heron.lod.decreasing", scene, "/level_0")
    assert (result.could_be_selected, result.could_be_fixed) == (True, False)
    result.select_result()
    assert scene.get_selection() == ["/level_1"]


def test_levels_below_their_own_group_count_once(tmp_path, classes):
    content = levels([5, 3], [])
    del content["nodes"][0]["extensions"]
    group = {"name": "group", "children": [0, 1], "extensions": {"MSFT_lod": {"ids": [1]}}}
    content = document([*content["nodes"], group], **{key: content[key] for key in content if key in KEPT})
    scene = opened(tmp_path, content)
    assert run(classes, "heron.lod.decreasing", scene, "/group").status == STATUS.Pass
    ranges = [{"start": {"value": count}, "stop": {"value": count}} for count in (5, 3)]
    assert run(classes, "heron.lod.triangles", scene, "/group", levels=ranges).status == STATUS.Pass


KEPT = ("meshes", "materials", "accessors", "bufferViews", "buffers")


def test_shared_meshes_count_as_often_as_they_are_drawn(tmp_path, classes):
    content = model()
    content["nodes"][1]["mesh"] = 0
    scene = opened(tmp_path, content)
    most = {"most": {"value": 3}}
    assert run(classes, "heron.scene.triangle_budget", scene, "", **most).status == STATUS.Fail
    once = run(classes, "heron.scene.triangle_budget", scene, "", **most, once=ON)
    assert once.status == STATUS.Pass


def test_a_check_stays_with_the_scene_it_looked_at(tmp_path, classes):
    first = opened(tmp_path, model({"bounds": ([0], [0])}), "first.gltf")
    result = run(classes, "heron.mesh.bounds", first)
    second = opened(tmp_path, model({"bounds": ([0], [0])}), "second.gltf")
    result.fix_result()
    assert result.status == STATUS.Pass
    assert run(classes, "heron.mesh.bounds", second).status == STATUS.Fail
    first.activate()
    assert run(classes, "heron.mesh.bounds", second).status == STATUS.Pass


def test_long_lists_of_findings_are_cut_short(tmp_path, classes):
    scene = opened(tmp_path, model(*[{"normals": False}] * 9))
    message = run(classes, "heron.mesh.normals", scene).result_message()
    assert message.split("\n")[5:] == ["part 6 (brick): no normals", "... and 3 more"]
