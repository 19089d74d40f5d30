#include <cstddef>
#include <cstdio>
#include <exception>
#include <vector>

#include "demo/Page.h"
#include "programs/io/LineWriter.h"

// demo_page OUTPUT: writes the page to an image file, in the form that the name's ending says.
int main(int count, char** words) {
    if (count != 2) {
        std::fprintf(stderr, "usage: demo_page OUTPUT\n");
        return 2;
    }
    try {
        using platen_demo::Page;
        platen_tool::ImageInfo info;
        info.width = Page::kWidth;
        info.height = Page::kHeight;
        info.samplesPerPixel = 3;
        info.resolution = platen_tool::Resolution{{300, 1}, {300, 1}};
        platen_tool::WriteOptions options;
        options.force = true;
        const auto writer = platen_tool::OpenWriter(words[1], options);
        writer->BeginPage(info);
        const Page page;
        std::vector<std::uint8_t> line(info.LineBytes());
        for (int y = 0; y < Page::kHeight; ++y) {
            page.Line(y, line.data());
            writer->WriteLine(line.data());
        }
        writer->EndPage();
        writer->Commit();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "demo_page: %s: %s\n", words[1], error.what());
        return 1;
    }
    return 0;
}
