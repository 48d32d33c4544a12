"""Checks: how plug-ins are found and judged, how checklists switch them, how they run and fix."""

import copy
import gc
import os
import pickle
import sys
import weakref
from types import SimpleNamespace

import pytest
from hosts import logged

import core

Base, Block, Classes, Checklist = (
    core.Check.Base,
    core.Parameters.Block,
    core.Check._Classes,
    core.Check._List,
)
Queue = core.Check._Queue
Task = Queue.Task
Status = core.Constants.Check.Result
Config, Presets, Directory = (
    getattr(core._Settings.Check, name) for name in ("Config", "Presets", "Directory")
)


class Plugin(Base):
    """One step above the checks of this file."""


class Lengths(Plugin):
    class_id, long_name, short_name, category = "lengths", "Length of names", "Lengths", "Object"

    @staticmethod
    def parameters():
        return Block(core.Parameters.IntRange("longest", value=10))

    def check(self, path, parameters):
        self.could_be_selected = True
        if len(path) > parameters.longest.value:
            self.could_be_fixed = True
            self.result.append(path)
            raise core.Error.ValidationError


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
    return Directory("", str(directory))


def ids(classes):
    return [found.class_id for found in classes]


# Discovery


def test_packages_are_searched_but_not_their_own_top_level(tmp_path):
    place = plant(
        tmp_path,
        {
            "b": a_check("b"),
            "a": {"inner": {"deep": a_check("deep"), "__init__": a_check("top level")}, "z": a_check("z")},
            "c": a_check("c")
            + "from os import path\nfrom json import *\nclass Third(Found): class_id = 'third'",
        },
    )
    (tmp_path / "no_package").mkdir()
    plant(tmp_path / "no_package", {"lost": a_check("lost")})
    classes = Classes([place])
    assert ids(classes) == ["deep", "z", "b", "c", "third"]
    assert not {"b", "deep", "z", "c", "a.z", "a.inner.deep"} & set(sys.modules)
    assert ids(classes._search(place, [Lengths])) == ["lengths", "deep", "z", "b", "c", "third"]
    assert classes.get("deep") is next(iter(classes)) and classes.get("top level") is None
    assert classes.get_denied() == []  # not the classes that derive from the base directly


def test_order_is_that_of_categories_then_index_then_discovery(tmp_path):
    found = [
        ("zzz", 0), ("Mesh", 5), ("project", 0), ("aaa", 0), ("mesh", -1), ("SCENE", 0), ("mesh", 10**30),
        ("mesh", 5), ("mesh non-manifold", True), ("", 0),
    ]  # fmt: skip
    modules = {f"m{i}": a_check(f"{c} {i}", c, index) for i, (c, index) in enumerate(found)}
    assert ids(Classes([plant(tmp_path, modules)])) == [
        "SCENE 5", "mesh 4", "Mesh 1", "mesh 7", "mesh 6", "mesh non-manifold 8", "project 2", " 9", "aaa 3",
        "zzz 0",
    ]  # fmt: skip


def test_first_of_one_id_is_kept_and_disabled_directories_are_left_alone(tmp_path):
    first = plant(tmp_path / "1", {"a": a_check("same")})
    second = plant(tmp_path / "2", {"a": a_check("same"), "b": a_check("other"), "c": a_check("other")})
    off = plant(tmp_path / "3", {"a": f"open({str(tmp_path / 'run')!r}, 'w')"})
    off.enabled = False
    gone = plant(tmp_path / "4", {})
    (tmp_path / "4").rmdir()
    classes = Classes([gone, first, off, second])
    assert ids(classes) == ["same", "other"] and classes._directory is second
    assert classes.get("same") is not classes._search(second)[0]
    assert not (tmp_path / "run").exists()


def test_reload_empties_in_place_and_sees_new_modules(tmp_path):
    place = plant(tmp_path, {"a": a_check("a"), "bad": a_check("bad", body="check = None")})
    classes = Classes([place])
    array, denied, table = classes._array, classes.get_denied(), classes._table
    assert (ids(array), ids(denied)) == (["a"], ["bad"])
    (tmp_path / "bad.py").unlink()
    plant(tmp_path, {"b": a_check("b")})
    classes.reload()
    assert (ids(array), denied, list(table)) == (["a", "b"], [], ["a", "b"])
    assert array is classes._array and table is classes._table


