"""What the tests share: the oracle in C++, the tool, and random pages."""

import os
import pathlib
import subprocess

import numpy as np
import pytest

BUILD = pathlib.Path(os.environ["PLATEN_BUILD"])
SOURCE = pathlib.Path(os.environ["PLATEN_SOURCE"])
ORACLE = BUILD / "python" / "tests" / "python_oracle"
TOOL = BUILD / "programs" / "platen"
os.environ["XDG_CONFIG_HOME"] = "/nonexistent"  # nobody's default options


def oracle(*arguments, pixels=b""):
    """The bytes that a C++ host gets."""
    words = [str(ORACLE)] + [str(argument) for argument in arguments]
    return subprocess.run(words, input=bytes(pixels), stdout=subprocess.PIPE, check=True).stdout


def oracle_zoom(page, size, bits, width=None):
    """`page` through the C++ scaler; of packed bilevel pages the width in pixels must be said."""
    height = page.shape[0]
    source = page.shape[1] if width is None else width
    data = oracle("zoom", source, height, *size, bits, pixels=np.ascontiguousarray(page).tobytes())
    row = (size[0] + 7) // 8 if bits == 1 else size[0]
    return np.frombuffer(data, page.dtype).reshape((size[1], row) + page.shape[2:])


def oracle_hsv(page, saturation=0, hue=0, lightness=0):
    height, width = page.shape[:2]
    data = oracle("hsv", saturation, hue, lightness, width, height, pixels=np.ascontiguousarray(page).tobytes())
    return np.frombuffer(data, np.uint8).reshape(page.shape)


def oracle_sharp(page, level):
    height, width = page.shape[:2]
    bits = 8 if page.ndim == 2 else 24
    data = oracle("sharp", level, bits, width, height, pixels=np.ascontiguousarray(page).tobytes())
    return np.frombuffer(data, np.uint8).reshape(page.shape)


def random_page(seed, height, width, samples=1, dtype=np.uint8):
    shape = (height, width) if samples == 1 else (height, width, samples)
    top = np.iinfo(dtype).max
    return np.random.default_rng(seed).integers(0, top, shape, dtype=dtype, endpoint=True)


def guarded(shape, dtype):
    """An array in the middle of a larger one, with pixel, row and border strides of its own, and the larger one."""
    whole = np.full(tuple(2 * side + 3 for side in shape), 77, dtype)
    inner = whole[tuple(slice(1, 2 * side + 1, 2) for side in shape)]
    assert inner.shape == tuple(shape)
    return inner, whole


@pytest.fixture
def tool():
    if not TOOL.exists():
        pytest.skip("the tool isn't built")
    return TOOL


@pytest.fixture(autouse=True)
def no_program_outlives_its_test():
    yield
    import batches

    batches.end_all()
