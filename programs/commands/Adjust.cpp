#include "programs/commands/Adjust.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <new>

#include "programs/base/Report.h"
#include "programs/commands/AdjustInput.h"
#include "programs/commands/DryRun.h"
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

// One working process for each input: a filter's table belongs to a whole process.
class WorkerPool {
  public:
    explicit WorkerPool(const Run& run) : run_(run), settings_(run.settings) {}

    ExitCode Work() {
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
            sigprocmask(SIG_SETMASK, &before, nullptr);
            unsigned long page = settings_.firstPageNumber;
            _exit(static_cast<int>(AdjustOne(run_, input, page)));
        }
        const int error = errno;
        if (worker > 0) {
            NoteWorker(worker);
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
        const pid_t worker = waitpid(-1, &status, 0);
        if (worker < 0) {
            running_ = 0;
            return;
        }
        ForgetWorker(worker);
        --running_;
        if (WIFEXITED(status)) {
            Note(static_cast<ExitCode>(WEXITSTATUS(status)));
        } else {
            PrintMessage({"a working process was ended by signal ", std::to_string(WTERMSIG(status))});
            Note(ExitCode::kFailed);
        }
    }

    void Note(ExitCode code) {
        result_ = result_ == ExitCode::kDone ? code : result_;
    }

    const Run& run_;
    const Settings& settings_;
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

ExitCode RunAdjust(const Settings& settings, RunFiles& files) {
    const OutputName name(settings.output);
    const bool parallel = settings.jobs > 1 && settings.inputs.size() > 1;
    if (!settings.output.empty()) {  // a dry run needs none
        CheckOutputName(name, settings.inputs);
        if (parallel && !name.HasName()) {
            throw Error(ExitCode::kUsage, "--jobs: several inputs at a time need %s in the output's name");
        }
    }
    if (settings.plot && !settings.dryRun) {
        WriteCurvePlot(*settings.plot, settings.tone, settings.force);
    }
    const Run run{settings, name, files};
    return parallel && !settings.dryRun ? WorkerPool(run).Work() : RunInThisProcess(run);
}

}  // namespace platen_tool
