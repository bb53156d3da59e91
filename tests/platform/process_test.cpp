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
    std::tm local = LocalTime();
    const double difference = std::difftime(std::time(nullptr), std::mktime(&local));
    EXPECT_GE(difference, 0.0);
    EXPECT_LE(difference, 5.0);
}

} // namespace
} // namespace zelq::platform
