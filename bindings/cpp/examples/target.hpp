// Which controller an example talks to: NETWORK CONTROLLER [PORT] on its command line.
#pragma once

#include "zelq.hpp"

#include <cstdio>
#include <cstdlib>

inline zelq::Controller connectTo(int argc, char** argv)
{
    zelq::Network network{};
    char rest = 0;
    if (argc < 3 || std::sscanf(argv[1], "%hd.%hd.%hd%c", &network.first, &network.second,
                                &network.third, &rest) != 3) {
        std::fprintf(stderr, "%s NETWORK CONTROLLER [PORT], such as: %s 192.168.0 3\n", argv[0],
                     argv[0]);
        std::exit(2);
    }
    zelq::Link link;
    if (argc > 3) link.port = std::atoi(argv[3]);
    // On a busy computer a reply may be late; a command that is sent again for it runs twice.
    link.receive = std::chrono::seconds(1);
    return {network, static_cast<short>(std::atoi(argv[2])), link};
}

/// What has failed, and what to do.
inline int tell(const zelq::Error& error)
{
    std::fprintf(stderr, "%s\n  cause:  %s\n  remedy: %s\n", error.what(), error.cause(),
                 error.remedy());
    if (error.axesMayRun()) std::fprintf(stderr, "  The axes could not be stopped!\n");
    return dynamic_cast<const zelq::Interrupted*>(&error) != nullptr ? 130 : 1;
}
