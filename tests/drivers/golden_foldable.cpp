#include <cmath>

#include "tests/drivers/Golden.h"

namespace golden {

namespace {

// Bit patterns of floats that the rows use.
constexpr uint32_t k0 = 0x00000000;
constexpr uint32_t k1 = 0x3F800000;
constexpr uint32_t kMinus1 = 0xBF800000;
constexpr uint32_t k2 = 0x40000000;
constexpr uint32_t k3 = 0x40400000;
constexpr uint32_t kMinus5 = 0xC0A00000;
constexpr uint32_t k95 = 0x42BE0000;
constexpr uint32_t k180 = 0x43340000;
constexpr uint32_t k255 = 0x437F0000;

DriverRow row(const char* className, int handle, const char* iioName, bool plainIsWakeUp,
              const char* displayName, int32_t type, const char* stringType, const char* permission,
              uint32_t flags, std::vector<Exchange> exchanges, const std::string& markerRecord) {
    // The timestamp alone makes the marker.
    exchanges.push_back({"flush marker whatever the data",
                         markerRecord,
                         {meta()},
                         {{'E', std::string(className) + " : Meta event"}}});
    return {className,
            handle,
            iioName,
            plainIsWakeUp,
            displayName,
            type,
            stringType,
            permission,
            flags,
            std::move(exchanges),
            std::string(className) +
                " :input data file descriptor not available - (Input/output error)"};
}

std::string angle(int32_t degrees, uint64_t timestamp) {
    return rec().i32(degrees).u64(timestamp).bytes();
}

std::string status(uint8_t value, uint64_t timestamp) {
    return rec().u8(value).u64(timestamp).bytes();
}

std::string device(uint8_t type, uint8_t table, uint8_t screen, uint64_t timestamp) {
    return rec().u8(type).u8(table).u8(screen).u64(timestamp).bytes();
}

/** The fused records' head, then each vector as (v, v + 0.25, -v). */
std::string fused(int32_t mode, int32_t degrees, float dtime, const std::vector<float>& vectors,
                  uint64_t timestamp) {
    auto record = rec();
    record.i32(mode).i32(degrees).u8(200).u8(7).f32(dtime);
    for (const float v : vectors)
        record.f32(v).f32(v + 0.25F).f32(-v);
    return record.u64(timestamp).bytes();
}

DriverRow lidAngleFusionRow() {
    return row("LidAngleFusion", 63, "lid_angle_fusion", true, "Lid Angle Fusion", 65695,
               "com.tavrine.sensor.lid_angle_fusion", kQSensor, 2,
               {{"data",
                 fused(2, 95, 0.0125F, {1, 2, 3, 4}, 5000000000),
                 {data(5000000000, {k2, k95})},
                 {{'I',
                   "LidAngleFusion: fusion_mode = 2, angle = 95, (state = 200, error_code = 7, "
                   "dtime = 0.013, acc_main : 1.0000 1.2500 -1.0000, "
                   "gyro_main = 2.0000 2.2500 -2.0000, acc_sub : 3.0000 3.2500 -3.0000, "
                   "gyro_sub = 4.0000 4.2500 -4.0000), time = 5000000000"}}}},
               fused(2, 95, 1, {1, 2, 3, 4}, 0));
}

DriverRow foldingStateLpmRow() {
    return row(
        "FoldingStateLpm", 65, "folding_state_lpm", true, "Folding State Lpm", 65697,
        "com.tavrine.sensor.folding_state_lpm", kQSensor, 2,
        {{"data",
          fused(3, -5, 0.5F, {1, 2}, 5000000000),
          {data(5000000000, {k3, kMinus5})},
          {{'I',
            "FoldingStateLpm: fusion_mode = 3, angle = -5, (state = 200, error_code = 7, "
            "dtime = 0.500, acc_main : 1.0000 1.2500 -1.0000, acc_sub : 2.0000 2.2500 -2.0000), "
            "time = 5000000000"}}},
         {"values that are no numbers only reach the log",
          fused(0, 180, NAN, {1, INFINITY}, 8),
          {data(8, {k0, k180})},
          {{'I',
            "FoldingStateLpm: fusion_mode = 0, angle = 180, (state = 200, error_code = 7, "
            "dtime = nan, acc_main : 1.0000 1.2500 -1.0000, acc_sub : inf inf -inf), time = 8"}}}},
        fused(3, -5, 1, {1, 2}, 0));
}

}  // namespace

std::vector<DriverRow> foldableRows() {
    return {
        row("FoldingAngle", 62, "folding_angle", false, "Folding Angle", 65686,
            "com.tavrine.sensor.foling_angle", kQSensor, 2,
            {{"data",
              angle(-5, 5000000000),
              {data(5000000000, {kMinus5})},
              {{'I', "FoldingAngle: event = -5, time = 5000000000"}}}},
            angle(95, 0)),
        lidAngleFusionRow(),
        row("HingeAngle", 64, "hinge_angle", true, "Hinge Angle", 36, "", "", 2,
            {{"data",
              angle(180, 5000000000),
              {data(5000000000, {k180})},
              {{'I', "HingeAngle: event = 180, time = 5000000000"}}}},
            angle(95, 0)),
        foldingStateLpmRow(),
        row("AngleSensorStatus", 68, "angle_sensor_status", true, "Angle Sensor Status", 65700,
            "com.tavrine.sensor.angle_sensor_status_check", kQSensor, 3,
            {{"data",
              status(0xFF, 5000000000),
              {data(5000000000, {kMinus1})},
              {{'I', "AngleSensorStatus : event = -1, time = 5000000000"}}}},
            status(1, 0)),
        row("DeviceCommonInfo", 69, "device_common_info", true, "Device Common Info", 65649,
            "com.tavrine.sensor.device_common_info", "", 2,
            {{"data",
              device(1, 255, 2, 5000000000),
              {data(5000000000, {k1, k255, k2})},
              {{'I',
                "DeviceCommonInfo : device_type=1 table_mode=255 active_screen=2, "
                "time = 5000000000"}}}},
            device(1, 1, 2, 0)),
        row("SarFolding", 70, "sar_folding", false, "Sar Folding", 65711,
            "com.tavrine.sensor.sar_folding", kQSensor, 2,
            {{"data",
              status(0xFF, 5000000000),
              {data(5000000000, {k255})},
              {{'I', "SarFolding : status=255 time = 5000000000"}}}},
            status(1, 0)),
    };
}

}  // namespace golden
