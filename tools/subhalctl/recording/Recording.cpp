#include "tools/subhalctl/recording/Recording.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>

#include "simulator/KnownSensors.h"
#include "simulator/SensorSpec.h"
#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/recording/Hex.h"
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

bool onMainThread() {
    return syscall(SYS_gettid) == getpid();
}

bool startsWith(const std::string& text, const char* prefix) {
    return text.compare(0, std::strlen(prefix), prefix) == 0;
}

/** N of ".../iio:deviceN..." behind `prefix`, -1 for another path. */
int deviceNumber(const std::string& path, const std::string& prefix) {
    int number = -1;
    if (!startsWith(path, prefix.c_str())) return -1;
    return std::sscanf(path.c_str() + prefix.size(), "%9d", &number) == 1 ? number : -1;
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
    if (!openFile()) return false;
    write("start", hubNowNs(), {{"recording", "subhalctl"}, {"version", kVersion}});
    return true;
}

bool Recorder::openFile() {
    struct stat there {};
    struct stat output {};
    const int fd = mPath == kStandard ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)
                                      : ::open(mPath.c_str(), O_WRONLY | O_CLOEXEC);
    const bool found = fd >= 0 && fstat(fd, &there) == 0;
    const bool isOutput = found && fstat(STDOUT_FILENO, &output) == 0 &&
                          there.st_dev == output.st_dev && there.st_ino == output.st_ino;
    if (found && (isOutput || !S_ISREG(there.st_mode))) {
        // What else goes to standard output is to stand behind the recording, not over it.
        if (isOutput) dup3(STDOUT_FILENO, fd, O_CLOEXEC);
        mFile = fdopen(fd, "w");
    } else if (found || errno == ENOENT) {
        if (fd >= 0) ::close(fd);
        return openPart(found ? &there : nullptr);
    }
    if (mFile != nullptr) return true;
    complain("%s: %s", subhalctl::quoted(mPath).c_str(), std::strerror(errno));
    return false;
}

bool Recorder::openPart(const struct stat* old) {
    std::error_code error;
    const std::string target = std::filesystem::canonical(mPath, error).string();
    if (!error) mPath = target;
    const std::string part = mPath + ".part";
    const int fd = ::open(part.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) != 0) {
        complain("%s: another recording is writing it", subhalctl::quoted(part).c_str());
        ::close(fd);
        return false;
    }
    if (fd >= 0 && ftruncate(fd, 0) == 0) mFile = fdopen(fd, "w");
    if (mFile == nullptr) {
        complain("%s: %s", subhalctl::quoted(part).c_str(), std::strerror(errno));
        if (fd >= 0) ::close(fd);
        return false;
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
        requestStop();  // or it would go on for nobody
    }
}

void Recorder::readOfDevice(const FileCall& call) {
    const auto name = mNames.find(deviceNumber(call.path, kDevicePrefix));
    const auto handle = name != mNames.end() ? mHandles.find(name->second) : mHandles.end();
    if (handle == mHandles.end()) return;
    mHasData = true;
    write("raw", hubNowNs(), {{"handle", handle->second}, {"hex", hexOf(call.bytes)}});
}

