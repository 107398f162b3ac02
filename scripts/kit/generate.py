"""The kit's files as the table, the build and what the library needs make them."""

import json
import re
import subprocess
import textwrap

NOTE = "Generated: change device/nodes.py or the build, and run scripts/check-kit.sh generate.\n"
DOMAIN, LIBRARY = "hal_sensors_default", "libsensorhub_subhal"
SEPOLICY, GUIDE = "device/sepolicy/", "device/README.md"
INIT, UEVENTD = "sensorhub-subhal.rc", "ueventd.sensorhub.rc"
INDENT = "    "
PERMISSIONS = {"RDONLY": "open read", "WRONLY": "open write", "RDWR": "open read write"}
WORDS = {"RDONLY": "reading", "WRONLY": "writing", "RDWR": "both", "DIRECTORY": "listing"}

# A header of the platform: what exports it, and what has to be linked for it.
EXPORTS = (
    ("V2_0/", "android.hardware.sensors@2.X-multihal.header",
     "android.hardware.sensors@2.0-ScopedWakelock"),
    ("android/hardware/sensors/1.0/", None, "android.hardware.sensors@1.0"),
    ("android/hardware/sensors/2.0/", None, "android.hardware.sensors@2.0"),
    ("android/hidl/", None, "libhidlbase"), ("android/log.h", None, "liblog"),
    ("android/sensor.h", "libandroid_sensor_headers", None), ("cutils/", None, "libcutils"),
    ("hardware/", None, "libhardware"), ("hidl/", None, "libhidlbase"), ("log/", None, "liblog"),
    ("system/", None, "libutils"), ("utils/", None, "libutils"),
    ("CLI/", "cli11_headers", None), ("nlohmann/", "nlohmann_json_headers", None),
)


def rc(table):
    lines, folders = "", ""
    for node in table.NODES:
        owner = " ".join((node.owner or "").split())
        if node.path.startswith("/sys/class/"):
            lines += f"    chown {owner} {node.path}\n    chmod {node.mode:04o} {node.path}\n"
        elif node.path.startswith("/data/") and node.mode:
            folders += f"    mkdir {node.path.rstrip('/')} {node.mode:04o} {owner}\n"
    return f"""# {NOTE}# Installed with the library. The hub's class attributes are made after their device is announced, so
# ueventd would miss them; and the sensors service starts within "boot", so they are ready before that.
# A platform without a rear light sensor or flip cover leaves those lines without effect.

on post-fs-data
{folders}
on early-boot
{lines}"""


def ueventd(table):
    lines = ""
    for node in table.NODES:
        folder, slash, name = node.path.partition("iio:device*/")
        if node.path.startswith("/dev/"):
            lines += f"{node.path:25} {node.mode:04o}   {node.owner}\n"
        elif slash:
            lines += f"{folder + slash[:-1]}  {name:21}  {node.mode:04o}   {node.owner}\n"
    return f"""# {NOTE}# To be imported by the device's own ueventd.rc:
#     import /vendor/etc/{UEVENTD}
# Every IIO device matches, the hub's or not: with others on board, which other processes use, give
# these lines the group of both.

{lines}"""


def place(table, path):
    """Where a node below /sys lies in truth."""
    for link, real in table.PLACES:
        if path.startswith(link):
            return real + path[len(link):]
    raise ValueError(f"{path}: no place")


def contexts(table):
    files, genfs, covered = "", "", []
    for node in table.NODES:
        if not node.path.startswith("/sys/"):
            below = "(/.*)?" if node.path.endswith("/") else ""
            pattern = re.escape(node.path.rstrip("/")) + below
            if table.LABELS[node.label][0] and not node.path.endswith("*"):
                files += f"{pattern:32} u:object_r:{node.label}:s0\n"
    folder = place(table, "/sys/class/sensors/").rstrip("/")
    rows = [(folder, "sysfs_sensorhub")]
    rows += [(place(table, node.path).split("*")[0], node.label) for node in table.NODES
             if node.path.startswith("/sys/")]
    for path, label in rows:
        above = max((row for row in covered if path.startswith(row[0])), default=("", ""))
        if above[1] != label:
            covered.append((path, label))
            genfs += f"genfscon sysfs {path}  u:object_r:{label}:s0\n"
    return f"# {NOTE}# /dev/iio:device* has its label, iio_device, from the platform.\n{files}", f"""# {NOTE}\
# Labels go to the devices' real places, not to the links in /sys/class and /sys/bus; a line holds for
# every path that begins with it, and the longest line wins. Where a platform differs,
#     readlink -f /sys/class/sensors/hbx_sensor /sys/bus/iio/devices/iio:device0
# shows the path: change PLACES in device/nodes.py. A class device with a parent lies below it, for example
# /devices/platform/soc/sensorhub/sensors/hbx_sensor, an IIO device too,
# /devices/platform/soc/10d30000.spi/spi_master/spi0/spi0.0/iio:device.

{genfs}"""


