"""`heron sync` and `heron serve`: what travels between two homes, and what a bad server cannot do."""

import json
import socket
from concurrent.futures import ThreadPoolExecutor
from http.client import HTTPConnection

import pytest
from commands import STREET_PROJECT
from servers import Scripted, running

from heron.server.http import ProjectServer
from heron.server.store import Store

JSON = "application/json"


@pytest.fixture
def server(tmp_path):
    """A server for projects; `told` is what it says."""
    told = []
    store = Store(str(tmp_path / "server"), told.append)
    with running(ProjectServer("127.0.0.1", 0, store, told.append, largest_body=2_000_000)) as server:
        server.told = told
        yield server


@pytest.fixture
def heron(command, tmp_path):
    """Runs a command on one of the homes; gives status, output, errors."""
    return lambda home, *arguments: command(*arguments, "--home", tmp_path / home)


@pytest.fixture
def street(heron, tmp_path):
    """The same with a project in the home `a`, which is what stays there in the end."""
    assert heron("a", "project", "new", "Street", "--from", STREET_PROJECT)[0] == 0
    before = files(tmp_path, "a")
    yield heron
    assert files(tmp_path, "a") == before


@pytest.fixture
def sync(heron, server):
    """Syncs a home with the server; gives what changed in it."""

    def run(home):
        status, output, errors = heron(home, "sync", server.url)
        assert (status, errors) == (0, "")
        return [tuple(line.split()) for line in output.splitlines()[:-1]]

    return run


def files(tmp_path, home):
    """The documents in a home by their names."""
    documents = [json.loads(path.read_text()) for path in (tmp_path / home / "projects").glob("*.json")]
    return {document["name"]: document for document in documents}


# What travels


def test_new_projects_edits_and_deletions_travel(heron, sync, tmp_path):
    assert sync("a") == []
    heron("a", "project", "new", "Street", "--from", STREET_PROJECT)
    heron("b", "project", "new", "Empty")
    assert (sync("a"), sync("b"), sync("a")) == ([], [("new", "Street")], [("new", "Empty")])
    assert files(tmp_path, "a") == files(tmp_path, "b")
    heron("b", "project", "save", "Street", "--from", STREET_PROJECT, "--comment", "again")
    assert (sync("b"), sync("a")) == ([], [("updated", "Street")])
    assert heron("a", "project", "history", "Street")[1].count("\n") == 2
    heron("a", "project", "delete", "Street")
    assert (sync("a"), sync("b")) == ([], [("removed", "Street")])
    assert sync("a") == sync("b") == []
    assert list(files(tmp_path, "a")) == list(files(tmp_path, "b")) == ["Empty"]


@pytest.mark.parametrize("order", ["abac", "babc"])
@pytest.mark.parametrize(("time", "left"), [(2e9, ["A"]), (1.8e9, [])])
def test_of_an_edit_and_a_deletion_the_later_counts(heron, sync, tmp_path, order, time, left):
    heron("a", "project", "new", "Street", "--from", STREET_PROJECT)
    sync("a"), sync("b")
    for home, when, members in (("a", time, {"description": "A"}), ("b", 1.9e9, {"deleted": True})):
        document = {**files(tmp_path, home)["Street"], "edit_timestamp": when, **members}
        (tmp_path / home / "projects" / document["filename"]).write_text(json.dumps(document))
    for home in order:
        sync(home)
    for home in "abc":
        assert [one["description"] for one in files(tmp_path, home).values()] == left


# A bad server


TYPED = {"Content-type": JSON}
BAD_ANSWERS = [
    (200, TYPED, b"[" * 100_000, "nested too deeply"),
    (200, {"Content-type": "text/html"}, b"[]", 'the content type is "text/html"'),
    (200, {"Content-type": f"{JSON}; charset=utf-8"}, b"[]", "the content type is"),
    (200, TYPED, b'[{"filename": "x.json", "target": "maya"}]', "'maya', not \"standalone\""),
    (200, TYPED, b"", "it is empty"),
    (503, TYPED, b'{"error": "come later"}', ": come later"),
]


def test_an_answer_that_cannot_be_used_changes_nothing(street):
    with running(Scripted(*(answer for *answer, _ in BAD_ANSWERS), None)) as server:
        for *answer, reason in [*BAD_ANSWERS, (None, "no answer from http")]:
            code, output, errors = street("a", "sync", f"http://{server.host}/")
            assert (code, output, errors.count("\n"), reason in errors) == (1, "", 1, True), answer
    with socket.create_server(("127.0.0.1", 0)) as silent:
        url = f"http://127.0.0.1:{silent.getsockname()[1]}/"
        assert "it stays silent" in street("a", "sync", url, "--timeout", "0.2")[2]
    assert "Connection refused" in street("a", "sync", url)[2]


