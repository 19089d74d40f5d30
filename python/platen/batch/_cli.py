"""The program."""

from __future__ import annotations

import argparse
import errno
import hashlib
import os
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
from typing import Any, Iterator, List, Optional, Tuple

from . import _report
from ._manifest import Busy, Manifest, Plan
from ._progress import Progress, duration
from ._walk import FORMAT_ENDINGS, Found, output_of, walk
from ._worker import STATE, Failed, Job, Result, run_page, tool_version, verify_output

DONE, SOME_FAILED, USAGE, STOPPED, INTERRUPTED = 0, 1, 2, 3, 130

DESCRIPTION = """\
Adjusts a tree of pages with platen and writes the same tree to OUT. OUT/.platen-batch records what is done; a second run
does only what is missing or changed. Options that aren't listed here are passed to platen, as --name=value: see
platen --help.
"""

EPILOG = """\
exit codes: 0 done | 1 some pages or folders were not | 2 the command line is wrong | 3 stopped: the disk is full or the
cluster is gone; run again | 130 interrupted; run again

  platen-batch --preset=book-yellowed scans pages
  platen-batch --scale=50% --format=png --scheduler=tcp://head:8786 /nfs/scans /nfs/pages
  platen-batch --verify scans pages
"""


# The tool takes these, and a preset, which is how the settings reach the workers, can't hold them.
NOT_FOR_BATCHES = {
    "--same-for-all": "each page is a separate run; to use one page's results for all, save them with platen "
    "--save-preset=FILE, the automatic options, that page and -o, and give --preset=FILE here",
    "--output": "outputs go to OUT",
    "--jobs": "--workers=N sets how many pages are processed at a time",
    "--dry-run": "platen -n shows the plan of a page",
    "--stats": "platen --stats prints statistics",
    "--json": "the report is also written as JSON",
    "--plot": "platen curve --svg=FILE draws the curve",
    "--save-preset": "platen --save-preset=FILE stores options",
    "--first-page-number": "an output keeps its input's name",
    "--stop-on-error": "a batch always continues with the other pages",
}
SHORT_NAMES = {"-o": "--output", "-j": "--jobs", "-n": "--dry-run"}


class UsageError(Exception):
    pass


class Stopped(Exception):
    """The run can't go on; what is done is recorded."""


def say(text: str) -> None:
    print("platen-batch: " + text, file=sys.stderr, flush=True)


def _positive(text: str) -> int:
    number = int(text)
    if number < 1:
        raise ValueError
    return number


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="platen-batch",
        usage="platen-batch [option...] [platen's options...] IN OUT",
        description=DESCRIPTION,
        epilog=EPILOG,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        allow_abbrev=False,
    )
    where = parser.add_argument_group("where it runs")
    where.add_argument("--workers", type=_positive, metavar="N", help="processes on this machine (one per core)")
    where.add_argument("--scheduler", metavar="ADDRESS", help="run on this Dask cluster, whose workers see IN and OUT")
    where.add_argument("--in-flight", type=_positive, default=4, metavar="N", help="pages for each worker at a time (4)")
    where.add_argument("--patience", type=float, default=30, metavar="S", help="seconds to wait for a scheduler (30)")
    where.add_argument("--platen", metavar="FILE", help="the tool, if it isn't in PATH")
    what = parser.add_argument_group("what is done")
    what.add_argument("--retry-failed", action="store_true", help="retry pages that failed before")
    what.add_argument("--force", action="store_true", help="replace files in OUT that are not from this batch")
    what.add_argument("--verify", action="store_true", help="only compare OUT with the manifest")
    what.add_argument("--manifest", metavar="FILE", help="the record of finished pages (OUT/.platen-batch/manifest.sqlite)")
    what.add_argument("--page", help=argparse.SUPPRESS)
    for name in ("--strict-stream",):
        what.add_argument(name, action="store_true", help=argparse.SUPPRESS)
    for name in ("--max-side", "--max-pixels", "--threads"):
        what.add_argument(name, help=argparse.SUPPRESS)
    parser.add_argument("--progress", action=argparse.BooleanOptionalAction, help="show progress (default on a terminal)")
    return parser


