#include <cutils/properties.h>
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <set>

#include "simulator/KnownSensors.h"
#include "simulator/SensorSpec.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

using simulator::KnownSensor;

constexpr char kGone[] = "the device has just gone";
constexpr size_t kSpecBytesRead = 4096;  // by the library, in one read
constexpr size_t kLongestIioName = 29;   // that the library reads of a device's name
constexpr int kShortestBuffer = 600;     // the library asks for no less
constexpr uint8_t kVendors = 12;
constexpr char kSilentFirmware[] =
    "the hub's firmware has told the driver of no sensors: look at its messages in the kernel log";
constexpr uint32_t kModeMask = 0xE;
constexpr uint32_t kOneShotMode = 4;

/** A descriptor that closes itself. */
class File {
  public:
    File(const std::string& path, int flags)
        : mFd(open(path.c_str(), flags | O_CLOEXEC)), mError(mFd < 0 ? errno : 0) {}
    ~File() {
        if (mFd >= 0) close(mFd);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    int fd() const { return mFd; }
    /** errno of the open, 0 when it succeeded. */
    int error() const { return mError; }

  private:
    int mFd;
    int mError;
};

/** errno of reading, 0 when all that is there was read. */
int readAll(int fd, size_t most, std::string* bytes) {
    char piece[4096];
    for (ssize_t got = 1; got > 0 && bytes->size() < most;) {
        got = read(fd, piece, std::min(sizeof(piece), most - bytes->size()));
        if (got < 0) return errno;
        bytes->append(piece, static_cast<size_t>(got));
    }
    return 0;
}

/** First line of an attribute, empty and with `*error` set when it cannot be read. */
std::string readLine(const std::string& path, int* error = nullptr) {
    const File file(path, O_RDONLY);
    std::string text;
    const int failed = file.error() == 0 ? readAll(file.fd(), 4096, &text) : file.error();
    if (error != nullptr) *error = failed;
    return text.substr(0, text.find_first_of("\n\r"));
}

/** errno of writing `text`, 0 when it was taken. */
int writeText(const std::string& path, const std::string& text) {
    const File file(path, O_WRONLY);
    if (file.error() != 0) return file.error();
    return write(file.fd(), text.data(), text.size()) < 0 ? errno : 0;
}

/** As in "crw-rw---- system:sensors". */
std::string modeOf(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return "absent";
    std::string text = S_ISDIR(status.st_mode) ? "d" : (S_ISCHR(status.st_mode) ? "c" : "-");
    constexpr char kLetters[] = "rwxrwxrwx";
    for (int bit = 0; bit < 9; ++bit) {
        text += (status.st_mode & (0400U >> bit)) != 0 ? kLetters[bit] : '-';
    }
    const passwd* user = getpwuid(status.st_uid);
    const group* group = getgrgid(status.st_gid);
    text += ' ' + (user != nullptr ? user->pw_name : std::to_string(status.st_uid)) + ':';
    return text + (group != nullptr ? group->gr_name : std::to_string(status.st_gid));
}

const char* accessName(int flags) {
    if (flags == O_RDONLY) return "read";
    return flags == O_WRONLY ? "write" : "read and write";
}

/**
 * What to do about a failed call on a node that may be `absent`, or closed to the sensors service,
 * which has to have `access` to it.
 */
std::string remedyOf(int error, const std::string& absent, const char* access) {
    switch (error) {
        case ENOENT:
            return absent;
        case EACCES:
        case EPERM:
            return std::string("the sensors service has to ") + access +
                   " it: check owner, mode and the security policy";
        case EBUSY:
            return "another program holds it";
        case ENODEV:
        case ENXIO:
            return "the node is there, the driver behind it is gone: look for a failed probe or an "
                   "unplugged hub in the kernel log";
        default:
            return "look at the driver's messages in the kernel log";
    }
}

/** The processes that have the file open, as in "1234 (sensors-service)". */
std::string holdersOf(const std::string& path) {
    std::string holders;
    const std::unique_ptr<DIR, int (*)(DIR*)> processes(opendir("/proc"), closedir);
    while (const dirent* process = processes ? readdir(processes.get()) : nullptr) {
        if (std::isdigit(static_cast<unsigned char>(process->d_name[0])) == 0) continue;
        const std::string directory = std::string("/proc/") + process->d_name;
        const std::unique_ptr<DIR, int (*)(DIR*)> files(opendir((directory + "/fd").c_str()),
                                                        closedir);
        while (const dirent* file = files ? readdir(files.get()) : nullptr) {
            char target[4096];
            const std::string link = directory + "/fd/" + file->d_name;
            const ssize_t length = readlink(link.c_str(), target, sizeof(target));
            if (length < 0 || path != std::string(target, static_cast<size_t>(length))) continue;
            holders += (holders.empty() ? "" : ", ") + std::string(process->d_name) + " (" +
                       readLine(directory + "/comm") + ")";
            break;
        }
    }
    return holders;
}

/** Collects what is found, and prints it one line each. */
class Findings {
  public:
    explicit Findings(bool verbose) : mVerbose(verbose) {}

