"""Checks: how plug-ins are found and judged, how checklists switch them, how they run and fix."""

import gc
import inspect
import logging
import os
import pickle
import sys
import traceback
import typing
import weakref
from functools import partial
from types import SimpleNamespace

import pytest
from hosts import logged

import core

Base, Classes, Checklist = core.Check.Base, core.Check._Classes, core.Check._List
Block, Switch = core.Parameters.Block, core.Parameters.Switch
Queue, Task = core.Check._Queue, core.Check._Queue.Task
Status, ValidationError = core.Constants.Check.Result, core.Error.ValidationError
Settings = core._Settings.Check


class Plugin(Base):
    """One step above the checks of this file."""


class Lengths(Plugin):
    class_id, long_name, short_name, category = "lengths", "Length of names", "Lengths", "Object"

    @staticmethod
    def parameters():
        return Block(core.Parameters.IntRange("longest", value=10))

    def check(self, path, parameters):
        if len(path) > parameters.longest.value:
            self.could_be_fixed = self.could_be_selected = True
            self.result.append(path)
            raise ValidationError


def raising(error):
    def operation(*_):
        raise error

    return operation


def a_check(class_id, category="object", index=0, body="pass"):
    """The source of a plug-in module with one check."""
    return (
        "import core\nclass Step(core.Check.Base): pass\nclass Found(Step):\n"
        f"    class_id, category, sort_index = {class_id!r}, {category!r}, {index!r}\n    {body}\n"
    )


def plant(directory, modules):
    """Writes modules, and packages of them given as dicts; returns the directory as the settings list it."""
    directory.mkdir(exist_ok=True)
    for name, content in modules.items():
        if isinstance(content, dict):
            plant(directory / name, {"__init__": ""} | content)
        else:
            (directory / f"{name}.py").write_text(content, encoding="utf-8")
    return Settings.Directory("", str(directory))


def ids(classes):
    return [found.class_id for found in classes]


# Discovery

TOOLED = """from __future__ import annotations
import core
from dataclasses import dataclass
@dataclass
class Limit:
    most: int = 1
class Step(core.Check.Base): pass
class Found(Step):
    class_id, category, limit = "{0}", "object", Limit()
    def check(self, path, parameters: Limit): ...
"""


def test_the_tools_of_the_runtime_work_in_modules_that_share_nothing(tmp_path):
    places = [plant(tmp_path / name, {"one": TOOLED.format(name)}) for name in "ab"]
    classes = Classes([*places, plant(tmp_path / "c", {"helper": "x = 1", "broken": "1 / 0"})])
    a, b = classes
    a.limit.most = 2
    assert (b.limit.most, ids(classes)) == (1, ["a", "b"])
    for check in classes:
        assert inspect.getsource(check).endswith("parameters: Limit): ...\n")
        assert typing.get_type_hints(check.check) == {"parameters": type(check.limit)}
        assert pickle.loads(pickle.dumps(check.limit)) == check.limit
    known = {name for check in classes for name in (check.__module__, check.__module__.split(".")[0])}
    assert len(known) == 4 and known < set(sys.modules)
    classes.reload()
    later = {check.__module__ for check in classes}
    assert not known & set(sys.modules) and later < set(sys.modules)
    del classes
    gc.collect()
    assert not later & set(sys.modules)
    assert not any(name.endswith((".helper", ".broken")) for name in sys.modules)


def test_a_class_whose_parameters_make_no_task_costs_itself_alone(tmp_path):
    block = "parameters = staticmethod(lambda: core.Parameters.Block({}))"
    blocks = {
        "raw": "'size'",
        "named": "core.Parameters.Switch('data')",
        "wrong": "core.Parameters.IntRange('a', value=2.5)",
    }
    modules = {name: a_check(name, body=block.format(inputs)) for name, inputs in blocks.items()}
    with logged():
        classes = Classes([plant(tmp_path, {"a": a_check("a")} | modules)])
    assert ids(classes) == ids(check.check for check in Checklist(classes)) == ["a"]
    reasons = {check.class_id: reason for check, reason in classes.get_denials()}
    assert reasons["raw"].endswith("raises AttributeError: 'str' object has no attribute 'clone'")
    assert '"data" is a member of Parameters.Block.Task' in reasons["named"]
    where = f"TypeError in {tmp_path / 'wrong.py'}, line 5"
    assert reasons["wrong"] == f'parameters() raises {where}: "value" must be an int, not 2.5'
    errors = {check.class_id: type(error) for check, error in classes.denial_errors.items()}
    assert errors == {"raw": AttributeError, "named": AttributeError, "wrong": TypeError}


