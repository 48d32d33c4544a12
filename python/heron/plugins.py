"""Running code of plug-ins inside a command."""

from __future__ import annotations

import contextlib
import sys
import traceback
from collections.abc import Iterator

from .errors import InputError


class PluginExit(InputError):
    """A check has tried to end the process."""


@contextlib.contextmanager
def plugins_contained() -> Iterator[None]:
    """Keeps plug-ins from writing into the output and from ending the process.

    What they print goes to standard error.

    Raises:
        PluginExit: A plug-in has called `sys.exit`.
    """
    try:
        with contextlib.redirect_stdout(sys.stderr):
            yield
    except SystemExit as error:
        place = traceback.extract_tb(error.__traceback__)[-1]
        raise PluginExit(
            f"{place.filename}, line {place.lineno}: a check must not end the process"
        ) from error
