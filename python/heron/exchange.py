"""The client's side of the exchange: projects go to a server, and its answer is applied."""

from __future__ import annotations

import http.client
import json
import ssl
from dataclasses import dataclass, field
from urllib.parse import urlsplit

import core

from .errors import InputError, described
from .wire import CONTENT_TYPE, DocumentError, check_project

LARGEST_ANSWER = 256 * 1024 * 1024


class UrlError(InputError):
    """An address to which nothing can be sent."""


class ServerError(Exception):
    """A server that gave no answer, or one that cannot be applied. The local projects stay as they are."""


@dataclass
class Exchange:
    """What came of an exchange, as names of projects.

    Attributes:
        sent: How many projects went to the server.
        new: Those that were not here.
        updated: Those of which the server had a newer state.
        removed: Those that the server does not have, or not any more.
        kept: How many stay as they were.
        errors: What went wrong while the answer was applied.
    """

    sent: int
    new: list[str] = field(default_factory=list)
    updated: list[str] = field(default_factory=list)
    removed: list[str] = field(default_factory=list)
    kept: int = 0
    errors: list[str] = field(default_factory=list)


class Server:
    """Where projects are exchanged."""

    def __init__(self, url: str, timeout: float, verify: bool = True):
        """Takes an address apart.

        Args:
            url: Its address, "http" or "https".
            timeout: How many seconds it may stay silent.
            verify: Whether its certificate must be a trusted one.

        Raises:
            UrlError: The URL is malformed.
        """
        self.url = url
        try:
            parts = urlsplit(url)
            self._host, self._port = parts.hostname, parts.port
        except ValueError as error:
            raise UrlError(f"{url}: malformed URL: {error}") from error
        if parts.scheme not in ("http", "https") or not self._host:
            raise UrlError(f"{url}: malformed URL: http:// or https:// and a host name expected")
        self._path = (parts.path or "/") + (f"?{parts.query}" if parts.query else "")
        if not self._path.isascii() or not self._path.isprintable() or " " in self._path:
            raise UrlError(f"{url}: malformed URL: invalid characters in the path")
        self._timeout = timeout
        self._context = None
        if parts.scheme == "https":
            # The default of the process takes any certificate since `core` was imported.
            self._context = ssl.create_default_context() if verify else ssl._create_unverified_context()

    def post(self, body: bytes, headers: dict[str, str]) -> Answer:
        """Sends a request.

        Raises:
            ServerError: There is no answer, or none that says that all is well.
        """
        connection = self._connect()
        try:
            connection.request("POST", self._path, body, headers)
            response = connection.getresponse()
            answer = Answer(response.getheader("Content-type", ""), response.read(LARGEST_ANSWER + 1))
        except (OSError, UnicodeError, http.client.HTTPException) as error:
            raise ServerError(f"no answer from {self.url}: {_reason(error)}") from error
        finally:
            connection.close()
        if len(answer.body) > LARGEST_ANSWER:
            raise ServerError(f"{self.url} answers more than {LARGEST_ANSWER:,} bytes")
        if response.status != http.client.OK:
            raise ServerError(f"{self.url} answers {response.status} {response.reason}{answer.complaint()}")
        return answer

    def _connect(self) -> http.client.HTTPConnection:
        assert self._host is not None
        if self._context is None:
            return http.client.HTTPConnection(self._host, self._port, timeout=self._timeout)
        return http.client.HTTPSConnection(
            self._host, self._port, timeout=self._timeout, context=self._context
        )


class Answer:
    """The answer of a server, in the form in which the engine takes it.

    Attributes:
        content_type: What the server says that it is.
        body: All of it.
    """

    def __init__(self, content_type: str, body: bytes):
        self.content_type = content_type
        self.body = body

    def getheader(self, name: str, default: str = "") -> str:
        """The value of a header; only the type of the content is known."""
        return self.content_type if name.lower() == "content-type" else default

    def read(self) -> bytes:
        """The body, however often it is asked for."""
        return self.body

    def complaint(self) -> str:
        """What a server says of an error, as the end of a sentence."""
        try:
            said = json.loads(self.body)["error"]
        except (ValueError, RecursionError, LookupError, TypeError):
            return ""
        return f": {said}" if isinstance(said, str) else ""

    def check(self, target: str) -> None:
        """Looks whether the engine can apply it: all that it does not list is erased here.

        Raises:
            ServerError: It is no list of projects of this target.
        """
        if self.content_type != CONTENT_TYPE:
            raise ServerError(f'the content type is "{self.content_type}", not "{CONTENT_TYPE}"')
        if not self.body:
            raise ServerError("it is empty")
        try:
            projects = json.loads(self.body.decode("utf-8"))
        except RecursionError as error:
            raise ServerError("the JSON is nested too deeply") from error
        except ValueError as error:  # UnicodeDecodeError is one
            raise ServerError(f"it is not JSON: {error}") from error
        if not isinstance(projects, list):
            raise ServerError("it is not a list of projects")
        try:
            for project in projects:
                check_project(project, target)
        except DocumentError as error:
            raise ServerError(str(error)) from error


def exchange_projects(api: core.Api, server: Server) -> Exchange:
    """Sends all projects to a server, and puts those of the server in their place where they are newer.

    Raises:
        ServerError: The server gave no answer that can be applied. Nothing has changed here.
        UrlError: The projects cannot be sent.
    """
    collection = api.project.collection
    request = api.http.projects_request()
    try:
        body = bytes(request)
    except (TypeError, ValueError, RecursionError) as error:
        raise UrlError(f"a project in {collection.directory} cannot be sent: {error}") from error
    try:
        answer = server.post(body, dict(request.headers))
    except ServerError:
        api.http.no_response()
        raise
    try:
        answer.check(collection.target)
    except ServerError as error:
        raise ServerError(f"the answer of {server.url} cannot be used: {error}") from error
    before, known = _states(collection), collection.errors
    api.http.projects_response(answer)
    errors = [
        f"{path}: {described(error)}"
        for path, error in collection.errors.items()
        if error is not known.get(path)  # the others have been told when the projects were read
    ]
    return _compare(before, _states(collection), len(list(request)), errors)


def _states(collection: core._Project.Collection) -> dict[str, tuple[str, float, bool]]:
    """Name, time of the last edit, and whether it is deleted, of all projects by their file names."""
    return {
        project.filename: (project.name, project.edit_timestamp, bool(project.deleted))
        for project in collection
    }


def _compare(
    before: dict[str, tuple[str, float, bool]],
    after: dict[str, tuple[str, float, bool]],
    sent: int,
    errors: list[str],
) -> Exchange:
    result = Exchange(sent, errors=errors)
    for filename in sorted({**before, **after}):
        name, _, deleted = after.get(filename) or before[filename]
        was = filename in before and not before[filename][2]
        is_now = filename in after and not deleted
        if is_now and not was:
            result.new.append(name)
        elif was and not is_now:
            result.removed.append(name)
        elif is_now and before[filename] != after[filename]:
            result.updated.append(name)
        else:
            result.kept += is_now
    return result


def _reason(error: Exception) -> str:
    if isinstance(error, ssl.SSLCertVerificationError):
        return f"its certificate is not trusted: {error.verify_message} (--insecure takes any)"
    if isinstance(error, TimeoutError):
        return "it stays silent"
    return getattr(error, "strerror", None) or str(error) or type(error).__name__
