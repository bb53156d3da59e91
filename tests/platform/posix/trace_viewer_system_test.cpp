#include "platform/trace_viewer.h"
#include "support/posix/forked_child.h"
#include "support/process_resources.h"
#include "support/trace_capture.h"

#include <string>
#include <sys/resource.h>

namespace zelq::platform {
namespace {

TEST(TraceViewerSystem, AForkedChildHasALineOfItsOwnThatHealsOnceDescriptorsAreFree)
{
    test::TraceCapture viewer;
    const auto deliver = [](const std::string& line) {
        DeliverTraceLine(line.c_str(), line.size());
    };
    deliver("parent\n");
    test::ExpectOfForkedChild([&] {
        // Had the child its parent's socket, it would need no descriptor.
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit none{0, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
        deliver("lost\n");
        setrlimit(RLIMIT_NOFILE, &before);
        const std::size_t inheritable = test::InheritableDescriptors();
        deliver("child\n");
        EXPECT_EQ(test::InheritableDescriptors(), inheritable);
    });
    deliver("parent again\n");
    for (const char* line : {"parent\n", "child\n", "parent again\n"}) {
        EXPECT_EQ(viewer.Next(), line);
    }
}

} // namespace
} // namespace zelq::platform
