"""The documents are true: their files are written, their snippets run, their output is compared."""

import doctest
import json
import re
import shlex
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

from heron.cli import main

ROOT = Path(__file__).resolve().parent.parent
# A fenced block: its language and its text.
BLOCK = re.compile(r"^```(\w+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
# A comment above a block: it is this file, or shows what is in it.
FILE = re.compile(r"<!-- (file|shows): (\S+) -->\n\Z")
# A command in a console block with the output below it.
SESSION = re.compile(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", re.MULTILINE)
OPTIONS = doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE
PORT = "8080"


@pytest.fixture
def example(tmp_path, monkeypatch):
    """An empty directory with a copy of the example, in which the test stands."""
    for directory in (tmp_path, tmp_path / "examples"):
        shutil.copytree(ROOT / "examples", directory, dirs_exist_ok=True)
    monkeypatch.chdir(tmp_path)
    return tmp_path


@pytest.fixture
def commands(capsys):
    yield (commands := Commands(capsys))
    if commands.server:
        commands.server.terminate()
        commands.server.communicate()


@pytest.mark.usefixtures("no_waiting")
@pytest.mark.parametrize(
    "name", ["docs/checks.md", "docs/hosts.md", "docs/front-ends.md", "docs/formats.md", "README.md"]
)
def test_the_snippets_of_a_document_do_what_it_says(name, example, commands):
    source = (ROOT / name).read_text()
    names = {"__name__": "__main__"}
    for block in BLOCK.finditer(source):
        language, content = block.groups()
        comment = FILE.search(source[: block.start()])
        if comment and comment[1] == "file":
            (example / comment[2]).parent.mkdir(exist_ok=True)
            (example / comment[2]).write_text(content)
        elif comment:
            (path,) = example.glob(comment[2])
            compare(path.name, content, path.read_text())
        elif language == "console":
            for command, expected in SESSION.findall(content):
                compare(command, expected, commands.run(command))
        elif language == "sh":
            for command in re.findall(r"^heron .*", content, re.MULTILINE):
                commands.run(command)
        elif language == "json":
            json.loads("{" + content + "}" if not content.startswith("{") else content)
        elif language == "pycon":
            run_examples(commands.here(content), names)
        else:
            assert language == "python", f"a block that no test reads:\n{content}"
            exec(compile(commands.here(content), name, "exec"), names)


def run_examples(content, names):
    """Holds what a Python session shows against what it gives."""
    test = doctest.DocTestParser().get_doctest(content, names, "snippet", None, 0)
    failures = []
    doctest.DocTestRunner(optionflags=OPTIONS).run(test, out=failures.append, clear_globs=False)
    assert not failures, "".join(failures)
    names.update(test.globs)


class Commands:
    """Runs the commands of a document; a server, behind which stands a "&", runs on at a free port."""

    def __init__(self, capsys):
        self.capsys, self.port, self.server = capsys, PORT, None

    def here(self, text):
        return text.replace(PORT, self.port)

    def run(self, command):
        program, *arguments = shlex.split(self.here(command))
        assert program == "heron"
        arguments += [] if "--home" in arguments else ["--home", "home"]
        if "&" in arguments:
            return self.serve([argument for argument in arguments if argument != "&"])
        main(arguments)
        captured = self.capsys.readouterr()
        return (captured.err + captured.out).replace(self.port, PORT)

    def serve(self, arguments):
        assert arguments[0] == "serve"
        code = f"import sys; sys.path = {sys.path}; import heron.__main__ as m; sys.exit(m.main())"
        command = [sys.executable, "-c", code, *arguments, "--port", "0"]
        self.server = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        url = self.server.stdout.readline()
        self.port = re.search(r":(\d+)/", url)[1]
        return url.replace(self.port, PORT)


def compare(what, expected, output):
    """Holds output against what a document shows; "..." stands for anything, times differ."""
    expected, output = (re.sub(r"\d+\.\d ms", "TIME ms", text).rstrip() for text in (expected, output))
    if not doctest.OutputChecker().check_output(expected, output, OPTIONS):
        pytest.fail(f"{what}\nexpected:\n{expected}\n\ngot:\n{output}")
