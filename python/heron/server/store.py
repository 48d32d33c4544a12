"""Keeping the newest state of each project, as files."""

from __future__ import annotations

import json
import os
import threading
from collections.abc import Callable
from dataclasses import dataclass

from ..file_names import is_safe_name
from ..files import FileError, Json, parse_object, read_bytes, replace_file
from ..wire import SUFFIX, DocumentError, check_project


class StoreError(FileError):
    """A file of the server that cannot be used."""


@dataclass
class Request:
    """The projects of one client.

    Attributes:
        target: The host application that the projects are for.
        projects: Their documents by file name.
    """

    target: str
    projects: dict[str, Json]


class Store:
    """A directory for each target, and in it a file for each project. Any thread may use it.

    The document with the later "edit_timestamp" counts. One that is marked as deleted stays in the
    directory, so that older copies do not come back, but clients do not get it: what they do not get
    they erase.
    """

    def __init__(self, directory: str, complain: Callable[[str], None]):
        """Takes the directory, and makes it with all that is above it.

        Args:
            directory: The directory.
            complain: Is told of each file that cannot be used.

        Raises:
            StoreError: It cannot be made.
        """
        self._directory = os.path.abspath(directory)
        self._complain = complain
        self._lock = threading.Lock()
        _make(self._directory)

    def exchange(self, request: Request) -> list[Json]:
        """Takes the projects of a client where they are newer.

        Returns:
            The documents of all projects of the client's target that are not deleted.

        Raises:
            StoreError: A file cannot be written. What came before it is kept.
        """
        directory = os.path.join(self._directory, request.target)
        with self._lock:
            _make(directory)
            kept = self._read(directory)
            for filename, document in request.projects.items():
                if filename not in kept or document["edit_timestamp"] > kept[filename]["edit_timestamp"]:
                    text = json.dumps(document, indent=2, ensure_ascii=False)
                    # Only a lone surrogate has no UTF-8, and its Python escape is its JSON escape as well.
                    payload = text.encode("utf-8", "backslashreplace")
                    replace_file(os.path.join(directory, filename), payload, StoreError)
                    kept[filename] = document
        return [document for _, document in sorted(kept.items()) if not document.get("deleted")]

    def _read(self, directory: str) -> dict[str, Json]:
        documents = {}
        for name in os.listdir(directory):
            path = os.path.join(directory, name)
            if not name.endswith(SUFFIX) or not os.path.isfile(path):
                continue
            try:
                document = parse_object(path, read_bytes(path, StoreError), StoreError)
                check_project(document, os.path.basename(directory))
            except (StoreError, DocumentError) as error:
                # The copy of a client takes its place.
                self._complain(f"{path} is passed over: {error}")
                continue
            if document["filename"] == name:
                documents[name] = document
        return documents


def read_request(body: bytes) -> Request:
    """Takes a request apart.

    Raises:
        DocumentError: It is not a request.
    """
    try:
        document = parse_object("the request", body, StoreError)
    except StoreError as error:
        raise DocumentError(str(error)) from error
    target, projects = document.get("target"), document.get("projects")
    if not isinstance(target, str) or not is_safe_name(target):
        raise DocumentError('"target" does not name a host application')
    if not isinstance(projects, list):
        raise DocumentError('"projects" is not a list')
    by_name = {}
    for project in projects:
        check_project(project, target)
        by_name[project["filename"]] = project
    return Request(target, by_name)


def _make(directory: str) -> None:
    try:
        os.makedirs(directory, exist_ok=True)
    except (OSError, ValueError) as error:
        raise StoreError(directory, getattr(error, "strerror", None) or str(error)) from error
