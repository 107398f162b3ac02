#pragma once

#include <string>

namespace subhalctl {

// What the doctor asks of files, and how it says what it found.

/** errno of opening the file, 0 when it can be opened. */
int tryOpen(const std::string& path, int flags);
/** errno of reading a file of moderate size, 0 when all that is there was read. */
int readFile(const std::string& path, std::string* bytes);
/** First line of an attribute, empty and with `*error` set when it cannot be read. */
std::string readLine(const std::string& path, int* error = nullptr);
/** errno of writing `text`, 0 when it was taken. */
int writeText(const std::string& path, const std::string& text);
/** As in "crw-rw---- system:sensors". */
std::string modeOf(const std::string& path);

const char* accessName(int flags);
/**
 * What to do about a failed call on a node that may be `absent`, or closed to the sensors service,
 * which has to have `access` to it.
 */
std::string remedyOf(int error, const std::string& absent, const char* access);

/** Collects what is found, and prints it one line each. */
class Findings {
  public:
    explicit Findings(bool verbose) : mVerbose(verbose) {}

    /** Is shown with "-v" only. */
    void ok(const std::string& subject, const std::string& text) {
        if (mVerbose) line("ok", subject, text, "");
    }
    /** Is what was asked for. */
    void good(const std::string& subject, const std::string& text) {
        line("ok", subject, text, "");
    }
    /** May be as wanted. */
    void note(const std::string& subject, const std::string& text, const std::string& remedy = "") {
        ++mNotes;
        line("note", subject, text, remedy);
    }
    void fail(const std::string& subject, const std::string& text, const std::string& remedy) {
        ++mFailures;
        line("FAIL", subject, text, remedy);
    }

    int notes() const { return mNotes; }
    int failures() const { return mFailures; }

  private:
    static void line(const char* level, const std::string& subject, const std::string& text,
                     const std::string& remedy);

    bool mVerbose;
    int mNotes = 0;
    int mFailures = 0;
};

}  // namespace subhalctl
