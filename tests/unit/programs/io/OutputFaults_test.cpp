// Output files when calls of the system fail, are interrupted or do a part only. The linker puts the functions
// below between OutputFile and the system (see CMakeLists.txt).

#include "programs/io/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <functional>
#include <memory>
#include <optional>

#include "Pages.h"

namespace {

using namespace platen_test;
using platen_tool::CheckOutputPath;
using platen_tool::FileOptions;
using platen_tool::OutputFile;
using platen_tool::ResolvedOutput;

// What a call does instead; where a hook returns nothing, the system's own call is made.
struct Hooks {
    std::function<std::optional<ssize_t>(std::size_t)> write;
    std::function<std::optional<int>()> fsync, close, renameNew, rename, fchmod, ftruncate, made, readlink;
};
Hooks g_hooks;

struct HooksOff {
    ~HooksOff() {
        g_hooks = {};
    }
};

std::optional<int> Failure(int error) {
    errno = error;
    return -1;
}

// Counts its calls, all of which fail with this error; 0: they are made.
std::function<std::optional<int>()> Counted(int& calls, int error) {
    return [&calls, error]() -> std::optional<int> {
        ++calls;
        return error == 0 ? std::nullopt : Failure(error);
    };
}

std::optional<int> Call(const std::function<std::optional<int>()>& hook) {
    return hook ? hook() : std::nullopt;
}

extern "C" {

ssize_t __real_write(int file, const void* bytes, std::size_t count);
ssize_t __wrap_write(int file, const void* bytes, std::size_t count) {
    if (g_hooks.write) {
        if (const auto result = g_hooks.write(count)) {
            return *result < 0 ? *result : __real_write(file, bytes, static_cast<std::size_t>(*result));
        }
    }
    return __real_write(file, bytes, count);
}

int __real_fsync(int file);
int __wrap_fsync(int file) {
    const auto result = Call(g_hooks.fsync);
    return result ? *result : __real_fsync(file);
}

int __real_close(int file);
int __wrap_close(int file) {
    const auto result = Call(g_hooks.close);
    if (!result) {
        return __real_close(file);
    }
    const int error = errno;
    __real_close(file);
    errno = error;
    return *result;
}

int __real_renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags);
int __wrap_renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    const auto result = Call(g_hooks.renameNew);
    return result ? *result : __real_renameat2(fromFolder, from, toFolder, to, flags);
}

int __real_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to) {
    const auto result = Call(g_hooks.rename);
    return result ? *result : __real_rename(from, to);
}

int __real_fchmod(int file, mode_t mode);
int __wrap_fchmod(int file, mode_t mode) {
    const auto result = Call(g_hooks.fchmod);
    return result ? *result : __real_fchmod(file, mode);
}

int __real_ftruncate(int file, off_t length);
int __wrap_ftruncate(int file, off_t length) {
    const auto result = Call(g_hooks.ftruncate);
    return result ? *result : __real_ftruncate(file, length);
}

int __real_mkostemp(char* name, int flags);
int __wrap_mkostemp(char* name, int flags) {
    const int file = __real_mkostemp(name, flags);
    const auto result = Call(g_hooks.made);
    return result ? *result : file;
}

ssize_t __real_readlink(const char* path, char* target, std::size_t room);
ssize_t __wrap_readlink(const char* path, char* target, std::size_t room) {
    const auto result = Call(g_hooks.readlink);
    return result ? *result : __real_readlink(path, target, room);
}

}  // extern "C"

std::string TextOf(const std::string& path) {
    const Bytes bytes = FileBytes(path);
    return {bytes.begin(), bytes.end()};
}

// What an action's Error says after the output's name.
template <typename Action>
std::string Says(const std::string& name, Action action, ExitCode code = ExitCode::kFailed) {
    const Error error = ErrorOf(action);
    EXPECT_EQ(static_cast<int>(error.Code()), static_cast<int>(code)) << error.what();
    const std::string text = error.what();
    EXPECT_TRUE(text.starts_with(name + ": ")) << text;
    return text.substr(std::min(text.size(), name.size() + 2));
}

