#include <gtest/gtest.h>

#include <string>
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

TEST_F(Pdf, APageWithoutAResolutionIsSaidToHave300) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    WriteFile(folder.File("a.pgm"), PnmPage(600, 300, false));
    const Outcome outcome = Run("", {"-v", "a.pgm", "-o", "a.pdf"});
    EXPECT_NE(outcome.err.find("a page without a resolution is taken to have 300 dpi"), std::string::npos)
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
    EXPECT_NE(outcome.err.find("PDF output has no alpha channel; --flatten lays it over white"), std::string::npos)
        << outcome.err;
    EXPECT_EQ(folder.Listing(), "a.pam");
}

}  // namespace
}  // namespace platen_test
