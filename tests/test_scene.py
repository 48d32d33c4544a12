"""The host's side: operators and type tables, the snapshot, the buffer with its buckets and joints."""

import json
from contextlib import nullcontext

import pytest
from hosts import QUERIES, DictHost, node, rule, scene, session

import core

Operator, Virtual, Buffer = core.Scene.Operator, core.Scene._Virtual, core.Scene._Buffer
Joint, Bucket = Buffer.DataJoint, Buffer.DataBucket
DEEP = 100_000


def test_what_a_host_has_without_saying_so():
    for path in ("", "a", "|a|b", "/a/b", "|a/b|c", "a|b/c", "a/", "|", "a\\b", "/a\n", "/é\ud800"):
        assert Operator.name_from_path(path) == path.replace("|", "/").split("/")[-1]
    host = type("Bare", (Operator,), {})()
    of_a_path = (*QUERIES[:4], "embed_filedata", "postscript_scan_append", "postscript_scan_remove")
    others = "get_selection get_selection_roots select query_filedata erase_filedata selection_manager"
    calls = [(name, ["/a"]) for name in of_a_path] + [(name, []) for name in others.split()]
    calls += [("delete_callbacks", []), ("directory_dialog", []), ("export", [1, 2, 3, 4])]
    for operation, arguments in calls:
        with pytest.raises(NotImplementedError, match=operation):
            getattr(host, operation)(*arguments)
    with pytest.raises(NotImplementedError, match="object_exists"):
        Virtual(host).upload(["/a"])


def test_host_types_are_translated():
    host = DictHost()
    assert isinstance(host.type_mapping, core.TypeMapping) and host._type_mapping is host.type_mapping
    assert host.map_type("xform") == "transform" and host.map_type("mesh") is None
    table = core.TypeMapping({"a": "x", "b": "x", "c": "y"})
    assert (table._table, table._types) == ({"a": "x", "b": "x", "c": "y"}, {"x", "y"})
    assert table.exist("x") and not table.exist("a") and table.get("c") == "y"


# The snapshot.


def test_a_snapshot_asks_once_and_answers_alone():
    host = scene({"a": {"b:mesh": None, "c": {"d": None}}})
    host.put("/e", "/lost")
    virtual = Virtual(host)
    virtual.upload(["/a", "/e", "/none", "/a/c", "/a"])
    assert [host.calls[query] for query in QUERIES] == [6, 5, 5, 5, 5]
    host.calls.clear()
    assert [virtual.object_exists(path) for path in ("/a", "/none", "/lost")] == [True, False, False]
    assert [virtual.get_type(path) for path in ("/a/b", "/none")] == ["mesh", ""]
    assert [virtual.get_parent(path) for path in ("/a", "/e", "?")] == [None, "/lost", None]
    assert [virtual.get_children(path) for path in ("/a", "/a/b")] == [["/a/b", "/a/c"], []]
    assert virtual.get_children("/a") is virtual.get_children("/a")
    found = virtual.get_locations(["/a/c", "/none", "/a", "?"])
    fields = [(one.name, one.path, one.children) for one in found]
    assert fields == [("c", "/a/c", ["/a/c/d"]), ("a", "/a", ["/a/b", "/a/c"])]
    assert virtual._exists["/none"] is False and "/none" not in virtual._name
    assert virtual._type == {path: kind for path, (_, kind) in host.objects.items()}
    assert not host.calls
    one, same, other = (Virtual._Location(name, path, "t", None) for name, path in ("ap", "bp", "aq"))
    assert one == same and hash(one) == hash(same) and one != other and one != "p"  # known by their paths
    assert one.children == [] and one.children is not other.children


def test_a_snapshot_is_replaced_or_added_to():
    virtual = Virtual(scene({"a": None, "b": None}))
    for path, clear, known in (("/a", True, ["/a"]), ("/b", False, ["/a", "/b"]), ("/b", True, ["/b"])):
        virtual.upload([path], clear)
        assert list(virtual._exists) == known
    virtual.offload()
    assert [*virtual._exists, *virtual._name, *virtual._type, *virtual._parent, *virtual._children] == []
    assert not virtual.object_exists("/b") and virtual.get_locations(["/b"]) == []


@pytest.mark.parametrize("query", QUERIES)
@pytest.mark.parametrize("error", [ValueError, KeyboardInterrupt])
def test_errors_of_the_host_pass_and_the_snapshot_stays_usable(query, error):
    host = scene({"a": {"b": None}})
    virtual = Virtual(host)
    for clear in (True, False):  # what is copied over an earlier copy is incomplete as well
        host.failures[query] = error("no")
        with pytest.raises(error, match="no"):
            virtual.upload(["/a"], clear)
        if query == "object_exists":
            assert len(virtual.get_locations(["/a"])) == (not clear)
        else:  # a part of the object is missing, so nothing may be matched with it
            with pytest.raises(KeyError, match="interrupted"):
                virtual.get_locations(["/a"])
        del host.failures[query]
        virtual.upload(["/a"])
        assert virtual.get_children("/a") == ["/a/b"]


