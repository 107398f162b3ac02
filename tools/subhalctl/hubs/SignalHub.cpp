// The hub of "--sim".

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <future>
#include <limits>
#include <optional>
#include <set>
#include <thread>
#include <type_traits>

#include "tools/subhalctl/doctor/Findings.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/hubs/HubFault.h"
#include "tools/subhalctl/hubs/InProcessHub.h"
#include "tools/subhalctl/showing/Json.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

namespace fs = std::filesystem;
using Specs = std::vector<simulator::SensorSpec>;

constexpr int kLargestVendor = 11;

/** Reads a chip from JSON; returns what is wrong with the first member that does not fit. */
std::string readChip(const Json& chip, simulator::SensorSpec* spec) {
    if (!chip.is_object()) return "it is no object";
    if (!chip.contains("handle")) return "handle is missing";
    std::string fault;
    std::set<std::string> unread;
    for (const auto& member : chip.items())
        unread.insert(member.key());
    // A member that is missing leaves the field its default.
    const auto take = [&](const char* name, auto& field, const std::string& wanted, auto fits) {
        const auto found = chip.find(name);
        unread.erase(name);
        if (!fault.empty() || found == chip.end()) return;
        if (!std::invoke(fits, *found)) fault = std::string(name) + " is no " + wanted;
        if (fault.empty()) found->get_to(field);
    };
    const auto number = [&](const char* name, auto& field, double least = -INFINITY,
                            double most = INFINITY) {
        using Limits = std::numeric_limits<std::decay_t<decltype(field)>>;
        least = std::max<double>(least, Limits::lowest());
        most = std::min<double>(most, Limits::max());
        const bool whole = Limits::is_integer;
        take(name, field,
             whole ? formatted("whole number from %.0f to %.0f", least, most) : "number from 0 on",
             [=](const Json& value) {
                 const double given = value.is_number() ? value.get<double>() : NAN;
                 return given >= least && given <= most && !(whole && given != std::floor(given));
             });
    };
    number("handle", spec->handle, 0, UINT8_MAX);
    take("chip", spec->chipName, "text", &Json::is_string);
    spec->chipName.resize(std::min(spec->chipName.size(), simulator::kSpecNameSize - 1));
    number("vendor", spec->vendor, 0, kLargestVendor);
    number("version", spec->version);
    take("wakeup", spec->wakeUp, "true or false", &Json::is_boolean);
    number("min_delay_us", spec->minDelayUs);
    number("max_delay_us", spec->maxDelayUs);
    number("fifo_max", spec->fifoMax);
    number("fifo_reserved", spec->fifoReserved);
    number("resolution", spec->resolution, 0);
    number("range", spec->range, 0);
    number("power_ma", spec->powerMa, 0);
    if (fault.empty() && !unread.empty()) {
        fault = "it has an unknown member " + quoted(*unread.begin());
    }
    if (fault.empty() && spec->maxDelayUs > 0 && spec->minDelayUs > spec->maxDelayUs) {
        fault = "min_delay_us is above max_delay_us";
    }
    return fault;
}

/** The chips of a file; nothing after reporting why it has none. */
std::optional<Specs> readChips(const std::string& path) {
    const auto fails = [&path](const std::string& why) {
        complain("%s: %s", quoted(path).c_str(), why.c_str());
        return std::nullopt;
    };
    std::string bytes;
    const int error = readFile(path, &bytes);
    if (error != 0) return fails(std::strerror(error));
    if (bytes.empty()) return fails("the file is empty");
    if (bytes.size() >= kMostRead) return fails("too long");
    const Json chips = Json::parse(bytes, nullptr, false);
    if (!chips.is_array()) {
        if (bytes.size() % simulator::kSpecSize == 0) return simulator::decodeSpecs(bytes);
        return fails(
            formatted("neither a JSON list of chips nor a whole number of %zu-byte records",
                      simulator::kSpecSize));
    }
    Specs specs;
    std::set<int> handles;
    for (const Json& chip : chips) {
        specs.emplace_back();
        std::string fault = readChip(chip, &specs.back());
        const int handle = specs.back().handle;
        if (fault.empty() && handle != 0 && !handles.insert(handle).second) {
            fault = formatted("an earlier one has the handle %d, too", handle);
        }
        if (!fault.empty()) return fails(formatted("chip %zu: ", specs.size()) + fault);
    }
    return specs;
}

class SignalHub : public InProcessHub {
  public:
    using InProcessHub::InProcessHub;
    ~SignalHub() override {
        mEnd.set_value();
        if (mFaults.joinable()) mFaults.join();
    }