TEST(OutputFaults, ShortAndInterruptedWritesGoOn) {
    const HooksOff off;
    const Scratch scratch;
    std::string text(200000, ' ');
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char>('!' + i % 90);
    }
    OutputFile file(scratch / "out", {});
    int calls = 0;
    std::size_t largest = 0;
    g_hooks.write = [&](std::size_t count) -> std::optional<ssize_t> {
        largest = std::max(largest, count);
        switch (++calls % 3) {
            case 0:
                errno = EINTR;
                return -1;
            case 1:
                return static_cast<ssize_t>((count + 1) / 2);
            default:
                return std::nullopt;
        }
    };
    for (std::size_t at = 0; at < text.size(); at += 1000) {
        EXPECT_TRUE(file.Write(text.data() + at, 1000));
    }
    file.Commit();
    EXPECT_EQ(TextOf(scratch / "out"), text);
    EXPECT_EQ(largest, 65536u);
    EXPECT_LT(calls, 20);
}

TEST(OutputFaults, AWriteOfNothingIsNoFailure) {
    const HooksOff off;
    const Scratch scratch;
    OutputFile file(scratch / "out", {});
    file.Write("abc", 3);
    int calls = 0;
    g_hooks.write = [&](std::size_t) -> std::optional<ssize_t> {
        errno = EIO;  // of another call
        return ++calls == 1 ? std::optional<ssize_t>(0) : std::nullopt;
    };
    file.Commit();
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(TextOf(scratch / "out"), "abc");
}

TEST(OutputFaults, AWriteThatFailsIsToldAtTheEndAndLeavesNothing) {
    const HooksOff off;
    const Scratch scratch;
    const std::string path = scratch / "out";
    for (const int error : {ENOSPC, EIO, EPIPE}) {
        OutputFile file(path, {});
        EXPECT_TRUE(file.Write("abc", 3));
        int calls = 0;
        g_hooks.write = [&](std::size_t) -> std::optional<ssize_t> {
            ++calls;
            errno = error;
            return -1;
        };
        const Bytes bytes(70000);
        EXPECT_FALSE(file.Write(bytes.data(), bytes.size()));
        EXPECT_FALSE(file.Write("abc", 3));
        EXPECT_EQ(calls, 1);
        g_hooks.write = nullptr;
        if (error == EPIPE) {
            EXPECT_EQ(Says(
                          path, [&] { file.Commit(); }, ExitCode::kBrokenPipe),
                      "the reader has closed the pipe");
        } else {
            EXPECT_EQ(Says(path, [&] { file.Commit(); }), std::string("can't be written: ") + std::strerror(error));
        }
        EXPECT_FALSE(std::filesystem::exists(path));
    }
    EXPECT_EQ(scratch.Files(), 0u);
}

TEST(OutputFaults, TheFirstFailureIsTheOneThatIsTold) {
    const Scratch scratch;
    OutputFile file(scratch / "out", {});
    file.SetWriteError(ENOSPC, "the spool");
    file.SetWriteError(EIO, "another");
    EXPECT_EQ(Says("the spool can't be written", [&] { file.CheckWriteError(); }), std::strerror(ENOSPC));
    file.ForgetWriteError();
    file.CheckWriteError();
    EXPECT_TRUE(file.Write("abc", 3));
    file.SetWriteError(EIO);
    EXPECT_EQ(Says(scratch / "out", [&] { file.EndPage(); }),
              std::string("can't be written: ") + std::strerror(EIO));
}

TEST(OutputFaults, APageThatIsDroppedLeavesTheOthers) {
    const HooksOff off;
    const Scratch scratch;
    const Bytes much(150000, 'x');
    OutputFile file(scratch / "out", {});
    EXPECT_TRUE(file.Seekable());
    file.MarkPage();
    file.Write("first", 5);
    file.EndPage();
    EXPECT_EQ(lseek(file.Descriptor(), 0, SEEK_END), 5);
    for (const std::size_t count : {std::size_t{3}, much.size()}) {  // in the buffer, in the file
        file.MarkPage();
        file.Write(much.data(), count);
        file.SetWriteError(ENOSPC);
        file.DropPage();
        EXPECT_EQ(lseek(file.Descriptor(), 0, SEEK_CUR), 5);
    }
    file.MarkPage();
    file.Write("second", 6);
    file.EndPage();
    file.Write("lost", 4);
    file.DropPage();
    file.MarkPage();
    file.Write("third", 5);
    file.EndPage();
    file.Commit();
    EXPECT_EQ(TextOf(scratch / "out"), "firstthird");  // the mark was before the second page
}

