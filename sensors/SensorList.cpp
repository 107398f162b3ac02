#include "sensors/SensorList.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "common/Log.h"
#include "sensors/DriverFactory.h"
#include "sensors/HubPaths.h"
#include "sensors/IioNames.h"
#include "sensors/SensorHandles.h"
#include "sensors/UniqueFd.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr int kFirstSpecHandle = 1;
constexpr int kLastSpecHandle = 71;

/** One described sensor, as the hub's driver writes it: no header, no alignment. */
struct __attribute__((packed)) SpecRecord {
    uint8_t handle;  // 0 marks an empty slot
    char name[15];   // the chip
    uint8_t vendor;  // index into kVendors
    int32_t version;
    uint8_t wakeUp;
    int32_t minDelay;  // µs
    int32_t maxDelay;  // µs
    uint16_t fifoMaxEventCount;
    uint16_t fifoReservedEventCount;
    float resolution;
    float maxRange;
    float power;  // mA
};
static_assert(sizeof(SpecRecord) == 46);

// The driver hands out at most one read of this size.
constexpr size_t kSpecSize = 4096;

constexpr const char* kVendors[] = {
    "Tavrine Inc.",    "Asahi Kasei Microdevices",
    "Yamaha",          "STM",
    "Memsic",          "AMS, Inc.",
    "Capella",         "Sharp",
    "Bosch Sensortec", "TDK Invensense",
    "Sitronix",        "Haechitech",
};
static_assert(std::size(kVendors) == 12);

using DriverFactory = std::unique_ptr<SensorBase> (*)(const SensorInfo& info,
                                                      ISensorsEventCallback* callback);

struct CatalogueEntry {
    int32_t handle;
    DriverFactory make;
};

}  // namespace

// Handle to driver, by rising handle. The numbers are the hub's own. The lines also declare the
// classes, so the table must not be in the unnamed namespace.
constexpr CatalogueEntry kCatalogue[] = {
    {1, Driver<class AccSensor>::make},
    {2, Driver<class MagneticSensor>::make},
    {4, Driver<class GyroSensor>::make},
    {5, Driver<class LightSensor>::make},
    {6, Driver<class PressureSensor>::make},
    {8, Driver<class ProximitySensor>::make},
    {11, Driver<class RotationVector>::make},
    {14, Driver<class UncalMagneticSensor>::make},
    {15, Driver<class GameRotationVector>::make},
    {16, Driver<class UncalGyroSensor>::make},
    {17, Driver<class SigMotionSensor>::make},
    {18, Driver<class StepDetectorSensor>::make},
    {19, Driver<class StepCounterSensor>::make},
    {22, Driver<class TiltDetector>::make},
    {25, Driver<class PickupGesture>::make},
    {27, Driver<class DeviceOrientation>::make},
    {29, Driver<class ProximityRawSensor>::make},
    {31, Driver<class IntGyroSensor>::make},
    {34, Driver<class LightCCT_Sensor>::make},
    {35, Driver<class CallGesture>::make},
    {36, Driver<class WakeUpMotion>::make},
    {37, Driver<class AutoBrightnessSensor>::make},
    {38, Driver<class VdisGyroSensor>::make},
    {39, Driver<class PocketModeLiteSensor>::make},
    {41, Driver<class ProTosMotion>::make},
    {42, Driver<class FlipCoverDetector>::make},
    {43, Driver<class UncalAccSensor>::make},
    {45, Driver<class PocketModeSensor>::make},
    {46, Driver<class PocketPosModeSensor>::make},
    {47, Driver<class SequentialStep>::make},
    {48, Driver<class Light_IR_Sensor>::make},
    {49, Driver<class AoisSensor>::make},
    {50, Driver<class StillwaveGyroSensor>::make},
    {52, Driver<class DeviceOrientation>::make},
    {53, Driver<class HubDebuggerSensor>::make},
    {54, Driver<class SarBackoffMotion>::make},
    {55, Driver<class LightSeamless_Sensor>::make},
    {56, Driver<class LedCoverEventSensor>::make},
    {57, Driver<class DropClassifier>::make},
    {58, Driver<class AccSubSensor>::make},
    {59, Driver<class UncalAccSubSensor>::make},
    {60, Driver<class GyroSubSensor>::make},
    {61, Driver<class UncalGyroSubSensor>::make},
    {62, Driver<class FoldingAngle>::make},
    {63, Driver<class LidAngleFusion>::make},
    {64, Driver<class HingeAngle>::make},
    {65, Driver<class FoldingStateLpm>::make},
    {68, Driver<class AngleSensorStatus>::make},
    {69, Driver<class DeviceCommonInfo>::make},
    {70, Driver<class SarFolding>::make},
    {71, Driver<class BackTap>::make},
};

