#include "sensors/SensorList.h"

#include <fcntl.h>
#include <log/log.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "hub/QContextSensor.h"
#include "hub/SensorHubSensor.h"
#include "sensors/HubPaths.h"
#include "sensors/SensorHandles.h"
#include "sensors/UniqueFd.h"
#include "sensors/foldable/AngleSensorStatus.h"
#include "sensors/foldable/DeviceCommonInfo.h"
#include "sensors/foldable/FoldingAngle.h"
#include "sensors/foldable/FoldingStateLpm.h"
#include "sensors/foldable/HingeAngle.h"
#include "sensors/foldable/LidAngleFusion.h"
#include "sensors/foldable/SarFolding.h"
#include "sensors/light/AutoBrightnessSensor.h"
#include "sensors/light/LightCCT_Sensor.h"
#include "sensors/light/LightSeamless_Sensor.h"
#include "sensors/light/LightSensor.h"
#include "sensors/light/Light_IR_Sensor.h"
#include "sensors/motion/BackTap.h"
#include "sensors/motion/CallGesture.h"
#include "sensors/motion/DropClassifier.h"
#include "sensors/motion/FlipCoverDetector.h"
#include "sensors/motion/HubDebuggerSensor.h"
#include "sensors/motion/LedCoverEventSensor.h"
#include "sensors/motion/PickupGesture.h"
#include "sensors/motion/PocketModeLiteSensor.h"
#include "sensors/motion/PocketModeSensor.h"
#include "sensors/motion/PocketPosModeSensor.h"
#include "sensors/motion/ProTosMotion.h"
#include "sensors/motion/ProximityRawSensor.h"
#include "sensors/motion/SarBackoffMotion.h"
#include "sensors/motion/SequentialStep.h"
#include "sensors/motion/SigMotionSensor.h"
#include "sensors/motion/StepCounterSensor.h"
#include "sensors/motion/StepDetectorSensor.h"
#include "sensors/motion/TiltDetector.h"
#include "sensors/motion/WakeUpMotion.h"
#include "sensors/orientation/AoisSensor.h"
#include "sensors/orientation/DeviceOrientation.h"
#include "sensors/orientation/GameRotationVector.h"
#include "sensors/orientation/IntGyroSensor.h"
#include "sensors/orientation/RotationVector.h"
#include "sensors/orientation/StillwaveGyroSensor.h"
#include "sensors/orientation/VdisGyroSensor.h"
#include "sensors/physical/AccSensor.h"
#include "sensors/physical/AccSubSensor.h"
#include "sensors/physical/GyroSensor.h"
#include "sensors/physical/GyroSubSensor.h"
#include "sensors/physical/MagneticSensor.h"
#include "sensors/physical/PressureSensor.h"
#include "sensors/physical/ProximitySensor.h"
#include "sensors/physical/UncalAccSensor.h"
#include "sensors/physical/UncalAccSubSensor.h"
#include "sensors/physical/UncalGyroSensor.h"
#include "sensors/physical/UncalGyroSubSensor.h"
#include "sensors/physical/UncalMagneticSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr int kMinHandle = 1;
constexpr int kMaxHandle = 71;

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

using Maker = std::unique_ptr<SensorBase> (*)(SensorInfo info, ISensorsEventCallback* callback);

template <typename Driver>
std::unique_ptr<SensorBase> make(SensorInfo info, ISensorsEventCallback* callback) {
    return std::make_unique<Driver>(info, callback);
}

struct CatalogueEntry {
    int32_t handle;
    Maker maker;
};

// Handle to driver, by rising handle. The numbers are the hub's own.
constexpr CatalogueEntry kCatalogue[] = {
    {1, make<AccSensor>},
    {2, make<MagneticSensor>},
    {4, make<GyroSensor>},
    {5, make<LightSensor>},
    {6, make<PressureSensor>},
    {8, make<ProximitySensor>},
    {11, make<RotationVector>},
    {14, make<UncalMagneticSensor>},
    {15, make<GameRotationVector>},
    {16, make<UncalGyroSensor>},
    {17, make<SigMotionSensor>},
    {18, make<StepDetectorSensor>},
    {19, make<StepCounterSensor>},
    {22, make<TiltDetector>},
    {25, make<PickupGesture>},
    {27, make<DeviceOrientation>},
    {29, make<ProximityRawSensor>},
    {31, make<IntGyroSensor>},
    {34, make<LightCCT_Sensor>},
    {35, make<CallGesture>},
    {36, make<WakeUpMotion>},
    {37, make<AutoBrightnessSensor>},
    {38, make<VdisGyroSensor>},
    {39, make<PocketModeLiteSensor>},
    {41, make<ProTosMotion>},
    {42, make<FlipCoverDetector>},
    {43, make<UncalAccSensor>},
    {45, make<PocketModeSensor>},
    {46, make<PocketPosModeSensor>},
    {47, make<SequentialStep>},
    {48, make<Light_IR_Sensor>},
    {49, make<AoisSensor>},
    {50, make<StillwaveGyroSensor>},
    {52, make<DeviceOrientation>},
    {53, make<HubDebuggerSensor>},
    {54, make<SarBackoffMotion>},
    {55, make<LightSeamless_Sensor>},
    {56, make<LedCoverEventSensor>},
    {57, make<DropClassifier>},
    {58, make<AccSubSensor>},
    {59, make<UncalAccSubSensor>},
    {60, make<GyroSubSensor>},
    {61, make<UncalGyroSubSensor>},
    {62, make<FoldingAngle>},
    {63, make<LidAngleFusion>},
    {64, make<HingeAngle>},
    {65, make<FoldingStateLpm>},
    {68, make<AngleSensorStatus>},
    {69, make<DeviceCommonInfo>},
    {70, make<SarFolding>},
    {71, make<BackTap>},
};

