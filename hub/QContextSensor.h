#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "hub/SensorHubDataWriter.h"
#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * The way to the hub's context algorithms. An event of this sensor is one piece of a context
 * message, which the sub-HAL carries without interpretation: the message's size, the indexes of the
 * first and last byte carried, and up to 56 bytes. A record without a timestamp says that the hub
 * was reset. Byte messages to the hub travel the other way, inside injected events.
 */
class QContextSensor : public SensorBase {
  public:
    /** @param callback where events go; borrowed */
    explicit QContextSensor(ISensorsEventCallback* callback);

    /**
     * Announces the hub's context facilities before the device is enabled: three
     * additional-information events in one vector. Without the list file it does nothing and
     * returns 0, so that the sub-HAL switches the hub's side all the same. Callers switch a sensor
     * from one thread at a time; the callback runs on the caller's thread, under the lock that the
     * caller switches sensors under.
     */
    int enable(int handle, bool on) override;

    using SensorBase::batch;
    /** A separate overload, not the request of the sensor interface. Does nothing; 0. */
    virtual int batch(int handle, int flags, int64_t samplingPeriodNs, int64_t maxReportLatencyNs);

    /** Posts the flush-complete event at once; the hub sends no marker for this sensor. */
    int flush(int handle) override;

    /** Feeds one event of a byte message to the writer. 0 whatever became of it. */
    int injectSensorData(const Event& event) override;

    void readEvents() override;

  private:
    /** As it comes from the IIO device, and in part as clients get it. */
    struct __attribute__((packed)) Record {
        struct __attribute__((packed)) Message {
            int32_t size;    // bytes of the whole message
            uint16_t begin;  // index of the first byte carried
            uint16_t end;    // index of the last byte carried
            uint8_t data[56];
        } message;
        int64_t timestamp;  // ns; 0: the hub was reset

        static bool isFlushMarker() { return false; }
    };
    static_assert(sizeof(Record) == 72 && sizeof(Record::Message) == 64);

    static void logMessage(const Record& record);
    void postList(const int32_t (&words)[4]);
    const Event& stampListEvent(V1_0::AdditionalInfoType kind);

    // Keeps the last list. Touched by enable() alone: guarded by what the caller switches sensors
    // under, mActivateLock.
    Event mListEvent = {};
    Record::Message mLastMessage = {};  // poll thread only
    std::mutex mWriterLock;
    std::unique_ptr<SensorHubDataWriter> mHubDataWriter;  // guarded by mWriterLock
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
