"""Holds device/ to the sources: what the library is built from, opens, asks for and logs."""

import re
import subprocess
import tempfile

import blueprint
import hosttest
import policy
import tree as project

BUILD_FILES = ("Android.bp", "device/Android.bp")
GUIDE = "device/README.md"
INIT_RC, UEVENTD_RC = "device/sensorhub-subhal.rc", "device/ueventd.sensorhub.rc"
OWNER = ["system", "system"]

# Which module exports a header of the platform, and what has to be linked for it.
EXPORTS = (
    ("V2_0/", "android.hardware.sensors@2.X-multihal.header", "android.hardware.sensors@2.0-ScopedWakelock"),
    ("android/hardware/sensors/1.0/", None, "android.hardware.sensors@1.0"),
    ("android/hardware/sensors/2.0/", None, "android.hardware.sensors@2.0"),
    ("android/hidl/", None, "libhidlbase"),
    ("android/log.h", None, "liblog"),
    ("android/sensor.h", "libandroid_sensor_headers", None),
    ("cutils/", None, "libcutils"),
    ("hardware/", None, "libhardware"),
    ("hidl/", None, "libhidlbase"),
    ("log/", None, "liblog"),
    ("system/", None, "libutils"),
    ("utils/", None, "libutils"),
)

READ, WRITE = {"open", "read"}, {"open", "write"}
ACCESS = {
    "reading": READ,
    "writing": WRITE,
    "both": READ | WRITE,
    "requests": READ | {"ioctl"},
}
LIST = READ | {"getattr"}
# Beside what the table of nodes implies: links and folders on the way, and the thread's priority.
ALWAYS = {
    ("sysfs", "dir"): {"search"},
    ("sysfs", "lnk_file"): {"read"},
    ("sysfs_sensorhub", "dir"): {"search"},
    ("sysfs_sensorhub_iio", "dir"): {"search"},
    ("vendor_data_file", "dir"): {"search"},
    ("self", "capability"): {"sys_nice"},
    ("self", "process"): {"setsched"},
}
GET_PROPERTY = READ | {"getattr", "map"}
# What the platform itself gives the domain.
PLATFORM = {("sysfs_wake_lock", "file"), ("self", "file")}


def mode_for(access, sysfs_iio):
    bits = {"reading": 4, "requests": 4, "writing": 2, "both": 6}[access]
    if sysfs_iio:  # shared with other users of IIO: the kernel's own modes, only the owner changes
        return 0o444 if access == "reading" else 0o644
    return bits * 0o110


