#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/zelq.h"
#include "common/trace.h"
#include "transport/slave_reader.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kPropertyCode = 0x01B0;

/// What both reading calls report, beside the number.
void FillProperty(SlaveProperty& property, SlaveTypeWord typeWord)
{
    property.type = static_cast<std::uint16_t>(typeWord.Type());
    property.seriesCode = typeWord.SeriesCode();
    property.motorCode = typeWord.MotorCode();
    property.encoderCode = typeWord.EncoderCode();
    property.limitLogic = typeWord.LimitLogic();
    property.homeLogic = typeWord.HomeLogic();
    property.absoluteEncoder = typeWord.AbsoluteEncoder();
}

} // namespace

short zelQ_ServoPropertyCfg(unsigned short zelNo, unsigned short axis, unsigned short prop1,
                            short prop2, unsigned short prop3, unsigned short prop4,
                            unsigned short prop5, unsigned int propValue)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckAxis(number, axis)) return error;
    if (prop1 > 1) return BadArgument(2);
    if (prop2 < 1 || prop2 > 4) return BadArgument(3);
    if (prop3 > 3) return BadArgument(4);
    if (prop4 > 3) return BadArgument(5);
    if (prop5 > 2) return BadArgument(6);

    // The axis follows the code at once: this command has no count.
    Command command(kPropertyCode);
    command.Word(axis).Word(prop1).Word(prop2).Word(prop3).Word(prop4).Word(prop5).Long(propValue);
    short result = command.Run(number);
    // The type words change with it; a failed re-read leaves the session's lists as they were.
    if (result == kOk) result = static_cast<short>(ReadSlaveTypes(number));
    return Traced("%d=zelQ_ServoPropertyCfg(%d,%d,%d,%d,%d,%d,%d,%d)", result, zelNo, axis, prop1,
                  prop2, prop3, prop4, prop5, propValue);
}

short zelQ_SlavePropertyGet(unsigned short zelNo, short axis, SlaveProperty* property)
{
    const auto number = static_cast<short>(zelNo);
    const auto index = static_cast<std::uint16_t>(axis);
    if (const short error = CheckAxis(number, index)) return error;
    if (property == nullptr) return BadArgument(2);

    ReplyData reply;
    const short result = ReadRegisters(number, AxisRegister(index, kTypeWordRegister), 2, reply);
    if (result == kOk) {
        std::uint32_t bits = 0;
        if (!ReplyReader(reply).Read(bits)) return kReplyDataMissing;
        const SlaveTypeWord typeWord(bits);
        const SlaveType type = typeWord.Type();
        if (type == SlaveType::kNone) return kBadAxis;
        if (type == SlaveType::kServo) {
            FillProperty(*property, typeWord);
            property->inputUse = typeWord.InputUse();
        }
        if (type <= SlaveType::kOutput) {
            property->axis = index;
            property->type = static_cast<std::uint16_t>(type);
        }
    }
    return Traced("%d=zelQ_SlavePropertyGet(%d,%d)", result, zelNo, axis);
}

short zelQ_SlavePropertyGetAll(short zelNo, SlaveProperty* properties)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (properties == nullptr) return BadArgument(1);

    const auto result = static_cast<short>(ReadSlaveTypes(zelNo));
    if (result == kOk) {
        const SlaveConfig slaves = SessionOf(zelNo).Slaves();
        for (std::size_t i = 0; i < kAxisCount; ++i) {
            const bool absent = slaves.typeWords[i].Type() == SlaveType::kNone;
            properties[i].axis = absent ? kNoSlave : static_cast<std::uint16_t>(i);
            FillProperty(properties[i], slaves.typeWords[i]);
        }
    }
    return Traced("%d=zelQ_SlavePropertyGetAll(%d)", result, zelNo);
}
