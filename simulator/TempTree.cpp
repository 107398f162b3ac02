#include "simulator/TempTree.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace simulator {
namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const char* what, const std::string& path) {
    std::fprintf(stderr, "simulator: cannot %s %s: %s\n", what, path.c_str(), std::strerror(errno));
    std::abort();
}

/** Memory where there is some: attributes on a disk would make the driver as slow as the disk. */
const char* baseDirectory() {
    const char* chosen = std::getenv("TMPDIR");
    if (chosen != nullptr && chosen[0] != '\0') return chosen;
    constexpr const char* kMemory = "/dev/shm";
    return access(kMemory, W_OK | X_OK) == 0 ? kMemory : "/tmp";
}

constexpr char kPrefix[] = "hub.";
constexpr size_t kNameSize = sizeof("hub.XXXXXX") - 1;
// Of all devices together, in whole pages, and some.
constexpr uint64_t kRoomBytes = 4 << 20;
constexpr uint64_t kRoomFiles = 1000;

std::string nameIn(const std::string& base) {
    return base + "/" + kPrefix + "XXXXXX";
}

constexpr time_t kFreshSeconds = 10;  // younger ones may be waiting for their lock

int openDirectory(const std::string& path) {
    return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

/** Removes a tree whose process is gone. */
void removeIfStale(const std::string& path) {
    const int fd = openDirectory(path);
    if (fd < 0) return;
    struct stat status {};
    const bool stale = fstat(fd, &status) == 0 && status.st_uid == geteuid() &&
                       status.st_mtime + kFreshSeconds < time(nullptr) &&
                       flock(fd, LOCK_EX | LOCK_NB) == 0;
    std::error_code ignored;
    if (stale) fs::remove_all(path, ignored);
    close(fd);
}

void removeStaleTrees(const std::string& base) {
    std::vector<std::string> found;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(base, error)) {
        const std::string name = entry.path().filename();
        if (name.size() == kNameSize && name.compare(0, sizeof(kPrefix) - 1, kPrefix) == 0) {
            found.push_back(entry.path());
        }
    }
    for (const std::string& path : found) {
        removeIfStale(path);
    }
}

}  // namespace

int TempTree::tryOut(std::string* base) {
    *base = baseDirectory();
    std::string name = nameIn(*base);
    if (mkdtemp(name.data()) == nullptr) return errno;
    int error = mkfifo((name + "/fifo").c_str(), 0600) != 0 ? errno : 0;
    struct statvfs room {};
    if (error == 0 && statvfs(name.c_str(), &room) == 0) {
        const bool counts = room.f_files > 0;  // some file systems have no fixed number of files
        const uint64_t bytes = uint64_t{room.f_bavail} * room.f_frsize;
        if (bytes < kRoomBytes || (counts && room.f_favail < kRoomFiles)) error = ENOSPC;
    }
    std::error_code ignored;
    fs::remove_all(name, ignored);
    return error;
}

TempTree::TempTree() {
    const std::string base = baseDirectory();
    removeStaleTrees(base);
    std::string name = nameIn(base);
    if (mkdtemp(name.data()) == nullptr) fail("create", name);
    mRoot = name;
    mLock = openDirectory(mRoot);
    if (mLock < 0 || flock(mLock, LOCK_SH) != 0) fail("lock", mRoot);
}

TempTree::~TempTree() {
    std::error_code ignored;
    fs::remove_all(mRoot, ignored);
    close(mLock);
}

bool TempTree::exists(const std::string& path) const {
    std::error_code ignored;
    return fs::exists(real(path), ignored);
}

void TempTree::makeDirectory(const std::string& path) const {
    std::error_code ignored;
    fs::create_directories(real(path), ignored);
}

void TempTree::makeFifo(const std::string& path) const {
    makeDirectory(fs::path(path).parent_path());
    if (mkfifo(real(path).c_str(), 0600) != 0) fail("create", path);
}

void TempTree::write(const std::string& path, const std::string& contents) const {
    makeDirectory(fs::path(path).parent_path());
    std::ofstream file(real(path), std::ios::binary | std::ios::trunc);
    file << contents;
    if (!file.flush()) fail("write", path);
}

std::string TempTree::read(const std::string& path) const {
    std::ifstream file(real(path), std::ios::binary);
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

void TempTree::remove(const std::string& path) const {
    std::error_code ignored;
    fs::remove_all(real(path), ignored);
}

std::vector<std::string> TempTree::list(const std::string& path) const {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(real(path), error)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace simulator
