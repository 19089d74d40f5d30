"""What the tests of platen-batch share: small pages in a tree, runs of the program, and its processes."""

import contextlib
import json
import os
import pathlib
import shutil
import signal
import sqlite3
import subprocess
import sys
import time

import conftest
import numpy as np

PROGRAM = conftest.BUILD / "python" / "platen-batch"
FORCED = conftest.BUILD / "python" / "tests" / "platen_forced"
STARTED = []
SAMPLES = conftest.SOURCE.parent / "shared" / "data"


def base_pages(folder, count, side=90):
    """PPM pages with structure, each of its own."""
    for number in range(count):
        random = np.random.default_rng(number)
        y, x = np.mgrid[0:side, 0 : side + number % 7]
        page = np.stack([127 + 120 * np.sin(x / (3 + number % 5)), 2 * y, x + y], -1) + random.normal(0, 9, x.shape + (3,))
        page = np.clip(page, 0, 255).astype(np.uint8)
        header = b"P6\n%d %d\n255\n" % (page.shape[1], page.shape[0])
        (folder / f"p{number:04}.ppm").write_bytes(header + page.tobytes())


def tree(root, pages):
    """So many small pages in four folders, one for each format that the tool writes."""
    first = root / "a" / "ppm"
    first.mkdir(parents=True)
    base_pages(first, (pages + 3) // 4)
    sources = sorted(first.iterdir())
    made = len(sources)
    for folder, ending in (("a/png", "png"), ("b", "tif"), ("c/deep/er", "jpg")):
        wanted = sources[: max(0, min(len(sources), pages - made))]
        made += len(wanted)
        (root / folder).mkdir(parents=True)
        if wanted:
            command = [conftest.TOOL, "--jobs=2", *wanted, "-o", root / folder / f"%s.{ending}"]
            subprocess.run(command, check=True, stderr=subprocess.DEVNULL)
    assert made == pages


def small_tree(root, pages=8):
    root.mkdir(exist_ok=True)
    base_pages(root, pages, 40)
    return root


def sample_tree(root, pages):
    """The same of the real scans: parts of them, reduced; None where there are no scans."""
    if not SAMPLES.is_dir():
        return None
    scans = sorted(path for path in SAMPLES.iterdir() if path.suffix in (".jpg", ".tif", ".png"))
    small = root.parent / "small"
    small.mkdir(parents=True)
    for scan in scans:
        options = ["--width=120", "--page=1", "--shrink-only", "-o", small / ("%s" + scan.suffix)]
        subprocess.run([conftest.TOOL, scan, *options], check=True, stderr=subprocess.DEVNULL)
    ready = sorted(small.iterdir())
    for number in range(pages):
        page = ready[number % len(ready)]
        folder = root / f"box{number // 500}" / f"book{number // 50 % 10}"
        folder.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(page, folder / f"{number:05}{page.suffix}")
    return root


def start(*words, **more):
    process = subprocess.Popen(
        [sys.executable, str(PROGRAM), *(str(word) for word in words)],
        stderr=subprocess.PIPE,
        text=True,
        start_new_session=True,
        # A shell's background job, as the tests may be, ignores it, and so would what they start.
        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL),
        **more,
    )
    STARTED.append(process)
    return process


def end_all():
    """Nothing that a test started outlives it."""
    for process in STARTED:
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)
            process.communicate()
    STARTED.clear()


def batch(*words, code=0, **more):
    """Runs the program to its end; what it said."""
    run = start(*words, **more)
    _, said = run.communicate(timeout=900)
    assert run.returncode == code, f"code {run.returncode}, not {code}: {said}"
    return said


def rows(out, query="SELECT input, output, status, message, output_sha256 FROM pages ORDER BY input"):
    with contextlib.closing(sqlite3.connect(out / ".platen-batch" / "manifest.sqlite")) as db:
        return db.execute(query).fetchall()


def report(out):
    return json.loads((out / ".platen-batch" / "report.json").read_text())


def files(folder):
    """Every file below the folder but the batch's own, with its bytes."""
    found = {}
    for path in sorted(folder.rglob("*")):
        name = path.relative_to(folder)
        if path.is_file() and name.parts[0] != ".platen-batch":
            found[str(name)] = path.read_bytes()
    return found


def count(folder):
    """The files below the folder but the batch's own; it may be at work there."""
    found = 0
    for _, folders, names in os.walk(folder):
        folders[:] = [name for name in folders if name != ".platen-batch"]
        found += len(names)
    return found


def wait_for(condition, seconds=300):
    deadline = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < deadline, "it didn't come about"
        time.sleep(0.01)


def worker_pids(run):
    """The worker processes below a run with a cluster of its own."""
    found = []
    for entry in pathlib.Path("/proc").iterdir():
        if not entry.name.isdigit():
            continue
        try:
            parent = int((entry / "stat").read_text().rsplit(")", 1)[1].split()[1])
            words = (entry / "cmdline").read_bytes()
        except (OSError, IndexError, ValueError):
            continue
        if parent == run.pid and b"spawn_main" in words:
            found.append(int(entry.name))
    return found


def kill(pid):
    try:
        os.kill(pid, signal.SIGKILL)
        return True
    except ProcessLookupError:
        return False


def check_complete(out, expected):
    """Each page once in the manifest and done; the files are those of the other folder, and no half one is left."""
    recorded = rows(out)
    assert [row[2] for row in recorded] == ["done"] * len(expected), [row for row in recorded if row[2] != "done"][:5]
    assert sorted(row[0] for row in recorded) == sorted(expected)
    assert files(out) == expected
    assert not (out / ".platen-batch" / "unfinished").exists()
