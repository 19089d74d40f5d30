#!/usr/bin/env python3
"""scripts/check/mutation/run.py [file...]: a mutation run over the library and parts of the tool. docs/trust.md tells its
result; areas.py says which files and tests.

Every mutant is one small change to one file: another operator, constant or boundary, a negated condition, a dropped
statement or result. It's killed when a test of its area fails, crashes or takes far longer than it should. Most
mutants of a file are compiled together, each behind a switch; the others alone. The tests that take at most 0.3 s
(--quick) run, those that reach the mutant and the quickest first; with --slow the survivors meet the others and the golden
programs too. What survives is compiled alone in any case: if the compiler makes the same code of it as of the original,
there is nothing that a test could see, and it's left out of the score, as is what doesn't compile.

The others that survive have to be explained in survivors.txt. The exit status is 1 where one isn't, or where fewer
than 95 in 100 are killed (90 of the tool's). Verdicts are kept in build/mutation/results.tsv and hold as long as the file
and the tests do. With --keep-killed, for tests that were only added to, the killed stay killed until their file changes,
and what survived counts as such until it's asked again.

--minutes=N takes a slice: the files of which least is tested come first, 60 mutants at a time, and it stops after N
minutes. Night after night it comes to all of them, and then redoes only what has changed. The table then has what is
tested; of a file that is tested in part it takes the largest random sample that is tested whole, and gives the share
killed by the files' lengths too, each sample standing for its file.

Needs the release preset, configured.
"""

import argparse
import glob
import hashlib
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
from concurrent.futures import ThreadPoolExecutor

sys.path.insert(0, os.path.dirname(__file__))
import areas  # noqa: E402
from mutants import Source  # noqa: E402
from survivors import read_survivors  # noqa: E402

BASE = "build/release"
ONCE = threading.Lock()  # for what several threads need and one makes
WALL = 20  # seconds by the clock, for a test of the tool: it can wait for a process that waits for it
SLICE = 60  # mutants of a file, before it's the next one's turn
DRIVER = "scripts/check/mutation/driver.cpp"
OUT = "build/mutation"
LINKER = ["-fuse-ld=lld"] if shutil.which("ld.lld") else []
LEDGER = [f"-Wl,--wrap={name}" for name in "malloc free _Znwm _ZdlPv _ZdlPvm _ZnwmRKSt9nothrow_t".split()]
SWITCH = """#include <fcntl.h>
#include <sys/mman.h>
#include <cstdlib>
extern int platen_mutant;
extern unsigned char* platen_reached;
int platen_mutant;
unsigned char* platen_reached;
[[gnu::constructor(101)]] static void Set() {
    const char* number = std::getenv("PLATEN_MUTANT");
    platen_mutant = number != nullptr ? std::atoi(number) : 0;
    if (const char* file = std::getenv("PLATEN_REACHED")) {
        void* bytes = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, open(file, O_RDWR | O_CLOEXEC), 0);
        platen_reached = bytes != MAP_FAILED ? static_cast<unsigned char*>(bytes) : nullptr;
    }
}
"""


def read(path):
    with open(path) as file:
        return file.read()


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w") as file:
        file.write(text)
    return path


def digest(*texts):
    return hashlib.sha1("\0".join(texts).encode()).hexdigest()[:16]


def system_headers(level, flags, tests):
    """A header with those of the system that the library uses, or the tests of its interfaces, compiled with the same flags."""
    header = f"{OUT}/system/{digest(level, str(tests), *flags)}/all.h"
    with ONCE:
        if os.path.exists(header + ".gch"):
            return header
        sources = areas.library() + glob.glob("*/*.inc") + glob.glob("Sources/*/*.inc")
        if tests:
            sources = areas.area_tests("interfaces") + glob.glob("cpp/*/*.hpp")
        names = " ".join(read(f) for f in sources)
        vector = any(flag.startswith("-mavx") for flag in flags)
        used = set(re.findall(r"^#include (<[a-z_]+(?:/gtest)?(?:\.h)?>)", names, re.M))
        used = {name for name in used if "neon" not in name and "wasm" not in name}  # of other processors
        used = sorted(name for name in used if vector or "mmintrin" not in name)
        write(header, "".join(f"#include {name}\n" for name in used))
        subprocess.run(["g++", level, *flags, "-x", "c++-header", header, "-o", header + ".made"], check=True)
        os.rename(header + ".made", header + ".gch")
    return header


