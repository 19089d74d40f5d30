// The backend under scanimage, with SANE's own test device.
#include <algorithm>
#include <cstdlib>
#include <random>

#include "SaneTest.h"

namespace platen_test {
namespace {

using Words = std::vector<std::string>;

class ThroughScanImage : public SaneTest {
  protected:
    ThroughScanImage() {
        setenv("LD_LIBRARY_PATH", PLATEN_BACKENDS, 1);
        WriteFile(configuration.File("dll.conf"), "test\nplaten\n");
        WriteFile(configuration.File("platen.conf"), "device test:0 Noname \"frontend-tester, adjusted\"\n");
    }

    void SetUp() override {
        SaneTest::SetUp();
        if (!IsSkipped() && ScanImage({}).empty()) {
            GTEST_SKIP() << "no scanimage here";
        }
    }

    Outcome Execute(const std::string& device, const Words& arguments) const {
        return RunScanImage(Words{"-d", device} + arguments);
    }

    // The page as it comes through the backend, its samples and all.
    std::string Wrapped(const Words& arguments) const {
        const Outcome outcome = Execute("platen:test:0", Words{"--format=pnm"} + arguments);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        if (!outcome.out.starts_with("P4")) {
            return WithoutComment(outcome.out);
        }
        // The bits after a line's last pixel are the device's where nothing is done.
        Streams streams;
        streams.input = outcome.out;
        return Run({"--format=pnm", "-", "-o", "-"}, streams).out;
    }

    // The device's page through the tool.
    std::string Tool(const Words& device, const Words& options) const {
        const Outcome page = Execute("test:0", Words{"--format=pnm"} + device);
        EXPECT_EQ(page.code, 0) << page.err;
        Streams streams;
        streams.input = page.out;
        const Outcome outcome = Run(options + Words{"--format=pnm", "-", "-o", "-"}, streams);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return outcome.out;
    }

    static std::string Header(const std::string& page) {
        std::string header = page.substr(0, std::min<std::size_t>(page.size(), 16));
        std::replace_if(
            header.begin(), header.end(), [](char c) { return c < ' ' || c > '~'; }, ' ');
        return header;
    }

    // The header in the tool's form.
    static std::string WithoutComment(std::string bytes) {
        const std::size_t at = bytes.find("# SANE data follows\n");
        if (at != std::string::npos && at < 10) {
            bytes.erase(at, 20);
        }
        return bytes;
    }
};

// One of many combinations, a pure function of its number.
class Combination {
  public:
    explicit Combination(unsigned number) : random_(number) {
        PutDevice();
        if (depth_ != "1" && Chance(2)) {
            PutTones();
        }
        if (depth_ != "1" && colour_ && Chance(3)) {
            PutNumber("saturation", "saturation", -100, 100);
            PutNumber("hue", "hue", -180, 180);
            PutNumber("platen-lightness", "lightness", -50, 50);
        }
        if (depth_ != "1" && Chance(3)) {
            static constexpr int kLevels[] = {-2, -1, 1, 2, 3};
            const std::string level = std::to_string(kLevels[Pick(0, 4)]);
            Put("platen-sharpness", level, "--sharpness=" + level);
        }
        PutSize();
        PutReads();
    }

    Words wrapped;  // scanimage's arguments, through the backend
    Words bare;     // for the device by itself
    Words tool;     // the tool's options

    std::string Text() const {
        std::string text;
        for (const Words* words : {&wrapped, &tool}) {
            for (const std::string& word : *words) {
                text += word + " ";
            }
        }
        return text;
    }

  private:
    int Pick(int low, int high) {
        return low + static_cast<int>(random_() % static_cast<unsigned>(high - low + 1));
    }
    bool Chance(int of) {
        return Pick(1, of) == 1;
    }
    void Put(const std::string& name, const std::string& value, const std::string& option) {
        wrapped.push_back("--" + name + "=" + value);
        tool.push_back(option);
    }
    void PutNumber(const std::string& name, const std::string& option, int low, int high) {
        const int number = Pick(low, high);
        if (number != 0) {
            Put(name, std::to_string(number), "--" + option + "=" + std::to_string(number));
        }
    }
    void PutBoth(const std::string& word) {
        wrapped.push_back(word);
        bare.push_back(word);
    }

    void PutDevice() {
        colour_ = Chance(2);
        static constexpr const char* kDepths[] = {"8", "16", "1"};
        depth_ = kDepths[Pick(0, colour_ ? 1 : 2)];  // scanimage gives up on colour at 1 bit
        PutBoth(std::string("--mode=") + (colour_ ? "Color" : "Gray"));
        PutBoth("--depth=" + depth_);
        PutBoth(Chance(4) ? "--test-picture=Grid" : "--test-picture=Color pattern");
        PutBoth("-x" + std::to_string(Pick(3, 60)));
        PutBoth("-y" + std::to_string(Pick(3, 40)));
    }