def test_module_that_fails_costs_only_itself(tmp_path):
    failing = {
        "b_raises": "1 / 0",
        "c_syntax": "def",
        "d_missing": "import no_such_module",
        "e_exits": "import sys; sys.exit(3)",
        "f_relative": "from . import a",
        "g_members": a_check("lost") + "def __dir__(): raise KeyError('no names')",
        "h_recurses": "def f(): f()\nf()",
        "i_ancestry": "import core\nclass Meta(type):\n    def __getattribute__(self, name): raise OSError\n"
        "class Step(core.Check.Base, metaclass=Meta): pass\n",
    }
    place = plant(tmp_path, {"a": a_check("a"), **failing, "z": a_check("z")})
    with logged() as messages:
        assert ids(Classes([place])) == ["a", "z"]
    kinds = (
        "ZeroDivisionError", "SyntaxError", "ModuleNotFoundError", "SystemExit", "ImportError", "KeyError",
        "RecursionError", "OSError",
    )  # fmt: skip
    assert sorted(messages) == [
        f"Import Failed: {m} - {kind}" for m, kind in zip(failing, kinds, strict=True)
    ]

    plant(tmp_path, {"interrupted": "raise KeyboardInterrupt"})
    with pytest.raises(KeyboardInterrupt):
        Classes([place])


@pytest.mark.skipif(os.name == "nt", reason="links need a privilege there")
def test_links_in_a_circle_are_not_followed_for_ever(tmp_path):
    place = plant(tmp_path, {"one": {"a": a_check("a")}, "two": {"b": a_check("b")}})
    for source, target in (("one", "two"), ("one", "one"), ("two", "one"), ("two", "two")):
        (tmp_path / source / f"to_{target}").symlink_to(tmp_path / target)
    assert sorted(ids(Classes([place]))) == ["a", "b"]


def test_class_must_be_what_a_check_is(tmp_path):
    is_valid = core._Assert.Check.is_valid
    assert is_valid(Lengths) and is_valid(type("AnyIndex", (Plugin,), {"sort_index": True}))

    def fail(*_):
        raise OSError("out of order")

    meta = type("Meta", (type,), {"description": property(fail)})
    wrong = {
        "no parameters": {"parameters": None},
        "parameters that are no block": {"parameters": staticmethod(list)},
        "id": {"class_id": 1},
        "name": {"short_name": b"bytes"},
        "index": {"sort_index": 1.0},
        "flag": {"could_be_fixed": 1},
        "maker": {"__new__": lambda cls: object()},
        "operation": {"select_result": "text"},
    }
    with logged() as messages:
        for name, attributes in wrong.items():
            assert not is_valid(type("Wrong", (Plugin,), attributes)), name
        assert not any(is_valid(other) for other in (None, int, SimpleNamespace(parameters=Block)))
    assert messages == []
    with logged() as messages:
        assert not is_valid(type("Wrong", (Plugin,), {"parameters": staticmethod(fail)}))
        assert not is_valid(type("Wrong", (Plugin,), {"__init__": fail}))
        assert not is_valid(meta("Wrong", (Plugin,), {}))
    assert messages == ["OSError: out of order"] * 3


def test_denied_classes_are_shown_and_may_repeat(tmp_path):
    place = plant(tmp_path, {"a": a_check("a", body="could_be_fixed = None"), "z": a_check("z")})
    classes = Classes([place, place])
    assert ids(classes.get_denied()) == ["a", "a"] and ids(classes) == ["z"]


def test_buffer_is_a_list_with_a_name():
    buffer = core.Structure.NamedBuffer("edges", items=(1, 2))
    buffer.__init__("faces", [3])
    for twin in (copy.copy(buffer), copy.deepcopy(buffer), pickle.loads(pickle.dumps(buffer))):
        assert (type(twin), twin, twin.name) == (type(buffer), [1, 2, 3], "faces")
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


