"""Servers on this machine for the tests."""

import ssl
import threading
from contextlib import contextmanager
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

import trustme


class Scripted(ThreadingHTTPServer):
    """Gives each request the next of its answers, which are status, headers and body, or None for silence."""

    def __init__(self, *answers):
        super().__init__(("localhost", 0), _Handler)
        self.answers, self.asked = list(answers), []
        self.host = f"localhost:{self.server_port}"


class _Handler(BaseHTTPRequestHandler):
    def do_POST(self):
        self.rfile.read(int(self.headers.get("Content-Length", 0)))
        self.server.asked.append(self.path)
        answer = self.server.answers.pop(0)
        if answer is None:
            return
        status, headers, body = answer
        self.send_response(status)
        for header in headers.items():
            self.send_header(*header)
        self.end_headers()
        self.wfile.write(body)

    do_GET = do_POST

    def log_message(self, *arguments):
        pass


@contextmanager
def running(server, secure=False):
    """A server that answers within the block, with a certificate that nobody knows if it is secure."""
    if secure:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        trustme.CA().issue_cert("localhost").configure_cert(context)
        server.socket = context.wrap_socket(server.socket, server_side=True)
    thread = threading.Thread(target=server.serve_forever, args=(0.01,))
    with server:
        thread.start()
        try:
            yield server
        finally:
            server.shutdown()
            thread.join()
