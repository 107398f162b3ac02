#include "tools/subhalctl/doctor/Examination.h"

#include <cutils/properties.h>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

constexpr char kGone[] = "the device has just gone";
constexpr size_t kSpecBytesRead = 4096;  // by the library, in one read
constexpr size_t kLongestIioName = 29;   // that the library reads of a device's name
constexpr int kShortestBuffer = 600;     // the library asks for no less
constexpr uint8_t kVendors = 12;
constexpr char kDisagree[] = "the driver and the library disagree about the record";
constexpr char kSilentFirmware[] =
    "the hub's firmware has told the driver of no sensors: look at its messages in the kernel log";
constexpr uint32_t kModeMask = 0xE;
constexpr uint32_t kOneShotMode = 4;

/** The processes that have the file open, as in "1234 (sensors-service)". */
std::string holdersOf(const std::string& path) {
    using Directory = std::filesystem::directory_iterator;
    std::string holders;
    std::error_code error;
    for (Directory process("/proc", error), end; process != end; process.increment(error)) {
        std::error_code gone;
        for (Directory file(process->path() / "fd", gone); file != end; file.increment(gone)) {
            if (std::filesystem::read_symlink(file->path(), gone) != path) continue;
            holders += (holders.empty() ? "" : ", ") + process->path().filename().string() + " (" +
                       readLine(process->path() / "comm") + ")";
            break;
        }
    }
    return holders;
}

}  // namespace

