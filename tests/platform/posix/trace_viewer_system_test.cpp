#include "platform/trace_viewer.h"
#include "support/trace_capture.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zelq::platform {
namespace {

void Deliver(const std::string& line)
{
    DeliverTraceLine(line.c_str(), line.size());
}

TEST(TraceViewerSystem, AForkedChildHasALineOfItsOwnThatHealsOnceDescriptorsAreFree)
{
    test::TraceCapture viewer;
    Deliver("parent\n");
    EXPECT_EQ(viewer.Next(), "parent\n");
    const pid_t child = fork();
    if (child == 0) {
        // Had the child its parent's socket, it would need no descriptor.
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit none{0, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
        Deliver("lost\n");
        setrlimit(RLIMIT_NOFILE, &before);
        Deliver("child\n");
        _exit(0);
    }
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_EQ(viewer.Next(), "child\n");
    Deliver("parent again\n");
    EXPECT_EQ(viewer.Next(), "parent again\n");
}

} // namespace
} // namespace zelq::platform
