#pragma once

#include <android/hardware/sensors/1.0/types.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "sensors/ISensorsEventCallback.h"
#include "sensors/UniqueFd.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

using V1_0::SensorInfo;

/** Device-private sensor types are this base plus the hub's own number. */
inline constexpr int32_t kPrivateType = 0x10000;

/** Reporting modes as the drivers add them to a sensor's flags. */
inline constexpr uint32_t kOnChange = 2;
inline constexpr uint32_t kOneShot = 4;
inline constexpr uint32_t kSpecial = 6;
inline constexpr uint32_t kWakeUp = 1;

/** Status word of three-axis payloads: accuracy high. */
inline constexpr V1_0::SensorStatus kAccuracyHigh = V1_0::SensorStatus::ACCURACY_HIGH;

/**
 * One hub sensor: its IIO device, its description and the two events it posts.
 *
 * Built and destroyed with the catalogue; readEvents, getDataAvailable and getHandle run on the
 * poll thread, the requests on the proxy's threads. Takes no locks. Methods that answer an int give
 * 0 or a negative errno.
 */
class SensorBase {
  public:
    /**
     * Finds, sizes, enables and opens the IIO device. A hub sensor may appear as two twins: the
     * device with the plain name, and one with the suffix "_wu" or "_nwu".
     *
     * @param iioName device name without suffix, or null for an object without a device
     * @param tag class name, prefix of its log lines; not copied
     * @param displayName what the sensor is, appended to the chip's name
     * @param info the catalogue's record; its wake-up flag selects the twin
     * @param callback where events go; borrowed
     * @param wakeUpIsDefault true when the plain device name is the wake-up twin
     */
    SensorBase(const char* iioName, const char* tag, const char* displayName, SensorInfo info,
               ISensorsEventCallback* callback, bool wakeUpIsDefault);
    SensorBase(const SensorBase&) = delete;
    SensorBase& operator=(const SensorBase&) = delete;

    virtual ~SensorBase();

    /** The record device's descriptor, -1 when there is none. Owned by this object. */
    virtual int getFd() const;

    /**
     * Prepares the device for a switch; the hub itself is told by the sub-HAL. Retries a failed
     * buffer enable once. -EIO without a device.
     */
    virtual int enable(int handle, bool on);

    /** Takes note of a new sampling period and maximum report latency, both in ns. */
    virtual int batch(int handle, int64_t samplingPeriodNs, int64_t maxReportLatencyNs);

    /** batch() with a latency of 0. */
    virtual int setDelay(int handle, int64_t periodNs);

    /** Called after the hub was asked to flush; the completion arrives as a record. */
    virtual int flush(int handle);

    /** Sends a client's injected event to the hub as an injection packet. */
    virtual int injectSensorData(const Event& event);

    /** Reads one record and posts what it says. */
    virtual void readEvents() = 0;

    /** Whether the framework gets to see this sensor. */
    virtual bool isShownSensorList();

    int32_t getHandle() const { return mHandle; }
    const SensorInfo& getSensorInfo() const { return mSensorInfo; }
    bool isWakeUpSensor() const;
    /** Tests bits 1 and 2 alone, not the whole reporting-mode mask. */
    bool isOneShotSensor() const;
    bool isDirectReportSensor() const;

    /** Time since boot in ns, sleep included. */
    static int64_t getTimestamp();

    /**
     * How many records to read now, 0 or more.
     * @param maxReportLatencyNs the latency last asked for; 0 means not batching
     */
    int getDataAvailable(uint64_t maxReportLatencyNs);

    /** Number of the IIO device called `name`, or -ENODEV. */
    static int findTypeByName(const char* name, const char* prefix);

    /** Opens the IIO event descriptor of the device called `name`; -1 on failure. Caller closes. */
    int openIio(const char* name);

    /** Reads a decimal number; `value` stays as it was on failure. */
    static int readSysfsInt(const char* path, int* value);

    /** Writes a decimal number and a newline; a file that cannot be opened counts as success. */
    static int writeSysfsInt(const char* path, int value);

    /** Leading decimal digits of a text as a number; 0 when there are none. Wraps on overflow. */
    static unsigned atou(const char* text);

  protected:
    /** Writes one packet to the injection device, retrying as long as signals interrupt it. */
    int writeInjection(const uint8_t* buffer, int count);

