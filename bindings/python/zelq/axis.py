"""One axis of a controller."""

from contextlib import contextmanager
from ctypes import c_ushort
from typing import TYPE_CHECKING, Iterator, List

from . import raw
from .errors import check
from .motion import Homing, Motion
from .status import Alarm, AxisStatus

if TYPE_CHECKING:
    from .controller import Controller

ALARM_ENTRIES = 15


class Axis:
    """One axis of a controller; Controller.axis() gives it.

    Positions are in the user units that units() sets, pulses at first; the library cuts a position
    down to whole pulses."""

    def __init__(self, controller: "Controller", number: int):
        self.number = number
        self._controller = controller
        self._alone = (number,)

    def __repr__(self) -> str:
        return f"<Axis {self.number} of {self._controller!r}>"

    def units(self, per_pulse: float) -> "Axis":
        """Sets how many user units a pulse is, such as 0.001 mm."""
        self._controller.call(raw.zelQ_UnitPerPulseSet, self.number, per_pulse)
        return self

    def speed(self, drive: float, acc: float, dec: float = 0.0, start: float = 0.0,
              profile: int = 0) -> "Axis":
        """Sets the speed profile of moves and jogs.

        drive    speed, user units per second
        acc      acceleration, user units per second squared
        dec      deceleration, likewise; 0: as acc
        start    speed to start with
        profile  shape, the controller's code (0: trapezoid)"""
        self._controller.call(raw.zelQ_SpeedSet, self.number, profile, start, acc, drive,
                              dec or acc)
        return self

    def on(self) -> "Axis":
        """Switches the servo on."""
        self._controller.call(raw.zelQ_ServoOn, self.number, 1)
        return self

    def off(self) -> "Axis":
        """Switches the servo off."""
        self._controller.call(raw.zelQ_ServoOn, self.number, 0)
        return self

    @contextmanager
    def powered(self) -> Iterator["Axis"]:
        """Switches the servo on for a block, and off behind it.

        An exception that leaves the block stops the axis first."""
        self.on()
        try:
            yield self
        except BaseException:
            self._controller._halt_after_failure(self._alone)
            raise
        finally:
            self.off()

    def move_to(self, position: float) -> Motion:
        """Starts a move to a position, in user units."""
        # As Controller._start, without its detours: programs make this call most of all.
        controller, number = self._controller, self.number
        controller._moving.add(number)
        code = raw.zelQ_MoveAbs(controller.number, number, position)
        if code:
            check(raw.zelQ_MoveAbs, code)
        return Motion(controller, self._alone)

    def move_by(self, distance: float) -> Motion:
        """Starts a move by a distance, in user units. When the reply is lost, the library sends the
        command again, and the axis may go the distance twice."""
        return self._controller._start(Motion, self._alone, raw.zelQ_MoveRel, self.number, distance)

    def jog(self, direction: int) -> Motion:
        """Starts a motion without an end; which of 0 and 1 is positive is the controller's setting.
        Use it in a with statement, or stop() what it gives."""
        return self._controller._start(Motion, self._alone, raw.zelQ_MoveVel, self.number,
                                       direction)

    def home(self, direction: int = 1, speed: float = 0.0, position: float = 0.0) -> Homing:
        """Starts a homing run to the home sensor.

        direction  0 or 1; which of them is positive is the controller's setting
        speed      of the fast search, user units per second; the others follow from it. 0: those
                   that the controller has
        position   what the place of the sensor's edge is called"""
        if speed:
            self._controller.call(raw.zelQ_HomeSetDriveSpeed, self.number, 0, speed, speed / 4,
                                  speed / 10, speed)
        return self._controller._start(Homing, self._alone, raw.zelQ_HomeMoveHome, self.number,
                                       direction, 0, 2, 0, 0, position)

    def stop(self, sudden: bool = False) -> None:
        """Stops the axis and waits until it stands; sudden: without its deceleration."""
        self._controller._halt(self._alone, sudden)

    def status(self) -> AxisStatus:
        """The state of the axis. emergency_stop and the three raw values are those of
        Controller.status() alone."""
        record = raw.ServoStatus()
        self._controller.call(raw.zelQ_GetServoStatus, self.number, record)
        return AxisStatus.of(record)

    @property
    def position(self) -> float:
        """Where the motor is, in user units."""
        return self.status().encoder_position

    def alarms(self) -> List[Alarm]:
        """The drive's list of alarms, the latest one first."""
        entries: List[Alarm] = []
        for entry in range(ALARM_ENTRIES):
            words = (c_ushort(), c_ushort(), c_ushort())
            self._controller.call(raw.zelQ_AlarmListGet, self.number, entry, *words)
            if words[0].value == 0:
                break
            entries.append(Alarm(*(word.value for word in words)))
        return entries

    def reset_alarm(self) -> "Axis":
        """Asks the drive to reset its alarm. The servo stays off."""
        self._controller.call(raw.zelQ_AlarmResetReq, self.number)
        return self
