#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <vector>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "c/platen.h"
#include "support/AllocationLedger.h"
#include "support/Random.h"

// The companion library's scaler: line by line, record by record and status by status what the classes give.

namespace {

using platen_test::AllocationLedger;

using Line = std::vector<std::uint8_t>;

std::size_t BytesOf(int width, int format) {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(format) + 7) / 8;
}

Line RandomLine(std::size_t bytes) {
    static platen_test::Random random(1);
    Line line(bytes);
    for (std::uint8_t& byte : line) {
        byte = static_cast<std::uint8_t>(random.Next());
    }
    return line;
}

// A scaler of either kind; its members and the companion's functions are two views of it.
class Zoom {
  public:
    explicit Zoom(bool bilinear = false) {
        if (bilinear) {
            platen_zoom_bilinear* own = nullptr;
            EXPECT_EQ(platen_zoom_bilinear_new(&own), PLATEN_DONE);
            record = &own->base;
        } else {
            EXPECT_EQ(platen_zoom_new(&record), PLATEN_DONE);
        }
    }
    Zoom(const Zoom&) = delete;
    Zoom& operator=(const Zoom&) = delete;
    ~Zoom() {
        platen_zoom_free(record);
    }

    platen_zoom_bilinear* Own() const {
        return reinterpret_cast<platen_zoom_bilinear*>(record);
    }

    platen_zoom* record = nullptr;
};

struct Opening {
    int dstWidth, dstHeight, srcWidth, srcHeight, format, method;
};

TEST(CZoom, StreamsAreThoseOfTheClasses) {
    for (const int format : {1, 8, 16, 24, 32, 48, 64}) {
        for (const Opening& o : {Opening{7, 4, 13, 11, format, 2}, Opening{20, 19, 13, 11, format, 2},
                                 Opening{13, 11, 13, 11, format, 2}, Opening{30, 5, 13, 11, format, 0}}) {
            for (const bool bilinear : {false, true}) {
                const int method = bilinear ? 2 : o.method;
                const Zoom zoom(bilinear);
                PX_Zoom plain;
                PX_ZoomBilinear plainBilinear;
                PX_Zoom& reference = bilinear ? plainBilinear : plain;
                ASSERT_EQ(
                    platen_zoom_open(zoom.record, o.dstWidth, o.dstHeight, o.srcWidth, o.srcHeight, format, method),
                    reference.Open(o.dstWidth, o.dstHeight, o.srcWidth, o.srcHeight, format, method));
                Line out(BytesOf(o.dstWidth, format));
                Line expected(out.size());
                int lines = 0;
                for (int y = 0; y < o.srcHeight; ++y) {
                    Line line = RandomLine(BytesOf(o.srcWidth, format));
                    ASSERT_EQ(platen_zoom_send(zoom.record, line.data()), reference.Send(line.data()));
                    ASSERT_EQ(platen_zoom_check_data(zoom.record), reference.CheckData());
                    while (platen_zoom_check_data(zoom.record) > 0) {
                        EXPECT_EQ(platen_zoom_send(zoom.record, line.data()), PLATEN_OUT_OF_ORDER);
                        ASSERT_EQ(platen_zoom_read(zoom.record, out.data()), reference.Read(expected.data()));
                        EXPECT_EQ(out, expected);
                        ++lines;
                    }
                    EXPECT_EQ(platen_zoom_read(zoom.record, out.data()), PLATEN_OUT_OF_ORDER);
                }
                EXPECT_EQ(lines, o.dstHeight);
                EXPECT_EQ(platen_zoom_close(zoom.record), PLATEN_DONE);
                EXPECT_EQ(platen_zoom_send(zoom.record, out.data()), PLATEN_OUT_OF_ORDER);
            }
        }
    }
}

