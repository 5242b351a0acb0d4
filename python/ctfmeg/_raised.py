"""What is raised in Python functions that the library calls, from where it can't go through the library."""

from __future__ import annotations

import sys
import threading
from collections.abc import Callable
from typing import Any

Hook = Callable[["sys.UnraisableHookArgs"], Any]


class Raised(threading.local):
    """What is raised once the library's call is over.

    Attributes
    ----------
    interrupt : BaseException or None
        What interrupted this thread, such as KeyboardInterrupt.
    failures : dict
        Of all threads, those of the library too, by the file that could not be read: what an error of the
        library was caused by.
    """

    interrupt: BaseException | None = None
    failures: dict[str, BaseException] = {}

    def keep(self, file: str, failure: BaseException) -> None:
        """Keeps a failure, and only the last few: of some the library makes a warning, or nothing."""
        for oldest in list(self.failures)[:-15]:
            self.failures.pop(oldest, None)
        self.failures[file] = failure

    def take_interrupt(self) -> BaseException | None:
        """What interrupted this thread, once."""
        interrupt, self.interrupt = self.interrupt, None
        return interrupt


raised = Raised()


def catch_interrupts() -> Hook | None:
    """Keeps an interrupt that comes at the very beginning of a function, before any `try`: Python passes it
    to a hook and goes on. Returns the hook to put back; None on threads that are never interrupted."""
    if threading.current_thread() is not threading.main_thread():
        return None
    before = sys.unraisablehook

    def keep(unraisable: sys.UnraisableHookArgs) -> None:
        if issubclass(unraisable.exc_type, KeyboardInterrupt) and "ctypes" in (unraisable.err_msg or ""):
            raised.interrupt = unraisable.exc_value
        else:
            before(unraisable)

    sys.unraisablehook = keep
    return before
