#include "line_stream.h"

#include <system_error>

namespace lumosim {

namespace {

using Handle = asio::windows::stream_handle;

// One named pipe for both directions.
class PipeLine : public SerialLine
{
  public:
    PipeLine(asio::io_context& io, const std::string& path, Taker taker)
        : io_(io), name_("\\\\.\\pipe\\" + path), taker_(std::move(taker)), pipe_(io)
    {
        AwaitProgram(Create());
    }

    ~PipeLine() override
    {
        ErrorCode ignored;
        pipe_.close(ignored);
        if (stream_) stream_->Close();
    }

    PipeLine(const PipeLine&) = delete;
    PipeLine& operator=(const PipeLine&) = delete;

    void Send(std::span<const std::uint8_t> bytes) override
    {
        if (stream_) stream_->Send(bytes);
    }

  private:
    static constexpr DWORD kBuffer = 65536;

    [[nodiscard]] Handle Create() const
    {
        constexpr DWORD kAccess =
            PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE;
        const HANDLE pipe = CreateNamedPipeA(name_.c_str(), kAccess, PIPE_TYPE_BYTE | PIPE_WAIT, 1,
                                             kBuffer, kBuffer, 0, nullptr);
        if (pipe != INVALID_HANDLE_VALUE) return Handle(io_, pipe);
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), name_);
    }

    // Asio has no call for the wait of a pipe, but takes part in one that is started here.
    void AwaitProgram(Handle pipe)
    {
        pipe_ = std::move(pipe);
        asio::windows::overlapped_ptr wait(
            io_, [this](const ErrorCode& error, std::size_t) { ProgramCame(error); });
        const BOOL done = ConnectNamedPipe(pipe_.native_handle(), wait.get());
        const DWORD error = GetLastError();
        if (done != 0 || error == ERROR_PIPE_CONNECTED) {
            wait.complete(ErrorCode(), 0);
        } else if (error == ERROR_IO_PENDING) {
            wait.release();
        } else {
            wait.complete({static_cast<int>(error), asio::error::get_system_category()}, 0);
        }
    }

    void ProgramCame(const ErrorCode& error)
    {
        if (error) return;
        const auto ended = [this] {
            stream_.reset();
            AwaitProgram(Create());
        };
        stream_ = std::make_shared<LineStream<Handle>>(std::move(pipe_), taker_, ended);
        stream_->StartReading();
    }

    asio::io_context& io_;
    std::string name_;
    Taker taker_;
    Handle pipe_; // while nobody has opened it
    std::shared_ptr<LineStream<Handle>> stream_;
};

} // namespace

std::unique_ptr<SerialLine> OpenPipeLine(asio::io_context& io, const std::string& path,
                                         SerialLine::Taker taker)
{
    return std::make_unique<PipeLine>(io, path, std::move(taker));
}

} // namespace lumosim
