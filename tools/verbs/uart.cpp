#include "frame/program.h"
#include "frame/system.h"
#include "verbs/verbs.h"

#include <array>
#include <chrono>

namespace zelq::tool {

namespace {

constexpr const char* kUartManual =
    R"(A terminal on the controller's serial port: what is typed goes out, what comes in is shown. Ctrl-]
ends it, so that Ctrl-C, too, ends it and does not go out. With a pipe in place of a keyboard it
sends what comes from there, and ends when nothing more has come in for the time of --linger.

The format is set only where one is given. --json shows all that has come in at the end.

  zelq -t press1 uart --baud 9600 --parity even
  echo "*IDN?" | zelq -t press1 uart --linger 500)";

constexpr char kEndKey = 0x1D; // Ctrl-]
constexpr std::size_t kMostSerialBytes = 1024;
constexpr Milliseconds kSerialPoll(20);

struct UartOptions
{
    unsigned baud = 0;
    short dataBits = 8;
    short stopBits = 1;
    std::string parity = "none";
    int lingerMs = 300;
};

void SetFormat(const Controller& controller, const UartOptions& options)
{
    if (options.baud == 0) return;
    const unsigned short parity = options.parity == "none" ? 0 : options.parity == "odd" ? 1 : 2;
    Expect(zelQ_UARTSetCfg(controller.Number(), options.baud, options.dataBits, options.stopBits,
                           parity),
           "set the format of the serial port");
}

/// Reads all that is there.
std::string ReceiveSerial(const Controller& controller)
{
    std::string all;
    unsigned short waiting = 0;
    do {
        std::array<char, kMostSerialBytes> bytes{};
        Expect(zelQ_UARTRead(controller.Number(), bytes.data(), static_cast<short>(bytes.size()),
                             &waiting),
               "read the serial port");
        all.append(bytes.data(), std::min<std::size_t>(waiting, bytes.size()));
    } while (waiting > kMostSerialBytes);
    return all;
}

void SendSerial(const Controller& controller, const std::string& text)
{
    for (std::size_t at = 0; at < text.size(); at += kMostSerialBytes) {
        const std::string piece = text.substr(at, kMostSerialBytes);
        Expect(zelQ_UARTWrite(static_cast<unsigned short>(controller.Number()), piece.data(),
                              static_cast<short>(piece.size())),
               "write to the serial port");
    }
}

/// What is typed or comes from the pipe within a moment; `ended`: by Ctrl-].
std::string Typed(Keyboard& keyboard, bool isTerminal, bool& ended)
{
    std::string typed;
    for (Milliseconds wait = kSerialPoll; typed.size() < kMostSerialBytes; wait = Milliseconds(0)) {
        const std::optional<char> key = keyboard.Next(wait);
        if (!key) break;
        ended = isTerminal && *key == kEndKey;
        if (ended) break;
        typed += *key;
    }
    return typed;
}

ExitCode Uart(Context& context, const UartOptions& options)
{
    const Controller& controller = context.Connected();
    SetFormat(controller, options);
    const bool isTerminal = IsTerminal(Stream::kInput);
    if (isTerminal) context.out.Line("Ctrl-] ends");
    Keyboard keyboard;
    std::string received;
    std::size_t sent = 0;
    bool ended = false;
    auto lastHeard = std::chrono::steady_clock::now();
    while (!ended && !Interrupted()) {
        const bool inputIsOver = keyboard.AtEnd();
        const std::string typed = inputIsOver ? "" : Typed(keyboard, isTerminal, ended);
        SendSerial(controller, typed);
        sent += typed.size();
        const std::string came = ReceiveSerial(controller);
        if (!came.empty() || !typed.empty()) lastHeard = std::chrono::steady_clock::now();
        if (context.out.IsJson()) {
            received += came;
        } else if (!came.empty()) {
            Write(came);
        }
        if (inputIsOver) {
            const auto quiet = std::chrono::steady_clock::now() - lastHeard;
            if (quiet >= Milliseconds(options.lingerMs) || !WaitFor(kSerialPoll)) break;
        }
    }
    Json bytes = Json::array();
    for (const char byte : received) {
        bytes.push_back(static_cast<unsigned char>(byte));
    }
    context.out.Show(Json{{"sent", sent}, {"received", bytes}});
    return kDone;
}

} // namespace

void AddUart(Program& program)
{
    const auto options = std::make_shared<UartOptions>();
    CLI::App& app =
        program.AddVerb({"uart", Group::kKeep, "a terminal on the serial port", kUartManual},
                        [options](Context& context) { return Uart(context, *options); });
    CLI::Option* baud =
        app.add_option("--baud", options->baud, "bits per second")->check(CLI::PositiveNumber);
    app.add_option("--data-bits", options->dataBits, "7 to 9")
        ->check(CLI::Range(7, 9))
        ->capture_default_str()
        ->needs(baud);
    app.add_option("--stop-bits", options->stopBits, "1 or 2")
        ->check(CLI::Range(1, 2))
        ->capture_default_str()
        ->needs(baud);
    app.add_option("--parity", options->parity, "none, odd or even")
        ->check(CLI::IsMember({"none", "odd", "even"}))
        ->capture_default_str()
        ->needs(baud);
    app.add_option("--linger", options->lingerMs, "behind the end of a pipe, ms")
        ->check(CLI::Range(0, 3600000))
        ->capture_default_str();
}

} // namespace zelq::tool