def check_build_files(tree, scratch, report):
    for name in BUILD_FILES:
        copy = f"{scratch}/Android.bp"
        with open(copy, "w") as file:
            file.write(tree.read(name))
        done = subprocess.run(["bpfmt", "-d", copy], capture_output=True, text=True)
        if done.returncode or done.stdout or done.stderr:
            report(f"{name}: bpfmt: {(done.stderr or done.stdout).strip()}")
            if done.returncode:
                return
    try:
        build = blueprint.Build(tree, BUILD_FILES, report)
    except ValueError as error:
        report(f"build files: {error}")
        return

    library = build.get("libsensorhub_subhal", "cc_library_shared")
    for module in build.modules.values():
        if "srcs" in module:
            build.sources(module)
        for name in module.get("required", []):
            build.get(name)
        for name in module.get("init_rc", []) + ([module["src"]] if "src" in module else []):
            build.files(module, [name])
        if module.kind in ("cc_library_shared", "cc_binary", "cc_test_host"):
            check_flags(tree, build, module, report)

    check_sources(build, library, set(tree.product(".cpp")), report)
    tool = build.get("subhalctl", "cc_binary")
    sources, defined = project.device_tool(tree.root)
    check_sources(build, tool, sources, report)
    flags = " ".join(build.list(tool, "cflags"))
    for name in sorted(name for name in defined if f"-D{name}" not in flags):
        report(f"subhalctl: {name} is not defined")
    version = re.search(r"project\(\S+ VERSION (\S+)", tree.read("CMakeLists.txt")).group(1)
    if f'-DSUBHALCTL_VERSION="{version}"' not in flags:
        report(f"subhalctl: not version {version}")
    if f"({version})" not in tree.read("cmake/debian/changelog").splitlines()[0]:
        report(f"cmake/debian/changelog: its first entry is not {version}")
    scripts = build.files(library, [library.get("version_script", "?")])
    if scripts != ["subhal/sensorhub_subhal.map"]:
        report(f"the library's version script is {scripts}")
    if library.get("init_rc") != ["sensorhub-subhal.rc"]:
        report("the library does not bring its rc file")
    if set(library.get("required", [])) != {"sensorhub_hals.conf", "ueventd.sensorhub.rc"}:
        report("the library does not bring hals.conf and the ueventd file")
    hals = build.get("sensorhub_hals.conf", "prebuilt_etc")
    if (hals.get("filename"), hals.get("sub_dir")) != ("hals.conf", "sensors"):
        report("hals.conf is not installed as /vendor/etc/sensors/hals.conf")
    if tree.read("device/hals.conf").split() != [library["name"] + ".so"]:
        report("hals.conf does not name the library")
    check_libraries(tree, build, library, report)
    failure = hosttest.complaints(build, "sensorhub_subhal_unit_test")
    if failure:
        report(f"sensorhub_subhal_unit_test: {failure}")


def check_sources(build, module, expected, report):
    sources = set(build.sources(module))
    for name in sorted(sources ^ expected):
        report(f"{name} is {'not a source of' if name in sources else 'missing from'} {module['name']}")


def check_flags(tree, build, module, report):
    name = module["name"]
    if build.single(module, "cpp_std") != "c++17":
        report(f"{name}: not C++17")
    if module.kind != "cc_test_host" and build.single(module, "vendor") is not True:
        report(f"{name}: not for the vendor partition")
    if "sensorhub_subhal_headers" not in build.list(module, "header_libs"):
        report(f"{name}: no include path for the project's own headers")


def check_libraries(tree, build, library, report):
    linked = set(build.list(library, "shared_libs"))
    headers = set(build.list(library, "header_libs")) - {"sensorhub_subhal_headers"}
    needed_linked, needed_headers = set(), set()
    for header in project.includes(tree, tree.product(".h", ".cpp")):
        exported = next((entry for entry in EXPORTS if header.startswith(entry[0])), None)
        if exported is None:
            report(f"which library exports <{header}> is not known to the check")
            continue
        needed_headers |= {exported[1]} - {None}
        needed_linked |= {exported[2]} - {None}
    for what, have, need in (("shared_libs", linked, needed_linked),
                             ("header_libs", headers, needed_headers)):
        for name in sorted(need - have):
            report(f"{library['name']}: {what} lacks {name}")
        for name in sorted(have - need):
            report(f"{library['name']}: {what} has {name}, which nothing needs")


def guide_nodes(tree):
    """Path -> (access, mode, label), from the guide's table."""
    rows = re.findall(r"^\| `(/[^`]*)` \| (\w[\w ]*) \| (\d*) ?\| `(\w+)` \|$", tree.read(GUIDE), re.M)
    return {path: (access, int(mode, 8) if mode else None, label)
            for path, access, mode, label in rows}


