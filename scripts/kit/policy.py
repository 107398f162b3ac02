"""Compiles the kit's policy on a small platform, and answers what it labels and allows."""

import pathlib
import re
import subprocess

import setools

HERE = pathlib.Path(__file__).parent
DOMAIN = "hal_sensors_default"
SEPOLICY = "device/sepolicy/"
RULES = SEPOLICY + "hal_sensors_default.te"


class Failed(Exception):
    pass


def _run(*command, text=None):
    done = subprocess.run(command, input=text, capture_output=True, text=True)
    if done.returncode:
        raise Failed(f"{command[0]}: {(done.stderr + done.stdout).strip()}")
    return done.stdout


class Policy:
    def __init__(self, tree, scratch, platform=""):
        """`platform` stands for further rules that a device's tree has."""
        scratch = pathlib.Path(scratch)
        rules = "".join(tree.read(name) for name in tree.glob(SEPOLICY + "*.te"))
        self._genfs_text = tree.read(SEPOLICY + "genfs_contexts")
        text = ((HERE / "platform_macros").read_text() + (HERE / "platform_policy.head").read_text() +
                platform + rules + (HERE / "platform_policy.tail").read_text() + self._genfs_text)
        source, binary = scratch / "policy.conf", scratch / "policy"
        source.write_text(_run("m4", "-s", text=text))
        _run("checkpolicy", "-M", "-c", "30", "-o", str(binary), str(source))
        self._policy = setools.SELinuxPolicy(str(binary))
        self.types = {str(type_) for type_ in self._policy.types()}

        self._contexts = scratch / "file_contexts"
        self._contexts.write_text((HERE / "platform_file_contexts").read_text() +
                                  tree.read(SEPOLICY + "file_contexts"))
        _run("sefcontext_compile", "-p", str(binary), "-o", str(scratch / "file_contexts.bin"),
             str(self._contexts))

        self.properties = {}
        for line in tree.read(SEPOLICY + "property_contexts").splitlines():
            match = re.fullmatch(r"([\w.]+)\s+u:object_r:(\w+):s0\s+exact (string|bool|int)", line)
            if match is None or match.group(2) not in self.types:
                raise Failed(f"property_contexts: {line}")
            self.properties[match.group(1)] = match.group(2)

    def file_label(self, path, kind):
        found = _run("selabel_lookup", "-b", "file", "-f", str(self._contexts), "-k", path, "-t", kind)
        return found.strip().split(":")[-2]

    def sysfs_label(self, path):
        """The label of the longest genfs path that `path` begins with."""
        found = [(rule.path, str(rule.context.type_)) for rule in self._policy.genfscons()
                 if rule.fs == "sysfs" and path.startswith(rule.path)]
        return max(found, key=lambda rule: len(rule[0]))[1]

    def sysfs_paths(self):
        return re.findall(r"^genfscon sysfs (\S+)", self._genfs_text, re.M)

    def kit_types(self, tree):
        return {name for file in tree.glob(SEPOLICY + "*.te")
                for name in re.findall(r"^(?:type|vendor_\w+_prop\()\s*(\w+)", tree.read(file), re.M)}

    def allowed(self):
        """(type, class) -> permissions that rules for the domain itself give it."""
        found = {}
        for rule in setools.TERuleQuery(self._policy, ruletype=["allow"], source=DOMAIN,
                                        source_indirect=False).results():
            target = "self" if str(rule.target) == DOMAIN else str(rule.target)
            found.setdefault((target, str(rule.tclass)), set()).update(map(str, rule.perms))
        return found

    def requests(self):
        """Type -> numbers of the ioctl requests that the domain may make there."""
        found = {}
        for rule in setools.TERuleQuery(self._policy, ruletype=["allowxperm"], source=DOMAIN,
                                        source_indirect=False).results():
            numbers = found.setdefault(str(rule.target), set())
            numbers.update(rule.perms)
        return found
