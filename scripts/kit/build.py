"""What CMake builds for a device: sources, headers, options, and other builds of single sources."""

import functools
import json
import os
import pathlib
import re
import shlex
import subprocess


def run(*command, **options):
    """What it prints. Its last words, when it fails, are the exception's."""
    done = subprocess.run(command, capture_output=True, text=True, **options)
    if done.returncode:
        raise RuntimeError("\n".join((done.stdout + done.stderr).strip().splitlines()[-30:]))
    return done.stdout


class Build:
    UNIT_TESTS = ("drivers_test", "sensors_test", "hub_test", "direct_channel_test")

    def __init__(self, root, folder):
        """As a device's tree builds: no simulated hub in the tool, neither RTTI nor exceptions."""
        self.root, self.folder = pathlib.Path(root).resolve(), pathlib.Path(folder).resolve()
        run("cmake", "-G", "Ninja", "-S", self.root, "-B", self.folder,
            "-DSUBHALCTL_SIMULATOR=OFF", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=",
            "-DCMAKE_CXX_FLAGS=-fno-rtti -fno-exceptions")
        run("ninja", "-C", self.folder, "sensorhub_subhal", "subhalctl", *self.UNIT_TESTS)
        commands = json.loads((self.folder / "compile_commands.json").read_text())
        self.commands = {os.path.relpath(row["file"], self.root): shlex.split(row["command"])
                         for row in commands}
        library = self.commands["subhal/SubHalEntry.cpp"]
        self.standard = next(word[5:] for word in library if word.startswith("-std="))
        self.includes = sorted(os.path.relpath(word, self.root) for word in library
                               if word.endswith("/include"))
        self.exports = [os.path.relpath(word.partition("script=")[2], self.root)
                        for word in self.link("sensorhub_subhal") if "version-script=" in word]

    def link(self, target):
        commands = run("ninja", "-C", self.folder, "-t", "commands", target)
        return shlex.split(commands.splitlines()[-1])

    @functools.lru_cache
    def objects(self, *targets):
        """Source: object, of all that is linked into the targets, archives whole."""
        found = []
        for word in sum((self.link(target) for target in targets), []):
            if word.endswith(".a") and not word.startswith("/"):
                found += run("ninja", "-C", self.folder, "-t", "inputs", word).splitlines()
            found.append(word)
        platform = targets == ("platform_standin",)
        return {re.sub(r"CMakeFiles/.*\.dir/|\.o$", "", name): name for name in found
                if name.endswith(".cpp.o") and name.startswith("platform/") == platform}

    def sources(self, *targets):
        """As a build file names them: folders that are in whole by a pattern."""
        names = set(self.objects(*targets))
        found = set()
        for folder in {os.path.dirname(name) for name in names}:
            there = {f"{folder}/{path.name}" for path in (self.root / folder).glob("*.cpp")}
            found |= {folder + "/*.cpp"} if there <= names else there & names
        return sorted(found)

    def headers(self, target):
        """Headers of the platform and of libraries that the compiler read."""
        listed = run("ninja", "-C", self.folder, "-t", "deps", *self.objects(target).values())
        return sorted(set(re.findall(
            r"(?:platform/\w+/include/|^ +/usr/include/(?=CLI/|nlohmann/))(.*)", listed, re.M)))

    def options(self, target):
        """Options that a device's tree does not have by itself."""
        words = sum((self.commands[name] for name in self.objects(target)), [])
        return sorted({word for word in words
                       if re.match("-D(?!.*_EXPORTS)|-fvisibility=|-fexceptions", word)})

    def link_options(self, *targets):
        return ["-rdynamic"] if all("-rdynamic" in self.link(target) for target in targets) else []

    def library(self, edited, scratch):
        """The library with another text of one source."""
        (name, text), = edited.items()
        made, library = scratch / "edited.o", scratch / "libedited.so"
        command = self.commands[name]
        run(*command[:command.index("-o")], "-o", made, "-c", "-x", "c++", "-", input=text,
            cwd=self.folder)
        words, own = self.link("sensorhub_subhal"), self.objects("sensorhub_subhal")[name]
        words = [word for word in words if word not in (":", "&&", own)]
        # Before the archives, whose object of the same source is left out then.
        words[words.index("-o") + 1] = library
        run(*words[:1], made, *words[1:], cwd=self.folder)
        return library

    def link_unit_test(self, scratch):
        """The unit tests in one program, as the device's tree builds them."""
        program = scratch / "unit_test"
        run("g++", *self.objects(*self.UNIT_TESTS).values(), *self.link_options(*self.UNIT_TESTS),
            "platform/libplatform_standin.so", f"-Wl,-rpath,{self.folder}/platform",
            "-lgtest_main", "-lgtest", "-ldl", "-o", program, cwd=self.folder)
        if "RUN" not in run(program, "--gtest_filter=-*.*Death*"):
            raise RuntimeError("the unit test ran no test")

    def read_elsewhere(self, name, text):
        """As a C library that declares its calls like the device's, and the device's C++ library,
        have the compiler see it."""
        options = [word for word in self.commands[name] if re.match("-D|-std=|-fexceptions", word)]
        for folder in ("/usr/lib/llvm-14/include/c++/v1", "/usr/include/x86_64-linux-musl",
                       *(self.root / folder for folder in self.includes)):
            options += ["-isystem", folder]
        run("clang++", *options, "-fsyntax-only", "-fno-rtti", "-nostdlibinc",
            "-D_LIBCPP_HAS_MUSL_LIBC", "-D_GNU_SOURCE", "-idirafter", "/usr/include",
            "-idirafter", "/usr/include/x86_64-linux-gnu", f"-I{self.root}", "-x", "c++", "-",
            input=text)
