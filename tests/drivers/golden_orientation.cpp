#include "tests/drivers/Golden.h"

namespace golden {

namespace {

DriverRow& quaternion(DriverRow& row) {
    return row.form({4, 4, 4, 4, 1}, Marker::kAllZero)
        .data({1000000, -2000000, 500000, 1500000, 5}, {1.0F, -2.0F, 0.5F, 1.5F, 0.5F})
        // In double precision the component would come out as 0x42F6E9E0; as a multiple of a
        // single-precision tenth the accuracy would be 0xBF666667.
        .data({123456789, 0, 0, 0, -9}, {0x42F6E9E1U, 0U, 0U, 0U, 0xBF666666U});
}

DriverRow orientation(int handle) {
    DriverRow row("DeviceOrientation", handle, kNonWakeUp, "Device Orientataion", 27, "", "", 2,
                  "I DeviceOrientation(0): Meta event", "DeviceOrientation(0) :");
    row.form({1})
        .data({3}, {3.0F, 0U, 0U, kAccuracyHigh}, {"I DeviceOrientation(0): event = 3, time = %T"})
        .data({4}, {-1.0F, 0U, 0U, kAccuracyHigh},
              {"I DeviceOrientation(0): event = 4, time = %T"});
    return row;
}

}  // namespace

void orientationRows(Rows& rows) {
    quaternion(rows.emplace_back("RotationVector", 11, kNonWakeUp, "Tavrine Rotation Vector", 11,
                                 "", "", 0, "E RotationVectorSensor : Meta event"));
    quaternion(rows.emplace_back("GameRotationVector", 15, kNonWakeUp,
                                 "Tavrine Game Rotation Vector", 15, "", "", 0,
                                 "E GRV Sensor : Meta event"))
        .twinIsReachable = false;
    rows.push_back(orientation(27));
    gyroscope(rows.emplace_back("IntGyroSensor", 31, kNonWakeUp, "Interrupt Gyroscope", 65579,
                                "interrupt_gyro", "", 2, "E IntGyroSensor : Meta event"));
    gyroscope(rows.emplace_back("VdisGyroSensor", 38, kNonWakeUp, "VDIS Gyroscope", 65607,
                                "vdis_gyro", kQSensor, 0x786, "E VdisGyroSensor : Meta event"))
        .direct = true;
    rows.emplace_back("AoisSensor", 49, kNonWakeUp, "Aois Sensor", 65699, "gyroscope_aois",
                      kQSensor, 6, "E AoisSensor : Meta event")
        .form({}, Marker::kEveryRecord)
        .marker({});
    gyroscope(rows.emplace_back("StillwaveGyroSensor", 50, kNonWakeUp, "Stillwave Gyroscope", 65646,
                                "stillwave_gyro", kQSensor, 0x786,
                                "E StillwaveGyroSensor : Meta event"))
        .direct = true;
    rows.push_back(orientation(52));
}

}  // namespace golden
