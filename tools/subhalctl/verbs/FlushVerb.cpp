#include <optional>

#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/EventWriter.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

constexpr int64_t kPeriodNs = 20'000'000;
constexpr int64_t kLatencyNs = 10'000'000'000;  // so that events are held back

}  // namespace

ExitCode runFlush(Proxy& proxy, const FlushOptions& options) {
    const ExitCode opened = proxy.open();
    if (opened != kOk) return opened;
    const SensorInfo* sensor = proxy.find(options.sensor);
    if (sensor == nullptr) return kNoSuchSensor;
    std::optional<ActiveSensor> active;
    const bool oneShot = reportingMode(*sensor) == SensorFlagBits::ONE_SHOT_MODE;
    // A one-shot sensor cannot be flushed, and switching it on may use up its shot.
    if (!oneShot) {
        active.emplace(proxy, *sensor, kPeriodNs, kLatencyNs);
        if (!active->active()) return kRefused;
    }
    const int64_t beginNs = bootTimeNs();
    const Result result = proxy.flush(sensor->sensorHandle);
    if (result != Result::OK) {
        if (oneShot) complain("a one-shot sensor has nothing to flush");
        return refused(typeName(*sensor), "flush", result);
    }
    int64_t events = 0;
    const auto end = proxy.events().receiveFor(options.seconds, [&](const ReceivedEvent& received) {
        if (received.event.sensorHandle != sensor->sensorHandle) return false;
        if (kindOf(received.event) == EventKind::kFlushComplete) return true;
        ++events;
        return false;
    });
    if (end != EventQueue::End::kDone) {
        complain("%s: no completion of the flush", typeName(*sensor).c_str());
        return kNoData;
    }
    print("%s: flush complete after %.3f ms, %s before it\n", typeName(*sensor).c_str(),
          milliseconds(bootTimeNs() - beginNs), counted(events, "event").c_str());
    return kOk;
}

}  // namespace subhalctl
