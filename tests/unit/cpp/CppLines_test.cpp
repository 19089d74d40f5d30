#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Refusals.h"
#include "platen.hpp"
#include "support/AllocationLedger.h"
#include "support/Random.h"

// platen.hpp's filters and scaler: the same lines as the plain calls, and what they say of misuse.

namespace {

using platen::Hsv;
using platen::HsvFilter;
using platen::PixelFormat;
using platen::Scaler;
using platen::Scaling;
using platen::Sharpener;
using platen::Sharpness;
using platen::Size;
using platen::Status;
using platen_test::AllocationLedger;
using platen_test::ProblemOf;
using platen_test::Thrown;

using Line = std::vector<std::uint8_t>;
using Page = std::vector<Line>;

constexpr char kOutOfOrder[] = "out of order: closed, or finished lines wait to be read, or no more are to come";

static_assert(std::input_iterator<platen::FinishedLines<Scaler, std::uint8_t>::Iterator>);
static_assert(!std::is_copy_constructible_v<HsvFilter> && std::is_nothrow_move_constructible_v<HsvFilter>);
static_assert(!std::is_copy_constructible_v<Sharpener> && std::is_nothrow_move_constructible_v<Sharpener>);
static_assert(!std::is_copy_constructible_v<Scaler> && std::is_nothrow_move_constructible_v<Scaler>);

Page RandomPage(std::size_t bytes, int height) {
    static std::uint64_t seed = 0;
    platen_test::Random random(++seed);
    Page page(static_cast<std::size_t>(height), Line(bytes));
    for (Line& line : page) {
        for (std::uint8_t& sample : line) {
            sample = static_cast<std::uint8_t>(random.Next());
        }
    }
    return page;
}

TEST(CppHsv, LinesAreThoseOfThePlainCalls) {
    const Hsv setting = {.hue = 30, .saturation = 25, .lightness = -10, .width = 100};
    Line line = RandomPage(302, 1)[0];
    Line plain = line;
    const HsvFilter filter(setting);
    filter.apply(line);
    _SHsvParam param = {30, 25, -10, 24, 100, 7, 300};
    void* handle = nullptr;
    ASSERT_EQ(SetupHsv(&param, &handle), 0);
    ApplyOneLineHsv(handle, plain.data());
    Disposehsv(handle);
    EXPECT_EQ(line, plain);
    EXPECT_EQ(filter.lineBytes(), 300u);
}

TEST(CppHsv, MisuseIsAnswered) {
    Line line(30);
    HsvFilter filter;
    EXPECT_EQ(filter.lineBytes(), 0u);
    EXPECT_EQ(filter.tryApply(line), Status::outOfOrder);
    EXPECT_EQ(Thrown([&] { filter.apply(line); }, Status::outOfOrder),
              std::string("HsvFilter::apply: ") + kOutOfOrder);
    EXPECT_EQ(filter.open({.saturation = 1, .width = 11}), Status::done);
    EXPECT_EQ(filter.tryApply(line), Status::badArgument);
    EXPECT_EQ(Thrown([&] { filter.apply(line); }), "HsvFilter::apply: the line has 30 bytes; 33 are needed");
    static_cast<_SHsvParam*>(filter.handle())->hue = 181;  // a host's edit
    line.resize(33);
    EXPECT_EQ(filter.tryApply(line), Status::badArgument);
    EXPECT_EQ(Thrown([&] { filter.apply(line); }), "HsvFilter::apply: bad argument");
    filter.close();
    EXPECT_EQ(filter.handle(), nullptr);
    EXPECT_EQ(filter.lineBytes(), 0u);
    EXPECT_EQ(filter.tryApply(line), Status::outOfOrder);
}

TEST(CppHsv, HandleIsAContextForOneLineAtATime) {
    const HsvFilter filter({.hue = 1, .saturation = 2, .lightness = 3, .width = 4});
    const auto* context = static_cast<const _SHsvParam*>(filter.handle());
    EXPECT_EQ(context->hue, 1);
    EXPECT_EQ(context->saturation, 2);
    EXPECT_EQ(context->lightness, 3);
    EXPECT_EQ(context->bitsPerPixel, 24u);
    EXPECT_EQ(context->width, 4);
    EXPECT_EQ(context->height, 1u);
    EXPECT_EQ(context->rowBytes, 1u);  // unused, but not 0
}

TEST(CppHsv, SettingsOutOfRangeSayWhatIsAllowed) {
    EXPECT_EQ(ProblemOf(Hsv{.hue = 181, .width = 1}), "Hsv: hue is 181; allowed: -180 to 180");
    EXPECT_EQ(ProblemOf(Hsv{.saturation = 101, .width = 1}), "Hsv: saturation is 101; allowed: -100 to 100");
    EXPECT_EQ(ProblemOf(Hsv{.lightness = -101, .width = 1}), "Hsv: lightness is -101; allowed: -100 to 100");
    EXPECT_EQ(ProblemOf(Hsv{.hue = 1}), "Hsv: width is 0; allowed: 1 to 2147483647");
    EXPECT_EQ(ProblemOf(Hsv{.width = 1}), "Hsv: hue, saturation and lightness are all 0; at least one must not be");
    for (const Hsv setting : {Hsv{.hue = -180, .width = 1}, Hsv{.saturation = 1, .width = 1},
                              Hsv{.lightness = 100, .width = 2147483647}}) {
        EXPECT_EQ(ProblemOf(setting), "");
        EXPECT_EQ(HsvFilter().open(setting), Status::done);
    }
    HsvFilter filter({.hue = 1, .width = 1});
    EXPECT_EQ(filter.open({.hue = 181, .width = 1}), Status::badArgument);
    EXPECT_EQ(filter.handle(), nullptr);
    EXPECT_EQ(Thrown([] { HsvFilter({.hue = 181, .width = 1}); }), "Hsv: hue is 181; allowed: -180 to 180");
}

Page PlainSharp(const Page& page, _SSharpParam param) {
    void* handle = nullptr;
    EXPECT_EQ(SetupSharp(&param, &handle), 0);
    Page out;
    for (Line line : page) {
        ApplySharpFilterPutLine(&handle, line.data());
        while (GetSharpDstLines(handle) != 0) {
            out.emplace_back(line.size());
            ApplySharpFilterGetLine(&handle, out.back().data());
        }
    }
    DisposeSharpness(handle);
    return out;
}

template <class Source>
Page Pushed(Source& source, const Page& page) {
    Page out;
    for (const Line& line : page) {
        for (const auto finished : source.push(line)) {
            out.emplace_back(finished.begin(), finished.end());
        }
    }
    return out;
}

TEST(CppSharpener, LinesAreThoseOfThePlainCalls) {
    for (const std::int32_t level : {-2, -1, 1, 2, 3}) {
        const Page color = RandomPage(60, 5);
        Sharpener sharpener({.level = level, .size = {20, 5}});
        EXPECT_EQ(sharpener.lineBytes(), 60u);
        EXPECT_EQ(Pushed(sharpener, color), PlainSharp(color, {level, 24, 20, 5, 60}));
        const Page gray = RandomPage(64, 3);
        sharpener = Sharpener({.level = level, .size = {61, 3}, .format = PixelFormat::gray8, .rowBytes = 64});
        EXPECT_EQ(Pushed(sharpener, gray), PlainSharp(gray, {level, 8, 61, 3, 64}));
    }
}

TEST(CppSharpener, LinesCanBeReadOneByOne) {
    const Page page = RandomPage(30, 3);
    const Page expected = PlainSharp(page, {1, 24, 10, 3, 30});
    Sharpener sharpener({.size = {10, 3}});
    Line line(30);
    EXPECT_EQ(sharpener.trySend(page[0]), Status::done);
    EXPECT_EQ(sharpener.waiting(), 0u);
    EXPECT_EQ(sharpener.tryRead(line), Status::outOfOrder);
    EXPECT_EQ(sharpener.trySend(page[1]), Status::done);
    EXPECT_EQ(sharpener.waiting(), 1u);
    EXPECT_EQ(sharpener.trySend(page[2]), Status::outOfOrder);
    sharpener.read(line);
    EXPECT_EQ(line, expected[0]);
    EXPECT_EQ(sharpener.trySend(page[2]), Status::done);
    EXPECT_EQ(sharpener.waiting(), 2u);
    auto lines = sharpener.lines();
    auto iterator = lines.begin();
    EXPECT_EQ(Line((*iterator).begin(), (*iterator).end()), expected[1]);
    iterator++;
    EXPECT_EQ(Line((*iterator).begin(), (*iterator).end()), expected[2]);
    ++iterator;
    EXPECT_TRUE(iterator == lines.end());
}

TEST(CppSharpener, MisuseIsAnswered) {
    Line line(29);
    Sharpener sharpener;
    EXPECT_EQ(sharpener.trySend(line), Status::outOfOrder);
    EXPECT_EQ(sharpener.tryRead(line), Status::outOfOrder);
    EXPECT_EQ(sharpener.lineBytes(), 0u);
    EXPECT_EQ(Thrown([&] { (void)sharpener.push(line); }, Status::outOfOrder),
              std::string("Sharpener::push: ") + kOutOfOrder);
    EXPECT_EQ(sharpener.open({.size = {10, 3}}), Status::done);
    EXPECT_EQ(sharpener.trySend(line), Status::badArgument);
    EXPECT_EQ(Thrown([&] { (void)sharpener.push(line); }), "Sharpener::push: the line has 29 bytes; 30 are needed");
    line.resize(30);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(sharpener.trySend(line), Status::done);
    }
    EXPECT_EQ(Thrown([&] { sharpener.read(std::span(line).first(29)); }),
              "Sharpener::read: the line has 29 bytes; 30 are needed");
    EXPECT_EQ(sharpener.waiting(), 1u);
    // A host that spoils the context's settings gets refusals, and no line.
    (*static_cast<_SSharpParam**>(sharpener.handle()))->level = 4;
    EXPECT_EQ(sharpener.tryRead(line), Status::badArgument);
    EXPECT_TRUE(sharpener.lines().begin() == std::default_sentinel);
    sharpener.close();
    EXPECT_EQ(sharpener.handle(), nullptr);
    EXPECT_EQ(sharpener.waiting(), 0u);
    EXPECT_EQ(sharpener.lineBytes(), 0u);
}

