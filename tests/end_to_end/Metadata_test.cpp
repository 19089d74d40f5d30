#include <gtest/gtest.h>

#include "Spawn.h"
#include "unit/programs/io/Pages.h"

// What a file says about its picture, on every way through the program: resolution, profile, orientation.

namespace platen_test {
namespace {

using platen_tool::ImageInfo;
using platen_tool::OpenReader;
using platen_tool::Ratio;
using platen_tool::Resolution;

constexpr const char* kThumbnail = "the bytes of a thumbnail";
constexpr const char* kContainers[] = {"png", "tif", "jpg"};

std::string Little(std::uint32_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text += static_cast<char>(value >> (8 * i) & 0xFF);
    }
    return text;
}

std::string Entry(std::uint32_t tag, std::uint32_t type, std::uint32_t value) {
    return Little(tag, 2) + Little(type, 2) + Little(1, 4) + Little(value, 4);
}

// An EXIF segment as cameras write it: orientation 6, 401/2 dpi, and a second directory with a thumbnail.
std::string ExifSegment() {
    const std::string thumbnail = kThumbnail;
    std::string block = std::string("II*\0", 4) + Little(8, 4) + Little(4, 2) + Entry(274, 3, 6) +
                        Entry(282, 5, 92) + Entry(283, 5, 92) + Entry(296, 3, 2) + Little(62, 4);
    block += Little(2, 2) + Entry(513, 4, 100) + Entry(514, 4, static_cast<std::uint32_t>(thumbnail.size())) +
             Little(0, 4);
    block += Little(401, 4) + Little(2, 4) + thumbnail;
    const std::string body = std::string("Exif\0\0", 6) + block;
    const std::size_t length = body.size() + 2;
    return std::string("\xFF\xE1", 2) + static_cast<char>(length >> 8) + static_cast<char>(length & 0xFF) + body;
}

class Metadata : public testing::Test {
  protected:
    // A JPEG with a profile and that segment behind the JFIF header, which says nothing about the density.
    Metadata() {
        Page page = RandomPage(60, 40, 8, 3, 1);
        page.info.iccProfile = SmallProfile(true);
        WritePages(folder.File("plain.jpg"), {page});
        std::string bytes = ReadFile(folder.File("plain.jpg"));
        bytes.insert(20, ExifSegment());
        WriteFile(folder.File("in.jpg"), bytes);
        EXPECT_NE(bytes.find(kThumbnail), std::string::npos);
        Run({"in.jpg", "-o", "in.png"});
        Run({"in.jpg", "-o", "in.tif"});
    }

    void Run(const std::vector<std::string>& words, const Streams& more = {}) const {
        Streams streams = more;
        streams.folder = folder.Path();
        const Outcome outcome = Spawn(words, streams);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
    }

    ImageInfo Info(const std::string& name) const {
        return OpenReader(folder.File(name), {})->Info();
    }

    void ExpectDpi(const std::string& name, Ratio x, Ratio y) const {
        const auto resolution = Info(name).resolution;
        ASSERT_TRUE(resolution.has_value()) << name;
        const bool png = name.find("png") != std::string::npos;  // holds whole pixels per metre
        EXPECT_NEAR(resolution->x.Value(), x.Value(), png ? 0.0128 : 0.0) << name;
        EXPECT_NEAR(resolution->y.Value(), y.Value(), png ? 0.0128 : 0.0) << name;
    }

