/**
 * @file zelq.h
 * zelQ: client library for ZEL "Lumo" Ethernet multi-axis motion controllers.
 *
 * One header for C99 and C++. Link libzelq.so (Linux) or zelq.dll with its import library
 * (Windows); the functions use the plain C calling convention under their plain names.
 *
 * @section numbers Controllers and axes
 * A controller has a number from 1 to 254, which is also the last octet of its IPv4 address. It
 * drives up to 32 slaves, numbered 0 to 31: servo axes, input slaves and output slaves.
 *
 * @section results Results
 * Unless it says otherwise, a function returns #ZELQ_OK (0), a negative code of this library, or
 * the result with which the controller itself refused the command. Every function that talks to
 * a controller can return the codes of an exchange, called "exchange codes" below:
 * #ZELQ_CONNECT_FAILED, #ZELQ_NOT_OPEN, #ZELQ_SOCKET_FAILED, #ZELQ_SEND_BLOCKED,
 * #ZELQ_NO_REPLY, #ZELQ_LOCK_FAILED, #ZELQ_OVERFLOW, #ZELQ_REPLY_TOO_SHORT, #ZELQ_REPLY_MISMATCH
 * and the controller's own results. A wrong argument sends nothing. Outputs are written only on
 * success, unless a function says otherwise.
 *
 * @section lost Lost replies
 * When no reply comes in time, the library connects anew and sends the request again, up to three
 * times in all. It cannot know whether a lost reply belonged to a command that was executed: a
 * command whose second execution does something else than its first, such as a relative move, can
 * be executed twice. Such functions say so.
 *
 * @section parameters Parameters
 * What stands in brackets before a parameter's description tells its direction, where it is not an
 * input alone, and of an array how many elements it has: "[count]" is an input of count elements,
 * "[out, 19]" an output of 19, "[out]" an output of one.
 *
 * @section threads Threads
 * Every function may be called from any thread at any time. Calls for one controller take turns,
 * among the threads and among the processes of one user; calls for different controllers run in
 * parallel. A call blocks its own thread until it is done; the library has no thread of its own. A
 * caller that has waited 4 s for its turn goes on without it: what held it is stuck.
 *
 * On Linux a process that was forked has none of its parent's connections: its calls give
 * #ZELQ_NOT_OPEN until it connects for itself.
 *
 * @section tracing Trace
 * Every finished call writes one line (the result, the function's name and its arguments) to the
 * trace viewer, or to the debugger output when none runs. Wrong arguments write none.
 */
#ifndef ZELQ_H
#define ZELQ_H

#if defined(_WIN32)
#if defined(ZELQ_BUILDING_LIBRARY)
#define ZELQ_API __declspec(dllexport)
#else
#define ZELQ_API __declspec(dllimport)
#endif
#define ZELQ_CALL __cdecl
#else
#define ZELQ_API __attribute__((visibility("default")))
#define ZELQ_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------ */
/* Result codes                                                                               */
/* ------------------------------------------------------------------------------------------ */

/** Success. */
#define ZELQ_OK 0
/** The connection could not be made, or not be made again during an exchange. */
#define ZELQ_CONNECT_FAILED (-1)
/** The controller number is outside 1..254. */
#define ZELQ_BAD_CONTROLLER_NUMBER (-2)
/** The controller was never connected; for zelQ_PingCheck(): no reply. */
#define ZELQ_NO_SESSION (-3)
/** The controller is not connected now. */
#define ZELQ_NOT_OPEN (-4)
/** The socket failed, or the controller closed the connection. */
#define ZELQ_SOCKET_FAILED (-5)
/** The request could not be sent within the send time-out. */
#define ZELQ_SEND_BLOCKED (-6)
/** No reply came within the receive waits, three times over. */
#define ZELQ_NO_REPLY (-7)
/** The lock by which the callers of one controller take turns could not be had. */
#define ZELQ_LOCK_FAILED (-8)
/** The request or the reply does not fit into one exchange. */
#define ZELQ_OVERFLOW (-9)
/** The reply is shorter than any valid one. */
#define ZELQ_REPLY_TOO_SHORT (-10)
/** The reply does not belong to the request, or is incomplete. */
#define ZELQ_REPLY_MISMATCH (-12)
/** The reply has fewer values than the call reads. */
#define ZELQ_REPLY_DATA_MISSING (-1004)
/** The device information carries an impossible date. */
#define ZELQ_DEVICE_INFO_OUT_OF_RANGE (-1005)
/** Argument k is out of its range, or null where it must not be; the controller number counts as
 * argument 0, so that -1701 means the first argument behind it. */
#define ZELQ_BAD_ARGUMENT(k) (-1700 - (k))
/** The slaves of the controller changed twice while their status was read. */
#define ZELQ_CONFIGURATION_CHANGED (-2001)
/** An axis above 31, or one that is no servo axis of the controller. */
#define ZELQ_BAD_AXIS (-2002)
/** An axis stands twice in a list. */
#define ZELQ_DUPLICATE_AXIS (-2003)
/** A count of axes outside 1..32, or above the number of servo axes. */
#define ZELQ_BAD_AXIS_COUNT (-2004)
/** The axis is no servo axis. */
#define ZELQ_NOT_A_SERVO (-2007)
/** An output slave or a pin beyond the controller's output slaves. */
#define ZELQ_BAD_OUTPUT_SLAVE (-3080)
/** The interpolation map has too few axes. */
#define ZELQ_TOO_FEW_MAP_AXES (-4001)

/* ------------------------------------------------------------------------------------------ */
/* Connection                                                                                 */
/* ------------------------------------------------------------------------------------------ */

/**
 * Connects to a controller, or connects anew, and reads which slaves it has.
 *
 * The address is ip1.ip2.ip3.zelNo; the port is that of zelQ_SetNetPortNum(), else 502. The first
 * call for a number makes the controller's session, which keeps units and settings until the
 * library is unloaded, whatever becomes of the connection.
 *
 * A controller whose slaves cannot be read, for a reply is lost, is connected all the same. It has
 * none until the next zelQ_GetAllStatus(), which reads them.
 *
 * @param zelNo controller number, 1..254
 * @param ip1   first octet of the address, 0..255
 * @param ip2   second octet, 0..255
 * @param ip3   third octet, 0..255
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_CONNECT_FAILED (also for an octet out of
 *         its range: later calls then give #ZELQ_NOT_OPEN); exchange codes
 * @note Threads: any; two threads that connect the same number share one session.
 */
ZELQ_API short ZELQ_CALL zelQ_Connect(short zelNo, short ip1, short ip2, unsigned short ip3);

/**
 * Closes the connection to a controller. Its session stays: units, time-outs and settings are
 * there again after the next zelQ_Connect(). Unknown controllers are ignored.
 *
 * A call in progress is waited for. Once this has returned, and for every call whose turn comes
 * after it, the answer is #ZELQ_NOT_OPEN until the next zelQ_Connect(): a call that was waiting
 * meanwhile sends nothing.
 *
 * @param zelNo controller number, 1..254
 * @note Threads: any; waits up to 4 s for a call in progress.
 */
ZELQ_API void ZELQ_CALL zelQ_Disconnect(short zelNo);

/**
 * Sets the time-outs of a controller.
 *
 * Waiting for a reply takes up to 6 times the receive time-out, then the library connects anew and
 * sends again, three times in all.
 *
 * @param zelNo     controller number, 1..254
 * @param connectMs for connecting, milliseconds (100 at start)
 * @param sendMs    for sending, milliseconds (30 at start); 0 means 30
 * @param receiveMs for the first wait for a reply, milliseconds (30 at start); 0 means 30
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION
 * @note Values are kept as unsigned 16-bit numbers. Threads: any; sends nothing.
 */
ZELQ_API short ZELQ_CALL zelQ_TMOSet(short zelNo, short connectMs, short sendMs, short receiveMs);

/**
 * Reads the time-outs of a controller.
 *
 * @param zelNo     controller number, 1..254
 * @param connectMs [out] milliseconds; may be null
 * @param sendMs    [out] milliseconds; may be null
 * @param receiveMs [out] milliseconds; may be null
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION
 * @note Threads: any; sends nothing.
 */
ZELQ_API short ZELQ_CALL zelQ_TMOGet(short zelNo, unsigned short* connectMs, unsigned short* sendMs,
                                     unsigned short* receiveMs);

/**
 * Sets the TCP port for the next zelQ_Connect() to a controller. Needs no session.
 *
 * @param zelNo controller number, 1..254
 * @param port  port number; negative: back to 502
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER
 * @note Threads: any; sends nothing.
 */
ZELQ_API short ZELQ_CALL zelQ_SetNetPortNum(short zelNo, int port);

/**
 * Sends one ICMP echo ("ping") to ip1.ip2.ip3.zelNo. Needs no session and no connection.
 *
 * @param zelNo     controller number, 1..254
 * @param ip1       first octet of the address
 * @param ip2       second octet
 * @param ip3       third octet
 * @param timeOutMs how long to wait for the reply, milliseconds
 * @return #ZELQ_OK: a reply came; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION: no reply;
 *         #ZELQ_SOCKET_FAILED: no such address, or this system lets the process send no echo
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_PingCheck(short zelNo, short ip1, short ip2, short ip3,
                                        unsigned int timeOutMs);

/* ------------------------------------------------------------------------------------------ */
/* Device discovery                                                                           */
/* ------------------------------------------------------------------------------------------ */

/**
 * Asks who is there: every controller that an address reaches answers with its identification.
 * Needs no session and no connection; takes about 0.6 s, the time in which answers count.
 *
 * The request is a UDP datagram to port 7000, sent twice since datagrams can get lost; a
 * controller that answers twice is entered once.
 *
 * @param address [4] four octets: one controller's address, or a broadcast address
 * @param unused  not looked at
 * @param entries [out, 968] 22 words for each controller found, in the order of their answers.
 *                Words 0 to 18 are those of zelQ_GetDevInfo(); words 19 to 21 are not written. No
 *                more than 44 entries are ever made: give room for as many.
 * @return number of entries made, 0 also when the discovery failed on its way;
 * ZELQ_BAD_ARGUMENT(0): address null; #ZELQ_NO_SESSION: the address is none, or there is no socket
 * to be had; ZELQ_BAD_ARGUMENT(2): entries null; #ZELQ_DEVICE_INFO_OUT_OF_RANGE: a controller tells
 * an impossible date (entries made before it stay; no trace line is written)
 * @note Threads: any; discoveries take turns, among the threads and among the processes of one
 *       user. The trace line starts with the number of answers in place of the result.
 */
ZELQ_API short ZELQ_CALL zelQ_GetEnumList(const unsigned short* address, short unused,
                                          unsigned short* entries);

/* ------------------------------------------------------------------------------------------ */
/* Device information                                                                         */
/* ------------------------------------------------------------------------------------------ */

/**
 * Reads what a controller is.
 *
 * Words 0 to 3 tell it from all others; words 4 to 11, 13 and 14 are version and serial fields of
 * the controller's own (simulated controller: 0 to 3 its address, 5 to 11 the characters of its
 * serial number, 13 and 14 its version). Word 12 is its type (0: main series, 255: FPGA variant),
 * words 15, 16 and 17 are year, month and day, word 18 is its size code (model number / 4).
 *
 * @param zelNo controller number, 1..254
 * @param info  [out, 19] the words
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): null;
 *         #ZELQ_REPLY_DATA_MISSING; #ZELQ_DEVICE_INFO_OUT_OF_RANGE: the year is outside 2018..2048,
 *         or there is no such day (no trace line is written); exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_GetDevInfo(short zelNo, unsigned short* info);

/**
 * Gives the name of a controller type: "Lumo", "Lumo-FPGA", or "" for a type that has none.
 *
 * @param type word 12 of zelQ_GetDevInfo()
 * @param text [out, size] the name with its closing zero; "" when it does not fit
 * @param size bytes that text has room for, the closing zero included
 * @return #ZELQ_OK; ZELQ_BAD_ARGUMENT(1): text null; #ZELQ_OVERFLOW: it does not fit (a size of 0
 *         or less writes nothing)
 * @note Threads: any; sends nothing and writes no trace line.
 */
ZELQ_API short ZELQ_CALL zelQ_GetDevTypeStr(short type, char* text, short size);

/**
 * Gives the model name of a controller, such as "ZEL Lumo-32", or "" for a type that has none.
 *
 * @param info [19] words as zelQ_GetDevInfo() fills them
 * @param text [out, size] the name with its closing zero; "" when it does not fit
 * @param size bytes that text has room for, the closing zero included
 * @return #ZELQ_OK; ZELQ_BAD_ARGUMENT(0), (1): info, text null; #ZELQ_OVERFLOW: it does not fit (a
 *         size of 0 or less writes nothing)
 * @note Threads: any; sends nothing and writes no trace line.
 */
ZELQ_API short ZELQ_CALL zelQ_GetDevInfoToModelStr(const unsigned short* info, char* text,
                                                   short size);

/**
 * Reads how often the power of a controller was reset.
 *
 * @param zelNo controller number, 1..254
 * @param count [out] number of resets
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): null;
 *         #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_GetPowerResetCount(short zelNo, unsigned int* count);

/* ------------------------------------------------------------------------------------------ */
/* Status                                                                                     */
/* ------------------------------------------------------------------------------------------ */

#pragma pack(push, 4)

/** State of one servo axis, 116 bytes. Flags are 0 or 1; positions and speeds are in user units.
 * The codes of the slave are those that the controller reports in its slave type word. */
typedef struct ServoStatus
{
    unsigned short axis;        /**< offset 0: axis number, 0xFFFF where there is no servo axis */
    unsigned short seriesCode;  /**< offset 2: drive series, type word bits 4..6 (simulated
                                   controller: 1..4 as zelQ_ServoPropertyCfg() has set it) */
    unsigned short motorCode;   /**< offset 4: motor, type word bits 7..10 (simulated controller:
                                   a number without further meaning) */
    unsigned short encoderCode; /**< offset 6: encoder, type word bits 11..14 (simulated
                                   controller: a number without further meaning) */
    unsigned short limitLogic;  /**< offset 8: limit sensor logic, type word bits 15..16 (simulated
                                   controller: kept, without effect on the sensors) */
    unsigned short homeLogic;   /**< offset 10: home sensor logic, type word bits 17..18 (simulated
                                   controller: kept, without effect on the sensor) */
    unsigned short inputUse;    /**< offset 12: use of the inputs, type word bits 19..21 (simulated
                                   controller: 0 none, 1 general input, 2 emergency stop) */
    unsigned short emergencyStop; /**< offset 14: the drive's configurable input, where it serves
                                     as emergency stop (type word bit 22), else 0 */
    unsigned short servoOn;       /**< offset 16: the motor is powered */
    unsigned short servoReady;    /**< offset 18: the drive could be switched on */
    unsigned short alarm;         /**< offset 20: the drive has an alarm */
    unsigned short warning;       /**< offset 22: the drive has a warning */
    unsigned short torqueLimited; /**< offset 24: the torque is at its limit */
    unsigned short inMotion;      /**< offset 26: a motion is running */
    unsigned short inPosition;    /**< offset 28: the motor stands at the commanded position */
    unsigned short homing;        /**< offset 30: a homing run is running */
    unsigned short homeDone;      /**< offset 32: the axis has been homed */
    unsigned short homeSensor;    /**< offset 34: the home sensor is on */
    unsigned short limitPositive; /**< offset 36: the positive limit sensor is on */
    unsigned short limitNegative; /**< offset 38: the negative limit sensor is on */
    unsigned short softLimit;     /**< offset 40: the axis stands at a software limit */
    unsigned short auxInput;      /**< offset 42: the drive's configurable input, where it does not
                                     serve as emergency stop, else 0 */
    unsigned short output1;       /**< offset 44: the drive's digital output 1 */
    unsigned short output2;       /**< offset 46: the drive's digital output 2 */
    unsigned short motionKind;  /**< offset 48: what the axis is doing, 0: nothing; the rest is the
                                   controller's code (simulated controller: 1 jog, 2 absolute
                                   move, 3 relative move, 4 search, 5 homing, 6 linear
                                   interpolation, 7 arc, 8 helix, 9 list motion, 10 torque mode,
                                   11 velocity mode, 12 profile position, 13 hand wheel) */
    unsigned short stopCause;   /**< offset 50: why the last motion ended, 0: at its target; the
                                   rest is the controller's code (simulated controller: 1 stop
                                   command, 2 sudden stop command, 3 limit switch, 4 software
                                   limit, 5 alarm, 6 servo off, 7 emergency stop, 8 connection
                                   lost, 9 home found, 10 search latched) */
    double commandPosition;     /**< offset 52: commanded position, user units */
    double encoderPosition;     /**< offset 60: position of the encoder, user units */
    double velocity;            /**< offset 68: speed, user units per second */
    double followingError;      /**< offset 76: commanded less actual position, user units */
    double torque;              /**< offset 84: torque, percent of the rated one */
    int rawVelocity;            /**< offset 92: speed, pulses per second */
    int rawTorque;              /**< offset 96: torque, 0.1 percent */
    int rawFollowingError;      /**< offset 100: commanded less actual position, pulses */
    unsigned short reserved[6]; /**< offset 104: not written */
} ServoStatus;