def rules(table, observed):
    wanted = {}

    def want(label, class_, permissions):
        wanted.setdefault((label, class_), []).extend(
            word for word in permissions.split() if word not in wanted.get((label, class_), []))

    want("sysfs", "dir", "search")
    want("sysfs", "lnk_file", "read")
    for node in table.NODES:
        below = node.path.endswith("*") and node.path.startswith("/data/")
        class_ = "chr_file" if node.path.startswith("/dev/") else "file"
        if node.path.startswith("/sys/"):
            want(node.label if "iio" in node.label else "sysfs_sensorhub", "dir", "search")
        for opened in node.opened.split():
            words = opened.split("+")
            if opened == "DIRECTORY":
                want(node.label, "dir", "open read getattr")
                if node.path.startswith("/sys/"):
                    want(node.label, "lnk_file", "read")
            elif opened == "REMOVE":
                want(node.label, "dir", "write remove_name search")
                want(node.label, class_, "unlink")
            else:
                want(node.label, class_, PERMISSIONS[words[0]] + (" ioctl" if node.request else ""))
            if below and "CREAT" in words:
                want(node.label, "dir", "write add_name search")
                want(node.label, class_, "create")
    want("vendor_data_file", "dir", "search")
    lines = ""
    for (label, class_), words in wanted.items():
        permissions = words[0] if len(words) == 1 else f"{{ {' '.join(words)} }}"
        lines += f"allow {DOMAIN} {label}:{class_} {permissions};\n"
    for node in (node for node in table.NODES if node.request):
        numbers = " ".join(f"{(node.request | handle) & 0xFFFF:#x}"
                           for handle in sorted(observed.described))
        lines += f"""
# One request for each sensor, with the handle in the lowest byte; of the number, the policy sees the
# lower half.
allowxperm {DOMAIN} {node.label}:chr_file ioctl {{
{textwrap.fill(numbers, 96, initial_indent=INDENT, subsequent_indent=INDENT)}
}};
"""
    macros = "".join(f"{call[:3]}_prop({DOMAIN}, {type_})\n"
                     for _, call, _, type_, _ in table.PROPERTIES if type_)
    return f"""# {NOTE}# What the library asks of the sensors service's domain, and nothing else.

{lines}
{macros}
# The poll thread runs at priority -8.
allow {DOMAIN} self:capability sys_nice;
allow {DOMAIN} self:process setsched;
"""


def types(table):
    """The types' declarations: files, devices, properties, and the properties' labels."""
    def declared(of_device):
        return f"# {NOTE}" + "".join(f"# {what}\ntype {label}, {attributes};\n"
                                     for label, (attributes, what) in table.LABELS.items()
                                     if attributes and (attributes == "dev_type") == of_device)

    own = [row for row in table.PROPERTIES if row[3]]
    return (declared(False), declared(True),
            f"# {NOTE}" + "".join(f"# {what}\n{macro}({type_})\n"
                                  for _, _, macro, type_, what in own),
            f"# {NOTE}" + "".join(f"{name:37} u:object_r:{type_}:s0  exact string\n"
                                  for name, _, _, type_, _ in own))


def guide(table, text):
    """The guide with the table of nodes in it."""
    rows = ""
    for node in table.NODES:
        if node.path.endswith("*") and node.path.startswith("/data/"):
            continue
        word = ("requests" if node.request else "keeping files" if node.path.startswith("/data/")
                else WORDS[node.opened.split("+")[0]])
        mode = f"{node.mode:04o} " if node.mode else ""
        rows += f"| `{node.path}` | {word} | {mode}| `{node.label}` |\n"
    return re.sub(r"(\| Node \| For .*\n\|---.*\n)(\|.*\n)*", lambda match: match[1] + rows, text)


def blueprint(*modules):
    """A build file of (comment, type, properties)."""
    def value(item):
        if not isinstance(item, list):
            return json.dumps(item)
        return "[" + json.dumps(item[0]) + "]" if len(item) == 1 else (
            "[\n" + "".join(json.dumps(entry) + ",\n" for entry in item) + "]")

    text = f"// {NOTE}"
    for comment, kind, properties in modules:
        text += "\n" + "".join(f"// {line}\n" for line in comment.splitlines())
        lines = [f"{key}: {value(item)},\n" for key, item in properties.items() if item != []]
        text += f"{kind} {{\n{''.join(lines)}}}\n"
    return subprocess.run(["bpfmt", "-o"], input=text, check=True, capture_output=True,
                          text=True).stdout


