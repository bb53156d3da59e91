#pragma once

namespace zelq {

// The library's own result codes. The public header names the same numbers for applications.

inline constexpr int kOk = 0;
inline constexpr int kConnectFailed = -1;
inline constexpr int kBadControllerNumber = -2;
inline constexpr int kNoSession = -3;
inline constexpr int kNotOpen = -4;
inline constexpr int kSocketFailed = -5;
inline constexpr int kSendBlocked = -6;
inline constexpr int kNoReply = -7;
inline constexpr int kLockFailed = -8;
inline constexpr int kOverflow = -9;
inline constexpr int kReplyTooShort = -10;
inline constexpr int kReplyMismatch = -12;
inline constexpr int kReplyDataMissing = -1004;
inline constexpr int kDeviceInfoOutOfRange = -1005;
inline constexpr int kConfigurationChanged = -2001;
inline constexpr int kBadAxis = -2002;
inline constexpr int kDuplicateAxis = -2003;
inline constexpr int kBadAxisCount = -2004;
inline constexpr int kNotAServo = -2007;
inline constexpr int kBadOutputSlave = -3080;
inline constexpr int kTooFewMapAxes = -4001;

/// The code of argument `position`, the controller number being argument 0.
constexpr short BadArgument(int position)
{
    return static_cast<short>(-1700 - position);
}

} // namespace zelq