    void ok(const std::string& subject, const std::string& text) {
        if (mVerbose) line("ok", subject, text, "");
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
                     const std::string& remedy) {
        const std::string found = printable(subject + ": " + text);
        print("%-5s %s%s%s\n", level, found.c_str(), remedy.empty() ? "" : "; ",
              printable(remedy).c_str());
    }

    bool mVerbose;
    int mNotes = 0;
    int mFailures = 0;
};

class Doctor {
  public:
    explicit Doctor(bool verbose) : mFindings(verbose) {}

    ExitCode run();

  private:
    bool readSpec();
    void readIioNames();
    void checkWho();
    void checkNodes();
    void checkNode(const char* path, int flags, const char* lost, bool needed);
    void checkEither(const char* path, const char* other, const char* lost);
    void checkDataDirectory();
    void checkProperties();
    void checkRecord(size_t number, const simulator::SensorSpec& record);
    void checkFigures(const std::string& subject, const simulator::SensorSpec& record,
                      uint32_t mode);
    void checkDevice(const std::string& subject, const KnownSensor& sensor, bool wakeUp,
                     int fifoMax);
    void checkMissing(const std::string& subject, const KnownSensor& sensor, bool wakeUp);
    void checkBuffer(const std::string& subject, int number, const KnownSensor& sensor,
                     int fifoMax);
    void tryBuffer(const std::string& subject, const std::string& directory,
                   const KnownSensor& sensor, int length);
    void checkLeftOver();
    void tellShared();

    Findings mFindings;
    std::string mSpec;
    std::multimap<std::string, int> mIio;  // device numbers by name
    std::vector<std::string> mNameless;    // devices whose name cannot be read
    bool mIioIsRead = false;
    size_t mEmptySlots = 0;                                 // in the specification
    std::set<int32_t> mHandles;                             // met in the specification
    std::set<std::string> mWanted;                          // IIO names that the library looks for
    std::map<std::string, std::vector<std::string>> mHeld;  // devices in use, by their users
    std::vector<std::string> mRunning;                      // buffers that nobody reads
};

bool Doctor::readSpec() {
    const File file(kSpecPath, O_RDONLY);
    if (file.error() == ENOENT) {
        print("FAIL  %s: %s\n", kSpecPath, std::strerror(ENOENT));
        print(
            "No sensor hub here. On a device the hub's kernel driver makes this file: look at "
            "its probe in the kernel log.\nOn another machine, --sim examines a simulated "
            "hub.\n");
        return false;
    }
    const int error =
        file.error() != 0 ? file.error() : readAll(file.fd(), 16 * kSpecBytesRead, &mSpec);
    if (error != 0) {
        mFindings.fail(kSpecPath,
                       std::string(file.error() != 0 ? "" : "reading it: ") + std::strerror(error) +
                           ", " + modeOf(kSpecPath),
                       "no sensors without it; " + remedyOf(error, "", "read"));
        return false;
    }
    const size_t records = std::min(mSpec.size(), kSpecBytesRead) / simulator::kSpecSize;
    mFindings.ok(kSpecPath, modeOf(kSpecPath) + ", " + counted(records, "record"));
    if (mSpec.size() > kSpecBytesRead) {
        mFindings.fail(kSpecPath, formatted("%zu bytes", mSpec.size()),
                       formatted("the library reads the first %zu, %zu records", kSpecBytesRead,
                                 kSpecBytesRead / simulator::kSpecSize));
    }
    if (mSpec.size() % simulator::kSpecSize != 0) {
        mFindings.fail(kSpecPath,
                       counted(mSpec.size() % simulator::kSpecSize, "byte") +
                           formatted(" behind the last whole record of %zu", simulator::kSpecSize),
                       "the driver and the library disagree about the record");
    }
    if (records == 0) {
        mFindings.fail(kSpecPath, "no records", kSilentFirmware);
    }
    return true;
}

void Doctor::readIioNames() {
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(kIioDirectory), closedir);
    if (directory == nullptr) {
        const int error = errno;
        mFindings.fail(
            kIioDirectory, std::string(std::strerror(error)) + ", " + modeOf(kIioDirectory),
            "the library finds no device; " +
                remedyOf(error, "the kernel lacks CONFIG_IIO, or its module is not loaded",
                         "read"));
        return;
    }
    mIioIsRead = true;
    const std::string prefix = kIioPrefix;
    while (const dirent* entry = readdir(directory.get())) {
        const std::string name = entry->d_name;
        int number = 0;
        if (name.compare(0, prefix.size(), prefix) != 0 ||
            std::sscanf(name.c_str() + prefix.size(), "%9d", &number) != 1) {
            continue;
        }
        const std::string path = kIioDirectory + name + "/name";
        int error = 0;
        const std::string iioName = readLine(path, &error);
        if (error != 0) {
            mNameless.push_back(name);
            mFindings.note(path, std::string(std::strerror(error)) + ", " + modeOf(path),
                           "the library cannot tell which sensor this is; " +
                               remedyOf(error, "its driver has not made it", "read"));
            continue;
        }
        mIio.emplace(iioName, number);
        mFindings.ok(kIioDirectory + name, iioName);
    }
}

