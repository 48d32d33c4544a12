"""The engine as a whole: scenes, projects, exports and the exchange with a server, through one `Api`."""

import errno
import json
import os
import re
import time
from pathlib import Path
from types import SimpleNamespace

import pytest
from hosts import DictHost, Home, logged, scene
from memory import stays_flat

import core

Mode, Where = core.Constants.Check.Mode, core.Constants.Export.Mode
Rule, Buffer = core._Project.Settings.Rule, core.Scene._Buffer


class Host(DictHost):
    """A host that writes what it exports, and keeps what it was told."""

    def __init__(self, *paths):
        super().__init__(*paths)
        self.exported, self.dialogs, self.chosen, self.errors = [], [], None, {}

    def export(self, roots, file_path, type, args, automatic_uv=False, triangulate=False, reset_xforms=False):
        if roots[0] in self.errors:
            raise self.errors[roots[0]]
        Path(file_path).write_text(json.dumps([roots, type, args]))
        self.exported.append((roots, type, args, automatic_uv, triangulate, reset_xforms))

    def directory_dialog(self, starting="~", caption=""):
        self.dialogs.append((starting, caption))
        return self.chosen

    def open(self, data):
        """Opens another scene."""
        self.data = data
        for function in list(self.opened):
            function()


def listen(api):
    """The names and arguments of all events from now on."""
    events = []
    for name in dir(type(api.callbacks)):
        callbacks = getattr(api.callbacks, name)
        if isinstance(callbacks, core._CallBacks.List):
            callbacks.register(lambda *arguments, name=name: events.append((name, *arguments)))
    return events


def files(directory):
    return sorted(entry.name for entry in Path(directory).iterdir() if not entry.name.startswith("."))


@pytest.fixture
def make(tmp_path, monkeypatch):
    monkeypatch.setattr(core.Environment, "user_home", str(tmp_path / "user"))

    def make(host=None, home="home", exporters=("fbx",), **options):
        switch = core.Parameters.Switch("embed")
        offered = [core.Parameters.Options(name, name.title(), "", [switch]) for name in exporters]
        return core.Api(host or Host(), Home(tmp_path / home), export_options=offered, **options)

    return make


def add_project(api, name, regex="car", checklist=(), **flags):
    """A project with one rule, saved; its file name."""
    project = api.project.get_empty()
    project.name = name
    record = project.get_record_promise()
    rule = Rule({"name": "car", "regex": regex, "range": [1, 9], "checklist": dict(checklist)})
    record.rules.append(rule)
    record.pattern.append(Rule.Tree.Node(rule))
    for flag, value in flags.items():
        setattr(record.export.flags, flag, value)
    record.save()
    return project.filename


def regex(api):
    """The expression of the only rule that is loaded."""
    (rule,) = api.scene.hierarchy.pattern._rules.values()
    return rule.regex


# The whole road


def test_a_project_is_made_scanned_validated_and_exported(make, checks, tmp_path, monkeypatch):
    host = scene({"car_0": {}, "car_1": {}, "tree": {}}, into=Host())
    api = make(host, exporters=("obj", "fbx"), checks=checks)
    events, out = listen(api), tmp_path / "out"
    names = {"names": {"enabled": True, "parameters": [{"state": {"word": {"value": 0}}}]}}
    filename = add_project(api, "Street", "^car", names)
    api.project.load(filename)
    now = time.time
    monkeypatch.setattr(time, "time", lambda: now() + 1)  # records are told apart by their second
    project = api.project.get_current()
    second = project.get_record_promise()
    second.author, second.export.directory = "second", str(out)
    second.export.flags.version_control = second.export.flags.triangulate = True
    api.export.options.select("fbx")
    api.export.options.fbx.load({"embed": True})
    second.export.set_options(api.export.options)
    second.save()
    api.project.load(filename)
    assert [saved.author for saved in project] == ["second", ""]
    assert api.export.flags.version_control and api.export.flags.triangulate
    host.selection = ["/car_0", "/car_1", "/tree"]
    assert api.scene.scanner.upload_buffer()
    assert api.scene.buffer.get_path_groups() == [["/car_0"], ["/car_1"]]
    api.settings.check.mode, api.settings.export.mode = Mode.Project, Where.Project
    assert api.project.is_active()
    api.settings.write()
    api.validator.start()
    results = [(task.path, result.status) for task in api.validator.queue for result in task.results]
    assert results == [("/car_0", "fail"), ("/car_1", "pass")]
    assert [run["project"] for run in api.env.records("validate")] == [filename]
    out.mkdir()
    api.export.start()
    api.export.start()
    assert files(out) == ["car_0.v01.fbx", "car_0.v02.fbx", "car_1.v01.fbx", "car_1.v02.fbx"]
    assert host.exported[0] == (["/car_0"], "fbx", {"embed": True}, False, True, False)
    assert events == [("projects_saved",)] * 2 + [("export_success",)] * 2
    assert host.ends == [None] * 3

    again = make(host, exporters=("obj", "fbx"), checks=checks)  # another session of the user
    assert (again.project.get_current(), regex(again)) == (project, "^car")
    again.export.start()
    assert host.exported[-1] == (["/car_1"], "fbx", {"embed": True}, False, True, False)
    assert "car_1.v03.fbx" in files(out) and len(again.env.records("exported")) == 3


