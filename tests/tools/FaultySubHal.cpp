// A library that passes every call and event on, to and from the real one, but for the one fault
// that the environment's SUBHAL_FAULT names. A tool that judges sub-HALs has to find it.

#include <V2_0/SubHal.h>
#include <cutils/ashmem.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <hardware/sensors.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <thread>
#include <utility>

namespace {

using namespace android::hardware::sensors::V1_0;
using namespace android::hardware::sensors::V2_0::implementation;
using android::sp;
using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;

constexpr int32_t kNobody = 3;   // a handle without a sensor
constexpr int32_t kAnother = 4;  // one that may be under test with the first

const char* planted() {
    static const char* const name = std::getenv("SUBHAL_FAULT");
    return name != nullptr ? name : "";
}

bool fault(const char* name) {
    return std::strcmp(planted(), name) == 0;
}

int64_t now(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return time.tv_sec * int64_t{1000000000} + time.tv_nsec;
}

void keep(int32_t handle, bool kept, std::set<int32_t>* handles) {
    if (kept)
        handles->insert(handle);
    else
        handles->erase(handle);
}

/** What becomes of a data event. */
void spoil(Event event, int number, std::vector<Event>* out) {
    static const int64_t start = now(CLOCK_BOOTTIME);
    const bool tenth = number % 10 == 0;
    if (fault("silent") || (fault("drops-1%") && number % 100 == 0)) return;
    if (fault("wrong-type") && tenth) event.sensorType = SensorType::LIGHT;
    if (fault("listed-type")) event.sensorType = SensorType::GYROSCOPE;
    if (fault("stamp-arrival")) event.timestamp = now(CLOCK_BOOTTIME);
    if (fault("stamp-constant")) event.timestamp = start + 1000000000;
    if (fault("stamp-late")) event.timestamp -= 50000000;
    if (fault("stamp-clock")) event.timestamp += now(CLOCK_REALTIME) - now(CLOCK_BOOTTIME);
    if (fault("stamp-other-clock")) event.timestamp -= start;
    if (fault("stamp-back") && tenth) event.timestamp -= 200000000;
    if (fault("nan") && tenth) event.u.vec3.y = NAN;
    if (fault("range") && tenth) event.u.vec3.y = 1e4F;
    out->push_back(event);
    if (fault("wrong-handle")) event.sensorHandle = kNobody;
    if (fault("repeats")) ++event.timestamp;
    if (fault("duplicates") || fault("wrong-handle") || fault("repeats")) out->push_back(event);
}

/** Between the real library and the proxy. */
class Callback : public IHalProxyCallback {
  public:
    explicit Callback(const sp<IHalProxyCallback>& proxy) : mProxy(proxy) {}

    void postEvents(const std::vector<Event>& events, ScopedWakelock wakelock) override {
        std::vector<Event> passed;
        for (Event event : events) {
            if (hidden.count(event.sensorHandle) != 0) continue;
            if (event.sensorType != SensorType::META_DATA) {
                spoil(event, ++mNumber, &passed);
                continue;
            }
            if (fault("flush-code")) event.u.meta.what = static_cast<MetaDataEventType>(2);
            if (fault("flush-other")) event.sensorHandle = kAnother;
            passed.push_back(event);
        }
        if (!passed.empty()) mProxy->postEvents(passed, std::move(wakelock));
    }
    ScopedWakelock createScopedWakelock(bool lock) override {
        return mProxy->createScopedWakelock((lock || fault("wakelock-always")) &&
                                            !fault("wakelock-never"));
    }
    Return<void> onDynamicSensorsConnected(const hidl_vec<SensorInfo>&) override { return Void(); }
    Return<void> onDynamicSensorsDisconnected(const hidl_vec<int32_t>&) override { return Void(); }

    /** Of the library's own making. */
    Result post(int32_t handle, SensorType type, int64_t timestamp) {
        Event event{};
        event.sensorHandle = handle;
        event.sensorType = type;
        event.timestamp = timestamp;
        event.u.scalar = 1;
        if (type == SensorType::META_DATA) event.u.meta = {MetaDataEventType{1}};
        mProxy->postEvents({event}, mProxy->createScopedWakelock(type != SensorType::META_DATA));
        return Result::OK;
    }
    std::set<int32_t> hidden;  // changed only while no event is on its way

  private:
    const sp<IHalProxyCallback> mProxy;
    std::atomic<int> mNumber{0};
};

/** Writes a client's memory from one of the real library's channels. */
class Channel {
  public:
    explicit Channel(const SharedMemInfo& memory)
        : mBytes(memory.size), mClientFd(memory.memoryHandle->data[0]) {
        mFd = ashmem_create_region("faulty", mBytes);
        mOwn = map(mFd);
        mClient = map(mClientFd);
        std::memset(mClient, 0, mBytes);
        mThread = std::thread([this] { run(); });
    }
    ~Channel() {
        mStop = true;
        mThread.join();
        if (!fault("direct-memory")) std::memset(mClient, 0, mBytes);
        munmap(mOwn, mBytes);
        munmap(mClient, mBytes);
        close(mClientFd);
        close(mFd);
    }
    int fd() const { return mFd; }

