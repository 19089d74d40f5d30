from typing import Any, Iterable, Iterator

import numpy as np
import numpy.typing as npt

from . import _platen

class HsvFilter(_platen.HsvFilter): ...

class Sharpener(_platen.Sharpener):
    def rows(self, source: Iterable[Any]) -> Iterator[npt.NDArray[np.uint8]]: ...

class Scaler(_platen.Scaler):
    def rows(self, source: Iterable[Any]) -> Iterator[npt.NDArray[Any]]: ...
