"""The types of the module, `core.pyi`: they fit what it offers, and serve who writes hosts and front-ends."""

import ast
import os
import re
import subprocess
import sys
from pathlib import Path

import core

STUBS = Path(__file__).parents[1] / "python" / "core.pyi"

HOST = '''
from collections.abc import Callable
from contextlib import AbstractContextManager, nullcontext
from typing import Any

import core


class Host(core.Scene.Operator):
    """A scene in a dictionary: path to parent."""

    TYPE_MAPPING = {"joint": core.Constants.Scene.Type.Transform}

    def __init__(self, parents: dict[str, str]) -> None:
        super().__init__()
        self.parents = parents
        self.selection: list[str] = []
        self.data: list[dict[str, Any]] = []

    def object_exists(self, path: str) -> bool:
        return path in self.parents

    def get_type(self, path: str) -> str | None:
        return self.map_type("joint")

    def get_parent(self, path: str) -> str | None:
        return self.parents[path]

    def get_children(self, path: str) -> list[str]:
        return [child for child, parent in self.parents.items() if parent == path]

    def get_selection(self) -> list[str]:
        return self.selection

    def get_selection_roots(self) -> list[str]:
        return [path for path, parent in self.parents.items() if not parent]

    def select(self, *paths: str) -> None:
        self.selection = list(paths)

    @staticmethod
    def selection_manager() -> AbstractContextManager[None]:
        return nullcontext()

    def register_scene_opened_callback(self, function: Callable[[], object]) -> None: ...

    def register_shutdown_callback(self, function: Callable[[], object]) -> None: ...

    def delete_callbacks(self) -> None: ...

    def export(
        self,
        roots: list[str],
        file_path: str,
        type: str,
        args: Any,
        automatic_uv: bool = False,
        triangulate: bool = False,
        reset_xforms: bool = False,
    ) -> None: ...

    def get_current_file(self) -> str:
        return ""

    def directory_dialog(self, starting: str = "~", caption: str = "") -> str | None:
        return None

    def file_dialog(self, starting: str = "~", caption: str = "", file_filter: str = "") -> str | None:
        return None

    def query_filedata(self) -> list[dict[str, Any]]:
        return self.data

    def embed_filedata(self, data: list[dict[str, Any]]) -> None:
        self.data = data

    def erase_filedata(self) -> None:
        self.data = []

    def postscript_scan_append(self, joint: core.Scene._Buffer.DataJoint) -> None:
        print(joint.name, joint.path)

    def postscript_scan_remove(self, joint: core.Scene._Buffer.DataJoint) -> None: ...
'''

SESSION = """
from dataclasses import dataclass

from typing_extensions import assert_type


@dataclass
class Record:
    rules: core._Project.Settings.Rule.List
    pattern: core._Project.Settings.Rule.Tree.Root


def read(rules: list[dict[str, Any]], tree: list[dict[str, Any]]) -> Record:
    rule_list = core._Project.Settings.Rule.List(rules)
    root = core._Project.Settings.Rule.Tree.Root()
    root.load(tree, rule_list)
    return Record(rule_list, root)


def scan(host: core.Scene.Operator, record: Record) -> list[dict[str, Any]]:
    api = core.Api(host, None)
    api.callbacks.empty_scan_result.register(lambda: core.Logger.info("nothing"))
    virtual = core.Scene._Virtual(host)
    hierarchy = core._Hierarchy(virtual, None)
    hierarchy.pattern.set(record)
    buffer = core.Scene._Buffer(host, virtual, hierarchy)
    scanner = core.Scene._Scanner(api, host, virtual, hierarchy, buffer, api.callbacks)
    if scanner.upload_buffer() is core.Constants.Plugin.Status.Failure:
        return []
    for bucket in buffer.get():
        bucket.name = bucket.joint.name.title()
        assert_type(bucket.get_joints()[0].children, list[core.Scene._Buffer.DataJoint])
    for choice in api.masks.Type:
        assert_type(choice.name, str)
    assert_type(record.rules.get("") or core._Project.Settings.Rule({}), core._Project.Settings.Rule)
    assert_type([response.location.path for response in hierarchy.search.layer([], [])], list[str])
    return buffer.encode(buffer.get_checked())


print(scan(Host({"/car": ""}), read([], [])))
"""

