"""Checks an installed wheel: what it needs, what it holds, and that a model can be solved.

Run by script/check-wheel with the interpreter of a fresh environment. Arguments: the wheel and a
program to run.
"""

import importlib.metadata
import pathlib
import runpy
import subprocess
import sys
import sysconfig
import zipfile

SYSTEM_LIBRARIES = {
    "linux-vdso.so.1",
    "ld-linux-x86-64.so.2",
    "libc.so.6",
    "libm.so.6",
    "libstdc++.so.6",
    "libgcc_s.so.1",
    "libz.so.1",
    "libpthread.so.0",
    "libdl.so.2",
}
SITE = pathlib.Path(sysconfig.get_path("platlib"))


def check(holds: bool, what: str) -> None:
    """Stop with a message unless ``holds``."""
    if not holds:
        raise SystemExit(f"check-wheel: {what}")


def dependencies(library: pathlib.Path) -> dict[str, str]:
    """Name and path ("" where not found) of everything the loader maps for a library."""
    output = subprocess.run(
        ["ldd", library], check=True, capture_output=True, text=True
    ).stdout.splitlines()
    found = {}
    for line in output:
        if line.strip() == "statically linked":  # needs no other library at all
            continue
        name, _, target = line.strip().partition(" => ")
        name = pathlib.Path(name.split(" (")[0]).name
        found[name] = "" if "not found" in target else target.split(" (")[0]
    return found


def check_libraries(names: list[str]) -> None:
    """Every library finds what it needs in the wheel or among the system's own libraries."""
    libraries = [SITE / name for name in names if ".so" in pathlib.PurePath(name).suffixes]
    shipped = {library.name for library in libraries}
    check("libqlx.so.33.01" in shipped, "libqlx.so.33.01 is missing")
    check(
        not any("metis" in name for name in shipped), "an ordering library that may not be shipped"
    )
    for library in libraries:
        for name, path in dependencies(library).items():
            # The unchanged run-time libraries have no search path of their own: what they need is
            # loaded before them.
            inside = name in shipped and (not path or SITE in pathlib.Path(path).parents)
            check(inside or name in SYSTEM_LIBRARIES, f"{library.name} needs {name} => {path}")
    print(f"{len(libraries)} libraries need nothing outside the wheel but the system's own")


def check_contents(names: list[str]) -> None:
    """Licences and type marker are there, and nothing that only the build needs."""
    for wanted in ("/licenses/LICENSE", "/licenses/NOTICE", "quilex/py.typed"):
        check(any(name.endswith(wanted) for name in names), f"{wanted} is missing")
    licences = [name for name in names if "/licenses/licenses/" in name]
    notice = next(name for name in names if name.endswith("/licenses/NOTICE"))
    for name in licences:
        short = pathlib.PurePath(name).name
        named = short in (SITE / notice).read_text() or short.startswith("HiGHS-")
        check(named, f"NOTICE does not say what {short} is for")
    check(
        not any(name.startswith("quilex.libs/") for name in names),
        "libraries from outside were copied into the wheel",
    )
    stray = [
        name for name in names if pathlib.PurePath(name).suffix in (".h", ".hpp", ".cpp", ".a")
    ]
    check(not stray, f"files that only the build needs: {stray}")
    print(f"{len(names)} files, {len(licences)} licence texts")


def main() -> None:
    wheel, program = sys.argv[1:]
    packages = {item.metadata["Name"].lower() for item in importlib.metadata.distributions()}
    check(
        packages <= {"quilex", "numpy", "pip", "setuptools"}, f"needs more than numpy: {packages}"
    )
    names = zipfile.ZipFile(wheel).namelist()
    check_contents(names)
    check_libraries(names)

    import quilex

    check(SITE in pathlib.Path(quilex.__file__).parents, f"imported from {quilex.__file__}")
    runpy.run_path(program, run_name="__main__")


if __name__ == "__main__":
    main()
