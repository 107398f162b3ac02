#include "tools/subhalctl/CommandLine.h"

#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "tools/subhalctl/Verbs.h"

namespace subhalctl {
namespace {

constexpr char kFooter[] =
    "SENSOR is a handle, a type name (accelerometer, back_tap, com.tavrine.sensor.back_tap) or a\n"
    "part of a name. Use -- before negative numbers if they are taken for options.\n"
    "\n"
    "Exit codes:\n"
    "  0  fine\n"
    "  1  a check failed\n"
    "  2  usage\n"
    "  3  the library cannot be loaded\n"
    "  4  no such sensor, or the name is ambiguous\n"
    "  5  refused by the library\n"
    "  6  no data in time";

constexpr size_t kLargestPayload = 16;
constexpr uint32_t kSmallestRing = 2 * 104;
constexpr uint32_t kLargestRing = 16 * 1024 * 1024;
constexpr int kLargestFileRead = 4091;

CLI::Range secondsRange() {
    return {0.001, 1e6};
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
    app.add_flag("--sim", options.sim, "Run on a simulated hub whose sensors send signals");
    app.add_option("--seed", options.seed, "Seed of the simulated signals")->capture_default_str();
    app.add_option("--library", options.library,
                   "Path of the sub-HAL library (default: the build tree's, else the loader's)");
    app.add_option("--log", options.logLevel,
                   "Show the library's log on stderr from this level (default: silent with --sim, "
                   "else warning)")
        ->check(CLI::IsMember({"verbose", "debug", "info", "warning", "error", "silent"}));
    app.add_flag("--quiet", options.quiet,
                 "No headers and notes, no summary of watch, no records of direct");
}

void addList(CLI::App& app, Command& command) {
    app.add_subcommand("list", "List the sensors; delays in µs")->callback([&command] {
        command.run = runList;
    });
}

void addWatch(CLI::App& app, Command& command) {
    const Verb<WatchOptions> verb(app, command, "watch",
                                  "Activate sensors and print their events (W: with a wakelock)",
                                  runWatch);
    WatchOptions& options = *verb.options;
    verb.app->add_option("SENSOR", options.sensors, "Sensors, each with @HZ for its own rate")
        ->required();
    auto* rate = verb.app->add_option("--rate", options.rateHz, "Rate in Hz (default: 50)")
                     ->check(CLI::PositiveNumber);
    verb.app->add_option("--period", options.periodNs, "Sampling period in ns")
        ->check(CLI::PositiveNumber)
        ->excludes(rate);
    verb.app->add_option("--latency", options.latencyMs, "Maximum report latency in ms")
        ->check(CLI::Range(int64_t{0}, int64_t{86'400'000}));
    verb.app->add_option("--count", options.count, "End after that many data events")
        ->check(CLI::PositiveNumber);
    verb.app
        ->add_option("--seconds", options.seconds,
                     "End after that time (default: at Ctrl-C). Exit code 6 without any event, "
                     "or with fewer than --count")
        ->check(secondsRange());
    verb.app->add_option("--format", options.format, "text, csv, or json (an object per line)")
        ->check(CLI::IsMember({"text", "csv", "json"}))
        ->capture_default_str();
}

void addFlush(CLI::App& app, Command& command) {
    const Verb<FlushOptions> verb(
        app, command, "flush", "Activate a sensor, flush it and wait for the completion", runFlush);
    verb.app->add_option("SENSOR", verb.options->sensor, "Sensor")->required();
    verb.app->add_option("--seconds", verb.options->seconds, "Time to wait")
        ->check(secondsRange())
        ->capture_default_str();
}

void addInject(CLI::App& app, Command& command) {
    const Verb<InjectOptions> verb(app, command, "inject", "Inject an event into a sensor",
                                   runInject);
    verb.app->add_option("SENSOR", verb.options->sensor, "Sensor")->required();
    verb.app
        ->add_option("VALUE", verb.options->values,
                     "Sub-command (0x10000000 or decimal), put into payload word 0, then its "
                     "arguments as floats, put into words 2 and up")
        ->required()
        ->expected(1, static_cast<int>(kLargestPayload));
    verb.app->add_flag("--words", verb.options->words,
                       "All values are raw 32-bit words, put into payload words 0 and up");
}

void addDirect(CLI::App& app, Command& command) {
    const Verb<DirectOptions> verb(
        app, command, "direct", "Open a direct channel and read its memory in a process of its own",
        runDirect);
    static const std::map<std::string, int> kLevels = {
        {"normal", 1}, {"fast", 2}, {"very-fast", 3}};
    verb.app->add_option("SENSOR", verb.options->sensor, "Sensor")->required();
    verb.app->add_option("--rate", verb.options->level, "normal, fast or very-fast")
        ->required()
        ->transform(CLI::CheckedTransformer(kLevels));
    verb.app->add_option("--size", verb.options->bytes, "Bytes of the memory, 104 per record")
        ->check(CLI::Range(kSmallestRing, kLargestRing))
        ->capture_default_str();
    verb.app->add_option("--seconds", verb.options->seconds, "Time to read")
        ->check(secondsRange())
        ->capture_default_str();
    verb.app
        ->add_option("--events", verb.options->eventsHz,
                     "Rate in Hz to ask for the sensor's events through the proxy, beside the "
                     "channel")
        ->check(CLI::PositiveNumber);
    verb.app->add_flag("--check", verb.options->check, "Exit code 1 when a record was torn");
}

void addMessage(CLI::App& app, Command& command) {
    const Verb<MessageOptions> verb(app, command, "message",
                                    "Send the hub a message of 1 to 1119 bytes", runMessage);
    auto* group = verb.app->add_option_group("message");
    group->add_option("--hex", verb.options->hex, "Bytes as pairs of hexadecimal digits");
    group->add_option("--text", verb.options->text, "Bytes of the text");
    group->add_option("--file", verb.options->file, "Bytes of a file");
    group->require_option(1);
}

void addHubFile(CLI::App& hub, Command& command) {
    const Verb<HubFileOptions> verb(hub, command, "file", "Ask for a file operation", runHubFile);
    static const std::map<std::string, int> kOperations = {
        {"read", simulator::HubServices::kRead},
        {"write", simulator::HubServices::kWrite},
        {"remove", simulator::HubServices::kRemove}};
    verb.app->add_option("OPERATION", verb.options->operation, "read, write or remove")
        ->required()
        ->transform(CLI::CheckedTransformer(kOperations));
    verb.app
        ->add_option("PATH", verb.options->path,
                     "Path on the host; beside the hub's own paths, a real file of this machine")
        ->required();
    verb.app->add_option("TEXT", verb.options->text, "What to write");
    verb.app->add_option("--size", verb.options->size, "Bytes to read")
        ->check(CLI::Range(0, kLargestFileRead))
        ->capture_default_str();
    verb.app->add_option("--offset", verb.options->offset, "Position in the file")
        ->check(CLI::NonNegativeNumber);
}

void addHub(CLI::App& app, Command& command) {
    CLI::App* hub = app.add_subcommand("hub", "Make the simulated hub ask for something (--sim)");
    hub->require_subcommand(1);
    const Verb<HubDumpOptions> dump(*hub, command, "dump", "Ask for a dump; lists the dump files",
                                    runHubDump);
    dump.app->add_option("TYPE", dump.options->type, "Type of dump")
        ->required()
        ->check(CLI::Range(0, 255));
    dump.app->add_option("COUNT", dump.options->count, "Dumps of the type to keep")
        ->required()
        ->check(CLI::Range(0, 255));
    addHubFile(*hub, command);
}

}  // namespace

Command parseCommandLine(int argc, char** argv, ExitCode* exitCode) {
    Command command;
    CLI::App app("Plays the sensors proxy to a sub-HAL library.", "subhalctl");
    app.footer(kFooter);
    app.require_subcommand(1);
    app.fallthrough();
    addGlobalOptions(app, command.options);
    addList(app, command);
    addWatch(app, command);
    addFlush(app, command);
    addInject(app, command);
    addDirect(app, command);
    addMessage(app, command);
    addHub(app, command);
    *exitCode = kOk;
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        *exitCode = app.exit(error) == 0 ? kOk : kUsage;
        command.run = nullptr;
    }
    return command;
}

}  // namespace subhalctl
