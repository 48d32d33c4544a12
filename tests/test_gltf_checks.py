"""The checks that come with the glTF host: what they catch, pass, fix and select."""

import math
import re
from types import SimpleNamespace

import numpy as np
import pytest
from gltf_files import CORNERS, SQUARE, Data, document, glb, grow, opened, put
from hosts import logged

import core
import heron.checks
from heron.hosts.gltf import GltfScene

STATUS = core.Constants.Check.Result
TEXTURED = {"name": "brick", "normalTexture": {"index": 0, "texCoord": 1}}


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
    return document([{"name": name} for name in names])


def run(classes, check, scene, path="/thing", **state):
    """A result of the engine, with these settings in place of the default ones."""
    keys = {bool: "enabled", int: "value", float: "value", str: "text"}
    for name in state:
        key = keys.get(type(state[name]))
        state[name] = {key: state[name]} if key else state[name]
    check = classes.get(f"heron.{check}")
    (block := check.parameters()).load(None)
    (task,) = block
    task.load(state)
    return core.Check._Queue.Task.Result(path, check, task, SimpleNamespace(add=lambda record: None), scene)


SHEAR = [1, 0, 0, 0, 0.5, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]
MIRROR = [-2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1]
UNIT = [[0, 0], [1, 0], [1, 1], [0, 1]]
FLAT = {"positions": [*CORNERS[:3], [4, 4, 0]], "order": [0, 1, 2, 3], "mode": 5}
NOWHERE = {"positions": [*CORNERS[:3], [math.nan] * 3], "bounds": ([0], [0])}
UNLIT = {"extensions": {"KHR_materials_unlit": {}}}
TEXTURES = {"textures": [{"source": 0}], "images": [{"uri": "brick.png"}]}
WEBP = {"textures": [{"extensions": {"EXT_texture_webp": {"source": 0}}}], "images": [{"uri": "data:,x"}]}
FINNED = {"positions": [*CORNERS, [0.5, 0.5, 1]]}
FIN = {"positions": [[-0.0, 0, 0], *FINNED["positions"][1:]], "order": [0, 2, 4]}
SECOND_TILE = [[2, 2], [3, 2], [3, 3], [2, 4]]
WILD = [[math.nan, 0], [math.inf, 1]]
TILE = {"selected_attr": "tile"}
FEW = [{"start": {"value": 0}, "stop": {"value": most}} for most in (3, 1)]
MOVED = {**TEXTURED["normalTexture"], "extensions": {"KHR_texture_transform": {"texCoord": 2}}}


def case(check, text, content, **state):
    """A check, what it says of a document, or nothing of one that passes, and its settings."""
    return pytest.param(check, text, content, state, id=f"{check}: {text}")


CASES = [
    case("scene.duplicate_names", r'9 objects of the name "x": /x, .*, \.\.\.$', names(*"xxxxxxxxx")),
    case("object.name", 'holds "copy"', names("Thing Copy")),
    case("object.name", "does not match", names("thing 2"), pattern="thing"),
    case("object.scale", "1, 1.5, 1 differs by axis", model(node={"scale": [1, 1.5, 1]})),
    case("object.scale", "flattened", model(node={"scale": [1, 0, 1]})),
    case("object.scale", "-2, 2, 2 is negative", model(node={"matrix": MIRROR})),
    case("object.scale", "shears", model(node={"matrix": SHEAR}), uneven=True),
    case("object.scale", "", model(node={"scale": [2, 2, 2.001]})),
    case("object.scale", "", model(node={"scale": [1, -2, 1]}), negative=True, uneven=True),
    case("mesh.indices", "part 2 .* 2 corners of 3 .* number 9", model({}, {"mode": 0, "order": [0, 4, 9]})),
    case("mesh.indices", "4 corners make no whole", model({"order": [0, 1, 2, 3]})),
    case("mesh.degenerate_triangles", "1 of 2", model(FLAT), area=6e5),
    case("mesh.degenerate_triangles", "", model({"mode": 5, "order": [0, 1, 2, 2, 2, 3, 0]})),
    case("mesh.normals", "3 of 4", model({"normals": [[0, 0, 1], [0, 0, 0], [0, 2, 0], [math.nan] * 3]})),
    case("mesh.normals", "", model({"normals": False}, material=UNLIT)),
    case("mesh.normals", "", model({"normals": [[0, 0, 2]] * 4}), lengths=False),
    case("mesh.bounds", "not told right", model({"bounds": ([0, 0, 0], [1, 2, 0])})),
    case("mesh.bounds", "1 of 4 positions not a number", model(NOWHERE)),
    case("mesh.triangle_budget", "4 triangles, 3 are", model({}, {}), most=3),
    case("mesh.triangle_budget", "0 triangles, at least 1", model({"mode": 1})),
    case("mesh_non_manifold.edges", "1 edge of more", model(FINNED, FIN)),
    case("mesh_non_manifold.open_edges", "4 open edges, 3 are allowed", model(), most=3),
    case("mesh_non_manifold.open_edges", "", model({"order": [0, 1, 2, 0, 2, 1]})),
    case("mesh_non_manifold.winding", "1 edge between", model({"order": [0, 1, 2, 0, 3, 2]})),
    case("mapping.missing", "in set 2", model({"uvs": [UNIT, UNIT]}, material={"aTexture": MOVED})),
    case("mapping.missing", "in set 0", model(), always=True),
    case("mapping.missing", "", model({"uvs": [UNIT, UNIT]}, material=TEXTURED)),
    case("mapping.outside", "2 of 4 .* 0, -0.25", model({"uvs": [[*UNIT[:2], [1.5, 1], [0, -0.25]]]})),
    case("mapping.outside", "1 of 4", model({"uvs": [UNIT, SECOND_TILE]}), uv_set=1, area=TILE),
    case("mapping.outside", "3 of 4 .* to 2, 3", model({"uvs": [[*UNIT[:1], *WILD, [2, 3]]]})),
    case("mapping.outside", "", model({"uvs": [UNIT]})),
    case("mapping.collapsed", "1 of 2 triangles", model({"uvs": [[*UNIT[:3], [0.5, 0.5]]]})),
    case("mapping.collapsed", "", model({"uvs": [[[math.inf, 0], *UNIT[1:]]]})),
    case("material.missing", "part 2: no material", model({}, {"material": None})),
    case("material.name", "^the material .* does not match .*$", model({}, {}), pattern="mat_.*"),
    case("material.name", "part 1 has no name", model(material={"alphaMode": "MASK"})),
    case("material.name", "", model(), pattern="x", allowed=[{"text": "br*"}]),
    case("material.images", r"lTexture: .*missing.*brick\.png", model(material=TEXTURED, **TEXTURES)),
    case("material.images", "names number 0", model(material=TEXTURED)),
    case("material.images", "", model(material=TEXTURED, **WEBP)),
    case("lod.decreasing", "level 2 has 2 triangles, level 1 before it 2", levels([3, 2, 2], [1, 2])),
    case("lod.triangles", "level 1 has 2 triangles, allowed are 0 to 1$", levels([3, 2], [1]), levels=FEW),
]


