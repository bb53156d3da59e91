"""A controller on the network."""

import time
import warnings
from ctypes import c_double, c_short, c_ushort
from types import TracebackType
from typing import (TYPE_CHECKING, Any, Callable, Iterable, List, Mapping, Optional, Set, Tuple,
                    Type, TypeVar)

from . import raw
from .axis import Axis
from .errors import Error, check
from .motion import LOOK_EVERY, Motion
from .path import Path
from .status import ControllerStatus

if TYPE_CHECKING:
    import numpy

AXES = 32
LONGEST_BRAKING = 10.0  # seconds
AT_ONCE, WITH_DECELERATION = 0, 1

_Motion = TypeVar("_Motion", bound=Motion)


def _octets(network: str) -> List[int]:
    octets = [int(part) if part.isdigit() else -1 for part in network.split(".")]
    if len(octets) != 3 or not all(0 <= octet <= 255 for octet in octets):
        raise ValueError(f"{network!r} is not the first three octets of an address")
    return octets


class Controller:
    """A connection to a controller.

    network      the first three octets of its address, such as "192.168.0"
    number       1..254, also the last octet
    port         TCP port
    connect_ms, send_ms, receive_ms
                 time-outs in milliseconds; None: as the library has them

    >>> with zelq.Controller("192.168.0", 3) as press:
    ...     press.axis(0).units(0.001).move_to(120.0).wait()

    When an exception leaves the block, the axes that were set in motion by this object are stopped.
    Any thread may use it. Two objects for the same number share one connection: closing one closes
    it for both.
    """

    def __init__(self, network: str, number: int, *, port: int = 502,
                 connect_ms: Optional[int] = None, send_ms: Optional[int] = None,
                 receive_ms: Optional[int] = None):
        self.number = number
        self.network = network
        self._moving: Set[int] = set()
        octets = _octets(network)
        self.call(raw.zelQ_SetNetPortNum, port)
        self.call(raw.zelQ_Connect, *octets)
        times = (c_ushort(), c_ushort(), c_ushort())
        self.call(raw.zelQ_TMOGet, *times)
        wanted = (connect_ms, send_ms, receive_ms)
        self.call(raw.zelQ_TMOSet, *(was.value if new is None else new
                                     for was, new in zip(times, wanted)))

    def __repr__(self) -> str:
        return f"<Controller {self.number} at {self.network}.{self.number}>"

    def __enter__(self) -> "Controller":
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        if error is not None and self._moving:
            self._halt_after_failure(tuple(sorted(self._moving)))
        self.close()

    def close(self) -> None:
        """Closes the connection. Units and settings stay for the next one. Moves go on."""
        raw.zelQ_Disconnect(self.number)

    def call(self, function: Callable[..., int], *arguments: Any) -> None:
        """Calls any function of zelq.raw for this controller; an Error unless it succeeds.

        >>> press.call(raw.zelQ_MDOSetPin, 0, 1)"""
        code = function(self.number, *arguments)
        if code:
            check(function, code)

    def axis(self, number: int) -> Axis:
        """Axis 0..31."""
        if not 0 <= number < AXES:
            raise ValueError(f"axis {number} is outside 0..{AXES - 1}")
        return Axis(self, number)

    def axes(self) -> List[Axis]:
        """The servo axes that there are."""
        record = self.record()
        return [Axis(self, number) for number in record.servoAxes[:record.servoCount]]

    def status(self) -> ControllerStatus:
        """The state of all axes, inputs and outputs, read in one exchange."""
        return ControllerStatus.of(self.record())

    def record(self) -> "raw.ControllerStatus":
        """The same as the library's own record."""
        record = raw.ControllerStatus()
        self.call(raw.zelQ_GetAllStatus, record)
        return record

    def status_array(self) -> "numpy.ndarray[Any, Any]":
        """The state of all servo axes as a structured array of NumPy, one row an axis, in one copy;
        its fields are those of raw.ServoStatus.

        >>> press.status_array()["encoderPosition"]"""
        import numpy  # pylint: disable=import-outside-toplevel

        record = self.record()
        all_axes = numpy.frombuffer(memoryview(record), numpy.dtype(raw.ServoStatus), AXES,
                                    raw.ControllerStatus.servo.offset)  # type: ignore[attr-defined]
        servos: "numpy.ndarray[Any, Any]" = all_axes[record.servoAxes[:record.servoCount]]
        return servos

    def move_to(self, targets: Mapping[int, float]) -> Motion:
        """Starts moves of several axes at once: positions by axis, in user units."""
        return self._move(raw.zelQ_mMoveAbs, targets)

    def move_by(self, distances: Mapping[int, float]) -> Motion:
        """Starts moves of several axes at once: distances by axis, in user units. When the reply is
        lost, the library sends the command again, and the axes may go the distances twice."""
        return self._move(raw.zelQ_mMoveRel, distances)

    def _move(self, function: Callable[..., int], values: Mapping[int, float]) -> Motion:
        axes = tuple(self.axis(number).number for number in values)
        count = len(axes)
        return self._start(Motion, axes, function, count, (c_short * count)(*axes),
                           (c_double * count)(*values.values()))

    def _start(self, kind: Type[_Motion], axes: Tuple[int, ...], function: Callable[..., int],
               *arguments: Any) -> _Motion:
        # Before the call: one that fails may have been executed all the same.
        self._moving.update(axes)
        code = function(self.number, *arguments)
        if code:
            check(function, code)
        return kind(self, axes)

    def path(self, *axes: int, speed: float, acc: float, dec: Optional[float] = None,
             map_index: int = 0, relative: bool = False) -> Path:
        """A continuous path for these axes, still empty.

        speed      along the path, user units of the first axis per second
        acc, dec   user units per second squared; dec None: as acc
        map_index  the interpolation map to use, 0..15
        relative   coordinates are distances from where a piece begins"""
        return Path(self, axes, speed, acc, dec, map_index, relative)

    def stop(self, *axes: int, sudden: bool = False) -> None:
        """Stops these axes, or all where none is named, and waits until they stand."""
        self._halt(axes or (axis.number for axis in self.axes()), sudden)

    def set_main_output(self, pin: int, on: bool) -> None:
        """Sets output 0..7 of the main board."""
        self.call(raw.zelQ_MDOSetPin, pin, int(on))

    def set_output(self, slave: int, pin: int, on: bool) -> None:
        """Sets pin 0..31 of an output slave."""
        self.call(raw.zelQ_RDOSetPin, slave, pin, int(on))

    def _halt(self, axes: Iterable[int], sudden: bool = False) -> None:
        numbers = tuple(axes)
        if not numbers:
            return
        self.call(raw.zelQ_mStop, len(numbers), (c_ushort * len(numbers))(*numbers),
                  AT_ONCE if sudden else WITH_DECELERATION)
        end = time.monotonic() + LONGEST_BRAKING
        while time.monotonic() < end:
            record = self.record()
            if not any(record.servo[axis].inMotion for axis in numbers):
                self._moving.difference_update(numbers)
                return
            time.sleep(LOOK_EVERY)

    def _halt_after_failure(self, axes: Iterable[int]) -> None:
        """The exception that is on its way stays the one that is told."""
        numbers = tuple(axes)
        try:
            self._halt(numbers)
        except Error as error:
            warnings.warn(f"axes {numbers} could not be stopped: {error}", RuntimeWarning,
                          stacklevel=3)
