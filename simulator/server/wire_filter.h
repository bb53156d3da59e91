// What befalls the controller's answers between it and its hosts.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace lumosim {

// Draws for one fault: the same seed gives the same line on every system.
class Dice
{
  public:
    explicit Dice(std::uint64_t seed) : engine_(seed) {}

    // 0 up to, and without, 1.
    double Share() { return static_cast<double>(engine_() >> 11U) * 0x1p-53; }
    std::size_t Below(std::size_t count)
    {
        return static_cast<std::size_t>(Share() * static_cast<double>(count));
    }

  private:
    std::mt19937_64 engine_;
};

// What becomes of the connection behind a piece.
enum class WireEnd { kStays, kCloses, kResets, kHangs };

// Bytes that are sent in one go.
struct WirePiece
{
    std::vector<std::uint8_t> bytes;
    std::chrono::microseconds wait{0}; // ahead of them, behind the piece before
    bool overtaken = false;            // what comes behind them does not wait for them
    WireEnd end = WireEnd::kStays;
};

// One answer on its way. A fault changes what it is about.
struct Passage
{
    std::vector<std::uint8_t> frame;
    std::chrono::microseconds wait{0};
    bool overtaken = false;
    int copies = 1;
    std::size_t pieceSize = 0; // 0: in one piece
    std::chrono::microseconds betweenPieces{0};
    WireEnd end = WireEnd::kStays;
};

// How a request is read.
struct Pace
{
    std::size_t size; // bytes at once
    std::chrono::microseconds pause{0};
};

// Used by one thread at a time, as the controller is.
class WireFilter
{
  public:
    // What a fault does; it leaves alone what is none of its business.
    struct Fault
    {
        std::function<void(Passage&, Dice&)> onAnswer;
        std::function<void(Pace&)> onRead;
        bool refuses = false; // new connections
    };

    explicit WireFilter(std::uint64_t seed = 1) : seed_(seed) {}

    // It strikes with this probability, `count` times at the most; 0: for ever.
    void Set(const std::string& name, double probability, std::uint64_t count, Fault fault);
    void Remove(const std::string& name);

    // `answers` are whole frames.
    [[nodiscard]] std::vector<WirePiece> Pass(std::vector<std::uint8_t> answers);
    [[nodiscard]] bool RefusesConnection();
    [[nodiscard]] Pace NextPace(std::size_t size);

  private:
    struct Active
    {
        std::string name;
        double probability;
        std::optional<std::uint64_t> left;
        Fault fault;
        Dice dice;

        bool Strikes();
    };

    void PassFrame(std::span<const std::uint8_t> frame, std::vector<WirePiece>& pieces);

    std::uint64_t seed_;
    std::vector<Active> active_; // in the order in which they were set
};

} // namespace lumosim
