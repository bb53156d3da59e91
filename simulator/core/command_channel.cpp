#include "command_channel.h"

#include "controller.h"

#include <algorithm>

namespace lumosim {

Result CommandChannel::Write(std::span<const Word> frame)
{
    reply_ = Reply();
    result_ = frame.empty() ? Result::kMalformed : Join(frame);
    return result_;
}

Result CommandChannel::Join(std::span<const Word> frame)
{
    const Word frames = frame.front() >> 8U;
    const Word number = frame.front() & 0xFFU;
    // A first frame always begins anew: a host that gave up a command in the middle may go on.
    if (number == 1) {
        joined_.clear();
        frames_ = frames;
        nextFrame_ = 1;
    }
    if (frames == 0 || frames != frames_ || number != nextFrame_ || number > frames) {
        joined_.clear();
        frames_ = 0;
        return Result::kFrameSequence;
    }
    joined_.insert(joined_.end(), frame.begin() + 1, frame.end());
    nextFrame_ = static_cast<Word>(number + 1);
    if (number < frames) return Result::kDone;

    frames_ = 0;
    return controller_.Run(joined_, reply_);
}

bool CommandChannel::Read(Word first, std::span<Word> out) const
{
    constexpr std::size_t kReplyEnd = kReplyStart + 1 + Reply::kCapacity;
    if (first < kReplyStart || first >= kReplyEnd) return controller_.ReadRegisters(first, out);

    const std::size_t mine = std::min(out.size(), kReplyEnd - first);
    ReadReply(static_cast<std::size_t>(first - kReplyStart), out.first(mine));
    if (mine == out.size()) return true;
    return controller_.ReadRegisters(static_cast<Word>(kReplyEnd), out.subspan(mine));
}

void CommandChannel::ReadReply(std::size_t offset, std::span<Word> out) const
{
    const std::span<const Word> words = reply_.Words();
    for (Word& word : out) {
        if (offset == 0) {
            word = static_cast<Word>(result_);
        } else {
            word = offset <= words.size() ? words[offset - 1] : Word{0};
        }
        ++offset;
    }
}

} // namespace lumosim
