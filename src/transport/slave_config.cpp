#include "transport/slave_config.h"

#include <algorithm>

namespace zelq {

SlaveList::SlaveList() : count(0)
{
    numbers.fill(kNoSlave);
}

void SlaveList::Add(std::uint16_t number)
{
    numbers[count++] = number;
}

bool SlaveList::Contains(std::uint16_t number) const
{
    return std::ranges::find(Numbers(), number) != Numbers().end();
}

SlaveConfig::SlaveConfig(const TypeWords& words, std::uint16_t configurationCounter)
    : typeWords(words), counter(configurationCounter)
{
    for (std::uint16_t axis = 0; axis < kAxisCount; ++axis) {
        const SlaveType type = words[axis].Type();
        if (type == SlaveType::kServo) servoAxes.Add(axis);
        if (type == SlaveType::kInput) inputSlaves.Add(axis);
        if (type == SlaveType::kOutput) outputSlaves.Add(axis);
    }
}

} // namespace zelq
