// First motion: set axes up, home one, move both, and show where they are.
//
//   mono FirstMotion.exe 192.168.0 3 [PORT]
//
// On a real machine it turns axes 0 and 1 by some thousand pulses: see that nothing is in the way.
using System;
using System.Collections.Generic;
using Zelq;

static class FirstMotion
{
    static int Main(string[] args)
    {
        try
        {
            var port = args.Length > 2 ? int.Parse(args[2]) : 502;
            using (var press = new Controller(args[0], int.Parse(args[1]), port))
                Run(press);
            return 0;
        }
        catch (ZelqException error)
        {
            Console.Error.WriteLine(error.Message);
            return 1;
        }
    }

    static void Run(Controller press)
    {
        var x = press.Axis(0).Units(0.001).Speed(drive: 40, acc: 80);
        var y = press.Axis(1).Units(0.001).Speed(drive: 25, acc: 80);
        try
        {
            x.On();
            y.On();
            x.Home(speed: 20).Wait();
            press.MoveTo(new Dictionary<int, double> { { 0, 40.0 }, { 1, 12.5 } }).Wait();
            Console.WriteLine($"x {x.Position:F3} mm, y {y.Position:F3} mm");
        }
        finally
        {
            press.Stop(0, 1);
            x.Off();
            y.Off();
        }
    }
}
