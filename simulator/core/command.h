// A command as its handler sees it: registers to read, reply registers to write.
#pragma once

#include "types.h"

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

namespace lumosim {

// Reads a command's registers in order. Reading past the end gives zeros and is remembered.
class CommandReader
{
  public:
    explicit CommandReader(std::span<const Word> words) : words_(words) {}

    Word NextWord();
    std::int32_t NextLong(); // low word first

    [[nodiscard]] std::span<const Word> Rest() const { return words_; }
    [[nodiscard]] bool Overrun() const { return overrun_; }
    [[nodiscard]] bool Finished() const { return !overrun_ && words_.empty(); }

  private:
    std::span<const Word> words_;
    bool overrun_ = false;
};

// The registers behind the result register, 0xF001 and on.
class Reply
{
  public:
    static constexpr std::size_t kCapacity = 1023;

    void AddWord(Word word);
    void AddLong(std::int32_t value); // low word first
    [[nodiscard]] std::span<const Word> Words() const { return words_; }

  private:
    std::vector<Word> words_;
};

using CommandHandler = std::function<Result(CommandReader&, Reply&)>;

} // namespace lumosim
