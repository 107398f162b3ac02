#include "subhal/convert.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

using namespace android::hardware::sensors::V1_0;
using namespace android::hardware::sensors::V1_0::implementation;

namespace {

using Payload = std::array<uint8_t, 64>;

/** So many bytes that differ from their neighbours and from zero, and zero behind them. */
Payload leading(size_t count) {
    Payload payload = {};
    for (size_t i = 0; i < count; ++i)
        payload[i] = static_cast<uint8_t>(i + 1);
    return payload;
}

Payload payloadOf(const void* bytes) {
    Payload payload;
    memcpy(payload.data(), bytes, payload.size());
    return payload;
}

/** Converts an event, whose payload becomes `expected`. */
sensors_event_t there(int32_t type, const Payload& payload, const Payload& expected) {
    Event event;
    memset(&event, 0xEE, sizeof(event));
    event.timestamp = 0x0102030405060708;
    event.sensorHandle = 38;
    event.sensorType = static_cast<SensorType>(type);
    memcpy(&event.u, payload.data(), payload.size());
    sensors_event_t record;
    memset(&record, 0xDD, sizeof(record));
    convertToSensorEvent(event, &record);
    EXPECT_EQ(record.version, 104);
    EXPECT_EQ(record.sensor, type == 0 ? 0 : 38);
    EXPECT_EQ(record.type, type);
    EXPECT_EQ(record.reserved0, 0);
    EXPECT_EQ(record.flags, 0U);
    EXPECT_EQ(payloadOf(record.data), expected) << type;
    return record;
}

/** Converts a record, also as an application has it; its payload becomes `expected`. */
void back(const sensors_event_t& record, const Payload& expected) {
    ASensorEvent application;
    memcpy(&application, &record, sizeof(record));
    Event events[2];
    memset(events, 0xDD, sizeof(events));
    convertFromSensorEvent(record, &events[0]);
    convertFromASensorEvent(application, &events[1]);
    for (const Event& event : events) {
        EXPECT_EQ(event.timestamp, 0x0102030405060708);
        EXPECT_EQ(event.sensorHandle, 38);
        EXPECT_EQ(static_cast<int32_t>(event.sensorType), record.type);
        EXPECT_EQ(payloadOf(&event.u), expected) << record.type;
    }
}

TEST(Convert, EventsKeepWhatTheirTypeUses) {
    const struct {
        size_t bytes;  // of the payload that travel
        std::vector<int32_t> types;
    } groups[] = {
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
    for (const auto& group : groups) {
        for (const int32_t type : group.types) {
            sensors_event_t record = there(type, leading(64), leading(group.bytes));
            memcpy(record.data, leading(64).data(), 64);
            back(record, leading(group.bytes));
        }
    }
}

TEST(Convert, SomeEventsAreRearranged) {
    // Meta data: what happened, then the sensor.
    back(there(0, {1}, {1, 0, 0, 0, 38}), {1});
    // Dynamic sensors: whether they came, the handle, a pointer to nothing, and who they are.
    for (const uint8_t connected : {uint8_t{1}, uint8_t{0}}) {
        Payload event = {connected, 0, 0, 0, 0x44, 0x33, 0x22, 0x11};
        Payload record = event;
        const size_t uuid = offsetof(dynamic_sensor_meta_event_t, uuid);
        for (size_t i = 0; i < 16; ++i)
            event[8 + i] = record[uuid + i] = static_cast<uint8_t>(i + 1);
        sensors_event_t converted = there(32, event, record);
        if (connected == 1) converted.dynamic_sensor_meta.connected = 2;
        back(converted, event);
    }
}

TEST(Convert, SensorsComeBackAsTheyWere) {
    const SensorInfo info = {
        38,       "a name", "a vendor",   3,      static_cast<SensorType>(65607),
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
    const auto fields = [](const SensorInfo& s) {
        return std::make_tuple(s.sensorHandle, std::string(s.name), std::string(s.vendor),
                               s.version, s.type, std::string(s.typeAsString), s.maxRange,
                               s.resolution, s.power, s.minDelay, s.fifoReservedEventCount,
                               s.fifoMaxEventCount, std::string(s.requiredPermission), s.maxDelay,
                               s.flags);
    };
    EXPECT_EQ(fields(back), fields(info));
    for (const char* text :
         {sensor.name, sensor.vendor, sensor.stringType, sensor.requiredPermission})
        free(const_cast<char*>(text));  // the caller's copies, as plain heap memory
}

}  // namespace
