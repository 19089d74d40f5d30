"""The record of a batch: one row a page, in SQLite. One process writes it."""

from __future__ import annotations

import os
import sqlite3
import time
from typing import Any, Dict, Iterator, List, NamedTuple, Optional, Tuple, Union

from ._walk import Found
from ._worker import Job, Result

SCHEMA = """
CREATE TABLE IF NOT EXISTS pages (
    input         TEXT PRIMARY KEY,  -- path below IN
    output        TEXT,              -- path below OUT
    size          INTEGER,           -- of the input, bytes
    mtime_ns      INTEGER,           -- of the input
    input_sha256  TEXT,              -- these are of the last time that the page was done:
    output_sha256 TEXT,
    output_size   INTEGER,
    settings      TEXT,              -- SHA-256 of the settings
    version       TEXT,              -- of the tool
    seconds       REAL,
    pixels        INTEGER,           -- of the input
    finished      REAL,              -- seconds since 1970
    status        TEXT NOT NULL,     -- planned, done, failed, refused, unreadable
    message       TEXT,              -- why it failed or was refused
    tried         TEXT,              -- settings and version of the last try that failed
    owned         INTEGER NOT NULL DEFAULT 0,  -- 1: the output's name is this batch's
    run           INTEGER            -- the last run that saw the input
);
CREATE INDEX IF NOT EXISTS pages_by_status ON pages (run, status, input);
CREATE INDEX IF NOT EXISTS pages_by_output ON pages (run, output);
CREATE TABLE IF NOT EXISTS runs (
    run      INTEGER PRIMARY KEY,
    started  REAL NOT NULL,
    ended    REAL,
    settings TEXT NOT NULL,          -- the preset that the command line amounts to
    version  TEXT NOT NULL
);
PRAGMA user_version = 1;
"""

Name = Union[str, bytes]


def _name(path: str) -> Name:
    """As text, or as the bytes that they are where names are not UTF-8."""
    raw = os.fsencode(path)
    try:
        return raw.decode("utf-8")
    except UnicodeDecodeError:
        return raw


def _path(name: Name) -> str:
    return name if isinstance(name, str) else os.fsdecode(name)


class Busy(Exception):
    pass


class Plan(NamedTuple):
    to_do: int
    unchanged: int
    failed_before: int
    refused: int
    unreadable: int
    not_pages: int


