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
};

inline constexpr std::uint8_t kUntouched = 0x5A;

/// A call that fills a record.
template <typename Record>
Call Reading(std::string name, short (*read)(Record* record))
{
    return {std::move(name), [read](Bytes& output) {
                Record record;
                std::memset(&record, kUntouched, sizeof(record));
                const short result = read(&record);
                output.resize(sizeof(record));
                std::memcpy(output.data(), &record, sizeof(record));
                return result;
            }};
}

/// Calls against a controller that misbehaves.
class HostileTest : public WireTest
{
  protected:
    /// A reply's waits add up to six times the session's receive time-out.
    static constexpr milliseconds Waits(short receiveMs) { return milliseconds(6 * receiveMs); }
    static constexpr short kBriefMs = 50;       ///< for waits that are meant to end
    static constexpr short kPatientMs = 1000;   ///< for those that are not
    static constexpr milliseconds kSlack{2500}; ///< what a busy machine may add

    static void SetReceiveTimeOut(short ms) { zelQ_TMOSet(kNumber, 1000, 1000, ms); }

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
    /// One read.
    static Call SpeedGet()
    {
        return Reading<SpeedProfile>(
            "SpeedGet", [](SpeedProfile* profile) { return zelQ_SpeedGet(kNumber, 1, profile); });
    }
    /// Two reads.
    static Call Servo()
    {
        return Reading<ServoStatus>("GetServoStatus", [](ServoStatus* status) {
            return zelQ_GetServoStatus(kNumber, 2, status);
        });
    }
    /// Eleven reads.
    static Call All()
    {
        return Reading<ControllerStatus>("GetAllStatus", [](ControllerStatus* status) {
            return zelQ_GetAllStatus(kNumber, status);
        });
    }

    /// Registers with something in them, so that nothing wrong looks right by being zero.
    void FillRegisters()
    {
        for (std::uint16_t axis = 0; axis < 32; ++axis) {
            for (std::uint16_t number = 0; number < 36; ++number) {
                const auto address = static_cast<std::uint16_t>(axis << 8 | number);
                controller_.SetRegister(address, static_cast<std::uint16_t>(address * 37U + 11U));
            }
        }
    }

    /// The next call finds the controller well-behaved and is not troubled by what has been.
    void ExpectHealed(int newConnections = 0)
    {
        const int connections = controller_.Connections();
        SetReceiveTimeOut(kPatientMs);
        controller_.TakeRequests();
        EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 2.0), 0);
        EXPECT_EQ(controller_.TakeRequests().size(), 1U);
        EXPECT_EQ(controller_.Connections(), connections + newConnections);
    }
};

} // namespace zelq::test
