"""Whole pages: platen.adjust, and its stages one by one."""

from __future__ import annotations

import inspect
import math
import warnings
from typing import Any, Callable, Dict, List, Optional, Tuple

import numpy as np

from ._streams import HsvFilter, Scaler, Sharpener
from ._tone import (
    BrightnessContrast,
    ColorBalance,
    Curves,
    Level,
    Operation,
    ToneWorld,
    _items,
    _number,
    _shown,
    _whole,
)


class PlatenWarning(UserWarning):
    """A setting has another effect on this page than its name suggests: see platen.adjust."""


# Which samples a page may have. Two and four are grey and RGB with alpha.
_LAYOUTS = "(height, width), (height, width, 1), (height, width, 2), (height, width, 3) or (height, width, 4)"


def _page(image: Any) -> Any:
    """The page as an array, after checking its type and shape."""
    if not isinstance(image, np.ndarray):
        try:
            memoryview(image)
        except TypeError:  # lists aren't converted without a word
            raise TypeError(f"image: must be an array or another buffer, not {type(image).__name__}") from None
    page = np.asarray(image)
    if page.dtype not in (np.bool_, np.uint8, np.uint16) or not page.dtype.isnative:
        raise TypeError(
            f"image: has dtype {page.dtype}; allowed: uint8, uint16 in the machine's byte order, and bool"
        )
    if page.ndim not in (2, 3) or (page.ndim == 3 and page.shape[2] not in (1, 2, 3, 4)):
        raise ValueError(f"image: has the shape {page.shape}; allowed is {_LAYOUTS}")
    if page.dtype == np.bool_ and page.ndim != 2:
        raise ValueError(f"image: has the shape {page.shape}; a bool image is bilevel, allowed is (height, width)")
    if page.size == 0:
        raise ValueError(f"image: has no pixels; its shape is {page.shape}")
    return page


def _samples(page: Any) -> int:
    return 1 if page.ndim == 2 else int(page.shape[2])


def _planes(page: Any) -> List[Any]:
    return [page] if page.ndim == 2 else [page[..., s] for s in range(page.shape[2])]


def _colours(page: Any) -> Any:
    """The page without its alpha, as a view."""
    samples = _samples(page)
    if samples in (3, 4):
        return page[..., :3]
    return page if page.ndim == 2 else page[..., 0]


def _round_side(side: float) -> int:
    return int(min(max(math.floor(side + 0.5), 1.0), 4294967295.0))


_MOST = 2**31 - 1


def _target(page: Any, settings: Dict[str, Any]) -> Tuple[int, int]:
    """The wanted (width, height)."""
    height, width = page.shape[:2]
    if settings.get("scale") is not None:
        scale = _number(settings["scale"], "scale", 0.0001, 1000)
        size = _round_side(width * scale), _round_side(height * scale)
    elif settings.get("size") is not None:
        pair = _items(settings["size"], "size", 2, "a pair (width, height)")
        size = _whole(pair[0], "size: width", 1, _MOST), _whole(pair[1], "size: height", 1, _MOST)
    else:
        given = [settings.get(name) for name in ("width", "height")]
        sides = [None if side is None else _whole(side, name, 1, _MOST) for side, name in zip(given, ("width", "height"))]
        if sides[0] is None and sides[1] is None:
            return width, height
        if sides[0] is None:
            size = _round_side(width * float(sides[1] or 0) / height), sides[1] or 0
        else:
            size = sides[0], sides[1] or _round_side(height * float(sides[0]) / width)
    if settings.get("shrink_only", False):
        size = min(size[0], width), min(size[1], height)
    return size


def scale(image: Any, size: Tuple[int, int], out: Optional[Any] = None) -> Any:
    """Scales a page and returns it.

    image  (height, width) or (height, width, samples) with 1 to 4 samples, uint8 or uint16; or bool, (height, width),
           True being white; any strides
    size   (width, height) of the result in pixels, each 1 to 2147483647
    out    receives the result: (height, width...) of `size`, the image's dtype, writable, other memory than the
           image's. None: a new array

    Each axis by itself is enlarged by linear interpolation or reduced by averaging; results are truncated. A bilevel
    page stays bilevel: a pixel becomes black where at least 128 / 255 of what it covers is. Of a page with alpha, colours
    count by their alpha, so nothing bleeds in from transparent pixels.

    TypeError for another dtype, ValueError for another shape or size, or an `out` that is read-only or overlaps.
    """
    page = _page(image)
    pair = _items(size, "size", 2, "a pair (width, height)")
    width, height = _whole(pair[0], "size: width", 1, _MOST), _whole(pair[1], "size: height", 1, _MOST)
    result: Any = out
    if out is None:
        result = np.empty((height, width) + page.shape[2:], page.dtype)
    elif not isinstance(out, np.ndarray) or out.dtype != page.dtype or out.shape != (height, width) + page.shape[2:]:
        what = f"dtype {out.dtype}, shape {out.shape}" if isinstance(out, np.ndarray) else type(out).__name__
        raise ValueError(
            f"out: is {what}; allowed is an array of dtype {page.dtype}, shape {(height, width) + page.shape[2:]}"
        )
    if page.dtype == np.bool_:
        source_size = page.shape[1], page.shape[0]
        black = np.packbits(~page, axis=1)
        scaled = Scaler(source_size, (width, height), 1).apply(black)
        np.copyto(result, np.unpackbits(scaled, axis=1, count=width) == 0)
        return result
    if _samples(page) in (2, 4):
        _scale_with_alpha(page, (width, height), result)
    else:
        _scale_samples(page, (width, height), result)
    return result


