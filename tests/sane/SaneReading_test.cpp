// How a page's bytes come through the backend: devices that send odd pieces, too much, nothing, or passes that make
// no page; applications with little room.

#include <sane/saneopts.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <set>
#include <thread>

#include "StandInTest.h"

namespace platen_test {
namespace {

using platen_tool::Sane;

constexpr std::size_t kWidth = 61;
constexpr std::size_t kHeight = 47;

// One for each road that a frame's bytes can take.
const std::vector<Road>& Roads() {
    static const std::vector<Road> roads = {
        {"as it is", "Gray", false, {}},
        {"tone", "Gray", false, {{"contrast", 20}}},
        {"wide", "Gray", false, {{"depth", 16}, {"resolution", 100}}},
        {"larger", "Gray", false, {{"resolution", 600}}},
        {"unknown height", "Gray", true, {{"contrast", 20}}},
        {"spooled", "Gray", true, {{"platen-sharpness", 1}}},
        {"spooled colours", "Color", true, {{"platen-sharpness", 1}}},
        {"spooled planes", "Passes", true, {{"platen-sharpness", 1}}},
        {"collected", "Passes", false, {{"saturation", 10}}},
    };
    return roads;
}

class SaneReading : public StandInTest {
  protected:
    // One read.
    static SANE_Status Read(const Application& application, SANE_Int room, SANE_Int& count) {
        std::vector<SANE_Byte> bytes(static_cast<std::size_t>(std::max(room, 1)));
        return Sane().read(application.Handle(), bytes.data(), room, &count);
    }

    static std::size_t CountOf(const std::vector<std::string>& calls, const std::string& call) {
        return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), call));
    }
};

TEST_F(SaneReading, PiecesOfEverySizeMakeTheSamePage) {
    for (const Road& road : Roads()) {
        const Application application(kWrapped);
        SetUpDevice(application, road);
        const ScannedPage whole = application.Scan(100000);
        ASSERT_EQ(whole.status, SANE_STATUS_GOOD) << road.name;
        ASSERT_FALSE(whole.bytes.empty()) << road.name;
        for (const std::size_t piece : std::initializer_list<std::size_t>{1, 60, 61, 62, 122, 123, 30000}) {
            Hooks().piece = piece;
            EXPECT_TRUE(application.Scan(50).bytes == whole.bytes) << road.name << piece;
        }
        for (const SANE_Int room : {1, 2, 61, 62}) {
            EXPECT_TRUE(application.Scan(room).bytes == whole.bytes) << road.name << room;
        }
        Hooks().piece = 1009;
    }
}

// Devices may announce fewer lines than they send.
TEST_F(SaneReading, WhatComesAfterTheLastLineIsIgnored) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetWord("contrast", 20), SANE_STATUS_GOOD);
    const ScannedPage whole = application.Scan();
    for (const SANE_Int lines : {1, 2, 16, 40, 46}) {
        Hooks().parameters = [lines](SANE_Parameters& parameters) { parameters.lines = lines; };
        for (const std::size_t piece : std::initializer_list<std::size_t>{1, 61, 62, 1009, 10000}) {
            Hooks().piece = piece;
            for (const SANE_Int room : {50, 100000}) {
                const ScannedPage page = application.Scan(room);
                EXPECT_EQ(page.status, SANE_STATUS_GOOD);
                ASSERT_EQ(page.bytes.size(), static_cast<std::size_t>(lines) * kWidth) << lines << " " << piece;
                EXPECT_TRUE(std::equal(page.bytes.begin(), page.bytes.end(), whole.bytes.begin()))
                    << lines << " " << piece;
            }
        }
    }
}

