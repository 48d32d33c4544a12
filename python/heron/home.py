"""Where settings, projects and statistics live."""

from __future__ import annotations

import json
import os
import platform

import core

from .errors import InputError


class HomeError(InputError):
    """The directory of the documents cannot be made."""


class Home(core.Environment):
    """A directory of the user's choice, with `settings.json`, `statistics.json` and `projects/` in it."""

    def __init__(self, directory: str):
        """Takes the directory, and makes it with all that is above it.

        Raises:
            HomeError: It cannot be made.
        """
        self._directory = os.path.abspath(directory)
        self._projects = os.path.join(self._directory, "projects")
        try:
            os.makedirs(self._projects, exist_ok=True)
        except (OSError, ValueError) as error:
            raise HomeError(f"{directory}: {_reason(error)}") from error
        super().__init__()

    @property
    def root(self) -> str:
        """The directory itself."""
        return self._directory

    @property
    def target(self) -> str:
        """Heron runs by itself."""
        return core.Constants.Plugin.Target.Standalone

    @property
    def scope(self) -> str:
        """The operating system and its release."""
        return platform.system() + platform.release()

    def get_settings_file(self) -> str:
        """The path of the settings."""
        return os.path.join(self._directory, "settings.json")

    def get_settings_directory(self) -> str:
        """The directory itself."""
        return self._directory

    def get_projects_directory(self) -> str:
        """The path of the projects."""
        return self._projects

    def get_statistics_file(self) -> str:
        """The path of the statistics."""
        return os.path.join(self._directory, "statistics.json")


def find_home(directory: str | None) -> core.Environment:
    """The environment for a directory that the user named, or the one beside Heron's own files.

    Raises:
        HomeError: The directory cannot be made.
    """
    if directory is not None:
        return Home(directory)
    try:
        return core._LocalEnv()
    except OSError as error:
        raise HomeError(
            f"no place for settings and statistics beside {core.__file__}: {_reason(error)}; "
            "name a directory with --home DIR"
        ) from error


def check_documents(environment: core.Environment) -> None:
    """Looks for documents that the engine can neither use nor replace by itself.

    Raises:
        HomeError: One is JSON, and no object.
    """
    for path in (environment.get_settings_file(), environment.get_statistics_file()):
        try:
            with open(path, encoding="utf-8") as file:
                document = json.load(file)
        except (OSError, ValueError, RecursionError):
            continue  # the engine recovers from these, and says so
        if not isinstance(document, dict):
            raise HomeError(f"{path}: the JSON is not an object; move the file away")


def _reason(error: Exception) -> str:
    return getattr(error, "strerror", None) or str(error)
