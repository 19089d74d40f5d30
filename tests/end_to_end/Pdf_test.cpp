#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "InFolder.h"

// PDF files, read back by programs that other people wrote.

namespace platen_test {
namespace {

class Pdf : public InFolder {
  protected:
    void Do(const std::string& program, const std::vector<std::string>& words) const {
        const Outcome outcome = Run(program, words);
        EXPECT_EQ(outcome.code, 0) << program << ": " << outcome.err;
    }
    void Platen(const std::vector<std::string>& words) const {
        Do("", words);
    }

    // qpdf, poppler and mutool take the file without a complaint.
    void ExpectAccepted(const std::string& file) const {
        const Outcome checked = Run("qpdf", {"--check", file});
        EXPECT_EQ(checked.code, 0) << checked.out << checked.err;
        EXPECT_EQ(checked.err, "");
        const Outcome told = Run("pdfinfo", {file});
        EXPECT_EQ(told.code, 0);
        EXPECT_EQ(told.err, "");
        const Outcome drawn = Run("mutool", {"draw", "-q", "-F", "pgm", "-r", "20", "-o", "drawn%d.pgm", file});
        EXPECT_EQ(drawn.code, 0);
        EXPECT_EQ(drawn.err.find("error"), std::string::npos) << drawn.err;
    }

    // The pixels that pdfimages finds in the file, written as PNM by `platen`.
    std::string Pixels(const std::string& file) const {
        Do("pdfimages", {"-png", file, "image"});
        Platen({"image-000.png", "-f", "-o", "image.pnm"});
        return ReadFile(folder.File("image.pnm"));
    }

    bool Absent() const {
        return Run("qpdf", {"--version"}).code == 127 || Run("pdfimages", {"-v"}).code == 127 ||
               Run("mutool", {"-v"}).code == 127;
    }
};

constexpr const char* kAbsent = "qpdf, poppler-utils or mupdf-tools are not installed";

TEST_F(Pdf, PixelsOfEveryLayoutComeBack) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    WriteFile(folder.File("grey.pgm"), PnmPage(61, 43, false));
    WriteFile(folder.File("colour.ppm"), PnmPage(33, 300, true));
    Platen({"grey.pgm", "--mode=lineart", "-o", "bits.pbm"});
    Platen({"colour.ppm", "--depth=16", "-o", "deep.ppm"});
    for (const std::string page : {"grey.pgm", "colour.ppm", "bits.pbm"}) {
        const std::string pdf = page + ".pdf";
        Platen({page, "-o", pdf});
        ExpectAccepted(pdf);
        Platen({page, "-f", "-o", "plain.pnm"});  // its header as the program writes it
        EXPECT_TRUE(Pixels(pdf) == ReadFile(folder.File("plain.pnm"))) << page;
    }
}

// pdfimages gives 8 bits; qpdf gives the samples as they are, big-endian as in a PNM.
TEST_F(Pdf, SixteenBitSamplesComeBackWhole) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    WriteFile(folder.File("colour.ppm"), PnmPage(33, 300, true));
    Platen({"colour.ppm", "--depth=16", "--scale=0.7", "-o", "deep.ppm"});
    Platen({"deep.ppm", "-o", "deep.pdf"});
    ExpectAccepted("deep.pdf");
    const std::string samples = Run("qpdf", {"--show-object=4", "--filtered-stream-data", "deep.pdf"}).out;
    const std::string page = ReadFile(folder.File("deep.ppm"));
    ASSERT_EQ(samples.size(), 23u * 210 * 6);
    EXPECT_TRUE(page.substr(page.size() - samples.size()) == samples);
}

TEST_F(Pdf, EachLayoutHasItsFilter) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    WriteFile(folder.File("grey.pgm"), PnmPage(61, 43, false));
    Platen({"grey.pgm", "--mode=lineart", "-o", "bits.pdf"});
    Platen({"grey.pgm", "-o", "flate.pdf"});
    Platen({"grey.pgm", "-o", "grey.jpg"});
    Platen({"grey.jpg", "-o", "jpeg.pdf"});
    EXPECT_NE(Run("pdfimages", {"-list", "bits.pdf"}).out.find(" ccitt "), std::string::npos);
    EXPECT_NE(Run("pdfimages", {"-list", "flate.pdf"}).out.find(" image "), std::string::npos);
    EXPECT_NE(Run("pdfimages", {"-list", "jpeg.pdf"}).out.find(" jpeg "), std::string::npos);
    ExpectAccepted("jpeg.pdf");
}

