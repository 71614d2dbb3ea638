"""Copies one solver library: strips it, then gives it, and what it needs, names of our own."""

import argparse
import os
import pathlib
import shutil
import subprocess


def pair(text: str) -> tuple[str, str]:
    """Split ``OLD=NEW``."""
    old, _, new = text.partition("=")
    return old, new


def replace_text(path: pathlib.Path, old: str, new: str) -> None:
    """Replace a string of the library's read-only data by another of the same length."""
    content = path.read_bytes()
    found = content.count(old.encode())
    if len(old) != len(new) or found != 1:
        raise SystemExit(f"{path.name}: {old!r} occurs {found} times, expected once, same length")
    path.write_bytes(content.replace(old.encode(), new.encode()))


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("source", type=pathlib.Path)
    parser.add_argument("destination", type=pathlib.Path)
    parser.add_argument("--strip", default="strip", help="the strip program")
    parser.add_argument("--patchelf", default="patchelf", help="the patchelf program")
    parser.add_argument("--needed", type=pair, action="append", default=[], metavar="OLD=NEW")
    parser.add_argument("--text", type=pair, action="append", default=[], metavar="OLD=NEW")
    arguments = parser.parse_args()

    arguments.destination.parent.mkdir(parents=True, exist_ok=True)
    work = arguments.destination.with_name(arguments.destination.name + ".part")
    shutil.copyfile(arguments.source, work)
    # Stripping a patched file moves its sections wrongly, so strip comes first.
    subprocess.run([arguments.strip, "--strip-unneeded", work], check=True)
    for old, new in arguments.text:
        replace_text(work, old, new)
    # DT_RPATH, unlike DT_RUNPATH, also holds for what the needed libraries need.
    command = [arguments.patchelf, "--set-soname", arguments.destination.name]
    command += ["--force-rpath", "--set-rpath", "$ORIGIN"]
    for old, new in arguments.needed:
        command += ["--replace-needed", old, new]
    subprocess.run([*command, work], check=True)
    work.chmod(0o755)
    os.replace(work, arguments.destination)


if __name__ == "__main__":
    main()