/** The 32 inputs or outputs of one input or output slave, 66 bytes. */
typedef struct SlaveIoStatus
{
    unsigned short slave;    /**< offset 0: slave number, 0xFFFF where there is none */
    unsigned short bits[32]; /**< offset 2: pin i, 0 or 1 */
} SlaveIoStatus;

/** State of a whole controller, 8168 bytes. */
typedef struct ControllerStatus
{
    unsigned short servoAxes[32];    /**< offset 0: servo axes; the first servoCount are written */
    unsigned short servoCount;       /**< offset 64: number of servo axes */
    unsigned short inputSlaves[32];  /**< offset 66: input slaves (type 2), likewise */
    unsigned short inputCount;       /**< offset 130: number of input slaves */
    unsigned short outputSlaves[32]; /**< offset 132: output slaves (type 3), likewise */
    unsigned short outputCount;      /**< offset 196: number of output slaves */
    unsigned short reserved;         /**< offset 198: not written */
    ServoStatus servo[32];           /**< offset 200: by axis number */
    SlaveIoStatus inputs[32];        /**< offset 3912: by slave number */
    SlaveIoStatus outputs[32];       /**< offset 6024: by slave number */
    unsigned short mainInputs[8];    /**< offset 8136: inputs of the main board, 0 or 1 */
    unsigned short mainOutputs[8];   /**< offset 8152: outputs of the main board, 0 or 1 */
} ControllerStatus;

#pragma pack(pop)

/**
 * Reads the state of a whole controller in one exchange: every servo axis, every input and output
 * slave and the main board.
 *
 * When the controller's slaves have changed since they were read, they are read again first.
 *
 * @param zelNo  controller number, 1..254
 * @param status [out] written on success; #ZELQ_CONFIGURATION_CHANGED leaves only mainInputs and
 *               mainOutputs written. Records of absent axes and slaves carry 0xFFFF as number.
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): null;
 *         #ZELQ_CONFIGURATION_CHANGED: the slaves are just changing; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_GetAllStatus(short zelNo, ControllerStatus* status);

/**
 * Reads the state of one servo axis. Unlike zelQ_GetAllStatus() it writes neither emergencyStop
 * nor the three raw values, and auxInput shows the configurable input whatever it serves for.
 *
 * @param zelNo  controller number, 1..254
 * @param axis   0..31; only its low 8 bits are used to read
 * @param status [out] written on success
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): null;
 *         ZELQ_BAD_ARGUMENT(0): the axis is no servo axis (found after the exchange);
 *         #ZELQ_CONFIGURATION_CHANGED; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_GetServoStatus(short zelNo, unsigned short axis, ServoStatus* status);

/* ------------------------------------------------------------------------------------------ */
/* Axis set-up: units, speed profiles, servo on                                               */
/* ------------------------------------------------------------------------------------------ */

/**
 * Sets how many user units one pulse of an axis is. Positions, distances, speeds and accelerations
 * of the axis are then given and reported in these units: pulses = value / unitPerPulse, truncated
 * toward zero. The factor is kept in the library only; 1.0 at start.
 *
 * @param zelNo        controller number, 1..254
 * @param axis         a servo axis of the controller
 * @param unitPerPulse user units per pulse; 0 is stored as 1.0
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_NOT_A_SERVO
 * @note A value whose pulses do not fit into a signed 32-bit number is sent as -2147483648.
 *       Threads: any; sends nothing.
 */
ZELQ_API short ZELQ_CALL zelQ_UnitPerPulseSet(short zelNo, short axis, double unitPerPulse);

/**
 * Reads how many user units one pulse of an axis is.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31; any other gives 1.0
 * @return the factor; -2.0: controller number out of range; -3.0: no session
 * @note Threads: any; sends nothing and writes no trace line.
 */
ZELQ_API double ZELQ_CALL zelQ_UnitPerPulseGet(short zelNo, short axis);

/**
 * Sets the library-wide flag by which interpolation calls make the end speed equal to the start
 * speed.
 *
 * @param flag 0 or 1; 0 at start
 * @return #ZELQ_OK; ZELQ_BAD_ARGUMENT(0): any other value
 * @note Threads: any; sends nothing.
 */
ZELQ_API short ZELQ_CALL zelQ_SpeedEqualStartAndStopSet(short flag);

/**
 * Reads the flag of zelQ_SpeedEqualStartAndStopSet().
 *
 * @return 0 or 1
 * @note Threads: any; sends nothing.
 */
ZELQ_API short ZELQ_CALL zelQ_SpeedEqualStartAndStopGet(void);

#pragma pack(push, 4)

/** A speed profile as zelQ_SpeedGet() reads it, 36 bytes. */
typedef struct SpeedProfile
{
    unsigned short profile;  /**< offset 0: shape of the profile, 0: trapezoid (simulated
                                controller: 1: smoothed ramps) */
    unsigned short reserved; /**< offset 2: not written */
    double start;            /**< offset 4: start speed, user units per second */
    double acc;              /**< offset 12: acceleration, user units per second squared */
    double drive;            /**< offset 20: drive speed, user units per second */
    double dec;              /**< offset 28: deceleration, user units per second squared */
} SpeedProfile;

#pragma pack(pop)

/**
 * Sets the speed profile of one axis, with a stop speed equal to the start speed.
 *
 * It counts from the next motion on. The simulated controller takes speeds up to 2147483647 pulses
 * per second; at its start a profile is: trapezoid, start 100, acceleration 100000, drive 10000,
 * deceleration 100000, in pulses.
 *
 * @param zelNo   controller number, 1..254
 * @param axis    0..31
 * @param profile shape of the profile, the controller's code, 0: trapezoid (simulated controller:
 *                1: smoothed ramps, which take twice the time; others are refused)
 * @param start   start speed, user units per second, not negative (simulated controller: above the
 *                drive speed it counts as that)
 * @param acc     acceleration, user units per second squared (simulated controller: 0 changes the
 *                speed at once; negative ones are refused)
 * @param drive   drive speed, user units per second (simulated controller: must be above 0)
 * @param dec     deceleration, user units per second squared, as acc
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SpeedSet(short zelNo, short axis, short profile, double start,
                                       double acc, double drive, double dec);

/**
 * Sets the speed profile of one axis with a stop speed of its own. See zelQ_SpeedSet() for the
 * limits of the values.
 *
 * @param zelNo   controller number, 1..254
 * @param axis    0..31
 * @param profile shape of the profile, as in zelQ_SpeedSet()
 * @param start   start speed, user units per second
 * @param acc     acceleration, user units per second squared
 * @param drive   drive speed, user units per second
 * @param dec     deceleration, user units per second squared
 * @param stop    stop speed, user units per second: the speed from which the axis goes to rest
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SpeedWithStopSet(short zelNo, short axis, short profile, double start,
                                               double acc, double drive, double dec, double stop);

/**
 * Sets the speed profiles of several axes in one exchange, each with a stop speed equal to its
 * start speed. Element i of each array belongs to axes[i].
 *
 * @param zelNo    controller number, 1..254
 * @param count    number of axes, 1..32
 * @param axes     [count] axis numbers; the controller judges them
 * @param profiles [count] shapes of the profiles, as in zelQ_SpeedSet()
 * @param start    [count] start speeds, user units per second
 * @param acc      [count] accelerations, user units per second squared
 * @param drive    [count] drive speeds, user units per second
 * @param dec      [count] decelerations, user units per second squared
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2), (3), (5): axes, profiles, acc null; (5) also: start null;
 *         (6): dec or drive null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mSpeedSet(short zelNo, short count, const unsigned short* axes,
                                        const short* profiles, const double* start,
                                        const double* acc, const double* drive, const double* dec);

/**
 * Sets the speed profiles of several axes in one exchange, with stop speeds of their own.
 *
 * @param zelNo    controller number, 1..254
 * @param count    number of axes, 1..32
 * @param axes     [count] axis numbers; the controller judges them
 * @param profiles [count] shapes of the profiles, as in zelQ_SpeedSet()
 * @param start    [count] start speeds, user units per second
 * @param acc      [count] accelerations, user units per second squared
 * @param drive    [count] drive speeds, user units per second
 * @param dec      [count] decelerations, user units per second squared
 * @param stop     [count] stop speeds, user units per second
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2), (3), (4), (5), (8): axes, profiles, start, acc, stop null;
 *         (6): dec or drive null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mSpeedWithStopSet(short zelNo, short count,
                                                const unsigned short* axes, const short* profiles,
                                                const double* start, const double* acc,
                                                const double* drive, const double* dec,
                                                const double* stop);

/**
 * Sets the acceleration of one axis.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param value user units per second squared
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SpeedSetAcc(short zelNo, unsigned short axis, double value);

/**
 * Sets the deceleration of one axis.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param value user units per second squared
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SpeedSetDec(short zelNo, unsigned short axis, double value);

/**
 * Sets the accelerations of several axes in one exchange.
 *
 * @param zelNo  controller number, 1..254
 * @param count  number of axes, 1..32
 * @param axes   [count] axis numbers; the controller judges them
 * @param values [count] user units per second squared, values[i] for axes[i]
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2), (3): axes, values null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mSpeedSetAcc(short zelNo, short count, const unsigned short* axes,
                                           const double* values);

/**
 * Sets the decelerations of several axes in one exchange.
 *
 * @param zelNo  controller number, 1..254
 * @param count  number of axes, 1..32
 * @param axes   [count] axis numbers; the controller judges them
 * @param values [count] user units per second squared, values[i] for axes[i]
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2), (3): axes, values null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mSpeedSetDec(short zelNo, short count, const unsigned short* axes,
                                           const double* values);

/**
 * Reads the speed profile of one axis back from the controller.
 *
 * @param zelNo   controller number, 1..254
 * @param axis    0..31
 * @param profile [out] written on success
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(1): null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SpeedGet(short zelNo, short axis, SpeedProfile* profile);

/**
 * Resets the servo amplifier of one axis.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_ServoReset(short zelNo, unsigned short axis);

/**
 * Resets the servo amplifiers of several axes.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2): null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mServoReset(short zelNo, short count, const unsigned short* axes);

/**
 * Resets the servo amplifiers of all servo axes of a controller.
 *
 * @param zelNo controller number, 1..254
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS: the controller
 *         has no servo axis, nothing was sent; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_aServoReset(short zelNo);

/**
 * Switches the servo amplifier of one axis on or off and waits for the controller's confirmation,
 * for as long as zelQ_ServoOnAfterActChkTMOSet() allows.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param on    1: on, 0: off
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2): on above 1; exchange codes
 * @note A reply that does not come is waited for up to 6 times the confirmation time-out, three
 *       times over. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_ServoOn(short zelNo, unsigned short axis, unsigned short on);

/**
 * Switches the servo amplifiers of several axes on or off, as zelQ_ServoOn() does for one.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @param on    1: on, 0: off; sent as given
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2): axes null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mServoOn(short zelNo, short count, const short* axes,
                                       unsigned short on);

/**
 * Sets how long zelQ_ServoOn() and zelQ_mServoOn() let the controller wait until the amplifiers
 * are on. It is sent to the controller, and is the call's receive time-out too.
 *
 * @param zelNo        controller number, 1..254
 * @param milliseconds milliseconds, kept as an unsigned 16-bit number; 5000 at start
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION
 * @note Threads: any; sends nothing.
 */
ZELQ_API short ZELQ_CALL zelQ_ServoOnAfterActChkTMOSet(short zelNo, short milliseconds);

/**
 * Reads the time-out of zelQ_ServoOnAfterActChkTMOSet().
 *
 * @param zelNo        controller number, 1..254
 * @param milliseconds [out] milliseconds; may be null
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION
 * @note Threads: any; sends nothing.
 */
ZELQ_API short ZELQ_CALL zelQ_ServoOnAfterActChkTMOGet(short zelNo, unsigned short* milliseconds);

/* ------------------------------------------------------------------------------------------ */
/* Motion: moves                                                                              */
/* ------------------------------------------------------------------------------------------ */

/**
 * Starts a continuous motion (jog) of one axis at its drive speed.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param dir   direction, 0 or 1; which of them is positive is the controller's setting (simulated
 *              controller: 0 positive, 1 negative)
 * @return #ZELQ_OK: the motion has started; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION;
 *         #ZELQ_BAD_AXIS; ZELQ_BAD_ARGUMENT(2): dir above 1; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_MoveVel(short zelNo, unsigned short axis, unsigned short dir);

/**
 * Starts a continuous motion (jog) of several axes, all in the same direction.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @param dir   direction, 0 or 1, as in zelQ_MoveVel()
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2): dir above 1, or axes null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mMoveVel(short zelNo, short count, const unsigned short* axes,
                                       unsigned short dir);

/**
 * Starts a move of one axis to an absolute position. The call returns when the controller has
 * accepted the move; zelQ_GetServoStatus() tells when it has ended.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param pos   target, user units
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_MoveAbs(short zelNo, unsigned short axis, double pos);

/**
 * Starts a move of one axis by a distance.
 *
 * @warning A lost reply makes the library send the request again: the move can be executed twice.
 *          Where that must not be, use zelQ_MoveAbs(), or check the position before relying on it.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param dist  signed distance, user units
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_MoveRel(short zelNo, unsigned short axis, double dist);

/**
 * Starts moves of several axes to absolute positions, axes[i] to pos[i].
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @param pos   [count] targets, user units of each axis
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2), (3): axes, pos null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mMoveAbs(short zelNo, short count, const short* axes,
                                       const double* pos);

/**
 * Starts moves of several axes by distances, axes[i] by dist[i].
 *
 * @warning A lost reply makes the library send the request again: the moves can be executed
 *          twice.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @param dist  [count] signed distances, user units of each axis
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2), (3): axes, dist null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mMoveRel(short zelNo, short count, const short* axes,
                                       const double* dist);

/* ------------------------------------------------------------------------------------------ */
/* Motion: search                                                                             */
/* ------------------------------------------------------------------------------------------ */

/** What zelQ_SearchGetStatus() reads of one axis, 16 bytes. */
typedef struct SearchStatus
{
    unsigned short code; /**< offset 0: state of the search, 0..15; the controller's code (simulated
                            one: 0 none yet, 1 searching, 2 found, 3 ended without the signal) */
    unsigned short flag; /**< offset 2: 1: pos holds a latched position, else 0 */
    unsigned short mode; /**< offset 4: the signal that was searched for, 0..3: p2 */
    double pos;          /**< offset 8: latched position, user units */
} SearchStatus;

