#include "line_stream.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace lumosim {

namespace {

using Descriptor = asio::posix::stream_descriptor;

[[noreturn]] void ThrowFor(const std::string& path)
{
    throw std::system_error(errno, std::system_category(), path);
}

// A named pipe that was made here goes with its user.
class NamedPipe
{
  public:
    explicit NamedPipe(std::string path) : path_(std::move(path))
    {
        made_ = mkfifo(path_.c_str(), 0600) == 0;
        if (!made_ && errno != EEXIST) ThrowFor(path_);
    }
    ~NamedPipe()
    {
        if (made_) unlink(path_.c_str());
    }
    NamedPipe(const NamedPipe&) = delete;
    NamedPipe& operator=(const NamedPipe&) = delete;

    // Opened for both directions it never ends, whoever comes and goes at the other end.
    [[nodiscard]] Descriptor Open(asio::io_context& io) const
    {
        const int descriptor = open(path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (descriptor < 0) ThrowFor(path_);
        Descriptor stream(io, descriptor);
        struct stat state
        {};
        if (fstat(descriptor, &state) == 0 && S_ISFIFO(state.st_mode)) return stream;
        throw std::system_error(std::make_error_code(std::errc::file_exists), path_);
    }

  private:
    std::string path_;
    bool made_ = false;
};

class PipeLine : public SerialLine
{
  public:
    PipeLine(asio::io_context& io, const std::string& path, const Taker& taker)
        : in_(path + ".in"),
          out_(path + ".out"),
          reader_(std::make_shared<LineStream<Descriptor>>(in_.Open(io), taker)),
          writer_(std::make_shared<LineStream<Descriptor>>(out_.Open(io), Taker()))
    {
        reader_->StartReading();
    }

    ~PipeLine() override
    {
        reader_->Close();
        writer_->Close();
    }

    PipeLine(const PipeLine&) = delete;
    PipeLine& operator=(const PipeLine&) = delete;

    void Send(std::span<const std::uint8_t> bytes) override { writer_->Send(bytes); }

  private:
    NamedPipe in_;
    NamedPipe out_;
    std::shared_ptr<LineStream<Descriptor>> reader_;
    std::shared_ptr<LineStream<Descriptor>> writer_;
};

} // namespace

std::unique_ptr<SerialLine>
OpenPipeLine(asio::io_context& io, const std::string& path,
             SerialLine::Taker taker) // NOLINT(*-unnecessary-value-param)
{
    return std::make_unique<PipeLine>(io, path, taker);
}

} // namespace lumosim
