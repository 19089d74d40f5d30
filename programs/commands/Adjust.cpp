#include "programs/commands/Adjust.h"

#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <map>
#include <new>

#include "programs/base/Report.h"
#include "programs/commands/AdjustInput.h"
#include "programs/commands/DryRun.h"
#include "programs/io/OutputFile.h"
#include "programs/io/Signals.h"
#include "programs/page/CurvePlot.h"

namespace platen_tool {

namespace {

ExitCode AdjustOne(const Run& run, std::size_t input, unsigned long& nextPage) {
    try {
        if (run.settings.dryRun) {
            PrintOutput(DescribeInput(run, input, nextPage));
        } else {
            AdjustInput(run, input, nextPage);
        }
        return ExitCode::kDone;
    } catch (...) {
        return ReportFailure(run.settings.inputs[input]);
    }
}

ExitCode RunInThisProcess(const Run& run) {
    const Settings& settings = run.settings;
    ExitCode result = ExitCode::kDone;
    unsigned long nextPage = settings.firstPageNumber;
    for (std::size_t input = 0; input < settings.inputs.size(); ++input) {
        if (run.name.HasName()) {
            nextPage = settings.firstPageNumber;
        }
        const ExitCode code = AdjustOne(run, input, nextPage);
        run.progress->EndFile(input);
        result = result == ExitCode::kDone ? code : result;
        // With the reader of standard output gone nothing that follows can be of use; a wrong command line is wrong
        // for the others too.
        if (code == ExitCode::kBrokenPipe || code == ExitCode::kUsage ||
            (code != ExitCode::kDone && !settings.keepGoing)) {
            break;
        }
    }
    return result;
}

// Wakes the process some times a second.
class Ticker {
  public:
    explicit Ticker(bool on) : on_(on) {
        if (on_) {
            struct sigaction action {};
            action.sa_handler = [](int) {};
            sigaction(SIGALRM, &action, &before_);
            Set(100'000);
        }
    }
    ~Ticker() {
        if (on_) {
            Set(0);
            sigaction(SIGALRM, &before_, nullptr);
        }
    }
    Ticker(const Ticker&) = delete;
    Ticker& operator=(const Ticker&) = delete;

  private:
    static void Set(long microseconds) {
        const itimerval timer{{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }

    const bool on_;
    struct sigaction before_ {};
};

// What each input counts: its size, where all are files.
std::vector<std::uint64_t> Weights(const std::vector<std::string>& inputs) {
    std::vector<std::uint64_t> weights;
    for (const std::string& input : inputs) {
        struct stat status {};
        const bool file = stat(input.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
        if (!file) {
            return std::vector<std::uint64_t>(inputs.size(), 1);
        }
        weights.push_back(static_cast<std::uint64_t>(status.st_size));
    }
    return weights;
}

// One working process for each input: a filter's table belongs to a whole process.
class WorkerPool {
  public:
    explicit WorkerPool(const Run& run) : run_(run), settings_(run.settings) {}

    ExitCode Work() {
        const Ticker ticker(run_.progress->On());
        run_.progress->BeParallel();
        for (std::size_t input = 0; input < settings_.inputs.size(); ++input) {
            if (running_ == settings_.jobs) {
                WaitForOne();
            }
            if (result_ == ExitCode::kUsage || (result_ != ExitCode::kDone && !settings_.keepGoing)) {
                break;
            }
            Start(input);
        }
        while (running_ > 0) {
            WaitForOne();
        }
        return result_;
    }

  private:
    void Start(std::size_t input) {
        // The handler must know the worker before a signal can come in.
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, &before);
        const pid_t worker = fork();
        if (worker == 0) {
            ForgetAllWorkers();
            run_.progress->BecomeWorker();
            sigprocmask(SIG_SETMASK, &before, nullptr);
            unsigned long page = settings_.firstPageNumber;
            _exit(static_cast<int>(AdjustOne(run_, input, page)));
        }
        const int error = errno;
        if (worker > 0) {
            NoteWorker(worker);
            files_[worker] = input;
            ++running_;
        }
        sigprocmask(SIG_SETMASK, &before, nullptr);
        if (worker < 0) {
            PrintMessage({settings_.inputs[input], ": a process cannot be started: ", std::strerror(error)});
            Note(ExitCode::kFailed);
        }
    }

    void WaitForOne() {
        int status = 0;
        pid_t worker = waitpid(-1, &status, 0);
        while (worker < 0 && errno == EINTR) {
            run_.progress->Show();
            worker = waitpid(-1, &status, 0);
        }
        if (worker < 0) {
            running_ = 0;
            return;
        }
        ForgetWorker(worker);
        run_.progress->EndFile(files_[worker]);
        files_.erase(worker);
        --running_;
        if (WIFEXITED(status)) {
            Note(static_cast<ExitCode>(WEXITSTATUS(status)));
        } else {
            PrintMessage({"a worker process was killed by signal ", std::to_string(WTERMSIG(status))});
            Note(ExitCode::kFailed);
        }
    }

    void Note(ExitCode code) {
        result_ = result_ == ExitCode::kDone ? code : result_;
    }

    const Run& run_;
    const Settings& settings_;
    std::map<pid_t, std::size_t> files_;  // what each worker has in hand
    int running_ = 0;
    ExitCode result_ = ExitCode::kDone;
};

}  // namespace

ExitCode ReportFailure(const std::string& name) noexcept {
    const std::string_view colon = name.empty() ? "" : ": ";
    try {
        throw;
    } catch (const Error& error) {
        if (error.what()[0] != '\0' && error.Code() != ExitCode::kBrokenPipe) {
            PrintMessage({name, colon, error.what()});
        }
        return error.Code();
    } catch (const std::bad_alloc&) {
        PrintMessage({name, colon, "out of memory"});
    } catch (const std::exception& error) {
        PrintMessage({name, colon, "internal error: ", error.what()});
    }
    return ExitCode::kFailed;
}

void BeginPlot(const Settings& settings) {
    if (settings.plot && settings.dryRun) {
        PrintOutput(DescribePlot(settings));
    } else if (settings.plot && !settings.AnyAutomatic()) {
        WriteCurvePlot(*settings.plot, settings.tone, {.force = settings.force, .sync = false});
    }
    for (const auto& path : {settings.plot, settings.savePreset}) {
        if (settings.WritesNumbers() && path) {
            CheckOutputPath(*path,
                            {.force = settings.force, .sync = false});  // it is written when the numbers are known
        }
    }
}

ExitCode RunAdjust(const Settings& settings, RunFiles& files) {
    const OutputName name(settings.output, settings.formatName);
    const bool parallel = settings.jobs > 1 && settings.inputs.size() > 1;
    if (!settings.output.empty()) {  // a dry run needs none
        CheckOutputName(name, settings.inputs);
        if (parallel && !name.HasName()) {
            throw Error(ExitCode::kUsage, "--jobs: several inputs at a time need %s in the output's name");
        }
    }
    BeginPlot(settings);
    Progress progress(ShowsProgress(settings) && !settings.dryRun, Weights(settings.inputs));
    RunNumbers numbers(settings);
    const Run run{settings, name, files, numbers, &progress};
    ExitCode code = ExitCode::kDone;
    if (parallel && !settings.dryRun) {
        if (settings.automatic.sameForAll || settings.WritesNumbers()) {
            FindFirstNumbers(settings, numbers);
        }
        code = WorkerPool(run).Work();
    } else {
        code = RunInThisProcess(run);
    }
    if (settings.WritesNumbers() && code == ExitCode::kDone) {
        numbers.Finish();
    }
    return code;
}

}  // namespace platen_tool
