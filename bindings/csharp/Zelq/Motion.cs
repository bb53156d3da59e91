using System;
using System.Threading;
using System.Threading.Tasks;

namespace Zelq
{
    /// <summary>Axes that have been set in motion. A wait that an exception ends stops them.</summary>
    public sealed class Motion
    {
        internal static readonly TimeSpan LookEvery = TimeSpan.FromMilliseconds(4);
        private static readonly string[] Causes = {
            "target reached", "stop command", "sudden stop command", "limit switch", "software limit",
            "alarm", "servo off", "emergency stop", "connection lost", "home found", "search latched"};
        private readonly Controller controller_;
        private readonly int[] axes_;
        private readonly bool homing_;

        internal Motion(Controller controller, int[] axes, bool homing)
        {
            controller_ = controller;
            axes_ = axes;
            homing_ = homing;
        }

        /// <summary>Waits for the motion's end.</summary>
        /// <param name="timeout">how long; null: a minute</param>
        /// <param name="cancellation">ends the wait, such as Interrupt.Token</param>
        /// <exception cref="MotionException">an axis has not come to its target, or not in
        /// time</exception>
        /// <exception cref="ZelqException">the controller does not answer</exception>
        public void Wait(TimeSpan? timeout = null,
                         CancellationToken cancellation = default(CancellationToken))
        {
            var limit = timeout ?? TimeSpan.FromMinutes(1);
            var end = DateTime.UtcNow + limit;
            try
            {
                while (!HasEnded())
                {
                    CheckTime(end, limit);
                    cancellation.WaitHandle.WaitOne(LookEvery);
                    cancellation.ThrowIfCancellationRequested();
                }
            }
            catch (Exception failure)
            {
                controller_.StopAfter(failure, axes_);
                throw;
            }
        }

        /// <summary>Waits for the motion's end, as Wait() does; a cancelled wait stops the
        /// axes.</summary>
        public async Task WaitAsync(TimeSpan? timeout = null,
                                    CancellationToken cancellation = default(CancellationToken))
        {
            var limit = timeout ?? TimeSpan.FromMinutes(1);
            var end = DateTime.UtcNow + limit;
            try
            {
                // In other threads: a call to a controller that is gone takes seconds.
                while (!await Task.Run(() => HasEnded()).ConfigureAwait(false))
                {
                    CheckTime(end, limit);
                    await Task.Delay(LookEvery, cancellation).ConfigureAwait(false);
                }
            }
            catch (Exception failure)
            {
                controller_.StopAfter(failure, axes_);
                throw;
            }
        }

        /// <summary>Stops the axes with their deceleration and waits until they stand.</summary>
        public void Stop() { controller_.Stop(axes_); }

        /// <summary>Whether the motion has ended; a MotionException where an axis ended it too
        /// early.</summary>
        public bool HasEnded()
        {
            var status = controller_.Status();
            var moving = false;
            foreach (var axis in axes_)
            {
                var servo = status.servo[axis];
                if (servo.inMotion != 0)
                    moving = true;
                else if (servo.alarm != 0 || (homing_ ? servo.homeDone == 0 : servo.stopCause != 0))
                    throw EndedEarly(axis, servo);
            }
            if (!moving)
                controller_.SeenAtRest(axes_);
            return !moving;
        }

        private void CheckTime(DateTime end, TimeSpan limit)
        {
            if (DateTime.UtcNow > end)
                throw new MotionTimeoutException(axes_[0], limit);
        }

        private static MotionException EndedEarly(int axis, ServoStatus servo)
        {
            var cause = servo.stopCause < Causes.Length ? Causes[servo.stopCause]
                                                        : $"cause {servo.stopCause}";
            return new MotionException(
                axis, servo.stopCause, "MOTION_ENDED_EARLY",
                $"The axis has stopped at {servo.commandPosition}: " +
                    (servo.alarm != 0 ? "it has an alarm." : cause + "."),
                "Look at the status and the alarms of the axis, remove the cause, and start anew.");
        }
    }
}
