#include "Spawn.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace platen_test {

namespace {

struct Pipe {
    Pipe() {
        EXPECT_EQ(pipe(end), 0);
    }
    int end[2];
};

int ExitCodeOf(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

[[noreturn]] void Execute(const std::vector<std::string>& arguments, const std::string& program = {}) {
    const char* other = std::getenv("PLATEN_TEST_PROGRAM");  // a mutation run's
    std::vector<std::string> words = {!program.empty() ? program : other != nullptr ? other : PLATEN_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    for (const int number : {SIGINT, SIGHUP, SIGQUIT}) {
        std::signal(number, SIG_DFL);  // ignored where the tests run in the background or with nohup
    }
    execvp(pointers[0], pointers.data());
    _exit(127);
}

void CloseOnExec(int descriptor) {
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

// Moves bytes between the pipes and the strings until both outputs are closed.
class Exchange {
  public:
    Exchange(int input, int output, int error, const Streams& streams, Outcome& outcome)
        : input_(input), output_(output), error_(error), streams_(streams), outcome_(outcome) {
        fcntl(input_, F_SETFL, O_NONBLOCK);
    }

    void Run() {
        while (output_ >= 0 || error_ >= 0) {
            pollfd polls[] = {{input_, POLLOUT, 0}, {output_, POLLIN, 0}, {error_, POLLIN, 0}};
            poll(polls, 3, -1);
            if (input_ >= 0 && polls[0].revents != 0) {
                Feed();
            }
            Drain(output_, polls[1].revents, outcome_.out);
            Drain(error_, polls[2].revents, outcome_.err);
        }
        Close(input_);
    }

  private:
    static void Close(int& descriptor) {
        if (descriptor >= 0) {
            close(descriptor);
            descriptor = -1;
        }
    }

    void Feed() {
        const std::size_t left = streams_.input.size() - fed_;
        const std::size_t count = streams_.chunk == 0 ? left : std::min(left, streams_.chunk);
        const ssize_t written = left == 0 ? -1 : write(input_, streams_.input.data() + fed_, count);
        if (written > 0) {
            fed_ += static_cast<std::size_t>(written);
        } else if (left == 0 || errno != EAGAIN) {
            Close(input_);
        }
    }

    static void Drain(int& descriptor, int events, std::string& text) {
        if (descriptor < 0 || events == 0) {
            return;
        }
        char bytes[65536];
        const ssize_t count = read(descriptor, bytes, sizeof bytes);
        if (count > 0) {
            text.append(bytes, static_cast<std::size_t>(count));
        } else {
            Close(descriptor);
        }
    }

    int input_;
    int output_;
    int error_;
    const Streams& streams_;
    Outcome& outcome_;
    std::size_t fed_ = 0;
};

}  // namespace

Outcome Spawn(const std::vector<std::string>& arguments, const Streams& streams) {
    std::signal(SIGPIPE, SIG_IGN);
    Pipe input;
    Pipe output;
    Pipe error;
    const int outputFile =
        streams.outputFile.empty() ? -1 : open(streams.outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    for (const int descriptor :
         {input.end[0], input.end[1], output.end[0], output.end[1], error.end[0], error.end[1]}) {
        CloseOnExec(descriptor);
    }
    if (streams.closeOutput) {
        close(output.end[0]);
        output.end[0] = -1;
    }
    const pid_t process = fork();
    if (process == 0) {
        std::signal(SIGPIPE, SIG_DFL);
        if (!streams.folder.empty() && chdir(streams.folder.c_str()) != 0) {
            _exit(126);
        }
        dup2(input.end[0], 0);
        dup2(outputFile >= 0 ? outputFile : output.end[1], 1);
        dup2(error.end[1], 2);
        Execute(arguments, streams.program);
    }
    close(input.end[0]);
    close(output.end[1]);
    close(error.end[1]);
    if (outputFile >= 0) {
        close(outputFile);
    }
    Outcome outcome;
    Exchange(input.end[1], output.end[0], error.end[0], streams, outcome).Run();
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    outcome.code = ExitCodeOf(status);
    return outcome;
}

RunningProgram::RunningProgram(const std::vector<std::string>& arguments) {
    std::signal(SIGPIPE, SIG_IGN);
    Pipe input;
    CloseOnExec(input.end[1]);
    process_ = fork();
    if (process_ == 0) {
        dup2(input.end[0], 0);
        Execute(arguments);
    }
    close(input.end[0]);
    input_ = input.end[1];
}

RunningProgram::~RunningProgram() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        Wait();
    }
    CloseInput();
}

void RunningProgram::CloseInput() {
    if (input_ >= 0) {
        close(input_);
        input_ = -1;
    }
}

void RunningProgram::Write(const std::string& bytes) const {
    EXPECT_EQ(write(input_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
}

void RunningProgram::Signal(int number) const {
    EXPECT_EQ(kill(process_, number), 0);
}

int RunningProgram::Wait() {
    int status = 0;
    EXPECT_EQ(waitpid(process_, &status, 0), process_);
    process_ = -1;
    return ExitCodeOf(status);
}

Folder::Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "platen-test-XXXXXX").string();
    EXPECT_NE(mkdtemp(pattern.data()), nullptr);
    path_ = pattern;
}

Folder::~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string Folder::Listing() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : " ") + name;
    }
    return text;
}

void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream stream(path, std::ios::binary);
    stream << bytes;
    EXPECT_TRUE(stream.good()) << path;
}

std::string ReadFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    EXPECT_TRUE(stream.good()) << path;
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    return bytes.str();
}

std::string PnmPage(int width, int height, bool colour, int seed) {
    std::string page =
        std::string(colour ? "P6 " : "P5 ") + std::to_string(width) + " " + std::to_string(height) + " 255\n";
    const int samples = width * (colour ? 3 : 1);
    for (int y = 0; y < height; ++y) {
        for (int i = 0; i < samples; ++i) {
            page += static_cast<char>((i * 7 + y * 13 + seed * 31 + i * y / 5) & 255);
        }
    }
    return page;
}

}  // namespace platen_test