class Settings:
    """What the command line says to the tool."""

    def __init__(self, tool: str, options: List[str], arguments: argparse.Namespace) -> None:
        self.tool = tool
        try:
            self.version = tool_version(tool)
        except (OSError, Failed) as error:
            raise UsageError(f"{tool}: can't be run: {error}; name the tool with --platen=FILE") from None
        self.preset = self._preset(options)
        extra = []
        for name in ("page", "max_side", "max_pixels", "threads"):
            value = getattr(arguments, name)
            if value is not None:
                extra.append(f"--{name.replace('_', '-')}={value}")
        if arguments.threads is None:
            extra.append("--threads=1")  # there is a worker a core
        if arguments.strict_stream:
            extra.append("--strict-stream")
        self.extra = tuple(extra)
        self.hash = hashlib.sha256("\0".join([self.preset, *extra]).encode()).hexdigest()
        self.ending: Optional[str] = None
        for line in self.preset.splitlines():
            if line.startswith("format = "):
                name = line.split('"')[1]
                self.ending = FORMAT_ENDINGS.get(name, "." + name)

    def _preset(self, options: List[str]) -> str:
        """The options, presets included, as the tool itself writes them down; it refuses what is wrong."""
        with tempfile.TemporaryDirectory(prefix="platen-batch-") as folder:
            path = os.path.join(folder, "settings.toml")
            run = subprocess.run(
                [self.tool, *options, "--save-preset=" + path],
                stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT,
                text=True,
                check=False,
            )
            if run.returncode != 0 or not os.path.exists(path):
                text = run.stdout.strip() or f"{' '.join(options)}: not an option for this"
                raise UsageError(text[8:] if text.startswith("platen: ") else text)
            with open(path, encoding="utf-8") as file:
                return file.read()


def _refuse_useless(options: List[str]) -> None:
    for word in options:
        name = SHORT_NAMES.get(word[:2], word.split("=", 1)[0])
        if name in NOT_FOR_BATCHES:
            raise UsageError(f"{name}: not available in a batch; {NOT_FOR_BATCHES[name]}")


def _find_tool(given: Optional[str]) -> str:
    if given is not None:
        return os.path.abspath(given)
    beside = os.environ.get("PLATEN_TOOL") or shutil.which("platen")
    if beside is None:
        raise UsageError("there is no platen in PATH; name the tool with --platen=FILE")
    return os.path.abspath(beside)


