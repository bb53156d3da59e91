#include "frame/identification.h"

#include "frame/failure.h"

#include <cstdio>

namespace zelq::tool {

namespace {

constexpr unsigned short kNothing = 0xFFFF;

/// Words as dotted numbers.
std::string Dotted(const unsigned short* words, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += (i == 0 ? "" : ".") + std::to_string(words[i]);
    }
    return text;
}

std::string ModelOf(const Words& words)
{
    std::array<char, 64> text{};
    const auto size = static_cast<short>(text.size());
    zelQ_GetDevInfoToModelStr(words.data(), text.data(), size);
    if (text.front() == '\0') {
        zelQ_GetDevTypeStr(static_cast<short>(words[12]), text.data(), size);
    }
    return text.front() == '\0' ? "type " + std::to_string(words[12]) : text.data();
}

} // namespace

Json IdentificationJson(const Words& words)
{
    std::array<char, 16> date{};
    std::snprintf(date.data(), date.size(), "%04u-%02u-%02u", unsigned{words[15]} % 10000U,
                  unsigned{words[16]} % 100U, unsigned{words[17]} % 100U);
    // The four that tell a controller from all others are its address.
    return {{"address", Dotted(words.data(), 4)},
            {"model", ModelOf(words)},
            {"type", words[12]},
            {"date", date.data()},
            {"version", Dotted(&words[13], 2)},
            {"serial", std::vector<unsigned short>(&words[4], &words[12])}};
}

std::string SlaveText(unsigned short type)
{
    switch (type) {
    case 1:
        return "servo";
    case 2:
        return "inputs";
    case 3:
        return "outputs";
    default:
        return "type " + std::to_string(type);
    }
}

std::vector<SlaveProperty> SlavesOf(const Controller& controller)
{
    std::array<SlaveProperty, 32> all{};
    Expect(zelQ_SlavePropertyGetAll(controller.Number(), all.data()), "read the slaves");
    std::vector<SlaveProperty> there;
    for (const SlaveProperty& slave : all) {
        if (slave.axis != kNothing) there.push_back(slave);
    }
    return there;
}

} // namespace zelq::tool
