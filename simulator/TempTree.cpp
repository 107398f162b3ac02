#include "simulator/TempTree.h"

#include <sys/stat.h>

#include <unistd.h>
#include <algorithm>

#include <cerrno>
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
    if (const char* chosen = std::getenv("TMPDIR")) return chosen;
    constexpr const char* kMemory = "/dev/shm";
    return access(kMemory, W_OK | X_OK) == 0 ? kMemory : "/tmp";
}

}  // namespace

TempTree::TempTree() {
    std::string name = std::string(baseDirectory()) + "/hub.XXXXXX";
    if (mkdtemp(name.data()) == nullptr) fail("create", name);
    mRoot = name;
}

TempTree::~TempTree() {
    std::error_code ignored;
    fs::remove_all(mRoot, ignored);
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