void Doctor::checkWho() {
    if (geteuid() == 0) {
        mFindings.ok("user",
                     "root, who may do what the sensors service may not; run this as its "
                     "user to see its rights");
    } else {
        mFindings.ok("user", formatted("uid %d", static_cast<int>(geteuid())));
    }
}

void Doctor::checkNode(const char* path, int flags, const char* lost, bool needed) {
    const File file(path, flags);
    if (file.error() == 0) return mFindings.ok(path, modeOf(path));
    const std::string what = std::string(std::strerror(file.error())) + ", " + modeOf(path);
    const std::string remedy =
        std::string(lost) + "; " +
        remedyOf(file.error(), "the hub's driver makes it", accessName(flags));
    if (needed) {
        mFindings.fail(path, what, remedy);
    } else {
        mFindings.note(path, what, remedy);
    }
}

void Doctor::checkEither(const char* path, const char* other, const char* lost) {
    const File first(path, O_RDWR);
    if (first.error() == 0) return mFindings.ok(path, modeOf(path));
    const File second(other, O_RDWR);
    if (second.error() == 0) return mFindings.ok(other, modeOf(other));
    mFindings.fail(path,
                   std::string(std::strerror(first.error())) + ", " + modeOf(path) + ", and " +
                       other + ": " + std::strerror(second.error()) + ", " + modeOf(other),
                   std::string(lost) + "; " +
                       remedyOf(first.error() == ENOENT ? second.error() : first.error(),
                                "the hub's driver makes one of the two", accessName(O_RDWR)));
}

void Doctor::checkNodes() {
    checkNode(kEnablePath, O_RDWR, "no sensor can be switched on", true);
    checkNode(kFlushPath, O_WRONLY, "no sensor can be flushed", true);
    checkNode(kBatchPath, O_RDONLY, "no rate can be set", true);
    checkEither(kShubInjectionPath, kHbxInjectionPath, "nothing can be injected");
    checkEither(kMessagePath, kOtherMessagePath, "the hub's contexts get no messages");
    checkNode(kContextListPath, O_RDONLY, "the hub's contexts are not announced", false);
    checkNode(kFileManagerPath, O_RDWR, "the hub cannot use files of the host", false);
    checkNode(kDumpPath, O_RDONLY, "dumps of the hub stay empty", false);
    if (mHandles.count(37) != 0) {
        checkNode(kRearDataPath, O_RDONLY, "no help from the rear light sensor", false);
        checkNode(kRearEnablePath, O_WRONLY, "no help from the rear light sensor", false);
    }
    if (mHandles.count(simulator::kFlipCoverHandle) != 0) {
        checkNode(kNfcCoverPath, O_RDWR, "flip_cover_detector is left out of the list", true);
    }
}