    /** writeInjection() of a packed packet struct. */
    template <typename Packet>
    int writePacket(const Packet& packet) {
        return writeInjection(reinterpret_cast<const uint8_t*>(&packet), sizeof(packet));
    }

    // Steps of a driver's constructor.

    /** Sets the type of the sensor and of its data events. */
    void setType(int32_t type);
    void setStringType(const char* stringType) { mSensorInfo.typeAsString = stringType; }
    void requirePermission();
    void addFlags(uint32_t flags) { mSensorInfo.flags |= flags; }

    // Steps of a driver's readEvents.

    /** Zeroes the record and reads it; bytes read, or -1 with errno. Logs nothing. */
    template <typename Record>
    ssize_t readRecordQuietly(Record* record) {
        return readZeroed(record, sizeof(Record));
    }

    /** readRecordQuietly() that logs a failure under the class's tag. */
    template <typename Record>
    ssize_t readRecord(Record* record) {
        const ssize_t count = readZeroed(record, sizeof(Record));
        if (count < 0) logReadFailure();
        return count;
    }

    void setTimestamp(uint64_t timestamp) {
        mPendingEvent.timestamp = static_cast<int64_t>(timestamp);
    }

    /** Posts a copy of the prepared flush-complete event. */
    void postMetaEvent() { postEvent(mMetaEvent); }
    /** Posts a copy of the data event. */
    void postPendingEvent() { postEvent(mPendingEvent); }

    /**
     * One pass of the frame that most drivers share: reads a record, takes over its timestamp, and
     * posts the flush-complete event for the hub's flush marker or else the data event.
     *
     * @param isFlushMarker (record) tells the marker
     * @param logMeta () prints the class's flush line
     * @param convert (record) fills the data event's payload
     */
    template <typename Record, typename IsFlushMarker, typename LogMeta, typename Convert>
    void readFrame(IsFlushMarker isFlushMarker, LogMeta logMeta, Convert convert) {
        Record record;
        if (readRecord(&record) < 0) return;
        postRecord(record, isFlushMarker, logMeta, convert);
    }

    /** readFrame() for a record that is already read. */
    template <typename Record, typename IsFlushMarker, typename LogMeta, typename Convert>
    void postRecord(const Record& record, IsFlushMarker isFlushMarker, LogMeta logMeta,
                    Convert convert) {
        setTimestamp(record.timestamp);
        if (isFlushMarker(record)) {
            logMeta();
            postMetaEvent();
            return;
        }
        convert(record);
        postPendingEvent();
    }

    /**
     * Reads a record that comes in two forms and hands it to `post`: `LongForm` when at least
     * `longFrom` bytes came, else `ShortForm`.
     */
    template <typename LongForm, typename ShortForm, typename Post>
    void readEitherForm(ssize_t longFrom, Post post) {
        LongForm record;
        const ssize_t count = readRecord(&record);
        if (count < 0) return;
        if (count >= longFrom) {
            post(record);
            return;
        }
        ShortForm shortRecord;
        static_assert(sizeof(shortRecord) <= sizeof(record));
        std::memcpy(&shortRecord, &record, sizeof(shortRecord));
        post(shortRecord);
    }

    /** The usual marker: a record without a timestamp. */
    struct NoTimestamp {
        template <typename Record>
        bool operator()(const Record& record) const {
            return record.timestamp == 0;
        }
    };

    const char* const mTag;
    UniqueFd mDataFd;
    int32_t mDevNum = -1;
    const int32_t mHandle;
    std::string mBufferEnablePath;
    Event mPendingEvent;  // after construction written by readEvents alone
    Event mMetaEvent;
    SensorInfo mSensorInfo;  // complete once the constructors are done
    ISensorsEventCallback* const mEventCallback;

  private:
    void openDevice(const std::string& name, const SensorInfo& info);
    void composeName(const char* displayName, bool wakeUpIsDefault);
    void prepareEvents();
    void chooseInjectionDevice();
    void retryIioBufferEnable();
    ssize_t readZeroed(void* record, size_t size);
    void logReadFailure() const;
    void postEvent(const Event& event);

    std::string mInputName;
    std::string mBufferLengthPath;
    std::string mDataAvailablePath;
    const char* mInjectionPath = "";
    bool mIioBufferEnableFailed = false;  // after construction touched by enable() alone
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