class Manifest:
    def __init__(self, path: str) -> None:
        self.path = path
        self._db = sqlite3.connect(path, timeout=1, isolation_level=None)
        try:
            # Exclusive: the log then needs no shared memory, which file servers don't have, and a second run on the
            # same manifest is refused.
            self._db.execute("PRAGMA locking_mode = EXCLUSIVE")
            self._db.execute("PRAGMA journal_mode = WAL")
            self._db.execute("PRAGMA synchronous = NORMAL")
            self._db.executescript(SCHEMA)
            self._db.execute("BEGIN IMMEDIATE")
            self._db.execute("COMMIT")
        except sqlite3.OperationalError as error:
            self._db.close()
            if "locked" in str(error):
                raise Busy(f"{path}: another run is using this manifest") from None
            raise

    def close(self) -> None:
        self._db.close()

    def begin_run(self, settings: str, version: str) -> int:
        row = self._db.execute("SELECT coalesce(max(run), 0) + 1 FROM runs").fetchone()
        run = int(row[0])
        self._db.execute("INSERT INTO runs VALUES (?, ?, NULL, ?, ?)", (run, time.time(), settings, version))
        return run

    def end_run(self, run: int) -> None:
        self._db.execute("UPDATE runs SET ended = ? WHERE run = ?", (time.time(), run))

    # Planning. Everything is in one transaction: a run that is killed here leaves the manifest as it was.

    def plan(
        self,
        run: int,
        found: Iterator[Tuple[Found, str]],
        out: str,
        settings: str,
        version: str,
        retry_failed: bool,
        force: bool,
    ) -> Plan:
        """Compares what is there with what has been done. `found` gives the tree and each page's output."""
        counts = {"unchanged": 0, "failed": 0, "unreadable": 0, "other": 0, "to do": 0}
        db = self._db
        db.execute("BEGIN IMMEDIATE")
        db.execute("DELETE FROM pages WHERE status = 'unreadable'")
        for page, output in found:
            if page.error is not None:
                counts["unreadable"] += 1
                db.execute(
                    "INSERT OR REPLACE INTO pages (input, status, message, run) VALUES (?, 'unreadable', ?, ?)",
                    (_name(page.path), page.error, run),
                )
            elif page.size is None:
                counts["other"] += 1
            else:
                counts[self._plan_page(run, page, output, out, settings + version, retry_failed, force)] += 1
        refused = self._refuse_shared_outputs(run)
        db.execute("UPDATE pages SET owned = 1 WHERE run = ? AND status = 'planned'", (run,))
        db.execute("COMMIT")
        to_do = db.execute("SELECT count(*) FROM pages WHERE run = ? AND status = 'planned'", (run,)).fetchone()[0]
        return Plan(to_do, counts["unchanged"], counts["failed"], refused, counts["unreadable"], counts["other"])

    def _plan_page(
        self, run: int, page: Found, output: str, out: str, tried: str, retry_failed: bool, force: bool
    ) -> str:
        """Which of the counts the page belongs to: "unchanged", "failed" or "to do"."""
        db = self._db
        name = _name(page.path)
        row = db.execute(
            "SELECT output, size, mtime_ns, status, settings || version, output_size, tried, owned FROM pages"
            " WHERE input = ?",
            (name,),
        ).fetchone()
        owned = row is not None and row[7] == 1 and row[0] == _name(output)
        same_input = owned and (row[1], row[2]) == (page.size, page.mtime_ns)
        target = os.path.join(out, output)
        try:
            present: Optional[int] = os.stat(target).st_size
        except OSError:
            present = None
        status, message, count = "planned", None, "to do"
        if same_input and row[3] == "done" and row[4] == tried and present == row[5]:
            status, count = "done", "unchanged"
        elif same_input and row[3] == "failed" and row[6] == tried and not retry_failed:
            db.execute("UPDATE pages SET run = ? WHERE input = ?", (run, name))
            return "failed"
        elif present is not None and not owned and not force:
            status, message = "refused", f"{output} exists and is not from this batch; --force replaces it"
        db.execute(
            "INSERT INTO pages (input, output, size, mtime_ns, status, message, owned, run)"
            " VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8) ON CONFLICT (input) DO UPDATE SET output = ?2, size = ?3,"
            " mtime_ns = ?4, status = ?5, message = ?6, owned = ?7, run = ?8",
            (name, _name(output), page.size, page.mtime_ns, status, message, int(owned), run),
        )
        return count

    def _refuse_shared_outputs(self, run: int) -> int:
        """Of several inputs with one output the one that has it from an earlier run keeps it; the others, or all, are
        refused. Gives the number of refused pages."""
        db = self._db
        shared = db.execute(
            "SELECT output FROM pages WHERE run = ? AND output IS NOT NULL GROUP BY output HAVING count(*) > 1", (run,)
        ).fetchall()
        for (output,) in shared:
            rows = db.execute(
                "SELECT input, owned FROM pages WHERE run = ? AND output = ? ORDER BY input", (run, output)
            ).fetchall()
            for name, owned in rows:
                if owned:
                    continue
                others = ", ".join(_path(other) for other, _ in rows if other != name)
                message = f"would have the same output as {others}: {_path(output)}"
                db.execute("UPDATE pages SET status = 'refused', message = ? WHERE input = ?", (message, name))
        row = db.execute("SELECT count(*) FROM pages WHERE run = ? AND status = 'refused'", (run,)).fetchone()
        return int(row[0])

    # The run.

    def to_do(self, run: int) -> Iterator[Tuple[str, str, Optional[str], Optional[str], str]]:
        """(input, output, input's and output's SHA-256 of the last time, its settings and version) of each planned
        page, read in pieces, so that a tree of any size takes no memory."""
        last: Name = ""
        while True:
            rows = self._db.execute(
                "SELECT input, output, input_sha256, output_sha256, coalesce(settings || version, '') FROM pages"
                " WHERE run = ? AND status = 'planned' AND input > ? ORDER BY input LIMIT 200",
                (run, last),
            ).fetchall()
            if not rows:
                return
            last = rows[-1][0]
            for name, output, input_sha, output_sha, made_by in rows:
                yield _path(name), _path(output), input_sha, output_sha, made_by

    def record(self, job: Job, result: Result) -> None:
        if result.status == "done":
            self._db.execute(
                "UPDATE pages SET status = 'done', message = NULL, tried = NULL, size = ?, mtime_ns = ?,"
                " input_sha256 = ?, output_sha256 = ?, output_size = ?, settings = ?, version = ?,"
                " seconds = coalesce(?, seconds), pixels = coalesce(?, pixels), finished = ? WHERE input = ?",
                (
                    result.size,
                    result.mtime_ns,
                    result.input_sha256,
                    result.output_sha256,
                    result.output_size,
                    job.settings,
                    job.version,
                    None if result.unchanged else result.seconds,
                    result.pixels,
                    time.time(),
                    _name(job.input),
                ),
            )
        else:
            self._db.execute(
                "UPDATE pages SET status = 'failed', message = ?, tried = ?, finished = ? WHERE input = ?",
                (result.message, job.settings + job.version, time.time(), _name(job.input)),
            )

    # Reports and verification.

    def outputs(self) -> Iterator[Tuple[str, str, str]]:
        """(input, output, SHA-256) of every page that is done."""
        last: Name = ""
        while True:
            rows = self._db.execute(
                "SELECT input, output, output_sha256 FROM pages WHERE status = 'done' AND input > ?"
                " ORDER BY input LIMIT 200",
                (last,),
            ).fetchall()
            if not rows:
                return
            last = rows[-1][0]
            for name, output, sha in rows:
                yield _path(name), _path(output), sha

    def failures(self, run: int) -> Iterator[Tuple[str, str, str]]:
        """(input, status, message) of every page of the run that isn't done and won't be."""
        rows = self._db.execute(
            "SELECT input, status, message FROM pages WHERE run = ? AND status IN ('failed', 'refused', 'unreadable')"
            " ORDER BY input",
            (run,),
        )
        for name, status, message in rows:
            yield _path(name), status, message or ""

    def slowest(self, run: int, since: float, count: int) -> List[Dict[str, Any]]:
        rows = self._db.execute(
            "SELECT input, seconds, pixels FROM pages WHERE run = ? AND status = 'done' AND finished >= ? AND seconds IS NOT NULL"
            " ORDER BY seconds DESC LIMIT ?",
            (run, since, count),
        )
        return [{"input": _path(name), "seconds": seconds, "pixels": pixels} for name, seconds, pixels in rows]

    def sample(self, run: int, count: int) -> List[Tuple[str, str]]:
        """Up to `count` pages that are done, (input, output), chosen at random."""
        rows = self._db.execute(
            "SELECT input, output FROM pages WHERE run = ? AND status = 'done' ORDER BY random() LIMIT ?", (run, count)
        ).fetchall()
        return sorted((_path(name), _path(output)) for name, output in rows)

    def totals(self, run: int) -> Dict[str, int]:
        rows = self._db.execute("SELECT status, count(*) FROM pages WHERE run = ? GROUP BY status", (run,))
        return {status: count for status, count in rows}

    def done(self) -> int:
        """Pages that are done, in this run or an earlier one."""
        return int(self._db.execute("SELECT count(*) FROM pages WHERE status = 'done'").fetchone()[0])

    def vanished(self, run: int) -> int:
        """Pages that were done once and whose inputs are gone."""
        row = self._db.execute("SELECT count(*) FROM pages WHERE run < ? AND status = 'done'", (run,)).fetchone()
        return int(row[0])
