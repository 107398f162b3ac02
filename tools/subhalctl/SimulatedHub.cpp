// The hub of "--sim".

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <thread>
#include <type_traits>

#include "tools/subhalctl/HubFault.h"
#include "tools/subhalctl/Json.h"
#include "tools/subhalctl/Output.h"
#include "tools/subhalctl/SimulatorHub.h"

namespace subhalctl {
namespace {

constexpr size_t kLargestChipsFile = size_t{1} << 20;

/** False when a member has a value of another kind; one that is missing keeps its default. */
template <typename Field>
bool take(const Json& object, const char* name, Field* field) {
    const auto found = object.find(name);
    if (found == object.end()) return true;
    if constexpr (std::is_same_v<Field, std::string>) {
        if (!found->is_string()) return false;
    } else if constexpr (std::is_same_v<Field, bool>) {
        if (!found->is_boolean()) return false;
    } else if (!found->is_number()) {
        return false;
    }
    *field = found->template get<Field>();
    return true;
}

bool specOf(const Json& chip, simulator::SensorSpec* spec) {
    return chip.is_object() && chip.contains("handle") && take(chip, "handle", &spec->handle) &&
           take(chip, "chip", &spec->chipName) && take(chip, "vendor", &spec->vendor) &&
           take(chip, "version", &spec->version) && take(chip, "wakeup", &spec->wakeUp) &&
           take(chip, "min_delay_us", &spec->minDelayUs) &&
           take(chip, "max_delay_us", &spec->maxDelayUs) &&
           take(chip, "fifo_max", &spec->fifoMax) &&
           take(chip, "fifo_reserved", &spec->fifoReserved) &&
           take(chip, "resolution", &spec->resolution) && take(chip, "range", &spec->range) &&
           take(chip, "power_ma", &spec->powerMa);
}

/** The chips of a file; nothing, and told, when it holds none. */
std::optional<Specs> readChips(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes(kLargestChipsFile + 1, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<size_t>(std::max<std::streamsize>(file.gcount(), 0)));
    if (bytes.empty() || bytes.size() > kLargestChipsFile) {
        complain("%s: %s", quoted(path).c_str(), bytes.empty() ? "cannot be read" : "too long");
        return {};
    }
    Specs specs;
    const Json chips = Json::parse(bytes, nullptr, false);
    if (chips.is_array()) {
        for (const Json& chip : chips) {
            specs.emplace_back();
            if (specOf(chip, &specs.back())) continue;
            complain("%s: no chip: %s", quoted(path).c_str(), jsonText(chip).c_str());
            return {};
        }
        return specs;
    }
    if (bytes.size() % SpecRecord::kSize != 0) {
        complain("%s: neither a list of chips in JSON nor a whole number of %zu-byte records",
                 quoted(path).c_str(), SpecRecord::kSize);
        return {};
    }
    for (size_t at = 0; at < bytes.size(); at += SpecRecord::kSize) {
        specs.push_back(specOf(SpecRecord(bytes.data() + at)));
    }
    return specs;
}

simulator::SimulatedHub::Options simulatorOptions(const HubOptions& options, const Specs& specs) {
    simulator::SimulatedHub::Options result;
    result.seed = options.seed;
    result.still = options.still;
    result.generateSignals = true;
    result.sensors = specs;
    return result;
}

/** Lets faults happen at their times. */
class FaultTimer {
  public:
    FaultTimer(simulator::SimulatedHub& hub, std::vector<HubFault> faults)
        : mHub(hub), mFaults(std::move(faults)), mStart(Clock::now()) {
        std::stable_sort(mFaults.begin(), mFaults.end(), [](const auto& left, const auto& right) {
            return left.afterSeconds < right.afterSeconds;
        });
        while (mNext < mFaults.size() && mFaults[mNext].afterSeconds <= 0) {
            play(mFaults[mNext++]);
        }
        if (mNext < mFaults.size()) mThread = std::thread(&FaultTimer::run, this);
    }
    ~FaultTimer() {
        {
            const std::lock_guard<std::mutex> lock(mLock);
            mStop = true;
        }
        mChanged.notify_all();
        if (mThread.joinable()) mThread.join();
    }
    FaultTimer(const FaultTimer&) = delete;
    FaultTimer& operator=(const FaultTimer&) = delete;

  private:
    using Clock = std::chrono::steady_clock;

    void run() {
        std::unique_lock<std::mutex> lock(mLock);
        for (; mNext < mFaults.size(); ++mNext) {
            const std::chrono::duration<double> after(mFaults[mNext].afterSeconds);
            const auto due = mStart + std::chrono::duration_cast<Clock::duration>(after);
            if (mChanged.wait_until(lock, due, [this] { return mStop; })) return;
            play(mFaults[mNext]);
        }
    }

    std::string pathOf(const HubFault& fault) const {
        if (fault.handle < 0) return fault.path;
        return mHub.devicePath(fault.handle);
    }

    void play(const HubFault& fault) {
        switch (fault.kind) {
            case HubFault::Kind::kOpen:
                return mHub.failOpen(pathOf(fault), fault.error, 1, fault.count);
            case HubFault::Kind::kRead:
                return mHub.failRead(pathOf(fault), fault.error, 1, fault.count);
            case HubFault::Kind::kWrite:
                return mHub.failWrite(pathOf(fault), fault.error, 1, fault.count);
            case HubFault::Kind::kIoctl:
                return mHub.failIoctl(pathOf(fault), fault.error, 1, fault.count);
            case HubFault::Kind::kClose:
                return mHub.failClose(pathOf(fault), fault.error, 1, fault.count);
            case HubFault::Kind::kPoll:
                return mHub.failPoll(fault.error, 1, fault.count);
            case HubFault::Kind::kDrop:
                return mHub.dropDevice(fault.handle);
            case HubFault::Kind::kCut:
                return mHub.cutNextRecord(fault.handle, static_cast<size_t>(fault.bytes));
            case HubFault::Kind::kAvailable:
                return mHub.setDataAvailable(fault.handle, fault.text);
            case HubFault::Kind::kAbsent:
                return mHub.removeFile(fault.path);
            case HubFault::Kind::kPush:
                mHub.push(fault.handle, fault.text);
                return;
        }
    }

    simulator::SimulatedHub& mHub;
    std::vector<HubFault> mFaults;
    size_t mNext = 0;
    Clock::time_point mStart;
    std::mutex mLock;
    std::condition_variable mChanged;
    bool mStop = false;  // guarded by mLock
    std::thread mThread;
};

class SimulatedHub : public SimulatorHub {
  public:
    SimulatedHub(const HubOptions& options, const Specs& specs, std::vector<HubFault> faults)
        : SimulatorHub(simulatorOptions(options, specs)), mFaults(mHub, std::move(faults)) {}

  private:
    FaultTimer mFaults;
};

}  // namespace

ExitCode makeSimulatedHub(const HubOptions& options, std::unique_ptr<Hub>* hub) {
    std::vector<HubFault> faults;
    for (const std::string& text : options.faults) {
        std::string why;
        const auto fault = parseFault(text, &why);
        if (!fault) {
            complain("--fault %s: %s", quoted(text).c_str(), why.c_str());
            return kUsage;
        }
        faults.push_back(*fault);
    }
    auto specs = std::optional<Specs>(simulator::standardCatalogue());
    if (!options.chips.empty()) specs = readChips(options.chips);
    if (!specs) return kUsage;
    if (!haveRoom()) return kCannotLoad;
    *hub = std::make_unique<SimulatedHub>(options, *specs, std::move(faults));
    return kOk;
}

}  // namespace subhalctl
