#!/usr/bin/python3
"""Checks the kit, then plants mistakes, one at a time; fails when the check lets one pass. With
"generate", writes the kit's generated files instead."""

import concurrent.futures
import re
import sys
import types

import check
import generate

BP, SOURCES, RULES = "device/Android.bp", "Android.bp", f"{generate.SEPOLICY}{generate.DOMAIN}.te"
INIT, UEVENTD = "device/" + generate.INIT, "device/" + generate.UEVENTD
POLICY, TAP, BASE = generate.SEPOLICY, "simulator/FileTap.cpp", "sensors/SensorBase.cpp"
AS_HOST = "extern \"C\" int ioctl(int, unsigned long, ...) noexcept;" + "".join(
    f"extern \"C\" int {call} noexcept;" for call in (
        "remove(const char*)", "unlink(const char*)", "access(const char*, int)",
        "stat(const char*, struct stat*)", "stat64(const char*, struct stat64*)"))
# What is wrong; the file; a regular expression and what stands in its place (None: the file is gone);
# what the check has to say, where it is not that the file is not what is generated.
MISTAKES = (
    ("a folder of sources left out", SOURCES, r'        "hub/\*\.cpp",\n', ""),
    ("the simulator in the device's tool", SOURCES, r'"tools/proxy/\*\.cpp",', r'"simulator/*.cpp",\n\g<0>'),
    ("a source of the unit test left out", SOURCES, r'        "tests/support/FakeGralloc\.cpp",\n', ""),
    ("no version script", BP, r"    version_script: .*\n", ""),
    ("the wakelock library left out", BP, r'        "android.hardware.sensors@2.0-ScopedWakelock",\n', ""),
    ("a library that nothing needs", BP, '"libutils",', '"libtinyxml2", "libutils",'),
    ("the rc file not brought along", BP, r"    init_rc: .*\n", ""),
    ("the tool's functions not exported", BP, r'(?s)(name: "subhalctl".*?)    ldflags: .*?\n', r"\1"),
    ("no exceptions for the tool", BP, r'        "-fexceptions",\n', ""),
    ("no headers of the command line's library", BP, r'        "cli11_headers",\n', ""),
    ("hals.conf not for the vendor partition", BP, r'(_hals.conf",\n)    vendor: true,\n', r"\1"),
    ("another name in hals.conf", "device/hals.conf", "lib", ""),
    ("another name of the ueventd file", BP, r'name: "ueventd\.sensorhub', 'name: "ueventd.hub'),
    ("a renamed ueventd file", UEVENTD, "", None),
    ("a mistyped node in the rc file", INIT, "hbx_flush", "hbx_flsh"),
    ("a command too late", INIT, "early-boot", "boot"),
    ("a mode too narrow", UEVENTD, r"(/dev/batch_io +)0440", r"\g<1>0220"),
    ("a mode too wide", UEVENTD, r"(/dev/hbx_sensorhub +)0660", r"\g<1>0666"),
    ("a mistyped path in file_contexts", POLICY + "file_contexts", "batch_io", "batchio"),
    ("no sysfs_type", POLICY + "file.te", "sysfs_type, ", ""),
    ("no dev_type", POLICY + "device.te", ", dev_type", ""),
    ("a property's type without prefix", POLICY + "property.te", "vendor_sensorhub_camera", "sensorhub_camera"),
    ("a permission too many", RULES, r"(sensorhub_data_device:chr_file \{ open)", r"\1 ioctl"),
    ("a request too few, as of a new driver", RULES, " 0xfc0b", ""),
    ("no list of requests", RULES, r"allowxperm[^;]*;", ""),
    ("a mode that the guide has otherwise", generate.GUIDE, r"(batch_io` \| requests \| )0440", r"\g<1>0660"),

    ("a node that the table lacks", check.TABLE, r".*qcontext_list.*\n", "", "library opens ('/sys/class/sensors/hbx_s"),
    ("a node too many", check.TABLE, r'    \("/dev/shub_sensorhub"(.*\n)', r'\g<0>    ("/dev/other"\1', "never opens ('/dev/other'"),
    ("a node opened otherwise", check.TABLE, r'(als_data", )"RDONLY"', r'\1"RDWR"', "als_data', 'RDWR'"),
    ("a mode that does not fit", check.TABLE, r"(hbx_flush.*)0o220", r"\g<1>0o440", "mode 0440 is not what WRONLY"),
    ("another request", check.TABLE, "0x8008FC00", "0x8009FC00", "never asks"),
    ("a property that the table lacks", check.TABLE, r'    \("ro\.build.*\n', "", "library uses ('ro.build.type'"),
    ("a label that nobody declares", check.TABLE, r'(als_data.*)"sysfs_sensorhub"', r'\1"sysfs_hub"', "sysfs_hub is not declared"),
    ("labels on the links", check.TABLE, '"/devices/virtual/sensors/"', '"/class/sensors/"', "genfs_contexts: not what"),

    ("the message device opened otherwise", "hub/SensorHubDataWriter.cpp", r"open\(path, O_RDWR", "open(path, O_WRONLY",
     "opens ('/dev/hbx_sensorhub', 'WRONLY')"),
    ("record devices opened otherwise", BASE, r"O_RDONLY \| O_NONBLOCK", "O_RDWR | O_NONBLOCK",
     "opens ('/dev/iio:device*', 'RDWR+NONBLOCK')"),
    ("injection opened otherwise", BASE, r"open\(mInjectionPath, O_RDWR", "open(mInjectionPath, O_WRONLY",
     "opens ('/dev/shub_data_injection', 'WRONLY')"),
    ("the dump's source opened otherwise", "hub/HubDump.cpp", r"O_RDONLY \| O_NONBLOCK", "O_RDWR | O_NONBLOCK",
     "shub_dump', 'RDWR+NONBLOCK')"),
    ("an open without O_CLOEXEC", "hub/SensorHubSensor.cpp", r"O_RDWR \| O_CLOEXEC", "O_RDWR", "without_CLOEXEC"),
    ("a new path in the sources", "hub/QContextSensor.cpp", "paths::kContextList", '"/dev/hbx_other"', "/dev/hbx_other"),
    ("another property in the sources", "sensors/light/LightSensor.cpp", r"persist\.sns", "persist.hub",
     "uses ('persist.hub.camera_light', 'setprop')"),
    ("a log text that has changed", "subhal/PollAndPosting.cpp", "thread run", "thread runs", 'to log "I thread run"'),

    ("calls declared as on a host", TAP, r'namespace simulator \{\nnamespace', '#include <cstdio>\n#include <unistd.h>\n'
     '#include <sys/ioctl.h>\n#include <sys/stat.h>\n' + AS_HOST + r"\n\g<0>", "6 errors generated"),
    ("a dynamic_cast in the tool", "tools/subhalctl/CommandLine.cpp", r"error\.get_exit_code\(\) ==",
     r"dynamic_cast<const CLI::RequiredError*>(&error) != nullptr || \g<0>", "requires -frtti"),
    ("a typeid in the tool", "tools/subhalctl/main.cpp", r"int main\(", r"const char* gName = typeid(subhalctl::Command).name();\n\g<0>",
     "requires -frtti"),

    ("the confinement lifted", check.CONFINEMENT, r"neverallow hal_sensors_default mnt_[^;]*;", "", "unlink write passes"),
    ("a capability that the confinement lacks", check.CONFINEMENT, " sys_admin", "", "sys_admin passes"),
    ("other parts' data", check.CONFINEMENT, "-core_data_file_type", r"\g<0> -other_vendor_data_file", "rename setattr unlink"),
    ("a type that is none", check.CONFINEMENT, "sysfs_wake_lock", "sysfs_wakelock", "unknown type"),
    ("a log line that is not one", generate.GUIDE, "SensorList size", "Sensor list size", "log \"I Sensor list"),
    ("a wrong import path", generate.GUIDE, r"/vendor/etc/ueventd\.sensorhub", "/vendor/etc/ueventd.hub",
     "installs no /vendor/etc/ueventd.hub.rc"),
    ("a file that is none", generate.GUIDE, r"`hals\.conf`", "`hal.conf`", "there is no hal.conf"),
)


