#include "tools/tool_test.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace zelq::test {

namespace {

std::string Contents(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class KeepTest : public ToolTest
{
  protected:
    int Param(const std::string& axis, const std::string& id) const
    {
        const Json json = Run("params get " + axis + " " + id + " --json").AsJson();
        return json["parameters"][0]["value"].get<int>();
    }

    void SwitchOn(int axis)
    {
        EXPECT_EQ(Run("call ServoOn axis=" + std::to_string(axis) + " on=1").exit, 0);
    }
};

TEST_F(KeepTest, ParametersAreReadAndWritten)
{
    Check({
        {"params get 0 1.0 3.1", 0, "3.1         1000", "/parameters/0/value", 480},
        {"params set 0 2.2 -50 --save", 0, "2.2 of axis 0 is -50, saved", "/saved", true},
        {"params get 0 2.2", 0, "-50", "/parameters/0/value", -50},
        {"params list 1 --groups 5 --numbers 0-3", 0, "5.0        10203", "/parameters/2/value",
         3000},
        {"params get 0 9.9", 1, "SIM_NO_PARAMETER", "/error/code", 82},
        {"params set 0 5.0 1", 1, "SIM_READ_ONLY_PARAMETER", "/error/code", 83},
        {"params set 0 1.0 99999", 1, "SIM_OUT_OF_RANGE", "/error/code", 7},
        {"params set 0 1 5", 2, "is no parameter", "", {}},
        {"params get 0-1 1.0", 2, "is not one axis", "", {}},
        {"params list --groups 9-3", 2, "is no range", "", {}},
        {"params get 9 1.0", 2, "no servo axis", "/error/code", -2002},
    });
    // What is saved outlasts the power.
    server_.With([](lumosim::Controller& controller) { controller.PowerCycle(); });
    EXPECT_EQ(Param("0", "2.2"), -50);
}

TEST_F(KeepTest, ABackupIsRestoredWhereItDiffers)
{
    const std::string file = FileName("drives.json");
    const Ran backup = Run("params backup --json " + file + " 0-1 --groups 0-5 --numbers 0-7");
    EXPECT_EQ(backup.AsJson()["parameters"], 2 * 25) << backup.output << backup.errors;
    EXPECT_FALSE(std::filesystem::exists(file + ".part"));
    Check({{"params diff " + file, 0, "nothing differs", "/differences", Json::array()}});

    EXPECT_EQ(Run("params set 0 1.0 700").exit, 0);
    EXPECT_EQ(Run("params set 1 3.0 5000").exit, 0);
    Check({{"params diff " + file + " 1", 0, "3.0         5000  100000", "/differences/0/file",
            100000}});
    // Without a yes nothing is written; with one, what differs.
    EXPECT_EQ(Run("params restore " + file, "n\n").exit, 2);
    EXPECT_EQ(Param("0", "1.0"), 700);
    const Ran restored = Run("params restore --save " + file, "y\n");
    EXPECT_EQ(restored.exit, 0) << restored.errors;
    EXPECT_THAT(restored.output, HasSubstr("axis 1  3.0 = 100000"));
    EXPECT_EQ(Param("0", "1.0"), 480);
    EXPECT_EQ(Param("1", "3.0"), 100000);

    Check({
        {"params diff " + file + " 2", 2, "has nothing of axis 2", "", {}},
        {"params diff " + FileName("none"), 2, "cannot be read", "", {}},
        {"params diff " + WriteFile("other", "{}"), 2, "holds no drive parameters", "", {}},
        {"params backup " + FileName("no/folder") + " 0 --groups 0 --numbers 0",
         2,
         "cannot be written",
         "",
         {}},
    });
}

TEST_F(KeepTest, ARestoreTellsWhatWasRefusedAndIsForTheSameKindOfDrive)
{
    const std::string file = FileName("drives.json");
    ASSERT_EQ(Run("params backup " + file + " 0 --groups 0-5 --numbers 0-7").exit, 0);
    Json kept = Json::parse(Contents(file));
    kept["drives"][0]["parameters"]["5.0"] = 1; // it can only be read
    kept["drives"][0]["parameters"]["1.1"] = 300;
    kept["drives"][0]["parameters"]["9.9"] = 1; // there is none
    const std::string changed = WriteFile("changed", kept.dump());
    const Ran ran = Run("params restore --yes --json " + changed);
    EXPECT_EQ(ran.exit, 1);
    const Json json = ran.AsJson();
    EXPECT_EQ(json["differences"].size(), 3U);
    EXPECT_EQ(json["written"].size(), 1U);
    EXPECT_EQ(json["refused"][0]["result"], 83);
    EXPECT_EQ(Param("0", "1.1"), 300);

    kept["drives"][0]["drive"] = "another";
    const std::string other = WriteFile("other", kept.dump());
    Check({{"params restore --yes " + other, 2, "--other-drive", "/error/exit", 2}});
    EXPECT_EQ(Run("params restore --yes --other-drive " + other).exit, 1);
}

TEST_F(KeepTest, ASequenceIsUploadedAndRun)
{
    const std::string file = WriteFile("cycle", "zelQ_MoveAbs axis=0 pos=2000 # there\n\n"
                                                "SeqFuncWaitMovDone waitMode=0 axes=[0]\n"
                                                "SeqFuncDelay delay=10\n");
    Check({
        {"sequence show", 0, "0  empty", "/programs/3/state", "empty"},
        {"sequence upload 1 " + file, 0, "program 1 has 3 records", "/records", 3},
        {"sequence show", 0, "1  ready", "/programs/1/closed", true},
        // Nothing has moved, and the focus is gone.
        {"status 0", 0, "", "/axes/0/commandPosition", 0.0},
        {"sequence run 1 --yes", 1, "SIM_SERVO_OFF", "/error/code", 4},
        {"sequence run 2 --yes", 1, "cannot start program 2", "/error/exit", 1},
        {"sequence run 4", 2, "not in range 0 to 3", "", {}},
        {"sequence upload 0 " + WriteFile("on", "zelQ_ServoOn axis=0 on=1\n"),
         2,
         "line 1: zelQ_ServoOn would be executed at once",
         "",
         {}},
        {"sequence upload 0 " + WriteFile("bad", "# nothing\nMoveAbs axis=0\n"),
         2,
         "line 2: pos: is missing",
         "",
         {}},
        {"sequence upload 0 " + FileName("none"), 2, "cannot be read", "", {}},
    });
    SwitchOn(0);
    EXPECT_EQ(Run("sequence run 1", "n\n").exit, 2);
    const Ran ran = Run("sequence run 1 --json", "y\n");
    EXPECT_EQ(ran.exit, 0) << ran.errors;
    EXPECT_EQ(ran.AsJson()["state"], "finished");
    EXPECT_EQ(WithAxis(0, [](lumosim::Axis& axis) { return axis.CommandPosition(); }), 2000);
}

TEST_F(KeepTest, CtrlCStopsASequenceAndItsAxes)
{
    const std::string file = WriteFile("far", "MoveAbs axis=0 pos=9000000\n"
                                              "SeqFuncWaitMovDone waitMode=0 axes=[0]\n");
    ASSERT_EQ(Run("sequence upload 0 " + file).exit, 0);
    SwitchOn(0);
    const auto run = Start("sequence run 0 --yes");
    const auto moves = [&] {
        return WithAxis(0, [](lumosim::Axis& axis) { return axis.CommandPosition() > 500; });
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!moves() && std::chrono::steady_clock::now() < end) {
        Run("status 0");
    }
    run->Interrupt();
    EXPECT_EQ(run->Wait(), 130);
    EXPECT_EQ(Run("sequence show --json").AsJson()["programs"][0]["state"], "stopped");
    // The axis brakes, or stands already.
    const Json axis = Run("status 0 --json").AsJson()["axes"][0];
    EXPECT_LT(axis["commandPosition"], 1000000.0);
}

TEST_F(KeepTest, FlashIsErasedWrittenReadAndCompared)
{
    std::string image;
    for (int i = 0; i < 3001; ++i) {
        image += static_cast<char>(i * 7 + i / 256);
    }
    const std::string file = WriteFile("image", image);
    const std::string back = FileName("back");
    Check({
        {"flash erase 64 64 --yes", 0, "sectors 64 to 64 erased", "/last", 64},
        {"flash write 0x40000 " + file + " --yes", 0, "3001 bytes written at 0x40000", "/bytes",
         3001},
        {"flash verify 0x40000 " + file, 0, "3001 bytes are the same", "/bytes", 3001},
        {"flash read 0x40000 3001 " + back, 0, "3001 bytes read", "/address", 0x40000},
        {"flash verify 0x40002 " + file, 1, "differ, first at 0x40002", "/error/exit", 1},
        {"flash read 0x200000 2 " + back, 1, "SIM_NO_SUCH_FLASH", "/error/code", 104},
        {"flash erase 300 300 --yes", 1, "SIM_NO_SUCH_FLASH", "/error/code", 104},
        {"flash erase 5 4 --yes", 2, "before the first", "", {}},
        {"flash write 3 " + file + " --yes", 2, "even", "", {}},
        {"flash write 0x40000 " + FileName("none") + " --yes", 2, "cannot be read", "", {}},
    });
    EXPECT_EQ(Contents(back), image);
    EXPECT_EQ(Run("flash erase 64 64", "n\n").exit, 2);
    EXPECT_EQ(Run("flash verify 0x40000 " + file).exit, 0);
}

TEST_F(KeepTest, TheSerialPortIsATerminal)
{
    const Ran ran = Run("uart --baud 9600 --parity even --linger 50", "over the line");
    EXPECT_EQ(ran.exit, 0) << ran.errors;
    EXPECT_EQ(ran.output, "over the line"); // it comes back
    const Ran json = Run("uart --json --linger 50", "ab");
    EXPECT_EQ(json.AsJson()["received"], Json({97, 98}));
    const auto terminal = Start("uart");
    terminal->Type("one");
    EXPECT_TRUE(terminal->AwaitOutput("one"));
    terminal->Interrupt();
    EXPECT_EQ(terminal->Wait(), 0);
    EXPECT_EQ(Run("call UARTSetBypass bypass=1").exit, 0);
    Check({{"uart --linger 1", 1, "SIM_SERIAL_PORT_TAKEN", "/error/code", 102},
           {"uart --parity odd", 2, "--baud", "", {}}});
}

TEST_F(KeepTest, WrongNetworkSettingsAreRefused)
{
    Check({
        {"network show", 0, "127.0.0.11", "/identification", "127.0.0.11"},
        {"network set 127.0.1 --mask 255.0.255.0 --yes", 2, "holes", "", {}},
        {"network set 127.0.1 --gateway 10.0.0.1 --yes", 2, "another network", "", {}},
        {"network set 127.0 --yes", 2, "127.0", "", {}},
        {"network set 127.0.1 --mask 255.255 --yes", 2, "no address", "", {}},
        {"reset sideways --yes", 2, "sideways", "", {}},
    });
}

} // namespace

} // namespace zelq::test
