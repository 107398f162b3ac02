#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace simulator {

/**
 * A new temporary directory as "/" of the device, removed at the end. A later process removes the
 * trees of killed ones, and nothing else, whatever its name.
 */
class TempTree {
  public:
    TempTree();
    ~TempTree();
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;

    /**
     * Tries to make a tree; 0 or the errno. Directories of the kernel and some file systems look
     * writable but are not. `*base` becomes the directory that was tried.
     */
    static int tryOut(std::string* base);

    const std::string& root() const { return mRoot; }
    /** The real path of a device's path; no ".." leads out of the tree. */
    std::string real(const std::string& path) const {
        return mRoot + std::filesystem::path("/" + path).lexically_normal().string();
    }

    bool exists(const std::string& path) const;
    void makeDirectory(const std::string& path) const;
    /** Gives the writing end, for one packet per write. */
    int makeFifo(const std::string& path) const;
    /** Creates or replaces a file, with the directories above it. */
    void write(const std::string& path, const std::string& contents) const;
    std::string read(const std::string& path) const;
    /** A file, or a directory and its contents. */
    void remove(const std::string& path) const;
    std::vector<std::string> list(const std::string& path) const;

  private:
    std::string mPath;
    std::string mRoot;   // below it
    int mLock = -1;      // on the directory: it is in use while a process holds this
    const pid_t mOwner;  // a forked child does not remove the tree
};

}  // namespace simulator
