#include "tools/subhalctl/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sstream>

#include "tools/subhalctl/judging/Requirement.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

constexpr char kNaming[] =
    "SENSOR is a handle, a type name (accelerometer, back_tap) or a part of a name.\n"
    "Use -- before negative numbers if they are taken for options.\n";
constexpr char kHubOptions[] = "Hub options";
constexpr char kCommonOptions[] = "Common options";
constexpr char kExitCodes[] =
    "Exit status:\n"
    "  0  fine\n"
    "  1  a check failed\n"
    "  2  usage, or a file named there cannot be used\n"
    "  3  the library cannot be loaded, or no simulated hub made\n"
    "  4  no such sensor, or the name is ambiguous\n"
    "  5  refused by the library, or a sensor could not be switched off\n"
    "  6  no data in time, fewer than requested, or interrupted early\n"
    "  7  no sensor hub here\n"
    "  8  output was lost";

constexpr uint32_t kSmallestRing = 2 * 104;
constexpr uint32_t kLargestRing = 16 * 1024 * 1024;
constexpr double kLongestSeconds = 1e6;
constexpr double kLargestCount = 1e15;  // a period of that many ns is eleven days

/** A number, and finite: CLI11's own checks let NaN pass, and name bounds of hundreds of digits. */
CLI::Validator number(double from, double to, bool isWhole = false) {
    const auto check = [=](std::string& text) -> std::string {
        char* end = nullptr;
        const double value = std::strtod(text.c_str(), &end);
        if (text.empty() || *end != '\0' || !(value >= from && value <= to)) {
            return subhalctl::quoted(text) + " is not a number from " +
                   formatted("%g to %g", from, to);
        }
        if (!isWhole) return {};
        if (value != std::floor(value)) return subhalctl::quoted(text) + " is not a whole number";
        text = std::to_string(static_cast<int64_t>(value));  // the parser refuses 1e6
        return {};
    };
    return CLI::Validator(check, "", "number");
}

CLI::Validator whole(double from, double to) {
    return number(from, to, true);
}

CLI::Validator seconds() {
    return number(0.001, kLongestSeconds);
}

CLI::Validator hertz() {
    return number(kLowestRateHz, kHighestRateHz);
}

enum class Except { kNothing, kBareNames, kDash };

/**
 * Makes relative names absolute, because the program leaves its directory; not those for the
 * loader, and not "-" for standard input or output.
 */
CLI::Validator path(Except except = Except::kNothing) {
    const auto resolve = [except](std::string& text) -> std::string {
        if (text.empty()) return "a path is not empty";
        if (except == Except::kBareNames && text.find('/') == std::string::npos) return {};
        if (except == Except::kDash && text == "-") return {};
        std::error_code error;
        text = std::filesystem::absolute(text, error).string();
        return error ? error.message() : "";
    };
    return CLI::Validator(resolve, "", "path");
}

/** Adds a verb; its options live as long as the parser needs them. */
template <typename Options>
struct Verb {
    Verb(CLI::App& parent, Command& command, const char* name, const char* description,
         ExitCode (*run)(Proxy&, const Options&))
        : app(parent.add_subcommand(name, description)), options(std::make_shared<Options>()) {
        auto kept = options;
        app->callback([&command, kept, run] {
            command.run = [kept, run](Proxy& proxy) { return run(proxy, *kept); };
        });
    }

    CLI::App* app;
    std::shared_ptr<Options> options;
};

void addGlobalOptions(CLI::App& app, GlobalOptions& options) {
    app.option_defaults()->group(kHubOptions);
    auto* sim =
        app.add_flag("--sim", options.hub.sim, "Run on a simulated hub whose sensors send signals");
    app.add_option(
           "--replay", options.hub.recording,
           "Run on a hub that plays a recording, starting when a sensor is first switched on")
        ->transform(path(Except::kDash))
        ->excludes(sim);
    app.add_flag("--fast", options.hub.fast,
                 "Play a recording without waiting for the recorded times");
    app.add_option("--seed", options.hub.seed, "Seed of the simulated signals")
        ->transform(whole(0, kLargestCount))
        ->capture_default_str()
        ->needs(sim);
    app.add_flag("--still", options.hub.still, "The simulated device lies still on a table")
        ->needs(sim);
    app.add_option("--chips", options.hub.chips,
                   "Another catalogue for the simulated hub: a device's sensor_spec, or JSON as in "
                   "the manual")
        ->transform(path())
        ->needs(sim);
    app.add_option("--fault", options.hub.faults,
                   "Let the simulated hub fail, as in read:1:EIO or drop:4@5s; see the manual")
        ->allow_extra_args(false)
        ->needs(sim);
    app.option_defaults()->group(kCommonOptions);
    app.add_flag("--trace", options.trace,
                 "Show each call of the library on the hub's files on standard error");
    app.add_option("--library", options.library,
                   "Path of the sub-HAL library (default: the build tree's, else the loader's)")
        ->transform(path(Except::kBareNames));
    app.add_option("--log", options.logLevel,
                   "Show the library's log on standard error from this level (default: silent with "
                   "--sim or a recording, else warning)")
        ->check(CLI::IsMember({"verbose", "debug", "info", "warning", "error", "silent"}));
    app.add_flag(
        "--quiet", options.quiet,
        "No headings and remarks, no summary of watch, no records of direct, and of check's text "
        "only failures; watch's CSV and --stats keep their headings, and direct, check and doctor "
        "their summary");
    app.add_flag("--wide", options.wide,
                 "All columns and whole lines, however narrow the terminal is");
    app.option_defaults()->group("Options");
}