/**
 * Runs one axis with its drive speed until the controller sees a signal, and latches the position
 * at which that was. The options are passed on as they are; the meanings in parentheses are those
 * of the simulated controller.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param p1    0 or 1 (direction)
 * @param p2    0..3 (signal; 0: probe input, 1: home sensor, 2: Z phase of the encoder, 3: the
 *              drive's configurable input)
 * @param p3    0 or 1 (edge; 0: the signal comes on, 1: it goes off)
 * @param p4    0 or 1 (end of the motion; 0: with deceleration, 1: at once)
 * @return #ZELQ_OK: the search has started; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION;
 *         #ZELQ_BAD_AXIS; ZELQ_BAD_ARGUMENT(2), (3), (4), (5): p1, p2, p3, p4 out of range;
 *         exchange codes
 * @warning A lost reply makes the library send the request again. The controller refuses the
 *          second one while the axis runs; a search that has already ended is started anew.
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SearchMove(unsigned short zelNo, unsigned short axis,
                                         unsigned short p1, unsigned short p2, unsigned short p3,
                                         unsigned short p4);

/**
 * Reads the state of an axis's search and the latched position.
 *
 * @param zelNo controller number, 1..254
 * @param axis  axis number; the controller judges it
 * @param out   [out] written on success
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(2): null;
 *         #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SearchGetStatus(short zelNo, unsigned short axis, SearchStatus* out);

/**
 * Reads the states of several axes' searches and their latched positions.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes; not checked, but one exchange reads 42 at most: more give
 *              #ZELQ_REPLY_MISMATCH, and more than 118 are not even sent
 * @param axes  [count] axis numbers; the controller judges them
 * @param out   [out, count] out[i] of axes[i]; written one by one, those before a missing value
 *              stay written
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(2), (3):
 *         axes, out null; #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mSearchGetStatus(short zelNo, short count, const short* axes,
                                               SearchStatus* out);

/* ------------------------------------------------------------------------------------------ */
/* Motion: override and stop                                                                  */
/* ------------------------------------------------------------------------------------------ */

/**
 * Gives a running motion of one axis a new drive speed. The axis's speed profile stays as it was
 * set. An axis that stands still is refused by the controller.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param speed new drive speed, user units per second
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_OverrideDriveSpeed(short zelNo, unsigned short axis, double speed);

/**
 * Gives the running motions of several axes new drive speeds.
 *
 * @param zelNo  controller number, 1..254
 * @param count  number of axes, 1..32
 * @param axes   [count] axis numbers; the controller judges them
 * @param speeds [count] new drive speeds, user units per second, speeds[i] for axes[i]
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2), (3): axes, speeds null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mOverrideDriveSpeed(short zelNo, short count, const short* axes,
                                                  const double* speeds);

/**
 * Gives a running motion of one axis a new speed profile. The profile that was set for the axis
 * stays as it was. All three values are scaled alike; which is which is the controller's matter,
 * the simulated one takes them in the order of zelQ_SpeedSet().
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param val1  acceleration, user units per second squared
 * @param val2  drive speed, user units per second
 * @param val3  deceleration, user units per second squared
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note The trace line shows val3 before val2. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_OverrideSpeed(short zelNo, unsigned short axis, double val1,
                                            double val2, double val3);

/**
 * Gives the running motions of several axes new speed profiles, as zelQ_OverrideSpeed() does for
 * one, in one exchange.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @param val1  [count] accelerations, user units per second squared, val1[i] for axes[i]
 * @param val2  [count] drive speeds, user units per second
 * @param val3  [count] decelerations, user units per second squared
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): count
 *         outside 1..32; (2), (3), (4), (5): axes, val1, val2, val3 null; exchange codes
 * @note Traced as "zelQ_mSetSpeed". Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mOverrideSpeed(unsigned short zelNo, short count, const short* axes,
                                             const double* val1, const double* val2,
                                             const double* val3);

/**
 * Gives a running motion of one axis a new target. An axis that is too fast to stop there, or runs
 * the other way, is braked and comes back.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param pos   new absolute target, user units
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_OverrideAbs(short zelNo, unsigned short axis, double pos);

/**
 * Gives the running motions of several axes new targets.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @param pos   [count] new absolute targets, user units, pos[i] for axes[i]
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): count
 *         outside 1..32; (2), (3): axes, pos null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mOverrideAbs(short zelNo, short count, const short* axes,
                                           const double* pos);

/**
 * Stops one axis with its deceleration.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @return #ZELQ_OK: the axis brakes, or stood already; #ZELQ_BAD_CONTROLLER_NUMBER;
 *         #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_StopDec(short zelNo, unsigned short axis);

/**
 * Stops one axis at once.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_StopSudden(short zelNo, unsigned short axis);

/**
 * Stops several axes, all in the same manner.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @param mode  0: at once, 1: with deceleration
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): count
 *         outside 1..32; (2): mode above 1, or axes null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mStop(short zelNo, short count, const unsigned short* axes,
                                    unsigned short mode);

/**
 * Stops all axes of an interpolation map.
 *
 * @param zelNo controller number, 1..254
 * @param map   map number, 0..15
 * @param mode  0: at once, 1: with deceleration
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): map above
 *         15; (2): mode above 1; exchange codes, among them the controller's own for a map without
 *         axes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_StopIMap(short zelNo, unsigned short map, unsigned short mode);

/* ------------------------------------------------------------------------------------------ */
/* Motion: torque, velocity and profile-position modes                                        */
/* ------------------------------------------------------------------------------------------ */

/**
 * Lets one axis turn with a torque. The mode lasts until the axis is stopped; a further call
 * changes the torque.
 *
 * @param zelNo  controller number, 1..254
 * @param axis   0..31
 * @param torque percent of the rated torque, -500.0..500.0, sent in tenths, truncated toward zero
 * @param limit  passed on, at most 20000 (simulated controller: highest speed, revolutions per
 *               minute; 0: the motor's own; negative ones are refused)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2): torque out of range; (3): limit above 20000; exchange codes
 * @note Of torques far out of range only the low 16 bits of the tenths are looked at, and sent.
 *       Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_CT_SetTorque(short zelNo, unsigned short axis, double torque,
                                           short limit);

/**
 * Lets several axes turn with torques. Unlike zelQ_CT_SetTorque() it takes no negative torques, and
 * passes every limit on.
 *
 * @param zelNo   controller number, 1..254
 * @param count   number of axes, 1..32
 * @param axes    [count] axis numbers, 0..31
 * @param torques [count] percent of the rated torque, 0.0..500.0, torques[i] for axes[i]
 * @param limits  [count] as limit in zelQ_CT_SetTorque(), not checked
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): count
 *         outside 1..32; (2), (3): an axis, a torque out of range, whichever comes first in the
 *         lists; (2), (3), (4): axes, torques, limits null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mCT_SetTorque(short zelNo, short count, const short* axes,
                                            const double* torques, const unsigned short* limits);

/**
 * Lets one axis run with a velocity. The mode lasts until the axis is stopped or given velocity 0;
 * a further call changes the velocity. The values are passed on; the meanings here are those of the
 * simulated controller.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param val1  signed velocity, user units per second
 * @param val2  acceleration, user units per second squared
 * @param val3  deceleration, user units per second squared
 * @param word  shape of the ramps, 0: straight, 1: smoothed
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note The trace line shows the values in pulses. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_CV_SetVelocity(short zelNo, unsigned short axis, double val1,
                                             double val2, double val3, short word);

/**
 * Lets several axes run with velocities, as zelQ_CV_SetVelocity() does for one.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32, of which one exchange carries 13: more give
 *              #ZELQ_REPLY_MISMATCH, and nothing is sent
 * @param axes  [count] axis numbers, 0..31
 * @param val1  [count] velocities, user units per second, val1[i] for axes[i]
 * @param val2  [count] accelerations, user units per second squared
 * @param val3  [count] decelerations, user units per second squared
 * @param words [count] shapes of the ramps
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): count
 *         outside 1..32; (2): an axis out of range; (2), (3), (4), (5), (6): axes, val1, val2,
 *         val3, words null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mCV_SetVelocity(short zelNo, short count, const short* axes,
                                              const double* val1, const double* val2,
                                              const double* val3, const short* words);

/**
 * Lets one axis run to a position with a speed of its own; accelerations are those of the axis's
 * speed profile. A further call changes target and speed on the way.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param pos   absolute target, user units
 * @param speed user units per second
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Traced as "zelQ_PPSetTPosSpeed", in pulses, with a 0 at the end. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_PP_SetTPosSpeed(short zelNo, unsigned short axis, double pos,
                                              double speed);

/**
 * Lets several axes run to positions with speeds of their own.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32, of which one exchange carries 23: more give
 *              #ZELQ_REPLY_MISMATCH, and nothing is sent
 * @param axes  [count] axis numbers; the controller judges them
 * @param pos   [count] absolute targets, user units, pos[i] for axes[i]
 * @param speed [count] user units per second, speed[i] for axes[i]
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): count
 *         outside 1..32; (2), (3), (4): axes, pos, speed null; exchange codes
 * @note Traced as "zelQ_mPPSetTPosSpeed". Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mPP_SetTPosSpeed(unsigned short zelNo, short count, const short* axes,
                                               const double* pos, const double* speed);

/* ------------------------------------------------------------------------------------------ */
/* Motion: position set                                                                       */
/* ------------------------------------------------------------------------------------------ */

/**
 * Sets the command position and the encoder position of one axis to the same value. Nothing moves.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param pos   user units
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_CmdEncPosSet(short zelNo, unsigned short axis, double pos);

/**
 * Sets the command positions and the encoder positions of several axes.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @param pos   [count] user units, pos[i] for axes[i]
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): count
 *         outside 1..32; (2), (3): axes, pos null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mCmdEncPosSet(short zelNo, short count, const short* axes,
                                            const double* pos);

/**
 * Takes the encoder position of one axis as its command position, so that no following error
 * remains. Nothing moves.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_EncToCmdPos(short zelNo, unsigned short axis);

/**
 * Takes the encoder positions of several axes as their command positions.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): count
 *         outside 1..32; (2): null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mEncToCmdPos(short zelNo, short count, const unsigned short* axes);

/**
 * Clears the count of turns of one axis's absolute encoder: what remains of its position is the
 * part of one turn.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_AbsEncMultiTurnClear(short zelNo, unsigned short axis);

/**
 * Clears the counts of turns of several axes' absolute encoders.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): count
 *         outside 1..32; (2): null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mAbsEncMultiTurnClear(short zelNo, short count,
                                                    const unsigned short* axes);

/* ------------------------------------------------------------------------------------------ */
/* Motion: homing                                                                             */
/* ------------------------------------------------------------------------------------------ */

/* A homing run goes through four phases, each with its own speeds (zelQ_HomeSetDetailSpeed()): a
 * fast search for the signal, the way back off it, a slow approach that finds its edge, and the
 * ways behind it: to the Z phase and by pos. The values opt, sel, word and pos are passed on as
 * they are; the meanings in parentheses are those of the simulated controller. The call returns
 * when the run has begun; the status tells its progress and end (homing, homeDone, stopCause). */

/**
 * Starts a homing run of one axis to its home sensor.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param dir   direction of the search, 0 or 1 (0: positive, 1: negative)
 * @param opt   0 or 1 (end of the fast search; 0: with deceleration, 1: at once)
 * @param zMode search for the Z phase behind the sensor's edge; 0, 1: in this direction, 2: none
 * @param sel   0 or 1 (0: home gets the position pos; 1: the axis goes on by pos and is at 0 there)
 * @param word  passed on (pause between two phases, milliseconds)
 * @param pos   user units, see sel
 * @return #ZELQ_OK: the run has begun; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION;
 *         #ZELQ_BAD_AXIS; ZELQ_BAD_ARGUMENT(2), (3), (4), (5): dir, opt, zMode, sel out of range;
 *         exchange codes
 * @warning A lost reply makes the library send the request again. The controller refuses the
 *          second one while the axis runs; a run that has already ended is started anew.
 * @note The trace line shows an unfilled conversion in place of pos, and no opt. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_HomeMoveHome(short zelNo, unsigned short axis, unsigned short dir,
                                           unsigned short opt, unsigned short zMode,
                                           unsigned short sel, short word, double pos);

/**
 * Starts a homing run of one axis to the next Z phase of its encoder.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param dir   direction of the search, 0 or 1 (0: positive, 1: negative)
 * @param opt   as in zelQ_HomeMoveHome()
 * @param sel   as in zelQ_HomeMoveHome()
 * @param word  as in zelQ_HomeMoveHome()
 * @param pos   user units, see sel
 * @return #ZELQ_OK: the run has begun; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION;
 *         #ZELQ_BAD_AXIS; ZELQ_BAD_ARGUMENT(2), (3), (4): dir, opt, sel out of range; exchange
 * codes
 * @warning A lost reply makes the library send the request again. The controller refuses the
 *          second one while the axis runs; a run that has already ended is started anew.
 * @note The trace line shows an unfilled conversion in place of pos, and no opt. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_HomeMoveZPhase(short zelNo, unsigned short axis, unsigned short dir,
                                             unsigned short opt, unsigned short sel, short word,
                                             double pos);

/**
 * Starts a homing run of one axis to the limit switch at the end of its way.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param dir   direction of the search, 0 or 1 (0: positive, 1: negative)
 * @param opt   as in zelQ_HomeMoveHome()
 * @param zUse  1: search for the Z phase afterwards, away from the switch; 0: do not
 * @param sel   as in zelQ_HomeMoveHome()
 * @param word  as in zelQ_HomeMoveHome()
 * @param pos   user units, see sel
 * @return #ZELQ_OK: the run has begun; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION;
 *         #ZELQ_BAD_AXIS; ZELQ_BAD_ARGUMENT(2), (3), (4), (5): dir, opt, zUse, sel out of range;
 *         exchange codes
 * @warning A lost reply makes the library send the request again. The controller refuses the
 *          second one while the axis runs; a run that has already ended is started anew.
 * @note The trace line shows an unfilled conversion in place of pos, and no opt. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_HomeMoveLimit(unsigned short zelNo, unsigned short axis,
                                            unsigned short dir, unsigned short opt,
                                            unsigned short zUse, unsigned short sel, short word,
                                            double pos);

/**
 * Starts a homing run of one axis to the mechanical stopper at the end of its way. Limit switches
 * do not stop it.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param dir   direction of the search, 0 or 1 (0: positive, 1: negative)
 * @param zUse  1: search for the Z phase afterwards, away from the stopper; 0: do not
 * @param sel   as in zelQ_HomeMoveHome()
 * @param word  passed on (torque by which the stopper is known, 0.1 percent; 0: 500)
 * @param pos   user units, see sel
 * @return #ZELQ_OK: the run has begun; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION;
 *         #ZELQ_BAD_AXIS; ZELQ_BAD_ARGUMENT(2), (3), (4): dir, zUse, sel out of range; exchange
 *         codes
 * @warning A lost reply makes the library send the request again. The controller refuses the
 *          second one while the axis runs; a run that has already ended is started anew.
 * @note The trace line shows an unfilled conversion in place of pos, and no opt. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_HomeMoveStopper(short zelNo, unsigned short axis, unsigned short dir,
                                              short zUse, unsigned short sel, short word,
                                              double pos);

/**
 * Sets the speeds of the four homing phases of one axis by their drive speeds: each starts with a
 * tenth of it, and gains or loses twice its value in a second.
 *
 * @param zelNo   controller number, 1..254
 * @param axis    0..31
 * @param profile shape of the speed profile in all phases, 0 or 1 (0: trapezoid, 1: smoothed)
 * @param s0      drive speed of the first phase, user units per second
 * @param s1      drive speed of the second phase, user units per second
 * @param s2      drive speed of the third phase, user units per second
 * @param s3      drive speed of the fourth phase, user units per second
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2): profile above 1; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_HomeSetDriveSpeed(short zelNo, unsigned short axis,
                                                unsigned short profile, double s0, double s1,
                                                double s2, double s3);

/**
 * Sets the speeds of the four homing phases of one axis by their drive speeds, one start speed, and
 * one ratio of acceleration and deceleration to the drive speed.
 *
 * @param zelNo    controller number, 1..254
 * @param axis     0..31
 * @param profile  shape of the speed profile in all phases, 0 or 1 (0: trapezoid, 1: smoothed)
 * @param start    start speed of all phases, user units per second
 * @param s0       drive speed of the first phase, user units per second
 * @param s1       drive speed of the second phase, user units per second
 * @param s2       drive speed of the third phase, user units per second
 * @param s3       drive speed of the fourth phase, user units per second
 * @param accRatio acceleration and deceleration of a phase, by its drive speed, 1/s
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2): profile above 1; exchange codes
 * @note The trace line shows the first phase's drive and start speed, acceleration and
 *       deceleration in pulses. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_HomeSetSpeed(short zelNo, unsigned short axis, unsigned short profile,
                                           double start, double s0, double s1, double s2, double s3,
                                           short accRatio);

/**
 * Sets the speeds of the four homing phases of one axis, each by itself.
 *
 * @param zelNo    controller number, 1..254
 * @param axis     0..31
 * @param profile0 first phase: shape of the speed profile, 0 or 1 (0: trapezoid, 1: smoothed)
 * @param start0   start speed, user units per second
 * @param acc0     acceleration, user units per second squared
 * @param drive0   drive speed, user units per second
 * @param dec0     deceleration, user units per second squared
 * @param profile1 second phase: shape of the speed profile, 0 or 1 (0: trapezoid, 1: smoothed)
 * @param start1   start speed, user units per second
 * @param acc1     acceleration, user units per second squared
 * @param drive1   drive speed, user units per second
 * @param dec1     deceleration, user units per second squared
 * @param profile2 third phase: shape of the speed profile, 0 or 1 (0: trapezoid, 1: smoothed)
 * @param start2   start speed, user units per second
 * @param acc2     acceleration, user units per second squared
 * @param drive2   drive speed, user units per second
 * @param dec2     deceleration, user units per second squared
 * @param profile3 fourth phase: shape of the speed profile, 0 or 1 (0: trapezoid, 1: smoothed)
 * @param start3   start speed, user units per second
 * @param acc3     acceleration, user units per second squared
 * @param drive3   drive speed, user units per second
 * @param dec3     deceleration, user units per second squared
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2), (7), (12), (17): profile0, profile1, profile2, profile3 above 1;
 *         exchange codes
 * @note Traced as zelQ_HomeSetSpeed() is, without the profile. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_HomeSetDetailSpeed(
    short zelNo, unsigned short axis, unsigned short profile0, double start0, double acc0,
    double drive0, double dec0, unsigned short profile1, double start1, double acc1, double drive1,
    double dec1, unsigned short profile2, double start2, double acc2, double drive2, double dec2,
    unsigned short profile3, double start3, double acc3, double drive3, double dec3);

/**
 * Cancels the homing-done state of one axis.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_HomeDoneCancel(short zelNo, unsigned short axis);

/**
 * Cancels the homing-done states of several axes.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2): null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mHomeDoneCancel(short zelNo, short count, const unsigned short* axes);

/* ------------------------------------------------------------------------------------------ */
/* Interpolation: maps                                                                        */
/* ------------------------------------------------------------------------------------------ */

