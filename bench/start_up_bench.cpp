// The time until the library is ready, with the hub's files at their real paths. Each figure is
// a process of its own, since the library is started once in a process; the floor touches each of
// the sensors' devices once, in the same tree.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench/MountedHub.h"

namespace {

using namespace bench;

/** The name of every device, and of each sensor's the node and both buffer attributes. */
void touchDevices(const MountedHub& hub, int devices) {
    const auto touch = [](const std::string& path, int flags, const char* text) {
        const int fd = open(path.c_str(), flags | O_CLOEXEC);
        char name[64];
        if (text != nullptr) {
            benchmark::DoNotOptimize(write(fd, text, strlen(text)));
        } else {
            benchmark::DoNotOptimize(read(fd, name, sizeof(name)));
        }
        close(fd);
    };
    const std::string prefix = "/sys/bus/iio/devices/iio:device";
    for (int number = 0; number < devices; ++number)
        touch(prefix + std::to_string(number) + "/name", O_RDONLY, nullptr);
    for (const int number : hub.numbers()) {
        const std::string device = prefix + std::to_string(number);
        benchmark::DoNotOptimize(
            open(("/dev/iio:device" + std::to_string(number)).c_str(), O_RDONLY | O_CLOEXEC));
        touch(device + "/buffer/length", O_WRONLY | O_TRUNC, "600\n");
        touch(device + "/buffer/enable", O_WRONLY | O_TRUNC, "1\n");
    }
}

/** Seconds that `work` takes in a child process inside the hub's root. */
template <typename Work>
double timeInChild(MountedHub& hub, Work work) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) abort();
    const pid_t child = fork();
    if (child == 0) {
        hub.enter();
        const Clock::time_point begin = Clock::now();
        work();
        const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        benchmark::DoNotOptimize(write(ends[1], &seconds, sizeof(seconds)));
        _exit(0);
    }
    double seconds = 0;
    if (read(ends[0], &seconds, sizeof(seconds)) != sizeof(seconds)) abort();
    close(ends[0]);
    close(ends[1]);
    waitpid(child, nullptr, 0);
    return seconds;
}

/** Sensors of the catalogue, and IIO devices on the bus. */
void startUp(benchmark::State& state) {
    const auto sensors = static_cast<size_t>(state.range(0));
    const std::vector<int> handles = someHandles(sensors, {});
    const auto devices = static_cast<int>(state.range(1));
    const auto strangers = devices - static_cast<int>(handles.size()) - 2;
    MountedHub hub(handles, strangers);
    const EntryPoint entry = loadLibrary();
    std::vector<double> ratios;
    std::vector<double> floors;
    for (auto _ : state) {
        const double library = timeInChild(hub, [&] {
            uint32_t version = 0;
            entry(&version);
        });
        floors.push_back(timeInChild(hub, [&] { touchDevices(hub, devices); }));
        ratios.push_back(library / floors.back());
        state.SetIterationTime(library);
    }
    const auto median = [](std::vector<double>& values) {
        std::sort(values.begin(), values.end());
        return values[values.size() / 2];
    };
    state.counters["floor_ms"] = median(floors) * 1e3;
    state.counters["ratio"] = median(ratios);
}
BENCHMARK(startUp)
    ->UseManualTime()
    ->Iterations(60)
    ->Unit(benchmark::kMillisecond)
    ->ArgNames({"sensors", "devices"})
    ->Args({10, 53})
    ->Args({51, 53})
    ->Args({51, 200});

}  // namespace

BENCHMARK_MAIN();
