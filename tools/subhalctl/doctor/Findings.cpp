#include "tools/subhalctl/doctor/Findings.h"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {

namespace {

/** Opens a file for `use`; errno of what failed, else 0. */
template <typename Use>
int withFile(const std::string& path, int flags, const Use& use) {
    const int fd = open(path.c_str(), flags | O_CLOEXEC);
    if (fd < 0) return errno;
    const int error = use(fd) < 0 ? errno : 0;
    close(fd);
    return error;
}

}  // namespace

int tryOpen(const std::string& path, int flags) {
    return withFile(path, flags, [](int) { return 0; });
}

int readFile(const std::string& path, std::string* bytes) {
    return withFile(path, O_RDONLY, [bytes](int fd) {
        char piece[4096];
        ssize_t got = 0;
        while (bytes->size() < kMostRead && (got = read(fd, piece, sizeof(piece))) > 0) {
            bytes->append(piece, static_cast<size_t>(got));
        }
        return got;
    });
}

std::string readLine(const std::string& path, int* error) {
    std::string text;
    const int failed = readFile(path, &text);
    if (error != nullptr) *error = failed;
    return text.substr(0, text.find_first_of("\n\r"));
}

int writeText(const std::string& path, const std::string& text) {
    return withFile(path, O_WRONLY, [&](int fd) { return write(fd, text.data(), text.size()); });
}

std::string modeOf(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return "absent";
    std::string text = S_ISDIR(status.st_mode) ? "d" : (S_ISCHR(status.st_mode) ? "c" : "-");
    constexpr char kLetters[] = "rwxrwxrwx";
    for (int bit = 0; bit < 9; ++bit) {
        text += (status.st_mode & (0400U >> bit)) != 0 ? kLetters[bit] : '-';
    }
    const passwd* user = getpwuid(status.st_uid);
    const group* group = getgrgid(status.st_gid);
    text += ' ' + (user != nullptr ? user->pw_name : std::to_string(status.st_uid)) + ':';
    return text + (group != nullptr ? group->gr_name : std::to_string(status.st_gid));
}

std::string remedyOf(int error, int flags, const std::string& absent) {
    switch (error) {
        case ENOENT:
            return absent;
        case EACCES:
        case EPERM:
            return std::string("the sensors service has to ") +
                   (flags == O_RDONLY ? "read" : (flags == O_WRONLY ? "write" : "read and write")) +
                   " it: check owner, mode and the security policy";
        case EBUSY:
            return "another program has it open";
        case ENODEV:
        case ENXIO:
            return "the node exists, but its driver is gone: look for a failed probe or an "
                   "unplugged hub in the kernel log";
        default:
            return "look at the driver's messages in the kernel log";
    }
}

void Findings::report(Level level, const std::string& subject, const std::string& text,
                      const std::string& remedy) {
    static constexpr const char* kNames[] = {"ok", "note", "FAIL"};
    mNotes += level == Level::kNote ? 1 : 0;
    mFailures += level == Level::kFail ? 1 : 0;
    print("%-5s %s%s%s\n", kNames[static_cast<int>(level)],
          printable(subject + ": " + text).c_str(), remedy.empty() ? "" : "; ",
          printable(remedy).c_str());
}

}  // namespace subhalctl