TEST(CppSharpener, EditedSettingsAreRefusedBySend) {
    Line line(30);
    Sharpener sharpener({.size = {10, 3}});
    (*static_cast<_SSharpParam**>(sharpener.handle()))->level = 4;
    EXPECT_EQ(sharpener.trySend(line), Status::badArgument);
}

TEST(CppSharpener, SettingsOutOfRangeSayWhatIsAllowed) {
    EXPECT_EQ(ProblemOf(Sharpness{.level = 4, .size = {3, 1}}), "Sharpness: level is 4; allowed: -2 to 3");
    EXPECT_EQ(ProblemOf(Sharpness{.level = -3, .size = {3, 1}}), "Sharpness: level is -3; allowed: -2 to 3");
    EXPECT_EQ(ProblemOf(Sharpness{.level = 0, .size = {3, 1}}),
              "Sharpness: level is 0; allowed: -2, -1, 1, 2 and 3");
    EXPECT_EQ(ProblemOf(Sharpness{.size = {2, 1}}), "Sharpness: size.width is 2; allowed: 3 to 2147483647");
    EXPECT_EQ(ProblemOf(Sharpness{.size = {3, 0}}), "Sharpness: size.height is 0; allowed: 1 to 2147483647");
    EXPECT_EQ(ProblemOf(Sharpness{.size = {3, 1}, .format = PixelFormat::rgba8}),
              "Sharpness: format is neither rgb8 nor gray8");
    EXPECT_EQ(ProblemOf(Sharpness{.size = {3, 1}, .rowBytes = 8}),
              "Sharpness: rowBytes is less than the pixels need");
    EXPECT_EQ(ProblemOf(Sharpness{.size = {2000000000, 1}}), "Sharpness: rowBytes is less than the pixels need");
    EXPECT_EQ(ProblemOf(Sharpness{.size = {1431655766, 1}}), "Sharpness: rowBytes is less than the pixels need");
    EXPECT_EQ(ProblemOf(Sharpness{.size = {1431655765, 1}}), "");  // 2^32 - 1 bytes
    EXPECT_EQ(ProblemOf(Sharpness{.size = {3, 1}, .rowBytes = 9}), "");
    Sharpener sharpener({.size = {3, 1}});
    EXPECT_EQ(sharpener.open({.level = 0}), Status::badArgument);
    EXPECT_EQ(sharpener.handle(), nullptr);
    EXPECT_EQ(Thrown([] { Sharpener({.level = 4, .size = {3, 1}}); }), "Sharpness: level is 4; allowed: -2 to 3");
}

