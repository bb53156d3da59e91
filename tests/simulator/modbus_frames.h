// Frames written as text, and waiting for what comes of them.
#pragma once

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <string>
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

// Bytes in hexadecimal digits, two each; spaces may stand between them.
inline Bytes Hex(const std::string& text)
{
    Bytes bytes;
    std::size_t at = 0;
    while (at < text.size()) {
        const bool space = text[at] == ' ';
        if (!space)
            bytes.push_back(static_cast<std::uint8_t>(std::stoi(text.substr(at, 2), {}, 16)));
        at += space ? 1 : 2;
    }
    return bytes;
}

// A frame around a function code and what follows it.
inline Bytes Frame(const std::string& text, std::uint8_t id = 7, std::uint8_t unit = 1)
{
    const Bytes pdu = Hex(text);
    const auto length = static_cast<std::uint8_t>(pdu.size() + 1);
    Bytes frame = {0, id, 0, 0, 0, length, unit};
    frame.insert(frame.end(), pdu.begin(), pdu.end());
    return frame;
}

// A command's block, four digits a register, from which the result is read back.
inline Bytes CommandFrame(const std::string& block, std::uint8_t id = 7)
{
    const auto count = static_cast<std::uint8_t>(Hex(block).size() / 2);
    Bytes frame = Frame("17 F000 0001 0000 0000 00" + block, id);
    frame[15] = count;
    frame[16] = static_cast<std::uint8_t>(2 * count);
    return frame;
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