constexpr bool isStrictlySorted() {
    for (size_t i = 1; i < std::size(kCatalogue); ++i) {
        if (kCatalogue[i - 1].handle >= kCatalogue[i].handle) return false;
    }
    return kCatalogue[0].handle >= kMinHandle &&
           kCatalogue[std::size(kCatalogue) - 1].handle <= kMaxHandle;
}
static_assert(isStrictlySorted(), "handles must rise, once each, within the hub's range");

Maker findMaker(int handle) {
    const auto* entry =
        std::lower_bound(std::begin(kCatalogue), std::end(kCatalogue), handle,
                         [](const CatalogueEntry& left, int right) { return left.handle < right; });
    return entry != std::end(kCatalogue) && entry->handle == handle ? entry->maker : nullptr;
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
    ALOGI("maxRage %f", static_cast<double>(info.maxRange));
    ALOGI("resolution %f", static_cast<double>(info.resolution));
    ALOGI("Delay min %d Max %d", info.minDelay, info.maxDelay);
    ALOGI("fifo %u %u", info.fifoReservedEventCount, info.fifoMaxEventCount);
    ALOGI("wakeup %d flags %u", wakeUp, info.flags);
}

/** Bytes read from the specification file, or negative with the reason logged. */
ssize_t readSpec(uint8_t* buffer) {
    const UniqueFd file(open(paths::kSensorSpec, O_RDONLY | O_CLOEXEC));
    if (!file.ok()) {
        ALOGE("%s: open failed. %s", "makeSensorList", strerror(errno));
        return -1;
    }
    const ssize_t count = read(file.get(), buffer, kSpecSize);
    if (count < 0) ALOGE("%s: read failed. ret=%zd", "makeSensorList", count);
    return count;
}

}  // namespace

SensorList::SensorList(ISensorsEventCallback* callback) {
    makeSensorList(callback);
}

SensorList::~SensorList() = default;

void SensorList::makeSensorList(ISensorsEventCallback* callback) {
    uint8_t buffer[kSpecSize] = {};
    const ssize_t size = readSpec(buffer);
    if (size < 0) return;
    const size_t records = static_cast<size_t>(size) / sizeof(SpecRecord);
    ALOGI("SensorList size %zd num %zu unitsize %zu", size, records, sizeof(SpecRecord));

    int count = 0;
    for (size_t i = 0; i < records; ++i) {
        SpecRecord record;
        memcpy(&record, buffer + i * sizeof(record), sizeof(record));
        if (record.handle == 0) continue;
        const SensorInfo info = toSensorInfo(record);
        logRecord(info, record.wakeUp);
        if (pushSensorList(info, count, callback)) ++count;
    }
    if (pushSensorList(kQContextHandle, count, callback)) ++count;
    pushSensorList(kSensorHubHandle, count, callback);
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

bool SensorList::pushSensorList(const SensorInfo& info, int index,
                                ISensorsEventCallback* callback) {
    const int handle = info.sensorHandle;
    if (mHandleToIndex.count(handle) != 0) return false;
    const Maker maker = findMaker(handle);
    if (maker == nullptr) {
        ALOGE("%s invalid handle %d", "pushSensorList", handle);
        return false;
    }
    return addSensor(maker(info, callback), handle, info.name.c_str(), index);
}

bool SensorList::pushSensorList(int handle, int index, ISensorsEventCallback* callback) {
    std::unique_ptr<SensorBase> sensor;
    if (handle == kQContextHandle) {
        sensor = std::make_unique<QContextSensor>(callback);
    } else if (handle == kSensorHubHandle) {
        sensor = std::make_unique<SensorHubSensor>(callback);
    } else {
        ALOGE("%s invalid handle %d", "pushSensorList", handle);
        return false;
    }
    const std::string name = sensor->getSensorInfo().name;
    return addSensor(std::move(sensor), handle, name.c_str(), index);
}

bool SensorList::addSensor(std::unique_ptr<SensorBase> sensor, int handle, const char* name,
                           int index) {
    // Descriptor 0 counts as a failure: only a process without a standard input gets one.
    if (sensor->getFd() < 1) {
        ALOGI("%s fd error", name);
        return false;
    }
    mSensors.push_back(std::move(sensor));
    ALOGI("index %d, %s", index, name);
    mHandleToIndex.emplace(handle, index);
    return true;
}

std::vector<SensorInfo> SensorList::getSensorInfoList() const {
    static constexpr char kSeparator[] = "===============================";
    ALOGI("%s", "getSensorInfoList");
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