class Batch:
    def __init__(self, arguments: argparse.Namespace, options: List[str], folders: List[str]) -> None:
        self.arguments = arguments
        self.source, self.out = (os.path.abspath(folder) for folder in folders)
        if not os.path.isdir(self.source):
            raise UsageError(f"{folders[0]}: is not a folder")
        if os.path.realpath(self.source) == os.path.realpath(self.out):
            raise UsageError("IN and OUT are the same folder")
        if arguments.verify and not os.path.isdir(self.out):
            raise UsageError(f"{folders[1]}: is not a folder")
        _refuse_useless(options)
        self.settings = Settings(_find_tool(arguments.platen), options, arguments)
        self.state = os.path.join(self.out, STATE)
        os.makedirs(self.state, exist_ok=True)
        self.manifest = Manifest(arguments.manifest or os.path.join(self.state, "manifest.sqlite"))
        self.results = {"done": 0, "unchanged": 0, "failed": 0}
        self.pixels = 0
        self.tool_seconds = 0.0
        self.worker_seconds = 0.0
        self.ended = ""

    def _found(self) -> Iterator[Tuple[Found, str]]:
        for found in walk(self.source, (os.path.realpath(self.out),)):
            yield found, output_of(found.path, self.settings.ending)

    def _jobs(self, run: int) -> Iterator[Job]:
        s = self.settings
        for name, output, known_input, known_output, made_by in self.manifest.to_do(run):
            known = (known_input, known_output) if made_by == s.hash + s.version else (None, None)
            yield Job(self.source, self.out, name, output, s.tool, s.preset, s.extra, s.hash, s.version, *known)

    def _cluster(self, pages: int) -> Any:
        from ._run import Cluster  # Dask takes a second to load: after the command line has been found right

        workers = min(self.arguments.workers or os.cpu_count() or 1, pages)
        cluster = Cluster(self.arguments.scheduler, workers, self.arguments.patience)
        link = cluster.dashboard()
        if link is not None:
            say(f"dashboard at {link}")
        return cluster

    def run(self) -> int:
        started = time.time()
        s = self.settings
        run = self.manifest.begin_run(s.preset, s.version)
        plan = self.manifest.plan(
            run, self._found(), self.out, s.hash, s.version, self.arguments.retry_failed, self.arguments.force
        )
        self._say_plan(plan)
        code, threads, seconds = DONE, 0, 0.0
        if plan.to_do:
            code, threads, seconds = self._run_pages(run, plan)
        shutil.rmtree(os.path.join(self.state, "unfinished"), ignore_errors=True)
        self.manifest.end_run(run)
        report = self._write_report(run, plan, started, seconds, threads)
        not_done = report["pages"]["not_done"]
        if code == DONE and not_done:
            code = SOME_FAILED
        self._say_end(report)
        return code

    def _say_plan(self, plan: Plan) -> None:
        parts = [f"{plan.to_do} pages to do"]
        if plan.unchanged:
            parts.append(f"{plan.unchanged} done before and unchanged")
        if plan.failed_before:
            parts.append(f"{plan.failed_before} failed before (--retry-failed tries them again)")
        if plan.refused:
            parts.append(f"{plan.refused} refused")
        if plan.unreadable:
            parts.append(f"{plan.unreadable} unreadable")
        if plan.not_pages:
            parts.append(f"{plan.not_pages} files are not pages")
        say(", ".join(parts))

    def _run_pages(self, run: int, plan: Plan) -> Tuple[int, int, float]:
        from ._run import ClusterLost, Flow

        threads, begun, code = 0, time.monotonic(), DONE
        cluster, progress = None, None
        try:
            cluster = self._cluster(plan.to_do)
            threads = cluster.threads()
            begun = time.monotonic()
            progress = Progress(plan.to_do, self.arguments.progress)
            flow = Flow(cluster, run_page, self.arguments.in_flight, "page")
            for outcome in flow.run(self._jobs(run)):
                result = outcome.result or Result("failed", outcome.error or "")
                if result.status == "full":
                    flow.stopping = True
                    if not self.ended:
                        self.ended = f"stopped: {result.message}; make room and run again"
                    code = STOPPED
                    continue
                self._record(outcome.job, result, progress)
        except ClusterLost as error:
            self.ended, code = f"stopped: {error}; run again when one is available", STOPPED
        except KeyboardInterrupt:
            self.ended, code = "interrupted; run again to go on", INTERRUPTED
        except sqlite3.OperationalError as error:
            self.ended, code = f"stopped: {self.manifest.path}: {error}; make room and run again", STOPPED
        finally:
            seconds = time.monotonic() - begun
            if progress is not None:
                progress.update(last=True)
            if cluster is not None:
                cluster.close()
        return code, threads, seconds

    def _record(self, job: Job, result: Result, progress: Progress) -> None:
        self.manifest.record(job, result)
        if result.status == "done":
            self.results["unchanged" if result.unchanged else "done"] += 1
            self.pixels += result.pixels or 0
            self.tool_seconds += result.tool_seconds
            self.worker_seconds += result.seconds
            progress.done += 1
        else:
            self.results["failed"] += 1
            progress.failed += 1
        progress.pixels = self.pixels
        progress.update()

    def _write_report(self, run: int, plan: Plan, started: float, seconds: float, threads: int) -> Any:
        failures = [
            {"input": name, "status": status, "message": message}
            for name, status, message in self.manifest.failures(run)
        ]
        sample = self.manifest.sample(run, 10)
        done = self.results["done"]
        totals = self.manifest.totals(run)
        report = {
            "in": self.source,
            "out": self.out,
            "started": time.strftime("%Y-%m-%d %H:%M:%S UTC", time.gmtime(started)),
            "ended": self.ended,
            "version": self.settings.version,
            "settings": self.settings.preset,
            "workers": threads,
            "seconds": round(seconds, 3),
            "time": duration(seconds),
            "pages": {
                "done_now": done,
                "unchanged": plan.unchanged + self.results["unchanged"],
                "not_done": len(failures) + totals.get("planned", 0),
                "left": totals.get("planned", 0),
                "inputs_gone": self.manifest.vanished(run),
            },
            "megapixels": round(self.pixels / 1e6, 3),
            "pages_per_second": round(done / seconds, 2) if seconds else 0.0,
            "megapixels_per_second": round(self.pixels / 1e6 / seconds, 2) if seconds else 0.0,
            "tool_ms_per_page": round(1000 * self.tool_seconds / done, 2) if done else None,
            "worker_ms_per_page": round(1000 * self.worker_seconds / done, 2) if done else None,
            "wall_ms_per_page_and_worker": round(1000 * seconds * threads / done, 2) if done else None,
            "failures": failures,
            "slowest": self.manifest.slowest(run, started, 10),
            "sample": [{"input": name, "output": output} for name, output in sample],
        }
        try:
            sheet = _report.contact_sheet(self.settings.tool, self.source, self.out, sample)
            self.report_page = _report.write(report, sheet, self.state)
        except OSError as error:
            self.report_page = ""
            say(f"the report can't be written: {error.strerror}")
        return report

    def _say_end(self, report: Any) -> None:
        pages = report["pages"]
        if self.ended:
            say(self.ended)
        for failure in report["failures"][:10]:
            say(f"{failure['input']}: {failure['message']}")
        if len(report["failures"]) > 10:
            say(f"and {len(report['failures']) - 10} more: see the report")
        text = f"{pages['done_now']} pages done in {report['time']}, {report['pages_per_second']:.1f} pages/s"
        text += f", {report['megapixels_per_second']:.1f} MP/s; {pages['not_done']} not done"
        say(text)
        if self.report_page:
            say(f"report: {self.report_page}")

    def verify(self) -> int:
        from ._run import ClusterLost, Flow

        checked, wrong = 0, 0
        cluster = None
        pages = self.manifest.done()
        if pages == 0:
            say(f"{self.manifest.path}: no page has been done")
            return DONE
        try:
            cluster = self._cluster(pages)
            flow = Flow(cluster, _verify, self.arguments.in_flight, "verify")
            jobs = ((self.out, output, sha) for _, output, sha in self.manifest.outputs())
            for outcome in flow.run(jobs):
                checked += 1
                fault = outcome.error if outcome.error is not None else outcome.result
                if fault is not None:
                    wrong += 1
                    say(f"{outcome.job[1]}: {fault}")
        except ClusterLost as error:
            say(f"stopped: {error}")
            return STOPPED
        except KeyboardInterrupt:
            say("interrupted")
            return INTERRUPTED
        finally:
            if cluster is not None:
                cluster.close()
        say(f"{checked} outputs compared with the manifest, {wrong} differ")
        return SOME_FAILED if wrong else DONE


