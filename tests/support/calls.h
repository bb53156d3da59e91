#pragma once

#include "support/wire_test.h"
#include "zelq.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <numeric>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace zelq::test {

using U16 = std::uint16_t;

/// A controller number, whatever type a call takes it as.
struct Number
{
    short value;

    operator short() const { return value; }
    operator unsigned short() const { return static_cast<unsigned short>(value); }
};

/// zelQ_`name` of the usual controller with these arguments, as a trace line shows it.
std::string LineOf(const char* name, const std::string& arguments);

/// A call as the source shows it, open for any controller. What the call refers to must live as
/// long as it. There are hundreds, and one function of its own each is all that the compiler makes
/// of them; a std::function's took it half the time that the tables take.
class ApiCall
{
  public:
    template <typename Call>
    ApiCall(const char* name, const char* arguments, const Call& call)
        : ApiCall(LineOf(name, arguments), &Run<Call>, &call, sizeof(call))
    {
        static_assert(std::is_trivially_copyable_v<Call> && sizeof(call) <= kRoom);
    }

    short operator()(Number n) const { return run_(captures_, n); }
    const std::string& Line() const { return line_; } ///< as a trace line shows it

  private:
    using Runner = short (*)(const void* captures, Number n);
    static constexpr std::size_t kRoom = 96;

    ApiCall(std::string line, Runner run, const void* captures, std::size_t size);

    template <typename Call>
    static short Run(const void* captures, Number n)
    {
        return (*static_cast<const Call*>(captures))(n);
    }

    std::string line_;
    Runner run_;
    alignas(void*) unsigned char captures_[kRoom] = {};
};

/// zelQ_`name` with these arguments behind the controller number.
#define CALL(name, ...)                                                                            \
    zelq::test::ApiCall("zelQ_" #name, #__VA_ARGS__, [&](zelq::test::Number n) {                   \
        return zelQ_##name(n __VA_OPT__(, ) __VA_ARGS__);                                          \
    })

/// A read of registers, as a function-3 frame asks for it.
struct Read
{
    std::uint16_t start;
    std::uint16_t quantity;

    bool operator==(const Read&) const = default;
};

/// What a place holds that nothing has been written to.
inline constexpr std::uint8_t kUntouched = 0xA5;

/// A record of which nothing is written.
template <typename Record>
Record Untouched()
{
    Record record;
    std::memset(&record, kUntouched, sizeof(record));
    return record;
}

/// Bytes as they lie in memory.
template <typename Record>
Bytes BytesOf(const Record& record)
{
    Bytes bytes(sizeof(record));
    std::memcpy(bytes.data(), &record, sizeof(record));
    return bytes;
}

