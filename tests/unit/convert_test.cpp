#include "subhal/convert.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
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

Payload payloadOf(const void* bytes) {
    Payload payload;
    memcpy(payload.data(), bytes, payload.size());
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
            EXPECT_EQ(record.flags, 0U);
            EXPECT_EQ(payloadOf(record.data), leading(group.bytes));

            memcpy(record.data, distinctPayload().data(), 64);
            // An application's event is the same record.
            ASensorEvent application;
            memcpy(&application, &record, sizeof(record));
            const sensors_event_t same = convertASensorEvent(application);
            EXPECT_EQ(memcmp(&same, &record, sizeof(record)), 0);
            Event events[2];
            memset(events, 0xDD, sizeof(events));
            convertFromSensorEvent(record, &events[0]);
            convertFromASensorEvent(application, &events[1]);
            for (const Event& event : events) {
                EXPECT_EQ(event.timestamp, 0x0102030405060708);
                EXPECT_EQ(event.sensorHandle, 38);
                EXPECT_EQ(static_cast<int32_t>(event.sensorType), type);
                EXPECT_EQ(payloadOf(&event.u), leading(group.bytes));
            }
        }
    }
}

TEST(Convert, MetaEventsCarryTheHandleInThePayload) {
    Event event = eventOf(0);
    event.u.meta.what = MetaDataEventType::META_DATA_FLUSH_COMPLETE;
    sensors_event_t record;
    convertToSensorEvent(event, &record);
    EXPECT_EQ(record.sensor, 0);
    EXPECT_EQ(record.meta_data.what, 1);
    EXPECT_EQ(record.meta_data.sensor, 38);
    const Payload payload = payloadOf(record.data);
    EXPECT_EQ(std::string(payload.begin() + 8, payload.end()), std::string(56, '\0'));

    Event back;
    convertFromSensorEvent(record, &back);
    EXPECT_EQ(back.sensorHandle, 38);
    EXPECT_EQ(payloadOf(&back.u), (Payload{1}));
}

TEST(Convert, DynamicSensorsAreRearranged) {
    for (const bool connected : {true, false}) {
        Event event = eventOf(32);
        event.u.dynamic.connected = connected;
        event.u.dynamic.sensorHandle = 0x11223344;
        sensors_event_t record;
        convertToSensorEvent(event, &record);
        EXPECT_EQ(record.dynamic_sensor_meta.connected, connected ? 1 : 0);
        EXPECT_EQ(record.dynamic_sensor_meta.handle, 0x11223344);
        EXPECT_EQ(record.dynamic_sensor_meta.sensor, nullptr);
        if (connected) record.dynamic_sensor_meta.connected = 2;
        Event back;
        convertFromSensorEvent(record, &back);
        EXPECT_EQ(back.u.dynamic.connected, connected);
        EXPECT_EQ(back.u.dynamic.sensorHandle, 0x11223344);
        EXPECT_EQ(back.u.dynamic.uuid, event.u.dynamic.uuid);
        EXPECT_EQ(memcmp(record.dynamic_sensor_meta.uuid, event.u.dynamic.uuid.data(), 16), 0);
    }
}

TEST(Convert, SensorsComeBackAsTheyWere) {
    constexpr auto kType = static_cast<SensorType>(65607);
    const SensorInfo info = {38,       "a name", "a vendor",   3,      kType,
                             "a.type", 34.9F,    0.001F,       0.555F, -1,
                             300,      3000,     "permission", -2,     0x80000C86};
    sensor_t sensor;
    memset(&sensor, 0xEE, sizeof(sensor));
    convertToSensor(info, &sensor);
    EXPECT_EQ(sensor.reserved[0], nullptr);
    EXPECT_EQ(sensor.reserved[1], nullptr);
    EXPECT_STREQ(sensor.requiredPermission, "permission");
    EXPECT_EQ(sensor.fifoMaxEventCount, 3000U);
    EXPECT_EQ(sensor.maxDelay, -2);
    SensorInfo back = {};
    convertFromSensor(sensor, &back);
    for (const char* text :
         {sensor.name, sensor.vendor, sensor.stringType, sensor.requiredPermission})
        free(const_cast<char*>(text));  // the caller's copies, as plain heap memory
    const auto fields = [](const SensorInfo& s) {
        return std::make_tuple(s.sensorHandle, std::string(s.name), std::string(s.vendor),
                               s.version, s.type, std::string(s.typeAsString), s.maxRange,
                               s.resolution, s.power, s.minDelay, s.fifoReservedEventCount,
                               s.fifoMaxEventCount, std::string(s.requiredPermission), s.maxDelay,
                               s.flags);
    };
    EXPECT_EQ(fields(back), fields(info));

    sensor = {};
    // These two have 32 bits on a 32-bit target, where the low words are all there is.
    sensor.maxDelay = static_cast<decltype(sensor.maxDelay)>(0x100000005);
    sensor.flags = static_cast<decltype(sensor.flags)>(0x300000001);
    convertFromSensor(sensor, &back);
    EXPECT_EQ(back.name, "");
    EXPECT_EQ(back.requiredPermission, "");
    EXPECT_EQ(back.maxDelay, 5);
    EXPECT_EQ(back.flags, 1U);
}

TEST(Convert, SharedMemory) {
    native_handle_t handle = {};
    const auto convert = [&](int32_t type, int32_t format, const native_handle_t* memory) {
        const SharedMemInfo info{static_cast<SharedMemType>(type),
                                 static_cast<SharedMemFormat>(format), 0xFFFFFFFF, memory};
        sensors_direct_mem_t mem = {};
        EXPECT_FALSE(convertFromSharedMemInfo(info, nullptr));
        if (!convertFromSharedMemInfo(info, &mem)) return false;
        EXPECT_EQ(mem.type, type);
        EXPECT_EQ(mem.format, format);
        EXPECT_EQ(mem.size, 0xFFFFFFFFU);
        EXPECT_EQ(mem.handle, memory);
        return true;
    };
    for (const int32_t type : {-1, 0, 1, 2, 3}) {
        for (const int32_t format : {0, 1, 2})
            EXPECT_EQ(convert(type, format, &handle), (type == 1 || type == 2) && format == 1);
        EXPECT_FALSE(convert(type, 1, nullptr));
    }
}

TEST(Convert, RateLevels) {
    for (const int32_t level : {-1, 0, 1, 2, 3})
        EXPECT_EQ(convertFromRateLevel(static_cast<RateLevel>(level)), level);
    EXPECT_EQ(convertFromRateLevel(static_cast<RateLevel>(4)), -1);
}

}  // namespace
