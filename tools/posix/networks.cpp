#include "frame/system.h"

#include <algorithm>
#include <arpa/inet.h>
#include <fstream>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace zelq::tool {

namespace {

std::uint32_t NumberOf(const sockaddr* address)
{
    return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
}

} // namespace

std::vector<Octets> BroadcastAddresses()
{
    std::vector<Octets> addresses;
    ifaddrs* interfaces = nullptr;
    if (getifaddrs(&interfaces) != 0) return addresses;
    for (const ifaddrs* entry = interfaces; entry != nullptr; entry = entry->ifa_next) {
        const bool isUsed = entry->ifa_addr != nullptr && entry->ifa_netmask != nullptr &&
                            entry->ifa_addr->sa_family == AF_INET &&
                            (entry->ifa_flags & IFF_UP) != 0;
        if (!isUsed) continue;
        const std::uint32_t all = NumberOf(entry->ifa_addr) | ~NumberOf(entry->ifa_netmask);
        Octets address{};
        for (std::size_t i = 0; i < address.size(); ++i) {
            address[i] = static_cast<unsigned short>((all >> (24U - 8U * i)) & 0xFFU);
        }
        if (std::find(addresses.begin(), addresses.end(), address) == addresses.end()) {
            addresses.push_back(address);
        }
    }
    freeifaddrs(interfaces);
    return addresses;
}

int ConnectionsTo(const std::string& address, int port)
{
    in_addr wanted{};
    if (inet_pton(AF_INET, address.c_str(), &wanted) != 1) return 0;
    constexpr unsigned kEstablished = 1;
    int count = 0;
    std::ifstream table("/proc/net/tcp");
    for (std::string line; std::getline(table, line);) {
        unsigned remote = 0;
        unsigned remotePort = 0;
        unsigned state = 0;
        // Number, own end, far end, state; addresses as they lie in memory.
        const int fields =
            std::sscanf(line.c_str(), "%*d: %*x:%*x %x:%x %x", &remote, &remotePort, &state);
        const bool isOne = fields == 3 && remote == wanted.s_addr &&
                           remotePort == static_cast<unsigned>(port) && state == kEstablished;
        if (isOne) ++count;
    }
    return count;
}

} // namespace zelq::tool
