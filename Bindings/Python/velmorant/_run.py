"""Runs of screenshots, and what is found of them."""

from __future__ import annotations

import ctypes
import os
from collections.abc import Callable, Iterable
from dataclasses import dataclass
from typing import Any, Optional, Union

import numpy
from numpy.typing import NDArray

from . import _library
from ._errors import NoMatchError, error_of
from ._library import library

Pixels = NDArray[numpy.uint8]
Screenshot = Union[str, "os.PathLike[str]", Pixels]
Progress = Callable[[int, int], Optional[bool]]
"""Hears how many steps of how many are done, on the calling thread, several times a second; False cancels."""

Band = Callable[[int, Pixels], Optional[bool]]
"""Takes the row at which a band begins, and its pixels, valid during the call; False cancels."""


@dataclass(frozen=True)
class Position:
    """Where a screenshot lies in the picture."""

    screenshot: int  #: its number, from 0 in the order in which it was added
    top: int  #: the picture's row of its top edge
    fade: range  #: its own rows over which it fades in over the one above


@dataclass(frozen=True)
class Seam:
    """What was found of screenshots `first` and `first` + 1, whether they match or not."""

    first: int  #: its number, from 0 in the order in which it was added
    valid: bool  #: they belong together at exactly this offset
    offset: Optional[int]  #: rows from the top of the first to the top of the second; negative: it lies above
    confidence: float  #: 0 to 1
    verdict: str  #: a word for programs
    reason: str  #: a sentence for people


@dataclass(frozen=True)
class Alignment:
    width: int
    height: int
    positions: tuple[Position, ...]  #: from the top down
    left_out: tuple[int, ...]  #: screenshots that have no place
    seams: tuple[Seam, ...]


class Run:
    """Screenshots of one page, in the order in which they were taken. One thread at a time, but for `cancel`; the
    interpreter's other threads run on during its calls."""

    def __init__(self, screenshots: Iterable[Screenshot] = ()) -> None:
        self._handle = library.velmorant_run_new()
        if not self._handle:
            raise MemoryError
        self._alignment: Optional[Alignment] = None
        for screenshot in screenshots:
            self.add(screenshot)

    def __del__(self) -> None:
        if getattr(self, "_handle", None):
            library.velmorant_run_free(self._handle)

    def __len__(self) -> int:
        return library.velmorant_run_count(self._handle)

    def add(self, screenshot: Screenshot) -> None:
        """Arrays are copied; files are read when they are needed, so they have to stay."""
        if isinstance(screenshot, (str, os.PathLike)):
            self._check(library.velmorant_run_add_file(self._handle, os.fsencode(screenshot)))
        else:
            self._add_pixels(numpy.asarray(screenshot))
        self._alignment = None

    def align(self, progress: Optional[Progress] = None) -> Alignment:
        """Finds where the screenshots overlap, and places the longest row of them that match. Raises NoMatchError
        where no two do; `seams` then tells why."""
        self._alignment = None
        with _Callback(_library.Progress, progress) as callback:
            status = library.velmorant_run_align(self._handle, callback.function, None)
        self._check(status)
        positions = tuple(self._position(k) for k in range(library.velmorant_run_placed(self._handle)))
        placed = {position.screenshot for position in positions}
        width, height = ctypes.c_int64(), ctypes.c_int64()
        self._check(library.velmorant_run_size(self._handle, width, height))
        left_out = tuple(k for k in range(len(self)) if k not in placed)
        self._alignment = Alignment(width.value, height.value, positions, left_out, self.seams)
        return self._alignment

    @property
    def seams(self) -> tuple[Seam, ...]:
        """After `align`, whether it raised NoMatchError or not: one for every two neighbours."""
        return tuple(self._seam(k) for k in range(max(0, len(self) - 1)))

    def render(self) -> Pixels:
        """The picture: (height, width, 3), or (height, width, 4) where it is not opaque. Aligns first where that was
        not done yet."""
        alignment = self._aligned()
        picture: Pixels = numpy.empty((alignment.height, alignment.width, self._channels()), numpy.uint8)

        def take(row: int, rows: Pixels) -> None:
            picture[row : row + len(rows)] = rows

        self.render_bands(take)
        return picture

    def render_bands(self, band: Band) -> None:
        """The same from the top down, a band at a time, in memory that does not grow with the height."""
        alignment = self._aligned()
        channels = self._channels()

        def take(rows: Any, stride: int, row: int, count: int) -> Optional[bool]:
            lines = numpy.ctypeslib.as_array(rows, (count, stride))[:, : alignment.width * channels]
            return band(row, lines.reshape(count, alignment.width, channels))

        with _Callback(_library.Band, take) as callback:
            status = library.velmorant_run_render(self._handle, channels, callback.function, None)
        self._check(status)

    def save(self, path: Union[str, "os.PathLike[str]"], quality: int = 92, progress: Optional[Progress] = None) -> None:
        """Writes the picture, by the ending of `path` as PNG, JPEG or WebP, or as AVIF, JPEG XL or PDF where the program
        velmorant-codecs is installed. The file is there whole or not at all; one of that name is replaced."""
        self._aligned()
        with _Callback(_library.Progress, progress) as callback:
            status = library.velmorant_run_write(self._handle, os.fsencode(path), quality, callback.function, None)
        self._check(status)

    @property
    def profile(self) -> Optional[bytes]:
        """The ICC profile that the picture's values are in; None for sRGB."""
        self._aligned()
        data, size = ctypes.POINTER(ctypes.c_uint8)(), ctypes.c_size_t()
        self._check(library.velmorant_run_format(self._handle, None, data, size))
        return ctypes.string_at(data, size.value) if size.value else None

    def cancel(self) -> None:
        """From any thread: the call under way raises CancelledError soon."""
        library.velmorant_run_cancel(self._handle)

    def _aligned(self) -> Alignment:
        return self._alignment or self.align()

    def _channels(self) -> int:
        opaque = ctypes.c_int()
        self._check(library.velmorant_run_format(self._handle, opaque, None, None))
        return _library.RGB8 if opaque.value else _library.RGBA8

    def _add_pixels(self, pixels: NDArray[Any]) -> None:
        channels = 1 if pixels.ndim == 2 else pixels.shape[-1]
        if pixels.dtype != numpy.uint8 or pixels.ndim not in (2, 3) or channels not in (1, 3, 4):
            raise ValueError(
                f"an array of {pixels.dtype} of shape {pixels.shape} is no screenshot; "
                "give uint8 of (height, width), (height, width, 3) or (height, width, 4)"
            )
        pixels = numpy.ascontiguousarray(pixels)
        height, width = pixels.shape[:2]
        self._check(
            library.velmorant_run_add_pixels(
                self._handle, channels, pixels.ctypes.data, width * channels, width, height
            )
        )

    def _position(self, index: int) -> Position:
        position = _library.Position()
        self._check(library.velmorant_run_position(self._handle, index, position))
        return Position(position.screenshot, position.top, range(position.fade_start, position.fade_end))

    def _seam(self, index: int) -> Seam:
        seam = _library.Seam()
        self._check(library.velmorant_run_seam(self._handle, index, seam))
        valid = bool(seam.valid)
        return Seam(
            index, valid, seam.offset if valid else None, seam.confidence, seam.verdict.decode(), seam.reason.decode()
        )

    def _check(self, status: int) -> None:
        if status != _library.OK:
            raise error_of(status, os.fsdecode(library.velmorant_run_error(self._handle)))


