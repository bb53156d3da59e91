#include "support/floating_point_traps.h"

#include <cfenv>

namespace zelq::test {

FloatingPointTraps::FloatingPointTraps()
{
    std::feclearexcept(FE_ALL_EXCEPT);
    before_ = static_cast<unsigned>(
        feenableexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW));
}

FloatingPointTraps::~FloatingPointTraps()
{
    fedisableexcept(FE_ALL_EXCEPT);
    feenableexcept(static_cast<int>(before_));
}

} // namespace zelq::test
