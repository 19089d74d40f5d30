#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/LineReader.h"
#include "programs/io/LineWriter.h"
#include "programs/io/OpenReader.h"
#include "programs/io/OpenWriter.h"
#include "support/Random.h"

// Pages in memory and short ways to write and read them, for the tests of readers and writers.
namespace platen_test {

using platen_tool::Error;
using platen_tool::ExitCode;
using platen_tool::ImageInfo;
using platen_tool::ReadOptions;
using platen_tool::WriteOptions;
using Bytes = std::vector<std::uint8_t>;

struct Page {
    ImageInfo info;
    Bytes lines;  // info.height times info.LineBytes()
};

// A folder of its own for each test, removed with what is in it.
class Scratch {
  public:
    Scratch() {
        // In memory where that exists: thousands of small files are written over and over.
        const std::filesystem::path memory = "/dev/shm";
        const bool useMemory = access(memory.c_str(), W_OK) == 0;
        const auto base = useMemory ? memory : std::filesystem::temp_directory_path();
        std::string name = (base / "platen-io-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            std::abort();
        }
        folder_ = name;
    }
    ~Scratch() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::string operator/(const std::string& name) const {
        return (folder_ / name).string();
    }
    std::size_t Files() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder_), {}));
    }

  private:
    std::filesystem::path folder_;
};

// A page of random samples with runs of equal ones in it, as scans have.
inline Page RandomPage(std::uint32_t width, std::uint32_t height, int bits, int samples, std::uint64_t seed) {
    Page page;
    page.info.width = width;
    page.info.height = height;
    page.info.bitsPerSample = bits;
    page.info.samplesPerPixel = samples;
    Random random(seed);
    const std::size_t lineBytes = page.info.LineBytes();
    page.lines.resize(lineBytes * height);
    for (std::uint32_t y = 0; y < height; ++y) {
        std::uint8_t* line = page.lines.data() + y * lineBytes;
        for (std::size_t i = 0; i < lineBytes; ++i) {
            line[i] = i > 0 && !random.OneIn(3) ? line[i - 1] : random.Byte();
        }
        if (bits == 1 && width % 8 != 0) {
            line[lineBytes - 1] = static_cast<std::uint8_t>(line[lineBytes - 1] & (0xFF00u >> (width % 8)));
        }
    }
    return page;
}

inline void WritePages(const std::string& path, const std::vector<Page>& pages, WriteOptions options = {},
                       bool heightKnown = true) {
    options.sync = false;
    auto writer = platen_tool::OpenWriter(path, options);
    for (const Page& page : pages) {
        ImageInfo info = page.info;
        info.height = heightKnown ? info.height : 0;
        writer->BeginPage(info);
        for (std::uint32_t y = 0; y < page.info.height; ++y) {
            writer->WriteLine(page.lines.data() + y * page.info.LineBytes());
        }
        writer->EndPage();
    }
    writer->Commit();
}

// Reads everything. A canary after each line shows a reader that writes too far.
inline std::vector<Page> ReadPages(const std::string& path, const ReadOptions& options = {}) {
    auto reader = platen_tool::OpenReader(path, options);
    std::vector<Page> pages;
    do {
        Page page{reader->Info(), {}};
        const std::size_t lineBytes = page.info.LineBytes();
        Bytes line(lineBytes + 1);
        for (std::uint32_t y = 0; y < page.info.height; ++y) {
            std::memset(line.data(), 0xA5, line.size());
            reader->ReadLine(line.data());
            EXPECT_EQ(line[lineBytes], 0xA5);
            page.lines.insert(page.lines.end(), line.begin(), line.end() - 1);
        }
        pages.push_back(std::move(page));
    } while (reader->NextPage());
    return pages;
}

inline void ExpectSamePage(const Page& actual, const Page& expected) {
    EXPECT_EQ(actual.info.width, expected.info.width);
    EXPECT_EQ(actual.info.height, expected.info.height);
    EXPECT_EQ(actual.info.bitsPerSample, expected.info.bitsPerSample);
    EXPECT_EQ(actual.info.samplesPerPixel, expected.info.samplesPerPixel);
    EXPECT_TRUE(actual.lines == expected.lines) << "samples differ";
}

// A file's permissions, with the bits for set-user-ID and its like.
inline mode_t ModeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

inline Bytes FileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

inline void PutFile(const std::string& path, const void* bytes, std::size_t count) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(count));
}

inline void PutFile(const std::string& path, const std::string& text) {
    PutFile(path, text.data(), text.size());
}

// The Error that `action` ends with; a failure where it ends with none.
template <class Action>
Error ErrorOf(Action action) {
    try {
        action();
    } catch (const Error& error) {
        return error;
    }
    ADD_FAILURE() << "no Error";
    return Error(ExitCode::kDone, "");
}

template <class Action>
void ExpectError(Action action, ExitCode code, const std::string& part) {
    const Error error = ErrorOf(action);
    EXPECT_EQ(static_cast<int>(error.Code()), static_cast<int>(code)) << error.what();
    EXPECT_NE(std::string(error.what()).find(part), std::string::npos) << error.what();
}

// The smallest ICC profile that passes a look at its header.
inline Bytes SmallProfile(bool colour) {
    Bytes profile(132 + 12 + 600, 0);  // longer than what libpng takes for cut off once it is packed
    Random random(1);
    for (std::size_t i = 152; i < profile.size(); ++i) {
        profile[i] = random.Byte();
    }
    const auto put = [&profile](std::size_t at, const char* text) { std::memcpy(profile.data() + at, text, 4); };
    profile[2] = static_cast<std::uint8_t>(profile.size() >> 8);
    profile[3] = static_cast<std::uint8_t>(profile.size());
    profile[8] = 2;
    put(12, "scnr");
    put(16, colour ? "RGB " : "GRAY");
    put(20, "XYZ ");
    put(36, "acsp");
    const std::uint8_t white[12] = {0, 0, 0xF6, 0xD6, 0, 1, 0, 0, 0, 0, 0xD3, 0x2D};
    std::memcpy(profile.data() + 68, white, sizeof white);
    profile[131] = 1;  // one tag, of the profile's last bytes
    put(132, "desc");
    profile[139] = 144;
    profile[142] = 600 >> 8;
    profile[143] = 600 & 0xFF;
    return profile;
}

}  // namespace platen_test
