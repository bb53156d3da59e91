#pragma once

#include "support/scripted_controller.h"
#include "support/trace_capture.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <string>

namespace zelq::test {

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

    /// The trace line without its stamp, which must be well formed; waits for it.
    std::string NextTrace();

    ScriptedController controller_{kNumber};
    TraceCapture capture_;
};

} // namespace zelq::test
