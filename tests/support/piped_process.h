#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace zelq::test {

/// What a system has for a program with pipes at its three streams.
struct NativeProcess
{
    using Handle = std::intptr_t;

    /// Throws std::runtime_error when the program does not start.
    void Start(const std::string& program, const std::vector<std::string>& arguments,
               const std::map<std::string, std::string>& variables);
    /// Whether it ends in time.
    [[nodiscard]] bool AwaitEnd(int milliseconds) const;
    /// What an ended one left, kKilled for what is no exit code. Once only.
    int Collect();
    void Interrupt() const;
    void Kill() const;

    /// How many bytes came; 0 at the end.
    static std::size_t Read(Handle stream, char* bytes, std::size_t size);
    static bool Write(Handle stream, const std::string& text);
    static void Close(Handle& stream);

    static constexpr int kKilled = -1;

    Handle process = 0;
    Handle input = 0;
    Handle output = 0;
    Handle errors = 0;
};

/// A program as a shell runs it: with arguments, variables of its own, and somebody who types and
/// reads. It does not outlive its object.
class PipedProcess
{
  public:
    PipedProcess(const std::string& program, const std::vector<std::string>& arguments,
                 const std::map<std::string, std::string>& variables = {});
    ~PipedProcess();
    PipedProcess(const PipedProcess&) = delete;
    PipedProcess& operator=(const PipedProcess&) = delete;

    void Type(const std::string& text) const { NativeProcess::Write(native_.input, text); }
    void EndInput() { NativeProcess::Close(native_.input); }
    /// As Ctrl-C does.
    void Interrupt() const { native_.Interrupt(); }
    /// Ends it where it stands, as a crash would.
    void Kill() const { native_.Kill(); }

    /// Waits until its output contains the text; false when it ends without, or after 30 s.
    bool AwaitOutput(const std::string& text);
    /// Its exit code, or kKilled. One that does not end in 60 s is killed. Its input has ended
    /// then.
    int Wait();

    /// What it has written: so far, or after Wait everything.
    std::string Output() { return Text(output_); }
    std::string Errors() { return Text(errors_); }

  private:
    void Gather(NativeProcess::Handle stream, std::string& into);
    std::string Text(const std::string& from);

    NativeProcess native_;
    std::mutex mutex_;
    std::condition_variable came_;
    std::string output_;
    std::string errors_;
    bool outputEnded_ = false;
    int exit_ = NativeProcess::kKilled;
    std::vector<std::thread> readers_;
};

} // namespace zelq::test
