#include <unistd.h>

#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/doctor/Examination.h"
#include "tools/subhalctl/doctor/RecordTrail.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

ExitCode followRecords(Proxy& proxy, const DoctorOptions& options, Findings& findings) {
    proxy.keepCalls();
    ExitCode result = proxy.open();
    if (result != kOk) return result;
    RecordTrail trail(proxy, findings, options.seconds);
    for (const std::string& text : options.sensors) {
        if (interrupted()) return kNoData;
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
    Examination examination(findings);
    // The library stays out until then: it would hold the very devices that are looked at.
    result = examination.run();
    if (result != kOk) return result;
    if (!options.sensors.empty()) result = followRecords(proxy, options, findings);
    const bool root = geteuid() == 0;
    print("%s, %s, %s%s\n", counted(examination.sensors(), "sensor").c_str(),
          counted(findings.failures(), "failure").c_str(),
          counted(findings.notes(), "note").c_str(),
          root ? "; as root, who has rights that the sensors service lacks" : "");
    return findings.failures() > 0 ? kCheckFailed : result;
}

}  // namespace subhalctl