Page PlainZoom(const Page& page, const Scaling& scaling) {
    PX_Zoom zoom;
    EXPECT_EQ(zoom.Open(scaling.to.width, scaling.to.height, scaling.from.width, scaling.from.height,
                        static_cast<int>(scaling.format), 2),
              0);
    Page out;
    for (Line line : page) {
        zoom.Send(line.data());
        while (zoom.CheckData() > 0) {
            out.emplace_back(platen::bytesOfLine(scaling.format, scaling.to.width));
            zoom.Read(out.back().data());
        }
    }
    return out;
}

TEST(CppScaler, LinesAreThoseOfThePlainCallsInEveryFormat) {
    for (const PixelFormat format :
         {PixelFormat::bilevel, PixelFormat::gray8, PixelFormat::gray16, PixelFormat::rgb8, PixelFormat::rgba8,
          PixelFormat::rgb16, PixelFormat::rgba16}) {
        for (const Size to : {Size{7, 4}, Size{33, 29}, Size{13, 11}, Size{5, 40}}) {
            const Scaling scaling = {.from = {13, 11}, .to = to, .format = format};
            const Page page = RandomPage(platen::bytesOfLine(format, 13), 11);
            Scaler scaler(scaling);
            EXPECT_EQ(scaler.handle()->dstWidth, to.width);
            EXPECT_EQ(scaler.sourceLineBytes(), page[0].size());
            EXPECT_EQ(scaler.lineBytes(), platen::bytesOfLine(format, to.width));
            const Page out = Pushed(scaler, page);
            EXPECT_EQ(out, PlainZoom(page, scaling));
            EXPECT_EQ(out.size(), static_cast<std::size_t>(to.height));
        }
    }
}

