// Requests and answers in bytes, and waiting for what comes of them.
#pragma once

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <thread>
#include <vector>

namespace lumosim::test {

using Bytes = std::vector<std::uint8_t>;

constexpr auto kPatience = std::chrono::seconds(10);

template <typename Condition>
bool Await(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!condition() && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    return condition();
}

inline void Put(Bytes& bytes, unsigned value)
{
    bytes.push_back(static_cast<std::uint8_t>(value >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

// A frame around a function code and what follows it.
inline Bytes Frame(unsigned id, const Bytes& pdu)
{
    Bytes frame;
    Put(frame, id);
    Put(frame, 0);
    Put(frame, static_cast<unsigned>(pdu.size()) + 1);
    frame.push_back(1);
    frame.insert(frame.end(), pdu.begin(), pdu.end());
    return frame;
}

inline Bytes ReadFrame(unsigned id, unsigned first, unsigned quantity)
{
    Bytes pdu = {3};
    Put(pdu, first);
    Put(pdu, quantity);
    return Frame(id, pdu);
}

inline Bytes CommandFrame(unsigned id, std::initializer_list<unsigned> registers,
                          unsigned quantity = 1)
{
    Bytes pdu = {23};
    const auto count = static_cast<unsigned>(registers.size());
    for (const unsigned value : {0xF000U, quantity, 0U, count}) {
        Put(pdu, value);
    }
    pdu.push_back(static_cast<std::uint8_t>(2 * count));
    for (const unsigned value : registers) {
        Put(pdu, value);
    }
    return Frame(id, pdu);
}

// The answer to a read, or to a command with the result register in front.
inline Bytes RegistersFrame(unsigned id, std::uint8_t function,
                            std::initializer_list<unsigned> registers)
{
    Bytes pdu = {function, static_cast<std::uint8_t>(2 * registers.size())};
    for (const unsigned value : registers) {
        Put(pdu, value);
    }
    return Frame(id, pdu);
}

inline Bytes Joined(std::initializer_list<Bytes> frames)
{
    Bytes all;
    for (const Bytes& frame : frames) {
        all.insert(all.end(), frame.begin(), frame.end());
    }
    return all;
}

} // namespace lumosim::test
