#include "load/child_roles.h"

#include "support/child_process.h"
#include "support/process_resources.h"
#include "support/scripted_controller.h"
#include "support/shared_library.h"
#include "zelq.h"

#include <atomic>
#include <filesystem>
#include <iostream>
#include <map>
#include <thread>

namespace zelq::test {

namespace {

/// Where a role finds its controllers: number and port, one after the other.
class Arguments
{
  public:
    explicit Arguments(const std::vector<std::string>& words) : words_(words) {}

    int Next() { return std::stoi(words_.at(next_++)); }
    short NextNumber() { return static_cast<short>(Next()); }
    /// How many pairs of number and port are left ahead of the count.
    [[nodiscard]] std::size_t Controllers() const { return (words_.size() - next_ - 1) / 2; }

  private:
    const std::vector<std::string>& words_;
    std::size_t next_ = 1; ///< behind the role's name
};

int Failed(const std::string& what)
{
    std::cerr << "child: " << what << std::endl;
    return 1;
}

/// Connects with waits that only a controller that is meant to be silent sits out.
bool Connect(short number, int port)
{
    constexpr short kMs = 2000;
    return ConnectPatiently(number, port, kMs) == 0;
}

int CallOften(Arguments arguments)
{
    const short number = arguments.NextNumber();
    if (!Connect(number, arguments.Next())) return Failed("not connected");
    for (int count = arguments.Next(); count > 0; --count) {
        const short result = zelQ_MoveAbs(number, 0, count);
        if (result != 0) return Failed("MoveAbs gave " + std::to_string(result));
    }
    return 0;
}

int HoldTheLock(Arguments arguments)
{
    const short number = arguments.NextNumber();
    if (!Connect(number, arguments.Next())) return Failed("not connected");
    zelQ_MoveAbs(number, 0, 1.0);
    return Failed("the call has come back");
}

int ReturnDuringCalls(Arguments arguments)
{
    const short silent = arguments.NextNumber();
    if (!Connect(silent, arguments.Next())) return Failed("not connected");
    const short busy = arguments.NextNumber();
    if (!Connect(busy, arguments.Next())) return Failed("not connected");
    for (const short number : {silent, busy}) {
        std::thread([number] {
            while (true) {
                zelQ_MoveAbs(number, 0, 1.0);
            }
        }).detach();
    }
    // This one is answered when the call to the silent controller has arrived there.
    return zelQ_ServoReset(busy, 0) == 0 ? 0 : Failed("ServoReset");
}

int QuitDuringCalls(Arguments arguments)
{
    constexpr short kReceiveMs = 5000; // waits of 30 s
    const short answering = arguments.NextNumber();
    if (!Connect(answering, arguments.Next())) return Failed("not connected");
    for (std::size_t left = arguments.Controllers(); left > 0; --left) {
        const short silent = arguments.NextNumber();
        if (!Connect(silent, arguments.Next())) return Failed("not connected");
        zelQ_TMOSet(silent, kReceiveMs, kReceiveMs, kReceiveMs);
        std::thread([silent] { zelQ_MoveAbs(silent, 0, 1.0); }).detach();
    }
    // This one is answered when all the calls have arrived.
    return zelQ_ServoReset(answering, 0) == 0 ? 0 : Failed("ServoReset");
}

int ConnectOften(Arguments arguments)
{
    constexpr int kWarmUp = 50;
    constexpr std::size_t kTolerance = 256 * 1024; // of a leak, each cycle's share would be tiny
    const short number = arguments.NextNumber();
    const int port = arguments.Next();
    const int count = arguments.Next();
    std::size_t descriptors = 0;
    std::size_t bytes = 0;
    for (int cycle = -kWarmUp; cycle < count; ++cycle) {
        if (cycle == 0) {
            descriptors = OpenDescriptors();
            bytes = ResidentBytes();
        }
        if (!Connect(number, port)) return Failed("not connected");
        if (zelQ_MoveAbs(number, 0, 1.0) != 0) return Failed("MoveAbs");
        zelQ_Disconnect(number);
    }
    const std::size_t grown = ResidentBytes() > bytes ? ResidentBytes() - bytes : 0;
    std::cout << "child: " << grown << " bytes on top of " << bytes << ", " << OpenDescriptors()
              << " descriptors after " << descriptors << std::endl;
    if (OpenDescriptors() > descriptors) return Failed("descriptors are left open");
    return grown < kTolerance ? 0 : Failed("memory is left");
}

/// A call through a library that is loaded for it alone.
bool CallLoaded(const std::string& path, short number, int port)
{
    const SharedLibrary library(path);
    return library.Find<decltype(zelQ_SetNetPortNum)>("zelQ_SetNetPortNum")(number, port) == 0 &&
           library.Find<decltype(zelQ_Connect)>("zelQ_Connect")(number, 127, 0, 0) == 0 &&
           library.Find<decltype(zelQ_MoveAbs)>("zelQ_MoveAbs")(number, 0, 1.0) == 0 &&
           IsMapped(path) && HasSessionLock(number);
}

/// What an unloaded library has left behind; "" for nothing.
std::string LeftBehind(const std::string& path, short number)
{
    if (IsMapped(path)) return "the library is still mapped";
    return HasSessionLock(number) ? "the lock is still open" : "";
}

int LoadOften(Arguments arguments)
{
    constexpr int kWarmUp = 20;            // the system's own libraries keep some things
    constexpr std::size_t kTolerance = 16; // bytes a cycle
    const short number = arguments.NextNumber();
    const int port = arguments.Next();
    const int count = arguments.Next();
    // This program has loaded the library itself, so another copy of it comes and goes.
    const std::filesystem::path original(ZelqLibraryPath());
    const auto copy = std::filesystem::temp_directory_path() /
                      ("zelq-copy-" + std::to_string(port) + original.extension().string());
    std::filesystem::copy_file(original, copy, std::filesystem::copy_options::overwrite_existing);
    std::string wrong;
    std::size_t descriptors = 0;
    std::size_t bytes = 0;
    for (int cycle = -kWarmUp; cycle < count && wrong.empty(); ++cycle) {
        if (cycle == 0) {
            descriptors = OpenDescriptors();
            bytes = AllocatedBytes();
        }
        if (!CallLoaded(copy.string(), number, port)) wrong = "a load failed";
        if (wrong.empty()) wrong = LeftBehind(copy.string(), number);
    }
    const std::size_t grown = AllocatedBytes() > bytes ? AllocatedBytes() - bytes : 0;
    std::cout << "child: " << grown << " bytes on top of " << bytes << std::endl;
    std::filesystem::remove(copy);
    if (OpenDescriptors() > descriptors) wrong = "descriptors are left open";
    if (wrong.empty() && grown > kTolerance * static_cast<std::size_t>(count)) {
        wrong = "memory is left";
    }
    return wrong.empty() ? 0 : Failed(wrong);
}

} // namespace

int PlayChildRole(const std::vector<std::string>& arguments)
{
    static const std::map<std::string, int (*)(Arguments)> kRoles{
        {kCallRole, CallOften},       {kHoldRole, HoldTheLock},    {kReturnRole, ReturnDuringCalls},
        {kQuitRole, QuitDuringCalls}, {kCyclesRole, ConnectOften}, {kUnloadRole, LoadOften},
    };
    return kRoles.at(arguments.front())(Arguments(arguments));
}

} // namespace zelq::test
