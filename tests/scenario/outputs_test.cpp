// Outputs of drives, output slaves and the main board, as the status shows them afterwards.

#include "core/remote_outputs.h"
#include "scenario/scenario_test.h"

namespace zelq::test {

namespace {

/// Output slaves 10, 11 and 31, and the input slave 30, beside the servo axes.
class Outputs : public ScenarioTest
{
  protected:
    Outputs()
        : ScenarioTest(Config({{10, lumosim::SlaveType::kOutput, {}},
                               {11, lumosim::SlaveType::kOutput, {}},
                               {30, lumosim::SlaveType::kInput, {}},
                               {31, lumosim::SlaveType::kOutput, {}}}))
    {}

    template <std::size_t Count>
    static unsigned Joined(const U16 (&bits)[Count])
    {
        unsigned word = 0;
        for (std::size_t i = 0; i < Count; ++i) {
            word |= static_cast<unsigned>(bits[i]) << i;
        }
        return word;
    }

    static ControllerStatus Status() { return Got<ControllerStatus>(zelQ_GetAllStatus); }
    static unsigned DriveOutputs(U16 axis)
    {
        const ServoStatus status = StatusOf(axis);
        return status.output1 + 2U * status.output2;
    }
    static unsigned SlaveOutputs(std::size_t slave) { return Joined(Status().outputs[slave].bits); }
    static unsigned MainOutputs() { return Joined(Status().mainOutputs); }

    void SetMainOutputs(U16 out)
    {
        server_.With([out](auto& c) { c.SetMainOutputs(out); });
    }
    void SetNetworkUp(bool up)
    {
        Family<lumosim::RemoteOutputs>([up](auto& outputs) { outputs.SetNetworkUp(up); });
    }

    /// Output 0 is on until this moment, and off then.
    void ExpectOnFor(nanoseconds time)
    {
        Advance(time - 1ns);
        EXPECT_EQ(MainOutputs() & 1U, 1U) << "just before";
        Advance(1ns);
        EXPECT_EQ(MainOutputs() & 1U, 0U);
    }

