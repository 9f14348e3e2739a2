"""The C interface, as velmorant.h declares it, and nothing more. ctypes lets go of the interpreter's lock while a
function runs, and takes it again for callbacks."""

import ctypes
import os
import pathlib
from ctypes import POINTER, c_char_p, c_double, c_int, c_int64, c_size_t, c_uint8, c_void_p


class Position(ctypes.Structure):
    _fields_ = [("screenshot", c_size_t), ("top", c_int64), ("fade_start", c_int64), ("fade_end", c_int64)]


class Seam(ctypes.Structure):
    _fields_ = [
        ("valid", c_int),
        ("offset", c_int64),
        ("confidence", c_double),
        ("verdict", c_char_p),
        ("reason", c_char_p),
    ]


Progress = ctypes.CFUNCTYPE(c_int, c_void_p, c_int64, c_int64)
Band = ctypes.CFUNCTYPE(c_int, c_void_p, POINTER(c_uint8), c_size_t, c_int64, c_int64)

OK, WRONG_CALL, BAD_FILE, NO_MATCH, NOT_WRITTEN, NO_MEMORY, CANCELLED, FAILED = range(8)
GRAY8, RGB8, RGBA8 = 1, 3, 4

_FUNCTIONS = {
    "velmorant_version": (c_char_p, []),
    "velmorant_run_new": (c_void_p, []),
    "velmorant_run_free": (None, [c_void_p]),
    "velmorant_run_error": (c_char_p, [c_void_p]),
    "velmorant_run_add_file": (c_int, [c_void_p, c_char_p]),
    "velmorant_run_add_pixels": (c_int, [c_void_p, c_int, c_void_p, c_size_t, c_int64, c_int64]),
    "velmorant_run_count": (c_size_t, [c_void_p]),
    "velmorant_run_align": (c_int, [c_void_p, Progress, c_void_p]),
    "velmorant_run_seam": (c_int, [c_void_p, c_size_t, POINTER(Seam)]),
    "velmorant_run_size": (c_int, [c_void_p, POINTER(c_int64), POINTER(c_int64)]),
    "velmorant_run_placed": (c_size_t, [c_void_p]),
    "velmorant_run_position": (c_int, [c_void_p, c_size_t, POINTER(Position)]),
    "velmorant_run_format": (c_int, [c_void_p, POINTER(c_int), POINTER(POINTER(c_uint8)), POINTER(c_size_t)]),
    "velmorant_run_render": (c_int, [c_void_p, c_int, Band, c_void_p]),
    "velmorant_run_write": (c_int, [c_void_p, c_char_p, c_int, Progress, c_void_p]),
    "velmorant_run_cancel": (None, [c_void_p]),
}


def _load() -> ctypes.CDLL:
    """VELMORANT_LIBRARY, else the library that came with the module (a wheel's), else the system's."""
    beside = pathlib.Path(__file__).with_name("libvelmorant.so.0")
    named = os.environ.get("VELMORANT_LIBRARY")
    library = ctypes.CDLL(named or (str(beside) if beside.exists() else "libvelmorant.so.0"))
    for name, (result, arguments) in _FUNCTIONS.items():
        function = getattr(library, name)
        function.restype, function.argtypes = result, arguments
    return library


library = _load()
