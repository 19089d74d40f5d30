#include "programs/io/Spool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "programs/base/Error.h"

namespace platen_tool {

namespace {

int OpenNameless(const std::string& folder) {
#ifdef O_TMPFILE
    const int direct = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (direct >= 0) {
        return direct;
    }
#endif
    std::string name = folder + "/platen-spool-XXXXXX";
    const int named = mkostemp(name.data(), O_CLOEXEC);
    if (named >= 0) {
        unlink(name.c_str());
    }
    return named;
}

}  // namespace

Spool::Spool() {
    const char* chosen = std::getenv("TMPDIR");
    if (chosen != nullptr && *chosen != '\0') {
        descriptor_ = OpenNameless(chosen);
    } else {
        // /var/tmp first: /tmp is often kept in memory.
        descriptor_ = OpenNameless("/var/tmp");
        if (descriptor_ < 0) {
            descriptor_ = OpenNameless("/tmp");
        }
    }
    if (descriptor_ < 0) {
        throw Error(ExitCode::kFailed, std::string("can't create a temporary file: ") + std::strerror(errno));
    }
}

Spool::~Spool() {
    close(descriptor_);
}

void Spool::WriteAt(std::uint64_t offset, const void* bytes, std::size_t count) {
    const int failure = WriteFully(descriptor_, offset, bytes, count);
    if (failure != 0) {
        throw Error(ExitCode::kFailed,
                    std::string("the temporary file can't be written: ") + std::strerror(failure));
    }
}

void Spool::ReadAt(std::uint64_t offset, void* bytes, std::size_t count) const {
    if (ReadFully(descriptor_, offset, bytes, count) != count) {
        throw Error(ExitCode::kFailed, "the temporary file can't be read back");
    }
}

std::size_t ReadFully(int descriptor, std::uint64_t offset, void* bytes, std::size_t count) noexcept {
    auto* out = static_cast<std::uint8_t*>(bytes);
    std::size_t done = 0;
    errno = 0;
    while (done < count) {
        const ssize_t got = pread(descriptor, out + done, count - done, static_cast<off_t>(offset + done));
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            break;
        }
    }
    return done;
}

int WriteFully(int descriptor, std::uint64_t offset, const void* bytes, std::size_t count) noexcept {
    const auto* in = static_cast<const std::uint8_t*>(bytes);
    std::size_t done = 0;
    while (done < count) {
        const ssize_t put = pwrite(descriptor, in + done, count - done, static_cast<off_t>(offset + done));
        if (put >= 0) {
            done += static_cast<std::size_t>(put);
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

std::uint64_t FileSize(int descriptor) noexcept {
    struct stat status {};
    const bool file = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    return file ? static_cast<std::uint64_t>(status.st_size) : UINT64_MAX;
}

}  // namespace platen_tool
