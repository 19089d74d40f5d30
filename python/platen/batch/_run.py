"""Pages through a Dask cluster, a few at a time."""

from __future__ import annotations

import collections
import importlib.util
import logging
import os
import queue
import shutil
import tempfile
import time
import warnings
from typing import Any, Callable, Deque, Dict, Iterator, List, NamedTuple, Optional, Tuple

import dask
import distributed
from distributed.comm import CommClosedError

# How often a page may be on a worker that ends before the page counts as the reason: Dask counts three for each of
# these.
ROUNDS = 3


class ClusterLost(Exception):
    pass


class Outcome(NamedTuple):
    job: Any
    result: Any  # None where there is an error
    error: Optional[str]


def _quiet() -> None:
    """Dask keeps a log of every transition of every task and each task's source, and says on standard error what ends
    and starts."""
    dask.config.set(
        {
            "distributed.scheduler.transition-log-length": 1000,
            "distributed.scheduler.events-log-length": 1000,
            "distributed.admin.log-length": 1000,
            "distributed.diagnostics.computations.ignore-modules": [".*"],  # else it reads the source for every task
            "distributed.comm.timeouts.connect": "10s",
        }
    )
    logging.disable(logging.CRITICAL)  # what a page or a run comes to, the program says itself


class Cluster:
    """A cluster of this machine's cores, or a client of one that runs already."""

    def __init__(self, scheduler: Optional[str], workers: int, patience: float) -> None:
        _quiet()
        self._address = scheduler
        self._patience = patience
        self._workers = workers
        self._local: Any = None
        self._scratch: Optional[str] = None
        if scheduler is None:
            os.environ.setdefault("DASK_LOGGING__DISTRIBUTED", "critical")  # for the workers
            self._scratch = tempfile.mkdtemp(prefix="platen-batch-")
            dashboard = ":8787" if importlib.util.find_spec("bokeh") is not None else ":0"
            warnings.filterwarnings("ignore", "Port 8787 is already in use")
            self._local = distributed.LocalCluster(
                n_workers=workers,
                threads_per_worker=1,
                processes=True,
                memory_limit=0,  # the memory is the tool's, and that needs little
                dashboard_address=dashboard,
                silence_logs=logging.CRITICAL,
                local_directory=self._scratch,
            )
        self.client = self._connect(patience)

    def _connect(self, patience: float) -> Any:
        deadline = time.monotonic() + patience
        while True:
            try:
                return distributed.Client(
                    self._local or self._address, timeout=min(5.0, patience), set_as_default=False
                )
            except (OSError, TimeoutError):
                if time.monotonic() > deadline:
                    raise ClusterLost(f"no scheduler answers at {self._address}") from None
                time.sleep(0.5)

    def reconnect(self) -> None:
        """After the scheduler has gone: a new client, if one answers within the patience."""
        try:
            self.client.close(timeout=1)
        except Exception:  # it is gone; nothing that closing it says matters
            pass
        if self._local is not None:
            raise ClusterLost("the cluster on this machine has ended")
        self.client = self._connect(self._patience)

    def dashboard(self) -> Optional[str]:
        if importlib.util.find_spec("bokeh") is None:
            return None
        link = self.client.dashboard_link
        return str(link) if link else None

    def threads(self) -> int:
        """The threads of all workers; waits for the first one. On this machine workers that are gone for good are
        replaced: Dask itself does that for one that ends at work, not for one that ends while it starts."""
        deadline = time.monotonic() + (self._patience if self._local is None else max(self._patience, 120.0))
        while True:
            if self._local is not None:
                self._local.scale(self._workers)
            count = sum(self.client.nthreads().values())
            if count > 0:
                return int(count)
            if time.monotonic() > deadline:
                raise ClusterLost("the cluster has no workers")
            time.sleep(0.2)

    def close(self) -> None:
        for part in (self.client, self._local):
            if part is not None:
                try:
                    part.close(timeout=5)
                except Exception:  # what was to be done is done
                    pass
        if self._scratch is not None:
            shutil.rmtree(self._scratch, ignore_errors=True)


