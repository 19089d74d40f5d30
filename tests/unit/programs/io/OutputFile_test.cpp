#include "programs/io/OutputFile.h"
#include "programs/io/OpenReader.h"
#include "programs/io/OpenWriter.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "Pages.h"

namespace {

using namespace platen_test;
using platen_tool::OutputFile;

const char* const kNames[] = {"page.png", "page.tif", "page.jpg", "page.pnm"};

TEST(OutputFile, AppearsWithCommitOnly) {
    const Scratch scratch;
    {
        OutputFile file(scratch / "out", {});
        EXPECT_TRUE(file.Write("abc", 3));
        EXPECT_FALSE(std::filesystem::exists(scratch / "out"));
        EXPECT_EQ(scratch.Files(), 1u);
        file.Commit();
        EXPECT_EQ(FileBytes(scratch / "out"), (Bytes{'a', 'b', 'c'}));
    }
    EXPECT_EQ(scratch.Files(), 1u);
}

TEST(OutputFile, WithoutCommitNothingIsLeft) {
    const Scratch scratch;
    for (const char* name : kNames) {
        const Page page = RandomPage(8, 8, 8, 1, 1);
        {
            auto writer = platen_tool::OpenWriter(scratch / name, {});
            writer->BeginPage(page.info);
            writer->WriteLine(page.lines.data());
        }
        { auto writer = platen_tool::OpenWriter(scratch / name, {}); }
    }
    EXPECT_EQ(scratch.Files(), 0u);
}

TEST(OutputFile, AnExistingFileNeedsForceAndKeepsItsMode) {
    const Scratch scratch;
    PutFile(scratch / "out", "old");
    chmod((scratch / "out").c_str(), 0640);
    ExpectError([&] { OutputFile(scratch / "out", {}); }, ExitCode::kFailed, "--force");
    {
        OutputFile file(scratch / "out", {.force = true});
        file.Write("new", 3);
        EXPECT_EQ(FileBytes(scratch / "out"), (Bytes{'o', 'l', 'd'}));
        file.Commit();
    }
    EXPECT_EQ(FileBytes(scratch / "out"), (Bytes{'n', 'e', 'w'}));
    EXPECT_EQ(ModeOf(scratch / "out"), 0640u);
}

TEST(OutputFile, ANewFileHasTheUsualMode) {
    const Scratch scratch;
    const mode_t before = umask(027);
    OutputFile file(scratch / "out", {.sync = false});
    file.Commit();
    umask(before);
    EXPECT_EQ(ModeOf(scratch / "out"), 0640u);
}

TEST(OutputFile, ThroughALinkTheFileIsReplacedNotTheLink) {
    const Scratch scratch;
    PutFile(scratch / "real", "old");
    std::filesystem::create_symlink("real", scratch / "link");
    OutputFile file(scratch / "link", {.force = true, .sync = false});
    file.Write("new", 3);
    file.Commit();
    EXPECT_TRUE(std::filesystem::is_symlink(scratch / "link"));
    EXPECT_EQ(FileBytes(scratch / "real"), (Bytes{'n', 'e', 'w'}));
}

TEST(OutputFile, InputAndOutputMayBeOneFileWithForce) {
    const Scratch scratch;
    for (const char* name : kNames) {
        const Page page = RandomPage(100, 100, 8, 1, 1);
        WritePages(scratch / name, {page});
        auto reader = platen_tool::OpenReader(scratch / name, {});
        WriteOptions options;
        EXPECT_THROW(platen_tool::OpenWriter(scratch / name, options), Error);
        options.force = true;
        auto writer = platen_tool::OpenWriter(scratch / name, options);
        writer->BeginPage(reader->Info());
        Bytes line(100);
        for (int y = 0; y < 100; ++y) {
            reader->ReadLine(line.data());
            writer->WriteLine(line.data());
        }
        writer->EndPage();
        writer->Commit();
        EXPECT_EQ(ReadPages(scratch / name).at(0).info.height, 100u);
    }
}

TEST(OutputFile, BadPlacesAreErrors) {
    const Scratch scratch;
    ExpectError([&] { OutputFile(scratch / "no/such/folder", {}); }, ExitCode::kFailed, "No such file");
    ExpectError([&] { OutputFile(scratch / ".", {.force = true}); }, ExitCode::kFailed, "folder");
    ExpectError([&] { platen_tool::OpenWriter(scratch / "page.xyz", {}); }, ExitCode::kUsage, ".png");
    ExpectError([&] { platen_tool::OpenWriter(scratch / "page", {}); }, ExitCode::kUsage, ".png");
}

TEST(OutputFile, AFullDiskIsAnErrorInEveryFormat) {
    const Page page = RandomPage(300, 300, 8, 3, 1);
    for (const auto container : {platen_tool::Container::kPng, platen_tool::Container::kTiff,
                                 platen_tool::Container::kJpeg, platen_tool::Container::kPnm}) {
        WriteOptions options;
        options.container = container;
        ExpectError([&] { WritePages("/dev/full", {page}, options); }, ExitCode::kFailed, "No space left");
    }
    // A few bytes stay in the buffer until the end.
    OutputFile file("/dev/full", {});
    EXPECT_TRUE(file.Write("abc", 3));
    ExpectError([&] { file.Commit(); }, ExitCode::kFailed, "No space left");
}

// The limit on file sizes stands for a disk that fills up.
TEST(OutputFile, ADiskThatFillsUpLeavesNothing) {
    const Scratch scratch;
    for (const char* name : kNames) {
        const pid_t child = fork();
        if (child == 0) {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{20000, 20000};
            setrlimit(RLIMIT_FSIZE, &limit);
            try {
                WritePages(scratch / name, {RandomPage(600, 600, 8, 3, 1)});
            } catch (const Error& error) {
                _exit(static_cast<int>(error.Code()) == 1 ? 7 : 8);
            }
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(WEXITSTATUS(status), 7) << name;
    }
    EXPECT_EQ(scratch.Files(), 0u);
}

TEST(OutputFile, AClosedPipeIsABrokenPipe) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    const Page page = RandomPage(300, 300, 8, 3, 1);
    for (const auto container : {platen_tool::Container::kPng, platen_tool::Container::kTiff,
                                 platen_tool::Container::kJpeg, platen_tool::Container::kPnm}) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        WriteOptions options;
        options.container = container;
        const std::string path = "/proc/self/fd/" + std::to_string(ends[1]);
        auto writer = platen_tool::OpenWriter(path, options);
        close(ends[0]);
        close(ends[1]);
        ExpectError(
            [&] {
                writer->BeginPage(page.info);
                for (std::uint32_t y = 0; y < 300; ++y) {
                    writer->WriteLine(page.lines.data() + y * page.info.LineBytes());
                }
                writer->EndPage();
                writer->Commit();
            },
            ExitCode::kBrokenPipe, path + ": the reader has closed the pipe");
    }
    std::signal(SIGPIPE, before);
}