    Folder folder;
};

TEST_F(Metadata, IsKeptFromEveryContainerToEveryOther) {
    for (const std::string from : kContainers) {
        for (const std::string to : kContainers) {
            const std::string name = from + "-out." + to;
            Run({"in." + from, "-o", name});
            ExpectDpi(name, {401, 2}, {401, 2});
            EXPECT_EQ(Info(name).orientation, 6) << name;
            EXPECT_EQ(Info(name).iccProfile, SmallProfile(true)) << name;
            EXPECT_EQ(ReadFile(folder.File(name)).find(kThumbnail), std::string::npos) << name;
        }
    }
}

TEST_F(Metadata, InfoNamesIt) {
    Streams streams;
    streams.folder = folder.Path();
    const std::string text = Spawn({"info", "in.tif"}, streams).out;
    EXPECT_NE(
        text.find(", ICC profile of " + std::to_string(SmallProfile(true).size()) + " bytes, orientation 6\n"),
        std::string::npos)
        << text;
}

TEST_F(Metadata, ResolutionFollowsTheSizeOnEveryWayToSayIt) {
    for (const std::string ending : kContainers) {
        const std::string name = "out." + ending;
        const auto result = [&](std::vector<std::string> words) {
            words.insert(words.end(), {"in.jpg", "-f", "-o", name});
            Run(words);
        };
        result({"--scale=50%"});
        ExpectDpi(name, {401, 4}, {401, 4});
        result({"--size=120x10"});
        ExpectDpi(name, {401, 1}, {401, 8});
        result({"--width=7"});  // 40 * 7 / 60 lines are 5
        ExpectDpi(name, {401 * 7, 120}, {401, 16});
        result({"--resolution=133.5x99"});
        ExpectDpi(name, {267, 2}, {99, 1});
        result({"--resolution=600", "--shrink-only"});
        ExpectDpi(name, {401, 2}, {401, 2});
        result({"--input-resolution=123.25", "--scale=2"});
        ExpectDpi(name, {493, 2}, {493, 2});
        result({"--set-resolution=71.5x300", "--scale=2"});
        ExpectDpi(name, {143, 2}, {300, 1});
    }
}

TEST_F(Metadata, PagesAndPipesKeepIt) {
    WriteFile(folder.File("b.png"), ReadFile(folder.File("in.png")));
    Run({"in.tif", "b.png", "-o", "%s-%d.tif", "--scale=50%", "--jobs=2"});
    ExpectDpi("in-1.tif", {401, 4}, {401, 4});
    EXPECT_EQ(Info("in-1.tif").orientation, 6);
    EXPECT_EQ(Info("b-1.tif").iccProfile, SmallProfile(true));
    Streams streams;
    streams.input = ReadFile(folder.File("in.tif"));  // spooled, since TIFF is read here and there
    streams.chunk = 100;
    Run({"-", "--scale=50%", "-o", "piped.tif"}, streams);
    ExpectDpi("piped.tif", {401, 4}, {401, 4});
    EXPECT_EQ(Info("piped.tif").orientation, 6);
    EXPECT_EQ(Info("piped.tif").iccProfile, SmallProfile(true));
    streams.outputFile = folder.File("out.tif");
    Run({"-", "--format=tiff", "--scale=50%", "-o", "-"}, streams);
    ExpectDpi("out.tif", {401, 4}, {401, 4});
}

TEST_F(Metadata, StripDropsProfileAndOrientationButNoResolution) {
    for (const std::string ending : kContainers) {
        const std::string name = "out." + ending;
        Run({"in.jpg", "--strip", "-o", name});
        ExpectDpi(name, {401, 2}, {401, 2});
        EXPECT_EQ(Info(name).orientation, 1) << name;
        EXPECT_TRUE(Info(name).iccProfile.empty()) << name;
        EXPECT_EQ(ReadFile(folder.File(name)).find("scnr"), std::string::npos) << name;
    }
}

TEST_F(Metadata, AProfileOfColoursDoesNotStayWithGrey) {
    Run({"in.jpg", "--mode=gray", "-o", "grey.tif"});
    EXPECT_TRUE(Info("grey.tif").iccProfile.empty());
    EXPECT_EQ(Info("grey.tif").orientation, 6);
    ExpectDpi("grey.tif", {401, 2}, {401, 2});
}

}  // namespace
}  // namespace platen_test
