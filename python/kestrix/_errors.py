"""Errors and warnings of the libraries, as Python has them."""

from __future__ import annotations

import os
import sys
import warnings
from dataclasses import dataclass
from typing import List, Optional, Sequence

_PACKAGE = os.path.dirname(__file__)


@dataclass(frozen=True)
class Message:
    """One thing that the libraries had to say.

    `file`, `line` and `column` (both from 1) say where in a file it was found, None where that is
    not known. `code` is the name of the fact for programs, such as "body-id-range"; it never
    changes, and is None where there is none. `count` says how often it was said.
    """

    text: str
    is_error: bool = True
    code: Optional[str] = None
    file: Optional[str] = None
    line: Optional[int] = None
    column: Optional[int] = None
    count: int = 1

    def __str__(self) -> str:
        place = ":".join(str(part) for part in (self.file, self.line, self.column) if part)
        times = f" ({self.count} times)" if self.count > 1 else ""
        return f"{place}: {self.text}{times}" if place else f"{self.text}{times}"


class Error(Exception):
    """Something failed. `messages` has what failed first and its reasons behind, as the programs
    print them; its text is all of them, a line each."""

    def __init__(self, messages: Sequence[Message]) -> None:
        super().__init__(list(messages))
        self.messages: List[Message] = list(messages)

    def __str__(self) -> str:
        return "\n  ".join(str(message) for message in self.messages)


class KestrixWarning(UserWarning):
    """What did not go over, or looks wrong. `message` has code and place."""

    def __init__(self, message: Message) -> None:
        super().__init__(message)
        self.message = message

    def __str__(self) -> str:
        return str(self.message)


def warn(messages: Sequence[Message]) -> None:
    """Gives warnings to `warnings`, as those of the first caller outside of this package."""
    level = 2
    frame = sys._getframe(1)
    while frame.f_back is not None and os.path.dirname(frame.f_code.co_filename) == _PACKAGE:
        frame = frame.f_back
        level += 1
    for message in messages:
        warnings.warn(KestrixWarning(message), stacklevel=level)
