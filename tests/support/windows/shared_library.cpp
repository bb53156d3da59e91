#include "support/shared_library.h"

#include "support/child_process.h"

#include <filesystem>
#include <stdexcept>
#include <windows.h>

namespace zelq::test {

SharedLibrary::SharedLibrary(const std::string& path) : handle_(LoadLibraryA(path.c_str()))
{
    if (handle_ == nullptr) throw std::runtime_error("cannot load " + path);
}

SharedLibrary::~SharedLibrary()
{
    FreeLibrary(static_cast<HMODULE>(handle_));
}

SharedLibrary::AnyFunction SharedLibrary::FindAddress(const char* name) const
{
    return reinterpret_cast<AnyFunction>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

std::string ZelqLibraryPath()
{
    return std::filesystem::path(ProgramPath()).replace_filename("zelq.dll").string();
}

bool IsMapped(const std::string& name)
{
    return GetModuleHandleA(name.c_str()) != nullptr;
}

bool HasSessionLock(short number)
{
    const std::string name = "Local\\Lumo=" + std::to_string(number);
    const HANDLE semaphore = OpenSemaphoreA(SYNCHRONIZE, FALSE, name.c_str());
    if (semaphore == nullptr) return false;
    CloseHandle(semaphore);
    return true;
}

} // namespace zelq::test