def test_values_of_parameters_that_cannot_be_built_are_not_written_over():
    data = staticmethod(lambda: Block(Switch("on"), Switch("data")))
    kept, config = stored(5), Settings.Config({"made": stored(5)})
    checks = Checklist([type("Made", (Plugin,), {"class_id": "made", "parameters": data})], config=config)
    checks.save()
    assert config.data == {"made": kept}


def test_packages_are_searched_but_not_their_own_top_level(tmp_path):
    inner = {"deep": a_check("deep"), "__init__": a_check("top level")}
    more = "from os import path\nfrom json import *\nclass Third(Found): class_id = 'third'"
    bad = a_check("bad", body="could_be_fixed = None")
    modules = {"b": bad, "a": {"inner": inner, "z": a_check("z")}, "c": a_check("c") + more}
    place = plant(tmp_path, modules)
    (tmp_path / "no_package").mkdir()
    plant(tmp_path / "no_package", {"lost": a_check("lost")})
    classes = Classes([place, place])
    array, denied, table = classes._array, classes.get_denied(), classes._table
    assert ids(classes) == ["deep", "z", "c", "third"]
    assert ids(denied) == ["bad", "bad"]  # not the classes that derive from the base directly
    reason = '"could_be_fixed" is None, not True or False'
    assert classes.get_denials() == [(check, reason) for check in denied]
    assert not {"b", "deep", "z", "c", "a.z", "a.inner.deep"} & set(sys.modules)
    assert ids(classes._search(place, [Lengths])) == ["lengths", *ids(classes)]
    assert classes.get("deep") is next(iter(classes)) and classes.get("top level") is None
    plant(tmp_path, {"b": a_check("b")})
    classes.reload()
    assert (ids(array), denied, list(table)) == (["deep", "z", "b", "c", "third"], [], ids(array))
    assert classes.get_denials() == []
    assert array is classes._array and table is classes._table


def test_order_is_that_of_categories_then_index_then_discovery(tmp_path):
    categories = ["SCENE", "mesh", "Mesh", "mesh", "mesh", "mesh non-manifold", "project", "", "aaa", "zzz"]
    indices, order = [0, -1, 5, 5, 10**30, True, 0, 0, 0, 0], "zyvwxutsrq"
    modules = {name: a_check(name, *place) for name, *place in zip(order, categories, indices)}
    assert ids(Classes([plant(tmp_path, modules)])) == list(order)


def test_first_of_one_id_is_kept_and_disabled_directories_are_left_alone(tmp_path):
    first = plant(tmp_path / "1", {"a": a_check("same")})
    second = plant(tmp_path / "2", {"a": a_check("same"), "b": a_check("other"), "c": a_check("other")})
    off = plant(tmp_path / "3", {"a": f"open({str(tmp_path / 'run')!r}, 'w')"})
    off.enabled = False
    gone = Settings.Directory("", str(tmp_path / "4"))
    classes = Classes([gone, first, off, second])
    assert ids(classes) == ["same", "other"] and classes._directory is second
    assert classes.get("same") is not classes._search(second)[0]
    assert not (tmp_path / "run").exists()


def test_module_that_fails_costs_only_itself(tmp_path):
    meta = "class Meta(type):\n    def __getattribute__(self, name): raise OSError\n"
    failing = {
        "ZeroDivisionError": "1 / 0",
        "SyntaxError": "def",
        "ModuleNotFoundError": "import no_such_module",
        "SystemExit": "import sys; sys.exit(3)",
        "ImportError": "from . import a",
        "KeyError": a_check("lost") + "def __dir__(): raise KeyError('no names')",
        "RecursionError": "def f(): f()\nf()",
        "OSError": f"import core\n{meta}class Step(core.Check.Base, metaclass=Meta): pass\n",
    }
    modules = {f"fails_by_{error}": source for error, source in failing.items()}
    place = plant(tmp_path, {"a": a_check("a"), "z": a_check("z")} | modules)
    with logged() as messages:
        classes = Classes([place])
    assert ids(classes) == ["a", "z"]
    assert sorted(messages) == sorted(f"Import Failed: fails_by_{error} - {error}" for error in failing)
    told = {os.path.basename(path): type(error).__name__ for path, error in classes.errors.items()}
    assert told == {f"fails_by_{error}": error for error in failing}
    lines = {os.path.basename(path): words for path, words in classes.failures.items()}
    for error, line in {"ZeroDivisionError": 1, "SyntaxError": 1, "KeyError": 6, "RecursionError": 1}.items():
        words = f"{error} in {tmp_path / f'fails_by_{error}.py'}, line {line}"
        assert lines[f"fails_by_{error}"].startswith(words)
    for error in failing:
        os.remove(os.path.join(str(place), f"fails_by_{error}.py"))
    classes.reload()
    assert classes.errors == {}

    plant(tmp_path, {"interrupted": "raise KeyboardInterrupt"})
    with pytest.raises(KeyboardInterrupt):
        Classes([place])