TEST(CppScaler, WideSamplesCanBeGivenAsSuch) {
    const Scaling scaling = {.from = {5, 4}, .to = {3, 6}, .format = PixelFormat::gray16};
    const Page page = RandomPage(10, 4);
    const Page expected = PlainZoom(page, scaling);
    Scaler scaler(scaling);
    Page out;
    for (const Line& line : page) {
        std::vector<std::uint16_t> samples(5);
        std::memcpy(samples.data(), line.data(), line.size());
        for (const std::span<const std::uint16_t> finished : scaler.push(samples)) {
            ASSERT_EQ(finished.size(), 3u);
            out.emplace_back(6);
            std::memcpy(out.back().data(), finished.data(), 6);
        }
    }
    EXPECT_EQ(out, expected);
    Scaler again(scaling);
    std::vector<std::uint16_t> samples(5);
    EXPECT_EQ(again.trySend(samples), Status::done);
    EXPECT_EQ(again.trySend(samples), Status::done);
    const int waiting = again.waiting();
    EXPECT_GT(waiting, 0);
    EXPECT_EQ(Thrown([&] { again.read(std::span(samples).first(2)); }),
              "Scaler::read: the line has 4 bytes; 6 are needed");
    again.read(samples);
    EXPECT_EQ(again.waiting(), waiting - 1);
    EXPECT_EQ(Thrown([&] { (void)again.push(std::span<const std::uint16_t>(samples).first(4)); }),
              "Scaler::push: the line has 8 bytes; 10 are needed");
}

