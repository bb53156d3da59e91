#pragma once

namespace zelq::platform {

/// True while the whole process goes down and its other threads are gone already: then nothing
/// may be waited for, and the system takes everything back by itself.
bool ProcessIsEnding();

/// Has `function` called in every child that this process forks, before fork() returns there and
/// while the calling thread is its only one. Each call adds one more, for as long as the library
/// is loaded.
void CallInForkedChild(void (*function)());

} // namespace zelq::platform
