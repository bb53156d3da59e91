#pragma once

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zelq::platform {

// The steps of an exchange as the kernel takes them. The system library's own are points where a
// thread can be cancelled, which costs two locked operations each in every program with threads;
// and nobody wants to be cancelled in the middle of an exchange.

inline ssize_t ReceiveNow(int descriptor, void* area, std::size_t bytes, int flags)
{
    return syscall(SYS_recvfrom, descriptor, area, bytes, flags, nullptr, nullptr);
}

inline ssize_t SendNow(int descriptor, const void* data, std::size_t bytes, int flags)
{
    return syscall(SYS_sendto, descriptor, data, bytes, flags, nullptr, 0);
}

inline int ConnectNow(int descriptor, const sockaddr* address, socklen_t bytes)
{
    return static_cast<int>(syscall(SYS_connect, descriptor, address, bytes));
}

} // namespace zelq::platform