def own_headers(source, level, flags):
    """A header with those that a file of the tool includes, compiled with the same flags; none of them is mutated."""
    included = "".join(re.findall(r"^#include .*\n", re.split(r"^#(?!include)", read(source), maxsplit=1, flags=re.M)[0], re.M))
    # The compiler takes what has been touched for another file.
    touched = [f"{f} {os.stat(f).st_mtime_ns}" for f in sorted(areas.includes_of(source))]
    header = f"{OUT}/own/{digest(level, included, *flags, *touched)}/all.h"
    with ONCE:
        if not os.path.exists(header + ".gch"):
            write(header, included)
            command = ["g++", level, *flags, "-x", "c++-header", header, "-o", header + ".made"]
            subprocess.run(command, check=True)
            os.rename(header + ".made", header + ".gch")
    return header


def compile_file(source, target, flags, tree=None, level="-O1"):
    """Compiles a file, or its changed copy below `tree`; gives the compiler's messages where that fails."""
    os.makedirs(os.path.dirname(target), exist_ok=True)
    include = [f"-I{tree}", f"-I{tree}/cpp"] if tree else []
    if areas.is_tool(source):  # whose flags are the build's
        include = ["-include", own_headers(source, level, flags), *include]
    else:
        include = ["-include", system_headers(level, flags, source.startswith("tests/")), *include, *areas.INCLUDES]
    if tree and os.path.exists(f"{tree}/{source}"):
        source = f"{tree}/{source}"
    command = ["g++", level, *include, *flags, "-c", source, "-o", target]
    result = subprocess.run(command, capture_output=True, text=True, check=False)
    return result.stderr if result.returncode else None


def base_objects(sources):
    """The release preset's objects of some sources, brought up to date."""
    if not os.path.exists(f"{BASE}/build.ninja"):
        sys.exit("configure the release preset first: cmake --preset release")
    found = {}
    for target, source in re.findall(r"^build (\S+\.o): CXX_COMPILER\S* (\S+)", read(f"{BASE}/build.ninja"), re.M):
        source = os.path.relpath(source, os.getcwd())
        if source not in found or "platen-test-support" in target:
            found[source] = target
    subprocess.run(["ninja", "-C", BASE, *{found[s] for s in sources}], check=True, stdout=subprocess.DEVNULL)
    return {s: f"{BASE}/{found[s]}" for s in sources}


