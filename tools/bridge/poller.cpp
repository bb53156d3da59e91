#include "bridge/poller.h"

#include "bridge/log.h"

#include <algorithm>

namespace zelq::bridge {

namespace {

using std::chrono::milliseconds;

/// A reading that is repeated does no harm, so a lost reply is given up soon.
constexpr short kConnectMs = 300;
constexpr short kReceiveMs = 50;
/// After so long without a reply the library sends anew.
constexpr double kLostAfterMs = 6.0 * kReceiveMs;
constexpr milliseconds kFirstReconnect{500};
constexpr milliseconds kLastReconnect{4000};
/// Orders that wait for a controller; a person who presses a button again and again gives no more.
constexpr std::size_t kMostOrders = 64;

std::string Quoted(const std::string& name)
{
    return "\"" + name + "\"";
}

using DeviceInfo = std::array<unsigned short, 19>;

std::string ModelOf(const DeviceInfo& info)
{
    std::array<char, 64> text{};
    const auto size = static_cast<short>(text.size());
    zelQ_GetDevInfoToModelStr(info.data(), text.data(), size);
    if (text.front() == '\0') zelQ_GetDevTypeStr(static_cast<short>(info[12]), text.data(), size);
    return text.data();
}

short CarryOutOne(const Order& order, const ControllerStatus& status)
{
    const short number = order.controller;
    if (order.kind == OrderKind::kStop) {
        constexpr unsigned short kWithDeceleration = 1;
        const auto axis = static_cast<unsigned short>(order.slave);
        const bool all = order.slave < 0;
        if (all && status.servoCount == 0) return ZELQ_OK;
        return zelQ_mStop(number, all ? static_cast<short>(status.servoCount) : short{1},
                          all ? status.servoAxes : &axis, kWithDeceleration);
    }
    const auto slave = static_cast<unsigned short>(order.slave);
    if (order.kind == OrderKind::kResetAlarm) return zelQ_AlarmResetReq(number, slave);
    const unsigned short state = order.state ? 1 : 0;
    if (order.slave < 0) {
        return zelQ_MDOSetPin(number, static_cast<unsigned short>(order.pin), state);
    }
    return zelQ_RDOSetPin(number, slave, static_cast<short>(order.pin), state);
}

} // namespace

Poller::Poller(ControllerConfig config, const Words& words, Observer& observer,
               std::chrono::microseconds phase)
    : config_(std::move(config)), words_(words), observer_(observer), thread_([this, phase] {
          if (WaitUntil(Clock::now() + phase)) Run();
          zelQ_Disconnect(config_.number);
          observer_.Gone(config_.number);
      })
{}

Poller::~Poller()
{
    AskToEnd();
    thread_.join();
}

void Poller::AskToEnd()
{
    const std::scoped_lock lock(mutex_);
    ending_ = true;
    wake_.notify_all();
}

void Poller::Carry(Order order)
{
    const std::scoped_lock lock(mutex_);
    if (orders_.size() >= kMostOrders) {
        Log(order.text + ": refused, too many are waiting");
        return;
    }
    orders_.push_back(std::move(order));
    wake_.notify_all();
}

/// Carries out orders meanwhile; false when it is to end.
bool Poller::WaitUntil(Clock::time_point time)
{
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait_until(lock, time, [&] { return ending_ || !orders_.empty(); });
        if (ending_) return false;
        if (orders_.empty()) return true;
        lock.unlock();
        CarryOut();
        lock.lock();
    }
}

void Poller::CarryOut()
{
    std::deque<Order> orders;
    {
        const std::scoped_lock lock(mutex_);
        orders.swap(orders_);
    }
    for (const Order& order : orders) {
        const short result = CarryOutOne(order, status_);
        Log(order.text + ": " + (result == ZELQ_OK ? "done" : words_.result(result)));
    }
}

void Poller::Run()
{
    const milliseconds period(config_.rules.PeriodMs());
    milliseconds retry = kFirstReconnect;
    for (;;) {
        if (!Connect() || !Begin()) {
            if (!WaitUntil(Clock::now() + retry)) return;
            retry = std::min(retry * 2, kLastReconnect);
            continue;
        }
        retry = kFirstReconnect;
        Clock::time_point next = Clock::now() + period;
        for (;;) {
            if (!WaitUntil(next)) return;
            if (!Read()) break;
            // What was missed is not made up for: readings would come in a burst.
            next = std::max(next + period, Clock::now());
        }
    }
}