TEST(CZoom, StatusesAreThoseOfTheClass) {
    Line line(600);
    const Zoom zoom;
    EXPECT_EQ(platen_zoom_send(zoom.record, line.data()), PLATEN_OUT_OF_ORDER);
    EXPECT_EQ(platen_zoom_read(zoom.record, line.data()), PLATEN_OUT_OF_ORDER);
    EXPECT_EQ(platen_zoom_check_data(zoom.record), 0);
    EXPECT_EQ(platen_zoom_open(zoom.record, 200, 200, 100, 100, 24, 0), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_open(zoom.record, 200, 200, 100, 100, 24, 2), PLATEN_OUT_OF_ORDER);  // it counts as open
    EXPECT_EQ(platen_zoom_close(zoom.record), PLATEN_DONE);
    EXPECT_EQ(platen_zoom_open(zoom.record, 0, 200, 100, 100, 24, 2), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_close(zoom.record), PLATEN_DONE);
    EXPECT_EQ(platen_zoom_open(zoom.record, 200, 200, 100, 100, 12, 2), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_close(zoom.record), PLATEN_DONE);
    EXPECT_EQ(platen_zoom_open(zoom.record, 200, 200, 100, 100, 24, 2), PLATEN_DONE);
    EXPECT_EQ(platen_zoom_open(zoom.record, 200, 200, 100, 100, 24, 2), PLATEN_OUT_OF_ORDER);
    EXPECT_EQ(platen_zoom_send(zoom.record, nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_send(zoom.record, line.data()), PLATEN_DONE);
    EXPECT_EQ(platen_zoom_send(zoom.record, line.data()), PLATEN_DONE);
    EXPECT_EQ(platen_zoom_read(zoom.record, nullptr), PLATEN_BAD_ARGUMENT);
}

TEST(CZoom, NullPointersAreBadArguments) {
    std::uint8_t byte = 0;
    EXPECT_EQ(platen_zoom_new(nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_bilinear_new(nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_open(nullptr, 1, 1, 1, 1, 8, 2), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_close(nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_send(nullptr, &byte), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_read(nullptr, &byte), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_check_data(nullptr), 0);
    platen_zoom_free(nullptr);
}

TEST(CZoom, FreeGivesBackWhatAnOpenScalerHolds) {
    for (const bool bilinear : {false, true}) {
        AllocationLedger ledger;
        {
            const Zoom zoom(bilinear);
            ASSERT_EQ(platen_zoom_open(zoom.record, 7, 4, 13, 11, 1, 2), PLATEN_DONE);
            EXPECT_GT(ledger.Outstanding(), 1u);
        }
        EXPECT_EQ(ledger.Outstanding(), 0u);
    }
}

TEST(CZoomDeathTest, RequestsThatEndTheProcessStillDo) {
    const Zoom zoom;
    EXPECT_DEATH(platen_zoom_open(zoom.record, 200, 200, 100, 100, 24, 1),
                 "Sources/PX_Zoom/PX_Zoom:84: failed assertion `0'");
}

TEST(CZoom, FieldsAreTheObjects) {
    const Zoom zoom;
    ASSERT_EQ(platen_zoom_open(zoom.record, 5, 3, 10, 10, 24, 0), PLATEN_DONE);
    EXPECT_EQ(zoom.record->method, 2);
    EXPECT_EQ(zoom.record->dst_width, 5);
    EXPECT_EQ(zoom.record->dst_height, 3);
    EXPECT_EQ(zoom.record->src_width, 10);
    EXPECT_EQ(zoom.record->src_height, 10);
    EXPECT_EQ(zoom.record->pixel_format, 24);
    const platen_zoom_bilinear* const own = zoom.record->zoom;
    ASSERT_NE(own, nullptr);
    EXPECT_EQ(own->base.zoom, nullptr);
    EXPECT_EQ(own->base.active, 1);
    EXPECT_EQ(own->bits_per_pixel, 24);
    EXPECT_EQ(own->dst_line_bytes, 15);
    EXPECT_EQ(own->src_line_bytes, 30);
    EXPECT_EQ(own->work_line_bytes, 310u);
    EXPECT_EQ(own->vert_cursor, own->vert_param);
    EXPECT_NE(own->work_line[0], nullptr);
    EXPECT_NE(own->work_line[1], nullptr);
    EXPECT_EQ(own->bilevel_line, nullptr);
    // 10 to 3 gives the records that PX_ZoomBilinear's tests have by hand.
    const PX_Zoom2_Param expected[] = {{0, 3, 2, 0, 1, 9, 3}, {3, 2, 5, 2, 2, 10, 6}, {6, 1, 9, 0, 0, 10, 9}};
    EXPECT_EQ(std::memcmp(own->vert_param, expected, sizeof expected), 0);
    const Line line(30, 100);
    for (int y = 0; y < 4; ++y) {
        EXPECT_EQ(platen_zoom_send(zoom.record, line.data()), PLATEN_DONE);
    }
    EXPECT_EQ(own->base.lines_ready, 1);
    EXPECT_EQ(own->resend_line, 1);
    EXPECT_EQ(own->src_line_index, 3 + 0);
}

// A host that edits a record gets what the class gives for it.
TEST(CZoom, EditedRecordsCount) {
    const Zoom zoom;
    ASSERT_EQ(platen_zoom_open(zoom.record, 4, 2, 8, 2, 8, 2), PLATEN_DONE);
    zoom.record->zoom->horz_param[2] = {0, 1, 0, 0, 0, 1, 0};
    const Line line = {10, 20, 30, 40, 50, 60, 70, 80};
    Line out(4);
    ASSERT_EQ(platen_zoom_send(zoom.record, line.data()), PLATEN_DONE);
    ASSERT_EQ(platen_zoom_read(zoom.record, out.data()), PLATEN_DONE);
    EXPECT_EQ(out, (Line{15, 35, 10, 75}));
}

TEST(CZoom, EveryFailingRequestGivesAStatus) {
    for (const bool bilinear : {false, true}) {
        AllocationLedger ledger;
        ledger.FailOnlyNew(0);
        auto* zoom = reinterpret_cast<platen_zoom*>(std::uintptr_t{0x1000});
        auto* own = reinterpret_cast<platen_zoom_bilinear*>(std::uintptr_t{0x1000});
        const std::int32_t status = bilinear ? platen_zoom_bilinear_new(&own) : platen_zoom_new(&zoom);
        EXPECT_EQ(status, PLATEN_OUT_OF_MEMORY);
        EXPECT_TRUE(bilinear ? own == nullptr : zoom == nullptr);
    }
    for (std::size_t index = 0; index < 5; ++index) {
        const Zoom zoom;
        AllocationLedger ledger;
        ledger.FailOnly(index);
        EXPECT_EQ(platen_zoom_open(zoom.record, 4, 4, 8, 8, 1, 2), PLATEN_OUT_OF_MEMORY);
        platen_zoom_close(zoom.record);
        EXPECT_EQ(ledger.Outstanding(), 0u);
    }
    const Zoom zoom;
    AllocationLedger ledger;
    ledger.FailOnlyNew(0);
    EXPECT_EQ(platen_zoom_open(zoom.record, 4, 4, 8, 8, 1, 2), PLATEN_BAD_ARGUMENT);  // as the class has it
    EXPECT_EQ(ledger.Outstanding(), 0u);
}

TEST(CZoomParams, TablesAndShapeAreThoseOfTheMembers) {
    PX_ZoomBilinear members;
    for (std::int32_t range = 0; range <= 20; ++range) {
        for (std::int32_t weight = 0; weight <= range; ++weight) {
            std::int32_t shaped = -1;
            EXPECT_EQ(platen_zoom_shift_coefficient(weight, range, &shaped), PLATEN_DONE);
            EXPECT_EQ(shaped, members.Shift_Coefficient(weight, range));
        }
    }
    const auto same = [](const std::vector<PX_Zoom2_Param>& a, const std::vector<PX_Zoom2_Param>& b) {
        return std::memcmp(a.data(), b.data(), a.size() * sizeof a[0]) == 0;
    };
    for (const int count : {3, 9}) {
        std::vector<PX_Zoom2_Param> table(10);
        std::vector<PX_Zoom2_Param> expected(10);
        std::int32_t wide = -1;
        EXPECT_EQ(platen_zoom_calc_reduced_param(table.data(), count, 10, &wide), PLATEN_DONE);
        EXPECT_EQ(wide, members.Calc_ReducedParam(expected.data(), count, 10));
        EXPECT_TRUE(same(table, expected));
    }
    for (const int count : {1, 4, 10}) {
        std::vector<PX_Zoom2_Param> table(10);
        std::vector<PX_Zoom2_Param> expected(10);
        EXPECT_EQ(platen_zoom_calc_expand_param(table.data(), 10, count), PLATEN_DONE);
        members.Calc_ExpandParam(expected.data(), 10, count);
        EXPECT_TRUE(same(table, expected));
    }
    std::vector<PX_Zoom2_Param> table(1);
    std::int32_t wide = -1;
    EXPECT_EQ(platen_zoom_calc_reduced_param(table.data(), 1, 70000, &wide), PLATEN_DONE);
    EXPECT_EQ(wide, 1);
}

TEST(CZoomParams, ArgumentsThatDontFitAreRefused) {
    std::vector<PX_Zoom2_Param> table(10);
    std::int32_t value = 0;
    EXPECT_EQ(platen_zoom_shift_coefficient(1, 2, nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_shift_coefficient(-1, 2, &value), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_shift_coefficient(3, 2, &value), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_calc_reduced_param(nullptr, 3, 10, &value), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_calc_reduced_param(table.data(), 3, 10, nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_calc_reduced_param(table.data(), 0, 10, &value), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_calc_reduced_param(table.data(), 10, 10, &value), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_calc_expand_param(nullptr, 10, 3), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_calc_expand_param(table.data(), 10, 0), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_zoom_calc_expand_param(table.data(), 3, 10), PLATEN_BAD_ARGUMENT);
}

// One open implementation, seen as the record and as the object.
class CZoomPasses : public ::testing::Test {
  protected:
    void Open(int dstWidth, int dstHeight, int srcWidth, int srcHeight, int format) {
        ASSERT_EQ(platen_zoom_open(zoom_.record, dstWidth, dstHeight, srcWidth, srcHeight, format, 2), PLATEN_DONE);
    }
    platen_zoom_bilinear* Record() const {
        return zoom_.Own();
    }
    PX_ZoomBilinear& Object() const {
        return *reinterpret_cast<PX_ZoomBilinear*>(zoom_.Own());
    }

    std::vector<std::uint32_t> Numbers(std::size_t count) {
        std::vector<std::uint32_t> numbers(count);
        for (std::uint32_t& number : numbers) {
            number = static_cast<std::uint32_t>(random_.Next() % 60000);
        }
        return numbers;
    }

  private:
    Zoom zoom_{true};
    platen_test::Random random_{2};
};

constexpr std::size_t kRoom = 64;  // of a line, in numbers

template <class S>
std::vector<S> Samples(std::size_t count) {
    std::vector<S> samples(count);
    const Line bytes = RandomLine(count * sizeof(S));
    std::memcpy(samples.data(), bytes.data(), bytes.size());
    return samples;
}

TEST_F(CZoomPasses, HorizontalOnesAreTheMembers) {
    for (const int dstWidth : {4, 9, 15}) {
        Open(dstWidth, 3, 9, 3, 24);
        auto bytes = Samples<std::uint8_t>(27);
        auto words = Samples<std::uint16_t>(27);
        std::vector<std::uint32_t> out(kRoom);
        std::vector<std::uint32_t> expected(kRoom);
        EXPECT_EQ(platen_zoom_expand_horz_u32_u8(Record(), out.data(), bytes.data()), PLATEN_DONE);
        Object().Expand_Horz(expected.data(), bytes.data());
        EXPECT_EQ(out, expected);
        EXPECT_EQ(platen_zoom_expand_horz_u32_u16(Record(), out.data(), words.data()), PLATEN_DONE);
        Object().Expand_Horz(expected.data(), words.data());
        EXPECT_EQ(out, expected);
        EXPECT_EQ(platen_zoom_expand_horz_f64_u8(Record(), out.data(), bytes.data()), PLATEN_DONE);
        Object().Expand_Horz(reinterpret_cast<double*>(expected.data()), bytes.data());
        EXPECT_EQ(out, expected);
        EXPECT_EQ(platen_zoom_expand_horz_f64_u16(Record(), out.data(), words.data()), PLATEN_DONE);
        Object().Expand_Horz(reinterpret_cast<double*>(expected.data()), words.data());
        EXPECT_EQ(out, expected);
    }
}

TEST_F(CZoomPasses, ReducingOnesAreTheMembers) {
    Open(5, 3, 9, 10, 24);
    auto line = Numbers(kRoom);
    std::vector<std::uint32_t> whole(kRoom, 7);
    std::vector<std::uint32_t> expectedWhole(kRoom, 7);
    std::vector<double> real(kRoom, 7.5);
    std::vector<double> expectedReal(kRoom, 7.5);
    EXPECT_EQ(platen_zoom_add_reduce_vert_u32(Record(), whole.data(), line.data(), 5), PLATEN_DONE);
    Object().Add_ReduceVert(expectedWhole.data(), line.data(), 5);
    EXPECT_EQ(whole, expectedWhole);
    EXPECT_EQ(platen_zoom_add_reduce_vert_f64(Record(), real.data(), line.data(), 5), PLATEN_DONE);
    Object().Add_ReduceVert(expectedReal.data(), line.data(), 5);
    EXPECT_EQ(real, expectedReal);
    const auto compare = [](auto sample, auto reduce, auto member) {
        std::vector<decltype(sample)> out(kRoom);
        std::vector<decltype(sample)> expected(kRoom);
        EXPECT_EQ(reduce(out.data()), PLATEN_DONE);
        member(expected.data());
        EXPECT_EQ(out, expected);
        EXPECT_NE(out, std::vector<decltype(sample)>(kRoom));
    };
    compare(
        std::uint8_t{}, [&](auto* out) { return platen_zoom_reduce_vert_u8_u32(Record(), out, whole.data()); },
        [&](auto* out) { Object().Reduce_Vert(out, whole.data()); });
    compare(
        std::uint16_t{}, [&](auto* out) { return platen_zoom_reduce_vert_u16_u32(Record(), out, whole.data()); },
        [&](auto* out) { Object().Reduce_Vert(out, whole.data()); });
    compare(
        std::uint8_t{}, [&](auto* out) { return platen_zoom_reduce_vert_u8_f64(Record(), out, real.data()); },
        [&](auto* out) { Object().Reduce_Vert(out, real.data()); });
    compare(
        std::uint16_t{}, [&](auto* out) { return platen_zoom_reduce_vert_u16_f64(Record(), out, real.data()); },
        [&](auto* out) { Object().Reduce_Vert(out, real.data()); });
}

TEST_F(CZoomPasses, EnlargingAndKeepingOnesAreTheMembers) {
    Open(5, 10, 9, 4, 24);
    Object().vertCursor += 2;  // a record whose two weights differ
    auto upper = Numbers(kRoom);
    auto lower = Numbers(kRoom);
    auto* const upperReal = reinterpret_cast<double*>(upper.data());
    auto* const lowerReal = reinterpret_cast<double*>(lower.data());
    std::vector<std::uint8_t> bytes(kRoom);
    std::vector<std::uint8_t> expectedBytes(kRoom);
    std::vector<std::uint16_t> words(kRoom);
    std::vector<std::uint16_t> expectedWords(kRoom);
    EXPECT_EQ(platen_zoom_expand_vert_u8_u32(Record(), bytes.data(), upper.data(), lower.data()), PLATEN_DONE);
    Object().Expand_Vert(expectedBytes.data(), upper.data(), lower.data());
    EXPECT_EQ(bytes, expectedBytes);
    EXPECT_EQ(platen_zoom_expand_vert_u16_u32(Record(), words.data(), upper.data(), lower.data()), PLATEN_DONE);
    Object().Expand_Vert(expectedWords.data(), upper.data(), lower.data());
    EXPECT_EQ(words, expectedWords);
    EXPECT_EQ(platen_zoom_expand_vert_u8_f64(Record(), bytes.data(), lower.data(), upper.data()), PLATEN_DONE);
    Object().Expand_Vert(expectedBytes.data(), lowerReal, upperReal);
    EXPECT_EQ(bytes, expectedBytes);
    EXPECT_EQ(platen_zoom_expand_vert_u16_f64(Record(), words.data(), lower.data(), upper.data()), PLATEN_DONE);
    Object().Expand_Vert(expectedWords.data(), lowerReal, upperReal);
    EXPECT_EQ(words, expectedWords);
    EXPECT_EQ(platen_zoom_equal_vert_u8(Record(), bytes.data(), upper.data()), PLATEN_DONE);
    Object().Equal_Vert(expectedBytes.data(), upper.data());
    EXPECT_EQ(bytes, expectedBytes);
    EXPECT_EQ(platen_zoom_equal_vert_u16(Record(), words.data(), lower.data()), PLATEN_DONE);
    Object().Equal_Vert(expectedWords.data(), lower.data());
    EXPECT_EQ(words, expectedWords);
}

// Every pass refuses each null pointer, and an object that isn't open.
template <class Pass, class... Pointers>
void ExpectRefusals(platen_zoom_bilinear* open, platen_zoom_bilinear* closed, Pass pass, Pointers... pointers) {
    EXPECT_EQ(pass(open, pointers...), PLATEN_DONE);
    EXPECT_EQ(pass(closed, pointers...), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(pass(static_cast<platen_zoom_bilinear*>(nullptr), pointers...), PLATEN_BAD_ARGUMENT);
    for (std::size_t omitted = 0; omitted < sizeof...(pointers); ++omitted) {
        std::size_t index = 0;
        const auto orNull = [&](auto* pointer) { return index++ == omitted ? nullptr : pointer; };
        const std::tuple<Pointers...> arguments{orNull(pointers)...};
        EXPECT_EQ(std::apply([&](auto... chosen) { return pass(open, chosen...); }, arguments),
                  PLATEN_BAD_ARGUMENT);
    }
}

TEST_F(CZoomPasses, NullPointersAndClosedScalersAreRefused) {
    Open(5, 10, 9, 4, 24);
    const Zoom other(true);
    platen_zoom_bilinear* const closed = other.Own();
    std::vector<std::uint32_t> a(kRoom);
    std::vector<std::uint32_t> b(kRoom);
    std::vector<std::uint32_t> c(kRoom);
    std::vector<double> real(kRoom);
    auto* const bytes = reinterpret_cast<std::uint8_t*>(a.data());
    auto* const words = reinterpret_cast<std::uint16_t*>(a.data());
    ExpectRefusals(Record(), closed, platen_zoom_expand_horz_u32_u8, b.data(), bytes);
    ExpectRefusals(Record(), closed, platen_zoom_expand_horz_u32_u16, b.data(), words);
    ExpectRefusals(Record(), closed, platen_zoom_expand_horz_f64_u8, b.data(), bytes);
    ExpectRefusals(Record(), closed, platen_zoom_expand_horz_f64_u16, b.data(), words);
    ExpectRefusals(
        Record(), closed,
        [](auto* zoom, auto* acc, auto* line) { return platen_zoom_add_reduce_vert_u32(zoom, acc, line, 1); },
        b.data(), c.data());
    ExpectRefusals(
        Record(), closed,
        [](auto* zoom, auto* acc, auto* line) { return platen_zoom_add_reduce_vert_f64(zoom, acc, line, 1); },
        real.data(), c.data());
    ExpectRefusals(Record(), closed, platen_zoom_reduce_vert_u8_u32, bytes, b.data());
    ExpectRefusals(Record(), closed, platen_zoom_reduce_vert_u16_u32, words, b.data());
    ExpectRefusals(Record(), closed, platen_zoom_reduce_vert_u8_f64, bytes, real.data());
    ExpectRefusals(Record(), closed, platen_zoom_reduce_vert_u16_f64, words, real.data());
    ExpectRefusals(Record(), closed, platen_zoom_expand_vert_u8_u32, bytes, b.data(), c.data());
    ExpectRefusals(Record(), closed, platen_zoom_expand_vert_u16_u32, words, b.data(), c.data());
    ExpectRefusals(Record(), closed, platen_zoom_expand_vert_u8_f64, bytes, b.data(), c.data());
    ExpectRefusals(Record(), closed, platen_zoom_expand_vert_u16_f64, words, b.data(), c.data());
    ExpectRefusals(Record(), closed, platen_zoom_equal_vert_u8, bytes, b.data());
    ExpectRefusals(Record(), closed, platen_zoom_equal_vert_u16, words, b.data());
}

// The handle of the sharpness filter is the record that platen.h shows.
TEST(CSharp, ContextIsTheRecord) {
    _SSharpParam param = {2, 8, 5, 3, 8};
    void* handle = nullptr;
    ASSERT_EQ(SetupSharp(&param, &handle), 0);
    auto* const context = static_cast<platen_sharp_context*>(handle);
    EXPECT_EQ(context->param->level, 2);
    EXPECT_EQ(context->kernel[4], 8);
    EXPECT_EQ(context->kernel[9], 4);
    Line line = {1, 2, 3, 4, 5, 6, 7, 8};
    ASSERT_EQ(ApplySharpFilterPutLine(&handle, line.data()), 0);
    EXPECT_EQ(context->newest_line[7], 8);
    EXPECT_EQ(context->lines_in, 1u);
    ASSERT_EQ(ApplySharpFilterPutLine(&handle, line.data()), 0);
    EXPECT_EQ(context->previous_line[0], 1);
    EXPECT_EQ(context->oldest_line[0], 0);
    EXPECT_EQ(context->lines_ready, 1u);
    Line out(8);
    ASSERT_EQ(ApplySharpFilterGetLine(&handle, out.data()), 0);
    EXPECT_EQ(std::memcmp(out.data(), context->out_line_1, 8), 0);
    EXPECT_NE(context->out_line_2, nullptr);
    DisposeSharpness(handle);
}

}  // namespace