# A line that is marked with the name of an error is refused for that.
MISTAKES = """
class Unfinished(core.Scene.Operator):
    def get_type(self, path: int) -> str | None:  # override
        return self.map_type("joint").title()  # union-attr


def use(host: Host) -> None:
    api = core.Api(Unfinished(), None)  # abstract
    api.callbacks.buffer_loaded.register(1)  # arg-type
    api.callbacks.buffer_loaded = api.callbacks.projects_saved  # misc
    bucket = core.Scene._Buffer.DataBucket(core.Scene._Buffer.DataJoint(), color="red")  # call-arg
    bucket.data = {}  # misc
    bucket.joint.children = bucket  # assignment
    core.Constants.Check.Mode.Project = 1  # misc
    host.get_type(bucket)  # arg-type
"""


def run(*arguments: str, cwd: Path) -> subprocess.CompletedProcess[str]:
    """Runs a part of mypy on the module under test and its types."""
    environment = os.environ | {
        "MYPYPATH": str(STUBS.parent),
        "PYTHONPATH": str(Path(core.__file__).parent),
        # The checker's own leaks are not ours.
        "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0",
    }
    return subprocess.run(
        [sys.executable, "-m", *arguments],
        cwd=cwd,
        env=environment,
        capture_output=True,
        text=True,
        check=False,
    )


def check(source: str, directory: Path) -> str:
    """What the strict type checker prints about a program, its summary included."""
    (directory / "program.py").write_text(source, encoding="utf-8")
    result = run("mypy", "--strict", "--config-file=", "--python-version=3.10", "program.py", cwd=directory)
    assert not result.stderr
    return result.stdout


def written_names(body: list[ast.stmt], path: str) -> set[str]:
    """The full names of all that a class or module of the stubs declares."""
    names = set()
    for statement in body:
        if isinstance(statement, ast.ClassDef):
            names |= written_names(statement.body, f"{path}.{statement.name}")
        for node in (statement, *getattr(statement, "targets", ())):
            name = getattr(node, "name", None) or getattr(getattr(node, "target", node), "id", None)
            names |= {f"{path}.{name}"} if name else set()
    return names


def offered_names(scope: object, path: str) -> set[str]:
    """The full names of all that a class or the module has, less what the runtime gives to each."""
    names = set()
    for name, value in vars(scope).items():
        if re.fullmatch("__.*__", name):
            continue
        names.add(f"{path}.{name}")
        if isinstance(value, type) and value.__module__ == "core":
            names |= offered_names(value, f"{path}.{name}")
    return names


def test_types_fit_the_module(tmp_path):
    result = run("mypy.stubtest", "core", cwd=tmp_path)
    assert result.returncode == 0, result.stdout + result.stderr


def test_types_leave_no_name_out():
    # The comparison of the stubs with the module passes over private names that only the module has.
    written = written_names(ast.parse(STUBS.read_text(encoding="utf-8")).body, "core")
    assert offered_names(core, "core") - written == set()


def test_host_and_session_are_well_typed(tmp_path):
    assert check(HOST + SESSION, tmp_path) == "Success: no issues found in 1 source file\n"


def test_mistakes_are_found(tmp_path):
    source = HOST + MISTAKES
    marked = enumerate(source.splitlines(), 1)
    expected = {(number, line.rpartition("  # ")[2]) for number, line in marked if "  # " in line}
    found = re.findall(r"program\.py:(\d+): error: .*\[([\w-]+)\]", check(source, tmp_path))
    assert {(int(number), name) for number, name in found} == expected
