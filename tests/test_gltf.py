"""The host for glTF files: reading, naming, kinds, selection, events, embedded data, saving."""

import gc
import json
import os
import stat
import weakref

import pytest
from gltf_files import document, glb, nodes_of, write
from hypothesis import given
from hypothesis import strategies as st
from pygltflib import GLTF2

import core
from heron.hosts.gltf import GltfError, GltfScene
from heron.hosts.gltf_tree import MAX_DEPTH, unique_names

TYPE = core.Constants.Scene.Type
CAR = document(nodes_of({"car": {"body": {}, "wheel": {}}, "lamp": {}}))
DATA = [
    {
        "joint": {
            "stamp": "a",
            "type": "car",
            "name": "дом",
            "path": "/car",
            "icon": "",
            "color": "none",
            "children": [{"name": "body", "children": []}],
        },
        "name": "car",
        "checked": True,
        "opened": False,
    }
]


def open_scene(tmp_path, content, name="scene.gltf"):
    return GltfScene(write(tmp_path / name, content))


def all_paths(scene):
    """Every path that a walk over the queries meets, parents first."""
    paths, stack = [], scene.roots()[::-1]
    while stack:
        paths.append(stack.pop())
        stack += scene.get_children(paths[-1])[::-1]
    return paths


def chain(length):
    return document([{"children": [index + 1]} for index in range(length - 1)] + [{}])


# Objects


@pytest.mark.parametrize(
    ("names", "expected"),
    [
        (["a", "b"], ["a", "b"]),
        ([None, "", "a"], ["node_0", "node_1", "a"]),
        (["a", "a", "a"], ["a", "a.001", "a.002"]),
        (["a", "a", "a.001"], ["a", "a.002", "a.001"]),
        (["a.001", "a", "a", "a.001"], ["a.001", "a", "a.002", "a.001.001"]),
        (["x/y", "x|y", "x\\y"], ["x_y", "x_y.001", "x_y.002"]),
        ([None, "node_0"], ["node_0", "node_0.001"]),
    ],
)
def test_siblings_get_clean_and_unique_names(tmp_path, names, expected):
    nodes = [{} if name is None else {"name": name} for name in names]
    top = open_scene(tmp_path, document(nodes))
    assert top.roots() == [f"/{name}" for name in expected]
    nodes.append({"name": "root", "children": list(range(len(names)))})
    below = open_scene(tmp_path, document(nodes))
    assert below.get_children("/root") == [f"/root/{name}" for name in expected]


@given(st.lists(st.sampled_from(["a", "a.001", "a.002", "a.001.001", "b"]), max_size=12))
def test_names_are_unique_and_first_holders_keep_theirs(names):
    result = unique_names(names)
    assert len(set(result)) == len(names)
    for index, name in enumerate(names):
        assert (result[index] == name) == (name not in names[:index])


@given(st.lists(st.tuples(st.integers(0, 30), st.sampled_from(["a", "b", "a.001", "", "a/b"])), max_size=30))
def test_any_forest_opens_with_consistent_queries(tmp_path_factory, shape):
    # Node 0..n-1; each takes an earlier node as its parent, or none.
    nodes = [{"name": name} for _, name in shape]
    for index, (parent, _) in enumerate(shape):
        if parent < index:
            nodes[parent].setdefault("children", []).append(index)
    scene = open_scene(tmp_path_factory.mktemp("forest"), document(nodes))
    paths = all_paths(scene)
    assert len(paths) == len(set(paths)) == len(nodes)
    for path in paths:
        assert scene.object_exists(path)
        assert (scene.get_parent(path) or "") == path.rpartition("/")[0]
        assert scene.name_from_path(path) == path.rpartition("/")[2] != ""


