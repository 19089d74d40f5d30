"""The package can be installed by pip without a network, and works from where it then is."""

import importlib.util
import os
import subprocess
import sys

import conftest
import pytest


def test_pip_installs_it_offline(tmp_path):
    for needed in ("pip", "setuptools"):
        if importlib.util.find_spec(needed) is None:
            pytest.skip(f"{needed} is missing")
    environment = dict(os.environ, PLATEN_BUILD_DIR=str(conftest.BUILD), PIP_DISABLE_PIP_VERSION_CHECK="1")
    if os.environ.get("PLATEN_INSTALL_WHOLE"):  # the library is compiled for it too: some minutes
        del environment["PLATEN_BUILD_DIR"]
    target = tmp_path / "site"
    sources = tmp_path / "tree"
    # pip leaves its files beside setup.py: not in the tree at hand.
    sources.mkdir()
    for entry in conftest.SOURCE.iterdir():
        if entry.name not in ("python", "build", ".git"):
            (sources / entry.name).symlink_to(entry)
    subprocess.run(["cp", "-r", str(conftest.SOURCE / "python"), str(sources / "python")], check=True)
    command = [sys.executable, "-m", "pip", "install", "--quiet", "--no-build-isolation", "--no-deps", "--no-index"]
    run = subprocess.run(
        command + ["--target", str(target), str(sources / "python")],
        env=environment,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        check=False,
    )
    assert run.returncode == 0, run.stdout
    program = (
        "import numpy, platen; assert platen.__file__.startswith(%r), platen.__file__;"
        "print(platen.adjust(numpy.full((4, 4, 3), 200, 'u1'), levels=(30, 220), scale=0.5).tolist()[0][0],"
        " platen.__version__)" % str(target)
    )
    environment["PYTHONPATH"] = str(target)
    out = subprocess.run([sys.executable, "-c", program], env=environment, stdout=subprocess.PIPE, text=True, check=True)
    assert out.stdout == "[228, 228, 228] 1.0.0\n"
    assert (target / "platen" / "py.typed").exists() and (target / "platen" / "_platen.pyi").exists()


def test_the_version_is_the_projects():
    import platen

    text = (conftest.SOURCE / "CMakeLists.txt").read_text()
    assert f"project(platen VERSION {platen.__version__} " in text