bool Poller::Connect()
{
    const auto [first, second, third] = config_.network;
    zelQ_SetNetPortNum(config_.number, config_.port);
    const short result =
        zelQ_Connect(config_.number, first, second, static_cast<unsigned short>(third));
    zelQ_TMOSet(config_.number, kConnectMs, kReceiveMs, kReceiveMs);
    if (result != ZELQ_OK) {
        Lose(result);
        return false;
    }
    for (const auto& [axis, settings] : config_.axes) {
        // A drive that the file knows need not be there today.
        zelQ_UnitPerPulseSet(config_.number, static_cast<short>(axis), settings.unitPerPulse);
    }
    return true;
}

/// What it is, and its state.
bool Poller::Begin()
{
    DeviceInfo info{};
    short result = zelQ_GetDevInfo(config_.number, info.data());
    if (result == ZELQ_OK || result == ZELQ_DEVICE_INFO_OUT_OF_RANGE) {
        around_.model = ModelOf(info);
        around_.version = std::to_string(info[13]) + "." + std::to_string(info[14]);
        result = ZELQ_OK; // its date is no reason not to watch it
    }
    if (result != ZELQ_OK) {
        Lose(result);
        return false;
    }
    if (!Exchange(status_)) return false;
    if (lastFailure_ != ZELQ_OK)
        Log(Quoted(config_.name) + " at " + config_.Address() + " answers");
    if (wasUp_) ++around_.link.reconnects;
    wasUp_ = true;
    lastFailure_ = ZELQ_OK;
    around_.alarms = {};
    ReadAlarms(status_);
    TellAll(status_);
    return true;
}

bool Poller::Read()
{
    ControllerStatus status{};
    if (!Exchange(status)) return false;
    ReadAlarms(status);
    const bool sameSlaves = HasSameSlaves(status, status_);
    status_ = status;
    if (sameSlaves) {
        TellChanges(status);
    } else {
        TellAll(status);
    }
    return true;
}

bool Poller::Exchange(ControllerStatus& status)
{
    const auto start = Clock::now();
    const short result = zelQ_GetAllStatus(config_.number, &status);
    const double took = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    if (result != ZELQ_OK || took > kLostAfterMs) ++around_.link.lostReplies;
    if (result != ZELQ_OK) {
        Lose(result);
        return false;
    }
    roundTrips_ += took;
    ++exchanges_;
    around_.link.roundTripMs = roundTrips_ / exchanges_;
    around_.link.longestMs = std::max(around_.link.longestMs, took);
    return true;
}

/// A drive's list is read when an alarm comes up, not each time.
void Poller::ReadAlarms(const ControllerStatus& status)
{
    for (int i = 0; i < status.servoCount; ++i) {
        const unsigned short axis = status.servoAxes[i];
        AxisAlarm& known = around_.alarms[axis];
        if (status.servo[axis].alarm == 0) {
            if (known.number != 0) known = {};
            continue;
        }
        if (known.number != 0) continue;
        unsigned short number = 0;
        unsigned short detail = 0;
        if (zelQ_AlarmListGet(config_.number, axis, 0, &number, &detail, nullptr) != ZELQ_OK) {
            continue; // it is asked for again with the next reading
        }
        known = {number, detail, words_.alarm(number)};
    }
}

void Poller::TellAll(const ControllerStatus& status)
{
    Device device;
    device.number = config_.number;
    device.name = config_.name;
    device.metrics = MetricsOf(status, config_);
    ReadValues(status, around_, true, config_, device.values);
    for (std::size_t i = 0; i < device.metrics.size(); ++i) {
        device.places[device.metrics[i].code] = i;
    }
    filter_ =
        std::make_unique<ChangeFilter>(config_.rules, device.metrics, device.values, Clock::now());
    observer_.Up(std::move(device), WallClock());
}

void Poller::TellChanges(const ControllerStatus& status)
{
    const Millis time = WallClock();
    ReadValues(status, around_, false, config_, values_);
    std::vector<Change> changes = filter_->ChangesIn(values_, Clock::now());
    if (filter_->HasLookedAt(MetricGroup::kLink)) {
        roundTrips_ = 0.0;
        exchanges_ = 0;
        around_.link.longestMs = 0.0;
    }
    if (!changes.empty()) observer_.Changed({0, config_.number, time, std::move(changes)});
}

void Poller::Lose(short result)
{
    zelQ_Disconnect(config_.number);
    if (result == lastFailure_) return;
    const bool isNews = lastFailure_ == ZELQ_OK;
    lastFailure_ = result;
    const std::string reason = words_.result(result);
    if (isNews) Log(Quoted(config_.name) + " at " + config_.Address() + ": " + reason);
    observer_.Down(config_.number, reason);
}

} // namespace zelq::bridge
