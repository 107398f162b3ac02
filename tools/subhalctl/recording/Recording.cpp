#include "tools/subhalctl/recording/Recording.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "simulator/KnownSensors.h"
#include "simulator/SensorSpec.h"
#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/showing/Json.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/SensorValues.h"

namespace subhalctl {
namespace {

constexpr int kVersion = 1;
constexpr size_t kLongestLine = size_t{1} << 18;
constexpr size_t kLargestRecord = 4096;
constexpr int64_t kLargestHandle = 255;
constexpr int64_t kLatestNs = INT64_MAX / 2;  // 146 years; a clock can run on from there
constexpr char kStandard[] = "-";             // output or input
constexpr char kDevicePrefix[] = "/dev/iio:device";

bool startsWith(const std::string& text, const char* prefix) {
    return text.compare(0, std::strlen(prefix), prefix) == 0;
}

/** The N of `prefix` + "N...", -1 for another path. */
int deviceNumber(const std::string& path, const std::string& prefix) {
    int number = -1;
    if (startsWith(path, prefix.c_str())) std::sscanf(&path[prefix.size()], "%9d", &number);
    return number;
}

/** Reports a failure; returns false. */
bool fails(const std::string& path, const std::string& why) {
    complain("%s: %s", subhalctl::quoted(path).c_str(), why.c_str());
    return false;
}

std::map<std::string, int> handlesByName(const std::string& spec) {
    std::map<std::string, int> handles;
    for (const int own : {simulator::kContextHandle, simulator::kHousekeepingHandle}) {
        handles.emplace(simulator::findKnownSensor(own)->iioName, own);
    }
    for (const auto& record : simulator::decodeSpecs(spec)) {
        const auto* known = simulator::findKnownSensor(record.handle);
        if (known != nullptr) handles.emplace(iioNameOf(*known, record.wakeUp), record.handle);
    }
    return handles;
}

}  // namespace

Recorder::~Recorder() {
    discard();
}

bool Recorder::open(const std::string& path) {
    mPath = path;
    struct stat there {};
    struct stat output {};
    const int fd = path == kStandard ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)
                                     : ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    const bool found = fd >= 0 && fstat(fd, &there) == 0;
    const bool isOutput = found && fstat(STDOUT_FILENO, &output) == 0 &&
                          there.st_dev == output.st_dev && there.st_ino == output.st_ino;
    if (found && (isOutput || !S_ISREG(there.st_mode))) {
        // Other output has to follow the recording, not overwrite it.
        if (isOutput) dup3(STDOUT_FILENO, fd, O_CLOEXEC);
        mFile = fdopen(fd, "w");
    } else if (found || errno == ENOENT) {
        if (fd >= 0) ::close(fd);
        if (!openPart(found ? &there : nullptr)) return false;
    }
    if (mFile == nullptr) return fails(path, std::strerror(errno));
    write("start", hubNowNs(), {{"recording", "subhalctl"}, {"version", kVersion}});
    return true;
}

bool Recorder::openPart(const struct stat* old) {
    std::error_code error;
    const std::string target = std::filesystem::canonical(mPath, error).string();
    if (!error) mPath = target;
    const std::string part = mPath + ".part";
    const int fd = ::open(part.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return fails(part, "another recording is writing it");
    }
    if (fd >= 0 && ftruncate(fd, 0) == 0) mFile = fdopen(fd, "w");
    if (mFile == nullptr) {
        const std::string why = std::strerror(errno);
        if (fd >= 0) ::close(fd);
        return fails(part, why);
    }
    if (old != nullptr) fchmod(fd, old->st_mode & 0777);
    mPart = part;
    return true;
}

void Recorder::write(const char* kind, int64_t timeNs, const Json& fields) {
    Json line = {{"kind", kind}, {"t", timeNs}};
    line.update(fields);
    const std::string text = jsonText(line) + "\n";
    if (mFile != nullptr && std::fwrite(text.data(), 1, text.size(), mFile) != text.size() &&
        mError == 0) {
        mError = errno;
        requestStop();  // the rest would be lost as well
    }
}

