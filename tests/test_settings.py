"""The settings document of a user."""

import json
import os
from types import SimpleNamespace

import pytest
from hosts import logged

from core import Constants, _Settings

DEFAULTS = {
    "version": 4,
    "check": {"directories": [], "mode": 0, "list": {}, "presets": []},
    "export": {"mode": 0, "directory": "~"},
    "workspace": {"project": "", "check_updates": False},
    "server": {"enabled": False, "host": "localhost", "port": 8080, "erase_sent": False},
}


@pytest.fixture
def path(tmp_path):
    return tmp_path / "settings.json"


def load(path):
    environment = SimpleNamespace(get_settings_file=lambda: str(path), target="maya", scope="2024.1.2")
    return _Settings(environment)


def stored(path, document):
    path.write_text(json.dumps(document), encoding="utf-8")
    return path


# Reading


def test_another_version_is_left_alone_until_a_write(path):
    for document in (None, {"version": 3}, {"version": 5}, {"version": "4"}, {"export": {"mode": 1}}):
        if document is not None:  # else it is the first start
            stored(path, document)
        before = path.exists() and path.read_bytes()
        with logged() as messages:
            settings = load(path)
        assert json.dumps(settings.data) == json.dumps(DEFAULTS), document
        assert messages == [f"Incompatible Settings Version - {path}"]
        assert str(settings.read_error) == (
            "None" if document is None else f"settings of version {document.get('version', 0)!r}, not 4"
        )
        assert (path.exists() and path.read_bytes()) == before
        settings.write()
        assert json.loads(path.read_bytes()) == DEFAULTS


def test_a_corrupted_file_is_moved_aside(path):
    content = b'{"version": ' + b"1" * 5000 + b"}"
    path.write_bytes(content)
    with logged() as messages:
        settings = load(path)
    assert (settings.data, messages) == (DEFAULTS, [f"Read Corrupted Settings: {path}"])
    assert isinstance(settings.read_error, ValueError) and settings.write_error is None
    (aside,) = (path.parent / ".corrupted").iterdir()
    assert aside.read_bytes() == content and not path.exists()


def test_a_document_that_is_no_map_is_an_error_and_a_group_has_its_defaults(path):
    for value in ([], [{"version": 4}], 4, None):
        with pytest.raises(AttributeError):
            load(stored(path, value))
        assert json.loads(path.read_bytes()) == value
        groups = ["check", "export", "server", "workspace"]
        with logged() as messages:
            settings = load(stored(path, {"version": 4, **dict.fromkeys(groups, value)}))
        assert settings.data == DEFAULTS
        assert sorted(messages) == [f"Incompatible Stored Value - {name} in {path}" for name in groups]


# Writing


def test_what_is_written_is_read_again_in_the_same_order(path, tmp_path):
    settings = load(stored(path, {"version": 4, "unknown": 1, "server": {"port": "x", "other": 2}}))
    server = DEFAULTS["server"] | {"port": "x"}  # values are not judged here
    assert settings.data == DEFAULTS | {"server": server}
    settings.workspace.project = "p"
    settings.check.mode = Constants.Check.Mode.Project
    settings.check.config.get("id", force=True).enabled = True
    settings.check.directories.register("Mine", str(tmp_path))
    settings.check.presets.add("\u044f", settings.check.config.clone())
    settings.export.directory = "~/out"
    settings.server.host = "h"
    settings.write()
    again = load(path)
    assert json.dumps(again.data) == json.dumps(settings.data)
    assert all(again.data["check"].values()) and again.export.directory == "~/out"


def test_a_failed_write_leaves_the_file_as_it_was(path):
    settings = load(stored(path, DEFAULTS))
    before = path.read_bytes()
    settings.workspace.project = "\ud800"
    with logged() as messages:
        settings.write()
    assert len(messages) == 1 and isinstance(settings.write_error, UnicodeEncodeError)
    assert settings.write_error.__notes__ == [f"in the settings {path}"]
    assert (path.read_bytes(), settings.workspace.project) == (before, "\ud800")
    settings.workspace.project = "p"
    settings.write()
    assert (settings.read_error, settings.write_error) == (None, None)


# The server


def test_the_address_of_the_server_is_told_to_the_process():
    server = _Settings.Server({"host": "a", "port": 1})
    assert os.environ["HERON-SERVER"] == "a:1"
    server.host = "b"
    assert os.environ["HERON-SERVER"] == "b:1"
    server.port = 2
    assert os.environ["HERON-SERVER"] == "b:2"
    assert server.data == DEFAULTS["server"] | {"host": "b", "port": 2}
    with logged() as messages:
        server = _Settings.Server({"host": "a\0"})  # which the process cannot hold
    assert [message.split(":")[0] for message in messages] == ["ValueError"]
    assert (os.environ["HERON-SERVER"], server.host) == ("b:2", "a\0")
    with pytest.raises(ValueError, match="null"):
        server.port = 1


# Names


def test_a_name_is_approved_if_its_filter_leaves_it():
    for method, text in {"LATIN": "a\u044f", "SPACE": " a ", "GHOST": "aghost", "EN_RU": "a\u00fc"}.items():
        assert _Settings.approved_name(text, method=method) == "a", method
        assert not _Settings.is_approved(text, method)
        assert _Settings.is_approved("a", getattr(Constants.Name.Filter, method))
    assert (_Settings.approved_name("\u044f\u00fc"), _Settings.is_approved("\u044f")) == ("\u044f", True)
    for method in (Constants.Name.Filter.EMPTY, "unknown", None):
        assert _Settings.approved_name("\u00fc", method=method) == "\u00fc"
        assert _Settings.approved_name("\u00fc", none=True, method=method) is None
    assert [text for text in ("", "a", None, 5) if _Settings.is_approved(text, "EMPTY")] == ["a"]
    assert not _Settings.is_approved("a", "unknown")


# The web site


def test_addresses_name_the_host_and_its_version(path):
    urls = load(path).urls
    assert (urls.home, urls.port) == (f"https://{urls.host}", 443)
    assert urls.latest == urls.home + "/validator/downloads/maya/2024.1/latest/"
    assert urls.documentation_editor == urls.home + "/validator/#project-editor"
    assert urls.feedback == urls.home + "/feedback"
    scopes = {"4": "4", "4.1": "4.1", "4.1.2": "4.1", "": "", "4.": "4."}
    assert {scope: urls.path.format_scope(scope) for scope in scopes} == scopes
