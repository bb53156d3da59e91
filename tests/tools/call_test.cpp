#include "tools/tool_test.h"

#include <algorithm>
#include <fstream>

namespace zelq::test {

namespace {

class CallTest : public ToolTest
{
  protected:
    static Json Description()
    {
        std::ifstream file(ZELQ_DESCRIPTION);
        return Json::parse(file);
    }

    /// Arguments with which a function can be called: small numbers, lists of two.
    static Json ArgumentsFor(const Json& function, const Json& records)
    {
        static const std::map<std::string, int> kLengths = {
            {"size", 20}, {"maxLen", 8}, {"length", 2}};
        Json arguments = Json::object();
        for (const Json& parameter : function["parameters"]) {
            const std::string name = parameter["name"];
            if (name == "zelNo" || parameter["direction"] == "out") continue;
            if (!parameter["elements"].is_null()) {
                const bool known = parameter["elements"].is_number();
                const int elements = known ? parameter["elements"].get<int>() : 2;
                for (int i = 0; i < elements; ++i) {
                    arguments[name].push_back(i);
                }
            } else if (parameter["direction"] == "inout") {
                for (const Json& field : records[parameter["type"].get<std::string>()]) {
                    arguments[name][field.get<std::string>()] = 1;
                }
            } else if (!IsLength(function, name) || kLengths.contains(name)) {
                arguments[name] = kLengths.contains(name) ? kLengths.at(name) : 1;
            }
        }
        return arguments;
    }

    /// Told by the lists that are given.
    static bool IsLength(const Json& function, const std::string& name)
    {
        return std::any_of(function["parameters"].begin(), function["parameters"].end(),
                           [&](const Json& parameter) {
                               return parameter["elements"] == name &&
                                      parameter["direction"] == "in";
                           });
    }

    /// Names of a record's fields, without those that nobody uses.
    static Json FieldsOf(const Json& description)
    {
        Json records;
        for (const Json& record : description["records"]) {
            for (const Json& field : record["fields"]) {
                const std::string name = field["name"];
                if (name.rfind("reserved", 0) != 0) {
                    records[record["name"].get<std::string>()].push_back(name);
                }
            }
        }
        return records;
    }

