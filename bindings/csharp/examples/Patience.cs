// A move that is awaited while the program does something else. Ctrl-C ends the wait, which stops
// the axis.
//
//   mono Patience.exe 192.168.0 3 [PORT]
//
// On a real machine it moves axis 0 to 25 mm (1 pulse is taken as 1 micrometre).
using System;
using System.Threading.Tasks;
using Zelq;

static class Patience
{
    static int Main(string[] args)
    {
        try
        {
            Run(args).GetAwaiter().GetResult();
            return 0;
        }
        catch (OperationCanceledException)
        {
            Console.Error.WriteLine("interrupted; the axis has been stopped");
        }
        catch (ZelqException error)
        {
            Console.Error.WriteLine(error.Message);
        }
        return 1;
    }

    static async Task Run(string[] args)
    {
        var port = args.Length > 2 ? int.Parse(args[2]) : 502;
        using (var press = new Controller(args[0], int.Parse(args[1]), port))
        {
            var axis = press.Axis(0).Units(0.001).Speed(drive: 40, acc: 80).On();
            try
            {
                var move = axis.MoveTo(25.0).WaitAsync(TimeSpan.FromSeconds(30), Interrupt.Token);
                while (await Task.WhenAny(move, Task.Delay(100)) != move)
                    Console.WriteLine($"at {axis.Position:F3} mm");
                await move; // throws what has ended it
                Console.WriteLine($"the axis stands at {axis.Position:F3} mm");
            }
            finally
            {
                axis.Off();
            }
        }
    }
}