TEST(CppScaler, MisuseIsAnswered) {
    Line line(30);
    std::vector<std::uint16_t> wide(30);
    Scaler scaler;
    EXPECT_EQ(scaler.sourceLineBytes(), 0u);
    EXPECT_EQ(scaler.lineBytes(), 0u);
    EXPECT_EQ(scaler.waiting(), 0);
    EXPECT_EQ(scaler.trySend(line), Status::outOfOrder);
    EXPECT_EQ(scaler.trySend(wide), Status::outOfOrder);
    EXPECT_EQ(scaler.tryRead(line), Status::outOfOrder);
    EXPECT_EQ(scaler.tryRead(wide), Status::outOfOrder);
    EXPECT_EQ(Thrown([&] { (void)scaler.push(line); }, Status::outOfOrder),
              std::string("Scaler::push: ") + kOutOfOrder);
    scaler = Scaler({.from = {10, 2}, .to = {10, 4}});
    EXPECT_EQ(scaler.trySend(wide), Status::badArgument);
    EXPECT_EQ(scaler.tryRead(wide), Status::badArgument);
    EXPECT_EQ(scaler.trySend(std::span<const std::uint8_t>(line).first(29)), Status::badArgument);
    EXPECT_EQ(Thrown([&] { (void)scaler.push(std::span<const std::uint8_t>(line).first(29)); }),
              "Scaler::push: the line has 29 bytes; 30 are needed");
    EXPECT_EQ(scaler.tryRead(line), Status::outOfOrder);
    EXPECT_EQ(scaler.trySend(line), Status::done);
    EXPECT_EQ(scaler.trySend(line), Status::done);
    EXPECT_EQ(scaler.trySend(line), Status::outOfOrder);
    EXPECT_EQ(scaler.tryRead(std::span(line).first(29)), Status::badArgument);
    EXPECT_EQ(Thrown([&] { scaler.read(std::span(line).first(29)); }),
              "Scaler::read: the line has 29 bytes; 30 are needed");
    int lines = 0;
    for (const auto finished : scaler.lines()) {
        EXPECT_EQ(finished.size(), 30u);
        ++lines;
    }
    EXPECT_EQ(lines, 4);
    EXPECT_EQ(scaler.trySend(line), Status::outOfOrder);
    scaler.close();
    EXPECT_EQ(scaler.handle(), nullptr);
    EXPECT_EQ(scaler.sourceLineBytes(), 0u);
    EXPECT_EQ(scaler.lineBytes(), 0u);
}

TEST(CppScaler, ClosedScalerRemembersNothing) {
    Scaler scaler({.from = {4, 4}, .to = {4, 4}, .format = PixelFormat::gray16});
    EXPECT_EQ(scaler.open({.from = {4, 4}, .to = {4, 4}, .format = PixelFormat::gray8}), Status::done);
    const std::vector<std::uint16_t> wide(4);
    EXPECT_EQ(scaler.trySend(wide), Status::badArgument);
}

TEST(CppScaler, SettingsOutOfRangeSayWhatIsAllowed) {
    EXPECT_EQ(ProblemOf(Scaling{.from = {0, 1}, .to = {1, 1}}),
              "Scaling: from.width is 0; allowed: 1 to 2147483647");
    EXPECT_EQ(ProblemOf(Scaling{.from = {1, -1}, .to = {1, 1}}),
              "Scaling: from.height is -1; allowed: 1 to 2147483647");
    EXPECT_EQ(ProblemOf(Scaling{.from = {1, 1}, .to = {0, 1}}), "Scaling: to.width is 0; allowed: 1 to 2147483647");
    EXPECT_EQ(ProblemOf(Scaling{.from = {1, 1}, .to = {1, 0}}),
              "Scaling: to.height is 0; allowed: 1 to 2147483647");
    EXPECT_EQ(ProblemOf(Scaling{.from = {1, 1}, .to = {1, 1}, .format = static_cast<PixelFormat>(12)}),
              "Scaling: format is none of the seven");
    EXPECT_EQ(ProblemOf(Scaling{.from = {1, 1}, .to = {1, 1}}), "");
    Scaler scaler({.from = {1, 1}, .to = {1, 1}});
    EXPECT_EQ(scaler.open({.from = {1, 1}, .to = {0, 1}}), Status::badArgument);
    EXPECT_EQ(scaler.handle(), nullptr);
    EXPECT_EQ(Thrown([] {
                  Scaler({.from = {1, 1}, .to = {0, 1}});
              }),
              "Scaling: to.width is 0; allowed: 1 to 2147483647");
}

TEST(CppLines, SettingsCompare) {
    const auto differ = [](const auto& a, const auto& b) { return a == a && !(a == b) && a != b; };
    EXPECT_TRUE(differ(Size{1, 2}, Size{1, 3}));
    EXPECT_TRUE(differ(Hsv{.hue = 1}, Hsv{.hue = 2}));
    EXPECT_TRUE(differ(Sharpness{.level = 1}, Sharpness{.level = 2}));
    EXPECT_TRUE(differ(Scaling{.to = {1, 1}}, Scaling{.to = {1, 2}}));
}

TEST(CppLines, SizesAreZeroUntilGiven) {
    EXPECT_EQ(Size(), (Size{0, 0}));
    EXPECT_EQ(Scaling().from, Size());
}

