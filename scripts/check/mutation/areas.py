"""What is mutated, and which tests check it."""

import functools
import glob
import json
import os
import re
import shlex

INCLUDES = ["-I.", "-Icpp", "-Ic", "-Itests", "-Ibuild/release/generated"]
COMMON = ["-std=c++20", "-ffp-contract=off", "-fno-builtin-malloc", "-fno-trapping-math", "-w"]
# What the sanitizer builds would find stops a mutant here too.
CHECKS = ["-D_GLIBCXX_ASSERTIONS", "-fsanitize=bounds,shift,signed-integer-overflow,float-cast-overflow",
          "-fsanitize-undefined-trap-on-error"]  # fmt: skip
# The list of kernel targets with their flags is the build's.
with open("cmake/PlatenKernels.cmake") as file:
    TARGETS = {name: flags.split() for name, flags in
               re.findall(r'^platen_kernel_target\((\w+)\s+"[^"]*"([^)]*)\)', file.read(), re.M)}  # fmt: skip
SUPPORT = [f"tests/support/{name}.cpp" for name in
           ("ForcedVariant", "AllocationLedger", "ForcedVariantForTests", "GuardedBuffer")]  # fmt: skip
AT_LOAD = {"Sources/Dispatch/Kernels.cpp"}  # runs before a switch can be set
OWN_TESTS = {"Sources/Support/Truncate.h": "Truncate", "Sources/PX_Zoom/Geometry.h": "PX_ZoomGeometry"}  # the library inlines
TOO_SLOW = {"SharpnessImage.StreamEqualsWholeImageAtWidths3To300AndHeights1To40", "ColorBalance.RandomSettingsEqualTheOracle",
            "PX_ZoomBilinearImage.LinesOf16MillionColumns"}

UNIT, KERNELS, TOOL, SANE, WHOLE = "tests/unit/", "tests/kernels/", "tests/unit/programs/", "tests/sane/", "tests/end_to_end/"

# Per area: the files, the tests' files, the golden programs. Kernels are checked by the tests that take every variant.
AREAS = {
    "outputs": ("programs/io/Output", [TOOL + "io/Output*_test.cpp", TOOL + "OutputName_test.cpp"], []),
    "scan": ("programs/", [TOOL + "DeviceLine_test.cpp", TOOL + "OptionValue_test.cpp", WHOLE + "Scan_test.cpp",
                           WHOLE + "BadSane_test.cpp", *(SANE + f"Scan{name}_test.cpp" for name in
                                                         ("Interrupts", "Options", "Pages"))], []),
    "backend": ("sane/", [SANE + f"Sane{name}_test.cpp" for name in
                ("Device", "Faults", "Handles", "Levels", "Options", "Reading", "Resolutions")], []),
    "interfaces": ("c/|cpp/", [UNIT + "c/*_test.cpp", UNIT + "cpp/*_test.cpp"], []),
    "tone": ("ToneWorld/|Sources/Support/", [UNIT + "ToneWorld/*_test.cpp", UNIT + "Support/*_test.cpp"],
             ["brightness_contrast", "level", "color_balance", "curves"]),
    "hsv": ("LineFilters/(kernels/)?Hsv", [UNIT + "LineFilters/Hsv*_test.cpp", KERNELS + "Hsv*_test.cpp"], ["hsv"]),
    "sharpness": ("LineFilters/(kernels/)?Sharp", [UNIT + "LineFilters/Sharp*_test.cpp", KERNELS + "Sharp*_test.cpp"],
                  ["sharpness"]),
    "dispatch": ("Sources/Dispatch/", [KERNELS + "*_test.cpp"], ["zoom", "hsv", "sharpness"]),
    "lines": (".*/(HorzPass|Quotient)", [KERNELS + "HorzPlan_test.cpp", KERNELS + "VertPass_test.cpp",
                                      UNIT + "PX_Zoom/*_test.cpp"], ["zoom"]),
    "bilevel": (".*/BilevelLine", [KERNELS + "BilevelLine_test.cpp"], ["zoom"]),
    "plans": (".*/Horz", [KERNELS + "HorzPlan_test.cpp", KERNELS + "HorzWhole_loop_test.cpp",
                          UNIT + "PX_Zoom/*_Plan_test.cpp", UNIT + "PX_Zoom/*_Records_test.cpp"], ["zoom"]),
    "vertical": (".*/VertPass", [KERNELS + "VertPass_test.cpp", KERNELS + "VertPass_loop_test.cpp"], ["zoom"]),
    "reciprocal": (".*/ReciprocalAbove", [KERNELS + "ReciprocalAbove_test.cpp", KERNELS + "VertPass_test.cpp"], ["zoom"]),
    "zoom": (".*", [UNIT + "PX_Zoom/*_test.cpp"], ["zoom"]),
}  # fmt: skip

# The areas of the tool. Their tests need its parts, and some of them a program or a backend with the mutants in it.
TOOLS = {"outputs": None, "scan": "programs/platen", "backend": "sane/libsane-platen.so.1"}
HELPERS = {
    "scan": [WHOLE + "SaneTest.cpp", WHOLE + "Spawn.cpp", SANE + "StandInTest.cpp"],
    "backend": [SANE + "StandInTest.cpp", WHOLE + "Spawn.cpp"],
}
WRAPPED = {"outputs": [f"-Wl,--wrap={name}" for name in
                       "write fsync close renameat2 rename fchmod ftruncate mkostemp readlink".split()]}  # fmt: skip