class _Callback:
    """Hands a Python function to C for the time of a `with`. An exception of it, Ctrl-C's too, cancels the call and
    goes on from there."""

    def __init__(self, kind: Any, function: Optional[Callable[..., Optional[bool]]]) -> None:
        self._callee = function
        self._raised: Optional[BaseException] = None
        # Without a function C calls all the same, so that Ctrl-C comes through.
        self.function = kind(self._call)

    def __enter__(self) -> _Callback:
        return self

    def __exit__(self, *exception: object) -> None:
        if self._raised is not None:
            raise self._raised

    def _call(self, _context: Any, *arguments: Any) -> int:
        try:
            return 1 if self._callee is not None and self._callee(*arguments) is False else 0
        except BaseException as raised:  # noqa: B036: it is raised again
            self._raised = raised
            return 1


def stitch(
    screenshots: Iterable[Screenshot], *, strict: bool = True, progress: Optional[Progress] = None
) -> Pixels:
    """The picture of screenshots in the order in which they were taken. Raises NoMatchError where one of them would be
    left out, or with `strict=False` only where no two match."""
    run = Run(screenshots)
    alignment = run.align(progress)
    if strict and alignment.left_out:
        out = set(alignment.left_out)
        broken = next(seam for seam in alignment.seams if (seam.first in out) != (seam.first + 1 in out))
        reason = "they match, but the other way round than the rest" if broken.valid else broken.reason
        raise NoMatchError(
            f"screenshots {list(alignment.left_out)} would be left out; {broken.first} and {broken.first + 1}: {reason}"
        )
    return run.render()


def explain(screenshots: Iterable[Screenshot]) -> tuple[Seam, ...]:
    """Why every two neighbours match or do not."""
    run = Run(screenshots)
    try:
        return run.align().seams
    except NoMatchError:
        return run.seams
