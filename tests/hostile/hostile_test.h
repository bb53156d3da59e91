#pragma once

#include "support/wire_test.h"
#include "zelq.h"

#include <chrono>
#include <cstring>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

namespace zelq::test {

using std::chrono::milliseconds;

/// A call under attack. It hands back what it has written: a record's bytes, filled with kUntouched
/// before.
struct Call
{
    std::string name;
    std::function<short(Bytes& output)> run;
    bool isCommand = true;     ///< its frames are commands, not reads
    bool tracesFailure = true; ///< a status call that fails writes no line
};

inline constexpr std::uint8_t kUntouched = 0x5A;

/// A call that fills a record.
template <typename Record>
Call Reading(std::string name, short (*read)(Record* record), bool isCommand, bool tracesFailure)
{
    return {std::move(name),
            [read](Bytes& output) {
                Record record;
                std::memset(&record, kUntouched, sizeof(record));
                const short result = read(&record);
                output.resize(sizeof(record));
                std::memcpy(output.data(), &record, sizeof(record));
                return result;
            },
            isCommand, tracesFailure};
}

/// Calls against a controller that misbehaves.
class HostileTest : public WireTest
{
  protected:
    /// A reply's waits add up to six times the session's receive time-out.
    static constexpr milliseconds Waits(short receiveMs) { return milliseconds(6 * receiveMs); }
    static constexpr short kBriefMs = 30;       ///< for waits that are meant to end
    static constexpr short kPatientMs = 1000;   ///< for those that are not
    static constexpr milliseconds kSlack{2500}; ///< what a busy machine may add
    static constexpr std::size_t kSerialBytes = 20;

    void SetUp() override
    {
        WireTest::SetUp();
        FillRegisters();
    }

    void SetReceiveTimeOut(short ms)
    {
        zelQ_TMOSet(kNumber, 1000, 1000, ms);
        NextTrace();
    }

    static milliseconds Spent(const std::function<void()>& work)
    {
        const auto start = std::chrono::steady_clock::now();
        work();
        return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
    }

    /// One frame.
    static Call Move()
    {
        return {"MoveAbs", [](Bytes&) { return zelQ_MoveAbs(kNumber, 0, 1.0); }};
    }
    /// A command of four frames.
    static Call Speeds()
    {
        return {"mSpeedSet", [](Bytes&) {
                    std::vector<unsigned short> axes(32);
                    std::iota(axes.begin(), axes.end(), static_cast<unsigned short>(0));
                    const std::vector<short> profiles(32, 0);
                    const std::vector<double> speeds(32, 10.0);
                    return zelQ_mSpeedSet(kNumber, 32, axes.data(), profiles.data(), speeds.data(),
                                          speeds.data(), speeds.data(), speeds.data());
                }};
    }
    /// Two reads.
    static Call Servo()
    {
        return Reading<ServoStatus>(
            "GetServoStatus",
            [](ServoStatus* status) { return zelQ_GetServoStatus(kNumber, 2, status); }, false,
            false);
    }
    /// Eleven reads.
    static Call All()
    {
        return Reading<ControllerStatus>(
            "GetAllStatus",
            [](ControllerStatus* status) { return zelQ_GetAllStatus(kNumber, status); }, false,
            false);
    }
    /// A command that reads back how many bytes there are, and then the bytes.
    static Call Serial()
    {
        struct Received
        {
            unsigned short count;
            unsigned char bytes[kSerialBytes];
        };
        return Reading<Received>(
            "UARTRead",
            [](Received* received) {
                return zelQ_UARTRead(kNumber, received->bytes, kSerialBytes, &received->count);
            },
            true, true);
    }
    /// A command that reads back a value.
    static Call Parameter()
    {
        return Reading<int>(
            "ParamGet", [](int* value) { return zelQ_ParamGet(kNumber, 1, 2, 3, value); }, true,
            true);
    }

    /// The ways to read that a reply is wrong in.
    static std::vector<Call> OneOfEach() { return {Move(), Servo(), Serial(), Parameter()}; }

    /// Registers with something in them, so that nothing wrong looks right by being zero.
    void FillRegisters()
    {
        constexpr std::uint16_t kBehindResult = 0xF001;
        for (std::uint16_t axis = 0; axis < 32; ++axis) {
            for (std::uint16_t number = 0; number < 36; ++number) {
                const auto address = static_cast<std::uint16_t>(axis << 8 | number);
                controller_.SetRegister(address, static_cast<std::uint16_t>(address * 37U + 11U));
            }
        }
        // What a serial read takes for the count of its bytes comes first.
        controller_.SetRegister(kBehindResult, kSerialBytes);
        for (std::uint16_t i = 1; i < 16; ++i) {
            controller_.SetRegister(static_cast<std::uint16_t>(kBehindResult + i),
                                    static_cast<std::uint16_t>(0x4100U + i));
        }
    }

    /// The call goes through as if nothing had ever been wrong, and is sent once.
    void ExpectRight(const Call& call, const Bytes& proper)
    {
        SetReceiveTimeOut(kPatientMs);
        controller_.TakeRequests();
        Bytes output;
        EXPECT_EQ(call.run(output), 0);
        EXPECT_EQ(output, proper);
        EXPECT_TRUE(NextTrace().starts_with("0=zelQ_" + call.name));
        EXPECT_EQ(controller_.TakeRequests().size(), 1U);
    }
};

} // namespace zelq::test