TEST(OutputFaults, WhatIsWrittenBeforeAPageIsNotThePages) {
    const Scratch scratch;
    OutputFile file(scratch / "out", {});
    file.Write("head", 4);
    file.MarkPage();
    file.Write("page", 4);
    file.DropPage();
    file.Commit();
    EXPECT_EQ(TextOf(scratch / "out"), "head");
}

TEST(OutputFaults, APageThatCannotBeTakenBackFailsTheFile) {
    const HooksOff off;
    const Scratch scratch;
    OutputFile file(scratch / "out", {});
    file.MarkPage();
    g_hooks.ftruncate = [] { return Failure(EIO); };
    file.DropPage();
    EXPECT_EQ(Says(scratch / "out", [&] { file.CheckWriteError(); }),
              std::string("can't be written: ") + std::strerror(EIO));
    EXPECT_EQ(Says(scratch / "out", [&] { file.Commit(); }),
              std::string("can't be written: ") + std::strerror(EIO));
}

TEST(OutputFaults, WhatAPipeHasTakenStays) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const std::string path = "/proc/self/fd/" + std::to_string(ends[1]);
    {
        OutputFile file(path, {});
        EXPECT_FALSE(file.Seekable());
        file.MarkPage();
        file.Write("one", 3);
        file.EndPage();
        file.Write("two", 3);
        file.SetWriteError(EIO);
        file.DropPage();
        EXPECT_EQ(Says(path, [&] { file.CheckWriteError(); }),
                  std::string("can't be written: ") + std::strerror(EIO));
    }
    close(ends[1]);
    char bytes[8];
    EXPECT_EQ(read(ends[0], bytes, sizeof bytes), 3);
    close(ends[0]);
}

TEST(OutputFaults, SyncingWaitsForTheDiskWhereItCan) {
    const HooksOff off;
    const Scratch scratch;
    const std::string path = scratch / "out";
    int calls = 0;
    for (const int error : {0, EINVAL, ENOTSUP}) {  // the last two: a file system that can't
        g_hooks.fsync = Counted(calls, error);
        OutputFile file(path, {.force = true});
        file.Commit();
        EXPECT_TRUE(std::filesystem::exists(path));
    }
    EXPECT_EQ(calls, 3);
    OutputFile(path, {.force = true, .sync = false}).Commit();
    EXPECT_EQ(calls, 3);
    g_hooks.fsync = [] { return Failure(EINVAL); };
    OutputFile(scratch / "new", {}).Commit();  // its error number says nothing about the renaming
    EXPECT_TRUE(std::filesystem::exists(scratch / "new"));
    g_hooks.fsync = Counted(calls, EIO);
    OutputFile file(scratch / "other", {});
    EXPECT_EQ(Says(scratch / "other", [&] { file.Commit(); }),
              std::string("can't be written: ") + std::strerror(EIO));
    EXPECT_FALSE(std::filesystem::exists(scratch / "other"));
    EXPECT_EQ(calls, 4);
}

TEST(OutputFaults, PipesAreNotSynced) {
    const HooksOff off;
    int calls = 0;
    g_hooks.fsync = Counted(calls, EIO);
    OutputFile file("/dev/null", {});
    file.Write("abc", 3);
    file.Commit();
    EXPECT_EQ(calls, 0);
}

TEST(OutputFaults, ClosingTellsWhatTheDiskSays) {
    const HooksOff off;
    const Scratch scratch;
    int calls = 0;
    g_hooks.close = Counted(calls, EINTR);  // closed all the same
    OutputFile(scratch / "out", {}).Commit();
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(std::filesystem::exists(scratch / "out"));
    {
        OutputFile file(scratch / "other", {});
        g_hooks.close = Counted(calls, EDQUOT);
        EXPECT_EQ(Says(scratch / "other", [&] { file.Commit(); }),
                  std::string("can't be written: ") + std::strerror(EDQUOT));
        EXPECT_EQ(calls, 2);
    }
    EXPECT_EQ(calls, 2);  // not twice
    EXPECT_EQ(scratch.Files(), 1u);
}