TEST(CppLines, FormatsHaveTheirBytes) {
    EXPECT_EQ(platen::bytesOfLine(PixelFormat::bilevel, 1), 1u);
    EXPECT_EQ(platen::bytesOfLine(PixelFormat::rgb8, 1), 3u);
    EXPECT_EQ(platen::bytesOfLine(PixelFormat::bilevel, 9), 2u);
    EXPECT_EQ(platen::bytesOfLine(PixelFormat::gray8, 9), 9u);
    EXPECT_EQ(platen::bytesOfLine(PixelFormat::rgb16, 9), 54u);
    EXPECT_EQ(platen::bytesOfLine(PixelFormat::rgba16, 0), 0u);
    EXPECT_EQ(platen::bytesOfLine(PixelFormat::rgb8, -5), 0u);
    for (const int format : {1, 8, 16, 24, 32, 48, 64}) {
        EXPECT_EQ(platen::hasWideSamples(static_cast<PixelFormat>(format)), PX_Zoom_BitsPerSample(format) == 16);
    }
}

// Every request for memory fails once alone: the status says so and nothing stays; nothing is taken for a line.
template <class Type, class Setting>
void FailEveryRequest(const Setting& setting, std::size_t mallocs, std::size_t news, std::size_t mallocsLeft) {
    for (const bool isNew : {false, true}) {
        std::size_t failures = 0;
        for (;; ++failures) {
            Type object;
            AllocationLedger ledger;
            isNew ? ledger.FailOnlyNew(failures) : ledger.FailOnly(failures);
            const Status status = object.open(setting);
            ledger.FailNone();
            const std::size_t left = ledger.Outstanding();
            if (status == Status::done) {
                break;
            }
            ledger.FreeOutstanding();
            EXPECT_EQ(status, Status::outOfMemory);
            EXPECT_EQ(object.handle(), nullptr);
            EXPECT_LE(left, mallocsLeft);
            ASSERT_LT(failures, 20u);
        }
        EXPECT_EQ(failures, isNew ? news : mallocs);
    }
    AllocationLedger ledger;
#if defined(_WIN32)
    ledger.FailOnly(0);  // where no memory at all is left GCC's runtime can't throw: docs/windows.md
#else
    ledger.FailFrom(0);
#endif
    bool thrown = false;
    try {
        const Type object(setting);
    } catch (const std::bad_alloc&) {
        thrown = true;
    }
    ledger.FreeOutstanding();
    EXPECT_TRUE(thrown);
}

TEST(CppLines, EveryFailingRequestOfAnOpeningGivesAStatus) {
    FailEveryRequest<HsvFilter>(Hsv{.hue = 1, .width = 4}, 1, 0, 0);
    FailEveryRequest<Sharpener>(Sharpness{.size = {4, 4}}, 9, 0, 7);  // what SetupSharp leaves behind
    FailEveryRequest<Scaler>(Scaling{.from = {4, 4}, .to = {3, 3}, .format = PixelFormat::bilevel}, 6, 2, 0);
}

TEST(CppLines, AnEndedObjectGivesEverythingBack) {
    AllocationLedger ledger;
    {
        HsvFilter hsv({.hue = 1, .width = 8});
        Sharpener sharpener({.size = {8, 8}});
        Scaler scaler({.from = {8, 8}, .to = {20, 20}});
        EXPECT_GE(ledger.Outstanding(), 3u);
        hsv.close();
        sharpener.close();
        scaler.close();
        EXPECT_EQ(ledger.Outstanding(), 0u);
        EXPECT_EQ(hsv.open({.hue = 1, .width = 8}), Status::done);
        EXPECT_EQ(sharpener.open({.size = {8, 8}}), Status::done);
        EXPECT_EQ(scaler.open({.from = {8, 8}, .to = {20, 20}}), Status::done);
    }
    EXPECT_EQ(ledger.Outstanding(), 0u);
}

TEST(CppLines, NothingIsTakenForALine) {
    HsvFilter hsv({.hue = 1, .width = 8});
    Sharpener sharpener({.size = {8, 8}});
    Scaler scaler({.from = {8, 8}, .to = {20, 20}});
    Line line(24);
    AllocationLedger ledger;
    int lines = 0;
    for (int y = 0; y < 8; ++y) {
        hsv.apply(line);
        for (const auto sharp : sharpener.push(line)) {
            for ([[maybe_unused]] const auto scaled : scaler.push(sharp)) {
                ++lines;
            }
        }
    }
    const std::size_t taken = ledger.Mallocs() + ledger.News();
    EXPECT_EQ(taken, 0u);
    EXPECT_EQ(lines, 20);
}

}  // namespace
