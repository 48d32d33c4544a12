"""The projects of a home: finding them by name, and changing them."""

from __future__ import annotations

import difflib
import os
import time
from types import SimpleNamespace

import core

from .errors import InputError, described
from .project import Project, Record, check_document, read_project
from .session import Session

_SUGGESTIONS = 3


class UnknownProjectError(InputError):
    """A name that no project has, or more than one; its text tells what may be meant."""


class SaveError(InputError):
    """A project that could not be written."""


def choose_project(reference: str, environment: core.Environment) -> tuple[str, Project]:
    """The project that `--project` means: that of a file, or else the one of the home with this name.

    Returns:
        The path of its file, and the project, which has records and is sound.

    Raises:
        UnknownProjectError: There is neither.
        ProjectError: The project cannot be used.
    """
    if not os.path.isfile(reference):
        application = SimpleNamespace(env=environment, callbacks=core._CallBacks())
        projects = core._Project.Collection(application, environment.target)
        if _matching(projects, reference) or not _looks_like_path(reference):
            project = find_project(projects, reference)
            check_document(project.path, project.data)
            return project.path, project
    return reference, read_project(reference)


def find_project(projects: core._Project.Collection, reference: str) -> Project:
    """The project of a name, or of a file name, that is not deleted.

    Raises:
        UnknownProjectError: There is none, or more than one.
    """
    found = _matching(projects, reference)
    if len(found) == 1:
        return projects.get(found[0].filename)
    if found:
        files = ", ".join(sorted(header.filename for header in found))
        raise UnknownProjectError(f"{len(found)} projects are named {reference}; say which file: {files}")
    near = difflib.get_close_matches(reference, projects.names, _SUGGESTIONS)
    hint = f"; did you mean {', '.join(near)}?" if near else ""
    unread = "".join(
        f"\n{path}: cannot be used: {described(error)}" for path, error in projects.errors.items()
    )
    raise UnknownProjectError(f"no project {reference} in {projects.directory}{hint}{unread}")


def _matching(projects: core._Project.Collection, reference: str) -> list[core._Project.Header]:
    headers = projects.headers
    by_file = [header for header in headers if header.filename == reference]
    return by_file or [header for header in headers if header.name == reference]


def _looks_like_path(reference: str) -> bool:
    return reference != os.path.basename(reference) or os.path.splitext(reference)[1].lower() == ".json"


class Projects:
    """The projects of a home, as a user works on them.

    Attributes:
        collection: All of them.
    """

    def __init__(self, session: Session):
        """Takes a session without a scene."""
        self._facade = session.api.project
        self._settings = session.api.settings
        self.collection = self._facade.collection

    def find(self, reference: str | None) -> Project:
        """The project of a name or a file name; the current one if there is no name.

        Raises:
            UnknownProjectError: There is none, or more than one.
        """
        if reference is not None:
            return find_project(self.collection, reference)
        if not self._facade.get_headers():
            raise UnknownProjectError(f"there are no projects in {self.collection.directory}")
        return self._facade.get_current()

    def is_current(self, filename: str) -> bool:
        """Whether a front-end would begin with this project."""
        return self._facade.get_current().filename == filename

    def new(self, name: str, description: str, state: Record | None, author: str, comment: str) -> Project:
        """Makes a project, saves its first record, and makes it the current one.

        Args:
            name: Its name, which no other project has.
            description: What it is for.
            state: What the first record holds; None for the rules that a new project offers.
            author: Who saves it.
            comment: Why.

        Raises:
            UnknownProjectError: The name is not valid, or is taken.
            SaveError: The file could not be written.
        """
        if not name.strip() or not name.isprintable():
            raise UnknownProjectError(f"{name!r} is not a valid project name")
        if name in self.collection.names:
            raise UnknownProjectError(f"there is a project {name} already")
        project = self._facade.get_empty()
        project.name, project.description = name.strip(), description
        if state is None:
            state = Record(project.history, {"rules": [rule.data for rule in Project.predefined_rules()]})
        return self.save(project, state, author, comment)

    def save(self, project: Project, state: Record, author: str, comment: str) -> Project:
        """Adds a record to the history of a project, which selects it, and makes the project the current one.

        Raises:
            SaveError: The file could not be written.
        """
        record = Record(project.history, state.data)
        record.author, record.comment = author, comment
        _let_second_pass(project)
        record.save()
        _require_written(project.path, project)
        self._make_current(project)
        return project

    def select(self, project: Project, timestamp: int | None) -> None:
        """Makes a project the current one, and one of its records the state that it applies.

        Args:
            project: The project.
            timestamp: When the record was saved; None to leave the selection as it is.

        Raises:
            UnknownProjectError: There is no such record, or the project is of another format.
            SaveError: The file could not be written.
        """
        if not project.compatible:
            raise UnknownProjectError(
                f"{project.name}: project format {project.version}; "
                f"this release works with format {Project.version}"
            )
        if timestamp is not None and timestamp not in project.history._records:
            known = ", ".join(str(record.timestamp) for record in project) or "none"
            raise UnknownProjectError(f"{project.name} has no record {timestamp}, but: {known}")
        if timestamp is not None and timestamp != project.history.pointer:
            project.history.pointer = timestamp
            project.save()
            _require_written(project.path, project)
        self._make_current(project)

    def delete(self, project: Project) -> None:
        """Marks a project as deleted. Its file stays, so that the server hears of it.

        Raises:
            SaveError: The file could not be written.
        """
        if self.is_current(project.filename):
            self._facade.delete_current()
        else:
            project.delete()
            project.save()
        _require_written(project.path, project)
        _require_written(self._settings._path, self._settings)

    def _make_current(self, project: Project) -> None:
        self._facade.load(project.filename)
        _require_written(self._settings._path, self._settings)


def _require_written(path: str, document: Project | core._Settings) -> None:
    """Tells of a document that the engine could not write; its file is what it was.

    Raises:
        SaveError: It could not.
    """
    error = document.write_error
    if error is not None:
        raise SaveError(f"{path}: cannot be written: {described(error)}") from error


def _let_second_pass(project: Project) -> None:
    """Waits where the next record would take the place of one that was saved within this second."""
    now = time.time()
    if any(record.timestamp == int(now) for record in project):
        time.sleep(int(now) + 1 - now)
