"""Compares platform/ with the platform's own headers: check-platform.py FOLDER

FOLDER contains "dump", the compiler's print of tests/platform/shape.cpp, and "generated", the
headers that the interface compiler makes of platform/hidl. Exit code 1 with a difference.
"""
import difflib
import pathlib
import re
import subprocess
import sys

from clang.cindex import CursorKind, Index, TranslationUnit

folder = pathlib.Path(sys.argv[1])
root = pathlib.Path(__file__).resolve().parent.parent
packages = pathlib.Path("/usr/include/android")
ours = [f"-isystem{path}" for path in root.glob("platform/*/include")]
headers = {str(path): str(path).split("/include/")[1]
           for path in root.glob("platform/*/include/**/*.h")}
checked, differences = 0, []


def compare(what, expected, found):
    global checked
    checked += len(expected)
    differences.extend(f"{what}: {line}" for line in difflib.ndiff(expected, found)
                       if line[0] in "-+")  # missing, not expected


def included(names):
    return "".join(f"#include <{name}>\n" for name in names)


def declarations(names, *options):
    """All of them, the inner ones too. Errors are of helpers for which the stand-ins lack names."""
    unit = Index.create().parse("all.cpp", ["-std=c++17", "-ferror-limit=0", *options],
                                unsaved_files=[("all.cpp", included(names))],
                                options=TranslationUnit.PARSE_SKIP_FUNCTION_BODIES)
    differences.extend(str(error) for error in unit.diagnostics if error.severity == error.Fatal)
    return unit.cursor.walk_preorder()


def scope(cursor):
    """What it is declared in, with "::" at the end."""
    outer = cursor.semantic_parent
    if outer is None or outer.kind == CursorKind.TRANSLATION_UNIT:
        return ""
    return f"{scope(outer)}{outer.spelling}::"


# The stand-ins against the expectation, and against the headers that the distribution packages.

def dumped_slots(dump):
    tables = {}
    for name, body in re.findall(r"^Vtable for '(?:\w+::)*(\w+)' .*?\n(.*?)\n\n", dump,
                                 re.S | re.M):
        body = re.sub(r"(?<![\w:])(?!std::)(?:\w+::)+(?=~?\w)", "", body)
        rows = re.findall(r"^ +(\d+) \| (?!.*offset)(.*\).*)$", body, re.M)
        tables[name] = [" ".join(row) for row in rows]
    return tables


def constants():
    """Name: (expression, header), of all that are declared in C's way."""
    found = {}
    for path, header in headers.items():
        for name in re.findall(r"^#define (\w+) \S", pathlib.Path(path).read_text(), re.M):
            found[name] = name, header
    for one in declarations(headers.values(), *ours):
        header = headers.get(str(one.location.file))
        if not header:
            continue
        if one.kind == CursorKind.ENUM_CONSTANT_DECL and not one.semantic_parent.is_scoped_enum():
            found[one.spelling] = scope(one.semantic_parent) + one.spelling, header
        elif one.kind == CursorKind.VAR_DECL and one.type.is_const_qualified():
            found[one.spelling] = scope(one) + one.spelling, header
    return found


def values(expressions, names, *options):
    """Lines of names and values of the expressions, for which all members are public."""
    prints = "".join(f'print("{name}", {text});\n' for name, text in expressions.items())
    (folder / "values.cpp").write_text(included(["iostream", *names]) + """
        template <typename T> void print(const char* name, T value) {
            if constexpr (std::is_null_pointer_v<T>)
                print(name, 0);
            else
                std::cout << name << " " << value << std::endl;
        }
        namespace android::hardware::sensors::V2_0::implementation {
        void run() {""" + prints + """}
        }
        int main() { android::hardware::sensors::V2_0::implementation::run(); }""")
    subprocess.run(["clang++", "-std=c++17", "-fno-access-control", "-Wno-invalid-offsetof",
                    *options, folder / "values.cpp", "-o", folder / "values"], check=True)
    return sorted(subprocess.run([folder / "values"], check=True, text=True,
                                 stdout=subprocess.PIPE).stdout.splitlines())


slots = dumped_slots((folder / "dump").read_text())
expectation = re.sub(r"^#.*\n", "", (root / "tests/platform/shape.txt").read_text(), flags=re.M)
wanted, layouts = {}, {}
for paragraph in expectation.strip().split("\n\n"):
    title, *lines = rows = paragraph.splitlines()
    if title.startswith("slots "):
        compare(title, lines, slots.get(title.split()[1], []))
    elif title == "constants":
        wanted.update(pair.split() for pair in ", ".join(lines).split(", "))
    else:
        for row in rows:
            name, size, members = re.match(r"record (.*?) (\d+)(.*)$", row).groups()
            layouts[f"sizeof({name})"] = size
            for member, offset in re.findall(r"([\w.]+) (\d+)", members):
                layouts[f"__builtin_offsetof({name}, {member})"] = offset
found = {name: name for name in layouts}
packaged = set()  # headers
for name, (expression, header) in constants().items():
    found[name] = expression
    if name not in wanted and (packages / header).exists():
        wanted[name] = expression
        packaged.add(header)
compare("values", values({**wanted, **layouts}, packaged, f"-isystem{packages}"),
        values(found, headers.values(), *ours))


# The interface compiler's headers against the stand-ins' own.

def interface(*options):
    """Enumeration, record or interface: its enumerators, members or virtual functions."""
    found = {}
    names = ("android/hardware/sensors/2.0/types.h", "android/hardware/sensors/2.0/ISensors.h")
    for one in declarations(names, *options):
        name = scope(one)
        if not re.match(r"android::(hidl::base::V|hardware::sensors::V)", name):
            continue
        if one.kind == CursorKind.ENUM_CONSTANT_DECL:
            text = f"{one.semantic_parent.enum_type.spelling} {one.spelling} = {one.enum_value}"
        elif one.kind == CursorKind.FIELD_DECL or one.is_virtual_method():
            text = f"{one.type.get_canonical().spelling} {one.spelling}"
        else:
            continue
        found.setdefault(name, []).append(text)
    return found


for missing in ("utils/NativeHandle.h", "utils/misc.h",
                "android/hidl/manager/1.0/IServiceNotification.h"):
    (folder / "empty" / missing).parent.mkdir(parents=True, exist_ok=True)
    (folder / "empty" / missing).touch()
wanted, found = interface(f"-I{folder}/generated", f"-I{folder}/empty", *ours), interface(*ours)
for name in wanted | found:
    compare(name, wanted.get(name, []), found.get(name, []))

for difference in differences:
    print(difference)
print(f"{checked} slots, members, constants and methods compared, {len(differences)} differ")
sys.exit(1 if differences else 0)
