#include "bench/MountedHub.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "simulator/KnownSensors.h"

// The library's log costs what the platform's log costs; it is not what is measured here.
extern "C" __attribute__((visibility("default"))) int __android_log_print(int, const char*,
                                                                          const char*, ...) {
    return 0;
}

namespace bench {

namespace {

constexpr int kPipeBytes = 1 << 20;  // 256 packets
constexpr char kHubDirectory[] = "/sys/class/sensors/hbx_sensor";

void require(bool condition, const char* what) {
    if (condition) return;
    perror(what);
    exit(1);
}

std::string attributes(int number) {
    return "/sys/bus/iio/devices/iio:device" + std::to_string(number);
}

void pushTo(int fd, const std::string& record) {
    require(::write(fd, record.data(), record.size()) == static_cast<ssize_t>(record.size()),
            "push");
}

}  // namespace

MountedHub::MountedHub(const std::vector<int>& handles, int strangers) {
    const char* parent = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    mRoot = std::string(parent) + "/sensorhub-bench-XXXXXX";
    require(mkdtemp(mRoot.data()) != nullptr, "mkdtemp");

    std::string spec;
    int number = 0;
    for (const simulator::SensorSpec& sensor : simulator::standardCatalogue()) {
        if (std::find(handles.begin(), handles.end(), sensor.handle) == handles.end()) continue;
        spec += simulator::encodeSpec(sensor);
        makeDevice(number,
                   simulator::iioNameOf(*simulator::findKnownSensor(sensor.handle), sensor.wakeUp));
        mWriters[sensor.handle] = makeFifo("/dev/iio:device" + std::to_string(number));
        mNumberOf[sensor.handle] = number;
        mNumbers.push_back(number++);
    }
    // The hub's own two, which the library asks for whatever the specification lists.
    for (const int handle : {32, 33}) {
        const simulator::KnownSensor& profile = *simulator::findKnownSensor(handle);
        makeDevice(number, simulator::iioNameOf(profile, profile.plainNameIsWakeUp));
        mWriters[handle] = makeFifo("/dev/iio:device" + std::to_string(number));
        mNumbers.push_back(number++);
    }
    for (int i = 0; i < strangers; ++i, ++number)
        makeDevice(number, "stranger" + std::to_string(i));
    write(kHubDirectory + std::string("/sensor_spec"), spec);
    for (const char* file : {"/enable", "/hbx_flush", "/shub_file", "/qcontext_list"})
        write(kHubDirectory + std::string(file), "");
    for (const char* file : {"/dev/batch_io", "/dev/shub_data_injection", "/dev/hbx_sensorhub"})
        write(file, "");
}

MountedHub::~MountedHub() {
    for (const auto* fds : {&mWriters, &mTwins}) {
        for (const auto& [handle, fd] : *fds)
            close(fd);
    }
    if (mEntered) require(fchdir(mOldRoot) == 0 && chroot(".") == 0, "leave root");
    if (mOldRoot >= 0) close(mOldRoot);
    std::error_code ignored;
    std::filesystem::remove_all(mRoot, ignored);
}

void MountedHub::enter() {
    mOldRoot = open("/", O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (geteuid() != 0) require(unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0, "unshare");
    require(chroot(mRoot.c_str()) == 0 && chdir("/") == 0, "chroot");
    mEntered = true;
}

void MountedHub::push(int handle, const std::string& record) {
    pushTo(mWriters.at(handle), record);
}

void MountedHub::setDataAvailable(int handle, int count) {
    write(attributes(mNumberOf.at(handle)) + "/buffer/data_available",
          std::to_string(count) + "\n");
}

int MountedHub::openTwin(int handle) {
    const std::string path = "/dev/twin" + std::to_string(handle);
    mTwins[handle] = makeFifo(path);
    const int reader = open((mRoot + path).c_str(), O_RDONLY | O_CLOEXEC);
    require(reader >= 0, "twin");
    return reader;
}

void MountedHub::pushTwin(int handle, const std::string& record) {
    pushTo(mTwins.at(handle), record);
}

int MountedHub::makeFifo(const std::string& path) {
    std::filesystem::create_directories(std::filesystem::path(mRoot + path).parent_path());
    require(mkfifo((mRoot + path).c_str(), 0600) == 0, "mkfifo");
    // Also open for reading, so that neither open waits. Packet mode is refused at the open.
    const int fd = open((mRoot + path).c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    require(fd >= 0 && fcntl(fd, F_SETPIPE_SZ, kPipeBytes) >= kPipeBytes &&
                fcntl(fd, F_SETFL, O_NONBLOCK | O_DIRECT) == 0,
            "packet mode");
    return fd;
}

void MountedHub::makeDevice(int number, const std::string& name) {
    const std::string directory = attributes(number);
    write(directory + "/name", name + "\n");
    for (const char* file : {"/buffer/length", "/buffer/enable", "/buffer/data_available"})
        write(directory + file, "1\n");
}

void MountedHub::write(const std::string& path, const std::string& text) {
    const std::string file = mEntered ? path : mRoot + path;
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file) << text;
}

EntryPoint loadLibrary() {
    void* library = dlopen(SENSORHUB_LIBRARY, RTLD_NOW);
    void* entry = library == nullptr ? nullptr : dlsym(library, "sensorsHalGetSubHal");
    if (entry == nullptr) {
        fprintf(stderr, "%s\n", dlerror());
        exit(1);
    }
    return reinterpret_cast<EntryPoint>(entry);
}

std::vector<int> someHandles(size_t count, const std::vector<int>& first) {
    std::vector<int> handles = first;
    for (const simulator::SensorSpec& sensor : simulator::standardCatalogue()) {
        if (handles.size() >= count) break;
        if (std::find(handles.begin(), handles.end(), sensor.handle) == handles.end()) {
            handles.push_back(sensor.handle);
        }
    }
    return handles;
}

void Arrivals::expect(int count) {
    mHeld.store(false, std::memory_order_relaxed);
    mDone.store(false, std::memory_order_relaxed);
    mCount = 0;
    mExpected = count;
}

void Arrivals::waitHeld() {
    while (!mHeld.load(std::memory_order_acquire))
        std::this_thread::yield();
}

void Arrivals::open() {
    mOpened = Clock::now();
    mOpen.store(true, std::memory_order_release);
}

void Arrivals::waitDone() {
    // Asleep, so as not to take memory bandwidth from the reader.
    while (!mDone.load(std::memory_order_acquire))
        std::this_thread::sleep_for(std::chrono::microseconds(20));
}

double Arrivals::nsBetween() const {
    return std::chrono::duration<double, std::nano>(mLast - mFirst).count() / (mExpected - 1);
}

double Arrivals::nsSinceOpen() const {
    return std::chrono::duration<double, std::nano>(mLast - mOpened).count();
}

void MeteringProxy::postEvents(const std::vector<android::hardware::sensors::V1_0::Event>& events,
                               android::hardware::sensors::V2_0::implementation::ScopedWakelock) {
    if (events.front().sensorHandle == mGateHandle) {
        arrivals.atGate();
    } else {
        arrivals.arrive();
    }
}

}  // namespace bench