  private:
    sensors_event_t* map(int fd) const {
        return static_cast<sensors_event_t*>(
            mmap(nullptr, mBytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
    }
    void run() {
        const size_t slots = mBytes / sizeof(sensors_event_t);
        int32_t seen = 0;
        size_t written = 0;
        while (!mStop) {
            sensors_event_t* source = mOwn + static_cast<size_t>(seen) % slots;
            if (__atomic_load_n(&source->reserved0, __ATOMIC_ACQUIRE) != seen + 1) {
                usleep(500);
                continue;
            }
            ++seen;
            if (fault("direct-missing") && seen % 50 == 10) continue;
            sensors_event_t record = *source;
            if (fault("direct-old")) record.timestamp -= 10000000000;
            if (fault("direct-zeroed") && seen == 10) std::memset(&record, 0, sizeof(record));
            auto counter = static_cast<int32_t>(written + 1);
            if (fault("direct-skips") && seen >= 10) ++counter;
            if (fault("direct-repeats") && seen >= 10) --counter;
            if (fault("direct-zeroed") && seen == 10) counter = 0;
            record.reserved0 = 0;
            sensors_event_t* target = mClient + written++ % slots;
            *target = record;
            __atomic_store_n(&target->reserved0, counter, __ATOMIC_RELEASE);
        }
    }

    const size_t mBytes;
    const int mClientFd;
    int mFd;
    sensors_event_t* mOwn;
    sensors_event_t* mClient;
    std::atomic<bool> mStop{false};
    std::thread mThread;
};

class FaultySubHal : public ISensorsSubHal {
  public:
    using ISensorsSubHal::initialize;

    FaultySubHal() : mLibrary(dlopen(SENSORHUB_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
        if (mLibrary == nullptr) std::abort();
        using EntryPoint = ISensorsSubHal*(uint32_t*);
        mReal = reinterpret_cast<EntryPoint*>(dlsym(mLibrary, "sensorsHalGetSubHal"))(&mVersion);
    }
    ~FaultySubHal() override {
        // This code goes before the real library's threads do.
        mReal->initialize(sp<IHalProxyCallback>());
        while (mCallback->getStrongCount() > 1) {
            usleep(1000);
        }
        dlclose(mLibrary);
    }
    uint32_t version() const { return mVersion; }

    Return<void> getSensorsList(getSensorsList_cb callback) override {
        std::vector<SensorInfo> sensors;
        mReal->getSensorsList([&](const auto& list) { sensors = list; });
        for (SensorInfo& sensor : sensors) {
            mListed[sensor.sensorHandle] = sensor;
            if (sensor.sensorHandle == 22 && fault("listed-wakeup")) sensor.flags ^= 1;
            if (sensor.sensorHandle != 1) continue;
            if (fault("listed-type")) sensor.type = SensorType::GYROSCOPE;
            if (fault("listed-fifo")) ++sensor.fifoMaxEventCount;
            if (fault("listed-power")) sensor.power = -1;
        }
        if (fault("listed-twice")) sensors.push_back(sensors.back());
        callback(sensors);
        return Void();
    }
    Return<Result> setOperationMode(OperationMode mode) override {
        if (fault("keeps-mode")) return Result::OK;
        return mReal->setOperationMode(mode);
    }
    Return<Result> activate(int32_t handle, bool on) override {
        if (handle == kNobody && fault("unknown-handle")) return Result::OK;
        if (mListed.count(handle) == 0) return mReal->activate(handle, on);
        if (fault("refuses-on") && on) return Result::BAD_VALUE;
        if (fault("on-unsent") && on) return Result::OK;
        keep(handle, on, &mOn);
        if (fault("off-unsent")) {
            keep(handle, !on, &mCallback->hidden);
            if (!on) return Result::OK;
        }
        const Result result = mReal->activate(handle, on);
        if (fault("talks-when-off") && !on) mReal->activate(handle, true);
        if (fault("one-shot-stays") && on && oneShot(handle)) {
            for (int i = 0; i < 2; ++i)
                mCallback->post(handle, mListed[handle].type, now(CLOCK_BOOTTIME));
        }
        return result;
    }
    Return<Result> initialize(const sp<IHalProxyCallback>& callback) override {
        const bool again = mCallback != nullptr;
        mCallback = new Callback(callback);
        const Result result = mReal->initialize(mCallback);
        if (fault("keeps-initialize") && again) {
            for (const int32_t handle : mOn)
                mReal->activate(handle, false);
        }
        return fault("initialize-again") && again ? Result::BAD_VALUE : result;
    }
    Return<Result> batch(int32_t handle, int64_t periodNs, int64_t latencyNs) override {
        if (mListed.count(handle) == 0) return mReal->batch(handle, periodNs, latencyNs);
        if (fault("batch-ignored") && mOn.count(handle) != 0) return Result::OK;
        if (fault("rate-1.5")) periodNs = periodNs * 2 / 3;
        if (fault("noted-rate")) periodNs = periodNs * 100 / 105;
        if (fault("latency-ignored")) latencyNs = 0;
        if (fault("latency-1.3")) latencyNs = latencyNs * 13 / 10;
        if (fault("latency-once") && latencyNs > 0) {
            std::thread([this, handle, periodNs, latencyNs] {
                std::this_thread::sleep_for(std::chrono::nanoseconds(latencyNs + 50'000'000));
                mReal->batch(handle, periodNs, 0);
            }).detach();
        }
        if (fault("keeps-longest")) periodNs = std::min<int64_t>(periodNs, 160000000);
        const Result result = mReal->batch(handle, periodNs, latencyNs);
        if (fault("no-clamp") && result == Result::OK) {
            int64_t config[3] = {latencyNs, periodNs, 0};
            const int fd = open("/dev/batch_io", O_RDONLY | O_CLOEXEC);
            ioctl(fd, 0x8008FC00 | static_cast<uint32_t>(handle), config);
            close(fd);
        }
        return result;
    }
    Return<Result> flush(int32_t handle) override {
        if (fault("flush-one-shot") && oneShot(handle)) return Result::OK;
        if (fault("keeps-flush") && mOn.count(handle) == 0) return Result::BAD_VALUE;
        if (oneShot(handle) || mListed.count(handle) == 0) return mReal->flush(handle);
        if (fault("flush-none")) return Result::OK;
        if (fault("flush-at-once")) return mCallback->post(handle, SensorType::META_DATA, 0);
        if (fault("flush-twice")) mReal->flush(handle);
        return mReal->flush(handle);
    }
    Return<Result> injectSensorData(const Event& event) override {
        if (fault("keeps-injection")) return Result::BAD_VALUE;
        return mReal->injectSensorData(event);
    }
    Return<void> registerDirectChannel(const SharedMemInfo& memory,
                                       registerDirectChannel_cb callback) override {
        if (std::strncmp(planted(), "direct-", 7) != 0) {
            return mReal->registerDirectChannel(memory, callback);
        }
        auto channel = std::make_unique<Channel>(memory);
        native_handle_t* handle = native_handle_create(1, 0);
        handle->data[0] = dup(channel->fd());
        const SharedMemInfo own{memory.type, memory.format, memory.size, hidl_handle(handle)};
        mReal->registerDirectChannel(own, [&](Result result, int32_t number) {
            mChannels[number] = std::move(channel);
            callback(result, number);
        });
        native_handle_delete(handle);
        return Void();
    }
    Return<Result> unregisterDirectChannel(int32_t number) override {
        mChannels.erase(number);
        return mReal->unregisterDirectChannel(number);
    }
    Return<void> configDirectReport(int32_t handle, int32_t channel, RateLevel rate,
                                    configDirectReport_cb callback) override {
        const bool starts = rate != RateLevel::STOP;
        if (fault("direct-rate") && starts) rate = RateLevel::NORMAL;
        mReal->configDirectReport(handle, channel, rate, [&](Result result, int32_t token) {
            if (fault("direct-accepted")) result = Result::OK;
            callback(result, fault("direct-token") ? 0 : token);
        });
        if (fault("keeps-stop") && !starts) mReal->activate(handle, false);
        return Void();
    }
    Return<void> debug(const hidl_handle& fd,
                       const hidl_vec<android::hardware::hidl_string>& options) override {
        return mReal->debug(fd, options);
    }
    const std::string getName() override { return mReal->getName(); }

  private:
    bool oneShot(int32_t handle) const {
        const auto found = mListed.find(handle);
        return found != mListed.end() && found->second.minDelay < 0;
    }

    void* mLibrary;
    uint32_t mVersion = 0;
    ISensorsSubHal* mReal;
    sp<Callback> mCallback;
    std::set<int32_t> mOn;
    std::map<int32_t, SensorInfo> mListed;
    std::map<int32_t, std::unique_ptr<Channel>> mChannels;
};

}  // namespace

ISensorsSubHal* sensorsHalGetSubHal(uint32_t* version) {
    static FaultySubHal subHal;
    *version = subHal.version();
    return &subHal;
}
