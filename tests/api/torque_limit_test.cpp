#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <cstring>
#include <numeric>

namespace zelq::test {

namespace {

using TorqueLimitTest = WireTest;

TEST_F(TorqueLimitTest, OneAxis)
{
    Run({
        {.name = "set: the codes share a register, the value is low word first",
         .call = [] { return zelQ_TorqueLimitSet(kNumber, 31, 500, 0, -2, 255, 1, 0x12345678); },
         .frames = {{0x0101, 0x0110, 1, 31, 1, 500, 0, 0xFFFE, 0xFF01, 0x5678, 0x1234}},
         .trace = "0=zelQ_TorqueLimitSet(5,31,500,0,-2,255,1,305419896)"},
        {.name = "a large value is traced as a signed number; the controller's result",
         .call = [] { return zelQ_TorqueLimitSet(kNumber, 0, 1, 500, 7, 0, 255, 0xFFFFFFFF); },
         .result = 7,
         .frames = {{0x0101, 0x0110, 1, 0, 1, 1, 500, 7, 0x00FF, 0xFFFF, 0xFFFF}},
         .controllerResult = 7,
         .trace = "7=zelQ_TorqueLimitSet(5,0,1,500,7,0,255,-1)"},
        {.name = "free switches the limit off",
         .call = [] { return zelQ_TorqueLimitFree(kNumber, 3, 70000); },
         .frames = {Join({{0x0101, 0x0110, 1, 3, 0, 500, 500, 0, 0}, Long(70000)})},
         .trace = "0=zelQ_TorqueLimitFree(5,3,70000)"},
    });
    ExpectNumberChecks([](short n) {
        return zelQ_TorqueLimitSet(static_cast<unsigned short>(n), 99, 999, 999, 0, 999, 999, 0);
    });
    ExpectNumberChecks([](short n) { return zelQ_TorqueLimitFree(n, 99, 0); });
    ExpectRefused(-2002, {[] { return zelQ_TorqueLimitSet(kNumber, 32, 999, 999, 0, 999, 999, 0); },
                          [] { return zelQ_TorqueLimitFree(kNumber, 32, 0); }});
    ExpectRefused(-1702,
                  {[] { return zelQ_TorqueLimitSet(kNumber, 31, 501, 999, 0, 999, 999, 0); }});
    ExpectRefused(-1703,
                  {[] { return zelQ_TorqueLimitSet(kNumber, 31, 500, 501, 0, 999, 999, 0); }});
    ExpectRefused(-1704,
                  {[] { return zelQ_TorqueLimitSet(kNumber, 31, 500, 500, 0, 256, 999, 0); }});
    ExpectRefused(-1705,
                  {[] { return zelQ_TorqueLimitSet(kNumber, 31, 500, 500, 0, 255, 256, 0); }});
}

/// Arrays for 32 axes whose every element is another one.
struct Arrays
{
    std::array<unsigned short, 32> axes{};
    std::array<short, 32> signedAxes{};
    std::array<unsigned short, 32> limit1{};
    std::array<unsigned short, 32> limit2{};
    std::array<short, 32> param3{};
    std::array<unsigned short, 32> codeHi{};
    std::array<unsigned short, 32> codeLo{};
    std::array<unsigned int, 32> values{};

    Arrays()
    {
        std::iota(axes.begin(), axes.end(), std::uint16_t{40});
        std::iota(signedAxes.begin(), signedAxes.end(), short{-1});
        std::iota(limit1.begin(), limit1.end(), std::uint16_t{490}); // runs past 500
        std::iota(limit2.begin(), limit2.end(), std::uint16_t{600});
        std::iota(param3.begin(), param3.end(), short{-5});
        std::iota(codeHi.begin(), codeHi.end(), std::uint16_t{250}); // runs past 255
        std::iota(codeLo.begin(), codeLo.end(), std::uint16_t{0x1100});
        std::iota(values.begin(), values.end(), 0xFFFFU);
    }

