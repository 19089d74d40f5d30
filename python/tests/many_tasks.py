"""many_tasks.py [COUNT]: a run of so many pages (100,000) whose work is left out, to see what the program and its scheduler
cost: both are this one process. Prints the peak of its memory and its speed, as JSON."""

import json
import pathlib
import resource
import sys
import tempfile
import time

from platen.batch import _cli, _report
from platen.batch._worker import Job, Result


def pretend(job: Job) -> Result:
    return Result("done", "", False, 0, 0, "0" * 64, "0" * 64, 0, 1000, 0.001, 0.001, "nobody")


def main(count: int) -> None:
    _cli.run_page = pretend
    _report.contact_sheet = lambda *arguments: ""
    with tempfile.TemporaryDirectory(prefix="platen-tasks-") as name:
        folder = pathlib.Path(name)
        for box in range(0, count, 1000):
            place = folder / "in" / f"box-{box:06}"
            place.mkdir(parents=True)
            for page in range(box, min(box + 1000, count)):
                (place / f"page-{page:06}.ppm").touch()
        begun = time.perf_counter()
        code = _cli.main(["--scale=0.5", "--workers=2", str(folder / "in"), str(folder / "out")])
        seconds = time.perf_counter() - begun
    peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss // 1024
    used = resource.getrusage(resource.RUSAGE_SELF)
    busy = used.ru_utime + used.ru_stime
    print(json.dumps({"code": code, "pages": count, "peak_mb": peak, "seconds": round(seconds, 1),
                      "processor_ms_per_page": round(1000 * busy / count, 2)}))


if __name__ == "__main__":
    main(int(sys.argv[1]) if len(sys.argv) > 1 else 100_000)