TEST(OutputFaults, StandardOutputStaysOpenAndTellsWhatClosingSays) {
    const HooksOff off;
    const Scratch scratch;
    const int before = dup(STDOUT_FILENO);
    const int there = open((scratch / "out").c_str(), O_WRONLY | O_CREAT, 0600);
    std::fflush(stdout);
    dup2(there, STDOUT_FILENO);
    close(there);
    std::string said;
    int calls = 0;
    {
        OutputFile file("-", {});
        EXPECT_FALSE(file.Seekable());
        EXPECT_EQ(file.Descriptor(), STDOUT_FILENO);
        file.Write("abc", 3);
        file.Commit();
        file.Write("def", 3);
        g_hooks.close = Counted(calls, EIO);
        said = Says("standard output", [&] { file.Commit(); });
        g_hooks.close = nullptr;
    }
    const bool isOpen = fcntl(STDOUT_FILENO, F_GETFD) >= 0;
    dup2(before, STDOUT_FILENO);
    close(before);
    EXPECT_TRUE(isOpen);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(said, std::string("can't be written: ") + std::strerror(EIO));
    EXPECT_EQ(TextOf(scratch / "out"), "abcdef");
}

TEST(OutputFaults, AFileThatHasComeUpSinceIsLeftAlone) {
    const Scratch scratch;
    OutputFile file(scratch / "out", {});
    PutFile(scratch / "out", "other");
    EXPECT_EQ(Says(scratch / "out", [&] { file.Commit(); }), "exists already; --force overwrites it");
    EXPECT_EQ(TextOf(scratch / "out"), "other");
    OutputFile forced(scratch / "new", {.force = true});
    forced.Write("new", 3);
    PutFile(scratch / "new", "other");
    forced.Commit();
    EXPECT_EQ(TextOf(scratch / "new"), "new");
}

TEST(OutputFaults, WhereTheFileSystemCannotKeepFilesItRenames) {
    const HooksOff off;
    const Scratch scratch;
    int careful = 0;
    int plain = 0;
    g_hooks.rename = Counted(plain, 0);
    for (const int error : {EINVAL, ENOSYS, ENOTSUP}) {
        g_hooks.renameNew = Counted(careful, error);
        OutputFile(scratch / std::to_string(error), {}).Commit();
        EXPECT_TRUE(std::filesystem::exists(scratch / std::to_string(error)));
    }
    EXPECT_EQ(careful, 3);
    EXPECT_EQ(plain, 3);
    OutputFile(scratch / "forced", {.force = true}).Commit();
    EXPECT_EQ(careful, 3);
    EXPECT_EQ(plain, 4);
    g_hooks.renameNew = nullptr;
    OutputFile(scratch / "new", {}).Commit();
    EXPECT_EQ(plain, 4);
    g_hooks.renameNew = Counted(careful, EACCES);
    OutputFile file(scratch / "out", {});
    EXPECT_EQ(Says(scratch / "out", [&] { file.Commit(); }),
              std::string("can't be renamed: ") + std::strerror(EACCES));
    EXPECT_EQ(plain, 4);
    g_hooks.rename = Counted(plain, EROFS);
    OutputFile last(scratch / "last", {.force = true});
    EXPECT_EQ(Says(scratch / "last", [&] { last.Commit(); }),
              std::string("can't be renamed: ") + std::strerror(EROFS));
}

TEST(OutputFaults, AFileSystemWithoutModesWillDo) {
    const HooksOff off;
    const Scratch scratch;
    g_hooks.fchmod = [] { return Failure(EPERM); };
    errno = 0;
    OutputFile file(scratch / "out", {});
    EXPECT_EQ(errno, 0);
    file.Commit();
    EXPECT_EQ(ModeOf(scratch / "out"), 0600u);
}

TEST(OutputFaults, ATemporaryFileThatCannotBeMadeGivesItsPlaceBack) {
    const HooksOff off;
    const Scratch scratch;
    for (int i = 0; i < 20; ++i) {  // more than can be open at once
        EXPECT_EQ(Says(scratch / "no/out", [&] { OutputFile(scratch / "no/out", {}); }),
                  std::string("can't be created: ") + std::strerror(ENOENT));
    }
    g_hooks.made = [] { return Failure(ENFILE); };
    EXPECT_EQ(Says(scratch / "out", [&] { OutputFile(scratch / "out", {}); }),
              std::string("can't be created: ") + std::strerror(ENFILE));
}

