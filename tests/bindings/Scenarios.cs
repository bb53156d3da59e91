// The C# binding as a program sees it. "layout" tells the records and functions as they are
// marshalled; else each argument is a scenario, run with a controller at 127.0.0.NUMBER, PORT.
//
//   mono Scenarios.exe layout
//   mono Scenarios.exe NUMBER PORT SCENARIO
using System;
using System.Collections.Generic;
using System.Linq;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Threading;
using System.Threading.Tasks;
using Zelq;

static class Scenarios
{
    static Controller press;
    static Axis x, y;

    static void Main(string[] args)
    {
        if (args[0] == "layout")
        {
            TellLayout();
            return;
        }
        var scenario = typeof(Scenarios).GetMethod(args[2], BindingFlags.Static | BindingFlags.NonPublic);
        using (press = new Controller("127.0.0", int.Parse(args[0]), int.Parse(args[1])))
        {
            // Patient: other tests may run meanwhile.
            Controller.Check("zelQ_TMOSet", Raw.zelQ_TMOSet(press.Number, 2000, 500, 500));
            x = press.Axis(0).Units(0.001).Speed(drive: 100, acc: 1000).On();
            y = press.Axis(1).Units(0.001).Speed(drive: 100, acc: 1000).On();
            scenario.Invoke(null, null);
        }
    }

    static void TellLayout()
    {
        foreach (var record in typeof(Raw).Assembly.GetTypes().Where(
                     type => type.IsValueType && type.IsPublic && !type.IsEnum))
        {
            Console.WriteLine($"{record.Name} {Marshal.SizeOf(record)}");
            foreach (var field in record.GetFields().OrderBy(field => field.MetadataToken))
                Console.WriteLine($"{record.Name}.{field.Name} {Marshal.OffsetOf(record, field.Name)}");
        }
        foreach (var function in typeof(Raw).GetMethods().Where(method => method.Name.StartsWith("zelQ_")))
        {
            Marshal.Prelink(function); // throws where the library has no such function
            var kinds = function.GetParameters().Select(each => each.ParameterType.Name);
            Console.WriteLine($"{function.Name} {function.ReturnType.Name} {string.Join(",", kinds)}");
        }
    }

    static void Expect(object wanted, object got)
    {
        if (!wanted.Equals(got))
            throw new Exception($"{got} instead of {wanted}");
    }

    static E Throws<E>(Action action) where E : Exception
    {
        try
        {
            action();
        }
        catch (E error)
        {
            return error;
        }
        throw new Exception($"no {typeof(E).Name}");
    }

    static void Connect()
    {
        Expect("axis 0 of controller " + press.Number + " at 127.0.0." + press.Number, x.ToString());
        var error = Throws<ZelqException>(() => new Controller("127.0.0", press.Number - 1, 9));
        Expect(true, error.Code < 0);
        Expect(true, error.Message.Contains(error.Result.Remedy));
        Expect("PING_NO_REPLY", Result.Explain(-3, "zelQ_PingCheck").Name);
        Expect("ZELQ_NO_SESSION", Result.Explain(-3).Name);
        Expect("ZELQ_BAD_ARGUMENT", Result.Explain(-1717).Name);
    }

    static void Home()
    {
        x.Home(1, 50, -20).Wait();
        Expect(1, (int)x.Status().homeDone);
        Expect(-20.0, Math.Round(x.Position, 2));
    }

    static void CoordinatedMove()
    {
        press.MoveTo(new Dictionary<int, double> { { 0, 10.0 }, { 1, -5.0 } }).Wait();
        Expect(10.0, x.Position);
        Expect(-5.0, y.Position);
        Controller.Check("zelQ_IMapSet", Raw.zelQ_IMapSet(press.Number, 0, 2, new ushort[] { 0, 1 }));
        var speed = new InterpSpeedProfile { acc = 1000, driveSpeed = 100, dec = 1000 };
        Controller.Check("zelQ_ILinear", Raw.zelQ_ILinear(press.Number, 0, 0, 2,
                                                          new[] { 20.0, 5.0 }, ref speed));
        while (press.Status().servo[0].inPosition == 0) {}
        Expect(20.0, x.Position);
    }

    static void ReadAllStatus()
    {
        Controller.Check("zelQ_MDOSetPin", Raw.zelQ_MDOSetPin(press.Number, 2, 1));
        Controller.Check("zelQ_RDOSetPin", Raw.zelQ_RDOSetPin(press.Number, 31, 4, 1));
        y.MoveTo(3).Wait();
        var status = press.Status();
        Expect(2, (int)status.servoCount);
        Expect(1, (int)status.servo[1].servoOn);
        Expect(3.0, status.servo[1].commandPosition);
        Expect(0xFFFF, (int)status.servo[2].axis);
        Expect(1, (int)status.outputs[31].bits[4]);
        Expect(1, (int)status.mainOutputs[2]);
    }

    static void Alarm()
    {
        Controller.Check("zelQ_ParamSet", Raw.zelQ_ParamSet(press.Number, 0, 3, 1, 1));
        Expect(0, Throws<MotionException>(() => x.MoveBy(50).Wait()).Axis);
        Expect(10, x.LatestAlarm);
        Controller.Check("zelQ_ParamSet", Raw.zelQ_ParamSet(press.Number, 0, 3, 1, 1000));
        Expect(0, (int)x.ResetAlarm().Status().alarm);
        x.On().MoveBy(1).Wait();
    }

    static void LostConnection()
    {
        var motion = x.Jog(0);
        Console.WriteLine("moving");
        var error = Throws<ZelqException>(() => motion.Wait()); // whoever reads this ends the controller
        Expect(true, error.Code < 0);
        Expect(true, error.Data.Contains("axes not stopped"));
    }

    static void CtrlC()
    {
        var interrupt = Interrupt.Token;
        var motion = x.Jog(0);
        Console.WriteLine("moving");
        Throws<OperationCanceledException>(() => motion.Wait(null, interrupt)); // by whoever reads this
        Expect(0, (int)x.Status().inMotion);
    }

    static void BrokenOff()
    {
        Throws<MotionTimeoutException>(() => x.Jog(0).Wait(TimeSpan.Zero));
        Expect(0, (int)x.Status().inMotion);
        using (var source = new CancellationTokenSource())
        {
            var waiting = x.Jog(0).WaitAsync(null, source.Token);
            source.Cancel();
            Throws<OperationCanceledException>(() => waiting.GetAwaiter().GetResult());
            Expect(0, (int)x.Status().inMotion);
        }
        using (var other = new Controller("127.0.0", press.Number, Port()))
            other.Axis(1).Jog(1);
        Expect(0, (int)y.Status().inMotion);
        y.Jog(1);
        press.Stop();
        Expect(0, (int)y.Status().inMotion);
    }

    static int Port() { return int.Parse(Environment.GetCommandLineArgs()[2]); }
}
