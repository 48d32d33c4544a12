"""Puts the docstrings of the built module into its types, so that editors show what `help` shows.

Usage: python tools/document_types.py MODULE TYPES OUTPUT, with the built file of the extension module, the
stub file without docstrings, and the stub file to write.
"""

import ast
import inspect
import sys
import types
from collections.abc import Iterator
from importlib.machinery import ExtensionFileLoader
from importlib.util import module_from_spec, spec_from_file_location
from pathlib import Path


def load(path: Path) -> types.ModuleType:
    """The extension module in a file, whatever follows the module's name in that of the file."""
    name = path.name.partition(".")[0]
    loader = ExtensionFileLoader(name, str(path.resolve()))
    spec = spec_from_file_location(name, loader.path, loader=loader)
    assert spec is not None
    module = module_from_spec(spec)
    loader.exec_module(module)
    return module


def docstring(statement: ast.stmt, member: object) -> str | None:
    """The docstring of a member; None for a value, whose docstring is that of its type."""
    if isinstance(member, staticmethod | classmethod):
        member = member.__func__
    if isinstance(statement, ast.ClassDef):
        own = isinstance(member, type)
    elif isinstance(statement, ast.FunctionDef):
        # What stands behind an operator, a constructor among them, has the same text in all classes.
        shared = isinstance(member, types.WrapperDescriptorType) or statement.name == "__new__"
        own = not shared and (inspect.isroutine(member) or inspect.isdatadescriptor(member))
    else:
        own = inspect.isdatadescriptor(member)
    return inspect.getdoc(member) if own else None


def documented(body: list[ast.stmt], scope: object) -> Iterator[tuple[ast.stmt, str]]:
    """The declarations of a stub file, in order, that the module has a docstring for."""
    for statement in body:
        name = getattr(statement, "name", None) or getattr(getattr(statement, "target", None), "id", None)
        if name not in vars(scope):
            continue  # a declaration for type checkers only
        member = vars(scope)[name]
        if text := docstring(statement, member):
            yield statement, text
        if isinstance(statement, ast.ClassDef):
            yield from documented(statement.body, member)


def literal(text: str, indent: str) -> list[str]:
    """The lines of a docstring in a source."""
    lines = text.replace("\\", "\\\\").replace('"""', '\\"\\"\\"').split("\n")
    lines[0] = '"""' + lines[0]
    if len(lines) > 1 or text.endswith('"'):
        lines.append("")
    lines[-1] += '"""'
    return [line and indent + line for line in lines]


def insert(lines: list[str], statement: ast.stmt, text: str) -> None:
    """Writes a docstring into the lines of a declaration; those above it stay where they are."""
    indent = " " * statement.col_offset
    if not isinstance(statement, ast.ClassDef | ast.FunctionDef):
        lines[statement.end_lineno : statement.end_lineno] = literal(text, indent)
        return
    first = statement.body[0]
    if isinstance(first, ast.Expr):  # the dots of an empty body, behind which there may be a comment
        at = first.lineno
        head = lines[at - 1].encode()  # the parser counts bytes
        line = head[: first.col_offset].rstrip() + head[first.end_col_offset or 0 :]
        lines[at - 1] = line.decode()
    else:
        at = statement.lineno
        while not lines[at - 1].partition("#")[0].rstrip().endswith(":"):
            at += 1
    lines[at:at] = literal(text, indent + "    ") + ([""] if lines[at] else [])


def document(source: str, module: types.ModuleType) -> str:
    """The content of a stub file with the docstrings of the module."""
    lines = source.split("\n")
    tree = ast.parse(source)
    for statement, text in reversed(list(documented(tree.body, module))):
        insert(lines, statement, text)
    start = tree.body[0].lineno - 1
    lines[start:start] = [*literal(inspect.getdoc(module) or "", ""), ""]
    return "\n".join(lines)


def main(module: str, source: str, output: str) -> None:
    try:
        loaded = load(Path(module))
    except ImportError as error:
        sys.exit(f"{error}. Configure with -DHERON_DOCUMENT_TYPES=OFF if it is not for this machine.")
    text = document(Path(source).read_text(encoding="utf-8"), loaded)
    Path(output).write_bytes(text.encode())


if __name__ == "__main__":
    main(*sys.argv[1:])