def test_checklist_without_configuration_has_all_disabled():
    checks = Checklist([Lengths, Whole, Colors])
    assert checks.is_empty() and checks.get() == [] and checks.config is None
    assert [c.name for c in checks.get(enabled=False)] == ["Lengths", "Colors"]
    assert [c.name for c in checks.get(False, scene_oriented=True)] == ["Whole"]
    assert [(c.name, [control.name for control in c]) for c in checks.categories] == [
        ("object", ["Lengths", "Colors"]),
        ("scene", ["Whole"]),
    ]
    assert list(checks)[2].description == "Looks at colors." and list(checks)[2].check is Colors
    enabled = checks.iterator(enabled=True)
    list(checks)[1].enabled = True
    assert [c.name for c in enabled] == ["Whole"]  # as it is at the moment of the walk
    checks.save()
    checks.load({"lengths": stored(3)})
    assert checks.config is None and checks.get() == [] and not checks.is_empty()


def test_checklist_is_bound_to_its_records():
    config = Config({"lengths": stored(3), "unknown": stored(4)})
    checks = Checklist([Lengths, Colors], config=config)
    lengths, colors = checks
    assert (
        checks.get() == [lengths] and lengths.opened and [c.class_id for c in config] == ["lengths", "colors"]
    )
    assert [task.longest.value for task in lengths.parameters] == [3]
    assert [task.longest.value for task in colors.parameters] == [10]

    next(iter(lengths.parameters)).longest.value = 5
    colors.enabled = True
    checks.save()
    assert config.data == {"lengths": stored(5), "colors": stored(10, opened=False)}
    lengths.enabled = False
    checks.save()
    record = config.get("lengths")
    assert (record.enabled, record.opened, record.parameters) == (False, False, lengths.parameters.defaults)

    checks.clear()
    assert checks.is_empty() and lengths.parameters.length == 0 and lengths._state is None
    checks.save()
    assert list(config.data) == ["colors"]


def test_presets_are_applied_to_the_checklist():
    presets = Presets()
    checks = Checklist([Lengths, Colors], presets, Config({"lengths": stored(3)}))
    checks.preset.create("short names")
    next(iter(checks)).enabled = False
    checks.save()
    checks.preset.apply(next(iter(presets)))
    assert [c.name for c in checks.get()] == ["Lengths"] and checks.preset._presets is presets
    assert Checklist([Lengths], presets=[1]).preset.names == []


# Results


class Host:
    """A host with a selection, and the statistics that get the records."""

    def __init__(self):
        self.records, self.scopes, self.swallows = [], [], False

    def add(self, record):
        self.records.append(record.data)

    def selection_manager(self):
        host = self

        class Scope:
            def __enter__(self):
                host.scopes.append("entered")

            def __exit__(self, kind, value, trace):
                host.scopes.append((kind, value, trace))
                return host.swallows

        return Scope()


def outcome(check, host=None, block=None, single=True, path="/a"):
    host = host or Host()
    block = Block() if block is None else block
    block.load([])
    return Task.Result(path, check, next(iter(block)), host, host, single=single)


def a_class(**attributes):
    return type("Made", (Plugin,), {"long_name": "Made", **attributes})


def raising(error):
    def check(*_):
        raise error

    return check


def test_result_is_a_run_with_its_record():
    host, block = Host(), Lengths.parameters()
    result = outcome(Lengths, host, block, path="/a rather long name")
    assert (result.status, result.name, result.could_be_fixed) == (Status.Fail, "Length of names", True)
    assert result.could_be_selected and not result.scene_oriented and result._check.result == [result._path]
    next(iter(block)).longest.value = 99
    result.check()  # with its own copy of the parameters, and its findings anew
    assert result.status == Status.Fail and result._check.result.length == 1
    result._param.longest.value = 99
    result.check()
    assert result.status == Status.Pass and not result.could_be_fixed and not result._check.result
    assert [(r["name"], r["result"]) for r in host.records] == [
        ("Length of names", s) for s in ("fail", "fail", "pass")
    ]
    assert all(isinstance(r["timestamp"], float) and 0 <= r["speed"] < 60 for r in host.records)
    assert Base.result == [] and Lengths.could_be_fixed is False


