// The scaler, through the facade and on its own: calls in any order, and a host that edits counters, records and
// work lines between them.

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "Models.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "Variants.h"
#include "oracles/ZoomImageOracle.h"
#include "oracles/ZoomRecordsOracle.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace platen_test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Table = std::vector<PX_Zoom2_Param>;

// An implementation's fields, and its rules.
struct ModelScaler {
    bool open = false;
    std::int32_t linesReady = 0, active = 0, method = 0;
    std::int32_t dstWidth = 0, dstHeight = 0, srcWidth = 0, srcHeight = 0, format = 0;
    std::int32_t index = 0, current = 0, resend = 0, horzDouble = 0, vertDouble = 0;
    std::ptrdiff_t cursor = 0;
    Table columns, lines;
    std::vector<std::uint32_t> work[2];
    std::vector<double> sums;  // in place of work[0], where the height is reduced in doubles

    void Close() {
        const std::int32_t kept = method;
        *this = ModelScaler();
        method = kept;
    }
    ZoomCase Case() const {
        return {dstWidth, dstHeight, srcWidth, srcHeight, format};
    }
    bool Reduces() const {
        return dstHeight < srcHeight;
    }
    bool SumsAreDoubles() const {
        return Reduces() && vertDouble == 1;
    }

    void Opened() {
        const auto axis = [](std::int32_t dst, std::int32_t src, std::int32_t& inDoubles) {
            Table table = OracleTable(dst, src);
            const bool heavy = std::any_of(table.begin(), table.end(),
                                           [](const PX_Zoom2_Param& p) { return p.weightSum > 65535; });
            inDoubles = dst < src && heavy ? 1 : 0;
            return table;
        };
        open = true;
        active = dstWidth == srcWidth && dstHeight >= srcHeight ? 0 : 1;
        columns = axis(dstWidth, srcWidth, horzDouble);
        lines = axis(dstHeight, srcHeight, vertDouble);
        const std::size_t count = static_cast<std::size_t>(dstWidth * Case().Samples());
        work[0].assign(count, 0);
        work[1].assign(count, 0);
        sums.assign(count, 0.0);
    }

    bool TakesNoLine() const {
        return !open || cursor >= dstHeight;
    }

    std::int32_t Send(const std::uint8_t* line) {
        if (line == nullptr && resend == 0) {
            return 2;
        }
        if (linesReady != 0 || TakesNoLine()) {
            return 3;
        }
        if (Reduces()) {
            Accumulate(line);
        } else {
            work[current] = Horizontal(line);
            const PX_Zoom2_Param& p = Line();
            if (index == 0 ? srcHeight == 1 || srcHeight == dstHeight : index >= p.start) {
                linesReady = p.emit;
            }
            current = dstHeight > srcHeight && srcHeight > 1 ? 1 - current : current;
        }
        ++index;
        return 0;
    }

    std::int32_t Read(Bytes* line) {
        if (line == nullptr) {
            return 2;
        }
        if (linesReady == 0 || TakesNoLine()) {
            return 3;
        }
        *line = Vertical();
        ++cursor;
        --linesReady;
        if (resend != 1) {
            return 0;
        }
        const std::int32_t status = Send(nullptr);
        resend = 0;
        return status;
    }

  private:
    const PX_Zoom2_Param& Line() const {
        return lines[static_cast<std::size_t>(cursor)];
    }

    std::vector<std::uint32_t> Horizontal(const std::uint8_t* line) const {
        const ZoomCase c = Case();
        const RuleAxis axis = {dstWidth, srcWidth};
        Bytes unpacked;
        if (format == 1) {
            for (int x = 0; x < srcWidth; ++x) {
                unpacked.push_back((line[x / 8] >> (7 - x % 8) & 1) != 0 ? 255 : 0);
            }
            line = unpacked.data();
        }
        const auto* wide = reinterpret_cast<const std::uint16_t*>(line);
        if (horzDouble == 1) {
            return c.Wide() ? RuleHorz<double>(columns.data(), axis, c.Samples(), wide)
                            : RuleHorz<double>(columns.data(), axis, c.Samples(), line);
        }
        return c.Wide() ? RuleHorz<std::uint32_t>(columns.data(), axis, c.Samples(), wide)
                        : RuleHorz<std::uint32_t>(columns.data(), axis, c.Samples(), line);
    }