@pytest.mark.parametrize(
    ("members", "leaf", "inner"),
    [
        ({}, TYPE.Locator, TYPE.Transform),
        ({"mesh": 0}, TYPE.Mesh, TYPE.Mesh),
        ({"mesh": 0, "skin": 0, "extensions": {"MSFT_lod": {"ids": []}}}, TYPE.Mesh, TYPE.Mesh),
        ({"extensions": {"MSFT_lod": {"ids": []}}}, TYPE.LodGroup, TYPE.LodGroup),
        ({"camera": 0}, TYPE.Transform, TYPE.Transform),
        ({"skin": 0}, TYPE.Transform, TYPE.Transform),
        ({"extensions": {"KHR_lights_punctual": {"light": 0}}}, TYPE.Transform, TYPE.Transform),
        ({"extensions": {"OTHER": {}}}, TYPE.Locator, TYPE.Transform),
    ],
)
def test_types_follow_what_a_node_carries(tmp_path, members, leaf, inner):
    scene = open_scene(
        tmp_path, document([{"name": "leaf", **members}, {"name": "inner", "children": [2], **members}, {}])
    )
    assert scene.get_type("/leaf") == leaf
    assert scene.get_type("/inner") == inner


@pytest.mark.parametrize(
    ("change", "roots"),
    [
        ({"scene": 1, "scenes": [{"nodes": [0]}, {"nodes": [3, 0]}]}, ["/lamp", "/car"]),
        ({"scenes": [{"nodes": [3]}, {"nodes": [0]}]}, ["/lamp"]),
        ({"scenes": [{}]}, []),
        ({"scenes": []}, ["/car", "/lamp"]),
        ({"scenes": [], "nodes": []}, []),
    ],
)
def test_the_default_scene_is_shown(tmp_path, change, roots):
    assert open_scene(tmp_path, {**CAR, **change}).roots() == roots


def test_queries_of_an_unknown_path_find_nothing(tmp_path):
    scene = open_scene(tmp_path, CAR)
    for path in ("", "|", "car", "/car/", "/none"):
        assert not scene.object_exists(path)
        assert (scene.get_parent(path), scene.get_children(path)) == (None, [])
    scene.get_children("/car").clear()
    assert scene.get_children("/car") == ["/car/body", "/car/wheel"]


def test_a_deep_chain_opens_and_one_beyond_reason_is_refused(tmp_path):
    assert len(all_paths(open_scene(tmp_path, chain(MAX_DEPTH)))) == MAX_DEPTH
    for length in (MAX_DEPTH + 1, 100_000):
        with pytest.raises(GltfError, match="levels deep"):
            open_scene(tmp_path, chain(length))


def test_long_names_may_not_eat_the_memory(tmp_path):
    nodes = [{"name": "n" * 2**20, "children": list(range(1, 400))}, *({} for _ in range(399))]
    with pytest.raises(GltfError, match="characters"):
        open_scene(tmp_path, document(nodes))


# Bad files

GLB = glb(CAR, (0x004E4942, b"\1\2\3\4"))
BAD_FILES = {
    "empty": (b"", "empty"),
    "text": (b"hello", "not JSON"),
    "not UTF-8": (b'{"asset": "\xff"}', "UTF-8"),
    "deep JSON": (b'{"a":' + b"[" * 200_000 + b"]" * 200_000 + b"}", "nested"),
    "NaN": (b'{"asset": {"version": "2.0"}, "extras": NaN}', "NaN"),
    "array": ([], "not an object"),
    "no asset": ({}, "version"),
    "number as version": ({"asset": {"version": 2.0}}, "version"),
    "version 1": ({"asset": {"version": "1.0"}}, "1.0 is not supported"),
    "version 3": ({"asset": {"version": "3.0"}}, "3.0 is not supported"),
    "GLB 1": (glb(CAR, version=1), "GLB version 1"),
    "GLB longer than told": (GLB + b"\0\0\0\0", "header tells"),
    "GLB shorter than told": (glb(CAR, size=2000), "header tells"),
    "GLB without chunks": (b"glTF\2\0\0\0\x0c\0\0\0", "not JSON"),
    "GLB with a binary chunk first": (GLB[:16] + b"BIN\0" + GLB[20:], "not JSON"),
    "GLB chunk beyond the end": (GLB[:-12] + b"\x08\0\0\0" + GLB[-8:], "wrong length"),
    "GLB chunk of odd length": (glb(CAR, (7, b"\1\2\3")), "wrong length"),
    "GLB with bad JSON": (glb(b"{{{"), "not JSON"),
    "nodes no list": ({**CAR, "nodes": {}}, '"nodes"'),
    "node no object": ({**CAR, "nodes": [3]}, "not an object"),
    "name no text": (document([{"name": 5}]), '"name" of node 0'),
    "mesh no number": (document([{"mesh": "0"}]), '"mesh" of node 0'),
    "mesh a truth value": (document([{"mesh": True}]), '"mesh" of node 0'),
    "extensions no object": (document([{"extensions": []}]), '"extensions" of node 0'),
    "children null": ({**CAR, "nodes": [{"children": None}]}, '"children" of node 0'),
    "child no number": ({**CAR, "nodes": [{"children": ["1"]}]}, "whole number"),
    "child out of range": ({**CAR, "nodes": [{"children": [1]}]}, "there are 1"),
    "child below zero": ({**CAR, "nodes": [{"children": [-1]}]}, "there are 1"),
    "root out of range": ({**CAR, "scenes": [{"nodes": [9]}]}, "scene 0 names node 9"),
    "root twice": ({**CAR, "scenes": [{"nodes": [0, 0]}]}, "twice"),
    "root below a node": ({**CAR, "scenes": [{"nodes": [0, 1]}]}, "below node 0"),
    "two parents": ({**CAR, "nodes": [{"children": [1, 2]}, {"children": [2]}, {}]}, "two parents"),
    "child twice": ({**CAR, "nodes": [{"children": [1, 1]}, {}]}, "two parents"),
    "own child": ({**CAR, "scenes": [], "nodes": [{"children": [0]}]}, "own ancestor"),
    "ring out of sight": (
        {**CAR, "scenes": [{"nodes": [0]}], "nodes": [{}, {"children": [2]}, {"children": [1]}]},
        "own ancestor",
    ),
    "scene out of range": ({**CAR, "scene": 1}, "there are 1"),
    "scene no number": ({**CAR, "scene": "0"}, '"scene"'),
}


