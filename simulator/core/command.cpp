#include "command.h"

#include <stdexcept>
#include <utility>

namespace lumosim {

Word CommandReader::NextWord()
{
    if (words_.empty()) {
        overrun_ = true;
        return 0;
    }
    const Word word = words_.front();
    words_ = words_.subspan(1);
    return word;
}

std::int32_t CommandReader::NextLong()
{
    const Word low = NextWord();
    const Word high = NextWord();
    return static_cast<std::int32_t>(JoinWords(low, high));
}

void Reply::AddWord(Word word)
{
    if (words_.size() < kCapacity) words_.push_back(word);
}

void Reply::AddLong(std::int32_t value)
{
    AddWord(LowWord(value));
    AddWord(HighWord(value));
}

void CommandTable::Add(Word code, std::string name, CommandHandler handler)
{
    const auto [entry, added] =
        entries_.try_emplace(code, Entry{std::move(name), std::move(handler)});
    if (!added) throw std::logic_error("command code used twice: " + entry->second.name);
}

const CommandTable::Entry* CommandTable::Find(Word code) const
{
    const auto found = entries_.find(code);
    return found == entries_.end() ? nullptr : &found->second;
}

} // namespace lumosim
