// The sharpness filter: calls in any order, and a host that edits the parameters, the kernel, the counters, the
// lines and their order.

#include <algorithm>
#include <array>
#include <cstring>
#include <list>
#include <utility>

#include "LineFilters/SharpContext.h"
#include "LineFilters/Sharpness.h"
#include "Models.h"
#include "Variants.h"
#include "oracles/SharpOracle.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace platen_test {
namespace {

using Bytes = std::vector<std::uint8_t>;

bool Accepted(const _SSharpParam& p) {
    const bool level = p.level == -2 || p.level == -1 || (p.level >= 1 && p.level <= 3);
    const std::uint64_t samples = p.bitsPerPixel == 24 ? 3 : p.bitsPerPixel == 8 ? 1 : 0;
    return level && samples != 0 && p.width > 2 && p.height != 0 && p.width * samples <= p.rowBytes;
}

// The context as its words say, and the rules for a line.
struct ModelContext {
    void* handle = nullptr;
    _SSharpParam param{};
    std::array<std::int32_t, 10> kernel{};
    std::array<Bytes, 5> lines;  // newest, previous, oldest, first and second output
    std::uint32_t linesIn = 0;
    std::uint32_t ready = 0;

    platen::SharpContext& Words() const {
        return *static_cast<platen::SharpContext*>(handle);
    }
    std::array<std::uint8_t*, 5> Real() const {
        const platen::SharpContext& words = Words();
        return {words.newestLine, words.previousLine, words.oldestLine, words.outLine1, words.outLine2};
    }

    std::int32_t Put(const std::uint8_t* line) {
        if (!Accepted(param)) {
            return 3;
        }
        const std::size_t bytes = param.rowBytes;
        std::memcpy(lines[2].data(), lines[1].data(), bytes);
        std::memcpy(lines[1].data(), lines[0].data(), bytes);
        std::memcpy(lines[0].data(), line, bytes);
        ++linesIn;
        if (linesIn == 1) {
            ready = 0;
            return 0;
        }
        ready = 1;
        Finish(lines[3], linesIn <= 2);
        if (linesIn == param.height) {
            ready = 2;
            Finish(lines[4], true);
        }
        return 0;
    }
    std::int32_t Get(std::uint8_t* line) {
        if (!Accepted(param)) {
            return 3;
        }
        const bool last = linesIn == param.height;
        if (!last || ready == 2) {
            std::memcpy(line, lines[3].data(), param.rowBytes);
            ready = last ? 1 : 0;
        } else if (ready == 1) {
            std::memcpy(line, lines[4].data(), param.rowBytes);
            ready = 0;
        }
        return 0;
    }

  private:
    // As the line in the middle of an image of three, or the first of one of two.
    void Finish(Bytes& out, bool edge) const {
        const auto width = static_cast<int>(param.width);
        const auto samples = static_cast<int>(param.bitsPerPixel / 8);
        SharpImage image(width, edge ? 2 : 3, samples);
        const std::size_t bytes = image.bytes.size() / (edge ? 2 : 3);
        for (std::size_t row = 0; row < (edge ? 2u : 3u); ++row) {
            std::memcpy(&image.bytes[row * bytes], lines[(edge ? 1 : 2) - row].data(), bytes);
        }
        const SharpImage result = SharpenedImage(image, kernel.data());
        std::memcpy(out.data(), &result.bytes[edge ? 0 : bytes], bytes);
    }
};

class SharpWalk {
  public:
    SharpWalk() = default;
    SharpWalk(const SharpWalk&) = delete;
    SharpWalk& operator=(const SharpWalk&) = delete;
    ~SharpWalk() {
        meter_.Host([&] {
            for (const ModelContext& context : contexts_) {
                DisposeSharpness(context.handle);
            }
        });
    }

    void Run(const Steps& steps) {
        RunSteps(*this, kCalls, steps, [this] { CompareState(); });
    }

  private:
    using Call = NamedCall<SharpWalk>;
    static const std::array<Call, 16> kCalls;

    ModelContext* Any(const Step& step) {
        if (contexts_.empty()) {
            SetUp(step);
        }
        return contexts_.empty() ? nullptr : &*std::next(contexts_.begin(), step.who % contexts_.size());
    }

