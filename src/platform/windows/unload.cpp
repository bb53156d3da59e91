#include "platform/process.h"

namespace __gnu_cxx {
/// Of the language's library, declared in no header: frees the memory that is kept for exceptions
/// thrown when there is none left.
void __freeres(); // NOLINT(bugprone-reserved-identifier)
} // namespace __gnu_cxx

namespace zelq::platform {

namespace {

/// The language's library is part of this one, and what it allocates as it is loaded would stay
/// behind each time it is unloaded.
class RuntimeMemory
{
  public:
    RuntimeMemory() = default;
    ~RuntimeMemory()
    {
        if (!ProcessIsEnding()) __gnu_cxx::__freeres();
    }
    RuntimeMemory(const RuntimeMemory&) = delete;
    RuntimeMemory& operator=(const RuntimeMemory&) = delete;
};

/// Made before all else, so taken down after it.
[[gnu::init_priority(101)]] const RuntimeMemory runtimeMemory;

} // namespace

} // namespace zelq::platform