/** One of several words. */
CLI::Option* addChoice(CLI::App& verb, const char* name, std::string& choice,
                       const char* description, const std::vector<std::string>& words) {
    return verb.add_option(name, choice, description)
        ->check(CLI::IsMember(words))
        ->capture_default_str();
}

void addEventFormat(CLI::App& verb, std::string& format) {
    addChoice(verb, "--format", format, "text, csv, or json (an object per line)",
              {"text", "csv", "json"});
}

void addSeconds(CLI::App& verb, double& time, const char* description) {
    verb.add_option("--seconds", time, description)->check(seconds())->capture_default_str();
}

void addList(CLI::App& app, Command& command) {
    const auto [verb, options] =
        Verb(app, command, "list", "List the sensors, one a line", runList);
    verb->add_option("SENSOR", options->sensors, "Sensors (default: all)");
    verb->add_flag("-v,--verbose", options->details, "All that is known of each");
    addChoice(*verb, "--format", options->format, "text or json", {"text", "json"});
}

void addDoctor(CLI::App& app, Command& command) {
    const auto [verb, options] =
        Verb(app, command, "doctor", "Find out why sensors are missing or silent, and what to do",
             runDoctor);
    verb->add_option("SENSOR", options->sensors,
                     "Sensors to be switched on, to follow a record of each");
    addSeconds(*verb, options->seconds, "Time to wait for a record");
    verb->add_flag("-v,--verbose", options->details, "Also what is as it should be");
}

void addCheck(CLI::App& app, Command& command) {
    const auto [verb, options] =
        Verb(app, command, "check", "Check the sensors against the platform's rules", runCheck);
    verb->add_option("SENSOR", options->sensors, "Sensors (default: all)");
    verb->add_option("--seconds", options->seconds, "Time for each phase that measures rates")
        ->check(number(0.1, 3600))
        ->capture_default_str();
    verb->add_flag("--list", options->list, "Show the rules and what each needs");
    addChoice(*verb, "--format", options->format, "text, json (an object per line) or tap",
              {"text", "json", "tap"});
}

/** What watch and record have in common. */
void addWatched(CLI::App& verb, WatchOptions& options) {
    verb.add_option("SENSOR", options.sensors, "Sensors, each with @HZ for its own rate")
        ->required();
    auto* rate =
        verb.add_option("--rate", options.rateHz, "Rate in Hz (default: 50)")->check(hertz());
    verb.add_option("--period", options.periodNs, "Sampling period in ns")
        ->transform(whole(1, kLargestCount))
        ->excludes(rate);
    verb.add_option("--latency", options.latencyMs, "Maximum report latency in ms")
        ->transform(whole(0, 86'400'000));
    verb.add_option("--count", options.count, "End after that many events")
        ->transform(whole(1, kLargestCount));
    verb.add_option(
            "--seconds", options.seconds,
            "End after that time (default: at Ctrl-C). Exit status 6 with fewer events than "
            "--count, or without it when a sensor that reports by itself stayed silent")
        ->check(seconds());
    verb.add_option("--require", options.requirement, kRequirementHelp)
        ->check([](const std::string& text) { return requirementFault(text); });
}

void addWatch(CLI::App& app, Command& command) {
    const auto [verb, options] =
        Verb(app, command, "watch", "Activate sensors and print their events", runWatch);
    addWatched(*verb, *options);
    addEventFormat(*verb, options->format);
    verb->add_option("--stats", options->statsSeconds,
                     "Instead of events, a table of the figures of each so many seconds, as text")
        ->check(seconds());
}

/** A file that a verb reads or writes; "-" is standard input or output. */
void addFile(CLI::App& verb, const char* name, const char* description, std::string& file) {
    verb.add_option(name, file, description)->required()->transform(path(Except::kDash));
}