@pytest.mark.parametrize(("content", "reason"), BAD_FILES.values(), ids=BAD_FILES)
def test_a_bad_file_is_told_with_its_reason(tmp_path, content, reason):
    with pytest.raises(GltfError) as caught:
        open_scene(tmp_path, content)
    assert caught.value.path == str(tmp_path / "scene.gltf")
    assert reason in caught.value.reason
    assert "\n" not in caught.value.reason


def test_a_missing_file_and_a_directory_are_told_alike(tmp_path):
    for path in (tmp_path / "missing.gltf", tmp_path, "a\0b"):
        with pytest.raises(GltfError, match=r"missing|a\0b|" + str(tmp_path)):
            GltfScene(path)


def test_a_glb_cut_at_any_length_is_refused(tmp_path):
    for length in range(len(GLB)):
        with pytest.raises(GltfError):
            open_scene(tmp_path, GLB[:length], "scene.glb")


JSON_VALUES = st.recursive(
    st.none() | st.booleans() | st.integers(-2, 9) | st.text(max_size=3),
    lambda inner: (
        st.lists(inner, max_size=3) | st.dictionaries(st.sampled_from(["nodes", "name"]), inner, max_size=2)
    ),
)


@given(st.data())
def test_a_document_with_any_wrong_value_opens_or_is_refused(tmp_path_factory, data):
    broken = json.loads(json.dumps({**CAR, "scene": 0, "extras": {"heron": DATA}}))
    place = broken
    while True:
        keys = range(len(place)) if isinstance(place, list) else list(place)
        key = data.draw(st.sampled_from(keys))
        if not (isinstance(place[key], (dict, list)) and place[key] and data.draw(st.booleans())):
            break
        place = place[key]
    place[key] = data.draw(JSON_VALUES)
    try:
        scene = open_scene(tmp_path_factory.mktemp("broken"), broken)
    except GltfError:
        return
    assert isinstance(scene.query_filedata(), list)
    scene.save()


# Selection and events


def test_selection_keeps_order_drops_doubles_and_unknown_paths(tmp_path):
    scene = open_scene(tmp_path, CAR)
    assert scene.get_selection() == []
    scene.select("/lamp", "/car/wheel", "/none", "/lamp", "/car/body")
    assert scene.get_selection() == ["/lamp", "/car/wheel", "/car/body"]
    assert scene.get_selection_roots() == ["/lamp", "/car"]
    scene.select()
    assert scene.get_selection() == scene.get_selection_roots() == []


