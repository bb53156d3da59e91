#include "support/piped_process.h"

#include <array>
#include <chrono>

namespace zelq::test {

PipedProcess::PipedProcess(const std::string& program, const std::vector<std::string>& arguments,
                           const std::map<std::string, std::string>& variables)
{
    native_.Start(program, arguments, variables);
    readers_.emplace_back([this] { Gather(native_.output, output_); });
    readers_.emplace_back([this] { Gather(native_.errors, errors_); });
}

PipedProcess::~PipedProcess()
{
    if (native_.process == 0) return;
    Kill();
    Wait();
}

void PipedProcess::Gather(NativeProcess::Handle stream, std::string& into)
{
    std::array<char, 4096> bytes{};
    while (const std::size_t size = NativeProcess::Read(stream, bytes.data(), bytes.size())) {
        const std::lock_guard lock(mutex_);
        for (std::size_t i = 0; i < size; ++i) {
            if (bytes[i] != '\r') into += bytes[i]; // Windows ends its lines with two characters
        }
        came_.notify_all();
    }
    const std::lock_guard lock(mutex_);
    outputEnded_ = outputEnded_ || &into == &output_;
    came_.notify_all();
}

bool PipedProcess::AwaitOutput(const std::string& text)
{
    constexpr std::chrono::seconds kPatience{30};
    std::unique_lock lock(mutex_);
    const auto came = [&] { return output_.find(text) != std::string::npos; };
    came_.wait_for(lock, kPatience, [&] { return outputEnded_ || came(); });
    return came();
}

int PipedProcess::Wait()
{
    constexpr int kPatienceMs = 60'000;
    if (native_.process == 0) return exit_;
    EndInput();
    if (!native_.AwaitEnd(kPatienceMs)) Kill();
    exit_ = native_.Collect();
    for (std::thread& reader : readers_) {
        reader.join();
    }
    NativeProcess::Close(native_.output);
    NativeProcess::Close(native_.errors);
    return exit_;
}

std::string PipedProcess::Text(const std::string& from)
{
    const std::lock_guard lock(mutex_);
    return from;
}

} // namespace zelq::test