@pytest.mark.parametrize("arguments", [(["/a/c"],), (["/a"], False), ()])
def test_an_upload_inside_an_upload(arguments):
    host = scene({"a": {"b": None, "c": None}})
    virtual, inside = Virtual(host), []
    change = virtual.upload if arguments else virtual.offload
    host.before = lambda *_: inside or inside.append(1) or change(*arguments)
    virtual.upload(["/a"])  # of this one only the end is certain
    virtual.upload(["/a"])
    assert len(virtual.get_locations(["/a", "/a/b", "/a/c"])) == 3


def test_a_scene_may_be_deep():
    host = DictHost()
    for number in range(DEEP):  # short paths that tell nothing of how deep they are
        host.put(f"{number}", f"{number - 1}" if number else None)
    engine = session(host, node(rule("ghost", types=["transform"]), node(rule("any", "."))))
    host.selection = [f"{DEEP - 1}"]
    assert engine.scanner.upload_buffer() is False
    assert engine.events == ["empty_scan_result"] and len(engine.virtual._exists) == DEEP
    engine.buffer.set([Bucket(Joint(type="ghost", children=[Joint(path=f"{DEEP - 1}")]))])
    assert engine.buffer.ghosts_match() is True  # climbs all the way


def test_objects_below_and_above_themselves():
    host = scene({"a": {"b": {"c": None}}})
    for target in ("/a", "/a/b"):
        host.children["/a/b/c"] = [target]
        with pytest.raises(RecursionError):
            Virtual(host).upload(["/a"])
    host.objects["/a"] = ("/a/b", "transform")
    host.selection = ["/a/b"]
    engine = session(host, node(rule("ghost", types=["transform"]), node(rule("any", "."))))
    with pytest.raises(RecursionError):
        engine.scanner._find_scope_roots(["/x"])
    with pytest.raises(RecursionError):
        engine.buffer.ghost_match(Bucket(Joint(type="ghost", children=[Joint(path="/a/b")])))


# Joints and buckets.


def test_a_joint():
    one, other = Joint(), Joint()
    keys = ["stamp", "type", "name", "path", "children", "icon", "color"]
    assert list(one.data.items()) == list(zip(keys, ["", "", "", "|", [], "", "none"]))
    one.children.append(other)
    assert other.children == [] and one == other != "joint"  # children do not count, and neither do
    assert Joint(icon="z", color="z") == one and hash(Joint(icon="z")) == hash(one)
    assert all(Joint(**{field: "z"}) != one for field in ("stamp", "name", "path", "type"))
    order = Joint("stamp", "name", "path", "type", [other], "icon", "color")
    assert [*order.data.values()] == ["stamp", "type", "name", "path", [other.data], "icon", "color"]


def test_a_bucket():
    joint = Joint(name="root")
    assert Bucket(joint).name == "root" and Bucket(joint, name="").name == ""
    bucket = Bucket(joint, "x", checked=False)
    fields = {"joint": joint.data, "name": "x", "checked": False, "opened": True}
    assert list(bucket.data.items()) == list(fields.items())
    bucket.name = 5
    assert bucket.name == "x"
    bucket.name = "y"
    assert bucket == Bucket(Joint(name="root"), "y", False) != Bucket(joint, "y", True)
    assert hash(bucket) == hash(Bucket(Joint(path="/other"), "y", False))
    for _ in range(2):  # what is embedded is plain text, and takes nothing from the bucket
        data = bucket.data
        assert {type(data["joint"][key]) for key in ("name", "path", "type")} == {type(data["name"])} == {str}
        assert {type(text) for text in (bucket.name, joint.name, joint.path)} == {core._Str}


# The buffer.


def filled(*names):
    """A session with a bucket for each of these objects."""
    engine = session(scene(dict.fromkeys(names)), node(rule("any", ".")))
    engine.host.selection = [f"/{name}" for name in names]
    assert engine.scanner.upload_buffer()
    return engine


def names(engine):
    return [bucket.name for bucket in engine.buffer.get()]


def test_the_list_of_buckets():
    engine = filled("b", "a")
    buffer, (b, a) = engine.buffer, engine.buffer.get()
    assert buffer.get() is not buffer.get() and a in buffer and Bucket(Joint()) not in buffer
    a.checked = False
    assert buffer.get_checked() == [b] and buffer.get_path_groups() == [["/b"], ["/a"]]
    buffer.remove(Bucket(b.joint))  # an equal one
    assert buffer.get() == [a] and engine.host.removed == []
    with pytest.raises(ValueError):
        buffer.remove(b)
    buffer.set([b, b])
    assert buffer.get() == [b, b] and engine.host.removed == ["/a"]
    assert Buffer.get_roots(Joint(type="ghost")) == []
    assert Buffer.get_roots(Joint(type="ghost", children=[a.joint, b.joint])) == ["/a", "/b"]


