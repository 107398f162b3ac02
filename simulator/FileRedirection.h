#pragma once

#include "simulator/FileTap.h"

namespace simulator {

/** A hub of this process behind the redirected calls. */
class FileBackend : public TappedFiles {
  public:
    /** Real path for one of the hub's paths. */
    virtual std::string realPath(const std::string& hubPath) const = 0;
    /** A directory is about to be opened; an errno here becomes the result. */
    virtual int enterDirectory(const std::string& hubPath) = 0;
    /** A poll that watches one of the hub's descriptors begins; an errno here ends it at once. */
    virtual int enterPoll() = 0;
    virtual void leavePoll() = 0;

    DIR* openDirectory(const std::string& hubPath) override;
    int remove(const std::string& hubPath) override;
};

/**
 * Directs the process's calls on the hub's paths to `backend` from now on. False when something
 * else stands behind them. Every other path and descriptor passes untouched.
 */
bool installBackend(FileBackend* backend);

/** Ends the redirection; descriptors still open become ordinary ones. */
void removeBackend();

}  // namespace simulator
