"""What the documents show runs, and the types that the stubs promise are there."""

import os
import re
import subprocess
import sys

import conftest
import numpy as np
import pytest

import platen


def python_blocks(name):
    text = (conftest.SOURCE / name).read_text()
    return re.findall(r"^```python\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)


def run(arguments, folder, **more):
    environment = dict(os.environ, **more)
    done = subprocess.run(
        [str(word) for word in arguments],
        cwd=folder,
        env=environment,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        check=False,
    )
    assert done.returncode == 0, done.stdout
    return done.stdout


def test_readme_example(tmp_path, tool):
    Image = pytest.importorskip("PIL.Image")
    (example,) = python_blocks("README.md")
    assert len(example.splitlines()) == 5
    Image.fromarray(conftest.random_page(1, 60, 40, 3)).save(tmp_path / "page.png")
    (tmp_path / "example.py").write_text(example)
    run([sys.executable, "example.py"], tmp_path)
    run([tool, "--levels=30,220", "--saturation=10", "--scale=0.5", "page.png", "-o", "tool.png"], tmp_path)
    assert np.array_equal(Image.open(tmp_path / "adjusted.png"), Image.open(tmp_path / "tool.png"))


def test_blocks_of_the_guide(tmp_path):
    blocks = python_blocks("docs/python.md")
    assert len(blocks) == 2
    for number, block in enumerate(blocks):
        (tmp_path / f"{number}.py").write_text(block)
        run([sys.executable, f"{number}.py"], tmp_path)


def example(name):
    return conftest.SOURCE / "examples" / name


def test_pillow_example(tmp_path):
    Image = pytest.importorskip("PIL.Image")
    page = conftest.random_page(2, 60, 40, 3)
    Image.fromarray(page).save(tmp_path / "in.png", dpi=(200, 200))
    run([sys.executable, example("pillow_page.py"), "in.png", "out.png"], tmp_path)
    out = Image.open(tmp_path / "out.png")
    assert np.array_equal(out, platen.adjust(page, levels=(30, 220), saturation=10, scale=0.5))
    assert [round(value) for value in out.info["dpi"]] == [100, 100]


def test_tifffile_example(tmp_path):
    tifffile = pytest.importorskip("tifffile")
    pages = [conftest.random_page(seed, 60, 40, 3, np.uint16) for seed in (3, 4)]
    with tifffile.TiffWriter(tmp_path / "in.tif") as out:
        for page in pages:
            out.write(page, photometric="rgb")
    run([sys.executable, example("tifffile_page.py"), "in.tif", "out.tif"], tmp_path)
    with tifffile.TiffFile(tmp_path / "out.tif") as halves:
        assert len(halves.pages) == 2
        for page, half in zip(pages, halves.pages):
            assert np.array_equal(half.asarray(), conftest.oracle_zoom(page, (20, 30), 48))


def test_imageio_example(tmp_path):
    imageio = pytest.importorskip("imageio")
    page = conftest.random_page(5, 60, 40)
    imageio.imwrite(tmp_path / "in.png", page)
    run([sys.executable, example("imageio_page.py"), "in.png", "out.png"], tmp_path)
    out = np.asarray(imageio.imread(tmp_path / "out.png"))
    assert np.array_equal(out, platen.adjust(page, contrast=25, sharpness=1))


def test_pipeline_example(tmp_path):
    page = conftest.random_page(6, 61, 43, 3)
    (tmp_path / "in.ppm").write_bytes(b"P6\n43 61\n255\n" + page.tobytes())
    run([sys.executable, example("pipeline.py"), "in.ppm", "out.ppm"], tmp_path)
    settings = dict(levels=(20, 235, 1.2), contrast=10, saturation=15, sharpness=1, size=(22, 31))
    expected = platen.adjust(page, **settings, order="tone,hsv,sharpen,scale")
    assert (tmp_path / "out.ppm").read_bytes() == b"P6\n22 31\n255\n" + expected.tobytes()
    assert len(example("pipeline.py").read_text().splitlines()) <= 40


def mypy(module, *arguments, folder):
    pytest.importorskip("mypy")
    build = str(conftest.BUILD / "python")
    words = [sys.executable, "-m", module, *arguments]
    return run(words, folder, MYPYPATH=build, PYTHONPATH=build, MYPY_CACHE_DIR=str(folder))


def test_examples_and_package_are_typed(tmp_path):
    config = conftest.SOURCE / "python" / "mypy.ini"
    files = [*(conftest.SOURCE / "examples").glob("*.py"), *(conftest.BUILD / "python/platen").rglob("*.py")]
    mypy("mypy", "--config-file", config, *files, folder=tmp_path)


def test_stubs_say_what_the_package_has(tmp_path):
    here = conftest.SOURCE / "python"
    config, allowed = here / "mypy.ini", here / "tests" / "stubtest_allowlist.txt"
    mypy("mypy.stubtest", "platen", "--mypy-config-file", config, "--allowlist", allowed, folder=tmp_path)


def test_the_types_refuse_what_the_calls_refuse(tmp_path):
    (tmp_path / "wrong.py").write_text('import platen\nplaten.adjust(b"", levels=30, levles=(1, 2))\n')
    with pytest.raises(AssertionError, match="(?s)(levles.*levels|levels.*levles)"):
        mypy("mypy", "--config-file", conftest.SOURCE / "python/mypy.ini", "wrong.py", folder=tmp_path)