void Recorder::call(const FileCall& call) {
    const std::lock_guard<std::mutex> lock(mLock);
    const bool brought = call.kind == FileCall::Kind::kRead && call.result > 0;
    if (brought && call.path == kSpecPath) {
        if (mHandles.empty()) write("spec", hubNowNs(), {{"hex", hexOf(call.bytes)}});
        mHandles = handlesByName(call.bytes);
        return;
    }
    if (brought && startsWith(call.path, kDevicePrefix)) {
        const auto handle = mHandles.find(mNames[deviceNumber(call.path, kDevicePrefix)]);
        if (handle == mHandles.end()) return;
        return write("raw", hubNowNs(), {{"handle", handle->second}, {"hex", hexOf(call.bytes)}});
    }
    const int number = deviceNumber(call.path, std::string(kIioDirectory) + kIioPrefix);
    if (brought && number >= 0 && call.path.find("/name") != std::string::npos) {
        mNames[number] = call.bytes.substr(0, call.bytes.find('\n'));
    }
    if (call.kind >= FileCall::Kind::kClose || startsWith(call.path, kIioDirectory)) return;
    if (call.kind == FileCall::Kind::kOpen && call.result >= 0) return;
    Json fields = {{"call", nameOf(call.kind)},
                   {"path", call.path},
                   {"hex", hexOf(call.bytes)},
                   {"result", std::min<long>(call.result, static_cast<long>(kLargestRecord))}};
    if (call.kind == FileCall::Kind::kIoctl) fields["number"] = call.number;
    write("call", hubNowNs(), fields);
}

void Recorder::request(int64_t startNs, const ProxyRequest& request) {
    const std::lock_guard<std::mutex> lock(mLock);
    Json fields = {{"request", request.what}, {"handle", request.handle}};
    if (request.what == "batch") {
        fields["period_ns"] = request.periodNs;
        fields["latency_ns"] = request.latencyNs;
    } else if (request.what == "activate") {
        fields["enable"] = request.enable;
    }
    fields["result"] = request.result;
    fields["duration_ns"] = request.durationNs;
    write("request", startNs, fields);
}

void Recorder::event(const ReceivedEvent& received) {
    const std::lock_guard<std::mutex> lock(mLock);
    ++mEvents;
    write("event", received.receivedNs,
          {{"handle", received.event.sensorHandle},
           {"type", static_cast<int32_t>(received.event.sensorType)},
           {"timestamp_ns", received.event.timestamp},
           {"wakelock", received.wakelock},
           {"hex", hexOf(payloadBytes(received.event))}});
}

void Recorder::wakelock(bool held) {
    const std::lock_guard<std::mutex> lock(mLock);
    write("wakelock", hubNowNs(), {{"held", held}});
}

int64_t Recorder::clock(int64_t now) {
    const std::lock_guard<std::mutex> lock(mLock);
    write("clock", now, {{"main", syscall(SYS_gettid) == getpid()}});
    return now;
}

std::string Recorder::property(const std::string& name, const std::string& value) {
    const std::lock_guard<std::mutex> lock(mLock);
    write("property", hubNowNs(), {{"name", name}, {"value", value}});
    return value;
}

bool Recorder::hasResult() const {
    const std::lock_guard<std::mutex> lock(mLock);
    return mEvents > 0 || mError != 0;
}

/** Everything is on the disk before the old file goes. */
void Recorder::store() {
    const bool stored = std::fflush(mFile) == 0 &&
                        (mPart.empty() || (fsync(fileno(mFile)) == 0 &&
                                           std::rename(mPart.c_str(), mPath.c_str()) == 0));
    if (!stored && mError == 0) mError = errno;
}

bool Recorder::finish() {
    const std::lock_guard<std::mutex> lock(mLock);
    if (mFile == nullptr) return true;
    write("end", hubNowNs(), {{"events", mEvents}});
    if (mError == 0) store();
    if (mError == 0) mPart.clear();
    close();  // under the same lock: another thread's line must not follow the end
    return mError == 0 || fails(mPath, std::strerror(mError));
}

void Recorder::discard() {
    const std::lock_guard<std::mutex> lock(mLock);
    close();
}

void Recorder::close() {
    if (mFile == nullptr) return;
    if (!mPart.empty()) unlink(mPart.c_str());
    if (std::fclose(mFile) != 0 && mError == 0) mError = errno;
    mFile = nullptr;
}

namespace {

/** Reads the members of a line, and keeps the first fault. */
class Members {
  public:
    explicit Members(const Json& line) : mLine(line) {}

    bool has(const char* name) const { return mLine.contains(name); }
    int64_t number(const char* name, int64_t low, int64_t high) {
        const Json value = member(name, &Json::is_number_integer, "is no whole number", low);
        const bool huge = value.is_number_unsigned() && value.get<uint64_t>() > INT64_MAX;
        const auto number = value.get<int64_t>();
        if (huge || number < low || number > high) blame(name, "is out of range");
        return number;
    }
    bool flag(const char* name) {
        return member(name, &Json::is_boolean, "is neither true nor false", false).get<bool>();
    }
    std::string text(const char* name) {
        return member(name, &Json::is_string, "is no text", "").get<std::string>();
    }
    std::string bytes(const char* name, size_t least, size_t most) {
        const auto value = bytesOfHex(text(name));
        if (!value) return blame(name, "is not in hexadecimal"), "";
        if (value->size() < least || value->size() > most) {
            blame(name,
                  formatted("has %zu bytes instead of %zu to %zu", value->size(), least, most));
        }
        return *value;
    }
    int32_t handle() { return static_cast<int32_t>(number("handle", 0, kLargestHandle)); }

