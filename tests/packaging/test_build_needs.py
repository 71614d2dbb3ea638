"""A build on a system that lacks something says what to install."""

import pathlib
import shutil
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]


@pytest.fixture
def configure(tmp_path):
    """Configures a build with nothing but cmake and the given programs on the path."""
    cmake = shutil.which("cmake", path=pathlib.Path(sys.executable).parent) or shutil.which("cmake")
    if cmake is None:
        pytest.skip("cmake is not installed")

    def run(*programs):
        path = tmp_path / "path"
        path.mkdir()
        for program in programs:
            (path / program).symlink_to(shutil.which(program) or "/bin/false")
        return subprocess.run(
            [cmake, "-S", ROOT, "-B", tmp_path / "build"],
            env={"PATH": str(path), "HOME": str(tmp_path)},
            capture_output=True,
            text=True,
        )

    return run


@pytest.mark.parametrize("programs", [(), ("cc",), ("g++",)], ids=["none", "only C", "only C++"])
def test_a_missing_compiler_is_named_with_its_package(configure, programs):
    result = configure(*programs)
    assert result.returncode != 0
    assert "Quilex is compiled when it is installed and needs a C++ compiler" in result.stderr
    assert "sudo apt-get install g++" in result.stderr
