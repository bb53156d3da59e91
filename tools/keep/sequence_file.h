// The records of a sequence program, as a file has them: one call a line.
#pragma once

#include "call/call_words.h"

#include <string>
#include <vector>

namespace zelq::tool {

struct SequenceRecord
{
    int line = 0;
    bool isKept = true; ///< by the program; else it is executed at once
    NamedCall call;
};

/// Lines such as "zelQ_MoveAbs axis=0 pos=1000"; what stands behind a # is a comment. A Failure for
/// a call that the controller would execute at once, in place of keeping it as a record, other than
/// zelQ_IMapSet.
std::vector<SequenceRecord> ReadSequenceFile(const std::string& name);

} // namespace zelq::tool
