using System;

namespace Zelq
{
    /// <summary>One axis of a controller. Positions are in the user units that Units() sets, pulses at
    /// first; the library cuts a position down to whole pulses.</summary>
    public sealed class Axis
    {
        private readonly Controller controller_;

        internal Axis(Controller controller, int number)
        {
            if (number < 0 || number > 31)
                throw new ArgumentOutOfRangeException(nameof(number));
            controller_ = controller;
            Number = number;
        }

        /// <summary>0..31.</summary>
        public int Number { get; }

        /// <summary>Sets how many user units a pulse is, such as 0.001 mm.</summary>
        public Axis Units(double perPulse)
        {
            return Do(nameof(Raw.zelQ_UnitPerPulseSet),
                      Raw.zelQ_UnitPerPulseSet(Id, (short)Number, perPulse));
        }

        /// <summary>Sets the speed profile of moves and jogs.</summary>
        /// <param name="drive">speed, user units per second</param>
        /// <param name="acc">acceleration, user units per second squared</param>
        /// <param name="dec">deceleration, likewise; 0: as acc</param>
        /// <param name="start">speed to start with, user units per second</param>
        public Axis Speed(double drive, double acc, double dec = 0, double start = 0)
        {
            return Do(nameof(Raw.zelQ_SpeedSet),
                      Raw.zelQ_SpeedSet(Id, (short)Number, 0, start, acc, drive, dec == 0 ? acc : dec));
        }

        /// <summary>Switches the servo on.</summary>
        public Axis On() { return Do(nameof(Raw.zelQ_ServoOn), Raw.zelQ_ServoOn(Id, At, 1)); }

        /// <summary>Switches the servo off.</summary>
        public Axis Off() { return Do(nameof(Raw.zelQ_ServoOn), Raw.zelQ_ServoOn(Id, At, 0)); }

        /// <summary>Starts a move to a position, in user units.</summary>
        public Motion MoveTo(double position)
        {
            return Start(nameof(Raw.zelQ_MoveAbs), () => Raw.zelQ_MoveAbs(Id, At, position));
        }

        /// <summary>Starts a move by a distance, in user units. When the reply is lost, the library
        /// sends the command again, and the axis may go the distance twice.</summary>
        public Motion MoveBy(double distance)
        {
            return Start(nameof(Raw.zelQ_MoveRel), () => Raw.zelQ_MoveRel(Id, At, distance));
        }

        /// <summary>Starts a motion without an end.</summary>
        /// <param name="direction">0 or 1; which of them is positive is the controller's
        /// setting</param>
        public Motion Jog(int direction)
        {
            return Start(nameof(Raw.zelQ_MoveVel),
                         () => Raw.zelQ_MoveVel(Id, At, checked((ushort)direction)));
        }

        /// <summary>Starts a homing run to the home sensor.</summary>
        /// <param name="direction">0 or 1; which of them is positive is the controller's
        /// setting</param>
        /// <param name="speed">of the fast search, user units per second; the others follow from it. 0:
        /// those that the controller has</param>
        /// <param name="position">what the place of the sensor's edge is called</param>
        public Motion Home(int direction = 1, double speed = 0, double position = 0)
        {
            if (speed != 0)
                Do(nameof(Raw.zelQ_HomeSetDriveSpeed),
                   Raw.zelQ_HomeSetDriveSpeed(Id, At, 0, speed, speed / 4, speed / 10, speed));
            return controller_.Start(
                new[] { Number }, true, nameof(Raw.zelQ_HomeMoveHome),
                () => Raw.zelQ_HomeMoveHome(Id, At, checked((ushort)direction), 0, 2, 0, 0, position));
        }

        /// <summary>Stops the axis with its deceleration and waits until it stands.</summary>
        public void Stop() { controller_.Stop(Number); }

        /// <summary>The state of the axis.</summary>
        public ServoStatus Status()
        {
            var status = new ServoStatus();
            Do(nameof(Raw.zelQ_GetServoStatus), Raw.zelQ_GetServoStatus(Id, At, ref status));
            return status;
        }

        /// <summary>Where the motor is, in user units.</summary>
        public double Position { get { return Status().encoderPosition; } }

        /// <summary>Number of the latest alarm in the drive's list; 0: none.</summary>
        public int LatestAlarm
        {
            get
            {
                ushort number, subNumber, data;
                Do(nameof(Raw.zelQ_AlarmListGet),
                   Raw.zelQ_AlarmListGet(Id, At, 0, out number, out subNumber, out data));
                return number;
            }
        }

        /// <summary>Asks the drive to reset its alarm. The servo stays off.</summary>
        public Axis ResetAlarm()
        {
            return Do(nameof(Raw.zelQ_AlarmResetReq), Raw.zelQ_AlarmResetReq(Id, At));
        }

        /// <summary>Such as "axis 0 of controller 3 at 192.168.0.3".</summary>
        public override string ToString() { return $"axis {Number} of {controller_}"; }

        private short Id { get { return controller_.Number; } }
        private ushort At { get { return (ushort)Number; } }

        private Motion Start(string function, Func<short> call)
        {
            return controller_.Start(new[] { Number }, false, function, call);
        }

        private Axis Do(string function, short result)
        {
            Controller.Check(function, result);
            return this;
        }
    }
}
