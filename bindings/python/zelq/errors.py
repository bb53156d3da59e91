"""What can go wrong, as exceptions."""

from typing import Any, Callable

from . import raw
from ._library import Result


def explain(code: int, function: str = "") -> Result:
    """What a result means; of some, what it means as the result of one function.

    >>> explain(-7).name
    'ZELQ_NO_REPLY'
    """
    rows = [row for row in raw.RESULTS if row.covers(code) and row.function in (None, function)]
    # What a result means for one function alone comes before what it means for all.
    return min(rows, key=lambda row: row.function is None)


class Error(Exception):
    """A call or a motion has failed.

    code      the result: below 0 the library's, above 0 the controller's
    function  the function that gave it
    name      its name, such as "ZELQ_NO_REPLY"
    text      what has happened
    cause     what it likely comes from
    remedy    what to do
    """

    def __init__(self, code: int, function: str, name: str, text: str, cause: str, remedy: str):
        super().__init__(code, function, name, text, cause, remedy)
        self.code = code
        self.function = function
        self.name = name
        self.text = text
        self.cause = cause
        self.remedy = remedy

    def __str__(self) -> str:
        return (f"{self.function} gives {self.code}, {self.name}: {self.text}\n"
                f"Likely causes: {self.cause}\nWhat to do: {self.remedy}")


class MotionError(Error):
    """An axis has not come to its target; `code` tells why (its stopCause), `axis` which."""

    def __init__(self, code: int, function: str, name: str, text: str, cause: str, remedy: str,
                 axis: int = -1):
        super().__init__(code, function, name, text, cause, remedy)
        self.axis = axis
        self.args += (axis,)

    def __str__(self) -> str:
        return (f"axis {self.axis}: {self.text}\n"
                f"Likely causes: {self.cause}\nWhat to do: {self.remedy}")


class WaitTimeout(MotionError, TimeoutError):
    """A motion did not end in the time that was given to it. Its axes have been stopped."""


def check(function: Callable[..., Any], code: int) -> int:
    """Raises an Error unless the result of the function is 0.

    >>> check(raw.zelQ_StopDec, raw.zelQ_StopDec(3, 0))
    """
    if code != 0:
        row = explain(code, function.__name__)
        raise Error(code, function.__name__, row.name, row.text, row.causes, row.remedy)
    return code