def rc_modes(tree, report):
    """Path -> mode, of the init and ueventd files together."""
    modes, owned, trigger = {}, set(), None

    def add(path, mode):
        if path in modes:
            report(f"{path} has its mode twice")
        modes[path] = int(mode, 8)

    for number, line in enumerate(tree.read(INIT_RC).splitlines(), 1):
        words = line.split()
        if not words or words[0].startswith("#"):
            continue
        if words[0] == "on" and len(words) == 2:
            trigger = words[1]
        elif words[0] == "mkdir" and len(words) == 5 and words[3:] == OWNER:
            add(words[1] + "/", words[2])
            if trigger != "post-fs-data":
                report(f"{INIT_RC}:{number}: /data is there from post-fs-data on, not at {trigger}")
        elif words[0] == "chown" and len(words) == 4 and words[1:3] == OWNER:
            owned.add(words[3])
        elif words[0] == "chmod" and len(words) == 3 and re.fullmatch("0[0-7]{3}", words[1]):
            add(words[2], words[1])
            if trigger != "early-boot":
                report(f"{INIT_RC}:{number}: at {trigger} the service may have started")
        else:
            report(f"{INIT_RC}:{number}: not a command of this file: {line.strip()}")
    for path in sorted(owned ^ {path for path in modes if not path.endswith("/")}):
        report(f"{path} has its {'owner' if path in owned else 'mode'} only")

    for number, line in enumerate(tree.read(UEVENTD_RC).splitlines(), 1):
        words = line.split()
        if not words or words[0].startswith("#"):
            continue
        attribute = words[0].startswith("/sys/")
        rest = words[2:] if attribute else words[1:]
        if len(rest) != 3 or not re.fullmatch("0[0-7]{3}", rest[0]) or rest[1:] != OWNER:
            report(f"{UEVENTD_RC}:{number}: not a rule of this file: {line}")
        else:
            add("/".join(words[:2]) if attribute else words[0], rest[0])
    return modes


def check_nodes(tree, report):
    """The guide's table against the sources and the rc files. Returns the table."""
    table, modes = guide_nodes(tree), rc_modes(tree, report)
    sources, opened = project.nodes(tree, report), project.opened_for(tree)
    for path in sorted(sources.keys() - table.keys()):
        report(f"{GUIDE}: the library opens {path}, which the table does not have")
    for path in sorted(table.keys() - sources.keys()):
        report(f"{GUIDE}: the library does not open {path}")
    for path, (access, mode, _) in table.items():
        told = opened.get(sources.get(path))
        if told and told != access and (told, access) != ("reading", "requests"):
            report(f"{path}: opened for {told}, not for {access}")
        if access in ACCESS and mode != mode_for(access, path.startswith("/sys/bus/iio")):
            report(f"{path}: mode {mode:04o} is not what {access} needs")
    for path in sorted(modes.keys() - table.keys()):
        report(f"{path} is in an rc file, but the library does not open it")
    for path, (_, mode, _) in table.items():
        if modes.get(path) != mode:
            report(f"{path}: mode {modes.get(path, 0):04o} in the rc files, {mode or 0:04o} in the guide")
    return table


def real_path(path):
    """Where a node of a class or bus lies on the platform that genfs_contexts is written for."""
    path = path.replace("*", "7")
    path = re.sub(r"^/sys/class/sensors/", "/devices/virtual/sensors/", path)
    return re.sub(r"^/sys/bus/iio/devices/iio:", "/devices/iio:", path).replace("/sys/", "/").rstrip("/")


