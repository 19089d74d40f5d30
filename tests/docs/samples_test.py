"""samples_test.py SOURCE BUILD WORK CXX [FILE...]: every code sample of README.md and the documents runs.

    ```c, ```cpp      compiled with all warnings as errors, run; a block ```text right after it is what it prints
    ```python         run with the built package
    ```sh             run, in a folder with pages to work on; so are indented lines that begin with a program of ours
    ```cmake          configured and built, against the installed tree
    ```toml           a preset, looked at by `platen presets check`

Indented lines that are not run must be of a kind that NOT_HERE lists, with the reason, or a data-flow diagram (-->):
anything else that begins like a command fails.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

SOURCE, BUILD, WORK = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
CXX = sys.argv[4]
DEFERRED = BUILD / "tests/deferred-cancel.so"  # for SANE's test device: tests/end_to_end/DeferredCancel.cpp

# Lines of indented blocks: how they begin, and why they don't run here.
NOT_HERE = {
    r"scripts/(packages|live-page|site|bootstrap|demo|nightly|test|check|bench|update)\b": "a script, which must be there",
    r"(bench|build)/": "measurements",
    r"apt install ": "root; scripts/check/packages installs them",
    r"cmake |ctest|cmake --preset": "the build of this tree",
    r"(PLATEN_HARDENING|FUZZ_MINUTES)": "the build of this tree",
    r"/usr/bin/python3 -m pip ": "python/test_install does it",
    r"dask-|platen-batch --scheduler": "a cluster",
    r"scanimage -d platen:(epson2|NAME)": "somebody's scanner",
    r"scanimage -L": "somebody's scanners",
    r"device |preset ": "lines of platen.conf",
    r"\[platen\] ": "what a program prints",
    r"LD_LIBRARY_PATH=|export |x86_64-w64|cl |lib |g\+\+|link |wine|C:|set |dumpbin|platen\.dll|libplaten|gendef|#": "another system's shell",
}
RUNS = ("platen ", "platen-batch ", "scanimage ")

failed = []
counts = {}


def count(kind):
    counts[kind] = counts.get(kind, 0) + 1


def run(words, where, name, **more):
    done = subprocess.run(words, cwd=where, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False, timeout=300, **more)
    if done.returncode != 0:
        failed.append(f"{name}: code {done.returncode}\n{done.stdout}")
    return done.stdout


def environment():
    path = [str(WORK / "bin"), os.environ["PATH"]]
    return dict(
        os.environ,
        PATH=os.pathsep.join(path),
        PYTHONPATH=str(BUILD / "python"),
        LD_LIBRARY_PATH=os.pathsep.join([str(BUILD / "sane"), str(BUILD), str(BUILD / "c")]),
        SANE_CONFIG_DIR=str(WORK / "sane.d"),
        PLATEN_TOOL=str(BUILD / "programs/platen"),
        XDG_CONFIG_HOME="/nonexistent",  # nobody's default options
        **({"LD_PRELOAD": str(DEFERRED)} if DEFERRED.exists() else {}),
    )


def prepare():
    shutil.rmtree(WORK, ignore_errors=True)
    for folder in ("bin", "sane.d", "pages/in", "pages/out", "pages/scans"):
        (WORK / folder).mkdir(parents=True)
    os.symlink(BUILD / "programs/platen", WORK / "bin/platen")
    os.symlink(BUILD / "python/platen-batch", WORK / "bin/platen-batch")
    (WORK / "sane.d/dll.conf").write_text("test\nplaten\n")
    (WORK / "page.ppm").write_bytes(b"P6\n120 160\n255\n" + bytes((i * 7 + i // 360 * 5) % 256 for i in range(120 * 160 * 3)))
    pages = WORK / "pages"
    tool = WORK / "bin/platen"
    for name in ("scan.tif", "scan.png", "in/a.tif", "in/b.tif", "scans/a.tif"):
        subprocess.run([tool, "--set-resolution=300", "../page.ppm", "-o", name], cwd=pages, check=True)


def blocks(text):
    """(kind, code, line): fenced ones by their language, and indented ones as "indented"."""
    lines = text.split("\n")
    i = 0
    while i < len(lines):
        fence = re.match(r"^(`{3,}|:{3,})(.*)$", lines[i])
        if fence:
            end = i + 1
            while lines[end].rstrip() != fence.group(1):
                end += 1
            if not fence.group(2).startswith("{"):
                yield fence.group(2).strip(), "\n".join(lines[i + 1:end]) + "\n", i + 2
            i = end + 1
        elif lines[i].startswith("    ") and (i == 0 or not lines[i - 1].strip()):
            end = i
            while end < len(lines) and (lines[end].startswith("    ") or not lines[end].strip()):
                end += 1
            yield "indented", "\n".join(line[4:] for line in lines[i:end]).rstrip() + "\n", i + 1
            i = end
        else:
            i += 1


def compiled(kind, code, name, where):
    source = where / f"sample.{kind}"
    source.write_text(code)
    warnings = ["-Wall", "-Wextra", "-Wpedantic", "-Werror", "-ffp-contract=off"]
    compiler = [CXX, "-std=c++20"] if kind == "cpp" else [os.environ.get("CC", "cc"), "-std=c11"]
    roots = [f"-I{SOURCE / folder}" for folder in ("", "cpp", "c")]
    libraries = [f"-L{BUILD}", f"-L{BUILD / 'c'}", "-lplaten-c", "-lplaten"]
    run([*compiler, *warnings, *roots, str(source), "-o", "sample", *libraries], where, name)
    if failed and failed[-1].startswith(name):
        return ""
    return run(["./sample"], where, name, env=environment())


def consumer(code, name, where):
    prefix = WORK / "prefix"
    if not prefix.exists():
        run(["cmake", "--install", str(BUILD), "--prefix", str(prefix)], where, name)
    (where / "CMakeLists.txt").write_text(code)
    (where / "driver.cpp").write_text("#include <platen.hpp>\nint main() { return platen::ToneWorld().tables().red[7] == 7 ? 0 : 1; }\n")
    run(["cmake", "-S", ".", "-B", "build", f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_CXX_COMPILER={CXX}"], where, name)
    run(["cmake", "--build", "build"], where, name)
    run(["build/driver"], where, name)


def shell(code, name):
    pages = WORK / "pages"
    run(["bash", "-euo", "pipefail", "-c", code], pages, name, env=environment())
    for made in list(pages.glob("*.p*")) + list(pages.glob("*.svg")) + list(pages.glob("out/*")) + list(pages.glob("*.toml")):
        if made.name != "scan.png":
            made.unlink()
    shutil.rmtree(pages / "pages", ignore_errors=True)


def indented(code, name):
    for line in code.split("\n"):
        line = line.strip()
        if not line:
            continue
        if line.startswith("scripts/"):
            if not (SOURCE / line.split()[0]).exists():
                failed.append(f"{name}: {line}: there is no such script")
            count("lines that name a script")
            continue
        reason = next((why for begins, why in NOT_HERE.items() if re.match(begins, line)), None)
        if reason:
            count(f"lines not run: {reason}")
        elif line.startswith(RUNS):
            shell(re.split(r" {3,}", line)[0], f"{name}: {line}")
            count("commands")
        elif "-->" in line or not re.match(r"^[a-z-]+ ", line):
            count("indented text")
        else:
            failed.append(f"{name}: `{line}` is neither run nor listed")


def main():
    prepare()
    names = sys.argv[5:] or ["README.md", "CONTRIBUTING.md", "bench/README.md", *sorted(str(path.relative_to(SOURCE)) for path in (SOURCE / "docs").rglob("*.md"))]
    for file in names:
        output, printed_by = None, ""
        for kind, code, line in blocks((SOURCE / file).read_text(encoding="utf-8")):
            name = f"{file}:{line}"
            where = WORK / "samples" / re.sub(r"\W", "_", name)
            where.mkdir(parents=True, exist_ok=True)
            if kind == "text" and output is not None:
                if output != code:
                    failed.append(f"{name}: {printed_by} prints\n{output}")
                count("outputs")
                output = None
                continue
            output = None
            if kind in ("c", "cpp"):
                output, printed_by = compiled(kind, code, name, where), name
            elif kind == "python":
                subprocess.run([WORK / "bin/platen", WORK / "page.ppm", "-o", where / "page.png"], check=True)
                (where / "sample.py").write_text(code)
                run(["/usr/bin/python3", "sample.py"], where, name, env=environment())
            elif kind == "sh":
                shell(code, name)
            elif kind == "cmake":
                consumer(code, name, where)
            elif kind == "toml":
                (where / "sample.toml").write_text(code)
                run([WORK / "bin/platen", "presets", "check", "sample.toml"], where, name)
            elif kind == "indented":
                indented(code, name)
                continue
            elif kind not in ("", "text"):
                failed.append(f"{name}: a block of `{kind}`, which this test doesn't know")
                continue
            count(kind or "plain text")
    for kind, number in sorted(counts.items()):
        print(f"{number:4} {kind}")
    for text in failed:
        print(text)
    print(f"{len(failed)} failed")
    sys.exit(1 if failed or counts.get("cpp", 0) + counts.get("sh", 0) == 0 and len(sys.argv) < 6 else 0)


main()
