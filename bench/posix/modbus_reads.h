#pragma once

#include "peer.h"
#include "subject.h"

namespace bench {

/// libmodbus as its user would read what a snapshot does: one read after the other.
std::vector<Subject> ModbusReads(const Peer& peer);

} // namespace bench