@pytest.mark.skipif(os.name == "nt", reason="links need a privilege there")
def test_links_in_a_circle_are_not_followed_for_ever(tmp_path):
    place = plant(tmp_path, {"one": {"a": a_check("a")}, "two": {"b": a_check("b")}})
    for source, target in (("one", "two"), ("one", "one"), ("two", "one"), ("two", "two")):
        (tmp_path / source / f"to_{target}").symlink_to(tmp_path / target)
    assert sorted(ids(Classes([place]))) == ["a", "b"]


def test_class_must_be_what_a_check_is():
    is_valid = core._Assert.Check.is_valid
    assert is_valid(Lengths) and is_valid(type("AnyIndex", (Plugin,), {"sort_index": True}))
    texts = ["class_id", "short_name", "long_name", "description", "category"]
    flags = ["scene_oriented", "could_be_fixed", "could_be_selected"]
    operations = ["parameters", "check", "fix_result", "select_result", "result_message"]
    others = {1: texts + flags, "text": [*operations, "sort_index"], lambda *_: []: ["parameters", "__new__"]}
    with logged() as messages:
        for value, name in ((value, name) for value, wrong in others.items() for name in wrong):
            assert not is_valid(type("Wrong", (Plugin,), {name: value})), name
        assert not any(is_valid(other) for other in (None, int, SimpleNamespace(parameters=Block)))
    assert messages == []
    fail = raising(OSError("out of order"))
    meta = type("Meta", (type,), {"description": property(fail)})
    with logged() as messages:
        assert not is_valid(type("Wrong", (Plugin,), {"parameters": staticmethod(fail)}))
        assert not is_valid(type("Wrong", (Plugin,), {"__init__": fail}))
        assert not is_valid(meta("Wrong", (Plugin,), {}))
    assert messages == ["OSError: out of order"] * 3


def test_buffer_is_a_list_with_a_name():
    buffer = core.Structure.NamedBuffer("edges", items=(1, 2))
    buffer.__init__("faces", [3])
    assert buffer == [1, 2, 3] and (buffer.name, buffer.length, buffer.has_issues()) == ("faces", 3, True)
    buffer.clear()
    assert buffer.is_empty and not buffer.has_issues() and core.Structure.NamedBuffer().name == ""


# Checklists


class Whole(Plugin):
    class_id, short_name, scene_oriented, category = "whole", "Whole", True, "SCENE"


class Colors(Lengths):
    class_id, short_name, description, category = "colors", "Colors", "Looks at colors.", "oBject"


def stored(longest, opened=True):
    parameters = [{"as_info": False, "state": {"longest": {"value": longest}}}]
    return {"enabled": True, "opened": opened, "parameters": parameters}


def names(controls):
    return [control.name for control in controls]


def test_checklist_without_configuration_has_all_disabled():
    checks = Checklist([Lengths, Whole, Colors])
    assert checks.is_empty() and checks.get() == [] and checks.config is None
    assert names(checks.get(enabled=False)) == ["Lengths", "Colors"]
    assert names(checks.get(False, scene_oriented=True)) == ["Whole"]
    groups = [(category.name, names(category)) for category in checks.categories]
    assert groups == [("object", ["Lengths", "Colors"]), ("scene", ["Whole"])]
    _, whole, colors = checks
    assert colors.description == "Looks at colors." and colors.check is Colors
    enabled = checks.iterator(enabled=True)
    whole.enabled = True
    assert names(enabled) == ["Whole"]  # as it is at the moment of the walk
    checks.save()
    checks.load({"lengths": stored(3)})
    assert checks.config is None and checks.get() == [] and not checks.is_empty()


