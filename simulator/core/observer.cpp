#include "observer.h"

#include "names.h"

#include <array>
#include <cstdio>

namespace lumosim {

std::string CommandAsLine(const CommandRecord& record)
{
    std::array<char, 64> head{};
    std::snprintf(head.data(), head.size(), "%11.6f  %04X %-16s ",
                  std::chrono::duration<double>(record.time).count(),
                  static_cast<unsigned>(record.code), record.name);
    return head.data() + FieldsAsText(record.layout, record.fields) + " -> " +
           std::to_string(static_cast<unsigned>(record.result)) + " " + NameOf(record.result);
}

} // namespace lumosim
