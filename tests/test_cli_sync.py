"""`heron sync` and `heron serve`: what travels between two homes, and what a bad server cannot do."""

import json
import os
import socket
import ssl
import subprocess
import sys
import threading
from contextlib import contextmanager
from http.client import HTTPConnection
from http.server import BaseHTTPRequestHandler, HTTPServer
from pathlib import Path

import pytest
import trustme

from heron.cli import main
from heron.server.http import ProjectServer
from heron.server.store import Store

PROJECT = str(Path(__file__).resolve().parent.parent / "examples" / "street.json")


@contextmanager
def running(server):
    """A server that answers within the block."""
    thread = threading.Thread(target=server.serve_forever, args=(0.01,))
    thread.start()
    try:
        with server:
            yield server
            server.shutdown()
    finally:
        thread.join()


@pytest.fixture
def told():
    """What the server says."""
    return []


@pytest.fixture
def server(tmp_path, told):
    store = Store(str(tmp_path / "server"), told.append)
    with running(ProjectServer("127.0.0.1", 0, store, told.append, largest_body=100_000)) as server:
        yield server


@pytest.fixture
def heron(tmp_path, capsys):
    """Runs a command on one of the homes; gives status, output, errors."""

    def run(home, *arguments):
        status = main([*map(str, arguments), "--home", str(tmp_path / home)])
        captured = capsys.readouterr()
        return status, captured.out, captured.err

    return run


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


def edited_at(tmp_path, home, name, timestamp, **members):
    """Edits a project at a time of the test's choice."""
    document = {**files(tmp_path, home)[name], "edit_timestamp": timestamp, **members}
    (tmp_path / home / "projects" / document["filename"]).write_text(json.dumps(document))


# What travels


def test_new_projects_edits_and_deletions_travel(heron, sync, tmp_path):
    assert sync("a") == []
    heron("a", "project", "new", "Street", "--from", PROJECT)
    heron("b", "project", "new", "Empty")
    assert sync("a") == []
    assert sync("b") == [("new", "Street")]
    assert sync("a") == [("new", "Empty")]
    assert files(tmp_path, "a") == files(tmp_path, "b")
    heron("b", "project", "save", "Street", "--from", PROJECT, "--comment", "again")
    assert sync("b") == []
    assert sync("a") == [("updated", "Street")]
    assert heron("a", "project", "history", "Street")[1].count("\n") == 2
    heron("a", "project", "delete", "Street")
    assert sync("a") == []
    assert sync("b") == [("removed", "Street")]
    assert sync("a") == sync("b") == []
    assert list(files(tmp_path, "a")) == list(files(tmp_path, "b")) == ["Empty"]


@pytest.mark.parametrize("first", ["a", "b"])
@pytest.mark.parametrize(
    ("edit_of_a", "edit_of_b", "left"),
    [
        ((2e9, {"description": "A"}), (1.9e9, {"description": "B"}), "A"),
        ((2e9, {"description": "A"}), (1.9e9, {"deleted": True}), "A"),
        ((1.9e9, {"description": "A"}), (2e9, {"deleted": True}), None),
    ],
)
def test_of_two_edits_of_one_project_the_later_counts(
    heron, sync, tmp_path, first, edit_of_a, edit_of_b, left
):
    heron("a", "project", "new", "Street", "--from", PROJECT)
    sync("a"), sync("b")
    for home, (timestamp, members) in {"a": edit_of_a, "b": edit_of_b}.items():
        edited_at(tmp_path, home, "Street", timestamp, **members)
    other = "b" if first == "a" else "a"
    for home in (first, other, first, "c"):
        sync(home)
    for home in ("a", "b", "c"):
        documents = files(tmp_path, home)
        assert [one["description"] for one in documents.values()] == ([left] if left else [])


def test_projects_of_other_applications_stay_where_they_are(heron, sync, server, tmp_path):
    document = {"filename": "x.json", "target": "maya", "version": 3, "edit_timestamp": 1.0, "records": {}}
    assert post(server, {"target": "maya", "projects": [document]}) == (200, [document])
    assert sync("a") == []
    (tmp_path / "a" / "projects" / "x.json").write_text(json.dumps(document))
    assert sync("a") == []
    assert json.loads((tmp_path / "a" / "projects" / "x.json").read_text()) == document