    void blame(const char* name, const std::string& what) {
        if (mFault.empty()) mFault = '"' + std::string(name) + "\" " + what;
    }
    const std::string& fault() const { return mFault; }

  private:
    Json member(const char* name, bool (Json::*fits)() const noexcept, const char* fault,
                const Json& standard) {
        const auto found = mLine.find(name);
        if (found != mLine.end() && ((*found).*fits)()) return *found;
        blame(name, fault);
        return standard;
    }

    const Json& mLine;
    std::string mFault;
};

ProxyRequest requestOf(Members& members) {
    ProxyRequest request;
    request.what = members.text("request");
    request.handle = members.handle();
    request.result = members.text("result");
    if (members.has("duration_ns")) {
        request.durationNs = members.number("duration_ns", 0, kLatestNs);
    }
    if (request.what == "batch") {
        request.periodNs = members.number("period_ns", INT64_MIN, INT64_MAX);
        request.latencyNs = members.number("latency_ns", INT64_MIN, INT64_MAX);
    } else if (request.what == "activate") {
        request.enable = members.flag("enable");
    } else if (request.what != "flush") {
        members.blame("request", "is unknown");
    }
    return request;
}

ReceivedEvent eventOf(int64_t timeNs, Members& members) {
    ReceivedEvent received{};
    Event& event = received.event;
    event.sensorHandle = members.handle();
    event.sensorType =
        static_cast<decltype(event.sensorType)>(members.number("type", INT32_MIN, INT32_MAX));
    event.timestamp = members.number("timestamp_ns", INT64_MIN, INT64_MAX);
    received.receivedNs = timeNs;
    received.wakelock = members.flag("wakelock");
    const std::string payload = members.bytes("hex", sizeof(event.u), sizeof(event.u));
    std::memcpy(&event.u, payload.data(), std::min(payload.size(), sizeof(event.u)));
    return received;
}

/** Reads a file's lines into a recording. */
class Loader {
  public:
    explicit Loader(Recording* recording) : mRecording(*recording) {}

    /** Returns what is wrong, empty when nothing is. */
    std::string read(std::FILE* file) {
        std::string buffer(kLongestLine, '\0');
        while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), file) != nullptr) {
            ++mRecording.lines;
            std::string fault = line(buffer.substr(0, buffer.find('\0')));
            if (!fault.empty()) return fault;
        }
        if (std::ferror(file) != 0) return std::strerror(errno);
        if (mRecording.lines == 0) return "the file is empty";
        if (!mEnded) return "the recording breaks off here: its end is missing";
        return mRecording.spec.empty() ? "the recording has no sensor specification" : "";
    }

  private:
    std::string line(const std::string& text) {
        if (mEnded) return "there is a line after the end";
        if (text.empty() || text.back() != '\n') {
            return text.size() + 1 < kLongestLine ? "the recording breaks off in this line"
                                                  : "too long";
        }
        const Json line = Json::parse(text, nullptr, false);
        if (!line.is_object()) return "this is no JSON object";
        Members members(line);
        take(members.text("kind"), members.number("t", 0, kLatestNs), members);
        return members.fault();
    }
    void take(const std::string& kind, int64_t timeNs, Members& members) {
        using Kind = Recording::Entry::Kind;
        if (mRecording.lines == 1) {
            if (kind != "start" || members.text("recording") != "subhalctl") {
                return members.blame("kind", "is not that of a recording");
            }
            if (members.number("version", 0, INT64_MAX) != kVersion)
                members.blame("version",
                              formatted("is not %d, the one that this program reads", kVersion));
            mRecording.startNs = timeNs;
            return;
        }
        if (kind == "spec") {
            mRecording.spec = members.bytes("hex", 0, kLargestRecord);
            return;
        }
        if (kind == "end") {
            const auto& all = mRecording.entries;
            const int64_t events = std::count_if(all.begin(), all.end(), [](const auto& entry) {
                return entry.kind == Kind::kEvent;
            });
            if (members.number("events", 0, INT64_MAX) != events)
                members.blame("events", "is not their number, " + std::to_string(events));
            mEnded = true;
            return;
        }
        Recording::Entry entry{Kind::kRaw, mRecording.lines, timeNs};
        if (kind == "raw") {
            entry.handle = members.handle();
            entry.bytes = members.bytes("hex", 1, kLargestRecord);
        } else if (kind == "request") {
            entry.kind = Kind::kRequest;
            entry.request = requestOf(members);
            entry.handle = entry.request.handle;
        } else if (kind == "event") {
            entry.kind = Kind::kEvent;
            entry.received = eventOf(timeNs, members);
            entry.handle = entry.received.event.sensorHandle;
        } else if (kind == "wakelock") {
            entry.kind = Kind::kWakelock;
            entry.flag = members.flag("held");
        } else if (kind == "call") {
            entry.kind = Kind::kCall;
            entry.text = members.text("call");
            entry.name = members.text("path");
            entry.bytes = members.bytes("hex", 0, size_t{1} << 16);
            entry.result = members.number("result", -kLargestErrno, INT32_MAX);
            if (members.has("number")) entry.number = members.number("number", 0, UINT32_MAX);
        } else if (kind == "property") {
            entry.kind = Kind::kProperty;
            entry.name = members.text("name");
            entry.text = members.text("value");
        } else if (kind == "clock") {
            entry.kind = Kind::kClock;
            entry.flag = members.flag("main");
        } else {
            return members.blame("kind", "is unknown");
        }
        mRecording.entries.push_back(std::move(entry));
    }

    static constexpr int64_t kLargestErrno = 4095;

    Recording& mRecording;
    bool mEnded = false;
};

