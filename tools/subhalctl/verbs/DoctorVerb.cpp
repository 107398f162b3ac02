#include <unistd.h>

#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/doctor/Examination.h"
#include "tools/subhalctl/doctor/RecordTrail.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

ExitCode followRecords(Proxy& proxy, const DoctorOptions& options, const HubDevices& devices,
                       Findings& findings) {
    proxy.keepCalls();
    ExitCode result = proxy.open();
    if (result != kOk) return result;
    RecordTrail trail(proxy, findings, devices, options.seconds);
    for (const std::string& text : options.sensors) {
        if (interrupted()) break;
        const SensorInfo* sensor = proxy.find(text);
        if (sensor == nullptr) {
            result = kNoSuchSensor;
        } else {
            trail.follow(*sensor);
        }
    }
    return interrupted() ? kNoData : result;
}

}  // namespace

ExitCode runDoctor(Proxy& proxy, const DoctorOptions& options) {
    ExitCode result = proxy.openHub();
    if (result != kOk) return result;
    Findings findings(options.details);
    // Before the library is loaded, which would keep the devices open.
    const auto devices = examineHub(findings);
    if (!devices) return kNoHub;
    if (!options.sensors.empty()) result = followRecords(proxy, options, *devices, findings);
    print("%s, %s, %s%s\n", counted(devices->sensors, "sensor").c_str(),
          counted(findings.failures(), "failure").c_str(),
          counted(findings.notes(), "note").c_str(),
          geteuid() == 0 ? "; as root, who has rights that the sensors service lacks" : "");
    return findings.failures() > 0 ? kCheckFailed : result;
}

}  // namespace subhalctl
