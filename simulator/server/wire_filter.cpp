#include "wire_filter.h"

#include <algorithm>
#include <utility>

namespace lumosim {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kFrameLengthAt = 4;
constexpr std::size_t kFrameHeaderSize = 6;

// Every fault draws for itself, so that one does not change what the others do.
std::uint64_t SeedOf(std::uint64_t seed, const std::string& name)
{
    std::uint64_t hash = 0xCBF29CE484222325U ^ seed;
    for (const char letter : name) {
        hash = (hash ^ static_cast<std::uint8_t>(letter)) * 0x100000001B3U;
    }
    return hash;
}

// The pieces of one answer go behind those of the answers ahead.
void AppendPieces(const Passage& passage, std::vector<WirePiece>& pieces)
{
    const std::size_t size = std::max<std::size_t>(1, passage.frame.size());
    const std::size_t step = passage.pieceSize == 0 ? size : passage.pieceSize;
    for (int copy = 0; copy < passage.copies; ++copy) {
        for (std::size_t at = 0; at < passage.frame.size(); at += step) {
            const auto from = passage.frame.begin() + static_cast<std::ptrdiff_t>(at);
            const auto count = std::min(step, passage.frame.size() - at);
            pieces.push_back({Bytes(from, from + static_cast<std::ptrdiff_t>(count)),
                              at == 0 ? passage.wait : passage.betweenPieces,
                              passage.overtaken && passage.wait.count() != 0});
        }
    }
    if (passage.end != WireEnd::kStays) pieces.push_back({{}, {}, false, passage.end});
}

// Answers that nothing befalls go out together, as they would without any fault.
void Join(std::vector<WirePiece>& pieces, const Bytes& frame)
{
    const bool joins =
        !pieces.empty() && pieces.back().wait.count() == 0 && pieces.back().end == WireEnd::kStays;
    if (!joins) return pieces.push_back({frame});
    pieces.back().bytes.insert(pieces.back().bytes.end(), frame.begin(), frame.end());
}

} // namespace

bool WireFilter::Active::Strikes()
{
    if (left == 0U || dice.Share() >= probability) return false;
    if (left) --*left;
    return true;
}

void WireFilter::Set(const std::string& name, double probability, std::uint64_t count, Fault fault)
{
    Remove(name);
    active_.push_back({name, probability,
                       count == 0 ? std::nullopt : std::optional<std::uint64_t>(count),
                       std::move(fault), Dice(SeedOf(seed_, name))});
}

void WireFilter::Remove(const std::string& name)
{
    std::erase_if(active_, [&name](const Active& active) { return active.name == name; });
}

std::vector<WirePiece> WireFilter::Pass(Bytes answers)
{
    std::vector<WirePiece> pieces;
    if (active_.empty()) {
        pieces.push_back({std::move(answers)});
        return pieces;
    }
    std::span<const std::uint8_t> rest(answers);
    while (!rest.empty()) {
        const auto length =
            static_cast<std::size_t>(rest[kFrameLengthAt] << 8U | rest[kFrameLengthAt + 1]);
        PassFrame(rest.first(kFrameHeaderSize + length), pieces);
        rest = rest.subspan(kFrameHeaderSize + length);
    }
    return pieces;
}

void WireFilter::PassFrame(std::span<const std::uint8_t> frame, std::vector<WirePiece>& pieces)
{
    Passage passage{Bytes(frame.begin(), frame.end())};
    bool struck = false;
    for (Active& active : active_) {
        if (!active.fault.onAnswer || !active.Strikes()) continue;
        active.fault.onAnswer(passage, active.dice);
        struck = true;
    }
    if (struck) {
        AppendPieces(passage, pieces);
    } else {
        Join(pieces, passage.frame);
    }
}

bool WireFilter::RefusesConnection()
{
    return std::ranges::any_of(
        active_, [](Active& active) { return active.fault.refuses && active.Strikes(); });
}

Pace WireFilter::NextPace(std::size_t size)
{
    Pace pace{size};
    for (Active& active : active_) {
        if (active.fault.onRead && active.Strikes()) active.fault.onRead(pace);
    }
    return pace;
}

} // namespace lumosim
