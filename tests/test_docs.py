"""The documents are true: their files are written, their commands run, their output is compared."""

import doctest
import json
import re
import shlex
import shutil
from pathlib import Path

import pytest

from heron.cli import main

ROOT = Path(__file__).resolve().parent.parent
# A fenced block: its language and its text.
BLOCK = re.compile(r"^```(\w+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
# A block is a file when a comment above it says so; in JSON it may be a part of one.
FILE = re.compile(r"<!-- file: (\S+) -->\n\Z")


@pytest.mark.parametrize("name", ["docs/checks.md"])
def test_the_snippets_of_a_document_do_what_it_says(name, tmp_path, monkeypatch, capsys):
    for example in (ROOT / "examples").glob("street.*"):
        shutil.copy(example, tmp_path)
    monkeypatch.chdir(tmp_path)
    source = (ROOT / name).read_text()
    blocks = list(BLOCK.finditer(source))
    assert len(blocks) >= 5
    for block in blocks:
        language, content = block.groups()
        if language == "console":
            for command, expected in sessions(content):
                compare(command, expected, run(command, capsys))
        elif language == "json":
            json.loads("{" + content + "}")
        else:
            file = FILE.search(source[: block.start()])
            assert file, f"a block that no test reads:\n{content}"
            path = tmp_path / file[1]
            path.parent.mkdir(exist_ok=True)
            path.write_text(content)


def sessions(content):
    """The commands of a console block with the output below each."""
    for part in re.split(r"^\$ ", content, flags=re.MULTILINE)[1:]:
        command, _, expected = part.partition("\n")
        yield command, expected


def run(command, capsys):
    program, *arguments = shlex.split(command)
    assert program == "heron"
    main([*arguments, "--home", "home"])
    captured = capsys.readouterr()
    return captured.err + captured.out


def compare(command, expected, output):
    """Holds output against what a document shows; "..." stands for anything, times differ."""
    expected, output = (re.sub(r"\d+\.\d ms", "TIME ms", text).rstrip() for text in (expected, output))
    options = doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE
    if not doctest.OutputChecker().check_output(expected, output, options):
        pytest.fail(f"$ {command}\nexpected:\n{expected}\n\ngot:\n{output}")
