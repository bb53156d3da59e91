#pragma once

namespace zelq::test {

/// While it lives, a floating-point calculation that has no result, or none that can be told, ends
/// the program, as some applications want it.
class FloatingPointTraps
{
  public:
    FloatingPointTraps();
    ~FloatingPointTraps();
    FloatingPointTraps(const FloatingPointTraps&) = delete;
    FloatingPointTraps& operator=(const FloatingPointTraps&) = delete;

  private:
    unsigned before_;
};

} // namespace zelq::test