/**
 * Sets an interpolation map: the axes that the interpolation calls move by the map's number. A
 * controller keeps 16 maps. The order of the axes counts: the first two span the plane of arcs, the
 * third is the height of helices, and speeds and radii are in the units of the first.
 *
 * @param zelNo     controller number, 1..254
 * @param mapIndex  map, 0..15
 * @param axisCount number of axes, 1..16
 * @param axes      [axisCount] axis numbers; the controller judges them
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (2):
 *         mapIndex, axisCount out of range; ZELQ_BAD_ARGUMENT(3): axes null; exchange codes
 * @note The library remembers the map as it was set last with success by this process: an
 *       interpolation call scales its values by the factors of these axes. Maps that another
 *       program has set have to be set again.
 * @note Traced as "zelQ_ISetMap". Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_IMapSet(short zelNo, short mapIndex, short axisCount,
                                      const unsigned short* axes);

/**
 * Empties an interpolation map.
 *
 * @param zelNo    controller number, 1..254
 * @param mapIndex map, 0..15
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): mapIndex
 *         out of range; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_IMapClear(short zelNo, short mapIndex);

/**
 * Reads an interpolation map from the controller. What the library remembers of the map is not
 * changed by it.
 *
 * @param zelNo    controller number, 1..254
 * @param mapIndex map, 0..15
 * @param mapOut   [out, 18] element 0 is the number of axes, elements 2 and on are their numbers,
 *                 16 at most; element 1 and those behind the last axis are not written
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): mapIndex
 *         out of range; ZELQ_BAD_ARGUMENT(2): mapOut null; #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_IMapGet(short zelNo, unsigned short mapIndex, short* mapOut);

/* ------------------------------------------------------------------------------------------ */
/* Interpolation: lines                                                                       */
/* ------------------------------------------------------------------------------------------ */

#pragma pack(push, 4)

/** The speeds of an interpolated motion along its path, 44 bytes, in units of the map's first
 * axis. While the flag of zelQ_SpeedEqualStartAndStopSet() is set, every interpolation call changes
 * its record: endSpeed becomes startSpeed; where acc is 0, startSpeed becomes driveSpeed; where dec
 * is 0, endSpeed does. The record then holds what was sent. */
typedef struct InterpSpeedProfile
{
    unsigned short profileType; /**< offset 0: shape of the profile, 0: trapezoid, 1: S-curve */
    unsigned short reserved;    /**< offset 2: neither read nor written */
    double startSpeed;          /**< offset 4: start speed, user units per second */
    double acc;                 /**< offset 12: acceleration, user units per second squared */
    double driveSpeed;          /**< offset 20: drive speed, user units per second */
    double dec;                 /**< offset 28: deceleration, user units per second squared */
    double endSpeed;            /**< offset 36: end speed, user units per second */
} InterpSpeedProfile;

#pragma pack(pop)

/**
 * Starts a straight move of the axes of an interpolation map, or queues it behind the motion that
 * runs (zelQ_CP_PreRegUseSet()). Does not wait for its end.
 *
 * @warning A lost reply makes the library send the request again: the move can be executed twice,
 *          which a relative one shows.
 *
 * @param zelNo     controller number, 1..254
 * @param mapIndex  map, 0..15; it needs at least 2 axes
 * @param option    0: position holds targets; 1: distances from where the move begins
 * @param axisCount number of coordinates, 1 up to the map's number of axes; the map's other axes
 *                  stay where they are
 * @param position  [axisCount] coordinates, position[i] in user units of the map's axis i
 * @param speed     [in, out] speeds along the path; may be changed (InterpSpeedProfile), also by a
 *                  call that is refused for its map or axisCount
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (2):
 *         mapIndex, option out of range; #ZELQ_TOO_FEW_MAP_AXES; ZELQ_BAD_ARGUMENT(3): axisCount
 *         out of range; ZELQ_BAD_ARGUMENT(4), (5): position, speed null; exchange codes
 * @note Traces wrong arguments too. Threads: any; the record must not be shared by calls that run
 *       at the same time.
 */
ZELQ_API short ZELQ_CALL zelQ_ILinear(short zelNo, short mapIndex, unsigned short option,
                                      short axisCount, const double* position,
                                      InterpSpeedProfile* speed);

/**
 * Starts or queues a straight move whose last coordinate is that of an accompanying axis, the U
 * axis: it begins and ends with the others, and the speeds are those of the others' path.
 *
 * @warning A lost reply makes the library send the request again: the move can be executed twice,
 *          which a relative one shows.
 *
 * @param zelNo     controller number, 1..254
 * @param mapIndex  map, 0..15; it needs at least 2 axes
 * @param option    0: position holds targets; 1: distances from where the move begins
 * @param axisCount number of coordinates, 1 up to the map's number of axes
 * @param position  [axisCount] coordinates, position[i] in user units of the map's axis i
 * @param speed     [in, out] speeds along the path; may be changed (InterpSpeedProfile), also by a
 *                  call that is refused for its map or axisCount
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (2):
 *         mapIndex, option out of range; #ZELQ_TOO_FEW_MAP_AXES; ZELQ_BAD_ARGUMENT(3): axisCount
 *         out of range; ZELQ_BAD_ARGUMENT(4), (5): position, speed null; exchange codes
 * @note Traces wrong arguments too. Threads: any; the record must not be shared by calls that run
 *       at the same time.
 */
ZELQ_API short ZELQ_CALL zelQ_ILinearWithUAxis(short zelNo, short mapIndex, unsigned short option,
                                               short axisCount, const double* position,
                                               InterpSpeedProfile* speed);

/* ------------------------------------------------------------------------------------------ */
/* Interpolation: arcs and helices                                                            */
/* ------------------------------------------------------------------------------------------ */

/**
 * Starts or queues an arc around a centre by an angle, in the plane of the map's axes 0 and 1.
 *
 * @warning A lost reply makes the library send the request again: the motion can be executed
 *          twice.
 *
 * @param zelNo    controller number, 1..254
 * @param mapIndex map, 0..15; it needs at least 2 axes
 * @param option   0: points are positions; 1: distances from where the motion begins
 * @param center   [2] two coordinates of the centre, user units of the map's axes 0 and 1
 * @param angle    degrees, positive counter-clockwise (from axis 0 to axis 1), above 360 for more
 *                 than one turn; sent in units of 0.0001 degrees
 * @param speed    [in, out] speeds along the path; may be changed (InterpSpeedProfile), also by a
 *                 call that is refused for its map
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (2):
 *         mapIndex, option out of range; ZELQ_BAD_ARGUMENT(4): angle 0; #ZELQ_TOO_FEW_MAP_AXES;
 *         ZELQ_BAD_ARGUMENT(3), (5): center, speed null; exchange codes
 * @note Threads: any; the record must not be shared by calls that run at the same time.
 */
ZELQ_API short ZELQ_CALL zelQ_IArc(short zelNo, short mapIndex, unsigned short option,
                                   const double* center, double angle, InterpSpeedProfile* speed);

/**
 * Starts or queues an arc around a centre to an end point. An end where it begins gives a whole
 * circle.
 *
 * @warning A lost reply makes the library send the request again: the motion can be executed
 *          twice.
 *
 * @param zelNo     controller number, 1..254
 * @param mapIndex  map, 0..15; it needs at least 2 axes
 * @param option    0: points are positions; 1: distances from where the motion begins
 * @param center    [2] two coordinates of the centre, user units of the map's axes 0 and 1
 * @param end       [2] two coordinates of the end, user units of the map's axes 0 and 1
 * @param direction 0: counter-clockwise; 1: clockwise; the controller judges it
 * @param speed     [in, out] speeds along the path; may be changed (InterpSpeedProfile)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (2):
 *         mapIndex, option out of range; #ZELQ_TOO_FEW_MAP_AXES; ZELQ_BAD_ARGUMENT(3), (4), (6):
 *         center, end, speed null; exchange codes
 * @note Threads: any; the record must not be shared by calls that run at the same time.
 */
ZELQ_API short ZELQ_CALL zelQ_IArcCE(short zelNo, short mapIndex, unsigned short option,
                                     const double* center, const double* end,
                                     unsigned short direction, InterpSpeedProfile* speed);

/**
 * Starts or queues an arc through a point to an end point.
 *
 * @warning A lost reply makes the library send the request again: the motion can be executed
 *          twice.
 *
 * @param zelNo    controller number, 1..254
 * @param mapIndex map, 0..15; it needs at least 2 axes
 * @param option   0: points are positions; 1: distances from where the motion begins
 * @param pass     [2] two coordinates of a point that the arc passes, user units of the map's axes
 *                 0 and 1
 * @param end      [2] two coordinates of the end, user units of the map's axes 0 and 1
 * @param speed    [in, out] speeds along the path; may be changed (InterpSpeedProfile)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (2):
 *         mapIndex, option out of range; #ZELQ_TOO_FEW_MAP_AXES; ZELQ_BAD_ARGUMENT(3), (4), (5):
 *         pass, end, speed null; exchange codes
 * @note Threads: any; the record must not be shared by calls that run at the same time.
 */
ZELQ_API short ZELQ_CALL zelQ_IArcPE(short zelNo, short mapIndex, unsigned short option,
                                     const double* pass, const double* end,
                                     InterpSpeedProfile* speed);

/**
 * Starts or queues an arc of a radius to an end point.
 *
 * @warning A lost reply makes the library send the request again: the motion can be executed
 *          twice.
 *
 * @param zelNo     controller number, 1..254
 * @param mapIndex  map, 0..15; it needs at least 2 axes
 * @param radius    user units of the map's axis 0
 * @param arcSelect 0: the short arc; 1: the long one
 * @param option    0: points are positions; 1: distances from where the motion begins
 * @param end       [2] two coordinates of the end, user units of the map's axes 0 and 1
 * @param direction 0: counter-clockwise; 1: clockwise; the controller judges it
 * @param speed     [in, out] speeds along the path; may be changed (InterpSpeedProfile)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (3), (4):
 *         mapIndex, arcSelect, option out of range; #ZELQ_TOO_FEW_MAP_AXES; ZELQ_BAD_ARGUMENT(5),
 *         (7): end, speed null; exchange codes
 * @note Threads: any; the record must not be shared by calls that run at the same time.
 */
ZELQ_API short ZELQ_CALL zelQ_IArcRE(short zelNo, short mapIndex, double radius, short arcSelect,
                                     unsigned short option, const double* end,
                                     unsigned short direction, InterpSpeedProfile* speed);

/**
 * Starts or queues a helix: the arc of zelQ_IArc() with a height that grows with the angle.
 *
 * @warning A lost reply makes the library send the request again: the motion can be executed
 *          twice.
 *
 * @param zelNo         controller number, 1..254
 * @param mapIndex      map, 0..15; it needs at least 3 axes
 * @param option        0: points and height are positions; 1: distances from where the motion
 *                      begins
 * @param center        [2] two coordinates of the centre, user units of the map's axes 0 and 1
 * @param angle         degrees, positive counter-clockwise (from axis 0 to axis 1), above 360 for
 *                      more than one turn; sent in units of 0.0001 degrees
 * @param helicalOption 0: the speeds are those in the plane; 1: those along the helix; it stands
 *                      above the profile's shape in one register, not checked
 * @param height        user units of the map's axis 2
 * @param speed         [in, out] speeds along the path; may be changed (InterpSpeedProfile), also
 *                      by a call that is refused for its map
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (2):
 *         mapIndex, option out of range; ZELQ_BAD_ARGUMENT(4): angle 0; #ZELQ_TOO_FEW_MAP_AXES;
 *         ZELQ_BAD_ARGUMENT(3), (7): center, speed null; exchange codes
 * @note Threads: any; the record must not be shared by calls that run at the same time.
 */
ZELQ_API short ZELQ_CALL zelQ_IHelical(short zelNo, short mapIndex, unsigned short option,
                                       const double* center, double angle,
                                       unsigned short helicalOption, double height,
                                       InterpSpeedProfile* speed);

/**
 * Starts or queues a helix: the arc of zelQ_IArcCE() with a height that grows with the angle.
 *
 * @warning A lost reply makes the library send the request again: the motion can be executed
 *          twice.
 *
 * @param zelNo         controller number, 1..254
 * @param mapIndex      map, 0..15; it needs at least 3 axes
 * @param option        0: points and height are positions; 1: distances from where the motion
 *                      begins
 * @param center        [2] two coordinates of the centre, user units of the map's axes 0 and 1
 * @param end           [2] two coordinates of the end, user units of the map's axes 0 and 1
 * @param helicalOption 0: the speeds are those in the plane; 1: those along the helix; it stands
 *                      above the profile's shape in one register, not checked
 * @param height        user units of the map's axis 2
 * @param direction     0: counter-clockwise; 1: clockwise; the controller judges it
 * @param speed         [in, out] speeds along the path; may be changed (InterpSpeedProfile)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (2):
 *         mapIndex, option out of range; #ZELQ_TOO_FEW_MAP_AXES; ZELQ_BAD_ARGUMENT(3), (4), (8):
 *         center, end, speed null; exchange codes
 * @note Traced as "zelQ_IArcCE". Threads: any; the record must not be shared by calls that run at
 *       the same time.
 */
ZELQ_API short ZELQ_CALL zelQ_IHelicalCE(short zelNo, short mapIndex, unsigned short option,
                                         const double* center, const double* end,
                                         unsigned short helicalOption, double height,
                                         unsigned short direction, InterpSpeedProfile* speed);

/**
 * Starts or queues a helix: the arc of zelQ_IArcPE() with a height that grows with the angle.
 *
 * @warning A lost reply makes the library send the request again: the motion can be executed
 *          twice.
 *
 * @param zelNo         controller number, 1..254
 * @param mapIndex      map, 0..15; it needs at least 3 axes
 * @param option        0: points and height are positions; 1: distances from where the motion
 *                      begins
 * @param pass          [2] two coordinates of a point that the arc passes, user units of the map's
 *                      axes 0 and 1
 * @param end           [2] two coordinates of the end, user units of the map's axes 0 and 1
 * @param helicalOption 0: the speeds are those in the plane; 1: those along the helix; it stands
 *                      above the profile's shape in one register, not checked
 * @param height        user units of the map's axis 2
 * @param speed         [in, out] speeds along the path; may be changed (InterpSpeedProfile)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (2):
 *         mapIndex, option out of range; #ZELQ_TOO_FEW_MAP_AXES; ZELQ_BAD_ARGUMENT(3), (4), (7):
 *         pass, end, speed null; exchange codes
 * @note Threads: any; the record must not be shared by calls that run at the same time.
 */
