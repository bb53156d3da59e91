#include "posix/modbus_reads.h"

#include <memory>
#include <modbus/modbus.h>
#include <stdexcept>

namespace bench {

namespace {

struct Ender
{
    void operator()(modbus_t* context) const
    {
        modbus_close(context);
        modbus_free(context);
    }
};

void Read(modbus_t* context)
{
    constexpr int kAxes = 32;
    constexpr int kRegisters = 18;
    std::uint16_t words[kRegisters];
    bool done = modbus_read_registers(context, 0xF414, 3, words) == 3;
    for (int axis = 0; axis < kAxes; ++axis) {
        done = done && modbus_read_registers(context, axis << 8, kRegisters, words) == kRegisters;
    }
    if (!done) throw std::runtime_error("libmodbus cannot read");
}

} // namespace

std::vector<Subject> ModbusReads(const Peer& peer)
{
    const std::shared_ptr<modbus_t> context(modbus_new_tcp("127.0.0.1", peer.Port()), Ender());
    if (modbus_connect(context.get()) != 0) throw std::runtime_error("libmodbus cannot connect");
    constexpr int kCalls = 2; // each takes as long as 33 others
    return {{"33 reads with libmodbus", [context] { Read(context.get()); }, 0, kCalls}};
}

} // namespace bench
