#!/usr/bin/env python3
"""scripts/check/mutation/run.py [file...]: a mutation run over the library. docs/trust.md tells its result.

Every mutant is one small change to one file: another operator, constant or boundary, a negated condition, a dropped
statement or result. It's killed when a test of its area fails, crashes or takes far longer than it should. Most
mutants of a file are compiled together, each behind a switch; the others alone. The tests that take at most 0.3 s
(--quick) judge, those that reach the mutant and the quickest first; with --slow the survivors meet the others and the golden
programs too. What survives is compiled alone in any case: if the compiler makes the same code of it as of the original,
there is nothing that a test could see, and it's left out of the score, as is what doesn't compile.

The others that survive have to be explained in survivors.txt. The exit status is 1 where one isn't, or where fewer
than 95 in 100 are killed. Verdicts are kept in build/mutation/results.tsv and hold as long as the file and the tests
do; --keep-killed lets the killed stay killed where tests were only added. Needs the release preset, configured.
"""

import argparse
import glob
import hashlib
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor

sys.path.insert(0, os.path.dirname(__file__))
import areas  # noqa: E402
from mutants import Source  # noqa: E402
from survivors import read_survivors  # noqa: E402

BASE = "build/release"
DRIVER = "scripts/check/mutation/driver.cpp"
OUT = "build/mutation"
LINKER = ["-fuse-ld=lld"] if shutil.which("ld.lld") else []
LEDGER = [f"-Wl,--wrap={name}" for name in "malloc free _Znwm _ZdlPv _ZdlPvm _ZnwmRKSt9nothrow_t".split()]
SWITCH = """#include <cstdlib>
extern int platen_mutant;
extern unsigned char* platen_reached;
int platen_mutant;
unsigned char* platen_reached;
[[gnu::constructor(101)]] static void Set() {
    const char* number = std::getenv("PLATEN_MUTANT");
    platen_mutant = number != nullptr ? std::atoi(number) : 0;
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


def system_headers(level, flags):
    """A header with those of the system that the library uses, compiled with the same flags."""
    header = f"{OUT}/system/{digest(level, *flags)}/all.h"
    if not os.path.exists(header):
        names = " ".join(read(f) for f in areas.library() + glob.glob("*/*.inc") + glob.glob("Sources/*/*.inc"))
        vector = any(flag.startswith("-mavx") for flag in flags)
        used = set(re.findall(r"^#include (<[a-z_]+(?:\.h)?>)", names, re.M))
        used = {name for name in used if "neon" not in name and "wasm" not in name}  # of other processors
        used = sorted(name for name in used if vector or "mmintrin" not in name)
        write(header, "".join(f"#include {name}\n" for name in used))
        subprocess.run(["g++", level, *flags, "-x", "c++-header", header, "-o", header + ".gch"], check=True)
    return header


def compile_file(source, target, flags, tree=None, level="-O1"):
    """Compiles a file, or its changed copy below `tree`; gives the compiler's messages where that fails."""
    os.makedirs(os.path.dirname(target), exist_ok=True)
    if tree and os.path.exists(f"{tree}/{source}"):
        source = f"{tree}/{source}"
    include = ([f"-I{tree}", f"-I{tree}/cpp"] if tree else []) + areas.INCLUDES
    command = ["g++", level, *flags, "-include", system_headers(level, flags), *include, "-c", source, "-o", target]
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
    if variant:
        environment["PLATEN_TEST_KERNELS"] = variant
    return subprocess.Popen([*(["nice", "-n", "19"] if low else []), *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            env=environment, text=True, errors="replace", start_new_session=True)  # fmt: skip


class Programs:
    """The test programs of an area, linked with some objects of the library in place of others."""

    def __init__(self, path):
        self.area = areas.area_of(path)
        self.tests = areas.area_tests(self.area)
        self.golden = [f"tests/golden/golden_{g}.cpp" for g in areas.AREAS[self.area][2]]
        self.objects = base_objects(areas.library() + self.tests + self.golden + areas.SUPPORT)
        self.switch = self.support(write(f"{OUT}/switch.cpp", SWITCH))
        self.driver = self.support(DRIVER)

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
        parts = [*self.library(changed), self.driver, *tests, *LEDGER, "-lgtest", "-pthread"]
        subprocess.run(["g++", *LINKER, *parts, "-o", program], check=True)
        return program

    def link_golden(self, program, changed):
        os.makedirs(os.path.dirname(program), exist_ok=True)
        golden = next(g for g in self.golden if os.path.basename(g)[:-4] == os.path.basename(program))
        parts = [*self.library(changed), self.switch, self.objects[golden], self.objects[areas.SUPPORT[0]]]
        subprocess.run(["g++", *LINKER, *parts, "-o", program], check=True)


def slow_tests(area, quick):
    return f"{OUT}/slow_{area}_{quick}.txt"


def measure(program, area, quick):
    """The quick tests, the quickest first: name, microseconds, mutants that they reach. The slow ones are kept."""
    slow = slow_tests(area, quick)
    with open(slow, "a+"):
        process = start([program, "measure", slow, str(int(quick * 1000000))], low=False)
    output, errors = process.communicate()
    if process.returncode:
        sys.exit(f"{program}: {errors}")
    found = []
    for line in output.splitlines():
        name, time, *reached = line.split()
        if time == "-1":
            with open(slow, "a") as file:
                file.write(name + "\n")
        else:
            found.append((name, int(time), {int(n) for n in reached}))
    return sorted(found, key=lambda test: test[1])


def judge(program, plan):
    """Yields mutant and the test that kills it, or "-"."""
    with tempfile.NamedTemporaryFile("w", suffix=".plan") as file:
        for number, tests in plan:
            file.write(" ".join([str(number)] + [f"{name} {time}" for name, time, _ in tests]) + "\n")
        file.flush()
        process = start([program, "judge", file.name])
        left = [number for number, _ in plan]
        for line in process.stdout:
            number, test = line.split()
            left.remove(int(number))
            yield int(number), test
        process.wait()
        if left == [0]:  # compiled alone, a mutant can strike before the program begins
            yield 0, "at load"
        elif left:
            sys.exit(f"{program}: the driver failed\n{process.stderr.read()}")


class File:
    """One file's run."""

    def __init__(self, path, options):
        self.path = path
        self.options = options
        self.source = Source(read(path))
        self.numbers = {m: i + 1 for i, m in enumerate(self.source.mutants)}
        self.programs = Programs(path)
        self.builds = areas.builds_of(path, self.programs.tests)
        self.folder = f"{OUT}/{path}.d"
        shutil.rmtree(self.folder, ignore_errors=True)

    def changed_objects(self, text, name, builds, level="-O1"):
        tree = f"{self.folder}/{name}"
        if self.path.startswith("cpp/"):  # a header finds those beside itself first
            shutil.copytree("cpp", f"{tree}/cpp", dirs_exist_ok=True)
        write(f"{tree}/{self.path}", text)
        made = {}
        for build in builds:
            made[build] = f"{tree}/{build}{level}.o"
            flags = areas.flags_of(build) + (areas.CHECKS if level == "-O1" else [])
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
            places = re.findall(rf"{name}:(\d+):\d+: error", errors) or re.findall(rf"{name}:(\d+):\d+:", errors)
            # An error may stand in the line after its mutant's.
            bad = {lines.get(int(p)) or lines.get(int(p) - 1) for p in places} - {None}
            if not bad:
                write(f"{OUT}/errors.txt", errors)
                print(f"{self.path}: not behind switches, see {OUT}/errors.txt", file=sys.stderr)
                break
            mutants = [m for m in mutants if self.numbers[m] not in bad]
        return [], {}

    def judge_all(self, wanted, verdict):
        switched, objects = self.switchable(wanted)
        program = self.programs.link(f"{self.folder}/tests", objects)
        self.tests = measure(program, self.programs.area, self.options.quick)
        by_number = {self.numbers[m]: m for m in switched}
        # What none reaches may still run in a process that a test starts.
        plan = [(n, [t for t in self.tests if n in t[2]] or self.tests) for n in by_number]
        alone = [m for m in wanted if m not in switched]
        share = max(1, self.options.jobs)

        def part(k):
            for number, killer in judge(program, plan[k::share]):
                if killer != "-":
                    verdict(by_number[number], "killed", killer)
                else:
                    alone.append(by_number[number])

        with ThreadPoolExecutor(share) as pool:
            list(pool.map(part, range(share)))
            list(pool.map(lambda m: verdict(m, *self.alone(m, m in switched)), list(alone)))
        shutil.rmtree(self.folder, ignore_errors=True)

    def alone(self, mutant, judged):
        """Compiled alone, build after build; what the quick tests have judged already meets only the slow ones."""
        name = f"m{self.numbers[mutant]}"
        folder = f"{self.folder}/{name}"
        text = self.source.apply(mutant)
        same = True
        try:
            for number, build in enumerate([b] for b in self.builds):
                objects, _ = self.changed_objects(text, name, build)
                if objects is None:
                    return "invalid", "doesn't compile"
                if all(self.same(o, b, "-O1") for b, o in objects.items()):
                    continue
                if not judged:
                    program = self.programs.link(f"{folder}/quick/tests", objects)
                    killer = [test for _, test in judge(program, [(0, self.tests)])][0]
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
            os.killpg(process.pid, 9)
            process.communicate()
            return None
        return process.returncode == 0

    def same(self, target, build, level):
        """Whether the object is the original's, compiled in the same way."""
        original = f"{self.folder}/original/{build}{level}.o"
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


def judge_file(path, options, results):
    """The number of mutants in each state, and those that survived, as survivors.txt names them."""
    source = Source(read(path))
    chosen = source.mutants
    drawn = random.Random(path).sample(chosen, len(chosen))  # a larger sample holds a smaller one
    if options.sample and len(chosen) > options.sample:
        chosen = drawn[: options.sample]
    if options.list:
        for m in chosen:
            print(f"{path}:{m.line}:{m.column}: {m.name}")
        return {}, []
    judges = areas.judges_of(areas.area_of(path)) + [DRIVER]
    tests = digest(str(options.slow), str(options.quick), *[read(f) for f in judges])
    content = digest(path, source.text)
    keys = {m: digest(content, str(m.start), str(m.end), m.text) for m in drawn}
    if options.report:  # the largest sample that is judged whole: survivors take longer, so a part has too few of them
        tests = None
        whole = [k for k in (20, 30, 60, len(drawn)) if all(results.find(keys[m], None) for m in drawn[:k])]
        chosen = drawn[: max(whole, default=0)]
    wanted = [m for m in chosen if not results.find(keys[m], tests)]

    def verdict(mutant, state, detail):
        results.add(keys[mutant], tests, state, detail, f"{path}:{mutant.line}:{mutant.column}: {mutant.name}")

    if wanted:
        File(path, options).judge_all(wanted, verdict)
    states = {m: results.find(keys[m], tests)[0] for m in chosen}
    count = {state: list(states.values()).count(state) for state in set(states.values())}
    return count, [(path, m.source, f"{m.column}: {m.name}") for m in chosen if states[m] == "survived"]


def row(name, count):
    numbers = [count.get(state, 0) for state in ("killed", "survived", "same", "invalid")]
    return f"{name:44}  {numbers[0] + numbers[1]:8} {numbers[0]:7}  {numbers[1]:8}  {numbers[2]:9}  {numbers[3]:7}"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("files", nargs="*")
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--sample", type=int, help="at most so many mutants a file, drawn with a fixed seed")
    parser.add_argument("--slow", action="store_true", help="survivors meet the slow tests and the golden programs")
    parser.add_argument("--quick", type=float, default=0.3, help="the processor time of a quick test, in seconds")
    parser.add_argument("--keep-killed", action="store_true")
    parser.add_argument("--report", action="store_true", help="only samples that are judged already, by whatever tests")
    parser.add_argument("--list", action="store_true", help="only list the mutants")
    options = parser.parse_args()
    os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../.."))
    os.makedirs(OUT, exist_ok=True)
    results = Results(options.keep_killed)
    explained = read_survivors("scripts/check/mutation/survivors.txt")
    total, unexplained = {}, []
    print(f"{'':44}   mutants  killed  survived  same code  invalid", flush=True)
    for path in options.files or areas.files():
        count, survivors = judge_file(path, options, results)
        unexplained += [entry for entry in survivors if entry not in explained]
        if count:
            print(row(path, count), flush=True)
        for state, number in count.items():
            total[state] = total.get(state, 0) + number
    killed = total.get("killed", 0)
    valid = killed + total.get("survived", 0)
    print(row("all", total))
    if valid:
        print(f"killed: {100.0 * killed / valid:.2f} % of {valid}")
    for path, source, name in unexplained:
        print(f"not explained: {path}\n  {source}\n    {name}")
    sys.exit(1 if unexplained or valid == 0 or killed < 0.95 * valid else 0)


if __name__ == "__main__":
    main()