def test_only_what_a_check_raises_counts():
    def notes(self, *_):
        self.result.append("finding")
        return 404

    info = Block()
    info.as_info = True
    assert outcome(a_class(check=notes)).status == Status.Pass
    finding = a_class(check=raising(core.Error.ValidationError()))
    assert (outcome(finding).status, outcome(finding, block=info).status) == (Status.Fail, Status.Info)

    def recurses(self, *arguments):
        self.check(*arguments)

    class Mute(Exception):
        def __str__(self):
            raise self

    with logged() as messages:
        for check in (raising(ValueError("no")), recurses, raising(Mute()), Base.check):
            assert outcome(a_class(check=check), block=info).status == Status.Error
    assert len(messages) == 4 and "ValueError: no" in messages
    assert "Mute: <exception str() failed>" in messages
    assert any(message.startswith("RecursionError: ") for message in messages)


def test_wrong_parameters_keep_the_check_from_running():
    host, block = Host(), Lengths.parameters()
    result = outcome(Lengths, host, block, path="/a rather long name")
    result._param.load({"unknown": 1})
    with logged() as messages:
        result.check()
    assert result.status == Status.Error and messages[0].startswith("AttributeError: ")
    assert result.could_be_fixed and result._check.result.length == 1  # as they were
    assert host.records[-1]["result"] == "error"


def test_parameters_that_cannot_be_copied_are_an_error_of_the_check():
    class Odd(core.Parameters.Switch):
        @property
        def data(self):
            raise OSError("no data")

    host = Host()
    task = Block.Task([core.Parameters.Switch("on")])
    task._table["on"] = Odd("on")
    with logged() as messages:
        result = Task.Result("/a", a_class(), task, host, host)
    assert (result.status, messages) == (Status.Error, ["OSError: no data"])


def test_name_has_the_number_of_its_task():
    block = Block()
    block.load([{}, {}])
    host = Host()
    results = [Task.Result("/a", Lengths, task, host, host, single=False) for task in block]
    assert [r.name for r in results] == ["Length of names (Task 01)", "Length of names (Task 02)"]
    assert host.records[1]["name"] == results[1].name and Lengths.long_name == "Length of names"


def test_class_that_makes_no_check_gives_an_error_and_a_record():
    host = Host()
    with logged() as messages:
        result = outcome(a_class(__init__=raising(OSError("not today"))), host, single=False)
        assert (result.status, result.name, result.could_be_fixed) == ("error", "Made (Task 01)", False)
        result.check()
    assert messages == ["OSError: not today"] * 2 and [r["result"] for r in host.records] == ["error"] * 2


def test_plug_ins_of_any_shape_stop_no_run():
    class Gone:
        def __get__(self, check, type):
            if check is None:
                return "text"
            raise OSError("no name")

    class Undecided:
        def __bool__(self):
            raise OSError("no answer")

    def undecided(self, path, parameters):
        parameters.as_info = Undecided()
        raise core.Error.ValidationError

    host = Host()
    with logged() as messages:
        assert outcome(a_class(long_name=Gone(), check=lambda *_: None), host).status == Status.Pass
        assert outcome(a_class(check=undecided), host).status == Status.Error
    assert messages == ["OSError: no name", "OSError: no answer"]
    assert [record["name"] for record in host.records] == [None, "Made"]


def test_what_a_check_does_to_its_own_result_crashes_nothing():
    results, seen = [], []

    class Check(Plugin):
        @property
        def check(self):
            if results:
                results.pop().__init__("other", a_class(check=lambda *_: None), task, host, None)
            return lambda path, parameters: seen.append(len(path))

    host, task = Host(), Block().append_task()
    results.append(Task.Result("a" * 10**7, Check, task, host, None))
    results[0].check()
    assert seen == [10**7, 10**7]


