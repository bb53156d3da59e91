#include <cstdlib>

namespace {

/// Linked into every test program, however it is started.
[[maybe_unused]] const int runtimeFolder =
    setenv("XDG_RUNTIME_DIR", ZELQ_TEST_RUNTIME_DIR, static_cast<int>(true));

} // namespace
