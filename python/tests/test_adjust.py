"""platen.adjust gives the tool's pixels."""

import subprocess
import warnings

import conftest
import numpy as np
import pytest

import platen


def write_pam(path, page):
    height, width = page.shape[:2]
    if page.dtype == np.bool_:
        path.write_bytes(b"P4\n%d %d\n" % (width, height) + np.packbits(~page, axis=1).tobytes())
        return
    samples = 1 if page.ndim == 2 else page.shape[2]
    kind = {1: "GRAYSCALE", 2: "GRAYSCALE_ALPHA", 3: "RGB", 4: "RGB_ALPHA"}[samples]
    header = f"P7\nWIDTH {width}\nHEIGHT {height}\nDEPTH {samples}\nMAXVAL {np.iinfo(page.dtype).max}\nTUPLTYPE {kind}\nENDHDR\n"
    path.write_bytes(header.encode() + page.astype(page.dtype.newbyteorder(">")).tobytes())


def read_pam(path):
    data = path.read_bytes()
    if data.startswith(b"P4"):
        _, size, rest = data.split(b"\n", 2)
        width, height = map(int, size.split())
        bits = np.frombuffer(rest, np.uint8).reshape(height, (width + 7) // 8)
        return np.unpackbits(bits, axis=1, count=width) == 0
    header, rest = data.split(b"ENDHDR\n", 1)
    fields = dict(line.split(None, 1) for line in header.decode().split("\n")[1:] if line)
    shape = int(fields["HEIGHT"]), int(fields["WIDTH"]), int(fields["DEPTH"])
    dtype = np.dtype(">u2") if int(fields["MAXVAL"]) > 255 else np.dtype("u1")
    page = np.frombuffer(rest, dtype).reshape(shape).astype(dtype.newbyteorder("="))
    return page[..., 0] if shape[2] == 1 else page


def through_tool(tool, folder, page, options):
    write_pam(folder / "in.pam", page)
    out = folder / ("out.pbm" if page.dtype == np.bool_ else "out.pam")
    run = subprocess.run(
        [tool, *options, "--force", folder / "in.pam", "-o", out], stderr=subprocess.PIPE, text=True, check=False
    )
    assert run.returncode == 0, run.stderr
    return read_pam(out)


CURVE = ((0, 10), (50, 40.5), (100, 130), (180, 200), (255, 250))
CURVE_TEXT = ":".join(f"{x},{y}" for x, y in CURVE)

COLOUR = [
    (dict(levels=(30, 220), saturation=10, scale=0.5), ["--levels=30,220", "--saturation=10", "--scale=0.5"]),
    (dict(levels=(3, 200, 1.4, 9, 240), gamma=0.7), ["--levels=3,200,1.4,9,240", "--gamma=0.7"]),
    (dict(gamma=0.7, levels=(3, 200, 1.4, 9, 240)), ["--gamma=0.7", "--levels=3,200,1.4,9,240"]),
    (dict(brightness=9, contrast=30), ["--brightness=9", "--contrast=30"]),
    (dict(contrast=30, brightness=9), ["--contrast=30", "--brightness=9"]),
    (dict(contrast=30, gamma=1.3, brightness=9), ["--contrast=30", "--gamma=1.3", "--brightness=9"]),
    (dict(curve=CURVE), ["--curve=" + CURVE_TEXT]),
    (dict(curve=CURVE, curve_kind="polyline"), ["--curve=" + CURVE_TEXT, "--curve-kind=polyline"]),
    (dict(curve_gamma=-30), ["--curve-gamma=-30"]),
    (
        dict(balance_shadows=(5, -6, 7), balance_midtones=(0, 10, 0), balance_highlights=(-9, 0, 30)),
        ["--balance-shadows=5,-6,7", "--balance-midtones=0,10,0", "--balance-highlights=-9,0,30"],
    ),
    (dict(saturation=-20, hue=30, lightness=5, sharpness=2), "--saturation=-20 --hue=30 --lightness=5 --sharpness=2".split()),
    (dict(size=(31, 90), sharpness=-1), ["--size=31x90", "--sharpness=-1"]),
    (dict(width=77), ["--width=77"]),
    (dict(height=20), ["--height=20"]),
    (dict(width=77, height=20, shrink_only=True), ["--width=77", "--height=20", "--shrink-only"]),
    (
        dict(gamma=1.2, scale=0.7, sharpness=1, order=("sharpen", "scale", "tone")),
        "--gamma=1.2 --scale=0.7 --sharpness=1 --order=sharpen,scale,tone".split(),
    ),
    (dict(scale=1.0), ["--scale=1"]),
    (dict(), []),
]
NO_COLOUR = ("saturation", "balance_shadows")


@pytest.mark.parametrize("settings,options", COLOUR)
@pytest.mark.parametrize("samples", [1, 2, 3, 4])
def test_gives_the_tools_pixels(tool, tmp_path, settings, options, samples):
    if samples < 3 and any(name in settings for name in NO_COLOUR):
        pytest.skip("a setting for colour pages")
    page = conftest.random_page(samples, 61, 43, samples)
    before = page.copy()
    assert np.array_equal(platen.adjust(page, **settings), through_tool(tool, tmp_path, page, options))
    assert np.array_equal(page, before)
    assert not np.shares_memory(platen.adjust(page, **settings), page)
    turned = np.ascontiguousarray(page.swapaxes(0, 1)).swapaxes(0, 1)
    assert np.array_equal(platen.adjust(turned, **settings), platen.adjust(page, **settings)), "columns first"


@pytest.mark.parametrize("samples", [1, 2, 3, 4])
@pytest.mark.parametrize("factor", [0.4, 1.7])
def test_16_bits_stay_where_nothing_needs_8(tool, tmp_path, samples, factor):
    page = conftest.random_page(samples, 61, 43, samples, np.uint16)
    scaled = platen.adjust(page, scale=factor)
    assert scaled.dtype == np.uint16
    assert np.array_equal(scaled, through_tool(tool, tmp_path, page, [f"--scale={factor}"]))


def test_16_bits_are_reduced_with_a_warning(tool, tmp_path):
    page = conftest.random_page(3, 61, 43, 3, np.uint16)
    with pytest.warns(platen.PlatenWarning, match="16 bits are reduced to 8"):
        adjusted = platen.adjust(page, gamma=1.2)
    assert np.array_equal(adjusted, through_tool(tool, tmp_path, page, ["--gamma=1.2"]))


@pytest.mark.parametrize("size", [(20, 30), (100, 99), (43, 61)])
def test_bilevel(tool, tmp_path, size):
    page = np.random.default_rng(2).integers(0, 2, (61, 43)) == 1
    options = ["--size=%dx%d" % size]
    assert np.array_equal(platen.adjust(page, size=size), through_tool(tool, tmp_path, page, options))


@pytest.mark.parametrize("shape", [(9, 1, 3), (1, 9, 3), (9, 2, 3), (9, 1), (1, 1, 4)])
def test_narrow_and_low_pages(tool, tmp_path, shape):
    page = conftest.random_page(4, *shape)
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", platen.PlatenWarning)
        adjusted = platen.adjust(page, size=(7, 5), sharpness=2, order="sharpen,scale")
    options = ["--size=7x5", "--sharpness=2", "--order=sharpen,scale"]
    assert np.array_equal(adjusted, through_tool(tool, tmp_path, page, options))


def test_small_pages_are_not_sharpened_and_it_says_so():
    page = conftest.random_page(4, 9, 2)
    with pytest.warns(platen.PlatenWarning, match="less than three pixels wide"):
        assert np.array_equal(platen.adjust(page, sharpness=1), page)


def test_tone_takes_objects_and_leaves_them_alone():
    page = conftest.random_page(5, 20, 20, 3)
    steps = [platen.BrightnessContrast(5), platen.Curves(CURVE, "polyline")]
    both = platen.adjust(page, tone=steps, brightness=7)
    assert steps == [platen.BrightnessContrast(5), platen.Curves(CURVE, "polyline")]
    world = platen.ToneWorld(steps + [platen.BrightnessContrast(7)])
    assert np.array_equal(both, world.apply(page))
    assert np.array_equal(platen.adjust(page, tone=world), world.apply(page))


WRONG = [
    (dict(levles=(1, 2)), TypeError, "has no setting 'levles'; it has tone, brightness"),
    (dict(levels=(30, 33)), ValueError, "white: 33|at least 8 above"),
    (dict(levels=30), ValueError, "levels: 30; allowed: "),
    (dict(gamma=10), ValueError, "gamma: 10 is out of range; allowed: 0.1 to 9.99"),
    (dict(gamma=float("nan")), ValueError, "out of range"),
    (dict(gamma="x"), TypeError, "gamma: must be a number"),
    (dict(brightness=2.5), TypeError, "brightness: must be a whole number, -100 to 100, not 2.5"),
    (dict(curve=CURVE[:4]), ValueError, "points: must be five points"),
    (dict(curve=CURVE[::-1]), ValueError, r"points\[0\]"),
    (dict(curve_kind="spline"), ValueError, "needs a curve"),
    (dict(curve=CURVE, curve_kind="gamma"), ValueError, "allowed: spline and polyline"),
    (dict(balance_shadows=(1, 2)), ValueError, "shadows: must be three values"),
    (dict(saturation=101), ValueError, "saturation: 101 is out of range; allowed: -100 to 100"),
    (dict(sharpness=4), ValueError, "sharpness: 4 is out of range; allowed: -2 to 3"),
    (dict(scale=0), ValueError, "scale: 0 is out of range"),
    (dict(scale=0.5, size=(1, 1)), ValueError, "only one of"),
    (dict(shrink_only=True), ValueError, "no setting scales"),
    (dict(size=(1, 0)), ValueError, "size: height: 0 is out of range"),
    (dict(width=0), ValueError, "width: 0 is out of range"),
    (dict(order="tone,tone"), ValueError, "each once"),
    (dict(order="hsv", gamma=2), ValueError, "order: tone is missing"),
]


@pytest.mark.parametrize("settings,kind,message", WRONG)
def test_wrong_settings_say_what_is_allowed(settings, kind, message):
    with pytest.raises(kind, match=message):
        platen.adjust(np.zeros((4, 4, 3), np.uint8), **settings)


WRONG_PAGES = [
    (np.zeros((4, 4, 3)), TypeError, "dtype float64; allowed: uint8, uint16"),
    (np.zeros((4, 4, 3), ">u2" if np.little_endian else "<u2"), TypeError, "machine's byte order"),
    ([[1, 2], [3, 4]], TypeError, "image: must be an array or another buffer"),
    (np.zeros(4, np.uint8), ValueError, r"has the shape \(4,\)"),
    (np.zeros((4, 4, 5), np.uint8), ValueError, r"has the shape \(4, 4, 5\)"),
    (np.zeros((0, 4), np.uint8), ValueError, "has no pixels"),
    (np.zeros((4, 4, 3), np.bool_), ValueError, "bilevel"),
]


@pytest.mark.parametrize("page,kind,message", WRONG_PAGES)
def test_wrong_pages_say_what_is_allowed(page, kind, message):
    with pytest.raises(kind, match=message):
        platen.adjust(page, scale=0.5)


def test_settings_that_the_page_cannot_have():
    grey = np.zeros((4, 4), np.uint8)
    with pytest.raises(ValueError, match="need a colour page; this one is grey"):
        platen.adjust(grey, saturation=1)
    with pytest.raises(ValueError, match="need a colour page; this one is grey"):
        platen.adjust(grey, balance_midtones=(1, 1, 1))
    with pytest.raises(ValueError, match="a bilevel page has no tones"):
        platen.adjust(grey == 0, gamma=2)


def test_the_page_may_be_read_only():
    page = conftest.random_page(5, 20, 20, 4)
    page.flags.writeable = False
    for settings in (dict(gamma=2), dict(saturation=5), dict(scale=0.5), dict(sharpness=1), dict()):
        assert platen.adjust(page, **settings).flags.writeable