constexpr char kRecordingHelp[] = "Recording, - for standard input";
constexpr char kOutputHelp[] = "Output file, - for standard output";

void addRecord(CLI::App& app, Command& command) {
    const auto [verb, options] =
        Verb(app, command, "record", "Record the library's input and output in a file", runWatch);
    addFile(*verb, "-o,--output", kOutputHelp, options->recording);
    addWatched(*verb, *options);
}

void addReplay(CLI::App& app, Command& command) {
    CLI::App* replay = app.add_subcommand(
        "replay",
        "Play a recording to the library; exit status 1 when events or calls differ from it");
    addFile(*replay, "FILE", kRecordingHelp, command.options.hub.recording);
    replay->add_flag("--fast", command.options.hub.fast,
                     "Play without waiting for the recorded times");
    replay->callback([&command] { command.run = runReplay; });
}

void addPlotAndExport(CLI::App& app, Command& command) {
    const Verb plot(app, command, "plot",
                    "Draw a recording as a page of HTML, for a browser or for paper", runPlot);
    const Verb exported(app, command, "export",
                        "Convert a recording for a trace viewer, or to tables", runExport);
    for (const auto* verb : {&plot, &exported}) {
        addFile(*verb->app, "FILE", kRecordingHelp, verb->options->recording);
        addFile(*verb->app, "-o,--output", kOutputHelp, verb->options->output);
    }
    addChoice(*exported.app, "--format", exported.options->format,
              "trace (for a viewer) or csv (a table for each sensor)", {"trace", "csv"});
}

void addCompare(CLI::App& app, Command& command) {
    const auto [verb, options] = Verb(
        app, command, "compare",
        "Compare the figures of two recordings; exit status 1 when they differ (--quiet: show only "
        "what differs)",
        runCompare);
    addFile(*verb, "FIRST", kRecordingHelp, options->first);
    addFile(*verb, "SECOND", kRecordingHelp, options->second);
    verb->add_option("--tolerance", options->tolerance,
                     "Allowed difference in percent; see the manual")
        ->check(number(0, 1000))
        ->capture_default_str();
}

void addFlush(CLI::App& app, Command& command) {
    const auto [verb, options] = Verb(
        app, command, "flush", "Activate a sensor, flush it and wait for the completion", runFlush);
    verb->add_option("SENSOR", options->sensor, "Sensor")->required();
    addSeconds(*verb, options->seconds, "Time to wait");
}

void addInject(CLI::App& app, Command& command) {
    const auto [verb, options] =
        Verb(app, command, "inject", "Inject an event into a sensor", runInject);
    verb->add_option("SENSOR", options->sensor, "Sensor")->required();
    verb->add_option("VALUE", options->values,
                     "Sub-command (0x10000000 or decimal), put into payload word 0, then its "
                     "arguments as floats, put into words 2 and up")
        ->required();
    verb->add_flag("--words", options->words,
                   "All values are raw 32-bit words, put into payload words 0 and up");
}

void addDirect(CLI::App& app, Command& command) {
    const auto [verb, options] =
        Verb(app, command, "direct",
             "Open a direct channel and read its memory in a process of its own", runDirect);
    verb->add_option("SENSOR", options->sensor, "Sensor")->required();
    addChoice(*verb, "--rate", options->rate, "normal, fast or very-fast",
              {"normal", "fast", "very-fast"})
        ->required();
    verb->add_option("--size", options->bytes, "Bytes of the memory, 104 per record")
        ->transform(whole(kSmallestRing, kLargestRing))
        ->capture_default_str();
    addSeconds(*verb, options->seconds, "Time to read");
    verb->add_option("--events", options->eventsHz,
                     "Also request the sensor's events through the proxy, at this rate in Hz")
        ->check(hertz());
    verb->add_flag("--check", options->check,
                   "Exit status 1 when a record was missed, repeated, torn, backward or lost, the "
                   "reader stalled or the sensor fell silent");
    addEventFormat(*verb, options->format);
}

void addMessage(CLI::App& app, Command& command) {
    const auto [verb, options] =
        Verb(app, command, "message", "Send the hub a message of 1 to 1119 bytes", runMessage);
    auto* group = verb->add_option_group("message");
    group->add_option("--hex", options->hex, "Bytes as pairs of hexadecimal digits");
    group->add_option("--text", options->text, "Bytes of the text");
    group->add_option("--file", options->file, "Bytes of a file")->transform(path());
    group->require_option(1);
}