def test_a_selection_scope_gives_every_scene_its_selection_back(tmp_path):
    first, second = open_scene(tmp_path, CAR, "1.gltf"), open_scene(tmp_path, CAR, "2.gltf")
    first.select("/car")
    second.select("/lamp")
    outer = GltfScene.selection_manager()
    with outer:
        first.select()
        with first.selection_manager() as inner:
            assert inner is not outer
            first.select("/lamp")
            second.select()
        assert (first.get_selection(), second.get_selection()) == ([], ["/lamp"])
    assert (first.get_selection(), second.get_selection()) == (["/car"], ["/lamp"])
    with pytest.raises(KeyError), outer:
        raise KeyError


def test_scopes_do_not_keep_scenes_alive(tmp_path):
    scene = open_scene(tmp_path, CAR)
    known = weakref.ref(scene)
    with GltfScene.selection_manager():
        pass
    del scene
    gc.collect()
    assert known() is None


def test_events_reach_their_functions_until_they_are_deleted(tmp_path):
    scene, events = open_scene(tmp_path, CAR), []
    other = write(tmp_path / "other.gltf", document([{"name": "other"}]))
    scene.register_scene_opened_callback(lambda: events.append(scene.roots()))
    scene.register_shutdown_callback(lambda: events.append(scene.get_current_file()))
    scene.select("/car")
    with pytest.raises(GltfError):
        scene.open(str(tmp_path / "missing.gltf"))
    assert (events, scene.get_selection()) == ([], ["/car"])
    scene.open(other)
    assert (events, scene.get_selection()) == ([["/other"]], [])
    scene.close()
    scene.close()
    assert events == [["/other"], other]
    assert (scene.get_current_file(), scene.roots()) == ("", [])
    scene.register_shutdown_callback(events.clear)
    scene.delete_callbacks()
    scene.open(other)
    scene.close()
    assert len(events) == 2


def test_what_the_host_lacks(tmp_path):
    scene = open_scene(tmp_path, CAR)
    assert scene.directory_dialog() is scene.file_dialog() is None


# Embedded data and saving


def test_data_live_in_memory_until_they_are_saved(tmp_path):
    scene = open_scene(tmp_path, {**CAR, "extras": {"mine": 1}})
    path = scene.get_current_file()
    assert scene.query_filedata() == []
    scene.embed_filedata(DATA)
    scene.query_filedata().clear()
    assert scene.query_filedata() == DATA
    assert GltfScene(path).query_filedata() == []
    scene.save()
    again = GltfScene(path)
    assert again.query_filedata() == DATA
    again.erase_filedata()
    again.erase_filedata()
    assert again.query_filedata() == []
    again.save()
    assert json.loads((tmp_path / "scene.gltf").read_bytes()) == {**CAR, "extras": {"mine": 1}}


@pytest.mark.parametrize(
    "extras",
    [
        None,
        5,
        [DATA],
        {},
        {"heron": None},
        {"heron": {}},
        {"heron": [5]},
        {"heron": [{"joint": None}]},
        {"heron": [{"joint": {"path": 5}}]},
        {"heron": [{"joint": {"children": [{"children": {}}]}}]},
        {"heron": [{"checked": "yes"}]},
    ],
)
def test_extras_of_another_shape_hold_no_data_and_survive(tmp_path, extras):
    scene = open_scene(tmp_path, {**CAR, "extras": extras})
    assert scene.query_filedata() == []
    scene.save()
    assert json.loads((tmp_path / "scene.gltf").read_bytes())["extras"] == extras


def test_extras_that_are_no_object_take_no_data(tmp_path):
    scene = open_scene(tmp_path, {**CAR, "extras": [1]})
    before = (tmp_path / "scene.gltf").read_bytes()
    scene.embed_filedata(DATA)
    with pytest.raises(GltfError, match="extras"):
        scene.save()
    assert (tmp_path / "scene.gltf").read_bytes() == before


