"""What goes wrong; the text names the file and the remedy."""

from . import _library


class Error(Exception):
    """Anything of this module."""


class BadFileError(Error, OSError):
    """A screenshot is missing, may not be read, is damaged, or is no image of a known format."""


class NoMatchError(Error):
    """The screenshots do not show the same rows, or not all of them where all were asked for."""


class NotWrittenError(Error, OSError):
    """The picture could not be written; nothing is left of it."""


class CancelledError(Error):
    """By `Run.cancel`, or because a progress callback answered False."""


_KINDS = {
    _library.WRONG_CALL: ValueError,
    _library.BAD_FILE: BadFileError,
    _library.NO_MATCH: NoMatchError,
    _library.NOT_WRITTEN: NotWrittenError,
    _library.NO_MEMORY: MemoryError,
    _library.CANCELLED: CancelledError,
}


def error_of(status: int, text: str) -> Exception:
    return _KINDS.get(status, Error)(text)
