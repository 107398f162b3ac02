#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace simulator {

/**
 * A fresh temporary directory that stands for "/" of the device, removed at the end. What a killed
 * process could not remove goes when the next one starts; nothing else does, whatever its name.
 */
class TempTree {
  public:
    TempTree();
    ~TempTree();
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;

    /**
     * The errno with which a tree cannot be made here, or 0: directories of the kernel, and some
     * file systems, look writable and are not. `*base` becomes the directory that was tried.
     */
    static int tryOut(std::string* base);

    const std::string& root() const { return mRoot; }
    /** Where a path of the device really is; no ".." leads out of the tree. */
    std::string real(const std::string& path) const {
        return mRoot + std::filesystem::path("/" + path).lexically_normal().string();
    }

    bool exists(const std::string& path) const;
    void makeDirectory(const std::string& path) const;
    void makeFifo(const std::string& path) const;
    /** Creates or replaces a file, with the directories above it. */
    void write(const std::string& path, const std::string& contents) const;
    std::string read(const std::string& path) const;
    /** A directory goes with all that is in it. */
    void remove(const std::string& path) const;
    std::vector<std::string> list(const std::string& path) const;

  private:
    std::string mPath;
    std::string mRoot;   // below it
    int mLock = -1;      // of the directory itself: it is in use while somebody holds this
    const pid_t mOwner;  // a forked child's end is not the tree's
};

}  // namespace simulator