// SANE has -1 for a height that isn't known; some devices say 0.
TEST_F(SaneReading, AHeightOfZeroIsNoneThatIsKnown) {
    const Application application(kWrapped);
    for (const SANE_Word sharpness : {0, 1}) {
        ASSERT_EQ(application.SetWord("contrast", 20), SANE_STATUS_GOOD);
        ASSERT_EQ(application.SetWord("platen-sharpness", sharpness), SANE_STATUS_GOOD);
        const ScannedPage whole = application.Scan();
        Hooks().parameters = [](SANE_Parameters& parameters) { parameters.lines = 0; };
        EXPECT_EQ(application.Parameters().lines, -1);
        EXPECT_TRUE(application.Scan().bytes == whole.bytes);
        Hooks().parameters = nullptr;
    }
}

// All lines that are there, and no waiting for more.
TEST_F(SaneReading, AReadGivesWhatThereIs) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetWord("contrast", 20), SANE_STATUS_GOOD);
    SANE_Int count = 0;
    for (const auto& [piece, expected] : {std::pair{1009, 976}, {122, 122}, {121, 61}, {62, 61}, {3000, 2867}}) {
        Hooks().piece = static_cast<std::size_t>(piece);
        ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
        EXPECT_EQ(Read(application, 100000, count), SANE_STATUS_GOOD);
        EXPECT_EQ(count, std::min<SANE_Int>(expected, kWidth * kHeight)) << piece;
        Sane().cancel(application.Handle());
    }
    // What is in a temporary file is there.
    ASSERT_EQ(application.SetWord("unknown-height", SANE_TRUE), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("platen-sharpness", 1), SANE_STATUS_GOOD);
    ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
    EXPECT_EQ(Read(application, 100000, count), SANE_STATUS_GOOD);
    EXPECT_EQ(count, static_cast<SANE_Int>(kWidth * kHeight));
    EXPECT_EQ(Read(application, 100000, count), SANE_STATUS_EOF);
    // Colours that were collected, too.
    ASSERT_EQ(application.SetText("mode", "Passes"), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("saturation", 10), SANE_STATUS_GOOD);
    ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
    EXPECT_EQ(Read(application, 100000, count), SANE_STATUS_GOOD);
    EXPECT_EQ(count, static_cast<SANE_Int>(3 * kWidth * kHeight));
    EXPECT_EQ(Read(application, 100000, count), SANE_STATUS_EOF);
}

// What came before a failure has come: lines don't wait for others that may not come.
TEST_F(SaneReading, LinesBeforeAFailureAreGiven) {
    const Application application(kWrapped);
    for (const SANE_Word contrast : {20, 0}) {
        ASSERT_EQ(application.SetWord("contrast", contrast), SANE_STATUS_GOOD);
        ASSERT_EQ(application.SetWord("platen-sharpness", contrast == 0 ? 1 : 0), SANE_STATUS_GOOD);
        Hooks().piece = 200;  // three lines and a part; a filter for sharpness holds one back
        ASSERT_EQ(application.SetText("fault", "read 9 1"), SANE_STATUS_GOOD);
        ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
        SANE_Int count = 0;
        EXPECT_EQ(Read(application, 100000, count), SANE_STATUS_GOOD);
        EXPECT_EQ(count, static_cast<SANE_Int>(contrast != 0 ? 3 * kWidth : 2 * kWidth));
        EXPECT_EQ(Read(application, 100000, count), SANE_STATUS_IO_ERROR);
        EXPECT_EQ(count, 0);
        Sane().cancel(application.Handle());
    }
}

