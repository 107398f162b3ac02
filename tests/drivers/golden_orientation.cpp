#include "tests/drivers/Golden.h"

namespace golden {

namespace {

std::string quaternion(int32_t x, int32_t y, int32_t z, int32_t w, int8_t accuracy,
                       uint64_t timestamp) {
    const auto components = rec().i32(x).i32(y).i32(z).i32(w).bytes();
    return components + byteRecord(static_cast<uint8_t>(accuracy), timestamp);
}

DriverRow quaternionRow(DriverRow row, const char* metaLine) {
    row.on("data", quaternion(1000000, -2000000, 500000, 1500000, 5, kTime),
           data(kTime, {1.0F, -2.0F, 0.5F, 1.5F, 0.5F}));
    // In double precision the component would come out as 0x42F6E9E0; as a multiple of a
    // single-precision tenth the accuracy would be 0xBF666667.
    row.on("rounding", quaternion(123456789, 0, 0, 0, -9, 1),
           data(1, {0x42F6E9E1U, 0U, 0U, 0U, 0xBF666666U}));
    row.on("accuracy without timestamp", quaternion(0, 0, 0, 0, -10, 0),
           data(0, {0.0F, 0.0F, 0.0F, 0.0F, -1.0F}));
    row.on("last component without timestamp", quaternion(0, 0, 0, 1500000, 0, 0),
           data(0, {0.0F, 0.0F, 0.0F, 1.5F, 0.0F}));
    return row.flushMarker(quaternion(0, 0, 0, 0, 0, 0), {error(metaLine)});
}

DriverRow gyroRow(DriverRow row, const char* metaLine) {
    const std::string tail = "\x7F\x7F\x7F\x7F";
    row.on("data", vectorRecord(1, -2, 3, kTime) + tail,
           data(kTime, {0.5F, -1.0F, 1.5F, kAccuracyHigh}));
    row.on("unpadded, widest count", vectorRecord(-32768, 0, 1, 9),
           data(9, {-16384.0F, 0.0F, 0.5F, kAccuracyHigh}));
    row.on("no timestamp but data", vectorRecord(0, 0, -2, 0),
           data(0, {0.0F, 0.0F, -1.0F, kAccuracyHigh}));
    return row.flushMarker(vectorRecord(0, 0, 0, 0) + tail, {error(metaLine)});
}

DriverRow orientationRow(int handle) {
    DriverRow row("DeviceOrientation", handle, kNonWakeUp, "Device Orientataion", 27, "", "", 2,
                  "DeviceOrientation(0) :");
    row.on("data", byteRecord(3, 5000000000), data(5000000000, {3.0F, 0U, 0U, kAccuracyHigh}),
           {info("DeviceOrientation(0): event = 3, time = 5000000000")});
    row.on("beyond the last orientation", byteRecord(4, 6), data(6, {-1.0F, 0U, 0U, kAccuracyHigh}),
           {info("DeviceOrientation(0): event = 4, time = 6")});
    return row.flushMarker(byteRecord(2, 0), {info("DeviceOrientation(0): Meta event")});
}

DriverRow aoisRow() {
    DriverRow row("AoisSensor", 49, kNonWakeUp, "Aois Sensor", 65699,
                  "com.tavrine.sensor.gyroscope_aois", kQSensor, 6, "AoisSensor :");
    row.on("any record is a signal", rec().u64(kTime).bytes(), meta(),
           {error("AoisSensor : Meta event")});
    return row.flushMarker(rec().u64(0).bytes(), {error("AoisSensor : Meta event")});
}

}  // namespace

std::vector<DriverRow> orientationRows() {
    return {
        quaternionRow({"RotationVector", 11, kNonWakeUp, "Tavrine Rotation Vector", 11, "", "", 0,
                       "RotationVector :"},
                      "RotationVectorSensor : Meta event"),
        quaternionRow({"GameRotationVector", 15, kNonWakeUp, "Tavrine Game Rotation Vector", 15, "",
                       "", 0, "GameRotationVector :"},
                      "GRV Sensor : Meta event")
            .hasNoOtherTwin(),
        orientationRow(27),
        gyroRow({"IntGyroSensor", 31, kNonWakeUp, "Interrupt Gyroscope", 65579,
                 "com.tavrine.sensor.interrupt_gyro", "", 2, "IntGyroSensor :"},
                "IntGyroSensor : Meta event"),
        gyroRow({"VdisGyroSensor", 38, kNonWakeUp, "VDIS Gyroscope", 65607,
                 "com.tavrine.sensor.vdis_gyro", kQSensor, 0x786, "VdisGyroSensor :"},
                "VdisGyroSensor : Meta event")
            .postsDirectly(),
        aoisRow(),
        gyroRow({"StillwaveGyroSensor", 50, kNonWakeUp, "Stillwave Gyroscope", 65646,
                 "com.tavrine.sensor.stillwave_gyro", kQSensor, 0x786, "StillwaveGyroSensor :"},
                "StillwaveGyroSensor : Meta event")
            .postsDirectly(),
        orientationRow(52),
    };
}

}  // namespace golden
