#include "tests/drivers/Golden.h"

namespace golden {

namespace {

// Bit patterns of floats that the rows use.
constexpr uint32_t k0 = 0x00000000;
constexpr uint32_t k0_5 = 0x3F000000;
constexpr uint32_t kMinus1 = 0xBF800000;
constexpr uint32_t k1_5 = 0x3FC00000;
constexpr uint32_t k2 = 0x40000000;
constexpr uint32_t kMinus2_5 = 0xC0200000;
constexpr uint32_t k3 = 0x40400000;
constexpr uint32_t k8 = 0x41000000;
constexpr uint32_t k100 = 0x42C80000;
constexpr uint32_t kAccuracyHigh = 3;

std::string vector(int16_t x, int16_t y, int16_t z, uint64_t timestamp) {
    return rec().i16(x).i16(y).i16(z).u64(timestamp).bytes();
}
std::string uncalibrated() {
    return rec().i16(1).i16(-2).i16(3).i16(4).i16(-5).i16(6).u64(77).bytes();
}

std::vector<Exchange> vectorExchanges(const std::string& tail, const char* metaLine) {
    return {
        {"data",
         vector(1, -2, 3, 0x1122334455667788) + tail,
         {data(0x1122334455667788, {k0_5, kMinus1, k1_5, kAccuracyHigh})},
         {}},
        {"no timestamp but data",
         vector(-2, 0, 0, 0) + tail,
         {data(0, {kMinus1, k0, k0, kAccuracyHigh})},
         {}},
        {"flush marker", vector(0, 0, 0, 0) + tail, {meta()}, {{'E', metaLine}}},
    };
}

std::vector<Exchange> uncalibratedExchanges(const char* metaLine) {
    return {
        {"data", uncalibrated(), {data(77, {k0_5, kMinus1, k1_5, k2, kMinus2_5, k3})}, {}},
        {"no timestamp but a bias",
         rec().i16(0).i16(0).i16(0).i16(0).i16(0).i16(6).u64(0).bytes(),
         {data(0, {k0, k0, k0, k0, k0, k3})},
         {}},
        {"flush marker", std::string(20, '\0'), {meta()}, {{'E', metaLine}}},
    };
}

std::string pressure(int32_t raw, int32_t offset, uint64_t timestamp) {
    return rec().i32(raw).u16(9).i32(offset).i32(8).u64(timestamp).bytes();
}

DriverRow magneticRow() {
    const auto shortForm = [](int16_t x, uint8_t accuracy, uint64_t timestamp) {
        return rec().i16(x).i16(-2).i16(3).u8(accuracy).u64(timestamp).bytes();
    };
    return {"MagneticSensor",
            2,
            "geomagnetic_sensor",
            false,
            "Magnetometer",
            2,
            "",
            "",
            0,
            {
                {"long form",
                 rec().i32(1).i32(-2).i32(200).u8(2).u64(66).bytes(),
                 {data(66, {k0_5, kMinus1, k100, 2})},
                 {}},
                {"short form", shortForm(1, 1, 55), {data(55, {k0_5, kMinus1, k1_5, 1})}, {}},
                {"sixteen bytes are the long form",
                 rec().i32(1).i32(-2).i32(3).u8(2).u8(5).u16(0).bytes(),
                 {data(5, {k0_5, kMinus1, k1_5, 2})},
                 {}},
                {"accuracy without timestamp",
                 rec().i32(0).i32(0).i32(0).u8(3).u64(0).bytes(),
                 {data(0, {k0, k0, k0, 3})},
                 {}},
                {"flush marker",
                 std::string(21, '\0'),
                 {meta()},
                 {{'E', "MagneticSensor : Meta event"}}},
                {"short flush marker",
                 std::string(15, '\0'),
                 {meta()},
                 {{'E', "MagneticSensor : Meta event"}}},
            },
            "MagneticSensor :input data file descriptor not available - (Input/output error)"};
}

DriverRow uncalMagneticRow() {
    const auto longForm = rec().i32(1).i32(-2).i32(3).i32(4).i32(-5).i32(200).u64(66).bytes();
    return {"UncalMagneticSensor",
            14,
            "uncal_geomagnetic_sensor",
            false,
            "Magnetometer Uncalibrated",
            14,
            "",
            "",
            0,
            {
                {"long form", longForm, {data(66, {k0_5, kMinus1, k1_5, k2, kMinus2_5, k100})}, {}},
                {"short form",
                 uncalibrated(),
                 {data(77, {k0_5, kMinus1, k1_5, k2, kMinus2_5, k3})},
                 {}},
                {"flush marker",
                 std::string(32, '\0'),
                 {meta()},
                 {{'E', "UncalMagneticSensor Sensor : Meta event"}}},
            },
            "UncalMagneticSensor :input data file descriptor not available - (Input/output error)"};
}

DriverRow pressureRow() {
    return {"PressureSensor",
            6,
            "pressure_sensor",
            false,
            "Barometer",
            6,
            "",
            "",
            0,
            {
                // 100000 / 4096 = 24.4140625
                {"data", pressure(100007, 7, 44), {data(44, {0x41C35000})}, {}},
                {"the difference wraps", pressure(INT32_MIN, 1, 44), {data(44, {0x49000000})}, {}},
                {"temperature without timestamp", pressure(0, 0, 0), {data(0, {k0})}, {}},
                {"flush marker",
                 std::string(22, '\0'),
                 {meta()},
                 {{'E', "PressureSensor : Meta event"}}},
            },
            "PressureSensor :input data file descriptor not available - (Input/output error)"};
}

DriverRow proximityRow() {
    const auto record = [](uint8_t state, uint64_t timestamp) {
        return rec().u8(state).u64(timestamp).bytes();
    };
    return {"ProximitySensor",
            8,
            "proximity_sensor",
            true,
            "Proximity",
            65592,
            "com.tavrine.sensor.physical_proximity",
            kQSensor,
            2,
            {
                {"far",
                 record(0, 33),
                 {data(33, {k8, k100})},
                 {{'I', "ProximitySensor - lux 100"}, {'I', "ProximitySensor - 8(cm)"}}},
                {"near",
                 record(2, 34),
                 {data(34, {k0, k0})},
                 {{'I', "ProximitySensor - lux 0"}, {'I', "ProximitySensor - 0(cm)"}}},
                {"flush marker whatever the state",
                 record(1, 0),
                 {meta()},
                 {{'I', "ProximitySensor - lux 0"}, {'E', "ProximitySensor : Meta event"}}},
            },
            "ProxSensor :input data file descriptor not available - (Input/output error)"};
}

}  // namespace

std::vector<DriverRow> physicalRows() {
    const std::string gyroTail = "\x7F\x7F\x7F\x7F";
    const auto failure = [](const std::string& tag) {
        return tag + " :input data file descriptor not available - (Input/output error)";
    };
    return {
        {"AccSensor", 1, "accelerometer_sensor", false, "Accelerometer", 1, "", "", 0,
         vectorExchanges("", "AccSensor : Meta event"), failure("AccSensor")},
        magneticRow(),
        {"GyroSensor", 4, "gyro_sensor", false, "Gyroscope", 4, "", "", 0,
         vectorExchanges(gyroTail, "GyroSensor : Meta event"), failure("GyroSensor")},
        pressureRow(),
        proximityRow(),
        uncalMagneticRow(),
        {"UncalGyroSensor", 16, "uncal_gyro_sensor", false, "Gyroscope Uncalibrated", 16, "", "", 0,
         uncalibratedExchanges("UncalGyroSensor : Meta event"), failure("UncalGyroSensor")},
        {"UncalAccSensor", 43, "uncal_accel_sensor", false, "Accelerometer Uncalibrated", 35, "",
         "", 0, uncalibratedExchanges("UncalAccSensor : Meta event"), failure("UncalAccSensor")},
        {"AccSubSensor", 58, "accelerometer_sub_sensor", false, "Accelerometer-Sub", 65687,
         "com.tavrine.sensor.accelerometer_sub", kQSensor, 0,
         vectorExchanges("", "AccSensor : Meta event"), failure("AccSubSensor")},
        {"UncalAccSubSensor", 59, "uncal_accel_sub_sensor", false, "Accelerometer Uncalibrated Sub",
         65688, "com.tavrine.sensor.accelerometer_uncalibrated_sub", kQSensor, 0,
         uncalibratedExchanges("UncalAccSensor : Meta event"), failure("UncalAccSubSensor")},
        {"GyroSubSensor", 60, "gyro_sub_sensor", false, "Gyroscope-Sub", 65689,
         "com.tavrine.sensor.gyroscope_sub", kQSensor, 0,
         vectorExchanges(gyroTail, "GyroSensor : Meta event"), failure("GyroSubSensor")},
        {"UncalGyroSubSensor", 61, "uncal_gyro_sub_sensor", false, "Gyroscope Uncalibrated Sub",
         65690, "com.tavrine.sensor.gyroscope_uncalibrated_sub", kQSensor, 0,
         uncalibratedExchanges("UncalGyroSensor : Meta event"), failure("UncalGyroSubSensor")},
    };
}

}  // namespace golden