def test_checklist_is_bound_to_its_records():
    config, presets = Settings.Config({"lengths": stored(3), "unknown": stored(4)}), Settings.Presets()
    checks = Checklist([Lengths, Colors], presets, config)
    lengths, colors = checks
    assert checks.get() == [lengths] and lengths.opened and ids(config) == ["lengths", "colors"]
    assert [task.longest.value for control in checks for task in control.parameters] == [3, 10]

    next(iter(lengths.parameters)).longest.value = 5
    colors.enabled = True
    checks.save()
    assert config.data == {"lengths": stored(5), "colors": stored(10, opened=False)}
    checks.preset.create("both")
    lengths.enabled = False
    checks.save()
    record = config.get("lengths")
    assert (record.enabled, record.opened, record.parameters) == (False, False, lengths.parameters.defaults)
    checks.preset.apply(next(iter(presets)))
    assert lengths.enabled and checks.preset._presets is presets
    assert Checklist([Lengths], presets=[1]).preset.names == []

    checks.clear()
    assert checks.is_empty() and lengths.parameters.length == 0 and lengths._state is None
    checks.save()
    assert list(config.data) == ["lengths", "colors"]  # which are no longer its own


# Results


class Host:
    """A host with a selection, and the statistics that get the records."""

    def __init__(self):
        self.records, self.scopes, self.swallows = [], [], False

    def add(self, record):
        self.records.append(record.data)

    def selection_manager(self):
        return self

    def __enter__(self):
        self.scopes.append("entered")

    def __exit__(self, *error):
        self.scopes.append(error)
        return self.swallows

    def told(self, *keys):
        return [tuple(record[key] for key in keys) for record in self.records]


def outcome(host=None, base=Plugin, path="/a", single=True, as_info=False, **attributes):
    """The result of a check with these attributes."""
    host, block = host or Host(), base.parameters()
    block.as_info = as_info
    check = type("Made", (base,), {"long_name": "Made", **attributes})
    return Task.Result(path, check, block.append_task(), host, host, single=single)


def test_result_is_a_run_with_its_record():
    host, block = Host(), Lengths.parameters()
    tasks = [block.append_task(), block.append_task()]
    result = Task.Result("/a rather long name", Lengths, tasks[1], host, host, single=False)
    assert (result.status, result.name, result.could_be_fixed) == ("fail", "Length of names (Task 02)", True)
    assert result.could_be_selected and not result.scene_oriented and result._check.result == [result._path]
    tasks[1].longest.value = 99
    result.check()  # with its own copy of the parameters, and its findings anew
    assert result.status == Status.Fail and result._check.result.length == 1
    result._param.longest.value = 99
    result.check()
    assert (result.status, result.could_be_fixed, result.could_be_selected) == ("pass", False, False)
    assert not result._check.result
    result._check.could_be_fixed = True
    result._param.load({"unknown": 1})
    with logged() as messages:
        result.check()
    assert (result.status, result.could_be_fixed) == (Status.Error, True)  # the check did not run
    assert messages[0].startswith("AttributeError: ")
    statuses = ("fail", "fail", "pass", "error")
    assert host.told("result", "name") == [(status, result.name) for status in statuses]
    assert all(isinstance(r["timestamp"], float) and 0 <= r["speed"] < 60 for r in host.records)
    assert (Base.result, Lengths.could_be_fixed, Lengths.long_name) == ([], False, "Length of names")


