#pragma once

#include <string>

namespace zelq::test {

/// A shared library, loaded as long as it lives.
class SharedLibrary
{
  public:
    explicit SharedLibrary(const std::string& path);
    ~SharedLibrary();
    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;

    template <typename Function>
    [[nodiscard]] Function* Find(const char* name) const
    {
        return reinterpret_cast<Function*>(FindAddress(name));
    }

  private:
    using AnyFunction = void (*)();

    [[nodiscard]] AnyFunction FindAddress(const char* name) const;

    void* handle_;
};

/// The file of libzelq or zelq.dll beside this program.
std::string ZelqLibraryPath();

/// Whether a file whose path ends in `name` is mapped into this process as a library or memory.
bool IsMapped(const std::string& name);

/// Whether this process has the lock of a controller open.
bool HasSessionLock(short number);

} // namespace zelq::test
