// Records cross the boundary to programs that other compilers made: every size and offset is fixed
// here, for 32 and 64 bits and both systems. A change that moves a field does not compile.

#include "api/zelq.h"

#include <cstddef>

// Status

static_assert(sizeof(ServoStatus) == 116);
static_assert(offsetof(ServoStatus, axis) == 0);
static_assert(offsetof(ServoStatus, inputUse) == 12);
static_assert(offsetof(ServoStatus, emergencyStop) == 14);
static_assert(offsetof(ServoStatus, servoOn) == 16);
static_assert(offsetof(ServoStatus, servoReady) == 18);
static_assert(offsetof(ServoStatus, alarm) == 20);
static_assert(offsetof(ServoStatus, warning) == 22);
static_assert(offsetof(ServoStatus, torqueLimited) == 24);
static_assert(offsetof(ServoStatus, inMotion) == 26);
static_assert(offsetof(ServoStatus, inPosition) == 28);
static_assert(offsetof(ServoStatus, homing) == 30);
static_assert(offsetof(ServoStatus, homeDone) == 32);
static_assert(offsetof(ServoStatus, homeSensor) == 34);
static_assert(offsetof(ServoStatus, limitPositive) == 36);
static_assert(offsetof(ServoStatus, limitNegative) == 38);
static_assert(offsetof(ServoStatus, softLimit) == 40);
static_assert(offsetof(ServoStatus, auxInput) == 42);
static_assert(offsetof(ServoStatus, output1) == 44);
static_assert(offsetof(ServoStatus, output2) == 46);
static_assert(offsetof(ServoStatus, motionKind) == 48);
static_assert(offsetof(ServoStatus, stopCause) == 50);
static_assert(offsetof(ServoStatus, commandPosition) == 52);
static_assert(offsetof(ServoStatus, encoderPosition) == 60);
static_assert(offsetof(ServoStatus, velocity) == 68);
static_assert(offsetof(ServoStatus, followingError) == 76);
static_assert(offsetof(ServoStatus, torque) == 84);
static_assert(offsetof(ServoStatus, rawVelocity) == 92);
static_assert(offsetof(ServoStatus, rawTorque) == 96);
static_assert(offsetof(ServoStatus, rawFollowingError) == 100);

static_assert(sizeof(SlaveIoStatus) == 66);
static_assert(offsetof(SlaveIoStatus, bits) == 2);

static_assert(sizeof(ControllerStatus) == 8168);
static_assert(offsetof(ControllerStatus, servoCount) == 64);
static_assert(offsetof(ControllerStatus, inputSlaves) == 66);
static_assert(offsetof(ControllerStatus, inputCount) == 130);
static_assert(offsetof(ControllerStatus, outputSlaves) == 132);
static_assert(offsetof(ControllerStatus, outputCount) == 196);
static_assert(offsetof(ControllerStatus, servo) == 200);
static_assert(offsetof(ControllerStatus, inputs) == 3912);
static_assert(offsetof(ControllerStatus, outputs) == 6024);
static_assert(offsetof(ControllerStatus, mainInputs) == 8136);
static_assert(offsetof(ControllerStatus, mainOutputs) == 8152);

// Axis set-up

static_assert(sizeof(SpeedProfile) == 36);
static_assert(offsetof(SpeedProfile, start) == 4);
static_assert(offsetof(SpeedProfile, acc) == 12);
static_assert(offsetof(SpeedProfile, drive) == 20);
static_assert(offsetof(SpeedProfile, dec) == 28);

// Search

static_assert(sizeof(SearchStatus) == 16);
static_assert(offsetof(SearchStatus, code) == 0);
static_assert(offsetof(SearchStatus, flag) == 2);
static_assert(offsetof(SearchStatus, mode) == 4);
static_assert(offsetof(SearchStatus, pos) == 8);
// Sequence programs

static_assert(sizeof(SeqStatus) == 28);
static_assert(offsetof(SeqStatus, state) == 0);
static_assert(offsetof(SeqStatus, bit4) == 2);
static_assert(offsetof(SeqStatus, bit5) == 4);
static_assert(offsetof(SeqStatus, bits6_7) == 6);
static_assert(offsetof(SeqStatus, bit8) == 10);
static_assert(offsetof(SeqStatus, bits9_13) == 12);
static_assert(offsetof(SeqStatus, long1) == 16);
static_assert(offsetof(SeqStatus, long3) == 20);
static_assert(offsetof(SeqStatus, word5) == 24);

static_assert(sizeof(SeqAllStatus) == 112);
static_assert(offsetof(SeqAllStatus, program) == 0);

// List motion

static_assert(sizeof(LmStatus) == 24);
static_assert(offsetof(LmStatus, axis) == 0);
static_assert(offsetof(LmStatus, bit11) == 2);
static_assert(offsetof(LmStatus, bit12) == 4);
static_assert(offsetof(LmStatus, bit13) == 6);
static_assert(offsetof(LmStatus, low11) == 8);
static_assert(offsetof(LmStatus, word1) == 10);
static_assert(offsetof(LmStatus, word2) == 12);
static_assert(offsetof(LmStatus, long3) == 16);
static_assert(offsetof(LmStatus, long5) == 20);

// Protection

static_assert(sizeof(TorqueLimitStatus) == 24);
static_assert(offsetof(TorqueLimitStatus, active) == 0);
static_assert(offsetof(TorqueLimitStatus, flag1) == 2);
static_assert(offsetof(TorqueLimitStatus, flag2) == 4);
static_assert(offsetof(TorqueLimitStatus, word1) == 6);
static_assert(offsetof(TorqueLimitStatus, word2) == 8);
static_assert(offsetof(TorqueLimitStatus, word3) == 10);
static_assert(offsetof(TorqueLimitStatus, word4) == 12);
static_assert(offsetof(TorqueLimitStatus, value5) == 16);
static_assert(offsetof(TorqueLimitStatus, value6) == 20);

// Servo and slave properties

static_assert(sizeof(SlaveProperty) == 20);
static_assert(offsetof(SlaveProperty, axis) == 0);
static_assert(offsetof(SlaveProperty, type) == 2);
static_assert(offsetof(SlaveProperty, seriesCode) == 4);
static_assert(offsetof(SlaveProperty, motorCode) == 6);
static_assert(offsetof(SlaveProperty, encoderCode) == 8);
static_assert(offsetof(SlaveProperty, limitLogic) == 10);
static_assert(offsetof(SlaveProperty, homeLogic) == 12);
static_assert(offsetof(SlaveProperty, inputUse) == 14);
static_assert(offsetof(SlaveProperty, absoluteEncoder) == 18);
