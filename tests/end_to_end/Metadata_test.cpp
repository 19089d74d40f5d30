#include <gtest/gtest.h>

#include <algorithm>

#include "Spawn.h"
#include "unit/programs/io/Pages.h"

#include "programs/io/OpenReader.h"
#include "programs/io/OpenWriter.h"

// The metadata of a file on every path through the program: resolution, profile, orientation.

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
    // A JPEG with a profile and that segment after the JFIF header, which says nothing about the density.
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

std::string Chunk(const std::string& name, const std::string& data) {
    const auto big = [](std::uint32_t value) {
        std::string text = Little(value, 4);
        std::reverse(text.begin(), text.end());
        return text;
    };
    std::uint32_t crc = 0xFFFFFFFFu;
    for (const char c : name + data) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320u : crc >> 1;
        }
    }
    return big(static_cast<std::uint32_t>(data.size())) + name + data + big(~crc);
}

const std::string kGamma = Chunk("gAMA", std::string("\0\0\xB1\x8F", 4));
const std::string kChromaticities = Chunk("cHRM", std::string("0123456789abcdefghijklmnopqrstuv"));
const std::string kStandard = Chunk("sRGB", std::string("\1", 1));

TEST_F(Metadata, WhatAPngSaysOfItsColoursStaysInAPng) {
    Run({"in.jpg", "--strip", "-o", "bare.png"});
    std::string bytes = ReadFile(folder.File("bare.png"));
    bytes.insert(33, kGamma + kChromaticities + kStandard + Chunk("gAMA", "twice") + kGamma);
    WriteFile(folder.File("marked.png"), bytes);
    const auto holds = [this](const std::string& name) {
        const std::string all = ReadFile(folder.File(name));
        std::string text;
        for (const auto& [chunk, letter] : {std::pair{kGamma, 'g'}, {kChromaticities, 'c'}, {kStandard, 's'}}) {
            text += all.find(chunk) != std::string::npos ? std::string(1, letter) : "";
        }
        return text;
    };
    Run({"marked.png", "--brightness=10", "--scale=50%", "-o", "out.png"});
    EXPECT_EQ(holds("out.png"), "gcs");
    EXPECT_EQ(ReadFile(folder.File("out.png")).find("twice"), std::string::npos);
    Run({"marked.png", "--mode=gray", "-o", "grey.png"});
    EXPECT_EQ(holds("grey.png"), "gs");  // there are no colours any more
    Run({"marked.png", "--strip", "-o", "stripped.png"});
    EXPECT_EQ(holds("stripped.png"), "");
    // A profile beside them stays too.
    std::string both = ReadFile(folder.File("in.png"));
    both.insert(33, kGamma);
    WriteFile(folder.File("both.png"), both);
    Run({"both.png", "-o", "both-out.png"});
    EXPECT_EQ(holds("both-out.png"), "g");
    EXPECT_EQ(Info("both-out.png").iccProfile, SmallProfile(true));
}

TEST_F(Metadata, WhatAFormatCannotHoldIsNamed) {
    Run({"in.jpg", "--strip", "-o", "bare.png"});
    std::string bytes = ReadFile(folder.File("bare.png"));
    bytes.insert(33, kGamma + kStandard);
    WriteFile(folder.File("marked.png"), bytes);
    Streams streams;
    streams.folder = folder.Path();
    const auto told = [&](const std::string& from, const std::string& to) {
        return Spawn({"-v", from, "-o", to}, streams).err;
    };
    const std::string chunks = "platen: marked.png: the PNG's gAMA, the PNG's sRGB: left out, ";
    EXPECT_EQ(told("marked.png", "a.tif"), chunks + "TIFF can't hold it\n");
    EXPECT_EQ(told("marked.png", "a.jpg"), chunks + "JPEG can't hold it\n");
    EXPECT_EQ(told("marked.png", "a.png"), "");
    EXPECT_EQ(told("in.tif", "a.ppm"),
              "platen: in.tif: the resolution, the ICC profile, the orientation: left out, PNM can't hold it\n");
    EXPECT_EQ(told("in.tif", "b.jpg"), "");
    EXPECT_NE(
        Spawn({"-n", "in.tif", "-o", "c.ppm"}, streams)
            .out.find("note      the resolution, the ICC profile, the orientation: left out, PNM can't hold it\n"),
        std::string::npos);
}

// A PDF's page can say that it is turned, but not that it is mirrored.
TEST(LostMetadata, MirroredPagesInAPdf) {
    platen_tool::ImageInfo page;
    for (const int orientation : {1, 3, 6, 8}) {
        page.orientation = orientation;
        EXPECT_EQ(platen_tool::LostMetadata(platen_tool::Container::kPdf, page), "") << orientation;
    }
    for (const int orientation : {2, 4, 5, 7}) {
        page.orientation = orientation;
        EXPECT_EQ(platen_tool::LostMetadata(platen_tool::Container::kPdf, page),
                  "the mirrored orientation: left out, PDF can't hold it")
            << orientation;
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