void addHub(CLI::App& app, Command& command) {
    CLI::App* hub = app.add_subcommand("hub", "Make the simulated hub ask for something (--sim)");
    hub->require_subcommand(1);
    const auto [verb, options] =
        Verb(*hub, command, "dump", "Ask for a dump; lists the dump files", runHubDump);
    verb->add_option("TYPE", options->type, "Kind of dump; becomes a part of the files' names")
        ->required()
        ->transform(whole(0, 255));
    verb->add_option("COUNT", options->count,
                     "How many of this type the library keeps; always 2 for type 0")
        ->required()
        ->transform(whole(1, 255));
}

/** It loads no library. */
bool readsOnly(const CLI::App& verb) {
    const std::string& name = verb.get_name();
    return name == "plot" || name == "export" || name == "compare";
}

/** A recording is its hub. */
bool bringsHub(const CLI::App& verb) {
    return verb.get_name() == "replay" || readsOnly(verb);
}

/** A verb's help also lists the options that all verbs share: they may follow the verb. */
class Help : public CLI::Formatter {
  public:
    Help() { column_width(kColumn); }

    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override {
        std::istringstream text(CLI::Formatter::make_help(app, std::move(name), mode));
        std::string help;
        for (std::string line; std::getline(text, line);) {
            const bool second = line.empty() && help.size() > 1 && help[help.size() - 2] == '\n';
            if (!second) help += wrapped(line, line.rfind("  ", 0) == 0 ? kColumn : 0) + '\n';
        }
        return help;
    }

    std::string make_footer(const CLI::App* app) const override {
        const CLI::App* program = app;
        while (program->get_parent() != nullptr) {
            program = program->get_parent();
        }
        if (program == app) return std::string(kNaming) + '\n' + kExitCodes + '\n';
        std::string footer = app->get_option_no_throw("SENSOR") != nullptr ? kNaming : "";
        if (!bringsHub(*app)) footer += group(*program, kHubOptions);
        if (!readsOnly(*app)) footer += group(*program, kCommonOptions);
        return footer + "\nExit status: subhalctl --help\n";
    }

  private:
    static constexpr size_t kColumn = 26;

    std::string group(const CLI::App& app, const char* name) const {
        return make_group(name, false, app.get_options([name](const CLI::Option* option) {
            return option->get_group() == name;
        }));
    }
};

/** An option that was given and has no effect, or one that the verb cannot have. */
std::string idleOption(const HubChoice& hub, const std::string& verb) {
    if (hub.recording.empty())
        return hub.fast ? "--fast requires --replay, or the verb replay" : "";
    if (hub.sim) return "--sim excludes replay";
    const bool live = verb == "check" || verb == "doctor" || verb == "direct";
    return live ? verb + " excludes --replay: a recording does not follow its requests" : "";
}

/** Prints help or the version, or why parsing stopped. */
ExitCode report(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
        std::ostringstream text;  // help or version
        app.exit(error, text, text);
        printText(text.str());
        return kOk;
    }
    const auto verbs = app.get_subcommands([](const CLI::App*) { return true; });
    const std::vector<std::string> rest = app.remaining();
    const auto isOption = [](const std::string& text) { return text[0] == '-'; };
    const auto unknown = std::find_if_not(rest.begin(), rest.end(), isOption);
    std::string names;
    for (const CLI::App* verb : verbs) {
        names += (names.empty() ? "" : ", ") + verb->get_name();
    }
    const bool noVerb = app.get_subcommands().empty();
    if (noVerb && unknown != rest.end()) {
        complain("%s is no verb; expected one of %s", quoted(*unknown).c_str(), names.c_str());
    } else if (noVerb && rest.empty() &&
               error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError)) {
        complain("expected a verb: %s; see --help", names.c_str());
    } else if (noVerb && !rest.empty()) {
        complain("The following argument was not expected: %s; see --help", rest[0].c_str());
    } else {
        complain("%s; see --help", error.what());
    }
    return kUsage;
}

}  // namespace

Command parseCommandLine(int argc, char** argv, ExitCode* exitCode) {
    Command command;
    CLI::App app("Plays the sensors proxy to a sub-HAL library.", "subhalctl");
    app.formatter(std::make_shared<Help>());
    app.set_version_flag("--version", "subhalctl " SUBHALCTL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    addGlobalOptions(app, command.options);
    for (auto* add :
         {addList, addDoctor, addCheck, addWatch, addRecord, addReplay, addPlotAndExport,
          addCompare, addFlush, addInject, addDirect, addMessage, addHub}) {
        add(app, command);
    }
    *exitCode = kOk;
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        *exitCode = report(app, error);
        command.run = nullptr;
    }
    const std::string idle =
        command.run ? idleOption(command.options.hub, app.get_subcommands().front()->get_name())
                    : "";
    if (!idle.empty()) {
        complain("%s; see --help", idle.c_str());
        *exitCode = kUsage;
        command.run = nullptr;
    }
    return command;
}

}  // namespace subhalctl
