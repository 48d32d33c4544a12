"""The documents on disk, the queue before each of them, and where a host keeps them."""

import enum
import importlib
import io
import json
import os
import platform
import re
import subprocess
import sys
import time
from functools import reduce
from pathlib import Path

import pytest
from hosts import DictHost, Home, logged
from hypothesis import given
from hypothesis import strategies as st

import core

File = core._File
Queue = File.Json.AccessQueue
Timeout = core.Error.AccessQueueTimeout


class Word(str):
    """A text that looks like another."""

    __repr__ = __str__ = lambda self: "?"


class Ratio(float):
    __repr__ = __str__ = lambda self: "?"


class Grade(enum.IntEnum):
    HIGH = 2**70


class Backwards(dict):
    def items(self):
        return reversed(super().items())


TEXT = st.text(max_size=8) | st.text('"\\/\0\b\x1f\x7fé\u2028😀', max_size=8).map(Word)
LEAVES = st.none() | st.booleans() | st.integers() | st.floats() | st.floats().map(Ratio) | TEXT
DOCUMENTS = st.recursive(
    LEAVES | st.just(Grade.HIGH),
    lambda below: (
        st.lists(below, max_size=3)
        | st.tuples(below, below)
        | st.dictionaries(LEAVES, below, max_size=3)
        | st.dictionaries(TEXT, below, max_size=3).map(Backwards)
    ),
    max_leaves=12,
)


@pytest.fixture
def path(tmp_path):
    """Of a document that does not exist yet."""
    return tmp_path / "doc.json"


# Documents


def test_layout_of_a_document(path):
    document = {"z": [1, 0.1, True, None], "a": {"ключ": "é\u2028\r\n"}, "empty": [{}, []]}
    File.Json.write(path, document)
    assert path.read_bytes().decode("utf-8") == (
        '{\n  "z": [\n    1,\n    0.1,\n    true,\n    null\n  ],\n  "a": {\n'
        '    "ключ": "é\u2028\\r\\n"\n  },\n  "empty": [\n    {},\n    []\n  ]\n}'
    )


@given(document=DOCUMENTS)
def test_documents_are_written_as_the_runtime_writes_them(tmp_path_factory, document):
    path = tmp_path_factory.getbasetemp() / "any.json"
    path.write_bytes(b"before")
    try:
        expected = json.dumps(document, indent=2, ensure_ascii=False).encode()
    except UnicodeEncodeError:
        with pytest.raises(UnicodeEncodeError):
            File.Json.write(path, document)
        assert path.read_bytes() == b"before"
    else:
        File.Json.write(path, document)
        assert path.read_bytes() == expected


@pytest.mark.parametrize(
    ("content", "error"),
    [
        *(
            (text, ValueError)
            for text in (b"", b'{"a": [1,', b'\xef\xbb\xbf{"a": 1}', b'{"a": "\xff"}', b"{}\n{}")
        ),
        (b"[" * 100_000, RecursionError),
    ],
)
def test_only_what_is_no_document_is_a_value_error(path, content, error):
    for missing in (path, path.parent):
        with pytest.raises(OSError):
            File.Json.read(missing)
    path.write_bytes(content)
    with pytest.raises(error):
        File.Json.read(path)


@pytest.mark.parametrize(
    ("document", "error"),
    [
        ({"a": [("\ud800",)]}, UnicodeEncodeError),
        ({"a": {"b\udfff": 1}}, UnicodeEncodeError),
        (reduce(lambda below, _: [below], range(100_000), []), RecursionError),
    ],
)
def test_what_can_never_be_written_is_refused_before_the_file_is_emptied(path, document, error):
    path.write_text("before", encoding="utf-8")
    with pytest.raises(error):
        File.Json.write(path, document)
    assert path.read_text(encoding="utf-8") == "before"


@pytest.mark.parametrize(
    "wrong", [object(), {1}, {(1, 2): 3}, 10**5000], ids=["object", "set", "key", "digits"]
)
def test_what_the_runtime_cannot_write_leaves_what_the_reader_recovers_from(path, wrong):
    with pytest.raises((TypeError, ValueError)) as expected:
        json.dumps([wrong], indent=2)
    with pytest.raises(expected.type, match=re.escape(str(expected.value))):
        File.Json.write(path, {"a": ["x" * 100_000, wrong]})
    assert path.read_text(encoding="utf-8").startswith('{\n  "a": [\n    "xxx')
    with pytest.raises(ValueError):
        File.Json.read(path)


