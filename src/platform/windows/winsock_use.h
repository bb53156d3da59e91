#pragma once

#include "platform/windows/system.h"

namespace zelq::platform {

/// Holds Windows Sockets 2.2 started; a start that yields another version is undone.
class WinsockUse
{
  public:
    WinsockUse()
    {
        WSADATA data;
        error_ = WSAStartup(kVersion, &data);
        if (error_ != 0 || data.wVersion == kVersion) return;
        WSACleanup();
        error_ = WSAVERNOTSUPPORTED;
    }
    ~WinsockUse()
    {
        if (error_ == 0 && !kept_) WSACleanup();
    }
    WinsockUse(const WinsockUse&) = delete;
    WinsockUse& operator=(const WinsockUse&) = delete;

    [[nodiscard]] int Error() const { return error_; }
    /// From here on the caller owes the WSACleanup.
    void Keep() { kept_ = true; }

  private:
    static constexpr WORD kVersion = MAKEWORD(2, 2);

    int error_ = 0;
    bool kept_ = false;
};

} // namespace zelq::platform