    void PutTones() {
        if (Chance(2)) {
            const int black = Pick(0, 100);
            const int white = Pick(black + 8, 255);
            wrapped.push_back("--shadow=" + std::to_string(black));
            Put("highlight", std::to_string(white),
                "--levels=" + std::to_string(black) + "," + std::to_string(white));
            if (black == 0 && white == 255) {
                tool.pop_back();
            }
        }
        if (Chance(4)) {
            const std::string points = "0," + std::to_string(Pick(0, 80)) + ":60," + std::to_string(Pick(0, 255)) +
                                       ":120,130:190," + std::to_string(Pick(0, 255)) + ":250,255";
            Put("platen-curve", points, "--curve=" + points);
            if (Chance(2)) {
                Put("platen-curve-kind", "polyline", "--curve-kind=polyline");
            }
        }
        if (Chance(4)) {
            PutNumber("platen-curve-gamma", "curve-gamma", -100, 100);
        }
        PutNumber("brightness", "brightness", -100, 100);
        PutNumber("contrast", "contrast", -100, 100);
        if (colour_ && Chance(2)) {
            const int red = Pick(-100, 100);
            const int blue = Pick(-100, 99) + 1;
            wrapped.push_back("--platen-midtones-red=" + std::to_string(red));
            Put("platen-midtones-blue", std::to_string(blue),
                "--balance-midtones=" + std::to_string(red) + ",0," + std::to_string(blue));
            if (red == 0 && blue == 0) {
                tool.pop_back();
            }
        }
    }

    // The device has whole resolutions up to 1200.
    void PutSize() {
        switch (Pick(0, 3)) {
            case 0:
                PutBoth("--resolution=" + std::to_string(Pick(20, 200)));
                break;
            case 1: {  // between two of them
                const int whole = Pick(20, 199);
                wrapped.push_back("--resolution=" + std::to_string(whole) + ".5");
                bare.push_back("--resolution=" + std::to_string(whole + 1));
                tool.push_back("--input-resolution=" + std::to_string(whole + 1));
                tool.push_back("--resolution=" + std::to_string(whole) + ".5");
                break;
            }
            case 2: {  // above the highest, which the test's own configuration sets low
                const int asked = Pick(201, 400);
                wrapped.push_back("--resolution=" + std::to_string(asked));
                bare.push_back("--resolution=200");
                tool.push_back("--input-resolution=200");
                tool.push_back("--resolution=" + std::to_string(asked));
                break;
            }
            default:
                break;
        }
    }

    // How the bytes come changes nothing.
    void PutReads() {
        if (colour_ && depth_ == "8" && Chance(3)) {
            static constexpr const char* kOrders[] = {"RGB", "RBG", "GBR", "GRB", "BRG", "BGR"};
            wrapped.push_back("--three-pass=yes");
            wrapped.push_back(std::string("--three-pass-order=") + kOrders[Pick(0, 5)]);
        }
        if (Chance(6)) {
            PutBoth("--hand-scanner=yes");
        }
        if (Chance(2)) {
            wrapped.push_back("--read-limit=yes");
            wrapped.push_back("--read-limit-size=" + std::to_string(Chance(3) ? Pick(1, 16) : Pick(17, 65536)));
        }
        if (Chance(4)) {
            wrapped.push_back("--fuzzy-parameters=yes");
        }
        if (Chance(4)) {
            wrapped.push_back("--buffer-size=" + std::to_string(Pick(1, 64)));
        }
    }

