#include "platform/local_time.h"
#include "platform/process.h"

#include <ctime>
#include <gtest/gtest.h>

namespace zelq::platform {
namespace {

TEST(Process, IsNotEndingWhileItRuns)
{
    EXPECT_FALSE(ProcessIsEnding());
}

TEST(LocalTime, IsWhatTheCLibraryCallsLocal)
{
    const std::time_t now = std::time(nullptr);
    std::tm local = LocalTime(now);
    local.tm_isdst = -1;
    EXPECT_EQ(std::mktime(&local), now);
}

} // namespace
} // namespace zelq::platform
