#include "frames.h"

#include <initializer_list>

namespace bench {

namespace {

constexpr std::uint16_t kConfiguration = 0xF414;
constexpr std::uint16_t kTypeWord = 0x38;
constexpr int kSlaves = 32;
constexpr std::size_t kReplyHeader = 9;

void PutWord(Bytes& bytes, std::size_t word)
{
    bytes.push_back(static_cast<std::uint8_t>(word >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(word));
}

void AddRead(Exchange& exchange, int start, std::size_t quantity)
{
    constexpr std::uint8_t kHead[] = {0, 1, 0, 0, 0, 6, 1, 3};
    for (const std::uint8_t byte : kHead) {
        exchange.request.push_back(byte);
    }
    PutWord(exchange.request, static_cast<std::size_t>(start));
    PutWord(exchange.request, quantity);
    exchange.replySize += kReplyHeader + 2 * quantity;
}

} // namespace

Exchange MoveExchange()
{
    const std::initializer_list<std::uint16_t> registers = {0x0101, 0x0011, 1, 3, 1000, 0};
    const auto bytes = static_cast<std::uint8_t>(2 * registers.size());
    Exchange exchange{{0, 1, 0, 0, 0, static_cast<std::uint8_t>(11 + bytes), 1, 23},
                      kReplyHeader + 2};
    for (const std::size_t word : {std::size_t{0xF000}, std::size_t{1}, std::size_t{0}}) {
        PutWord(exchange.request, word);
    }
    PutWord(exchange.request, registers.size());
    exchange.request.push_back(bytes);
    for (const std::uint16_t word : registers) {
        PutWord(exchange.request, word);
    }
    return exchange;
}

Exchange SnapshotExchange(int axes)
{
    Exchange exchange{{}, 0};
    AddRead(exchange, kConfiguration, 3);
    for (int axis = 0; axis < axes; ++axis) {
        AddRead(exchange, axis << 8, 18);
    }
    return exchange;
}

Exchange SlaveTypesExchange()
{
    Exchange exchange{{}, 0};
    for (int slave = 0; slave < kSlaves; ++slave) {
        AddRead(exchange, slave << 8 | kTypeWord, 2);
    }
    return exchange;
}

Exchange ConfigurationExchange()
{
    Exchange exchange{{}, 0};
    AddRead(exchange, kConfiguration, 1);
    return exchange;
}

} // namespace bench
