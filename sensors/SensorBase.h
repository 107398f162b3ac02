#pragma once

#include <android/hardware/sensors/1.0/types.h>
#include <android/log.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "sensors/ISensorsEventCallback.h"
#include "sensors/UniqueFd.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

using V1_0::EventPayload;
using V1_0::SensorFlagBits;
using V1_0::SensorInfo;
using V1_0::SensorStatus;
using V1_0::SensorType;

/** Which of a sensor's two device twins owns the plain device name. */
inline constexpr bool kPlainIsWakeUp = true;
inline constexpr bool kPlainIsNonWakeUp = false;

/** Flags that drivers add to those of the hub's specification. */
inline constexpr auto kWakeUp = static_cast<uint32_t>(SensorFlagBits::WAKE_UP);
inline constexpr auto kContinuous = static_cast<uint32_t>(SensorFlagBits::CONTINUOUS_MODE);
inline constexpr auto kOnChange = static_cast<uint32_t>(SensorFlagBits::ON_CHANGE_MODE);
inline constexpr auto kOneShot = static_cast<uint32_t>(SensorFlagBits::ONE_SHOT_MODE);
inline constexpr auto kSpecial = static_cast<uint32_t>(SensorFlagBits::SPECIAL_REPORTING_MODE);

/** In a sensor's flags: the kinds of memory over which it reports directly. */
inline constexpr auto kDirectMemoryMask =
    static_cast<uint32_t>(SensorFlagBits::MASK_DIRECT_CHANNEL);

/** What a client must hold to get a sensor's events. */
inline constexpr char kPermission[] = "com.tavrine.permission.QSENSOR";
inline constexpr char kNoPermission[] = "";

/** What a class logs as it posts a flush-complete event. */
struct FlushLine {
    android_LogPriority level;
    const char* text;  // null: nothing
};
inline constexpr FlushLine kNoFlushLine = {ANDROID_LOG_DEFAULT, nullptr};

