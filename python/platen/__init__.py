"""Adjusts scanned pages, bit for bit the same on every machine.

    page = platen.adjust(page, levels=(30, 220), saturation=10, scale=0.5)

`adjust` takes a whole page and one setting for each step. `scale` and `sharpen` are two of its stages alone. The objects
are for drivers, which prepare once and pass many rows: ToneWorld with BrightnessContrast, Level, Curves and ColorBalance;
HsvFilter; Sharpener; Scaler.

Arrays are (height, width) or (height, width, samples); sizes are (width, height). Pixels are read from and written to
where they are, through the buffer protocol, whatever their strides. The interpreter lock is released during the work.
"""

from ._adjust import PlatenWarning, adjust, scale, sharpen
from ._streams import HsvFilter, Scaler, Sharpener
from ._tone import BrightnessContrast, ColorBalance, Curves, Level, Operation, ToneWorld

from ._version import __version__

__all__ = [
    "BrightnessContrast",
    "ColorBalance",
    "Curves",
    "HsvFilter",
    "Level",
    "Operation",
    "PlatenWarning",
    "Scaler",
    "Sharpener",
    "ToneWorld",
    "adjust",
    "scale",
    "sharpen",
]

for _name in __all__:
    globals()[_name].__module__ = __name__
del _name
