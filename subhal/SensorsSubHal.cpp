#include "subhal/SensorsSubHal.h"

#include <log/log.h>

#include "hub/QContextSensor.h"
#include "hub/SensorHubSensor.h"
#include "sensors/SensorHandles.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr float kMaxLoadFactor = 1.0f;

}  // namespace

SensorsSubHal::SensorsSubHal() {
    ALOGI("create SensorsSubHal");
    mSensorToChannel.max_load_factor(kMaxLoadFactor);
    mDirectChannel.max_load_factor(kMaxLoadFactor);
    // Before the poll thread starts, which looks sensors up here.
    for (const int32_t handle : {kVdisGyroHandle, kStillwaveGyroHandle}) {
        mSensorToChannel[handle].channels.max_load_factor(kMaxLoadFactor);
    }
    mSensorList = std::make_unique<SensorList>(
        this, [](auto* callback) { return std::make_unique<QContextSensor>(callback); },
        [this](auto* callback) {
            auto sensor = std::make_unique<SensorHubSensor>(callback);
            mSensorHub = sensor.get();
            return sensor;
        });
    // The list drops a sensor whose device does not work.
    if (mSensorList->get(kSensorHubHandle) == nullptr) mSensorHub = nullptr;
    if (mSensorList->size() >= 1) {
        mPollFds = mSensorList->getFds();
        mPollThread = std::thread(startThread, this);
    }
}

SensorsSubHal::~SensorsSubHal() {
    mStopThread = true;
    if (mPollThread.joinable()) mPollThread.join();
    mSensorList.reset();
    ALOGI("destroy SensorsSubHal");
}

Return<void> SensorsSubHal::debug(const hidl_handle&, const hidl_vec<hidl_string>&) {
    return Void();
}

const std::string SensorsSubHal::getName() {
    return "sensorhub";
}

Return<void> SensorsSubHal::getSensorsList(getSensorsList_cb callback) {
    callback(hidl_vec<SensorInfo>(mSensorList->getSensorInfoList()));
    return Void();
}

Return<Result> SensorsSubHal::setOperationMode(OperationMode) {
    return Result::BAD_VALUE;
}

Return<Result> SensorsSubHal::initialize(const sp<IHalProxyCallback>& halProxyCallback) {
    ALOGI("SensorsSubHal::initialize");
    mCallBack.set(halProxyCallback);
    setOperationMode(OperationMode::NORMAL);
    // Error level on purpose: a proxy restart has to stand out in a filtered log.
    ALOGE("sensorhub initialize");

    std::vector<int32_t> channelHandles;
    {
        const std::lock_guard<std::mutex> lock(mDirectChannelLock);
        for (const auto& channel : mDirectChannel)
            channelHandles.push_back(channel.first);
    }
    for (const int32_t channelHandle : channelHandles) {
        ALOGE("initialize: remove direct-channel handle=%d", channelHandle);
        removeDirectChannel(channelHandle);
    }
    const std::lock_guard<std::mutex> lock(mDirectChannelLock);
    // What another thread has configured meanwhile goes, too.
    for (auto& report : mSensorToChannel)
        report.second.clear();
    mDirectChannel.clear();
    return Result::OK;
}

Return<Result> SensorsSubHal::injectSensorData(const Event& event) {
    SensorBase* sensor = mSensorList->get(event.sensorHandle);
    if (sensor == nullptr) {
        ALOGE("injectSensorData: unhandled handle=%d", event.sensorHandle);
        return Result::BAD_VALUE;
    }
    return sensor->injectSensorData(event) < 0 ? Result::BAD_VALUE : Result::OK;
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