def test_a_program_that_taught_the_runtime_to_write_more_is_followed(path, monkeypatch):
    monkeypatch.setattr(json.JSONEncoder, "default", lambda self, value: sorted(value))
    File.Json.write(path, {"a": {2, 1}})
    assert File.Json.read(path) == {"a": [1, 2]}
    with pytest.raises(FileNotFoundError):
        File.Json.write(path.parent / "missing" / "doc.json", {})
    assert os.listdir(path.parent) == [path.name]


def test_text_is_read_as_the_machine_has_it(path):
    path.write_bytes(b"a\r\nb\n")
    assert File.Text.read(path) == "a\nb\n"


# Corrupted files


@pytest.mark.parametrize(
    "name, timed", [("a.b.json", "a.b-1763200001.json"), (".hidden", ".hidden-1763200001")]
)
def test_a_corrupted_file_is_kept_aside(tmp_path, monkeypatch, name, timed):
    monkeypatch.setattr(time, "time", lambda: 1763200000.7)
    (tmp_path / name).write_bytes(b"\xff{")
    File.move_corrupted(str(tmp_path / name))
    assert os.listdir(tmp_path) == [".corrupted"]
    assert os.listdir(tmp_path / ".corrupted") == [timed]
    assert (tmp_path / ".corrupted" / timed).read_bytes() == b"\xff{"


def test_a_file_that_cannot_be_moved_is_logged(path, tmp_path):
    with logged() as messages:
        File.move_corrupted(path)
        File.move_corrupted(tmp_path / "missing" / "doc.json")
    assert [message.partition(":")[0] for message in messages] == ["FileNotFoundError"] * 2
    assert os.listdir(tmp_path) == [".corrupted"]


# Access queue


class Clock:
    """Time that passes only where somebody sleeps, from now on."""

    def __init__(self):
        self.start, self.naps = time.time(), []

    def time(self):
        return self.start + sum(self.naps)

    def mark(self, path, ending, age=0.0):
        """Makes a marker file beside a document, of this age in seconds."""
        file = path.with_name(path.name + ending)
        file.touch()
        os.utime(file, (self.start - age,) * 2)
        return file


@pytest.fixture
def clock(monkeypatch):
    clock = Clock()
    monkeypatch.setattr(time, "time", clock.time)
    monkeypatch.setattr(time, "sleep", clock.naps.append)
    opened = io.open

    def open_now(path, mode="r", *options):
        stream = opened(path, mode, *options)
        if mode == "w":
            os.utime(path, (clock.time(),) * 2)
        return stream

    monkeypatch.setattr(io, "open", open_now)
    # What decides is the order of the listing. This one lets a test say who is first.
    listed = os.listdir
    monkeypatch.setattr(os, "listdir", lambda directory: sorted(listed(directory)))
    return clock


def names(path):
    return sorted(os.listdir(path.parent))


def test_a_document_is_written_back_in_every_case(path, clock):
    with Queue(path.parent / "x" / ".." / path.name) as document:
        assert document == {}
        assert len(names(path)) == 2
    assert names(path) == [] and clock.naps == [0.1]
    queue = Queue(path, write=True)
    with pytest.raises(KeyboardInterrupt), queue as document:
        assert document is queue._data
        document["a"] = 1
        raise KeyboardInterrupt
    with Queue(path) as document:
        assert document == {"a": 1}
        document["b"] = 2
    assert File.Json.read(path) == {"a": 1} and names(path) == [path.name]


def test_failures_pass_and_leave_no_marker(path, clock, monkeypatch):
    with pytest.raises(TypeError), Queue(path, write=True) as document:
        document["a"] = object()
    with pytest.raises(ValueError), Queue(path):
        pytest.fail("a corrupted document was entered")
    with pytest.raises(RuntimeError, match="not entered"):
        Queue(path, write=True).__exit__(None, None, None)
    for missing in (path.parent / "missing" / path.name, path.name):
        with pytest.raises(FileNotFoundError):
            Queue(missing).__enter__()

    def interrupt(seconds):
        raise KeyboardInterrupt

    monkeypatch.setattr(time, "sleep", interrupt)
    with pytest.raises(KeyboardInterrupt):
        Queue(path).__enter__()
    assert names(path) == [path.name]

    # Even where the markers cannot be deleted.
    monkeypatch.delattr(os, "remove")
    with pytest.raises(KeyboardInterrupt):
        Queue(path).__enter__()


