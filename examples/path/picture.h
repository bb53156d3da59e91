#pragma once

#include "path/figure.h"

#include <string>
#include <vector>

namespace example {

/// What the axes did at one moment.
struct PathSample
{
    Place at;
    double speed = 0; ///< millimetres per second
    double way = 0;   ///< gone along the path until now
};

/// What the picture says beside what it shows.
struct PictureText
{
    std::string title;
    std::string subtitle;
};

/// An SVG: the commanded path with the sampled places on it, the same in space, and below them the
/// speed along the path.
std::string DrawPicture(const Figure& figure, const std::vector<PathSample>& samples,
                        const PictureText& text);

} // namespace example
