"""platen-batch: 2,000 pages while workers are killed, and a scheduler that ends. Part of scripts/nightly.

PLATEN_BATCH_PAGES sets another number of pages. What the runs say goes to standard output (pytest -s)."""

import json
import os
import random
import socket
import subprocess
import sys
import time

import batches
import pytest

pytest.importorskip("distributed")

PAGES = int(os.environ.get("PLATEN_BATCH_PAGES", "2000"))
OPTIONS = ("--mode=gray", "--scale=0.6", "--sharpness=1")


@pytest.fixture(scope="module")
def pages(tmp_path_factory):
    """Small pages made from the real scans, or drawn ones where there are none; and what one process makes of them."""
    folder = tmp_path_factory.mktemp("pages")
    source, alone = folder / "in", folder / "alone"
    if batches.sample_tree(source, PAGES) is None:
        batches.tree(source, PAGES)
    print(batches.batch(*OPTIONS, "--workers=1", source, alone), end="")
    expected = batches.files(alone)
    assert len(expected) == PAGES
    return source, expected


def test_workers_are_killed_every_few_seconds(pages, tmp_path):
    source, expected = pages
    out = tmp_path / "out"
    run = batches.start(*OPTIONS, "--workers=2", source, out)
    batches.wait_for(lambda: batches.count(out) > 0)
    kills, done = 0, 0
    while run.poll() is None:
        time.sleep(4.0)
        now = batches.count(out)
        alive = batches.worker_pids(run)
        # On a busy machine a worker may take longer to start than this: then the run has to go on first.
        if alive and now > done and run.poll() is None:
            kills += batches.kill(random.choice(alive))
            done = now
    _, said = run.communicate()
    print(f"{kills} workers killed\n{said}", end="")
    assert run.returncode == 0, said
    assert kills > 0
    batches.check_complete(out, expected)
    assert batches.report(out)["pages"]["done_now"] == PAGES


class DaskProcesses:
    """A scheduler and a worker process, started as Dask's own programs."""

    def __init__(self, folder):
        self.folder = folder
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            self.port = free.getsockname()[1]
        self.address = f"tcp://127.0.0.1:{self.port}"
        self.processes = []

    def start(self):
        words = [sys.executable, "-m", "distributed.cli.dask_scheduler", "--host", "127.0.0.1", "--port", str(self.port)]
        scheduler = self._start(words + ["--no-dashboard"])
        words = [sys.executable, "-m", "distributed.cli.dask_worker", self.address, "--nthreads", "1", "--nworkers", "2"]
        self._start(words + ["--no-dashboard", "--local-directory", str(self.folder / "dask")])
        return scheduler

    def _start(self, words):
        process = subprocess.Popen(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        self.processes.append(process)
        return process

    def stop(self):
        for process in self.processes:
            process.terminate()
        for process in self.processes:
            try:
                process.wait(20)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        self.processes = []


@pytest.fixture
def dask(tmp_path):
    processes = DaskProcesses(tmp_path)
    yield processes
    processes.stop()


def test_the_scheduler_ends_and_a_new_run_does_the_rest(pages, dask, tmp_path):
    source, expected = pages
    out = tmp_path / "out"
    scheduler = dask.start()
    run = batches.start(*OPTIONS, f"--scheduler={dask.address}", "--patience=5", source, out)
    batches.wait_for(lambda: batches.count(out) > PAGES // 4)
    scheduler.kill()
    _, said = run.communicate(timeout=120)
    print(said, end="")
    assert run.returncode == 3, said
    assert "stopped: no scheduler answers at" in said
    done = batches.rows(out, "SELECT count(*) FROM pages WHERE status = 'done'")[0][0]
    assert PAGES // 5 < done < PAGES
    dask.stop()

    dask.start()
    said = batches.batch(*OPTIONS, f"--scheduler={dask.address}", source, out)
    print(said, end="")
    assert f"{PAGES - done} pages to do, {done} done before and unchanged" in said
    batches.check_complete(out, expected)


def test_the_scheduler_comes_back_and_the_run_goes_on(pages, dask, tmp_path):
    source, expected = pages
    out = tmp_path / "out"
    scheduler = dask.start()
    run = batches.start(*OPTIONS, f"--scheduler={dask.address}", "--patience=60", source, out)
    batches.wait_for(lambda: batches.count(out) > PAGES // 4)
    scheduler.kill()
    dask.stop()
    dask.start()
    _, said = run.communicate(timeout=600)
    print(said, end="")
    assert run.returncode == 0, said
    batches.check_complete(out, expected)


def test_100000_pages_cost_the_scheduler_little():
    here = os.path.dirname(__file__)
    environment = dict(os.environ, PLATEN_TOOL=str(batches.conftest.TOOL))
    words = [sys.executable, os.path.join(here, "many_tasks.py")]
    run = subprocess.run(words, stdout=subprocess.PIPE, text=True, check=True, env=environment)
    print(run.stdout, end="")
    told = json.loads(run.stdout)
    assert told["code"] == 0 and told["pages"] == 100_000 and told["peak_mb"] <= 300
