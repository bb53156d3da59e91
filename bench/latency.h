#pragma once

#include "peer.h"
#include "subject.h"

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// Where a client and what it talks to run; -1: anywhere.
struct Processors
{
    int client;
    int peer;
};

/// Subjects that not every system has.
using MoreSubjects = std::function<std::vector<Subject>(const Peer& peer)>;

/// What one call takes, beside a raw exchange of the same bytes and beside a bare client's.
/// `spreadPath` is where the spread of the moves goes for a plot, unless it is empty.
void MeasureLatency(const char* title, Processors processors, int chunks,
                    const MoreSubjects& more = {}, const std::string& spreadPath = {});

} // namespace bench