ZELQ_API short ZELQ_CALL zelQ_IHelicalPE(short zelNo, short mapIndex, unsigned short option,
                                         const double* pass, const double* end,
                                         unsigned short helicalOption, double height,
                                         InterpSpeedProfile* speed);

/**
 * Starts or queues a helix: the arc of zelQ_IArcRE() with a height that grows with the angle.
 *
 * @warning A lost reply makes the library send the request again: the motion can be executed
 *          twice.
 *
 * @param zelNo         controller number, 1..254
 * @param mapIndex      map, 0..15; it needs at least 3 axes
 * @param radius        user units of the map's axis 0
 * @param arcSelect     0: the short arc; 1: the long one; the controller judges it
 * @param option        0: points and height are positions; 1: distances from where the motion
 *                      begins
 * @param end           [2] two coordinates of the end, user units of the map's axes 0 and 1
 * @param helicalOption 0: the speeds are those in the plane; 1: those along the helix; it stands
 *                      above the profile's shape in one register, not checked
 * @param height        user units of the map's axis 2
 * @param direction     0: counter-clockwise; 1: clockwise; the controller judges it
 * @param speed         [in, out] speeds along the path; may be changed (InterpSpeedProfile)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (4):
 *         mapIndex, option out of range; #ZELQ_TOO_FEW_MAP_AXES; ZELQ_BAD_ARGUMENT(5), (9): end,
 *         speed null; exchange codes
 * @note Threads: any; the record must not be shared by calls that run at the same time.
 */
ZELQ_API short ZELQ_CALL zelQ_IHelicalRE(short zelNo, short mapIndex, double radius,
                                         unsigned short arcSelect, unsigned short option,
                                         const double* end, unsigned short helicalOption,
                                         double height, unsigned short direction,
                                         InterpSpeedProfile* speed);

/* ------------------------------------------------------------------------------------------ */
/* Interpolation: continuous path                                                             */
/* ------------------------------------------------------------------------------------------ */

/**
 * Switches the use of the pre-registers. With them, an interpolation call that meets a motion of
 * its map still running queues its segment behind it, and the segments run as one continuous path:
 * a joint is passed with the lower of the end speed before it and the start speed behind it.
 *
 * @param zelNo controller number, 1..254
 * @param use   0: off; 1: on; the controller judges it
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_CP_PreRegUseSet(short zelNo, unsigned short use);

/**
 * Reads the use of the pre-registers from the controller.
 *
 * @param zelNo controller number, 1..254
 * @param use   [out] 0: off; 1: on
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(0): use null;
 *         #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Traced as "zelQ_CP_UsePreRegGet". Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_CP_PreRegUseGet(unsigned short zelNo, unsigned short* use);

/**
 * Reads how many segments each map's pre-registers still have room for. All of them are free again
 * when nothing waits behind the running segment; none while the pre-registers are not in use.
 *
 * @param zelNo  controller number, 1..254
 * @param remain [out, 16] one a map; with #ZELQ_REPLY_DATA_MISSING those that came are written
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(0): remain
 *         null; #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_CP_PreRegGetRemain(short zelNo, unsigned short* remain);

/* ------------------------------------------------------------------------------------------ */
/* Sequence programs                                                                          */
/* ------------------------------------------------------------------------------------------ */

/** State of one sequence program, 28 bytes. What the values mean is the controller's; the meaning
 * in parentheses is that of the simulated one. */
typedef struct SeqStatus
{
    unsigned short state;    /**< offset 0: bits 0..3 of the status word (simulated controller: 0
                                empty, 1 being filled, 2 ready, 3 running, 4 paused, 5 finished, 6
                                stopped, 7 faulted) */
    unsigned short bit4;     /**< offset 2: bit 4 of the status word, 0 or 1 (simulated controller:
                                1: it has the focus) */
    unsigned short bit5;     /**< offset 4: bit 5 of the status word, 0 or 1 (simulated controller:
                                1: it is waiting) */
    unsigned short bits6_7;  /**< offset 6: bits 6..7 of the status word (simulated controller: the
                                record at hand; 0 a command or the end, 1 wait for motion or
                                pre-registers, 2 wait for input, 3 delay) */
    unsigned short reserved; /**< offset 8: not written */
    unsigned short bit8;     /**< offset 10: bit 8 of the status word, 0 or 1 (simulated controller:
                                1: it has its end) */
    unsigned short bits9_13; /**< offset 12: bits 9..13 of the status word (simulated controller:
                                rounds completed, modulo 32) */
    unsigned short reserved2; /**< offset 14: not written */
    unsigned int long1;       /**< offset 16: status registers 1 (low half) and 2 (simulated
                                 controller: number of the record at hand, from 1; 0 before the
                                 first start) */
    unsigned int long3;       /**< offset 20: status registers 3 (low half) and 4 (simulated
                                 controller: records passed since the start) */
    unsigned short word5;     /**< offset 24: status register 5 (simulated controller: result with
                                 which it faulted, else 0) */
    unsigned short reserved3; /**< offset 26: not written */
} SeqStatus;

/** State of the four sequence programs, 112 bytes. */
typedef struct SeqAllStatus
{
    SeqStatus program[4]; /**< offset 0: by program index */
} SeqAllStatus;

/**
 * Gives a sequence program the focus: from now on the controller appends function records, and
 * the motion commands of any caller, to its buffer instead of executing them, until
 * zelQ_SeqKillFocus().
 *
 * @warning While a program has the focus, every record is appended, once for each time it is
 *          sent: a lost reply makes the library send it again.
 *
 * @param zelNo controller number, 1..254
 * @param seq   program index, 0..3
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(0): seq above
 *         3; exchange codes
 * @note Threads: any; the focus is the controller's, and so common to all of its callers.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqSetFocus(short zelNo, unsigned short seq);

/**
 * Takes the focus away: motion commands are executed again.
 *
 * @param zelNo controller number, 1..254
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqKillFocus(short zelNo);

/**
 * Empties the buffer of a sequence program and opens it for new records.
 *
 * @param zelNo controller number, 1..254
 * @param seq   program index, 0..3
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(0): seq above
 *         3; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqFuncBufClear(short zelNo, unsigned short seq);

/**
 * Closes the buffer of a sequence program with an end record.
 *
 * @warning A lost reply makes the library send the request again; the controller can then refuse
 *          the second end, and so report an error for a buffer that is closed.
 *
 * @param zelNo controller number, 1..254
 * @param seq   program index, 0..3; it need not have the focus
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(0): seq above
 *         3; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqFuncAddEnd(short zelNo, unsigned short seq);

/**
 * Configures a sequence program. What the three values mean is the controller's; the meaning in
 * parentheses is that of the simulated one, for which all three are 0 at start.
 *
 * @param zelNo controller number, 1..254
 * @param seq   program index, 0..3
 * @param cfg1  0..1 (simulated controller: 1: the program begins anew behind its end)
 * @param cfg2  0..2 (simulated controller: what the axes that it has set in motion do when it
 *              faults; 0: nothing, 1: they brake, 2: they stop at once)
 * @param cfg3  0..1 (simulated controller: 1: single step, it pauses behind each record)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(0), (1), (2),
 *         (3): seq, cfg1, cfg2, cfg3 above its range; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqSetCfg(short zelNo, unsigned short seq, unsigned short cfg1,
                                        unsigned short cfg2, unsigned short cfg3);

/**
 * Starts a sequence program at its first record.
 *
 * @warning A lost reply makes the library send the request again: a program that has ended in
 *          between is run twice; one that is running makes the controller report an error.
 *
 * @param zelNo controller number, 1..254
 * @param seq   program index, 0..3
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(0): seq above
 *         3; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqStart(short zelNo, unsigned short seq);

/**
 * Stops a sequence program.
 *
 * @param zelNo    controller number, 1..254
 * @param seq      program index, 0..3
 * @param stopMode how, 0..1, the controller's code (simulated controller: 0: motions run to their
 *                 ends, 1: the axes that the program has set in motion brake)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(0): seq above
 *         3; ZELQ_BAD_ARGUMENT(1): stopMode above 1; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqStop(short zelNo, unsigned short seq, unsigned short stopMode);

/**
 * Pauses a sequence program; zelQ_SeqResume() lets it go on.
 *
 * @param zelNo controller number, 1..254
 * @param seq   program index, 0..3
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(0): seq above
 *         3; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqPause(short zelNo, unsigned short seq);

/**
 * Lets a paused sequence program go on where it was.
 *
 * @warning A lost reply makes the library send the request again: where the controller pauses by
 *          itself after each record, the program can go on by two of them.
 *
 * @param zelNo controller number, 1..254
 * @param seq   program index, 0..3
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(0): seq above
 *         3; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqResume(short zelNo, unsigned short seq);

/**
 * Function record: wait until axes have ended their motions.
 *
 * @warning A lost reply makes the library send the request again: the record can be appended
 *          twice.
 *
 * @param zelNo    controller number, 1..254
 * @param waitMode the controller's code, sent as given (simulated controller: 0: until all of the
 *                 axes are at rest, 1: until any is)
 * @param count    number of axes, 1..32
 * @param axes     [count] axis numbers; the controller judges them
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(3): axes null; exchange codes
 * @note Goes to the program that has the focus. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqFuncWaitMovDone(short zelNo, short waitMode, short count,
                                                 const unsigned short* axes);

/**
 * Function record: wait until continuous-path pre-registers are empty.
 *
 * @warning A lost reply makes the library send the request again: the record can be appended
 *          twice.
 *
 * @param zelNo    controller number, 1..254
 * @param waitMode the controller's code, 1..3 (simulated controller: 1: until all of them are
 *                 empty, 2: any is, 3: all are and no interpolated motion runs)
 * @param count    number of items, 1..32
 * @param items    [count] pre-registers; the controller judges them (simulated controller: 0..15,
 *                 numbered as the interpolation maps)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): waitMode
 *         outside 1..3; #ZELQ_BAD_AXIS_COUNT; ZELQ_BAD_ARGUMENT(3): items null; exchange codes
 * @note Goes to the program that has the focus. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqFuncWaitPreRegEmpty(short zelNo, short waitMode, short count,
                                                     const unsigned short* items);

/**
 * Function record: wait until inputs of the main board have given levels.
 *
 * @warning A lost reply makes the library send the request again: the record can be appended
 *          twice.
 *
 * @param zelNo controller number, 1..254
 * @param mask  inputs that are waited for, bit k for pin k
 * @param level their levels, bit k for pin k
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; exchange codes
 * @note Goes to the program that has the focus. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqFuncWaitMDIpins(short zelNo, unsigned int mask,
                                                 unsigned int level);

/**
 * Function record: wait until one input of the main board has a given level.
 *
 * @warning A lost reply makes the library send the request again: the record can be appended
 *          twice.
 *
 * @param zelNo controller number, 1..254
 * @param pin   pin number; sent as given (simulated controller: 0..7)
 * @param level 0 or 1; sent as given
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; exchange codes
 * @note Goes to the program that has the focus. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqFuncWaitMDIpin(short zelNo, short pin, short level);

/**
 * Function record: wait until inputs of a remote input slave have given levels.
 *
 * @warning A lost reply makes the library send the request again: the record can be appended
 *          twice.
 *
 * @param zelNo controller number, 1..254
 * @param axis  slave number, 0..31
 * @param mask  inputs that are waited for, bit k for pin k
 * @param level their levels, bit k for pin k
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Goes to the program that has the focus. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqFuncWaitRDIpins(short zelNo, unsigned short axis,
                                                 unsigned int mask, unsigned int level);

/**
 * Function record: wait until one input of a remote input slave has a given level.
 *
 * @warning A lost reply makes the library send the request again: the record can be appended
 *          twice.
 *
 * @param zelNo controller number, 1..254
 * @param axis  slave number, 0..31
 * @param pin   pin number; sent as given (simulated controller: 0..31)
 * @param level 0 or 1; sent as given
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Goes to the program that has the focus. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqFuncWaitRDIpin(short zelNo, unsigned short axis, short pin,
                                                short level);

/**
 * Function record: wait until inputs of a servo drive have given levels.
 *
 * @warning A lost reply makes the library send the request again: the record can be appended
 *          twice.
 *
 * @param zelNo controller number, 1..254
 * @param axis  axis number; sent as given, and not in the trace line
 * @param mask  inputs that are waited for, bit k for pin k as in zelQ_SeqFuncWaitSDIpin()
 * @param level their levels, bit k for pin k
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; exchange codes
 * @note Goes to the program that has the focus. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqFuncWaitSDIpins(short zelNo, unsigned short axis,
                                                 unsigned int mask, unsigned int level);

/**
 * Function record: wait until one input of a servo drive has a given level.
 *
 * @warning A lost reply makes the library send the request again: the record can be appended
 *          twice.
 *
 * @param zelNo controller number, 1..254
 * @param axis  axis number; sent as given, and not in the trace line
 * @param pin   pin number; sent as given (simulated controller: 0 positive limit, 1 negative
 *              limit, 2 home sensor, 3 configurable input)
 * @param level 0 or 1; sent as given
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; exchange codes
 * @note Goes to the program that has the focus. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqFuncWaitSDIpin(short zelNo, unsigned short axis, short pin,
                                                short level);

/**
 * Function record: wait for a time.
 *
 * @warning A lost reply makes the library send the request again: the record can be appended
 *          twice.
 *
 * @param zelNo controller number, 1..254
 * @param delay how long, in the controller's unit (simulated controller: milliseconds)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; exchange codes
 * @note Goes to the program that has the focus. Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqFuncDelay(short zelNo, unsigned int delay);

/**
 * Reads the state of one sequence program.
 *
 * @param zelNo  controller number, 1..254
 * @param seq    program index, 0..3
 * @param status [out] written on success
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): seq above
 *         3; ZELQ_BAD_ARGUMENT(2): status null; #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqGetStatus(short zelNo, unsigned short seq, SeqStatus* status);

/**
 * Reads the state of all four sequence programs in one exchange. A failed call writes no trace
 * line.
 *
 * @param zelNo  controller number, 1..254
 * @param status [out] written on success
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): null;
 *         #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SeqGetAllStatus(short zelNo, SeqAllStatus* status);

/* ------------------------------------------------------------------------------------------ */
/* List motion                                                                                */
/* ------------------------------------------------------------------------------------------ */

/** State of one axis's list motion, 24 bytes. What the values mean is the controller's; the meaning
 * in parentheses is that of the simulated one. */
typedef struct LmStatus
{
    unsigned short axis;  /**< offset 0: axis number, 0xFFFF where there is no servo axis */
    unsigned short bit11; /**< offset 2: bit 11 of the status word, 0 or 1 (simulated controller:
                             1: the list is running) */
    unsigned short bit12; /**< offset 4: bit 12 of the status word, 0 or 1 (simulated controller:
                             1: the list has its end) */
    unsigned short bit13; /**< offset 6: bit 13 of the status word, 0 or 1 (simulated controller:
                             1: it ended early) */
    unsigned short low11; /**< offset 8: bits 0..10 of the status word (simulated controller:
                             number of the running node, from 1, in this round; of a stream:
                             since its set-up) */
    unsigned short word1; /**< offset 10: status register 1 (simulated controller: nodes that wait
                             to begin) */
    unsigned short word2; /**< offset 12: status register 2 (simulated controller: free places) */
    unsigned short reserved; /**< offset 14: not written */
    unsigned int long3;      /**< offset 16: status registers 3 (low half) and 4 (simulated
                                controller: nodes completed since the last start) */
    unsigned int long5;      /**< offset 20: status registers 5 (low half) and 6 (simulated
                                controller: rounds completed since the last start) */
} LmStatus;

