"""What is data can be copied and pickled, with nothing lost; what is not says so."""

import copy
import pickle
import re
import threading
import time
from types import BuiltinFunctionType, FunctionType, ModuleType, SimpleNamespace

import pytest
from hosts import DictHost

import core

Project, Parameters, Settings, Queue = core._Project, core.Parameters, core._Settings, core.Check._Queue
Buffer, Pattern = core.Scene._Buffer, core._Hierarchy.Pattern
Export, Statistics = core._Export, core._Statistics
CHECKS = {"id": {"enabled": True}}
RULE = {"stamp": "1", "name": "car", "range": [1, 4], "types": ["mesh"], "checklist": CHECKS}
RECORD = {"rules": [RULE], "pattern": [{"stamp": "1", "children": [{"stamp": "1"}]}], "author": "me"}
DOCUMENT = {"filename": "a.json", "selected_record": 5, "records": {"5": RECORD}, "version": 3}
ATOMS = str, int, float, type(None), type, BuiltinFunctionType, FunctionType, BaseException, range


def classes(scope):
    for member in vars(scope).values():
        if isinstance(member, type) and member.__module__ == "core" and member is not scope:
            yield member
            yield from classes(member)


DATA = {cls for cls in classes(core) if "__getstate__" in vars(cls)}
BOUND = {
    cls for cls in classes(core) if "TypeError" in (getattr(vars(cls).get("__reduce__"), "__doc__", "") or "")
}


class Width(Parameters.IntRange):
    __slots__ = ("unit",)

    def __init__(self, unit):
        super().__init__("width", value=7, help_text="In full")
        self.unit, self.note = unit, [unit]


class Choice(core.Mask.Item):
    pass


class Check(core.Check.Base):
    long_name, class_id, category = "Check", "id", "object"

    @staticmethod
    def parameters():
        return Parameters.Block(Width("m"), Parameters.Switch("on", True))

    def check(self, path, parameters):
        self.path = path
        raise ValueError(path)


class Environment(core.Environment):
    target, scope = "maya", "1"

    def get_settings_directory(self):
        return "s"


def samples(tmp_path):
    """Objects with as many filled fields as they may have, and in cycles where there can be some."""
    project = Project.Settings(None, str(tmp_path), "a.json", DOCUMENT)
    record = project.history.get_record()
    record.pattern.back, record.export.flags.triangulate = record, True
    project.history.edit_toggle.update()
    leaf = Buffer.DataJoint("1", "a", "|a", "car", icon="i", color="#fff")
    joint = Buffer.DataJoint("0", "g", "|", "ghost", [leaf, leaf])
    joint.bucket = Buffer.DataBucket(joint, "cars", False, False)
    table = {"id": {"enabled": True, "parameters": [{"state": {"width": {"value": 3}}}]}}
    state = Settings.Check.State({"mode": 1, "list": table, "directories": [{"path": str(tmp_path)}]})
    state.directories.embed(ModuleType("checks"))
    state.directories.append(Settings.Check.Directory("d", str(tmp_path / ".." / tmp_path.name), False, True))
    state.presets.add("mine", state.config)
    state.presets.sync_applied(state.config)
    checklist = core.Check._List([Check], state.presets, state.config)
    task = Queue.Task("|a", [*checklist], "A", "icon")
    (values,) = checklist.get()[0].parameters
    task.results.add(Queue.Task.Result("|a", Check, values, SimpleNamespace(add=print), None))
    queue = Queue()
    queue.add(task)
    item, slices = Parameters.ComboBox.Item, Parameters.IntSlice(Width("a"), Width("b"))
    inputs = [
        Parameters.FloatRange("real", precision=4, value=1.5, units="m"),
        Parameters.RegEx("text", "a+"),
        Parameters.ComboBox("box", [item("a"), item("b", "B", True)]),
        Parameters.TextInputList("texts", [Parameters.TextInput("t", True)]),
        Parameters.TextMatchList("matches", [Parameters.TextMatch("t")]),
        Parameters.IntSliceList("slices", slices, [slices]),
        Parameters._Input("any", "label", "help"),
    ]
    options = Parameters.Options("fbx", "FBX", "help", [Parameters.Group("all", inputs, inputs[0])])
    exports = Export.Queue()
    exports.add(Export.Queue.Task("car"))
    exports._tasks[0].add("|a")
    exports._tasks[0].confirm()
    mapping = core.TypeMapping({"xform": "transform", "mesh": "mesh"})
    rule = Pattern.Rule(record.rules.get("1"), checklist)
    choice = Choice("a", name="n", attr="A", mapped=True)
    scope, place = Pattern.Scope(rule, []), core.Scene._Virtual._Location("a", "|a", "xform", ["|a|b"])
    unit = Pattern._Sorter.Order.Unit(3)
    unit.add_definition("d")
    order = Pattern._Sorter.Order()
    order.append(unit)
    answer = {"getheader": lambda *_: "application/json", "status": 200, "read": lambda: b'[{"a": 1}]'}
    response = SimpleNamespace(**answer)
    search, message = core._Hierarchy.Search, Project.Collection
    made = [project, record, joint.bucket, joint, state, checklist, queue, *inputs, Width("m"), options]
    made += [exports, Export.Options(options), mapping, core.Mask(mapping), core.Mask._Set(choice, choice)]
    made += [choice, order, rule, rule.get_range(), search.Result([place]), search.Response(place, scope)]
    made += [message.HttpRequest("maya", [DOCUMENT]), message.HttpResponse(response), Project.Header(project)]
    made += [Statistics.HttpResponse(response), Statistics.HttpRequest("me", {"version": 1})]
    made += [Statistics.Type.Validate(1.0, 2.0, "a"), Statistics.Type.Checks(1.0, 2.0, "n", "pass")]
    made += [Statistics.Type.Exported(), Statistics.Type.FeedbackSent(), Statistics.Type._Record()]
    made += [core.Scene._Scanner.Run("found", ValueError("v")), core.Structure.NamedBuffer("faces", [1, [2]])]
    made += [Settings.URLs("maya", "1.2"), Settings.Server({"port": 1, "enabled": True}), core._LocalEnv()]
    made += [
        Environment(),
        Settings.Workspace({"project": "p"}),
        Settings.Export({"mode": 2, "directory": "d"}),
    ]
    return [*made, core.Api._Project._LoadPointer(), Project.Settings.Rule.Tree._Node(), core._Str("text")]


