// What the program needs of the system: the terminal, Ctrl-C, folders.
#pragma once

#include <array>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelq::tool {

using Milliseconds = std::chrono::milliseconds;

enum class Stream { kInput, kOutput, kError };

/// Whether a person looks at it. On Windows an output is told to understand escape sequences, too.
bool IsTerminal(Stream stream);

struct TerminalSize
{
    int columns = 80;
    int rows = 24;
};
TerminalSize SizeOfTerminal();

// Ctrl-C, the end of the terminal, a polite kill: all ask the verb to stop what it has started, and
// to end. A program that is killed without being asked can do neither.

void CatchInterrupts();
bool Interrupted();
/// As if Ctrl-C had been pressed.
void Interrupt();
/// Waits; false when it was cut short by an interrupt.
bool WaitFor(Milliseconds time);

/// Keys as they are pressed, without their echo; the terminal is as it was afterwards. What stands
/// in for a terminal, such as a pipe, is read as it is.
class Keyboard
{
  public:
    Keyboard();
    ~Keyboard();
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    /// The next byte; none when there is none in time, or after an interrupt, or at the end.
    std::optional<char> Next(Milliseconds time);
    /// Nothing more will come: the terminal, or what writes to the pipe, is gone.
    [[nodiscard]] bool AtEnd() const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// A line of standard input without its end; none at the end of it and after an interrupt.
std::optional<std::string> ReadLine();

/// Where this user keeps the settings of programs; empty when the system does not tell.
std::filesystem::path SettingsFolder();

using Octets = std::array<unsigned short, 4>;
/// Those that reach every host of the networks of this computer, its own among them.
std::vector<Octets> BroadcastAddresses();
/// How many TCP connections this computer has to an address such as "192.168.0.3".
int ConnectionsTo(const std::string& address, int port);

} // namespace zelq::tool
