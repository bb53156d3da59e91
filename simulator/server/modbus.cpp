#include "modbus.h"

#include "core/controller.h"

#include <array>
#include <cstddef>

namespace lumosim {

namespace {

using Bytes = ModbusSession::Bytes;

// Transaction id, protocol id and length stand before the bytes that the length counts: unit id,
// function code and data.
constexpr std::size_t kHeaderSize = 6;
constexpr std::size_t kSmallestLength = 2;
constexpr std::size_t kLargestLength = 254;

constexpr std::uint8_t kWriteFunction = 16;
constexpr std::uint8_t kReadWriteFunction = 23;
constexpr std::uint8_t kExceptionFlag = 0x80;

constexpr std::uint8_t kIllegalFunction = 1;
constexpr std::uint8_t kIllegalAddress = 2;
constexpr std::uint8_t kIllegalValue = 3;
constexpr std::uint8_t kNoSuchUnit = 11;

constexpr std::uint16_t kMostRead = 125;
constexpr std::uint16_t kMostWritten = 123;
constexpr std::uint16_t kMostReadWritten = 121;
constexpr std::uint16_t kCommandStart = 0;

std::uint16_t BigEndian(std::span<const std::uint8_t> bytes, std::size_t at)
{
    return static_cast<std::uint16_t>((bytes[at] << 8U) | bytes[at + 1]);
}

void Append(Bytes& bytes, std::uint16_t value)
{
    bytes.push_back(static_cast<std::uint8_t>(value >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(value & 0xFFU));
}

void SetException(Bytes& pdu, std::uint8_t function, std::uint8_t code)
{
    pdu = {static_cast<std::uint8_t>(function | kExceptionFlag), code};
}

// The controller's own exception: code 3, and why the command cannot be run.
void SetCommandException(Bytes& pdu, std::uint8_t function, Result reason)
{
    SetException(pdu, function, kIllegalValue);
    Append(pdu, static_cast<std::uint16_t>(reason));
}

} // namespace

// Reads a request's fields; reading past its end is remembered.
class ModbusSession::RequestReader
{
  public:
    explicit RequestReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::uint8_t NextByte()
    {
        if (bytes_.empty()) {
            good_ = false;
            return 0;
        }
        const std::uint8_t byte = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return byte;
    }

    std::uint16_t NextWord()
    {
        const unsigned high = NextByte();
        return static_cast<std::uint16_t>((high << 8U) | NextByte());
    }

    // A byte count and the registers it covers, which must be `quantity` and end the request.
    std::span<const Word> NextRegisters(std::uint16_t quantity, std::span<Word> area)
    {
        const std::size_t count = NextByte();
        if (quantity < 1 || quantity > area.size() || count != std::size_t{quantity} * 2 ||
            bytes_.size() != count) {
            good_ = false;
            return {};
        }
        for (Word& word : area.first(quantity)) {
            word = NextWord();
        }
        return area.first(quantity);
    }

    [[nodiscard]] bool Finished() const { return good_ && bytes_.empty(); }

