"""Joins overlapping screenshots of one scrolled page into one tall picture, exact to the row.

    import velmorant
    picture = velmorant.stitch(["1.png", "2.png", "3.png"])     # a numpy array

Screenshots are paths of image files, or arrays of uint8: (height, width) grey, (height, width, 3) RGB or
(height, width, 4) RGBA with colours not multiplied by alpha. All sizes and rows are in pixels; row 0 is the top edge.
"""

from . import _library
from ._errors import BadFileError, CancelledError, Error, NoMatchError, NotWrittenError
from ._run import Alignment, Position, Progress, Run, Screenshot, Seam, explain, stitch

__version__: str = _library.library.velmorant_version().decode()

__all__ = [
    "Alignment",
    "BadFileError",
    "CancelledError",
    "Error",
    "NoMatchError",
    "NotWrittenError",
    "Position",
    "Progress",
    "Run",
    "Screenshot",
    "Seam",
    "explain",
    "stitch",
]
