#!/usr/bin/python3
"""Checks the kit, then plants mistakes, one at a time; fails when the check lets one pass or complains of
another."""

import re
import sys

import check
import tree as project

BP, SOURCES = "device/Android.bp", "Android.bp"
SEPOLICY = "device/sepolicy/"
RULES = check.policy.RULES

# What is forgotten or mistyped; the file; a regular expression and what stands in its place; what the
# check has to say.
MISTAKES = (
    ("a bracket too few", BP, r"\n\}\n\Z", "\n", "bpfmt"),
    ("a misspelt property", BP, "shared_libs", "shared_lib", "has no property shared_lib"),
    ("a misspelt type of module", BP, "cc_binary", "cc_binarry", "no type of module"),
    ("a folder of sources left out", SOURCES, r'        "hub/\*\.cpp",\n', "", "hub/FileManager.cpp is missing"),
    ("drivers in subfolders left out", SOURCES, r"sensors/\*\*/\*\.cpp", "sensors/*.cpp", "BackTap.cpp is missing"),
    ("a source of another part", SOURCES, r'"subhal/\*\.cpp",', r'"subhal/*.cpp",\n        "simulator/World.cpp",',
     "World.cpp is not a source"),
    ("a source that is gone", SOURCES, r"subhal/convert\.cpp", "subhal/conversion.cpp", "there is no subhal/conversion.cpp"),
    ("a source of the unit test left out", SOURCES, r'        "tests/support/FakeGralloc\.cpp",\n', "",
     "undefined reference to `testing_support::FakeGralloc"),
    ("a source of the unit test too many", SOURCES, r"    exclude_srcs: .*coverage_test.*\n", "", "coverage_test"),
    ("the simulator in the device's tool", SOURCES, r'"tools/subhalctl/\*\*/\*\.cpp",', r'"simulator/*.cpp",\n        \g<0>',
     "World.cpp is not a source of subhalctl"),
    ("no version script", BP, r"    version_script: .*\n", "", "version script"),
    ("the wakelock library left out", BP, r'        "android.hardware.sensors@2.0-ScopedWakelock",\n', "",
     "lacks android.hardware.sensors@2.0-ScopedWakelock"),
    ("a header library left out", BP, r'        "libandroid_sensor_headers",\n', "", "lacks libandroid_sensor_headers"),
    ("a library that nothing needs", BP, r'        "libutils",\n', '        "libtinyxml2",\n        "libutils",\n',
     "libtinyxml2, which nothing needs"),
    ("another name of the library", BP, '"libsensorhub_subhal"', '"sensorhub_subhal"', "called libsensorhub_subhal"),
    ("hals.conf in another folder", BP, r'    sub_dir: "sensors",\n', "", "not installed as"),
    ("another name in hals.conf", "device/hals.conf", "lib", "", "hals.conf does not name"),
    ("the rc file not brought along", BP, r"    init_rc: .*\n", "", "rc file"),

    ("a new path in the sources", project.PATHS_HEADER, r"// Housekeeping",
     r'inline constexpr char kNew[] = "/dev/hbx_new";\n// Housekeeping', "the library opens /dev/hbx_new"),
    ("a path outside the header", "hub/HubDump.cpp", "kStateDump = 0;",
     r'kStateDump = 0;\nconstexpr char kOther[] = "/sys/kernel/other";', "outside sensors/HubPaths.h"),
    ("a path that the sources no longer have", project.PATHS_HEADER, r".*kContextList.*\n", "",
     "does not open /sys/class/sensors/hbx_sensor/qcontext_list"),
    ("a node opened for more", "hub/QContextSensor.cpp", "kContextList, O_RDONLY", "kContextList, O_RDWR",
     "qcontext_list: opened for both, not for reading"),
    ("a mistyped node in the rc file", check.INIT_RC, "hbx_flush", "hbx_flsh", "hbx_flsh is in an rc file"),
    ("a command that init does not know", check.INIT_RC, "    mkdir", "    makedir", "not a command"),
    ("a command too late", check.INIT_RC, "early-boot", "boot", "the service may have started"),
    ("a mode too narrow", check.UEVENTD_RC, r"(/dev/batch_io +)0440", r"\g<1>0220", "0220 in the rc files"),
    ("a mode too wide", check.UEVENTD_RC, r"(/dev/hbx_sensorhub +)0660", r"\g<1>0666", "0666 in the rc files"),
    ("another owner", check.UEVENTD_RC, r"(/dev/batch_io +0440 +)system", r"\g<1>root", "not a rule"),
    ("a node left out of ueventd", check.UEVENTD_RC, r"/dev/shub_sensorhub.*\n", "", "/dev/shub_sensorhub: mode 0000"),

    ("a type that nobody declares", RULES, "sensorhub_data_device", "sensorhub_date_device", "unknown type"),
    ("a label with a mistyped type", SEPOLICY + "file_contexts", "sensorhub_batch_device", "sensorhub_batch",
     "sefcontext_compile"),
    ("a mistyped path in file_contexts", SEPOLICY + "file_contexts", "batch_io", "batchio",
     "/dev/batch_io: labelled device"),
    ("files of the folder without a label", SEPOLICY + "file_contexts", r"\(/\.\*\)\?", "", "is not labelled"),
    ("a mistyped path in genfs_contexts", SEPOLICY + "genfs_contexts", "hbx_sensor/hbx_flush", "hbx_sensor/flush",
     "hbx_flush: labelled sysfs_sensorhub,"),
    ("a label on a link", SEPOLICY + "genfs_contexts", "sysfs /devices/iio:device", "sysfs /class/iio:device",
     "labelled sysfs, sysfs_sensorhub_iio"),
    ("a mistyped property", SEPOLICY + "property_contexts", "camera_light", "camera_ligth",
     "the library uses persist.sns.camera_light"),
    ("a permission left out", RULES, r"(sensorhub_data_device:chr_file \{ open read) write", r"\1",
     "write is missing on sensorhub_data_device"),
    ("a permission too many", RULES, r"(sensorhub_data_device:chr_file \{ open)", r"\1 ioctl",
     "ioctl on sensorhub_data_device:chr_file is not needed"),
    ("the priority forgotten", RULES, r".*sys_nice.*\n", "", "sys_nice is missing"),
    ("a request too few", RULES, " 0xfc0b", "",
     "0xfc0b, handle 11, is missing in device/sepolicy/hal_sensors_default.te"),
    ("a request too many", RULES, "0xfc44-0xfc47", "0xfc44-0xfc48", "0xfc48 on sensorhub_batch_device is allowed"),
    ("no list of requests", RULES, r"allowxperm[^;]*;", "", "the policy would allow all"),
    ("a new driver", "sensors/SensorList.cpp", r"(    \{)71(, .*\},)", r"\g<0>\n\g<1>72\2",
     "0xfc48, handle 72, is missing in"),
    ("the confinement lifted", SEPOLICY + "sensorhub_confinement.te", r"neverallow hal_sensors_default mnt_[^;]*;", "",
     "mnt_vendor_file:file unlink passes"),

    ("a log line that is not one", check.GUIDE, "SensorList size", "Sensor list size", "does not log \"I Sensor list"),
    ("a log text that has changed", "subhal/PollAndPosting.cpp", "thread run", "thread runs", 'does not log "I thread run"'),
    ("a mode that the guide has otherwise", check.GUIDE, r"(batch_io` \| requests \| )0440", r"\g<1>0660",
     "mode 0660 is not what requests needs"),
)


def main():
    sound = project.Tree(".")
    complaints = check.check(sound)
    if complaints:
        print("\n".join(complaints))
        return True
    print("the kit fits the sources", flush=True)
    failed = []
    for what, name, pattern, replacement, complaint in MISTAKES:
        text, count = re.subn(pattern, replacement, sound.read(name), count=0)
        found = check.check(sound.edited({name: text})) if count else []
        if not any(complaint in line for line in found):
            failed.append(what)
            print(f"{what}: " + ("not found: " + "; ".join(found) if count else "nothing to spoil"))
    print(f"{len(MISTAKES)} mistakes planted, {len(failed)} passed")
    return bool(failed)


if __name__ == "__main__":
    sys.exit(main())
