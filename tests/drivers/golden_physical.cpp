#include "tests/drivers/Golden.h"

namespace golden {

namespace {

const std::string kGyroTail = "\x7F\x7F\x7F\x7F";

std::string uncalibrated() {
    return rec().i16(1).i16(-2).i16(3).i16(4).i16(-5).i16(6).u64(77).bytes();
}

DriverRow vectorRow(DriverRow row, const std::string& tail, const char* metaLine) {
    row.on("data", vectorRecord(1, -2, 3, kTime) + tail,
           data(kTime, {0.5F, -1.0F, 1.5F, kAccuracyHigh}));
    row.on("no timestamp but data", vectorRecord(-2, 0, 0, 0) + tail,
           data(0, {-1.0F, 0.0F, 0.0F, kAccuracyHigh}));
    return row.flushMarker(vectorRecord(0, 0, 0, 0) + tail, {error(metaLine)});
}

DriverRow uncalibratedRow(DriverRow row, const char* metaLine) {
    row.on("data", uncalibrated(), data(77, {0.5F, -1.0F, 1.5F, 2.0F, -2.5F, 3.0F}));
    row.on("no timestamp but a bias", rec().i64(0).i16(0).i16(6).u64(0).bytes(),
           data(0, {0.0F, 0.0F, 0.0F, 0.0F, 0.0F, 3.0F}));
    return row.flushMarker(std::string(20, '\0'), {error(metaLine)});
}

DriverRow magneticRow() {
    DriverRow row("MagneticSensor", 2, kNonWakeUp, "Magnetometer", 2, "", "", 0,
                  "MagneticSensor :");
    row.on("long form", rec().i32(1).i32(-2).i32(200).u8(2).u64(66).bytes(),
           data(66, {0.5F, -1.0F, 100.0F, 2U}));
    row.on("short form", rec().i16(1).i16(-2).i16(3).u8(1).u64(55).bytes(),
           data(55, {0.5F, -1.0F, 1.5F, 1U}));
    row.on("sixteen bytes are the long form",
           rec().i32(1).i32(-2).i32(3).u8(2).u8(5).u16(0).bytes(),
           data(5, {0.5F, -1.0F, 1.5F, 2U}));
    row.on("accuracy without timestamp", rec().i32(0).i32(0).i32(0).u8(3).u64(0).bytes(),
           data(0, {0.0F, 0.0F, 0.0F, 3U}));
    row.flushMarker(std::string(21, '\0'), {error("MagneticSensor : Meta event")});
    return row.flushMarker(std::string(15, '\0'), {error("MagneticSensor : Meta event")});
}

DriverRow uncalMagneticRow() {
    DriverRow row("UncalMagneticSensor", 14, kNonWakeUp, "Magnetometer Uncalibrated", 14, "", "", 0,
                  "UncalMagneticSensor :");
    row.on("long form", rec().i32(1).i32(-2).i32(3).i32(4).i32(-5).i32(200).u64(66).bytes(),
           data(66, {0.5F, -1.0F, 1.5F, 2.0F, -2.5F, 100.0F}));
    row.on("21 bytes are the long form", rec().i32(1).i32(-2).i32(3).i32(4).i32(-5).u8(7).bytes(),
           data(0, {0.5F, -1.0F, 1.5F, 2.0F, -2.5F, 3.5F}));
    row.on("short form", uncalibrated(), data(77, {0.5F, -1.0F, 1.5F, 2.0F, -2.5F, 3.0F}));
    return row.flushMarker(std::string(32, '\0'),
                           {error("UncalMagneticSensor Sensor : Meta event")});
}

DriverRow pressureRow() {
    const auto pressure = [](int32_t raw, int32_t offset, uint64_t timestamp) {
        return rec().i32(raw).u16(9).i32(offset).i32(8).u64(timestamp).bytes();
    };
    DriverRow row("PressureSensor", 6, kNonWakeUp, "Barometer", 6, "", "", 0, "PressureSensor :");
    row.on("data", pressure(100007, 7, 44), data(44, {24.4140625F}));  // 100000 / 4096
    row.on("the difference wraps", pressure(INT32_MIN, 1, 44), data(44, {524288.0F}));
    row.on("temperature without timestamp", pressure(0, 0, 0), data(0, {0.0F}));
    row.on("offset without timestamp", rec().i32(0).u16(0).i32(-4096).i32(0).u64(0).bytes(),
           data(0, {1.0F}));
    return row.flushMarker(std::string(22, '\0'), {error("PressureSensor : Meta event")});
}

DriverRow proximityRow() {
    DriverRow row("ProximitySensor", 8, kWakeUp, "Proximity", 65592,
                  "com.tavrine.sensor.physical_proximity", kQSensor, 2, "ProxSensor :");
    row.on("far", byteRecord(0, 33), data(33, {8.0F, 100.0F}),
           {info("ProximitySensor - lux 100"), info("ProximitySensor - 8(cm)")});
    row.on("near", byteRecord(2, 34), data(34, {0.0F, 0.0F}),
           {info("ProximitySensor - lux 0"), info("ProximitySensor - 0(cm)")});
    return row.flushMarker(
        byteRecord(1, 0), {info("ProximitySensor - lux 0"), error("ProximitySensor : Meta event")});
}

}  // namespace

std::vector<DriverRow> physicalRows() {
    return {
        vectorRow({"AccSensor", 1, kNonWakeUp, "Accelerometer", 1, "", "", 0, "AccSensor :"}, "",
                  "AccSensor : Meta event"),
        magneticRow(),
        vectorRow({"GyroSensor", 4, kNonWakeUp, "Gyroscope", 4, "", "", 0, "GyroSensor :"},
                  kGyroTail, "GyroSensor : Meta event"),
        pressureRow(),
        proximityRow(),
        uncalMagneticRow(),
        uncalibratedRow({"UncalGyroSensor", 16, kNonWakeUp, "Gyroscope Uncalibrated", 16, "", "", 0,
                         "UncalGyroSensor :"},
                        "UncalGyroSensor : Meta event"),
        uncalibratedRow({"UncalAccSensor", 43, kNonWakeUp, "Accelerometer Uncalibrated", 35, "", "",
                         0, "UncalAccSensor :"},
                        "UncalAccSensor : Meta event"),
        vectorRow({"AccSubSensor", 58, kNonWakeUp, "Accelerometer-Sub", 65687,
                   "com.tavrine.sensor.accelerometer_sub", kQSensor, 0, "AccSubSensor :"},
                  "", "AccSensor : Meta event"),
        uncalibratedRow({"UncalAccSubSensor", 59, kNonWakeUp, "Accelerometer Uncalibrated Sub",
                         65688, "com.tavrine.sensor.accelerometer_uncalibrated_sub", kQSensor, 0,
                         "UncalAccSubSensor :"},
                        "UncalAccSensor : Meta event"),
        vectorRow({"GyroSubSensor", 60, kNonWakeUp, "Gyroscope-Sub", 65689,
                   "com.tavrine.sensor.gyroscope_sub", kQSensor, 0, "GyroSubSensor :"},
                  kGyroTail, "GyroSensor : Meta event"),
        uncalibratedRow(
            {"UncalGyroSubSensor", 61, kNonWakeUp, "Gyroscope Uncalibrated Sub", 65690,
             "com.tavrine.sensor.gyroscope_uncalibrated_sub", kQSensor, 0, "UncalGyroSubSensor :"},
            "UncalGyroSensor : Meta event"),
    };
}

}  // namespace golden