def _scale_samples(page: Any, size: Tuple[int, int], result: Any) -> None:
    """Every sample by itself, alpha too."""
    samples = _samples(page)
    source_size = page.shape[1], page.shape[0]
    bits = 8 * page.itemsize
    if samples == 2 or (samples > 1 and page.shape[1] == 1):
        # There is no format of two samples, and of a page one pixel wide every sample would take the first one's value.
        for plane, target in zip(_planes(page), _planes(result)):
            Scaler(source_size, size, bits).apply(plane, target)
    elif samples == 1:
        Scaler(source_size, size, bits).apply(_planes(page)[0], _planes(result)[0])
    else:
        Scaler(source_size, size, bits * samples).apply(page, result)


def _scale_with_alpha(page: Any, size: Tuple[int, int], result: Any) -> None:
    """As the tool does it: a colour counts as much as its pixel can be seen. The colours are scaled at 16 bits, multiplied
    with alpha, and divided by the alpha that comes out; where a pixel is opaque, or can't be seen at all, they are those
    of a page without alpha."""
    most = int(np.iinfo(page.dtype).max)
    step = 65535 // most
    colours, alpha = page[..., :-1], page[..., -1:].astype(np.uint32)
    wide = np.empty(page.shape, np.uint16)  # all products stay below 2^32
    wide[..., :-1] = (colours.astype(np.uint32) * (alpha * np.uint32(step)) + np.uint32(most // 2)) // np.uint32(most)
    wide[..., -1:] = alpha * np.uint32(step)
    scaled = np.empty(result.shape, np.uint16)
    _scale_samples(wide, size, scaled)
    _scale_samples(colours, size, result[..., :-1])
    alpha = scaled[..., -1:].astype(np.uint32)
    rounded = alpha if most == 65535 else (2 * alpha + 1 + step) // (2 * step)
    seen_through = (alpha != 65535) & (rounded != 0)
    divisor = np.where(alpha == 0, np.uint32(1), alpha)
    divided = np.minimum((scaled[..., :-1].astype(np.uint32) * np.uint32(most) + divisor // 2) // divisor, most)
    np.copyto(result[..., :-1], divided, where=seen_through, casting="unsafe")
    result[..., -1:] = rounded


def sharpen(image: Any, level: int, out: Optional[Any] = None) -> Any:
    """Softens or sharpens a page and returns it.

    image  uint8, (height, width) or (height, width, samples) with 1 to 4 samples, at least 3 wide and 2 high; alpha
           (the second of two, the fourth of four) stays as it is; any strides
    level  -2 and -1 soften, 1, 2 and 3 sharpen
    out    receives the result: the image's shape, uint8, writable, other memory than the image's. None: a new array

    TypeError for another dtype, ValueError for another shape or level, or an `out` that is read-only or overlaps.
    """
    page = _page(image)
    result = np.empty_like(page) if out is None else out
    if getattr(result, "shape", None) != page.shape:
        raise ValueError(f"out: must be an array of the image's shape, {page.shape}")
    samples = _samples(page)
    bits = 24 if samples in (3, 4) else 8
    Sharpener(level, (page.shape[1], page.shape[0]), bits).apply(_colours(page), _colours(result))
    if samples in (2, 4):
        result[..., samples - 1] = page[..., samples - 1]
    return result


def _balance(group: str) -> Callable[[Any], Operation]:
    def make(value: Any) -> Operation:
        return ColorBalance(**{group: value})

    return make


def _levels(value: Any) -> Operation:
    try:
        count = len(value)
    except TypeError:
        count = 0
    if count not in (2, 3, 5) or isinstance(value, (str, bytes)):
        raise ValueError(
            f"levels: {_shown(value)}; allowed: (black, white), (black, white, gamma) and "
            "(black, white, gamma, output_black, output_white)"
        )
    return Level(*value)


_TONE_STEPS: Dict[str, Callable[[Any], Operation]] = {
    "levels": _levels,
    "gamma": lambda value: Level(gamma=value),
    "curve": lambda value: Curves(value),
    "curve_gamma": lambda value: Curves(kind="gamma", gamma=value),
    "balance_shadows": _balance("shadows"),
    "balance_midtones": _balance("midtones"),
    "balance_highlights": _balance("highlights"),
}


def _tone_steps(settings: Dict[str, Any]) -> List[Operation]:
    """The tone settings, in the order in which they were given."""
    steps: List[Operation] = []
    brightness_contrast: Optional[BrightnessContrast] = None
    for name, value in settings.items():
        if name in ("brightness", "contrast"):
            if brightness_contrast is None or steps[-1] is not brightness_contrast:
                brightness_contrast = BrightnessContrast()
                steps.append(brightness_contrast)
            setattr(brightness_contrast, name, value)
        elif name == "curve":
            steps.append(Curves(value, settings.get("curve_kind", "spline")))
        elif name == "tone":
            steps.extend(value.operations if isinstance(value, ToneWorld) else value)
        elif name in _TONE_STEPS:
            steps.append(_TONE_STEPS[name](value))
    if "curve_kind" in settings:
        if settings["curve_kind"] not in ("spline", "polyline"):
            raise ValueError(f"curve_kind: {_shown(settings['curve_kind'])}; allowed: spline and polyline")
        if "curve" not in settings:
            raise ValueError("curve_kind: needs a curve")
    return steps


_HSV = ("saturation", "hue", "lightness")
_SIZE = ("scale", "size", "width", "height")
_STAGES = ("tone", "hsv", "scale", "sharpen")


class _Page:
    """A page on its way through the stages. What the caller gave is never written to."""

    def __init__(self, page: Any) -> None:
        self.pixels = page
        self._given = page

    def own(self) -> Any:
        """The pixels, as an array that may be written to."""
        if self.pixels is self._given:
            self.pixels = self.pixels.copy()
        return self.pixels

    def tone(self, steps: List[Operation]) -> None:
        if not steps:
            return
        if _samples(self.pixels) < 3 and any(isinstance(step, ColorBalance) for step in steps):
            raise ValueError(
                "balance_shadows, balance_midtones and balance_highlights need a colour page; this one is grey"
            )
        if _samples(self.pixels) in (1, 3):
            target = np.empty_like(self.pixels) if self.pixels is self._given else self.pixels
            ToneWorld(steps).apply(_colours(self.pixels), _colours(target))
            self.pixels = target
        else:
            colours = _colours(self.own())
            ToneWorld(steps).apply(colours, colours)

    def hsv(self, settings: Dict[str, int]) -> None:
        if not any(settings.values()):
            return
        if _samples(self.pixels) < 3:
            raise ValueError("saturation, hue and lightness need a colour page; this one is grey")
        hsv_filter = HsvFilter(**settings)
        if _samples(self.pixels) == 3 and self.pixels is self._given:
            self.pixels = hsv_filter.apply(self.pixels)
        else:
            colours = _colours(self.own())
            hsv_filter.apply(colours, colours)

    def scale(self, settings: Dict[str, Any]) -> None:
        size = _target(self.pixels, settings)
        if size != (self.pixels.shape[1], self.pixels.shape[0]):
            self.pixels = scale(self.pixels, size)

    def sharpen(self, level: int) -> None:
        if level == 0:
            return
        if self.pixels.shape[1] < 3 or self.pixels.shape[0] < 2:
            warnings.warn(
                "sharpness: the page is less than three pixels wide or two high; it is not sharpened or softened",
                PlatenWarning,
                stacklevel=3,
            )
            return
        self.pixels = sharpen(self.pixels, level)


def _stage_order(given: Any, used: Dict[str, bool]) -> Tuple[str, ...]:
    order = tuple(given.split(",")) if isinstance(given, str) else tuple(given)
    for stage in order:
        if stage not in _STAGES or order.count(stage) != 1:
            raise ValueError(f"order: {_shown(given)}; allowed: tone, hsv, scale and sharpen, each once")
    for stage in _STAGES:
        if used[stage] and stage not in order:
            raise ValueError(f"order: {stage} is missing, but other settings need it")
    return order


def _adjust(image: Any, **settings: Any) -> Any:
    unknown = [name for name in settings if name not in _NAMES]
    if unknown:
        raise TypeError(f"adjust() has no setting {unknown[0]!r}; it has {', '.join(_NAMES)}")
    settings = {name: value for name, value in settings.items() if value is not None}
    sizes = sum(1 for name in ("scale", "size") if name in settings) + ("width" in settings or "height" in settings)
    if sizes > 1:
        raise ValueError("only one of scale, size, and width with height can be given")
    if settings.get("shrink_only") and sizes == 0:
        raise ValueError("shrink_only: no setting scales the image")
    page = _page(image)
    steps = _tone_steps(settings)
    hsv = {
        name: _whole(settings.get(name, 0), name, -limit, limit) for name, limit in zip(_HSV, (100, 180, 100))
    }
    sharpness = _whole(settings.get("sharpness", 0), "sharpness", -2, 3)
    used = {"tone": bool(steps), "hsv": any(hsv.values()), "scale": sizes > 0, "sharpen": sharpness != 0}
    order = _stage_order(settings.get("order", _STAGES), used)
    eight_bits = used["tone"] or used["hsv"] or used["sharpen"]
    if page.dtype == np.bool_ and eight_bits:
        raise ValueError("image: a bilevel page has no tones to work on; convert it: image * numpy.uint8(255)")
    work = _Page(page)
    if page.dtype == np.uint16 and eight_bits:
        warnings.warn(
            "tone, colour and sharpness settings work on 8 bits; the page's 16 bits are reduced to 8",
            PlatenWarning,
            stacklevel=2,
        )
        work.pixels = ((page.astype(np.uint32) + 128) // 257).astype(np.uint8)
    for stage in order:
        if stage == "tone":
            work.tone(steps)
        elif stage == "hsv":
            work.hsv(hsv)
        elif stage == "scale":
            work.scale(settings)
        else:
            work.sharpen(sharpness)
    return work.own()


# The settings and their defaults, for help() and inspect; the stub says their types. The function itself takes them as
# they come, because the order of the tone settings counts.
_DEFAULTS: Dict[str, Any] = {
    "tone": None,
    "brightness": None,
    "contrast": None,
    "levels": None,
    "gamma": None,
    "curve": None,
    "curve_kind": None,
    "curve_gamma": None,
    "balance_shadows": None,
    "balance_midtones": None,
    "balance_highlights": None,
    "saturation": 0,
    "hue": 0,
    "lightness": 0,
    "scale": None,
    "size": None,
    "width": None,
    "height": None,
    "shrink_only": False,
    "sharpness": 0,
    "order": _STAGES,
}
_NAMES = tuple(_DEFAULTS)


def adjust(image: Any, **settings: Any) -> Any:
    """Adjusts a page and returns a new array; the page itself stays as it is.

    image               numpy array or another buffer, any strides:
                          uint8 or uint16  (height, width), or (height, width, samples) with 1 to 4 samples: grey,
                                           grey and alpha, RGB, RGB and alpha
                          bool             (height, width), True is white; can only be scaled

    Tone, in the order of the call's arguments; adjacent brightness and contrast combine into one step:
    brightness          -100 to 100
    contrast            -100 to 100
    levels              (black, white), (black, white, gamma) or (black, white, gamma, output_black, output_white): see
                        Level
    gamma               0.1 to 9.99, above 1 is lighter: the same as levels=(0, 255, gamma)
    curve               five points (x, y), 0 to 255, x increasing; curve_kind "spline" (default) or "polyline" joins
                        them
    curve_gamma         -100 to 100, positive is lighter
    balance_shadows     (red, green, blue), each -100 to 100; so balance_midtones, balance_highlights; colour only
    tone                a ToneWorld, or a list of operations, for anything that the settings above can't express

    Colour, colour pages only:
    saturation          -100 to 100, percent
    hue                 -180 to 180, degrees
    lightness           -100 to 100, percent

    Size, one of:
    scale               a factor, 0.0001 to 1000
    size                (width, height) in pixels
    width, height       in pixels; one alone keeps the proportions
    shrink_only         True: never enlarges

    sharpness           -2 and -1 soften, 1, 2 and 3 sharpen, 0 is off
    order               the stages' order; by default ("tone", "hsv", "scale", "sharpen")

    The stages, their order and their results are those of the command-line tool with the options of the same names.
    Alpha is scaled with the page, colours by their alpha; otherwise alpha stays as it is.

    Tone, colour and sharpness work on 8 bits: a uint16 page is reduced for them, with a PlatenWarning. A page too small
    for sharpness (under 3 x 2 pixels) isn't sharpened, with a PlatenWarning too.

    TypeError for another dtype or an unknown setting, ValueError for another shape or a value out of its range.
    """
    return _adjust(image, **settings)


adjust.__signature__ = inspect.Signature(  # type: ignore[attr-defined]
    [inspect.Parameter("image", inspect.Parameter.POSITIONAL_OR_KEYWORD)]
    + [
        inspect.Parameter(name, inspect.Parameter.KEYWORD_ONLY, default=default)
        for name, default in _DEFAULTS.items()
    ]
)