    void SetUp(const Step& step) {
        if (contexts_.size() == 2) {
            return;
        }
        Random random(step.seed);
        _SSharpParam param;
        param.level = static_cast<std::int32_t>(random.Between(-2, 3));
        param.bitsPerPixel = random.OneIn(2) ? 24 : 8;
        param.width = static_cast<std::uint32_t>(random.Between(2, 80));
        param.height = static_cast<std::uint32_t>(random.Between(0, 7));
        param.rowBytes = param.width * (param.bitsPerPixel / 8) + static_cast<std::uint32_t>(random.Between(-1, 5));
        if (step.number % 16 == 0) {
            const std::uint32_t any[] = {static_cast<std::uint32_t>(random.Next()), 0, 0x80000000u, 0xFFFFFFFFu};
            std::memcpy(reinterpret_cast<std::uint8_t*>(&param) + 4 * random.Between(0, 3), &any[random.Next() % 4],
                        4);
        }
        void* const untouched = this;
        void* handle = untouched;
        std::int32_t status = -1;
        meter_.Library([&] { status = SetupSharp(&param, &handle); });
        std::int32_t expected = -1;
        meter_.Model([&] { expected = !Accepted(param) ? 3 : ModelTakes() ? 0 : 1; });
        Agree(status == expected, "status " + std::to_string(status) + ", not " + std::to_string(expected));
        Agree((handle == untouched) == (status != 0), "the handle");
        if (status != 0) {
            return;
        }
        ModelContext& context = contexts_.emplace_back();
        context.handle = handle;
        context.param = param;
        context.lines.fill(Bytes(param.rowBytes));
        for (const auto& entry : sfilterParamTable) {
            if (entry[10] == param.level) {
                std::copy_n(entry, 10, context.kernel.begin());
            }
        }
    }
    // Parameters, context and kernel one after the other; of the lines all are tried.
    bool ModelTakes() {
        if (!meter_.Malloc() || !meter_.Malloc() || !meter_.Malloc()) {
            return false;
        }
        bool all = true;
        for (int i = 0; i < 5; ++i) {
            all = meter_.Malloc() && all;
        }
        return all;
    }

    void Nothing(const Step& step) {
        _SSharpParam param = {1, 8, 3, 3, 3};
        std::uint8_t line[3] = {};
        void* handle = nullptr;
        Agree(SetupSharp(nullptr, &handle) == 3 && SetupSharp(&param, nullptr) == 3, "status of the set-up");
        Agree(ApplySharpFilterPutLine(nullptr, line) == 3 && ApplySharpFilterPutLine(&handle, line) == 3 &&
                  ApplySharpFilterGetLine(nullptr, line) == 3 && ApplySharpFilterGetLine(&handle, line) == 3,
              "status without a context");
        Agree(GetSharpDstLines(nullptr) == 0, "count without a context");
        DisposeSharpness(nullptr);
        if (ModelContext* const context = Any(step)) {
            Agree(ApplySharpFilterPutLine(&context->handle, nullptr) == 3 &&
                      ApplySharpFilterGetLine(&context->handle, nullptr) == 3,
                  "status without a line");
        }
    }

    void Put(const Step& step) {
        ModelContext* const context = Any(step);
        if (context == nullptr) {
            return;
        }
        Random random(step.seed);
        GuardedBuffer line(std::max(context->param.rowBytes, 1u));
        for (std::size_t i = 0; i < line.size(); ++i) {
            line[i] = step.number % 4 == 0 ? static_cast<std::uint8_t>(random.OneIn(3) ? 255 : 0) : random.Byte();
        }
        const Bytes before(line.data(), line.data() + line.size());
        void* handle = context->handle;
        std::int32_t status = -1;
        meter_.Library([&] { status = ApplySharpFilterPutLine(&handle, line.data()); });
        std::int32_t expected = -1;
        meter_.Model([&] { expected = context->Put(before.data()); });
        Agree(status == expected && handle == context->handle, "status and handle");
        Agree(std::memcmp(before.data(), line.data(), before.size()) == 0, "the source line");
    }

    void Get(const Step& step) {
        ModelContext* const context = Any(step);
        if (context == nullptr) {
            return;
        }
        GuardedBuffer line(std::max(context->param.rowBytes, 1u));
        std::memset(line.data(), 0xA5, line.size());
        Bytes wanted(line.size(), 0xA5);
        void* handle = context->handle;
        std::int32_t status = -1;
        meter_.Library([&] { status = ApplySharpFilterGetLine(&handle, line.data()); });
        std::int32_t expected = -1;
        meter_.Model([&] { expected = context->Get(wanted.data()); });
        Agree(status == expected && handle == context->handle, "status and handle");
        Agree(std::memcmp(wanted.data(), line.data(), wanted.size()) == 0, "the line");
    }

    void Dispose(const Step& step) {
        if (contexts_.empty()) {
            return;
        }
        ModelContext* const context = Any(step);
        meter_.Library([&] { DisposeSharpness(context->handle); });
        meter_.Model([&] { meter_.Free(8); });
        contexts_.erase(std::next(contexts_.begin(), step.who % contexts_.size()));
    }

    void FailNext(const Step& step) {
        meter_.FailMalloc(step.number % 9);
    }

