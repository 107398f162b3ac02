#pragma once

#include <string>

#include "simulator/SimulatedHub.h"

namespace simulator {

/** Loads the sub-HAL library as the proxy does, and unloads it in spite of its waiting poll thread.
 */
class HostedLibrary {
  public:
    /** Opens `path` at once; the hub must outlive this object. */
    HostedLibrary(SimulatedHub& hub, const std::string& path);
    /** Unloads, see unload(). */
    ~HostedLibrary();
    HostedLibrary(const HostedLibrary&) = delete;
    HostedLibrary& operator=(const HostedLibrary&) = delete;

    bool loaded() const { return mLibrary != nullptr; }
    /** The loader's message when loaded() is false or the entry point is missing. */
    const std::string& error() const { return mError; }
    /** Address of the exported function, null when missing. The caller knows its type. */
    void* entryPoint() const { return mEntryPoint; }
    /** Any other symbol of the library, null when it exports none of that name. */
    void* symbol(const char* name) const;

    /** Unloads the library, which runs its static destructors. False when it stays resident. */
    bool unload();

  private:
    SimulatedHub& mHub;
    std::string mPath;
    std::string mError;
    void* mLibrary = nullptr;
    void* mEntryPoint = nullptr;
};

}  // namespace simulator
