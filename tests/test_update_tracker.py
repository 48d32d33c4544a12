"""The question for a newer version, asked of a real server on this machine."""

from types import SimpleNamespace

import pytest
from hosts import logged
from hypothesis import given
from hypothesis import strategies as st
from servers import Scripted, running

from core import UpdateTracker

# What counts as a digit: in all scripts, and none of the powers and fractions.
PARTS = st.text(st.characters(categories=["Nd"]), min_size=1)


def tracker(host, version=(0, 8, 20)):
    urls = SimpleNamespace(host=host, path=SimpleNamespace(latest="/latest"))
    return UpdateTracker(SimpleNamespace(settings=SimpleNamespace(urls=urls)), version)


def test_a_newer_version_is_found_by_numbers():
    versions = {"0.8.20": False, "0.8.100": True, "1": True, "9" * 5000: True}
    none = ["", "1..2", "1.x", "-1", "\xb2"]
    headers = [{"heron-version": text} for text in [*versions, *none]]
    server = Scripted(*((404, header, b"") for header in [*headers, {}]))
    with running(server, secure=True), logged() as log:
        asking = tracker(server.host)
        assert (asking.accepted, asking.version) == (True, None)
        for text, newer in versions.items():
            assert (asking.exist(), asking.version) == (newer, UpdateTracker._clean_version(text))
        for text in [*none, "no header"]:
            assert (asking.exist(), asking.version) == (False, None), text
    assert server.asked == ["/latest"] * 10
    assert not log


def test_a_server_that_is_not_there_is_logged():
    server = Scripted((200, {"Heron-Version": "2"}, b""))
    with running(server, secure=True):
        asking = tracker(server.host)
        assert asking.exist()
    bad = [server.host, "localhost:port", "\ud800", "a b", None]
    with logged() as log:
        assert (asking.exist(), asking.version) == (False, None)
        assert not any(tracker(host).exist() for host in bad[1:])
        del asking._urls.host
        assert not asking.exist()
    assert sorted(log) == sorted(f"Could not check version for update from {host}" for host in [*bad, None])


def test_the_local_version_has_at_least_three_numbers():
    for version, text in {(): "0.0.0", (1, 2, 3, True): "1.2.3.1"}.items():
        assert tracker("", version)._local_version == text
    with pytest.raises(TypeError):
        tracker("", (1.5,))


@given(st.lists(PARTS, min_size=1), st.lists(PARTS, min_size=1))
def test_versions_of_any_script_compare_as_numbers(lower, upper):
    texts = [".".join(parts) for parts in (lower, upper)]
    assert all(map(UpdateTracker._is_version, texts))
    pairs = [(int(low), int(high)) for low, high in zip(lower, upper, strict=False)]
    expected = [high for _, high in pairs] > [low for low, _ in pairs]
    assert UpdateTracker._is_above_version(*texts) is expected
