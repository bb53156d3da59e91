"""Motions that have begun, and waiting for their ends."""

import time
from contextlib import closing
from types import TracebackType
from typing import TYPE_CHECKING, Dict, Iterator, Optional, Tuple, Type, TypeVar

from . import raw
from .errors import MotionError, WaitTimeout
from .status import stop_text

if TYPE_CHECKING:
    from .controller import Controller

LOOK_EVERY = 0.004  #: seconds from one look at a moving axis to the next

_Motion = TypeVar("_Motion", bound="Motion")


def run(steps: Iterator[float]) -> None:
    """Goes through steps that tell how many seconds to pause behind each.

    Whatever ends it early, be it Ctrl-C in a pause, ends the steps too, which stop their axes."""
    with closing(steps):  # type: ignore[type-var]
        for pause in steps:
            time.sleep(pause)


def failed(axis: int, servo: "raw.ServoStatus") -> MotionError:
    """Why an axis has not come to its target."""
    what = "has an alarm" if servo.alarm else f"has stopped early: {stop_text(servo.stopCause)}"
    return MotionError(servo.stopCause, "wait", "MOTION_ENDED_EARLY",
                       f"the axis {what}, at {servo.commandPosition:g}",
                       "A stop, a limit switch or software limit, an alarm, the emergency stop or "
                       "a servo that went off.",
                       "Look at the status and the alarms of the axis, remove the cause, and start "
                       "anew.", axis)


class Motion:
    """Axes that have been set in motion. Left by an exception, a wait stops them.

    As a context manager it stops them at the end of the block, which is meant for a jog:

    >>> with axis.jog(0):
    ...     wait_for_the_operator()
    """

    __slots__ = ("axes", "_controller")

    def __init__(self, controller: "Controller", axes: Tuple[int, ...]):
        self.axes = axes
        self._controller = controller

    def __repr__(self) -> str:
        return f"<{type(self).__name__} of axes {', '.join(map(str, self.axes))}>"

    def __enter__(self: _Motion) -> _Motion:
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        if error is None:
            self.stop()
        else:
            self._controller._halt_after_failure(self.axes)

    def stop(self, sudden: bool = False) -> None:
        """Stops the axes and waits until they stand."""
        self._controller._halt(self.axes, sudden)

    def wait(self, timeout: Optional[float] = 60.0) -> None:
        """Waits for the motion's end.

        timeout  seconds; None: however long it takes

        Raises a MotionError when an axis has not come to its target, a WaitTimeout when it takes
        longer, and an Error when the controller does not answer. These, and any other exception
        such as KeyboardInterrupt, stop all axes of the motion first."""
        run(self.steps(timeout))

    def steps(self, timeout: Optional[float]) -> Iterator[float]:
        """The wait, as steps to go through with run()."""
        end = None if timeout is None else time.monotonic() + timeout
        try:
            while not self.done():
                if end is not None and time.monotonic() > end:
                    raise too_long(self.axes, timeout)
                yield LOOK_EVERY
        except BaseException:
            self._controller._halt_after_failure(self.axes)
            raise

    def done(self) -> bool:
        """Whether the motion has ended; raises a MotionError where an axis ended it too early."""
        status = self._controller.record()
        moving = False
        for axis in self.axes:
            servo = status.servo[axis]
            if servo.inMotion:
                moving = True
            elif not self.has_arrived(servo):
                raise failed(axis, servo)
        if not moving:
            self._controller._moving.difference_update(self.axes)
        return not moving

    def has_arrived(self, servo: "raw.ServoStatus") -> bool:
        return not servo.alarm and servo.stopCause == 0


class Homing(Motion):
    """A homing run: its axes have arrived when they have found their homes."""

    __slots__ = ()

    def has_arrived(self, servo: "raw.ServoStatus") -> bool:
        return not servo.alarm and bool(servo.homeDone)


def too_long(axes: Tuple[int, ...], timeout: Optional[float]) -> WaitTimeout:
    return WaitTimeout(0, "wait", "WAIT_TIMEOUT", f"the motion has not ended within {timeout} s",
                       "The time is too short for the way and the speed; the axis waits for "
                       "something.", "Give more time, or look why the axis takes so long.", axes[0])


Seen = Dict[int, Tuple[bool, int]]


def ended_early(seen: Seen, status: "raw.ControllerStatus") -> Iterator[int]:
    """Axes with an alarm, or that have ended a motion elsewhere than at its target; keeps in `seen`
    of each axis whether it was moving and why it last ended."""
    for axis, (was_moving, old_cause) in seen.items():
        servo = status.servo[axis]
        seen[axis] = (bool(servo.inMotion), servo.stopCause)
        ended = not servo.inMotion and (was_moving or servo.stopCause != old_cause)
        if servo.alarm or (ended and servo.stopCause != 0):
            yield axis
