"""Builds the native module wzss._wzss and the plug-in libwzss.so with CMake
and puts both inside the package, so the installed package needs nothing
from the source tree. Metadata lives in pyproject.toml."""
import os
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build = Path(self.build_temp).resolve() / "cmake"
        configure = ["cmake", "-S", str(ROOT), "-B", str(build),
                     "-DCMAKE_BUILD_TYPE=Release", "-DWZSS_BUILD_TESTS=OFF",
                     "-DWZSS_BUILD_BENCHMARKS=OFF", "-DWZSS_BUILD_PYTHON=ON",
                     "-DPYBIND11_FINDPYTHON=ON", f"-DPython_EXECUTABLE={sys.executable}"]
        if shutil.which("ccache"):
            configure += ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache",
                          "-DCMAKE_C_COMPILER_LAUNCHER=ccache"]
        subprocess.run(configure, check=True)
        subprocess.run(["cmake", "--build", str(build), "-j", str(os.cpu_count() or 2),
                        "--target", "_wzss", "wzss"], check=True)
        target = Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        module = next((build / "lib").glob("_wzss*.so"))
        shutil.copy2(module, target)
        shutil.copy2(build / "lib" / "libwzss.so", target.parent / "libwzss.so")


setup(ext_modules=[Extension("wzss._wzss", sources=[])],
      cmdclass={"build_ext": CMakeBuild},
      options={"build": {"build_base": "build-python"}})
