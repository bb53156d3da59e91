// Outputs of all three kinds, as the status shows them afterwards.

#include "core/remote_outputs.h"
#include "scenario_test.h"

#include <array>
#include <memory>

namespace zelq::test {

namespace {

using U16 = unsigned short;
using std::chrono::milliseconds;

/// Output slaves 10, 11 and 31 beside the servo axes.
class OutputsScenario : public ScenarioTest
{
  protected:
    OutputsScenario() : ScenarioTest(WithOutputSlaves()) {}

    static lumosim::ServerConfig WithOutputSlaves()
    {
        lumosim::ServerConfig config = DefaultConfig();
        for (const int station : {10, 11, 31}) {
            config.controller.slaves.push_back({station, lumosim::SlaveType::kOutput, {}});
        }
        return config;
    }

    std::unique_ptr<ControllerStatus> Status()
    {
        auto status = std::make_unique<ControllerStatus>();
        EXPECT_EQ(zelQ_GetAllStatus(kNumber, status.get()), 0);
        return status;
    }

    template <std::size_t Count>
    static unsigned Joined(const U16 (&bits)[Count])
    {
        unsigned word = 0;
        for (std::size_t i = 0; i < Count; ++i) {
            word |= static_cast<unsigned>(bits[i]) << i;
        }
        return word;
    }

