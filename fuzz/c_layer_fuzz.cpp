// The companion library for C: worlds and operations through its calls beside the library's own, and the scaler
// through both kinds of record beside the class. What they give must be the same, bit by bit and status by status.

#include <cstdlib>
#include <cstring>
#include <vector>

#include "Producer.h"
#include "c/platen.h"

namespace {

using platen_fuzz::Producer;
using Bytes = std::vector<std::uint8_t>;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

constexpr std::uint32_t kTypes[] = {PLATEN_TYPE_BRIGHTNESS_CONTRAST, PLATEN_TYPE_LEVEL, PLATEN_TYPE_COLOR_BALANCE,
                                    PLATEN_TYPE_CURVES};
constexpr std::int32_t (*kSetups[])(_SToneOperation*) = {SetupBrightnessContrastOperation, SetupLevelOperation,
                                                         SetupColorBalanceOperation, SetupCurvesOperation};
constexpr std::uint32_t kKeys[] = {PLATEN_KEY_BRIGHTNESS,   PLATEN_KEY_CONTRAST,    PLATEN_KEY_INPUT_BLACK,
                                   PLATEN_KEY_MID_TONE,     PLATEN_KEY_INPUT_WHITE, PLATEN_KEY_SHADOWS_RED,
                                   PLATEN_KEY_BALANCE_FLAG, PLATEN_KEY_CURVE_KIND,  PLATEN_KEY_CURVE_STRENGTH,
                                   PLATEN_KEY_CURVE_POINT_3};

// The same operation, made by the companion library and by the library itself.
struct Pair {
    _SToneOperation* ours = nullptr;
    _SToneOperation* theirs = nullptr;
};

void Compare(const Pair& pair) {
    const std::size_t count = platen_operation_count(pair.ours);
    Require(pair.ours->type == pair.theirs->type && pair.ours->apply == pair.theirs->apply);
    Require(count == platen_operation_count(pair.theirs));
    for (std::size_t i = 0; i < count; ++i) {
        const _SPropertyData* const a = platen_operation_at(pair.ours, i);
        const _SPropertyData* const b = platen_operation_at(pair.theirs, i);
        Require(a->key == b->key && a->size == b->size && std::memcmp(a->data, b->data, a->size) == 0);
    }
    Require(platen_operation_at(pair.ours, count) == nullptr);
}

struct Curve {
    std::uint8_t tables[4][256] = {};
    _SToneCurve curve{};

