#include "programs/io/RunFiles.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <optional>

#include "programs/base/Error.h"
#include "programs/io/OutputFile.h"

namespace platen_tool {

namespace {

// The claims: an open hash table of the outputs' keys in memory that forked processes share. Only what is used of
// it takes memory. A full table takes no more claims, and what lies beyond it goes unnoticed.
constexpr std::size_t kClaims = 1 << 20;
using Place = std::atomic<std::uint64_t>;
static_assert(Place::is_always_lock_free, "several processes use it");
constexpr std::size_t kClaimsBytes = kClaims * sizeof(Place);

std::optional<struct stat> StatusOf(const std::string& path, int standard) {
    struct stat status {};
    const int result = path == "-" ? fstat(standard, &status) : stat(path.c_str(), &status);
    return result == 0 ? std::optional(status) : std::nullopt;
}

// FNV-1a. Two outputs among a million share a key by chance once in forty million runs.
class Hash {
  public:
    void Add(const void* bytes, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            value_ = (value_ ^ static_cast<const std::uint8_t*>(bytes)[i]) * 0x100000001B3u;
        }
    }
    std::uint64_t Value() const {
        return value_ != 0 ? value_ : 1;  // 0 is a free place
    }

  private:
    std::uint64_t value_ = 0xCBF29CE484222325u;
};

// The file that renaming would replace: its folder and its name there. Nothing for what is no file.
std::optional<std::uint64_t> KeyOf(const std::string& path) {
    const auto status = StatusOf(path, STDOUT_FILENO);
    if (path == "-" || (status && !S_ISREG(status->st_mode))) {
        return std::nullopt;
    }
    const std::string file = ResolvedOutput(path);
    const std::size_t slash = file.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : file.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? file : file.substr(slash + 1);
    const auto place = StatusOf(folder, STDOUT_FILENO);
    if (!place) {
        return std::nullopt;  // opening it will fail
    }
    Hash hash;
    hash.Add(&place->st_dev, sizeof place->st_dev);
    hash.Add(&place->st_ino, sizeof place->st_ino);
    hash.Add(name.data(), name.size());
    return hash.Value();
}

std::string Named(const std::string& path) {
    return path == "-" ? "standard output" : path;
}

[[noreturn]] void RefuseSecond(const std::string& option, const std::string& path) {
    throw Error(ExitCode::kUsage, option + ": " + Named(path) +
                                      " is already an output of this run; each output needs a file of its own");
}

}  // namespace

RunFiles::RunFiles(const std::vector<std::string>& inputs) {
    std::size_t index = 0;
    for (const std::string& input : inputs) {
        const auto status = StatusOf(input, STDIN_FILENO);
        if (status && S_ISREG(status->st_mode)) {
            inputs_[{status->st_dev, status->st_ino}].push_back(index);
        }
        ++index;
    }
    claims_ =
        mmap(nullptr, kClaimsBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (claims_ == MAP_FAILED) {
        throw std::bad_alloc();
    }
}

RunFiles::~RunFiles() {
    munmap(claims_, kClaimsBytes);
}

bool RunFiles::CheckInputs(const std::string& option, const std::string& path, std::size_t owner) const {
    const auto status = StatusOf(path, STDOUT_FILENO);
    const auto found = status ? inputs_.find({status->st_dev, status->st_ino}) : inputs_.end();
    if (found == inputs_.end()) {
        return false;
    }
    // Standard output isn't replaced by a rename: what is written there destroys what is still to be read.
    const bool own = path != "-" && std::all_of(found->second.begin(), found->second.end(),
                                                [owner](std::size_t index) { return index == owner; });
    if (!own) {
        const bool page = owner != kNoInput && path != "-";
        throw Error(ExitCode::kUsage, option + ": " + Named(path) + " is an input of this run" +
                                          (page ? "; only its own page may replace it" : ""));
    }
    return true;
}

bool RunFiles::Find(std::uint64_t key, IfAbsent ifAbsent) const {
    auto* claims = static_cast<Place*>(claims_);
    for (std::size_t step = 0; step < kClaims; ++step) {
        Place& claim = claims[(key + step) % kClaims];
        std::uint64_t there = claim.load();
        if (there == 0 && (ifAbsent == IfAbsent::kLeaveSo || claim.compare_exchange_strong(there, key))) {
            return false;
        }
        if (there == key) {
            return true;
        }
    }
    return false;
}

void RunFiles::Check(const std::string& option, const std::string& path, std::size_t owner) const {
    CheckInputs(option, path, owner);
    const auto key = KeyOf(path);
    if (key && Find(*key, IfAbsent::kLeaveSo)) {
        RefuseSecond(option, path);
    }
}

bool RunFiles::Claim(const std::string& option, const std::string& path, std::size_t owner) {
    const bool own = CheckInputs(option, path, owner);
    const auto key = KeyOf(path);
    if (key && Find(*key, IfAbsent::kInsert)) {
        RefuseSecond(option, path);
    }
    return own;
}

}  // namespace platen_tool
