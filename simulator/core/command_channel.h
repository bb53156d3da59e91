// The command interface as one host connection sees it.
#pragma once

#include "command.h"
#include "types.h"

#include <span>
#include <vector>

namespace lumosim {

class Controller;

// Joins the frames of a command by their marks, has the controller run it, and keeps the reply
// registers for later reads. Every connection has its own, so two hosts never mix their frames.
class CommandChannel
{
  public:
    static constexpr Word kReplyStart = 0xF000;

    explicit CommandChannel(Controller& controller) : controller_(controller) {}

    // Takes one frame's registers and returns what the result register holds from now on. A frame
    // that is not the last of its command gives kDone.
    Result Write(std::span<const Word> frame);

    // Reads registers: the reply from 0xF000 up, else the controller's. False outside its
    // registers.
    [[nodiscard]] bool Read(Word first, std::span<Word> out) const;

  private:
    Result Join(std::span<const Word> frame);
    void ReadReply(std::size_t offset, std::span<Word> out) const;

    Controller& controller_;
    std::vector<Word> joined_;
    Word frames_ = 0;
    Word nextFrame_ = 1;
    Result result_ = Result::kDone;
    Reply reply_;
};

} // namespace lumosim
