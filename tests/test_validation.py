"""Validations: what is planned in each mode, what runs, and what is left behind."""

from types import SimpleNamespace

import pytest
from hosts import DictHost as Host
from hosts import Home, logged

import core

Rule = core._Project.Settings.Rule
Selection, Project = core.Constants.Check.Mode.Selection, core.Constants.Check.Mode.Project
SCENE = ("The Entire Scene", "street.gltf", None, ["scene"])


@pytest.fixture
def make(tmp_path, checks):
    def make(host, *enabled, mode=Selection):
        """An engine; these checks are enabled in the workspace."""
        home = tmp_path / "home"
        home.mkdir(exist_ok=True)
        api = core.Api(host, Home(home), checks=checks)
        api.settings.check.mode = mode
        enable(api.validator.checklist.workspace, *enabled)
        return api

    return make


def enable(checklist, *ids, values=(0,)):
    """Enables checks with a task for each of these values."""
    for control in checklist:
        if control.check.class_id in ids:
            control.enabled = True
            control.parameters.load([{"state": {"word": {"value": value}}} for value in values])


def enabled(api):
    """The class of the first check that is enabled in the workspace."""
    return next(control.check for control in api.validator.checklist.workspace if control.enabled)


def plan(api):
    """What stands in the queue: name, path, icon and checks of each task."""
    return [
        (task.name, task.path, task.icon, [control.check.class_id for control in task.check_controls])
        for task in api.validator.queue
    ]


def outcome(api):
    return [[(result.name, result.status) for result in task.results] for task in api.validator.queue]


def test_the_selection_is_checked_by_the_workspace(make):
    host = Host("/b", "/a0")
    api = make(host, "names", "scene")
    api.validator.start()
    assert plan(api) == [SCENE, ("/b", "/b", None, ["names"]), ("/a0", "/a0", None, ["names"])]
    assert outcome(api) == [[("Scene", "pass")], [("Names", "pass")], [("Names", "fail")]]
    assert (host.scopes, host.ends) == (1, [None])
    (run,) = api.env.records("validate")
    assert run["project"] is None and run["speed"] >= 0
    assert [check["name"] for check in api.env.records("checks")] == ["Scene", "Names", "Names"]
    first, second = list(api.validator.queue)[1:]
    assert first.check_controls is second.check_controls


def test_a_run_follows_its_queue(make):
    host = Host("/a", "/b", "/c", "/d")
    api, seen = make(host, "names", "scene"), []
    queue = api.validator.queue

    def tell(result):
        seen.append((result._path, result.name))
        if result._path == "/a":
            queue.add(core.Check._Queue.Task("/z", list(queue)[1].check_controls))
            queue._tasks.remove(list(queue)[2])
        elif result._path == "/z":
            controls = queue._tasks[1].check_controls
            queue.clear()
            queue.add(core.Check._Queue.Task("/never", controls))

    api.validator.progress = tell
    api.validator.start()
    assert [path for path, _ in seen] == [SCENE[1], "/a", "/c", "/d", "/z"]
    assert len(api.env.records("validate")) == 1 and len(api.env.records("checks")) == 5


def test_without_anything_to_check_nothing_is_left_behind(make):
    host = Host("/a")
    api = make(host)
    enable(api.validator.checklist.editor, "names")  # the editor's checks never run
    api.validator.start()
    assert (plan(api), host.scopes, api.env.records("validate")) == ([], 0, [])
    enable(api.validator.checklist.workspace, "names", "scene")
    host.selection = []
    api.validator.start()
    assert plan(api) == [SCENE]
    for mode in (Project, 2, None, "0"):
        api.validator._plan_checks(mode)
        assert plan(api) == []  # what was planned before is gone


def test_each_set_of_parameters_has_a_result_of_its_own(make):
    api = make(Host("/a1"))
    workspace = api.validator.checklist.workspace
    enable(workspace, "names", values=(0, 1))
    api.validator.start()
    assert outcome(api) == [[("Names (Task 01)", "pass"), ("Names (Task 02)", "fail")]]
    enable(workspace, "names", values=(1,))  # after the run: its results keep theirs
    ((first, second),) = (task.results for task in api.validator.queue)
    first.check(), second.check()
    assert (first.status, second.status) == ("pass", "fail")
    next(control for control in workspace if control.enabled).parameters.reset()
    api.validator.start()
    assert outcome(api) == [[]]


def rule(name, **checks):
    """A rule whose checks are enabled with these values."""
    checklist = {
        id: {"enabled": True, "parameters": [{"state": {"word": {"value": value}}}]}
        for id, value in checks.items()
    }
    return Rule({"stamp": f"<{name}>", "name": name, "checklist": checklist})


def joint(rule, path, *children):
    icon = f"icon of {rule}"
    return core.Scene._Buffer.DataJoint(f"<{rule}>", rule, path, "mesh", list(children), icon, "")


