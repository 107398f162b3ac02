#include <cmath>

#include "tests/drivers/Golden.h"

namespace golden {

namespace {

/** The fused records' head, then each vector as (v, v + 0.25, -v). */
std::string fused(int32_t mode, int32_t degrees, float dtime, const std::vector<float>& vectors,
                  uint64_t timestamp) {
    auto record = rec();
    record.i32(mode).i32(degrees).u8(200).u8(7).f32(dtime);
    for (const float v : vectors)
        record.f32(v).f32(v + 0.25F).f32(-v);
    return record.u64(timestamp).bytes();
}

DriverRow foldingAngleRow() {
    DriverRow row("FoldingAngle", 62, kNonWakeUp, "Folding Angle", 65686,
                  "com.tavrine.sensor.foling_angle", kQSensor, 2, "FoldingAngle :");
    row.on("data", intRecord(-5, kTime), data(kTime, {-5.0F}),
           {info("FoldingAngle: event = -5, time = 1234605616436508552")});
    return row.flushMarker(intRecord(95, 0), {error("FoldingAngle : Meta event")});
}

DriverRow lidAngleFusionRow() {
    DriverRow row("LidAngleFusion", 63, kWakeUp, "Lid Angle Fusion", 65695,
                  "com.tavrine.sensor.lid_angle_fusion", kQSensor, 2, "LidAngleFusion :");
    row.on("data", fused(2, 95, 0.0125F, {1, 2, 3, 4}, kTime), data(kTime, {2.0F, 95.0F}),
           {info("LidAngleFusion: fusion_mode = 2, angle = 95, (state = 200, error_code = 7, "
                 "dtime = 0.013, acc_main : 1.0000 1.2500 -1.0000, "
                 "gyro_main = 2.0000 2.2500 -2.0000, acc_sub : 3.0000 3.2500 -3.0000, "
                 "gyro_sub = 4.0000 4.2500 -4.0000), time = 1234605616436508552")});
    return row.flushMarker(fused(2, 95, 1, {1, 2, 3, 4}, 0),
                           {error("LidAngleFusion : Meta event")});
}

DriverRow hingeAngleRow() {
    DriverRow row("HingeAngle", 64, kWakeUp, "Hinge Angle", 36, "", "", 2, "HingeAngle :");
    row.on("data", intRecord(180, kTime), data(kTime, {180.0F}),
           {info("HingeAngle: event = 180, time = 1234605616436508552")});
    return row.flushMarker(intRecord(95, 0), {error("HingeAngle : Meta event")});
}

DriverRow foldingStateLpmRow() {
    DriverRow row("FoldingStateLpm", 65, kWakeUp, "Folding State Lpm", 65697,
                  "com.tavrine.sensor.folding_state_lpm", kQSensor, 2, "FoldingStateLpm :");
    row.on("data", fused(3, -5, 0.5F, {1, 2}, kTime), data(kTime, {3.0F, -5.0F}),
           {info("FoldingStateLpm: fusion_mode = 3, angle = -5, (state = 200, error_code = 7, "
                 "dtime = 0.500, acc_main : 1.0000 1.2500 -1.0000, "
                 "acc_sub : 2.0000 2.2500 -2.0000), time = 1234605616436508552")});
    row.on("values that are no numbers only reach the log", fused(0, 180, NAN, {1, INFINITY}, 8),
           data(8, {0.0F, 180.0F}),
           {info("FoldingStateLpm: fusion_mode = 0, angle = 180, (state = 200, error_code = 7, "
                 "dtime = nan, acc_main : 1.0000 1.2500 -1.0000, acc_sub : inf inf -inf), "
                 "time = 8")});
    return row.flushMarker(fused(3, -5, 1, {1, 2}, 0), {error("FoldingStateLpm : Meta event")});
}

DriverRow angleSensorStatusRow() {
    DriverRow row("AngleSensorStatus", 68, kWakeUp, "Angle Sensor Status", 65700,
                  "com.tavrine.sensor.angle_sensor_status_check", kQSensor, 3,
                  "AngleSensorStatus :");
    row.on("data", byteRecord(0xFF, kTime), data(kTime, {-1.0F}),
           {info("AngleSensorStatus : event = -1, time = 1234605616436508552")});
    return row.flushMarker(byteRecord(1, 0), {error("AngleSensorStatus : Meta event")});
}

DriverRow deviceCommonInfoRow() {
    DriverRow row("DeviceCommonInfo", 69, kWakeUp, "Device Common Info", 65649,
                  "com.tavrine.sensor.device_common_info", "", 2, "DeviceCommonInfo :");
    row.on("data", rec().u8(1).u8(255).u8(2).u64(kTime).bytes(), data(kTime, {1.0F, 255.0F, 2.0F}),
           {info("DeviceCommonInfo : device_type=1 table_mode=255 active_screen=2, "
                 "time = 1234605616436508552")});
    return row.flushMarker(rec().u8(1).u8(1).u8(2).u64(0).bytes(),
                           {error("DeviceCommonInfo : Meta event")});
}

DriverRow sarFoldingRow() {
    DriverRow row("SarFolding", 70, kNonWakeUp, "Sar Folding", 65711,
                  "com.tavrine.sensor.sar_folding", kQSensor, 2, "SarFolding :");
    row.on("data", byteRecord(0xFF, kTime), data(kTime, {255.0F}),
           {info("SarFolding : status=255 time = 1234605616436508552")});
    return row.flushMarker(byteRecord(1, 0), {error("SarFolding : Meta event")});
}

}  // namespace

std::vector<DriverRow> foldableRows() {
    return {foldingAngleRow(),      lidAngleFusionRow(),   hingeAngleRow(), foldingStateLpmRow(),
            angleSensorStatusRow(), deviceCommonInfoRow(), sarFoldingRow()};
}

}  // namespace golden