# The scene


def bucket(name, *roots, checked=True):
    """A hierarchy in the buffer; with any but one root it is a ghost's."""
    joints = [Buffer.DataJoint("", path, path) for path in roots]
    joint = joints[0] if len(joints) == 1 else Buffer.DataJoint("", "ghost", "|", "ghost", joints)
    return Buffer.DataBucket(joint, name, checked=checked)


def test_the_buffer_follows_the_open_scene(make):
    host, stored = Host("/car"), Buffer.encode([bucket("car", "/car")])
    host.data = stored
    api = make(host)
    events = listen(api)
    assert api.scene.buffer.get_path_groups() == [["/car"]]
    host.open([])
    assert (api.scene.buffer.get(), host.removed, events) == ([], ["/car"], [("buffer_loaded",)])
    api.shutdown()
    host.open(stored)
    api.callbacks.buffer_loaded()
    assert (api.scene.buffer.get(), len(events)) == ([], 1)
    host.failures["query_filedata"] = OSError("no data")
    with pytest.raises(OSError, match="no data"):
        make(host)
    assert host.opened == []


# Projects


def test_a_project_that_cannot_be_used_gives_way_to_the_first_that_can(make):
    api = make()
    usable = add_project(api, "b", "bus")
    for name, version in (("a", 2), ("c", 4)):
        path = Path(api.project.collection.directory) / add_project(api, name)
        path.write_text(json.dumps(json.loads(path.read_text()) | {"version": version}) + " " * 1000)
    older = api.project.get_headers()[0].filename
    api.settings.workspace.project = older
    api.settings.write()
    api = make()
    assert [header.compatible for header in api.project.get_headers()] == [False, True, False]
    assert api.project.get_current().filename == usable
    assert json.loads(Path(api.env.get_settings_file()).read_text())["workspace"]["project"] == usable
    api.project.load(older)
    assert api.settings.workspace.project == usable


def test_the_same_state_is_loaded_once(make):
    api = make()
    first, second = add_project(api, "a", triangulate=True), add_project(api, "b")
    api.project.load("no such name")  # the first one stands in for it
    assert api.settings.workspace.project == first and api.export.flags.triangulate
    written = os.stat(api.env.get_settings_file()).st_mtime_ns
    api.export.flags.triangulate = False
    api.project.load(first)
    assert api.export.flags.triangulate is False
    api.project.get_current().mark_edited()
    api.project.load(first)
    assert api.export.flags.triangulate is True
    assert os.stat(api.env.get_settings_file()).st_mtime_ns == written
    api.project.load(second)
    assert api.settings.workspace.project == second and api.export.flags.triangulate is False


def test_a_deleted_project_stays_for_the_server(make, monkeypatch):
    api = make()
    first, second = add_project(api, "a", "anchor"), add_project(api, "b", "bus")
    api.project.load(first)
    clone, current = api.project.get_clone(), api.project.get_current()
    assert (clone.name, clone.filename, clone.history.data) == ("", "", current.history.data)
    now = time.time
    later = now() + 1
    monkeypatch.setattr(time, "time", lambda: now() + 1)
    api.project.delete_current()
    assert [header.filename for header in api.project.get_headers()] == [second]
    assert api.project.get_current().filename == api.settings.workspace.project == second
    api.project.delete_current()
    assert api.settings.workspace.project == second and api.project.get_current().filename == ""
    assert regex(api) == "bus"  # nothing takes its place
    told = json.loads(bytes(api.http.projects_request()))["projects"]
    assert len(told) == 2 and all(one["deleted"] and one["edit_timestamp"] >= later for one in told)


# Exports


