"""The state of axes and controllers."""

import re
from dataclasses import dataclass, fields
from typing import Any, Dict, Tuple, Type, TypeVar

from . import raw

ABSENT = 0xFFFF

_Status = TypeVar("_Status")


def _camel(name: str) -> str:
    return re.sub(r"_(\w)", lambda match: match[1].upper(), name)


def _from_record(kind: Type[_Status], record: Any) -> _Status:
    """Each field of the dataclass from that of the record with its name, in its type."""
    values = {}
    for field in fields(kind):
        convert = {bool: bool, int: int, float: float}[field.type]
        values[field.name] = convert(getattr(record, _camel(field.name)))
    return kind(**values)


@dataclass(frozen=True)
class AxisStatus:
    """State of one servo axis; positions and speeds are in its user units."""

    axis: int
    servo_on: bool  #: the motor is powered
    servo_ready: bool  #: the drive could be switched on
    alarm: bool
    warning: bool
    emergency_stop: bool  #: the drive's configurable input, where it serves as emergency stop
    in_motion: bool
    in_position: bool
    homing: bool
    home_done: bool
    home_sensor: bool
    limit_positive: bool
    limit_negative: bool
    soft_limit: bool
    torque_limited: bool
    aux_input: bool  #: the drive's configurable input, where it is no emergency stop
    output1: bool
    output2: bool
    motion_kind: int  #: what the axis is doing, 0: nothing
    stop_cause: int  #: why the last motion ended, 0: at its target
    command_position: float  #: user units
    encoder_position: float  #: user units
    velocity: float  #: user units per second
    following_error: float  #: commanded less actual position, user units
    torque: float  #: percent of the rated torque
    raw_velocity: int  #: pulses per second
    raw_torque: int  #: 0.1 percent
    raw_following_error: int  #: pulses

    @classmethod
    def of(cls, record: "raw.ServoStatus") -> "AxisStatus":
        return _from_record(cls, record)


@dataclass(frozen=True)
class ControllerStatus:
    """State of a whole controller, of one moment."""

    axes: Dict[int, AxisStatus]  #: by axis number
    inputs: Dict[int, Tuple[bool, ...]]  #: the 32 pins of each input slave, by slave number
    outputs: Dict[int, Tuple[bool, ...]]  #: the 32 pins of each output slave, by slave number
    main_inputs: Tuple[bool, ...]  #: the 8 inputs of the main board
    main_outputs: Tuple[bool, ...]  #: the 8 outputs of the main board

    @classmethod
    def of(cls, record: "raw.ControllerStatus") -> "ControllerStatus":
        inputs = record.inputSlaves[:record.inputCount]
        outputs = record.outputSlaves[:record.outputCount]
        return cls({axis: AxisStatus.of(record.servo[axis])
                    for axis in record.servoAxes[:record.servoCount]},
                   {slave: tuple(map(bool, record.inputs[slave].bits)) for slave in inputs},
                   {slave: tuple(map(bool, record.outputs[slave].bits)) for slave in outputs},
                   tuple(map(bool, record.mainInputs)), tuple(map(bool, record.mainOutputs)))


@dataclass(frozen=True)
class Alarm:
    """One entry of a drive's alarm list."""

    number: int
    sub_number: int
    data: int  #: a further value of the drive (simulated one: seconds from its start)


#: Why a motion ended, as the simulated controller counts.
STOP_CAUSES = ("target reached", "stop command", "sudden stop command", "limit switch",
               "software limit", "alarm", "servo off", "emergency stop", "connection lost",
               "home found", "search latched")


def stop_text(cause: int) -> str:
    return STOP_CAUSES[cause] if cause < len(STOP_CAUSES) else f"cause {cause} of the controller"
