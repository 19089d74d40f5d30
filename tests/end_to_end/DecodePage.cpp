#include "DecodePage.h"

#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace platen_test {

namespace {

DecodedPage DecodeJpeg(const std::string& path) {
    DecodedPage page;
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return page;
    }
    jpeg_decompress_struct codec{};
    jpeg_error_mgr errors{};
    codec.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&codec);
    jpeg_stdio_src(&codec, file);
    jpeg_read_header(&codec, TRUE);
    codec.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&codec);
    page.width = codec.output_width;
    page.height = codec.output_height;
    page.samples = static_cast<std::size_t>(codec.output_components);
    page.pixels.resize(page.width * page.height * page.samples);
    while (codec.output_scanline < codec.output_height) {
        JSAMPROW row = page.pixels.data() + codec.output_scanline * page.width * page.samples;
        jpeg_read_scanlines(&codec, &row, 1);
    }
    jpeg_finish_decompress(&codec);
    jpeg_destroy_decompress(&codec);
    std::fclose(file);
    return page;
}

DecodedPage DecodePng(const std::string& path) {
    DecodedPage page;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        return page;
    }
    page.width = image.width;
    page.height = image.height;
    page.samples = PNG_IMAGE_PIXEL_CHANNELS(image.format);
    page.pixels.resize(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, page.pixels.data(), 0, nullptr) == 0) {
        page.pixels.clear();
    }
    return page;
}

DecodedPage DecodeTiff(const std::string& path) {
    DecodedPage page;
    TIFF* tiff = TIFFOpen(path.c_str(), "r");
    if (tiff == nullptr) {
        return page;
    }
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t samples = 1;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    page.width = width;
    page.height = height;
    page.samples = samples;
    page.pixels.resize(page.width * page.height * page.samples);
    for (std::uint32_t y = 0; y < height; ++y) {
        TIFFReadScanline(tiff, page.pixels.data() + y * page.width * page.samples, y, 0);
    }
    TIFFClose(tiff);
    return page;
}

DecodedPage DecodePnm(const std::string& path) {
    DecodedPage page;
    std::ifstream stream(path, std::ios::binary);
    std::string magic;
    std::size_t most = 0;
    stream >> magic >> page.width >> page.height >> most;
    stream.get();
    if (!stream || most != 255) {
        return page;
    }
    page.samples = magic == "P6" ? 3 : 1;
    page.pixels.resize(page.width * page.height * page.samples);
    stream.read(reinterpret_cast<char*>(page.pixels.data()), static_cast<std::streamsize>(page.pixels.size()));
    if (!stream) {
        page.pixels.clear();
    }
    return page;
}

}  // namespace

DecodedPage DecodePage(const std::string& path) {
    const std::string ending = path.substr(path.rfind('.') + 1);
    if (ending == "jpg") {
        return DecodeJpeg(path);
    }
    if (ending == "png") {
        return DecodePng(path);
    }
    return ending == "tif" ? DecodeTiff(path) : DecodePnm(path);
}

}  // namespace platen_test
