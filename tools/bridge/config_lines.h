// Where in a file a place of its JSON stands.
#pragma once

#include <map>
#include <string>

namespace zelq::bridge {

/// Lines by JSON pointer, such as "/controllers/3/address".
class ConfigLines
{
  public:
    explicit ConfigLines(const std::string& text);

    /// Of the place, or of the nearest one around it that is known.
    [[nodiscard]] int Of(std::string place) const;

  private:
    std::map<std::string, int> lines_;
};

} // namespace zelq::bridge
