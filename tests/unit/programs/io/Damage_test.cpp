#include <tiffio.h>

#include "Pages.h"

namespace {

using namespace platen_test;

void ExpectCutsAreErrors(const std::string& name, const Bytes& whole, std::size_t step) {
    const Scratch scratch;
    for (std::size_t length = 0; length < whole.size(); length += step) {
        PutFile(scratch / "cut", whole.data(), length);
        EXPECT_THROW(ReadPages(scratch / "cut"), Error) << name << " cut to " << length << " of " << whole.size();
    }
    // The last bytes are where a careless reader stops looking.
    for (std::size_t missing = 1; missing < 40 && missing < whole.size(); ++missing) {
        PutFile(scratch / "cut", whole.data(), whole.size() - missing);
        EXPECT_THROW(ReadPages(scratch / "cut"), Error) << name << " without its last " << missing << " bytes";
    }
}

Bytes Written(const std::string& name, const Page& page, int compression = 0) {
    const Scratch scratch;
    WriteOptions options;
    options.tiffCompression = compression;
    WritePages(scratch / name, {page}, options);
    EXPECT_NO_THROW(ReadPages(scratch / name));
    return FileBytes(scratch / name);
}

TEST(Damage, ACutFileIsAlwaysAnError) {
    ExpectCutsAreErrors("png", Written("a.png", RandomPage(60, 40, 8, 3, 1)), 7);
    ExpectCutsAreErrors("png 1 bit", Written("a.png", RandomPage(99, 60, 1, 1, 1)), 3);
    ExpectCutsAreErrors("jpeg", Written("a.jpg", RandomPage(60, 40, 8, 3, 1)), 5);
    ExpectCutsAreErrors("tiff", Written("a.tif", RandomPage(60, 40, 8, 3, 1)), 5);
    ExpectCutsAreErrors("pbm", Written("a.pbm", RandomPage(99, 60, 1, 1, 1)), 3);
    ExpectCutsAreErrors("ppm", Written("a.ppm", RandomPage(60, 40, 8, 3, 1)), 7);
    ExpectCutsAreErrors("pam", Written("a.pam", RandomPage(60, 40, 16, 4, 1)), 17);
}

void Put(Bytes& out, std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

// A TIFF whose directory comes before its one strip, so that a cut leaves the directory whole.
Bytes DirectoryFirst(const Page& page, int compression) {
    const Scratch scratch;
    const std::string path = scratch / "source.tif";
    TIFF* tiff = TIFFOpen(path.c_str(), "wl");
    const int samples = page.info.samplesPerPixel;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, page.info.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, page.info.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, page.info.bitsPerSample);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, page.info.height);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    const int photometric = page.info.bitsPerSample == 1 ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric);
    Bytes lines = page.lines;
    for (std::uint32_t y = 0; y < page.info.height; ++y) {
        TIFFWriteScanline(tiff, lines.data() + y * page.info.LineBytes(), y, 0);
    }
    TIFFClose(tiff);
    tiff = TIFFOpen(path.c_str(), "r");
    Bytes strip(static_cast<std::size_t>(TIFFRawStripSize(tiff, 0)));
    TIFFReadRawStrip(tiff, 0, strip.data(), static_cast<tmsize_t>(strip.size()));
    void* tables = nullptr;
    std::uint32_t tableBytes = 0;
    const bool withTables = TIFFGetField(tiff, TIFFTAG_JPEGTABLES, &tableBytes, &tables) != 0;

    const std::uint64_t entries = withTables ? 10 : 9;
    const std::uint64_t after = 8 + 2 + 12 * entries + 4;
    Bytes file = {'I', 'I', 42, 0, 8, 0, 0, 0};
    const auto entry = [&file](std::uint64_t tag, std::uint64_t type, std::uint64_t count, std::uint64_t value) {
        Put(file, tag, 2);
        Put(file, type, 2);
        Put(file, count, 4);
        Put(file, value, 4);
    };
    Put(file, entries, 2);
    entry(256, 4, 1, page.info.width);
    entry(257, 4, 1, page.info.height);
    entry(258, 3, 1, static_cast<std::uint64_t>(page.info.bitsPerSample));
    entry(259, 3, 1, static_cast<std::uint64_t>(compression));
    entry(262, 3, 1, static_cast<std::uint64_t>(photometric));
    entry(273, 4, 1, after + tableBytes);
    entry(277, 3, 1, static_cast<std::uint64_t>(samples));
    entry(278, 4, 1, page.info.height);
    entry(279, 4, 1, strip.size());
    if (withTables) {
        entry(347, 7, tableBytes, after);
    }
    Put(file, 0, 4);
    const auto* tableStart = static_cast<const std::uint8_t*>(tables);
    file.insert(file.end(), tableStart, tableStart + (withTables ? tableBytes : 0));
    TIFFClose(tiff);
    file.insert(file.end(), strip.begin(), strip.end());
    return file;
}

