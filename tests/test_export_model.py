"""What an export consists of: its switches, its tasks, and the exporters on offer."""

from collections import UserDict

import pytest
from hosts import logged

from core import Constants, Parameters, _Export

NAMES = ["automatic_uv", "triangulate", "reset_xforms", "version_control"]
Status = Constants.Plugin.Status


def exporter(attr, size=1):
    return Parameters.Options(attr, attr.title(), contents=[Parameters.IntRange("size", value=size)])


def size_of(option):
    (size,) = option
    return size


def test_switches_are_off_until_they_are_loaded():
    flags = _Export.Flags()
    assert list(flags.data.items()) == [(name, False) for name in NAMES]
    for name in NAMES:
        flags.load(UserDict({name: True, "unknown": True}))
        assert [one for one, value in flags.data.items() if value] == [name]
        assert getattr(flags, name) is True


def test_a_queue_has_tasks_with_objects_that_are_confirmed():
    queue, task, other = _Export.Queue(), _Export.Queue.Task("car"), _Export.Queue.Task("van")
    assert queue.is_empty()
    queue.add(task)
    queue.add(other)
    assert (list(queue), len(queue), queue.is_empty()) == ([task, other], 2, False)
    task.add()
    assert (task.name, task.is_empty(), task.is_confirmed()) == ("car", True, Status.Failure)
    task.add("/a", "/b")
    task.add("/c")
    assert (task.roots, task.is_empty(), task.is_confirmed()) == (["/a", "/b", "/c"], False, Status.Failure)
    task.confirm()
    assert (task.is_confirmed(), other.is_confirmed(), other.roots) == (Status.Success, Status.Failure, [])


def test_exporters_are_selected_by_what_tells_them():
    first, second = exporter("glb"), exporter("gltf")
    options = _Export.Options(first, "ignored", second)
    assert options.selected is options.glb is first
    for key, expected in ((second, second), ("glb", first), ("Gltf", second), ("other", second)):
        options.select(key)
        assert options.selected is expected, key
    options._select_any()
    assert options.selected is first
    for name in ("select", "data", "_selected", "_options"):
        with pytest.raises(AttributeError, match=name):
            _Export.Options(exporter(name))


def test_stored_options_come_back_in_others_and_in_a_clone():
    options, other = (_Export.Options(exporter("glb", size), exporter("gltf")) for size in (1, 3))
    size_of(options.gltf).value = 5
    options.select("gltf")
    data = options.data
    assert data == {"selected": "gltf", "formats": {"glb": {}, "gltf": {"size": 5}}}
    size_of(other.glb).value = 7
    other.load(data)
    clone = options.clone()
    assert (other.data, size_of(other.glb).value, clone.data) == (data, 3, data)
    assert clone.selected is clone.gltf is not options.gltf
    size_of(clone.gltf).value = 6
    clone.select("glb")
    assert options.data == data
    with logged() as log:
        clone.load({"selected": 5, "formats": {"glb": [1], "gone": {}, "gltf": {"size": 2}}})
        assert clone.data == {"selected": "glb", "formats": {"glb": {}, "gltf": {"size": 2}}}
        clone.load({"formats": "glb"})
    assert sorted(log) == ["Incompatible Stored Value - formats", "Incompatible Stored Value - glb"]
    assert clone.data == {"selected": "glb", "formats": {"glb": {}, "gltf": {}}}


def test_no_exporters_are_an_empty_choice():
    for options in (_Export.Options(), _Export.Options("glb", None)):
        options.select("glb")
        options.load({"selected": "glb", "formats": {"glb": {"size": 2}}})
        assert list(options) == []
        assert options.data == options.clone().data == {"selected": None, "formats": {}}
