"""Reads build files of the kit: modules, with their defaults and file groups resolved."""

import re

TOKEN = re.compile(r'\s+|//[^\n]*|/\*.*?\*/|("(?:\\.|[^"\\])*")|([A-Za-z_]\w*)|(-?\d+)|([{}\[\]:,=+])',
                   re.S)

_COMMON = {"name", "defaults", "enabled", "vendor", "vendor_available", "host_supported", "required"}
_CC = _COMMON | {
    "srcs", "exclude_srcs", "cflags", "cppflags", "ldflags", "cpp_std", "rtti", "header_libs",
    "shared_libs", "static_libs", "whole_static_libs", "local_include_dirs", "export_include_dirs",
    "version_script", "init_rc", "compile_multilib", "lto", "relative_install_path", "test_suites",
}
# The properties of each type of module, as far as this kit has a use for them. A build ignores none:
# a name that it does not know fails it.
PROPERTIES = {
    "cc_defaults": _CC - {"enabled"},
    "cc_library_shared": _CC - {"test_suites"},
    "cc_library_host_shared": _CC - {"test_suites", "vendor", "init_rc"},
    "cc_library_headers": _COMMON | {"export_include_dirs", "header_libs"},
    "cc_binary": _CC - {"test_suites", "export_include_dirs"},
    "cc_test_host": _CC - {"vendor", "export_include_dirs", "init_rc"},
    "filegroup": {"name", "srcs", "exclude_srcs", "path"},
    "prebuilt_etc": _COMMON | {"src", "filename", "sub_dir"},
}


class Module(dict):
    def __init__(self, kind, folder, properties):
        super().__init__(properties)
        self.kind, self.folder = kind, folder


def parse(text, folder):
    tokens, at = [], 0
    while at < len(text):
        match = TOKEN.match(text, at)
        if match is None:
            raise ValueError(f"unexpected {text[at:at + 20]!r}")
        tokens += [group for group in match.groups() if group]
        at = match.end()
    tokens.append("")

    def value():
        token = tokens.pop(0)
        if token == "[":
            result = []
            while tokens[0] != "]":
                result.append(value())
                if tokens[0] == ",":
                    tokens.pop(0)
            tokens.pop(0)
        elif token == "{":
            result = {}
            while tokens[0] != "}":
                name = tokens.pop(0)
                tokens.pop(0)
                result[name] = value()
                if tokens[0] == ",":
                    tokens.pop(0)
            tokens.pop(0)
        elif token in ("true", "false"):
            result = token == "true"
        elif token.startswith('"'):
            result = re.sub(r"\\(.)", r"\1", token[1:-1])
        else:
            raise ValueError(f"unexpected {token!r}")
        if tokens[0] == "+":
            tokens.pop(0)
            result += value()
        return result

    modules = []
    while tokens[0]:
        kind = tokens.pop(0)
        modules.append(Module(kind, folder, value()))
    return modules


class Build:
    """All modules of the kit by name. What is wrong with them goes to `report`."""

    def __init__(self, tree, names, report):
        self.tree, self.report, self.modules = tree, report, {}
        for name in names:
            folder = name.rpartition("/")[0]
            for module in parse(tree.read(name), folder + "/" if folder else ""):
                allowed = PROPERTIES.get(module.kind)
                if allowed is None:
                    report(f"{name}: no type of module is called {module.kind}")
                    continue
                for unknown in module.keys() - allowed:
                    report(f"{name}: {module.kind} {module.get('name')} has no property {unknown}")
                if module["name"] in self.modules:
                    report(f"{name}: two modules are called {module['name']}")
                self.modules[module["name"]] = module

    def get(self, name, kind=None):
        module = self.modules.get(name)
        if module is None or (kind and module.kind != kind):
            self.report(f"no {kind or 'module'} is called {name}")
            return Module(kind, "", {"name": name})
        return module

    def list(self, module, key):
        """A list property, the module's defaults included."""
        own = module.get(key, [])
        for name in module.get("defaults", []):
            own = own + self.list(self.get(name, "cc_defaults"), key)
        return own

    def single(self, module, key):
        if key in module:
            return module[key]
        found = [self.single(self.get(name, "cc_defaults"), key) for name in module.get("defaults", [])]
        return next((value for value in found if value is not None), None)

    def files(self, module, entries, excluded=()):
        """The files that entries of a source list stand for, file groups resolved."""
        found = []
        for entry in entries:
            if entry.startswith(":"):
                group = self.get(entry[1:], "filegroup")
                names = self.files(group, group.get("srcs", []), group.get("exclude_srcs", []))
            elif ".." in entry.split("/"):
                self.report(f"{module['name']}: {entry} lies outside the build file's folder")
                continue
            else:
                names = self.tree.glob(module.folder + entry)
            if not names:
                self.report(f"{module['name']}: there is no {entry}")
            found += names
        gone = self.files(module, excluded) if excluded else []
        return sorted(set(found) - set(gone))

    def sources(self, module):
        return self.files(module, self.list(module, "srcs"), self.list(module, "exclude_srcs"))
