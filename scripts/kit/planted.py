#!/usr/bin/python3
"""Checks the kit, then plants mistakes, one at a time; fails when the check lets one pass. With
"generate", writes the kit's generated files instead."""

import concurrent.futures
import re
import sys
import types

import check
import generate

TABLE, CONFINEMENT, GUIDE = check.TABLE, check.CONFINEMENT, generate.GUIDE
BASE = "sensors/SensorBase.cpp"
AS_HOST = "extern \"C\" int ioctl(int, unsigned long, ...) noexcept;" + "".join(
    f"extern \"C\" int {call} noexcept;" for call in (
        "remove(const char*)", "unlink(const char*)", "access(const char*, int)",
        "stat(const char*, struct stat*)", "stat64(const char*, struct stat64*)"))
# What is wrong; the file; a regular expression and its replacement; what the check has
# to say.
MISTAKES = (
    ("a node that the table lacks", TABLE, r".*qcontext_list.*\n", "",
     "library opens ('/sys/class/sensors/hbx_s"),
    ("a node too many", TABLE, r'    \("/dev/shub_sensorhub"(.*\n)', r'\g<0>    ("/dev/other"\1',
     "never opens ('/dev/other'"),
    ("a node opened otherwise", TABLE, r'(als_data", )"RDONLY"', r'\1"RDWR"', "als_data', 'RDWR'"),
    ("a mode that does not fit", TABLE, r"(hbx_flush.*)0o220", r"\g<1>0o440",
     "mode 0440 is not what WRONLY"),
    ("another request", TABLE, "0x8008FC00", "0x8009FC00", "never asks"),
    ("a property that the table lacks", TABLE, r'    \("ro\.build.*\n', "",
     "library uses ('ro.build.type'"),
    ("a label that nobody declares", TABLE, r'(als_data.*)"sysfs_sensorhub"', r'\1"sysfs_hub"',
     "sysfs_hub is not declared"),
    ("labels on the links", TABLE, '"/devices/virtual/sensors/"', '"/class/sensors/"',
     "genfs_contexts: not what"),

    ("the message device opened otherwise", "hub/SensorHubDataWriter.cpp", r"open\(path, O_RDWR",
     "open(path, O_WRONLY", "opens ('/dev/hbx_sensorhub', 'WRONLY')"),
    ("record devices opened otherwise", BASE, r"O_RDONLY \| O_NONBLOCK", "O_RDWR | O_NONBLOCK",
     "opens ('/dev/iio:device*', 'RDWR+NONBLOCK')"),
    ("injection opened otherwise", BASE, r"open\(mInjectionPath, O_RDWR",
     "open(mInjectionPath, O_WRONLY", "opens ('/dev/shub_data_injection', 'WRONLY')"),
    ("the dump's source opened otherwise", "hub/HubDump.cpp", r"O_RDONLY \| O_NONBLOCK",
     "O_RDWR | O_NONBLOCK", "shub_dump', 'RDWR+NONBLOCK')"),
    ("an open without O_CLOEXEC", "hub/SensorHubSensor.cpp", r"O_RDWR \| O_CLOEXEC", "O_RDWR",
     "without_CLOEXEC"),
    ("a new path in the sources", "hub/QContextSensor.cpp", "paths::kContextList",
     '"/dev/hbx_other"', "/dev/hbx_other"),
    ("another property in the sources", "sensors/light/LightSensor.cpp", r"persist\.sns",
     "persist.hub", "uses ('persist.hub.camera_light', 'setprop')"),
    ("a log text that has changed", "subhal/PollAndPosting.cpp", "thread run", "thread runs",
     'to log "I thread run"'),

    ("calls declared as on a host", "simulator/FileTap.cpp", r'namespace simulator \{\nnamespace',
     '#include <cstdio>\n#include <unistd.h>\n'
     '#include <sys/ioctl.h>\n#include <sys/stat.h>\n' + AS_HOST + r"\n\g<0>",
     "6 errors generated"),
    ("a dynamic_cast in the tool", "tools/subhalctl/CommandLine.cpp",
     r"error\.get_exit_code\(\) ==",
     r"dynamic_cast<const CLI::RequiredError*>(&error) != nullptr || \g<0>", "requires -frtti"),
    ("a typeid in the tool", "tools/subhalctl/main.cpp", r"int main\(",
     r"const char* gName = typeid(subhalctl::Command).name();\n\g<0>", "requires -frtti"),

    ("the confinement lifted", CONFINEMENT, r"neverallow hal_sensors_default mnt_[^;]*;", "",
     "unlink write passes"),
    ("a capability that the confinement lacks", CONFINEMENT, " sys_admin", "", "sys_admin passes"),
    ("other parts' data", CONFINEMENT, "-core_data_file_type", r"\g<0> -other_vendor_data_file",
     "rename setattr unlink"),
    ("a type that is none", CONFINEMENT, "sysfs_wake_lock", "sysfs_wakelock", "unknown type"),
    ("a log line that is not one", GUIDE, "SensorList size", "Sensor list size",
     "log \"I Sensor list"),
    ("a wrong import path", GUIDE, r"/vendor/etc/ueventd\.sensorhub", "/vendor/etc/ueventd.hub",
     "installs no /vendor/etc/ueventd.hub.rc"),
    ("a file that is none", GUIDE, r"`hals\.conf`", "`hal.conf`", "there is no hal.conf"),
)


def planted(kit, what, name, pattern, replacement, complaint):
    """What is wrong with the check, or nothing."""
    edited, count = re.subn(pattern, replacement, (kit.root / name).read_text())
    if not count:
        return f"{what}: nothing to spoil"
    found = kit.check({name: edited})
    return "" if any(complaint in line for line in found) else f"{what}: not found: {found}"


def main(build, *arguments):
    kit = check.Kit(".", build)
    table = kit.table(kit.read({}))
    files = generate.generate(kit.read({}), kit.build, table, kit.sound)
    if arguments == ("generate",):
        for name, text in files.items():
            (kit.root / name).write_text(text)
        return False
    complaints = kit.check({})
    if complaints:
        print("\n".join(complaints))
        return True
    print(f"the kit fits {len(kit.sound.opens)} ways to open {len(table.NODES)} nodes", flush=True)
    # Of the guide, one table is generated.
    line = {GUIDE: r".*batch_io.*\n"}
    lacking = [("a line left out", name, line.get(name, r".*\n\Z"), "",
                f"{name}: not what is generated") for name in files]
    nothing, empty = [], types.SimpleNamespace(**{name: set() for name in vars(kit.sound)})
    check.compare(table, empty, nothing.append)
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        failed = list(filter(None, pool.map(lambda row: planted(kit, *row), [*MISTAKES, *lacking])))
    if "the library was not seen to do anything" not in nothing:
        failed.append("an empty run: not found")
    count = len(MISTAKES) + len(lacking) + 1
    print("\n".join(failed + [f"{count} mistakes planted, {len(failed)} passed"]))
    return bool(failed)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