volatile std::sig_atomic_t g_signals = 0;

extern "C" void CountSignal(int) {
    g_signals = g_signals + 1;
}

// A signal that comes while a file is made, or gets its name, or is removed, waits until that has been noted.
TEST(OutputFaults, SignalsWaitWhileNamesChange) {
    const HooksOff off;
    const Scratch scratch;
    const auto before = std::signal(SIGUSR1, CountSignal);
    g_signals = 0;
    int seen = -1;
    const auto raise = [&seen]() -> std::optional<int> {
        std::raise(SIGUSR1);
        seen = g_signals;
        return std::nullopt;
    };
    g_hooks.made = raise;
    g_hooks.rename = raise;
    {
        OutputFile file(scratch / "out", {.force = true});
        EXPECT_EQ(seen, 0);
        EXPECT_EQ(g_signals, 1);
        file.Commit();
        EXPECT_EQ(seen, 1);
        EXPECT_EQ(g_signals, 2);
    }
    g_hooks.rename = [] { return Failure(EIO); };
    OutputFile file(scratch / "other", {.force = true});
    EXPECT_THROW(file.Commit(), Error);
    std::raise(SIGUSR1);
    EXPECT_EQ(g_signals, 4);  // no longer held
    std::signal(SIGUSR1, before);
}

TEST(OutputFaults, HandlersRemoveOnlyWhatIsPartialAndKeepTheErrorNumber) {
    const Scratch scratch;
    OutputFile(scratch / "done", {}).Commit();
    { OutputFile dropped(scratch / "dropped", {}); }
    PutFile(scratch / "kept", "x");
    OutputFile partial(scratch / "partial", {});
    EXPECT_EQ(scratch.Files(), 3u);
    errno = 77;
    platen_tool::RemovePartialOutputs();
    EXPECT_EQ(errno, 77);
    EXPECT_EQ(scratch.Files(), 2u);
    platen_tool::RemovePartialOutputs();  // what is gone already
    EXPECT_EQ(errno, 77);
    errno = 0;
}

TEST(OutputFaults, ANameThatIsNoLongerPartialIsForgotten) {
    const Scratch scratch;
    OutputFile file(scratch / "out", {});
    const std::string temporary = std::filesystem::directory_iterator(scratch / "")->path();
    file.Commit();
    PutFile(temporary, "somebody's");
    platen_tool::RemovePartialOutputs();
    EXPECT_EQ(TextOf(temporary), "somebody's");
}

TEST(OutputFaults, AFileThatIsDoneTakesNothingFromTheNext) {
    const Scratch scratch;
    auto done = std::make_unique<OutputFile>(scratch / "done", FileOptions{});
    done->Commit();
    const OutputFile next(scratch / "next", {});
    done.reset();
    EXPECT_EQ(scratch.Files(), 2u);
    platen_tool::RemovePartialOutputs();
    EXPECT_EQ(scratch.Files(), 1u);
}