def test_the_command_serves_until_it_is_stopped(heron, tmp_path):
    arguments = ["serve", "--dir", str(tmp_path / "kept"), "--port", "0", "--home", str(tmp_path)]
    environment = os.environ | {"PYTHONPATH": os.pathsep.join(sys.path)}
    with subprocess.Popen(
        [sys.executable, "-m", "heron", *arguments], stdout=subprocess.PIPE, env=environment, text=True
    ) as process:
        try:
            url = process.stdout.readline().strip()
            heron("a", "project", "new", "Street", "--from", PROJECT)
            assert heron("a", "sync", url)[0] == 0
            assert heron("b", "sync", url)[1].startswith("new      Street\n")
        finally:
            process.terminate()
    assert len(list((tmp_path / "kept" / "standalone").iterdir())) == 1


# A bad server


class Bad(BaseHTTPRequestHandler):
    """Answers what the test wants."""

    def do_POST(self):
        self.rfile.read(int(self.headers["Content-Length"]))
        status, kind, body = self.server.answer
        if status is None:
            return
        self.send_response(status)
        if kind is not None:
            self.send_header("Content-type", kind)
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *arguments):
        pass


JSON = "application/json"
BAD_ANSWERS = {
    "rubbish": (200, JSON, b"\xff{", "not JSON"),
    "cut off": (200, JSON, b'[{"name"', "not JSON"),
    "deep": (200, JSON, b"[" * 100_000, "nested too deeply"),
    "page": (200, "text/html", b"[]", 'the content type is "text/html"'),
    "with charset": (200, f"{JSON}; charset=utf-8", b"[]", "the content type is"),
    "no type": (200, None, b"[]", 'the content type is ""'),
    "map": (200, JSON, b"{}", "not a list of projects"),
    "text": (200, JSON, b'"x"', "not a list of projects"),
    "null": (200, JSON, b"null", "not a list of projects"),
    "numbers": (200, JSON, b"[1]", "a project is not an object"),
    "nameless": (200, JSON, b"[{}]", '"filename"'),
    "path": (200, JSON, b'[{"filename": "../x.json"}]', '"filename"'),
    "other target": (200, JSON, b'[{"filename": "x.json", "target": "maya"}]', "'maya', not \"standalone\""),
    "no version": (200, JSON, b'[{"filename": "x.json", "target": "standalone"}]', '"version"'),
    "empty": (200, JSON, b"", "it is empty"),
    "error": (500, JSON, b"[]", "answers 500 Internal Server Error"),
    "error with reason": (503, JSON, b'{"error": "come later"}', ": come later"),
    "redirect": (302, JSON, b"[]", "answers 302 Found"),
    "nothing": (None, None, None, "no answer from http"),
}


@pytest.mark.parametrize(("status", "kind", "body", "reason"), BAD_ANSWERS.values(), ids=BAD_ANSWERS)
def test_an_answer_that_cannot_be_used_changes_nothing(heron, tmp_path, status, kind, body, reason):
    heron("a", "project", "new", "Street", "--from", PROJECT)
    before = files(tmp_path, "a")
    with running(HTTPServer(("127.0.0.1", 0), Bad)) as server:
        server.answer = status, kind, body
        code, output, errors = heron("a", "sync", f"http://127.0.0.1:{server.server_port}/")
    assert (code, output, errors.count("\n")) == (1, "", 1)
    assert reason in errors
    assert "the projects here stay as they are" in errors
    assert files(tmp_path, "a") == before


def test_a_server_that_does_not_answer_is_told(heron, tmp_path):
    heron("a", "project", "new", "Street", "--from", PROJECT)
    with socket.create_server(("127.0.0.1", 0)) as silent:
        url = f"http://127.0.0.1:{silent.getsockname()[1]}/"
        code, _, errors = heron("a", "sync", url, "--timeout", "0.2")
        assert (code, "it stays silent" in errors) == (1, True)
    code, _, errors = heron("a", "sync", url)
    assert (code, "Connection refused" in errors) == (1, True)
    assert list(files(tmp_path, "a")) == ["Street"]


@pytest.mark.parametrize(
    "url", ["localhost:8080", "ftp://host/x", "http://", "http://host:x/", "http://h/a b"]
)
def test_an_address_that_is_none_is_told(heron, url):
    code, _, errors = heron("a", "sync", url)
    assert (code, errors.startswith(f"heron: {url}: ")) == (2, True)