    /// Whether the description has the result of a call.
    static bool CanGive(const Json& function, const Json& result)
    {
        if (function["result"]["kind"] != "code") return true;
        const int code = result.get<int>();
        if (code == 0 || (code > 0 && function["controllerResults"])) return true;
        return std::find(function["codes"].begin(), function["codes"].end(), code) !=
               function["codes"].end();
    }
};

TEST_F(CallTest, EveryFunctionCanBeCalled)
{
    const Json description = Description();
    const Json records = FieldsOf(description);
    // What takes the controller away comes last.
    Json calls = Json::array();
    Json last = Json::array();
    std::map<std::string, Json> functions;
    for (const Json& function : description["functions"]) {
        const std::string name = function["name"];
        functions[name] = function;
        const Json call = {{"function", name}, {"arguments", ArgumentsFor(function, records)}};
        if (name == "zelQ_Reset" || name == "zelQ_Disconnect") {
            last.insert(last.begin(), call); // reset while it is connected
        } else {
            calls.push_back(call);
        }
    }
    calls.insert(calls.end(), last.begin(), last.end());
    const Ran ran = Run("call --keep-going --json --file " + WriteFile("calls", calls.dump()));
    const Json done = ran.AsJson().value("calls", Json::array());
    ASSERT_EQ(done.size(), 186U) << ran.output << ran.errors;
    int succeeded = 0;
    for (const Json& call : done) {
        const Json& function = functions.at(call["function"]);
        EXPECT_TRUE(CanGive(function, call["result"])) << call;
        if (call["result"] != 0) continue;
        ++succeeded;
        for (const Json& parameter : function["parameters"]) {
            const bool isOutput = parameter["direction"] != "in";
            EXPECT_EQ(call["outputs"].contains(parameter["name"]), isOutput) << call;
        }
    }
    // Many of the others are refused, as most motions are with the servos off.
    EXPECT_GT(succeeded, 100);
}

TEST_F(CallTest, TakesArgumentsAndGivesOutputs)
{
    WithAxis(2, [](lumosim::Axis& axis) { axis.SetPosition(4000); });
    const std::string speed = "'speed={\"profileType\":0,\"startSpeed\":10,\"acc\":100,"
                              "\"driveSpeed\":50,\"dec\":100,\"endSpeed\":0}'";
    Check({
        {"call GetServoStatus axis=2", 0, "\"encoderPosition\": 4000.0",
         "/calls/0/outputs/status/commandPosition", 4000.0},
        {"call zelQ_UnitPerPulseSet axis=2 unitPerPulse=0.5 GetServoStatus axis=2", 0, "2000.0",
         "/calls/1/outputs/status/encoderPosition", 2000.0},
        {"call zelQ_ParamGet '{\"axis\": 1, \"prmClass\": 0, \"prmNo\": 2}'", 0, "value = 10000",
         "/calls/0/outputs/value", 10000},
        {"call mParamGet axes=[0,1] prmClass=0 prmNo=3", 0, "[11,11]", "/calls/0/outputs/values",
         Json({11, 11})},
        {"call UARTWrite 'data=\"hi!\"' UARTRead maxLen=4", 0, "readLen = 3",
         "/calls/1/outputs/buf", Json({104, 105, 33, 0})},
        {"call GetDevTypeStr type=255 size=10", 0, "\"Lumo-FPGA\"", "/calls/0/outputs/text",
         "Lumo-FPGA"},
        {"call UnitPerPulseGet axis=40", 0, "= 1.0", "/calls/0/result", 1.0},
        {"call zelQ_GetEnumList address=[127,0,0,300] unused=0", 3, "", "/calls/0/name",
         "DISCOVERY_NO_SOCKET"},
        // An output that is null is not told of.
        {"call RtexCycleGet first=null", 0, "second = 1", "/calls/0/outputs", {{"second", 1}}},
        // The switched-on axes stay so: the call after it moves.
        {"call mServoOn axes=[0,1] on=1 IMapSet mapIndex=2 axes=[0,1]", 0, "", "", {}},
        {"call zelQ_ILinear mapIndex=2 option=0 position=[10,20] " + speed, 2, "",
         "/calls/0/result", -4001},
        {"call MoveAbs axis=3 pos=1", 1, "", "/calls/0/name", "SIM_SERVO_OFF"},
        {"call MoveAbs axis=40 pos=1 StopDec axis=0", 2, "", "/calls/0/result", -2002},
        {"call zelQ_GetDevInfo zelNo=99", 3, "", "/calls/0/result", -3},
    });
}

TEST_F(CallTest, WrongArgumentsCallNothing)
{
    Check({
        {"call Move", 2, "\"Move\" is no function", "/error/exit", 2},
        {"call", 2, "no function is named", "", {}},
        {"call axis=1", 2, "in front of any function", "", {}},
        {"call MoveAbs axis=1", 2, "pos: is missing", "", {}},
        {"call MoveAbs axis=1 pos=1 pos=2", 2, "given twice", "", {}},
        {"call MoveAbs axis=1 pos=far", 2, "far is no JSON", "", {}},
        {"call MoveAbs axis=70000 pos=1", 2, "no whole number in 0..65535", "", {}},
        {"call MoveAbs axis=1.5 pos=1", 2, "no whole number", "", {}},
        {"call MoveAbs axle=1 pos=1", 2, "has no such parameter", "", {}},
        {"call mMoveAbs axes=[0,1] pos=[1]", 2, "has 1 elements, not 2", "", {}},
        // Never read behind what was given, whatever count is told.
        {"call mMoveAbs count=3 axes=[0,1] pos=[1,2]", 2, "not 3", "", {}},
        {"call CfgNetwork address=[1,2] second=[1,2,3,4] third=[1,2,3,4]", 2, "not 3", "", {}},
        {"call IArc mapIndex=0 option=0 center=[0,0] angle=1 'speed={\"acc\":1}'",
         2,
         "speed.profileType: is missing",
         "",
         {}},
        {"call GetServoStatus axis=1 status=5", 2, "is an output", "", {}},
        {"call UARTRead", 2, "maxLen: is missing", "", {}},
        {"call --file " + WriteFile("bad", "{]"), 2, "no list of calls", "", {}},
        {"call --file " + FileName("none"), 2, "cannot read", "", {}},
    });
}

TEST_F(CallTest, ExplainsResultsAndFunctions)
{
    const Ran list = RunAlone("explain --json");
    EXPECT_GT(list.AsJson().size(), 60U);
    const std::pair<std::string, std::string> cases[] = {
        {"explain -2004", "ZELQ_BAD_AXIS_COUNT"},
        {"explain -3 --of PingCheck", "No reply to the ping"},
        {"explain -1702 --of zelQ_ParamGet", "prmClass, prmNo above 255"},
        {"explain 13", "Release the emergency stop, then"},
        {"explain 14", "result of its own"},
        {"explain zelQ_mMoveAbs", "double pos[count]"},
    };
    for (const auto& [words, text] : cases) {
        const Ran ran = RunAlone(words);
        EXPECT_EQ(ran.exit, 0) << ran.errors;
        EXPECT_THAT(ran.output, testing::HasSubstr(text));
    }
    const Json both = RunAlone("explain 4 zelQ_MoveAbs --json").AsJson();
    EXPECT_EQ(both[0]["source"], "controller");
    EXPECT_EQ(both[1]["parameters"][2]["unit"], "user units");
    EXPECT_EQ(RunAlone("explain -99999").exit, 2);
    EXPECT_EQ(RunAlone("explain -1 --of Nothing").exit, 2);
}

} // namespace

} // namespace zelq::test