    unsigned SlaveOutputs(std::size_t slave) { return Joined(Status()->outputs[slave].bits); }
    unsigned MainOutputs() { return Joined(Status()->mainOutputs); }
};

TEST_F(OutputsScenario, Drives)
{
    const std::array<U16, 2> axes = {1, 7};
    const std::array<U16, 2> on = {1, 1};
    EXPECT_EQ(zelQ_SDOSet(kNumber, 0, 0, 1), 0);
    EXPECT_EQ(zelQ_mSDOSet(kNumber, 2, axes.data(), on.data(), on.data()), 0);
    EXPECT_EQ(zelQ_SDOSetPin(kNumber, 7, 1, 0), 0);
    EXPECT_EQ(zelQ_SDOSetTog(kNumber, 1, 0, 1), 0);
    EXPECT_EQ(StatusOf(0).output1, 0);
    EXPECT_EQ(StatusOf(0).output2, 1);
    EXPECT_EQ(StatusOf(1).output1, 1);
    EXPECT_EQ(StatusOf(1).output2, 0);
    EXPECT_EQ(StatusOf(7).output1, 0);
    EXPECT_EQ(StatusOf(7).output2, 1);
    EXPECT_EQ(zelQ_SDOSet(kNumber, 10, 1, 1), 3) << "no servo stands there";
}

TEST_F(OutputsScenario, OutputSlaves)
{
    const std::array<unsigned int, 3> words = {1, 2, 0xF0000000U};
    EXPECT_EQ(zelQ_aRDOSet(kNumber, 3, words.data()), 0);
    EXPECT_EQ(SlaveOutputs(10), 1U);
    EXPECT_EQ(SlaveOutputs(11), 2U);
    EXPECT_EQ(SlaveOutputs(31), 0xF0000000U);

    EXPECT_EQ(zelQ_RDOSet(kNumber, 11, 0x80000001U), 0);
    EXPECT_EQ(zelQ_RDOSetPin(kNumber, 11, 30, 1), 0);
    EXPECT_EQ(zelQ_RDOSetTogPin(kNumber, 11, 0), 0);
    EXPECT_EQ(SlaveOutputs(11), 0xC0000000U);
    EXPECT_EQ(zelQ_aRDOSetPin(kNumber, 0xFFFF, 33, 1), 0);
    EXPECT_EQ(zelQ_aRDOSetTogPin(kNumber, 1, 31), 0);
    EXPECT_EQ(SlaveOutputs(11), 0x40000002U);

    const std::array<U16, 3> pins = {1, 4, 30};
    const std::array<U16, 3> states = {0, 1, 0};
    EXPECT_EQ(zelQ_RDOSetPins(kNumber, 11, 3, pins.data(), states.data()), 0);
    EXPECT_EQ(SlaveOutputs(11), 0x10U);
    EXPECT_EQ(zelQ_RDOSetTogPins(kNumber, 11, 3, pins.data()), 0);
    EXPECT_EQ(SlaveOutputs(11), 0x40000002U);

    const std::array<U16, 3> indexes = {2, 1, 0xFFFF};
    const std::array<U16, 3> places = {31, 1, 5};
    EXPECT_EQ(zelQ_aRDOSetPins(kNumber, 3, indexes.data(), places.data(), states.data()), 0);
    EXPECT_EQ(zelQ_aRDOSetTogPins(kNumber, 3, indexes.data(), places.data()), 0);
    EXPECT_EQ(SlaveOutputs(10), 0x21U);
    EXPECT_EQ(SlaveOutputs(11), 0x40000000U);
    EXPECT_EQ(SlaveOutputs(31), 0xF0000000U);
    EXPECT_EQ(zelQ_aRDOSetPins(kNumber, 0, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(zelQ_RDOSet(kNumber, 0, 1), 100) << "a servo stands there";
}

TEST_F(OutputsScenario, LinkFailure)
{
    unsigned int keeps = 0;
    EXPECT_EQ(zelQ_RDOLinkFailKeepOutSet(kNumber, 1U << 31U), 0);
    EXPECT_EQ(zelQ_RDOLinkFailKeepOutGet(kNumber, &keeps), 0);
    EXPECT_EQ(keeps, 1U << 31U);
    zelQ_RDOSet(kNumber, 10, 7);
    zelQ_RDOSet(kNumber, 31, 7);
    server_.With([](lumosim::Controller& controller) {
        controller.Get<lumosim::RemoteOutputs>().SetNetworkUp(false);
    });
    EXPECT_EQ(SlaveOutputs(10), 0U);
    EXPECT_EQ(SlaveOutputs(31), 7U);
    EXPECT_EQ(zelQ_RDOSet(kNumber, 10, 7), 101);
}

TEST_F(OutputsScenario, MainBoard)
{
    const std::array<U16, 3> pins = {0, 3, 7};
    const std::array<U16, 3> states = {1, 0, 1};
    const std::array<short, 2> toggled = {7, 1};
    EXPECT_EQ(zelQ_MDOSet(kNumber, 0x0C), 0);
    EXPECT_EQ(zelQ_MDOSetPins(kNumber, 3, pins.data(), states.data()), 0);
    EXPECT_EQ(MainOutputs(), 0x85U);
    EXPECT_EQ(zelQ_MDOSetTogPins(kNumber, 2, toggled.data()), 0);
    EXPECT_EQ(zelQ_MDOSetPin(kNumber, 6, 1), 0);
    EXPECT_EQ(zelQ_MDOSetTogPin(kNumber, 0), 0);
    EXPECT_EQ(MainOutputs(), 0x46U);
}

TEST_F(OutputsScenario, LimitTimeSwitchesOff)
{
    EXPECT_EQ(zelQ_MDOSetLimitTime(kNumber, 2, 1, 300), 0);
    EXPECT_EQ(zelQ_MDOSet(kNumber, 0x06), 0);
    Advance(milliseconds(299));
    EXPECT_EQ(MainOutputs(), 0x06U);
    U16 state = 0;
    U16 mode = 0;
    U16 pin = 0;
    unsigned int time = 0;
    EXPECT_EQ(zelQ_MDOGetLimitTime(kNumber, 2, &state, &mode, &pin, &time), 0);
    EXPECT_EQ(mode, 1);
    EXPECT_EQ(pin, 2);
    EXPECT_EQ(state, 3) << "on, and its time is running";
    EXPECT_EQ(time, 300U);
    Advance(milliseconds(1));
    EXPECT_EQ(MainOutputs(), 0x02U);
}

} // namespace

} // namespace zelq::test