def test_a_version_is_above_all_that_are_there(tmp_path):
    create_path = core.Api._Export._create_path
    cases = {
        "01": ["Hero.fbx", "Hero.v09.Fbx", "Hero.v09.obj", "My Hero.v09.fbx", "Hero9.fbx.bak"],
        "03": ["Hero_Old2.FBX"],
        "101": ["Hero.v99.fbx", "Hero.v100.fbx", "Hero.v07.fbx"],
        f"1{'0' * 30}": ["Hero" + "9" * 30 + ".fbx"],
    }
    for version, present in cases.items():
        place = tmp_path / version
        place.mkdir()
        for name in present:
            (place / name).touch()
        path = create_path(f"{place}/./", "Hero", "FBX", version_control=True)
        assert path == str(place / f"Hero.v{version}.fbx")
    assert create_path(f"{tmp_path}/no/..", "Hero", "FBX") == str(tmp_path / "Hero.fbx")


def test_the_settings_say_where_exports_go(make, tmp_path):
    host = Host("/car")
    host.file = ""
    api = make(host)
    events, settings, lost = listen(api), api.settings.export, ("lost_export_directory",)
    for mode in (Where.Choose, Where.Local, Where.Project, 9):
        settings.mode = mode
        api.export.start()
    assert host.dialogs == [("~", "Set Directory")] and settings.directory == "~"
    assert events == [lost] * 4 and api.env.records("exported") == []
    settings.mode, host.chosen = Where.Choose, tmp_path / "out"  # a path, which the settings could not write
    api.export.start()
    assert events == [lost] * 5 and settings.directory == str(tmp_path / "out")  # chosen, but not there
    host.file = str(tmp_path / "street" / "street.gltf")
    for mode, name in {Where.Choose: "out", Where.Project: "user", Where.Local: "street"}.items():
        (tmp_path / name).mkdir()
        settings.mode = mode
        api.export.start()
        assert files(tmp_path / name) == ["car.fbx"]
    assert events[5:] == [("export_success",)] * 3
    assert not Path(api.env.get_settings_file()).exists()


def test_what_is_gone_or_unchecked_is_left_out(make, tmp_path):
    host = Host("/a", "/b", "/c")
    api = make(host)
    events = listen(api)
    api.scene.buffer.set([bucket("gone", "/a", "/gone"), bucket("off", "/a", checked=False)])
    api.export.project(str(tmp_path))
    host.selection = []
    api.export.selected(str(tmp_path))
    assert events == [("empty_export_selection",)] * 2 and api.env.records("exported") == []
    api.scene.buffer.add([bucket("pair", "/a", "/b"), bucket("c", "/c")])
    api.export.project(str(tmp_path))
    assert [call[0] for call in host.exported] == [["/a", "/b"], ["/c"]]
    api.scene.buffer.add([bucket("nothing")])
    with logged() as messages:
        api.export.project(str(tmp_path))
    assert events[2:] == [("export_success",), ("export_skipped", "nothing")]
    assert (len(api.env.records("exported")), messages) == (2, [])


def test_what_cannot_be_written_is_skipped_and_the_others_are_not(make, tmp_path):
    host = Host("|group|a", "|group|b", "|group/c[")
    host.errors["|group|a"] = OSError(errno.ENOSPC, "no space left")
    api = make(host)
    events = listen(api)
    api.export.flags.version_control = True
    (tmp_path / "b.v01.fbx").touch()
    with logged() as messages:
        api.export.selected(str(tmp_path))
    assert sorted(messages)[0] == "OSError: [Errno 28] no space left" and len(messages) == 2
    tasks = list(api.export.queue)
    assert [task.is_confirmed() for task in tasks] == [False, True, False]
    assert [type(task.error) for task in tasks] == [OSError, type(None), re.error]
    assert [task.path and os.path.basename(task.path) for task in tasks] == ["a.v01.fbx", "b.v02.fbx", None]
    assert files(tmp_path) == ["b.v01.fbx", "b.v02.fbx", "home"]
    with logged() as messages:
        api.export.selected(str(tmp_path / "gone"))
    assert events == [("export_skipped", "a", "c["), ("export_skipped", "a", "b", "c[")]
    assert (len(messages), len(api.env.records("exported"))) == (3, 2)
    api = make(host, exporters=())
    with logged() as messages:
        api.export.selected(str(tmp_path))
    assert [message.split(":")[0] for message in messages] == ["AttributeError"] * 3


def test_an_export_follows_its_queue(make, tmp_path):
    host = Host("/a", "/b", "/c")
    api, write = make(host), host.export
    events = listen(api)

    def export(roots, *arguments, **flags):
        write(roots, *arguments, **flags)
        task = core._Export.Queue.Task("later")
        task.add("/later")
        api.export.queue.add(task) if roots == ["/a"] else roots == ["/b"] and api.export.queue._tasks.pop(2)
        if roots == ["/later"]:
            api.export.queue.clear()

    host.export = export
    api.export.selected(tmp_path)  # a path object
    assert files(tmp_path) == ["a.fbx", "b.fbx", "home", "later.fbx"] and events == [("export_success",)]


