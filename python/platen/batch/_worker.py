"""What a worker does with one page. It may run twice for the same page, and at the same time: both give the same bytes,
and a name appears only when its file is complete."""

from __future__ import annotations

import errno
import functools
import hashlib
import json
import os
import shutil
import socket
import subprocess
import tempfile
import time
import uuid
from typing import List, NamedTuple, Optional, Tuple

STATE = ".platen-batch"  # below OUT: manifest and unfinished files


class Job(NamedTuple):
    root: str  # IN
    out: str  # OUT
    input: str  # below IN
    output: str  # below OUT
    tool: str
    preset: str  # the settings as the text of a preset
    extra: Tuple[str, ...]  # options that a preset can't hold
    settings: str  # SHA-256 of preset and extra
    version: str  # of the tool
    known_input: Optional[str]  # SHA-256 of the last time, where settings and version were these
    known_output: Optional[str]


class Result(NamedTuple):
    status: str  # done, failed, or full: no room on the output's disk
    message: str = ""
    unchanged: bool = False  # only its time had changed; nothing was written
    size: int = 0
    mtime_ns: int = 0
    input_sha256: str = ""
    output_sha256: str = ""
    output_size: int = 0
    pixels: Optional[int] = None
    seconds: float = 0.0  # all of it
    tool_seconds: float = 0.0  # the tool alone
    worker: str = ""


class Failed(Exception):
    pass


def sha256_of(path: str) -> str:
    digest = hashlib.sha256()
    with open(path, "rb") as file:
        for block in iter(lambda: file.read(1 << 20), b""):
            digest.update(block)
    return digest.hexdigest()


def tool_version(tool: str) -> str:
    """What `platen --version` says."""
    run = subprocess.run([tool, "--version"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    if run.returncode != 0:
        raise Failed(f"{tool} --version ended with code {run.returncode}: {run.stdout.strip()}")
    return run.stdout.strip()


@functools.lru_cache(maxsize=8)
def _checked_tool(tool: str, version: str) -> str:
    """The tool's path on this worker, after a look at its version; once for a worker."""
    path = tool if os.path.exists(tool) else shutil.which("platen")
    if path is None:
        raise Failed(f"worker {socket.gethostname()} has neither {tool} nor platen in its PATH")
    present = tool_version(path)
    if present != version:
        raise Failed(f"worker {socket.gethostname()} has {present}, but this run uses {version}")
    return path


_folder: Optional[tempfile.TemporaryDirectory[str]] = None


@functools.lru_cache(maxsize=8)
def _preset_file(preset: str) -> str:
    global _folder
    if _folder is None:
        _folder = tempfile.TemporaryDirectory(prefix="platen-batch-")
    path = os.path.join(_folder.name, hashlib.sha256(preset.encode()).hexdigest()[:16] + ".toml")
    with open(path, "w", encoding="utf-8") as file:
        file.write(preset)
    return path


def _pixels(tool: str, path: str) -> Optional[int]:
    """For all the file's pages together."""
    run = subprocess.run([tool, "info", "--json", "--", path], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False)
    try:
        pages = json.loads(run.stdout)[0]["pages"]
        return sum(int(page["width"]) * int(page["height"]) for page in pages)
    except (ValueError, LookupError, TypeError):
        return None


def _message(text: str, job: Job, temporary: str) -> str:
    """The tool's last words, with the names that the user knows."""
    lines = [line for line in text.replace(temporary, job.output).splitlines() if line.strip()]
    last = lines[-1] if lines else "the tool said nothing"
    for lead in ("platen: ", os.path.join(job.root, job.input) + ": "):
        if last.startswith(lead):
            last = last[len(lead) :]
    return last.replace(os.path.join(job.root, job.input), job.input)


def _make(job: Job, source: str, folder: str) -> Tuple[str, float]:
    """Runs the tool into `folder`; the file's path, and the tool's seconds."""
    tool = _checked_tool(job.tool, job.version)
    temporary = os.path.join(folder, os.path.basename(job.output))
    # The default options are in the settings; a worker's own are not the run's.
    command: List[str] = [tool, "--no-defaults", "--preset=" + _preset_file(job.preset), *job.extra]
    begun = time.perf_counter()
    run = subprocess.run(
        [*command, "--no-progress", "-o", temporary, "--", source],
        stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL,
        stderr=subprocess.PIPE,
        check=False,
    )
    text = run.stderr.decode("utf-8", "replace")
    if run.returncode < 0:
        raise Failed(f"the tool was killed by signal {-run.returncode}")
    if os.strerror(errno.ENOSPC) in text or os.strerror(errno.EDQUOT) in text:
        raise OSError(errno.ENOSPC, os.strerror(errno.ENOSPC))
    if run.returncode != 0:
        raise Failed(_message(text, job, temporary))
    return temporary, time.perf_counter() - begun


def _work(job: Job) -> Result:
    source = os.path.join(job.root, job.input)
    target = os.path.join(job.out, job.output)
    try:
        before = os.stat(source)
        input_sha = sha256_of(source)
    except OSError as error:
        raise Failed(f"can't be read: {error.strerror}") from None
    if input_sha == job.known_input and job.known_output is not None and os.path.exists(target):
        if sha256_of(target) == job.known_output:
            size = os.stat(target).st_size
            return Result("done", "", True, before.st_size, before.st_mtime_ns, input_sha, job.known_output, size)
    os.makedirs(os.path.dirname(target), exist_ok=True)
    folder = os.path.join(job.out, STATE, "unfinished", uuid.uuid4().hex)
    os.makedirs(folder)
    try:
        temporary, seconds = _make(job, source, folder)
        output_sha = sha256_of(temporary)
        size = os.stat(temporary).st_size
        after = os.stat(source)
        if (after.st_size, after.st_mtime_ns) != (before.st_size, before.st_mtime_ns):
            raise Failed("the input changed while it was being read; run again")
        os.replace(temporary, target)
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    pixels = _pixels(_checked_tool(job.tool, job.version), source)
    return Result(
        "done", "", False, before.st_size, before.st_mtime_ns, input_sha, output_sha, size, pixels, 0.0, seconds
    )


def run_page(job: Job) -> Result:
    begun = time.perf_counter()
    try:
        result = _work(job)
    except Failed as error:
        result = Result("failed", str(error))
    except OSError as error:
        full = error.errno in (errno.ENOSPC, errno.EDQUOT)
        result = Result("full" if full else "failed", f"{job.output}: {error.strerror}")
    return result._replace(seconds=time.perf_counter() - begun, worker=f"{socket.gethostname()}/{os.getpid()}")


def verify_output(out: str, output: str, sha256: str) -> Optional[str]:
    """What is wrong with an output, or None."""
    try:
        present = sha256_of(os.path.join(out, output))
    except FileNotFoundError:
        return "is missing"
    except OSError as error:
        return f"can't be read: {error.strerror}"
    return None if present == sha256 else "has other bytes than those that were written"
