#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace hub_script {

constexpr int kHandle = 1;
constexpr size_t kRecordSize = 14;

/** The hub under a script; its device kHandle is new and has records of kRecordSize bytes. */
class Hub {
  public:
    virtual ~Hub() = default;
    virtual std::string devicePath() const = 0;
    virtual std::string attributePath(const std::string& name) const = 0;
    /** False when the buffer does not take it. */
    virtual bool push(const std::string& record) = 0;
    /** Unregisters the device. */
    virtual void drop() = 0;
    /** The kernel's log may hold warnings from now on, or not any more. */
    virtual void expectWarnings(bool) {}
};

/** The program's own. */
std::unique_ptr<Hub> newHub();

}  // namespace hub_script