@pytest.mark.parametrize("age, timeout, waits", [(36, 30, 0), (10, 30, 51), (10, 60, 101)])
def test_the_gate_opens_when_its_lock_is_older_than_anyone_waits(path, clock, age, timeout, waits):
    clock.mark(path, ".lock", age)
    with Queue(path, access_timeout=timeout):
        assert clock.naps == [0.5] * waits + [0.1]
    assert names(path) == []


def test_who_waits_for_too_long_is_told_and_cleans_up(path, clock):
    lock = clock.mark(path, ".lock")
    with pytest.raises(Timeout):
        Queue(path).__enter__()
    assert clock.naps == [0.5] * 60 and not lock.exists()

    clock.naps.clear()
    first = clock.mark(path, ".id.000")
    with pytest.raises(Timeout):
        Queue(path).__enter__()
    assert clock.naps == [0.1] * 301
    assert names(path) == [first.name, lock.name]


def test_which_files_stand_in_the_queue(path, clock):
    for name in ("doc.json.id.0more", "doc.json.id.x", "docxjson.id.0"):
        path.with_name(name).touch()
    assert Queue(path)._get_editors_sequence() == [f"{path}.id.0more", str(path.with_name("docxjson.id.0"))]
    # The name is an expression there; one that does not match itself has no queue.
    with pytest.raises(Timeout):
        Queue(path.with_name("a+b.json"), access_timeout=1).__enter__()
    assert len(names(path)) == 3


def test_who_stays_too_long_is_passed_by(path, clock):
    slow = Queue(path, write=True)
    slow.__enter__()["slow"] = True
    clock.naps.append(36)
    with Queue(path) as document:
        assert document == {} and not os.path.exists(slow._path_id)
    slow.__exit__(None, None, None)
    assert File.Json.read(path) == {"slow": True} and names(path) == [path.name]


def spawn(program, *arguments):
    return subprocess.Popen(
        [sys.executable, "-c", program, *map(str, arguments)],
        stdin=subprocess.PIPE,
        stdout=subprocess.PIPE,
        text=True,
        env={**os.environ, "PYTHONPATH": str(Path(core.__file__).parent)},
    )


# Adds one to a number while it holds the document for a moment. Tells how long it took from its last look at
# the gate until its id file stood, and how long it took to leave.
ADD = """
import os, sys, time
import core

queue = core._File.Json.AccessQueue(sys.argv[1], write=True)
times = {}

def traced(function, name, wanted):
    def call(argument):
        if argument == wanted:
            times.setdefault(name, []).append(time.perf_counter())
        return function(argument)
    return call

os.path.exists = traced(os.path.exists, "look", queue._path_lock)
os.remove = traced(os.remove, "leave", queue._path_id)
sleep, time.sleep = time.sleep, traced(time.sleep, "join", 0.1)
print("ready", flush=True)
sys.stdin.readline()
with queue as document:
    number = document.get("number", 0)
    sleep(float(sys.argv[2]))
    document["number"] = number + 1
print(times["join"][0] - times["look"][-1], time.perf_counter() - times["leave"][0])
"""


def add_in_processes(path, count, hold):
    """What so many processes count to, and whether one of them stalled for longer than the protocol bears."""
    children = [spawn(ADD, path, hold) for _ in range(count)]
    for child in children:
        assert child.stdout.readline() == "ready\n"
    for child in children:
        child.stdin.write("go\n")
        child.stdin.flush()
    times = [tuple(map(float, child.communicate()[0].split())) for child in children]
    stalled = any(joining > 0.1 or leaving > hold for joining, leaving in filter(None, times))
    return File.Json.read(path)["number"], stalled