@pytest.mark.parametrize("directory", [5, None, b"out", ["out"], ""])
def test_an_export_directory_that_is_no_text_counts_as_none(make, directory):
    host = Host("/a")
    api, document = make(host), {"records": {"5": {"export": {"directory": directory}}}, "selected_record": 5}
    events, api.settings.export.mode = listen(api), Where.Project
    api.project.load(add_project(api, "car"))
    project = core._Project.Settings(api.project.collection, "", "", document)
    stored, current = project.history.get_record(), api.project.get_current().history.get_record()
    current.export.directory, host.file = directory, directory
    for record in (stored, current):
        history = SimpleNamespace(get_record=lambda record=record: record)
        api.project.get_current = lambda history=history: SimpleNamespace(history=history)
        for api.settings.export.mode in (Where.Project, Where.Local):
            api.export.start()
    assert {*events} == {("lost_export_directory",), ("projects_saved",)} and not host.exported


def test_an_export_inside_an_export_is_refused(make, tmp_path):
    host = Host("/a", "/b")
    api = make(host)
    events, write = listen(api), host.export

    def export(roots, *arguments, **flags):
        if roots == ["/a"]:
            host.selection = []
            api.export.selected(str(tmp_path))
        write(roots, *arguments, **flags)

    host.export = export
    with logged() as messages:
        api.export.selected(str(tmp_path))
    assert (events, messages) == ([("export_skipped", "a")], ["RuntimeError: an export is already running"])
    assert files(tmp_path) == ["b.fbx", "home"]
    host.export, host.selection = write, ["/b"]
    host.errors["/b"] = KeyboardInterrupt()
    with pytest.raises(KeyboardInterrupt):
        api.export.selected(str(tmp_path))
    assert (host.ends, len(host.exported)) == ([None, KeyboardInterrupt], 1)
    assert (len(events), len(api.env.records("exported"))) == (1, 1)
    host.errors.clear()
    api.export.selected(str(tmp_path))
    assert events[1:] == [("export_success",)]


# The exchange with a server


def answer(body):
    return SimpleNamespace(getheader=lambda name, default: "application/json", read=json.dumps(body).encode)


def test_projects_travel_from_one_user_to_another(make):
    here, there = make(home="here"), make(home="there")
    first = add_project(here, "a", "anchor")
    (project,) = json.loads(bytes(here.http.projects_request()))["projects"]
    events = listen(there)
    there.http.projects_response(answer([project]))
    closed = ("projects_response_closed",)
    changed = [("projects_saved",), ("projects_synchronized",), closed]
    assert (events, there.settings.workspace.project, regex(there)) == (changed, first, "anchor")
    there.http.projects_response(answer([project]))
    assert events[3:] == [closed]
    (rule,) = project["records"][str(project["selected_record"])]["rules"]
    rule["regex"], project["edit_timestamp"] = "bus", project["edit_timestamp"] + 1
    there.http.projects_response(answer([project]))
    assert (regex(there), events[4:]) == ("bus", changed)
    assert [header.filename for header in make(home="there").project.get_headers()] == [first]


def test_rubbish_from_the_server_changes_nothing(make):
    api = make()
    project = add_project(api, "a")
    events = listen(api)
    with logged():
        api.http.projects_response(None)
    for body in (1, ["text"]):
        with pytest.raises((TypeError, AttributeError)):
            api.http.projects_response(answer(body))
    assert events == [("projects_response_closed",)] * 3
    api.http.no_response()
    assert events.pop() == ("http_no_response",)
    assert [header.filename for header in api.project.get_headers()] == [project]
    assert files(api.env.get_projects_directory()) == [project]


def test_statistics_are_erased_as_the_settings_say(make, monkeypatch):
    api = make()
    api.statistics.add(core._Statistics.Type.Exported())
    api.statistics.write()
    monkeypatch.setenv("USERNAME", "ann")
    assert json.loads(bytes(api.http.statistics_request()))["username"] == "ann"
    monkeypatch.delenv("USERNAME")
    assert json.loads(bytes(api.http.statistics_request()))["username"] == ""
    for erase, left in ((False, 1), (True, 0)):
        api.settings.server.erase_sent = erase
        api.http.statistics_response(SimpleNamespace(status=200))
        assert len(api.env.records("exported")) == left


# Memory


def test_engines_leave_no_memory_behind(make):
    host = Host("/car")
    host.data = Buffer.encode([bucket("car", "/car")])
    add_project(make(host), "a")
    assert stays_flat(lambda: make(host).shutdown())
