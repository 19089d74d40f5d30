"""The streaming objects: the extension's, and iteration over rows."""

from __future__ import annotations

from typing import Any, Iterable, Iterator

from . import _platen


def _finished(stream: Any, source: Iterable[Any], height: int, name: str) -> Iterator[Any]:
    if stream.rows_in not in (0, height):
        raise ValueError(f"{name}: a page is in progress, {stream.rows_in} of {height} rows; push the rest, or reset()")
    stream.reset()
    for row in source:
        yield from stream.push(row)
    if stream.rows_in != height:
        raise ValueError(f"{name}: the source ended after {stream.rows_in} of {height} rows")


class HsvFilter(_platen.HsvFilter):
    __doc__ = _platen.HsvFilter.__doc__
    __slots__ = ()


class Sharpener(_platen.Sharpener):
    __doc__ = _platen.Sharpener.__doc__
    __slots__ = ()

    def rows(self, source: Iterable[Any]) -> Iterator[Any]:
        """The page's finished rows, one after the other, while `source` gives its rows (or blocks of rows).

        Only a few rows are in memory at a time. ValueError where the source has fewer or more rows than the page."""
        return _finished(self, source, self.size[1], "Sharpener.rows")


class Scaler(_platen.Scaler):
    __doc__ = _platen.Scaler.__doc__
    __slots__ = ()

    def rows(self, source: Iterable[Any]) -> Iterator[Any]:
        """The page's finished rows, one after the other, while `source` gives its rows (or blocks of rows).

        Only a few rows are in memory at a time. ValueError where the source has fewer or more rows than the page."""
        return _finished(self, source, self.source_size[1], "Scaler.rows")