/// Numbers from `first` on.
template <typename T, std::size_t N>
std::array<T, N> Counting(T first)
{
    std::array<T, N> numbers{};
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

/// One call and all that it must do; what is not named must not happen.
class Row
{
  public:
    /// Sends one command of one frame: its code and fields.
    Row(ApiCall call, const Words& command);
    explicit Row(ApiCall call);

    /// The line's arguments, where they are not the call's; a failed call's may be others.
    Row&& Shows(const std::string& arguments) &&
    {
        return std::move(*this).Shows(arguments, arguments);
    }
    Row&& Shows(const std::string& arguments, const std::string& failed) &&;
    /// The whole line: another name, or none at all.
    Row&& Line(const std::string& line) && { return std::move(*this).Lines(line, line); }
    /// The whole line, and that of a failed call.
    Row&& Lines(const std::string& line, const std::string& failed) &&
    {
        failed_ = failed;
        return Set(line_, line);
    }
    /// Sends these frames, marks and all; each reads back so many registers.
    Row&& Frames(std::vector<Words> frames, std::size_t readQuantity = 1) &&
    {
        readQuantity_ = readQuantity;
        return Set(frames_, std::move(frames));
    }
    Row&& Reads(std::vector<Read> reads) && { return Set(reads_, std::move(reads)); }
    /// The command reads back this data behind its result.
    Row&& Data(Words data) &&
    {
        readQuantity_ = data.size() + 1;
        return Set(data_, std::move(data));
    }
    /// The same, with what the line shows.
    Row&& Frames(std::vector<Words> frames, const std::string& arguments) &&
    {
        return std::move(*this).Frames(std::move(frames)).Shows(arguments);
    }
    template <typename... Shown>
    Row&& Reads(std::vector<Read> reads, const std::string& arguments, const Shown&... failed) &&
    {
        return std::move(*this).Reads(std::move(reads)).Shows(arguments, failed...);
    }
    template <typename... Shown>
    Row&& Data(Words data, const std::string& arguments, const Shown&... failed) &&
    {
        return std::move(*this).Data(std::move(data)).Shows(arguments, failed...);
    }
    Row&& Gives(short result) && { return Set(result_, result); }
    /// Fails like this, with its outputs written.
    Row&& StopsWith(short result) &&
    {
        writesAnyway_ = true;
        return Set(result_, result);
    }
    /// Writes this; a call that fails leaves it alone.
    template <typename T>
    Row&& Gets(T& output, const std::type_identity_t<T>& wanted) &&
    {
        outputs_.push_back({reinterpret_cast<std::uint8_t*>(&output), BytesOf(wanted)});
        return std::move(*this);
    }
    /// Writes so many elements, and nothing behind them.
    template <typename T, std::size_t N>
    Row&& Fills(std::array<T, N>& output, const std::vector<std::type_identity_t<T>>& wanted) &&
    {
        auto all = Untouched<std::array<T, N>>();
        std::copy(wanted.begin(), wanted.end(), all.begin());
        return std::move(*this).Gets(output, all);
    }
    /// A success without the data is one.
    Row&& NeedsNoData() && { return Set(needsNoData_, true); }
    /// Looks at what else the call has done.
    Row&& Then(std::function<void()> check) && { return Set(check_, std::move(check)); }

  private:
    friend class CallTest;

    struct Output
    {
        std::uint8_t* at;
        Bytes wanted;
    };

    template <typename T>
    Row&& Set(T& field, T value)
    {
        field = std::move(value);
        return std::move(*this);
    }
    void ClearOutputs() const;
    void ExpectOutputs(bool written) const;

    ApiCall call_;
    std::string line_;
    std::string failed_; ///< the line of a failed call
    std::vector<Words> frames_;
    std::vector<Read> reads_;
    std::size_t readQuantity_ = 1; ///< of each frame
    Words data_;
    short result_ = 0;
    bool writesAnyway_ = false;
    bool needsNoData_ = false;
    std::vector<Output> outputs_;
    std::function<void()> check_ = [] {};
};

/// Tables of calls.
class CallTest : public WireTest
{
  protected:
    /// Runs each row: first without a session; then, a command, refused by the controller, which is
    /// handed back and traced; then, one that reads, with a register less than it asks for; then, a
    /// command that reads, with a success alone, which is not traced; at last as it says.
    void Expect(std::initializer_list<Row> rows);
    /// Runs one row as it says alone, where the controller's answer is set by hand.
    void ExpectOnce(const Row& row);
    /// Runs calls that give this code at once; each also without a session, which is looked at
    /// first.
    void Refused(short code, std::initializer_list<ApiCall> calls);
    /// Connects to a controller with other slaves (type words, axis 0 first).
    void ConnectWith(const std::vector<std::uint32_t>& types);
    /// Units per pulse of some axes.
    void SetUnits(const std::vector<std::pair<short, double>>& units);
    /// Drops what was sent and traced so far.
    void Forget();
    /// The next request is answered properly by the registers set.
    void ThenProperReply();
    /// The next request's first frame is answered with this data, and no other.
    void ThenFirstFrameOnly(const Words& data = {});
    /// All frames sent since the last look.
    std::vector<RequestFrame> SentFrames();
    /// The registers that the last call's one frame has written.
    Words SentWords();

    /// The reads of all 32 slave types.
    static std::vector<Read> TypeReads();

  private:
    void ExpectNoSession(const ApiCall& call);
    void ExpectRow(const Row& row, short result, const std::string& line, bool written = false);
};

} // namespace zelq::test
