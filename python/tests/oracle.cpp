// What the Python package's results are compared with: the services as a C++ host calls them, on raw pixels.
//
//   oracle zoom SRCWIDTH SRCHEIGHT DSTWIDTH DSTHEIGHT BITS [ROUNDS]
//   oracle hsv SATURATION HUE LIGHTNESS WIDTH HEIGHT [ROUNDS]
//   oracle sharp LEVEL BITS WIDTH HEIGHT [ROUNDS]
//   oracle map WIDTH HEIGHT [ROUNDS]          768 table entries, then RGB pixels
//   oracle tone DEPTH {TYPE {KEY=VALUE}}      VALUE: 12 (32 bits), 1.5d (double), 64,80.5 (two floats)
//
// Pixels come from standard input and go to standard output. With ROUNDS the work is done so often, and each
// round's seconds go to standard error.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "LineFilters/Hsv.h"
#include "LineFilters/Sharpness.h"
#include "Sources/PX_Zoom/PX_Zoom.h"
#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/ColorBalance.h"
#include "ToneWorld/Curves.h"
#include "ToneWorld/Level.h"
#include "ToneWorld/ToneWorld.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

void Must(bool good, const char* what) {
    if (!good) {
        std::fprintf(stderr, "oracle: %s\n", what);
        std::exit(1);
    }
}

Bytes Input(std::size_t bytes) {
    Bytes data(bytes);
    Must(std::fread(data.data(), 1, bytes, stdin) == bytes, "too little input");
    return data;
}

void Output(const Bytes& data) {
    Must(std::fwrite(data.data(), 1, data.size(), stdout) == data.size(), "output");
}

class Words {
  public:
    Words(int count, char** words) : words_(words + 1, words + count) {}
    bool Any() const {
        return next_ < words_.size();
    }
    const std::string& Text() {
        Must(Any(), "too few arguments");
        return words_[next_++];
    }
    int Number() {
        return std::stoi(Text());
    }
    const std::string& Peek() const {
        return words_[next_];
    }

  private:
    std::vector<std::string> words_;
    std::size_t next_ = 0;
};

void Repeat(Words& words, const std::function<void()>& work) {
    const int rounds = words.Any() ? words.Number() : 0;
    if (rounds == 0) {
        work();
    }
    for (int i = 0; i < rounds; ++i) {
        const auto begun = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begun;
        std::fprintf(stderr, "%.9f\n", took.count());
    }
}

std::size_t RowBytes(int width, int bits) {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bits) + 7) / 8;
}

void Zoom(Words& words) {
    const int srcWidth = words.Number();
    const int srcHeight = words.Number();
    const int dstWidth = words.Number();
    const int dstHeight = words.Number();
    const int bits = words.Number();
    Bytes in = Input(RowBytes(srcWidth, bits) * static_cast<std::size_t>(srcHeight));
    Bytes out(RowBytes(dstWidth, bits) * static_cast<std::size_t>(dstHeight));
    Repeat(words, [&] {
        PX_Zoom zoom;
        Must(zoom.Open(dstWidth, dstHeight, srcWidth, srcHeight, bits, 2) == 0, "Open");
        std::uint8_t* to = out.data();
        int read = 0;
        for (int y = 0; y < srcHeight && read < dstHeight; ++y) {
            Must(zoom.Send(&in[RowBytes(srcWidth, bits) * static_cast<std::size_t>(y)]) == 0, "Send");
            for (; read < dstHeight && zoom.CheckData() > 0; ++read) {
                Must(zoom.Read(to) == 0, "Read");
                to += RowBytes(dstWidth, bits);
            }
        }
        Must(read == dstHeight, "too few lines");
    });
    Output(out);
}

void Hsv(Words& words) {
    _SHsvParam param{};
    param.saturation = words.Number();
    param.hue = words.Number();
    param.lightness = words.Number();
    param.bitsPerPixel = 24;
    param.width = words.Number();
    const int height = words.Number();
    param.height = static_cast<std::uint32_t>(height);
    const std::size_t row = RowBytes(param.width, 24);
    param.rowBytes = static_cast<std::uint32_t>(row);
    const Bytes in = Input(row * static_cast<std::size_t>(height));
    Bytes out(in.size());
    Repeat(words, [&] {
        void* handle = nullptr;
        Must(SetupHsv(&param, &handle) == 0, "SetupHsv");
        for (std::size_t at = 0; at < in.size(); at += row) {
            std::memcpy(&out[at], &in[at], row);
            Must(ApplyOneLineHsv(handle, &out[at]) == 0, "ApplyOneLineHsv");
        }
        Disposehsv(handle);
    });
    Output(out);
}

