#include "support/floating_point_traps.h"

#include <cfloat>

namespace zelq::test {

FloatingPointTraps::FloatingPointTraps()
{
    _clearfp();
    before_ = _controlfp(0, 0);
    _controlfp(before_ & ~static_cast<unsigned>(_EM_INVALID | _EM_ZERODIVIDE | _EM_OVERFLOW |
                                                _EM_UNDERFLOW),
               _MCW_EM);
}

FloatingPointTraps::~FloatingPointTraps()
{
    _clearfp();
    _controlfp(before_, _MCW_EM);
}

} // namespace zelq::test
