#include "simulator/TempTree.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
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

/** In memory if possible: attributes on a disk would make the driver as slow as the disk. */
const char* baseDirectory() {
    const char* chosen = std::getenv("TMPDIR");
    if (chosen != nullptr && chosen[0] != '\0') return chosen;
    constexpr const char* kMemory = "/dev/shm";
    return access(kMemory, W_OK | X_OK) == 0 ? kMemory : "/tmp";
}

constexpr char kPrefix[] = "/hub.";
constexpr char kMark[] = "/made-by-simulator";
constexpr char kRoot[] = "/root";
// What all devices together need, and a reserve.
constexpr uint64_t kRoomBytes = 4 << 20;
constexpr uint64_t kRoomFiles = 1000;

int openDirectory(const std::string& path) {
    return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

/** The contents of a tree's mark, which no copied or renamed tree has: that is the user's own. */
std::string markOf(int tree, const std::string& path) {
    struct stat status {};
    if (fstat(tree, &status) != 0 || status.st_uid != geteuid() || status.st_nlink == 0) return {};
    return fs::path(path).filename().string() + " " + std::to_string(status.st_ino) + "\n";
}

/** A mark without a lock would make the tree look stale, so it is written last. */
int makeTree(const std::string& base, std::string* path, int* lock) {
    *path = base + kPrefix + "XXXXXX";
    if (mkdtemp(path->data()) == nullptr) return errno;
    *lock = openDirectory(*path);
    if (*lock < 0 || flock(*lock, LOCK_SH) != 0) return errno;
    if (mkdir((*path + kRoot).c_str(), 0700) != 0) return errno;
    std::ofstream mark(*path + kMark);
    mark << markOf(*lock, *path);
    return mark.flush() ? 0 : EIO;
}

/** The mark goes last, so that the rest of an interrupted removal is still marked. */
void removeTree(const std::string& path) {
    std::error_code ignored;
    fs::remove_all(path + kRoot, ignored);
    fs::remove_all(path, ignored);
}

/** Removes a tree if its process and all that this forked have ended. */
void removeIfStale(const std::string& path) {
    const int tree = openDirectory(path);
    if (tree < 0) return;
    const int file = openat(tree, kMark + 1, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    char text[64];
    const ssize_t size = file < 0 ? 0 : read(file, text, sizeof(text));
    if (size > 0 && flock(tree, LOCK_EX | LOCK_NB) == 0 &&
        markOf(tree, path) == std::string(text, static_cast<size_t>(size))) {
        removeTree(path);
    }
    if (file >= 0) close(file);
    close(tree);
}

void removeStaleTrees(const std::string& base) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(base, error)) {
        const std::string path = entry.path();
        if (path.find(kPrefix, path.rfind('/')) != std::string::npos) removeIfStale(path);
    }
}

}  // namespace

int TempTree::tryOut(std::string* base) {
    *base = baseDirectory();
    std::string name;
    int lock = -1;
    int error = makeTree(*base, &name, &lock);
    if (error == 0 && mkfifo((name + "/fifo").c_str(), 0600) != 0) error = errno;
    struct statvfs room {};
    if (error == 0 && statvfs(name.c_str(), &room) == 0) {
        const bool counts = room.f_files > 0;  // not every file system limits the number of files
        const uint64_t bytes = uint64_t{room.f_bavail} * room.f_frsize;
        if (bytes < kRoomBytes || (counts && room.f_favail < kRoomFiles)) error = ENOSPC;
    }
    if (lock >= 0) {
        removeTree(name);
        close(lock);
    }
    return error;
}

TempTree::TempTree() : mOwner(getpid()) {
    const std::string base = baseDirectory();
    removeStaleTrees(base);
    errno = makeTree(base, &mPath, &mLock);
    if (errno != 0) fail("create", mPath);
    mRoot = mPath + kRoot;
}

TempTree::~TempTree() {
    if (getpid() == mOwner) removeTree(mPath);
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

int TempTree::makeFifo(const std::string& path) const {
    makeDirectory(fs::path(path).parent_path());
    if (mkfifo(real(path).c_str(), 0600) != 0) fail("create", path);
    // Open for reading too, so that the open does not wait for a reader and a reader's close does
    // not break the FIFO. The open would refuse O_DIRECT, fcntl() accepts it.
    const int fifo = open(real(path).c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (fifo < 0 || fcntl(fifo, F_SETFL, O_NONBLOCK | O_DIRECT) != 0) fail("open", path);
    return fifo;
}

void TempTree::write(const std::string& path, const std::string& contents) const {
    makeDirectory(fs::path(path).parent_path());
    std::ofstream file(real(path), std::ios::binary | std::ios::trunc);
    file << contents;
    if (!file.flush()) fail("write", path);
}

std::string TempTree::read(const std::string& path) const {
    std::ifstream file(real(path), std::ios::binary);
    std::ostringstream contents;  // unlike an iterator, it takes what cannot be read as empty
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
