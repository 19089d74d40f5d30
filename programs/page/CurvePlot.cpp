#include "programs/page/CurvePlot.h"

#include "programs/base/Report.h"

namespace platen_tool {

namespace {

// The plot area: two units for each level, with room for the scales on the left and below.
constexpr int kUnit = 2;
constexpr int kLeft = 56;
constexpr int kTop = 32;
constexpr int kSide = 255 * kUnit;
constexpr int kTextLine = 20;
constexpr std::size_t kTextWidth = 76;  // characters that fit below the plot

std::string Number(int value) {
    return std::to_string(value);
}

int PlotX(int level) {
    return kLeft + level * kUnit;
}

int PlotY(int level) {
    return kTop + kSide - level * kUnit;
}

std::string Line(int x1, int y1, int x2, int y2, const char* style) {
    return "<line x1=\"" + Number(x1) + "\" y1=\"" + Number(y1) + "\" x2=\"" + Number(x2) + "\" y2=\"" +
           Number(y2) + "\" class=\"" + style + "\"/>\n";
}

std::string Text(int x, int y, const char* anchor, const std::string& text) {
    return "<text x=\"" + Number(x) + "\" y=\"" + Number(y) + "\" text-anchor=\"" + anchor + "\">" + text +
           "</text>\n";
}

std::string Axes() {
    std::string svg = "<rect x=\"" + Number(kLeft) + "\" y=\"" + Number(kTop) + "\" width=\"" + Number(kSide) +
                      "\" height=\"" + Number(kSide) + "\" class=\"frame\"/>\n";
    for (const int level : {0, 32, 64, 96, 128, 160, 192, 224, 255}) {
        if (level != 0 && level != 255) {
            svg += Line(PlotX(level), PlotY(0), PlotX(level), PlotY(255), "grid");
            svg += Line(PlotX(0), PlotY(level), PlotX(255), PlotY(level), "grid");
        }
        svg += Text(PlotX(level), PlotY(0) + 18, "middle", Number(level));
        svg += Text(PlotX(0) - 8, PlotY(level) + 4, "end", Number(level));
    }
    const int middle = kTop + kSide / 2;
    svg += Text(kLeft + kSide / 2, PlotY(0) + 38, "middle", "input level");
    svg += "<text x=\"14\" y=\"" + Number(middle) + "\" text-anchor=\"middle\" transform=\"rotate(-90 14 " +
           Number(middle) + ")\">output level</text>\n";
    return svg + Line(PlotX(0), PlotY(0), PlotX(255), PlotY(255), "identity");
}

std::string Curve(const ToneTable& table, const char* style) {
    std::string svg = std::string("<polyline class=\"curve ") + style + "\" points=\"";
    for (int level = 0; level < 256; ++level) {
        svg += (level == 0        ? ""
                : level % 16 == 0 ? "\n"
                                  : " ") +
               Number(PlotX(level)) + "," + Number(PlotY(table[static_cast<std::size_t>(level)]));
    }
    return svg + "\"/>\n";
}

// The three curves overlap where they agree: wider ones first, so that each stays visible.
std::string Curves(const ToneTables& tables) {
    if (tables.red == tables.green && tables.red == tables.blue) {
        return Curve(tables.red, "all");
    }
    return Curve(tables.red, "red") + Curve(tables.green, "green") + Curve(tables.blue, "blue");
}

std::string LegendEntry(int x, const char* style, const char* name) {
    const int y = kTop - 14;
    return Line(x, y, x + 24, y, (std::string("key ") + style).c_str()) + Text(x + 30, y + 4, "start", name);
}

std::string Legend(const ToneTables& tables) {
    if (tables.red == tables.green && tables.red == tables.blue) {
        return LegendEntry(kLeft, "all", "red, green and blue");
    }
    return LegendEntry(kLeft, "red", "red") + LegendEntry(kLeft + 90, "green", "green") +
           LegendEntry(kLeft + 190, "blue", "blue");
}

// One line of text a step, long ones broken between words.
std::vector<std::string> SettingLines(std::span<const ToneStep> steps) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        std::string rest = std::to_string(i + 1) + ". " + StepText(steps[i]);
        while (rest.size() > kTextWidth) {
            const std::size_t space = rest.rfind(' ', kTextWidth);
            lines.push_back(rest.substr(0, space));
            rest.replace(0, space + 1, "    ");
        }
        lines.push_back(rest);
    }
    if (lines.empty()) {
        lines.emplace_back("no tone step: the identity");
    }
    return lines;
}

constexpr const char* kStyle =
    "<style>\n"
    "text { font: 12px sans-serif; fill: #222; white-space: pre; }\n"
    ".frame { fill: none; stroke: #222; }\n"
    ".grid { stroke: #ddd; }\n"
    ".identity { stroke: #999; stroke-dasharray: 4 4; }\n"
    ".curve { fill: none; stroke-linejoin: round; }\n"
    ".all { stroke: #222; stroke-width: 2; }\n"
    ".red { stroke: #d62728; stroke-width: 4.4; }\n"
    ".green { stroke: #2a9d3a; stroke-width: 2.8; }\n"
    ".blue { stroke: #1f5fd0; stroke-width: 1.4; }\n"
    "</style>\n";

}  // namespace

std::string CurveSvg(const ToneTables& tables, std::span<const ToneStep> steps) {
    const std::vector<std::string> lines = SettingLines(steps);
    const int textTop = PlotY(0) + 64;
    const int height = textTop + static_cast<int>(lines.size()) * kTextLine;
    const int width = kLeft + kSide + 24;
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + Number(width) + "\" height=\"" +
                      Number(height) + "\" viewBox=\"0 0 " + Number(width) + " " + Number(height) + "\">\n" +
                      kStyle + "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    svg += Axes() + Curves(tables) + Legend(tables);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        svg += Text(kLeft, textTop + static_cast<int>(i) * kTextLine, "start", lines[i]);
    }
    return svg + "</svg>\n";
}

void WriteCurvePlot(const std::string& path, std::span<const ToneStep> steps, FileOptions options) {
    constexpr int kColourDepth = 24;
    const std::string svg = CurveSvg(FoldToneSteps(steps, kColourDepth), steps);
    OutputFile file(path, options);
    file.Write(svg.data(), svg.size());
    file.CheckWriteError();
    file.Commit();
}

}  // namespace platen_tool