def test_processes_lose_no_update(path):
    for _ in range(4):
        path.write_text("{}", encoding="utf-8")
        number, stalled = add_in_processes(path, count=8, hold=0.02)
        assert stalled or (number, names(path)) == (8, [path.name])
        if number == 8:
            return
    pytest.fail("updates were lost again and again")


HOLD = """
import sys
import core

with core._File.Json.AccessQueue(sys.argv[1], write=True) as document:
    document.clear()
    print("inside", flush=True)
    sys.stdin.read()
"""


def test_a_killed_process_blocks_nobody_for_longer_than_the_threshold(path, clock):
    File.Json.write(path, {"kept": True})
    with spawn(HOLD, path) as child:
        assert child.stdout.readline() == "inside\n"
        born = os.path.getmtime(f"{path}.lock")
        child.kill()
    with pytest.raises(Timeout):
        Queue(path, access_timeout=4, life_duration_threshold=5).__enter__()
    assert len(names(path)) == 3
    with Queue(path, access_timeout=4, life_duration_threshold=5) as document:
        assert document == {"kept": True}
        # At most one step more at the gate, and two in the queue.
        assert 5 < clock.time() - born < 5 + 0.5 + 0.2 + 0.001
    assert names(path) == [path.name]


# Environment


def everywhere(environment):
    return "directory"


class HostEnv(core.Environment):
    target, scope = core.Constants.Plugin.Target.DCC_Maya, "2026.1"
    get_settings_file = get_settings_directory = get_projects_directory = get_statistics_file = everywhere


def published():
    return [os.environ[f"HERON-{name}"] for name in ("SETTINGS", "TARGET", "SCOPE")]


def test_an_environment_tells_the_process_where_it_is(monkeypatch, tmp_path):
    environment = HostEnv()
    assert published() == ["directory", "maya", "2026.1"]
    monkeypatch.setattr(core.Environment, "user_home", str(tmp_path / "home"))
    with pytest.raises(FileNotFoundError):
        _ = environment.root
    (tmp_path / "home").mkdir()
    assert environment.root == environment.root == str(tmp_path / "home" / ".heron")
    monkeypatch.setattr(HostEnv, "name", ".other", raising=False)
    assert Path(environment.root).is_dir() and environment.root.endswith(".other")


def test_what_a_host_leaves_out_raises_when_it_is_used():
    with pytest.raises(NotImplementedError, match="target"):
        type("Partial", (core.Environment,), {"get_settings_directory": everywhere})()
    for name in ("get_settings_file", "get_projects_directory", "get_statistics_file"):
        with pytest.raises(NotImplementedError, match=name):
            getattr(core.Environment, name)(HostEnv())


def test_paths_are_stored_without_the_name_of_the_user(monkeypatch):
    monkeypatch.setattr(core.Environment, "user_home", "/home/./ann/")
    encode, decode = core.Environment.encode_user, HostEnv.decode_user
    assert encode("/home/ann/a/../b\\c") == "~/b/c"
    assert decode("~/b/c") == "/home/ann/b/c"
    assert decode("x~y//z") == "x/home/anny/z"
    assert encode("/srv//a\\b") == decode("/srv/./a\\b") == "/srv/a/b"


def test_the_local_environment_stands_beside_the_library(monkeypatch, tmp_path):
    monkeypatch.setattr(core, "__file__", str(tmp_path / "core.so"))
    for _ in range(2):
        environment = core._LocalEnv()
        settings = tmp_path / ".heron" / "standalone"
        assert sorted(tmp_path.rglob("*")) == [settings.parent, settings, settings / "projects"]
    assert environment.root == str(settings.parent)
    assert environment.get_projects_directory() == str(settings / "projects")
    assert environment.get_settings_file() == str(settings / "settings.json")
    assert environment.get_statistics_file() == str(settings / "statistics.json")
    assert environment.get_settings_directory() == str(settings)
    assert published() == [str(settings), "standalone", platform.system() + platform.release()]