    [[nodiscard]] short Set(short count) const
    {
        return zelQ_mTorqueLimitSet(5, count, axes.data(), limit1.data(), limit2.data(),
                                    param3.data(), codeHi.data(), codeLo.data(), values.data());
    }

    [[nodiscard]] Words SetRecords(std::uint16_t first, std::uint16_t end) const
    {
        Words words;
        for (std::uint16_t i = first; i < end; ++i) {
            const auto codes = static_cast<std::uint16_t>((250 + i) << 8 | i);
            words = Join(
                {words,
                 {static_cast<std::uint16_t>(40 + i), 1, static_cast<std::uint16_t>(490 + i),
                  static_cast<std::uint16_t>(600 + i), static_cast<std::uint16_t>(i - 5), codes},
                 Long(0xFFFF + i)});
        }
        return words;
    }

    [[nodiscard]] Words FreeRecords(std::uint16_t first, std::uint16_t end) const
    {
        Words words;
        for (std::uint16_t i = first; i < end; ++i) {
            const auto axis = static_cast<std::uint16_t>(i - 1);
            words = Join({words, {axis, 1, 500, 500, 0, 0}, Long(0xFFFF + i)});
        }
        return words;
    }
};

TEST_F(TorqueLimitTest, SeveralAxesAreCutIntoFramesOfFourteen)
{
    const Arrays a;
    Run({
        {.name = "14 fit into one; nothing in the arrays is checked, codes lose their high bytes",
         .call = [&] { return a.Set(14); },
         .frames = {Join({{0x0101, 0x0110, 14}, a.SetRecords(0, 14)})},
         .trace = "0=zelQ_mTorqueLimitSet(5,14)"},
        {.name = "32 need three",
         .call = [&] { return a.Set(32); },
         .frames = {Join({{0x0301, 0x0110, 32}, a.SetRecords(0, 14)}),
                    Join({{0x0302}, a.SetRecords(14, 28)}), Join({{0x0303}, a.SetRecords(28, 32)})},
         .trace = "0=zelQ_mTorqueLimitSet(5,32)"},
        {.name = "free leaves the limit on",
         .call =
             [&] {
                 return zelQ_mTorqueLimitFree(kNumber, 15, a.signedAxes.data(), a.values.data());
             },
         .frames = {Join({{0x0201, 0x0110, 15}, a.FreeRecords(0, 14)}),
                    Join({{0x0202}, a.FreeRecords(14, 15)})},
         .trace = "0=zelQ_mTorqueLimitFree(5,15)"},
    });
    EXPECT_EQ(a.SetRecords(0, 14).size(), 112U);
}

TEST_F(TorqueLimitTest, SeveralAxesAreSentInOnePiece)
{
    const Arrays a;
    EXPECT_EQ(a.Set(32), 0);
    const std::vector<Request> requests = controller_.TakeRequests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests.front().size(), 3U);
}

TEST_F(TorqueLimitTest, SeveralAxesNeedCountAndArrays)
{
    const Arrays a;
    const auto set = [&](short number, short count, int missing) {
        const auto given = [missing](int position, auto* array) {
            return missing == position ? nullptr : array;
        };
        return zelQ_mTorqueLimitSet(
            static_cast<unsigned short>(number), count, given(2, a.axes.data()),
            given(3, a.limit1.data()), given(4, a.limit2.data()), given(5, a.param3.data()),
            given(6, a.codeHi.data()), given(7, a.codeLo.data()), given(8, a.values.data()));
    };
    ExpectNumberChecks([&](short n) { return set(n, 0, 2); });
    ExpectNumberChecks([](short n) {
        return zelQ_mTorqueLimitFree(static_cast<unsigned short>(n), 0, nullptr, nullptr);
    });
    ExpectRefused(-2004, {[&] { return set(kNumber, 0, 2); }, [&] { return set(kNumber, 33, 2); },
                          [] { return zelQ_mTorqueLimitFree(kNumber, 0, nullptr, nullptr); },
                          [] { return zelQ_mTorqueLimitFree(kNumber, 33, nullptr, nullptr); }});
    for (short position = 2; position <= 8; ++position) {
        ExpectRefused(static_cast<short>(-1700 - position),
                      {[&, position] { return set(kNumber, 1, position); }});
    }
    ExpectRefused(-1702, {[&] { return zelQ_mTorqueLimitFree(kNumber, 1, nullptr, nullptr); }});
    ExpectRefused(
        -1703, {[&] { return zelQ_mTorqueLimitFree(kNumber, 1, a.signedAxes.data(), nullptr); }});
}

TEST_F(TorqueLimitTest, StatusIsReadFromTheAxisRegisters)
{
    TorqueLimitStatus status;
    std::memset(&status, 0xA5, sizeof(status));
    controller_.SetRegisters(0x072F, {0xFFFA, 10, 20, 30, 40, 0xFFFF, 0x5678, 0x9234});
    controller_.SetRegisters(0x062F, {0x0005});
    controller_.SetSlaveTypes({1, 1, 1, 1, 1, 1, 1, 1});
    Run({{.name = "flags are single bits, one value is not sign-extended",
          .call = [&] { return zelQ_TorqueLimitGetStatus(kNumber, 7, &status); },
          .reads = {{0x072F, 8}},
          .trace = "0=zelQ_TorqueLimitGetStatus(5,7)",
          .check =
              [&] {
                  EXPECT_EQ(status.active, 0);
                  EXPECT_EQ(status.flag1, 1);
                  EXPECT_EQ(status.flag2, 0);
                  EXPECT_EQ(status.word1, 10);
                  EXPECT_EQ(status.word2, 20);
                  EXPECT_EQ(status.word3, 30);
                  EXPECT_EQ(status.word4, 40);
                  EXPECT_EQ(status.value5, 0xFFFFU);
                  EXPECT_EQ(status.value6, 0x92345678U);
              }},
         {.name = "the other flags",
          .call = [&] { return zelQ_TorqueLimitGetStatus(kNumber, 6, &status); },
          .reads = {{0x062F, 8}},
          .trace = "0=zelQ_TorqueLimitGetStatus(5,6)",
          .check =
              [&] {
                  EXPECT_EQ(status.active, 1);
                  EXPECT_EQ(status.flag1, 0);
                  EXPECT_EQ(status.flag2, 1);
              }}});

    ExpectNumberChecks([](short n) { return zelQ_TorqueLimitGetStatus(n, 99, nullptr); });
    ExpectRefused(-2002, {[] { return zelQ_TorqueLimitGetStatus(kNumber, 32, nullptr); },
                          [&] { return zelQ_TorqueLimitGetStatus(kNumber, 8, &status); },
                          [&] { return zelQ_TorqueLimitGetStatus(kNumber, 30, &status); }});
    ExpectRefused(-1702, {[] { return zelQ_TorqueLimitGetStatus(kNumber, 8, nullptr); }});
}

TEST_F(TorqueLimitTest, AFailedReadLeavesTheStatusAsItWas)
{
    TorqueLimitStatus status;
    std::memset(&status, 0xA5, sizeof(status));
    const TorqueLimitStatus before = status;
    controller_.Then([this](const Request& request) {
        RequestFrame shorter = request.front();
        shorter.quantity = 7;
        return Answer{controller_.ProperReply(shorter)};
    });
    Run({{.name = "a register too few",
          .call = [&] { return zelQ_TorqueLimitGetStatus(kNumber, 0, &status); },
          .result = -12,
          .reads = {{0x002F, 8}},
          .trace = "-12=zelQ_TorqueLimitGetStatus(5,0)"}});
    EXPECT_EQ(std::memcmp(&status, &before, sizeof(status)), 0);
}

} // namespace

} // namespace zelq::test
