#include "support/calls.h"

namespace zelq::test {

std::string LineOf(const char* name, const std::string& arguments)
{
    std::string line = std::string(name) + "(5" + (arguments.empty() ? "" : ",") + arguments + ")";
    std::erase(line, ' ');
    return line;
}

ApiCall::ApiCall(std::string line, Runner run, const void* captures, std::size_t size)
    : line_(std::move(line)), run_(run)
{
    std::memcpy(captures_, captures, size);
}

Row::Row(ApiCall call) : call_(std::move(call)), line_(call_.Line()), failed_(line_) {}

Row::Row(ApiCall call, const Words& command) : Row(std::move(call))
{
    frames_ = {Join({{0x0101}, command})};
}

Row&& Row::Shows(const std::string& arguments, const std::string& failed) &&
{
    const std::string name = call_.Line().substr(0, call_.Line().find('('));
    return std::move(*this).Lines(LineOf(name.c_str(), arguments), LineOf(name.c_str(), failed));
}

void Row::ClearOutputs() const
{
    for (const Output& output : outputs_) {
        std::fill_n(output.at, output.wanted.size(), kUntouched);
    }
}

void Row::ExpectOutputs(bool written) const
{
    for (const Output& output : outputs_) {
        const std::size_t size = output.wanted.size();
        const Bytes bytes(output.at, output.at + size);
        EXPECT_EQ(bytes, written ? output.wanted : Bytes(size, kUntouched));
    }
}

void CallTest::ExpectNoSession(const ApiCall& call)
{
    for (const short number : std::initializer_list<short>{0, 255, -1, kUnknown}) {
        EXPECT_EQ(call({number}), number == kUnknown ? -3 : -2) << "controller " << number;
    }
}

void CallTest::Expect(std::initializer_list<Row> rows)
{
    constexpr short kRefusal = 7;
    constexpr short kMismatch = -12;
    constexpr short kMissing = -1004;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.call_.Line());
        row.ClearOutputs();
        ExpectNoSession(row.call_);
        row.ExpectOutputs(false);
        const bool succeeds = row.result_ == 0;
        if (succeeds && !row.frames_.empty()) {
            controller_.ThenResult(kRefusal);
            ExpectRow(row, kRefusal, row.failed_);
        }
        if (succeeds && (!row.data_.empty() || (!row.outputs_.empty() && !row.reads_.empty()))) {
            controller_.Then([this](Request request) {
                --request.back().quantity;
                return Answer{controller_.ProperReply(request)};
            });
            ExpectRow(row, kMismatch, row.failed_);
        }
        if (succeeds && !row.data_.empty()) {
            controller_.Then([](const Request& request) {
                return Answer{FrameBytes(request.front().id, 0x80 | 23, {3, 0, 0})};
            });
            ExpectRow(row, row.needsNoData_ ? short{0} : kMissing,
                      row.needsNoData_ ? row.line_ : "");
        }
        if (!row.data_.empty()) controller_.ThenData(row.data_);
        ExpectOnce(row);
        row.check_();
    }
}

void CallTest::ExpectOnce(const Row& row)
{
    ExpectRow(row, row.result_, row.line_, row.result_ == 0 || row.writesAnyway_);
}

void CallTest::ExpectRow(const Row& row, short result, const std::string& line, bool written)
{
    SCOPED_TRACE(row.call_.Line() + " gives " + std::to_string(result));
    row.ClearOutputs();
    EXPECT_EQ(row.call_({kNumber}), result);
    row.ExpectOutputs(written);

    std::vector<Words> frames;
    std::vector<Read> reads;
    const std::vector<Request> requests = controller_.TakeRequests();
    for (const Request& request : requests) {
        for (const RequestFrame& frame : request) {
            if (frame.function == 3) reads.push_back({frame.start, frame.quantity});
            if (frame.function != 23) continue;
            frames.push_back(frame.written);
            EXPECT_EQ(frame.start, 0xF000);
            EXPECT_EQ(frame.quantity, row.readQuantity_);
        }
    }
    EXPECT_EQ(frames, row.frames_);
    EXPECT_TRUE(reads == row.reads_) << reads.size() << " reads";
    // All frames of a command travel together, so that no other caller's come in between.
    if (reads.empty()) {
        EXPECT_LE(requests.size(), 1U);
    }
    if (!line.empty()) {
        EXPECT_EQ(NextTrace(), std::to_string(result) + "=" + line);
    }
    EXPECT_EQ(capture_.Lines(), std::vector<std::string>{});
}

void CallTest::Refused(short code, std::initializer_list<ApiCall> calls)
{
    for (const ApiCall& call : calls) {
        SCOPED_TRACE(call.Line());
        ExpectNoSession(call);
        EXPECT_EQ(call({kNumber}), code);
        EXPECT_TRUE(controller_.TakeRequests().empty());
        EXPECT_EQ(capture_.Lines(), std::vector<std::string>{});
    }
}

void CallTest::ConnectWith(const std::vector<std::uint32_t>& types)
{
    controller_.SetSlaveTypes(types);
    ASSERT_NO_FATAL_FAILURE(controller_.Connect());
    capture_.Lines();
}

void CallTest::SetUnits(const std::vector<std::pair<short, double>>& units)
{
    for (const auto& [axis, unit] : units) {
        ASSERT_EQ(zelQ_UnitPerPulseSet(kNumber, axis, unit), 0);
    }
    capture_.Lines();
}

void CallTest::Forget()
{
    controller_.TakeRequests();
    capture_.Lines();
}

void CallTest::ThenProperReply()
{
    controller_.Then(
        [this](const Request& request) { return Answer{controller_.ProperReply(request)}; });
}

void CallTest::ThenFirstFrameOnly(const Words& data)
{
    controller_.Then([this, data](const Request& request) {
        Answer answer{controller_.ProperReply(request.front(), 0, data)};
        // Behind a reply to nothing, no other is waited for.
        const Bytes stray = StrayReply(request).bytes;
        answer.bytes.insert(answer.bytes.end(), stray.begin(), stray.end());
        return answer;
    });
}

std::vector<RequestFrame> CallTest::SentFrames()
{
    std::vector<RequestFrame> frames;
    for (const Request& request : controller_.TakeRequests()) {
        frames.insert(frames.end(), request.begin(), request.end());
    }
    return frames;
}

Words CallTest::SentWords()
{
    const std::vector<RequestFrame> frames = SentFrames();
    EXPECT_EQ(frames.size(), 1U);
    capture_.Lines();
    return frames.at(0).written;
}

std::vector<Read> CallTest::TypeReads()
{
    std::vector<Read> reads;
    for (U16 axis = 0; axis < 32; ++axis) {
        reads.push_back({static_cast<U16>(axis << 8 | 0x38), 2});
    }
    return reads;
}

} // namespace zelq::test