TEST(OutputFaults, ProgramsThatAreStartedGetNoOutput) {
    const Scratch scratch;
    const OutputFile file(scratch / "out", {});
    const OutputFile device("/dev/null", {});
    EXPECT_EQ(fcntl(file.Descriptor(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(device.Descriptor(), F_GETFD), FD_CLOEXEC);
}

TEST(OutputFaults, TheTemporaryNameIsHiddenInTheSameFolder) {
    const Scratch scratch;
    const std::string folder = scratch / "folder";
    std::filesystem::create_directory(folder);
    const OutputFile file(folder + "/page.png", {});
    const std::string name = std::filesystem::directory_iterator(folder)->path().filename();
    EXPECT_EQ(name.substr(0, name.size() - 6), ".page.png.");
    // A name as long as names can be has room for what is added.
    const std::string longest(255, 'n');
    OutputFile other(scratch / longest, {});
    other.Commit();
    EXPECT_TRUE(std::filesystem::exists(scratch / longest));
}

TEST(OutputFaults, PathsThatAreTooLongAreErrors) {
    const Scratch scratch;
    std::string path = scratch / "x";
    while (path.size() < PATH_MAX - 4) {
        path += "/x";
    }
    EXPECT_EQ(Says(path, [&] { OutputFile(path, {}); }),
              std::string("can't be created: ") + std::strerror(ENAMETOOLONG));
}

TEST(OutputFaults, AFileInTheWorkingFolderNeedsNoFolderInItsName) {
    const Scratch scratch;
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(scratch / "");
    CheckOutputPath("out", {});
    OutputFile file("out", {});
    ASSERT_EQ(scratch.Files(), 1u);
    EXPECT_TRUE(std::filesystem::directory_iterator(".")->path().filename().string().starts_with(".out."));
    file.Commit();
    std::filesystem::create_symlink("out", "link");
    EXPECT_EQ(ResolvedOutput("link"), "out");
    PutFile("-", "x");
    CheckOutputPath("-", {});  // standard output all the same
    std::filesystem::remove("-");
    std::filesystem::current_path(before);
    EXPECT_EQ(scratch.Files(), 2u);
}

TEST(OutputLinks, AreFollowedToTheirEnds) {
    const Scratch scratch;
    std::filesystem::create_directory(scratch / "folder");
    std::filesystem::create_symlink("folder/second", scratch / "first");
    std::filesystem::create_symlink(scratch / "third", scratch / "folder/second");
    std::filesystem::create_symlink("end", scratch / "third");
    EXPECT_EQ(ResolvedOutput(scratch / "first"), scratch / "end");
    EXPECT_EQ(ResolvedOutput(scratch / "end"), scratch / "end");
    std::filesystem::create_symlink("e", scratch / "short");
    EXPECT_EQ(ResolvedOutput(scratch / "short"), scratch / "e");
    EXPECT_EQ(Says(scratch / "first", [&] { OutputFile(scratch / "first", {}); }),
              "is a link to a file that doesn't exist; --force creates the file");
    EXPECT_EQ(Says(scratch / "first", [&] { CheckOutputPath(scratch / "first", {}); }),
              "is a link to a file that doesn't exist; --force creates the file");
    CheckOutputPath(scratch / "first", {.force = true});
    OutputFile file(scratch / "first", {.force = true});
    file.Write("abc", 3);
    file.Commit();
    EXPECT_EQ(TextOf(scratch / "end"), "abc");
    EXPECT_TRUE(std::filesystem::is_symlink(scratch / "third"));
}

TEST(OutputLinks, OneThatCannotBeReadStaysAsItIs) {
    const HooksOff off;
    const Scratch scratch;
    std::filesystem::create_symlink("end", scratch / "link");
    g_hooks.readlink = [] { return Failure(EIO); };
    EXPECT_EQ(ResolvedOutput(scratch / "link"), scratch / "link");
}

TEST(OutputLinks, AsManyAsTheSystemFollowsAndNoMore) {
    const Scratch scratch;
    const auto link = [&](int number) { return scratch / ("link" + std::to_string(number)); };
    std::filesystem::create_symlink("end", link(1));
    for (int i = 2; i <= 41; ++i) {
        std::filesystem::create_symlink("link" + std::to_string(i - 1), link(i));
    }
    EXPECT_EQ(ResolvedOutput(link(40)), scratch / "end");
    EXPECT_EQ(ResolvedOutput(link(41)), link(1));
    EXPECT_EQ(Says(link(41), [&] { OutputFile(link(41), {.force = true}); }),
              std::string("can't be created: ") + std::strerror(ELOOP));
    EXPECT_FALSE(std::filesystem::exists(scratch / "end"));
    std::filesystem::create_symlink("round", scratch / "round");
    EXPECT_EQ(Says(scratch / "round", [&] { OutputFile(scratch / "round", {.force = true}); }),
              std::string("can't be created: ") + std::strerror(ELOOP));
}

TEST(OutputChecks, SayTheSameBeforeAFileIsMade) {
    const Scratch scratch;
    CheckOutputPath("-", {});
    CheckOutputPath("/dev/null", {});
    CheckOutputPath(scratch / "out", {});
    PutFile(scratch / "old", "old");
    CheckOutputPath(scratch / "old", {.force = true});
    EXPECT_EQ(Says(scratch / "old", [&] { CheckOutputPath(scratch / "old", {}); }),
              "exists already; --force overwrites it");
    EXPECT_EQ(Says(scratch / "", [&] { CheckOutputPath(scratch / "", {.force = true}); }),
              "is a folder; the output must be a file");
    EXPECT_EQ(Says(scratch / "no/out", [&] { CheckOutputPath(scratch / "no/out", {}); }),
              std::string("can't be created: ") + std::strerror(ENOENT));
    EXPECT_EQ(TextOf(scratch / "old"), "old");
    EXPECT_EQ(scratch.Files(), 1u);
}

// Runs `body` in a process of a user whom modes hold back; false where root can't become one.
template <typename Body>
bool AsAnotherUser(Body body) {
    constexpr int kNobody = 77;
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) {
            _exit(kNobody);
        }
        body();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNobody) {
        return false;
    }
    EXPECT_EQ(status, 0);
    return true;
}

