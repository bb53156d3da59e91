// First motion: set axes up, home one, move both, and show where they are.
//
//   mono FirstMotion.exe 192.168.0 3 [PORT]
//
// On a real machine it turns axes 0 and 1 by some thousand pulses: see that nothing is in the way.
// Ctrl-C and whatever fails stop the axes and switch them off.
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
        }
        catch (OperationCanceledException)
        {
            Console.Error.WriteLine("interrupted; the axes have been stopped");
        }
        return 1;
    }

    static void Run(Controller press)
    {
        var x = press.Axis(0).Units(0.001).Speed(drive: 40, acc: 80);
        var y = press.Axis(1).Units(0.001).Speed(drive: 25, acc: 80);
        try
        {
            x.On();
            y.On();
            x.Home(speed: 20).Wait(null, Interrupt.Token);
            press.MoveTo(new Dictionary<int, double> { { 0, 40.0 }, { 1, 12.5 } })
                .Wait(null, Interrupt.Token);
            Console.WriteLine($"x {x.Position:F3} mm, y {y.Position:F3} mm");
        }
        finally
        {
            x.Off();
            y.Off();
        }
    }
}
