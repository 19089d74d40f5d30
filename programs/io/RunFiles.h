#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace platen_tool {

// The files of one run. No output takes the place of an input, except a page that of the input it was made from,
// and no two outputs are one file. Files are told apart by device and inode, so links don't hide them. Working
// processes that are forked later share what is claimed.
class RunFiles {
  public:
    static constexpr std::size_t kNoInput = SIZE_MAX;

    // Looks the inputs up; "-" is standard input.
    explicit RunFiles(const std::vector<std::string>& inputs);
    ~RunFiles();
    RunFiles(const RunFiles&) = delete;
    RunFiles& operator=(const RunFiles&) = delete;

    // An Error (kUsage) where `path` is an input, or claimed already.
    //   option  what asks for the output: "-o", "--plot"
    //   owner   the input that the page is made from, by its index; kNoInput: none
    void Check(const std::string& option, const std::string& path, std::size_t owner = kNoInput) const;

    // The same, and takes the path for an output that is about to be opened. True where it is the owner's own file.
    bool Claim(const std::string& option, const std::string& path, std::size_t owner = kNoInput);

  private:
    using Identity = std::pair<dev_t, ino_t>;

    // Whether it is the owner's own file; an Error where it is another input.
    bool CheckInputs(const std::string& option, const std::string& path, std::size_t owner) const;
    enum class IfAbsent { kLeaveSo, kInsert };
    bool Find(std::uint64_t key, IfAbsent ifAbsent) const;

    std::map<Identity, std::vector<std::size_t>> inputs_;
    void* claims_ = nullptr;
};

}  // namespace platen_tool