def test_matched_objects_are_checked_by_their_rules(make):
    api = make(Host("/car0", "/car0/wheel0", "/car0/plain", "/car0/nut", "/far0"), mode=Project)
    api.settings.workspace.project = "street.json"
    rules = [rule("ghost", names=0), rule("wheel", names=0, scene=4), rule("car", scene=0)]
    rules += [rule("plain"), rule("unknown check", gone=0)]
    pattern = SimpleNamespace(children=[])
    api.validator._hierarchy.pattern.set(SimpleNamespace(rules=rules, pattern=pattern))
    below = [
        joint("wheel", "/car0/wheel0"),
        joint("plain", "/car0/plain"),
        joint("wheel", "/car0/gone0"),  # deleted since the scan
        joint("unknown check", "/car0/nut"),
        joint("no rule", "/car0/nut"),
    ]
    bucket = core.Scene._Buffer.DataBucket
    car = bucket(joint("ghost", "", joint("car", "/car0", *below)), "car")
    again = bucket(joint("wheel", "/car0/wheel0"), "again")
    unchecked = bucket(joint("wheel", "/far0"), "unchecked", checked=False)
    api.validator._buffer.add([car, again, unchecked])
    api.validator.start()
    assert plan(api) == [SCENE, *[("/car0/wheel0", "/car0/wheel0", "icon of wheel", ["names"])] * 2]
    (scene,) = next(iter(api.validator.queue)).check_controls
    assert next(iter(scene.parameters)).word.value == 0  # that of the car, which comes first
    assert outcome(api)[1:] == [[("Names", "fail")]] * 2
    assert [run["project"] for run in api.env.records("validate")] == ["street.json"]
    api.validator._buffer.clear()
    api.validator.start()
    assert (plan(api), len(api.env.records("validate"))) == ([], 1)


def test_failures_of_the_host_pass_and_leave_the_scope(make):
    host = Host("/a")
    api = make(host, "scene", "names")
    host.failures["get_selection"] = OSError("no scene")
    with pytest.raises(OSError, match="no scene"):
        api.validator.start()
    assert (host.scopes, plan(api)) == (0, [SCENE])
    del host.failures["get_selection"]

    def interrupt(self, path, parameters):
        raise KeyboardInterrupt

    enabled(api).check = interrupt
    with pytest.raises(KeyboardInterrupt):
        api.validator.start()
    assert host.ends == [KeyboardInterrupt] and api.env.records("validate") == []


def test_a_check_that_starts_a_validation_has_failed(make):
    api = make(Host("/a", "/b"), "names")
    enabled(api).check = lambda self, path, parameters: api.validator.start()
    with logged() as messages:
        api.validator.start()
    assert outcome(api) == [[("Names", "error")]] * 2
    assert messages == ["RuntimeError: a validation is already running"] * 2
    enabled(api).check = lambda self, path, parameters: None
    api.validator.start()
    assert outcome(api) == [[("Names", "pass")]] * 2


def test_a_fix_changes_the_result_where_it_stands(make):
    api = make(Host("/a0"), "names")
    state = {"broken": True}

    def judge(self, path, parameters):
        self.could_be_fixed = state["broken"]
        if state["broken"]:
            raise core.Error.ValidationError

    check, queue = enabled(api), api.validator.queue
    check.check, check.fix_result = judge, lambda self, path, parameters: state.update(broken=False)
    api.validator.start()
    assert (outcome(api), queue.fix_exists()) == ([[("Names", "fail")]], True)
    queue.fix_all()
    assert (outcome(api), queue.fix_exists()) == ([[("Names", "pass")]], False)
    assert len(api.env.records("checks")) == 1  # the second run is in memory until the next write
    api.statistics.write()
    assert [record["result"] for record in api.env.records("checks")] == ["fail", "pass"]


def test_the_engine_is_built_around_its_environment(make, tmp_path, monkeypatch):
    class Broken(Home):
        def get_statistics_file(self):
            raise OSError("no file")

    (tmp_path / "library").mkdir()
    monkeypatch.setattr(core, "__file__", str(tmp_path / "library" / "core.so"))
    with logged() as messages:
        for environment in (None, object(), Broken(tmp_path)):
            assert type(core.Api(Host(), environment).env) is core._LocalEnv
    assert "OSError: no file" in messages
    api = make(Host())
    assert [check.class_id for check in api.validator._hierarchy.pattern.check_classes] == ["scene", "names"]
    assert [found.name for found in api.settings.check.directories] == ["Default"]
    assert api.settings.data["check"]["directories"] == []  # the embedded checks are never stored
    workspace, editor = api.validator.checklist.workspace, api.validator.checklist.editor
    assert workspace.config is api.settings.check.config and editor.config is None
