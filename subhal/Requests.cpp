#include <fcntl.h>
#include <inttypes.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "common/Log.h"
#include "sensors/HubPaths.h"
#include "sensors/UniqueFd.h"
#include "subhal/SensorsSubHal.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

// The sensor handle is OR-ed in as the command number. 32 bits: not every C library takes a long.
constexpr uint32_t kBatchRequest = 0x8008FC00;

constexpr int64_t kNsPerUs = 1000;

Result toResult(int status) {
    return status == 0 ? Result::OK : Result::BAD_VALUE;
}

}  // namespace

Return<Result> SensorsSubHal::activate(int32_t sensorHandle, bool enabled) {
    // Events follow the request at once, whatever its way to the hub has to wait for. The row is
    // set even when the handle has no sensor.
    if (hasRow(sensorHandle)) row(sensorHandle).enabled = enabled;
    return toResult(queueActivate(sensorHandle, enabled, Asker::kProxy));
}

void SensorsSubHal::activateForChannels(int32_t handle, bool enable) {
    if (!row(handle).enabled) queueActivate(handle, enable, Asker::kChannels);
}

int SensorsSubHal::queueActivate(int32_t handle, bool enable, Asker asker) {
    SensorBase* sensor = mSensorList->get(handle);
    ALOGI("queueActivate: handle %d enable %d", handle, enable);
    const std::lock_guard<std::mutex> lock(mActivateLock);
    // Another switch may have come between: row and hub follow the one that is here last.
    if (asker == Asker::kChannels && row(handle).enabled) return 0;
    if (asker == Asker::kProxy && hasRow(handle)) row(handle).enabled = enable;
    if (sensor == nullptr) {
        ALOGE("queueActivate: unhandled handle=%d, enable=%d", handle, enable);
        return -EINVAL;
    }
    // The sensor object is switched first, the hub second, in both directions.
    const int result = sensor->enable(handle, enable);
    if (result < 0) return result;

    const UniqueFd file(open(paths::kEnable, O_RDWR | O_CLOEXEC));
    if (!file.ok()) {
        ALOGW("queueActivate: fd open failed(%d)", file.get());
        return -EIO;
    }
    ALOGI("type : %d, enable : %d", handle, enable);
    // The driver expects the terminating NUL as part of the text.
    const std::string text = std::to_string(handle) + (enable ? "1" : "0");
    const ssize_t written = write(file.get(), text.c_str(), text.size() + 1);
    if (written < 0) {
        ALOGE("queueActivate: write failed. ret=%zd, handle =%d, enable =%d", written, handle,
              enable);
        return static_cast<int>(written);
    }
    return result;
}

Return<Result> SensorsSubHal::batch(int32_t sensorHandle, int64_t samplingPeriodNs,
                                    int64_t maxReportLatencyNs) {
    SensorBase* sensor = mSensorList->get(sensorHandle);
    if (sensor == nullptr || !hasRow(sensorHandle)) return Result::BAD_VALUE;

    int64_t periodNs = samplingPeriodNs;
    const int64_t minDelayNs = sensor->getSensorInfo().minDelay * kNsPerUs;
    if (minDelayNs > periodNs) {
        ALOGI("batch: period=%" PRId64 " minDelay=%" PRId64, periodNs, minDelayNs);
        periodNs = minDelayNs;
    }
    row(sensorHandle).setRequest(periodNs, maxReportLatencyNs);
    return toResult(sendBatch(sensorHandle));
}

void SensorsSubHal::SensorState::setRequest(int64_t periodNs, int64_t latencyNs) {
    const std::lock_guard<std::mutex> guard(lock);
    samplingPeriodNs = periodNs;
    maxReportLatencyNs = latencyNs;
    ++changes;
}

int SensorsSubHal::sendBatch(int32_t handle) {
    const SensorState& state = row(handle);
    const auto sendRow = [&] {
        return queueBatch(handle, state.samplingPeriodNs, state.maxReportLatencyNs);
    };
    uint32_t sent = state.changes;
    const int result = sendRow();
    // Each further turn takes another request during the one before, whose own caller gets its
    // result.
    while (state.changes != sent) {
        sent = state.changes;
        sendRow();
    }
    return result;
}

int SensorsSubHal::queueBatch(int32_t handle, int64_t periodNs, int64_t latencyNs) {
    SensorBase* sensor = mSensorList->get(handle);
    ALOGI("queueBatch: handle=%d period=%" PRId64 " timeout=%" PRId64, handle, periodNs, latencyNs);
    if (sensor == nullptr) {
        ALOGE("queueBatch: unhandled handle=%d", handle);
        return -EINVAL;
    }
    batch_config config = {latencyNs, periodNs, 0, 0};
    int result = 0;
    {
        const UniqueFd device(open(paths::kBatch, O_RDONLY | O_CLOEXEC));
        if (!device.ok()) {
            ALOGE("queueBatch: open batch device failed(%d)\n", device.get());
            return -1;
        }
        mergeDirectReportRequest(&config, handle);
        result = ioctl(device.get(), kBatchRequest | static_cast<uint32_t>(handle), &config);
    }
    if (result < 0) {
        ALOGE("queueBatch: batch ret %d %s\n", result, strerror(errno));
        return -EINVAL;
    }
    return sensor->batch(handle, config.delay, config.timeout);
}

Return<Result> SensorsSubHal::flush(int32_t sensorHandle) {
    SensorBase* sensor = mSensorList->get(sensorHandle);
    ALOGI("flush: handle=%d", sensorHandle);
    if (sensor == nullptr) {
        ALOGE("flush: unhandled handle=%d", sensorHandle);
        return Result::BAD_VALUE;
    }
    if (sensor->isOneShotSensor()) return Result::BAD_VALUE;
    {
        const UniqueFd file(open(paths::kFlush, O_WRONLY | O_CLOEXEC));
        if (!file.ok()) return Result::BAD_VALUE;
        const std::string text = std::to_string(sensorHandle);
        if (write(file.get(), text.c_str(), text.size() + 1) < 0) {
            ALOGI("flush write failed");
            return Result::BAD_VALUE;
        }
    }
    return toResult(sensor->flush(sensorHandle));
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
