"""The host for glTF files: reading, naming, kinds, selection, events, embedded data, saving."""

import json
import os
import stat

import pytest
from gltf_files import document, glb, grow, nodes_of, opened, write
from hypothesis import given
from hypothesis import strategies as st

import core
from heron.hosts.gltf import GltfError, GltfScene
from heron.hosts.gltf_tree import MAX_DEPTH

TYPE = core.Constants.Scene.Type
CAR = document(nodes_of({"car": {"body": {}, "wheel": {}}, "lamp": {}}))
DATA = [{"joint": {"path": "/car", "name": "дом", "children": [{"name": "body"}]}, "checked": True}]


DEEP = {"name": "bottom"}
for _ in range(200):
    DEEP = {"children": [DEEP]}
JOINTS = [None, {"path": 5}, {"children": [{"children": {}}]}, DEEP]
MALFORMED = [None, {}, [5], [{"checked": "yes"}], *([{"joint": joint}] for joint in JOINTS)]


@given(st.lists(st.tuples(st.integers(0, 9), st.sampled_from(["a", "b", "a.001", "", "a/b"])), max_size=30))
def test_any_forest_opens_with_consistent_queries(tmp_path_factory, shape):
    nodes = grow([{"name": name} for _, name in shape], [step for step, _ in shape])
    scene = opened(tmp_path_factory.getbasetemp(), document(nodes))
    paths, stack = [], scene.roots()[::-1]
    while stack:
        paths.append(stack.pop())
        stack += scene.get_children(paths[-1])[::-1]
    assert paths == scene.paths()
    assert len(paths) == len(set(paths)) == len(nodes)
    for path in paths:
        above, _, name = path.rpartition("/")
        assert scene.object_exists(path) and (scene.get_parent(path) or "") == above
        assert scene.path_of(scene.node_index(path)) == path
        # The first sibling of a name keeps it.
        own = (scene.node(path)["name"] or name).replace("/", "_")
        assert own == name or paths.index(f"{above}/{own}") < paths.index(path)


def test_types_follow_what_a_node_carries(tmp_path):
    for members, leaf, inner in (
        ({}, TYPE.Locator, TYPE.Transform),
        ({"mesh": 0, "skin": 0, "extensions": {"MSFT_lod": {"ids": []}}}, TYPE.Mesh, TYPE.Mesh),
        ({"camera": 0, "extensions": {"MSFT_lod": {"ids": []}}}, TYPE.LodGroup, TYPE.LodGroup),
        ({"skin": 0}, TYPE.Transform, TYPE.Transform),
        ({"extensions": {"KHR_lights_punctual": {"light": 0}}}, TYPE.Transform, TYPE.Transform),
    ):
        nodes = [{"name": "leaf", **members}, {"name": "inner", "children": [2], **members}, {}]
        scene = opened(tmp_path, document(nodes))
        assert (scene.get_type("/leaf"), scene.get_type("/inner")) == (leaf, inner), members


def test_the_default_scene_is_shown(tmp_path):
    for scenes, default, roots in (
        ([[0], [3, 0]], {"scene": 1}, ["/lamp", "/car"]),
        ([[3], [0]], {}, ["/lamp"]),
        ([], {}, ["/car", "/lamp"]),
        ([[]], {}, []),
    ):
        content = {**CAR, **default, "scenes": [{"nodes": nodes} for nodes in scenes]}
        assert opened(tmp_path, content).roots() == roots


def test_deep_chains_and_long_names_may_not_eat_the_memory(tmp_path):
    chain = [{"children": [index + 1]} for index in range(MAX_DEPTH - 1)]
    assert len(opened(tmp_path, document([*chain, {}])).paths()) == MAX_DEPTH
    with pytest.raises(GltfError, match="levels deep"):
        opened(tmp_path, document([*chain, {"children": [MAX_DEPTH]}, {}]))
    long = {"name": "n" * 2**20, "children": list(range(1, 400))}
    with pytest.raises(GltfError, match="characters"):
        opened(tmp_path, document([long, *({} for _ in range(399))]))


