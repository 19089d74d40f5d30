"""Every result is the C++ one, bit for bit."""

import conftest
import numpy as np
import pytest

import platen

FORMATS = {8: (1, np.uint8), 16: (1, np.uint16), 24: (3, np.uint8), 32: (4, np.uint8), 48: (3, np.uint16), 64: (4, np.uint16)}
# (height, width) of the page and (width, height) of the result; odd sizes, each axis reduced, enlarged, kept, single.
SIZES = [
    ((37, 53), (20, 11)),
    ((37, 53), (111, 90)),
    ((37, 53), (20, 90)),
    ((37, 53), (53, 37)),
    ((37, 53), (53, 36)),
    ((1, 53), (17, 9)),
    ((37, 1), (5, 50)),
    ((1, 1), (3, 3)),
    ((37, 53), (1, 1)),
    ((3, 4), (64, 5)),
]


@pytest.mark.parametrize("bits", FORMATS)
@pytest.mark.parametrize("source,size", SIZES)
def test_scaler_gives_the_cpp_rows(bits, source, size):
    samples, dtype = FORMATS[bits]
    page = conftest.random_page(bits, *source, samples, dtype)
    expected = conftest.oracle_zoom(page, size, bits)
    scaler = platen.Scaler((source[1], source[0]), size, bits)
    assert np.array_equal(scaler.apply(page), expected)
    assert np.array_equal(scaler.apply(page), expected), "a second page through the same scaler"
    assert np.array_equal(np.stack(list(scaler.rows(page))), expected), "row by row"
    blocks = [page[y : y + 5] for y in range(0, source[0], 5)]
    assert np.array_equal(np.stack(list(scaler.rows(blocks))), expected), "five rows at a time"
    flat = (row.reshape(-1) for row in page)
    assert np.array_equal(np.stack(list(scaler.rows(flat))), expected), "flat rows"


@pytest.mark.parametrize("source,size", SIZES)
def test_bilevel_scaler_gives_the_cpp_rows(source, size):
    bits = np.random.default_rng(1).integers(0, 2, source, dtype=np.uint8)
    page = np.packbits(bits, axis=1)
    expected = conftest.oracle_zoom(page, size, 1, width=source[1])
    scaler = platen.Scaler((source[1], source[0]), size, 1)
    assert np.array_equal(scaler.apply(page), expected)
    assert np.array_equal(np.stack(list(scaler.rows(page))), expected)
    white = platen.scale(bits == 0, size)
    assert white.dtype == np.bool_
    assert np.array_equal(white, np.unpackbits(expected, axis=1, count=size[0]) == 0), "bool: True is white"


@pytest.mark.parametrize("bits", FORMATS)
def test_scaler_takes_and_fills_any_strides(bits):
    samples, dtype = FORMATS[bits]
    page = conftest.random_page(bits, 31, 23, samples, dtype)
    for size in ((11, 40), (40, 11)):
        expected = conftest.oracle_zoom(page, size, bits)
        strided, _ = conftest.guarded(page.shape, dtype)
        strided[...] = page
        out, whole = conftest.guarded(expected.shape, dtype)
        before = whole.copy()
        scaler = platen.Scaler((23, 31), size, bits)
        assert scaler.apply(strided, out) is out
        assert np.array_equal(out, expected)
        out[...] = 77
        assert np.array_equal(whole, before), "nothing else was written to"
        reversed_rows = np.ascontiguousarray(page[::-1, ::-1])[::-1, ::-1]
        assert np.array_equal(scaler.apply(reversed_rows), expected), "negative strides"
        assert np.array_equal(scaler.apply(np.asfortranarray(page)), expected), "columns first"


@pytest.mark.parametrize("level", [-2, -1, 1, 2, 3])
@pytest.mark.parametrize("shape", [(2, 3), (37, 53), (37, 53, 3), (2, 3, 3), (64, 1023)])
def test_sharpener_gives_the_cpp_rows(level, shape):
    page = conftest.random_page(level + 10, *shape)
    expected = conftest.oracle_sharp(page, level)
    sharpener = platen.Sharpener(level, (shape[1], shape[0]), 24 if page.ndim == 3 else 8)
    assert np.array_equal(sharpener.apply(page), expected)
    assert np.array_equal(np.stack(list(sharpener.rows(page))), expected)
    assert np.array_equal(np.concatenate([sharpener.push(page[:1]) for _ in [sharpener.reset()]]), expected[:0])
    sharpener.reset()
    counts = [len(sharpener.push(row)) for row in page]
    assert counts == [0] + [1] * (shape[0] - 2) + [2]
    strided, _ = conftest.guarded(page.shape, np.uint8)
    strided[...] = page
    out, _ = conftest.guarded(page.shape, np.uint8)
    assert np.array_equal(sharpener.apply(strided, out), expected)


HSV = [
    dict(saturation=10),
    dict(saturation=-100),
    dict(hue=120),
    dict(hue=-180, lightness=-3),
    dict(lightness=100),
    dict(saturation=40, hue=77, lightness=-20),
]