def test_only_what_a_check_raises_counts_and_no_run_stops():
    class Mute(Exception):
        __str__ = raising(ValueError())

    def notes(self, *_):
        self.result.append("finding")
        return 404

    def recurses(self, *arguments):
        self.check(*arguments)

    def undecided(self, path, parameters):
        parameters.as_info = type("Undecided", (), {"__bool__": raising(OSError("no answer"))})()
        raise ValidationError

    passed, found = outcome(check=notes), outcome(check=raising(ValidationError()), as_info=True)
    assert (passed.status, found.status) == (Status.Pass, Status.Info)
    assert (passed.error, found.error) == (None, None)
    faults = {
        "ValueError: no": {"check": raising(ValueError("no"))},
        "Mute: <exception str() failed>": {"check": raising(Mute())},
        "RecursionError: ": {"check": recurses},
        "NotImplementedError: ": {},
        "OSError: no answer": {"check": undecided},
        "OSError: not today": {"__init__": raising(OSError("not today"))},
    }
    for message, attributes in faults.items():
        host = Host()
        with logged() as messages:
            result = outcome(host, as_info=True, single=False, **attributes)
            result.check()
        assert (result.status, result.could_be_fixed) == ("error", False), message
        assert message.startswith(type(result.error).__name__)
        assert host.told("result", "name") == [("error", "Made (Task 01)")] * 2
        assert len(messages) == 2 and all(text.startswith(message) for text in messages)

    task = Block.Task([Switch("on")])
    task._table["on"] = type("Odd", (Switch,), {"data": property(raising(OSError("no data")))})("on")
    with logged() as messages:
        nameless = outcome(host, long_name=property(raising(OSError("no name"))), check=lambda *_: None)
        unread = Task.Result("/a", Lengths, task, host, host)
    assert (nameless.status, unread.status, host.records[2]["name"]) == (Status.Pass, Status.Error, None)
    assert sorted(messages) == ["OSError: no data", "OSError: no name"]


FAULTY = """import core, json
class Step(core.Check.Base): pass
class Found(Step):
    class_id, category, long_name = "faulty", "object", "Found"
    def __init__(self): assert "made" not in self.long_name
    def check(self, path, parameters): assert not path
    def fix_result(self, path, parameters): json.loads(path)
    def select_result(self): self.nothing
    def result_message(self): {}["name"]
"""


def test_failures_tell_the_line_of_the_check(tmp_path):
    place = str(tmp_path / "faulty.py")
    (check,) = Classes([plant(tmp_path, {"faulty": FAULTY})])
    host, task = Host(), Block().append_task()
    with logged(logging.DEBUG) as messages:
        result = Task.Result("/a", check, task, host, host)
        assert result.failure == f"AssertionError in {place}, line 6"
        for run in result.fix_result, result.select_result, result.result_message:
            run()
        check.long_name = "made"
        unmade = Task.Result("/a", check, task, host, host)
    assert unmade.failure == f"AssertionError in {place}, line 5"
    assert result.fix_failure.startswith(f"JSONDecodeError in {place}, line 7: Expecting value")
    assert result.select_failure.startswith(f"AttributeError in {place}, line 8: 'Found' object has no")
    assert result.message_failure == f"KeyError in {place}, line 9: 'name'"
    assert messages.count("AssertionError: ") == 3  # the worded record stays as it is
    assert messages.count(f"check faulty: AssertionError in {place}, line 6") == 2
    assert f"message of check faulty: KeyError in {place}, line 9: 'name'" in messages
    traces = [message for message in messages if str(message).startswith("Traceback")]
    assert len(traces) == 6 and any("json" in trace and "decoder.py" in trace for trace in traces)

    whole = [{"as_info": False, "state": {"longest": {"value": "much"}}}]
    block = Lengths.parameters()
    block.load(whole)
    with logged(logging.INFO) as messages:
        refused = Task.Result("/a", Lengths, next(iter(block)), host, host)
    words = 'TypeError: "value" must be an int, not \'much\'; in the input "longest"'
    assert (refused.failure, str(refused.error)) == (words, "")
    assert sorted(messages) == ["TypeError: ", f"check lengths: {words}"]


def test_what_a_check_raised_is_kept_until_its_next_run_without_what_it_held():
    held = []

    def reads():
        scene = Queue()
        held.append(weakref.ref(scene))
        raise LookupError

    def check(self, path, parameters):
        scene = Queue()
        held.append(weakref.ref(scene))
        try:
            reads()
        except LookupError as error:
            raise ValueError("broken") from error

    with logged():
        result = outcome(check=check)
    assert [reference() for reference in held] == [None] * 2
    error = result.error
    places = [
        [frame.name for frame in traceback.extract_tb(one.__traceback__)] for one in (error, error.__cause__)
    ]
    assert places == [["check"], ["check", "reads"]]
    result._check.check = lambda *_: None
    result.check()
    assert (result.status, result.error) == (Status.Pass, None)
    assert 0 <= result.seconds == result._statistics.records[-1]["speed"]


