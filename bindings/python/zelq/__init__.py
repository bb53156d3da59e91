"""zelQ: ZEL "Lumo" Ethernet multi-axis motion controllers.

>>> import zelq
>>> with zelq.Controller("192.168.0", 3) as press:
...     axis = press.axis(0).units(0.001).speed(50.0, acc=200.0)
...     with axis.powered():
...         axis.move_to(120.0).wait()

`zelq.raw` has all functions of the library one to one, `zelq.aio` the same for asyncio.
"""

from . import aio, raw
from .axis import Axis
from .controller import Controller
from .errors import Error, MotionError, WaitTimeout, check, explain
from .motion import Homing, Motion
from .path import Path
from .status import Alarm, AxisStatus, ControllerStatus

__all__ = ["Alarm", "Axis", "AxisStatus", "Controller", "ControllerStatus", "Error", "Homing",
           "Motion", "MotionError", "Path", "WaitTimeout", "aio", "check", "explain", "raw"]
