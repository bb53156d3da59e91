// A process that was forked has its parent's connections in its hands, and none of its threads: it
// lets go of the former and sets up anew what the latter may have held. From there on it is a
// process like any other, which connects for itself.

#include "platform/process.h"
#include "transport/discovery.h"
#include "transport/session_table.h"

namespace zelq {

namespace {

void StartAnew()
{
    Sessions().Abandon();
    DiscoveryContext::Abandon();
}

const bool kRegistered = (platform::CallInForkedChild(StartAnew), true);

} // namespace

} // namespace zelq