void Sharp(Words& words) {
    _SSharpParam param{};
    param.level = words.Number();
    const int bits = words.Number();
    const int width = words.Number();
    const int height = words.Number();
    const std::size_t row = RowBytes(width, bits);
    param.bitsPerPixel = static_cast<std::uint32_t>(bits);
    param.width = static_cast<std::uint32_t>(width);
    param.height = static_cast<std::uint32_t>(height);
    param.rowBytes = static_cast<std::uint32_t>(row);
    Bytes in = Input(row * static_cast<std::size_t>(height));
    Bytes out(in.size());
    Repeat(words, [&] {
        void* handle = nullptr;
        Must(SetupSharp(&param, &handle) == 0, "SetupSharp");
        std::size_t to = 0;
        for (std::size_t at = 0; at < in.size(); at += row) {
            Must(ApplySharpFilterPutLine(&handle, &in[at]) == 0, "Put");
            for (; GetSharpDstLines(handle) != 0; to += row) {
                Must(ApplySharpFilterGetLine(&handle, &out[to]) == 0, "Get");
            }
        }
        DisposeSharpness(handle);
    });
    Output(out);
}

void Map(Words& words) {
    const int width = words.Number();
    const int height = words.Number();
    const Bytes table = Input(768);
    const Bytes in = Input(RowBytes(width, 24) * static_cast<std::size_t>(height));
    Bytes out(in.size());
    Repeat(words, [&] {
        const std::uint8_t* from = in.data();
        const std::uint8_t* const end = from + in.size();
        const std::uint8_t* const map = table.data();
        for (std::uint8_t* to = out.data(); from != end; from += 3, to += 3) {
            to[0] = map[from[0]];
            to[1] = map[256 + from[1]];
            to[2] = map[512 + from[2]];
        }
    });
    Output(out);
}

std::uint32_t Code(const std::string& text) {
    std::uint32_t code = 0;
    for (const char c : text) {
        code = code << 8 | static_cast<unsigned char>(c);
    }
    return code;
}

void SetProperty(_SToneOperation* operation, const std::string& text) {
    const std::string key = text.substr(0, 4);
    const std::string value = text.substr(5);
    if (value.back() == 'd') {
        const double number = std::stod(value);
        SetOperationProperty(operation, Code(key), sizeof number, &number);
    } else if (const std::size_t comma = value.find(','); comma != std::string::npos) {
        const float pair[2] = {std::stof(value), std::stof(value.substr(comma + 1))};
        SetOperationProperty(operation, Code(key), sizeof pair, pair);
    } else {
        const std::int32_t number = std::stoi(value);
        SetOperationProperty(operation, Code(key), sizeof number, &number);
    }
}

void Tone(Words& words) {
    __OpaqeToneWorld* world = nullptr;
    Must(NewToneWorld(&world) == 0, "NewToneWorld");
    Bytes tables(768);
    _SToneCurve curve{};
    curve.depth = words.Number();
    while (words.Any()) {
        const std::string type = words.Text();
        _SToneOperation* operation = nullptr;
        Must(NewOperation(&operation) == 0, "NewOperation");
        const auto setup = type == "BrCn"   ? SetupBrightnessContrastOperation
                           : type == "LeVe" ? SetupLevelOperation
                           : type == "CuRv" ? SetupCurvesOperation
                                            : SetupColorBalanceOperation;
        Must(setup(operation) == 0, "Setup");
        while (words.Any() && words.Peek().size() > 4) {
            SetProperty(operation, words.Text());
        }
        AddOperation(world, operation);
    }
    curve.redTable = tables.data();
    curve.greenTable = tables.data() + 256;
    curve.blueTable = tables.data() + 512;
    MakeToneCurve(world, &curve);
    DisposeToneWorld(world, 1);
    Output(tables);
}

}  // namespace

int main(int count, char** arguments) {
    Words words(count, arguments);
    const std::string what = words.Text();
    if (what == "zoom") {
        Zoom(words);
    } else if (what == "hsv") {
        Hsv(words);
    } else if (what == "sharp") {
        Sharp(words);
    } else if (what == "map") {
        Map(words);
    } else {
        Must(what == "tone", "no such service");
        Tone(words);
    }
}