    // Its lines stay as long as they were taken.
    void EditParameter(const Step& step) {
        ModelContext* const context = Any(step);
        if (context == nullptr) {
            return;
        }
        Random random(step.seed);
        _SSharpParam& param = context->param;
        switch (step.number % 5) {
            case 0:
                param.level = static_cast<std::int32_t>(random.Between(-3, 4));
                break;
            case 1:
                param.bitsPerPixel = random.OneIn(5)   ? static_cast<std::uint32_t>(random.Next())
                                     : random.OneIn(2) ? 24
                                                       : 8;
                break;
            case 2:
                param.width = static_cast<std::uint32_t>(random.OneIn(4) ? random.Next() : random.Next() % 80);
                break;
            case 3:
                param.height = static_cast<std::uint32_t>(random.OneIn(4) ? random.Next() : random.Next() % 8);
                break;
            default:
                param.rowBytes = static_cast<std::uint32_t>(
                    random.Between(0, static_cast<std::int64_t>(context->lines[0].size())));
                break;
        }
        *context->Words().param = param;
    }

    void EditKernel(const Step& step) {
        if (ModelContext* const context = Any(step)) {
            Random random(step.seed);
            std::int32_t& word = context->kernel[step.number % 10];
            word = static_cast<std::int32_t>(random.OneIn(3)   ? random.Between(-30, 30)
                                             : random.OneIn(3) ? random.Between(-40000, 40000)
                                                               : static_cast<std::int32_t>(random.Next()));
            context->Words().kernel[step.number % 10] = word;
        }
    }

    void EditCounters(const Step& step) {
        if (ModelContext* const context = Any(step)) {
            std::uint32_t& counter = step.seed % 2 == 0 ? context->linesIn : context->ready;
            counter = step.seed % 3 == 0 ? step.number : step.number % 5;
            context->Words().linesIn = context->linesIn;
            context->Words().linesReady = context->ready;
        }
    }

    void EditLine(const Step& step) {
        if (ModelContext* const context = Any(step)) {
            const std::size_t which = step.number % 5;
            const std::size_t at = step.seed % context->lines[which].size();
            context->Real()[which][at] = context->lines[which][at] = static_cast<std::uint8_t>(step.seed >> 24);
        }
    }

    void SwapLines(const Step& step) {
        if (ModelContext* const context = Any(step)) {
            platen::SharpContext& words = context->Words();
            std::uint8_t** const real[] = {&words.newestLine, &words.previousLine, &words.oldestLine,
                                           &words.outLine1, &words.outLine2};
            std::swap(*real[step.number % 5], *real[step.seed % 5]);
            std::swap(context->lines[step.number % 5], context->lines[step.seed % 5]);
        }
    }

    void OtherVariant(const Step& step) {
        variants_.Use(step.number);
    }

    void CompareState() const {
        for (const ModelContext& context : contexts_) {
            const platen::SharpContext& words = context.Words();
            Agree(std::memcmp(words.param, &context.param, sizeof context.param) == 0, "the parameters");
            Agree(std::memcmp(words.kernel, context.kernel.data(), sizeof context.kernel) == 0, "the kernel");
            Agree(words.linesIn == context.linesIn, "linesIn");
            Agree(words.linesReady == context.ready && GetSharpDstLines(context.handle) == context.ready,
                  "linesReady");
            for (std::size_t i = 0; i < 5; ++i) {
                Agree(std::memcmp(context.Real()[i], context.lines[i].data(), context.lines[i].size()) == 0,
                      "line " + std::to_string(i));
            }
        }
    }

    AnyVariant variants_;
    Meter meter_;
    std::list<ModelContext> contexts_;
};

const std::array<SharpWalk::Call, 16> SharpWalk::kCalls = {{
    {"SetupSharp", &SharpWalk::SetUp},
    {"calls of nothing", &SharpWalk::Nothing},
    {"ApplySharpFilterPutLine", &SharpWalk::Put},
    {"ApplySharpFilterPutLine", &SharpWalk::Put},
    {"ApplySharpFilterPutLine", &SharpWalk::Put},
    {"ApplySharpFilterPutLine", &SharpWalk::Put},
    {"ApplySharpFilterGetLine", &SharpWalk::Get},
    {"ApplySharpFilterGetLine", &SharpWalk::Get},
    {"DisposeSharpness", &SharpWalk::Dispose},
    {"no memory", &SharpWalk::FailNext},
    {"another parameter", &SharpWalk::EditParameter},
    {"another kernel", &SharpWalk::EditKernel},
    {"another counter", &SharpWalk::EditCounters},
    {"another byte", &SharpWalk::EditLine},
    {"lines swapped", &SharpWalk::SwapLines},
    {"another variant", &SharpWalk::OtherVariant},
}};

}  // namespace

void WalkSharpnessFilter(const Steps& steps) {
    SharpWalk walk;
    walk.Run(steps);
}

}  // namespace platen_test
