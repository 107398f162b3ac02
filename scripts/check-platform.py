"""Compares platform/ with the platform's own headers: check-platform.py FOLDER

FOLDER contains "dump", the compiler's print of tests/platform/shape.cpp, and "generated", the
headers that the interface compiler makes of platform/hidl. Prints every difference; exit code 1 if any.
"""
import pathlib
import re
import subprocess
import sys

folder = pathlib.Path(sys.argv[1])
root = pathlib.Path(__file__).resolve().parent.parent
differences = []


def short(text):
    """Names without their namespaces, types without their class keys, single blanks."""
    text = re.sub(r"(?<![\w:])(?!std::)(?:::)?(?:\w+::)+(?=~?\w)", "", text)
    text = re.sub(r"\b(?:class|struct|enum|union) ", "", text)
    return re.sub(r"\s+", " ", text).strip()


def compare(what, expected, found):
    for line in expected:
        if line not in found:
            differences.append(f"{what}: missing: {line}")
    for line in found:
        if line not in expected:
            differences.append(f"{what}: not expected: {line}")
    if sorted(expected) == sorted(found) and expected != found:
        differences.append(f"{what}: in another order: {found}, expected {expected}")


# The compiler's print against the expectation.

def dumped_slots(dump):
    tables = {}
    for name, body in re.findall(r"^Vtable for '(?:\w+::)*(\w+)' .*?\n(.*?)\n\n", dump,
                                 re.S | re.M):
        lines = re.findall(r"^ +(\d+) \| (.*\).*)$", body, re.M)
        tables[name] = [f"{n} {short(text)}" for n, text in lines if "offset" not in text]
    return tables


def dumped_records(dump):
    records = {}
    for body in dump.split("*** Dumping AST Record Layout\n")[1:]:
        lines = body.splitlines()
        name = short(lines[0].split("|")[1])
        members = set()
        for line in lines[1:]:
            size = re.match(r" +\| \[sizeof=(\d+)", line)
            if size:
                records[name] = (int(size[1]), members)
                break
            member = re.match(r" *(\d+) \| .* (\w+)$", line)
            if member:
                members.add((member[2], int(member[1])))
    return records


def compiled(source, *options):
    (folder / "source.cpp").write_text(source)
    done = subprocess.run(["clang++", "-std=c++17", *options, folder / "source.cpp"],
                          check=True, text=True, stdout=subprocess.PIPE)
    return done.stdout


# Name and header of the constants that the stand-ins declare in C's way: enumerators, macros.
def declared_constants(preprocessed):
    texts, header = {}, None
    for line in preprocessed.splitlines():
        marker = re.match(r'# \d+ "(.*?)"', line)
        if marker:
            header = re.search(r"platform/\w+/include/(.*)", marker[1])
        elif header:
            texts[header[1]] = texts.get(header[1], "") + line + "\n"
    for path, text in texts.items():
        for body in re.findall(r"\benum\b(?! class)[^{};]*\{(.*?)\}", text, re.S):
            yield from ((name, path) for name in re.findall(r"(?:^|,)\s*(\w+)", body))
        yield from ((name, path) for name in re.findall(r"^#define (\w+) \S", text, re.M))
        yield from ((name, path) for name in
                    re.findall(r"^(?:static |inline )*const(?:expr)? [\w ]+ (\w+) =", text, re.M))


def values(names, *options):
    includes = "".join(f"#include <{header}>\n"
                       for header in {"cstdio", "type_traits", *names.values()})
    prints = "".join(f'print("{name}", {scopes.get(path, "")}{name});\n'
                     for name, path in names.items())
    compiled(includes + """
        template <typename T> void print(const char* name, T value) {
            if constexpr (std::is_convertible_v<T, long long>)
                printf("%s %lld\\n", name, static_cast<long long>(value));
            else if constexpr (std::is_null_pointer_v<T>)
                printf("%s 0\\n", name);
            else
                printf("%s \\"%s\\"\\n", name, value);
        }
        int main() {""" + prints + "}", *options, "-o", folder / "values")
    lines = subprocess.run([folder / "values"], check=True, text=True,
                           stdout=subprocess.PIPE).stdout
    return dict(line.split(" ") for line in lines.splitlines())


def compare_constants(expected):
    ours = [f"-isystem{path}" for path in (root / "platform").glob("*/include")]
    headers = [str(path).split("/include/")[1] for path in root.glob("platform/*/include/**/*.h")]
    everything = "".join(f"#include <{header}>\n" for header in headers)
    constants = dict(declared_constants(compiled(everything, *ours, "-E", "-dD")))
    packaged = {name: path for name, path in constants.items()
                if name not in expected and (packages / path).exists()}
    found = values(constants, *ours)
    wanted = {**expected, **values(packaged, f"-isystem{packages}")}
    compare("constants", *([f"{name} {one[name]}" for name in sorted(one)]
                           for one in (wanted, found)))
    return len(found)


