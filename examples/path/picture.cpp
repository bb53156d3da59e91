#include "path/picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>

namespace example {

namespace {

constexpr double kWidth = 1000;
constexpr double kHeight = 780;
constexpr const char* kInk = "#1f2933";
constexpr const char* kFaint = "#8793a1";
constexpr const char* kGrid = "#e3e8ee";

struct Pixel
{
    double x;
    double y;
};

using Projection = std::function<Pixel(Place)>;

/// Text of the picture, put together piece by piece; numbers have one decimal.
class Svg
{
  public:
    template <typename... Parts>
    void Put(const Parts&... parts)
    {
        (Append(parts), ...);
    }

    void Label(Pixel at, const char* anchor, const char* style, const std::string& text)
    {
        Put("<text x='", at.x, "' y='", at.y, "' text-anchor='", anchor, "' ", style, ">", text,
            "</text>\n");
    }

    [[nodiscard]] const std::string& Text() const { return text_; }

  private:
    void Append(const std::string& text) { text_ += text; }

    void Append(double value)
    {
        std::array<char, 32> digits{};
        std::snprintf(digits.data(), digits.size(), "%.1f", value);
        std::string text = digits.data();
        if (text.ends_with(".0")) text.resize(text.size() - 2);
        text_ += text;
    }

    std::string text_;
};

constexpr const char* kSmall = "font-size='12' fill='#5b6875'";
constexpr const char* kPanel = "font-size='14' font-weight='600' fill='#1f2933'";

/// Slow is violet, then blue, green and gold.
std::string SpeedColor(double part)
{
    constexpr std::array<std::array<double, 3>, 5> kStops = {
        {{94, 38, 128}, {52, 94, 168}, {20, 145, 145}, {106, 176, 76}, {240, 160, 20}}};
    const double place = std::clamp(part, 0.0, 1.0) * (kStops.size() - 1);
    const auto stop = std::min(static_cast<std::size_t>(place), kStops.size() - 2);
    const double rest = place - static_cast<double>(stop);
    std::array<int, 3> rgb{};
    for (std::size_t i = 0; i < rgb.size(); ++i) {
        rgb[i] = static_cast<int>(std::lerp(kStops[stop][i], kStops[stop + 1][i], rest));
    }
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "#%02x%02x%02x", rgb[0] & 0xFF, rgb[1] & 0xFF,
                  rgb[2] & 0xFF);
    return text.data();
}

const char* KindColor(Kind kind)
{
    switch (kind) {
    case Kind::kLine:
        return "#4a7fc1";
    case Kind::kArc:
        return "#3aa17e";
    case Kind::kHelix:
        return "#e0883a";
    default:
        return "#c3cbd4";
    }
}

class Picture
{
  public:
    Picture(const Figure& figure, const std::vector<PathSample>& samples)
        : figure_(figure), samples_(samples), length_(figure.Length())
    {
        for (const Segment& segment : figure.Segments()) {
            topSpeed_ = std::max(topSpeed_, segment.speed);
        }
        topSpeed_ *= 1.05;
    }

    std::string Draw(const PictureText& text)
    {
        svg_.Put("<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 ", kWidth, " ", kHeight,
                 "' font-family='Helvetica, Arial, sans-serif'>\n");
        DefineSpeedColors();
        svg_.Put("<rect width='", kWidth, "' height='", kHeight, "' rx='10' fill='#fff'/>\n");
        svg_.Label({40, 42}, "start", "font-size='21' font-weight='600' fill='#1f2933'",
                   text.title);
        svg_.Label({40, 64}, "start", "font-size='13' fill='#5b6875'", text.subtitle);
        DrawPlan();
        DrawInSpace();
        DrawLegend();
        DrawSpeed();
        svg_.Put("</svg>\n");
        return svg_.Text();
    }

  private:
    static constexpr double kChartLeft = 70;
    static constexpr double kChartRight = 970;
    static constexpr double kChartTop = 585;
    static constexpr double kChartBottom = 715;

    [[nodiscard]] double ChartX(double way) const
    {
        return kChartLeft + way / length_ * (kChartRight - kChartLeft);
    }
    [[nodiscard]] double ChartY(double speed) const
    {
        return kChartBottom - speed / topSpeed_ * (kChartBottom - kChartTop);
    }