GLB = glb(CAR, (0x004E4942, b"\1\2\3\4"))


def test_a_bad_file_is_told_with_its_reason(tmp_path):
    for content, reason in (
        (b'{"a":' + b"[" * 200_000 + b"]" * 200_000 + b"}", "nested"),
        (b'{"asset": {"version": "2.0"}, "extras": NaN}', "NaN"),
        (GLB[:-1], "header tells"),
        (GLB[:-12] + b"\x08\0\0\0" + GLB[-8:], "wrong length"),
        (document([{"mesh": True}]), '"mesh" of node 0'),
        ({**CAR, "nodes": [{"children": ["1"]}]}, "whole number"),
        ({**CAR, "scenes": [{"nodes": [0, 1]}]}, "below node 0"),
        ({**CAR, "nodes": [{"children": [1, 2]}, {"children": [2]}, {}]}, "two parents"),
        ({**CAR, "scenes": [], "nodes": [{}, {"children": [2]}, {"children": [1]}]}, "own ancestor"),
    ):
        with pytest.raises(GltfError) as caught:
            opened(tmp_path, content)
        assert caught.value.path == str(tmp_path / "scene.gltf")
        assert reason in caught.value.reason and "\n" not in caught.value.reason


def test_selection_keeps_order_drops_doubles_and_unknown_paths(tmp_path):
    scene = opened(tmp_path, CAR)
    scene.select("/lamp", "/car/wheel", "/none", "/lamp", "/car/body")
    assert scene.get_selection() == ["/lamp", "/car/wheel", "/car/body"]
    assert scene.get_selection_roots() == ["/lamp", "/car"]
    scene.select()
    assert scene.get_selection() == scene.get_selection_roots() == []


def test_a_selection_scope_gives_every_scene_its_selection_back(tmp_path):
    first, second = opened(tmp_path, CAR, "1.gltf"), opened(tmp_path, CAR, "2.gltf")
    first.select("/car")
    second.select("/lamp")
    with GltfScene.selection_manager():
        first.select()
        with first.selection_manager():
            first.select("/lamp")
            second.select()
        assert (first.get_selection(), second.get_selection()) == ([], ["/lamp"])
    assert (first.get_selection(), second.get_selection()) == (["/car"], ["/lamp"])


def test_events_reach_their_functions_until_they_are_deleted(tmp_path):
    scene, events = opened(tmp_path, CAR), []
    other = write(tmp_path / "other.gltf", document([{"name": "other"}]))
    scene.register_scene_opened_callback(lambda: events.append(scene.roots()))
    scene.register_shutdown_callback(lambda: events.append(scene.get_current_file()))
    scene.select("/car")
    with pytest.raises(GltfError):
        scene.open("a\0b.gltf")
    assert (events, scene.get_selection()) == ([], ["/car"])
    scene.open(other)
    assert (events, scene.get_selection()) == ([["/other"]], [])
    scene.close(), scene.close()
    assert (events, scene.get_current_file(), scene.roots()) == ([["/other"], other], "", [])
    scene.register_shutdown_callback(events.clear)
    scene.delete_callbacks()
    scene.open(other)
    scene.close()
    assert len(events) == 2


def test_data_live_in_memory_until_they_are_saved(tmp_path):
    scene = opened(tmp_path, {**CAR, "extras": {"mine": 1}})
    scene.embed_filedata(DATA)
    scene.query_filedata().clear()
    assert (scene.query_filedata(), GltfScene(scene.get_current_file()).query_filedata()) == (DATA, [])
    scene.save()
    again = GltfScene(scene.get_current_file())
    assert again.query_filedata() == DATA
    again.erase_filedata()
    again.save()
    assert json.loads((tmp_path / "scene.gltf").read_bytes()) == {**CAR, "extras": {"mine": 1}}


@pytest.mark.parametrize("extras", [None, 5, [DATA], {}, *({"heron": data} for data in MALFORMED)])
def test_extras_of_another_shape_hold_no_data_and_survive(tmp_path, extras):
    scene = opened(tmp_path, {**CAR, "extras": extras})
    assert scene.query_filedata() == []
    scene.save()
    before = (tmp_path / "scene.gltf").read_bytes()
    assert json.loads(before)["extras"] == extras
    scene.embed_filedata(DATA)
    if not isinstance(extras, dict):
        with pytest.raises(GltfError, match="extras"):
            scene.save()
        assert (tmp_path / "scene.gltf").read_bytes() == before