void Doctor::checkDataDirectory() {
    if (access(kDataDirectory, W_OK | X_OK) == 0) {
        return mFindings.ok(kDataDirectory, modeOf(kDataDirectory));
    }
    const int error = errno;
    mFindings.fail(
        kDataDirectory, std::string(std::strerror(error)) + ", " + modeOf(kDataDirectory),
        error == ENOENT ? "dumps are lost; neither the library nor the driver makes this "
                          "directory, the device's init script has to"
                        : "dumps are lost; the sensors service has to write into it");
}

void Doctor::checkProperties() {
    for (const char* name :
         {"ro.build.type", "persist.dm.passive.ambient_brightness", "persist.sns.camera_light"}) {
        char value[PROPERTY_VALUE_MAX] = {};
        property_get(name, value, "");
        mFindings.ok(std::string("property ") + name, value[0] != '\0' ? value : "not set");
    }
}

void Doctor::checkFigures(const std::string& subject, const simulator::SensorSpec& record,
                          uint32_t mode) {
    const auto wrong = [&](const std::string& what, const std::string& rule) {
        mFindings.fail(subject, what, rule);
    };
    if (mode == 0 && record.minDelayUs <= 0) {
        wrong(formatted("minimum delay %" PRId32 " µs", record.minDelayUs),
              "a continuous sensor has a shortest period");
    }
    if (mode == kOneShotMode && record.minDelayUs != -1) {
        wrong(formatted("minimum delay %" PRId32 " µs", record.minDelayUs),
              "a one-shot sensor has -1");
    }
    if (record.minDelayUs > 0 && record.maxDelayUs < record.minDelayUs) {
        wrong(formatted("delays from %" PRId32 " to %" PRId32 " µs", record.minDelayUs,
                        record.maxDelayUs),
              "the maximum is no shorter than the minimum");
    }
    if (record.fifoReserved > record.fifoMax) {
        wrong(counted(record.fifoReserved, "event") +
                  formatted(" reserved of a FIFO of %d", record.fifoMax),
              "no more can be reserved than there is");
    }
    if (!std::isfinite(record.resolution) || record.resolution <= 0) {
        wrong(formatted("resolution %g", static_cast<double>(record.resolution)),
              "it is a step above 0, and many sensors' values are multiples of it");
    }
    if (!std::isfinite(record.range) || record.range <= 0) {
        wrong(formatted("range %g", static_cast<double>(record.range)), "it is above 0");
    }
    if (!std::isfinite(record.powerMa) || record.powerMa < 0) {
        wrong(formatted("power %g mA", static_cast<double>(record.powerMa)), "it is not below 0");
    }
}

void Doctor::checkRecord(size_t number, const simulator::SensorSpec& record) {
    const std::string place = formatted("record %zu", number);
    if (record.handle == 0) {
        ++mEmptySlots;
        return mFindings.ok(place, "an empty slot");
    }
    const std::string subject = formatted("record %zu, handle %" PRId32, number, record.handle);
    const KnownSensor* sensor = simulator::findKnownSensor(record.handle);
    if (sensor == nullptr || sensor->isHubsOwn()) {
        mFindings.fail(subject, "no driver of the library serves this handle",
                       sensor != nullptr ? "the library makes this sensor by itself"
                                         : "the sensor is left out");
        return;
    }
    if (!mHandles.insert(record.handle).second) {
        mFindings.fail(subject, "the handle stands in an earlier record", "the earlier one counts");
        return;
    }
    const bool text = std::all_of(record.chipName.begin(), record.chipName.end(),
                                  [](char letter) { return letter >= ' ' && letter < 0x7F; });
    mFindings.ok(subject, formatted("%s \"%s\", vendor %d, version %" PRId32 ", %s, %" PRId32
                                    " to %" PRId32 " µs, FIFO %d",
                                    sensor->displayName, record.chipName.c_str(), record.vendor,
                                    record.version, record.wakeUp ? "wake-up" : "non-wake-up",
                                    record.minDelayUs, record.maxDelayUs, record.fifoMax));
    if (!text || record.chipName.size() >= simulator::kSpecNameSize) {
        mFindings.fail(subject, "the name is not text of at most 14 characters",
                       "the record is broken, or shifted against the library's idea of it");
    }
    if (record.chipName.empty()) mFindings.note(subject, "no chip name");
    if (record.vendor >= kVendors) {
        mFindings.note(subject, formatted("unknown vendor %d", record.vendor),
                       "the vendor stays empty");
    }
    if (record.handle != simulator::kDebuggerHandle) {
        checkFigures(subject, record, sensor->flags & kModeMask);
    }
    checkDevice(formatted("%s, handle %" PRId32, sensor->iioName, record.handle), *sensor,
                record.wakeUp, record.fifoMax);
}

