"""Continuous paths of lines, arcs and helices."""

import time
from contextlib import suppress
from ctypes import c_double, c_ushort
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Callable, Iterator, List, Optional, Sequence, Tuple, Union

from . import raw
from .errors import Error
from .motion import LOOK_EVERY, Seen, ended_early, failed, run, too_long

if TYPE_CHECKING:
    from .controller import Controller

Point = Sequence[float]


@dataclass(frozen=True)
class Segment:
    """A piece of the path: the function that sends it, and what it takes behind the map."""

    function: Callable[..., int]
    arguments: Tuple[Any, ...]
    speeds: Tuple[float, float, float]  # at its start, along it, at its end


def _doubles(values: Point, count: int) -> Any:
    if len(values) != count:
        raise ValueError(f"{count} coordinates are needed, not {list(values)}")
    return (c_double * count)(*values)


class Path:
    """A path for some axes, put together piece by piece, then run.

    >>> path = press.path(0, 1, 2, speed=100, acc=700)
    >>> path.line(10, 0, 0).arc(center=(10, 5), angle=90).dwell(0.5).run()

    Coordinates are in the user units of the axes, speeds in those of the first axis per second. A
    piece begins and ends at rest unless it is told with which speed: where two meet, the lower of
    the end speed of one and the start speed of the other is held. Pieces are sent as the
    controller's pre-registers free up.
    """

    def __init__(self, controller: "Controller", axes: Tuple[int, ...], speed: float, acc: float,
                 dec: Optional[float], map_index: int, relative: bool):
        if len(set(axes)) != len(axes) or not 2 <= len(axes) <= 16:
            raise ValueError(f"a path needs 2 to 16 different axes, not {axes}")
        self.axes = tuple(controller.axis(number).number for number in axes)
        self._controller = controller
        self._speed = speed
        self._acc = acc
        self._dec = acc if dec is None else dec
        self._map = map_index
        self._option = 1 if relative else 0
        self._pieces: List[Union[Segment, float]] = []

    def __len__(self) -> int:
        return len(self._pieces)

    def __repr__(self) -> str:
        return f"<Path of {len(self)} pieces for axes {', '.join(map(str, self.axes))}>"

    def _add(self, function: Callable[..., int], arguments: Tuple[Any, ...], speed: Optional[float],
             start: float, end: float) -> "Path":
        speeds = (start, self._speed if speed is None else speed, end)
        self._pieces.append(Segment(function, arguments, speeds))
        return self

    def line(self, *to: float, speed: Optional[float] = None, start: float = 0.0,
             end: float = 0.0) -> "Path":
        """A straight line; one coordinate for each axis."""
        count = len(self.axes)
        return self._add(raw.zelQ_ILinear, (self._option, count, _doubles(to, count)), speed, start,
                         end)

    def arc(self, center: Point, angle: float, *, speed: Optional[float] = None, start: float = 0.0,
            end: float = 0.0) -> "Path":
        """An arc of the first two axes; degrees, positive from the first axis to the second."""
        return self._add(raw.zelQ_IArc, (self._option, _doubles(center, 2), angle), speed, start,
                         end)

    def arc_to(self, center: Point, to: Point, clockwise: bool = False, *,
               speed: Optional[float] = None, start: float = 0.0, end: float = 0.0) -> "Path":
        """An arc of the first two axes to a point; to where it begins: a whole circle."""
        return self._add(raw.zelQ_IArcCE,
                         (self._option, _doubles(center, 2), _doubles(to, 2), int(clockwise)),
                         speed, start, end)

    def helix(self, center: Point, angle: float, height: float, *, speed: Optional[float] = None,
              start: float = 0.0, end: float = 0.0) -> "Path":
        """An arc of the first two axes, while the third goes to a height. The speed is that along
        the helix."""
        return self._add(raw.zelQ_IHelical, (self._option, _doubles(center, 2), angle, 1, height),
                         speed, start, end)

    def dwell(self, seconds: float) -> "Path":
        """Stands still. The piece before it has to end at rest."""
        if not seconds >= 0:
            raise ValueError(f"{seconds} seconds cannot be waited")
        self._pieces.append(float(seconds))
        return self

    def run(self, timeout: Optional[float] = 60.0) -> None:
        """Runs the path to its end.

        timeout  seconds that one piece may take; None: however long

        Raises what Motion.wait() raises, and stops the axes as that does."""
        run(self.steps(timeout))

    def steps(self, timeout: Optional[float]) -> Iterator[float]:
        """The run, as steps to go through with motion.run()."""
        controller = self._controller
        used = c_ushort()
        controller.call(raw.zelQ_IMapSet, self._map, len(self.axes),
                        (c_ushort * len(self.axes))(*self.axes))
        controller.call(raw.zelQ_CP_PreRegUseGet, used)
        controller.call(raw.zelQ_CP_PreRegUseSet, 1)
        controller._moving.update(self.axes)
        try:
            yield from self._feed(timeout)
            controller._moving.difference_update(self.axes)
        except BaseException:
            controller._halt_after_failure(self.axes)
            with suppress(Error):
                controller.call(raw.zelQ_CP_PreRegUseSet, used.value)
            raise
        controller.call(raw.zelQ_CP_PreRegUseSet, used.value)

    def _feed(self, timeout: Optional[float]) -> Iterator[float]:
        """Sends what there is room for, and looks at the axes, until all is done."""
        now = self._controller.record()
        seen = {axis: (bool(now.servo[axis].inMotion), now.servo[axis].stopCause)
                for axis in self.axes}
        following = 0
        progress = time.monotonic()
        while self._is_moving(seen) or following < len(self._pieces):
            sent = self._send(following)
            piece = self._pieces[following] if following < len(self._pieces) else None
            if isinstance(piece, float) and not self._is_moving(seen):
                yield piece
                sent = 1
            if sent:
                following += sent
                progress = time.monotonic()
            elif timeout is not None and time.monotonic() - progress > timeout:
                raise too_long(self.axes, timeout)
            yield LOOK_EVERY

    def _is_moving(self, seen: Seen) -> bool:
        status = self._controller.record()
        for axis in ended_early(seen, status):
            raise failed(axis, status.servo[axis])
        return any(moving for moving, _ in seen.values())

    def _send(self, following: int) -> int:
        """Sends pieces up to the next dwell or as far as there is room; how many."""
        room = (c_ushort * 16)()
        self._controller.call(raw.zelQ_CP_PreRegGetRemain, room)
        pieces = self._pieces[following:following + room[self._map]]
        for sent, piece in enumerate(pieces):
            if isinstance(piece, float):
                return sent
            start, speed, end = piece.speeds
            record = raw.InterpSpeedProfile(0, 0, start, self._acc, speed, self._dec, end)
            self._controller.call(piece.function, self._map, *piece.arguments, record)
        return len(pieces)
