/**
 * @file zelq_errors.h
 * What the results of zelQ's functions mean: a name, a sentence, the likely causes and what to do
 * for each. Everything stands in this header; nothing of it is in the library.
 *
 *     short result = zelQ_ServoOn(3, 0, 1);
 *     if (result != ZELQ_OK) puts(ZelqErrorText("zelQ_ServoOn", result));
 *
 * Results below 0 are the library's own. Those above 0 are the controller's: each controller has
 * its own, and those explained here are the simulated controller's, whose names begin with "SIM_".
 */
#ifndef ZELQ_ERRORS_H
#define ZELQ_ERRORS_H

#include "zelq.h"

#include <stddef.h>
#include <string.h>

/** One row of the table: a result, or a range of them. */
typedef struct ZelqError
{
    const char* function; /**< the one function whose result this is, or null: any function's */
    int first;            /**< the result; of a range that which counts from here */
    int last;             /**< the last of the range, further from 0; the same as first for one */
    const char* name;     /**< short and unique */
    const char* text;     /**< what has happened, one sentence */
    const char* causes;   /**< what it likely comes from */
    const char* remedy;   /**< what to do */
} ZelqError;

/* NOLINTBEGIN(modernize-use-nullptr): C has no other word for it. */
/** All that is explained. A row for one function stands for it before that of any. */
static const ZelqError kZelqErrors[] = {
    {NULL, ZELQ_OK, ZELQ_OK, "ZELQ_OK", "The call has succeeded.", "Nothing is wrong.",
     "Nothing is to be done."},
    {NULL, ZELQ_CONNECT_FAILED, ZELQ_CONNECT_FAILED, "ZELQ_CONNECT_FAILED",
     "The connection could not be made, or not be made again during a call.",
     "The controller is off or still starting; the network, the controller number or the port "
     "is wrong; a cable or a firewall is in the way; an octet of the address is outside "
     "0..255.",
     "Look whether the controller answers a ping and a discovery, compare its address and port "
     "with those of the program, then connect again; over a slow network raise the connect "
     "time-out with zelQ_TMOSet()."},
    {NULL, ZELQ_BAD_CONTROLLER_NUMBER, ZELQ_BAD_CONTROLLER_NUMBER, "ZELQ_BAD_CONTROLLER_NUMBER",
     "The controller number is outside 1..254.",
     "A variable was not set, or the whole address was given instead of its last octet.",
     "Give the last octet of the controller's address."},
    {NULL, ZELQ_NO_SESSION, ZELQ_NO_SESSION, "ZELQ_NO_SESSION",
     "This controller was never connected.",
     "zelQ_Connect() was not called for this number, in this process, or was called for "
     "another one.",
     "Call zelQ_Connect() for this controller first."},
    {NULL, ZELQ_NOT_OPEN, ZELQ_NOT_OPEN, "ZELQ_NOT_OPEN", "The controller is not connected now.",
     "zelQ_Disconnect() was called; the last zelQ_Connect() failed; this process was forked "
     "from the one that had connected.",
     "Call zelQ_Connect() again, and look at its result."},
    {NULL, ZELQ_SOCKET_FAILED, ZELQ_SOCKET_FAILED, "ZELQ_SOCKET_FAILED",
     "The socket failed, or the controller closed the connection.",
     "The controller restarted or dropped the connection; a cable was pulled; the process has "
     "too many open files or sockets.",
     "Call again: the next call connects anew. If it keeps coming, look at the cable, the "
     "switch and the controller's power."},
    {NULL, ZELQ_SEND_BLOCKED, ZELQ_SEND_BLOCKED, "ZELQ_SEND_BLOCKED",
     "The request could not be sent within the send time-out.",
     "The network is overloaded or was cut; the controller no longer takes data.",
     "Look at the network and the controller; over a slow network raise the send time-out with "
     "zelQ_TMOSet()."},
    {NULL, ZELQ_NO_REPLY, ZELQ_NO_REPLY, "ZELQ_NO_REPLY",
     "No reply came within the receive waits, three times over.",
     "The controller hangs or was switched off; the network loses packets; the command takes "
     "longer than the time-out; what listens at this port is no controller.",
     "The command may have been executed all the same: read the status before it is repeated. "
     "For commands that take long raise the receive time-out with zelQ_TMOSet()."},
    {NULL, ZELQ_LOCK_FAILED, ZELQ_LOCK_FAILED, "ZELQ_LOCK_FAILED",
     "The lock by which the callers of one controller take turns could not be had.",
     "The folder for locks is missing or full, or its rights are wrong; the process has too "
     "many open files.",
     "See that $XDG_RUNTIME_DIR, or else /dev/shm, can be written by this user (Linux), and "
     "that the process does not leak handles; then call again."},
    {NULL, ZELQ_OVERFLOW, ZELQ_OVERFLOW, "ZELQ_OVERFLOW",
     "The request or the reply does not fit into one exchange.",
     "A length or a count is too large; for a text, the room given for it is too small; the "
     "reply is longer than any that belongs to the call.",
     "Give less at a time (flash: 1024 bytes at most), or more room for a text."},
    {NULL, ZELQ_REPLY_TOO_SHORT, ZELQ_REPLY_TOO_SHORT, "ZELQ_REPLY_TOO_SHORT",
     "The reply is shorter than any valid one.",
     "What listens at this address and port is no controller, or a device in between changes "
     "what passes.",
     "Check address and port; look at the frames with 'zelq capture'."},
    {NULL, ZELQ_REPLY_MISMATCH, ZELQ_REPLY_MISMATCH, "ZELQ_REPLY_MISMATCH",
     "The reply does not belong to the request, or is incomplete.",
     "The controller refused the frame itself; its firmware does not know the command; more "
     "was asked for than one exchange carries (counts, a length of 0); another device answers "
     "at this address.",
     "Check the counts and lengths of the call, and the firmware of the controller; look at "
     "the frames with 'zelq capture'."},
    {NULL, ZELQ_REPLY_DATA_MISSING, ZELQ_REPLY_DATA_MISSING, "ZELQ_REPLY_DATA_MISSING",
     "The reply has fewer values than the call reads.",
     "The controller's firmware gives fewer values; an output that must not be null is; "
     "zelQ_mAlarmListGet() always ends so.",
     "Values in front of the missing one may be stored: see the description of the function. "
     "For all entries of an alarm list call zelQ_AlarmListGet() for each axis."},
    {NULL, ZELQ_DEVICE_INFO_OUT_OF_RANGE, ZELQ_DEVICE_INFO_OUT_OF_RANGE,
     "ZELQ_DEVICE_INFO_OUT_OF_RANGE", "The device information carries an impossible date.",
     "The identification stored in a controller is damaged or was never written; the year is "
     "outside 2018..2048.",
     "Have the identification written anew by the maker; the controller's other functions are "
     "not affected."},
    {NULL, ZELQ_BAD_ARGUMENT(0), ZELQ_BAD_ARGUMENT(99), "ZELQ_BAD_ARGUMENT",
     "An argument is out of its range, or null where it must not be.",
     "The number behind -1700 tells which argument it is, the controller number counting as 0: "
     "-1701 is the first one behind it. A few functions count otherwise; their descriptions "
     "say so.",
     "Compare the argument with the description of the function; nothing was sent."},
    {NULL, ZELQ_CONFIGURATION_CHANGED, ZELQ_CONFIGURATION_CHANGED, "ZELQ_CONFIGURATION_CHANGED",
     "The slaves of the controller changed twice while their status was read.",
     "Drives or slaves are just being switched on or off, or the servo network is unstable.",
     "Read again after a moment; if it keeps coming, look at the cables and the power of the "
     "drives."},
    {NULL, ZELQ_BAD_AXIS, ZELQ_BAD_AXIS, "ZELQ_BAD_AXIS",
     "The axis is above 31, or is no servo axis of the controller.",
     "The axis number is wrong; its drive is off or not on the servo network; the controller "
     "has no servo axis at all.",
     "List the slaves with zelQ_SlavePropertyGetAll(), and use the number of one that is a "
     "servo."},
    {NULL, ZELQ_DUPLICATE_AXIS, ZELQ_DUPLICATE_AXIS, "ZELQ_DUPLICATE_AXIS",
     "An axis stands twice in a list.", "The list of axes was put together wrongly.",
     "Name each axis once."},
    {NULL, ZELQ_BAD_AXIS_COUNT, ZELQ_BAD_AXIS_COUNT, "ZELQ_BAD_AXIS_COUNT",
     "The count of axes is outside 1..32, or above the number of servo axes.",
     "The count is 0 or was not set; more axes were named than the controller has.",
     "Give the number of axes in the list."},
    {NULL, ZELQ_NOT_A_SERVO, ZELQ_NOT_A_SERVO, "ZELQ_NOT_A_SERVO", "The axis is no servo axis.",
     "The axis number is wrong; its drive was off when the slaves were read; an input or "
     "output slave stands there.",
     "Use the number of a servo axis; switch the drive on, then connect again."},
    {NULL, ZELQ_BAD_OUTPUT_SLAVE, ZELQ_BAD_OUTPUT_SLAVE, "ZELQ_BAD_OUTPUT_SLAVE",
     "The output slave or the pin lies beyond the controller's output slaves.",
     "A slave number was given for an index among the output slaves, or the other way round; "
     "the pin is too high; an output slave is off.",
     "List the slaves; functions with an 'a' before their name take the index among the output "
     "slaves."},
    {NULL, ZELQ_TOO_FEW_MAP_AXES, ZELQ_TOO_FEW_MAP_AXES, "ZELQ_TOO_FEW_MAP_AXES",
     "The interpolation map has too few axes.",
     "zelQ_IMapSet() was not called by this process for this map, or with fewer axes: lines "
     "and arcs need two, helices three.",
     "Set the map first, with all the axes that the motion needs."},
    {"zelQ_PingCheck", ZELQ_NO_SESSION, ZELQ_NO_SESSION, "PING_NO_REPLY",
     "No reply to the ping came in time.",
     "The controller is off or has another address; this computer is in another network; a "
     "firewall drops pings.",
     "Check power, cable and the first three octets of the address; a controller that answers "
     "no ping may still accept connections."},
    {"zelQ_PingCheck", ZELQ_SOCKET_FAILED, ZELQ_SOCKET_FAILED, "PING_NOT_SENT",
     "The ping could not be sent.",
     "There is no route to such an address; this system lets the process send no ping (Linux: "
     "net.ipv4.ping_group_range).",
     "Check the address; let the process send pings, or connect without one."},
    {"zelQ_GetEnumList", ZELQ_NO_SESSION, ZELQ_NO_SESSION, "DISCOVERY_NO_SOCKET",
     "The discovery could not begin: the address is none, or there is no socket to be had.",
     "An octet of the address is outside 0..255; the process has too many open sockets.",
     "Give one controller's address, or the broadcast address of a network."},
    {"zelQ_LmGetAllStatus", ZELQ_CONFIGURATION_CHANGED, ZELQ_CONFIGURATION_CHANGED, "NO_SERVO_AXES",
     "The controller has no servo axis; nothing was sent.",
     "The drives are off or not on the servo network.",
     "Switch the drives on, then connect again."},
    {"zelQ_GetServoStatus", ZELQ_BAD_ARGUMENT(0), ZELQ_BAD_ARGUMENT(0), "NO_SERVO_THERE",
     "The axis is no servo axis.", "The axis number is wrong, or its drive is off.",
     "List the slaves, and use the number of one that is a servo."},
    {NULL, 1, 1, "SIM_UNKNOWN_COMMAND", "The controller does not know the command.",
     "The controller's firmware is older than the function, or has it not.",
     "Update the firmware, or do without the function."},
    {NULL, 2, 2, "SIM_MALFORMED",
     "The command is malformed: a count is outside 1..32, or fields are missing or left over.",
     "A count does not fit its list; a value that the library passes on is none that the "
     "controller takes.",
     "Check the counts and values of the call."},
    {NULL, 3, 3, "SIM_NO_SERVO", "No servo stands at this station.",
     "An axis of the list is wrong; its drive is off; an input or output slave stands there.",
     "List the slaves, and use axes that are servos."},
    {NULL, 4, 4, "SIM_SERVO_OFF", "The servo is off.",
     "The axis was not switched on; an alarm, an emergency stop or a reset has switched it "
     "off.",
     "Look at the axis's alarm, then switch it on with zelQ_ServoOn()."},
    {NULL, 5, 5, "SIM_ALARM", "The axis has an alarm.",
     "Over-current, following error, over-travel, encoder: the alarm list tells.",
     "Read the alarm with zelQ_AlarmListGet(), remove its cause, then call "
     "zelQ_AlarmResetReq() and zelQ_ServoOn()."},
    {NULL, 6, 6, "SIM_BUSY", "The axis is busy with another kind of motion.",
     "A move, homing, path, list or torque mode is still running; what has to be changed at "
     "rest is asked of an axis that moves.",
     "Wait until the axis has ended its motion (inMotion 0), or stop it."},
    {NULL, 7, 7, "SIM_OUT_OF_RANGE", "A value is out of range.",
     "A speed of 0 or below; an acceleration below 0; software limits that are crossed; a "
     "parameter outside its range; units per pulse that make a value too large.",
     "Check the values, in pulses too: value / unitPerPulse."},
    {NULL, 8, 8, "SIM_STANDING_STILL", "The axis stands still: there is no motion to override.",
     "The motion had already ended when the override came.", "Start a move instead."},
    {NULL, 9, 9, "SIM_LIMIT_BLOCKS", "A limit switch blocks this direction.",
     "The axis stands on its limit switch.",
     "Move the other way; if it stands free of the switch, check the switch's wiring and "
     "logic."},
    {NULL, 10, 10, "SIM_FRAME_SEQUENCE", "The frames of a long command came out of their turn.",
     "Something between program and controller loses or reorders frames; the connection was "
     "made anew in the middle.",
     "Send the command again."},
    {NULL, 11, 11, "SIM_EMPTY_MAP", "The interpolation map is empty.",
     "zelQ_IMapSet() was not called, or the controller restarted since.", "Set the map again."},
    {NULL, 12, 12, "SIM_AXIS_TWICE", "An axis is named twice.",
     "The list of axes was put together wrongly.", "Name each axis once."},
    {NULL, 13, 13, "SIM_EMERGENCY_STOP", "The emergency stop is active.",
     "The emergency-stop input of the drive is on, or its wiring is broken.",
     "Make the machine safe. Release the emergency stop, then switch the servo on."},
    {NULL, 20, 20, "SIM_NO_OVERRIDE", "The running motion takes no such override, or is stopping.",
     "Homing, paths, lists and torque or velocity modes are not overridden; the axis is "
     "braking for a stop or a switch.",
     "Stop the axis, then command a new motion."},
    {NULL, 21, 21, "SIM_NO_ABSOLUTE_ENCODER", "The axis has no absolute encoder.",
     "The motor has an incremental encoder, or the servo properties do not say that it is "
     "absolute.",
     "Check the servo properties; an incremental encoder has no turns to clear."},
    {NULL, 40, 40, "SIM_MAP_TOO_SHORT", "The interpolation map has too few axes for the command.",
     "Lines and arcs need two axes, helices three.",
     "Set the map with all the axes that the motion needs."},
    {NULL, 41, 41, "SIM_NO_CIRCLE",
     "There is no circle: a point of the arc is its centre, or both ends of an arc of a given "
     "radius are the same.",
     "Positions were given where distances were meant, or the other way round; values smaller "
     "than a pulse.",
     "Check the option (0 positions, 1 distances) and the points."},
    {NULL, 42, 42, "SIM_END_OFF_CIRCLE",
     "The end of the arc lies off its circle, by more than 3 pulses.",
     "Centre and end do not belong together; the map's axes have different units per pulse.",
     "Compute the end anew, or use the form with a radius or a passed point."},
    {NULL, 43, 43, "SIM_POINTS_IN_LINE", "The three points of the arc lie in line.",
     "The passed point lies on the straight way to the end.", "Use a line, or another point."},
    {NULL, 44, 44, "SIM_RADIUS_TOO_SMALL",
     "The radius is less than half the way to the end, by more than 3 pulses.",
     "The radius or the end is wrong; positions were given where distances were meant.",
     "Give a larger radius or a nearer end."},
    {NULL, 45, 45, "SIM_PRE_REGISTERS_FULL", "The pre-registers are full.",
     "Segments were sent faster than they run.",
     "Wait until zelQ_CP_PreRegGetRemain() shows room, then send again."},
    {NULL, 60, 60, "SIM_LIST_RUNNING", "The list of this axis is running.",
     "It has not ended yet, or waits for more nodes.",
     "Wait for its end, or stop it with zelQ_LmRunStop()."},
    {NULL, 61, 61, "SIM_LIST_EMPTY", "The list is empty.",
     "No nodes were added since the last set-up.", "Add nodes with zelQ_LmAddNode()."},
    {NULL, 62, 62, "SIM_LIST_OPEN", "The list has no end yet.",
     "zelQ_LmAddNodeEnd() was not called.", "Add the end, then run the list."},
    {NULL, 63, 63, "SIM_LIST_CLOSED", "The list has its end already.",
     "The end was sent twice, which a lost reply can do; nodes are added behind it.",
     "Read the list's status; for a new list call zelQ_LmSetCfg() first."},
    {NULL, 64, 64, "SIM_LIST_FULL", "The list is full.", "256 nodes wait.",
     "Wait until nodes have been run, or make the list shorter."},
    {NULL, 70, 70, "SIM_PROGRAM_RUNNING", "The sequence program is running, or paused.",
     "It has not ended yet.", "Wait for its end, or stop it with zelQ_SeqStop()."},
    {NULL, 71, 71, "SIM_PROGRAM_OPEN", "The sequence program has no end yet.",
     "zelQ_SeqFuncAddEnd() was not called.", "Add the end, then start the program."},
    {NULL, 72, 72, "SIM_PROGRAM_CLOSED", "The sequence program has its end already.",
     "The end was sent twice, which a lost reply can do; records are added behind it.",
     "Read the program's status; for a new program call zelQ_SeqFuncBufClear() first."},
    {NULL, 73, 73, "SIM_PROGRAM_FULL", "The sequence program is full.", "It has 512 records.",
     "Make the program shorter, or split it."},
    {NULL, 74, 74, "SIM_NO_FOCUS", "No sequence program has the focus.",
     "A wait was sent without zelQ_SeqSetFocus().", "Give a program the focus first."},
    {NULL, 75, 75, "SIM_PROGRAM_NOT_RUNNING",
     "The sequence program is not running, or, to be resumed, not paused.",
     "It has ended or has never been started.", "Start it with zelQ_SeqStart()."},
    {NULL, 76, 76, "SIM_MOTION_FAILED",
     "A motion that a sequence program waited for has not reached its end.",
     "A limit, an alarm, the emergency stop or a servo that went off has stopped the axis.",
     "Look at the axis's status, remove the cause, then start the program again."},
    {NULL, 77, 77, "SIM_NO_INPUT_SLAVE", "No input slave stands at this station.",
     "The slave number is wrong, or the slave is off.",
     "List the slaves, and use the number of an input slave."},
    {NULL, 80, 80, "SIM_ALARM_LASTS", "The alarm lasts until the power goes off.",
     "Alarms of the encoder, for one, cannot be reset.",
     "Remove the cause, then switch the drive off and on."},
    {NULL, 81, 81, "SIM_SOFTWARE_LIMIT", "A software limit blocks this direction.",
     "The axis stands at or behind its software limit.",
     "Move the other way, or change the limits with zelQ_StopModeSwLimit()."},
    {NULL, 82, 82, "SIM_NO_PARAMETER", "The drive has no such parameter.",
     "Class or number is wrong, or meant for another drive.",
     "Look it up in the manual of the drive."},
    {NULL, 83, 83, "SIM_READ_ONLY_PARAMETER", "The parameter can only be read.",
     "It tells what the drive is.", "Leave it as it is."},
    {NULL, 84, 84, "SIM_SERVO_IS_ON", "The servo is on.",
     "Parameters are validated only while the servo is off.", "Switch the servo off first."},
    {NULL, 85, 85, "SIM_NO_MONITOR", "The drive has no such monitor.",
     "The monitor number is wrong, or meant for another drive.",
     "Look it up in the manual of the drive."},
    {NULL, 100, 100, "SIM_NO_OUTPUT_SLAVE", "No output slave stands at this station.",
     "The slave number is wrong, or the slave is off.",
     "List the slaves, and use the number of an output slave."},
    {NULL, 101, 101, "SIM_NETWORK_DOWN", "The servo network is down.",
     "A cable of the servo network is loose; a drive or slave is off.",
     "Look at the cables and at the power of the drives."},
    {NULL, 102, 102, "SIM_SERIAL_PORT_TAKEN", "The serial port is taken by the bypass.",
     "The bypass was switched on.", "Switch it off with zelQ_UARTSetBypass()."},
    {NULL, 104, 104, "SIM_NO_SUCH_FLASH", "There is no such flash address or sector.",
     "The address and length reach beyond the flash; the mode is none of the controller's.",
     "Check address and length."},
    {NULL, 105, 105, "SIM_NO_SUCH_MEMORY", "There is no such word in the processor's memory.",
     "The address is too high or not one that 4 divides; the memory space is none of the "
     "controller's.",
     "Check space and address."},
};