void Doctor::checkMissing(const std::string& subject, const KnownSensor& sensor, bool wakeUp) {
    const std::string wanted = iioNameOf(sensor, wakeUp);
    std::string remedy = "the hub's driver has not registered it, or under another name";
    if (!mNameless.empty()) remedy = "it may be " + mNameless.front() + ", whose name is not known";
    if (mIio.count(iioNameOf(sensor, !wakeUp)) != 0) {
        remedy = "there is \"" + iioNameOf(sensor, !wakeUp) +
                 "\": the wake-up byte of the specification's record and the driver disagree";
    } else {
        for (const auto& [name, number] : mIio) {
            if (strcasecmp(name.c_str(), wanted.c_str()) != 0 && name.find(wanted) != 0) continue;
            remedy = formatted("%s%d is called \"%s\"", kIioPrefix, number, name.c_str());
        }
    }
    mFindings.fail(subject, "no IIO device is called \"" + wanted + "\"", remedy);
}

void Doctor::checkDevice(const std::string& subject, const KnownSensor& sensor, bool wakeUp,
                         int fifoMax) {
    const std::string wanted = iioNameOf(sensor, wakeUp);
    mWanted.insert(wanted);
    if (wanted.size() > kLongestIioName) {
        return mFindings.fail(subject, "the device name \"" + wanted + "\" is too long",
                              formatted("the library reads %zu characters", kLongestIioName));
    }
    if (!mIioIsRead) return;
    const auto [first, last] = mIio.equal_range(wanted);
    if (first == last) return checkMissing(subject, sensor, wakeUp);
    if (std::next(first) != last) {
        mFindings.fail(subject,
                       formatted("%d IIO devices are called \"%s\"",
                                 static_cast<int>(std::distance(first, last)), wanted.c_str()),
                       "the library takes whichever the directory names first");
    }
    checkBuffer(subject, first->second, sensor, fifoMax);
}

void Doctor::checkBuffer(const std::string& subject, int number, const KnownSensor& sensor,
                         int fifoMax) {
    const std::string node = std::string("/dev/") + kIioPrefix + std::to_string(number);
    const std::string directory =
        std::string(kIioDirectory) + kIioPrefix + std::to_string(number) + "/buffer/";
    const int length = std::max(fifoMax, kShortestBuffer);
    const File device(node, O_RDONLY | O_NONBLOCK);
    if (device.error() == EBUSY) {
        const std::string holders = holdersOf(node);
        mHeld[holders.empty() ? "a process that cannot be seen" : holders].push_back(subject);
    } else if (device.error() != 0) {
        mFindings.fail(
            subject, node + ": " + std::strerror(device.error()) + ", " + modeOf(node),
            "the sensor is left out; " +
                remedyOf(device.error(), "ueventd or udev has not made the node", "read"));
    } else {
        mFindings.ok(subject, node + ", " + modeOf(node));
    }
    bool writable = true;
    for (const char* attribute : {"length", "enable"}) {
        const std::string path = directory + attribute;
        const File file(path, O_WRONLY);
        if (file.error() == 0) {
            mFindings.ok(subject, path + ", " + modeOf(path) + ", " + readLine(path));
            continue;
        }
        writable = false;
        mFindings.fail(subject, path + ": " + std::strerror(file.error()) + ", " + modeOf(path),
                       "the library skips it without a word and gets no records; " +
                           remedyOf(file.error(),
                                    "its driver has set up no buffer, or the kernel lacks "
                                    "CONFIG_IIO_BUFFER",
                                    "write"));
    }
    if (device.error() != 0 || !writable) return;
    if (readLine(directory + "enable") == "1") {
        mRunning.push_back(subject);
    } else {
        tryBuffer(subject, directory, sensor, length);
    }
}

