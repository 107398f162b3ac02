#include "tests/drivers/Golden.h"

namespace golden {

namespace {

// Bit patterns of floats that the rows use.
constexpr uint32_t k0 = 0x00000000;
constexpr uint32_t k0_5 = 0x3F000000;
constexpr uint32_t kMinus1 = 0xBF800000;
constexpr uint32_t k1 = 0x3F800000;
constexpr uint32_t k1_5 = 0x3FC00000;
constexpr uint32_t kMinus2 = 0xC0000000;
constexpr uint32_t k3 = 0x40400000;
constexpr uint32_t kMinus16384 = 0xC6800000;
constexpr uint32_t kAccuracyHigh = 3;

std::string failure(const std::string& tag) {
    return tag + " :input data file descriptor not available - (Input/output error)";
}

std::string quaternion(const std::vector<int32_t>& components, int8_t accuracy,
                       uint64_t timestamp) {
    auto record = rec();
    for (const int32_t component : components)
        record.i32(component);
    return record.u8(static_cast<uint8_t>(accuracy)).u64(timestamp).bytes();
}

std::vector<Exchange> quaternionExchanges(const char* metaLine) {
    return {
        {"data",
         quaternion({1000000, -2000000, 500000, 1500000}, 5, 0x1122334455667788),
         {data(0x1122334455667788, {k1, kMinus2, k0_5, k1_5, k0_5})},
         {}},
        // In double precision the component would come out as 0x42F6E9E0; as a multiple of a
        // single-precision tenth the accuracy would be 0xBF666667.
        {"rounding",
         quaternion({123456789, 0, 0, 0}, -9, 1),
         {data(1, {0x42F6E9E1, k0, k0, k0, 0xBF666666})},
         {}},
        {"accuracy without timestamp",
         quaternion({0, 0, 0, 0}, -10, 0),
         {data(0, {k0, k0, k0, k0, kMinus1})},
         {}},
        {"last component without timestamp",
         quaternion({0, 0, 0, 1500000}, 0, 0),
         {data(0, {k0, k0, k0, k1_5, k0})},
         {}},
        {"flush marker", quaternion({0, 0, 0, 0}, 0, 0), {meta()}, {{'E', metaLine}}},
    };
}

std::vector<Exchange> gyroExchanges(const std::string& metaLine) {
    const auto vector = [](int16_t x, int16_t y, int16_t z, uint64_t timestamp) {
        return rec().i16(x).i16(y).i16(z).u64(timestamp).bytes();
    };
    const std::string tail = "\x7F\x7F\x7F\x7F";
    return {
        {"data",
         vector(1, -2, 3, 0x1122334455667788) + tail,
         {data(0x1122334455667788, {k0_5, kMinus1, k1_5, kAccuracyHigh})},
         {}},
        {"unpadded, widest count",
         vector(-32768, 0, 1, 9),
         {data(9, {kMinus16384, k0, k0_5, kAccuracyHigh})},
         {}},
        {"no timestamp but data",
         vector(0, 0, -2, 0),
         {data(0, {k0, k0, kMinus1, kAccuracyHigh})},
         {}},
        {"flush marker", vector(0, 0, 0, 0) + tail, {meta()}, {{'E', metaLine}}},
    };
}

DriverRow orientationRow(int handle) {
    const auto record = [](uint8_t orientation, uint64_t timestamp) {
        return rec().u8(orientation).u64(timestamp).bytes();
    };
    return {"DeviceOrientation",
            handle,
            "device_orientation",
            false,
            "Device Orientataion",
            27,
            "",
            "",
            2,
            {
                {"data",
                 record(3, 5000000000),
                 {data(5000000000, {k3, 0, 0, kAccuracyHigh})},
                 {{'I', "DeviceOrientation(0): event = 3, time = 5000000000"}}},
                {"beyond the last orientation",
                 record(4, 6),
                 {data(6, {kMinus1, 0, 0, kAccuracyHigh})},
                 {{'I', "DeviceOrientation(0): event = 4, time = 6"}}},
                {"flush marker whatever the orientation",
                 record(2, 0),
                 {meta()},
                 {{'I', "DeviceOrientation(0): Meta event"}}},
            },
            failure("DeviceOrientation(0)")};
}

DriverRow gameRotationRow() {
    DriverRow row = {"GameRotationVector",
                     15,
                     "game_rotation_vector_sensor",
                     false,
                     "Tavrine Game Rotation Vector",
                     15,
                     "",
                     "",
                     0,
                     quaternionExchanges("GRV Sensor : Meta event"),
                     failure("GameRotationVector")};
    row.twinIsReachable = false;
    return row;
}

DriverRow directGyroRow(const char* className, int handle, const char* iioName,
                        const char* displayName, int32_t type, const char* stringType) {
    DriverRow row = {className,
                     handle,
                     iioName,
                     false,
                     displayName,
                     type,
                     stringType,
                     kQSensor,
                     0x786,
                     gyroExchanges(std::string(className) + " : Meta event"),
                     failure(className)};
    row.direct = true;
    return row;
}

}  // namespace

std::vector<DriverRow> orientationRows() {
    return {
        {"RotationVector", 11, "rotation_vector_sensor", false, "Tavrine Rotation Vector", 11, "",
         "", 0, quaternionExchanges("RotationVectorSensor : Meta event"),
         failure("RotationVector")},
        gameRotationRow(),
        orientationRow(27),
        {"IntGyroSensor", 31, "interrupt_gyro_sensor", false, "Interrupt Gyroscope", 65579,
         "com.tavrine.sensor.interrupt_gyro", "", 2, gyroExchanges("IntGyroSensor : Meta event"),
         failure("IntGyroSensor")},
        directGyroRow("VdisGyroSensor", 38, "vdis_gyro_sensor", "VDIS Gyroscope", 65607,
                      "com.tavrine.sensor.vdis_gyro"),
        {"AoisSensor",
         49,
         "aois_sensor",
         false,
         "Aois Sensor",
         65699,
         "com.tavrine.sensor.gyroscope_aois",
         kQSensor,
         6,
         {
             {"any record is a signal",
              rec().u64(0x1122334455667788).bytes(),
              {meta()},
              {{'E', "AoisSensor : Meta event"}}},
             {"flush marker", rec().u64(0).bytes(), {meta()}, {{'E', "AoisSensor : Meta event"}}},
         },
         failure("AoisSensor")},
        directGyroRow("StillwaveGyroSensor", 50, "stillwave_gyro_sensor", "Stillwave Gyroscope",
                      65646, "com.tavrine.sensor.stillwave_gyro"),
        orientationRow(52),
    };
}

}  // namespace golden