def exporting(headers):
    """(header_libs, shared_libs) for headers that are included."""
    found = [next((row for row in EXPORTS if header.startswith(row[0])), None)
             for header in headers]
    if None in found:
        raise ValueError(f"EXPORTS in scripts/kit/generate.py lacks {headers[found.index(None)]}")
    return [sorted({row[column] for row in found} - {None}) for column in (1, 2)]


def build_files(build):
    """Both, of what CMake builds; modules below vendor/ name files of their own folder alone."""
    headers, shared = exporting(build.headers("sensorhub_subhal"))
    tool_headers, tool_shared = exporting(build.headers("subhalctl"))
    if set(tool_shared) - set(shared):
        raise ValueError(f"the tool needs {tool_shared}, more than the library")
    own = {"header_libs": ["sensorhub_subhal_headers"]}
    flags = {"cpp_std": build.standard, "cflags": ["-Wall", "-Wextra", "-Werror"]}

    def group(name, sources):
        return "", "filegroup", {"name": name, "srcs": sources}

    def device(kind, name, **properties):
        return kind, {"name": name, "vendor": True, **properties}

    root = blueprint(
        ("For a device's source tree: what device/Android.bp builds from. A build file names only "
         "what lies\nbelow it.", "cc_library_headers",
         {"name": "sensorhub_subhal_headers", "vendor_available": True, "host_supported": True,
          "export_include_dirs": ["."]}),
        group("sensorhub_subhal_sources", build.sources("sensorhub_subhal")),
        group("sensorhub_subhal_exports", build.exports),
        ("Without the simulated hub.", *group("subhalctl_sources", build.sources("subhalctl"))[1:]),
        ("The parts whose tests need nothing that only the running library has.", *group(
            "sensorhub_subhal_unit_test_sources", build.sources(*build.UNIT_TESTS))[1:]),
        ("Stand-ins of the platform's libraries, for a host.", "cc_library_host_shared",
         {"name": "libsensorhub_platform_standin", "srcs": build.sources("platform_standin"),
          **flags, "export_include_dirs": build.includes}))
    return root, blueprint(
        ("The library, what is installed beside it, and what helps to bring it up. See README.md.",
         "cc_defaults", {"name": "sensorhub_subhal_defaults", **flags, **own}),
        ("", *device("cc_defaults", "sensorhub_subhal_device_defaults",
                     defaults=["sensorhub_subhal_defaults"], header_libs=headers,
                     shared_libs=shared)),
        ("", "cc_library_shared",
         {"name": LIBRARY, "defaults": ["sensorhub_subhal_device_defaults"],
          "srcs": [":sensorhub_subhal_sources"], "cflags": build.options("sensorhub_subhal"),
          "version_script": ":sensorhub_subhal_exports",
          "init_rc": [INIT], "required": ["sensorhub_hals.conf", UEVENTD]}),
        ("This one file lists every sub-HAL of the device. If there are others, leave this module "
         "out and\nadd the line to theirs.",
         *device("prebuilt_etc", "sensorhub_hals.conf", src="hals.conf", filename="hals.conf",
                 sub_dir="sensors")),
        ("", *device("prebuilt_etc", UEVENTD, src=UEVENTD)),
        ("", "cc_binary",
         {"name": "subhalctl", "defaults": ["sensorhub_subhal_device_defaults"],
          "srcs": [":subhalctl_sources"],
          "cflags": build.options("subhalctl"),
          "header_libs": sorted(set(tool_headers) - set(headers)),
          "ldflags": build.link_options("subhalctl"), "required": [LIBRARY]}),
        ("", "cc_test_host",
         {"name": "sensorhub_subhal_unit_test", "defaults": ["sensorhub_subhal_defaults"],
          "srcs": [":sensorhub_subhal_unit_test_sources"],
          "shared_libs": ["libsensorhub_platform_standin"],
          "ldflags": build.link_options(*build.UNIT_TESTS), "test_suites": ["general-tests"]}))


def generate(read, build, table, observed):
    """Name: text of every generated file."""
    root, device = build_files(build)
    files, genfs = contexts(table)
    file_types, device_types, property_types, properties = types(table)
    return {
        "Android.bp": root, "device/Android.bp": device, "device/hals.conf": LIBRARY + ".so\n",
        "device/" + INIT: rc(table), "device/" + UEVENTD: ueventd(table),
        SEPOLICY + "file_contexts": files, SEPOLICY + "genfs_contexts": genfs,
        SEPOLICY + f"{DOMAIN}.te": rules(table, observed), SEPOLICY + "file.te": file_types,
        SEPOLICY + "device.te": device_types, SEPOLICY + "property.te": property_types,
        SEPOLICY + "property_contexts": properties, GUIDE: guide(table, read(GUIDE)),
    }
