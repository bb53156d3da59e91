using System;
using System.Collections.Generic;
using System.Linq;
using System.Threading;

namespace Zelq
{
    /// <summary>A connection to a controller. Disposing it stops the axes that it has set in motion and
    /// that nobody has seen come to rest, as after an exception, then closes the connection. Any thread
    /// may use it.</summary>
    /// <example><code>
    /// using (var press = new Controller("192.168.0", 3))
    ///     press.Axis(0).Units(0.001).MoveTo(120.0).Wait();
    /// </code></example>
    public sealed class Controller : IDisposable
    {
        private const ushort WithDeceleration = 1;
        private static readonly TimeSpan LongestBraking = TimeSpan.FromSeconds(10);
        // How many objects use the connection of each number: the last one closes it.
        private static readonly int[] Uses = new int[255];
        private readonly HashSet<int> moving_ = new HashSet<int>();
        private int open_;

        /// <summary>Connects.</summary>
        /// <param name="network">the first three octets of the address, such as "192.168.0"</param>
        /// <param name="number">1..254, also the last octet</param>
        /// <param name="port">TCP port</param>
        public Controller(string network, int number, int port = 502)
        {
            var octets = network.Split('.').Select(byte.Parse).ToArray();
            if (octets.Length != 3)
                throw new ArgumentException($"{network} has not three octets", nameof(network));
            if (number < 1 || number > 254)
                throw new ArgumentOutOfRangeException(nameof(number));
            Number = (short)number;
            Network = network;
            Check(nameof(Raw.zelQ_SetNetPortNum), Raw.zelQ_SetNetPortNum(Number, port));
            lock (Uses)
            {
                Check(nameof(Raw.zelQ_Connect),
                      Raw.zelQ_Connect(Number, octets[0], octets[1], octets[2]));
                ++Uses[number];
                open_ = 1;
            }
        }

        /// <summary>Closes the connection of an object that nobody has disposed of.</summary>
        ~Controller() { Release(); }

        /// <summary>1..254.</summary>
        public short Number { get; }
        /// <summary>The first three octets of its address.</summary>
        public string Network { get; }

        /// <summary>Axis 0..31.</summary>
        public Axis Axis(int number) { return new Axis(this, number); }

        /// <summary>The state of all axes, inputs and outputs, read in one exchange.</summary>
        public ControllerStatus Status()
        {
            var status = new ControllerStatus();
            Check(nameof(Raw.zelQ_GetAllStatus), Raw.zelQ_GetAllStatus(Number, ref status));
            return status;
        }

        /// <summary>Starts moves of several axes at once: positions by axis, in user units.</summary>
        public Motion MoveTo(IReadOnlyDictionary<int, double> targets)
        {
            var axes = targets.Keys.Select(axis => Axis(axis).Number).ToArray();
            return Start(axes, false, nameof(Raw.zelQ_mMoveAbs), () => Raw.zelQ_mMoveAbs(
                Number, (short)axes.Length, Array.ConvertAll(axes, axis => (short)axis),
                targets.Values.ToArray()));
        }

        /// <summary>Stops axes with their deceleration, all where none is named, and waits until they
        /// stand.</summary>
        public void Stop(params int[] axes)
        {
            if (axes.Length == 0)
            {
                var now = Status();
                axes = now.servoAxes.Take(now.servoCount).Select(axis => (int)axis).ToArray();
            }
            if (axes.Length == 0)
                return;
            var numbers = Array.ConvertAll(axes, axis => (ushort)Axis(axis).Number);
            Check(nameof(Raw.zelQ_mStop),
                  Raw.zelQ_mStop(Number, (short)numbers.Length, numbers, WithDeceleration));
            var end = DateTime.UtcNow + LongestBraking;
            while (DateTime.UtcNow < end)
            {
                var status = Status();
                if (axes.All(axis => status.servo[axis].inMotion == 0))
                {
                    SeenAtRest(axes);
                    return;
                }
                Thread.Sleep(Motion.LookEvery);
            }
        }

        /// <summary>Throws a ZelqException unless the result of a function is 0.</summary>
        public static void Check(string function, int result)
        {
            if (result != Raw.ZELQ_OK)
                throw new ZelqException(function, result);
        }

        /// <summary>Stops what is still in motion, and closes the connection. A ZelqException tells
        /// that axes could not be stopped.</summary>
        public void Dispose()
        {
            int[] axes;
            lock (moving_)
                axes = moving_.ToArray();
            try
            {
                if (axes.Length > 0 && open_ != 0)
                    Stop(axes);
            }
            finally
            {
                Release();
                GC.SuppressFinalize(this);
            }
        }

        /// <summary>Such as "controller 3 at 192.168.0.3".</summary>
        public override string ToString() { return $"controller {Number} at {Network}.{Number}"; }

        internal Motion Start(int[] axes, bool homing, string function, Func<short> call)
        {
            // Before the call: one that fails may have been executed all the same.
            lock (moving_)
                moving_.UnionWith(axes);
            Check(function, call());
            return new Motion(this, axes, homing);
        }

        internal void SeenAtRest(IEnumerable<int> axes)
        {
            lock (moving_)
                moving_.ExceptWith(axes);
        }

        /// <summary>The exception that is on its way stays the one that is told; that the axes could not
        /// be stopped stands in its Data.</summary>
        internal void StopAfter(Exception failure, int[] axes)
        {
            try
            {
                Stop(axes);
            }
            catch (ZelqException error)
            {
                failure.Data["axes not stopped"] = error.Message;
                SeenAtRest(axes); // Disposing would only fail again.
            }
        }

        private void Release()
        {
            if (Interlocked.Exchange(ref open_, 0) == 0)
                return;
            lock (Uses)
            {
                if (--Uses[Number] == 0)
                    Raw.zelQ_Disconnect(Number);
            }
        }
    }
}