# The percentage that is to be killed.
WANTED = {area: 90 if area in TOOLS else 95 for area in AREAS}

# The order of a run. The AVX-512 kernels need another processor: scripts/check/avx512.
FILES = [
    "ToneWorld/*.cpp", "ToneWorld/*.h", "Sources/Support/*.h", "Sources/Dispatch/*.cpp", "Sources/PX_Zoom/PX_Zoom*.cpp",
    "Sources/PX_Zoom/HorzPlan.cpp", "Sources/PX_Zoom/*.h", "Sources/PX_Zoom/*_reference.cpp", "LineFilters/*.cpp",
    "LineFilters/*.h", "LineFilters/kernels/*.cpp", "LineFilters/kernels/*.inc", "Sources/PX_Zoom/kernels/*.cpp",
    "Sources/PX_Zoom/kernels/*.inc", "c/*.cpp", "cpp/platen-cpp/*.hpp",
    "programs/io/Output*.cpp", "programs/scan/*.cpp", "programs/commands/ScanCommand.cpp", "sane/*.cpp",
]  # fmt: skip


@functools.cache
def built():
    """The files that the release preset compiles: kernels of other processors aren't among them."""
    with open("build/release/compile_commands.json") as file:
        return {os.path.relpath(command["file"]) for command in json.load(file)}


def included(path):
    """Whether a source that is built includes it; some are for other processors."""
    return any(path in includes_of(source) for source in library())


def library():
    found = {f for folder in ("ToneWorld", "LineFilters", "Sources", "c")
             for f in glob.glob(f"{folder}/**/*.cpp", recursive=True)}  # fmt: skip
    return sorted(found & built())


def files():
    found = []
    for pattern in FILES:
        found += [f for f in sorted(glob.glob(pattern)) if f not in found and "avx512" not in f]
    return [f for f in found if (f in built() if f.endswith(".cpp") else not f.endswith(".inc") or included(f))]


def area_of(path):
    return next(area for area, (files, _, _) in AREAS.items() if re.match(files, path))


def is_tool(path):
    return bool(re.match("programs/|sane/", path))


def wanted_of(path):
    return WANTED[area_of(path)]


@functools.cache
def build_command(path):
    """The words with which the release preset compiles a file of the tool, without levels and names, and calls as they stand there."""
    with open("build/release/compile_commands.json") as file:
        command = next(c["command"] for c in json.load(file) if os.path.relpath(c["file"]) == path)
    words = shlex.split(command)
    return [w for w in words[1 : words.index("-o")] if not re.match(r"-O|-W|-D_FORTIFY", w)]


def flags_of(path):
    if is_tool(path):
        return [*build_command(path), "-w"]
    target = re.search(r"_([a-z0-9]+)\.cpp$", path)
    return COMMON + (TARGETS.get(target.group(1), []) if target else [])


def area_tests(area):
    return sorted(test for pattern in AREAS[area][1] for test in glob.glob(pattern))


def golden_variants(path):
    """The kernel variants that a file's mutants can show in."""
    found = re.search(r"_(reference|baseline|sse2|avx2)\.", path)
    if found:
        return [found.group(1)]
    return ["baseline", "sse2", "avx2"] if path.endswith(".inc") else ["avx2"]


def includes_of(path, cache={}):
    """Every file of the tree that a file includes, in the end."""
    if path not in cache:
        cache[path] = set()
        with open(path) as file:
            for name in re.findall(r'^#include "([^"]+)"', file.read(), re.M):
                places = [name, f"tests/{name}", f"cpp/{name}", os.path.normpath(f"{os.path.dirname(path)}/{name}")]
                for found in [place for place in places if os.path.exists(place)][:1]:
                    cache[path] |= {found} | includes_of(found)
    return cache[path]


def sources_of_tests(area):
    """All files that decide whether a mutant of the area is killed: tests, golden programs, what they include."""
    sources = area_tests(area) + HELPERS.get(area, []) + [f"tests/golden/golden_{name}.cpp" for name in AREAS[area][2]] + SUPPORT
    included = {f for source in sources for f in includes_of(source) if f.startswith("tests/")}
    return sorted({*sources, *included})


def builds_of(path, tests):
    """The sources whose objects a mutated file changes. Headers that tests include change those too."""
    if path.endswith(".cpp"):
        return [path]
    if path.startswith("cpp/"):  # whose code is in the tests that include it
        users = [f for f in ["c/Tone.cpp", *tests] if path in includes_of(f)]
        own = "CppTone" if path.endswith("/Tone.hpp") else "CppLines"
        return sorted(users, key=lambda f: own not in f)  # the one that kills most first
    folder = "ToneWorld/" if area_of(path) == "tone" else re.match(r"(?:Sources/)?\w+/", path).group()
    users = [f for f in library() if path in includes_of(f) and f.startswith(folder) and "avx512" not in f]
    users = sorted(users, key=lambda f: "avx2" not in f)
    if path.endswith(".inc") or path in OWN_TESTS:  # which a test of its own includes
        name = OWN_TESTS.get(path, os.path.basename(path).split(".")[0])
        users = [t for t in tests if t.endswith(f"/{name}_test.cpp")] + users
    return users