    /** Why the hub cannot have the fault, empty when it can. Its path becomes the library's. */
    std::string misplaced(HubFault* fault) const {
        if (fault->handle >= 0) return misplacedHandle(*fault);
        if (fault->kind == "poll") return {};
        const std::string given = fs::path(fault->path).lexically_normal();
        std::string path = simulator::hubPath(given.c_str());
        if (!path.empty() && path.back() == '/') path.pop_back();
        const bool directory = fs::is_directory(mHub.root() + path);
        const bool opened = path + '/' == kIioDirectory || path == kDataDirectory;
        const bool opens = fault->kind == "open";
        const bool may = fault->kind == "absent" || (opens && opened);
        // Apart from the kernel's nodes there are files that come and go, as dumps do.
        const bool there = !path.empty() && (mHub.hasFile(path) || !simulator::isKernelNode(path));
        if (!there)
            return subhalctl::quoted(fault->path) + " is no file of the hub; it has\n" + files();
        if (directory && !may)
            return subhalctl::quoted(fault->path) + " is a directory; there are\n" + files();
        const mode_t mode = simulator::isAttribute(path) ? simulator::attributeMode(path) : 0666;
        if (fault->kind == "read" && (mode & 0444) == 0) return path + " is write-only";
        if (fault->kind == "write" && (mode & 0222) == 0) return path + " is read-only";
        const bool takesIoctl = path == kBatchPath;
        if (fault->kind == "ioctl" && !takesIoctl) return path + " takes no ioctl";
        const bool moves = fault->kind == "read" || fault->kind == "write";
        if (moves && takesIoctl) return path + " takes ioctls only";
        fault->path = directory && opens ? path + '/' : path;
        return {};
    }
    /** Each at its time from now. */
    void letFail(std::vector<HubFault> faults) {
        const auto now = std::chrono::steady_clock::now();
        std::stable_sort(faults.begin(), faults.end(), [](const auto& left, const auto& right) {
            return left.afterSeconds < right.afterSeconds;
        });
        auto later = faults.begin();
        for (; later != faults.end() && later->afterSeconds <= 0; ++later)
            play(*later);
        faults.erase(faults.begin(), later);
        mFaults = std::thread([this, now, end = mEnd.get_future(), faults = std::move(faults)] {
            for (const HubFault& fault : faults) {
                const std::chrono::duration<double> after(fault.afterSeconds);
                const auto due = now + std::chrono::duration_cast<std::chrono::nanoseconds>(after);
                if (end.wait_until(due) == std::future_status::ready) return;
                play(fault);
            }
        });
    }

  private:
    void play(const HubFault& fault) {
        const std::string path = fault.handle < 0 ? fault.path : mHub.devicePath(fault.handle);
        if (fault.error != 0) mHub.fail(fault.kind, path, fault.error, 1, fault.count);
        if (fault.kind == "drop") mHub.dropDevice(fault.handle);
        if (fault.kind == "cut") mHub.cutNextRecord(fault.handle, static_cast<size_t>(fault.bytes));
        if (fault.kind == "available") mHub.setDataAvailable(fault.handle, fault.text);
        if (fault.kind == "absent") mHub.removeFile(path);
        if (fault.kind == "push") mHub.push(fault.handle, fault.text);
    }

    std::string misplacedHandle(const HubFault& fault) const {
        if (mHub.devicePath(fault.handle).empty()) {
            std::string handles;
            for (int handle = 0; handle <= UINT8_MAX; ++handle) {
                if (!mHub.devicePath(handle).empty()) handles += ' ' + std::to_string(handle);
            }
            return formatted("no sensor has the handle %d; there are", fault.handle) + handles;
        }
        const bool never = fault.kind == "ioctl" || fault.kind == "write";
        return never ? "a sensor's device takes no " + fault.kind : "";
    }
    /** All files, a line each. */
    std::string files() const {
        std::set<std::string> paths;
        size_t devices = 0;
        for (const auto& entry : fs::recursive_directory_iterator(mHub.root())) {
            if (entry.is_directory()) continue;
            std::string path = entry.path().string().substr(mHub.root().size());
            const size_t number = path.find(kIioPrefix);
            if (number != std::string::npos) {
                const size_t begin = number + std::strlen(kIioPrefix);
                const size_t end = std::min(path.find('/', begin), path.size());
                if (end == path.size()) ++devices;
                path.replace(begin, end - begin, "N");
            }
            paths.insert(path);
        }
        std::string text;
        for (const std::string& path : paths) {
            text += "  " + path + '\n';
        }
        return text + formatted("  and %s and what is in it, where N is 1 to %zu", kDataDirectory,
                                devices);
    }

    std::promise<void> mEnd;
    std::thread mFaults;  // triggers them
};

}  // namespace

ExitCode makeSignalHub(const HubChoice& choice, std::unique_ptr<Hub>* hub) {
    const auto specs = choice.chips.empty() ? std::optional<Specs>(simulator::standardCatalogue())
                                            : readChips(choice.chips);
    if (!specs) return kUsage;
    if (!haveRoom()) return kCannotLoad;
    simulator::SimulatedHub::Options options;
    options.seed = choice.seed;
    options.still = choice.still;
    options.generateSignals = true;
    options.sensors = *specs;
    auto made = std::make_unique<SignalHub>(options);
    std::vector<HubFault> faults;
    for (const std::string& text : choice.faults) {
        HubFault& fault = faults.emplace_back();
        std::string why = parseFault(text, &fault);
        if (why.empty()) why = made->misplaced(&fault);
        if (why.empty()) continue;
        complain("--fault %s: %s", quoted(text).c_str(), why.c_str());
        return kUsage;
    }
    made->letFail(std::move(faults));
    *hub = std::move(made);
    return kOk;
}

}  // namespace subhalctl