def test_a_saved_glb_is_valid_and_keeps_its_chunks(tmp_path):
    chunks = [(0x004E4942, bytes(range(8))), (0x12345678, b"\xff\0\xff\0")]
    scene = opened(tmp_path, glb({**CAR, "buffers": [{"byteLength": 8}]}, *chunks), "scene.glb")
    for data in (DATA, [], [{"name": "x"}], [{"name": "xy"}], [{"name": "xyz"}]):
        scene.embed_filedata(data)
        scene.save()
        raw = (tmp_path / "scene.glb").read_bytes()
        length = int.from_bytes(raw[12:16], "little")
        text = raw[20 : 20 + length]
        assert raw == glb(text, *chunks)
        assert json.loads(text).get("extras", {}).get("heron", []) == data


def test_a_gltf_keeps_its_layout_and_its_names(tmp_path):
    for text in (
        '{"asset":{"version":"2.0"},"nodes":[{"name":"\\ud800 \\u0434 é"}]}',
        '{\r\n\t"asset": {\r\n\t\t"version": "2.0"\r\n\t}\r\n}',
    ):
        opened(tmp_path, b"\xef\xbb\xbf" + text.encode()).save()
        written = (tmp_path / "scene.gltf").read_text("utf-8")
        assert json.loads(written) == json.loads(text)
        assert written == text.replace("\r\n", "\n").replace("\\u0434", "д")


def test_save_as_stays_with_the_files_beside_it(tmp_path):
    (tmp_path / "sub").mkdir()
    embedded = {"extras": {"uri": "note"}, "buffers": [{"byteLength": 1, "uri": "data:;base64,AA=="}]}
    for members in ({}, embedded):
        scene = opened(tmp_path, {**CAR, **members})
        scene.save(str(tmp_path / "sub" / "other.gltf"))
        assert scene.get_current_file() == str(tmp_path / "sub" / "other.gltf")
    tied = opened(tmp_path, {**CAR, "extensions": {"X": {"clips": [{"uri": "clip.mp3"}]}}})
    tied.save(str(tmp_path / "other.gltf"))
    for target, reason in (("sub/other.gltf", "clip.mp3"), ("other.glb", "cannot be saved as")):
        with pytest.raises(GltfError, match=reason):
            tied.save(str(tmp_path / target))
    assert tied.get_current_file() == str(tmp_path / "other.gltf")


def test_saving_replaces_the_content_behind_a_link_and_keeps_the_mode(tmp_path):
    path, link = tmp_path / "scene.gltf", tmp_path / "link.gltf"
    write(path, CAR)
    path.chmod(0o640)
    link.symlink_to(path)
    scene = GltfScene(str(link))
    scene.embed_filedata(DATA)
    scene.save()
    assert link.is_symlink() and stat.S_IMODE(path.stat().st_mode) == 0o640
    assert GltfScene(str(path)).query_filedata() == DATA
    assert sorted(os.listdir(tmp_path)) == ["link.gltf", "scene.gltf"]


def test_a_failed_save_changes_nothing(tmp_path):
    raw = b'{"asset": {"version": "2.0"}, "extras": {"x": 1e999}}'
    beyond_json, scene = opened(tmp_path, raw, "raw.gltf"), opened(tmp_path, CAR)
    for one, target in ((beyond_json, "raw"), (scene, "none/scene")):
        with pytest.raises(GltfError, match="cannot be written"):
            one.save(str(tmp_path / f"{target}.gltf"))
    assert (tmp_path / "raw.gltf").read_bytes() == raw
    assert sorted(os.listdir(tmp_path)) == ["raw.gltf", "scene.gltf"]
    scene.close()
    with pytest.raises(GltfError, match="no open scene"):
        scene.save(str(tmp_path / "new.gltf"))
