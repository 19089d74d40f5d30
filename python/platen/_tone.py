"""Tone operations and the world that folds them into three tables."""

from __future__ import annotations

import operator
import struct
from typing import Any, Callable, ClassVar, Iterable, Iterator, List, Optional, Sequence, Tuple

import numpy as np
import numpy.typing as npt

from . import _platen

Property = Tuple[str, bytes]


def _shown(value: object) -> str:
    text = repr(value)
    return text if len(text) <= 60 else text[:57] + "..."


def _whole(value: Any, name: str, low: int, high: int) -> int:
    try:
        number = operator.index(value)
    except TypeError:
        raise TypeError(f"{name}: must be a whole number, {low} to {high}, not {_shown(value)}") from None
    if not low <= number <= high:
        raise ValueError(f"{name}: {number} is out of range; allowed: {low} to {high}")
    return number


def _number(value: Any, name: str, low: float, high: float) -> float:
    try:
        number = float(value)
    except (TypeError, ValueError):
        raise TypeError(f"{name}: must be a number, {low:g} to {high:g}, not {_shown(value)}") from None
    if not low <= number <= high:  # not-a-number is out of range too
        raise ValueError(f"{name}: {number:g} is out of range; allowed: {low:g} to {high:g}")
    return number


def _items(value: Any, name: str, count: int, what: str) -> List[Any]:
    if isinstance(value, (str, bytes)):
        raise TypeError(f"{name}: must be {what}, not {_shown(value)}")
    try:
        items = list(value)
    except TypeError:
        raise TypeError(f"{name}: must be {what}, not {_shown(value)}") from None
    if len(items) != count:
        raise ValueError(f"{name}: must be {what}, not {len(items)} values")
    return items


class Operation:
    """One step of a tone world. Its settings can be changed at any time and are checked when they are given; a world
    looks at them when its tables are made."""

    _type: ClassVar[str]
    _settings: ClassVar[Tuple[str, ...]]

    def _properties(self) -> List[Property]:
        raise NotImplementedError

    def __repr__(self) -> str:
        settings = ", ".join(f"{name}={getattr(self, name)!r}" for name in self._settings)
        return f"{type(self).__name__}({settings})"

    def __eq__(self, other: object) -> bool:
        if type(self) is not type(other):
            return NotImplemented
        return all(getattr(self, name) == getattr(other, name) for name in self._settings)

    __hash__ = object.__hash__


def _setting(name: str, check: Callable[[Any], Any], doc: str) -> Any:
    def get(self: Any) -> Any:
        return getattr(self, "_" + name)

    def put(self: Any, value: Any) -> None:
        setattr(self, "_" + name, check(value))

    return property(get, put, doc=doc)


def _whole_setting(name: str, low: int, high: int, doc: str) -> Any:
    return _setting(name, lambda value: _whole(value, name, low, high), doc)


def _int32(key: str, value: int) -> Property:
    return key, struct.pack("=i", value)


class BrightnessContrast(Operation):
    """BrightnessContrast(brightness=0, contrast=0)

    Each -100 to 100, else ValueError. Brightness acts first."""

    _type = "BrCn"
    _settings = ("brightness", "contrast")

    brightness: int = _whole_setting("brightness", -100, 100, "-100 to 100; positive is lighter")
    contrast: int = _whole_setting("contrast", -100, 100, "-100 to 100")

    def __init__(self, brightness: int = 0, contrast: int = 0) -> None:
        self.brightness = brightness
        self.contrast = contrast

    def _properties(self) -> List[Property]:
        return [_int32("briT", self.brightness), _int32("conT", self.contrast)]


class Level(Operation):
    """Level(black=0, white=255, gamma=1.0, output_black=0, output_white=255)

    Stretches the levels from `black` (0 to 247) to `white` (8 to 255) over those from `output_black` to `output_white`
    (ranges alike), bent by `gamma` (0.1 to 9.99; above 1 lightens, 1.0 is neutral). White lies at least 8 above black,
    else ValueError; since settings may be changed one by one, that is checked when the object is made and when a world
    makes its tables."""

    _type = "LeVe"
    _settings = ("black", "white", "gamma", "output_black", "output_white")

    black: int = _whole_setting("black", 0, 247, "input level that becomes output_black, 0 to 247")
    white: int = _whole_setting("white", 8, 255, "input level that becomes output_white, 8 to 255")
    gamma: float = _setting("gamma", lambda value: _number(value, "gamma", 0.1, 9.99), "0.1 to 9.99; 1.0 is neutral")
    output_black: int = _whole_setting("output_black", 0, 247, "darkest output level, 0 to 247")
    output_white: int = _whole_setting("output_white", 8, 255, "lightest output level, 8 to 255")

    def __init__(
        self, black: int = 0, white: int = 255, gamma: float = 1.0, output_black: int = 0, output_white: int = 255
    ) -> None:
        self.black = black
        self.white = white
        self.gamma = gamma
        self.output_black = output_black
        self.output_white = output_white
        self._check()

    def _check(self) -> None:
        for low, high in (("black", "white"), ("output_black", "output_white")):
            darkest, lightest = getattr(self, low), getattr(self, high)
            if lightest - darkest < 8:
                raise ValueError(f"{high}: must be at least 8 above {low}, not {lightest} with {darkest}")

    def _properties(self) -> List[Property]:
        self._check()
        return [
            _int32("iMin", self.black),
            ("iMid", struct.pack("=d", self.gamma)),
            _int32("iMax", self.white),
            _int32("oMin", self.output_black),
            _int32("oMax", self.output_white),
        ]


Point = Tuple[float, float]

_KINDS = {"polyline": 1, "gamma": 2, "spline": 3}


