#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace platen_fuzz {

inline void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// A folder for what a target writes, in memory where there is such a place, and removed at the end.
inline const std::string& OutputFolder() {
    static const struct Folder {
        std::string path = std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") + "/platen-fuzz-XXXXXX";

        Folder() {
            Require(mkdtemp(path.data()) != nullptr);
        }
        ~Folder() {
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
        }
        Folder(const Folder&) = delete;
        Folder& operator=(const Folder&) = delete;
    } folder;
    return folder.path;
}

}  // namespace platen_fuzz