/** Row `index` of the table, null behind its end. */
static inline const ZelqError* ZelqErrorAt(size_t index)
{
    return index < sizeof(kZelqErrors) / sizeof(kZelqErrors[0]) ? &kZelqErrors[index] : NULL;
}

/** The row of a result; `function` is the name of the function that gave it, such as
 * "zelQ_MoveAbs", or null. Null for a result that no row explains. */
static inline const ZelqError* ZelqErrorFind(const char* function, int result)
{
    const ZelqError* found = NULL;
    const ZelqError* row = NULL;
    size_t index = 0;
    while ((row = ZelqErrorAt(index++)) != NULL) {
        const int inRange = row->first < 0 ? result <= row->first && result >= row->last
                                           : result >= row->first && result <= row->last;
        if (!inRange) continue;
        if (row->function == NULL) {
            if (found == NULL) found = row;
        } else if (function != NULL && strcmp(row->function, function) == 0) {
            return row;
        }
    }
    return found;
}

/** The row of a result, or one that stands for all that have none. */
static inline const ZelqError* ZelqErrorRow(const char* function, int result)
{
    static const ZelqError kController = {
        NULL,
        1,
        32767,
        "CONTROLLER_RESULT",
        "The controller has refused the command with a result of its own.",
        "Each controller has results of its own; this one is none that the simulated controller "
        "has.",
        "Look it up in the manual of the controller."};
    static const ZelqError kLibrary = {
        NULL,
        -1,
        -32768,
        "UNKNOWN_RESULT",
        "No function of this version of the library gives this result.",
        "The number was changed on its way, or comes from another version of the library.",
        "See that the header and the library are of the same version."};
    const ZelqError* row = ZelqErrorFind(function, result);
    if (row != NULL) return row;
    return result > 0 ? &kController : &kLibrary;
}

/** The name of a result, such as "ZELQ_NO_REPLY"; never null, as all of the following. */
static inline const char* ZelqErrorName(const char* function, int result)
{
    return ZelqErrorRow(function, result)->name;
}

/** What has happened, one sentence. */
static inline const char* ZelqErrorText(const char* function, int result)
{
    return ZelqErrorRow(function, result)->text;
}

/** What it likely comes from. */
static inline const char* ZelqErrorCauses(const char* function, int result)
{
    return ZelqErrorRow(function, result)->causes;
}

/** What to do. */
static inline const char* ZelqErrorRemedy(const char* function, int result)
{
    return ZelqErrorRow(function, result)->remedy;
}

/* NOLINTEND(modernize-use-nullptr) */
#endif /* ZELQ_ERRORS_H */