/**
 * What was read before a sensor is on, the last record before it goes off and all after that may
 * have been dropped by the library.
 */
void dropUnposted(std::vector<Recording::Entry>* entries) {
    using Kind = Recording::Entry::Kind;
    std::map<int32_t, bool> on;
    std::map<int32_t, std::vector<Recording::Entry*>> waiting;  // records since the last event
    const auto settle = [&](int32_t handle) {
        for (Recording::Entry* record : waiting[handle]) {
            if (!on[handle]) record->bytes.clear();
        }
        waiting[handle].clear();
    };
    for (Recording::Entry& entry : *entries) {
        if (entry.kind == Kind::kRaw) waiting[entry.handle].push_back(&entry);
        if (entry.kind == Kind::kEvent) waiting[entry.handle].clear();
        if (entry.kind != Kind::kRequest || entry.request.what != "activate") continue;
        auto& records = waiting[entry.handle];
        const bool goesOff = on[entry.handle] && !entry.request.enable;
        if (goesOff && !records.empty()) records.erase(records.begin(), records.end() - 1);
        if (entry.request.enable) settle(entry.handle);
        on[entry.handle] = entry.request.enable;
    }
    for (const auto& [handle, records] : waiting) {
        settle(handle);
    }
    const auto isDropped = [](const Recording::Entry& entry) {
        return entry.kind == Kind::kRaw && entry.bytes.empty();
    };
    entries->erase(std::remove_if(entries->begin(), entries->end(), isDropped), entries->end());
}

}  // namespace

ProxyRequest Recording::batch(int32_t handle) const {
    ProxyRequest batch;
    for (const Entry& entry : entries) {
        if (entry.request.what == "batch" && entry.handle == handle) batch = entry.request;
    }
    return batch;
}

int64_t Recording::onNs(std::optional<int32_t> handle) const {
    const auto isOn = [handle](const Entry& entry) {
        return entry.request.enable && entry.handle == handle.value_or(entry.handle);
    };
    const auto on = std::find_if(entries.begin(), entries.end(), isOn);
    return on != entries.end() ? on->timeNs : startNs;
}

int64_t Recording::offNs(int32_t handle) const {
    const int64_t lastNs = entries.empty() ? startNs : entries.back().timeNs;
    int64_t offNs = lastNs;
    for (const Entry& entry : entries) {
        if (entry.request.what != "activate" || entry.handle != handle) continue;
        if (entry.request.result != "OK") continue;
        offNs = entry.request.enable ? lastNs : entry.timeNs;
    }
    return offNs;
}

bool loadRecording(const std::string& path, Recording* recording) {
    std::FILE* file = path == kStandard ? fdopen(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0), "r")
                                        : std::fopen(path.c_str(), "re");
    Loader loader(recording);
    std::string fault;
    if (file == nullptr) {
        fault = std::strerror(errno);
    } else {
        fault = loader.read(file);
        const size_t line = recording->lines;
        if (!fault.empty() && line > 0) fault = formatted("line %zu: ", line) + fault;
        std::fclose(file);
    }
    if (!fault.empty()) return fails(path, fault);
    std::vector<Recording::Entry>& entries = recording->entries;
    std::stable_sort(entries.begin(), entries.end(), [](const auto& left, const auto& right) {
        return left.timeNs < right.timeNs;
    });
    dropUnposted(&entries);
    return true;
}

}  // namespace subhalctl
