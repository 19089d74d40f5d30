#include "demo/Page.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

#include "demo/Noise.h"
#include "demo/Texts.h"

namespace platen_demo {
namespace {

// Places on the page, in pixels. The page lies a little askew on the glass, so these are the page's own
// coordinates (u, v), which differ from the scan's.
constexpr double kLeft = 250;
constexpr double kRight = 2250;
constexpr double kColumn = 966;
constexpr double kSecondColumn = kRight - kColumn;
constexpr double kPhotoTop = 1446;
constexpr double kPhotoHeight = 720;
constexpr double kTargetTop = 2800;
constexpr double kRampHeight = 130;
constexpr int kRampSteps = 16;
constexpr double kPatchTop = kTargetTop + 205;
constexpr double kPatchSide = 122;
constexpr int kPatches = 8;

constexpr Colour kPaper{0.945, 0.905, 0.815};
constexpr Colour kInk{0.13, 0.115, 0.11};

constexpr Colour kPatchColours[2][kPatches] = {
    {{0.05, 0.53, 0.72},
     {0.74, 0.16, 0.43},
     {0.93, 0.80, 0.12},
     {0.72, 0.15, 0.15},
     {0.16, 0.47, 0.24},
     {0.17, 0.21, 0.50},
     {0.87, 0.46, 0.13},
     {0.42, 0.22, 0.50}},
    {{0.42, 0.28, 0.21},
     {0.78, 0.58, 0.48},
     {0.86, 0.72, 0.62},
     {0.36, 0.44, 0.22},
     {0.40, 0.52, 0.67},
     {0.40, 0.70, 0.63},
     {0.63, 0.68, 0.22},
     {0.86, 0.63, 0.20}},
};

bool Inside(double v, double low, double size) {
    return v >= low && v < low + size;
}

// The ink that the presses put on the paper, where it isn't type.
struct Patch {
    bool hit = false;
    Colour colour;
};

Patch PhotoAt(double u, double v) {
    if (!Inside(u, kLeft, kColumn) || !Inside(v, kPhotoTop, kPhotoHeight)) {
        return {};
    }
    return {true, Landscape((u - kLeft) / kPhotoHeight, (v - kPhotoTop) / kPhotoHeight)};
}

Patch TargetAt(double u, double v) {
    if (Inside(v, kTargetTop, kRampHeight) && Inside(u, kLeft, kRight - kLeft)) {
        const int step = static_cast<int>((u - kLeft) / (kRight - kLeft) * kRampSteps);
        const double level = 0.06 + 0.88 * step / (kRampSteps - 1);
        return {true, {level, level, level}};
    }
    const int row = static_cast<int>(std::floor((v - kPatchTop) / kPatchSide));
    const int column = static_cast<int>(std::floor((u - kLeft) / kPatchSide));
    if (row >= 0 && row < 2 && column >= 0 && column < kPatches) {
        const double inU = u - kLeft - column * kPatchSide;
        const double inV = v - kPatchTop - row * kPatchSide;
        if (inU < kPatchSide - 8 && inV < kPatchSide - 8) {
            return {true, kPatchColours[row][column]};
        }
    }
    // A smooth ramp through the hues, pale at the top and full at the bottom.
    constexpr double kHueLeft = kLeft + kPatches * kPatchSide + 20;
    constexpr double kHueWidth = 600;
    if (Inside(u, kHueLeft, kHueWidth) && Inside(v, kPatchTop, 2 * kPatchSide - 8)) {
        const double hue = (u - kHueLeft) / kHueWidth * 6;
        const double depth = (v - kPatchTop) / (2 * kPatchSide - 8);
        const auto channel = [&](double offset) {
            const double h = std::fmod(hue + offset, 6.0);
            const double pure = Clamp01(std::fabs(h - 3) - 1);
            return Mix(0.93, 0.12 + 0.76 * pure, depth);
        };
        return {true, {channel(0), channel(4), channel(2)}};
    }
    return {};
}

// Wedges that close in on the centre, for judging sharpness.
void DrawStar(Ink& ink, double x, double y, double radius) {
    constexpr int kWedges = 36;
    for (int row = static_cast<int>(-radius); row <= radius; ++row) {
        for (int column = static_cast<int>(-radius); column <= radius; ++column) {
            const double r = std::hypot(column, row);
            if (r > radius || r < 8) {
                continue;
            }
            const double turns = std::atan2(row, column) / (2 * 3.14159265358979) * kWedges;
            const double wave = std::fabs(turns - std::floor(turns) - 0.5) - 0.25;
            const double edge = wave * 2 * 3.14159265358979 * r / kWedges;
            if (edge > -0.5) {
                ink.Rectangle(x + column, y + row, x + column + 1, y + row + Clamp01(edge + 0.5));
            }
        }
    }
}

// Dust on the glass and a hair; how much darker (or lighter, below 0) the scan is there.
double Dust(int x, int y) {
    constexpr int kCell = 310;
    double dark = 0;
    const int cellX = x / kCell;
    const int cellY = y / kCell;
    for (int i = 0; i < 2; ++i) {
        const double centreX = (cellX + 0.1 + 0.8 * Random(cellX, cellY, 601u + static_cast<unsigned>(i))) * kCell;
        const double centreY = (cellY + 0.1 + 0.8 * Random(cellX, cellY, 611u + static_cast<unsigned>(i))) * kCell;
        const double kind = Random(cellX, cellY, 621u + static_cast<unsigned>(i));
        const double radius = 0.6 + 3.2 * kind * kind * kind * kind;
        const double off = std::hypot(x - centreX, (y - centreY) * (0.7 + kind * 0.6));
        dark += (kind < 0.12 ? -0.18 : 0.45) * SmoothStep(radius + 1.1, radius - 0.3, off);
    }
    const double t = (y - 2340) / 150.0;
    if (t > 0 && t < 1) {
        const double hair = 2080 + 60 * t * t - 36 * std::sin(t * 4.2);
        dark += 0.34 * SmoothStep(2.2, 0.5, std::fabs(x - hair));
    }
    return dark;
}

}  // namespace

Page::Page() : front_(kWidth, kHeight), back_(kWidth, kHeight) {
    SetFront();
    SetBack();
}

void Page::SetFront() {
    const Type small{34, 0.95, 0, 0};
    const Type caps{30, 1.0, 0, 6.5};
    const Type italic{37, 0.9, 0.2, -0.6};
    const Type body{43, 0.95, 0, -0.9};

    front_.Text(kLeft, 232, "48", small);
    front_.TextCentred((kLeft + kRight) / 2, 230, "PAPER AND LIGHT", caps);
    front_.Text(kRight - front_.TextWidth("Spring", Type{34, 0.9, 0.2, 0}), 232, "Spring", Type{34, 0.9, 0.2, 0});
    front_.Rectangle(kLeft, 262, kRight, 264.5);

    front_.Text(kLeft - 6, 462, "The page between", Type{196, 1.0, 0, -2});
    front_.Text(kLeft - 6, 652, "glass and lamp", Type{196, 1.0, 0, -2});
    front_.Paragraph(kLeft, 752, kRight - kLeft, 66, kSummary, Type{51, 0.9, 0.2, -0.8});
    front_.Rectangle(kLeft, 868, kRight, 870);

    // Left column: a drop capital, text, and the picture with its caption.
    front_.Text(kLeft - 8, 1064, "A", Type{218, 1.05, 0, 0});
    double y = front_.Paragraph(kLeft, 946, kColumn, 58, kLeft1, body, 3, 152);
    front_.Paragraph(kLeft, y, kColumn, 58, kLeft2, body, 1, 44);
    front_.Paragraph(kLeft, kPhotoTop + kPhotoHeight + 52, kColumn, 46, kCaption, italic);
    y = kPhotoTop + kPhotoHeight + 52 + 2 * 46 + 36;
    front_.Paragraph(kLeft, y, kColumn, 58, kLeft3, body);

    // Right column.
    y = front_.Paragraph(kSecondColumn, 946, kColumn, 58, kRight1, body);
    y = front_.Paragraph(kSecondColumn, y, kColumn, 58, kRight2, body, 1, 44);
    front_.Text(kSecondColumn, y + 62, "What the lamp adds", Type{62, 1.2, 0, 0});
    y = front_.Paragraph(kSecondColumn, y + 138, kColumn, 58, kRight3, body);
    y = front_.Paragraph(kSecondColumn, y, kColumn, 58, kRight4, body, 1, 44);
    front_.Paragraph(kSecondColumn, y, kColumn, 58, kRight5, body, 1, 44);

    // The test strip at the foot.
    front_.Text(kLeft, kTargetTop - 24, "GREY SCALE, SIXTEEN STEPS", Type{26, 1.0, 0, 4});
    for (int i = 0; i < kRampSteps; ++i) {
        front_.TextCentred(kLeft + (i + 0.5) * (kRight - kLeft) / kRampSteps, kTargetTop + kRampHeight + 36,
                           std::to_string(i), Type{27, 1.0, 0, 0});
    }
    front_.Rectangle(kLeft, kTargetTop - 3, kRight, kTargetTop);
    front_.Rectangle(kLeft, kTargetTop + kRampHeight, kRight, kTargetTop + kRampHeight + 3);
    DrawStar(front_, kRight - 158, kPatchTop + 117, 117);
    for (int size = 0; size < 5; ++size) {
        const double points = 16 + 5.0 * size;
        front_.Text(kLeft + size * 400, kPatchTop + 2 * kPatchSide + 48, "Hamburgefonstiv",
                    Type{points, 1.0, 0, 0});
    }
}

void Page::SetBack() {
    Ink back(kWidth, kHeight);
    const Type body{43, 0.95, 0, -0.9};
    back.Rectangle(kLeft, 262, kRight, 264.5);
    double y = 360;
    for (int block = 0; block < 6; ++block) {
        const double next = back.Paragraph(kLeft, y, kColumn, 58, kRight1, body);
        back.Paragraph(kSecondColumn, y, kColumn, 58, block % 2 == 0 ? kLeft1 : kRight3, body);
        y = next + 58;
    }
    back.Blur(4);
    back_ = back;
}

Colour Page::Printed(double u, double v) const {
    Patch area = PhotoAt(u, v);
    if (!area.hit) {
        area = TargetAt(u, v);
    }
    const double shine = area.hit ? 0 : 0.075 * back_.At(kWidth - u, v);
    const double fibre =
        (Fractal(u / 7, v / 5, 3, 701) - 0.5) * 0.028 + (Fractal(u / 240, v / 300, 3, 711) - 0.5) * 0.05;
    const double age = SmoothStep(0.60, 0.80, Fractal(u / 330, v / 330, 4, 721)) * 0.035;
    Colour paper{kPaper.r + fibre - shine - age * 0.5, kPaper.g + fibre - shine * 1.02 - age,
                 kPaper.b + fibre - shine * 1.0 - age * 1.7};
    if (area.hit) {  // printing ink: the paper shines through, and black is not quite black
        paper = {paper.r * Mix(0.115, 1, area.colour.r), paper.g * Mix(0.11, 1, area.colour.g),
                 paper.b * Mix(0.11, 1, area.colour.b)};
    }
    const double blotch = 0.90 + 0.10 * Fractal(u / 3, v / 3, 2, 731);
    return Mix(paper, kInk, front_.At(u, v) * blotch);
}

// With the light's fall-off: a shadow towards the spine on the left, and less light towards the corners.
Colour Page::PageColour(double u, double v) const {
    const double spine = 0.34 * std::exp(-u / 70) + 0.12 * std::exp(-u / 330);
    const double corner = 0.08 * SmoothStep(0.55, 1.25, std::hypot((u - 1400) / 1400, (v - 1650) / 1750));
    const double light = 1 - spine - corner;
    const Colour c = Printed(u, v);
    return {c.r * light, c.g * (light - spine * 0.03), c.b * (light - spine * 0.08)};
}

void Page::Line(int y, std::uint8_t* line) const {
    constexpr double kAskew = 0.0042;  // about a quarter of a degree
    for (int x = 0; x < kWidth; ++x) {
        const double u = x + kAskew * (y - kHeight / 2.0);
        const double v = y - kAskew * (x - kWidth / 2.0) + 2;
        // The page ends before the glass does: beyond it lies the grey lid, with the page's shadow on it.
        const double outside = std::max({u - 2455, v - 3486, -6.0});
        Colour c = PageColour(u, v);
        if (outside > -0.5) {
            const double shadow = 0.30 * std::exp(-std::max(0.0, outside) / 5);
            const double lid = 0.83 - shadow;
            c = Mix(c, {lid, lid * 1.0, lid * 1.01}, Clamp01(outside + 0.5));
        }
        const double stripe = (Random(x, 0, 801) - 0.5) * 0.006;  // the sensor's cells differ a little
        const double dust = 1 - Dust(x, y);
        const double grain = Grain(x, y, 811) * 0.006;
        const double values[3] = {c.r, c.g, c.b};
        for (int channel = 0; channel < 3; ++channel) {
            const double own = Grain(x, y, 821u + static_cast<unsigned>(channel)) * 0.008;
            const double seen = Clamp01((values[channel] + stripe) * dust + grain + own);
            // A dull scanner: black comes out as dark grey and white as light grey.
            line[3 * x + channel] = static_cast<std::uint8_t>(34 + seen * 198 + 0.5);
        }
    }
}

}  // namespace platen_demo
