"""Why there is no table."""

from __future__ import annotations

import errno
import os

TYPE_CHECKING = False  # as typing has it, which takes longer to import than all else here
if TYPE_CHECKING:
    from typing import Any


class Error(ValueError):
    """Why a file could not be read; the text is the whole sentence, with what to try.

    Attributes:
        code: what went wrong, for programs: "bad-file", "unknown-option", "needs-password" ...
        format: the name of the file's format; empty where it isn't known.
        file: the path as it was given.
        place: where in the file, as far as it is known: a dictionary of "line", "record", "byte", "cell".
        option: the argument that was wrong, if one was.
        advice: what to try; may be empty.
    """

    code: str = ""
    format: str = ""
    file: str = ""
    place: dict[str, Any]
    option: str = ""
    advice: str = ""

    def __str__(self) -> str:
        return str(self.args[0]) if self.args else ""

    def __reduce__(self) -> tuple[Any, ...]:
        # Errors travel between processes with all that they know.
        return _restore, (type(self), self.args, self.__dict__.copy())


class MissingFileError(Error, FileNotFoundError):
    """There is no such file: an `Error` and a `FileNotFoundError`."""


class AccessError(Error, PermissionError):
    """The file may not be read: an `Error` and a `PermissionError`."""


_CLASSES: dict[str, tuple[type[Error], int]] = {
    "not-found": (MissingFileError, errno.ENOENT),
    "no-permission": (AccessError, errno.EACCES),
}


def _restore(kind: type[Error], args: tuple[Any, ...], known: dict[str, Any]) -> Error:
    error = kind(*args)
    error.__dict__.update(known)
    if isinstance(error, OSError):
        error.errno = _CLASSES[error.code][1]
        error.filename = error.file
    return error


def make_error(
    code: str,
    file: bytes,
    format: str,
    option: str,
    text: str,
    advice: str,
    place: dict[str, Any],
    sentence: str,
) -> Error:
    """The exception for a failure of the library."""
    kind = _CLASSES.get(code, (Error, 0))[0]
    known = {
        "code": code,
        "file": os.fsdecode(file),
        "format": format,
        "option": option,
        "advice": advice,
        "place": place,
    }
    return _restore(kind, (sentence,), known)
