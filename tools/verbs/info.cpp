#include "frame/identification.h"
#include "frame/program.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kInfoManual =
    R"(Tells what a controller is: its model, version and serial fields, date, how often its power was
reset, and the slaves of its servo network.

  zelq -t press1 info)";

Json SlaveJson(const SlaveProperty& slave)
{
    return {{"station", slave.axis},        {"type", SlaveText(slave.type)},
            {"series", slave.seriesCode},   {"motor", slave.motorCode},
            {"encoder", slave.encoderCode}, {"absoluteEncoder", slave.absoluteEncoder != 0}};
}

ExitCode Info(Context& context)
{
    const Controller& controller = context.Connected();
    Words words{};
    unsigned resets = 0;
    Expect(zelQ_GetDevInfo(controller.Number(), words.data()), "read the identification");
    Expect(zelQ_GetPowerResetCount(controller.Number(), &resets), "read the power resets");
    const std::vector<SlaveProperty> slaves = SlavesOf(controller);

    Json document = IdentificationJson(words);
    document["controller"] = controller.Number();
    document["port"] = controller.Where().port;
    document["powerResets"] = resets;
    document["slaves"] = Json::array();
    Table table({{"station", true},
                 {"type"},
                 {"series", true},
                 {"motor", true},
                 {"encoder", true},
                 {"absolute"}});
    for (const SlaveProperty& slave : slaves) {
        document["slaves"].push_back(SlaveJson(slave));
        const bool isServo = slave.type == 1;
        table.Row({std::to_string(slave.axis), SlaveText(slave.type),
                   isServo ? std::to_string(slave.seriesCode) : "",
                   isServo ? std::to_string(slave.motorCode) : "",
                   isServo ? std::to_string(slave.encoderCode) : "",
                   isServo && slave.absoluteEncoder != 0 ? "yes" : ""});
    }
    context.out.Show(document);
    context.out.Line(controller.Where().Text());
    context.out.Line("model         " + document["model"].get<std::string>());
    context.out.Line("date          " + document["date"].get<std::string>());
    context.out.Line("version       " + document["version"].get<std::string>());
    context.out.Line("serial        " + document["serial"].dump());
    context.out.Line("power resets  " + std::to_string(resets));
    context.out.Line("");
    context.out.Show(table);
    return kDone;
}

} // namespace

void AddInfo(Program& program)
{
    program.AddVerb({"info", Group::kFind, "tell what a controller is", kInfoManual}, Info);
}

} // namespace zelq::tool