def test_a_saved_glb_is_valid_and_keeps_its_chunks(tmp_path):
    chunks = [(0x004E4942, bytes(range(8))), (0x12345678, b"\xff\0\xff\0")]
    scene = open_scene(tmp_path, glb({**CAR, "buffers": [{"byteLength": 8}]}, *chunks), "scene.glb")
    for data in (DATA, [], [{"name": "x"}], [{"name": "xy"}], [{"name": "xyz"}]):
        scene.embed_filedata(data)
        scene.save()
        raw = (tmp_path / "scene.glb").read_bytes()
        length = int.from_bytes(raw[12:16], "little")
        text = raw[20 : 20 + length]
        assert raw == glb(text, *chunks)
        assert json.loads(text).get("extras", {}).get("heron", []) == data
        with pytest.warns(UserWarning, match="unknown type"):
            reader = GLTF2().load(str(tmp_path / "scene.glb"))
        assert [node.name for node in reader.nodes] == ["car", "body", "wheel", "lamp"]
        assert reader.binary_blob() == chunks[0][1]


@pytest.mark.parametrize(
    "text",
    [
        '{"asset":{"version":"2.0"},"nodes":[{"name":"\\ud800 \\u0434 é"}]}',
        '{\n  "asset": {\n    "version": "2.0"\n  },\n  "nodes": [\n    {\n      "mesh": 0\n    }\n  ]\n}',
        '{\r\n\t"asset": {\r\n\t\t"version": "2.0"\r\n\t}\r\n}',
    ],
)
def test_a_gltf_keeps_its_layout_and_its_names(tmp_path, text):
    scene = open_scene(tmp_path, b"\xef\xbb\xbf" + text.encode())
    scene.save()
    assert json.loads((tmp_path / "scene.gltf").read_bytes()) == json.loads(text)
    written = (tmp_path / "scene.gltf").read_text("utf-8")
    assert written == text.replace("\r\n", "\n").replace("\\u0434", "д")


def test_a_number_beyond_json_stops_the_save(tmp_path):
    raw = b'{"asset": {"version": "2.0"}, "extras": {"x": 1e999}}'
    scene = open_scene(tmp_path, raw)
    with pytest.raises(GltfError, match="cannot be written"):
        scene.save()
    assert (tmp_path / "scene.gltf").read_bytes() == raw


def test_save_as_stays_with_the_files_beside_it(tmp_path):
    (tmp_path / "sub").mkdir()
    alone, tied = (
        open_scene(tmp_path, CAR),
        open_scene(tmp_path, {**CAR, "extensions": {"X": {"clips": [{"uri": "clip.mp3"}]}}}, "tied.gltf"),
    )
    embedded = open_scene(
        tmp_path,
        {**CAR, "extras": {"uri": "note"}, "buffers": [{"byteLength": 1, "uri": "data:;base64,AA=="}]},
        "embedded.gltf",
    )
    for scene in (alone, embedded):
        scene.save(str(tmp_path / "sub" / "other.gltf"))
        assert scene.get_current_file() == str(tmp_path / "sub" / "other.gltf")
    tied.save(str(tmp_path / "other.gltf"))
    for target, reason in (("sub/other.gltf", "clip.mp3"), ("other.glb", "cannot be saved as")):
        with pytest.raises(GltfError, match=reason):
            tied.save(str(tmp_path / target))
    assert tied.get_current_file() == str(tmp_path / "other.gltf")
    with pytest.raises(GltfError, match="no open scene"):
        GltfScene().save(str(tmp_path / "new.gltf"))


def test_saving_replaces_the_content_behind_a_link_and_keeps_the_mode(tmp_path):
    path = tmp_path / "scene.gltf"
    write(path, CAR)
    path.chmod(0o640)
    link = tmp_path / "link.gltf"
    link.symlink_to(path)
    scene = GltfScene(str(link))
    scene.embed_filedata(DATA)
    scene.save()
    assert link.is_symlink()
    assert stat.S_IMODE(path.stat().st_mode) == 0o640
    assert GltfScene(str(path)).query_filedata() == DATA
    assert sorted(os.listdir(tmp_path)) == ["link.gltf", "scene.gltf"]


def test_a_failed_save_leaves_nothing_behind(tmp_path):
    scene = open_scene(tmp_path, CAR)
    (tmp_path / "folder.gltf").mkdir()
    for target in ("folder.gltf", "none/scene.gltf"):
        with pytest.raises(GltfError, match="cannot be written"):
            scene.save(str(tmp_path / target))
    assert sorted(os.listdir(tmp_path)) == ["folder.gltf", "scene.gltf"]