/**
 * One hub sensor: its IIO device, its description and the two events it posts.
 *
 * Built and destroyed with the catalogue; readEvents, getDataAvailable and getHandle run on the
 * poll thread, the requests on the proxy's threads. Takes no locks. Requests return 0 or a negative
 * errno.
 *
 * A driver describes itself in its constructor and turns one record into one event in readEvents. A
 * record is a packed struct in wire order with an int64_t `timestamp` (ns), and says with
 * `isFlushMarker()` whether it is the one by which the hub reports a completed flush. Where the
 * length depends on the hub, `expandFrom(count)` brings the bytes read into the struct's form.
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
     * @param wakeUpIsDefault kPlainIsWakeUp or kPlainIsNonWakeUp
     */
    SensorBase(const char* iioName, const char* tag, const char* displayName, SensorInfo info,
               ISensorsEventCallback* callback, bool wakeUpIsDefault);
    SensorBase(const SensorBase&) = delete;
    SensorBase& operator=(const SensorBase&) = delete;

    virtual ~SensorBase() = default;

    /** The record device's descriptor, -1 when there is none. Owned by this object. */
    virtual int getFd() const { return mDataFd.get(); }

    /**
     * Prepares the device for a switch; the sub-HAL asks the hub itself. Retries a failed
     * buffer enable once. -EIO without a device. Callers switch a sensor one at a time.
     */
    virtual int enable(int handle, bool on);

    /** Takes note of a new sampling period and maximum report latency, both in ns. */
    virtual int batch(int /*handle*/, int64_t /*samplingPeriodNs*/,
                      int64_t /*maxReportLatencyNs*/) {
        return 0;
    }

    /** batch() with a latency of 0. */
    virtual int setDelay(int handle, int64_t periodNs) { return batch(handle, periodNs, 0); }

    /** Called after the hub was asked to flush; the completion arrives as a record. */
    virtual int flush(int /*handle*/) { return 0; }

    /** Sends a client's injected event to the hub as an injection packet. */
    virtual int injectSensorData(const Event& event);

    /** Reads one record and posts what it says. */
    virtual void readEvents() = 0;

    /** Whether the framework gets to see this sensor. */
    virtual bool isShownSensorList();

    int32_t getHandle() const { return mHandle; }
    const SensorInfo& getSensorInfo() const { return mSensorInfo; }
    bool isWakeUpSensor() const { return (mSensorInfo.flags & kWakeUp) != 0; }
    /** Tests bits 1 and 2 alone, not the whole reporting-mode mask. */
    bool isOneShotSensor() const { return (mSensorInfo.flags & kSpecial) == kOneShot; }
    bool isDirectReportSensor() const { return (mSensorInfo.flags & kDirectMemoryMask) != 0; }

    /** Time since boot in ns, sleep included. */
    static int64_t getTimestamp();

    /**
     * How many records to read now, 0 or more.
     * @param maxReportLatencyNs the latency last asked for; 0 means not batching
     */
    int getDataAvailable(uint64_t maxReportLatencyNs);

    /** How many records readEvents has taken from the device; wraps. Poll thread only. */
    uint32_t recordsRead() const { return mRecordsRead; }

    /**
     * Number of the IIO device called `name`, the first in the order of the directory whose entry
     * begins with `prefix`; -ENODEV when there is none.
     */
    static int findTypeByName(const char* name, const char* prefix);

    /**
     * Opens the IIO event descriptor of the device called `name`; -1 on failure. The caller closes
     * it.
     */
    int openIio(const char* name);

    /** Reads a decimal number; `value` stays as it was on failure. */
    static int readSysfsInt(const char* path, int* value);

    /** Writes a decimal number and a newline; a file that cannot be opened counts as success. */
    static int writeSysfsInt(const char* path, int value);

    /** Leading decimal digits of a text as a number; 0 when there are none. Wraps on overflow. */
    static unsigned atou(const char* text);

  protected:
    // Steps of a driver's constructor.

    /** Says what the sensor is: a standard type, the flags to add, and the flush line. */
    void describe(SensorType type, uint32_t flags, FlushLine flushLine);

    /** The same for a type of the hub's own, by the hub's number for it. */
    void describePrivate(int32_t number, const char* stringType, const char* permission,
                         uint32_t flags, FlushLine flushLine);
    /** Keeps the flush line that is there: a parent's, or none. */
    void describePrivate(int32_t number, const char* stringType, const char* permission,
                         uint32_t flags) {
        describePrivate(number, stringType, permission, flags, mFlushLine);
    }

    /** Replaces what is logged, ahead of the error, for a failed read. Not copied. */
    void setReadFailure(const char* text) { mReadFailure = text; }

    /** For three-axis payloads whose records carry no accuracy. */
    void presetAccuracyHigh() { mPendingEvent.u.vec3.status = SensorStatus::ACCURACY_HIGH; }

    /** Switches the device's buffer on. 0 or a negative errno; 0 for a missing attribute. */
    int enableBuffer() { return writeSysfsInt(mBufferEnablePath.c_str(), 1); }

    // Steps of a driver's readEvents.

    /**
     * All of a plain driver's readEvents: reads a record and posts it.
     * @param fill (record, payload) fills the data event's payload, which keeps what the last
     *             record left in it
     */
    template <typename Record, typename Fill>
    void readAndPost(Fill fill) {
        Record record;
        if (readRecord(&record)) postRecord(record, fill);
    }

    /** Reads one record, zero where bytes are missing. False, with a log line, on failure. */
    template <typename Record>
    bool readRecord(Record* record) {
        const ssize_t count = readBytes(record, sizeof(Record));
        if (count < 0) {
            logReadFailure();
            return false;
        }
        if constexpr (HasForms<Record>::value) record->expandFrom(static_cast<size_t>(count));
        return true;
    }

    /** Posts the flush-complete event for the hub's flush marker, else readAndPost()'s event. */
    template <typename Record, typename Fill>
    void postRecord(const Record& record, Fill fill) {
        if (record.isFlushMarker()) {
            postFlushComplete();
            return;
        }
        mPendingEvent.timestamp = record.timestamp;
        std::invoke(fill, record, mPendingEvent.u);
        postPendingEvent();
    }

    /** Logs the flush line and posts the flush-complete event. */
    void postFlushComplete();

    /** Posts events that are not one record's. */
    void postEvents(const std::vector<Event>& events);

    // Injection.

    /** Writes a packet to the injection device: its kind, this sensor's handle, then `body`. */
    template <typename Body>
    int writePacket(const Body& body) {
        static_assert(std::is_trivially_copyable_v<Body>);
        return writePacket(&body, sizeof(body));
    }
    int writePacket(const void* body, size_t size);

    /**
     * Writes `count` bytes to the injection device, again as long as signals interrupt it. -ENODEV
     * when the device cannot be opened, else what the write gave.
     */
    int writeInjection(const uint8_t* buffer, int count);

  private:
    template <typename Record, typename = void>
    struct HasForms : std::false_type {};
    template <typename Record>
    struct HasForms<Record, std::void_t<decltype(&Record::expandFrom)>> : std::true_type {};

    void openDevice(const std::string& name, const SensorInfo& info);
    void composeName(const char* displayName, bool wakeUpIsDefault);
    void prepareEvents();
    void chooseInjectionDevice();
    void retryIioBufferEnable();
    /** Bytes read into the zeroed record, or -1 with errno. */
    ssize_t readBytes(void* record, size_t size);
    void logReadFailure() const;
    void postPendingEvent();
    void postToAll(const std::vector<Event>& events);

    const char* const mTag;
    UniqueFd mDataFd;
    int32_t mDevNum = -1;
    const int32_t mHandle;
    std::string mSensorName;
    std::string mInputName;  // of the device that openIio() found last
    const char* mInjectionPath = "";
    bool mIioBufferEnableFailed =
        false;                  // guarded by mActivateLock, which enable() is called under
    uint32_t mRecordsRead = 0;  // poll thread only
    std::string mBufferLengthPath;
    std::string mBufferEnablePath;
    std::string mDataAvailablePath;
    Event mPendingEvent;  // after construction written on the poll thread alone
    std::vector<Event> mPosted = std::vector<Event>(1);  // the posted copy; poll thread alone
    Event mMetaEvent;  // fixed after construction, as are the members below
    SensorInfo mSensorInfo;
    ISensorsEventCallback* const mEventCallback;
    FlushLine mFlushLine = kNoFlushLine;
    const char* mReadFailure = nullptr;  // null: composed from the tag
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
