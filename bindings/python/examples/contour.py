#!/usr/bin/env python3
"""A contour with asyncio: one task draws it with axes 0 and 1, another tells where they are.

    contour.py 192.168.0 3 [PORT]

On a real machine it moves both axes by up to 60 mm (1 pulse is taken as 1 micrometre) from where
they stand: see that nothing is in the way.
"""

import asyncio
import sys

import zelq


async def tell(press: zelq.aio.Controller) -> None:
    while True:
        axes = (await press.status()).axes
        print(f"x {axes[0].encoder_position:8.3f}  y {axes[1].encoder_position:8.3f} mm")
        await asyncio.sleep(0.1)


async def main(network: str, number: str, port: str = "502") -> None:
    async with zelq.aio.Controller(network, int(number), port=int(port)) as press:
        x, y = await press.axis(0).units(0.001), await press.axis(1).units(0.001)
        async with x.powered(), y.powered():
            path = press.path(0, 1, speed=80.0, acc=600.0, relative=True)
            # A slot: passed without a stop where its lines meet its arcs.
            path.line(40.0, 0.0, end=50.0).arc((0.0, 10.0), 180.0, speed=50.0, start=50.0, end=50.0)
            path.line(-40.0, 0.0, start=50.0, end=50.0)
            path.arc((0.0, -10.0), 180.0, speed=50.0, start=50.0).dwell(0.2)
            path.line(10.0, 10.0)
            telling = asyncio.ensure_future(tell(press))
            try:
                await path.run()
            finally:
                telling.cancel()


if __name__ == "__main__":
    try:
        asyncio.run(main(*sys.argv[1:]))
    except zelq.Error as error:
        sys.exit(str(error))
