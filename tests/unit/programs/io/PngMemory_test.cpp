#include "programs/io/PngMemory.h"

#include <new>
#include <tuple>

#include "Pages.h"
#include "support/AllocationLedger.h"

// Without memory a PNG isn't written or read in part: libpng by itself drops a profile, a text or the EXIF block.

namespace {

using namespace platen_test;
using platen_tool::Description;

Page DescribedPage() {
    Page page = RandomPage(8, 8, 8, 3, 1);
    page.info.iccProfile = SmallProfile(true);
    page.info.orientation = 6;
    Description description;
    description.pngTexts.push_back({"tEXt", {'T', 'i', 't', 'l', 'e', 0, 'x'}});
    description.Text(platen_tool::TextField::kArtist) = "somebody";
    page.info.description = std::make_shared<const Description>(description);
    return page;
}

// Runs `action` once for each malloc that it makes, which fails. An action that ends all the same gave what it
// gives with memory.
template <class Action>
void EachFails(Action action) {
    const auto whole = action();
    int refused = 0;
    for (std::size_t number = 0;; ++number) {
        AllocationLedger ledger;
        ledger.FailOnly(number);
        try {
            const auto result = action();
            ledger.FailNone();
            EXPECT_TRUE(result == whole) << number;
            if (ledger.Mallocs() <= number) {
                break;
            }
        } catch (const std::bad_alloc&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 5);
}

TEST(PngMemory, WritesAllOrNothing) {
    const Scratch scratch;
    const Page page = DescribedPage();
    EachFails([&] {
        const std::string path = scratch / "page.png";
        std::filesystem::remove(path);
        WritePages(path, {page});
        return FileBytes(path);
    });
}

TEST(PngMemory, ReadsAllOrNothing) {
    const Scratch scratch;
    WritePages(scratch / "page.png", {DescribedPage()});
    EachFails([&] {
        const Page page = ReadPages(scratch / "page.png").front();
        EXPECT_NE(page.info.description, nullptr);
        return std::tuple(page.lines, page.info.iccProfile, page.info.orientation,
                          page.info.description != nullptr ? *page.info.description : Description{});
    });
}

}  // namespace
