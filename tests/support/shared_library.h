#pragma once

#include <memory>
#include <string>

namespace zelq::test {

/// A shared library, loaded as long as somebody has it; throws when it cannot be.
using SharedLibrary = std::shared_ptr<void>;
SharedLibrary LoadSharedLibrary(const std::string& path);

using AnyFunction = void (*)();
AnyFunction FindAny(const SharedLibrary& library, const char* name);

template <typename Function>
Function* Find(const SharedLibrary& library, const char* name)
{
    return reinterpret_cast<Function*>(FindAny(library, name));
}

/// The file of libzelq or zelq.dll that this program has loaded itself.
std::string ZelqLibraryPath();

/// Whether a file whose path ends in `name` is mapped into this process as a library or memory.
bool IsMapped(const std::string& name);

/// Whether this process has the lock of a controller open.
bool HasSessionLock(short number);

} // namespace zelq::test