TEST_F(Pdf, PagesHaveTheirPhysicalSizeTitleAndDate) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    WriteFile(folder.File("a.pgm"), PnmPage(600, 300, false));
    Platen({"a.pgm", "--input-resolution=200x100", "-o", "A letter (1).pdf"});
    const std::string told = Run("pdfinfo", {"A letter (1).pdf"}).out;
    EXPECT_NE(told.find("Page size:       216 x 216 pts"), std::string::npos) << told;
    EXPECT_NE(told.find("Title:           A letter (1)\n"), std::string::npos) << told;
    EXPECT_NE(told.find("CreationDate:"), std::string::npos) << told;
    ExpectAccepted("A letter (1).pdf");
}

std::string Repeated(const std::string& part, int times) {
    std::string text;
    while (times-- > 0) {
        text += part;
    }
    return text;
}

// A name as -o takes it.
std::string InTemplate(std::string name) {
    for (std::size_t at = 0; (at = name.find('%', at)) != std::string::npos; at += 2) {
        name.insert(at, "%");
    }
    return name;
}

TEST_F(Pdf, HostileNamesBecomeTitles) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    WriteFile(folder.File("a.pgm"), PnmPage(30, 20, false));
    const std::string replaced = "\xEF\xBF\xBD";
    const std::vector<std::pair<std::string, std::string>> names = {
        {"(((", "((("},
        {") >> endobj (x", ") >> endobj (x"},
        {"back\\slash\\", "back\\slash\\"},
        {"<FEFF>", "<FEFF>"},
        {"endobj stream %%EOF", "endobj stream %%EOF"},
        {"B\xC3\xBCro \xF0\x9F\x98\x80", "B\xC3\xBCro \xF0\x9F\x98\x80"},
        {"latin \xE9", "latin " + replaced},
        {"cut \xE2\x82", "cut " + replaced + replaced},
        {"long for \xC0\xAF", "long for " + replaced + replaced},
        {"half a pair \xED\xA0\x80", "half a pair " + replaced + replaced + replaced},
        {"too far \xF7\xBF\xBF\xBF", "too far " + replaced + replaced + replaced + replaced},
        {"stray " + Repeated("\xB0", 20), "stray " + Repeated(replaced, 20)},
        {std::string(200, 'n'), std::string(200, 'n')}};
    for (const auto& [name, title] : names) {
        Platen({"a.pgm", "-o", InTemplate(name) + ".pdf"});
        ExpectAccepted(name + ".pdf");
        const std::string told = Run("pdfinfo", {"-enc", "UTF-8", name + ".pdf"}).out;
        EXPECT_NE(told.find("Title:           " + title + "\n"), std::string::npos) << told;
    }
    for (const std::string name : {"two\nlines\r", "\x01\x1B[31m\x7F", "\xEF\xBB\xBF", "\xFE\xFF"}) {
        Platen({"a.pgm", "-o", name + ".pdf"});
        ExpectAccepted(name + ".pdf");
    }
}

// A TIFF of one pixel with these texts.
std::string TiffWithTexts(const std::vector<std::pair<int, std::string>>& texts) {
    std::string file("II*\0\x08\0\0\0", 8);
    const auto put = [](std::string& to, std::size_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            to += static_cast<char>(value >> 8 * i & 255);
        }
    };
    std::vector<std::array<std::size_t, 4>> fields = {{256, 4, 1, 1}, {257, 4, 1, 1}, {258, 3, 1, 8},
                                                      {259, 3, 1, 1}, {262, 3, 1, 1}, {273, 4, 1, 8},
                                                      {278, 4, 1, 1}, {279, 4, 1, 1}};
    std::string values;
    const std::size_t after = 8 + 2 + 12 * (fields.size() + texts.size()) + 4;
    for (const auto& [tag, text] : texts) {
        fields.push_back({static_cast<std::size_t>(tag), 2, text.size() + 1, after + values.size()});
        values += text + std::string(4, '\0');
    }
    std::sort(fields.begin(), fields.end());
    put(file, fields.size(), 2);
    for (const auto& field : fields) {
        put(file, field[0], 2);
        put(file, field[1], 2);
        put(file, field[2], 4);
        put(file, field[3], 4);
    }
    put(file, 0, 4);
    return file + values;
}

