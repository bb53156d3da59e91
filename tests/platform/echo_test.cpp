#include "platform/echo.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string>

namespace zelq::platform {
namespace {

constexpr std::uint32_t kEchoTimeoutMs = 2'000;

TEST(Echo, ThisMachineRepliesUnlessTheSystemForbidsIt)
{
    const EchoStatus status = SendEcho("127.0.0.1", kEchoTimeoutMs).status;
    ASSERT_NE(status, EchoStatus::kNoReply);
    // By its name it is the same machine, and the system's answer is the same.
    for (const char* host : {"127.0.0.1", "localhost"}) {
        const EchoResult result = SendEcho(host, kEchoTimeoutMs);
        EXPECT_EQ(result.status, status) << host;
        EXPECT_STREQ(result.sender.data(), status == EchoStatus::kReply ? "127.0.0.1" : "") << host;
        EXPECT_EQ(result.error, 0U) << host;
    }
}

TEST(Echo, HasNoAddressForAnImpossibleName)
{
    const auto start = std::chrono::steady_clock::now();
    const std::string tooLong = std::string(64, 'x') + ".invalid";
    EXPECT_EQ(SendEcho(tooLong.c_str(), kEchoTimeoutMs).status, EchoStatus::kUnavailable);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

} // namespace
} // namespace zelq::platform