TEST(Damage, ATiffCutWithinItsStripIsAnErrorWhateverItsCodec) {
    const Page bilevel = RandomPage(200, 60, 1, 1, 3);
    const Page grey = RandomPage(64, 48, 8, 1, 4);
    for (const int compression : {1, 2, 3, 4, 5, 8, 32773}) {
        SCOPED_TRACE(compression);
        const Bytes whole = DirectoryFirst(bilevel, compression);
        const Scratch scratch;
        PutFile(scratch / "whole", whole.data(), whole.size());
        ExpectSamePage(ReadPages(scratch / "whole").at(0), bilevel);
        ExpectCutsAreErrors("bilevel " + std::to_string(compression), whole, 5);
    }
    for (const int compression : {1, 5, 7, 8, 32773}) {
        const Bytes whole = DirectoryFirst(grey, compression);
        const Scratch scratch;
        PutFile(scratch / "whole", whole.data(), whole.size());
        EXPECT_EQ(ReadPages(scratch / "whole").at(0).lines.size(), grey.lines.size());
        ExpectCutsAreErrors("grey " + std::to_string(compression), whole, 5);
    }
}

// The strip's byte count may be honest about a strip that its writer cut off.
TEST(Damage, AStripThatStopsEarlyIsAnErrorThoughTheFileIsWhole) {
    const Page bilevel = RandomPage(200, 60, 1, 1, 3);
    for (const int compression : {3, 4, 5, 8, 32773}) {
        Bytes whole = DirectoryFirst(bilevel, compression);
        const std::size_t countAt = 8 + 2 + 12 * 8 + 8;
        const std::size_t count = whole[countAt] | static_cast<std::size_t>(whole[countAt + 1]) << 8;
        const Scratch scratch;
        for (std::size_t kept = 1; kept + 8 < count; kept += 7) {
            whole[countAt] = static_cast<std::uint8_t>(kept);
            whole[countAt + 1] = static_cast<std::uint8_t>(kept >> 8);
            PutFile(scratch / "short", whole.data(), whole.size());
            EXPECT_THROW(ReadPages(scratch / "short"), Error) << compression << " kept " << kept;
        }
    }
}

// Nothing is promised about the samples, only that it ends, in an Error or not.
TEST(Damage, FlippedBytesNeverCrash) {
    const Scratch scratch;
    Random random(11);
    const Bytes files[] = {
        Written("a.png", RandomPage(30, 20, 8, 3, 1)), Written("a.jpg", RandomPage(30, 20, 8, 3, 1)),
        Written("a.tif", RandomPage(30, 20, 8, 3, 1)), Written("a.tif", RandomPage(30, 20, 1, 1, 1)),
        Written("a.pam", RandomPage(30, 20, 8, 2, 1)), Written("a.tif", RandomPage(30, 20, 8, 3, 1), 7)};
    ReadOptions options;
    options.limits.maxPixels = 1 << 20;
    int refused = 0;
    for (const Bytes& file : files) {
        for (int i = 0; i < 400; ++i) {
            Bytes damaged = file;
            for (auto flips = random.Between(1, 4); flips > 0; --flips) {
                damaged[random.Next() % damaged.size()] = random.Byte();
            }
            PutFile(scratch / "damaged", damaged.data(), damaged.size());
            try {
                ReadPages(scratch / "damaged", options);
            } catch (const Error&) {
                ++refused;
            }
        }
    }
    EXPECT_GT(refused, 600);
}

TEST(Damage, LimitsAreCheckedFirst) {
    const Scratch scratch;
    ReadOptions options;
    options.limits = {100, 5000};
    for (const char* name : {"a.png", "a.tif", "a.jpg", "a.pnm"}) {
        WriteOptions writing;
        writing.force = true;
        WritePages(scratch / name, {RandomPage(101, 10, 8, 1, 1)}, writing);
        ExpectError([&] { ReadPages(scratch / name, options); }, ExitCode::kFailed, "100 on a side");
        WritePages(scratch / name, {RandomPage(10, 101, 8, 1, 1)}, writing);
        ExpectError([&] { ReadPages(scratch / name, options); }, ExitCode::kFailed, "100 on a side");
        WritePages(scratch / name, {RandomPage(80, 80, 8, 1, 1)}, writing);
        ExpectError([&] { ReadPages(scratch / name, options); }, ExitCode::kFailed, "5000 pixels");
        WritePages(scratch / name, {RandomPage(100, 50, 8, 1, 1)}, writing);
        EXPECT_NO_THROW(ReadPages(scratch / name, options));
    }
}

TEST(Damage, OtherFilesAreRefusedByName) {
    const Scratch scratch;
    ExpectError([&] { ReadPages(scratch / "absent"); }, ExitCode::kFailed, "opened");
    ExpectError([&] { ReadPages(scratch / "."); }, ExitCode::kFailed, "folder");
    PutFile(scratch / "empty", "");
    ExpectError([&] { ReadPages(scratch / "empty"); }, ExitCode::kFailed, "empty");
    PutFile(scratch / "text", "Hello, this is not an image.");
    ExpectError([&] { ReadPages(scratch / "text"); }, ExitCode::kFailed, "PNG");
}

}  // namespace