@pytest.mark.parametrize(("check", "text", "content", "state"), CASES)
def test_what_is_caught_is_told_and_what_is_right_passes(tmp_path, classes, check, text, content, state):
    scene = opened(tmp_path, content)
    result = run(classes, check, scene, scene.roots()[0], **state)
    message = result.result_message()
    assert (result.status, bool(message)) == ((STATUS.Fail, True) if text else (STATUS.Pass, False))
    assert re.search(text, message)
    assert len(message.splitlines()) == len(result._check.result)


def test_an_object_without_mesh_passes_and_broken_data_are_errors(tmp_path, classes):
    content = model({"uvs": [UNIT]}, node={"extensions": {"MSFT_lod": {"ids": [2]}}}, material=TEXTURED)
    content["nodes"].append({"mesh": 7})
    for accessor in content["accessors"]:
        accessor["count"] = 1_000
    scene = opened(tmp_path, content)
    without_data = {"object.name", "object.scale", "scene.duplicate_names", "mapping.missing"}
    without_data |= {"material.missing", "material.name", "material.images"}
    for check in classes:
        name = check.class_id.removeprefix("heron.")
        if not check.scene_oriented:
            assert run(classes, name, scene, "/no mesh").status == STATUS.Pass, name
        if name not in without_data:
            with logged() as messages:
                result = run(classes, name, scene)
            assert (result.status, result.could_be_fixed) == (STATUS.Error, False), name
            assert any("accessor" in message for message in messages), name
    scene.close()
    assert run(classes, "object.scale", scene).status == STATUS.Error


DEGENERATE = model({"order": [0, 1, 2, 3, 3, 0, 0, 2, 3], "uvs": [UNIT]}, {"mode": 5, "order": [0, 1, 3, 2]})
FIXES = [
    ("mesh.degenerate_triangles", DEGENERATE),
    ("mesh.normals", model({"normals": False}, {"normals": [[0, 0, 3], *[[0, 0, 1]] * 3]})),
    ("mesh.bounds", model({"bounds": (None, "wide")})),
    ("lod.decreasing", levels([4, 1, 3, 2], [1, 2, 3])),
]


@pytest.mark.parametrize("name", ["scene.gltf", "scene.glb"])
@pytest.mark.parametrize(("check", "content"), FIXES)
def test_a_fix_holds_after_saving(tmp_path, classes, check, content, name):
    scene = opened(tmp_path, glb(content) if name.endswith("b") else content, name)
    top = scene.roots()[0]
    result = run(classes, check, scene, top)
    assert (result.status, result.could_be_fixed) == (STATUS.Fail, True)
    result.fix_result()
    assert (result.status, result.could_be_fixed, result.result_message()) == (STATUS.Pass, False, "")
    scene.save()
    again = GltfScene(scene.get_current_file())
    for other in {check} | {other for other, _ in FIXES[:3] if check.startswith("mesh")}:
        assert run(classes, other, again, top).status == STATUS.Pass, other


