"""The same for asyncio: each call runs in a thread, while other tasks go on.

>>> async with zelq.aio.Controller("192.168.0", 3) as press:
...     axis = press.axis(0)
...     await axis.units(0.001)
...     motion = await axis.move_to(120.0)
...     await motion.wait()

A task that is cancelled while it waits for a motion stops its axes.
"""

import asyncio
from contextlib import asynccontextmanager, closing
from types import TracebackType
from typing import Any, AsyncIterator, Callable, Iterator, List, Mapping, Optional, Type, TypeVar

from . import axis as _axis
from . import controller as _controller
from . import motion as _motion
from . import path as _path
from .status import Alarm, AxisStatus, ControllerStatus

_Value = TypeVar("_Value")


async def _in_thread(function: Callable[..., _Value], *arguments: Any, **named: Any) -> _Value:
    # A call that has begun cannot be broken off: a task that is cancelled waits for its end.
    call = asyncio.ensure_future(asyncio.to_thread(function, *arguments, **named))
    try:
        return await asyncio.shield(call)
    except asyncio.CancelledError:
        await asyncio.wait([call])
        raise


def _next(steps: Iterator[float]) -> Optional[float]:
    return next(steps, None)


async def _run(steps: Iterator[float]) -> None:
    with closing(steps):  # type: ignore[type-var]
        while True:
            pause = await _in_thread(_next, steps)
            if pause is None:
                return
            await asyncio.sleep(pause)


class Motion:
    """Axes that have been set in motion."""

    def __init__(self, motion: _motion.Motion):
        self._motion = motion

    def __repr__(self) -> str:
        return repr(self._motion)

    async def wait(self, timeout: Optional[float] = 60.0) -> None:
        """Waits for the end as zelq.Motion.wait() does."""
        await _run(self._motion.steps(timeout))

    async def stop(self, sudden: bool = False) -> None:
        await _in_thread(self._motion.stop, sudden)


class Path(_path.Path):
    """A path whose run() is awaited."""

    async def run(self, timeout: Optional[float] = 60.0) -> None:  # type: ignore[override]
        await _run(self.steps(timeout))


class Axis:
    """One axis; what its methods do is told by zelq.Axis."""

    def __init__(self, axis: _axis.Axis):
        self._axis = axis
        self.number = axis.number

    def __repr__(self) -> str:
        return repr(self._axis)

    async def units(self, per_pulse: float) -> "Axis":
        await _in_thread(self._axis.units, per_pulse)
        return self

    async def speed(self, drive: float, acc: float, dec: float = 0.0, start: float = 0.0,
                    profile: int = 0) -> "Axis":
        await _in_thread(self._axis.speed, drive, acc, dec, start, profile)
        return self

    async def on(self) -> "Axis":
        await _in_thread(self._axis.on)
        return self

    async def off(self) -> "Axis":
        await _in_thread(self._axis.off)
        return self

    @asynccontextmanager
    async def powered(self) -> AsyncIterator["Axis"]:
        power = self._axis.powered()
        await _in_thread(power.__enter__)
        try:
            yield self
        except BaseException as error:
            if not await _in_thread(power.__exit__, type(error), error, error.__traceback__):
                raise
        else:
            await _in_thread(power.__exit__, None, None, None)

    async def move_to(self, position: float) -> Motion:
        return Motion(await _in_thread(self._axis.move_to, position))

    async def move_by(self, distance: float) -> Motion:
        return Motion(await _in_thread(self._axis.move_by, distance))

    async def jog(self, direction: int) -> Motion:
        return Motion(await _in_thread(self._axis.jog, direction))

    async def home(self, direction: int = 1, speed: float = 0.0, position: float = 0.0) -> Motion:
        return Motion(await _in_thread(self._axis.home, direction, speed, position))

    async def stop(self, sudden: bool = False) -> None:
        await _in_thread(self._axis.stop, sudden)

    async def status(self) -> AxisStatus:
        return await _in_thread(self._axis.status)

    async def alarms(self) -> List[Alarm]:
        return await _in_thread(self._axis.alarms)

    async def reset_alarm(self) -> "Axis":
        await _in_thread(self._axis.reset_alarm)
        return self


class Controller:
    """A connection to a controller, made by `async with`; its arguments are those of
    zelq.Controller."""

    def __init__(self, network: str, number: int, **more: Any):
        self._arguments = (network, number)
        self._more = more
        self._controller: Optional[_controller.Controller] = None

    def __repr__(self) -> str:
        return repr(self._controller or f"<Controller {self._arguments}, not connected>")

    async def __aenter__(self) -> "Controller":
        self._controller = await _in_thread(_controller.Controller, *self._arguments, **self._more)
        return self

    async def __aexit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                        trace: Optional[TracebackType]) -> None:
        await _in_thread(self.sync.__exit__, kind, error, trace)

    @property
    def sync(self) -> _controller.Controller:
        """The controller whose calls block."""
        if self._controller is None:
            raise RuntimeError("not connected: use 'async with'")
        return self._controller

    def axis(self, number: int) -> Axis:
        return Axis(self.sync.axis(number))

    def path(self, *axes: int, speed: float, acc: float, dec: Optional[float] = None,
             map_index: int = 0, relative: bool = False) -> Path:
        return Path(self.sync, axes, speed, acc, dec, map_index, relative)

    async def call(self, function: Callable[..., int], *arguments: Any) -> None:
        await _in_thread(self.sync.call, function, *arguments)

    async def status(self) -> ControllerStatus:
        return await _in_thread(self.sync.status)

    async def move_to(self, targets: Mapping[int, float]) -> Motion:
        return Motion(await _in_thread(self.sync.move_to, targets))

    async def move_by(self, distances: Mapping[int, float]) -> Motion:
        return Motion(await _in_thread(self.sync.move_by, distances))

    async def stop(self, *axes: int, sudden: bool = False) -> None:
        await _in_thread(self.sync.stop, *axes, sudden=sudden)