void Recorder::call(const FileCall& call) {
    const std::lock_guard<std::mutex> lock(mLock);
    const bool isRead = call.kind == FileCall::Kind::kRead;
    if (isRead && call.result > 0) {
        if (call.path == kSpecPath) {
            mHandles = handlesByName(call.bytes);
            if (!mHasSpec) write("spec", hubNowNs(), {{"hex", hexOf(call.bytes)}});
            mHasSpec = true;
            return;
        }
        if (startsWith(call.path, kDevicePrefix)) return readOfDevice(call);
        const int number = deviceNumber(call.path, std::string(kIioDirectory) + kIioPrefix);
        if (number >= 0 && call.path.find("/name") != std::string::npos) {
            mNames[number] = call.bytes.substr(0, call.bytes.find('\n'));
        }
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
    const Payload payload = payloadOf(received.event);
    const std::string bytes(reinterpret_cast<const char*>(payload.data()), sizeof(payload));
    ++mEvents;
    mHasData = true;
    write("event", received.receivedNs,
          {{"handle", received.event.sensorHandle},
           {"type", static_cast<int32_t>(received.event.sensorType)},
           {"timestamp_ns", received.event.timestamp},
           {"wakelock", received.wakelock},
           {"hex", hexOf(bytes)}});
}

void Recorder::wakelock(bool held) {
    const std::lock_guard<std::mutex> lock(mLock);
    write("wakelock", hubNowNs(), {{"held", held}});
}

int64_t Recorder::clock(int64_t now) {
    const std::lock_guard<std::mutex> lock(mLock);
    write("clock", now, {{"main", onMainThread()}});
    return now;
}

void Recorder::propertyWasRead(const std::string& name, const std::string& value) {
    const std::lock_guard<std::mutex> lock(mLock);
    write("property", hubNowNs(), {{"name", name}, {"value", value}});
}

bool Recorder::hasData() const {
    const std::lock_guard<std::mutex> lock(mLock);
    return mHasData;
}

/** All of it is on the disk before the old file goes. */
void Recorder::store() {
    const bool stored = std::fflush(mFile) == 0 &&
                        (mPart.empty() || (fsync(fileno(mFile)) == 0 &&
                                           std::rename(mPart.c_str(), mPath.c_str()) == 0));
    if (!stored && mError == 0) mError = errno;
}

bool Recorder::finish() {
    {
        const std::lock_guard<std::mutex> lock(mLock);
        if (mFile == nullptr) return true;
        write("end", hubNowNs(), {{"events", mEvents}});
        if (mError == 0) store();
        if (mError == 0) mPart.clear();
    }
    discard();
    if (mError == 0) return true;
    complain("%s: %s", subhalctl::quoted(mPath).c_str(), std::strerror(mError));
    return false;
}

void Recorder::discard() {
    const std::lock_guard<std::mutex> lock(mLock);
    if (mFile == nullptr) return;
    if (!mPart.empty()) unlink(mPart.c_str());
    if (std::fclose(mFile) != 0 && mError == 0) mError = errno;
    mFile = nullptr;
}

namespace {

/** Takes one line's members, and remembers the first that is not as it should be. */
class Members {
  public:
    explicit Members(const Json& line) : mLine(line) {}

    int64_t number(const char* name, int64_t low, int64_t high) {
        const auto found = mLine.find(name);
        if (found == mLine.end() || !found->is_number_integer()) {
            return blame(name, "is no whole number"), 0;
        }
        // Beyond the signed numbers lie the unsigned ones.
        if (found->is_number_unsigned() && found->get<uint64_t>() > INT64_MAX) {
            return blame(name, "is too large"), 0;
        }
        const auto value = found->get<int64_t>();
        if (value < low || value > high) blame(name, "is out of range");
        return value;
    }
    bool has(const char* name) const { return mLine.contains(name); }
    bool flag(const char* name) {
        const auto found = mLine.find(name);
        if (found == mLine.end() || !found->is_boolean()) {
            return blame(name, "is neither true nor false"), false;
        }
        return found->get<bool>();
    }
    std::string text(const char* name) {
        const auto found = mLine.find(name);
        if (found == mLine.end() || !found->is_string()) return blame(name, "is no text"), "";
        return found->get<std::string>();
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
        members.blame("request", "is none that is known");
    }
    return request;
}

/** Reads a file's lines into a recording. */
class Loader {
  public:
    explicit Loader(Recording* recording) : mRecording(*recording) {}

    /** What is wrong, empty when nothing is. */
    std::string line(const std::string& text) {
        ++mLine;
        if (mEnded) return "there is something behind the end";
        const Json line = Json::parse(text, nullptr, false);
        if (!line.is_object()) return "this is no JSON object";
        Members members(line);
        const std::string kind = members.text("kind");
        const int64_t timeNs = members.number("t", 0, kLatestNs);
        take(kind, timeNs, members);
        return members.fault();
    }
    /** Takes the whole lines off the front; what is wrong, with its place. */
    std::string takeLines(std::string* text) {
        size_t begin = 0;
        for (size_t end; (end = text->find('\n', begin)) != std::string::npos; begin = end + 1) {
            const std::string wrong = line(text->substr(begin, end - begin));
            if (!wrong.empty()) return formatted("line %zu: %s", mLine, wrong.c_str());
        }
        text->erase(0, begin);
        return text->size() > kLongestLine ? formatted("line %zu: too long", mLine + 1) : "";
    }
    std::string end() const {
        if (mLine == 0) return "the file is empty";
        if (!mEnded) return "the recording breaks off here: its end is missing";
        return mRecording.spec.empty() ? "the recording holds no sensor specification" : "";
    }
    size_t lines() const { return mLine; }

  private:
    void take(const std::string& kind, int64_t timeNs, Members& members) {
        using Kind = Recording::Entry::Kind;
        if (mLine == 1) {
            if (kind != "start" || members.text("recording") != "subhalctl") {
                return members.blame("kind", "tells of no recording");
            }
            members.number("version", kVersion, kVersion);
            mRecording.startNs = timeNs;
            return;
        }
        Recording::Entry entry{Kind::kRaw, mLine, timeNs};
        if (kind == "spec") {
            mRecording.spec = members.bytes("hex", 0, kLargestRecord);
            return;
        }
        if (kind == "end") {
            members.number("events", 0, INT64_MAX);
            mEnded = true;
            return;
        }
        if (kind == "raw") {
            entry.handle = members.handle();
            entry.bytes = members.bytes("hex", 1, kLargestRecord);
        } else if (kind == "request") {
            entry.kind = Kind::kRequest;
            entry.request = requestOf(members);
            entry.handle = entry.request.handle;
        } else if (kind == "event") {
            entry.kind = Kind::kEvent;
            entry.handle = members.handle();
            entry.type = static_cast<int32_t>(members.number("type", INT32_MIN, INT32_MAX));
            entry.timestampNs = members.number("timestamp_ns", INT64_MIN, INT64_MAX);
            entry.flag = members.flag("wakelock");
            entry.bytes = members.bytes("hex", sizeof(Payload), sizeof(Payload));
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
            return members.blame("kind", "is none that is known");
        }
        mRecording.entries.push_back(std::move(entry));
    }

    static constexpr int64_t kLargestErrno = 4095;

    Recording& mRecording;
    size_t mLine = 0;
    bool mEnded = false;
};

/** Records that were read as their sensor went off may have been dropped by the library. */
void dropUnposted(std::vector<Recording::Entry>* entries) {
    using Kind = Recording::Entry::Kind;
    struct State {
        bool on = false;
        std::vector<size_t> waiting;  // lines of records since the last event
    };
    std::map<int32_t, State> states;
    std::set<size_t> dropped;
    const auto settle = [&](State& state) {
        if (!state.on) dropped.insert(state.waiting.begin(), state.waiting.end());
        state.waiting.clear();
    };
    for (const Recording::Entry& entry : *entries) {
        State& state = states[entry.handle];
        if (entry.kind == Kind::kRaw) {
            state.waiting.push_back(entry.line);
        } else if (entry.kind == Kind::kEvent) {
            state.waiting.clear();
        } else if (entry.kind == Kind::kRequest && entry.request.what == "activate") {
            if (entry.request.enable) settle(state);
            state.on = entry.request.enable;
        }
    }
    for (auto& [handle, state] : states) {
        settle(state);
    }
    const auto isDropped = [&](const Recording::Entry& entry) {
        return dropped.count(entry.line) != 0;
    };
    entries->erase(std::remove_if(entries->begin(), entries->end(), isDropped), entries->end());
}

}  // namespace

int64_t Recording::periodNs(int32_t handle) const {
    int64_t periodNs = 0;
    for (const Entry& entry : entries) {
        const bool asked = entry.request.what == "batch" && entry.handle == handle;
        if (asked) periodNs = entry.request.periodNs;
    }
    return periodNs;
}

bool loadRecording(const std::string& path, Recording* recording) {
    recording->path = path;
    std::FILE* file = path == kStandard ? fdopen(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0), "r")
                                        : std::fopen(path.c_str(), "re");
    Loader loader(recording);
    std::string fault = file == nullptr ? std::strerror(errno) : "";
    std::string text;
    char piece[65536];
    for (size_t got = 1; file != nullptr && fault.empty() && got > 0;) {
        got = std::fread(piece, 1, sizeof(piece), file);
        text.append(piece, got);
        fault = loader.takeLines(&text);
    }
    if (file != nullptr) {
        if (std::ferror(file) != 0 && fault.empty()) fault = std::strerror(errno);
        std::fclose(file);
    }
    if (fault.empty() && !text.empty()) {
        fault = formatted("line %zu: the recording breaks off in this line", loader.lines() + 1);
    }
    if (fault.empty() && !loader.end().empty()) {
        fault = formatted("line %zu: %s", loader.lines(), loader.end().c_str());
    }
    if (!fault.empty()) {
        complain("%s: %s", subhalctl::quoted(path).c_str(), fault.c_str());
        return false;
    }
    std::stable_sort(
        recording->entries.begin(), recording->entries.end(),
        [](const auto& left, const auto& right) { return left.timeNs < right.timeNs; });
    dropUnposted(&recording->entries);
    return true;
}

}  // namespace subhalctl