@pytest.mark.parametrize("settings", HSV)
def test_hsv_gives_the_cpp_pixels(settings):
    page = conftest.random_page(5, 41, 37, 3)
    expected = conftest.oracle_hsv(page, **settings)
    hsv = platen.HsvFilter(**settings)
    given = page.copy()
    assert np.array_equal(hsv.apply(given), expected)
    assert np.array_equal(given, page), "the image itself stays"
    assert np.array_equal(np.stack([hsv.apply(row) for row in page]), expected)
    assert hsv.apply(given, out=given) is given
    assert np.array_equal(given, expected), "in place"
    rgba = conftest.random_page(6, 41, 37, 4)
    rgba[..., :3] = page
    alpha = rgba[..., 3].copy()
    hsv.apply(rgba[..., :3], out=rgba[..., :3])
    assert np.array_equal(rgba[..., :3], expected) and np.array_equal(rgba[..., 3], alpha)


def test_all_colours_through_one_hsv_setting():
    colours = np.arange(1 << 24, dtype=np.uint32)
    page = np.empty((4096, 4096, 3), np.uint8)
    for channel in range(3):
        page[..., channel] = (colours >> (8 * channel) & 255).reshape(4096, 4096)
    settings = dict(saturation=23, hue=-37, lightness=11)
    assert np.array_equal(platen.HsvFilter(**settings).apply(page), conftest.oracle_hsv(page, **settings))


TONE = [
    ([platen.BrightnessContrast(30, -20)], ["BrCn", "briT=30", "conT=-20"]),
    ([platen.Level(30, 220)], ["LeVe", "iMin=30", "iMid=1.0d", "iMax=220", "oMin=0", "oMax=255"]),
    ([platen.Level(3, 200, 2.37, 9, 240)], ["LeVe", "iMin=3", "iMid=2.37d", "iMax=200", "oMin=9", "oMax=240"]),
    ([platen.Curves(kind="gamma", gamma=-44)], ["CuRv", "curS=2", "curV=-44"]),
    (
        [platen.Curves(((0, 10), (50, 40.5), (100, 130), (180, 200), (255, 250)))],
        ["CuRv", "curS=3", "cuP1=0,10", "cuP2=50,40.5", "cuP3=100,130", "cuP4=180,200", "cuP5=255,250"],
    ),
    (
        [platen.Curves(((0, 10), (50, 40.5), (100, 130), (180, 200), (255, 250)), "polyline")],
        ["CuRv", "curS=1", "cuP1=0,10", "cuP2=50,40.5", "cuP3=100,130", "cuP4=180,200", "cuP5=255,250"],
    ),
    (
        [platen.ColorBalance((1, 20, -30), (40, -5, 6), (-70, 8, 90))],
        "CoBa cbsR=1 cbsG=20 cbsB=-30 cbmR=40 cbmG=-5 cbmB=6 cbhR=-70 cbhG=8 cbhB=90".split(),
    ),
    (
        [platen.Level(30, 220), platen.BrightnessContrast(5)],
        ["LeVe", "iMin=30", "iMid=1.0d", "iMax=220", "oMin=0", "oMax=255", "BrCn", "briT=5", "conT=0"],
    ),
    ([], []),
]


@pytest.mark.parametrize("operations,words", TONE)
@pytest.mark.parametrize("depth", [8, 24])
def test_tone_world_gives_the_cpp_tables(operations, words, depth):
    expected = np.frombuffer(conftest.oracle("tone", depth, *words), np.uint8).reshape(3, 256)
    world = platen.ToneWorld(operations)
    assert np.array_equal(world.tables(depth), expected)
    if depth == 8:
        grey = conftest.random_page(7, 33, 29)
        assert np.array_equal(world.apply(grey), expected[0][grey])
        assert np.array_equal(world.apply(grey[3, ::2]), expected[0][grey[3, ::2]])
    else:
        page = conftest.random_page(8, 33, 29, 3)
        mapped = np.stack([expected[s][page[..., s]] for s in range(3)], axis=-1)
        assert np.array_equal(world.apply(page), mapped)
        assert np.array_equal(world.apply(page[:, ::-2]), mapped[:, ::-2])
        in_place = page.copy()
        assert world.apply(in_place, in_place) is in_place and np.array_equal(in_place, mapped)


def test_other_buffers_than_numpy_arrays():
    page = conftest.random_page(9, 12, 20, 3)
    expected = conftest.oracle_zoom(page, (7, 5), 24)
    scaler = platen.Scaler((20, 12), (7, 5))
    rows = [bytes(row) for row in page]
    assert np.array_equal(np.stack(list(scaler.rows(rows))), expected)
    assert np.array_equal(np.stack(list(scaler.rows(map(bytearray, rows)))), expected)
    view = memoryview(page.tobytes()).cast("B", (12, 20, 3))
    out = bytearray(expected.nbytes)
    scaler.apply(view, memoryview(out).cast("B", (5, 7, 3)))
    assert bytes(out) == expected.tobytes()
