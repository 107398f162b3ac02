"""The files of the project, and what its C++ sources say."""

import copy
import functools
import json
import pathlib
import re
import subprocess
import sys
import tempfile

PRODUCT = ("common/", "directchannel/", "hub/", "sensors/", "subhal/")
PATHS_HEADER = "sensors/HubPaths.h"


class Tree:
    """The project's files; `edits` puts other texts (None: no such file) in the place of some."""

    def __init__(self, root):
        self.root, self._edits = pathlib.Path(root), {}
        listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=root,
                                check=True, capture_output=True, text=True).stdout.splitlines()
        self.files = sorted(name for name in set(listed) if (self.root / name).is_file())

    def edited(self, edits):
        """The same tree with other texts for some files, or with further files."""
        tree = copy.copy(self)
        tree._edits = {**self._edits, **edits}
        tree.files = sorted({*self.files, *edits})
        return tree

    def read(self, name):
        return self._edits[name] if name in self._edits else (self.root / name).read_text()

    def glob(self, pattern):
        """Files that match as in a build file: ** stands for any folders, or none."""
        regex = re.escape(pattern).replace(r"\*\*/", "(?:.*/)?").replace(r"\*", "[^/]*")
        return [name for name in self.files if re.fullmatch(regex, name)]

    def product(self, *suffixes):
        return [name for name in self.files
                if name.startswith(PRODUCT) and name.endswith(suffixes)]


def code(text):
    """C++ without comments."""
    return re.sub(r'("(?:\\.|[^"\\\n])*")|//[^\n]*|/\*.*?\*/', lambda m: m.group(1) or " ", text,
                  flags=re.S)


def literals(text):
    return re.findall(r'"((?:\\.|[^"\\\n])*)"', code(text))


def constants(tree):
    """Name -> text of every path in the one header that has them."""
    return dict(re.findall(r'constexpr char (k\w+)\[\] =\s*"([^"]*)"', code(tree.read(PATHS_HEADER))))


def nodes(tree, report):
    """Path -> names of the constants that make it, for every node that the library opens."""
    known = constants(tree)
    found = {}
    directory, prefix = known.get("kIioDirectory", ""), known.get("kIioPrefix", "")
    for name, text in known.items():
        if name == "kIioPrefix" or name == "kDumpName":
            continue
        if name == "kDumpSourceDirectory":
            path = text + known.get("kDumpName", "")
        elif text.startswith("/"):
            path = text + "*" if name == "kIioDevice" else text
        elif text.startswith("sys/"):  # relative to the service's working directory, "/"
            path = "/" + text
        elif name.startswith("kIio"):
            path = f"{directory}{prefix}*/{text}"
        else:
            report(f"{PATHS_HEADER}: what {name} is part of is not known to the check")
            continue
        found[path] = name
    for name in tree.product(".h", ".cpp"):
        if name == PATHS_HEADER:
            continue
        for text in literals(tree.read(name)):
            if re.match(r"/?(sys|dev|data|proc|vendor|odm|system|mnt|etc|tmp|buffer)/", text):
                report(f"{name}: a path, {text}, outside {PATHS_HEADER}")
    return found


def opened_for(tree):
    """Constant -> "reading", "writing" or "both", of those that stand in an open() call."""
    words = {"O_RDONLY": "reading", "O_WRONLY": "writing", "O_RDWR": "both"}
    found = {}
    for name in tree.product(".cpp"):
        for constant, flags in re.findall(r"open\(\s*paths::(k\w+),\s*(O_\w+)", code(tree.read(name))):
            found.setdefault(constant, set()).add(words[flags])
    return {constant: kinds.pop() if len(kinds) == 1 else "both" for constant, kinds in found.items()}


def properties(tree):
    """Property -> {"get", "set"}; a name may stand behind a constant of its file."""
    found = {}
    for name in tree.product(".cpp"):
        text = code(tree.read(name))
        named = dict(re.findall(r'constexpr char (k\w+)\[\] =\s*"([^"]*)"', text))
        for call, argument in re.findall(r'property_(get|set)\(\s*([\w:]+|"[^"]*")', text):
            found.setdefault(named.get(argument, argument.strip('"')), set()).add(call)
    return found


