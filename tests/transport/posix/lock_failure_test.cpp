#include "common/result_codes.h"
#include "support/posix/forked_child.h"
#include "support/wire_test.h"
#include "transport/engine.h"
#include "transport/frames.h"
#include "transport/session_table.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zelq::test {

namespace {

using LockFailure = WireTest;

TEST_F(LockFailure, NothingIsSent)
{
    controller_.TakeRequests();
    ExpectOfForkedChild([] {
        DeviceSession& session = *Sessions().Find(kNumber);
        session.Lock().Close();
        // No room for the locks: a limit on files is met where a full file system would be.
        const std::filesystem::path folder =
            std::filesystem::temp_directory_path() / ("zelq-" + std::to_string(getpid()));
        ASSERT_EQ(mkdir(folder.c_str(), S_IRWXU), 0);
        setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
        signal(SIGXFSZ, SIG_IGN);
        const rlimit none{0, 0};
        setrlimit(RLIMIT_FSIZE, &none);

        EXPECT_TRUE(session.Open());
        RequestBuffer request = Reads(1);
        EXPECT_EQ(TransactFrames(kNumber, request), kLockFailed);
        std::filesystem::remove_all(folder);
    });
    EXPECT_TRUE(controller_.TakeRequests().empty());
}

} // namespace

} // namespace zelq::test