    void Accumulate(const std::uint8_t* line) {
        const PX_Zoom2_Param& p = Line();
        if (resend != 1) {
            work[1] = Horizontal(line);
        }
        if (index == p.start) {
            std::fill(work[0].begin(), work[0].end(), 0);
            std::fill(sums.begin(), sums.end(), 0.0);
        }
        const std::int32_t weight = index == p.start ? p.startWeight : index > p.wholeEnd ? p.endWeight : dstHeight;
        if (vertDouble == 1) {
            RuleAdd(sums, work[1], weight);
        } else {
            RuleAdd(work[0], work[1], weight);
        }
        if (index == p.emit) {
            if (p.endRemainder != 0) {
                resend = p.endWeight != dstHeight ? 1 : 0;
                --index;
            }
            linesReady = 1;
        }
    }

    template <class S>
    std::vector<S> Samples() const {
        if (dstHeight == srcHeight) {
            return std::vector<S>(work[0].begin(), work[0].end());
        }
        if (Reduces()) {
            return vertDouble == 1 ? RuleReduce<S>(sums, Line().weightSum)
                                   : RuleReduce<S>(work[0], Line().weightSum);
        }
        const auto& upper = work[current];
        const auto& lower = work[1 - current];
        return vertDouble == 1 ? RuleExpand<double, S>(upper, lower, Line())
                               : RuleExpand<std::uint32_t, S>(upper, lower, Line());
    }
    Bytes Vertical() const {
        if (Case().Wide()) {
            const std::vector<std::uint16_t> samples = Samples<std::uint16_t>();
            Bytes bytes(samples.size() * 2);
            std::memcpy(bytes.data(), samples.data(), bytes.size());
            return bytes;
        }
        const Bytes samples = Samples<std::uint8_t>();
        if (format != 1) {
            return samples;
        }
        Bytes bits((samples.size() + 7) / 8);
        for (std::size_t x = 0; x < samples.size(); ++x) {
            bits[x / 8] = static_cast<std::uint8_t>(bits[x / 8] | (samples[x] >= 128 ? 0x80u >> x % 8 : 0u));
        }
        return bits;
    }
};

class ZoomWalk {
  public:
    ZoomWalk() = default;
    ZoomWalk(const ZoomWalk&) = delete;
    ZoomWalk& operator=(const ZoomWalk&) = delete;
    ~ZoomWalk() {
        meter_.Host([&] {
            outer_.Close();
            inner_.Close();
        });
    }

    void Run(const Steps& steps) {
        facade_ = !steps.empty() && steps[0].who % 2 == 0;
        RunSteps(*this, kCalls, steps, [this] { CompareState(); });
    }

  private:
    using Call = NamedCall<ZoomWalk>;
    static const std::array<Call, 24> kCalls;

    PX_Zoom& Zoom() {
        return facade_ ? outer_ : inner_;
    }
    PX_ZoomBilinear* Real() {
        return facade_ ? static_cast<PX_ZoomBilinear*>(outer_.zoom) : &inner_;
    }
    bool Made() const {
        return !facade_ || made_;
    }

    void Open(const Step& step) {
        static constexpr int kFormats[] = {1, 8, 16, 24, 32, 48, 64};
        Random random(step.seed);
        const auto size = [&](int most) {
            return static_cast<int>(step.number % 16 == 0 && random.OneIn(4) ? 0 : random.Between(1, most));
        };
        const int most = random.OneIn(3) ? 70 : 12;
        ZoomCase c = {size(most), size(9), size(most), size(9), kFormats[step.number % 7]};
        if (step.who % 8 == 7) {
            c.srcWidth = c.dstWidth * static_cast<int>(random.Between(2, 5));  // whole ratios
            c.srcHeight = c.dstHeight * static_cast<int>(random.Between(1, 4));
        }
        if (step.number % 32 == 1) {
            c.format = static_cast<int>(random.Between(0, 65));
        }
        int method = random.OneIn(4) ? static_cast<int>(random.Between(0, 2)) : 2;
        int settled = method;
        if (facade_) {
            const bool small = c.srcWidth <= 5 || c.srcHeight <= 5;
            if (c.dstWidth < c.srcWidth || c.dstHeight < c.srcHeight || (small && method != 1) || c.format == 1) {
                settled = 2;
            } else if (method == 1) {
                method = settled = 2;  // or the process ends
            }
        }
        int status = -1;
        meter_.Library(
            [&] { status = Zoom().Open(c.dstWidth, c.dstHeight, c.srcWidth, c.srcHeight, c.format, method); });
        int expected = -1;
        meter_.Model([&] { expected = ModelOpen(c, settled); });
        Agree(status == expected, "status " + std::to_string(status) + ", not " + std::to_string(expected));
    }
    int ModelOpen(const ZoomCase& c, int method) {
        if (facade_ && made_) {
            return 3;
        }
        if (facade_) {
            facadeMethod_ = method;
            if (!meter_.NothrowNew()) {
                return 2;
            }
            made_ = true;
            facadeCase_ = c;
            scaler_ = ModelScaler();
        }
        CloseScaler();
        static constexpr int kFormats[] = {1, 8, 16, 24, 32, 48, 64};
        const bool known = std::find(std::begin(kFormats), std::end(kFormats), c.format) != std::end(kFormats);
        if (c.dstWidth == 0 || c.dstHeight == 0 || c.srcWidth == 0 || c.srcHeight == 0 || !known || method != 2) {
            return 2;
        }
        for (std::size_t i = 0; i < (c.format == 1 ? 5u : 4u); ++i) {
            if (!meter_.Malloc()) {
                meter_.Free(i);
                return 1;
            }
        }
        scaler_.dstWidth = c.dstWidth;
        scaler_.dstHeight = c.dstHeight;
        scaler_.srcWidth = c.srcWidth;
        scaler_.srcHeight = c.srcHeight;
        scaler_.format = c.format;
        scaler_.Opened();
        untouched_ = true;
        return 0;
    }
    void CloseScaler() {
        if (scaler_.open) {
            meter_.Free(scaler_.format == 1 ? 5 : 4);
        }
        scaler_.Close();
    }