packages = pathlib.Path("/usr/include/android")
scopes = {"utils/Mutex.h": "android::Mutex::", "hidl/Status.h": "android::hardware::Status::",
          "hidl/MQDescriptor.h": "android::hardware::"}
dump = (folder / "dump").read_text()
slots, records = dumped_slots(dump), dumped_records(dump)
expectation = re.sub(r"^#.*\n", "", (root / "tests/platform/shape.txt").read_text(), flags=re.M)
checked, constants = 0, {}
for paragraph in expectation.strip().split("\n\n"):
    lines = paragraph.splitlines()
    if lines[0].startswith("slots "):
        compare(lines[0], lines[1:], slots.get(lines[0].split()[1], []))
        checked += len(lines) - 1
        continue
    if lines[0].startswith("constants"):
        for name, value in (pair.split() for pair in ", ".join(lines[1:]).split(", ")):
            constants[name] = value if value.startswith('"') else str(int(value, 0))
        continue
    for line in lines:
        name, size, members = re.match(r"record (.*?) (\d+)(?:: (.*))?$", line).groups()
        found_size, found_members = records.get(name, (None, set()))
        if found_size != int(size):
            differences.append(f"{name}: {found_size} bytes, expected {size}")
        for member in (members or "").split(", ") if members else []:
            member_name, offset = member.split()
            checked += 1
            if (member_name, int(offset)) not in found_members:
                differences.append(f"{name}: {member_name} is not at {offset}")
checked += compare_constants(constants)


# The interface compiler's headers against the stand-ins' own.

def without_comments(path):
    return re.sub(r"//[^\n]*|/\*.*?\*/|static_assert.*?;", "", path.read_text(), flags=re.S)


def enumerations(text):
    result = {}
    for name, kind, body in re.findall(r"enum class (\w+) : (\w+) \{(.*?)\}", text, re.S):
        values, last = [], -1
        for item in filter(None, (entry.strip() for entry in body.split(","))):
            enumerator, _, value = (part.strip() for part in item.partition("="))
            last = eval(value.replace("u", "").replace("ll", "")) if value else last + 1
            values.append((enumerator, last))
        result[f"{name} : {kind}"] = values
    return result


def structures(text):
    result = {}
    text = re.sub(r"enum class \w+ : \w+(?: \{.*?\})?;", "", text, flags=re.S)
    text = re.sub(r"__attribute__ ?\(\(aligned\(\d+\)\)\)", "", text)
    # Innermost first, so that a nested record is gone when its outer one is read.
    pattern = re.compile(r"(?:struct|union) (\w+)(?: final)? \{([^{}]*)\};")
    while match := pattern.search(text):
        members = [short(member) for member in match[2].split(";")]
        result[match[1]] = [member for member in members if " " in member]
        text = text[:match.start()] + text[match.end():]
    return result


def methods(text):
    result = {}
    for name, body in re.findall(r"struct (\w+) : [^{;]*\{(.*?)\n\};", text, re.S):
        body = body.split("static ::android::hardware::Return<")[0]  # castFrom and what follows
        found = []
        for type_, method in re.findall(
                r"\n    (?:virtual )?((?:::)?[\w:]*Return<[^;{]*?>|bool)\s+(\w+\([^;{]*\))", body):
            found.append(short(type_ + " " + method).replace("( ", "("))
        result[name] = found
        result[name + " callbacks"] = [short(using) for using in
                                       re.findall(r"using (\w+ =\s[^;]*);", body)
                                       if "_cb" in using and
                                       (name == "IBase" or using.split()[0] not in base_callbacks)]
    return result


# Every generated interface names these again.
base_callbacks = ["interfaceChain_cb", "interfaceDescriptor_cb", "getHashChain_cb",
                  "getDebugInfo_cb"]
headers = {"libhidl/include/android/hidl/base/1.0": ["types.h", "IBase.h"],
           "sensors/include/android/hardware/sensors/1.0": ["types.h"],
           "sensors/include/android/hardware/sensors/2.0": ["types.h", "ISensorsCallback.h",
                                                            "ISensors.h"]}
for path, names in headers.items():
    generated = folder / "generated" / path.split("include/")[1]
    texts = []
    for directory in (generated, root / "platform" / path):
        texts.append("".join(without_comments(directory / name) for name in names
                             if (directory / name).exists()))
    for read in (enumerations, structures, methods):
        wanted, found = read(texts[0]), read(texts[1])
        compare(f"{path}: {read.__name__}", sorted(wanted), sorted(found))
        for name in wanted:
            compare(name, wanted[name], found.get(name, []))
            checked += len(wanted[name])

for difference in differences:
    print(difference)
print(f"{checked} slots, members, constants and methods compared, {len(differences)} differ")
sys.exit(1 if differences else 0)
