#include "subhal/convert.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace android::hardware::sensors::V1_0;
using namespace android::hardware::sensors::V1_0::implementation;
using android::hardware::sensors::implementation::common::convertASensorEvent;

namespace {

using Payload = std::array<uint8_t, 64>;

/** Every byte differs from its neighbours and from zero. */
Payload distinctPayload() {
    Payload payload;
    for (size_t i = 0; i < payload.size(); ++i)
        payload[i] = static_cast<uint8_t>(i + 1);
    return payload;
}

/** The leading bytes of distinctPayload(), zero behind them. */
Payload leading(size_t count) {
    Payload payload = distinctPayload();
    memset(payload.data() + count, 0, payload.size() - count);
    return payload;
}

Event eventOf(int32_t type) {
    Event event;
    memset(&event, 0xEE, sizeof(event));
    event.timestamp = 0x0102030405060708;
    event.sensorHandle = 38;
    event.sensorType = static_cast<SensorType>(type);
    memcpy(&event.u, distinctPayload().data(), 64);
    return event;
}

sensors_event_t recordOf(int32_t type) {
    sensors_event_t record;
    memset(&record, 0xEE, sizeof(record));
    record.timestamp = 0x0102030405060708;
    record.sensor = 38;
    record.type = type;
    memcpy(record.data, distinctPayload().data(), 64);
    return record;
}

Payload payloadOf(const sensors_event_t& record) {
    Payload payload;
    memcpy(payload.data(), record.data, 64);
    return payload;
}

Payload payloadOf(const Event& event) {
    Payload payload;
    memcpy(payload.data(), &event.u, 64);
    return payload;
}

struct Group {
    size_t bytes;  // of the payload that travel
    std::vector<int32_t> types;
};

const std::vector<Group> kGroups = {
    {13, {1, 2, 3, 4, 9, 10}},
    {4, {5, 6, 7, 8, 12, 13, 17, 18, 22, 23, 24, 25, 26, 27, 29, 30, 31, 34}},
    {20, {11, 20}},
    {24, {14, 16, 35}},
    {16, {15}},
    {8, {19}},
    {5, {21}},
    {60, {28}},
    {64, {33, 36, 0xFFFF, 65536, 65536 + 71, -1}},
};

TEST(Convert, EventsKeepWhatTheirTypeUses) {
    for (const Group& group : kGroups) {
        for (const int32_t type : group.types) {
            SCOPED_TRACE("type " + std::to_string(type));
            sensors_event_t record;
            memset(&record, 0xDD, sizeof(record));
            convertToSensorEvent(eventOf(type), &record);
            EXPECT_EQ(record.version, 104);
            EXPECT_EQ(record.sensor, 38);
            EXPECT_EQ(record.type, type);
            EXPECT_EQ(record.reserved0, 0);
            EXPECT_EQ(record.timestamp, 0x0102030405060708);
            EXPECT_EQ(record.flags, 0U);
            EXPECT_EQ(payloadOf(record), leading(group.bytes));

            Event event;
            memset(&event, 0xDD, sizeof(event));
            convertFromSensorEvent(recordOf(type), &event);
            EXPECT_EQ(event.timestamp, 0x0102030405060708);
            EXPECT_EQ(event.sensorHandle, 38);
            EXPECT_EQ(static_cast<int32_t>(event.sensorType), type);
            EXPECT_EQ(payloadOf(event), leading(group.bytes));
        }
    }
}

TEST(Convert, NamedFieldsMatch) {
    Event event = eventOf(1);
    event.u.vec3 = {1.5F, -2.5F, 3.5F, SensorStatus::NO_CONTACT};
    sensors_event_t record;
    convertToSensorEvent(event, &record);
    EXPECT_EQ(record.acceleration.z, 3.5F);
    EXPECT_EQ(record.acceleration.status, -1);

    record.type = 19;
    record.u64.step_counter = 0x123456789ABCDEF0;
    convertFromSensorEvent(record, &event);
    EXPECT_EQ(event.u.stepCount, 0x123456789ABCDEF0U);

    record.type = 16;
    record.uncalibrated_gyro.z_bias = 0.25F;
    convertFromSensorEvent(record, &event);
    EXPECT_EQ(event.u.uncal.z_bias, 0.25F);

    record.type = 33;
    record.additional_info.serial = 77;
    record.additional_info.data_int32[13] = 99;
    convertFromSensorEvent(record, &event);
    EXPECT_EQ(event.u.additional.serial, 77);
    EXPECT_EQ(event.u.additional.u.data_int32[13], 99);
}

TEST(Convert, MetaEventsCarryTheHandleInThePayload) {
    Event event = eventOf(0);
    event.u.meta.what = MetaDataEventType::META_DATA_FLUSH_COMPLETE;
    sensors_event_t record;
    convertToSensorEvent(event, &record);
    EXPECT_EQ(record.sensor, 0);
    EXPECT_EQ(record.meta_data.what, 1);
    EXPECT_EQ(record.meta_data.sensor, 38);
    const Payload payload = payloadOf(record);
    EXPECT_EQ(std::string(payload.begin() + 8, payload.end()), std::string(56, '\0'));

    Event back;
    convertFromSensorEvent(record, &back);
    EXPECT_EQ(back.sensorHandle, 38);
    EXPECT_EQ(payloadOf(back), (Payload{1}));
}

TEST(Convert, DynamicSensorsAreRearranged) {
    Event event = eventOf(32);
    event.u.dynamic.connected = true;
    event.u.dynamic.sensorHandle = 0x11223344;
    sensors_event_t record;
    convertToSensorEvent(event, &record);
    EXPECT_EQ(record.dynamic_sensor_meta.connected, 1);
    EXPECT_EQ(record.dynamic_sensor_meta.handle, 0x11223344);
    EXPECT_EQ(record.dynamic_sensor_meta.sensor, nullptr);
    EXPECT_EQ(memcmp(record.dynamic_sensor_meta.uuid, event.u.dynamic.uuid.data(), 16), 0);

    record.dynamic_sensor_meta.connected = 2;
    Event back;
    convertFromSensorEvent(record, &back);
    EXPECT_TRUE(back.u.dynamic.connected);
    EXPECT_EQ(back.u.dynamic.sensorHandle, 0x11223344);
    EXPECT_EQ(back.u.dynamic.uuid, event.u.dynamic.uuid);
}

TEST(Convert, ApplicationEventsAreTheSameRecord) {
    const sensors_event_t record = recordOf(14);
    ASensorEvent application;
    memcpy(&application, &record, sizeof(record));
    const sensors_event_t same = convertASensorEvent(application);
    EXPECT_EQ(memcmp(&same, &record, sizeof(record)), 0);

    Event event;
    convertFromASensorEvent(application, &event);
    EXPECT_EQ(event.sensorHandle, 38);
    EXPECT_EQ(payloadOf(event), leading(24));
}

TEST(Convert, SensorRecords) {
    SensorInfo info = {};
    info.sensorHandle = 38;
    info.name = "LSM6DSO VDIS Gyroscope";
    info.vendor = "STM";
    info.version = 3;
    info.type = static_cast<SensorType>(65607);
    info.typeAsString = "com.tavrine.sensor.vdis_gyro";
    info.maxRange = 34.9F;
    info.resolution = 0.001F;
    info.power = 0.555F;
    info.minDelay = -1;
    info.fifoReservedEventCount = 300;
    info.fifoMaxEventCount = 3000;
    info.requiredPermission = "permission";
    info.maxDelay = -2;
    info.flags = 0x80000C86;

    sensor_t sensor;
    memset(&sensor, 0xEE, sizeof(sensor));
    convertToSensor(info, &sensor);
    EXPECT_STREQ(sensor.name, "LSM6DSO VDIS Gyroscope");
    EXPECT_STREQ(sensor.vendor, "STM");
    EXPECT_EQ(sensor.version, 3);
    EXPECT_EQ(sensor.handle, 38);
    EXPECT_EQ(sensor.type, 65607);
    EXPECT_EQ(sensor.maxRange, 34.9F);
    EXPECT_EQ(sensor.resolution, 0.001F);
    EXPECT_EQ(sensor.power, 0.555F);
    EXPECT_EQ(sensor.minDelay, -1);
    EXPECT_EQ(sensor.fifoReservedEventCount, 300U);
    EXPECT_EQ(sensor.fifoMaxEventCount, 3000U);
    EXPECT_STREQ(sensor.stringType, "com.tavrine.sensor.vdis_gyro");
    EXPECT_STREQ(sensor.requiredPermission, "permission");
    EXPECT_EQ(sensor.maxDelay, -2);
    EXPECT_EQ(sensor.flags, 0x80000C86U);
    EXPECT_EQ(sensor.reserved[0], nullptr);
    EXPECT_EQ(sensor.reserved[1], nullptr);

    SensorInfo back = {};
    convertFromSensor(sensor, &back);
    EXPECT_EQ(back.name, info.name);
    EXPECT_EQ(back.vendor, info.vendor);
    EXPECT_EQ(back.version, 3);
    EXPECT_EQ(back.sensorHandle, 38);
    EXPECT_EQ(back.type, info.type);
    EXPECT_EQ(back.typeAsString, info.typeAsString);
    EXPECT_EQ(back.maxRange, 34.9F);
    EXPECT_EQ(back.resolution, 0.001F);
    EXPECT_EQ(back.power, 0.555F);
    EXPECT_EQ(back.minDelay, -1);
    EXPECT_EQ(back.fifoReservedEventCount, 300U);
    EXPECT_EQ(back.fifoMaxEventCount, 3000U);
    EXPECT_EQ(back.requiredPermission, info.requiredPermission);
    EXPECT_EQ(back.maxDelay, -2);
    EXPECT_EQ(back.flags, 0x80000C86U);

    // The caller's copies, as plain heap memory.
    for (const char* text :
         {sensor.name, sensor.vendor, sensor.stringType, sensor.requiredPermission}) {
        free(const_cast<char*>(text));
    }
    sensor = {};
    sensor.maxDelay = 0x100000005;
    sensor.flags = 0x300000001;
    convertFromSensor(sensor, &back);
    EXPECT_EQ(back.name, "");
    EXPECT_EQ(back.requiredPermission, "");
    EXPECT_EQ(back.maxDelay, 5);
    EXPECT_EQ(back.flags, 1U);
}

TEST(Convert, SharedMemory) {
    native_handle_t* handle = native_handle_create(0, 0);
    const auto info = [](int32_t type, int32_t format, const native_handle_t* memory) {
        return SharedMemInfo{static_cast<SharedMemType>(type), static_cast<SharedMemFormat>(format),
                             0xFFFFFFFF, memory};
    };
    for (const int32_t type : {1, 2}) {
        sensors_direct_mem_t mem = {};
        ASSERT_TRUE(convertFromSharedMemInfo(info(type, 1, handle), &mem));
        EXPECT_EQ(mem.type, type);
        EXPECT_EQ(mem.format, 1);
        EXPECT_EQ(mem.size, 0xFFFFFFFFU);
        EXPECT_EQ(mem.handle, handle);
    }
    sensors_direct_mem_t mem = {};
    EXPECT_FALSE(convertFromSharedMemInfo(info(1, 1, handle), nullptr));
    EXPECT_FALSE(convertFromSharedMemInfo(info(0, 1, handle), &mem));
    EXPECT_FALSE(convertFromSharedMemInfo(info(3, 1, handle), &mem));
    EXPECT_FALSE(convertFromSharedMemInfo(info(1, 0, handle), &mem));
    EXPECT_FALSE(convertFromSharedMemInfo(info(1, 2, handle), &mem));
    EXPECT_FALSE(convertFromSharedMemInfo(info(1, 1, nullptr), &mem));
    native_handle_delete(handle);
}

TEST(Convert, RateLevels) {
    for (const int32_t level : {0, 1, 2, 3}) {
        EXPECT_EQ(convertFromRateLevel(static_cast<RateLevel>(level)), level);
    }
    EXPECT_EQ(convertFromRateLevel(static_cast<RateLevel>(4)), -1);
    EXPECT_EQ(convertFromRateLevel(static_cast<RateLevel>(-1)), -1);
}

}  // namespace
