#pragma once

#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zelq::test {

/// Runs `body` in a forked child, which ends behind it at once: none of its expectations may fail.
/// One that does not come to an end within a minute is killed.
inline void ExpectOfForkedChild(const std::function<void()>& body)
{
    std::fflush(stdout); // or it would be written twice
    const pid_t child = fork();
    if (child == 0) {
        constexpr unsigned kPatienceSeconds = 60;
        alarm(kPatienceSeconds);
        body();
        std::fflush(stdout);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "of the child";
}

} // namespace zelq::test