def test_interrupts_and_exits_pass_and_leave_the_scope():
    for error in (KeyboardInterrupt(), SystemExit(1)):
        host = Host()
        with pytest.raises(type(error)):
            outcome(a_class(check=raising(error)), host)
        result = outcome(a_class(check=lambda *_: None, fix_result=raising(error)), host)
        with pytest.raises(type(error)) as raised:
            result.fix_result()
        entered, (kind, value, trace) = host.scopes
        assert (entered, kind, value) == ("entered", type(error), error) and trace is not None
        assert raised.value is error
        host.swallows = True
        result.fix_result()
        assert result.status == Status.Pass
        result._check.check = raising(error)
        with pytest.raises(type(error)):
            result.check()
        assert result.status == Status.Error  # it has not passed


def test_fix_runs_in_the_selection_scope_and_checks_again():
    def fix(self, path, parameters):
        host.scopes.append("fix")
        parameters.longest.value = 99

    host = Host()
    result = outcome(
        type("Fixing", (Lengths,), {"fix_result": fix}), host, Lengths.parameters(), path="/" + "a" * 30
    )
    result.fix_result()
    assert result.status == Status.Pass and host.scopes == ["entered", "fix", (None, None, None)]
    assert [r["result"] for r in host.records] == ["fail", "pass"]

    broken = outcome(
        type("Broken", (Lengths,), {"fix_result": raising(OSError("stuck"))}),
        host,
        Lengths.parameters(),
        path="/" * 30,
    )
    with logged() as messages:
        broken.fix_result()
    assert (broken.status, broken.could_be_fixed, messages) == (Status.Fail, True, ["OSError: stuck"])

    broken._op.selection_manager = object
    with pytest.raises(TypeError, match="scope"):
        broken.fix_result()


def test_selecting_and_telling_never_raise():
    told = a_class(
        check=lambda *_: None, select_result=raising(OSError("1")), result_message=raising(OSError("2"))
    )
    with logged() as messages:
        result = outcome(told)
        assert result.select_result() is None and result.result_message() == ""
    assert sorted(messages) == ["OSError: 1", "OSError: 2"]
    for answer, text in ((5, ""), (None, ""), ("\ud800 words", "\ud800 words")):
        assert (
            outcome(a_class(check=lambda *_: None, result_message=lambda _, a=answer: a)).result_message()
            == text
        )


# Queues


def test_status_of_a_task_is_its_most_severe():
    task = Task("/a", [], icon="cube")
    assert (task.name, task.icon, task.empty, task.status) == ("/a", "cube", True, Status.Pass)
    assert Task("/a", [], name="").name == ""
    seen = []
    for status in ("nonsense", "info", "pass", "error", "fail", []):
        task.results.add(SimpleNamespace(status=status))
        seen.append(task.status)
    assert seen == ["pass", "info", "info", "error", "error", "error"]
    assert not task.empty and len(task.results) == 6
    assert task._order_indices == {status: i for i, status in enumerate(task._level_order)}


def test_queue_fixes_each_result_once():
    class Stubborn(Lengths):
        def fix_result(self, path, parameters):
            self.fixes = getattr(self, "fixes", 0) + 1

    host, queue = Host(), Queue()
    assert queue.is_empty() and not queue.fix_exists()
    for path in ("/short", "/a rather long name"):
        task = Task(path, [])
        task.results.add(outcome(Stubborn, host, Lengths.parameters(), path=path))
        queue.add(task)
    assert len(queue) == 2 and queue.fix_exists()
    queue.fix_all()
    assert [[getattr(r._check, "fixes", 0) for r in task.results] for task in queue] == [[0], [1]]
    tasks = queue._tasks
    queue.clear()
    assert tasks == [] and queue.is_empty() and list(queue) == []


def test_what_holds_itself_is_released():
    host, queue = Host(), Queue()
    result = outcome(Lengths, host, Lengths.parameters())
    task = Task("/a", Checklist([Lengths], config=Config({})).get(False))
    task.results.add(result)
    queue.add(task)
    result._check.result.append(queue)
    host.queue = queue
    alive = [
        weakref.ref(thing) for thing in (host, queue, task, result, result._check, task.check_controls[0])
    ]
    del host, queue, task, result
    gc.collect()
    assert [reference() for reference in alive] == [None] * len(alive)
