#include "programs/io/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "programs/base/Error.h"

namespace platen_tool {

namespace {

constexpr std::size_t kBufferBytes = 65536;

// The temporary names, where a signal handler can find them. A slot belongs to the process whose id it holds, so
// a forked child that is interrupted leaves its parent's files alone.
struct PartialOutput {
    std::atomic<bool> taken{false};
    std::atomic<pid_t> owner{0};  // 0: no name in `path`
    char path[PATH_MAX];
};
static_assert(std::atomic<pid_t>::is_always_lock_free, "a signal handler reads it");
PartialOutput g_partialOutputs[16];

// Between making a file and noting its name, or renaming it and forgetting the name, no signal may come in.
class SignalsHeld {
  public:
    SignalsHeld() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~SignalsHeld() {
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

  private:
    sigset_t before_;
};

int TakeSlot() {
    int index = 0;
    for (PartialOutput& slot : g_partialOutputs) {
        if (!slot.taken.exchange(true)) {
            return index;
        }
        ++index;
    }
    return -1;
}

void FreeSlot(int index) {
    PartialOutput& slot = g_partialOutputs[static_cast<std::size_t>(index)];
    slot.owner = 0;
    slot.taken = false;
}

mode_t UsualMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// What stands at the path, if anything does.
std::optional<struct stat> StatusOf(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

bool IsLink(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// What a link holds, as a path that is good here.
std::string LinkTarget(const std::string& path) {
    char target[PATH_MAX];
    const ssize_t length = readlink(path.c_str(), target, sizeof target);
    if (length <= 0) {
        return path;
    }
    const std::string text(target, static_cast<std::size_t>(length));
    return text[0] == '/' || path.rfind('/') == std::string::npos ? text : FolderOf(path) + text;
}

void RefuseToReplace(const std::string& path, const std::optional<struct stat>& status, FileOptions options) {
    if (status && S_ISDIR(status->st_mode)) {
        throw Error(ExitCode::kFailed, path + ": is a folder; the output must be a file");
    }
    if (status && S_ISREG(status->st_mode) && !options.force) {
        throw Error(ExitCode::kFailed, path + ": exists already; --force overwrites it");
    }
    if (!status && !options.force && IsLink(path)) {
        throw Error(ExitCode::kFailed, path + ": is a link to a file that doesn't exist; --force creates the file");
    }
}

}  // namespace

std::string ResolvedOutput(std::string path) {
    constexpr int kMostLinks = 40;  // as many as the system follows
    for (int links = 0; links < kMostLinks && IsLink(path); ++links) {
        path = LinkTarget(path);
    }
    return path;
}

void CheckOutputPath(const std::string& path, FileOptions options) {
    if (path == "-") {
        return;
    }
    const auto status = StatusOf(path);
    RefuseToReplace(path, status, options);
    if (status && !S_ISREG(status->st_mode)) {
        return;
    }
    const std::string file = ResolvedOutput(path);
    if (status && access(file.c_str(), W_OK) != 0) {
        throw Error(ExitCode::kFailed, path + ": can't be overwritten: " + std::strerror(errno));
    }
    if (access(FolderOf(file).c_str(), W_OK | X_OK) != 0) {
        throw Error(ExitCode::kFailed, path + ": can't be created: " + std::strerror(errno));
    }
}

void RemovePartialOutputs() noexcept {
    const int before = errno;
    for (PartialOutput& slot : g_partialOutputs) {
        if (slot.owner.load() == getpid()) {
            unlink(slot.path);
        }
    }
    errno = before;
}

OutputFile::OutputFile(const std::string& path, FileOptions options)
    : name_(path == "-" ? "standard output" : path), path_(path), sync_(options.sync) {
    buffer_.reserve(kBufferBytes);
    if (path == "-") {
        descriptor_ = STDOUT_FILENO;
        return;
    }
    const auto status = StatusOf(path);
    RefuseToReplace(path, status, options);
    if (status && !S_ISREG(status->st_mode)) {
        descriptor_ = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        if (descriptor_ < 0) {
            Fail("can't be opened for writing: ", errno);
        }
        return;
    }
    path_ = ResolvedOutput(path);
    if (IsLink(path_)) {
        Fail("can't be created: ", ELOOP);
    }
    mayReplace_ = options.force;
    OpenTemporary(status.has_value(), status ? status->st_mode & 07777 : UsualMode());
}

void OutputFile::OpenTemporary(bool exists, unsigned mode) {
    if (exists && access(path_.c_str(), W_OK) != 0) {
        Fail("can't be overwritten: ", errno);
    }
    const std::size_t slash = path_.rfind('/');
    const std::size_t nameAt = slash == std::string::npos ? 0 : slash + 1;
    // A long name is cut, since the temporary one may not be longer than a name can be.
    temporaryPath_ = path_.substr(0, nameAt) + "." + path_.substr(nameAt, 200) + ".XXXXXX";
    if (temporaryPath_.size() >= PATH_MAX) {
        Fail("can't be created: ", ENAMETOOLONG);
    }
    slot_ = TakeSlot();
    if (slot_ < 0) {
        Fail("can't be created: too many outputs at once");
    }
    const SignalsHeld held;
    descriptor_ = mkostemp(temporaryPath_.data(), O_CLOEXEC);
    if (descriptor_ < 0) {
        const int error = errno;
        FreeSlot(slot_);
        Fail("can't be created: ", error);
    }
    PartialOutput& slot = g_partialOutputs[static_cast<std::size_t>(slot_)];
    std::memcpy(slot.path, temporaryPath_.c_str(), temporaryPath_.size() + 1);
    slot.owner = getpid();
    temporary_ = true;
    // A file system that knows no modes may refuse this; the file is then as private as it was made.
    if (fchmod(descriptor_, mode) != 0) {
        errno = 0;
    }
}

void OutputFile::Fail(const std::string& what) const {
    throw Error(ExitCode::kFailed, name_ + ": " + what);
}

void OutputFile::Fail(const std::string& what, int error) const {
    Fail(what + std::strerror(error));
}

OutputFile::~OutputFile() {
    Discard();
}

void OutputFile::Discard() noexcept {
    if (descriptor_ > STDERR_FILENO) {
        close(descriptor_);
    }
    descriptor_ = -1;
    if (temporary_) {
        const SignalsHeld held;
        unlink(temporaryPath_.c_str());
        FreeSlot(slot_);
        temporary_ = false;
    }
}

bool OutputFile::Flush() noexcept {
    std::size_t done = 0;
    while (error_ == 0 && done < buffer_.size()) {
        const ssize_t put = write(descriptor_, buffer_.data() + done, buffer_.size() - done);
        if (put >= 0) {
            done += static_cast<std::size_t>(put);
            written_ += static_cast<std::uint64_t>(put);
        } else if (errno != EINTR) {
            error_ = errno;
        }
    }
    buffer_.clear();
    return error_ == 0;
}

bool OutputFile::Write(const void* bytes, std::size_t count) noexcept {
    const auto* in = static_cast<const std::uint8_t*>(bytes);
    while (count != 0 && error_ == 0) {
        const std::size_t room = kBufferBytes - buffer_.size();
        const std::size_t part = count < room ? count : room;
        buffer_.insert(buffer_.end(), in, in + part);  // within what was reserved, so it can't throw
        in += part;
        count -= part;
        if (buffer_.size() == kBufferBytes) {
            Flush();
        }
    }
    return error_ == 0;
}

void OutputFile::CheckWriteError() const {
    if (error_ != 0 && failed_ != nullptr) {
        throw Error(ExitCode::kFailed, failed_ + (" can't be written: " + std::string(std::strerror(error_))));
    }
    if (error_ == EPIPE) {
        throw Error(ExitCode::kBrokenPipe, name_ + ": the reader has closed the pipe");
    }
    if (error_ != 0) {
        Fail("can't be written: ", error_);
    }
}

void OutputFile::MarkPage() {
    Flush();
    pageAt_ = written_;
}

void OutputFile::EndPage() {
    Flush();
    CheckWriteError();
}

void OutputFile::DropPage() {
    buffer_.clear();
    if (!temporary_) {
        return;  // what a pipe has taken can't be taken back
    }
    error_ = 0;
    const auto end = static_cast<off_t>(pageAt_);
    if (ftruncate(descriptor_, end) != 0 || lseek(descriptor_, end, SEEK_SET) != end) {
        SetWriteError(errno);
    }
    written_ = pageAt_;
}

// Without force a file that has come up since is left alone, where the file system can promise that.
bool OutputFile::Rename() const {
#ifdef RENAME_NOREPLACE
    if (!mayReplace_) {
        const int result = renameat2(AT_FDCWD, temporaryPath_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE);
        if (result == 0 || (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP)) {
            return result == 0;
        }
    }
#endif
    return rename(temporaryPath_.c_str(), path_.c_str()) == 0;
}

void OutputFile::Commit() {
    Flush();
    CheckWriteError();
    if (temporary_ && sync_ && fsync(descriptor_) != 0 && errno != EINVAL && errno != ENOTSUP) {
        error_ = errno;
        CheckWriteError();
    }
    // Standard output stays open for whoever else uses it; closing a copy still tells what a network disk says.
    const int closing = descriptor_ == STDOUT_FILENO ? dup(descriptor_) : descriptor_;
    descriptor_ = descriptor_ == STDOUT_FILENO ? STDOUT_FILENO : -1;
    if (closing >= 0 && close(closing) != 0 && errno != EINTR) {
        error_ = errno;
        CheckWriteError();
    }
    if (!temporary_) {
        return;
    }
    const SignalsHeld held;
    if (!Rename()) {
        if (errno == EEXIST) {
            Fail("exists already; --force overwrites it");
        }
        Fail("can't be renamed: ", errno);
    }
    FreeSlot(slot_);
    temporary_ = false;
}

}  // namespace platen_tool
