#include "transport/slave_reader.h"

#include "common/result_codes.h"
#include "transport/engine.h"
#include "transport/session_table.h"

namespace zelq {

int ReadSlaveTypes(short zelNo)
{
    constexpr unsigned kTypeWordRegister = 0x38;
    RequestBuffer request;
    for (unsigned axis = 0; axis < kAxisCount; ++axis) {
        if (!request.StartReadFrame(AxisRegister(axis, kTypeWordRegister), 2)) return kOverflow;
    }
    ReplyData reply;
    const int error = TransactFrames(zelNo, request, &reply);
    if (error != kOk) return error;

    std::array<std::uint32_t, kAxisCount> words{};
    ReplyReader reader(reply);
    for (std::uint32_t& word : words) {
        if (!reader.Read(word)) return kReplyMismatch;
    }
    Sessions().Find(zelNo)->SetSlaves(SlaveConfig(words));
    return kOk;
}

} // namespace zelq
