"""Finds and loads the library, and makes its functions callable."""

import ctypes
import ctypes.util
import os
import pathlib
import sys
from operator import index
from typing import Any, Callable, List, NamedTuple, Optional, Type


class Result(NamedTuple):
    """What a result means, or a range of them."""

    function: Optional[str]  #: the one function whose result this is; None: any function's
    first: int
    last: int
    name: str
    text: str
    causes: str
    remedy: str

    def covers(self, code: int) -> bool:
        return min(self.first, self.last) <= code <= max(self.first, self.last)


def candidates() -> List[str]:
    """Where the library may be: what ZELQ_LIBRARY names, beside the package, then the system's."""
    named = os.environ.get("ZELQ_LIBRARY")
    if named:
        return [named]
    file = "zelq.dll" if sys.platform == "win32" else "libzelq.so.1"
    beside = pathlib.Path(__file__).with_name(file)
    return ([str(beside)] if beside.exists() else []) + [file]


def load() -> ctypes.CDLL:
    failures = []
    for name in candidates():
        try:
            # The plain C calling convention on all systems; other threads run during a call.
            return ctypes.CDLL(name)
        except OSError as error:
            failures.append(f"{name}: {error}")
    raise ImportError("the library of zelq was not found; let the environment variable "
                      "ZELQ_LIBRARY name its file (" + "; ".join(failures) + ")")


LIBRARY = load()


class Record(ctypes.Structure):
    """A record of the library; tells its fields."""

    def __repr__(self) -> str:
        told = []
        for field in self._fields_:
            value = getattr(self, field[0])
            told.append(f"{field[0]}={value[:] if isinstance(value, ctypes.Array) else value}")
        return f"{type(self).__name__}({', '.join(told)})"


def checked(name: str, low: int, high: int) -> Any:
    """An argument type: ctypes itself would cut a number down to what fits, axis 65536 to axis 0.

    It gives a plain number, which travels as an int does: so do all that are narrower, and an
    object less is made in each call."""

    class Checked:
        @staticmethod
        def from_param(value: Any) -> Any:
            if low <= value <= high:
                return index(value)
            raise OverflowError(f"{value} is no {name} ({low}..{high})")

    Checked.__name__ = Checked.__qualname__ = name
    return Checked


UBYTE = checked("unsigned char", 0, 255)
SHORT = checked("short", -32768, 32767)
USHORT = checked("unsigned short", 0, 65535)
INT = checked("int", -2**31, 2**31 - 1)
UINT = checked("unsigned int", 0, 2**32 - 1)


def function(documentation: str, name: str, result: Optional[Type[Any]],
             *arguments: Any) -> Callable[..., Any]:
    """A function of the library."""
    found = LIBRARY[name]
    found.restype = result
    found.argtypes = arguments
    found.__doc__ = documentation
    return found