def _verify(out: str, output: str, sha256: str) -> Optional[str]:
    return verify_output(out, output, sha256)


def _interrupt(number: int, frame: Any) -> None:
    raise KeyboardInterrupt


def main(words: Optional[List[str]] = None) -> int:
    arguments, rest = _parser().parse_known_args(words)
    end = rest.index("--") if "--" in rest else len(rest)
    options = [word for word in rest[:end] if word.startswith("-")]
    folders = [word for word in rest[:end] if not word.startswith("-")] + rest[end + 1 :]
    signal.signal(signal.SIGTERM, _interrupt)
    try:
        if len(folders) != 2:
            raise UsageError(
                f"expected IN and OUT, got {len(folders)} names; write an option's value as --name=value"
            )
        batch = Batch(arguments, options, folders)
        try:
            return batch.verify() if arguments.verify else batch.run()
        finally:
            batch.manifest.close()
    except (UsageError, Busy) as error:
        say(str(error))
        return USAGE
    except ImportError as error:
        say(f"{error}; platen-batch needs Dask distributed (Debian: python3-distributed)")
        return USAGE
    except sqlite3.Error as error:
        say(f"the manifest: {error}")
        return STOPPED
    except OSError as error:
        say(f"{error.filename or ''}: {error.strerror}" + ("; make room and run again" if error.errno == errno.ENOSPC else ""))
        return STOPPED
    except KeyboardInterrupt:
        say("interrupted; run again to go on")
        return INTERRUPTED