def test_what_a_check_does_to_its_own_result_crashes_nothing():
    results, seen = [], []

    class Check(Plugin):
        @property
        def check(self):
            if results:
                results.pop().__init__("other", Lengths, Lengths.parameters().append_task(), host, None)
            return lambda path, parameters: seen.append(len(path))

    host, task = Host(), Block().append_task()
    results.append(Task.Result("a" * 10**7, Check, task, host, None))
    results[0].check()
    assert seen == [10**7, 10**7]


@pytest.mark.parametrize("error", [KeyboardInterrupt(), SystemExit(1)])
def test_interrupts_and_exits_pass_and_leave_the_scope(error):
    host = Host()
    result = outcome(host, check=lambda *_: None, fix_result=raising(error))
    with pytest.raises(type(error)) as raised:
        result.fix_result()
    entered, (kind, value, trace) = host.scopes
    assert (entered, kind, value, raised.value) == ("entered", type(error), error, error)
    assert trace is not None
    host.swallows = True
    result.fix_result()
    assert result.status == Status.Pass
    result._check.check = raising(error)
    for run in (result.check, lambda: outcome(check=raising(error))):
        with pytest.raises(type(error)):
            run()
    assert result.status == Status.Error  # it has not passed


def test_fix_runs_in_the_selection_scope_and_checks_again():
    def fix(self, path, parameters):
        host.scopes.append("fix")
        parameters.longest.value = 99

    host = Host()
    result = outcome(host, Lengths, "/" * 30, fix_result=fix)
    result.fix_result()
    assert result.status == Status.Pass and host.scopes == ["entered", "fix", (None, None, None)]
    assert host.told("result") == [("fail",), ("pass",)]
    result._check.fix_result = raising(OSError("stuck"))
    with logged() as messages:
        result.fix_result()
    assert (host.told("result")[2:], messages) == ([("pass",)], ["OSError: stuck"])
    assert (str(result.fix_error), result.error) == ("stuck", None)
    result._check.fix_result = lambda *_: None
    result.fix_result()
    assert result.fix_error is None
    host.selection_manager = object
    with pytest.raises(TypeError, match="`selection_manager` gave object, a context manager"):
        result.fix_result()


def test_selecting_and_telling_never_raise():
    fails = {"select_result": raising(OSError("1")), "result_message": raising(OSError("2"))}
    with logged() as messages:
        result = outcome(check=lambda *_: None, **fails)
        assert result.select_result() is None and result.result_message() == ""
    assert sorted(messages) == ["OSError: 1", "OSError: 2"]
    assert (str(result.select_error), str(result.message_error), result.error) == ("1", "2", None)
    for answer, text in ((5, ""), (None, ""), ("\ud800 words", "\ud800 words")):
        result._check.result_message = lambda answer=answer: answer
        assert (result.result_message(), result.message_error) == (text, None)


# Queues


def test_tasks_tell_their_most_severe_status_and_fix_what_can_be_fixed_once():
    task, queue, seen, fixed = Task("/a", [], icon="cube"), Queue(), [], []
    assert (task.name, task.icon, task.empty, task.status) == ("/a", "cube", True, Status.Pass)
    assert Task("/a", [], name="").name == ""
    assert task._order_indices == {status: i for i, status in enumerate(task._level_order)}
    assert queue.is_empty() and not queue.fix_exists()
    queue.add(task)
    for number, status in enumerate(("nonsense", "info", "pass", "error", "fail", [])):
        fix = partial(fixed.append, number)
        task.results.add(SimpleNamespace(status=status, could_be_fixed=number % 3 == 1, fix_result=fix))
        seen.append(task.status)
    assert seen == ["pass", "info", "info", "error", "error", "error"]
    assert not task.empty and len(task.results) == 6 and len(queue) == 1 and queue.fix_exists()
    queue.fix_all()
    assert fixed == [1, 4]
    tasks = queue._tasks
    queue.clear()
    assert tasks == [] and queue.is_empty() and list(queue) == []


def test_what_holds_itself_is_released():
    host, queue = Host(), Queue()
    result = outcome(host)
    task = Task("/a", Checklist([Lengths], config=Settings.Config({})).get(False))
    task.results.add(result)
    queue.add(task)
    result._check.result.append(queue)
    host.queue = queue
    things = [host, queue, task, result, result._check, task.check_controls[0]]
    alive = [weakref.ref(thing) for thing in things]
    del host, queue, task, result, things
    gc.collect()
    assert [reference() for reference in alive] == [None] * len(alive)
