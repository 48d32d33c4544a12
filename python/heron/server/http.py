"""The server's side of the exchange, over HTTP."""

from __future__ import annotations

import json
import socket
import sys
from collections.abc import Callable
from http import HTTPStatus
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from socketserver import TCPServer

from ..errors import InputError
from ..wire import CONTENT_TYPE, DocumentError
from .store import Store, StoreError, read_request

PATH = "/projects"
LARGEST_BODY = 64 * 1024 * 1024
_CHUNK = 64 * 1024
_LAST_PORT = 65535


class AddressError(InputError):
    """A host and a port at which nothing can be served."""


class ProjectServer(ThreadingHTTPServer):
    """Serves one store, each request on a thread of its own.

    Attributes:
        store: The projects.
        tell: Is told of each request.
        largest_body: The most bytes that a request may have.
    """

    daemon_threads = True
    # On Windows a second server could take over the port of the first.
    allow_reuse_address = not hasattr(socket, "SO_EXCLUSIVEADDRUSE")

    def __init__(
        self,
        host: str,
        port: int,
        store: Store,
        tell: Callable[[str], None],
        largest_body: int = LARGEST_BODY,
    ):
        """Begins to listen; port 0 takes a free one.

        Raises:
            AddressError: There is no such host here, or the port is taken.
        """
        self.store, self.tell, self.largest_body = store, tell, largest_body
        if not 0 <= port <= _LAST_PORT:
            raise AddressError(f"cannot serve at {host} port {port}: ports go up to {_LAST_PORT}")
        try:
            family, *_, address = socket.getaddrinfo(host, port, type=socket.SOCK_STREAM)[0]
            self.address_family = family
            super().__init__(address[:2], _Handler)  # type: ignore[arg-type]
        except (OSError, OverflowError, UnicodeError) as error:
            reason = getattr(error, "strerror", None) or str(error)
            raise AddressError(f"cannot serve at {host} port {port}: {reason}") from error

    def server_bind(self) -> None:
        """Binds the port. The base class would also ask for the name of the host, which may take long."""
        TCPServer.server_bind(self)
        self.server_name, self.server_port = self.server_address[:2]  # type: ignore[assignment]

    def handle_error(self, request: object, client_address: object) -> None:
        """Tells of a client that has gone, or of a fault, in one line."""
        self.tell(f"a request has failed: {sys.exc_info()[1]!r}")

    @property
    def url(self) -> str:
        """What `heron sync` takes."""
        host, port = self.server_address[:2]
        name = f"[{host!s}]" if self.address_family is socket.AF_INET6 else str(host)
        return f"http://{name}:{port}{PATH}"


class _Handler(BaseHTTPRequestHandler):
    """One request: the projects of a client come, the projects of all go."""

    server: ProjectServer
    server_version = "heron"
    sys_version = ""
    timeout = 30  # seconds that a client may stay silent

    def do_POST(self) -> None:
        """Exchanges projects."""
        body = self._body()
        if body is None:
            return
        try:
            request = read_request(body)
            documents = self.server.store.exchange(request)
        except DocumentError as error:
            self._refuse(HTTPStatus.BAD_REQUEST, str(error))
        except StoreError as error:
            self._refuse(HTTPStatus.INTERNAL_SERVER_ERROR, str(error))
        else:
            self.server.tell(
                f"{self.client_address[0]}: {len(request.projects)} received, {len(documents)} sent "
                f"({request.target})"
            )
            self._answer(HTTPStatus.OK, documents)

    def do_GET(self) -> None:
        """Says how it is done: somebody has opened the address in a browser."""
        self._refuse(
            HTTPStatus.METHOD_NOT_ALLOWED, f"projects are exchanged by POST, as `heron sync` does {PATH}"
        )

    def _body(self) -> bytes | None:
        """The body of a request that is one for projects; None if it was refused."""
        length = self.headers.get("Content-Length", "")
        if self.path != PATH:
            self._refuse(HTTPStatus.NOT_FOUND, f"nothing is here; projects are at {PATH}")
        elif self.headers.get_content_type() != CONTENT_TYPE:
            # A page in a browser must not be able to send one unasked.
            self._refuse(HTTPStatus.UNSUPPORTED_MEDIA_TYPE, f"a request has the content type {CONTENT_TYPE}")
        elif not (length.isascii() and length.isdigit()):
            self._refuse(HTTPStatus.LENGTH_REQUIRED, "a request tells its length")
        elif int(length[:20]) > self.server.largest_body:
            largest = self.server.largest_body
            self._drain(min(int(length[:20]), 4 * largest))
            self._refuse(HTTPStatus.REQUEST_ENTITY_TOO_LARGE, f"a request has at most {largest:,} bytes")
        else:
            body = self.rfile.read(int(length))
            if len(body) == int(length):
                return body
            self._refuse(HTTPStatus.BAD_REQUEST, "the request is cut off")
        return None

    def _drain(self, size: int) -> None:
        """Reads what nobody wants: a client that is still sending would not see the answer."""
        while size > 0 and (chunk := self.rfile.read(min(size, _CHUNK))):
            size -= len(chunk)

    def _refuse(self, status: HTTPStatus, reason: str) -> None:
        self.server.tell(f"{self.client_address[0]}: refused, {reason}")
        self._answer(status, {"error": reason})

    def _answer(self, status: HTTPStatus, document: object) -> None:
        text = json.dumps(document, ensure_ascii=False)
        payload = text.encode("utf-8", "backslashreplace")
        self.send_response(status)
        self.send_header("Content-type", CONTENT_TYPE)
        self.send_header("Content-Length", str(len(payload)))
        self.end_headers()
        self.wfile.write(payload)

    def log_message(self, format: str, *arguments: object) -> None:
        """Nothing: `tell` has it, in fewer words."""