namespace {

constexpr bool isStrictlySorted() {
    for (size_t i = 1; i < std::size(kCatalogue); ++i) {
        if (kCatalogue[i - 1].handle >= kCatalogue[i].handle) return false;
    }
    return kCatalogue[0].handle >= kFirstSpecHandle &&
           kCatalogue[std::size(kCatalogue) - 1].handle <= kLastSpecHandle;
}
static_assert(isStrictlySorted(), "handles must rise, once each, up to kLastSpecHandle");

DriverFactory findDriver(int handle) {
    const auto* entry =
        std::lower_bound(std::begin(kCatalogue), std::end(kCatalogue), handle,
                         [](const CatalogueEntry& left, int right) { return left.handle < right; });
    return entry != std::end(kCatalogue) && entry->handle == handle ? entry->make : nullptr;
}

SensorInfo toSensorInfo(const SpecRecord& record) {
    SensorInfo info = {};
    info.sensorHandle = record.handle;
    // The hub need not terminate a name that fills its field.
    info.name = std::string(record.name, strnlen(record.name, sizeof(record.name)));
    if (record.vendor < std::size(kVendors)) info.vendor = kVendors[record.vendor];
    info.version = record.version;
    info.flags = record.wakeUp != 0 ? kWakeUp : 0;
    info.minDelay = record.minDelay;
    info.maxDelay = record.maxDelay;
    info.fifoMaxEventCount = record.fifoMaxEventCount;
    info.fifoReservedEventCount = record.fifoReservedEventCount;
    info.resolution = record.resolution;
    info.maxRange = record.maxRange;
    info.power = record.power;
    return info;
}

void logRecord(const SensorInfo& info, uint8_t wakeUp) {
    ALOGI("handle %d", info.sensorHandle);
    ALOGI("name %s", info.name.c_str());
    ALOGI("vendor %s", info.vendor.c_str());
    ALOGI("version %d", info.version);
    ALOGI("maxRage %f",  // spelt so on purpose
          static_cast<double>(info.maxRange));
    ALOGI("resolution %f", static_cast<double>(info.resolution));
    ALOGI("Delay min %d Max %d", info.minDelay, info.maxDelay);
    ALOGI("fifo %u %u", info.fifoReservedEventCount, info.fifoMaxEventCount);
    ALOGI("wakeup %d flags %u", wakeUp, info.flags);
}

/** Bytes read from the specification file, or negative with the reason logged. */
ssize_t readSpec(uint8_t* buffer) {
    const UniqueFd file(open(paths::kSensorSpec, O_RDONLY | O_CLOEXEC));
    if (!file.ok()) {
        ALOGE("makeSensorList: open failed. %s", strerror(errno));
        return -1;
    }
    const ssize_t count = read(file.get(), buffer, kSpecSize);
    if (count < 0) ALOGE("makeSensorList: read failed. ret=%zd", count);
    return count;
}

}  // namespace

SensorList::SensorList(ISensorsEventCallback* callback, const HubSensorFactory& makeContext,
                       const HubSensorFactory& makeHousekeeping) {
    makeSensorList(callback, makeContext, makeHousekeeping);
}

SensorList::~SensorList() = default;

void SensorList::makeSensorList(ISensorsEventCallback* callback,
                                const HubSensorFactory& makeContext,
                                const HubSensorFactory& makeHousekeeping) {
    uint8_t buffer[kSpecSize] = {};
    const ssize_t size = readSpec(buffer);
    if (size < 0) return;
    const size_t records = static_cast<size_t>(size) / sizeof(SpecRecord);
    ALOGI("SensorList size %zd num %zu unitsize %zu", size, records, sizeof(SpecRecord));

    const IioNames names;  // each sensor looks for a device of its own
    for (size_t i = 0; i < records; ++i) {
        SpecRecord record;
        memcpy(&record, buffer + i * sizeof(record), sizeof(record));
        if (record.handle == 0) continue;
        const SensorInfo info = toSensorInfo(record);
        logRecord(info, record.wakeUp);
        pushSensorList(info, callback);
    }
    pushSensorList(kQContextHandle, makeContext, callback);
    pushSensorList(kSensorHubHandle, makeHousekeeping, callback);
    makePollFds();
}

void SensorList::makePollFds() {
    mPollFds = std::make_unique<pollfd[]>(mSensors.size());
    size_t slot = 0;
    for (size_t i = 0; i < mSensors.size(); ++i) {
        SensorBase& sensor = *mSensors[i];
        const bool shown = sensor.isShownSensorList();
        ALOGI("index %zu, ishown %d", i, shown);
        if (shown) mSensorInfoList.push_back(sensor.getSensorInfo());
        if (sensor.getFd() >= 1) mPollFds[slot++] = {sensor.getFd(), POLLIN, 0};
    }
}

void SensorList::pushSensorList(const SensorInfo& info, ISensorsEventCallback* callback) {
    const int handle = info.sensorHandle;
    if (mHandleToIndex.count(handle) != 0) return;
    const DriverFactory make = findDriver(handle);
    if (make == nullptr) {
        ALOGE("pushSensorList invalid handle %d", handle);
        return;
    }
    addSensor(make(info, callback), handle, info.name);
}

void SensorList::pushSensorList(int handle, const HubSensorFactory& make,
                                ISensorsEventCallback* callback) {
    if (make == nullptr) return;
    std::unique_ptr<SensorBase> sensor = make(callback);
    const std::string name = sensor->getSensorInfo().name;
    addSensor(std::move(sensor), handle, name);
}

void SensorList::addSensor(std::unique_ptr<SensorBase> sensor, int handle,
                           const std::string& name) {
    // Descriptor 0 counts as a failure: only a process without a standard input gets one.
    if (sensor->getFd() < 1) {
        ALOGI("%s fd error", name.c_str());
        return;
    }
    const int index = size();
    mSensors.push_back(std::move(sensor));
    ALOGI("index %d, %s", index, name.c_str());
    mHandleToIndex.emplace(handle, index);
}

std::vector<SensorInfo> SensorList::getSensorInfoList() const {
    static constexpr char kSeparator[] = "===============================";
    ALOGI("getSensorInfoList");
    for (const SensorInfo& info : mSensorInfoList) {
        ALOGI("%s", kSeparator);
        ALOGI("name = %s", info.name.c_str());
        ALOGI("handle = %d", info.sensorHandle);
        ALOGI("type = %d", static_cast<int>(info.type));
        ALOGI("%s", kSeparator);
    }
    return mSensorInfoList;
}

SensorBase* SensorList::get(int handle) const {
    const auto entry = mHandleToIndex.find(handle);
    return entry == mHandleToIndex.end() ? nullptr : at(entry->second);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
