#include "support/shared_library.h"

#include <array>
#include <stdexcept>
#include <windows.h>

namespace zelq::test {

SharedLibrary LoadSharedLibrary(const std::string& path)
{
    const HMODULE module = LoadLibraryA(path.c_str());
    if (module == nullptr) throw std::runtime_error("cannot load " + path);
    return {module, [](void* loaded) { FreeLibrary(static_cast<HMODULE>(loaded)); }};
}

AnyFunction FindAny(const SharedLibrary& library, const char* name)
{
    return reinterpret_cast<AnyFunction>(GetProcAddress(static_cast<HMODULE>(library.get()), name));
}

std::string ZelqLibraryPath()
{
    std::array<char, MAX_PATH> path{};
    GetModuleFileNameA(GetModuleHandleA("zelq.dll"), path.data(), MAX_PATH);
    return path.data();
}

bool IsMapped(const std::string& name)
{
    return GetModuleHandleA(name.c_str()) != nullptr;
}

bool HasSessionLock(short number)
{
    const std::string name = "Local\\Lumo=" + std::to_string(number);
    const HANDLE semaphore = OpenSemaphoreA(SYNCHRONIZE, FALSE, name.c_str());
    return semaphore != nullptr && CloseHandle(semaphore) != FALSE;
}

} // namespace zelq::test
