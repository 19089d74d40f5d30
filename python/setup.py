"""Builds the extension module with CMake, from the sources that this folder lies among.

    /usr/bin/python3 -m pip install --no-build-isolation ./python

needs a compiler, CMake, pybind11, setuptools and numpy, and no network. PLATEN_BUILD_DIR names a build folder to use
(configured with -DPLATEN_PYTHON=ON); else the library is built in one of its own.
"""

import os
import pathlib
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

HERE = pathlib.Path(__file__).resolve().parent


class BuildWithCMake(build_ext):
    def build_extension(self, ext: Extension) -> None:
        folder = pathlib.Path(os.environ.get("PLATEN_BUILD_DIR", pathlib.Path(self.build_temp).resolve() / "cmake"))
        if "PLATEN_BUILD_DIR" not in os.environ:
            switches = ["-DPLATEN_PYTHON=ON", "-DPLATEN_BUILD_TOOL=OFF", "-DPLATEN_BUILD_TESTS=OFF"]
            command = ["cmake", "-S", HERE.parent, "-B", folder, "-DCMAKE_BUILD_TYPE=Release", *switches]
            subprocess.run(command + [f"-DPython_EXECUTABLE={sys.executable}"], check=True)
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count() or 1))
        subprocess.run(["cmake", "--build", folder, "--target", "_platen", "--parallel", jobs], check=True)
        target = pathlib.Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        built = list((folder / "python" / "platen").glob("_platen.*.so"))
        if len(built) != 1:
            sys.exit(f"setup.py: {folder} holds {len(built)} extension modules; build it anew with -DPLATEN_PYTHON=ON")
        shutil.copyfile(built[0], target)


setup(ext_modules=[Extension("platen._platen", sources=[])], cmdclass={"build_ext": BuildWithCMake})