TEST_F(Pdf, HostileTextsStayTexts) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    const std::string wild = ">> endobj (\\ \xED\xB0\x80 <<)\r\n";
    WriteFile(folder.File("a.tif"), TiffWithTexts({{269, wild},
                                                   {270, std::string(100000, '>')},
                                                   {305, "\xFE\xFF\xC3("},
                                                   {315, "(" + std::string(70, '\\')}}));
    Platen({"a.tif", "-o", "a.pdf"});
    ExpectAccepted("a.pdf");
    const std::string told = Run("pdfinfo", {"-enc", "UTF-8", "a.pdf"}).out;
    EXPECT_NE(told.find("Author:          (" + std::string(70, '\\') + "\n"), std::string::npos) << told;
    EXPECT_NE(told.find("Subject:         " + std::string(100000, '>') + "\n"), std::string::npos);
    EXPECT_NE(told.find("Title:           >> endobj (\\ \xEF\xBF\xBD"), std::string::npos) << told.substr(0, 300);
}

TEST_F(Pdf, HostileResolutions) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    WriteFile(folder.File("a.pgm"), PnmPage(30, 20, false));
    for (const std::string resolution : {"0.01", "0.01x100000", "100000", "100000x1"}) {
        const std::string name = resolution + ".pdf";
        Platen({"a.pgm", "--set-resolution=" + resolution, "-o", name});
        EXPECT_EQ(Run("qpdf", {"--check", name}).code, 0) << resolution;
        EXPECT_EQ(Run("pdfinfo", {name}).err, "") << resolution;
        Do("mutool", {"draw", "-q", "-F", "pgm", "-w", "40", "-h", "40", "-f", "-o", "drawn.pgm", name});
    }
}

TEST_F(Pdf, APageWithoutAResolutionIsSaidToHave300) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    WriteFile(folder.File("a.pgm"), PnmPage(600, 300, false));
    const Outcome outcome = Run("", {"-v", "a.pgm", "-o", "a.pdf"});
    EXPECT_NE(outcome.err.find("a page without a resolution is written at 300 dpi"), std::string::npos)
        << outcome.err;
    EXPECT_NE(Run("pdfinfo", {"a.pdf"}).out.find("144 x 72 pts"), std::string::npos);
}

TEST_F(Pdf, SeveralPagesOfDifferentLayouts) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    WriteFile(folder.File("stack.pnm"), PnmPage(40, 30, false) + PnmPage(50, 20, true) + PnmPage(20, 60, false));
    Platen({"stack.pnm", "-o", "stack.pdf"});
    ExpectAccepted("stack.pdf");
    EXPECT_NE(Run("pdfinfo", {"stack.pdf"}).out.find("Pages:           3"), std::string::npos);
    // The table of objects is right: qpdf says nothing of rebuilding it, and finds every page.
    EXPECT_EQ(Run("qpdf", {"--show-npages", "stack.pdf"}).out, "3\n");
}

TEST_F(Pdf, TheNumberOfWorkersDoesNotChangeThePixelsOrTheSize) {
    WriteFile(folder.File("a.ppm"), PnmPage(700, 900, true));
    Platen({"a.ppm", "--threads=1", "-o", "one.pdf"});
    Platen({"a.ppm", "--threads=4", "-o", "four.pdf"});
    const std::string one = ReadFile(folder.File("one.pdf"));
    const std::string four = ReadFile(folder.File("four.pdf"));
    const std::size_t end = one.find("endstream");
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(one.substr(0, end), four.substr(0, end));
}

TEST_F(Pdf, AlphaIsRefused) {
    WriteFile(folder.File("a.pam"),
              "P7\nWIDTH 1\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\nab");
    const Outcome outcome = Run("", {"a.pam", "-o", "a.pdf"});
    EXPECT_EQ(outcome.code, 3);
    EXPECT_NE(outcome.err.find("PDF output has no alpha channel; --flatten blends the page with white"),
              std::string::npos)
        << outcome.err;
    EXPECT_EQ(folder.Listing(), "a.pam");
}

}  // namespace
}  // namespace platen_test
