#include "load/child_roles.h"

#include "support/process_resources.h"
#include "support/scripted_controller.h"
#include "support/shared_library.h"
#include "zelq.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <iterator>
#include <map>
#include <thread>

namespace zelq::test {

namespace {

using Numbers = std::vector<int>;

int Failed(const std::string& what)
{
    std::cerr << "child: " << what << std::endl;
    return 1;
}

/// Connects to the controller whose number and port stand at a place, with waits that only one that
/// is meant to be silent sits out.
short Connected(const Numbers& numbers, std::size_t at = 0)
{
    constexpr short kMs = 2000;
    const auto number = static_cast<short>(numbers.at(at));
    if (ConnectPatiently(number, numbers.at(at + 1), kMs) != 0) std::exit(Failed("not connected"));
    return number;
}

void CallForEver(short number)
{
    std::thread([number] {
        while (true) {
            zelQ_MoveAbs(number, 0, 1.0);
        }
    }).detach();
}

int CallOften(const Numbers& numbers)
{
    const short number = Connected(numbers);
    for (int count = numbers.back(); count > 0; --count) {
        const short result = zelQ_MoveAbs(number, 0, count);
        if (result != 0) return Failed("MoveAbs gave " + std::to_string(result));
    }
    return 0;
}

int ReturnDuringCalls(const Numbers& numbers)
{
    CallForEver(Connected(numbers));
    const short busy = Connected(numbers, 2);
    CallForEver(busy);
    // This one is answered when the call to the silent controller has arrived there.
    return zelQ_ServoReset(busy, 0) == 0 ? 0 : Failed("ServoReset");
}

int QuitDuringCalls(const Numbers& numbers)
{
    constexpr short kReceiveMs = 5000; // waits of 30 s
    const short answering = Connected(numbers);
    for (std::size_t at = 2; at + 1 < numbers.size(); at += 2) {
        const short silent = Connected(numbers, at);
        zelQ_TMOSet(silent, kReceiveMs, kReceiveMs, kReceiveMs);
        std::thread([silent] { zelQ_MoveAbs(silent, 0, 1.0); }).detach();
    }
    // This one is answered when all the calls have arrived.
    return zelQ_ServoReset(answering, 0) == 0 ? 0 : Failed("ServoReset");
}

/// Runs `cycle` again and again, which tells what was wrong, and looks at what it leaves: no
/// descriptor, and less than `tolerance` bytes of what `memory` counts.
int Repeat(int count, std::size_t (*memory)(), std::size_t tolerance,
           const std::function<std::string()>& cycle)
{
    constexpr int kWarmUp = 50; // the system's own libraries keep some things
    std::size_t descriptors = 0;
    std::size_t bytes = 0;
    for (int i = -kWarmUp; i < count; ++i) {
        if (i == 0) {
            descriptors = OpenDescriptors();
            bytes = memory();
        }
        if (const std::string wrong = cycle(); !wrong.empty()) return Failed(wrong);
    }
    const std::size_t after = memory();
    std::cout << "child: " << after << " bytes after " << bytes << std::endl;
    if (OpenDescriptors() > descriptors) return Failed("descriptors are left open");
    return after < bytes + tolerance ? 0 : Failed("memory is left");
}

int ConnectOften(const Numbers& numbers)
{
    constexpr std::size_t kTolerance = 256 * 1024; // of a leak, each cycle's share would be tiny
    return Repeat(numbers.back(), ResidentBytes, kTolerance, [&]() -> std::string {
        const short number = Connected(numbers);
        if (zelQ_MoveAbs(number, 0, 1.0) != 0) return "MoveAbs";
        zelQ_Disconnect(number);
        return "";
    });
}

/// A call through a library that is loaded for it alone.
bool CallLoaded(const std::string& path, short number, int port)
{
    const SharedLibrary library = LoadSharedLibrary(path);
    return Find<decltype(zelQ_SetNetPortNum)>(library, "zelQ_SetNetPortNum")(number, port) == 0 &&
           Find<decltype(zelQ_Connect)>(library, "zelQ_Connect")(number, 127, 0, 0) == 0 &&
           Find<decltype(zelQ_MoveAbs)>(library, "zelQ_MoveAbs")(number, 0, 1.0) == 0 &&
           IsMapped(path) && HasSessionLock(number);
}

int LoadOften(const Numbers& numbers)
{
    constexpr std::size_t kTolerance = 16; // bytes a cycle
    const auto number = static_cast<short>(numbers.at(0));
    const int port = numbers.at(1);
    const int count = numbers.back();
    // This program has loaded the library itself, so another copy of it comes and goes.
    const std::filesystem::path original(ZelqLibraryPath());
    const auto copy = std::filesystem::temp_directory_path() /
                      ("zelq-copy-" + std::to_string(port) + original.extension().string());
    const std::string path = copy.string();
    std::filesystem::copy_file(original, copy, std::filesystem::copy_options::overwrite_existing);
    const int result =
        Repeat(count, AllocatedBytes, kTolerance * static_cast<std::size_t>(count), [&] {
            std::string wrong;
            if (!CallLoaded(path, number, port)) wrong = "a load failed";
            if (IsMapped(path)) wrong = "the library is still mapped";
            if (HasSessionLock(number)) wrong = "the lock is still open";
            return wrong;
        });
    std::filesystem::remove(copy);
    return result;
}

int Play(const std::string& role, const Numbers& numbers)
{
    static const std::map<std::string, int (*)(const Numbers&)> kRoles{
        {"call", CallOften},      {"return", ReturnDuringCalls}, {"quit", QuitDuringCalls},
        {"cycles", ConnectOften}, {"unload", LoadOften},
    };
    return kRoles.at(role)(numbers);
}

} // namespace

} // namespace zelq::test

// The tests, or the role of a child that a test has started.
int main(int argc, char** argv)
{
    if (argc > 2 && std::string(argv[1]) == zelq::test::kChildArgument) {
        std::vector<int> numbers;
        std::transform(argv + 3, argv + argc, std::back_inserter(numbers),
                       [](const char* word) { return std::stoi(word); });
        return zelq::test::Play(argv[2], numbers);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
