"""The line about the progress on standard error."""

from __future__ import annotations

import sys
import time
from typing import Optional


def duration(seconds: float) -> str:
    whole = int(seconds + 0.5)
    return f"{whole // 3600}:{whole // 60 % 60:02}:{whole % 60:02}"


class Progress:
    """Rewritten in place on a terminal, at most five times a second; else a line each half minute. None: by itself."""

    def __init__(self, total: int, shown: Optional[bool]) -> None:
        self._terminal = sys.stderr.isatty()
        self._shown = self._terminal if shown is None else shown
        self._total = total
        self._begun = self._last = time.monotonic()
        self._width = 0
        self.done = 0
        self.failed = 0
        self.pixels = 0

    def update(self, last: bool = False) -> None:
        now = time.monotonic()
        pause = 0.2 if self._terminal else 30.0
        if not self._shown or (now - self._last < pause and not last):
            return
        self._last = now
        seconds = max(now - self._begun, 1e-6)
        finished = self.done + self.failed
        rate = finished / seconds
        left = duration((self._total - finished) / rate) if finished else "?"
        text = f"{finished} of {self._total} pages, {rate:.1f} pages/s, {self.pixels / seconds / 1e6:.1f} MP/s"
        text += f", {left} left, {self.failed} failed"
        if self._terminal:
            print("\r" + text.ljust(self._width), end="\n" if last else "", file=sys.stderr, flush=True)
            self._width = len(text)
        else:
            print("platen-batch: " + text, file=sys.stderr, flush=True)