class Flow:
    """Keeps at most `each` jobs for each of the cluster's threads in flight; gives outcomes as they come."""

    def __init__(self, cluster: Cluster, work: Callable[..., Any], each: int, name: str) -> None:
        self._cluster = cluster
        self._work = work
        self._each = each
        self._name = name
        self._number = 0
        self._ended: "queue.SimpleQueue[Any]" = queue.SimpleQueue()
        self._flying: Dict[Any, Tuple[Any, int]] = {}
        self._again: Deque[Tuple[Any, int]] = collections.deque()
        self.stopping = False

    def _submit(self, job: Any, round_: int) -> None:
        self._number += 1
        key = f"{self._name}-{self._number}-{id(self)}"
        arguments = job if isinstance(job, tuple) and not hasattr(job, "_fields") else (job,)
        future = self._cluster.client.submit(self._work, *arguments, key=key, pure=False)
        self._flying[future] = (job, round_)
        future.add_done_callback(self._ended.put)

    def _fill(self, jobs: Iterator[Any], room: int) -> None:
        while len(self._flying) < room and not self.stopping:
            if self._again:
                self._submit(*self._again.popleft())
                continue
            job = next(jobs, None)
            if job is None:
                return
            self._submit(job, 1)

    def _lost(self) -> None:
        """The scheduler is gone, and with it what was in flight: all of it comes again."""
        self._again.extend(self._flying.values())
        self._flying.clear()
        self._ended = queue.SimpleQueue()
        self._cluster.reconnect()

    def _take(self, futures: List[Any]) -> Iterator[Outcome]:
        """What the ended futures came to. Results lie with the workers, and are asked for together where that works."""
        try:
            results = self._cluster.client.gather(futures) if len(futures) > 1 else None
        except Exception:  # one of them has none: each by itself
            results = None
        if results is not None:
            for future, result in zip(futures, results):
                yield Outcome(self._flying.pop(future)[0], result, None)
            return
        for future in futures:
            outcome = self._take_one(future)
            if outcome is not None:
                yield outcome

    def _take_one(self, future: Any) -> Optional[Outcome]:
        job, round_ = self._flying.pop(future)
        try:
            # Where its worker has ended meanwhile, the page is done again.
            return Outcome(job, future.result(timeout=60), None)
        except distributed.KilledWorker:
            if round_ < ROUNDS:
                self._again.append((job, round_ + 1))
                return None
            return Outcome(job, None, "every worker that had this page ended")
        except (distributed.CancelledError, distributed.TimeoutError, CommClosedError):
            # Nothing of the page's: its worker, or the scheduler on the way to it, is gone.
            self._again.append((job, round_))
            return None
        except Exception as error:  # whatever else a page brings up is that page's failure
            return Outcome(job, None, f"{type(error).__name__}: {error}")

    def _next_ended(self) -> List[Any]:
        """The futures that have ended, one at least if any does within a second."""
        ended = []
        try:
            ended.append(self._ended.get(timeout=1.0))
            while True:
                ended.append(self._ended.get_nowait())
        except queue.Empty:
            pass
        return [future for future in ended if future in self._flying]

    def run(self, jobs: Iterator[Any]) -> Iterator[Outcome]:
        room = 0
        looked = 0.0
        while True:
            if time.monotonic() - looked > 5.0:  # workers come and go
                room = self._each * self._cluster.threads()
                looked = time.monotonic()
            self._fill(jobs, room)
            if not self._flying:
                if self.stopping or not self._again:
                    return
                continue
            ended = self._next_ended()
            lost = self._cluster.client.status != "running"
            if lost and not all(future.status == "finished" for future in ended):
                ended = []
            if lost and not ended:
                self._lost()
                looked = 0.0
                continue
            yield from self._take(ended)