def planted(kit, what, name, pattern, replacement, complaint=""):
    """What is wrong with the check, or nothing."""
    text = (kit.root / name).read_text()
    edited, count = (None, 1) if replacement is None else re.subn(pattern, replacement, text)
    found = kit.check({name: edited}) if count else []
    if not count:
        return f"{what}: nothing to spoil"
    wanted = complaint or f"{name}: not what is generated"
    return "" if any(wanted in line for line in found) else f"{what}: not found: {'; '.join(found)}"


def main(build, *arguments):
    kit = check.Kit(".", build)
    table = kit.table(kit.read({}))
    if arguments == ("generate",):
        for name, text in generate.generate(kit.read({}), kit.build, table, kit.sound).items():
            (kit.root / name).write_text(text)
        return False
    complaints = kit.check({})
    if complaints:
        print("\n".join(complaints))
        return True
    print(f"the kit fits {len(kit.sound.opens)} ways to open {len(table.NODES)} nodes", flush=True)
    nothing, empty = [], types.SimpleNamespace(**{name: set() for name in vars(kit.sound)})
    check.compare(table, empty, nothing.append)
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        failed = [line for line in pool.map(lambda row: planted(kit, *row), MISTAKES) if line]
    failed += [] if "the library was not seen to do anything" in nothing else ["an empty run: not found"]
    print("\n".join(failed + [f"{len(MISTAKES) + 1} mistakes planted, {len(failed)} passed"]))
    return bool(failed)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
