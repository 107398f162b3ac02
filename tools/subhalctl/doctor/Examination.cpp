#include <cutils/properties.h>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "simulator/KnownSensors.h"
#include "simulator/SensorSpec.h"
#include "tools/subhalctl/doctor/Findings.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

using Level = Findings::Level;
using simulator::KnownSensor;
using simulator::SensorSpec;

constexpr size_t kSpecBytesRead = 4096;  // by the library, in one read
constexpr size_t kLongestIioName = 29;   // that the library reads of a device's name
constexpr int kShortestBuffer = 600;     // that the library asks for
constexpr uint8_t kVendors = 12;
constexpr char kDisagree[] = "the driver and the library disagree about the record";

/** How the library uses a node, and what to report where it cannot. */
struct Use {
    int flags;
    const char* lost;  ///< without the node
    Level level = Level::kFail;
    const char* absent = "the hub's driver makes it";  ///< remedy
};

/** A node that the library uses; its handle is set where only one sensor needs it. */
struct Node {
    const char* path;
    Use use;
    int32_t handle = 0;
    const char* other = nullptr;  ///< does as well
};

constexpr char kNoRearLight[] = "no help from the rear light sensor";
constexpr Node kNodes[] = {
    {kEnablePath, {O_RDWR, "no sensor can be switched on"}},
    {kFlushPath, {O_WRONLY, "no sensor can be flushed"}},
    {kBatchPath, {O_RDONLY, "no rate can be set"}},
    {kShubInjectionPath, {O_RDWR, "nothing can be injected"}, 0, kHbxInjectionPath},
    {kMessagePath, {O_RDWR, "the hub's contexts get no messages"}, 0, kOtherMessagePath},
    {kContextListPath, {O_RDONLY, "the hub's contexts are not announced", Level::kNote}},
    {kFileManagerPath, {O_RDWR, "the hub cannot use files of the host", Level::kNote}},
    {kDumpPath, {O_RDONLY, "dumps of the hub stay empty", Level::kNote}},
    {kRearDataPath, {O_RDONLY, kNoRearLight, Level::kNote}, 37},
    {kRearEnablePath, {O_WRONLY, kNoRearLight, Level::kNote}, 37},
    {kNfcCoverPath,
     {O_RDWR, "flip_cover_detector is left out of the list"},
     simulator::kFlipCoverHandle}};

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
    return holders.empty() ? "a process that cannot be seen" : holders;
}

class Examination {
  public:
    explicit Examination(Findings& findings) : mFindings(findings) {}

    bool readSpec() {
        if (tryOpen(kSpecPath, O_RDONLY) == ENOENT) {
            print("FAIL  %s: %s\n", kSpecPath, std::strerror(ENOENT));
            print(
                "No sensor hub here. On a device the hub's kernel driver makes this file: look at "
                "its probe in the kernel log.\nOn another machine, --sim examines a simulated "
                "hub.\n");
            return false;
        }
        const int error = readFile(kSpecPath, &mSpec);
        return usable(kSpecPath, error, {O_RDONLY, "no sensors without it"});
    }

