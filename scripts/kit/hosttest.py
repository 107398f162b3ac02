"""Builds a host's test module from the build files alone: what they forget fails to compile or link."""

import atexit
import functools
import os
import pathlib
import re
import subprocess
import tempfile

NINJA = """
rule compile
  command = {launcher} g++ -O0 -fPIC $flags -MMD -MF $out.d -c $in -o $out
  depfile = $out.d
  deps = gcc
rule link
  command = g++ $in $flags -o $out
"""


def complaints(build, name):
    """What the compiler and the linker have to say of the test module `name`."""
    test = build.get(name, "cc_test_host")
    libraries = [build.get(library) for library in build.list(test, "shared_libs")]
    parts = [_part(build, module) for module in [*libraries, test]]
    return _make(str(build.tree.root.resolve()), tuple(parts), tuple(build.list(test, "ldflags")))


def _part(build, module):
    """Sources and compiler's flags of a module: the build's defaults are neither RTTI nor exceptions."""
    folders = [(module, folder) for folder in module.get("export_include_dirs", [])]
    for key in ("header_libs", "shared_libs"):
        for name in build.list(module, key):
            used = build.get(name)
            folders += [(used, folder) for folder in used.get("export_include_dirs", [])]
    flags = [f"-std={build.single(module, 'cpp_std')}", "-fno-exceptions"]
    flags += [] if build.single(module, "rtti") else ["-fno-rtti"]
    flags += build.list(module, "cflags") + build.list(module, "cppflags")
    flags += ["-I" + (used.folder + folder).rstrip("/") for used, folder in folders]
    return tuple(build.sources(module)), " ".join(flags)


@functools.lru_cache(maxsize=None)
def _folder():
    folder = tempfile.TemporaryDirectory()
    atexit.register(folder.cleanup)
    return pathlib.Path(folder.name)


@functools.lru_cache(maxsize=None)
def _make(root, parts, ldflags):
    """Objects stay from call to call, so that another list of sources costs little more than a link."""
    lines = [NINJA.format(launcher=os.environ.get("CMAKE_CXX_COMPILER_LAUNCHER", ""))]
    libraries = []
    for number, (sources, flags) in enumerate(parts):
        objects = []
        for source in sources:
            objects.append(f"{_folder()}/{number}/{source}.o")
            lines.append(f"build {objects[-1]}: compile {source}\n  flags = {flags}\n")
        last = number == len(parts) - 1
        out = f"{_folder()}/" + ("test" if last else f"lib{number}.so")
        link = [*ldflags, *libraries, "-lgtest_main -lgtest -pthread -ldl"] if last else ["-shared"]
        lines.append(f"build {out}: link {' '.join(objects)} | {' '.join(libraries)}\n"
                     f"  flags = {' '.join(link)}\n")
        libraries.append(out)
    script = _folder() / "build.ninja"
    script.write_text(f"builddir = {_folder()}\n" + "".join(lines))
    done = subprocess.run(["ninja", "--quiet", "-f", script], cwd=root, capture_output=True, text=True)
    if done.returncode == 0:
        return ""
    told = [line for line in done.stdout.splitlines() if re.search("error: |undefined reference", line)]
    return "\n".join(told[:5]) or done.stdout + done.stderr