  private:
    std::span<const std::uint8_t> bytes_;
    bool good_ = true;
};

bool ModbusSession::Receive(std::span<const std::uint8_t> bytes, Bytes& answers)
{
    pending_.insert(pending_.end(), bytes.begin(), bytes.end());
    std::span<const std::uint8_t> rest(pending_);
    bool good = true;
    while (rest.size() >= kHeaderSize) {
        const std::size_t length = BigEndian(rest, 4);
        good = BigEndian(rest, 2) == 0 && length >= kSmallestLength && length <= kLargestLength;
        if (!good || rest.size() < kHeaderSize + length) break;
        Answer(rest.first(kHeaderSize + length), answers);
        rest = rest.subspan(kHeaderSize + length);
    }
    pending_.erase(pending_.begin(), pending_.end() - static_cast<std::ptrdiff_t>(rest.size()));
    return good;
}

void ModbusSession::Answer(std::span<const std::uint8_t> frame, Bytes& answers)
{
    const std::uint8_t unit = frame[kHeaderSize];
    const std::uint8_t function = frame[kHeaderSize + 1];
    Bytes pdu;
    pdu.reserve(kLargestLength);
    if (unit == unit_) {
        AnswerRequest(function, RequestReader(frame.subspan(kHeaderSize + 2)), pdu);
    } else {
        SetException(pdu, function, kNoSuchUnit);
    }
    answers.insert(answers.end(), frame.begin(), frame.begin() + 4);
    Append(answers, static_cast<std::uint16_t>(pdu.size() + 1));
    answers.push_back(unit);
    answers.insert(answers.end(), pdu.begin(), pdu.end());
}

void ModbusSession::AnswerRequest(std::uint8_t function, RequestReader request, Bytes& pdu)
{
    switch (function) {
    case kReadFunction:
        return ReadRegisters(request, pdu);
    case kWriteFunction:
        return WriteRegisters(request, pdu);
    case kReadWriteFunction:
        return ReadWriteRegisters(request, pdu);
    default:
        return SetException(pdu, function, kIllegalFunction);
    }
}

void ModbusSession::ReadRegisters(RequestReader request, Bytes& pdu)
{
    const std::uint16_t first = request.NextWord();
    const std::uint16_t quantity = request.NextWord();
    if (!request.Finished() || quantity < 1 || quantity > kMostRead) {
        return SetException(pdu, kReadFunction, kIllegalValue);
    }
    AppendRegisters(kReadFunction, first, quantity, pdu);
}

void ModbusSession::WriteRegisters(RequestReader request, Bytes& pdu)
{
    const std::uint16_t first = request.NextWord();
    const std::uint16_t quantity = request.NextWord();
    std::array<Word, kMostWritten> area{};
    const std::span<const Word> registers = request.NextRegisters(quantity, area);
    if (!request.Finished()) return SetException(pdu, kWriteFunction, kIllegalValue);
    if (first != kCommandStart) return SetException(pdu, kWriteFunction, kIllegalAddress);

    // This answer has no room for a result; a host reads it from the result register then.
    if (channel_.Write(registers) != Result::kDone) {
        return SetException(pdu, kWriteFunction, kIllegalValue);
    }
    pdu = {kWriteFunction};
    Append(pdu, first);
    Append(pdu, quantity);
}

void ModbusSession::ReadWriteRegisters(RequestReader request, Bytes& pdu)
{
    const std::uint16_t readFirst = request.NextWord();
    const std::uint16_t readQuantity = request.NextWord();
    const std::uint16_t writeFirst = request.NextWord();
    const std::uint16_t writeQuantity = request.NextWord();
    std::array<Word, kMostReadWritten> area{};
    const std::span<const Word> registers = request.NextRegisters(writeQuantity, area);
    if (!request.Finished() || readQuantity < 1 || readQuantity > kMostRead) {
        return SetException(pdu, kReadWriteFunction, kIllegalValue);
    }
    if (writeFirst != kCommandStart) {
        return SetException(pdu, kReadWriteFunction, kIllegalAddress);
    }
    // A command whose answer could not be given is not run.
    std::array<Word, kMostRead> unused{};
    if (!channel_.Read(readFirst, std::span(unused).first(readQuantity))) {
        return SetException(pdu, kReadWriteFunction, kIllegalAddress);
    }
    const Result result = channel_.Write(registers);
    if (result == Result::kUnknownCommand) {
        return SetCommandException(pdu, kReadWriteFunction, result);
    }
    AppendRegisters(kReadWriteFunction, readFirst, readQuantity, pdu);
}

void ModbusSession::AppendRegisters(std::uint8_t function, std::uint16_t first,
                                    std::uint16_t quantity, Bytes& pdu)
{
    std::array<Word, kMostRead> area{};
    const std::span<Word> words = std::span(area).first(quantity);
    if (!channel_.Read(first, words)) return SetException(pdu, function, kIllegalAddress);
    pdu = {function, static_cast<std::uint8_t>(quantity * 2)};
    pdu.resize(pdu.size() + 2U * quantity);
    auto byte = pdu.begin() + 2;
    for (const Word word : words) {
        *byte++ = static_cast<std::uint8_t>(word >> 8U);
        *byte++ = static_cast<std::uint8_t>(word);
    }
}

} // namespace lumosim
