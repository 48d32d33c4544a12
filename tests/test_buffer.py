"""The buffer with many buckets, and with trees of joints that are deep or have no end."""

import gc
import weakref
from itertools import pairwise

import pytest
from hosts import DictHost, node, rule, scene, session
from hypothesis import given, settings
from hypothesis import strategies as st

import core

Buffer = core.Scene._Buffer
Bucket, Joint = Buffer.DataBucket, Buffer.DataJoint
DEEP = 100_000


def test_chains_of_joints_may_be_deep():
    host, below = DictHost(), []
    for number in range(DEEP):
        host.put(f"{number}", f"{number - 1}" if number else None)
    for number in reversed(range(DEEP)):
        below = [Joint(name=f"n{number}", path=f"{number}", children=below)]
    buffer = Buffer(host, None, None)
    buffer.add([Bucket(below[0])])
    buffer.update()
    buffer.repath("1", "1")
    buffer.sort()
    buffer.sort(below)
    assert buffer.is_match() and buffer.is_match(below)
    host.children[f"{DEEP - 1}"] = ["more"]
    assert not buffer.is_match()  # looks all the way down
    buffer.load()
    assert host.removed == [f"{number}" for number in range(DEEP)]
    found = buffer.get()[0].get_joints()
    assert [found[0], found[-1]] == [below[0], Joint(name=f"n{DEEP - 1}", path=f"{DEEP - 1}")]
    assert len(found) == DEEP and all(above.children == [below] for above, below in pairwise(found))
    gone = weakref.ref(found[-1])
    del below, found
    buffer.set([])
    assert gone() is None


@pytest.mark.parametrize(
    "operation",
    [
        lambda buffer, joint, data: Bucket(joint).get_joints(),
        lambda buffer, joint, data: Bucket(Joint()).get_joints(joint),
        lambda buffer, joint, data: buffer.sort([joint]),
        lambda buffer, joint, data: buffer.is_match([joint]),
        lambda buffer, joint, data: buffer.is_match([Joint(type="ghost", children=[joint])]),
        lambda buffer, joint, data: buffer.decode([{"joint": data}]),
        lambda buffer, joint, data: buffer.encode([Bucket(joint)]),
    ],
)
def test_joints_in_a_circle(operation):
    host = DictHost()
    host.object_exists, host.get_children = lambda path: True, lambda path: ["x"] * int(path)
    # A joint that stands two below itself, and the same as data.
    joint = Joint(path="2", children=[Joint(path="0"), Joint(path="1", children=[Joint(path="1")])])
    joint.children[1].children[0].children.append(joint)
    data = {"children": [{}, {"children": [{"children": []}]}]}
    data["children"][1]["children"][0]["children"].append(data)
    with pytest.raises(RecursionError):
        operation(Buffer(host, None, None), joint, data)
    ghost = Joint(type="ghost")
    ghost.children.append(ghost)
    with pytest.raises(RecursionError):
        Buffer(host, None, None).is_match([ghost])


def test_a_shared_tree_is_no_circle():
    shared = Joint(name="s", children=[Joint(name="b"), Joint(name="a")])
    bucket = Bucket(Joint(name="t", children=[shared, Joint(name="r", children=[shared]), shared]))
    assert "".join(joint.name for joint in bucket.get_joints()) == "tsbarsbasba"  # parents first
    assert bucket.get_joints(shared) == shared.children
    Buffer(None, None, None).sort([bucket.joint])
    assert [joint.name for joint in shared.children] == ["a", "b"]


# Buckets that leave.


class Plain(list):
    """What a hook asks of the buffer below, in the plainest way."""

    _data, get, add, remove = property(lambda self: self), list.copy, list.extend, list.remove

    def __init__(self, host, *_):
        super().__init__()
        self.host = host

    def _clear(self, array):
        for bucket in array:
            self.remove(bucket)
            self.host.postscript_scan_remove(bucket.joint)


def marks(buckets):
    return [bucket.joint.icon for bucket in buckets]


def change_the_first(buffer):
    for bucket in buffer.get()[:1]:
        bucket.name = bucket.name + "0"


HOOKS = {
    "copy": lambda buffer: marks(buffer.get()),
    "list": lambda buffer: marks(buffer._data),
    "add": lambda buffer: len(buffer.get()) < 9 and buffer.add([Bucket(Joint(path="2", icon="new"), "2")]),
    "remove": lambda buffer: buffer.get() and buffer.remove(buffer.get()[0]),
    "change": change_the_first,
    "held": lambda buffer: None,  # by somebody else
    "raise": lambda buffer: 1 // len(buffer.get()),
}
few = st.sampled_from