    void Close(const Step&) {
        meter_.Library([&] { Zoom().Close(); });
        meter_.Model([&] {
            CloseScaler();
            if (facade_ && made_) {
                meter_.Free();
                made_ = false;
            }
            facadeMethod_ = 0;
            facadeCase_ = {0, 0, 0, 0, 0};
        });
    }

    void Send(const Step& step) {
        Random random(step.seed);
        GuardedBuffer line(std::max<std::size_t>(scaler_.Case().SrcBytes(), 1) + 1);
        for (std::size_t i = 0; i < line.size(); ++i) {
            line[i] = step.number % 3 == 0 ? static_cast<std::uint8_t>(random.OneIn(2) ? 255 : 0) : random.Byte();
        }
        // The model's 16-bit samples are aligned.
        std::vector<std::uint16_t> aligned((line.size() + 2) / 2);
        std::memcpy(aligned.data(), line.data() + 1, line.size() - 1);
        int status = -1;
        meter_.Library([&] { status = Zoom().Send(line.data() + 1); });
        int expected = -1;
        meter_.Model(
            [&] { expected = Made() ? scaler_.Send(reinterpret_cast<const std::uint8_t*>(aligned.data())) : 3; });
        Agree(status == expected, "status " + std::to_string(status) + ", not " + std::to_string(expected));
        untouched_ = untouched_ && status != 0;
        Agree(std::memcmp(aligned.data(), line.data() + 1, line.size() - 1) == 0, "the source line");
    }

    void SendNothing(const Step&) {
        int status = -1;
        meter_.Library([&] { status = Zoom().Send(nullptr); });
        int expected = -1;
        meter_.Model([&] {
            // Only where the height is reduced does a pending resend need no line.
            expected = Made() ? scaler_.Send(nullptr) : 3;
        });
        Agree(status == expected, "status " + std::to_string(status) + ", not " + std::to_string(expected));
    }

    void Read(const Step&) {
        GuardedBuffer line(std::max<std::size_t>(scaler_.Case().DstBytes(), 1));
        std::memset(line.data(), 0xA5, line.size());
        Bytes wanted(line.size(), 0xA5);
        int status = -1;
        meter_.Library([&] { status = Zoom().Read(line.data()); });
        int expected = -1;
        meter_.Model([&] { expected = Made() ? scaler_.Read(&wanted) : 3; });
        Agree(status == expected, "status " + std::to_string(status) + ", not " + std::to_string(expected));
        Agree(std::memcmp(wanted.data(), line.data(), line.size()) == 0, "the line");
    }

    void ReadNothing(const Step&) {
        Agree(Zoom().Read(nullptr) == (Made() ? 2 : 3), "status");
    }

    void FailNext(const Step& step) {
        if (step.seed % 3 == 0 && facade_) {
            meter_.FailNew(0);
        } else {
            meter_.FailMalloc(step.number % 6);
        }
    }

    void Shape(const Step& step) {
        const auto range = static_cast<std::int32_t>(1 + step.number % 100000);
        const auto weight = static_cast<std::int32_t>(step.seed % (static_cast<std::uint32_t>(range) + 1));
        Agree(inner_.Shift_Coefficient(weight, range) == OracleShape(weight, range), "Shift_Coefficient");
    }

    // ---- a host's edits