def test_stored_data_comes_back():
    engine = filled("b", "a")
    buffer, host, before = engine.buffer, engine.host, engine.buffer.get()
    before[0].checked = False
    before[0].joint.children = [Joint("s", "n", "p", "t", None, "Icon", "#fff")]
    host.calls.clear()
    buffer.update()
    assert list(host.calls) == ["erase_filedata", "embed_filedata"]  # in this order
    host.data = json.loads(json.dumps(host.data))
    buffer.load()
    assert buffer.get() == before and buffer.get()[0] is not before[0]
    assert Buffer.encode(buffer.get()) == host.data and host.removed == ["/b", "p", "/a"]
    first, second = buffer.decode([{}, {"joint": {"path": 1, "more": 2}, "name": "m", "opened": 0}])
    assert [*first.data.values()] == [dict.fromkeys(host.data[0]["joint"]) | {"children": []}, "", True, True]
    assert [second.joint.path, *second.data.values()][::2] == [1, "m", 0]
    for wrong in (None, 1, [1], [None], [{"joint": 1}], [{"joint": {"children": 1}}]):
        host.data = wrong
        with pytest.raises((TypeError, AttributeError)):
            buffer.load()
    assert names(engine) == ["b", "a"] and host.removed == ["/b", "p", "/a"]


def test_renaming_and_moving():
    engine = filled("aa_x", "b_x")
    buffer = engine.buffer
    buffer.rename("a", "aa")
    assert names(engine) == ["aaaa_x", "b_x"] and buffer.get()[0].joint.name == "aa_x"
    buffer.get()[1].joint.children = [Joint(path="/b_x/c"), Joint(path="/d")]
    buffer.repath("/b_x", "/e/b")
    assert [joint.path for joint in buffer.get()[1].get_joints()] == ["/e/b", "/e/b/c", "/d"]
    assert engine.host.calls["embed_filedata"] == 1  # by the scan, and not since


def test_clearing():
    engine = filled("a", "b", "c")
    buffer, host, held = engine.buffer, engine.host, engine.buffer.incompatibles
    held.append("/x")
    for bucket in buffer.get()[:2]:
        bucket.checked = False
    buffer.clear(selected=True)
    assert names(engine) == ["a", "b"] and host.removed == ["/c"]
    host.data = None
    buffer.clear(selected=True)  # nothing is checked any more
    assert len(host.data) == 2 and held == ["/x"]
    buffer.clear()
    assert names(engine) == host.data == buffer.incompatibles == [] and buffer.incompatibles is held
    assert host.removed == ["/c", "/a", "/b"] and not engine.virtual.object_exists("/a")


@pytest.mark.parametrize("change", ["clear", "pop", "reverse"])
def test_a_hook_that_changes_the_list_under_a_clear(change):
    engine = filled("a", "b", "c")
    engine.host.before = lambda *_: getattr(engine.buffer._data, change)()
    with pytest.raises((ValueError, IndexError)) if change != "reverse" else nullcontext():
        engine.buffer.set([])
    assert names(engine) == []


def test_validity():
    host = scene({"a": {"b": None}, "c": {"d": None}})
    engine = session(host, node(rule("root", "[ac]"), node(rule("leaf", "[bd]"))))
    buffer, held = engine.buffer, engine.buffer.incompatibles
    assert buffer.is_valid() is False  # there is nothing
    host.selection = ["/a", "/c"]
    assert engine.scanner.upload_buffer()
    host.calls.clear()
    buffer.validate()
    assert host.calls["object_exists"] == 4 and held == [] and buffer.is_valid()
    host.objects["/c/x"] = ("/c", "transform")
    host.children["/c"] = ["/c/x"]  # and what was there is somewhere else now
    assert buffer.is_match() and buffer.is_valid()  # only the numbers are compared
    buffer.validate()
    assert buffer.incompatibles is held and held == ["/c"] and not buffer.is_valid()
    host.children["/c"] = []
    assert not buffer.is_match()
    del host.objects["/a"]
    assert not buffer.is_match()
    ghost = Joint(type="ghost", children=[Joint(path="/c/x")])
    buffer.set([Bucket(ghost), Bucket(Joint(path="/gone"))])
    assert buffer.is_match() is True  # a ghost decides for all that follow
    ghost.children.append(Joint(path="/gone"))
    assert buffer.is_match() is False


def test_a_ghost_whose_roots_moved():
    host = scene({"grp": {"a": None, "b": None}, "x": None})
    engine = session(host, node(rule("ghost", "^grp", types=["transform"]), node(rule("any", ".", 1, 9))))
    host.selection = ["/grp/a", "/grp/b"]
    assert engine.scanner.upload_buffer()
    (bucket,) = engine.buffer.get()
    assert engine.buffer.ghost_match(bucket) and engine.buffer.ghosts_match()
    assert engine.virtual.object_exists("/grp")  # from the top of the scene
    host.objects["/grp/a"] = ("/x", "transform")
    host.children.update({"/grp": ["/grp/b"], "/x": ["/grp/a"]})
    assert not engine.buffer.ghost_match(bucket) and not engine.buffer.ghosts_match()
    del host.objects["/grp/a"]
    assert not engine.buffer.ghost_match(bucket)  # a missing root has no parent
