#pragma once

#include <android/hardware/sensors/1.0/types.h>
#include <android/sensor.h>
#include <hardware/sensors.h>

/**
 * Conversions between the interface's records and those of the platform's C interface. Free of
 * state, callable from any thread; output records are the caller's.
 */
namespace android::hardware::sensors::V1_0::implementation {

/** Null strings become empty; maximum delay and flags are narrowed to 32 bits. */
void convertFromSensor(const sensor_t& src, SensorInfo* dst);

/** The four strings are allocated with strdup; the caller frees them. */
void convertToSensor(const SensorInfo& src, sensor_t* dst);

/** Payload bytes that the sensor type does not use become zero, in both directions. */
void convertFromSensorEvent(const sensors_event_t& src, Event* dst);
void convertFromASensorEvent(const ASensorEvent& src, Event* dst);

/** A meta event carries its sensor's handle in the payload; its own sensor field is 0. */
void convertToSensorEvent(const Event& src, sensors_event_t* dst);

/**
 * @param dst its handle is the one of `src`, which keeps it
 * @return false, with `dst` untouched, for a null output record, a null handle and unknown memory
 *         types or formats
 */
bool convertFromSharedMemInfo(const SharedMemInfo& src, sensors_direct_mem_t* dst);

/** The direct report rate number, -1 for an unknown level. */
int convertFromRateLevel(RateLevel rate);

}  // namespace android::hardware::sensors::V1_0::implementation

namespace android::hardware::sensors::implementation::common {

/** The same record under the platform's other name for it. */
sensors_event_t convertASensorEvent(const ASensorEvent& src);

}  // namespace android::hardware::sensors::implementation::common