def check_policy(tree, table, scratch, report):
    try:
        compiled = policy.Policy(tree, scratch)
    except policy.Failed as error:
        report(str(error))
        return
    # A rule that somebody adds for another part of the service has to meet the confinement.
    for grant in ("other_vendor_data_file:file write", "other_vendor_data_file:file { open read }",
                  "other_vendor_data_file:dir remove_name", "mnt_vendor_file:file unlink",
                  "sysfs:file write", "self:capability dac_override",
                  "sensorhub_vendor_data_file:file execute"):
        widened = tree.edited({policy.SEPOLICY + "another.te": f"allow {policy.DOMAIN} {grant};\n"})
        try:
            policy.Policy(widened, scratch)
            report(f"confinement: {grant} passes")
        except policy.Failed as error:
            if "neverallow" not in str(error):
                report(f"confinement: {error}")

    expected = {key: set(permissions) for key, permissions in ALWAYS.items()}

    def expect(label, class_, permissions):
        expected.setdefault((label, class_), set()).update(permissions)

    for path, (access, _, label) in table.items():
        if path.startswith("/sys/"):
            found = compiled.sysfs_label(real_path(path))
        else:
            kind = "d" if path.endswith("/") else "c"
            found = compiled.file_label(path.replace("*", "7").rstrip("/"), kind)
        if found != label:
            report(f"{path}: labelled {found}, {label} in the guide")
        if access == "listing":
            expect(label, "dir", LIST)
            expect(label, "lnk_file", {"read"})
        elif access == "keeping files":
            expect(label, "dir", LIST | {"search", "write", "add_name", "remove_name"})
            expect(label, "file", READ | WRITE | {"create", "unlink"})
            if compiled.file_label(path + "any", "f") != label:
                report(f"{path}: what is made in it is not labelled {label}")
        else:
            expect(label, "chr_file" if path.startswith("/dev/") else "file", ACCESS[access])
    for path in compiled.sysfs_paths():
        if not any(real_path(node).startswith(path) for node in table):
            report(f"genfs_contexts: {path} is no node of the library")

    for name, uses in project.properties(tree).items():
        label = compiled.properties.get(name)
        if label is None:
            if name.startswith("ro.") and uses == {"get"}:
                continue  # the platform's own; every process may read it
            report(f"property_contexts: the library uses {name}")
            continue
        expect(label, "file", GET_PROPERTY)
        if "set" in uses:
            expect(label, "property_service", {"set"})
            expect("property_socket", "sock_file", {"write"})
            expect("init", "unix_stream_socket", {"connectto"})
    for name in compiled.properties.keys() - project.properties(tree).keys():
        report(f"property_contexts: the library does not use {name}")

    allowed = compiled.allowed()
    for key in sorted((expected.keys() | allowed.keys()) - PLATFORM):
        need, have = expected.get(key, set()), allowed.get(key, set())
        if need - have:
            report(f"rules: {' '.join(sorted(need - have))} is missing on {':'.join(key)}")
        if have - need:
            report(f"rules: {' '.join(sorted(have - need))} on {':'.join(key)} is not needed")
    used = {label for label, _ in expected}
    for name in sorted(compiled.kit_types(tree) - used):
        report(f"type {name} labels nothing")

    base = int(re.search(r"kBatchRequest = (0x\w+)", tree.read("subhal/Requests.cpp")).group(1), 16)
    numbers = {(base | handle) & 0xFFFF: handle for handle in project.handles(tree)}
    for label, have in compiled.requests().items():
        need = numbers if label == table["/dev/batch_io"][2] else {}
        for number in sorted(need.keys() - have):
            report(f"ioctl {number:#06x}, handle {need[number]}, is missing in {policy.RULES}")
        for number in sorted(have - need.keys()):
            report(f"ioctl {number:#06x} on {label} is allowed, but no handle has it")
    if not compiled.requests():
        report("no ioctl is listed: the policy would allow all")


def check_guide(tree, report):
    """Every log line that the guide shows is one that the library can write, at that level."""
    formats = project.log_formats(tree)
    shown = re.findall(r"^```log\n(.*?)^```", tree.read(GUIDE), re.M | re.S)
    for line in "".join(shown).splitlines():
        level, _, text = line.partition(" ")
        if not any(re.fullmatch(regex, text) for regex in formats.get(level, ())):
            report(f"{GUIDE}: the library does not log \"{line}\"")
    for name in re.findall(r"`([\w./-]+)` \|", tree.read(GUIDE).split("\n## ")[0]):
        if not tree.glob(("device/" + name).replace("device/../", "")) and not name.endswith("/"):
            report(f"{GUIDE}: there is no {name}")


def check(tree):
    """All complaints."""
    found = []
    with tempfile.TemporaryDirectory() as scratch:
        check_build_files(tree, scratch, found.append)
        table = check_nodes(tree, found.append)
        check_policy(tree, table, scratch, found.append)
        check_guide(tree, found.append)
    return found
