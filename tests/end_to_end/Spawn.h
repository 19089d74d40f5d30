#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace platen_test {

// How a run of the program ended.
struct Outcome {
    int code = -1;  // exit code, 128 + the signal's number where a signal ended it
    std::string out;
    std::string err;
};

// Where a run's standard streams go. An empty name of a file means a pipe that the test holds.
struct Streams {
    std::string input;         // what the program reads from standard input
    std::size_t chunk = 0;     // written in pieces of so many bytes; 0: as it fits
    std::string outputFile;    // standard output goes there
    bool closeOutput = false;  // nobody reads standard output
    std::string folder;        // working folder
    std::string program;       // another one than the built program, found in PATH; exit code 127 where it is not
};

// Runs the built program with the arguments, to its end.
Outcome Spawn(const std::vector<std::string>& arguments, const Streams& streams = {});

// Starts it with a pipe for standard input that stays open: for interrupts. `Finish` closes it and waits.
class RunningProgram {
  public:
    explicit RunningProgram(const std::vector<std::string>& arguments);
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    void Write(const std::string& bytes) const;
    void Signal(int number) const;
    pid_t Id() const {
        return process_;
    }
    void CloseInput();
    int Wait();  // as Outcome::code

  private:
    pid_t process_ = -1;
    int input_ = -1;
};

// A folder of a test's own, removed at its end.
class Folder {
  public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string File(const std::string& name) const {
        return path_ + "/" + name;
    }
    const std::string& Path() const {
        return path_;
    }
    // The names of all files in it, hidden ones too, sorted, with a blank between.
    std::string Listing() const;

  private:
    std::string path_;
};

void WriteFile(const std::string& path, const std::string& bytes);
std::string ReadFile(const std::string& path);  // fails the test where there is none

// A grey (P5) or colour (P6) page with a pattern that depends on the seed.
std::string PnmPage(int width, int height, bool colour, int seed = 0);

}  // namespace platen_test
