#pragma once

#include "support/calls.h"
#include "zelq.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace zelq::test {

using std::chrono::milliseconds;

/// A call under attack. It hands back the bytes of what it writes to, untouched before.
struct Call
{
    std::string name;
    std::function<short(Bytes& output)> run;
    bool tracesFailure = true; ///< a status call that fails writes no line
};

/// A call that fills a record.
template <typename Record>
Call Reading(std::string name, short (*read)(Record* record), bool tracesFailure)
{
    return {std::move(name),
            [read](Bytes& output) {
                auto record = Untouched<Record>();
                const short result = read(&record);
                output = BytesOf(record);
                return result;
            },
            tracesFailure};
}

/// Calls against a controller that misbehaves.
class HostileTest : public WireTest
{
  protected:
    static constexpr short kBriefMs = 30;       ///< for waits that are meant to end
    static constexpr short kPatientMs = 1000;   ///< for those that are not
    static constexpr milliseconds kSlack{2500}; ///< what a busy machine may add
    static constexpr std::size_t kSerialBytes = 20;

    /// Registers with something in them, so that nothing wrong looks right by being zero.
    void SetUp() override
    {
        WireTest::SetUp();
        for (unsigned axis = 0; axis < 32; ++axis) {
            for (unsigned address = axis << 8U; address < (axis << 8U) + 36; ++address) {
                controller_.SetRegister(static_cast<std::uint16_t>(address),
                                        static_cast<std::uint16_t>(address * 37 + 11));
            }
        }
        // Behind a command's result; a serial read takes the first for the count of its bytes.
        controller_.SetRegisters(0xF001, Join({{kSerialBytes}, Words(15, 0x4142)}));
    }

    /// The next request has its proper reply, sent like this.
    void ThenProperReply(const Answer& how)
    {
        controller_.Then([this, how](const Request& request) {
            Answer answer = how;
            answer.bytes = controller_.ProperReply(request);
            replyBytes_ = answer.bytes.size();
            return answer;
        });
    }

    /// A reply's waits add up to six times the session's receive time-out.
    static constexpr milliseconds Waits(short receiveMs) { return milliseconds(6 * receiveMs); }
    void SetReceiveTimeOut(short ms)
    {
        zelQ_TMOSet(kNumber, 1000, 1000, ms);
        capture_.Lines();
    }

    /// Makes the call, which must sit out its waits so many times, by this receive time-out, or has
    /// nothing to wait for. One that fails writes nothing.
    Bytes Expect(const Call& call, const testing::Matcher<short>& result, int waits = 0,
                 short receiveMs = kBriefMs)
    {
        SetReceiveTimeOut(waits == 0 ? kPatientMs : receiveMs);
        controller_.TakeRequests();
        Bytes output;
        const auto start = std::chrono::steady_clock::now();
        const short got = call.run(output);
        const auto spent = std::chrono::steady_clock::now() - start;
        EXPECT_THAT(got, result);
        if (got != 0) {
            EXPECT_EQ(output, Bytes(output.size(), kUntouched));
        }
        EXPECT_GE(spent, waits * Waits(receiveMs));
        EXPECT_LT(spent, waits == 0 ? Waits(kPatientMs) / 2 : waits * Waits(receiveMs) + kSlack);
        return output;
    }

    /// The call goes through as if nothing had ever been wrong, and is sent once, over so many new
    /// connections; gives what it has written.
    Bytes ExpectRight(const Call& call, int newConnections = 0)
    {
        const int connections = controller_.Connections();
        const Bytes output = Expect(call, 0);
        EXPECT_TRUE(NextTrace().starts_with("0=zelQ_" + call.name));
        EXPECT_EQ(controller_.TakeRequests().size(), 1U);
        EXPECT_EQ(controller_.Connections(), connections + newConnections);
        return output;
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
                    const auto axes = Counting<unsigned short, 32>(0);
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
            [](ServoStatus* status) { return zelQ_GetServoStatus(kNumber, 2, status); }, false);
    }
    /// Eleven reads.
    static Call All()
    {
        return Reading<ControllerStatus>(
            "GetAllStatus",
            [](ControllerStatus* status) { return zelQ_GetAllStatus(kNumber, status); }, false);
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
            true);
    }
    /// A command that reads back a value.
    static Call Parameter()
    {
        return Reading<int>(
            "ParamGet", [](int* value) { return zelQ_ParamGet(kNumber, 1, 2, 3, value); }, true);
    }

    std::atomic<std::size_t> replyBytes_ = 0; ///< of the last proper reply
};

} // namespace zelq::test
