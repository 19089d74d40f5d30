#pragma once

#include <cstdint>

namespace platen_test {

// A second, independent writing of the HSV filter's pixel: another shape than the library's and no shared code, so
// that one mistake has to be made twice to pass. Channels are an array, sectors a table of roles.
//
// Deliberately plain, not fast: an oracle.
class HsvOracle {
  public:
    HsvOracle(int hue, int saturation, int lightness) : hue_(hue), saturation_(saturation) {
        for (int i = 0; i < 256; ++i) {
            table_[i] = TableEntry(i, lightness);
        }
    }

    int Entry(int i) const {
        return table_[i];
    }

    void Apply(const std::uint8_t* in, std::uint8_t* out) const {
        double c[3] = {double(in[0]), double(in[1]), double(in[2])};
        if (saturation_ != 0) {
            StageSaturation(c);
        }
        if (hue_ != 0) {
            StageHue(c);
        }
        for (int i = 0; i < 3; ++i) {
            double v = c[i];
            if (v < 0) {
                v = -v;
            }
            const int whole = int(v);
            out[i] = std::uint8_t(table_[whole > 255 ? 255 : whole]);
        }
    }

  private:
    static int TableEntry(int i, int lightness) {
        const double l = double(lightness);
        double v = double(i);
        if (lightness < 0) {
            const double factor = (255.0 - (-l) * 2.55) / 255;
            v = i * factor;
        } else if (lightness > 0) {
            const double factor = (255.0 - l * 2.55) / 255;
            v = i * factor;
            v = v + l * 2.55;
        }
        return v > 255 ? 255 : int(v);
    }

    static double Ramp(double p, double q, double h) {
        double t = h;
        if (h >= 6) {
            t = h - 6;
        } else if (h < 0) {
            t = h + 6;
        }
        double value = p;
        if (t < 1) {
            value = p + (q - p) * t;
        } else if (t < 3) {
            value = q;
        } else if (t < 4) {
            value = p + (q - p) * (4 - t);
        }
        return value;
    }

    void StageSaturation(double* c) const {
        double max = c[0];
        double min = c[0];
        for (int i = 1; i < 3; ++i) {
            max = c[i] > max ? c[i] : max;
            min = c[i] < min ? c[i] : min;
        }
        const double half = (max + min) / 2;
        const double l = half / 255;
        const bool dark = l < 0.5;
        const double d = max - min;
        double s = 0;
        double h = 0;
        if (d > 0) {
            const double light = 510 - max - min;
            s = d / (dark ? max + min : light);
            int top = 0;  // the first channel, red before green before blue, that is the largest
            while (c[top] != max) {
                ++top;
            }
            const double quotient = (c[(top + 1) % 3] - c[(top + 2) % 3]) / d;
            h = top == 0 ? quotient : quotient + 2 * top;
            if (h < 0) {
                h = h + 6;
            } else if (h >= 6) {
                h = h - 6;
            }
        }
        const double percent = double(saturation_) / 100;
        s = s * (1 + percent);
        s = s > 1 ? 1 : s;
        if (s == 0) {
            c[0] = c[1] = c[2] = std::uint16_t(l * 255);
            return;
        }
        double q = 0;
        if (dark) {
            q = l * (1 + s);
        } else {
            q = l + s;
            const double product = l * s;
            q = q - product;
        }
        const double p = 2 * l - q;
        for (int i = 0; i < 3; ++i) {
            c[i] = std::uint16_t(Ramp(p, q, h + (2 - 2 * i)) * 255);
        }
    }

    // Which channel is largest, which smallest and which moves in each sector.
    struct Roles {
        int max, min, moving;
    };
    static constexpr Roles kRoles[6] = {{0, 2, 1}, {1, 2, 0}, {1, 0, 2}, {2, 0, 1}, {2, 1, 0}, {0, 1, 2}};

    static int SectorOfColour(const double* c) {
        const double r = c[0], g = c[1], b = c[2];
        const bool conditions[6] = {
            r > g && r > b && g >= b, g >= r && g > b && r > b, g > r && g > b && b >= r,
            b > r && b >= g && g > r, b > r && b > g && r >= g, r > g && r >= b && b > g,
        };
        for (int sector = 0; sector < 6; ++sector) {
            if (conditions[sector]) {
                return sector;
            }
        }
        return -1;
    }

    void StageHue(double* c) const {
        const int now = SectorOfColour(c);
        if (now < 0) {
            return;
        }
        const double max = c[kRoles[now].max];
        const double min = c[kRoles[now].min];
        const double step = (max - min) / 60;
        // In even sectors the table of angles has mid - min, in odd ones it is written in reverse:
        // sector 1 is green minus red, that is max - mid.
        const double mid = c[kRoles[now].moving];
        const double run = now % 2 == 0 ? mid - min : max - mid;
        const int a = 60 * now + int(run / step);
        int n = a + hue_;
        n = n < 0 ? n + 360 : n;
        n = n > 360 ? n - 360 : n;
        const int after = n == 360 ? 5 : n / 60;
        const bool rising = after % 2 == 0;
        if (after == now) {
            const double shift = hue_ * step;
            c[kRoles[now].moving] = rising ? mid + shift : mid - shift;
            return;
        }
        const double shift = (n - 60 * after) * step;
        c[kRoles[after].max] = max;
        c[kRoles[after].min] = min;
        c[kRoles[after].moving] = rising ? min + shift : max - shift;
    }

    int hue_;
    int saturation_;
    int table_[256];
};

}  // namespace platen_test