def fields(value):
    """All that the class tells of an instance, its own attributes and what stands in it."""
    found = dict(getattr(value, "__dict__", {}))
    ours = [vars(cls) for cls in type(value).__mro__ if cls.__module__ in ("core", __name__)]
    for name in {name for names in ours for name, member in names.items() if hasattr(member, "__get__")}:
        if name.startswith("__") or name.endswith(
            "failure"
        ):  # says where an error was raised: copies of errors do not
            continue
        try:
            found[name] = getattr(value, name)
        except (AttributeError, NotImplementedError) as error:
            found[name] = repr(error)
    elements = dict(enumerate(value)) if isinstance(value, list | tuple) else {}
    return elements | {name: member for name, member in found.items() if not callable(member)}


def same(value, twin, pairs, seen):
    """Whether two objects are alike in class, fields and which of them stands where; collects the classes."""
    assert type(value) is type(twin)
    seen.add((type(value), value is twin))
    if value is twin or "lock" in type(value).__name__:
        return True
    if id(value) in pairs and not isinstance(value, ATOMS):
        return pairs[id(value)][1] is twin
    pairs[id(value)] = value, twin  # both stay alive
    if isinstance(value, BaseException):
        return repr(value) == repr(twin)
    if isinstance(value, dict | set):
        mine, others = ([*each.items()] if isinstance(each, dict) else sorted(each) for each in (value, twin))
        return len(mine) == len(others) and all(same(*both, pairs, seen) for both in zip(mine, others))
    if isinstance(value, ATOMS) and value != twin:
        return False
    mine, others = fields(value), fields(twin)
    for name in mine.keys() | others.keys():
        assert same(mine[name], others[name], pairs, seen), (type(value), name)
    return True


@pytest.mark.parametrize("made", [copy.copy, copy.deepcopy, lambda value: pickle.loads(pickle.dumps(value))])
def test_a_copy_has_all_fields_attributes_and_cycles(made, tmp_path, monkeypatch):
    monkeypatch.setattr(time, "time", lambda: 5.0)
    seen = set()
    for value in samples(tmp_path):
        twin = made(value)
        assert twin is not value and same(value, twin, {}, seen), type(value)
    if made is not copy.copy:  # which shares what stands in the fields
        assert DATA - {base for cls, shared in seen for base in cls.__mro__ if not shared} == set()
        plain = {list, dict, set, type(threading.Lock())}
        assert {cls for cls, shared in seen if shared} & (DATA | plain) == set()


def test_every_protocol_and_hostile_states():
    value = Width("m")
    for protocol in range(pickle.HIGHEST_PROTOCOL + 1):
        assert pickle.loads(pickle.dumps(value, protocol)).note == ["m"]
    for state in None, (), ({}, 1, None, None), ({0: 1}, None, None, 1), (1, None, None, None):
        with pytest.raises(TypeError):
            Width("m").__setstate__(state)
    with pytest.raises(TypeError, match="Config expected, not int"):
        Settings.Check.State({}).__setstate__(({2: 1}, None, None, None))


def test_a_part_of_the_application_says_why_it_has_no_copy(tmp_path, checks):
    api = core.Api(DictHost("/a"), None, checks=checks)
    hierarchy = api.scene.hierarchy
    parts = [api, api.scene, api.http, api.export, api.project, api.validator, api.validator.checklist]
    parts += [api.scene.buffer, api.scene.scanner, api.scene._op, hierarchy, hierarchy._query_op]
    parts += [hierarchy.search, hierarchy.search.logic, hierarchy.search.logic.state, hierarchy.pattern]
    parts += [api.settings, api.statistics, api.project.collection, api.callbacks]
    parts += [api.callbacks.buffer_loaded, core._File.Json.AccessQueue(str(tmp_path / "a.json"))]
    parts += [core.Check._Classes([]), core.UpdateTracker(api, (1, 0, 0)), core.Scene._QueryOp()]
    assert BOUND - {cls for part in parts for cls in type(part).__mro__} == set()
    for part in parts:
        for made in copy.copy, copy.deepcopy, pickle.dumps:
            with pytest.raises(TypeError, match=f"cannot copy or pickle '{type(part).__name__}' object: it "):
                made(part)


def test_a_record_of_a_collection_is_copied_and_its_copy_belongs_there(checks):
    api = core.Api(DictHost("/a"), None, checks=checks)
    project = Project.Settings(api.project.collection, "", "a.json", DOCUMENT)
    (record,) = project.history
    twin = copy.deepcopy(record)
    assert twin == record and twin._history is not project.history and [*twin._history] == [record]
    assert (
        next(iter(twin._history)) is twin
        and twin._history._project_settings._collection is api.project.collection
    )
    with pytest.raises(TypeError, match=re.escape("'Collection' object: it stands for a directory of files")):
        pickle.dumps(project)