// What a device says about bytes where it has none to give is no count.
TEST_F(SaneReading, CountsThatMakeNoSenseAreNone) {
    const Application application(kWrapped);
    for (const SANE_Word contrast : {0, 20}) {
        ASSERT_EQ(application.SetWord("contrast", contrast), SANE_STATUS_GOOD);
        const ScannedPage whole = application.Scan();
        int call = 0;
        Hooks().read = [&call](SANE_Byte* /*bytes*/, SANE_Int room, SANE_Int& count) -> Answer {
            switch (call++) {
                case 0:
                    count = -3;
                    return SANE_STATUS_GOOD;
                case 1:
                    return SANE_STATUS_GOOD;  // left as it is
                case 2:
                    count = room;
                    return SANE_STATUS_DEVICE_BUSY;
                case 3:
                    count = 1;
                    return SANE_STATUS_DEVICE_BUSY;
                default:
                    return std::nullopt;
            }
        };
        ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
        std::vector<SANE_Byte> bytes;
        std::vector<SANE_Byte> buffer(500);
        SANE_Int busy = 0;
        for (SANE_Status status = SANE_STATUS_GOOD; status != SANE_STATUS_EOF;) {
            SANE_Int count = 0;
            status = Sane().read(application.Handle(), buffer.data(), 500, &count);
            ASSERT_TRUE(status == SANE_STATUS_GOOD || status == SANE_STATUS_DEVICE_BUSY ||
                        status == SANE_STATUS_EOF);
            busy += status == SANE_STATUS_DEVICE_BUSY ? 1 : 0;
            EXPECT_TRUE(status == SANE_STATUS_GOOD || count == 0);
            bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + count);
        }
        EXPECT_EQ(busy, 2);
        EXPECT_TRUE(bytes == whole.bytes) << contrast;
        Sane().cancel(application.Handle());
        // More than there was room for.
        Hooks().read = [](SANE_Byte* data, SANE_Int room, SANE_Int& count) -> Answer {
            std::fill_n(data, room, SANE_Byte{9});
            count = room + 5;
            return SANE_STATUS_GOOD;
        };
        ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
        SANE_Int count = 0;
        EXPECT_EQ(Read(application, 61, count), SANE_STATUS_GOOD);
        EXPECT_EQ(count, 61);
        Sane().cancel(application.Handle());
        Hooks().read = nullptr;
    }
}

TEST_F(SaneReading, WithoutRoomNothingIsTaken) {
    for (const Road& road : Roads()) {
        const Application application(kWrapped);
        SetUpDevice(application, road);
        const ScannedPage whole = application.Scan();
        ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
        std::vector<SANE_Byte> bytes;
        std::vector<SANE_Byte> buffer(2000, SANE_Byte{7});
        const SANE_Parameters first = application.Parameters();
        for (SANE_Status status = SANE_STATUS_GOOD; status == SANE_STATUS_GOOD;) {
            SANE_Int count = 3;
            for (const SANE_Int none : {0, -1}) {
                if (std::string(road.name) != "as it is") {
                    EXPECT_EQ(Sane().read(application.Handle(), buffer.data(), none, &count), SANE_STATUS_GOOD)
                        << road.name;
                    EXPECT_EQ(count, 0) << road.name;
                }
            }
            status = Sane().read(application.Handle(), buffer.data(), 2000, &count);
            bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + count);
            if (std::string(road.name) != "as it is" && status == SANE_STATUS_GOOD && bytes.size() < 2000) {
                break;  // the rest as it comes
            }
        }
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), whole.bytes.begin())) << road.name << first.format;
        Sane().cancel(application.Handle());
    }
}

TEST_F(SaneReading, PagesOfOneLineAndOfNone) {
    for (const Road& road : Roads()) {
        if (!road.unknownHeight) {
            continue;
        }
        const Application application(kWrapped);
        SetUpDevice(application, road);
        const bool colours = road.mode == std::string("Color");
        const std::size_t line = kWidth * (colours ? 3 : 1);
        for (const std::size_t lines : std::initializer_list<std::size_t>{0, 1, 2}) {
            std::size_t left = 0;
            Hooks().start = [&left, lines, line]() -> Answer {
                left = lines * line;
                return std::nullopt;
            };
            Hooks().read = [&left](SANE_Byte* bytes, SANE_Int room, SANE_Int& count) -> Answer {
                count = std::min(static_cast<SANE_Int>(left), room);
                std::fill_n(bytes, count, SANE_Byte{100});
                left -= static_cast<std::size_t>(count);
                return count > 0 ? SANE_STATUS_GOOD : SANE_STATUS_EOF;
            };
            const ScannedPage page = application.Scan();
            EXPECT_EQ(page.status, SANE_STATUS_GOOD) << road.name << lines;
            EXPECT_EQ(page.bytes.size(), lines * line * page.frames.size()) << road.name << lines;
            const SANE_Byte level = page.bytes.empty() ? SANE_Byte{0} : page.bytes.front();
            EXPECT_EQ(std::count(page.bytes.begin(), page.bytes.end(), level),
                      static_cast<std::ptrdiff_t>(page.bytes.size()));
        }
    }
}