TEST(OutputChecks, FilesAndFoldersThatMayNotBeWritten) {
    const Scratch scratch;
    std::filesystem::create_directory(scratch / "closed");
    PutFile(scratch / "closed/old", "old");
    PutFile(scratch / "fixed", "old");
    chmod((scratch / "fixed").c_str(), 0444);
    chmod((scratch / "closed/old").c_str(), 0666);
    chmod((scratch / "closed").c_str(), 0555);
    chmod((scratch / "").c_str(), 0777);
    const bool ran = AsAnotherUser([&] {
        const std::string denied = std::strerror(EACCES);
        const FileOptions force = {.force = true};
        CheckOutputPath("/dev/null", {});  // in a folder that may not be written
        for (const bool makes : {false, true}) {
            const auto use = [&](const std::string& path) {
                makes ? static_cast<void>(OutputFile(path, force)) : CheckOutputPath(path, force);
            };
            EXPECT_EQ(Says(scratch / "fixed", [&] { use(scratch / "fixed"); }), "can't be overwritten: " + denied);
            EXPECT_EQ(Says(scratch / "closed/out", [&] { use(scratch / "closed/out"); }),
                      "can't be created: " + denied);
            EXPECT_EQ(Says(scratch / "closed/old", [&] { use(scratch / "closed/old"); }),
                      "can't be created: " + denied);
        }
    });
    chmod((scratch / "closed").c_str(), 0755);
    if (!ran) {
        GTEST_SKIP() << "root can't become another user here";
    }
}

TEST(OutputChecks, ADeviceThatCannotBeOpenedIsAnError) {
    const Scratch scratch;
    chmod((scratch / "").c_str(), 0755);
    ASSERT_EQ(mkfifo((scratch / "pipe").c_str(), 0400), 0);
    const bool ran = AsAnotherUser([&] {
        EXPECT_NE(
            Says(scratch / "pipe", [&] { OutputFile(scratch / "pipe", {}); }).find("can't be opened for writing: "),
            std::string::npos);
    });
    if (!ran) {
        GTEST_SKIP() << "root can't become another user here";
    }
}

// Where standard input is closed a file can have its number.
TEST(OutputChecks, DescriptorZeroIsOneLikeOthers) {
    const Scratch scratch;
    const pid_t child = fork();
    if (child == 0) {
        close(STDIN_FILENO);
        {
            OutputFile file("/dev/null", {});
            EXPECT_EQ(file.Descriptor(), 0);
        }
        close(STDIN_FILENO);
        OutputFile file(scratch / "out", {.sync = false});
        EXPECT_EQ(file.Descriptor(), 0);
        file.Write("abc", 3);
        file.Commit();
        EXPECT_EQ(fcntl(0, F_GETFD), -1);  // closed
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(TextOf(scratch / "out"), "abc");
}

TEST(OutputModes, TheUsersMaskStays) {
    const Scratch scratch;
    const mode_t before = umask(031);
    OutputFile(scratch / "out", {}).Commit();
    EXPECT_EQ(umask(before), 031u);
    EXPECT_EQ(ModeOf(scratch / "out"), 0646u);
}

TEST(OutputModes, AllBitsOfAFileThatIsReplacedStay) {
    const Scratch scratch;
    PutFile(scratch / "out", "old");
    ASSERT_EQ(chmod((scratch / "out").c_str(), 01751), 0);
    OutputFile(scratch / "out", {.force = true}).Commit();
    EXPECT_EQ(ModeOf(scratch / "out"), 01751u);
    const mode_t before = umask(0);
    OutputFile(scratch / "new", {}).Commit();
    EXPECT_EQ(umask(before), 0u);
    EXPECT_EQ(ModeOf(scratch / "new"), 0666u);
}

}  // namespace
