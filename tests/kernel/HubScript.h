#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace hub_script {

/** One call on the script's device and what comes of it. */
struct Step {
    std::string call;
    std::string target;  ///< an attribute of the device, or an absolute path
    std::string text;
    std::string result;  ///< "" for success, a text that was read, or the name of an errno
};

struct Script {
    const char* name;
    std::vector<Step> steps;
    bool kernelWarns = false;  ///< a real kernel's log tells about it, too
};

/** What IIO devices do, as measured on a stock kernel. */
const std::vector<Script>& scripts();

/** The hub under a script, whose device is new and has records of kRecordSize bytes. */
class Hub {
  public:
    virtual ~Hub() = default;
    virtual std::string devicePath() const = 0;
    virtual std::string attributePath(const std::string& name) const = 0;
    /** False when the buffer does not take it. */
    virtual bool push(const std::string& record) = 0;
    /** Unregisters the device. */
    virtual void drop() = 0;
};

constexpr size_t kRecordSize = 14;

/** Plays a script by plain calls; each step that ends otherwise fails the test. */
void play(const Script& script, Hub& hub);

}  // namespace hub_script