bool Examination::readSpec() {
    const int closed = tryOpen(kSpecPath, O_RDONLY);
    if (closed == ENOENT) {
        print("FAIL  %s: %s\n", kSpecPath, std::strerror(ENOENT));
        print(
            "No sensor hub here. On a device the hub's kernel driver makes this file: look at "
            "its probe in the kernel log.\nOn another machine, --sim examines a simulated "
            "hub.\n");
        return false;
    }
    if (const int error = readFile(kSpecPath, &mSpec)) {
        mFindings.fail(kSpecPath,
                       std::string(closed != 0 ? "" : "reading it: ") + std::strerror(error) +
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
    if (const size_t rest = mSpec.size() % simulator::kSpecSize) {
        mFindings.fail(kSpecPath,
                       counted(rest, "byte") +
                           formatted(" behind the last whole record of %zu", simulator::kSpecSize),
                       kDisagree);
    }
    if (records == 0) mFindings.fail(kSpecPath, "no records", kSilentFirmware);
    return true;
}

void Examination::readIioNames() {
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

void Examination::checkNodes() {
    static constexpr struct {
        const char* path;
        const char* other;  ///< does as well
        int flags;
        const char* lost;
        bool needed;
        int32_t handle;  ///< only where there is this sensor
    } kNodes[] = {
        {kEnablePath, nullptr, O_RDWR, "no sensor can be switched on", true, 0},
        {kFlushPath, nullptr, O_WRONLY, "no sensor can be flushed", true, 0},
        {kBatchPath, nullptr, O_RDONLY, "no rate can be set", true, 0},
        {kShubInjectionPath, kHbxInjectionPath, O_RDWR, "nothing can be injected", true, 0},
        {kMessagePath, kOtherMessagePath, O_RDWR, "the hub's contexts get no messages", true, 0},
        {kContextListPath, nullptr, O_RDONLY, "the hub's contexts are not announced", false, 0},
        {kFileManagerPath, nullptr, O_RDWR, "the hub cannot use files of the host", false, 0},
        {kDumpPath, nullptr, O_RDONLY, "dumps of the hub stay empty", false, 0},
        {kRearDataPath, nullptr, O_RDONLY, "no help from the rear light sensor", false, 37},
        {kRearEnablePath, nullptr, O_WRONLY, "no help from the rear light sensor", false, 37},
        {kNfcCoverPath, nullptr, O_RDWR, "flip_cover_detector is left out of the list", true,
         simulator::kFlipCoverHandle}};
    for (const auto& node : kNodes) {
        if (node.handle != 0 && mHandles.count(node.handle) == 0) continue;
        const char* path = node.path;
        int error = tryOpen(path, node.flags);
        std::string what = std::strerror(error) + (", " + modeOf(path));
        if (error != 0 && node.other != nullptr) {
            const int second = tryOpen(node.other, node.flags);
            what += std::string(", and ") + node.other + ": " + std::strerror(second) + ", " +
                    modeOf(node.other);
            if (second == 0) path = node.other;
            if (second == 0 || error == ENOENT) error = second;
        }
        if (error == 0) {
            mFindings.ok(path, modeOf(path));
            continue;
        }
        const std::string remedy =
            std::string(node.lost) + "; " +
            remedyOf(error,
                     node.other != nullptr ? "the hub's driver makes one of the two"
                                           : "the hub's driver makes it",
                     accessName(node.flags));
        (mFindings.*(node.needed ? &Findings::fail : &Findings::note))(path, what, remedy);
    }
}

void Examination::checkDataDirectory() {
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

void Examination::checkProperties() {
    for (const char* name :
         {"ro.build.type", "persist.dm.passive.ambient_brightness", "persist.sns.camera_light"}) {
        char value[PROPERTY_VALUE_MAX] = {};
        property_get(name, value, "");
        mFindings.ok(std::string("property ") + name, value[0] != '\0' ? value : "not set");
    }
}

void Examination::checkFigures(const std::string& subject, const simulator::SensorSpec& record,
                               uint32_t mode) {
    const auto odd = [](float value) { return !std::isfinite(value) || value < 0; };
    const auto number = [](const char* name, float value, const char* unit) {
        return formatted("%s %g%s", name, static_cast<double>(value), unit);
    };
    const std::string least = formatted("minimum delay %" PRId32 " µs", record.minDelayUs);
    const struct {
        bool broken;
        std::string what;
        const char* rule;
    } rules[] = {
        {mode == 0 && record.minDelayUs <= 0, least, "a continuous sensor has a shortest period"},
        {mode == kOneShotMode && record.minDelayUs != -1, least, "a one-shot sensor has -1"},
        {record.minDelayUs > 0 && record.maxDelayUs < record.minDelayUs,
         formatted("delays from %" PRId32 " to %" PRId32 " µs", record.minDelayUs,
                   record.maxDelayUs),
         "the maximum is no shorter than the minimum"},
        {record.fifoReserved > record.fifoMax,
         counted(record.fifoReserved, "event") +
             formatted(" reserved of a FIFO of %d", record.fifoMax),
         "no more can be reserved than there is"},
        {odd(record.resolution) || record.resolution == 0,
         number("resolution", record.resolution, ""),
         "it is a step above 0, and many sensors' values are multiples of it"},
        {odd(record.range) || record.range == 0, number("range", record.range, ""),
         "it is above 0"},
        {odd(record.powerMa), number("power", record.powerMa, " mA"), "it is not below 0"}};
    for (const auto& rule : rules) {
        if (rule.broken) mFindings.fail(subject, rule.what, rule.rule);
    }
}

void Examination::checkRecord(size_t number, const simulator::SensorSpec& record) {
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

void Examination::checkMissing(const std::string& subject, const KnownSensor& sensor, bool wakeUp) {
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

void Examination::checkDevice(const std::string& subject, const KnownSensor& sensor, bool wakeUp,
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

void Examination::checkBuffer(const std::string& subject, int number, const KnownSensor& sensor,
                              int fifoMax) {
    const std::string node = std::string("/dev/") + kIioPrefix + std::to_string(number);
    const std::string directory =
        std::string(kIioDirectory) + kIioPrefix + std::to_string(number) + "/buffer/";
    const int length = std::max(fifoMax, kShortestBuffer);
    const int closed = tryOpen(node, O_RDONLY | O_NONBLOCK);
    if (closed == EBUSY) {
        const std::string holders = holdersOf(node);
        mHeld[holders.empty() ? "a process that cannot be seen" : holders].push_back(subject);
    } else if (closed != 0) {
        mFindings.fail(subject, node + ": " + std::strerror(closed) + ", " + modeOf(node),
                       "the sensor is left out; " +
                           remedyOf(closed, "ueventd or udev has not made the node", "read"));
    } else {
        mFindings.ok(subject, node + ", " + modeOf(node));
    }
    bool writable = true;
    for (const char* attribute : {"length", "enable"}) {
        const std::string path = directory + attribute;
        const int error = tryOpen(path, O_WRONLY);
        if (error == 0) {
            mFindings.ok(subject, path + ", " + modeOf(path) + ", " + readLine(path));
            continue;
        }
        writable = false;
        mFindings.fail(subject, path + ": " + std::strerror(error) + ", " + modeOf(path),
                       "the library skips it without a word and gets no records; " +
                           remedyOf(error,
                                    "its driver has set up no buffer, or the kernel lacks "
                                    "CONFIG_IIO_BUFFER",
                                    "write"));
    }
    if (closed != 0 || !writable) return;
    if (readLine(directory + "enable") == "1") {
        mRunning.push_back(subject);
    } else {
        tryBuffer(subject, directory, sensor, length);
    }
}

/** The buffer is off, and its device in our hands: set it up as the library does, and off again. */
void Examination::tryBuffer(const std::string& subject, const std::string& directory,
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

void Examination::checkLeftOver() {
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
void Examination::tellShared() {
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

ExitCode Examination::run() {
    if (!readSpec()) return kNoHub;
    readIioNames();
    size_t records = 0;
    for (const auto& record : simulator::decodeSpecs(mSpec.substr(0, kSpecBytesRead))) {
        checkRecord(++records, record);
    }
    if (records > 0 && mEmptySlots == records) {
        mFindings.fail(kSpecPath, counted(records, "record") + ", all of them empty slots",
                       kSilentFirmware);
    } else if (records > 0 && mHandles.empty()) {
        mFindings.fail(kSpecPath, "no record is a sensor's of the library", kDisagree);
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
    return kOk;
}

}  // namespace subhalctl