/**
 * Configures the list motion of one axis. What the three values mean is the controller's; the
 * meaning in parentheses is that of the simulated one, which empties the list, too.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param cfg1  0..1 (simulated controller: 0: the nodes stay, the list can be run again, and runs
 *              only when it has its end; 1: a stream, whose nodes make room as soon as they begin,
 *              and which can run while it is fed)
 * @param cfg2  0..255 (simulated controller: how often the list is run again behind its first time;
 *              255: without end)
 * @param cfg3  0..255 (simulated controller: percent of the nodes' speeds; 0 counts as 100)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2), (3), (4): cfg1, cfg2, cfg3 above its range; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_LmSetCfg(short zelNo, unsigned short axis, unsigned short cfg1,
                                       unsigned short cfg2, unsigned short cfg3);

/**
 * Appends nodes to the list of one axis. Element k of each array belongs to node k; what the
 * values mean is the controller's, and the meaning in parentheses that of the simulated one, whose
 * lists have room for 256 nodes.
 *
 * @warning A lost reply makes the library send the request again: the nodes can be appended twice.
 *
 * @param zelNo     controller number, 1..254
 * @param axis      0..31
 * @param nodeCount number of nodes, 1..50
 * @param nodeA     [nodeCount] first values, in user units (simulated controller: positions)
 * @param nodeB     [nodeCount] second values, in user units (start speeds, per second)
 * @param nodeC     [nodeCount] third values, in user units (accelerations, per second squared)
 * @param nodeD     [nodeCount] fourth values, in user units (drive speeds, per second)
 * @param nodeE     [nodeCount] fifth values, in user units (decelerations, per second squared)
 * @param nodeF     [nodeCount] first codes, sent as given (0: the position is a target, 1: a
 *                  distance from where the node begins)
 * @param nodeG     [nodeCount] second codes, sent as given (dwell: milliseconds at rest behind the
 *                  node, 0..32767; 0: the axis does not stop there)
 * @param reply1    [out] the controller's first reply word (how many nodes were taken)
 * @param reply2    [out] the controller's second reply word (how many places are free)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2): nodeCount outside 1..50; ZELQ_BAD_ARGUMENT(3) to (9): an array
 *         null; #ZELQ_REPLY_DATA_MISSING: reply1 or reply2 null, or missing in the reply, the
 *         nodes were sent; exchange codes
 * @note Nine nodes travel in one frame. Each frame's reply is stored as it is read, so the words of
 *       the last one stay; where #ZELQ_REPLY_DATA_MISSING is returned, an output that is not null
 *       can have been written, and where reply1 is null it holds no word of any meaning.
 *       Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_LmAddNode(unsigned short zelNo, unsigned short axis, short nodeCount,
                                        const double* nodeA, const double* nodeB,
                                        const double* nodeC, const double* nodeD,
                                        const double* nodeE, const short* nodeF, const short* nodeG,
                                        unsigned short* reply1, unsigned short* reply2);

/**
 * Marks the end of the list of one axis.
 *
 * @warning A lost reply makes the library send the request again; the controller can then refuse
 *          the second end, and so report an error for a list that has its end.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param value belongs to the end of the motion, user units; what it means is the controller's
 *              (simulated controller: stop speed, per second, from which the axis goes to rest
 *              behind the last node)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_LmAddNodeEnd(short zelNo, short axis, double value);

/**
 * Runs the list of one axis, or stops it.
 *
 * @warning A lost reply makes the library send the request again: a list that has ended in between
 *          is run twice; one that is running makes the controller report an error.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param run   1: run, 0: stop; not in the trace line
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2): run above 1; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_LmRunStop(short zelNo, unsigned short axis, unsigned short run);

/**
 * Reads the state of one axis's list motion.
 *
 * @param zelNo  controller number, 1..254
 * @param axis   axis number; only its low 8 bits are used to read
 * @param status [out] written on success
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(2): null;
 *         #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_LmGetStatus(short zelNo, short axis, LmStatus* status);

/**
 * Reads the list-motion states of all servo axes of a controller in one exchange. A failed call
 * writes no trace line.
 *
 * @param zelNo  controller number, 1..254
 * @param status [out, 32] records by axis number, written on success: whole ones for the servo
 *               axes; of all others only the axis, 0xFFFF
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): null;
 *         -2001 (the number of #ZELQ_CONFIGURATION_CHANGED): the controller has no servo axis,
 *         nothing was sent; #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_LmGetAllStatus(short zelNo, LmStatus* status);

/* ------------------------------------------------------------------------------------------ */
/* Protection: torque limit                                                                   */
/* ------------------------------------------------------------------------------------------ */

/** What holds an axis's torque back, as zelQ_TorqueLimitGetStatus() reads it, 24 bytes. What the
 * numbers mean is the drive's; the meaning given here is that of the simulated one. */
typedef struct TorqueLimitStatus
{
    unsigned short active; /**< offset 0: 1 while a limit is set */
    unsigned short flag1;  /**< offset 2: 1 while the torque is at its positive limit */
    unsigned short flag2;  /**< offset 4: 1 while the torque is at its negative limit */
    unsigned short word1;  /**< offset 6: trqLimit1 in force */
    unsigned short word2;  /**< offset 8: trqLimit2 in force */
    unsigned short word3;  /**< offset 10: trqParam3 in force, as two's complement */
    unsigned short word4;  /**< offset 12: trqCodeHi * 256 + trqCodeLo in force */
    unsigned int value5;   /**< offset 16: torque, 0.1 percent without sign, 0..65535 */
    unsigned int value6;   /**< offset 20: trqValue in force */
} TorqueLimitStatus;

/**
 * Limits the torque of one axis. The values are sent as they are; what they mean is the drive's.
 *
 * @param zelNo     controller number, 1..254
 * @param axis      0..31
 * @param trqLimit1 first limit, 0..500 (simulated drive: positive torque, percent of the rated one)
 * @param trqLimit2 second limit, 0..500 (negative torque, percent)
 * @param trqParam3 signed 16-bit value (torque around which the limits lie, 0.1 percent)
 * @param trqCodeHi 0..255 (kept and shown by the status)
 * @param trqCodeLo 0..255 (kept and shown by the status)
 * @param trqValue  unsigned 32-bit value (kept and shown by the status)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2), (3): trqLimit1, trqLimit2 above 500; (4), (5): trqCodeHi, trqCodeLo
 *         above 255; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_TorqueLimitSet(unsigned short zelNo, unsigned short axis,
                                             unsigned short trqLimit1, unsigned short trqLimit2,
                                             short trqParam3, unsigned short trqCodeHi,
                                             unsigned short trqCodeLo, unsigned int trqValue);

/**
 * Limits the torque of several axes in one exchange; element i of each array belongs to axes[i].
 * No value in the arrays is checked here.
 *
 * @param zelNo     controller number, 1..254
 * @param count     number of axes, 1..32
 * @param axes      [count] axis numbers; the controller judges them
 * @param trqLimit1 [count] as in zelQ_TorqueLimitSet()
 * @param trqLimit2 [count] as in zelQ_TorqueLimitSet()
 * @param trqParam3 [count] as in zelQ_TorqueLimitSet()
 * @param trqCodeHi [count] as in zelQ_TorqueLimitSet(); only the low 8 bits are sent
 * @param trqCodeLo [count] as in zelQ_TorqueLimitSet(); only the low 8 bits are sent
 * @param trqValue  [count] as in zelQ_TorqueLimitSet()
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2)..(8): axes..trqValue null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mTorqueLimitSet(
    unsigned short zelNo, short count, const unsigned short* axes, const unsigned short* trqLimit1,
    const unsigned short* trqLimit2, const short* trqParam3, const unsigned short* trqCodeHi,
    const unsigned short* trqCodeLo, const unsigned int* trqValue);

/**
 * Ends the torque limit of one axis.
 *
 * @param zelNo    controller number, 1..254
 * @param axis     0..31
 * @param trqValue unsigned 32-bit value (kept and shown by the status)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_TorqueLimitFree(short zelNo, unsigned short axis,
                                              unsigned int trqValue);

/**
 * Frees the torque of several axes in one exchange. Unlike zelQ_TorqueLimitFree() it leaves the
 * limits on, both at 500: they hold nothing back, but zelQ_TorqueLimitGetStatus() shows them as
 * active.
 *
 * @param zelNo  controller number, 1..254
 * @param count  number of axes, 1..32
 * @param axes   [count] axis numbers; the controller judges them
 * @param values [count] trqValue of each axis
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2), (3): axes, values null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mTorqueLimitFree(unsigned short zelNo, short count, const short* axes,
                                               const unsigned int* values);

/**
 * Reads the state of one axis's torque limit.
 *
 * @param zelNo  controller number, 1..254
 * @param axis   a servo axis of the controller
 * @param status [out] written on success
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS: above 31 or no
 *         servo axis; ZELQ_BAD_ARGUMENT(2): null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_TorqueLimitGetStatus(short zelNo, unsigned short axis,
                                                   TorqueLimitStatus* status);

/* ------------------------------------------------------------------------------------------ */
/* Protection: stop modes, software limits, hand wheel                                        */
/* ------------------------------------------------------------------------------------------ */

/**
 * Sets the two software limits of an axis. The values of the stop modes and which limit is the
 * positive one are the controller's; the meaning given here is that of the simulated one.
 *
 * @param zelNo   controller number, 1..254
 * @param axis    0..31
 * @param slMode1 stop mode of limit 1, 0..2 (0: not watched, 1: decelerating stop, 2: sudden stop)
 * @param slPos1  position of limit 1, user units (the positive limit)
 * @param slMode2 stop mode of limit 2, 0..2
 * @param slPos2  position of limit 2, user units (the negative limit)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2), (4): slMode1, slMode2 above 2; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_StopModeSwLimit(short zelNo, unsigned short axis,
                                              unsigned short slMode1, double slPos1,
                                              unsigned short slMode2, double slPos2);

/**
 * Reads the two software limits of an axis back from the controller.
 *
 * @param zelNo   controller number, 1..254
 * @param axis    0..31
 * @param slMode1 [out] stop mode of limit 1
 * @param slPos1  [out] position of limit 1, user units
 * @param slMode2 [out] stop mode of limit 2
 * @param slPos2  [out] position of limit 2, user units
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2)..(5): slMode1..slPos2 null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SwLimitGet(short zelNo, unsigned short axis, unsigned short* slMode1,
                                         double* slPos1, unsigned short* slMode2, double* slPos2);

/**
 * Reads the software limits of several axes in one exchange; element i of each array belongs to
 * axes[i].
 *
 * @param zelNo   controller number, 1..254
 * @param count   number of axes, 1..32
 * @param axes    [count] servo axes of the controller, each once
 * @param slMode1 [out, count] as in zelQ_SwLimitGet()
 * @param slPos1  [out, count] as in zelQ_SwLimitGet()
 * @param slMode2 [out, count] as in zelQ_SwLimitGet()
 * @param slPos2  [out, count] as in zelQ_SwLimitGet()
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT: also for
 *         more axes than the controller has servo axes; ZELQ_BAD_ARGUMENT(2): axes null;
 *         #ZELQ_BAD_AXIS; #ZELQ_DUPLICATE_AXIS; ZELQ_BAD_ARGUMENT(3)..(6): slMode1..slPos2 null;
 *         exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mSwLimitGet(short zelNo, short count, const unsigned short* axes,
                                          unsigned short* slMode1, double* slPos1,
                                          unsigned short* slMode2, double* slPos2);

/**
 * Sets how an axis stops when one of its sensors comes on. The values are the controller's; the
 * meaning given here is that of the simulated one.
 *
 * @param zelNo          controller number, 1..254
 * @param axis           0..31
 * @param sensorSel      sensor, 0..3 (0: positive limit, 1: negative limit, 2: home sensor,
 *                       3: configurable input)
 * @param sensorStopMode 0..2 (0: no stop, 1: decelerating stop, 2: sudden stop)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2), (3): sensorSel, sensorStopMode out of range; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_StopModeSensorOn(short zelNo, unsigned short axis,
                                               unsigned short sensorSel,
                                               unsigned short sensorStopMode);

/**
 * Sets what a controller does with all its axes when it has lost the connection to its host. The
 * values are the controller's; the meaning given here is that of the simulated one.
 *
 * @param zelNo        controller number, 1..254
 * @param discValue    unsigned 32-bit value (how long no host is connected until the axes stop,
 *                     milliseconds; 0: they never do)
 * @param discStopMode 0..1 (0: decelerating stop, 1: sudden stop)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(2):
 *         discStopMode above 1; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_StopModeDisconnected(short zelNo, unsigned int discValue,
                                                   unsigned short discStopMode);

/**
 * Configures the hand wheel (manual pulse generator) of a controller for one axis. The values are
 * the controller's; the meaning given here is that of the simulated one.
 *
 * @param zelNo   controller number, 1..254
 * @param axis    0..31
 * @param mpgCfg1 0..2 (edges counted of each of the wheel's notches: 0: one, 1: two, 2: four)
 * @param mpgCfg2 0..3 (directions in which the wheel moves the axis: 0: none, 1: positive,
 *                2: negative, 3: both)
 * @param mpgCfg3 0..1 (1: the wheel's direction is reversed)
 * @param mpgCfg4 1..32 (factor by which the counts are multiplied)
 * @param mpgCfg5 1..2048 (divisor of the counts)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2)..(6): mpgCfg1..mpgCfg5 out of range; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_MPGSetCfg(unsigned short zelNo, unsigned short axis,
                                        unsigned short mpgCfg1, unsigned short mpgCfg2,
                                        unsigned short mpgCfg3, unsigned short mpgCfg4,
                                        short mpgCfg5);

/* ------------------------------------------------------------------------------------------ */
/* Alarms                                                                                     */
/* ------------------------------------------------------------------------------------------ */

/**
 * Asks the drive of one axis to reset its alarm. Waits 200 ms for sending and for the reply (up to
 * 6 times that, three times over), whatever zelQ_TMOSet() has set.
 *
 * @warning A lost reply makes the library send the request again: an alarm that came up in between
 *          is reset with it. It still stands in the drive's alarm list.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_AlarmResetReq(short zelNo, unsigned short axis);

/**
 * Asks the drives of several axes to reset their alarms, as zelQ_AlarmResetReq() does for one.
 *
 * @warning A lost reply makes the library send the request again: alarms that came up in between
 *          are reset with it. They still stand in the drives' alarm lists.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2): null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mAlarmResetReq(short zelNo, short count, const unsigned short* axes);

/**
 * Reads one entry of the alarm list of a drive. The list has 15 entries.
 *
 * @param zelNo      controller number, 1..254
 * @param axis       0..31
 * @param listIndex  entry, 0..14 (simulated drive: 0 is the latest alarm)
 * @param alarmNo    [out] number of the alarm, 0..255 (0: no entry); may be null
 * @param alarmSubNo [out] its sub-number, 0..255; may be null
 * @param alarmData  [out] a further value of the drive (seconds from the drive's start to the
 *                   alarm, 65535 at most); may be null
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2): listIndex above 14; #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_AlarmListGet(short zelNo, unsigned short axis,
                                           unsigned short listIndex, unsigned short* alarmNo,
                                           unsigned short* alarmSubNo, unsigned short* alarmData);

/**
 * Reads the same entry of the alarm lists of several drives, as far as the reply goes: it has count
 * registers, of which each axis takes two. The call therefore ends in #ZELQ_REPLY_DATA_MISSING,
 * with the first count / 2 entries stored. To have the entries of all axes, use
 * zelQ_AlarmListGet() for each.
 *
 * @param zelNo      controller number, 1..254
 * @param count      number of axes, 1..32
 * @param axes       [count] axis numbers; the controller judges them
 * @param listIndex  entry, 0..14
 * @param alarmNo    [out, count] as in zelQ_AlarmListGet()
 * @param alarmSubNo [out, count] as in zelQ_AlarmListGet()
 * @param alarmData  [out, count] as in zelQ_AlarmListGet()
 * @return #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(3): listIndex above 14; (4), (5), (6): alarmNo, alarmSubNo, alarmData
 *         null; (2): axes null; #ZELQ_REPLY_DATA_MISSING: entries in front of the missing one are
 *         stored; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mAlarmListGet(unsigned short zelNo, short count,
                                            const unsigned short* axes, unsigned short listIndex,
                                            unsigned short* alarmNo, unsigned short* alarmSubNo,
                                            unsigned short* alarmData);

/**
 * Clears the alarm list of a drive. An alarm that is active stays so.
 *
 * @warning A lost reply makes the library send the request again: an alarm that came up in between
 *          is cleared from the list unseen.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_AlarmListClear(short zelNo, unsigned short axis);

/**
 * Clears the alarm lists of several drives.
 *
 * @warning A lost reply makes the library send the request again: alarms that came up in between
 *          are cleared from the lists unseen.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2): null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mAlarmListClear(short zelNo, short count, const unsigned short* axes);

/* ------------------------------------------------------------------------------------------ */
/* Servo and slave properties                                                                 */
/* ------------------------------------------------------------------------------------------ */