    /// The chart's line takes its colour from the height it stands at.
    void DefineSpeedColors()
    {
        svg_.Put(
            "<defs><linearGradient id='speed' gradientUnits='userSpaceOnUse' x1='0' x2='0' y1='",
            kChartBottom, "' y2='", kChartTop, "'>");
        for (int i = 0; i <= 10; ++i) {
            svg_.Put("<stop offset='", i / 10.0, "' stop-color='", SpeedColor(i / 10.0), "'/>");
        }
        svg_.Put("</linearGradient></defs>\n");
    }

    /// The plate: inside the outline, but not inside the bore, around which the path runs an odd
    /// number of times.
    void DrawPlate(const Projection& project)
    {
        svg_.Put("<path fill='#eef2f7' fill-rule='evenodd' d='");
        PutPath(project, false);
        svg_.Put("'/>\n");
    }

    void DrawCommanded(const Projection& project, bool travel, double width)
    {
        svg_.Put("<path fill='none' stroke='", travel ? kFaint : kInk, "' stroke-width='", width,
                 "' ", travel ? "stroke-dasharray='2 4'" : "", " d='");
        PutPath(project, travel);
        svg_.Put("'/>\n");
    }

    void PutPath(const Projection& project, bool travel)
    {
        bool joined = false;
        for (const Segment& segment : figure_.Segments()) {
            if ((segment.kind == Kind::kTravel) != travel) {
                joined = false;
                continue;
            }
            const bool straight = segment.form == Form::kLine;
            const int pieces = straight ? 1 : static_cast<int>(std::abs(segment.degrees) / 5) + 1;
            for (int i = joined ? 1 : 0; i <= pieces; ++i) {
                const Pixel at = project(segment.At(static_cast<double>(i) / pieces));
                svg_.Put(i == 0 ? "M" : "L", at.x, " ", at.y);
            }
            joined = true;
        }
    }

    /// Dots no closer than `spacing` millimetres, one path for each shade of colour.
    void DrawSamples(const Projection& project, double spacing, double size)
    {
        constexpr std::size_t kShades = 16;
        std::array<Svg, kShades> shades;
        double last = -spacing;
        for (const PathSample& sample : samples_) {
            if (sample.way - last < spacing) continue;
            last = sample.way;
            const double part = std::clamp(sample.speed / topSpeed_, 0.0, 1.0);
            const auto shade = static_cast<std::size_t>(part * (kShades - 1) + 0.5);
            const Pixel at = project(sample.at);
            shades[shade].Put("M", at.x, " ", at.y, "h0");
        }
        svg_.Put("<g fill='none' stroke-width='", size, "' stroke-linecap='round'>\n");
        for (std::size_t i = 0; i < kShades; ++i) {
            if (shades[i].Text().empty()) continue;
            svg_.Put("<path stroke='", SpeedColor(static_cast<double>(i) / (kShades - 1)), "' d='");
            svg_.Put(shades[i].Text());
            svg_.Put("'/>\n");
        }
        svg_.Put("</g>\n");
    }

    void DrawPlan()
    {
        constexpr double kScale = 5.2;
        const Projection project = [](Place p) {
            return Pixel{82 + p.x * kScale, 492 - p.y * kScale};
        };
        DrawPlate(project);
        for (int x = 0; x <= 120; x += 20) {
            const Pixel at = project({static_cast<double>(x), 0, 0});
            svg_.Put("<path stroke='", kGrid, "' d='M", at.x, " 100V505'/>");
            svg_.Label({at.x, 522}, "middle", kSmall, std::to_string(x) + (x == 120 ? " mm" : ""));
        }
        for (int y = 0; y <= 60; y += 20) {
            const Pixel at = project({0, static_cast<double>(y), 0});
            svg_.Put("<path stroke='", kGrid, "' d='M70 ", at.y, "H712'/>");
            svg_.Label({62, at.y + 4}, "end", kSmall, std::to_string(y));
        }
        DrawCommanded(project, true, 1);
        DrawSamples(project, 1.6, 4.2);
        DrawCommanded(project, false, 1);
    }