def _curve_kind(value: Any) -> str:
    if value not in _KINDS:
        raise ValueError(f"kind: {_shown(value)}; allowed: {', '.join(sorted(_KINDS))}")
    return str(value)


def _curve_points(value: Any) -> Tuple[Point, ...]:
    points: List[Point] = []
    for i, item in enumerate(_items(value, "points", 5, "five points (x, y)")):
        x, y = _items(item, f"points[{i}]", 2, "a point (x, y)")
        # Each point's range of x lies 4 above that of the point before.
        point = (_number(x, f"points[{i}] x", 4 * i, 239 + 4 * i), _number(y, f"points[{i}] y", 0, 255))
        if points and not np.float32(point[0]) > np.float32(points[-1][0]):
            raise ValueError(f"points[{i}] x: {point[0]:g} must be greater than the previous point's {points[-1][0]:g}")
        points.append(point)
    return tuple(points)


class Curves(Operation):
    """Curves(points=IDENTITY, kind="spline", gamma=0)

    One curve for all channels. kind "spline" or "polyline": through five points (x, y) of input and output level, 0 to
    255, x increasing. kind "gamma": by its strength `gamma`, -100 to 100, positive is lighter; the points then don't
    count. ValueError for a value out of its range."""

    _type = "CuRv"
    _settings = ("points", "kind", "gamma")

    IDENTITY: ClassVar[Tuple[Point, ...]] = ((0.0, 0.0), (64.0, 64.0), (128.0, 128.0), (192.0, 192.0), (255.0, 255.0))

    points: Sequence[Point] = _setting("points", _curve_points, "five (input level, output level), x increasing")
    kind: str = _setting("kind", _curve_kind, '"spline", "polyline" or "gamma"')
    gamma: int = _whole_setting("gamma", -100, 100, "strength of the gamma curve, -100 to 100")

    def __init__(self, points: Sequence[Point] = IDENTITY, kind: str = "spline", gamma: int = 0) -> None:
        self.points = points
        self.kind = kind
        self.gamma = gamma

    def _properties(self) -> List[Property]:
        properties = [_int32("curV", self.gamma), _int32("curS", _KINDS[self.kind])]
        for number, point in enumerate(self.points, 1):
            properties.append((f"cuP{number}", struct.pack("=2f", *point)))
        return properties


Shift = Tuple[int, int, int]


def _shift(name: str, doc: str) -> Any:
    def check(value: Any) -> Shift:
        red, green, blue = _items(value, name, 3, "three values (red, green, blue)")
        return (_whole(red, name, -100, 100), _whole(green, name, -100, 100), _whole(blue, name, -100, 100))

    return _setting(name, check, doc)


class ColorBalance(Operation):
    """ColorBalance(shadows=(0, 0, 0), midtones=(0, 0, 0), highlights=(0, 0, 0))

    Shifts (red, green, blue), each -100 to 100, in that part of the tones; else ValueError. Grey pixels stay as they
    are: it acts on RGB only."""

    _type = "CoBa"
    _settings = ("shadows", "midtones", "highlights")

    shadows: Shift = _shift("shadows", "(red, green, blue), each -100 to 100")
    midtones: Shift = _shift("midtones", "(red, green, blue), each -100 to 100")
    highlights: Shift = _shift("highlights", "(red, green, blue), each -100 to 100")

    def __init__(
        self, shadows: Shift = (0, 0, 0), midtones: Shift = (0, 0, 0), highlights: Shift = (0, 0, 0)
    ) -> None:
        self.shadows = shadows
        self.midtones = midtones
        self.highlights = highlights

    def _properties(self) -> List[Property]:
        groups = (("cbs", self.shadows), ("cbm", self.midtones), ("cbh", self.highlights))
        return [_int32(group + channel, value) for group, shift in groups for channel, value in zip("RGB", shift)]


class ToneWorld:
    """ToneWorld(operations=())

    An ordered list of tone operations, folded into one table per channel. The list is `operations`: append to it, remove
    from it, change the settings of its operations; the tables follow when they are next made."""

    def __init__(self, operations: Iterable[Operation] = ()) -> None:
        self.operations: List[Operation] = list(operations)

    def __repr__(self) -> str:
        return f"ToneWorld({self.operations!r})"

    def __iter__(self) -> Iterator[Operation]:
        return iter(self.operations)

    def __len__(self) -> int:
        return len(self.operations)

    def tables(self, depth: int = 24) -> npt.NDArray[np.uint8]:
        """The folded tables, uint8, shape (3, 256): what each level of red, green and blue becomes.

        depth  24 for colour, 8 for grey: colour balance then does nothing, and the three tables are equal
        """
        if depth not in (8, 24):
            raise ValueError(f"depth: {_shown(depth)}; allowed: 8 and 24")
        steps = []
        for operation in self.operations:
            if not isinstance(operation, Operation):
                raise TypeError(
                    "operations: must be BrightnessContrast, Level, Curves and ColorBalance, "
                    f"not {type(operation).__name__}"
                )
            steps.append((operation._type, operation._properties()))
        return _platen.fold_tables(steps, depth)

    def apply(self, image: Any, out: Optional[Any] = None) -> Any:
        """Maps every sample through its channel's table and returns the result.

        image  uint8, any strides. (height, width, 3) is RGB, (height, width) and (width,) are grey; of an image with
               alpha give image[..., :3], or image[..., 0]
        out    receives the result, same shape, writable; the image itself is allowed: it is then changed in place.
               None: a new array

        TypeError for another type of sample, ValueError for another shape, a read-only `out`, or one that overlaps the
        image.
        """
        try:
            colour = memoryview(image).ndim == 3
        except (TypeError, ValueError):
            colour = False  # it is no buffer of ours: the call says so
        return _platen.apply_tables(self.tables(24 if colour else 8), image, out, 3 if colour else 1)