    std::mt19937 random_;
    bool colour_ = false;
    std::string depth_;
};

// 60 by default; PLATEN_SANE_COMBINATIONS sets the number.
TEST_F(ThroughScanImage, PagesEqualTheToolsInAllCombinations) {
    WriteFile(configuration.File("test.conf"),
              "number_of_devices 1\nmode Gray\ndepth 8\nresolution 50.0\nresolution_min 1.0\nresolution_max 200.0\n"
              "resolution_quant 1.0\n");
    const char* wanted = std::getenv("PLATEN_SANE_COMBINATIONS");
    const unsigned count = wanted != nullptr ? static_cast<unsigned>(std::atoi(wanted)) : 60;
    unsigned adjusted = 0;
    unsigned different = 0;
    unsigned astray = 0;
    for (unsigned number = 1; number <= count; ++number) {
        const Combination combination(number);
        std::string expected = Tool(combination.bare, combination.tool);
        const std::string wrapped = Wrapped(combination.wrapped);
        if (wrapped != expected) {
            // About one in a thousand of the device's own pages through scanimage differs from the rest.
            const std::string again = Tool(combination.bare, combination.tool);
            astray += again != expected ? 1 : 0;
            expected = again;
        }
        const bool same = !expected.empty() && wrapped == expected;
        EXPECT_TRUE(same) << number << ": " << combination.Text() << Header(wrapped) << ", " << wrapped.size()
                          << " bytes; " << Header(expected) << ", " << expected.size() << " bytes";
        different += same ? 0 : 1;
        adjusted += combination.tool.empty() ? 0 : 1;
    }
    std::printf("%u pages of the bare device were not what it sent at a second time\n", astray);
    std::printf("%u combinations, %u differ\n", count, different);
    EXPECT_LE(astray, 1 + count / 100);
    EXPECT_GT(adjusted, count / 2);
}

TEST_F(ThroughScanImage, ListsDevicesAndOptions) {
    const Outcome list = RunScanImage({"-L"});
    EXPECT_NE(list.out.find("device `platen:test:0' is a Noname frontend-tester, adjusted adjusting scanner\n"),
              std::string::npos)
        << list.out;
    const Outcome options = Execute("platen:test:0", {"-A"});
    EXPECT_EQ(options.code, 0);
    for (const char* text :
         {"  Adjustment (Platen):\n    --platen-preset None|archive-150|",
          "    --brightness -100..100% (in steps of 1) [0]\n", "    --resolution 1..2400dpi [50]\n",
          "    --saturation -100..100% (in steps of 1) [inactive]\n", "    --platen-sharpness -2..3 "}) {
        EXPECT_NE(options.out.find(text), std::string::npos) << text << options.out;
    }
    EXPECT_EQ(options.err.find("invalid"), std::string::npos) << options.err;
    EXPECT_EQ(options.out.find("invalid"), std::string::npos) << options.out;
}

// scanimage's own test of a backend: reads of many sizes, parameters against bytes.
TEST_F(ThroughScanImage, PassesItsOwnTest) {
    for (const Words& settings : {Words{}, Words{"--mode=Color", "--contrast=20"},
                                  Words{"--mode=Color", "--saturation=20", "--resolution=33.3"},
                                  Words{"--platen-sharpness=2"}, Words{"--depth=16", "--resolution=70.5"}}) {
        const Outcome outcome = Execute("platen:test:0", Words{"--test"} + settings);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.err.find("FAIL"), std::string::npos) << outcome.err;
        EXPECT_NE(outcome.err.find("PASS"), std::string::npos) << outcome.err;
    }
}

TEST_F(ThroughScanImage, BatchesEndWithTheFeeder) {
    const Outcome outcome = RunScanImage({"-d", "platen:test:0", "--source=Automatic Document Feeder",
                                          "--contrast=30", "--resolution=20.5", "--batch=page%02d.pnm"});
    EXPECT_NE(outcome.err.find("Document feeder out of documents"), std::string::npos) << outcome.err;
    EXPECT_EQ(folder.Listing().find("page11.pnm"), std::string::npos);
    const std::string expected =
        Tool({"--resolution=21"}, {"--contrast=30", "--input-resolution=21", "--resolution=20.5"});
    for (const char* page : {"page01.pnm", "page10.pnm"}) {
        EXPECT_TRUE(Same(WithoutComment(ReadFile(folder.File(page))), expected)) << page;
    }
}

TEST_F(ThroughScanImage, SaysWhatTheToolWouldBeTold) {
    setenv("SANE_DEBUG_PLATEN", "1", 1);
    const Outcome outcome = Execute(
        "platen:test:0", {"--shadow=20", "--platen-gamma=1.8", "--resolution=33.3", "--platen-sharpness=1"});
    unsetenv("SANE_DEBUG_PLATEN");
    EXPECT_NE(outcome.err.find("[platen] the page as made by: platen --levels=20,255,1.8 --sharpness=1 "
                               "--input-resolution=34x34 --resolution=33.3x33.3\n"),
              std::string::npos)
        << outcome.err;
}

TEST_F(ThroughScanImage, GammaTablesActBeforeTheRest) {
    const std::string table = Run({"curve", "--gamma=2", "--table=sane"}).out;
    const std::string expected = Tool(Words{"--test-picture=Color pattern"}, {"--gamma=2", "--contrast=10"});
    // The device has a table of its own, which stays.
    EXPECT_TRUE(Same(Wrapped({"--test-picture=Color pattern", "--contrast=10",
                              "--platen-gamma-table=" + table.substr(0, table.find('\n'))}),
                     expected));
}

// Only SANE's names are seen from outside, and nothing is loaded but what every C++ program has.
TEST_F(ThroughScanImage, TheFileHoldsWhatItShould) {
    Streams nm;
    nm.program = "nm";
    const Outcome names = Run({"-D", "--defined-only", PLATEN_BACKEND}, nm);
    ASSERT_EQ(names.code, 0) << names.err;
    std::size_t count = 0;
    for (std::size_t at = 0; at < names.out.size(); at = names.out.find('\n', at) + 1, ++count) {
        const std::string line = names.out.substr(at, names.out.find('\n', at) - at);
        EXPECT_NE(line.find(" T sane_platen_"), std::string::npos) << line;
    }
    EXPECT_EQ(count, 13u);
    Streams readelf;
    readelf.program = "readelf";
    const Outcome dynamic = Run({"-d", PLATEN_BACKEND}, readelf);
    EXPECT_NE(dynamic.out.find("Library soname: [libsane-platen.so.1]"), std::string::npos);
    for (const char* library : {"libpng", "libtiff", "libjpeg", "libplaten", "libtomlplusplus", "libsane.so"}) {
        EXPECT_EQ(dynamic.out.find(library), std::string::npos) << library;
    }
}

}  // namespace
}  // namespace platen_test
