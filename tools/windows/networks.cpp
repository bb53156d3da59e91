#include "frame/system.h"

#include <algorithm>
#include <winsock2.h>
// Behind the one above.
#include <iphlpapi.h>

namespace zelq::tool {

std::vector<Octets> BroadcastAddresses()
{
    ULONG size = 0;
    GetIpAddrTable(nullptr, &size, FALSE);
    std::vector<unsigned long> area(size / sizeof(unsigned long) + 1);
    auto* table = reinterpret_cast<MIB_IPADDRTABLE*>(area.data());
    std::vector<Octets> addresses;
    if (size == 0 || GetIpAddrTable(table, &size, FALSE) != NO_ERROR) return addresses;
    for (DWORD i = 0; i < table->dwNumEntries; ++i) {
        const MIB_IPADDRROW& entry = table->table[i];
        // As they go over the network: the first octet is the lowest byte.
        const DWORD all = entry.dwAddr | ~entry.dwMask;
        Octets address{};
        for (std::size_t octet = 0; octet < address.size(); ++octet) {
            address[octet] = static_cast<unsigned short>((all >> (8U * octet)) & 0xFFU);
        }
        const bool isNone = entry.dwAddr == 0;
        if (!isNone && std::find(addresses.begin(), addresses.end(), address) == addresses.end()) {
            addresses.push_back(address);
        }
    }
    return addresses;
}

int ConnectionsTo(const std::string& address, int port)
{
    ULONG size = 0;
    GetTcpTable(nullptr, &size, FALSE);
    // Connections may come up in between.
    size += 64 * sizeof(MIB_TCPROW);
    std::vector<unsigned long> area(size / sizeof(unsigned long) + 1);
    auto* table = reinterpret_cast<MIB_TCPTABLE*>(area.data());
    if (GetTcpTable(table, &size, FALSE) != NO_ERROR) return 0;
    const unsigned long wanted = inet_addr(address.c_str());
    const unsigned short wantedPort = htons(static_cast<unsigned short>(port));
    int count = 0;
    for (DWORD i = 0; i < table->dwNumEntries; ++i) {
        const MIB_TCPROW& row = table->table[i];
        const bool isOne = row.dwRemoteAddr == wanted &&
                           static_cast<unsigned short>(row.dwRemotePort) == wantedPort &&
                           row.dwState == MIB_TCP_STATE_ESTAB;
        if (isOne) ++count;
    }
    return count;
}

} // namespace zelq::tool
