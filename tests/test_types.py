"""The types of the module, with its docstrings: they fit what it offers, and serve who writes hosts."""

import ast
import inspect
import os
import re
import subprocess
import sys
from pathlib import Path

import pytest

import core

ROOT = Path(__file__).parents[1]

# A line that is marked with the name of an error is refused for that, and no other line is refused.
PROGRAM = """
from typing import Any

import core
from typing_extensions import assert_type

Rule = core._Project.Settings.Rule


class Record:
    def __init__(self, rules: list[dict[str, Any]], tree: list[dict[str, Any]]) -> None:
        self.rules = Rule.List(rules)
        self.pattern = Rule.Tree.Root()
        self.pattern.load(tree, self.rules)


class Host(core.Scene.Operator):
    TYPE_MAPPING = {"joint": core.Constants.Scene.Type.Transform}

    def get_type(self, path: str) -> str | None:
        return self.map_type("joint")

    def get_children(self, path: int) -> list[str]:  # override
        return self.map_type("joint").split()  # union-attr

    def postscript_scan_append(self, joint: core.Scene._Buffer.DataJoint) -> None:
        print(joint.name, joint.path)


def scan(host: Host, record: Record) -> list[dict[str, Any]]:
    api = core.Api(host, None)
    api.callbacks.empty_scan_result.register(lambda: core.Logger.info("nothing"))
    api.callbacks.buffer_loaded.register(1)  # arg-type
    api.callbacks.buffer_loaded = api.callbacks.projects_saved  # misc
    virtual = core.Scene._Virtual(host)
    hierarchy = core._Hierarchy(virtual, None)
    hierarchy.pattern.set(record)
    buffer = core.Scene._Buffer(host, virtual, hierarchy)
    scanner = core.Scene._Scanner(api, host, virtual, hierarchy, buffer, api.callbacks)
    if scanner.upload_buffer() is core.Constants.Plugin.Status.Failure:
        return []
    for bucket in buffer.get():
        bucket.name = bucket.joint.name.title()
        bucket.data = {}  # misc
        bucket.joint.children = bucket  # assignment
        assert_type(bucket.get_joints()[0].children, list[core.Scene._Buffer.DataJoint])
    for choice in api.masks.Type:
        assert_type(choice.name, str)
    assert_type(record.rules.get("") or Rule({}), Rule)
    assert_type([response.location.path for response in hierarchy.search.layer([], [])], list[str])
    return buffer.encode(buffer.get_checked())


scan(Host(), Record([], []))  # abstract
core.Scene._Buffer.DataBucket(core.Scene._Buffer.DataJoint(), color="red")  # call-arg
core.Constants.Check.Mode.Project = 1  # misc
"""


@pytest.fixture(scope="module")
def stubs(tmp_path_factory):
    """The types with the docstrings of the module under test."""
    path = tmp_path_factory.mktemp("types") / "core.pyi"
    tool, source = ROOT / "tools" / "document_types.py", ROOT / "python" / "core.pyi"
    subprocess.run([sys.executable, tool, core.__file__, source, path], check=True)
    return path


def run(stubs: Path, *arguments: str, cwd: Path) -> subprocess.CompletedProcess[str]:
    """Runs a part of mypy on the module under test and its types."""
    environment = os.environ | {
        "MYPYPATH": str(stubs.parent),
        "PYTHONPATH": str(Path(core.__file__).parent),
        # The checker's own leaks are not ours.
        "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0",
    }
    command = [sys.executable, "-m", *arguments]
    return subprocess.run(command, cwd=cwd, env=environment, capture_output=True, text=True, check=False)


def written(body: list[ast.stmt], path: str) -> dict[str, tuple[str, str | None]]:
    """What a class or module of the stubs declares, by its full name: its type and its docstring."""
    found = {}
    for statement, following in zip(body, [*body[1:], None]):
        name = getattr(statement, "name", None) or getattr(
            getattr(statement, "target", statement), "id", None
        )
        annotation = getattr(statement, "annotation", None) or getattr(statement, "returns", None)
        text = None
        if isinstance(statement, ast.ClassDef | ast.FunctionDef):
            text = ast.get_docstring(statement)
        elif isinstance(following, ast.Expr) and isinstance(following.value, ast.Constant):
            text = inspect.cleandoc(following.value.value)
        # Of a property the getter, which comes before the setter.
        found.setdefault(f"{path}.{name}", (ast.unparse(annotation) if annotation else "", text))
        if isinstance(statement, ast.ClassDef):
            found |= written(statement.body, f"{path}.{statement.name}")
        for target in getattr(statement, "targets", ()):
            found[f"{path}.{target.id}"] = ("", None)
    return found


def offered(scope: object, path: str) -> dict[str, object]:
    """The members of the module and its classes by their full names, less what the runtime gives to each."""
    found = {}
    for name, value in vars(scope).items():
        if re.fullmatch("__.*__", name):
            continue
        found[f"{path}.{name}"] = getattr(value, "__func__", value)
        if isinstance(value, type) and value.__module__ == "core":
            found |= offered(value, f"{path}.{name}")
    return found


def without_aliases(annotation: str, tree: ast.Module) -> str:
    """A type in the names that the module has, too."""
    aliases = {"_Masks": "Mask"}
    for statement in tree.body:
        if isinstance(statement, ast.AnnAssign) and ast.unparse(statement.annotation) == "TypeAlias":
            aliases[statement.target.id] = re.sub(
                r"\b_\w+", lambda name: aliases[name[0]], ast.unparse(statement.value)
            )
    return re.sub(r"(?<!\.)\b_\w+", lambda name: aliases.get(name[0], name[0]), annotation)


def test_types_fit_the_module(stubs, tmp_path):
    result = run(stubs, "mypy.stubtest", "core", cwd=tmp_path)
    assert result.returncode == 0, result.stdout + result.stderr


def test_types_leave_out_no_name_and_no_docstring(stubs):
    # The comparison of the stubs with the module passes over private names that only the module has.
    tree = ast.parse(stubs.read_text(encoding="utf-8"))
    assert ast.get_docstring(tree) == inspect.getdoc(core)
    declared, members = written(tree.body, "core"), offered(core, "core")
    assert members.keys() - declared.keys() == set()
    for name, member in members.items():
        annotation, text = declared[name]
        if isinstance(member, type) or inspect.isroutine(member) or inspect.isdatadescriptor(member):
            assert text == (inspect.getdoc(member) if member is not str else None), name
        if inspect.isdatadescriptor(member):
            assert text.startswith(f"{without_aliases(annotation, tree)}: "), name


def test_programs_are_refused_where_they_are_wrong(stubs, tmp_path):
    (tmp_path / "program.py").write_text(PROGRAM, encoding="utf-8")
    options = "--strict", "--config-file=", "--python-version=3.10"
    result = run(stubs, "mypy", *options, "program.py", cwd=tmp_path)
    assert not result.stderr
    found = re.findall(r"program\.py:(\d+): error: .*\[([\w-]+)\]", result.stdout)
    marked = [(str(number), line) for number, line in enumerate(PROGRAM.splitlines(), 1) if "  # " in line]
    assert {*found} == {(number, line.rpartition("  # ")[2]) for number, line in marked}
