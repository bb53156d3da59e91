#!/usr/bin/env python3
"""First motion: set axes up, home one, move both, and show where they are.

    first_motion.py 192.168.0 3 [PORT]

On a real machine it turns axes 0 and 1 by some thousand pulses: see that nothing is in the way.
Ctrl-C and whatever fails stop the axes and switch them off.
"""

import sys

import zelq


def main(network: str, number: str, port: str = "502") -> None:
    with zelq.Controller(network, int(number), port=int(port)) as press:
        x = press.axis(0).units(0.001).speed(drive=40.0, acc=80.0)
        y = press.axis(1).units(0.001).speed(drive=25.0, acc=80.0)
        with x.powered(), y.powered():
            x.home(direction=1, speed=20.0).wait()
            press.move_to({0: 40.0, 1: 12.5}).wait()
            for axis in press.status().axes.values():
                print(f"axis {axis.axis}: {axis.encoder_position:8.3f} mm, {axis.torque:.1f} %")


if __name__ == "__main__":
    try:
        main(*sys.argv[1:])
    except zelq.Error as error:
        sys.exit(str(error))
