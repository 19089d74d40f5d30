"""The objects' arguments, states and messages."""

import subprocess
import sys

import numpy as np
import pytest

import platen


def frozen(array):
    array.flags.writeable = False
    return array


RGB = np.zeros((4, 5, 3), np.uint8)


def test_types_and_shapes_say_what_is_allowed():
    scaler = platen.Scaler((5, 4), (2, 2))
    wide = platen.Scaler((5, 4), (2, 2), 48)
    hsv = platen.HsvFilter(saturation=5)
    sharpener = platen.Sharpener(1, (5, 4))
    world = platen.ToneWorld()
    cases = [
        (lambda: scaler.push(np.zeros((5, 3))), TypeError, "rows: has dtype float64; allowed is uint8"),
        (lambda: wide.push(np.zeros((5, 3), np.uint8)), TypeError, "has dtype uint8; allowed is uint16"),
        (lambda: scaler.push(np.zeros((5, 3), np.int8)), TypeError, "has dtype int8; allowed is uint8"),
        (lambda: scaler.push([1, 2]), TypeError, "rows: must be an array or another buffer .* not list"),
        (lambda: scaler.push(memoryview(b"123456").cast("h")), TypeError, "buffer format 'h'; allowed is uint8"),
        (lambda: scaler.push(np.zeros((4, 3), np.uint8)), ValueError, r"has the shape \(4, 3\); allowed is \(5, 3\) or"),
        (lambda: scaler.push(np.zeros((9, 4, 3), np.uint8)), ValueError, r"\(rows, 5, 3\) for several"),
        (lambda: scaler.push(np.zeros((0, 5, 3), np.uint8)), ValueError, "has no pixels"),
        (lambda: scaler.push(np.zeros((5, 5, 3), np.uint8)), ValueError, "5 given, but of the page's 4 rows 4 are"),
        (lambda: scaler.apply(np.zeros((5, 4, 3), np.uint8)), ValueError, r"allowed is \(4, 5, 3\)"),
        (lambda: scaler.apply(RGB, np.zeros((2, 3, 3), np.uint8)), ValueError, r"out: has the shape \(2, 3, 3\)"),
        (lambda: scaler.apply(RGB, frozen(np.zeros((2, 2, 3), np.uint8))), ValueError, "out: is read-only"),
        (lambda: scaler.apply(RGB, RGB[:2, :2]), ValueError, "out: shares memory with the image"),
        (lambda: sharpener.apply(RGB, RGB), ValueError, "out: shares memory with the image"),
        (lambda: sharpener.apply(RGB, frozen(RGB.copy())), ValueError, "out: is read-only"),
        (lambda: sharpener.push(np.zeros((5, 3), np.uint16)), TypeError, "has dtype uint16; allowed is uint8"),
        (lambda: hsv.apply(np.zeros((4, 5), np.uint8)), ValueError, r"has the shape \(4, 5\); allowed is \(..., width, 3\)"),
        (lambda: hsv.apply(np.zeros((4, 5, 4), np.uint8)), ValueError, r"give image\[..., :3\]"),
        (lambda: hsv.apply(RGB.astype(np.uint16)), TypeError, "has dtype uint16; allowed is uint8"),
        (lambda: hsv.apply(RGB, frozen(RGB.copy())), ValueError, "out: is read-only; .* array.copy"),
        (lambda: hsv.apply(RGB, RGB[::-1]), ValueError, "out: shares memory with the image; allowed: the image"),
        (lambda: hsv.apply(RGB, np.zeros((4, 4, 3), np.uint8)), ValueError, "out: has the shape"),
        (lambda: hsv.apply(b"123456789"), ValueError, "has the shape"),
        (lambda: world.apply(np.zeros((4, 5, 4), np.uint8)), ValueError, r"give image\[..., :3\]"),
        (lambda: world.apply(np.zeros(4, np.int32)), TypeError, "has dtype int32; allowed is uint8"),
        (lambda: world.apply([1, 2]), TypeError, "image: must be an array"),
        (lambda: world.apply(RGB, frozen(RGB.copy())), ValueError, "out: is read-only"),
        (lambda: world.tables(16), ValueError, "depth: 16; allowed: 8 and 24"),
        (lambda: platen.ToneWorld([3]).tables(), TypeError, "must be BrightnessContrast, .* not int"),
        (lambda: platen.scale(RGB, (2, 2), np.zeros((2, 2, 3))), ValueError, "out: is dtype float64"),
        (lambda: platen.scale(RGB, 2), TypeError, r"size: must be a pair \(width, height\), not 2"),
        (lambda: platen.sharpen(RGB, 1, np.zeros((4, 5), np.uint8)), ValueError, "the image's shape"),
        (lambda: platen.sharpen(RGB == 0, 1), (TypeError, ValueError), "bilevel|allowed"),
    ]
    for number, (call, kind, message) in enumerate(cases):
        with pytest.raises(kind, match=message):
            call()
            pytest.fail(f"case {number} was not refused")
    assert scaler.rows_in == 0 and sharpener.rows_in == 0, "a refused call changes nothing"


