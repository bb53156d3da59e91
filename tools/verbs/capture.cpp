#include "frame/program.h"
#include "frame/system.h"
#include "see/proxy.h"
#include "verbs/verbs.h"

#include <chrono>

namespace zelq::tool {

namespace {

constexpr const char* kCaptureManual =
    R"(Stands between programs and a controller, passes everything on, and keeps it as a file of packets
that Wireshark opens. Let the program that is looked at connect to network 127.0.0, to the same
controller number, at the port that is shown. Ctrl-C ends it; connections through it end then, too.

In the file the controller's port is always 502, by which Wireshark knows that it sees Modbus. A
file that has reached its size is not written to any more; what comes is passed on all the same.

  zelq -t press1 capture session.pcap
  zelq -t press1 capture session.pcap --listen-port 0 --for 60)";

struct CaptureOptions
{
    std::string file;
    std::string address;
    int port = 10502;
    int megabytes = 100;
    double seconds = 0;
};

ExitCode Capture(Context& context, const CaptureOptions& options)
{
    const Target target = context.Meant();
    const std::string address =
        options.address.empty() ? "127.0.0." + std::to_string(target.number) : options.address;
    PcapFile file(options.file,
                  std::uint64_t{1'000'000} * static_cast<unsigned>(options.megabytes));
    Proxy proxy(address, static_cast<std::uint16_t>(options.port), target.Address(),
                static_cast<std::uint16_t>(target.port), file);
    // Only now can anything connect.
    context.out.Line("programs connect to " + address + ", port " + std::to_string(proxy.Port()) +
                     "; Ctrl-C ends");
    context.out.Show(Json{{"address", address}, {"port", proxy.Port()}});
    const auto start = std::chrono::steady_clock::now();
    proxy.Run([&] {
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        context.out.Progress(std::to_string(file.Packets()) + " packets, " +
                             std::to_string(proxy.Counts().connections) + " connections");
        return Interrupted() || (options.seconds > 0 && time.count() >= options.seconds);
    });
    context.out.EndProgress();
    const ProxyCounts& counts = proxy.Counts();
    context.out.Line(std::to_string(file.Packets()) + " packets of " +
                     std::to_string(counts.connections) + " connections in " + options.file +
                     (file.IsFull() ? ", which is full" : ""));
    context.out.Show(Json{{"file", options.file},
                          {"packets", file.Packets()},
                          {"connections", counts.connections},
                          {"bytesToController", counts.toController},
                          {"bytesToPrograms", counts.toPrograms},
                          {"full", file.IsFull()}});
    return kDone;
}

} // namespace

void AddCapture(Program& program)
{
    auto options = std::make_shared<CaptureOptions>();
    CLI::App& app =
        program.AddVerb({"capture", Group::kSee,
                         "keep what a program and a controller say to each other", kCaptureManual},
                        [options](Context& context) { return Capture(context, *options); });
    app.add_option("file", options->file, "file of packets (pcap)")->required()->type_name("FILE");
    app.add_option("--listen-address", options->address,
                   "where programs connect to; 127.0.0.N for controller N unless given")
        ->check(CLI::ValidIPV4)
        ->type_name("ADDRESS");
    app.add_option("--listen-port", options->port, "port for programs; 0 takes a free one")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--max-size", options->megabytes, "largest size of the file, MB")
        ->check(CLI::Range(1, 10'000))
        ->capture_default_str();
    app.add_option("--for", options->seconds, "end after so many seconds")
        ->check(CLI::PositiveNumber)
        ->type_name("SECONDS");
}

} // namespace zelq::tool
