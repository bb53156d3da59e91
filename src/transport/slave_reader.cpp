#include "transport/slave_reader.h"

#include "common/result_codes.h"
#include "transport/engine.h"
#include "transport/session_table.h"

namespace zelq {

int ReadSlaveTypes(short zelNo, std::optional<std::uint16_t> counter)
{
    RequestBuffer request;
    for (unsigned axis = 0; axis < kAxisCount; ++axis) {
        request.StartReadFrame(AxisRegister(axis, kTypeWordRegister), 2);
    }
    ReplyData reply;
    const int error = TransactFrames(zelNo, request, &reply);
    if (error != kOk) return error;

    SlaveConfig::TypeWords words;
    ReplyReader reader(reply);
    for (SlaveTypeWord& word : words) {
        std::uint32_t bits = 0;
        if (!reader.Read(bits)) return kReplyMismatch;
        word = SlaveTypeWord(bits);
    }
    DeviceSession& session = *Sessions().Find(zelNo);
    if (counter) {
        session.SetSlaves(SlaveConfig(words, *counter));
    } else {
        session.SetSlaveTypes(words);
    }
    return kOk;
}

} // namespace zelq
