#pragma once

#include <android/hardware/sensors/1.0/types.h>

#include <cstdint>

#include "sensors/ISensorsEventCallback.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * The hub's message device: 0 until a SensorHubDataWriter was built, negative when it could not be
 * opened. Stays open until the process ends.
 */
extern int hbx_data_injection_fd;

/**
 * Puts a byte message for the hub together and writes it in one piece.
 *
 * A message of 56 to 1,119 bytes comes as a start event, data events of up to 56 bytes and an end
 * event; a shorter one fits into the start event. Start and end announce the length of the whole
 * message, and only a message that agrees with both is sent. Takes no lock: its owner hands one
 * event at a time, and the events of a message come in order from one caller.
 */
class SensorHubDataWriter {
  public:
    /** Opens the message device; a failure is logged and shows when a message is sent. */
    SensorHubDataWriter();
    SensorHubDataWriter(const SensorHubDataWriter&) = delete;
    SensorHubDataWriter& operator=(const SensorHubDataWriter&) = delete;
    /** Leaves the message device open. */
    ~SensorHubDataWriter();

    /**
     * Takes one injected event. Returns the bytes collected so far when more are expected, else -1:
     * both for an event that was refused and for one that ended a message.
     */
    int32_t handleData(const Event& event);

    /** Sends the collected message, in hexadecimal also to the log. Always -1. */
    int32_t writeData();

    /**
     * Writes `len` bytes to the message device in one call, retrying as long as signals interrupt
     * it. Bytes written, or a negative errno.
     */
    static int32_t inject_qcontext_data(const unsigned char* data, int len);

    /**
     * Begins a message of `length` bytes (0 to 1,120), all of them at `data` unless it is null.
     */
    void initBuffers(int length, unsigned long timestamp, const int* data);

    /** Appends `length` bytes. The new fill level, or -1 without data or room. */
    int32_t setHubData(int length, const int* data);

    /** Forgets the message. */
    void clearBuffer();

  private:
    static constexpr int32_t kCapacity = 1120;
    /** Up to here the start event carries the whole message. */
    static constexpr uint32_t kMaxWholeMessage = 55;

    int32_t start(uint32_t length, int64_t timestamp, const uint8_t* chunk);
    /** Appends `length` bytes when `available` are that many and the message has room. */
    int32_t append(uint32_t length, const void* bytes, uint32_t available);
    void end(uint32_t length);
    /** Whether a message is open; logs it when none is. */
    bool isInjecting() const;

    int32_t mDataPos = 0;             // bytes collected
    int32_t mDataLength = kCapacity;  // announced length; 0 to kCapacity
    int64_t mStartTimestamp = 0;      // of the start event; not sent
    uint8_t mHubData[kCapacity] = {};
    bool mInjecting = false;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
