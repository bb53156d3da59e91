#include "platform/posix/lock_page.h"

#include "platform/use_lock.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zelq::platform {

// The file is never unlinked: who removes one can never know whether another process is just about
// to use it, and would then lock a page that nobody else sees. 4 KiB in the user's memory are what
// that costs.

namespace {

constexpr std::size_t kPageBytes = 4096;
constexpr char kName[] = "zelq-locks";

class Descriptor
{
  public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor()
    {
        if (number_ >= 0) close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] bool IsOpen() const { return number_ >= 0; }
    [[nodiscard]] int Get() const { return number_; }

  private:
    int number_;
};

constexpr int kFileFlags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
constexpr mode_t kPrivateFile = S_IRUSR | S_IWUSR;
constexpr mode_t kPrivateDirectory = S_IRWXU;
constexpr mode_t kModeBits = 07777;

/// Whether a directory is this user's own, where nobody else can put a file.
bool IsPrivate(const Descriptor& directory)
{
    struct stat state
    {};
    return directory.IsOpen() && fstat(directory.Get(), &state) == 0 && S_ISDIR(state.st_mode) &&
           state.st_uid == geteuid() && (state.st_mode & kModeBits) == kPrivateDirectory;
}

/// Opens the file in the first directory that is fit for it: the one that the user's session
/// names, the one that is his by custom, or the one that all users share.
int OpenFile()
{
    constexpr int kDirectoryFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    std::array<char, 64> path{};
    std::snprintf(path.data(), path.size(), "/run/user/%u", geteuid());
    const char* named = std::getenv("XDG_RUNTIME_DIR");
    for (const char* name : {named, static_cast<const char*>(path.data())}) {
        if (name == nullptr) continue;
        const Descriptor directory(open(name, kDirectoryFlags));
        if (IsPrivate(directory)) return openat(directory.Get(), kName, kFileFlags, kPrivateFile);
    }
    std::snprintf(path.data(), path.size(), "/dev/shm/%s-%u", kName, geteuid());
    return open(path.data(), kFileFlags, kPrivateFile);
}

/// Whether a file is this user's own and no other's, by this one name.
bool IsOurs(const Descriptor& file)
{
    struct stat state
    {};
    return fstat(file.Get(), &state) == 0 && S_ISREG(state.st_mode) && state.st_uid == geteuid() &&
           (state.st_mode & kModeBits) == kPrivateFile && state.st_nlink == 1;
}

/// Reserves the page's memory: one that is not there would only be missed when it is touched.
bool Reserve(const Descriptor& file)
{
    int error = 0;
    do {
        error = posix_fallocate(file.Get(), 0, kPageBytes);
    } while (error == EINTR);
    return error == 0;
}

LockWord* MapPage()
{
    const Descriptor file(OpenFile());
    if (!file.IsOpen() || !IsOurs(file) || !Reserve(file)) return nullptr;
    void* page = mmap(nullptr, kPageBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.Get(), 0);
    return page == MAP_FAILED ? nullptr : static_cast<LockWord*>(page);
}

UseLock changing;
LockWord* words = nullptr;
unsigned uses = 0;

} // namespace

LockWord* UseLockPage()
{
    const std::lock_guard guard(changing);
    if (words == nullptr) words = MapPage();
    if (words != nullptr) ++uses;
    return words;
}

void LeaveLockPage()
{
    const std::lock_guard guard(changing);
    if (--uses > 0) return;
    munmap(words, kPageBytes);
    words = nullptr;
}

void ResetLockPage()
{
    new (&changing) UseLock;
}

} // namespace zelq::platform
