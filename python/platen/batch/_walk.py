"""The tree of inputs."""

from __future__ import annotations

import os
from typing import Iterator, NamedTuple, Optional, Tuple

ENDINGS = (".png", ".tif", ".tiff", ".jpg", ".jpeg", ".pnm", ".pbm", ".pgm", ".ppm", ".pam")

# What --format makes of an output's ending.
FORMAT_ENDINGS = {"png": ".png", "tiff": ".tif", "jpeg": ".jpg", "pnm": ".pnm", "pdf": ".pdf"}


class Found(NamedTuple):
    """A page (error is None), something that can't be read, or a file that is no page (size is None)."""

    path: str  # from the tree's root
    size: Optional[int]
    mtime_ns: int
    error: Optional[str]


def output_of(path: str, ending: Optional[str]) -> str:
    return path if ending is None else os.path.splitext(path)[0] + ending


def walk(root: str, leave_out: Tuple[str, ...]) -> Iterator[Found]:
    """Everything below `root`, a folder at a time, in the order of the names. Hidden names are skipped, as are folders
    reached through links and those in `leave_out` (real paths)."""
    folders = [""]
    while folders:
        folder = folders.pop()
        below = []
        try:
            with os.scandir(os.path.join(root, folder)) as entries:
                listed = sorted(entries, key=lambda entry: entry.name)
        except OSError as error:
            yield Found(folder or ".", None, 0, f"the folder can't be read: {error.strerror}")
            continue
        for entry in listed:
            if entry.name.startswith("."):
                continue
            path = os.path.join(folder, entry.name)
            try:
                if entry.is_dir(follow_symlinks=False):
                    if os.path.realpath(entry.path) not in leave_out:
                        below.append(path)
                elif not entry.name.lower().endswith(ENDINGS):
                    yield Found(path, None, 0, None)
                elif entry.is_file():
                    status = entry.stat()
                    yield Found(path, status.st_size, status.st_mtime_ns, None)
                else:
                    yield Found(path, None, 0, "is neither a file nor a link to one")
            except OSError as error:
                yield Found(path, None, 0, f"can't be read: {error.strerror}")
        folders.extend(reversed(below))