/** The buffer is off, and its device in our hands: set it up as the library does, and off again. */
void Doctor::tryBuffer(const std::string& subject, const std::string& directory,
                       const KnownSensor& sensor, int length) {
    const std::string before = readLine(directory + "length");
    if (const int error = writeText(directory + "length", std::to_string(length) + "\n")) {
        mFindings.fail(
            subject, formatted("a buffer of %d records: %s", length, std::strerror(error)),
            error == EINVAL ? "the driver refuses the length" : remedyOf(error, kGone, "write"));
    }
    const int error = writeText(directory + "enable", "1\n");
    if (error == ENOMEM) {
        mFindings.fail(subject,
                       formatted("no memory for a buffer of %d records of %zu bytes", length,
                                 sensor.recordSize),
                       "lower the FIFO count in the specification's record");
    } else if (error != 0) {
        mFindings.fail(subject, formatted("the buffer does not start: %s", std::strerror(error)),
                       remedyOf(error, kGone, "write"));
    } else {
        writeText(directory + "enable", "0\n");
        mFindings.ok(subject, formatted("a buffer of %d records starts", length));
    }
    writeText(directory + "length", before + "\n");
}

void Doctor::checkLeftOver() {
    std::set<std::string> known;
    for (const KnownSensor& sensor : simulator::knownSensors()) {
        known.insert(iioNameOf(sensor, false));
        known.insert(iioNameOf(sensor, true));
    }
    size_t unasked = 0;
    for (const auto& [name, number] : mIio) {
        if (known.count(name) == 0 || mWanted.count(name) != 0) continue;
        ++unasked;
        if (mHandles.empty()) continue;
        mFindings.note(formatted("%s%d", kIioPrefix, number),
                       "\"" + name + "\" is a sensor of the hub, but no record asks for it");
    }
    if (!mHandles.empty() || unasked == 0) return;
    mFindings.note(kIioDirectory, counted(unasked, "device") + " of the hub's sensors",
                   "no record asks for them");
}

/** What is mostly so for all devices at once. */
void Doctor::tellShared() {
    const auto named = [](const std::vector<std::string>& subjects) {
        return subjects.size() == 1 ? subjects.front() : formatted("%zu devices", subjects.size());
    };
    for (const auto& [holders, subjects] : mHeld) {
        mFindings.note(named(subjects), "held by " + holders,
                       "the library cannot use them beside another program");
    }
    if (mRunning.empty()) return;
    mFindings.note(named(mRunning), "the buffer runs although nobody reads it",
                   "whoever reads next gets old records first");
}

ExitCode Doctor::run() {
    if (!readSpec()) return kNoHub;
    checkWho();
    readIioNames();
    size_t records = 0;
    for (const auto& record : simulator::decodeSpecs(mSpec.substr(0, kSpecBytesRead))) {
        checkRecord(++records, record);
    }
    if (records > 0 && mEmptySlots == records) {
        mFindings.fail(kSpecPath, counted(records, "record") + ", all of them empty slots",
                       kSilentFirmware);
    } else if (records > 0 && mHandles.empty()) {
        mFindings.fail(kSpecPath, "no record is a sensor's of the library",
                       "the driver and the library disagree about the record");
    }
    for (const KnownSensor& sensor : simulator::knownSensors()) {
        if (!sensor.isHubsOwn()) continue;
        checkDevice(formatted("%s, handle %d", sensor.iioName, sensor.chip.handle), sensor, false,
                    0);
    }
    tellShared();
    checkLeftOver();
    checkNodes();
    checkDataDirectory();
    checkProperties();
    print("%s, %s, %s\n", counted(mHandles.size(), "sensor").c_str(),
          counted(mFindings.failures(), "failure").c_str(),
          counted(mFindings.notes(), "note").c_str());
    return mFindings.failures() > 0 ? kCheckFailed : kOk;
}

}  // namespace

ExitCode runDoctor(Proxy& proxy, const DoctorOptions& options) {
    // The library stays out: it would hold the very devices that are looked at.
    const ExitCode opened = proxy.openHub();
    return opened != kOk ? opened : Doctor(options.details).run();
}

}  // namespace subhalctl
