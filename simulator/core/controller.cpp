#include "controller.h"

#include "families.h"
#include "snapshot.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <string>

namespace lumosim {

namespace {

constexpr Word kCounterMask = 0x7FFF;

AxisMechanics MechanicsOf(const AxisMechanics& common, const SlaveProperties& properties)
{
    AxisMechanics mechanics = common;
    mechanics.absoluteEncoder = properties.absoluteEncoder;
    mechanics.configurableInputIsStop = properties.inputIsStop;
    return mechanics;
}

} // namespace

Controller::Controller(const ControllerConfig& config) : config_(config)
{
    if (config.number < 1 || config.number > 254) {
        throw std::invalid_argument("controller number outside 1..254");
    }
    if (config.axes < 0 || config.axes > kMaxAxes) {
        throw std::invalid_argument("axis count outside 0..32");
    }
    for (int axis = 0; axis < config.axes; ++axis) {
        Install({axis, SlaveType::kServo, SlaveProperties()});
    }
    std::set<int> stations;
    for (const SlaveConfig& slave : config.slaves) {
        if (!stations.insert(slave.position).second) {
            throw std::invalid_argument("two slaves at station " + std::to_string(slave.position));
        }
        Install(slave);
    }
    for (const std::int64_t place : {config.mechanics.negativeLimit, config.mechanics.positiveLimit,
                                     config.mechanics.stopperGap}) {
        if (std::abs(place) > AxisMechanics::kFarthest) {
            throw std::invalid_argument("limit switch or stopper beyond 1000000000000 pulses");
        }
    }
    for (FamilyMaker* make : FamilyMakers()) {
        AddFamily(make(*this));
    }
}

void Controller::AddFamily(std::unique_ptr<Family> family)
{
    family->AddCommands(commands_);
    family->AddRegisters(registers_);
    families_.push_back(std::move(family));
}

Controller::~Controller() = default;

Nanoseconds Controller::NextEvent() const
{
    Nanoseconds next = kNever;
    for (const Slave& slave : slaves_) {
        if (slave.axis) next = std::min(next, slave.axis->NextEvent());
    }
    for (const auto& family : families_) {
        next = std::min(next, family->NextEvent());
    }
    return next;
}

void Controller::AdvanceTo(Nanoseconds time)
{
    while (now_ < time) {
        // At least one step forward, so that an event nobody consumes cannot hold the time.
        now_ = std::clamp(NextEvent(), now_ + Nanoseconds(1), time);
        for (const Slave& slave : slaves_) {
            if (slave.axis) slave.axis->AdvanceTo(now_);
        }
        for (const auto& family : families_) {
            family->AdvanceTo(now_);
        }
    }
}

Result Controller::Run(std::span<const Word> block, Reply& reply)
{
    if (block.empty()) return Result::kMalformed;
    for (const auto& family : families_) {
        if (const auto result = family->Divert(block)) {
            Tell(block, *result);
            return *result;
        }
    }
    return Perform(block, reply);
}

Result Controller::Perform(std::span<const Word> block, Reply& reply)
{
    const CommandTable::Row* command = commands_.Find(block.front());
    CommandReader reader(block.subspan(1));
    const Result result = command ? command->handler(reader, reply) : Result::kUnknownCommand;
    Tell(block, result);
    return result;
}

void Controller::Tell(std::span<const Word> block, Result result) const
{
    if (observers_.empty()) return;
    const CommandTable::Row* command = commands_.Find(block.front());
    CommandRecord record{now_, block.front(), "unknown", block.subspan(1), result, {}};
    if (command != nullptr) {
        record.name = command->name.c_str();
        record.layout = command->fields;
    }
    for (Observer* observer : observers_) {
        observer->CommandRun(record);
    }
}

void Controller::TellOnline(bool online) const
{
    for (Observer* observer : observers_) {
        observer->OnlineChanged(online);
    }
}

nlohmann::json Controller::Snapshot() const
{
    Json snapshot = {
        {"controller", {{"number", config_.number}, {"time", InSeconds(now_)}}},
        {"hosts", {{"connected", hosts_}, {"lostAt", nullptr}}},
    };
    if (hostLostAt_) snapshot["hosts"]["lostAt"] = InSeconds(*hostLostAt_);
    for (const auto& family : families_) {
        family->Describe(snapshot);
    }
    return snapshot;
}

std::size_t Controller::PreRegistered(Word number) const
{
    std::size_t count = 0;
    for (const auto& family : families_) {
        count += family->PreRegistered(number);
    }
    return count;
}

bool Controller::ReadRegisters(Word first, std::span<Word> out) const
{
    return registers_.Read(first, out);
}

const Slave& Controller::SlaveAt(int position) const
{
    return slaves_.at(static_cast<std::size_t>(position));
}

Slave& Controller::Station(int position)
{
    return slaves_.at(static_cast<std::size_t>(position));
}

void Controller::Install(const SlaveConfig& slave)
{
    if (slave.position < 0 || slave.position >= kMaxAxes) {
        throw std::invalid_argument("station outside 0..31");
    }
    Slave& station = Station(slave.position);
    station = Slave();
    station.type = slave.type;
    station.properties = slave.properties;
    if (slave.type == SlaveType::kServo) {
        station.axis = std::make_unique<Axis>(MechanicsOf(config_.mechanics, slave.properties),
                                              now_, config_.ideal);
    }
}

void Controller::SetSlave(const SlaveConfig& slave)
{
    Install(slave);
    CountConfiguration();
}

void Controller::SetProperties(int position, const SlaveProperties& properties)
{
    Slave& station = Station(position);
    station.properties = properties;
    if (station.axis) {
        station.axis->SetMechanics(MechanicsOf(station.axis->Mechanics(), properties));
    }
    CountConfiguration();
}

void Controller::CountConfiguration()
{
    configurationCounter_ = static_cast<Word>((configurationCounter_ + 1) & kCounterMask);
}

const Axis* Controller::FindAxis(int number) const
{
    if (number < 0 || number >= kMaxAxes) return nullptr;
    return slaves_.at(static_cast<std::size_t>(number)).axis.get();
}

Axis* Controller::FindAxis(int number)
{
    if (number < 0 || number >= kMaxAxes) return nullptr;
    return Station(number).axis.get();
}

Axis& Controller::AxisAt(int number)
{
    Axis* axis = FindAxis(number);
    if (axis == nullptr) throw std::out_of_range("no servo at this station");
    return *axis;
}

void Controller::HostConnected()
{
    ++hosts_;
    hostLostAt_.reset();
}

void Controller::HostDisconnected()
{
    if (--hosts_ == 0) hostLostAt_ = now_;
}

void Controller::SetSlaveInputs(int position, std::uint32_t inputs)
{
    Station(position).inputs = inputs;
}

void Controller::SetSlaveOutputs(int position, std::uint32_t outputs)
{
    Station(position).outputs = outputs;
}

void Controller::PowerCycle()
{
    ++powerResets_;
    mainOutputs_ = 0;
    for (Slave& slave : slaves_) {
        slave.outputs = 0;
        if (slave.axis) slave.axis->PowerUp();
    }
    for (const auto& family : families_) {
        family->PowerUp();
    }
}

Result Controller::Execute(std::initializer_list<Word> block)
{
    Reply reply;
    return Run(std::span<const Word>(block.begin(), block.size()), reply);
}

Word Controller::ReadRegister(Word address) const
{
    Word word = 0;
    if (!ReadRegisters(address, {&word, 1})) throw std::out_of_range("no such register");
    return word;
}

std::int32_t Controller::ReadLong(Word address) const
{
    std::array<Word, 2> words{};
    if (!ReadRegisters(address, words)) throw std::out_of_range("no such register");
    return static_cast<std::int32_t>(JoinWords(words[0], words[1]));
}

} // namespace lumosim
