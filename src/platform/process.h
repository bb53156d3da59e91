#pragma once

namespace zelq::platform {

/// True while the whole process goes down and its other threads are gone already: then nothing
/// may be waited for, and the system takes everything back by itself.
bool ProcessIsEnding();

} // namespace zelq::platform
