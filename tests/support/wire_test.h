#pragma once

#include "support/scripted_controller.h"
#include "support/trace_capture.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace zelq::test {

/// A read of registers, as a function-3 frame asks for it.
struct Read
{
    std::uint16_t start;
    std::uint16_t quantity;

    bool operator==(const Read&) const = default;
};

/// One call and all that it must do. What a row leaves out must not happen: a call that is to send
/// nothing has neither `frames` nor `reads`, one that is to trace nothing has no `trace`.
struct WireCase
{
    std::string name;
    std::function<short()> call;
    short result = 0;
    std::vector<Words> frames = {};      ///< registers that each function-23 frame writes
    std::uint16_t readQuantity = 1;      ///< of each function-23 frame
    std::vector<Read> reads = {};        ///< function-3 frames, in order
    Words data = {};                     ///< a command's data behind the result register
    std::uint16_t controllerResult = 0;  ///< a command's result register
    std::string trace = {};              ///< without stamp; starts with the result
    std::function<void()> check = [] {}; ///< looks at the outputs afterwards
};

/// Two registers of a 32-bit value, low word first.
Words Long(std::int32_t value);
/// One row of registers out of several.
Words Join(std::initializer_list<Words> parts);

/// A connected controller with servo axes 0..7, an input slave 30 and an output slave 31, and a
/// trace viewer.
class WireTest : public testing::Test
{
  protected:
    static constexpr short kNumber = 5;
    static constexpr short kUnknown = 6; ///< a controller that was never connected

    void SetUp() override;
    void TearDown() override;

    /// Runs every row, each under its name.
    void Run(const std::vector<WireCase>& rows);
    /// Runs calls that must be refused with `code`, send nothing and trace nothing.
    void ExpectRefused(short code, const std::vector<std::function<short()>>& calls);
    /// Runs a call of which only sessions and numbers are wrong: 0 and 255 give -2, a controller
    /// never connected -3.
    void ExpectNumberChecks(const std::function<short(short zelNo)>& call);
    /// The trace line without its stamp, which must be well formed; waits for it.
    std::string NextTrace();

    ScriptedController controller_{kNumber};
    TraceCapture capture_;
};

} // namespace zelq::test