    void EditCounter(const Step& step) {
        if (!Made() || Real() == nullptr) {
            return;
        }
        PX_ZoomBilinear& real = *Real();
        const auto value = static_cast<std::int32_t>(step.seed % 5 == 0 ? step.number : step.number % 9);
        switch (step.seed / 5 % 6) {
            case 0:
                scaler_.linesReady = real.linesReady = value % 9;
                break;
            case 1:
                scaler_.active = real.active = value;
                break;
            case 2:
                scaler_.method = real.method = value;
                break;
            case 3:
                scaler_.index = real.srcLineIndex = std::clamp(value, -5, 1000000);
                break;
            case 4:
                if (scaler_.open) {
                    scaler_.current = real.currentWork = value & 1;
                }
                break;
            default:
                if (scaler_.Reduces()) {  // enlarged, it would have a line read that isn't there
                    scaler_.resend = real.resendLine = value & 1;
                }
                break;
        }
    }

    void EditCursor(const Step& step) {
        if (scaler_.open) {
            scaler_.cursor =
                static_cast<std::ptrdiff_t>(step.number % static_cast<std::uint32_t>(scaler_.dstHeight + 1));
            Real()->vertCursor = Real()->vertParam + scaler_.cursor;
        }
    }

    static std::int32_t AnyWeight(Random& random) {
        return static_cast<std::int32_t>(random.OneIn(8) ? static_cast<std::int32_t>(random.Next())
                                                         : random.Between(-3, 40));
    }
    static PX_Zoom2_Param AnyRecord(int src, Random& random) {
        const auto position = [&] { return static_cast<std::int32_t>(random.Between(-2, src + 1)); };
        PX_Zoom2_Param p = {position(),
                            AnyWeight(random),
                            position(),
                            AnyWeight(random),
                            static_cast<std::int32_t>(random.Between(0, 2)),
                            AnyWeight(random),
                            position()};
        return p;
    }

    void EditLineRecord(const Step& step) {
        if (scaler_.open) {
            Random random(step.seed);
            const std::size_t at = step.number % scaler_.lines.size();
            PX_Zoom2_Param& record = scaler_.lines[at];
            const PX_Zoom2_Param any = AnyRecord(scaler_.srcHeight, random);
            if (random.OneIn(2)) {
                record = any;
            } else {
                record.startWeight = any.startWeight;
                record.endWeight = any.endWeight;
                record.weightSum = any.weightSum;
            }
            if (record.emit < 0 && !scaler_.Reduces()) {
                record.emit = 0;  // no count of lines
            }
            Real()->vertParam[at] = record;
        }
    }

    // Before the first line: afterwards they may count or not.
    void EditColumnRecord(const Step& step) {
        if (scaler_.open && untouched_) {
            Random random(step.seed);
            const std::size_t at = step.number % scaler_.columns.size();
            const PX_Zoom2_Param any = AnyRecord(scaler_.srcWidth, random);
            scaler_.columns[at] = any;
            Real()->horzParam[at] = any;
        }
    }

    void EditArithmetic(const Step& step) {
        if (scaler_.open && untouched_) {
            scaler_.horzDouble = Real()->horzDouble = static_cast<std::int32_t>(step.number % 3);
            scaler_.vertDouble = Real()->vertDouble = static_cast<std::int32_t>(step.seed % 3);
        }
    }

    void EditWork(const Step& step) {
        if (scaler_.open) {
            untouched_ = false;
            const std::size_t which = step.seed % 2;
            const std::size_t at = step.who % scaler_.work[0].size();
            if (which == 0 && scaler_.SumsAreDoubles()) {
                const double value = static_cast<double>(step.number) / 7.0;
                static_cast<double*>(Real()->workLine[0])[at] = scaler_.sums[at] = value;
            } else {
                static_cast<std::uint32_t*>(Real()->workLine[which])[at] = scaler_.work[which][at] = step.number;
            }
        }
    }

    void OtherVariant(const Step& step) {
        variants_.Use(step.number);
    }

    // ---- state

