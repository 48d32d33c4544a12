"""The question for a newer version, asked of a real server on this machine."""

import ssl
import threading
from contextlib import contextmanager
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from types import SimpleNamespace

import pytest
import trustme
from hosts import logged
from hypothesis import given
from hypothesis import strategies as st

import core
from core import UpdateTracker

# What counts as a digit: in all scripts, and none of the powers and fractions.
PARTS = st.text(st.characters(categories=["Nd"]), min_size=1)


@contextmanager
def server(*answers):
    """Gives its host and port, and the paths asked for. Each request is answered by the next headers."""
    waiting, asked = list(answers), []

    class Handler(BaseHTTPRequestHandler):
        def do_GET(self):
            asked.append(self.path)
            self.send_response(404)
            for name, value in waiting.pop(0).items():
                self.send_header(name, value)
            self.end_headers()

        def log_message(self, *arguments):
            pass

    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    trustme.CA().issue_cert("localhost").configure_cert(context)
    with ThreadingHTTPServer(("localhost", 0), Handler) as running:
        running.socket = context.wrap_socket(running.socket, server_side=True)
        thread = threading.Thread(target=running.serve_forever, args=(0.01,))
        thread.start()
        try:
            yield f"localhost:{running.server_port}", asked
        finally:
            running.shutdown()
            thread.join()


def tracker(host, version=core.version):
    urls = SimpleNamespace(host=host, path=SimpleNamespace(latest="/latest"))
    return UpdateTracker(SimpleNamespace(settings=SimpleNamespace(urls=urls)), version)


def test_a_newer_version_is_found_by_numbers():
    answers = {
        "0.8.20": False,
        "0.8.9": False,
        "0.8.100": True,
        "1": True,
        "0.8.20.1": False,
        "9" * 5000: True,
    }
    with server(*({"heron-version": answer} for answer in answers)) as (host, asked), logged() as log:
        asking = tracker(host)
        assert (asking.accepted, asking.version) == (True, None)
        for answer, newer in answers.items():
            assert asking.exist() is newer
            assert asking.version == UpdateTracker._clean_version(answer)
    assert asked == ["/latest"] * len(answers)
    assert not log


def test_an_answer_without_a_version_says_no():
    answers = [
        {"Heron-Version": "2"},
        {},
        *({"Heron-Version": bad} for bad in ("", "1..2", "1.x", "-1", "\xb2")),
    ]
    with server(*answers) as (host, _), logged() as log:
        asking = tracker(host)
        assert asking.exist()
        for _ in answers[1:]:
            assert not asking.exist()
            assert asking.version is None
    assert not log


def test_a_server_that_is_not_there_is_logged():
    with server({"Heron-Version": "2"}) as (host, _):
        asking = tracker(host)
        assert asking.exist()
    bad = [host, "localhost:port", "\ud800", "a b", None]
    with logged() as log:
        assert not asking.exist()
        assert asking.version is None
        for other in bad[1:]:
            assert not tracker(other).exist()
        del asking._urls.host
        assert not asking.exist()
    text = "Could not check version for update from {}"
    assert sorted(log) == sorted(text.format(other) for other in [*bad, None])


def test_an_interrupt_passes():
    class Interrupted:
        host = "localhost"

        @property
        def path(self):
            raise KeyboardInterrupt

    asking = UpdateTracker(SimpleNamespace(settings=SimpleNamespace(urls=Interrupted())), (1,))
    with pytest.raises(KeyboardInterrupt):
        asking.exist()


def test_the_local_version_has_at_least_three_parts():
    assert [tracker("", version)._local_version for version in [(1,), (0, 8, 20), [1, 2, 3, True]]] == [
        "1.0.0",
        "0.8.20",
        "1.2.3.1",
    ]
    for version in ("1.2", (1.5,), 1):
        with pytest.raises(TypeError):
            tracker("", version)


@given(st.lists(PARTS, min_size=1), st.lists(PARTS, min_size=1))
def test_versions_of_any_script_compare_as_numbers(lower, upper):
    texts = [".".join(parts) for parts in (lower, upper)]
    assert all(map(UpdateTracker._is_version, texts))
    pairs = [(int(low), int(high)) for low, high in zip(lower, upper, strict=False)]
    expected = [high for _, high in pairs] > [low for low, _ in pairs]
    assert UpdateTracker._is_above_version(*texts) is expected


def test_only_dotted_decimals_are_versions():
    assert [
        UpdateTracker._is_version(value) for value in ("10", "1.2.x", "", ".", "1.", "½", "²", 5, None)
    ] == [
        True,
        *[False] * 8,
    ]