TEST(OutputFile, ATiffToAPipeIsSpooledOrRefused) {
    const Scratch scratch;
    const Page page = RandomPage(300, 100, 8, 3, 1);
    const std::string command = "cat > '" + (scratch / "copy.tif") + "'";
    std::FILE* pipe = popen(command.c_str(), "w");
    const std::string path = "/proc/self/fd/" + std::to_string(fileno(pipe));
    WriteOptions options;
    options.container = platen_tool::Container::kTiff;
    EXPECT_EQ(platen_tool::OpenWriter(path, options)->Notice(),
              "spooled to a temporary file: a TIFF can't be written to a pipe");
    WritePages(path, {page, page}, options);
    options.strictStream = true;
    ExpectError([&] { platen_tool::OpenWriter(path, options); }, ExitCode::kUnsupported,
                "a TIFF to a pipe must be spooled, which --strict-stream forbids; write it to a file");
    pclose(pipe);
    ExpectSamePage(ReadPages(scratch / "copy.tif").at(1), page);
}

TEST(OutputFile, AnUnknownHeightIsRefusedWithStrictStreamWhereItMatters) {
    const Scratch scratch;
    const Page page = RandomPage(9, 9, 8, 1, 1);
    WriteOptions options;
    options.strictStream = true;
    for (const char* name : {"page.png", "page.jpg", "page.pnm"}) {
        ExpectError([&] { WritePages(scratch / name, {page}, options, false); }, ExitCode::kUnsupported, "height");
    }
    WritePages(scratch / "page.tif", {page}, options, false);
    ExpectSamePage(ReadPages(scratch / "page.tif").at(0), page);
}

extern "C" void OnSignal(int) {
    platen_tool::RemovePartialOutputs();
    _exit(130);
}

TEST(OutputFile, ASignalHandlerCanRemoveWhatIsPartial) {
    const Scratch scratch;
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGINT, OnSignal);
        OutputFile done(scratch / "done", {.sync = false});
        done.Commit();
        OutputFile first(scratch / "first", {.sync = false});
        OutputFile second(scratch / "second", {.sync = false});
        std::raise(SIGINT);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 130);
    EXPECT_EQ(scratch.Files(), 1u);
}

TEST(OutputFile, AnInterruptedChildLeavesItsParentsFile) {
    const Scratch scratch;
    OutputFile mine(scratch / "mine", {.sync = false});
    const pid_t child = fork();
    if (child == 0) {
        platen_tool::RemovePartialOutputs();
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_EQ(scratch.Files(), 1u);
    mine.Commit();
    EXPECT_TRUE(std::filesystem::exists(scratch / "mine"));
}

TEST(OutputFile, TooManyAtOnceIsAnErrorAndSlotsComeBack) {
    const Scratch scratch;
    for (int round = 0; round < 3; ++round) {
        std::vector<std::unique_ptr<OutputFile>> files;
        const auto open = [&] {
            for (int i = 0; i < 40; ++i) {
                files.push_back(std::make_unique<OutputFile>(scratch / std::to_string(i),
                                                             platen_tool::FileOptions{.sync = false}));
            }
        };
        ExpectError(open, ExitCode::kFailed, "can't be created: too many outputs at once");
        EXPECT_EQ(files.size(), 16u);
    }
    EXPECT_EQ(scratch.Files(), 0u);
}

}  // namespace