def handles(tree):
    """Handles that the proxy can name: the catalogue's, and the context sensor's."""
    table = re.findall(r"\{(\d+), \w+<", code(tree.read("sensors/SensorList.cpp")))
    own = re.search(r"kQContextHandle = (\d+)", tree.read("sensors/SensorHandles.h"))
    return {int(handle) for handle in table} | {int(own.group(1))}


def includes(tree, names):
    """Headers in angle brackets that `names` include, those of the stand-ins' headers too."""
    found, waiting = set(), list(names)
    platform = {name.split("/include/", 1)[1]: name for name in tree.glob("platform/*/include/**/*.h")}
    while waiting:
        for header in re.findall(r"#include <([^>]*)>", code(tree.read(waiting.pop()))):
            if header not in found:
                found.add(header)
                if header in platform:
                    waiting.append(platform[header])
    return {header for header in found if header in platform}


@functools.lru_cache
def device_tool(root):
    """What CMake builds subhalctl from for a device, apart from the library and the platform: sources,
    and names that are defined for them."""
    with tempfile.TemporaryDirectory() as build:
        done = subprocess.run(["cmake", "-G", "Ninja", "-S", root, "-B", build,
                               "-DSUBHALCTL_SIMULATOR=OFF"], capture_output=True, text=True)
        if done.returncode:
            sys.exit(done.stderr)
        listed = subprocess.run(["ninja", "-C", build, "-t", "inputs", "subhalctl"], check=True,
                                capture_output=True, text=True).stdout
        commands = json.loads(pathlib.Path(build, "compile_commands.json").read_text())
    names = re.findall(rf"^{re.escape(str(root.resolve()))}/(.*\.cpp)$", listed, re.M)
    defined = {name for command in commands if "/tools/subhalctl/" in command["file"]
               for name in re.findall(r"-D(SUBHALCTL_\w+)", command["command"])}
    return {name for name in names if not name.startswith((*PRODUCT, "platform/"))}, defined


def _arguments(text):
    """The arguments of a call, from behind its opening parenthesis."""
    found, depth, start, at = [], 0, 0, 0
    for at, token in ((m.start(), m.group()) for m in re.finditer(r'"(?:\\.|[^"\\])*"|[(){},]', text)):
        if token in "({":
            depth += 1
        elif token in ")}":
            depth -= 1
        if depth < 0 or (depth == 0 and token == ","):
            found.append(text[start:at].strip())
            start = at + 1
        if depth < 0:
            break
    return found


def log_formats(tree):
    """Level -> regular expressions of the lines that the library logs. Arguments that the sources fix,
    as names of methods, are filled in; what is left without a word of its own would match any line."""
    conversion = re.compile(r"%[-+ 0#.\d]*(?:hh|h|ll|l|z)?[a-zA-Z]")
    found = {}
    for name in tree.product(".h", ".cpp"):
        text = code(tree.read(name)).replace('" PRId64 "', "d").replace('" PRId64', 'd"')
        fixed = dict(re.findall(r'constexpr char (k\w+)\[\] =\s*("[^"]*")', text))
        for match in re.finditer(r"ALOG([VDIWE])\(", text):
            format_, *arguments = _arguments(text[match.end():])
            format_ = "".join(re.findall(r'"((?:\\.|[^"\\])*)"', format_)).replace(r"\n", "")
            literal, *rest = conversion.split(format_)
            regex = re.escape(literal)
            for literal, argument in zip(rest, arguments):
                argument = fixed.get(argument, argument)
                regex += re.escape(argument[1:-1]) if argument[:1] == '"' else ".*"
                regex += re.escape(literal)
            if len(re.findall("[A-Za-z]", regex)) > 3:
                found.setdefault(match.group(1), set()).add(regex)
    # Each sensor object says the name of its class.
    for name in tree.product(".h", ".cpp"):
        for class_ in re.findall(r"^class (\w+)", tree.read(name), re.M):
            found["I"].add(class_)
    return found