@settings(max_examples=5 * settings().max_examples)
@given(
    st.lists(st.tuples(few("01"), few([True, True, None, 1])), min_size=2, max_size=8),
    st.lists(st.integers(0, 7), max_size=8),
    st.none() | few(sorted(HOOKS)),
)
def test_which_buckets_leave_and_what_the_host_sees(kinds, order, hook):
    """As if each were searched for in the list and taken out at once, whoever looks at it."""

    def clear(kind):
        host, seen = DictHost(), []
        buffer = kind(host, None, None)
        buckets = [Bucket(Joint(path=path, icon=f"{i}"), "", on) for i, (path, on) in enumerate(kinds)]
        buffer.add(buckets)
        held = buffer._data if hook == "held" else []

        def notice(joint):
            seen.append((joint.icon, marks(held), hook and HOOKS[hook](buffer)))

        host.postscript_scan_remove = notice
        try:
            buffer._clear([buckets[i] for i in order if i < len(buckets)])
        except (ValueError, ZeroDivisionError) as error:
            seen.append(type(error))
        return seen, marks(held), marks(buffer.get())

    assert clear(Buffer) == clear(Plain)


class Watched(Bucket):
    pass


@pytest.mark.parametrize("kind", [Bucket, Watched])
def test_what_left_is_let_go_of(kind):
    host = DictHost()
    buffer = Buffer(host, None, None)
    buffer.add([kind(Joint(path=f"{number}")) for number in range(9)])
    gone = [weakref.ref(bucket) for bucket in buffer.get()]
    buffer._clear(buffer.get()[1::2])
    host.failures["postscript_scan_remove"] = KeyError("hook")
    with pytest.raises(KeyError, match="hook"):
        buffer._clear(buffer.get()[:2])  # only the first leaves
    host.failures.clear()
    gc.collect()
    assert [one() is None for one in gone] == [True, True] + [False, True] * 3 + [False]
    buffer.set([])
    assert all(one() is None for one in gone)


# Groups under a ghost, and reloads.


def grouped(*groups):
    """Groups of one part each, all below one object, scanned."""
    host = scene({"all": {group: {f"{group}_part": None} for group in groups}})
    ghost = rule("ghost", "^group", types=["transform"])
    engine = session(host, node(ghost, node(rule("part", ".*_part$"))))
    parts = {group: [Joint(path=f"/all/{group}/{group}_part")] for group in groups}
    engine.buffer.add([Bucket(Joint(type="ghost", name=group, children=parts[group])) for group in groups])
    return engine


def scanned(tree, root, *below):
    """Objects a and b, scanned by a pattern."""
    engine = session(scene(tree), node(rule(root, "[ab]", 1, 2), *below))
    engine.host.selection = ["/a", "/b"]
    assert engine.scanner.upload_buffer()
    return engine


def test_embedded_paths_that_are_no_text_are_incompatible():
    engine = scanned({"a": None, "b": None}, "root")
    wrong = [5, ["/a"], {}]
    ghost = {"type": "ghost", "children": [{"path": "/b"}, {"path": 6}]}
    engine.host.data += [{"joint": {"path": path, "name": "x"}} for path in wrong] + [{"joint": ghost}]
    engine.buffer.load()
    engine.buffer.validate()
    assert engine.buffer.incompatibles == [*wrong, "/b", 6] and not engine.buffer.is_valid()
    engine.host.selection = ["/b"]
    assert not engine.scanner.upload_buffer(append=True) and engine.events == ["used_scan_selection"]
    engine.scanner.reload_buffer()
    engine.buffer.validate()
    assert engine.buffer.is_valid() and len(engine.buffer.get()) == 2


def test_groups_below_one_object_take_one_snapshot():
    engine = grouped("group_a", "group_b", "group_c")
    host, buffer = engine.host, engine.buffer
    assert buffer.ghosts_match() and host.calls["get_type"] == 7
    engine.scanner.reload_buffer()
    assert host.calls["get_type"] == 14  # once more: the scene may be another one by now
    assert [bucket.joint.children[0].name for bucket in buffer.get()] == [f"group_{x}_part" for x in "abc"]
    assert host.appended == [path for x in "abc" for path in (f"/all/group_{x}/group_{x}_part", "|")]
    for _ in "ab":  # no operation stands on the snapshot of another
        host.calls.clear()
        assert buffer.ghost_match(buffer.get()[0]) and host.calls["get_type"] == 7


def test_a_reload_sees_what_is_uploaded_meanwhile():
    tree = {"a": {"x": None, "y": None}, "b": {"x": None, "y": None}}
    engine = scanned(tree, "root", node(rule("leaf", "[xy]", 0, 2)))

    def hook(joint):
        if joint.path == "/a":
            engine.host.children["/b"] = ["/b/y"]
            engine.virtual.upload(["/a", "/b"])

    engine.host.postscript_scan_append = hook
    engine.scanner.reload_buffer()
    found = [[joint.path for joint in bucket.get_joints()] for bucket in engine.buffer.get()]
    assert found == [["/a", "/a/x", "/a/y"], ["/b", "/b/y"]]


def test_a_reload_of_many_drops_what_is_gone():
    groups = [f"group_{number}" for number in range(9)]
    engine, seen = grouped(*groups), []
    buckets = engine.buffer.get()
    for group in groups[1::2]:
        path = f"/all/{group}/{group}_part"
        del engine.host.objects[path]
        engine.host.children[f"/all/{group}"].remove(path)
    engine.host.postscript_scan_append = lambda joint: seen.append(len(engine.buffer.get()))
    engine.scanner.reload_buffer()
    assert engine.buffer.get() == buckets[::2] and len(engine.host.data) == 5
    assert seen == [9, 9, 8, 8, 7, 7, 6, 6, 5, 5]
