#include "frame/program.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kIoManual =
    R"(Shows the inputs and outputs of the main board and of the input and output slaves, pin 0 on the left,
or switches one output. An output can set something in motion: switching asks once, unless --yes.

  zelq -t press1 io
  zelq -t press1 io set main 3 on
  zelq -t press1 io set 5 17 off

Outputs are those of the main board ("main", pins 0 to 7) or of an output slave (its station, pins 0
to 31).)";

struct IoOptions
{
    std::string where;
    int pin = 0;
    int state = 0;
    bool yes = false;
};

struct Port
{
    const char* kind;
    std::string where;
    const unsigned short* bits;
    std::size_t count;
};

std::vector<Port> PortsOf(const ControllerStatus& status)
{
    std::vector<Port> ports = {{"inputs", "main", status.mainInputs, 8},
                               {"outputs", "main", status.mainOutputs, 8}};
    for (unsigned short i = 0; i < status.inputCount; ++i) {
        const unsigned short slave = status.inputSlaves[i];
        ports.push_back({"inputs", std::to_string(slave), status.inputs[slave].bits, 32});
    }
    for (unsigned short i = 0; i < status.outputCount; ++i) {
        const unsigned short slave = status.outputSlaves[i];
        ports.push_back({"outputs", std::to_string(slave), status.outputs[slave].bits, 32});
    }
    return ports;
}

ExitCode ShowIo(Context& context)
{
    const Controller& controller = context.Connected();
    const ControllerStatus status = controller.Status();
    Table table({{"", false}, {"where", true}, {"pins 0.. (# on, . off)"}});
    Json list = Json::array();
    for (const Port& port : PortsOf(status)) {
        std::string pins;
        for (std::size_t i = 0; i < port.count; ++i) {
            if (i > 0 && i % 8 == 0) pins += ' ';
            pins += port.bits[i] != 0 ? '#' : '.';
        }
        table.Row({port.kind, port.where, pins});
        list.push_back({{"kind", port.kind},
                        {"where", port.where},
                        {"bits", std::vector<unsigned>(port.bits, port.bits + port.count)}});
    }
    context.out.Show(Json{{"controller", controller.Number()}, {"ports", list}});
    context.out.Show(table);
    return kDone;
}

short SwitchOutput(const Controller& controller, const IoOptions& options)
{
    const auto pin = static_cast<unsigned short>(options.pin);
    const auto state = static_cast<unsigned short>(options.state);
    if (options.where == "main") return zelQ_MDOSetPin(controller.Number(), pin, state);
    return zelQ_RDOSetPin(controller.Number(),
                          static_cast<unsigned short>(std::stoi(options.where)),
                          static_cast<short>(pin), state);
}

ExitCode SetIo(Context& context, const IoOptions& options)
{
    const Controller& controller = context.Connected();
    const std::string which =
        "output " + std::to_string(options.pin) + " of " +
        (options.where == "main" ? "the main board" : "output slave " + options.where);
    const std::string what =
        which + " of " + controller.Where().Text() + (options.state != 0 ? " on" : " off");
    context.Confirm("Switch " + what + "?", options.yes);
    Expect(SwitchOutput(controller, options), "switch " + what);
    return ShowIo(context);
}

} // namespace

void AddIo(Program& program)
{
    auto options = std::make_shared<IoOptions>();
    CLI::App& app = program.AddVerb(
        {"io", Group::kWatch, "show inputs and outputs, or switch an output", kIoManual}, ShowIo);
    CLI::App& set = program.AddVerb(app, "set", "switch an output", [options](Context& context) {
        return SetIo(context, *options);
    });
    app.require_subcommand(0, 1);
    set.add_option("where", options->where, "main, or the station of an output slave")
        ->check(CLI::IsMember({"main"}) | CLI::Range(0, 31))
        ->type_name("WHERE")
        ->required();
    set.add_option("pin", options->pin, "the pin")
        ->check(CLI::Range(0, 31))
        ->type_name("PIN")
        ->required();
    set.add_option("state", options->state, "on or off")
        ->transform(CLI::CheckedTransformer(std::map<std::string, int>{{"off", 0}, {"on", 1}})
                        .description(""))
        ->type_name("on|off")
        ->required();
    set.add_flag("-y,--yes", options->yes, "do not ask");
}

} // namespace zelq::tool