@pytest.mark.parametrize("name", ["get_settings_file", "get_statistics_file", "decode_user", "encode_user"])
def test_what_cannot_serve_as_environment(name):
    def fail(*path):
        raise LookupError("no answer")

    def stop(*path):
        raise KeyboardInterrupt

    is_valid = core._Assert.Environment.is_valid
    assert is_valid(HostEnv()) and not is_valid(None)
    for value in (5, lambda *path: b"bytes"):
        assert not is_valid(type("Wrong", (HostEnv,), {name: value})())
    with logged() as messages:
        assert not is_valid(type("Failing", (HostEnv,), {name: fail})())
        assert not is_valid(type("Hidden", (HostEnv,), {name: property(fail)})())
    assert messages == ["LookupError: no answer"] * 2
    with pytest.raises(KeyboardInterrupt):
        is_valid(type("Stopping", (HostEnv,), {name: stop})())


def test_path_objects_are_taken_wherever_a_path_is(tmp_path, checks):
    class PathEnv(Home):
        def __getattribute__(self, name):
            answer = super().__getattribute__(name)
            return (
                (lambda *path: Path(answer(*path)))
                if name.startswith(("get_", "decode", "encode"))
                else answer
            )

    env, other = PathEnv(tmp_path / "home"), tmp_path / "b.json"
    host, checks.__file__ = DictHost("/a"), Path(checks.__file__)
    host.get_current_file = lambda: tmp_path / "a.gltf"
    host.directory_dialog = lambda starting, caption: Path(starting, "chosen")
    api = core.Api(host, env, checks=checks)
    assert api.env is env and os.environ["HERON-SETTINGS"] == str(tmp_path / "home")
    assert [check.class_id for check in core.Check._Classes([])._search(tmp_path / "checks")] == [
        "names",
        "scene",
    ]
    assert api.scene.directory_dialog(tmp_path) == env.encode_user(str(tmp_path / "chosen")).as_posix()
    directories = api.settings.check.directories
    directories.register("more", tmp_path)
    assert [*directories] == [str(tmp_path / "checks"), str(tmp_path)] == [*map(str, directories)]
    document = {"version": 3, "target": env.target, "filename": "c.json"}
    project = core._Project.Settings(api.project.collection, tmp_path, "c.json", document)
    record = project.get_record_promise()
    record.export.directory = api.settings.export.directory = tmp_path
    record.save()
    api.settings.write()
    api.project.collection._load_file(Path(project.path))
    (record,) = project.history
    assert record.data["export"]["directory"] == api.settings.data["export"]["directory"] == str(tmp_path)
    assert api.project.collection.get("c.json").filename and api.settings.write_error is None
    core._File.Json.write(other, {"a": 1})
    with core._File.Json.AccessQueue(other) as document:
        assert document == core._File.Json.read(other) == json.loads(core._File.Text.read(other)) == {"a": 1}
    core._File.move_corrupted(other)
    assert not other.exists() and core._File.timed_filename(Path("a.json")).endswith(".json")
    assert core._Project.Settings.init(None, tmp_path / "c.json").version == 3
    paths = api.settings._path, api.statistics._path, api.project.collection.directory, project.directory
    assert {type(path) for path in paths} <= {str, core._Str}
    with pytest.raises(TypeError, match="argument 'path' must be str or os"):
        directories.register("wrong", 5)


@pytest.mark.parametrize(("variable", "home"), [("USERPROFILE", "/from/profile"), ("HOME", "/from/home")])
def test_the_home_of_the_user_is_known_everywhere(monkeypatch, variable, home):
    monkeypatch.delenv("USERPROFILE", raising=False)
    monkeypatch.setenv(variable, home)
    with spawn("import core; print(core.Environment.user_home)") as child:
        assert child.stdout.read().strip() == home


def test_the_host_is_known_by_its_modules(monkeypatch, tmp_path):
    monkeypatch.syspath_prepend(tmp_path)
    (tmp_path / "maya").mkdir()
    found = [core._Software.detect()]
    for name, content in [
        ("bpy.py", "raise RuntimeError('no screen')"),
        ("pymxs.py", ""),
        ("maya/cmds.py", ""),
        ("bpy.py", "loaded = True"),
    ]:
        (tmp_path / name).write_text(content, encoding="utf-8")
        importlib.invalidate_caches()
        found.append(core._Software.detect())
    for name in ("pymxs", "maya", "maya.cmds", "bpy"):
        del sys.modules[name]
    assert found == ["Unknown", "Unknown", "3dsMax", "Maya", "Blender"]