def test_an_address_that_is_none_is_told(heron):
    for url in ("localhost:8080", "ftp://host/x", "http://", "http://host:x/", "http://h/a b"):
        code, _, errors = heron("a", "sync", url)
        assert (code, errors.startswith(f"heron: {url}: malformed URL: ")) == (2, True)


def test_certificates_are_looked_at_unless_the_user_says_otherwise(street):
    with running(Scripted((200, {"Content-type": JSON}, b"[]")), secure=True) as server:
        url = f"https://{server.host}/"
        code, _, errors = street("a", "sync", url)
        assert (code, "certificate is not trusted" in errors) == (1, True)
        assert street("b", "sync", url, "--insecure")[0] == 0


# A bad client


def post(server, body, path="/projects", method="POST", **headers):
    """Sends a request as a stranger would; gives the status and the answer."""
    connection = HTTPConnection("127.0.0.1", server.server_port, timeout=30)
    payload = body if isinstance(body, bytes) else json.dumps(body).encode()
    connection.request(method, path, payload, {"Content-type": JSON, **headers})
    response = connection.getresponse()
    answer = response.status, json.loads(response.read())
    connection.close()
    return answer


def doc(**members):
    return {"filename": "x.json", "target": "maya", "version": 3, "edit_timestamp": 1.0, **members}


def request(*projects):
    return {"target": "maya", "projects": list(projects)}


# Names that lead elsewhere, or on Windows mean another file or a device.
BAD_TARGETS = ["../up", "maya ", "maya.", "AUX"]
BAD_FILES = ["../x.json", "a\\b.json", "x.json ", ".json", "x" * 300 + ".json", "\ud800.json", "nul.json"]


@pytest.mark.parametrize(
    ("body", "options", "status", "reason"),
    [
        (b"{", {}, 400, "not JSON"),
        *(({"target": target, "projects": []}, {}, 400, '"target"') for target in BAD_TARGETS),
        ({"target": "maya", "projects": {}}, {}, 400, '"projects" is not a list'),
        *((request(doc(filename=name)), {}, 400, '"filename"') for name in BAD_FILES),
        (request(doc(target="blender")), {}, 400, '"target"'),
        (request(doc(edit_timestamp=10**400)), {}, 400, '"edit_timestamp"'),
        (request(doc()), {"path": "/"}, 404, "projects are at /projects"),
        (request(doc()), {"Content-type": "text/plain"}, 415, "content type"),
        (request(doc(name="x" * 7_000_000)), {}, 413, "at most 2,000,000 bytes"),
        (b"", {"method": "GET"}, 405, "heron sync"),
    ],
)
def test_a_request_that_is_none_is_refused(server, tmp_path, body, options, status, reason):
    code, answer = post(server, body, **options)
    assert (code, reason in answer["error"]) == (status, True)
    assert [path for path in (tmp_path / "server").rglob("*") if path.is_file()] == []
    assert post(server, request()) == (200, [])


def test_many_clients_at_once_leave_the_newest_of_each_project(server):
    def client(number):
        for step in range(5):
            time = float(step * 10 + number)
            assert post(server, request(doc(edit_timestamp=time), doc(filename=f"{number}.json")))[0] == 200

    with ThreadPoolExecutor() as pool:
        list(pool.map(client, range(6)))
    kept = {one["filename"]: one["edit_timestamp"] for one in post(server, request())[1]}
    assert kept == {"x.json": 45.0, **{f"{number}.json": 1.0 for number in range(6)}}


def test_a_damaged_file_of_the_server_is_told_and_replaced_by_a_copy_of_a_client(server, tmp_path):
    post(server, request(doc()))
    kept = tmp_path / "server" / "maya" / "x.json"
    kept.write_text("{")
    kept.with_name("renamed.json").write_text(json.dumps(doc()))  # counts as little
    assert post(server, request()) == (200, [])
    assert any("x.json is passed over" in text for text in server.told)
    assert post(server, request(doc(name="\ud800")))[1] == [doc(name="\ud800")]
    assert json.loads(kept.read_text()) == doc(name="\ud800")


def test_an_address_that_cannot_be_served_is_told(heron, server, tmp_path):
    for host, port in (("127.0.0.1", server.server_port), ("192.0.2.1", 0), ("127.0.0.1", 99999)):
        code, _, errors = heron("a", "serve", "--dir", tmp_path / "kept", "--host", host, "--port", port)
        assert (code, f"cannot serve at {host} port {port}" in errors) == (2, True)
