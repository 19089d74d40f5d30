#include <gtest/gtest.h>

#include <filesystem>

#include "InFolder.h"
#include "Scans.h"

// --compression on real scans, read back by programs that other people wrote.

namespace platen_test {
namespace {

constexpr int kUsage = 2;
constexpr int kUnsupported = 3;

class CompressionOption : public InFolder {
  protected:
    void Platen(const std::vector<std::string>& words) const {
        const Outcome outcome = Run("", words);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
    }
    // A checksum of the pixels by ImageMagick.
    std::string Signature(const std::string& file) const {
        return Run("identify", {"-quiet", "-format", "%# ", file}).out;
    }
    std::uintmax_t Size(const std::string& file) const {
        return std::filesystem::file_size(folder.File(file));
    }
    void Refused(const std::vector<std::string>& words, int code, const std::string& text) const {
        const Outcome outcome = Run("", words);
        EXPECT_EQ(outcome.code, code) << outcome.err;
        EXPECT_NE(outcome.err.find(text), std::string::npos) << outcome.err;
    }
};

TEST_F(CompressionOption, TiffsAreWhatOtherProgramsSayTheyAre) {
    const std::string scan = Scan("newspaper-1898-gray8.tif");
    if (!std::filesystem::exists(scan) || Run("tiffinfo", {}).code == 127 ||
        Run("identify", {"-version"}).code != 0) {
        GTEST_SKIP() << "no sample scans, or no tiffinfo or identify";
    }
    const std::string before = Signature(scan);
    ASSERT_NE(before, "");
    for (const auto& [kind, name] : std::vector<std::pair<std::string, std::string>>{{"none", "None"},
                                                                                     {"lzw", "LZW"},
                                                                                     {"deflate", "AdobeDeflate"},
                                                                                     {"deflate:12", "AdobeDeflate"},
                                                                                     {"zstd", "ZSTD"},
                                                                                     {"packbits", "PackBits"},
                                                                                     {"jpeg:95", "JPEG"},
                                                                                     {"fast", "AdobeDeflate"},
                                                                                     {"best", "AdobeDeflate"}}) {
        Platen({scan, "--compression=" + kind, "-f", "-o", "out.tif"});
        const Outcome told = Run("tiffinfo", {"out.tif"});
        EXPECT_NE(told.out.find("Compression Scheme: " + name + "\n"), std::string::npos) << kind << told.out;
        if (kind == "jpeg:95") {
            EXPECT_NE(Signature("out.tif"), before);
        } else {
            EXPECT_EQ(Signature("out.tif"), before) << kind;
        }
    }
}

TEST_F(CompressionOption, PdfsHoldWhatWasAskedFor) {
    const std::string scan = Scan("newspaper-1898-gray8.tif");
    if (!std::filesystem::exists(scan) || Run("qpdf", {"--version"}).code == 127 ||
        Run("pdfimages", {"-v"}).code == 127) {
        GTEST_SKIP() << "no sample scans, or no qpdf or pdfimages";
    }
    const auto encoding = [&](const std::vector<std::string>& options) {
        std::vector<std::string> words = {scan, "-f", "-o", "out.pdf"};
        words.insert(words.end(), options.begin(), options.end());
        Platen(words);
        const Outcome checked = Run("qpdf", {"--check", "out.pdf"});
        EXPECT_EQ(checked.code, 0) << checked.out << checked.err;
        return Run("pdfimages", {"-list", "out.pdf"}).out;
    };
    EXPECT_NE(encoding({"--compression=jpeg:80"}).find(" jpeg "), std::string::npos);
    EXPECT_NE(encoding({"--compression=g4", "--mode=lineart"}).find(" ccitt "), std::string::npos);
    for (const std::string kind : {"none", "deflate", "deflate:1", "best"}) {
        EXPECT_NE(encoding({"--compression=" + kind}).find(" image "), std::string::npos) << kind;
        Run("pdfimages", {"-png", "out.pdf", "image"});
        Platen({"image-000.png", "-f", "-o", "image.pgm"});
        Platen({scan, "-f", "-o", "plain.pgm"});
        EXPECT_TRUE(ReadFile(folder.File("image.pgm")) == ReadFile(folder.File("plain.pgm"))) << kind;
        if (kind == "none") {
            EXPECT_GT(Size("out.pdf"), Size("plain.pgm"));
        }
    }
}

TEST_F(CompressionOption, EffortsOfAPngDifferInSizeOnly) {
    const std::string scan = Scan("title-page-1699-bilevel-g4-300dpi.tif");
    if (!std::filesystem::exists(scan)) {
        GTEST_SKIP() << "no sample scans";
    }
    for (const std::string effort : {"fast", "default", "best"}) {
        Platen({scan, "--mode=gray", "--compression=" + effort, "-o", effort + ".png"});
        Platen({effort + ".png", "-o", effort + ".pgm"});
        EXPECT_TRUE(ReadFile(folder.File(effort + ".pgm")) == ReadFile(folder.File("fast.pgm"))) << effort;
    }
    EXPECT_LE(Size("best.png"), Size("default.png"));
    EXPECT_LT(Size("best.png"), Size("fast.png"));
}

TEST_F(CompressionOption, LevelsOfATiffDifferInSizeOnly) {
    WriteFile(folder.File("a.ppm"), PnmPage(300, 400, true));
    for (const std::string kind : {"deflate", "zstd"}) {
        Platen({"a.ppm", "--compression=" + kind + ":1", "-o", kind + "1.tif"});
        Platen({"a.ppm", "--compression=" + kind + ":9", "-o", kind + "9.tif"});
        EXPECT_NE(Size(kind + "1.tif"), Size(kind + "9.tif"));
        Platen({kind + "1.tif", "--compression=best", "-o", kind + "b.tif"});  // the input's kind, at level 9
        EXPECT_TRUE(ReadFile(folder.File(kind + "b.tif")) == ReadFile(folder.File(kind + "9.tif")));
        Platen({kind + "9.tif", "-o", kind + "9.ppm"});
        Platen({"a.ppm", "-f", "-o", "plain.ppm"});
        EXPECT_TRUE(ReadFile(folder.File(kind + "9.ppm")) == ReadFile(folder.File("plain.ppm")));
    }
}

TEST_F(CompressionOption, BytesDoNotDependOnTheWorkers) {
    WriteFile(folder.File("a.ppm"), PnmPage(700, 900, true));
    for (const std::string output : {"deflate.tif", "zstd.tif", "best.png", "default.png", "deflate.pdf"}) {
        const std::string kind = output.substr(0, output.find('.'));
        std::string first;
        for (const std::string threads : {"1", "2", "4"}) {
            Platen({"a.ppm", "--compression=" + kind, "--threads=" + threads, "-f", "-o", output});
            std::string bytes = ReadFile(folder.File(output));
            bytes = bytes.substr(0, bytes.find("/CreationDate"));  // a PDF tells the second
            first = threads == "1" ? bytes : first;
            EXPECT_TRUE(bytes == first) << output << ", " << threads;
        }
    }
}

TEST_F(CompressionOption, WhatAFormatOrAPageCannotHaveIsRefused) {
    WriteFile(folder.File("a.ppm"), PnmPage(9, 9, true));
    Platen({"a.ppm", "--depth=16", "-o", "deep.ppm"});
    Refused({"a.ppm", "--compression=lzw", "-o", "a.png"}, kUsage,
            "--compression=lzw: PNG has fast, default and best");
    Refused({"a.ppm", "--compression=zstd:3", "-o", "a.pdf"}, kUsage,
            "--compression=zstd:3: PDF has none, deflate, g4, jpeg, fast, default and best");
    Refused({"a.ppm", "--compression=best", "-o", "a.jpg"}, kUsage,
            "--compression=best: JPEG has jpeg[:QUALITY] and default");
    Refused({"a.ppm", "--compression=jpeg", "-o", "b.ppm"}, kUsage, "--compression=jpeg: PNM has none and default");
    Refused({"a.ppm", "--compression=lzw:3", "-o", "a.tif"}, kUsage,
            "--compression: 'lzw' takes no level; deflate (1..12), zstd (1..19) and jpeg (1..100) do");
    Refused({"a.ppm", "--compression=zstd:20", "-o", "a.tif"}, kUsage, "allowed: 1 to 19");
    Refused({"a.ppm", "--compression=zip", "-o", "a.tif"}, kUsage, "--compression: 'zip' is not one of none, lzw");
    for (const std::string output : {"a.tif", "a.pdf"}) {
        for (const std::string run : {"-v", "-n"}) {
            Refused({run, "a.ppm", "--compression=g4", "-o", output}, kUnsupported,
                    "--compression=g4: Group 4 holds black and white only, not 8-bit RGB; --mode=lineart converts "
                    "the page");
            Refused({run, "deep.ppm", "--compression=jpeg", "-o", output}, kUnsupported,
                    "--compression=jpeg: JPEG holds 8-bit grey and RGB without alpha, not 16-bit RGB; --depth=8, "
                    "--mode=gray and --flatten convert the page");
        }
    }
    EXPECT_EQ(folder.Listing(), "a.ppm deep.ppm");
    Platen({"a.ppm", "--compression=jpeg:50", "-o", "low.jpg"});
    Platen({"a.ppm", "--quality=50", "-o", "same.jpg"});
    EXPECT_EQ(ReadFile(folder.File("low.jpg")), ReadFile(folder.File("same.jpg")));
}

}  // namespace
}  // namespace platen_test