def test_certificates_are_looked_at_unless_the_user_says_otherwise(heron, tmp_path):
    heron("a", "project", "new", "Street", "--from", PROJECT)
    with running(HTTPServer(("127.0.0.1", 0), Bad)) as server:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        trustme.CA().issue_cert("localhost").configure_cert(context)
        server.socket = context.wrap_socket(server.socket, server_side=True)
        server.answer = 200, JSON, b"[]"
        url = f"https://localhost:{server.server_port}/"
        code, _, errors = heron("a", "sync", url)
        assert (code, "certificate is not trusted" in errors) == (1, True)
        assert list(files(tmp_path, "a")) == ["Street"]
        assert heron("a", "sync", url, "--insecure")[:2] == (
            0, "removed  Street\n1 project sent; 0 new, 0 updated, 1 removed, 0 as before\n")  # fmt: skip
    assert files(tmp_path, "a") == {}


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


@pytest.mark.parametrize(
    ("body", "options", "status", "reason"),
    [
        (b"{", {}, 400, "not JSON"),
        (b"[" * 50_000, {}, 400, "nested too deeply"),
        ([], {}, 400, "not an object"),
        ({"projects": []}, {}, 400, '"target"'),
        ({"target": "../up", "projects": []}, {}, 400, '"target"'),
        ({"target": "maya", "projects": {}}, {}, 400, '"projects" is not a list'),
        (request(1), {}, 400, "not an object"),
        (request(doc(filename="../x.json")), {}, 400, '"filename"'),
        (request(doc(filename="x.exe")), {}, 400, '"filename"'),
        (request(doc(filename="a\\b.json")), {}, 400, '"filename"'),
        (request(doc(filename=".json")), {}, 400, '"filename"'),
        (request(doc(filename="x" * 300 + ".json")), {}, 400, '"filename"'),
        (request(doc(filename="\ud800.json")), {}, 400, '"filename"'),
        (request(doc(target="blender")), {}, 400, '"target"'),
        (request(doc(edit_timestamp="1")), {}, 400, '"edit_timestamp"'),
        (request(doc(edit_timestamp=10**400)), {}, 400, '"edit_timestamp"'),
        (request(doc()), {"path": "/"}, 404, "projects are at /projects"),
        (request(doc()), {"Content-type": "text/plain"}, 415, "content type"),
        (request(doc(name="x" * 200_000)), {}, 413, "at most 100,000 bytes"),
        (b"", {"method": "GET"}, 405, "heron sync"),
    ],
)
def test_a_request_that_is_none_is_refused_and_nothing_is_kept(
    server, tmp_path, body, options, status, reason
):
    code, answer = post(server, body, **options)
    assert (code, reason in answer["error"]) == (status, True)
    assert [path for path in (tmp_path / "server").rglob("*") if path.is_file()] == []
    assert post(server, request()) == (200, [])


def test_many_clients_at_once_leave_the_newest_of_each_project(server):
    def client(number):
        for step in range(5):
            time = float(step * 10 + number)
            assert post(server, request(doc(edit_timestamp=time), doc(filename=f"{number}.json")))[0] == 200

    threads = [threading.Thread(target=client, args=(number,)) for number in range(6)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    kept = {one["filename"]: one["edit_timestamp"] for one in post(server, request())[1]}
    assert kept == {"x.json": 45.0, **{f"{number}.json": 1.0 for number in range(6)}}


def test_a_damaged_file_of_the_server_is_told_and_replaced_by_a_copy_of_a_client(server, told, tmp_path):
    post(server, request(doc()))
    kept = tmp_path / "server" / "maya" / "x.json"
    kept.write_text("{")
    assert post(server, request()) == (200, [])
    assert any("x.json is passed over" in text for text in told)
    assert post(server, request(doc(name="\ud800")))[1] == [doc(name="\ud800")]
    assert json.loads(kept.read_text()) == doc(name="\ud800")


def test_an_address_that_cannot_be_served_is_told(heron, server, tmp_path):
    for host, port in (("127.0.0.1", server.server_port), ("192.0.2.1", 0), ("127.0.0.1", 99999)):
        code, _, errors = heron("a", "serve", "--dir", tmp_path / "kept", "--host", host, "--port", port)
        assert (code, f"cannot serve at {host} port {port}" in errors) == (2, True)
    (tmp_path / "file").write_text("")
    code, _, errors = heron("a", "serve", "--dir", tmp_path / "file")
    assert (code, "File exists" in errors) == (2, True)
