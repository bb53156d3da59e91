#include "command.h"

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

} // namespace lumosim
