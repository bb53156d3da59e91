// A command as its handler sees it: fields to read, reply registers to write, a result to return.
#pragma once

#include "types.h"

#include <cstddef>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace lumosim {

// Reads a command's fields in order. Reading past the end gives zeros and is remembered, so a
// handler reads everything first and asks once, with Finished(), whether the fields were right.
class CommandReader
{
  public:
    explicit CommandReader(std::span<const Word> words) : words_(words) {}

    Word NextWord();
    std::int32_t NextLong(); // low word first
    std::uint32_t NextUnsignedLong() { return static_cast<std::uint32_t>(NextLong()); }

    [[nodiscard]] std::size_t Remaining() const { return words_.size(); }
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

// All commands the controller knows, by their codes.
class CommandTable
{
  public:
    struct Entry
    {
        std::string name; // for the log
        CommandHandler handler;
    };

    // A code belongs to one family; adding it twice is a mistake in the simulator (logic_error).
    void Add(Word code, std::string name, CommandHandler handler);
    [[nodiscard]] const Entry* Find(Word code) const;

  private:
    std::map<Word, Entry> entries_;
};

} // namespace lumosim
