#include "server.h"

#include "core/maintenance.h"
#include "core/serial_port.h"
#include "discovery.h"
#include "faults/machine_faults.h"
#include "listener.h"
#include "network.h"
#include "serial_line.h"
#include "shared_controller.h"
#include "wire_faults.h"
#include "wire_filter.h"

#include <atomic>
#include <exception>
#include <functional>
#include <future>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace lumosim {

namespace {

// A controller that restarts may find its port taken; it tries again until it has it.
constexpr auto kComeBackPause = std::chrono::milliseconds(100);

// Calls `open`; what it cannot open is told by name.
template <typename Open>
void OpenOrTell(const std::string& what, Open open)
{
    try {
        open();
    } catch (const NetworkError& error) {
        throw std::system_error(error.code(), what);
    } catch (const std::system_error& error) {
        throw std::system_error(error.code(), what);
    }
}

std::string At(const std::string& address, std::uint16_t port)
{
    return address + ", port " + std::to_string(port);
}

} // namespace

class Server::Impl : private Observer
{
  public:
    explicit Impl(const ServerConfig& config);

    void Start();
    void Stop();
    void DropConnections();
    // Returns when everything that was due on the server's thread is done.
    void Settle();

    [[nodiscard]] std::string Address() const;
    [[nodiscard]] std::uint16_t Port() const { return listener_.Port(); }
    [[nodiscard]] std::uint16_t DiscoveryPort() const { return discoveryPort_; }
    [[nodiscard]] std::uint16_t SerialTcpPort() const { return serialPort_; }
    [[nodiscard]] std::size_t Connections() const { return listener_.Connections(); }
    [[nodiscard]] SharedController& Shared() { return controller_; }
    [[nodiscard]] FaultRegistry& Faults() { return faults_; }

  private:
    void OnlineChanged(bool online) override
    {
        asio::post(io_, [this, online] { SetOnline(online); });
    }

    void RunOnThread(std::function<void()> work);
    void Open(const std::string& address, std::uint16_t port, std::uint16_t discoveryPort);
    void Close();
    void SetOnline(bool online);
    bool TryComeBack(const std::string& address);
    [[nodiscard]] std::string ConfiguredAddress();
    void OpenSerialLine();
    void CloseSerialLine();
    void AwaitWake();

    ServerConfig config_;
    SharedController controller_;
    WireFilter filter_;
    FaultRegistry faults_;
    mutable std::mutex addressMutex_;
    std::string address_;
    std::atomic<std::uint16_t> discoveryPort_ = 0;
    std::atomic<std::uint16_t> serialPort_ = 0;

    // From here on the server's thread alone, while it runs.
    asio::io_context io_{1};
    Listener listener_{io_, controller_, filter_};
    DiscoveryResponder discovery_{io_, controller_};
    std::unique_ptr<SerialLine> serialLine_;
    asio::steady_timer wake_{io_};
    asio::steady_timer comeBack_{io_};
    std::optional<asio::executor_work_guard<asio::io_context::executor_type>> work_;
    bool running_ = false;
    std::thread thread_;
};

Server::Impl::Impl(const ServerConfig& config)
    : config_(config), controller_(config), filter_(config.seed), address_(config.address)
{
    controller_.Unlocked().Observe(*this);
    controller_.OnEarlierWake([this] { asio::post(io_, [this] { AwaitWake(); }); });
    AddMachineFaults(faults_, controller_.Unlocked());
    AddWireFaults(faults_, filter_);
}

void Server::Impl::Start()
{
    if (thread_.joinable()) return;
    io_.restart();
    Open(config_.address, config_.port, config_.discoveryPort.value_or(0));
    try {
        OpenSerialLine();
    } catch (const std::exception&) {
        Close();
        throw;
    }
    controller_.SetRunning(true);
    running_ = true;
    AwaitWake();
    work_.emplace(io_.get_executor());
    thread_ = std::thread([this] { io_.run(); });
}

void Server::Impl::Stop()
{
    if (!thread_.joinable()) return;
    asio::post(io_, [this] {
        running_ = false;
        wake_.cancel();
        comeBack_.cancel();
        CloseSerialLine();
        Close();
        work_.reset(); // with nothing left to wait for, the thread ends by itself
    });
    thread_.join();
    controller_.SetRunning(false);
}

void Server::Impl::Open(const std::string& address, std::uint16_t port, std::uint16_t discoveryPort)
{
    asio::ip::address where;
    OpenOrTell("cannot listen on " + At(address, port), [&] {
        where = asio::ip::make_address(address);
        listener_.Open(where, port);
    });
    try {
        if (config_.discoveryPort) {
            OpenOrTell("cannot be found on UDP " + At(address, discoveryPort),
                       [&] { discovery_.Open(where, discoveryPort); });
        }
    } catch (const std::system_error&) {
        Close();
        throw;
    }
    discoveryPort_ = discovery_.Port();
    const std::lock_guard lock(addressMutex_);
    address_ = address;
}