    void readIioNames() {
        const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(kIioDirectory), closedir);
        mIioIsRead = usable(kIioDirectory, directory == nullptr ? errno : 0,
                            {O_RDONLY, "the library finds no device", Level::kFail,
                             "the kernel lacks CONFIG_IIO, or its module is not loaded"});
        while (const dirent* entry = mIioIsRead ? readdir(directory.get()) : nullptr) {
            const std::string device = entry->d_name;
            if (device.find(kIioPrefix) != 0) continue;
            const std::string path = kIioDirectory + device + "/name";
            int error = 0;
            const std::string name = readLine(path, &error);
            if (error == 0) {
                mIio.emplace(name, device);
                mFindings.ok(kIioDirectory + device, name);
            } else {
                mNameless = device;
                usable(path, error,
                       {O_RDONLY, "the library cannot find out which sensor this is", Level::kNote,
                        "its driver has not made it"});
            }
        }
    }

    void checkRecords() {
        const size_t size = mSpec.size();
        const auto records = simulator::decodeSpecs(mSpec.substr(0, kSpecBytesRead));
        mFindings.ok(kSpecPath, counted(records.size(), "record"));
        if (size > kSpecBytesRead || size % simulator::kSpecSize != 0) {
            mFindings.fail(
                kSpecPath,
                formatted("%zu bytes, not a multiple of %zu, or more than the %zu that the "
                          "library reads",
                          size, simulator::kSpecSize, kSpecBytesRead),
                kDisagree);
        }
        size_t number = 0;
        for (const SensorSpec& record : records) {
            checkRecord(formatted("record %zu", ++number), record);
        }
        const bool empty = std::all_of(records.begin(), records.end(),
                                       [](const SensorSpec& record) { return record.handle == 0; });
        if (empty) {
            mFindings.fail(kSpecPath, counted(number, "record") + ", all of them empty slots",
                           "the hub's firmware has reported no sensors to the driver: look at its "
                           "messages in the kernel log");
        } else if (mHandles.empty()) {
            mFindings.fail(kSpecPath, "no record is of a sensor that the library knows", kDisagree);
        }
    }

    void checkDevice(const KnownSensor& sensor, bool wakeUp, int fifoMax) {
        const std::string subject = formatted("%s, handle %d", sensor.iioName, sensor.chip.handle);
        const std::string wanted = iioNameOf(sensor, wakeUp);
        mWanted.insert(wanted);
        if (wanted.size() > kLongestIioName) {
            return mFindings.fail(subject, "the device name \"" + wanted + "\" is too long",
                                  formatted("the library reads %zu characters", kLongestIioName));
        }
        if (!mIioIsRead) return;
        const auto found = mIio.find(wanted);
        if (found == mIio.end()) {
            return mFindings.fail(subject, "no IIO device is called \"" + wanted + "\"",
                                  similarName(wanted));
        }
        if (mIio.count(wanted) > 1) {
            mFindings.fail(
                subject,
                formatted("%zu IIO devices are called \"%s\"", mIio.count(wanted), wanted.c_str()),
                "the library takes whichever the directory names first");
        }
        checkBuffer(subject, found->second, sensor, std::max(fifoMax, kShortestBuffer));
    }

    /** Reports what mostly applies to all devices at once, and devices without a record. */
    void reportShared() {
        for (const auto& [what, subjects] : mShared) {
            mFindings.report(
                Level::kNote,
                subjects.size() == 1 ? subjects.front() : counted(subjects.size(), "device"), what,
                "end other programs that use it; old records may come first");
        }
        std::string unused;
        for (const KnownSensor& sensor : simulator::knownSensors()) {
            for (const bool wakeUp : {false, true}) {
                const std::string name = iioNameOf(sensor, wakeUp);
                if (mIio.count(name) == 0 || mWanted.count(name) != 0) continue;
                unused += (unused.empty() ? "" : ", ") + name;
            }
        }
        if (!unused.empty()) {
            mFindings.report(Level::kNote, kIioDirectory,
                             "devices that no record asks for: " + unused);
        }
    }

    void checkNodes() {
        for (const Node& node : kNodes) {
            if (node.handle != 0 && mHandles.count(node.handle) == 0) continue;
            Use use = node.use;
            const char* path = node.path;
            const std::string either = formatted("the hub's driver makes this or %s", path);
            int error = tryOpen(path, use.flags);
            if (error != 0 && node.other != nullptr) {
                use.absent = either.c_str();
                const int second = tryOpen(node.other, use.flags);
                if (second == 0 || error == ENOENT) {
                    path = node.other;
                    error = second;
                }
            }
            usable(path, error, use);
        }
        const bool writable = access(kDataDirectory, W_OK | X_OK) == 0;
        usable(
            kDataDirectory, writable ? 0 : errno,
            {O_WRONLY, "dumps are lost", Level::kFail, "the device's init script has to make it"});
        for (const char* name : {"ro.build.type", "persist.dm.passive.ambient_brightness",
                                 "persist.sns.camera_light"}) {
            char value[PROPERTY_VALUE_MAX] = {};
            property_get(name, value, "not set");
            mFindings.ok(std::string("property ") + name, value);
        }
    }
    HubDevices found() const { return {mHandles.size(), mIio}; }

  private:
    /** Reports what became of a call on a node; false when it failed. */
    bool usable(const std::string& path, int error, const Use& use,
                const std::string& subject = "") {
        const std::string& place = subject.empty() ? path : subject;
        const std::string node = subject.empty() ? "" : path;
        if (error == 0) {
            mFindings.ok(place, node + (node.empty() ? "" : ", ") + modeOf(path));
            return true;
        }
        mFindings.report(
            use.level, place,
            node + (node.empty() ? "" : ": ") + std::strerror(error) + ", " + modeOf(path),
            use.lost + ("; " + remedyOf(error, use.flags, use.absent)));
        return false;
    }

    void checkRecord(const std::string& place, const SensorSpec& record) {
        if (record.handle == 0) return mFindings.ok(place, "an empty slot");
        const std::string subject = place + formatted(", handle %" PRId32, record.handle);
        const KnownSensor* sensor = simulator::findKnownSensor(record.handle);
        if (sensor == nullptr || sensor->isHubsOwn()) {
            return mFindings.fail(subject, "the library has no driver for a record of this handle",
                                  "the record is ignored");
        }
        if (!mHandles.insert(record.handle).second) {
            return mFindings.fail(subject, "an earlier record has the same handle",
                                  "the earlier one counts");
        }
        mFindings.ok(subject, std::string(sensor->displayName) + ' ' + record.chipName);
        checkFigures(subject, record, *sensor);
        checkDevice(*sensor, record.wakeUp, record.fifoMax);
    }

    void checkFigures(const std::string& subject, const SensorSpec& record,
                      const KnownSensor& sensor) {
        const auto odd = [](float value) { return !std::isfinite(value) || value < 0; };
        const bool text = std::all_of(record.chipName.begin(), record.chipName.end(),
                                      [](char letter) { return letter >= ' ' && letter < 0x7F; });
        const bool hasFigures = record.handle != simulator::kDebuggerHandle;
        const char* delayRule = brokenDelayRule(sensor.flags, record.minDelayUs, record.maxDelayUs);
        const auto figure = [](const char* name, float value) {
            return formatted("%s %g", name, static_cast<double>(value));
        };
        const struct {
            bool broken;
            std::string what;
            const char* rule;
            Level level = Level::kFail;
        } rules[] = {
            {!text || record.chipName.size() >= simulator::kSpecNameSize,
             "the name is not text of at most 14 characters", kDisagree},
            {record.chipName.empty(), "no chip name", "", Level::kNote},
            {record.vendor >= kVendors, formatted("unknown vendor %d", record.vendor),
             "the vendor stays empty", Level::kNote},
            {hasFigures && delayRule != nullptr,
             formatted("delays from %" PRId32 " to %" PRId32 " µs", record.minDelayUs,
                       record.maxDelayUs),
             delayRule},
            {hasFigures && record.fifoReserved > record.fifoMax,
             formatted("%d events reserved of a FIFO of %d", record.fifoReserved, record.fifoMax),
             "no more can be reserved than there is"},
            {hasFigures && (odd(record.resolution) || record.resolution == 0),
             figure("resolution", record.resolution), "it is a step above 0"},
            {hasFigures && (odd(record.range) || record.range == 0), figure("range", record.range),
             "it is above 0"},
            {hasFigures && odd(record.powerMa), figure("power in mA", record.powerMa),
             "it is not below 0"}};
        for (const auto& rule : rules) {
            if (rule.broken) mFindings.report(rule.level, subject, rule.what, rule.rule);
        }
    }

    void checkBuffer(const std::string& subject, const std::string& device,
                     const KnownSensor& sensor, int length) {
        const std::string node = "/dev/" + device;
        const std::string directory = kIioDirectory + device + "/buffer/";
        const int error = tryOpen(node, O_RDONLY | O_NONBLOCK);
        bool all = error == 0;
        if (error == EBUSY) {
            mShared["in use by " + holdersOf(node)].push_back(subject);
        } else {
            usable(node, error,
                   {O_RDONLY, "the sensor is left out", Level::kFail,
                    "ueventd or udev has not made the node"},
                   subject);
        }
        constexpr char kNoBuffer[] =
            "its driver has set up no buffer, or the kernel lacks CONFIG_IIO_BUFFER";
        const auto works = [&](const char* attribute, int flags, const char* lost, Level level) {
            const std::string path = directory + attribute;
            return usable(path, tryOpen(path, flags), {flags, lost, level, kNoBuffer}, subject);
        };
        all &=
            works("length", O_WRONLY,
                  "the library skips it silently, and the buffer may be too short", Level::kFail);
        all &= works("enable", O_WRONLY, "the library skips it silently and gets no records",
                     Level::kFail);
        works("data_available", O_RDONLY, "the library reads one record at a time", Level::kNote);
        if (!all) return;
        if (readLine(directory + "enable") == "1") {
            mShared["the buffer is on, but nobody reads it"].push_back(subject);
        } else {
            tryBuffer(subject, directory, sensor, length);
        }
    }

    /** The buffer is off, and its device free: sets it up as the library does, and off again. */
    void tryBuffer(const std::string& subject, const std::string& directory,
                   const KnownSensor& sensor, int length) {
        const std::string before = readLine(directory + "length");
        const int refused = writeText(directory + "length", std::to_string(length) + "\n");
        const int error = refused != 0 ? refused : writeText(directory + "enable", "1\n");
        if (error == 0) {
            writeText(directory + "enable", "0\n");
            mFindings.ok(subject, formatted("a buffer of %d records starts", length));
        } else {
            mFindings.fail(subject,
                           formatted("a buffer of %d records of %zu bytes: %s", length,
                                     sensor.recordSize, std::strerror(error)),
                           error == ENOMEM ? "lower the FIFO count in the specification's record"
                                           : remedyOf(error, O_WRONLY));
        }
        writeText(directory + "length", before + "\n");
    }

    std::string similarName(const std::string& wanted) const {
        const std::string stem = wanted.substr(0, wanted.rfind('_'));
        for (const auto& [name, device] : mIio) {
            const std::string known = name.substr(0, wanted.size());
            if (strcasecmp(known.c_str(), wanted.c_str()) != 0 && name != stem) continue;
            return formatted(
                "%s is called \"%s\": compare it with the wake-up byte of the specification's "
                "record",
                device.c_str(), name.c_str());
        }
        if (!mNameless.empty()) return "it may be " + mNameless + ", whose name is not known";
        return "the hub's driver has not registered it, or under another name";
    }

    Findings& mFindings;
    std::string mSpec;
    std::multimap<std::string, std::string> mIio;  // "iio:deviceN" by name
    std::string mNameless;                         // a device whose name cannot be read
    bool mIioIsRead = false;
    std::set<int32_t> mHandles;     // that the specification asks for
    std::set<std::string> mWanted;  // IIO names that the library looks for
    std::map<std::string, std::vector<std::string>> mShared;  // subjects by finding
};

}  // namespace

std::optional<HubDevices> examineHub(Findings& findings) {
    Examination examination(findings);
    if (!examination.readSpec()) return {};
    examination.readIioNames();
    examination.checkRecords();
    for (const KnownSensor& sensor : simulator::knownSensors()) {
        if (sensor.isHubsOwn()) examination.checkDevice(sensor, false, 0);
    }
    examination.reportShared();
    examination.checkNodes();
    return examination.found();
}

}  // namespace subhalctl