    explicit Curve(std::int32_t depth) : curve{0, 0, depth, tables[0], tables[1], tables[2], 1, tables[3]} {}
};

// A value by its type; where the property has that size, it is written and read back, else refused.
void SetValue(const Pair& pair, Producer& input) {
    const std::uint32_t key = kKeys[input.Take<std::uint8_t>() % std::size(kKeys)];
    const auto number = static_cast<std::int32_t>(input.Between(-110, 260));
    const auto real = input.Take<double>();
    std::int32_t status = 0;
    switch (input.Take<std::uint8_t>() % 3) {
        case 0: {
            status = platen_set_int32(pair.ours, key, number);
            std::int32_t back = ~number;
            Require(platen_get_int32(pair.ours, key, &back) == status && (status != 0 || back == number));
            SetOperationProperty(pair.theirs, key, status == 0 ? 4 : 0, &number);
            break;
        }
        case 1: {
            status = platen_set_double(pair.ours, key, real);
            double back = 0;
            Require(platen_get_double(pair.ours, key, &back) == status);
            Require(status != 0 || std::memcmp(&back, &real, sizeof real) == 0);
            SetOperationProperty(pair.theirs, key, status == 0 ? 8 : 0, &real);
            break;
        }
        default: {
            const float point[2] = {static_cast<float>(number), static_cast<float>(input.Between(-1, 256))};
            status = platen_set_point(pair.ours, key, point[0], point[1]);
            SetOperationProperty(pair.theirs, key, status == 0 ? 8 : 0, point);
            break;
        }
    }
    Require(status == 0 || status == PLATEN_BAD_ARGUMENT);
}

// Whole settings: out of range they change nothing, and what is accepted takes part in the curve.
void SetAll(_SToneOperation* op, Producer& input) {
    const auto any = [&] { return static_cast<std::int32_t>(input.Between(-104, 104)); };
    Curve before(24);
    std::int32_t status = 0;
    const std::uint32_t type = op->type;
    if (type == PLATEN_TYPE_BRIGHTNESS_CONTRAST) {
        status = platen_set_brightness_contrast(op, any(), any());
    } else if (type == PLATEN_TYPE_LEVEL) {
        const auto level = [&] { return static_cast<std::uint32_t>(input.Between(0, 256)); };
        const double middle = static_cast<double>(input.Between(0, 1010)) / 100.0;
        status = platen_set_level(op, level() / 2, middle, level(), level() / 2, level());
    } else if (type == PLATEN_TYPE_COLOR_BALANCE) {
        std::int32_t amounts[9];
        for (std::int32_t& amount : amounts) {
            amount = any();
        }
        status = platen_set_color_balance(op, amounts);
    } else if (input.Flip()) {
        status = platen_set_gamma(op, any());
    } else {
        float points[10];
        for (float& level : points) {
            level = static_cast<float>(input.Between(0, 256));
        }
        status = platen_set_curve(op, static_cast<std::int32_t>(input.Between(0, 4)), points);
    }
    Require(status == PLATEN_DONE || status == PLATEN_OUT_OF_RANGE);
    if (status == PLATEN_DONE) {
        Require(op->apply(op, &before.curve) == 0);
    }
}

void RunTone(Producer& input) {
    __OpaqeToneWorld* ours = nullptr;
    __OpaqeToneWorld* theirs = nullptr;
    Require(platen_world_new(&ours) == 0 && NewToneWorld(&theirs) == 0);
    std::vector<Pair> pairs;
    for (int step = 0; step < 40 && input.Left() != 0; ++step) {
        const std::uint8_t call = input.Take<std::uint8_t>() % 6;
        if (call == 0 && pairs.size() < 6) {
            const std::uint8_t kind = input.Take<std::uint8_t>() % 4;
            Pair& pair = pairs.emplace_back();
            Require(platen_operation_new(kTypes[kind], &pair.ours) == 0 && NewOperation(&pair.theirs) == 0);
            Require(kSetups[kind](pair.theirs) == 0 && platen_world_add(ours, pair.ours) == 0);
            AddOperation(theirs, pair.theirs);
        } else if (call == 1) {
            Curve a(input.Flip() ? 24 : 8);
            Curve b(a.curve.depth);
            MakeToneCurve(ours, &a.curve);
            MakeToneCurve(theirs, &b.curve);
            Require(std::memcmp(a.tables, b.tables, sizeof a.tables) == 0);
        } else if (call == 2) {
            __OpaqeToneWorld* copy = nullptr;
            Require(platen_world_copy(ours, &copy) == 0 && platen_world_count(copy) == pairs.size());
            for (std::size_t i = 0; i < pairs.size(); ++i) {
                Require(platen_world_at(copy, i) != pairs[i].ours);
                Compare({platen_world_at(copy, i), pairs[i].theirs});
            }
            DisposeToneWorld(copy, 1);
        } else if (!pairs.empty()) {
            const Pair& pair = pairs[input.Take<std::uint8_t>() % pairs.size()];
            if (call == 3) {
                Bytes value(input.Take<std::uint8_t>() % 20 + 1);
                input.Fill(value.data(), value.size());
                const auto size = static_cast<std::uint32_t>(value.size());
                const std::uint32_t key = kKeys[input.Take<std::uint8_t>() % std::size(kKeys)];
                Require(platen_operation_add_property(pair.ours, key, size, value.data()) == 0);
                AddOperationProperty(pair.theirs, key, size, value.data());
            } else if (call == 4) {
                SetValue(pair, input);
            } else {
                __OpaqeToneWorld* apart = nullptr;  // an operation of its own: the pair would differ
                _SToneOperation* op = nullptr;
                Require(platen_world_new(&apart) == 0 && platen_operation_new(pair.ours->type, &op) == 0);
                Require(platen_world_add(apart, op) == 0);
                SetAll(op, input);
                DisposeToneWorld(apart, 1);
            }
        }
        for (const Pair& pair : pairs) {
            Compare(pair);
        }
    }
    DisposeToneWorld(ours, 1);
    DisposeToneWorld(theirs, 1);
}

void RunZoom(Producer& input) {
    static constexpr int kFormats[] = {1, 8, 16, 24, 32, 48, 64, 12};
    PX_Zoom facade;
    PX_ZoomBilinear bilinear;
    platen_zoom* zoom = nullptr;
    const bool own = input.Flip();
    if (own) {
        platen_zoom_bilinear* record = nullptr;
        Require(platen_zoom_bilinear_new(&record) == 0);
        zoom = &record->base;
    } else {
        Require(platen_zoom_new(&zoom) == 0);
    }
    PX_Zoom& reference = own ? bilinear : facade;
    int dst = 1;
    int src = 1;
    for (int step = 0; step < 60 && input.Left() != 0; ++step) {
        Bytes line(static_cast<std::size_t>(src) * 8 + 8);
        input.Fill(line.data(), std::min<std::size_t>(line.size(), 16));
        Bytes a(static_cast<std::size_t>(dst) * 8 + 8);
        Bytes b = a;
        switch (input.Take<std::uint8_t>() % 6) {
            case 0: {
                const auto size = [&](int most) { return static_cast<int>(input.Between(0, most)); };
                const int width = size(30);
                const int height = size(8);
                const int fromWidth = size(30);
                const int fromHeight = size(8);
                const int format = kFormats[input.Take<std::uint8_t>() % 8];
                const int status = platen_zoom_open(zoom, width, height, fromWidth, fromHeight, format, 2);
                Require(status == reference.Open(width, height, fromWidth, fromHeight, format, 2));
                if (status == 0) {
                    dst = width;
                    src = fromWidth;
                }
                break;
            }
            case 1:
                Require(platen_zoom_close(zoom) == 0);
                reference.Close();
                break;
            case 2:
            case 3:
                Require(platen_zoom_send(zoom, line.data()) == reference.Send(line.data()));
                break;
            default:
                Require(platen_zoom_read(zoom, a.data()) == reference.Read(b.data()) && a == b);
                break;
        }
        Require(platen_zoom_check_data(zoom) == reference.CheckData());
        Require(zoom->dst_width == reference.dstWidth && zoom->lines_ready == reference.linesReady &&
                zoom->method == reference.method && zoom->pixel_format == reference.pixelFormat);
    }
    platen_zoom_free(zoom);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Producer input(data, size);
    if (input.Flip()) {
        RunTone(input);
    } else {
        RunZoom(input);
    }
    return 0;
}
