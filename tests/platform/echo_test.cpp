#include "platform/echo.h"
#include "support/process_resources.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string>

namespace zelq::platform {
namespace {

constexpr std::uint32_t kTimeoutMs = 2'000;

TEST(Echo, ThisMachineRepliesUnlessTheSystemForbidsIt)
{
    const EchoResult dotted = SendEcho("127.0.0.1", kTimeoutMs);
    ASSERT_NE(dotted.status, EchoStatus::kNoReply) << dotted.error;
    // By its name it is the same machine, and the system's answer is the same.
    for (const char* host : {"127.0.0.1", "localhost"}) {
        const EchoResult result = SendEcho(host, kTimeoutMs);
        EXPECT_EQ(result.status, dotted.status) << host;
        const bool replied = result.status == EchoStatus::kReply;
        EXPECT_STREQ(result.sender.data(), replied ? "127.0.0.1" : "") << host;
        EXPECT_EQ(result.error, 0U) << host;
    }
}

TEST(Echo, HasNoAddressForAnImpossibleName)
{
    const auto start = std::chrono::steady_clock::now();
    const std::string tooLong = std::string(64, 'x') + ".invalid";
    EXPECT_EQ(SendEcho(tooLong.c_str(), kTimeoutMs).status, EchoStatus::kUnavailable);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(Echo, LeavesNothingOpen)
{
    SendEcho("127.0.0.1", kTimeoutMs);
    const std::size_t descriptors = test::OpenDescriptors();
    for (int i = 0; i < 20; ++i) {
        SendEcho("127.0.0.1", kTimeoutMs);
    }
    EXPECT_LE(test::OpenDescriptors(), descriptors);
}

} // namespace
} // namespace zelq::platform