    void DrawInSpace()
    {
        svg_.Label({748, 108}, "start", kPanel, "In space, heights × 4");
        const Projection project = [](Place p) {
            return Pixel{843 + (p.x - p.y) * 1.25, 268 - (p.x + p.y) * 0.5 - p.z * 5};
        };
        DrawCommanded(project, true, 0.7);
        DrawSamples(project, 2.4, 2.4);
        DrawCommanded(project, false, 0.6);
    }

    void DrawLegend()
    {
        constexpr double kLeft = 752;
        double y = 378;
        const auto text = [&](const char* line) {
            svg_.Label({kLeft + 44, y + 4}, "start", kSmall, line);
            y += 23;
        };
        svg_.Put("<path stroke='", kInk, "' d='M", kLeft, " ", y, "h32'/>");
        text("commanded path");
        svg_.Put("<path stroke='", kFaint, "' stroke-dasharray='2 4' d='M", kLeft, " ", y,
                 "h32'/>");
        text("tool lifted");
        for (int i = 0; i < 5; ++i) {
            svg_.Put("<circle cx='", kLeft + 3 + i * 6.5, "' cy='", y, "' r='2.6' fill='",
                     SpeedColor(i / 4.0), "'/>");
        }
        text("sampled, slow to fast");
        for (const auto& [kind, name] :
             {std::pair{Kind::kLine, "lines"}, std::pair{Kind::kArc, "arcs"},
              std::pair{Kind::kHelix, "helix"}}) {
            svg_.Put("<rect x='", kLeft, "' y='", y - 4, "' width='32' height='8' fill='",
                     KindColor(kind), "'/>");
            text(name);
        }
    }

    void DrawChartFrame()
    {
        svg_.Label({kChartLeft, kChartTop - 20}, "start", kPanel, "Speed along the path, mm/s");
        for (int speed = 0; speed <= topSpeed_; speed += 50) {
            const double y = ChartY(speed);
            svg_.Put("<path stroke='", kGrid, "' d='M", kChartLeft, " ", y, "H", kChartRight,
                     "'/>");
            svg_.Label({kChartLeft - 8, y + 4}, "end", kSmall, std::to_string(speed));
        }
        svg_.Label({kChartRight, kChartTop - 20}, "end", kSmall, "dotted: as commanded");
        for (int way = 0; way <= length_; way += 100) {
            svg_.Label({ChartX(way), kChartBottom + 32}, "middle", kSmall,
                       std::to_string(way) + (way == 0 ? " mm" : ""));
        }
    }

    void DrawSpeed()
    {
        DrawChartFrame();
        double way = 0;
        for (const Segment& segment : figure_.Segments()) {
            const double left = ChartX(way);
            way += segment.Length();
            svg_.Put("<rect x='", left, "' y='", kChartBottom + 6, "' width='", ChartX(way) - left,
                     "' height='8' fill='", KindColor(segment.kind), "'/>");
        }
        svg_.Put("\n<path fill='none' stroke='#9aa5b1' stroke-dasharray='1 3' d='M");
        way = 0;
        for (const Segment& segment : figure_.Segments()) {
            svg_.Put(ChartX(way), " ", ChartY(segment.speed));
            way += segment.Length();
            svg_.Put("H", ChartX(way), "L");
        }
        svg_.Put(ChartX(way), " ", ChartY(0), "'/>\n");
        svg_.Put("<path fill='none' stroke='url(#speed)' stroke-width='1.8' "
                 "stroke-linejoin='round' d='M",
                 ChartX(0), " ", ChartY(0));
        Pixel last{0, 0};
        for (const PathSample& sample : samples_) {
            const Pixel at = {ChartX(sample.way), ChartY(sample.speed)};
            if (std::hypot(at.x - last.x, at.y - last.y) < 0.8) continue;
            svg_.Put("L", at.x, " ", at.y);
            last = at;
        }
        svg_.Put("'/>\n");
    }

    const Figure& figure_;
    const std::vector<PathSample>& samples_;
    double length_;
    double topSpeed_ = 0;
    Svg svg_;
};

} // namespace

std::string DrawPicture(const Figure& figure, const std::vector<PathSample>& samples,
                        const PictureText& text)
{
    return Picture(figure, samples).Draw(text);
}

} // namespace example