// The device isn't asked again, and would answer something else.
TEST_F(SaneReading, APageThatHasEndedStaysEnded) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetWord("contrast", 20), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Scan(4096, false).status, SANE_STATUS_GOOD);
    Hooks().read = [](SANE_Byte*, SANE_Int, SANE_Int&) -> Answer { return SANE_STATUS_JAMMED; };
    SANE_Int count = 5;
    EXPECT_EQ(Read(application, 100, count), SANE_STATUS_EOF);
    EXPECT_EQ(count, 0);
}

// A device that has nothing is asked again and again, until it has or the application cancels; the device may not
// notice that.
TEST_F(SaneReading, WaitingEndsWithACancel) {
    for (const char* mode : {"Gray", "Passes"}) {
        const Application application(kWrapped);
        ASSERT_EQ(application.SetText("mode", mode), SANE_STATUS_GOOD);
        ASSERT_EQ(application.SetWord(mode == std::string("Gray") ? "contrast" : "saturation", 20),
                  SANE_STATUS_GOOD);
        std::atomic<int> asked{0};
        Hooks().read = [&asked](SANE_Byte*, SANE_Int, SANE_Int& count) -> Answer {
            ++asked;
            count = 0;
            return SANE_STATUS_GOOD;
        };
        ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
        SANE_Int count = 5;
        SANE_Status status = SANE_STATUS_GOOD;
        std::atomic<bool> done{false};
        std::thread reader([&] {
            status = Read(application, 1000, count);
            done = true;
        });
        while (asked < 5) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_FALSE(done);
        Sane().cancel(application.Handle());
        reader.join();
        EXPECT_EQ(status, SANE_STATUS_CANCELLED);
        EXPECT_EQ(count, 0);
        // Bytes that the device gives after a cancel aren't the application's.
        Hooks().read = [](SANE_Byte* bytes, SANE_Int room, SANE_Int& got) -> Answer {
            std::fill_n(bytes, room, SANE_Byte{1});
            got = room;
            return SANE_STATUS_GOOD;
        };
        EXPECT_EQ(Read(application, 1000, count), SANE_STATUS_CANCELLED);
        EXPECT_EQ(count, 0);
        Hooks().read = [](SANE_Byte*, SANE_Int, SANE_Int&) -> Answer { return SANE_STATUS_JAMMED; };
        EXPECT_EQ(Read(application, 1000, count), SANE_STATUS_JAMMED);
        Hooks().read = nullptr;
        EXPECT_EQ(application.Scan().status, SANE_STATUS_GOOD);
    }
}

