"""Collecting what the engine logs while it works."""

from __future__ import annotations

import logging
import threading
from types import TracebackType

# Seconds that handing over one record may take; then the thread must be somebody else's.
_PATIENCE = 2.0


class LogCollector(logging.Handler):
    """Keeps the warnings and errors that reach the root logger within a `with` block.

    The engine hands each record over on a thread of its own, which may outlive the call that
    logged. `settle`, and leaving the block, wait for the threads that were started in it, so
    `messages` is complete from then on.

    Attributes:
        messages: (level, text) of each record, in order of arrival.
    """

    def __init__(self) -> None:
        super().__init__(logging.WARNING)
        self.messages: list[tuple[int, str]] = []
        self._earlier: set[threading.Thread] = set()

    def emit(self, record: logging.LogRecord) -> None:
        """Keeps one record."""
        self.messages.append((record.levelno, record.getMessage()))

    def errors(self) -> list[str]:
        """The texts of the errors."""
        return [text for level, text in self.messages if level >= logging.ERROR]

    def warnings(self) -> list[str]:
        """The texts of the warnings."""
        return [text for level, text in self.messages if level < logging.ERROR]

    def claim_errors(self, start: int) -> list[str]:
        """Takes out the errors that came behind the first `start` messages; returns their texts."""
        self.settle()
        claimed = [text for level, text in self.messages[start:] if level >= logging.ERROR]
        self.messages[start:] = [item for item in self.messages[start:] if item[0] < logging.ERROR]
        return claimed

    def settle(self) -> None:
        """Waits for all that was logged so far, but not twice for a plug-in's own thread that runs on."""
        for thread in set(threading.enumerate()) - self._earlier - {threading.current_thread()}:
            thread.join(_PATIENCE)
            if thread.is_alive():
                self._earlier.add(thread)

    def __enter__(self) -> LogCollector:
        self._earlier = set(threading.enumerate())
        logging.getLogger().addHandler(self)
        return self

    def __exit__(
        self, kind: type[BaseException] | None, value: BaseException | None, trace: TracebackType | None
    ) -> None:
        self.settle()
        logging.getLogger().removeHandler(self)