def test_settings_say_their_ranges():
    cases = [
        (lambda: platen.HsvFilter(), ValueError, "all 0"),
        (lambda: platen.HsvFilter(hue=181), ValueError, "hue: 181 is out of range; allowed: -180 to 180"),
        (lambda: platen.HsvFilter(hue=1 << 70), ValueError, "out of range"),
        (lambda: platen.HsvFilter(hue="1"), TypeError, "hue: must be a whole number, -180 to 180, not '1'"),
        (lambda: platen.Sharpener(0, (5, 4)), ValueError, "level: 0 does nothing; allowed: -2, -1, 1, 2 and 3"),
        (lambda: platen.Sharpener(4, (5, 4)), ValueError, "level: 4 is out of range"),
        (lambda: platen.Sharpener(1, (2, 4)), ValueError, r"size: \(2, 4\); allowed: at least \(3, 2\)"),
        (lambda: platen.Sharpener(1, (5, 4), 16), ValueError, "bits: 16; allowed: 8 and 24"),
        (lambda: platen.Scaler((5, 4), (2, 2), 12), ValueError, "bits: 12; allowed: 1, 8, 16, 24, 32, 48 and 64"),
        (lambda: platen.Scaler((5, 0), (2, 2)), ValueError, "source_size: height: 0 is out of range"),
        (lambda: platen.Scaler((5, 4), (2, 1 << 31)), ValueError, "size: height: 2147483648 is out of range"),
        (lambda: platen.Scaler((5, 4), 7), TypeError, r"size: must be a pair \(width, height\), not 7"),
        (lambda: platen.Scaler((1 << 30, 4), (5, 5)), ValueError, "more than 2147483647 bytes"),
        (lambda: platen.Level(250), ValueError, "black: 250 is out of range; allowed: 0 to 247"),
        (lambda: platen.Level(output_white=8, output_black=5), ValueError, "output_white: must be at least 8 above"),
        (lambda: platen.Curves(kind="cubic"), ValueError, "kind: 'cubic'; allowed: gamma, polyline, spline"),
        (lambda: platen.ColorBalance((1, 2, 300)), ValueError, "shadows: 300 is out of range"),
        (lambda: platen.ColorBalance("abc"), TypeError, r"shadows: must be three values \(red, green, blue\)"),
    ]
    for number, (call, kind, message) in enumerate(cases):
        with pytest.raises(kind, match=message):
            call()
            pytest.fail(f"case {number} was not refused")


def test_numpy_numbers_are_numbers():
    assert platen.HsvFilter(np.int16(5)).saturation == 5
    assert platen.Level(np.uint8(30), gamma=np.float32(1.5)).gamma == 1.5


def test_settings_can_change_between_tables():
    level = platen.Level(30, 220)
    world = platen.ToneWorld([level])
    first = world.tables()
    level.white = 200
    assert not np.array_equal(world.tables(), first)
    level.black = 199
    with pytest.raises(ValueError, match="white: must be at least 8 above black, not 200 with 199"):
        world.tables()
    level.black, level.white = 30, 220
    assert np.array_equal(world.tables(), first)
    with pytest.raises(ValueError):
        level.white = 300
    assert level.white == 220


def test_a_page_under_way_is_not_lost():
    for stream in (platen.Scaler((5, 4), (2, 2)), platen.Sharpener(1, (5, 4))):
        stream.push(RGB[0])
        with pytest.raises(ValueError, match="a page is in progress, 1 of 4 rows"):
            stream.apply(RGB)
        with pytest.raises(ValueError, match="a page is in progress, 1 of 4 rows"):
            next(iter(stream.rows(RGB)))
        assert stream.rows_in == 1
        stream.push(RGB[1:])
        with pytest.raises(ValueError, match="0 are still to come"):
            stream.push(RGB[0])
        stream.apply(RGB)
        stream.push(RGB[0]) if stream.rows_in == 0 else None
        stream.reset()
        assert stream.rows_in == 0


def test_rows_say_when_the_source_is_short_or_long():
    scaler = platen.Scaler((5, 4), (2, 2))
    with pytest.raises(ValueError, match="the source ended after 3 of 4 rows"):
        list(scaler.rows(RGB[:3]))
    scaler.reset()
    with pytest.raises(ValueError, match="0 are still to come"):
        list(scaler.rows(list(RGB) + [RGB[0]]))


def test_too_large_a_page_is_a_memory_error():
    program = """
import resource, platen
resource.setrlimit(resource.RLIMIT_AS, (1 << 31, 1 << 31))
try:
    platen.Scaler((1 << 26, 1 << 30), (1 << 27, 1 << 30))
except MemoryError:
    print("MemoryError")
"""
    run = subprocess.run([sys.executable, "-c", program], stdout=subprocess.PIPE, text=True, check=True)
    assert run.stdout == "MemoryError\n"


def test_every_public_name_is_documented():
    for name in platen.__all__:
        thing = getattr(platen, name)
        assert thing.__doc__ and thing.__module__ == "platen", name
        for member, value in vars(thing).items() if isinstance(thing, type) else ():
            if not member.startswith("_") and callable(value):
                assert value.__doc__, f"{name}.{member}"
    for member in ("apply", "push", "reset", "rows"):
        assert getattr(platen.Scaler, member).__doc__