/** What stands at one position of the servo network, 20 bytes; the codes are those of the slave
 * type word, with the meaning that they have in ServoStatus. */
typedef struct SlaveProperty
{
    unsigned short axis;            /**< offset 0: position, 0xFFFF where nothing stands
                                       (zelQ_SlavePropertyGetAll() only) */
    unsigned short type;            /**< offset 2: 1: servo, 2: input slave, 3: output slave, type
                                       word bits 0..3 */
    unsigned short seriesCode;      /**< offset 4: drive series, type word bits 4..6 */
    unsigned short motorCode;       /**< offset 6: motor, type word bits 7..10 */
    unsigned short encoderCode;     /**< offset 8: encoder, type word bits 11..14 */
    unsigned short limitLogic;      /**< offset 10: limit sensor logic, type word bits 15..16 */
    unsigned short homeLogic;       /**< offset 12: home sensor logic, type word bits 17..18 */
    unsigned short inputUse;        /**< offset 14: use of the inputs, type word bits 19..21
                                       (zelQ_SlavePropertyGet() only) */
    unsigned short reserved;        /**< offset 16: not written */
    unsigned short absoluteEncoder; /**< offset 18: the encoder is an absolute one, type word bit
                                       23 */
} SlaveProperty;

/**
 * Configures the properties of a servo axis, then reads the slaves of the controller anew. What the
 * values mean is the controller's; the meaning given here is that of the simulated one.
 *
 * @param zelNo     controller number, 1..254
 * @param axis      0..31
 * @param prop1     0..1 (1: the encoder is an absolute one)
 * @param prop2     1..4 (drive series code)
 * @param prop3     0..3 (limit sensor logic)
 * @param prop4     0..3 (home sensor logic)
 * @param prop5     0..2 (use of the configurable input: 0: none, 1: general input, 2: emergency
 *                  stop)
 * @param propValue unsigned 32-bit value (pulses of one motor turn, which the drive keeps as its
 *                  parameter 0.2; 0: as it is)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2)..(6): prop1..prop5 out of range; exchange codes, of the second
 *         exchange too: the properties are set then, but the library knows the old ones until the
 *         slaves are read again
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_ServoPropertyCfg(unsigned short zelNo, unsigned short axis,
                                               unsigned short prop1, short prop2,
                                               unsigned short prop3, unsigned short prop4,
                                               unsigned short prop5, unsigned int propValue);

/**
 * Reads the properties of the slave at one position from the controller.
 *
 * @param zelNo    controller number, 1..254
 * @param axis     position, 0..31
 * @param property [out] for a servo all fields but reserved; for an input or output slave axis and
 *                 type; for a slave of another type nothing
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS: above 31, or
 *         nothing stands there (found after the exchange); ZELQ_BAD_ARGUMENT(2): null; exchange
 *         codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SlavePropertyGet(unsigned short zelNo, short axis,
                                               SlaveProperty* property);

/**
 * Reads the slaves of a controller anew, and reports the properties of all 32 positions.
 *
 * @param zelNo      controller number, 1..254
 * @param properties [out, 32] records by position: all fields but inputUse and reserved
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): null;
 *         exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SlavePropertyGetAll(short zelNo, SlaveProperty* properties);

/* ------------------------------------------------------------------------------------------ */
/* Drive parameters and monitors                                                              */
/* ------------------------------------------------------------------------------------------ */

/**
 * Writes a parameter of the drive of one axis. A parameter is addressed by class and number; which
 * there are and what they mean is the drive's (simulated drive: 3.0 is the limit of the following
 * error in pulses, 4.0 the in-position window; its documentation lists all). It is lost with the
 * power unless zelQ_ParamWriteEeprom() saves it.
 *
 * @param zelNo    controller number, 1..254
 * @param axis     0..31
 * @param prmClass class, 0..255
 * @param prmNo    number, 0..255
 * @param value    in the drive's own unit
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2), (3): prmClass, prmNo above 255; exchange codes
 * @note Threads: any. The trace line does not show the value: it has 0 in its place.
 */
ZELQ_API short ZELQ_CALL zelQ_ParamSet(short zelNo, unsigned short axis, unsigned short prmClass,
                                       unsigned short prmNo, int value);

/**
 * Writes the same parameter of the drives of several axes in one exchange.
 *
 * @param zelNo    controller number, 1..254
 * @param count    number of axes, 1..32
 * @param axes     [count] axis numbers; the controller judges them
 * @param prmClass class, 0..255
 * @param prmNo    number, 0..255
 * @param values   [count] values[i] for axes[i]
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(3): count
 *         outside 1..32; (1), (2): prmClass, prmNo above 255; (2), (5): axes, values null; exchange
 *         codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mParamSet(short zelNo, short count, const unsigned short* axes,
                                        unsigned short prmClass, unsigned short prmNo,
                                        const int* values);

/**
 * Reads a parameter of the drive of one axis.
 *
 * @param zelNo    controller number, 1..254
 * @param axis     0..31
 * @param prmClass class, 0..255
 * @param prmNo    number, 0..255
 * @param value    [out] in the drive's own unit; may be null
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (2):
 *         prmClass, prmNo above 255; #ZELQ_BAD_AXIS (checked behind those two); exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_ParamGet(short zelNo, unsigned short axis, unsigned short prmClass,
                                       unsigned short prmNo, int* value);

/**
 * Reads the same parameter of the drives of several axes in one exchange.
 *
 * @param zelNo    controller number, 1..254
 * @param count    number of axes, 1..32
 * @param axes     [count] axis numbers; the controller judges them
 * @param prmClass class, 0..255
 * @param prmNo    number, 0..255
 * @param values   [out, count] values[i] of axes[i]
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1), (2):
 *         prmClass, prmNo above 255; #ZELQ_BAD_AXIS_COUNT; ZELQ_BAD_ARGUMENT(5): values null; (2):
 *         axes null; #ZELQ_REPLY_DATA_MISSING: values in front of the missing one are stored;
 *         exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mParamGet(unsigned short zelNo, short count,
                                        const unsigned short* axes, unsigned short prmClass,
                                        unsigned short prmNo, int* values);

/**
 * Asks the drive of one axis to put written parameters into force that need it; which ones do is
 * the drive's (simulated drive: 0.0, 0.1 and 0.2, and only while the servo is off).
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_CParamValid(short zelNo, unsigned short axis);

/**
 * Asks the drives of several axes to put written parameters into force, as zelQ_CParamValid() does
 * for one.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2): null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mCParamValid(short zelNo, short count, const unsigned short* axes);

/**
 * Saves the parameters of the drive of one axis to its EEPROM: they are there again after the power
 * was off.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS; exchange codes
 * @note Threads: any. An EEPROM bears a limited number of writes: save what has changed, not
 *       regularly.
 */
ZELQ_API short ZELQ_CALL zelQ_ParamWriteEeprom(short zelNo, unsigned short axis);

/**
 * Saves the parameters of the drives of several axes to their EEPROMs, as zelQ_ParamWriteEeprom()
 * does for one.
 *
 * @param zelNo controller number, 1..254
 * @param count number of axes, 1..32
 * @param axes  [count] axis numbers; the controller judges them
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2): null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mParamWriteEeprom(short zelNo, short count,
                                                const unsigned short* axes);

/**
 * Reads the identification of the drive of one axis.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31
 * @param sysId [out, 80] the bytes, in the order in which the drive keeps them (simulated drive:
 *              five texts of 16 bytes, filled up with zeros: maker, drive, its serial number,
 *              motor, its serial number)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS;
 *         ZELQ_BAD_ARGUMENT(2): null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_ParamGetSysID(short zelNo, unsigned short axis, void* sysId);

/**
 * Reads a monitor value of the drive of one axis. Which monitors there are is the drive's.
 *
 * @param zelNo     controller number, 1..254
 * @param axis      axis number; the controller judges it
 * @param monitorNo monitor number; the controller judges it (simulated drive: 0 command position,
 *                  1 encoder position, 2 following error, all in pulses; 3 speed, pulses per
 *                  second; 4 torque, 0.1 percent of the rated one; 5 drive temperature, 6 motor
 *                  temperature, 0.1 degrees Celsius; 7 bus voltage, 0.1 V)
 * @param value     [out] in the drive's own unit; negative ones as two's complement
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(4): value
 *         null; #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any. The trace line names the call zelQ_MonitorGet.
 */
ZELQ_API short ZELQ_CALL zelQ_MonitorRead(short zelNo, short axis, short monitorNo,
                                          unsigned int* value);

/**
 * Reads several monitor values in one exchange: monitorNos[i] of axes[i] into values[i]. An axis
 * may stand there several times.
 *
 * @param zelNo      controller number, 1..254
 * @param count      number of values, 1..32
 * @param axes       [count] axis numbers; the controller judges them
 * @param monitorNos [count] monitor numbers, as in zelQ_MonitorRead()
 * @param values     [out, count] values[i] of monitorNos[i] of axes[i]
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(4): values null; (2), (3): axes, monitorNos null;
 *         #ZELQ_REPLY_DATA_MISSING: values in front of the missing one are stored; exchange codes
 * @note Threads: any. The trace line names the call zelQ_MonitorGet.
 */
ZELQ_API short ZELQ_CALL zelQ_mMonitorRead(short zelNo, short count, const short* axes,
                                           const unsigned short* monitorNos, unsigned int* values);

/* ------------------------------------------------------------------------------------------ */
/* Outputs: drives                                                                            */
/* ------------------------------------------------------------------------------------------ */

/**
 * Switches both digital outputs of a drive.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31; the controller judges whether it is a servo axis
 * @param out1  state of output 1, 0 or 1
 * @param out2  state of output 2, 0 or 1
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS: axis above 31;
 *         ZELQ_BAD_ARGUMENT(2), (3): out1, out2 above 1; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SDOSet(short zelNo, unsigned short axis, unsigned short out1,
                                     unsigned short out2);

/**
 * Switches both digital outputs of several drives. Element i of each array belongs to axes[i].
 *
 * @param zelNo      controller number, 1..254
 * @param count      number of axes, 1..32
 * @param axes       [count] axis numbers; the controller judges them
 * @param out1Values [count] states of output 1, 0 or 1; sent unchecked
 * @param out2Values [count] states of output 2, 0 or 1; sent unchecked
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS_COUNT;
 *         ZELQ_BAD_ARGUMENT(2), (3), (4): axes, out1Values, out2Values null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_mSDOSet(short zelNo, short count, const unsigned short* axes,
                                      const unsigned short* out1Values,
                                      const unsigned short* out2Values);

/**
 * Switches one digital output of a drive.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31; the controller judges whether it is a servo axis
 * @param pin   the output, 1 or 2
 * @param state 0 or 1
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS: axis above 31;
 *         ZELQ_BAD_ARGUMENT(2): pin outside 1..2; ZELQ_BAD_ARGUMENT(3): state above 1; exchange
 *         codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SDOSetPin(short zelNo, unsigned short axis, short pin,
                                        unsigned short state);

/**
 * Toggles digital outputs of a drive.
 *
 * @warning A lost reply makes the library send the request again: the outputs can be toggled
 *          twice, and be as they were.
 *
 * @param zelNo controller number, 1..254
 * @param axis  0..31; the controller judges whether it is a servo axis
 * @param out1  1: output 1 toggles; 0: it stays
 * @param out2  1: output 2 toggles; 0: it stays
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS: axis above 31;
 *         ZELQ_BAD_ARGUMENT(2), (3): out1, out2 above 1; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_SDOSetTog(short zelNo, unsigned short axis, unsigned short out1,
                                        unsigned short out2);

/* ------------------------------------------------------------------------------------------ */
/* Outputs: output slaves                                                                     */
/* ------------------------------------------------------------------------------------------ */

/* An output slave has 32 outputs. The functions below address it by its slave number; those with
 * an "a" before the name address it by its index among the controller's output slaves, as they
 * stood when the slaves were last read. There, a negative index (0xFFFF) makes the pin a number
 * over the pins of all output slaves: pin 37 is pin 5 of index 1. */

/**
 * Switches all 32 outputs of an output slave.
 *
 * @param zelNo controller number, 1..254
 * @param slave slave number, 0..31
 * @param value bit n is pin n
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS: slave above 31;
 *         exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_RDOSet(short zelNo, unsigned short slave, unsigned int value);

/**
 * Switches all outputs of the first `count` output slaves.
 *
 * @param zelNo  controller number, 1..254
 * @param count  number of output slaves, 1..32
 * @param values [count] outputs by output-slave index; bit n is pin n
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): count
 *         outside 1..32; #ZELQ_BAD_OUTPUT_SLAVE: more than the controller has;
 *         ZELQ_BAD_ARGUMENT(2): values null; exchange codes
 * @note Threads: any. Traced as zelQ_mRDOSet.
 */
ZELQ_API short ZELQ_CALL zelQ_aRDOSet(short zelNo, short count, const unsigned int* values);

