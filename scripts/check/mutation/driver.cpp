// The main function of the test programs of a mutation run. The mutants of a file are all in the program, each
// behind a switch; every test runs in a process of its own, so that one that crashes or never ends does no harm.
//
//   tests measure LIST LIMIT      runs every test that LIST, a file of names, doesn't hold; prints its name, its
//                                 processor time in microseconds (-1: over LIMIT), its time by the clock and the
//                                 mutants that it reaches
//   tests run PLAN                PLAN's lines are a mutant's number and the tests to run with both times;
//                                 prints the number and the test that fails, crashes or takes five times the
//                                 processor time, and twenty times when asked again, or "-"; also "-" where the
//                                 clock ended it, which says nothing (unless the test starts programs: see
//                                 WallOfTest)
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

// The switch's, which run.py writes: it takes both from the environment, as a program that a test starts has them,
// or this one where a death test starts it anew.
extern int platen_mutant;
extern unsigned char* platen_reached;  // a byte a mutant, while the tests are measured

namespace {

constexpr int kMutants = 4096;
constexpr unsigned kWall = 900;  // seconds by the clock, for one that waits; a busy machine takes long, too

struct Shared {
    unsigned char reached[kMutants];  // first: programs that a test starts have it by PLATEN_REACHED
    int current;
};
Shared* shared;

// Seconds by the clock, at least, for one test that starts processes, which may wait for each other, before it
// counts as one that never ends; 0: none does.
unsigned WallOfTest() {
    const char* seconds = std::getenv("PLATEN_TEST_WALL");
    return seconds != nullptr ? static_cast<unsigned>(std::atoi(seconds)) : 0;
}

// What it starts gets a few seconds more than all that it has used so far.
void LimitStarted(long microseconds) {
    rusage used;
    getrusage(RUSAGE_SELF, &used);
    const rlim_t seconds =
        static_cast<rlim_t>(used.ru_utime.tv_sec + used.ru_stime.tv_sec + microseconds / 1000000 + 5);
    const rlimit limit = {seconds, RLIM_INFINITY};
    setrlimit(RLIMIT_CPU, &limit);
}

void LimitProcessorTime(long microseconds) {
    itimerval limit = {};
    limit.it_value.tv_sec = microseconds / 1000000;
    limit.it_value.tv_usec = microseconds % 1000000;
    setitimer(ITIMER_PROF, &limit, nullptr);
}

bool Passes(const std::string& test) {
    GTEST_FLAG_SET(filter, test);
    return RUN_ALL_TESTS() == 0;
}

// Such a test is ended sooner at first, since most that wait wait for ever, and then asked again.
unsigned WallLimit(long microseconds, bool again) {
    const unsigned seconds = static_cast<unsigned>(microseconds / 1000000);
    return again ? std::max(WallOfTest(), 20 * (seconds + 1)) : 4 + 5 * seconds;
}

// In a process of its own; gives its exit status, its processor time and its time by the clock.
int Apart(const std::function<int()>& work, long& microseconds, long& wall) {
    const auto begin = std::chrono::steady_clock::now();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        setpgid(0, 0);
        alarm(kWall);
        const rlimit memory = {rlim_t{4} << 30, rlim_t{4} << 30};
        setrlimit(RLIMIT_AS, &memory);
        const rlimit core = {0, 0};
        setrlimit(RLIMIT_CORE, &core);
        std::freopen("/dev/null", "w", stdout);
        std::freopen("/dev/null", "w", stderr);
        _exit(work());
    }
    int status = 0;
    rusage usage;
    wait4(child, &status, 0, &usage);
    kill(-child, SIGKILL);
    microseconds =
        (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000000 + usage.ru_utime.tv_usec + usage.ru_stime.tv_usec;
    const auto time = std::chrono::steady_clock::now() - begin;
    wall = static_cast<long>(std::chrono::duration_cast<std::chrono::microseconds>(time).count());
    return status;
}

std::vector<std::string> AllTests() {
    std::vector<std::string> names;
    const testing::UnitTest& unit = *testing::UnitTest::GetInstance();
    for (int s = 0; s < unit.total_test_suite_count(); ++s) {
        const testing::TestSuite& suite = *unit.GetTestSuite(s);
        for (int t = 0; t < suite.total_test_count(); ++t) {
            names.push_back(std::string(suite.name()) + "." + suite.GetTestInfo(t)->name());
        }
    }
    return names;
}

int Measure(const char* list, long quick) {
    std::set<std::string> skipped;
    std::ifstream file(list);
    for (std::string name; std::getline(file, name);) {
        skipped.insert(name);
    }
    for (const std::string& test : AllTests()) {
        if (skipped.count(test) != 0) {
            continue;
        }
        std::memset(shared->reached, 0, sizeof shared->reached);
        long microseconds = 0;
        long wall = 0;
        const int status = Apart(
            [&] {
                platen_reached = shared->reached;
                LimitProcessorTime(quick);
                return Passes(test) ? 0 : 1;
            },
            microseconds, wall);
        const bool tooLong = WIFSIGNALED(status) && WTERMSIG(status) == SIGPROF;
        if (status != 0 && !tooLong) {
            std::cerr << test << " fails without a mutant\n";
            return 1;
        }
        std::cout << test << ' ' << (tooLong ? -1 : microseconds) << ' ' << wall;
        for (int n = 0; n < kMutants; ++n) {
            if (shared->reached[n] != 0) {
                std::cout << ' ' << n;
            }
        }
        std::cout << std::endl;
    }
    return 0;
}

int RunPlan(const char* plan) {
    std::ifstream file(plan);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        int mutant = 0;
        words >> mutant;
        std::vector<std::string> tests;
        std::vector<long> times;
        std::vector<long> walls;
        std::string test;
        for (long time = 0, wall = 0; words >> test >> time >> wall;) {
            tests.push_back(test);
            times.push_back(time);
            walls.push_back(wall);
        }
        const auto run = [&](std::size_t first, long factor) {
            long microseconds = 0;
            long wall = 0;
            return Apart(
                [&] {
                    platen_mutant = mutant;
                    setenv("PLATEN_MUTANT", std::to_string(mutant).c_str(), 1);
                    for (std::size_t i = first; i < tests.size(); ++i) {
                        shared->current = static_cast<int>(i);
                        LimitProcessorTime(factor * (20000 + 5 * times[i]));
                        if (WallOfTest() != 0) {
                            LimitStarted(factor * 5 * times[i]);
                            alarm(WallLimit(walls[i], factor > 1));
                        }
                        if (!Passes(tests[i])) {
                            return 1;
                        }
                    }
                    return 0;
                },
                microseconds, wall);
        };
        int status = run(0, 1);
        const auto endedBy = [&](int signal) { return WIFSIGNALED(status) && WTERMSIG(status) == signal; };
        if (endedBy(SIGPROF) || (endedBy(SIGALRM) && WallOfTest() != 0)) {  // for good, or was the machine busy?
            status = run(static_cast<std::size_t>(shared->current), 4);
        }
        const bool untested = endedBy(SIGALRM) && WallOfTest() == 0;
        std::cout << mutant << ' '
                  << (status == 0 || untested ? "-" : tests[static_cast<std::size_t>(shared->current)])
                  << std::endl;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const bool startedByTest = argc > 1 && std::strncmp(argv[argc - 1], "--gtest_internal", 16) == 0;
    bool plain = startedByTest;
    for (int i = 1; i < argc; ++i) {
        plain = plain || std::strncmp(argv[i], "--gtest_", 8) == 0;
    }
    testing::InitGoogleTest(&argc, argv);
    if (plain || argc < 3) {
        return RUN_ALL_TESTS();
    }
    char name[] = "/tmp/platen-mutation-XXXXXX";
    const int file = mkstemp(name);
    if (file < 0 || ftruncate(file, sizeof(Shared)) != 0) {
        std::cerr << "no temporary file\n";
        return 1;
    }
    shared = static_cast<Shared*>(mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
    const bool measures = std::strcmp(argv[1], "measure") == 0;
    if (measures) {
        setenv("PLATEN_REACHED", name, 1);
    }
    const int result = measures ? Measure(argv[2], std::atol(argv[3])) : RunPlan(argv[2]);
    unlink(name);
    return result;
}
