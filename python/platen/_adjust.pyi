from typing import Any, Iterable, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from ._tone import Operation, Point, Shift, ToneWorld

_Levels = Union[Tuple[int, int], Tuple[int, int, float], Tuple[int, int, float, int, int]]

class PlatenWarning(UserWarning): ...

def adjust(
    image: Any,
    *,
    tone: Union[ToneWorld, Iterable[Operation], None] = None,
    brightness: Optional[int] = None,
    contrast: Optional[int] = None,
    levels: Optional[_Levels] = None,
    gamma: Optional[float] = None,
    curve: Optional[Sequence[Point]] = None,
    curve_kind: Optional[str] = None,
    curve_gamma: Optional[int] = None,
    balance_shadows: Optional[Shift] = None,
    balance_midtones: Optional[Shift] = None,
    balance_highlights: Optional[Shift] = None,
    saturation: int = 0,
    hue: int = 0,
    lightness: int = 0,
    scale: Optional[float] = None,
    size: Optional[Tuple[int, int]] = None,
    width: Optional[int] = None,
    height: Optional[int] = None,
    shrink_only: bool = False,
    sharpness: int = 0,
    order: Union[str, Sequence[str]] = ("tone", "hsv", "scale", "sharpen"),
) -> npt.NDArray[Any]: ...
def scale(image: Any, size: Tuple[int, int], out: Optional[npt.NDArray[Any]] = None) -> npt.NDArray[Any]: ...
def sharpen(image: Any, level: int, out: Optional[npt.NDArray[np.uint8]] = None) -> npt.NDArray[np.uint8]: ...
