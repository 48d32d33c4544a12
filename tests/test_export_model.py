"""What an export consists of: its switches, its tasks, and the exporters on offer."""

from collections import UserDict

import pytest
from hosts import logged

from core import Constants, Parameters, _Export

NAMES = ("automatic_uv", "triangulate", "reset_xforms", "version_control")


def exporter(attr, label="", value=1):
    size = Parameters.IntRange("size", maximum=9, value=value)
    return Parameters.Options(attr, label, contents=(size,))


def size_of(option):
    (size,) = option
    return size


def test_switches_are_off_until_they_are_loaded():
    flags = _Export.Flags()
    assert list(flags.data.items()) == [(name, False) for name in NAMES]
    flags.load(UserDict(triangulate=True, version_control=True, unknown=True))
    assert [name for name, value in flags.data.items() if value] == ["triangulate", "version_control"]
    flags.reset_xforms = True
    flags.load({"automatic_uv": True})
    assert [name for name, value in flags.data.items() if value] == ["automatic_uv"]
    assert flags.automatic_uv is True


def test_a_queue_keeps_its_tasks_in_order_and_one_list():
    queue = _Export.Queue()
    tasks, held = [_Export.Queue.Task(name) for name in "abc"], queue._tasks
    assert queue.is_empty()
    for task in tasks:
        queue.add(task)
    assert list(queue) == tasks
    assert (len(queue), queue.is_empty()) == (3, False)
    queue.clear()
    assert queue._tasks is held
    assert held == []


def test_a_task_is_exported_when_it_has_objects_and_is_confirmed():
    task = _Export.Queue.Task("car")
    assert (task.name, task.is_empty(), task.roots) == ("car", True, [])
    assert task.is_confirmed() is Constants.Plugin.Status.Failure
    task.add()
    assert task.is_empty()
    task.add("/a", "/b")
    task.add("/c")
    assert (task.roots, task.is_empty()) == (["/a", "/b", "/c"], False)
    assert task.is_confirmed() is Constants.Plugin.Status.Failure
    task.confirm()
    assert task.is_confirmed() is Constants.Plugin.Status.Success
    assert _Export.Queue.Task("car").roots == []


def test_no_exporters_are_an_empty_choice():
    for options in (_Export.Options(), _Export.Options("glb", None)):
        options.select("glb")
        options.load({"selected": "glb", "formats": {"glb": {"size": 2}}})
        assert (options.selected, list(options)) == (None, [])
        assert list(options.data.items()) == [("selected", None), ("formats", {})]
        assert options.clone().data == options.data


def test_exporters_are_selected_by_what_tells_them():
    first, second = exporter("glb", "Binary"), exporter("gltf", "Text")
    options = _Export.Options(first, "ignored", second)
    assert options.selected is options.glb is first
    for key, expected in (
        (second, second),
        ("glb", first),
        ("Text", second),
        ("other", second),
        (None, second),
    ):
        options.select(key)
        assert options.selected is expected
    options._select_any()
    assert options.selected is first


@pytest.mark.parametrize("attr", ["select", "data", "_selected", "_options"])
def test_an_exporter_hides_no_member(attr):
    with pytest.raises(AttributeError, match=attr):
        _Export.Options(exporter(attr))


def test_stored_options_come_back():
    options = _Export.Options(exporter("glb"), exporter("gltf"))
    size_of(options.gltf).value = 5
    options.select("gltf")
    data = options.data
    assert data == {"selected": "gltf", "formats": {"glb": {}, "gltf": {"size": 5}}}
    other = _Export.Options(exporter("glb", value=3), exporter("gltf"))
    size_of(other.glb).value = 7
    other.load(data)
    assert other.data == data
    assert size_of(other.glb).value == 3

    other.load({"selected": "gone", "formats": {"glb": {"size": 8}, "gone": {}}})
    assert (other.selected, other.data["formats"]) == (other.gltf, {"glb": {"size": 8}, "gltf": {}})
    with pytest.raises(AttributeError):
        other.load(5)


def test_stored_options_of_the_wrong_kind_count_as_absent():
    options = _Export.Options(exporter("glb"), exporter("gltf"))
    with logged() as log:
        options.load({"selected": 5, "formats": {"glb": [1], "gltf": {"size": 2}}})
        options.load({"formats": "glb"})
    assert sorted(log) == ["Incompatible Stored Value - formats", "Incompatible Stored Value - glb"]
    assert options.data == {"selected": "glb", "formats": {"glb": {}, "gltf": {}}}


def test_a_clone_has_values_of_its_own():
    options = _Export.Options(exporter("glb"), exporter("gltf"))
    options.select("gltf")
    size_of(options.gltf).value = 5
    clone = options.clone()
    assert clone.data == options.data
    assert clone.selected is clone.gltf is not options.gltf
    size_of(clone.gltf).value = 6
    clone.select("glb")
    assert (size_of(options.gltf).value, options.selected) == (5, options.gltf)
