"""What all tests share."""

import time
from types import ModuleType

import pytest
from hypothesis import HealthCheck, settings

import core
from heron.cli import main

PLUGIN = """
import core


class Plugin(core.Check.Base):
    @staticmethod
    def parameters():
        return core.Parameters.Block(core.Parameters.IntRange("word", value=0))


class Names(Plugin):
    class_id, long_name, category = "names", "Names", "object"

    def check(self, path, parameters):
        if path.endswith(str(parameters.word.value)):
            raise core.Error.ValidationError


class Scene(Names):
    class_id, long_name, category, scene_oriented = "scene", "Scene", "scene", True
"""

# A machine may be slow; that is no fault of the code. Every run tries the same, unless "random" is asked for.
settings.register_profile(
    "heron", deadline=None, derandomize=True, suppress_health_check=[HealthCheck.too_slow]
)
settings.register_profile("random", parent=settings.get_profile("heron"), derandomize=False, max_examples=500)
settings.register_profile("sanitized", parent=settings.get_profile("heron"), max_examples=25)
settings.load_profile("heron")


@pytest.fixture(autouse=True)
def process_environment(monkeypatch, tmp_path_factory):
    """What a test tells the process is put back after it, and none writes into the home of the user."""
    monkeypatch.setattr(core.Environment, "user_home", str(tmp_path_factory.getbasetemp()))
    for name in ("SETTINGS", "TARGET", "SCOPE", "SERVER"):
        monkeypatch.setenv(f"HERON-{name}", "")


@pytest.fixture(autouse=True)
def no_waiting(monkeypatch):
    """Nobody else is in the queue of a document; a test where somebody is brings a clock or processes."""
    sleep, steps = time.sleep, (0.1, 0.5)
    monkeypatch.setattr(time, "sleep", lambda seconds: seconds in steps or sleep(seconds))


@pytest.fixture
def command(capsys):
    """Runs a command line; gives status, output, errors."""

    def run(*arguments):
        status = main([*map(str, arguments)])
        captured = capsys.readouterr()
        return status, captured.out, captured.err

    return run


@pytest.fixture
def checks(tmp_path):
    """The root module of a set of checks."""
    directory = tmp_path / "checks"
    directory.mkdir()
    (directory / "names.py").write_text(PLUGIN, encoding="utf-8")
    (directory / "__init__.py").write_text("")
    module = ModuleType("checks")
    module.__file__ = str(directory / "__init__.py")
    return module


def pytest_report_header() -> str:
    """Tells which of the builds is tested."""
    return f"core: {core.__file__}"
