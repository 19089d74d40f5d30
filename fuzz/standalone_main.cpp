// Replays inputs through a fuzz target without libFuzzer: every argument is a file, or a folder whose files are
// all replayed. Exits with 1 when there was nothing to replay, so that an empty corpus can't pass for a test.
//
// C's and POSIX' functions only: MemorySanitizer knows what they write, and doesn't for the compiled parts of the
// C++ library's file system and streams.

#include <dirent.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// False if the file can't be opened.
bool Replay(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return false;
    }
    std::vector<std::uint8_t> bytes;
    std::uint8_t chunk[4096];
    for (std::size_t got = 0; (got = std::fread(chunk, 1, sizeof chunk, file)) != 0;) {
        bytes.insert(bytes.end(), chunk, chunk + got);
    }
    std::fclose(file);
    // A copy of its own, exactly as long as the input, lets AddressSanitizer see a read one byte too far.
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
    return true;
}

// The files of a folder, sorted; or the path itself if it isn't a folder.
std::vector<std::string> Files(const std::string& path) {
    DIR* folder = opendir(path.c_str());
    if (folder == nullptr) {
        return {path};
    }
    std::vector<std::string> files;
    while (const dirent* entry = readdir(folder)) {
        if (entry->d_name[0] != '.') {
            files.push_back(path + "/" + entry->d_name);
        }
    }
    closedir(folder);
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const std::string& file : Files(argv[i])) {
            replayed += Replay(file) ? 1 : 0;
        }
    }
    std::printf("%zu inputs replayed\n", replayed);
    return replayed == 0 ? 1 : 0;
}
