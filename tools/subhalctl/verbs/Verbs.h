#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/subhalctl/ExitCode.h"
#include "tools/subhalctl/proxy/Proxy.h"

namespace subhalctl {

// Each verb opens the Proxy itself, prints to standard output, reports errors on standard error,
// and leaves all sensors switched off.

struct ListOptions {
    std::vector<std::string> sensors;  ///< none: all
    bool details = false;
    std::string format = "text";
};
ExitCode runList(Proxy& proxy, const ListOptions& options);

struct DoctorOptions {
    std::vector<std::string> sensors;  ///< to be switched on and followed
    double seconds = 2;                ///< to wait for a record
    bool details = false;
};
ExitCode runDoctor(Proxy& proxy, const DoctorOptions& options);

struct CheckOptions {
    std::vector<std::string> sensors;  ///< none: all
    double seconds = 2;                ///< for each of the phases
    std::string format = "text";       ///< or "json" or "tap"
    bool list = false;                 ///< the rules, instead of a check
};
ExitCode runCheck(Proxy& proxy, const CheckOptions& options);

struct WatchOptions {
    std::vector<std::string> sensors;  ///< SENSOR or SENSOR@HZ
    double rateHz = 0;                 ///< 0: see periodNs
    int64_t periodNs = 0;              ///< 0: 20 ms
    int64_t latencyMs = -1;            ///< below 0: the recorded one, or 0
    int64_t count = 0;   ///< ends after that many data events of all sensors; 0: never
    double seconds = 0;  ///< 0: no limit
    std::string format = "text";
    std::string recording;    ///< file to record to, instead of printing events
    double statsSeconds = 0;  ///< figures each so many seconds instead of events; 0: no
    std::string requirement;  ///< bounds for the figures
};
ExitCode runWatch(Proxy& proxy, const WatchOptions& options);

/** Plays the recording of the global options. */
ExitCode runReplay(Proxy& proxy);

struct ConvertOptions {
    std::string recording;
    std::string output;
    std::string format = "trace";  ///< or "csv"
};
ExitCode runPlot(Proxy& proxy, const ConvertOptions& options);
ExitCode runExport(Proxy& proxy, const ConvertOptions& options);

struct CompareOptions {
    std::string first;
    std::string second;
    double tolerance = 10;  ///< percent
};
ExitCode runCompare(Proxy& proxy, const CompareOptions& options);

struct FlushOptions {
    std::string sensor;
    double seconds = 2;  ///< to wait for the completion
};
ExitCode runFlush(Proxy& proxy, const FlushOptions& options);

struct InjectOptions {
    std::string sensor;
    std::vector<std::string> values;  ///< sub-command and arguments, or raw words
    bool words = false;
};
ExitCode runInject(Proxy& proxy, const InjectOptions& options);

struct DirectOptions {
    std::string sensor;
    std::string rate;  ///< "normal", "fast" or "very-fast"
    uint32_t bytes = 256 * 104;
    double seconds = 2;
    std::string format = "text";
    double eventsHz = 0;  ///< rate of the sensor's events through the proxy; 0: none
    bool check = false;
};
ExitCode runDirect(Proxy& proxy, const DirectOptions& options);

struct MessageOptions {
    std::string hex;
    std::string text;
    std::string file;
};
ExitCode runMessage(Proxy& proxy, const MessageOptions& options);

struct HubDumpOptions {
    int type = 0;
    int count = 1;
};
ExitCode runHubDump(Proxy& proxy, const HubDumpOptions& options);

}  // namespace subhalctl
