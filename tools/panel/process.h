// What the panel needs of the system: a program beside it, and chance.
#pragma once

#include "frame/system.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelq::tool {

/// A program that runs as long as this one does, and no longer, however this one ends. It is
/// started by a thread that is there until then.
class ChildProgram
{
  public:
    /// Looked for where other programs are, unless the name has a folder. A Failure when it cannot
    /// be started.
    ChildProgram(const std::filesystem::path& program, const std::vector<std::string>& words);
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    /// The next line that it prints; none when it has ended.
    std::optional<std::string> ReadLine();

  private:
    class Impl; // each system's own
    std::unique_ptr<Impl> impl_;
};

/// Where this program stands.
std::filesystem::path FolderOfThisProgram();

/// From the system's source of what nobody can guess.
std::array<std::uint8_t, 16> RandomBytes();

} // namespace zelq::tool