void Server::Impl::Close()
{
    listener_.Close();
    discovery_.Close();
}

void Server::Impl::RunOnThread(std::function<void()> work)
{
    if (!thread_.joinable()) return;
    std::promise<void> promise;
    const std::future<void> done = promise.get_future();
    asio::post(io_, [work = std::move(work), promise = std::move(promise)]() mutable {
        work();
        promise.set_value();
    });
    done.wait();
}

void Server::Impl::DropConnections()
{
    RunOnThread([this] { listener_.CloseConnections(); });
}

void Server::Impl::Settle()
{
    RunOnThread([] {});
}

std::string Server::Impl::Address() const
{
    const std::lock_guard lock(addressMutex_);
    return address_;
}

// The controller goes off the network, or has restarted.
void Server::Impl::SetOnline(bool online)
{
    if (!running_) return;
    Close();
    if (!online || TryComeBack(ConfiguredAddress()) || TryComeBack(Address())) return;
    comeBack_.expires_after(kComeBackPause);
    comeBack_.async_wait([this](const ErrorCode& error) {
        if (!error) SetOnline(true);
    });
}

bool Server::Impl::TryComeBack(const std::string& address)
{
    try {
        Open(address, listener_.Port(), discoveryPort_);
        return true;
    } catch (const std::system_error&) {
        return false; // this computer has no such address, or somebody else is there
    }
}

// Where the controller's network settings put it. It stays where it is as long as they are those
// it was delivered with.
std::string Server::Impl::ConfiguredAddress()
{
    const Hold hold(controller_);
    Controller& controller = *hold;
    const NetworkSettings& network = controller.Get<Maintenance>().Network();
    const bool everywhere = asio::ip::make_address(config_.address).is_unspecified();
    if (everywhere || network.address == controller.Config().network.address) {
        return config_.address;
    }
    std::string address;
    for (const std::uint8_t octet : network.address) {
        address += std::to_string(octet) + '.';
    }
    return address + std::to_string(controller.Config().number);
}

void Server::Impl::OpenSerialLine()
{
    const SerialWiring& wiring = config_.serial;
    const auto take = [this](std::span<const std::uint8_t> bytes) {
        return Hold(controller_)->Get<SerialPort>().TryReceive(bytes);
    };
    if (wiring.to == SerialWiring::To::kTcp) {
        OpenOrTell("cannot listen for the serial port on " + At(config_.address, wiring.port), [&] {
            serialLine_ =
                OpenTcpLine(io_, {asio::ip::make_address(config_.address), wiring.port}, take);
        });
        serialPort_ = serialLine_->Port();
    } else if (wiring.to == SerialWiring::To::kPipe) {
        OpenOrTell("cannot open the serial port's pipe " + wiring.pipe,
                   [&] { serialLine_ = OpenPipeLine(io_, wiring.pipe, take); });
    }
    if (wiring.to == SerialWiring::To::kLoopBack) return;
    Hold(controller_)->Get<SerialPort>().Connect([this](std::span<const std::uint8_t> bytes) {
        asio::post(io_, [this, sent = std::vector<std::uint8_t>(bytes.begin(), bytes.end())] {
            if (serialLine_) serialLine_->Send(sent);
        });
    });
}

void Server::Impl::CloseSerialLine()
{
    serialLine_.reset();
    serialPort_ = 0;
}

// Requests bring the time up to now by themselves; this lets happen what happens without them.
void Server::Impl::AwaitWake()
{
    if (!running_) return;
    const auto wake = controller_.NextWake();
    if (wake == SharedController::RealTime::time_point::max()) return;
    wake_.expires_at(wake);
    wake_.async_wait([this](const ErrorCode& error) {
        if (!error) AwaitWake();
    });
}

Server::Server(const ServerConfig& config) : impl_(std::make_unique<Impl>(config)) {}

Server::~Server()
{
    Stop();
}

void Server::Start()
{
    impl_->Start();
}

void Server::Stop()
{
    impl_->Stop();
}

std::string Server::Address() const
{
    return impl_->Address();
}

std::uint16_t Server::Port() const
{
    return impl_->Port();
}

std::uint16_t Server::DiscoveryPort() const
{
    return impl_->DiscoveryPort();
}

std::uint16_t Server::SerialTcpPort() const
{
    return impl_->SerialTcpPort();
}

std::size_t Server::Connections() const
{
    return impl_->Connections();
}

void Server::DropConnections()
{
    impl_->DropConnections();
}

void Server::AdvanceBy(Nanoseconds step)
{
    With([step](Controller& controller) { controller.Advance(step); });
    impl_->Settle();
}

FaultRegistry& Server::Faults()
{
    return impl_->Faults();
}

ClockState Server::RealTimeClock() const
{
    return impl_->Shared().Clock();
}

void Server::SetRealTimeClock(const ClockState& clock)
{
    impl_->Shared().SetClock(clock);
}

SharedController& Server::Shared()
{
    return impl_->Shared();
}

} // namespace lumosim