def test_removing_triangles_keeps_the_others_and_never_all(tmp_path, classes):
    scene = opened(tmp_path, model({"order": [3, 3, 0, 0, 1, 2, 0, 2, 3]}, {"order": [0, 1, 1]}))
    result = run(classes, "mesh.degenerate_triangles", scene)
    found = [(finding.name, list(finding)) for finding in result._check.result]
    assert found == [("part 1 (brick)", [0]), ("part 2 (brick)", [0])]
    result.fix_result()
    assert (result.status, result.could_be_fixed) == (STATUS.Fail, False)
    parts = scene.geometry.mesh(0, "the test").primitives
    assert [part.triangles().tolist() for part in parts] == [[[0, 1, 2], [0, 2, 3]], [[0, 1, 1]]]


def test_computed_normals_lie_between_the_faces(tmp_path, classes):
    # Two faces of one size at a right angle, one that lies nowhere, and a vertex of none.
    places = [[0, 0, 0], [0, 0, 1], [1, 0, 0], [0, 1, 0], [9, 9, 9], [math.nan] * 3]
    order = [0, 1, 2, 0, 3, 1, 0, 1, 5]
    scene = opened(
        tmp_path, model({"positions": places, "order": order, "normals": False, "bounds": ([0], [0])})
    )
    run(classes, "mesh.normals", scene).fix_result()
    (found,) = scene.geometry.mesh(0, "the test").primitives
    half = math.sqrt(0.5)
    expected = [[half, half, 0], [half, half, 0], [0, 1, 0], [1, 0, 0], [0, 1, 0], [0, 1, 0]]
    np.testing.assert_allclose(found.attribute("NORMAL"), expected, atol=1e-6)


def test_a_fixed_name_is_the_one_that_is_shown(tmp_path, classes):
    scene = opened(tmp_path, names("", "node_0", "a/b|c\\d"))
    paths = scene.roots()
    assert paths == ["/node_0", "/node_0.001", "/a_b_c_d"]
    for path, fixable in zip(paths, (True, False, False)):
        result = run(classes, "object.name", scene, path)
        assert result.could_be_fixed is fixable
        result.fix_result()
        assert result.status == STATUS.Pass
    scene.save()
    again = GltfScene(scene.get_current_file())
    assert again.roots() == paths
    assert [again.node(path)["name"] for path in paths] == ["node_0", "node_0", "a/b|c\\d"]


def test_repeated_names_are_selected_and_told_apart(tmp_path, classes):
    content = names("car", "car", "wheel", "lamp", "wheel")
    grow(content["nodes"], [0, 0, 2, 0, 3])
    scene = opened(tmp_path, document(content["nodes"]))
    before = scene.paths()
    assert before == ["/car", "/car/wheel", "/car.001", "/car.001/wheel", "/lamp"]
    result = run(classes, "scene.duplicate_names", scene, scene.get_current_file())
    assert result.could_be_selected
    result.select_result()
    assert scene.get_selection() == ["/car", "/car.001"]
    assert run(classes, "scene.duplicate_names", scene, "", ignored=[{"text": "c?r"}]).status == STATUS.Pass
    wide = run(classes, "scene.duplicate_names", scene, "", within={"selected_attr": "scene"})
    assert [list(group) for group in wide._check.result] == [before[0:3:2], before[1:4:2]]
    wide.fix_result()
    assert (wide.status, wide.could_be_fixed) == (STATUS.Fail, False)
    assert run(classes, "scene.duplicate_names", scene).status == STATUS.Pass
    scene.save()
    assert GltfScene(scene.get_current_file()).paths() == before


def test_shared_meshes_count_as_often_as_they_are_drawn(tmp_path, classes):
    scene = opened(tmp_path, put(model(), "nodes/1/mesh", 0))
    assert run(classes, "scene.triangle_budget", scene, "", most=3).status == STATUS.Fail
    assert run(classes, "scene.triangle_budget", scene, "", most=2, once=True).status == STATUS.Pass


def test_edges_are_found_at_triangles_that_have_them(tmp_path, classes):
    scene = opened(tmp_path, model({"order": [0, 1, 2, 0, 3, 3]}))
    (found,) = run(classes, "mesh_non_manifold.open_edges", scene)._check.result
    assert list(found) == [0]


def test_a_check_stays_with_the_scene_it_looked_at(tmp_path, classes):
    first = opened(tmp_path, model({"bounds": ([0], [0])}), "first.gltf")
    result = run(classes, "mesh.bounds", first)
    second = opened(tmp_path, model({"bounds": ([0], [0])}), "second.gltf")
    result.fix_result()
    assert result.status == STATUS.Pass
    assert run(classes, "mesh.bounds", second).status == STATUS.Fail
    first.activate()
    assert run(classes, "mesh.bounds", second).status == STATUS.Pass