    void CompareState() {
        Agree((outer_.zoom != nullptr) == made_, "zoom");
        if (facade_) {
            Agree(outer_.linesReady == 0 && outer_.active == 0 && outer_.method == facadeMethod_ &&
                      outer_.dstWidth == facadeCase_.dstWidth && outer_.dstHeight == facadeCase_.dstHeight &&
                      outer_.srcWidth == facadeCase_.srcWidth && outer_.srcHeight == facadeCase_.srcHeight &&
                      outer_.pixelFormat == facadeCase_.format,
                  "the facade's fields");
        }
        Agree(Zoom().CheckData() == (Made() ? scaler_.linesReady : 0), "CheckData");
        untouched_ = scaler_.index == 0 && scaler_.cursor == 0 && (untouched_ || !scaler_.open);
        if (!Made()) {
            return;
        }
        const PX_ZoomBilinear& real = *Real();
        const ModelScaler& s = scaler_;
        Agree(real.zoom == nullptr && real.linesReady == s.linesReady && real.active == s.active &&
                  real.method == s.method,
              "linesReady, active, method");
        Agree(real.dstWidth == s.dstWidth && real.dstHeight == s.dstHeight && real.srcWidth == s.srcWidth &&
                  real.srcHeight == s.srcHeight && real.pixelFormat == s.format,
              "sizes and format");
        const std::int32_t bits = s.format == 1 ? 8 : s.format;
        Agree(real.bitsPerPixel == bits && real.dstLineBytes == (s.dstWidth * bits + 7) / 8 &&
                  real.srcLineBytes == (s.srcWidth * bits + 7) / 8 &&
                  real.workLineBytes == (s.open ? static_cast<std::uint32_t>(std::max(s.dstWidth, s.srcWidth)) *
                                                      static_cast<std::uint32_t>(bits + 7)
                                                : 0),
              "bitsPerPixel and counts of bytes");
        Agree(real.srcLineIndex == s.index, "srcLineIndex");
        Agree(real.currentWork == s.current && real.resendLine == s.resend, "currentWork, resendLine");
        Agree(real.horzDouble == s.horzDouble && real.vertDouble == s.vertDouble, "horzDouble, vertDouble");
        const bool bilevel = s.open && s.format == 1;
        Agree((real.workLine[0] != nullptr) == s.open && (real.workLine[1] != nullptr) == s.open &&
                  (real.horzParam != nullptr) == s.open && (real.vertParam != nullptr) == s.open &&
                  (real.bilevelLine != nullptr) == bilevel,
              "the buffers");
        Agree(real.vertCursor == (s.open ? real.vertParam + s.cursor : nullptr), "vertCursor");
        if (s.open) {
            Agree(std::memcmp(real.horzParam, s.columns.data(), s.columns.size() * sizeof s.columns[0]) == 0,
                  "horzParam");
            Agree(std::memcmp(real.vertParam, s.lines.data(), s.lines.size() * sizeof s.lines[0]) == 0,
                  "vertParam");
            for (std::size_t w = 0; w < 2; ++w) {
                const bool same = w == 0 && s.SumsAreDoubles()
                                      ? std::memcmp(real.workLine[0], s.sums.data(), s.sums.size() * 8) == 0
                                      : std::memcmp(real.workLine[w], s.work[w].data(), s.work[w].size() * 4) == 0;
                Agree(same, "work line " + std::to_string(w));
            }
        }
    }

    AnyVariant variants_;
    Meter meter_;
    PX_Zoom outer_;
    PX_ZoomBilinear inner_;
    bool facade_ = false;
    bool made_ = false;      // the facade's implementation
    bool untouched_ = true;  // no line since Open, and no number of a work line written
    std::int32_t facadeMethod_ = 0;
    ZoomCase facadeCase_{0, 0, 0, 0, 0};
    ModelScaler scaler_;
};

const std::array<ZoomWalk::Call, 24> ZoomWalk::kCalls = {{
    {"Open", &ZoomWalk::Open},
    {"Open", &ZoomWalk::Open},
    {"Close", &ZoomWalk::Close},
    {"Send", &ZoomWalk::Send},
    {"Send", &ZoomWalk::Send},
    {"Send", &ZoomWalk::Send},
    {"Send", &ZoomWalk::Send},
    {"Send", &ZoomWalk::Send},
    {"Send(null)", &ZoomWalk::SendNothing},
    {"Read", &ZoomWalk::Read},
    {"Read", &ZoomWalk::Read},
    {"Read", &ZoomWalk::Read},
    {"Read", &ZoomWalk::Read},
    {"Read", &ZoomWalk::Read},
    {"Read(null)", &ZoomWalk::ReadNothing},
    {"no memory", &ZoomWalk::FailNext},
    {"Shift_Coefficient", &ZoomWalk::Shape},
    {"another counter", &ZoomWalk::EditCounter},
    {"another vertCursor", &ZoomWalk::EditCursor},
    {"another line's record", &ZoomWalk::EditLineRecord},
    {"another column's record", &ZoomWalk::EditColumnRecord},
    {"another arithmetic", &ZoomWalk::EditArithmetic},
    {"another work line", &ZoomWalk::EditWork},
    {"another variant", &ZoomWalk::OtherVariant},
}};

}  // namespace

void WalkScaler(const Steps& steps) {
    ZoomWalk walk;
    walk.Run(steps);
}

}  // namespace platen_test