/**
 * Switches one output of an output slave.
 *
 * @param zelNo controller number, 1..254
 * @param slave slave number, 0..31
 * @param pin   0..31
 * @param state 0 or 1
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS: slave above 31;
 *         ZELQ_BAD_ARGUMENT(2), (3): pin, state out of range; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_RDOSetPin(short zelNo, unsigned short slave, short pin,
                                        unsigned short state);

/**
 * Switches one output of an output slave, by its index.
 *
 * @param zelNo      controller number, 1..254
 * @param slaveIndex index among the output slaves; negative as a signed number: pin counts over
 *                   all of them
 * @param pin        0..31, or the number over all output slaves
 * @param state      0 or 1
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(3): state out
 *         of range; #ZELQ_BAD_OUTPUT_SLAVE: no such pin or slave; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_aRDOSetPin(short zelNo, unsigned short slaveIndex, short pin,
                                         short state);

/**
 * Toggles one output of an output slave.
 *
 * @warning A lost reply makes the library send the request again: the output can be toggled
 *          twice, and be as it was.
 *
 * @param zelNo controller number, 1..254
 * @param slave slave number, 0..31
 * @param pin   0..31
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS: slave above 31;
 *         ZELQ_BAD_ARGUMENT(2): pin out of range; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_RDOSetTogPin(short zelNo, unsigned short slave, short pin);

/**
 * Toggles one output of an output slave, by its index.
 *
 * @warning A lost reply makes the library send the request again: the output can be toggled
 *          twice, and be as it was.
 *
 * @param zelNo      controller number, 1..254
 * @param slaveIndex index among the output slaves; negative as a signed number: pin counts over
 *                   all of them
 * @param pin        0..31, or the number over all output slaves
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_OUTPUT_SLAVE: no such
 *         pin or slave; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_aRDOSetTogPin(short zelNo, unsigned short slaveIndex, short pin);

/**
 * Switches a group of outputs of an output slave at once; the others stay.
 *
 * @param zelNo  controller number, 1..254
 * @param slave  slave number, 0..31
 * @param count  number of pins, 1..32
 * @param pins   [count] 0..31; 32 is taken too, and means pin 0
 * @param states [count] state of pins[i]: 1 on, any other value off
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS: slave above 31;
 *         ZELQ_BAD_ARGUMENT(2): count out of range; ZELQ_BAD_ARGUMENT(3): pins null;
 *         #ZELQ_BAD_OUTPUT_SLAVE: a pin above 32; ZELQ_BAD_ARGUMENT(4): states null; exchange
 *         codes
 * @note What a pin listed with both states does is the controller's choice (simulated controller:
 * it goes off). Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_RDOSetPins(short zelNo, unsigned short slave, short count,
                                         const unsigned short* pins, const unsigned short* states);

/**
 * Switches a group of outputs of any output slaves at once, by their indexes; the others stay.
 *
 * @param zelNo        controller number, 1..254
 * @param count        number of pins; 0 or less sends a command without pins, and no array is
 *                     looked at
 * @param slaveIndexes [count] indexes among the output slaves; one that is negative as a signed
 *                     number makes its pin count over all of them
 * @param pins         [count] 0..31, or numbers over all output slaves
 * @param states       [count] state of pins[i]: 1 on, any other value off
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(2), (3), (4):
 *         slaveIndexes, pins, states null; #ZELQ_BAD_OUTPUT_SLAVE: no such pin or slave;
 *         exchange codes, #ZELQ_REPLY_MISMATCH for 24 and more different slaves: they do not fit
 *         into a command, and nothing is sent
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_aRDOSetPins(short zelNo, short count,
                                          const unsigned short* slaveIndexes,
                                          const unsigned short* pins, const unsigned short* states);

/**
 * Toggles a group of outputs of an output slave at once. A pin listed twice toggles once.
 *
 * @warning A lost reply makes the library send the request again: the outputs can be toggled
 *          twice, and be as they were.
 *
 * @param zelNo controller number, 1..254
 * @param slave slave number, 0..31
 * @param count number of pins, 1..32
 * @param pins  [count] 0..31; 32 is taken too, and means pin 0
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_BAD_AXIS: slave above 31;
 *         ZELQ_BAD_ARGUMENT(2): count out of range; ZELQ_BAD_ARGUMENT(3): pins null;
 *         #ZELQ_BAD_OUTPUT_SLAVE: a pin above 32; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_RDOSetTogPins(short zelNo, unsigned short slave, short count,
                                            const unsigned short* pins);

/**
 * Toggles a group of outputs of any output slaves at once, by their indexes. A pin listed twice
 * toggles once.
 *
 * @warning A lost reply makes the library send the request again: the outputs can be toggled
 *          twice, and be as they were.
 *
 * @param zelNo        controller number, 1..254
 * @param count        number of pins; 0 or less sends a command without pins, and no array is
 *                     looked at
 * @param slaveIndexes [count] indexes among the output slaves; one that is negative as a signed
 *                     number makes its pin count over all of them
 * @param pins         [count] 0..31, or numbers over all output slaves
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(2), (3):
 *         slaveIndexes, pins null; #ZELQ_BAD_OUTPUT_SLAVE: no such pin or slave; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_aRDOSetTogPins(short zelNo, short count,
                                             const unsigned short* slaveIndexes,
                                             const unsigned short* pins);

/**
 * Sets which outputs keep their state when the servo network fails.
 *
 * @param zelNo controller number, 1..254
 * @param value the controller's code, passed on as it is (simulated controller: bit k: the output
 *              slave at station k keeps its outputs, the others switch theirs off; 0 after
 * power-up)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_RDOLinkFailKeepOutSet(short zelNo, unsigned int value);

/**
 * Reads which outputs keep their state when the servo network fails.
 *
 * @param zelNo controller number, 1..254
 * @param value [out] the controller's code, as in zelQ_RDOLinkFailKeepOutSet(); may be null
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_REPLY_DATA_MISSING;
 *         exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_RDOLinkFailKeepOutGet(short zelNo, unsigned int* value);

/* ------------------------------------------------------------------------------------------ */
/* Outputs: main board                                                                        */
/* ------------------------------------------------------------------------------------------ */

/**
 * Switches all eight outputs of the main board.
 *
 * @param zelNo controller number, 1..254
 * @param value bit k is pin k, 0..255
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): value
 *         above 255; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_MDOSet(short zelNo, unsigned short value);

/**
 * Switches one output of the main board.
 *
 * @param zelNo controller number, 1..254
 * @param pin   0..7
 * @param state 0 or 1
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): pin above
 *         7; ZELQ_BAD_ARGUMENT(2): state above 1; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_MDOSetPin(short zelNo, unsigned short pin, unsigned short state);

/**
 * Toggles one output of the main board.
 *
 * @warning A lost reply makes the library send the request again: the output can be toggled
 *          twice, and be as it was.
 *
 * @param zelNo controller number, 1..254
 * @param pin   0..7
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): pin above
 *         7; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_MDOSetTogPin(short zelNo, unsigned short pin);

/**
 * Switches a group of outputs of the main board at once; the others stay.
 *
 * @param zelNo  controller number, 1..254
 * @param count  number of pins, 1..8
 * @param pins   [count] 0..7; any other is ignored
 * @param states [count] state of pins[i]: 1 on, any other value off
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): count out
 *         of range; ZELQ_BAD_ARGUMENT(2), (3): pins, states null; exchange codes
 * @note What a pin listed with both states does is the controller's choice (simulated controller:
 * it goes off). Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_MDOSetPins(short zelNo, short count, const unsigned short* pins,
                                         const unsigned short* states);

/**
 * Toggles a group of outputs of the main board at once. A pin listed twice toggles once.
 *
 * @warning A lost reply makes the library send the request again: the outputs can be toggled
 *          twice, and be as they were.
 *
 * @param zelNo controller number, 1..254
 * @param count number of pins, 1..8
 * @param pins  [count] 0..7; any other is ignored
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): count out
 *         of range; ZELQ_BAD_ARGUMENT(2): pins null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_MDOSetTogPins(short zelNo, short count, const short* pins);

/**
 * Sets how long an output of the main board may stay on.
 *
 * @param zelNo     controller number, 1..254
 * @param pin       0..7
 * @param limitMode 0..2, the controller's code (simulated controller: 0: no limit, 1: the output
 *                  goes off so long after it came on, 2: every further command that switches it on
 *                  lets the time run anew)
 * @param limitTime the controller's unit, passed on as it is (simulated controller: milliseconds;
 *                  0 is refused with limitMode 1 and 2)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): pin above
 *         7; ZELQ_BAD_ARGUMENT(2): limitMode above 2; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_MDOSetLimitTime(short zelNo, unsigned short pin,
                                              unsigned short limitMode, unsigned int limitTime);

/**
 * Reads how long an output of the main board may stay on.
 *
 * @param zelNo     controller number, 1..254
 * @param pin       0..7
 * @param limitA    [out] 0..3, the controller's code (simulated controller: bit 0: the output is
 *                  on, bit 1: its time is running); may be null
 * @param limitB    [out] 0..3, the controller's code (limitMode); null: limitA and limitC are not
 *                  written either
 * @param limitC    [out] 0..15, the controller's code (pin); may be null
 * @param limitTime [out] the controller's unit, as in zelQ_MDOSetLimitTime(); may be null
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): pin above
 *         7; #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_MDOGetLimitTime(short zelNo, unsigned short pin,
                                              unsigned short* limitA, unsigned short* limitB,
                                              unsigned short* limitC, unsigned int* limitTime);

/* ------------------------------------------------------------------------------------------ */
/* Serial port                                                                                */
/* ------------------------------------------------------------------------------------------ */

/**
 * Switches the bypass of the controller's serial port.
 *
 * @param zelNo  controller number, 1..254
 * @param bypass 0 or 1; the controller's meaning (simulated controller: 1: the port belongs to the
 *               controller's own service, and zelQ_UARTWrite() and zelQ_UARTRead() are refused)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): bypass
 *         above 1; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_UARTSetBypass(short zelNo, unsigned short bypass);

/**
 * Sets the line format of the controller's serial port.
 *
 * @param zelNo    controller number, 1..254
 * @param baudRate bits per second, passed on as it is
 * @param dataBits 7..9
 * @param stopBits 1..2
 * @param parity   0..2, the controller's code (simulated controller: 0 none, 1 odd, 2 even; at its
 *                 start 115200 8N1)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(2), (3), (4):
 *         dataBits, stopBits, parity out of range; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_UARTSetCfg(short zelNo, unsigned int baudRate, short dataBits,
                                         short stopBits, unsigned short parity);

/**
 * Sends bytes out of the controller's serial port.
 *
 * @warning A lost reply makes the library send the request again: the bytes can go out twice.
 *
 * @param zelNo controller number, 1..254
 * @param data  [len] the bytes
 * @param len   how many, 1..1024
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(2): len out of
 *         range; ZELQ_BAD_ARGUMENT(1): data null; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_UARTWrite(unsigned short zelNo, const void* data, short len);

/**
 * Fetches bytes that the controller's serial port has received.
 *
 * Up to 1382 bytes are fetched in one exchange, more in several. When a later exchange fails, the
 * bytes of the earlier ones stand in buf all the same.
 *
 * @warning A lost reply makes the library send the request again: the bytes of the lost reply can
 *          be gone.
 *
 * @param zelNo   controller number, 1..254
 * @param buf     [out, maxLen] the bytes; nothing is written behind those that were there
 * @param maxLen  how many to fetch at most; 0 or less fetches none and sends nothing
 * @param readLen [out] how many bytes the controller had at the first exchange, which can be more
 *                than were fetched; not written when nothing was sent
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(3): readLen
 *         null; ZELQ_BAD_ARGUMENT(1): buf null; #ZELQ_REPLY_DATA_MISSING; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_UARTRead(short zelNo, void* buf, short maxLen,
                                       unsigned short* readLen);

/* ------------------------------------------------------------------------------------------ */
/* Maintenance: network, hardware information, reset                                          */
/* ------------------------------------------------------------------------------------------ */

/**
 * Changes the network settings of a controller. The connection is expected to drop once they take
 * effect; connect anew then. The last octet of the address is the controller number.
 *
 * @param zelNo   controller number, 1..254
 * @param address [3] first octets of the address, 0..255 each
 * @param second  [4] octets, 0..255 each; the controller's meaning (simulated controller: net
 *                mask)
 * @param third   [4] octets, 0..255 each; the controller's meaning (simulated controller: gateway)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): address
 *         null or an octet of it out of range; ZELQ_BAD_ARGUMENT(2), (3): likewise second, third,
 *         octet by octet in turn; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_CfgNetwork(unsigned short zelNo, const short* address,
                                         const short* second, const short* third);

/**
 * Changes the hardware information of a controller.
 *
 * @param zelNo controller number, 1..254
 * @param value the controller's code, passed on as it is (simulated controller: stored, without
 *              further meaning)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_CfgHwInfo(short zelNo, short value);

/**
 * Restarts a controller. The connection is expected to drop; connect anew when it is back.
 *
 * @warning A lost reply makes the library send the request again: a controller that is back in
 *          time can be restarted twice.
 *
 * @param zelNo controller number, 1..254
 * @param mode  0..3, the controller's code (simulated controller: 0: as switching off and on, 1:
 * the network alone, 2: as 0 with the network settings it was delivered with, 3: as 0 with all
 * settings it was delivered with)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): mode above
 *         3; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_Reset(short zelNo, unsigned short mode);

/* ------------------------------------------------------------------------------------------ */
/* Maintenance: flash, processor memory, EEPROM                                               */
/* ------------------------------------------------------------------------------------------ */

/**
 * Erases flash memory of a controller.
 *
 * @param zelNo  controller number, 1..254
 * @param mode   the controller's code (simulated controller: 0)
 * @param first  the controller's meaning (simulated controller: first sector, 0..255, of 4096
 * bytes)
 * @param second the controller's meaning (simulated controller: last sector, 0..255)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; exchange codes
 * @note Erasing can take longer than the library waits for a reply: see zelQ_TMOSet(). Threads:
 *       any.
 */
ZELQ_API short ZELQ_CALL zelQ_FlashErase(short zelNo, short mode, short first, short second);

/**
 * Writes flash memory of a controller.
 *
 * @param zelNo   controller number, 1..254
 * @param mode    the controller's code (simulated controller: 1)
 * @param address where to write (simulated controller: 0..1048575; writing can only clear bits, so
 *                erase first)
 * @param data    [length] the bytes
 * @param length  how many, even, at most 1024
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(3): length
 * odd, or data null; #ZELQ_OVERFLOW: length above 1024; exchange codes, #ZELQ_REPLY_MISMATCH for a
 * length of 0 or less: nothing is sent
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_FlashWrite(unsigned short zelNo, unsigned short mode,
                                         unsigned int address, const unsigned char* data,
                                         short length);

/**
 * Reads flash memory of a controller back.
 *
 * @param zelNo   controller number, 1..254
 * @param mode    the controller's code (simulated controller: 2)
 * @param address where to read (simulated controller: 0..1048575)
 * @param data    [out, length] the bytes
 * @param length  how many, even, at most 1024
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(3): length
 * odd, or data null; #ZELQ_OVERFLOW: length above 1024; #ZELQ_REPLY_DATA_MISSING (data may be
 *         written in part then); exchange codes, #ZELQ_REPLY_MISMATCH for a length of 0 or less:
 *         nothing is sent
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_FlashRead(unsigned short zelNo, unsigned short mode,
                                        unsigned int address, unsigned char* data, short length);

/**
 * Reads a word of the controller's processor memory.
 *
 * @warning A lost reply makes the library send the request again: where reading has an effect, it
 *          can have it twice.
 *
 * @param zelNo   controller number, 1..254
 * @param space   which memory, the controller's code (simulated controller: 0)
 * @param address of the word (simulated controller: 0..65532, a multiple of 4)
 * @param value   [out] the word; may be null
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_REPLY_DATA_MISSING;
 *         exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_CPUPeek(short zelNo, short space, unsigned int address,
                                      unsigned int* value);

/**
 * Writes a word of the controller's processor memory.
 *
 * @warning A lost reply makes the library send the request again: where writing has an effect, it
 *          can have it twice.
 *
 * @param zelNo   controller number, 1..254
 * @param space   which memory, the controller's code (simulated controller: 0)
 * @param address of the word (simulated controller: 0..65532, a multiple of 4)
 * @param value   the word
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_CPUPoke(short zelNo, short space, unsigned int address,
                                      unsigned int value);

/**
 * Clears the controller's EEPROM.
 *
 * @param zelNo controller number, 1..254
 * @param area  which part of it, the controller's code (simulated controller: 0 all settings, 1
 *              network, 2 hardware information, 3 servo network)
 * @param flag  0 or 1, the controller's meaning (simulated controller: 1: now, 0: at the next
 *              power-up)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(2): flag above
 *         1; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_EepromClear(short zelNo, unsigned short area, unsigned char flag);

/* ------------------------------------------------------------------------------------------ */
/* Maintenance: servo network cycle, default parameters                                       */
/* ------------------------------------------------------------------------------------------ */

/**
 * Sets whether the controller gives the drives its maker's default parameters.
 *
 * @param zelNo controller number, 1..254
 * @param use   0: no; 1: yes (simulated controller: stored, without further meaning)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; ZELQ_BAD_ARGUMENT(1): use above
 *         1; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_UseMaroDefParamSet(short zelNo, unsigned short use);

/**
 * Reads whether the controller gives the drives its maker's default parameters.
 *
 * @param zelNo controller number, 1..254
 * @param use   [out] 0 or 1; may be null
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_REPLY_DATA_MISSING;
 *         exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_UseMaroDefParamGet(short zelNo, unsigned short* use);

/**
 * Sets the cycle of the servo network. Units and values are the controller's, passed on unchecked.
 * The simulated controller stores them, without further meaning; they are 1 and 1 when delivered.
 *
 * @param zelNo  controller number, 1..254
 * @param first  first cycle setting (simulated controller: cycle)
 * @param second second cycle setting (simulated controller: command cycle)
 * @param third  third cycle setting, which cannot be read back (simulated controller: option)
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_RtexCycleSet(short zelNo, short first, short second, int third);

/**
 * Reads the cycle of the servo network, in the controller's units.
 *
 * @param zelNo  controller number, 1..254
 * @param first  [out] first cycle setting; may be null
 * @param second [out] second cycle setting; may be null
 * @return #ZELQ_OK; #ZELQ_BAD_CONTROLLER_NUMBER; #ZELQ_NO_SESSION; #ZELQ_REPLY_DATA_MISSING;
 *         exchange codes
 * @note Threads: any.
 */
ZELQ_API short ZELQ_CALL zelQ_RtexCycleGet(short zelNo, unsigned short* first,
                                           unsigned short* second);

#ifdef __cplusplus
}
#endif

#endif /* ZELQ_H */
