#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace subhalctl {

/** errno of opening the file, 0 when it can be opened. */
int tryOpen(const std::string& path, int flags);
constexpr size_t kMostRead = size_t{1} << 20;
/** errno of reading a file, 0 when all that is there was read, or kMostRead at least. */
int readFile(const std::string& path, std::string* bytes);
/** First line of an attribute, empty and with `*error` set when it cannot be read. */
std::string readLine(const std::string& path, int* error = nullptr);
/** errno of writing `text`, 0 when it was taken. */
int writeText(const std::string& path, const std::string& text);
/** As in "crw-rw---- system:sensors". */
std::string modeOf(const std::string& path);

/**
 * What to do about a failed call on a node that may be `absent`, or closed to the sensors service,
 * which needs access with these flags of an open.
 */
std::string remedyOf(int error, int flags, const std::string& absent = "the hub's driver makes it");

/** Collects what is found, and prints it one line each. */
class Findings {
  public:
    enum class Level { kOk, kNote, kFail };

    explicit Findings(bool verbose) : mVerbose(verbose) {}

    /** Is shown with "-v" only. */
    void ok(const std::string& subject, const std::string& text) {
        if (mVerbose) report(Level::kOk, subject, text);
    }
    void fail(const std::string& subject, const std::string& text, const std::string& remedy) {
        report(Level::kFail, subject, text, remedy);
    }
    void report(Level level, const std::string& subject, const std::string& text,
                const std::string& remedy = "");

    int notes() const { return mNotes; }
    int failures() const { return mFailures; }

  private:
    bool mVerbose;
    int mNotes = 0;
    int mFailures = 0;
};

struct HubDevices {
    size_t sensors = 0;                           ///< in the specification
    std::multimap<std::string, std::string> iio;  ///< "iio:deviceN" by name
};

/**
 * Tries the nodes of each sensor as the library does, without the library. Returns nothing
 * after reporting that there is no hub.
 */
std::optional<HubDevices> examineHub(Findings& findings);

}  // namespace subhalctl
