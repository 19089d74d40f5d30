#include <gtest/gtest.h>

#include <filesystem>

#include "InFolder.h"
#include "Scans.h"

// EXIF, XMP, IPTC and texts on a real scan, written and read back by exiftool and ImageMagick.

namespace platen_test {
namespace {

constexpr const char* kAbsent = "no sample scans, or no exiftool";

class Descriptions : public InFolder {
  protected:
    std::string Platen(const std::vector<std::string>& words) const {
        const Outcome outcome = Run("", words);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return outcome.err;
    }
    std::string Exiftool(const std::string& file, std::vector<std::string> words) const {
        words.push_back(file);
        const Outcome outcome = Run("exiftool", words);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return outcome.out;
    }
    // Tag and value, a line each, of what was set below.
    std::string Told(const std::string& file) const {
        return Exiftool(
            file, {"-S", "-Make", "-Model", "-Software", "-IFD0:ModifyDate", "-Artist", "-Copyright",
                   "-IFD0:ImageDescription", "-DocumentName", "-HostComputer", "-UserComment", "-InteropIndex",
                   "-GPSLatitude", "-ExifImageWidth", "-ExifImageHeight", "-Orientation#"});
    }

    // A real scan with everything.
    bool MakeScan() const {
        const std::string scan = Scan("book-page-gray8-300dpi.jpg");
        if (!std::filesystem::exists(scan) || Run("exiftool", {"-ver"}).code != 0) {
            return false;
        }
        std::filesystem::copy_file(scan, folder.File("in.jpg"));
        Exiftool("in.jpg", {"-q",
                            "-overwrite_original",
                            "-IFD0:Make=Acme",
                            "-IFD0:Model=Flat 1",
                            "-IFD0:Software=scanit",
                            "-IFD0:ModifyDate=2024:01:02 03:04:05",
                            "-IFD0:Artist=A. Person",
                            "-IFD0:Copyright=(c) A. Person",
                            "-IFD0:ImageDescription=a page",
                            "-IFD0:DocumentName=a book",
                            "-IFD0:HostComputer=box",
                            "-UserComment=hello",
                            "-InteropIndex=R98",
                            "-GPSLatitude=10.5",
                            "-GPSLatitudeRef=N",
                            "-ExifImageWidth=1",
                            "-ExifImageHeight=1",
                            "-IFD0:Orientation#=8",
                            "-XMP-dc:Title=title",
                            "-IPTC:Headline=head"});
        return true;
    }
};

TEST_F(Descriptions, GoWithThePageIntoEveryFormatThatHoldsThem) {
    if (!MakeScan()) {
        GTEST_SKIP() << kAbsent;
    }
    Platen({"in.jpg", "--scale=50%", "-o", "out.pgm"});
    const std::string size =
        Run("identify", {"-format", "ExifImageWidth: %w\nExifImageHeight: %h\n", "out.pgm"}).out;
    const std::string expected =
        "Make: Acme\nModel: Flat 1\nSoftware: scanit\nModifyDate: 2024:01:02 03:04:05\nArtist: A. Person\n"
        "Copyright: (c) A. Person\nImageDescription: a page\nDocumentName: a book\nHostComputer: box\n"
        "UserComment: hello\nInteropIndex: R98 - DCF basic file (sRGB)\nGPSLatitude: 10 deg 30' 0.00\" N\n" +
        size + "Orientation: 8\n";
    const std::string xmp = Exiftool("in.jpg", {"-b", "-XMP"});
    const std::string iptc = Exiftool("in.jpg", {"-b", "-IPTC"});
    ASSERT_NE(xmp, "");
    ASSERT_NE(iptc, "");
    EXPECT_EQ(Platen({"-v", "in.jpg", "--scale=50%", "-o", "out.tif"}), "");
    EXPECT_EQ(Platen({"-v", "in.jpg", "--scale=50%", "-o", "out.jpg"}), "");
    EXPECT_EQ(Platen({"-v", "in.jpg", "--scale=50%", "-o", "out.png"}),
              "platen: in.jpg: the IPTC data: left out, PNG can't hold it\n");
    // And on from there.
    Platen({"out.tif", "-o", "tif.jpg"});
    Platen({"out.tif", "-o", "tif.png"});
    Platen({"out.png", "-o", "png.tif"});
    Platen({"out.png", "-o", "png.jpg"});
    for (const std::string file : {"out.tif", "out.jpg", "out.png", "tif.jpg", "tif.png", "png.tif", "png.jpg"}) {
        EXPECT_EQ(Told(file), expected) << file;
        EXPECT_TRUE(Exiftool(file, {"-b", "-XMP"}) == xmp) << file;
        if (file.find("png") == std::string::npos) {
            EXPECT_TRUE(Exiftool(file, {"-b", "-IPTC"}) == iptc) << file;
        }
    }
}

TEST_F(Descriptions, StripDropsThemAll) {
    if (!MakeScan()) {
        GTEST_SKIP() << kAbsent;
    }
    Platen({"in.jpg", "-o", "in.tif"});
    for (const std::string from : {"in.jpg", "in.tif"}) {
        for (const std::string to : {"out.tif", "out.jpg", "out.png", "out.pdf"}) {
            Platen({from, "--strip", "-f", "-o", to});
            const std::string bytes = ReadFile(folder.File(to));
            for (const std::string word : {"Acme", "A. Person", "hello", "head", "scanit", "R98"}) {
                EXPECT_EQ(bytes.find(word), std::string::npos) << from << " " << to << " " << word;
            }
        }
    }
}

TEST_F(Descriptions, WhatPdfAndPnmCannotHoldIsNamed) {
    if (!MakeScan()) {
        GTEST_SKIP() << kAbsent;
    }
    EXPECT_EQ(
        Platen({"-v", "in.jpg", "--input-resolution=300", "-o", "out.pdf"}),
        "platen: in.jpg: Make, Model, DateTime, HostComputer, Copyright, the EXIF data, the IPTC data: left out, "
        "PDF can't hold it\n");
    EXPECT_NE(Platen({"-v", "in.jpg", "-o", "out.pgm"})
                  .find("Make, Model, Software, DateTime, Artist, HostComputer, "
                        "Copyright, the EXIF data, the XMP data, the IPTC data: "
                        "left out, PNM can't hold it\n"),
              std::string::npos);
    if (Run("qpdf", {"--version"}).code == 0) {
        const Outcome checked = Run("qpdf", {"--check", "out.pdf"});
        EXPECT_EQ(checked.code, 0) << checked.out << checked.err;
    }
    const Outcome told = Run("pdfinfo", {"out.pdf"});
    if (told.code == 0) {
        EXPECT_NE(told.out.find("Title:           a book\n"), std::string::npos) << told.out;
        EXPECT_NE(told.out.find("Subject:         a page\n"), std::string::npos) << told.out;
        EXPECT_NE(told.out.find("Author:          A. Person\n"), std::string::npos) << told.out;
        EXPECT_NE(told.out.find("Creator:         scanit\n"), std::string::npos) << told.out;
    }
}

TEST_F(Descriptions, PngTextsStayAndBecomeFields) {
    WriteFile(folder.File("a.ppm"), PnmPage(20, 30, true));
    if (Run("convert", {"-set", "Author", "A. Person", "-set", "Comment", "some words", "-set", "Title", "a book",
                        "a.ppm", "in.png"})
            .code != 0) {
        GTEST_SKIP() << "no ImageMagick";
    }
    const auto words = [&](const std::string& file) {
        return Run("identify", {"-format", "%[Author] %[Comment] %[Title]", file}).out;
    };
    const std::string all = words("in.png");
    ASSERT_EQ(all, "A. Person some words a book");
    Platen({"in.png", "-o", "out.png"});
    EXPECT_EQ(words("out.png"), all);
    const std::string lost = Platen({"-v", "in.png", "-o", "out.tif"});
    EXPECT_NE(lost.find("the PNG's text 'Comment'"), std::string::npos) << lost;
    EXPECT_EQ(lost.find("'Author'"), std::string::npos) << lost;
    if (Run("exiftool", {"-ver"}).code == 0) {
        EXPECT_EQ(Exiftool("out.tif", {"-S", "-Artist", "-DocumentName"}),
                  "Artist: A. Person\nDocumentName: a book\n");
    }
}

TEST_F(Descriptions, SoftwareTagTellsWhatWasDone) {
    WriteFile(folder.File("a.ppm"), PnmPage(20, 30, true));
    const std::vector<std::string> options = {"--levels=10,240", "--brightness=5", "--saturation=7",
                                              "--scale=50%",     "--sharpness=1",  "--software-tag"};
    const auto tag = [&](const std::string& from, const std::string& to) {
        std::vector<std::string> words = {from, "-f", "-o", to};
        words.insert(words.end(), options.begin(), options.end());
        Platen(words);
        return ReadFile(folder.File(to));
    };
    const std::string done =
        ": levels 10 to 240, gamma 1; brightness 5; saturation 7, hue 0, lightness 0; scaled from "
        "20 x "
        "30 to 10 x 15; sharpness 1";
    for (const std::string file : {"out.tif", "out.png", "out.jpg"}) {
        EXPECT_NE(tag("a.ppm", file).find(done + std::string(1, '\0')), std::string::npos) << file;
    }
    // A second run adds its line; with --strip it is all there is.
    Platen({"out.tif", "--gamma=1.2", "--software-tag", "-o", "more.tif"});
    const std::string more = ReadFile(folder.File("more.tif"));
    EXPECT_NE(more.find(done + "\nplaten "), std::string::npos);
    Platen({"out.tif", "--strip", "--software-tag", "-o", "bare.tif"});
    const std::string bare = ReadFile(folder.File("bare.tif"));
    EXPECT_EQ(bare.find(done), std::string::npos);
    EXPECT_NE(bare.find("platen "), std::string::npos);
}

TEST_F(Descriptions, HugeOrDamagedOnesDoNotStopAPage) {
    if (!MakeScan()) {
        GTEST_SKIP() << kAbsent;
    }
    const std::string whole = ReadFile(folder.File("in.jpg"));
    const std::size_t exif = whole.find("Exif");
    ASSERT_NE(exif, std::string::npos);
    Platen({"in.jpg", "-o", "plain.pgm"});
    const std::string pixels = ReadFile(folder.File("plain.pgm"));
    // Each byte of the block's first directories becomes 0xFF, then 0.
    for (std::size_t at = 6; at < 300; at += 7) {
        for (const char byte : {'\xFF', '\0'}) {
            std::string bytes = whole;
            bytes[exif + at] = byte;
            WriteFile(folder.File("bad.jpg"), bytes);
            Platen({"bad.jpg", "-f", "-o", "bad.tif"});
            if (at % 70 == 6) {
                Platen({"bad.tif", "-f", "-o", "bad.pgm"});
                EXPECT_TRUE(ReadFile(folder.File("bad.pgm")) == pixels) << at;
            }
        }
    }
}

}  // namespace
}  // namespace platen_test