// Three passes that aren't a page's three colours.
TEST_F(SaneReading, PassesThatMakeNoPageAreAFailure) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetText("mode", "Passes"), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("saturation", 10), SANE_STATUS_GOOD);
    ASSERT_EQ(application.Scan().status, SANE_STATUS_GOOD);
    const std::pair<const char*, void (*)(SANE_Parameters&)> passes[] = {
        {"narrow", [](SANE_Parameters& p) { p.pixels_per_line -= 1; }},
        {"deep",
         [](SANE_Parameters& p) {
             p.depth = 16;
             p.bytes_per_line *= 2;
         }},
        {"unknown", [](SANE_Parameters& p) { p.depth = 7; }},
        {"grey", [](SANE_Parameters& p) { p.format = SANE_FRAME_GRAY; }},
        {"whole",
         [](SANE_Parameters& p) {
             p.format = SANE_FRAME_RGB;
             p.bytes_per_line *= 3;
         }},
        {"red again", [](SANE_Parameters& p) { p.format = SANE_FRAME_RED; }}};
    for (const auto& [name, change] : passes) {
        for (const std::size_t wrong : std::initializer_list<std::size_t>{2, 3}) {
            std::size_t started = 0;
            Hooks().start = [&started]() -> Answer {
                ++started;
                return std::nullopt;
            };
            Hooks().parameters = [&started, wrong = wrong, change = change](SANE_Parameters& parameters) {
                if (started == wrong) {
                    change(parameters);
                }
            };
            EXPECT_EQ(application.Scan().status, SANE_STATUS_IO_ERROR) << name << wrong;
            EXPECT_EQ(started, wrong) << name;
            Hooks().parameters = nullptr;
            started = 0;
            EXPECT_EQ(application.Scan().status, SANE_STATUS_GOOD) << name;
            EXPECT_EQ(started, 3u);
        }
    }
}

// The page has as many lines as the shortest pass.
TEST_F(SaneReading, AShorterPassMakesAShorterPage) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetText("mode", "Passes"), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("saturation", 10), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("unknown-height", SANE_TRUE), SANE_STATUS_GOOD);
    const ScannedPage whole = application.Scan();
    for (const int shorter : {1, 2, 3}) {
        int started = 0;
        std::size_t left = 0;
        Hooks().start = [&]() -> Answer {
            left = (++started == shorter ? 40 : kHeight) * kWidth;
            return std::nullopt;
        };
        Hooks().read = [&](SANE_Byte*, SANE_Int, SANE_Int& count) -> Answer {
            if (left == 0) {
                count = 0;
                return SANE_STATUS_EOF;
            }
            left -= std::min<std::size_t>(left, kWidth);
            return std::nullopt;
        };
        Hooks().piece = kWidth;
        const ScannedPage page = application.Scan();
        EXPECT_EQ(page.status, SANE_STATUS_GOOD);
        ASSERT_EQ(page.bytes.size(), 40 * kWidth * 3);
        EXPECT_TRUE(std::equal(page.bytes.begin(), page.bytes.end(), whole.bytes.begin()));
    }
}

TEST_F(SaneReading, ACancelBetweenPassesEndsThePage) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetText("mode", "Passes"), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("saturation", 10), SANE_STATUS_GOOD);
    Hooks().records = true;
    // At the end of a pass: no other is started.
    Hooks().read = [&](SANE_Byte*, SANE_Int, SANE_Int& count) -> Answer {
        Sane().cancel(application.Handle());
        count = 0;
        return SANE_STATUS_EOF;
    };
    ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
    SANE_Int count = 0;
    EXPECT_EQ(Read(application, 100, count), SANE_STATUS_CANCELLED);
    EXPECT_EQ(CountOf(Hooks().calls, "start"), 1u);
    // While a pass starts, which may take the cancel back: the device is cancelled once more.
    Hooks().read = nullptr;
    Hooks().calls.clear();
    int started = 0;
    Hooks().start = [&]() -> Answer {
        if (++started == 2) {
            Sane().cancel(application.Handle());
        }
        return std::nullopt;
    };
    ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
    EXPECT_EQ(Read(application, 100, count), SANE_STATUS_CANCELLED);
    EXPECT_EQ(CountOf(Hooks().calls, "start"), 2u);
    EXPECT_EQ(CountOf(Hooks().calls, "cancel"), 2u);
    Hooks().start = nullptr;
    EXPECT_EQ(application.Scan().status, SANE_STATUS_GOOD);
}

}  // namespace
}  // namespace platen_test