    /// State, mode, pin and time of a limit.
    static std::vector<unsigned> LimitOf(U16 pin)
    {
        U16 state = 99;
        U16 mode = 99;
        U16 given = 99;
        unsigned time = 99;
        EXPECT_EQ(zelQ_MDOGetLimitTime(kNumber, pin, &state, &mode, &given, &time), 0);
        return {state, mode, given, time};
    }
};

TEST_F(Outputs, OfDrives)
{
    const U16 axes[] = {1, 7};
    const U16 on[] = {1, 1};
    const U16 off[] = {0, 0};
    const auto expect = [](short result, short wanted, unsigned outputs) {
        EXPECT_EQ(result, wanted);
        EXPECT_EQ(DriveOutputs(1), outputs);
    };
    expect(zelQ_SDOSet(kNumber, 1, 1, 0), 0, 1);
    expect(zelQ_SDOSet(kNumber, 1, 0, 1), 0, 2);
    expect(zelQ_SDOSetPin(kNumber, 1, 1, 1), 0, 3);
    expect(zelQ_SDOSetPin(kNumber, 1, 2, 0), 0, 1);
    expect(zelQ_SDOSetTog(kNumber, 1, 1, 1), 0, 2);
    expect(zelQ_SDOSetTog(kNumber, 1, 0, 0), 0, 2);
    expect(zelQ_SDOSet(kNumber, 10, 1, 1), kNoServo, 2);
    expect(zelQ_mSDOSet(kNumber, 2, axes, on, off), 0, 1);
    EXPECT_EQ(DriveOutputs(7), 1U);
    EXPECT_EQ(DriveOutputs(0), 0U);
    expect(zelQ_mSDOSet(kNumber, 2, Listed<U16>({1, 10}), off, off), kNoServo, 1); // all or none
}

TEST_F(Outputs, OfSlaves)
{
    constexpr short kNoOutputSlave = 100;
    ASSERT_EQ(zelQ_aRDOSet(kNumber, 3, Listed({1U, 2U, 0xF0000000U})), 0);
    EXPECT_EQ(SlaveOutputs(10), 1U);
    EXPECT_EQ(SlaveOutputs(31), 0xF0000000U);
    const auto expect = [](short result, unsigned outputs) {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(SlaveOutputs(11), outputs);
    };
    const U16 pins[] = {1, 4, 30};
    const U16 states[] = {0, 1, 0};
    const U16 indexes[] = {2, 1, 0xFFFF};
    const U16 places[] = {31, 1, 5};
    expect(zelQ_RDOSet(kNumber, 11, 0x80000001U), 0x80000001U);
    expect(zelQ_RDOSetPin(kNumber, 11, 30, 1), 0xC0000001U);
    expect(zelQ_RDOSetPin(kNumber, 11, 30, 0), 0x80000001U);
    expect(zelQ_RDOSetTogPin(kNumber, 11, 0), 0x80000000U);
    expect(zelQ_aRDOSetPin(kNumber, 0xFFFF, 33, 1), 0x80000002U);
    expect(zelQ_aRDOSetTogPin(kNumber, 1, 31), 0x00000002U);
    expect(zelQ_RDOSetPins(kNumber, 11, 3, pins, states), 0x10U);
    expect(zelQ_RDOSetTogPins(kNumber, 11, 3, pins), 0x40000002U);
    expect(zelQ_RDOSetPins(kNumber, 11, 2, Listed<U16>({1, 1}), states), 0x40000000U);
    expect(zelQ_aRDOSetPins(kNumber, 3, indexes, places, states), 0x40000002U);
    expect(zelQ_aRDOSetTogPins(kNumber, 3, indexes, places), 0x40000000U);
    EXPECT_EQ(SlaveOutputs(10), 0x21U);
    EXPECT_EQ(SlaveOutputs(31), 0xF0000000U);
    EXPECT_EQ(zelQ_aRDOSetPins(kNumber, 0, nullptr, nullptr, nullptr), 0);
    Refused(kNoOutputSlave, {zelQ_RDOSet(kNumber, 0, 1), zelQ_RDOSet(kNumber, 30, 1)});
}

TEST_F(Outputs, KeepOutDecidesWhatALinkFailureSwitchesOff)
{
    constexpr short kNetworkDown = 101;
    const auto keeps = [] { return Got<unsigned>(zelQ_RDOLinkFailKeepOutGet); };
    ASSERT_EQ(zelQ_RDOLinkFailKeepOutSet(kNumber, 1U << 31U), 0);
    EXPECT_EQ(keeps(), 1U << 31U);
    Done({zelQ_RDOSet(kNumber, 10, 7), zelQ_RDOSet(kNumber, 31, 7), zelQ_SDOSet(kNumber, 0, 1, 1)});
    SetNetworkUp(false);
    EXPECT_EQ(SlaveOutputs(10), 0U);
    EXPECT_EQ(SlaveOutputs(31), 7U);
    EXPECT_EQ(DriveOutputs(0), 3U) << "drives are not concerned";
    EXPECT_EQ(zelQ_RDOSet(kNumber, 10, 7), kNetworkDown);
    SetNetworkUp(true);
    EXPECT_EQ(zelQ_RDOSet(kNumber, 10, 7), 0);
    PowerCycle();
    EXPECT_EQ(keeps(), 0U);
    EXPECT_EQ(SlaveOutputs(31), 0U);
}

TEST_F(Outputs, OfTheMainBoard)
{
    const auto expect = [](short result, unsigned outputs) {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(MainOutputs(), outputs);
    };
    expect(zelQ_MDOSet(kNumber, 0xA5), 0xA5U);
    expect(zelQ_MDOSetPin(kNumber, 1, 1), 0xA7U);
    expect(zelQ_MDOSetPin(kNumber, 7, 0), 0x27U);
    expect(zelQ_MDOSetTogPin(kNumber, 0), 0x26U);
    expect(zelQ_MDOSetPins(kNumber, 3, Listed<U16>({0, 3, 2}), Listed<U16>({1, 1, 0})), 0x2BU);
    expect(zelQ_MDOSetTogPins(kNumber, 3, Listed<short>({7, 1, 4})), 0xB9U);
}

TEST_F(Outputs, InputsShowBesideThem)
{
    server_.With([](lumosim::Controller& c) {
        c.SetMainInputs(0x1A5);
        c.SetSlaveInputs(30, 0x80000001U);
    });
    SetInputs({.limitPositive = true, .configurable = true});
    SetInputs({.limitNegative = true, .homeSensor = true}, 1);
    const ControllerStatus status = Status();
    EXPECT_EQ(Joined(status.mainInputs), 0xA5U);
    EXPECT_EQ(Joined(status.inputs[30].bits), 0x80000001U);
    const auto shown = [](const ServoStatus& s) {
        return std::vector<U16>{s.limitPositive, s.limitNegative, s.homeSensor, s.auxInput};
    };
    EXPECT_THAT(shown(status.servo[0]), ElementsAre(1, 0, 0, 1));
    EXPECT_THAT(shown(status.servo[1]), ElementsAre(0, 1, 1, 0));
}

TEST_F(Outputs, LimitTimesRunFromWhenTheOutputCameOn)
{
    After({zelQ_MDOSetLimitTime(kNumber, 0, 1, 200), zelQ_MDOSet(kNumber, 0x03)}, 150ms);
    EXPECT_EQ(zelQ_MDOSetPin(kNumber, 0, 1), 0); // it is on already
    ExpectOnFor(50ms);
    EXPECT_EQ(MainOutputs(), 0x02U) << "the other one has no limit";
    // Off and on again is a new beginning.
    After(zelQ_MDOSetTogPin(kNumber, 0), 100ms);
    EXPECT_EQ(zelQ_MDOSetTogPin(kNumber, 0), 0);
    EXPECT_THAT(LimitOf(0), ElementsAre(0, 1, 0, 200));
    EXPECT_EQ(zelQ_MDOSetTogPin(kNumber, 0), 0);
    EXPECT_THAT(LimitOf(0), ElementsAre(3, 1, 0, 200)) << "on, and its time runs";
    ExpectOnFor(200ms);
    // Set for an output that is on; switched on by another part of the controller.
    SetMainOutputs(1);
    Advance(50ms);
    ASSERT_EQ(zelQ_MDOSetLimitTime(kNumber, 0, 1, 100), 0);
    ExpectOnFor(100ms);
    SetMainOutputs(1);
    ExpectOnFor(100ms + 1ns); // noticed at the next one
}

TEST_F(Outputs, LimitTimesRunFromTheLastCommandOrNotAtAll)
{
    After({zelQ_MDOSetLimitTime(kNumber, 0, 2, 200), zelQ_MDOSet(kNumber, 0x01)}, 150ms);
    EXPECT_EQ(zelQ_MDOSetPins(kNumber, 1, Listed<U16>({0}), Listed<U16>({1})), 0);
    ExpectOnFor(200ms);
    After({zelQ_MDOSetLimitTime(kNumber, 0, 0, 0), zelQ_MDOSet(kNumber, 0x01)}, 1h);
    EXPECT_EQ(MainOutputs(), 1U);

    ASSERT_EQ(zelQ_MDOSetLimitTime(kNumber, 5, 2, 70'000), 0);
    EXPECT_THAT(LimitOf(5), ElementsAre(0, 2, 5, 70'000));
    EXPECT_THAT(LimitOf(4), ElementsAre(0, 0, 4, 0));
    EXPECT_EQ(zelQ_MDOSetLimitTime(kNumber, 5, 1, 0), kOutOfRange);
    PowerCycle();
    EXPECT_THAT(LimitOf(5), ElementsAre(0, 0, 5, 0));
}

} // namespace

} // namespace zelq::test
