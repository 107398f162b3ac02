"""Generates the kit's files, and checks them, the table and what is written by hand."""

import concurrent.futures
import pathlib
import re
import tempfile
import types

import build as builds
import generate
import observe

HERE = pathlib.Path(__file__).parent
TABLE, CONFINEMENT = "device/nodes.py", generate.SEPOLICY + "sensorhub_confinement.te"
PRODUCT = ("subhal/", "sensors/", "hub/", "directchannel/")
OVERRIDES = ("chown dac_override dac_read_search fowner mknod sys_admin sys_module sys_ptrace "
             "sys_rawio")
# What the confinement has to refuse when a rule for another part of the service grants it.
REFUSED = {("other_vendor_data_file", class_): "append create open read rename setattr unlink write"
           for class_ in ("file", "lnk_file", "fifo_file", "sock_file")}
REFUSED.update({("other_vendor_data_file", "dir"): "add_name remove_name write",
                ("mnt_vendor_file", "file"): "append create rename unlink write",
                ("sysfs", "file"): "append write", ("sysfs_sensorhub", "file"): "append write",
                ("hal_sensors_default", "capability"): OVERRIDES,
                ("sensorhub_vendor_data_file", "file"): "entrypoint execute execute_no_trans"})


class Kit:
    def __init__(self, root, build):
        self.root, self.tool = pathlib.Path(root), f"{build}/tools/subhalctl/subhalctl"
        self.session = f"{build}/tests/session_calls"
        self.build = builds.Build(root, f"{build}/kit")
        self.sound = self.observed(self.build.folder / "subhal/libsensorhub_subhal.so")

    def observed(self, library):
        return observe.observe(self.tool, str(library), self.session)

    def read(self, edits):
        return lambda name: edits[name] if name in edits else (self.root / name).read_text()

    def table(self, read):
        found = types.SimpleNamespace()
        exec(read(TABLE), found.__dict__)  # by its text, which may be edited
        return found

    def elsewhere(self, edits):
        """Has the compiler read what a device's tree compiles, or the edited sources alone."""
        names = [name for name in self.build.objects("sensorhub_subhal", "subhalctl")
                 if not edits or name in edits]
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            list(pool.map(self.build.read_elsewhere, names, map(self.read(edits), names)))

    def check(self, edits):
        """All complaints about the project with these other texts: name -> text."""
        found = []
        with tempfile.TemporaryDirectory() as name:
            scratch = pathlib.Path(name)
            try:
                self.check_all(edits, scratch, found.append)
            except (RuntimeError, ValueError, KeyError) as error:
                found.append(str(error))
        return found

    def check_all(self, edits, scratch, report):
        read = self.read(edits)
        self.elsewhere(edits)
        if not edits:
            self.build.link_unit_test(scratch)
        table, observed = self.table(read), self.sound
        if edited := {file: text for file, text in edits.items() if file.startswith(PRODUCT)}:
            observed = self.observed(self.build.library(edited, scratch))
        compare(table, observed, report)
        files = generate.generate(read, self.build, table, observed)
        for file, text in files.items():
            if read(file) != text:
                report(f"{file}: not what is generated: run scripts/check-kit.sh generate")
        check_policy(read, scratch, report)
        check_guide(read(generate.GUIDE), observed, files, report)


def compare(table, observed, report):
    """The table against what the library was seen to do, both ways."""
    def differ(what, does, have):
        for item in sorted(map(str, does - have)):
            report(f"the library {what} {item}, which {TABLE} does not have")
        for item in sorted(map(str, have - does)):
            report(f"{TABLE}: the library never {what} {item}")

    if not (observed.handles and observed.opens and observed.log):
        report("the library was not seen to do anything")
    for request in sorted(observed.failed):
        report(f"subhalctl --sim {request} fails")
    differ("opens", observed.opens,
           {(node.path, way) for node in table.NODES for way in node.opened.split()})
    differ("asks", observed.requests,
           {(node.path, node.request | handle) for node in table.NODES if node.request
            for handle in observed.handles})
    differ("uses", observed.properties, {row[:2] for row in table.PROPERTIES})
    for node in table.NODES:
        if node.label not in table.LABELS:
            report(f"{node.path}: label {node.label} is not declared")
        bits = 0
        for way in node.opened.split():
            bits |= {"RDONLY": 4, "WRONLY": 2, "RDWR": 6}.get(way.split("+")[0], 7)
        shared = node.path.startswith("/sys/bus/iio")  # the kernel's own modes
        if node.mode is not None and node.mode != (0o444 | bits << 6 if shared else bits * 0o110):
            report(f"{node.path}: mode {node.mode:04o} is not what {node.opened} needs")


def check_policy(read, scratch, report):
    """That it compiles on a small platform, its contexts too, and that the confinement holds."""
    def compiled(grants=""):
        rules = "".join(read(generate.SEPOLICY + name + ".te") for name in (
            "file", "device", "property", generate.DOMAIN, "sensorhub_confinement"))
        platform = (HERE / "platform_policy").read_text()
        text = builds.run("m4", "-s", input=platform.replace("KIT\n", rules + grants))
        source = scratch / "policy.conf"
        source.write_text(text + read(generate.SEPOLICY + "genfs_contexts"))
        builds.run("checkpolicy", "-M", "-c", "30", "-o", scratch / "policy", source)

    compiled()
    contexts = scratch / "file_contexts"
    contexts.write_text(read(generate.SEPOLICY + "file_contexts"))
    builds.run("sefcontext_compile", "-p", scratch / "policy", "-o", scratch / "contexts", contexts)
    for name in re.findall(r"u:object_r:(\w+)", read(generate.SEPOLICY + "property_contexts")):
        if not name.startswith("vendor_"):
            report(f"property type {name}: the platform's check wants vendor_ before it")
    grants = "".join(f"allow {generate.DOMAIN} {type_}:{class_} {{ {words} }};\n"
                     for (type_, class_), words in REFUSED.items())
    try:
        compiled(grants)
        refused = {}
    except RuntimeError as error:
        refused = {(type_, class_): words for type_, class_, words in re.findall(
            rf"violated by allow {generate.DOMAIN} (\w+):(\w+) {{ (.*) }}", str(error))}
    for rule, words in REFUSED.items():
        if missing := set(words.split()) - set(refused.get(rule, "").split()):
            report(f"{CONFINEMENT}: {':'.join(rule)} {' '.join(sorted(missing))} passes")


def check_guide(text, observed, files, report):
    """Log lines, files and paths that the guide shows."""
    shown = "".join(re.findall(r"^```log\n(.*?)^```", text, re.M | re.S)).splitlines()
    for line in shown:
        if (line[0], observe.normal(line[2:])) not in observed.log:
            report(f"{generate.GUIDE}: the library was not seen to log \"{line}\"")
    installed = {"sensors/hals.conf", generate.UEVENTD, "init/" + generate.INIT}
    for path in re.findall(r"/vendor/etc/([\w./-]*\w)", text):
        if path not in installed and path != "sensors":
            report(f"{generate.GUIDE}: the kit installs no /vendor/etc/{path}")
    for name in re.findall(r"`([\w.-]+\.(?:rc|conf|bp|te))`", text):
        is_file = any(f"/{file}".endswith("/" + name)
                      for file in [*files, CONFINEMENT, "/ueventd.rc"])
        if not is_file and f'"{name}"' not in files["device/Android.bp"]:
            report(f"{generate.GUIDE}: there is no {name}")
    if len(shown) < 10:
        report(f"{generate.GUIDE}: hardly a log line is shown")