def start(arguments, variant=None, low=True):
    """Starts a program, with the lowest priority where it runs mutants: a run takes long."""
    environment = dict(os.environ)
    tree = os.path.abspath(f"{os.path.dirname(arguments[0])}/tree")
    if areas.is_tool(os.path.relpath(tree, OUT)):
        environment["PLATEN_TEST_WALL"] = str(WALL)
    for variable, name in {"PLATEN_TEST_PROGRAM": "programs/platen", "PLATEN_TEST_BACKENDS": "sane"}.items():
        if os.path.exists(f"{tree}/{name}"):  # what the tests start instead of the built one
            environment[variable] = f"{tree}/{name}"
    folder = f"{OUT}/work"  # a mutant writes files where it shouldn't
    os.makedirs(folder, exist_ok=True)
    arguments = [os.path.abspath(arguments[0]), *arguments[1:]]
    if variant:
        environment["PLATEN_TEST_KERNELS"] = variant
    return subprocess.Popen([*(["nice", "-n", "19"] if low else []), *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            env=environment, cwd=folder, text=True, errors="replace", start_new_session=True)  # fmt: skip


def end(process):
    """Ends a process, and those that it started."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.communicate()


class Programs:
    """The test programs of an area, linked with some objects of the library in place of others."""

    def __init__(self, path):
        self.area = areas.area_of(path)
        self.tests = areas.area_tests(self.area)
        self.golden = [f"tests/golden/golden_{g}.cpp" for g in areas.AREAS[self.area][2]]
        self.objects = base_objects(self.sources())
        self.switch = self.support(write(f"{OUT}/switch.cpp", SWITCH))
        self.driver = self.support(DRIVER)

    def sources(self):
        return areas.library() + self.tests + self.golden + areas.SUPPORT

    def support(self, source):
        """The object of a source of the run's own, compiled once for each text."""
        target = f"{OUT}/{digest(read(source))}.o"
        if not os.path.exists(target):
            errors = compile_file(source, target, areas.COMMON)
            if errors:
                sys.exit(errors)
        return target

    def library(self, changed):
        """What is changed comes first: its inline functions win."""
        return list(changed.values()) + [self.objects[s] for s in areas.library() if s not in changed]

    def link(self, program, changed):
        os.makedirs(os.path.dirname(program), exist_ok=True)
        tests = [self.objects[t] for t in self.tests + areas.SUPPORT if t not in changed]
        parts = [*self.library(changed), self.driver, self.switch, *tests, *LEDGER, "-lgtest", "-pthread"]
        subprocess.run(["g++", *LINKER, *parts, "-o", program], check=True)
        return program

    def link_golden(self, program, changed):
        os.makedirs(os.path.dirname(program), exist_ok=True)
        golden = next(g for g in self.golden if os.path.basename(g)[:-4] == os.path.basename(program))
        parts = [*self.library(changed), self.switch, self.objects[golden], self.objects[areas.SUPPORT[0]]]
        subprocess.run(["g++", *LINKER, *parts, "-o", program], check=True)


class ToolPrograms(Programs):
    """The same for parts of the tool; what the tests start, a program or a backend, is linked anew too."""

    def __init__(self, path):
        super().__init__(path)
        self.common = f"{OUT}/{self.area}-tests" if self.area == "backend" else None  # they load what is changed
        if self.common:
            self.link_tests(self.common, [])

    def sources(self):
        sources = self.tests + areas.HELPERS.get(self.area, [])
        found = base_objects(sources)  # and what they need to run
        targets = [f"{os.path.basename(t)[:-4]}" for t in self.tests]
        subprocess.run(["ninja", "-C", BASE, *targets, "libplaten.a"], check=True, stdout=subprocess.DEVNULL)
        self.started = areas.TOOLS[self.area]
        return list(found)

    def link(self, program, changed):
        os.makedirs(os.path.dirname(program), exist_ok=True)
        if self.common:
            os.link(self.common, program)
        else:
            self.link_tests(program, changed.values())
        if self.started:
            self.link_started(f"{os.path.dirname(program)}/tree", changed)
        return program

    def link_tests(self, program, own):
        libraries = [f"{BASE}/{name}" for name in ("programs/libplaten-program.a", "programs/io/libplaten-io.a", "libplaten.a")]
        system = "-lgtest -lpng -lz -ltiff -ljpeg -llcms2 -ldeflate -lzstd -ldl -pthread".split()
        subprocess.run(["g++", *LINKER, *own, self.driver, self.switch, *self.objects.values(), *libraries, *system,
                        *areas.WRAPPED.get(self.area, []), "-o", program], check=True)  # fmt: skip

    def link_started(self, tree, changed):
        """As the build does, in a tree like the build's."""
        target = f"{tree}/{self.started}"
        os.makedirs(os.path.dirname(target), exist_ok=True)
        for name in ("share", "libplaten.so.1"):
            if not os.path.lexists(f"{tree}/{name}"):
                os.symlink(os.path.abspath(f"{BASE}/{name}"), f"{tree}/{name}")
        command = subprocess.run(["ninja", "-C", BASE, "-t", "commands", "-s", self.started],
                                 capture_output=True, text=True, check=True).stdout  # fmt: skip
        first = []
        for source, made in changed.items():
            built = next((w for w in command.split() if w.endswith(f"/{os.path.basename(source)}.o")), None)
            command = command.replace(f" {built} ", " ")
            first.append(os.path.abspath(made))
        parts = " ".join([os.path.abspath(target), *first, os.path.abspath(self.switch)])
        command = command.replace(f" -o {self.started} ", f" -o {parts} ")
        subprocess.run(command, shell=True, cwd=BASE, check=True)


def programs_of(path):
    return ToolPrograms(path) if areas.is_tool(path) else Programs(path)


def slow_tests(area, quick):
    return f"{OUT}/slow_{area}_{quick}.txt"


def measure(program, area, quick):
    """The quick tests, the quickest by the clock first: name, microseconds of processor time and by the clock, mutants that
    they reach. The slow ones are kept."""
    slow = slow_tests(area, quick)
    with open(slow, "a+"):
        process = start([program, "measure", os.path.abspath(slow), str(int(quick * 1000000))], low=False)
    output, errors = process.communicate()
    if process.returncode:
        sys.exit(f"{program}: {errors}")
    found = []
    for line in output.splitlines():
        name, time, wall, *reached = line.split()
        if time == "-1":
            with open(slow, "a") as file:
                file.write(name + "\n")
        else:
            found.append((name, int(time), int(wall), {int(n) for n in reached}))
    return sorted(found, key=lambda test: test[2])


class Budget:
    """The time that a run may take."""

    def __init__(self, minutes):
        self.end = time.monotonic() + 60 * minutes if minutes else None

    def spent(self):
        return self.end is not None and time.monotonic() > self.end


def run_plan(program, plan, budget):
    """Yields mutant and the test that kills it, or "-", as long as there is time."""
    with tempfile.NamedTemporaryFile("w", suffix=".plan") as file:
        for number, tests in plan:
            file.write(" ".join([str(number)] + [f"{name} {time} {wall}" for name, time, wall, _ in tests]) + "\n")
        file.flush()
        process = start([program, "run", file.name])
        left = [number for number, _ in plan]
        for line in process.stdout:
            number, test = line.split()
            left.remove(int(number))
            yield int(number), test
            if budget.spent():
                end(process)
                return
        process.wait()
        if left == [0]:  # compiled alone, a mutant can strike before the program begins
            yield 0, "at load"
        elif left:
            sys.exit(f"{program}: the driver failed\n{process.stderr.read()}")


def source_of(path):
    return Source(read(path), constants=path.startswith("cpp/"))


class File:
    """One file's run."""

    def __init__(self, path, options, budget):
        self.path = path
        self.options = options
        self.budget = budget
        self.source = source_of(path)
        self.numbers = {m: i + 1 for i, m in enumerate(self.source.mutants)}
        self.programs = programs_of(path)
        self.builds = areas.builds_of(path, self.programs.tests)
        self.level = "-O0" if path.startswith("cpp/") else "-O1"  # tests take long to compile, and not to run
        self.folder = f"{OUT}/{path}.d"
        self.once = threading.Lock()
        shutil.rmtree(self.folder, ignore_errors=True)

    def changed_objects(self, text, name, builds, level=None):
        level = level or self.level
        tree = f"{self.folder}/{name}"
        if self.path.startswith("cpp/"):  # a header finds those beside itself first
            shutil.copytree("cpp", f"{tree}/cpp", dirs_exist_ok=True)
        write(f"{tree}/{self.path}", text)
        made = {}
        for build in builds:
            made[build] = f"{tree}/{build}{level}.o"
            flags = areas.flags_of(build) + (areas.CHECKS if level == self.level else [])
            errors = compile_file(build, made[build], flags, tree, level)
            if errors:
                return None, errors
        return made, None

    def switchable(self, mutants):
        """The mutants that compile behind switches, and the objects with them."""
        mutants = [m for m in mutants if self.source.unit_of(m) and self.path not in areas.AT_LOAD]
        for _ in range(12):
            text, lines = self.source.switched(mutants, self.numbers)
            objects, errors = self.changed_objects(text, "switched", self.builds)
            if objects:
                return mutants, objects
            name = re.escape(self.path)
            for kind in (" error", ""):  # a note may name the place that an error comes from
                places = re.findall(rf"{name}:(\d+):\d+:{kind}", errors)
                # An error may stand in the line after its mutant's.
                bad = {lines.get(int(p)) or lines.get(int(p) - 1) for p in places} - {None}
                if bad:
                    break
            if not bad:
                write(f"{OUT}/errors.txt", errors)
                print(f"{self.path}: not behind switches, see {OUT}/errors.txt", file=sys.stderr)
                break
            mutants = [m for m in mutants if self.numbers[m] not in bad]
        return [], {}

    def test_all(self, wanted, verdict):
        switched, objects = self.switchable(wanted)
        program = self.programs.link(f"{self.folder}/tests", objects)
        self.tests = measure(program, self.programs.area, self.options.quick)
        by_number = {self.numbers[m]: m for m in switched}
        # What none reaches may still run in a process that a test starts.
        plan = [(n, [t for t in self.tests if n in t[3]] or self.tests) for n in by_number]
        alone = [m for m in wanted if m not in switched]
        share = max(1, self.options.jobs)

        def part(k):
            for number, killer in run_plan(program, plan[k::share], self.budget):
                if killer != "-":
                    verdict(by_number[number], "killed", killer)
                else:
                    alone.append(by_number[number])

        def last(mutant):
            if not self.budget.spent():
                reached = any(self.numbers[mutant] in test[3] for test in self.tests)
                verdict(mutant, *self.alone(mutant, mutant in switched and reached and not self.path.startswith("cpp/")))

        with ThreadPoolExecutor(share) as pool:
            list(pool.map(part, range(share)))
            list(pool.map(last, list(alone)))
        shutil.rmtree(self.folder, ignore_errors=True)

    def alone(self, mutant, tested):
        """Compiled alone, build after build; what the quick tests have tested already meets only the slow ones. A switch
        can't change what the compiler evaluates, so they're asked again where they reached none, and where functions are
        constexpr."""
        name = f"m{self.numbers[mutant]}"
        folder = f"{self.folder}/{name}"
        text = self.source.apply(mutant)
        same = True
        try:
            for number, build in enumerate([b] for b in self.builds):
                objects, _ = self.changed_objects(text, name, build)
                if objects is None:
                    return "invalid", "doesn't compile"
                if all(self.same(o, b, self.level) for b, o in objects.items()):
                    continue
                if not tested:
                    program = self.programs.link(f"{folder}/quick/tests", objects)
                    killer = [test for _, test in run_plan(program, [(0, self.tests)], Budget(None))][0]
                    if killer != "-":
                        return "killed", killer
                optimised, _ = self.changed_objects(text, name, build, "-O2")
                if all(self.same(o, b, "-O2") for b, o in optimised.items()):
                    continue
                same = False
                killer = self.slow_killer(f"{folder}/slow{number}", objects) if self.options.slow else None
                if killer:
                    return "killed", killer
            return ("same", "the same code") if same else ("survived", "-")
        finally:
            shutil.rmtree(folder, ignore_errors=True)

    def slow_killer(self, folder, objects):
        """Without switches: the golden programs and the tests that aren't quick."""
        for name, arguments, variant in self.slow_runs():
            if self.ends_well(self.slow_program(folder, objects, name), arguments, variant) is False:
                original = self.slow_program(f"{self.folder}/unchanged", {}, name)
                if not self.ends_well(original, arguments, variant):
                    sys.exit(f"{original} {arguments} fails without a mutant, or takes too long")
                return arguments[0].split("=")[1] if arguments else name
        return None

    def slow_runs(self):
        """Program, arguments and kernel variant."""
        for golden in self.programs.golden:
            for variant in areas.golden_variants(self.path):
                yield os.path.basename(golden)[:-4], [], variant
        for test in read(slow_tests(self.programs.area, self.options.quick)).split():
            if test not in areas.TOO_SLOW:
                yield "tests", [f"--gtest_filter={test}"], None

    def slow_program(self, folder, objects, name):
        program = f"{folder}/{name}"
        if not os.path.exists(program):
            link = self.programs.link if name == "tests" else self.programs.link_golden
            link(program, objects)
        return program

    def ends_well(self, program, arguments, variant):
        """None where the clock ended it, which says nothing."""
        process = start([program, *arguments], variant)
        try:
            process.communicate(timeout=600)
        except subprocess.TimeoutExpired:
            end(process)
            return None
        return process.returncode == 0

    def same(self, target, build, level):
        """Whether the object is the original's, compiled in the same way."""
        original = f"{self.folder}/original/{build}{level}.o"
        with self.once:
            if not os.path.exists(original):
                self.changed_objects(self.source.text, "original", [build], level)
        with open(target, "rb") as one, open(original, "rb") as other:
            return one.read() == other.read()


class Results:
    def __init__(self, keep_killed):
        self.path = f"{OUT}/results.tsv"
        self.keep_killed = keep_killed
        self.known = {}
        if os.path.exists(self.path):
            for line in read(self.path).splitlines():
                key, tests, state, detail, _ = line.split("\t", 4)
                self.known[key] = (tests, state, detail)

    def find(self, key, tests):
        """The verdict on a mutant by these tests; None stands for whatever tests there were."""
        found = self.known.get(key)
        if found and (tests in (None, found[0]) or (self.keep_killed and found[1] != "survived")):
            return found[1:]
        return None

    def add(self, key, tests, state, detail, words):
        self.known[key] = (tests, state, detail)
        with open(self.path, "a") as file:
            file.write("\t".join([key, tests, state, detail, words]) + "\n")


class Mutants:
    """A file's mutants in the order in which they are tested, drawn with a fixed seed, and their verdicts."""

    def __init__(self, path, options, results):
        self.path = path
        self.results = results
        source = source_of(path)
        self.drawn = random.Random(path).sample(source.mutants, len(source.mutants))
        self.chosen = self.drawn[: options.sample]
        sources = areas.sources_of_tests(areas.area_of(path)) + [DRIVER]
        self.tests = digest(str(options.slow), str(options.quick), *[read(f) for f in sources])
        self.content = digest(path, source.text)
        self.valid_tests = None if options.report else self.tests
        self.counted_tests = None if options.keep_killed else self.valid_tests  # tests were only added

    def key(self, mutant):
        return digest(self.content, str(mutant.start), str(mutant.end), mutant.text)

    def state(self, mutant):
        """The verdict by the present tests."""
        found = self.results.find(self.key(mutant), self.valid_tests)
        return found[0] if found else None

    def counted(self, mutant):
        """The verdict that the table counts."""
        found = self.results.find(self.key(mutant), self.counted_tests)
        return found[0] if found else None

    def wanted(self):
        return [m for m in self.chosen if not self.state(m)]

    def tested(self):
        """The share that has a verdict."""
        return 1 - len(self.wanted()) / max(1, len(self.chosen))

    def test(self, wanted, options, budget):
        def verdict(mutant, state, detail):
            words = f"{self.path}:{mutant.line}:{mutant.column}: {mutant.name}"
            self.results.add(self.key(mutant), self.tests, state, detail, words)

        if wanted:
            File(self.path, options, budget).test_all(wanted, verdict)

    def whole(self):
        """The largest sample that is tested whole: survivors take longer, so what is tested of the next has too few."""
        steps = {20, 30, *range(SLICE, len(self.drawn), SLICE), len(self.drawn)}
        tested = next((i for i, m in enumerate(self.drawn) if not self.counted(m)), len(self.drawn))
        return self.drawn[: max((k for k in steps if k <= tested), default=0)]


def test_slices(files, options, budget):
    """The file of which least is tested comes first, until there is no time or nothing is left."""
    failed = set()
    while not budget.spent():
        left = [f for f in files if f.path not in failed and f.wanted()]
        if not left:
            return
        file = min(left, key=Mutants.tested)
        before = len(file.wanted())
        print(f"{time.strftime('%H:%M')} {file.path}: {before} of {len(file.chosen)} left", file=sys.stderr, flush=True)
        file.test(file.wanted()[:SLICE], options, budget)
        if len(file.wanted()) == before:
            failed.add(file.path)


class Total:
    """What a table's rows come to: counted, and by the files' lengths."""

    def __init__(self):
        self.count = {}
        self.valid = self.killed = 0.0

    def add(self, count, tested):
        """`tested` stands for all mutants of the file."""
        for state, number in count.items():
            self.count[state] = self.count.get(state, 0) + number
        if tested:
            share = (tested + count["untested"]) / tested
            self.killed += share * count.get("killed", 0)
            self.valid += share * (count.get("killed", 0) + count.get("survived", 0))

    def reaches(self, percent):
        valid = self.count.get("killed", 0) + self.count.get("survived", 0)
        return 100 * self.count.get("killed", 0) >= percent * valid

    def text(self):
        killed = self.count.get("killed", 0)
        valid = killed + self.count.get("survived", 0)
        if not valid:
            return "nothing tested"
        return (f"killed: {100.0 * killed / valid:.2f} % of {valid}, {100.0 * self.killed / self.valid:.2f} % by the files' "
                f"lengths, {self.count.get('untested', 0)} not tested")  # fmt: skip


def row(name, count):
    tested = [count.get(state, 0) for state in ("killed", "survived", "same", "invalid")]
    return (f"{name:44}  {tested[0] + tested[1]:8} {tested[0]:7}  {tested[1]:8}  {tested[2]:9}  {tested[3]:7}"
            f"  {count.get('untested', 0):8}")  # fmt: skip


def report(file, options):
    """Prints a file's row; gives its counts, how many mutants they rest on, and its survivors, as survivors.txt names them."""
    chosen = file.whole() if options.report or options.minutes else file.chosen
    states = {m: file.counted(m) for m in chosen}
    count = {state: list(states.values()).count(state) for state in set(states.values())}
    count["untested"] = len(file.drawn) - len(chosen) if options.report or options.minutes else 0
    if chosen:
        print(row(file.path, count), flush=True)
    return count, len(chosen), [(file.path, m.source, f"{m.column}: {m.name}") for m in chosen if states[m] == "survived"]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("files", nargs="*")
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--sample", type=int, help="at most so many mutants a file, drawn with a fixed seed")
    parser.add_argument("--minutes", type=float, help="stop after so long; the next run goes on with what isn't tested yet")
    parser.add_argument("--slow", action="store_true", help="survivors meet the slow tests and the golden programs")
    parser.add_argument("--quick", type=float, default=0.3, help="the processor time of a quick test, in seconds")
    parser.add_argument("--keep-killed", action="store_true")
    parser.add_argument("--report", action="store_true", help="only samples that are tested already, by whatever tests")
    parser.add_argument("--list", action="store_true", help="only list the mutants")
    options = parser.parse_args()
    os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../.."))
    os.makedirs(OUT, exist_ok=True)
    results = Results(options.keep_killed)
    explained = read_survivors("scripts/check/mutation/survivors.txt")
    files = [Mutants(path, options, results) for path in options.files or areas.files()]
    if options.list:
        for file in files:
            for m in sorted(file.chosen, key=lambda m: (m.start, m.end, m.text)):
                print(f"{file.path}:{m.line}:{m.column}: {m.name}")
        return
    budget = Budget(options.minutes)
    if options.minutes:
        test_slices(files, options, budget)
    print(f"{'':44}   mutants  killed  survived  same code  invalid  untested", flush=True)
    total, unexplained = Total(), []
    parts = {percent: Total() for percent in areas.WANTED.values()}
    for file in files:
        if not options.minutes and not options.report:
            file.test(file.wanted(), options, budget)
        count, tested, survivors = report(file, options)
        unexplained += [entry for entry in survivors if entry not in explained]
        for part in (total, parts[areas.wanted_of(file.path)]):
            part.add(count, tested)
    print(row("all", total.count))
    for path, source, name in unexplained:
        print(f"not explained: {path}\n  {source}\n    {name}")
    passed = all(part.reaches(percent) for percent, part in parts.items())
    print(total.text())
    sys.exit(1 if unexplained or not passed or not total.valid else 0)


if __name__ == "__main__":
    main()
