# The Python package's tests run against the installed package (from outside
# the source tree) and compare it with the `wzss` command of a CMake build:
# WZSS_BUILD names that build (default: build/ of this checkout).
import os
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("WZSS_BUILD", ROOT / "build"))
SAMPLES = sorted((ROOT / "samples").glob("*.wzs"))


def command(*args: str) -> str:
    """The command's output, decoded as the package decodes texts."""
    return subprocess.run([str(BUILD / "bin" / "wzss"), *args], check=True,
                          stdout=subprocess.PIPE).stdout.decode("utf-8", "replace")


@pytest.fixture(scope="session")
def generated(tmp_path_factory):
    """Four generated workbooks of 128 KiB, seeds 1 to 4."""
    folder = tmp_path_factory.mktemp("generated")
    paths = []
    for seed in range(1, 5):
        path = folder / f"gen{seed}.wzs"
        subprocess.run([str(BUILD / "bin" / "wzgen"), "--size", "128K", "--seed", str(seed),
                        "-o", str(path)], check=True)
        paths.append(str(path))
    return paths


@pytest.fixture(scope="session")
def workbooks(generated):
    """The samples and one generated workbook."""
    return [str(path) for path in SAMPLES] + generated[:1]
