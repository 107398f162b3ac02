#include "subhal/SensorsSubHal.h"

#include <cstring>

#include "common/Log.h"
#include "hub/QContextSensor.h"
#include "hub/SensorHubSensor.h"
#include "sensors/SensorHandles.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

SensorsSubHal::SensorsSubHal() {
    ALOGI("create SensorsSubHal");
    // Before the poll thread starts, which looks sensors up here.
    for (const int32_t handle : kDirectReportHandles)
        mSensorToChannel[handle];
    mSensorList = std::make_unique<SensorList>(
        this, [](auto* callback) { return std::make_unique<QContextSensor>(callback); },
        [](auto* callback) { return std::make_unique<SensorHubSensor>(callback); });
    if (mSensorList->size() < 1) return;
    mPollFds = mSensorList->getFds();
    const auto start = [](void* self) -> void* {
        startThread(static_cast<SensorsSubHal*>(self));
        return nullptr;
    };
    // Not std::thread, which throws: a caller that catches would keep half an object.
    const int error = pthread_create(&mPollThread, nullptr, start, this);
    LOG_ALWAYS_FATAL_IF(error != 0, "thread constructor failed: %s", strerror(error));
}

SensorsSubHal::~SensorsSubHal() {
    mStopThread = true;
    if (mPollFds != nullptr) pthread_join(mPollThread, nullptr);
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
    removeAllDirectChannels();
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
