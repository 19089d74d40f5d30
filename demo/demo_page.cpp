#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <vector>

#include "demo/Page.h"
#include "demo/Photo.h"
#include "programs/io/LineWriter.h"
#include "programs/io/OpenWriter.h"

namespace {

template <typename LineOf>
void Write(const char* path, int width, int height, LineOf lineOf) {
    platen_tool::ImageInfo info;
    info.width = static_cast<std::uint32_t>(width);
    info.height = static_cast<std::uint32_t>(height);
    info.samplesPerPixel = 3;
    info.resolution = platen_tool::Resolution{{300, 1}, {300, 1}};
    platen_tool::WriteOptions options;
    options.force = true;
    const auto writer = platen_tool::OpenWriter(path, options);
    writer->BeginPage(info);
    std::vector<std::uint8_t> line(info.LineBytes());
    for (int y = 0; y < height; ++y) {
        lineOf(y, line.data());
        writer->WriteLine(line.data());
    }
    writer->EndPage();
    writer->Commit();
}

}  // namespace

// demo_page OUTPUT [photo]: writes the page, or the photograph, to an image file, in the form that the name's
// ending says.
int main(int count, char** words) {
    const bool photo = count == 3 && std::strcmp(words[2], "photo") == 0;
    if (count != 2 && !photo) {
        std::fprintf(stderr, "usage: demo_page OUTPUT [photo]\n");
        return 2;
    }
    try {
        using namespace platen_demo;
        if (photo) {
            Write(words[1], Photo::kWidth, Photo::kHeight, Photo::Line);
        } else {
            const Page page;
            Write(words[1], Page::kWidth, Page::kHeight, [&](int y, std::uint8_t* line) { page.Line(y, line); });
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "demo_page: %s: %s\n", words[1], error.what());
        return 1;
    }
    return 0;
}
