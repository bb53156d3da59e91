// Interpolation maps and the paths that run on them.
#pragma once

#include "../family.h"
#include "path.h"

#include <array>
#include <memory>
#include <vector>

namespace lumosim {

class Controller;

class Paths : public Family
{
  public:
    static constexpr std::size_t kMaps = 16;
    // Sections that can wait behind the running one of each map.
    static constexpr std::size_t kPreRegisters = 32;

    explicit Paths(Controller& controller);

    void AddCommands(CommandTable& table) override;
    void AddRegisters(RegisterMap& map) override;
    void Describe(nlohmann::json& snapshot) const override;
    [[nodiscard]] Nanoseconds NextEvent() const override;
    void AdvanceTo(Nanoseconds now) override;
    void PowerUp() override;
    // Each map has the pre-register of its number.
    [[nodiscard]] std::size_t PreRegistered(Word number) const override;

    // Stops all axes of a map: those on its path on the path, others by themselves. What waits
    // behind the path is dropped.
    Result StopMap(std::size_t map, StopMode mode);

  private:
    struct Map
    {
        std::vector<Word> axes;
        Path path;
    };
    struct Target; // of a command: its map and where on it the section begins
    struct LineFields;
    struct ArcFields;

    void AddSections(CommandTable& table);
    Result SetMap(Word number, const std::vector<Word>& axes, Result verdict);
    Result Line(const LineFields& line, const std::vector<Entry<LineFields>>& points);
    Result ArcOrHelix(const ArcFields& fields, bool helix);
    void ShowMaps(std::span<Word> out) const;

    [[nodiscard]] Word Remaining(const Map& map) const;
    Result FindTarget(Word number, std::size_t axes, Target& target);
    static Result MakeArc(const Target& target, const ArcFields& fields, Arc& arc, PathPoint& to);
    static Result Start(const Target& target, const PathSection& section);

    Controller& controller_;
    std::vector<Map> maps_;
    Word usePreRegisters_ = 0;
};

} // namespace lumosim
