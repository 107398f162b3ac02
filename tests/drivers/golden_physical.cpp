#include "tests/drivers/Golden.h"

namespace golden {

namespace {

void vectorForm(DriverRow& row) {
    row.form({2, 2, 2}, Marker::kAllZero).data({1, -2, 3}, {0.5F, -1.0F, 1.5F, kAccuracyHigh});
}

void uncalibratedForm(DriverRow& row) {
    row.form({2, 2, 2, 2, 2, 2}, Marker::kAllZero)
        .data({1, -2, 3, 4, -5, 6}, {0.5F, -1.0F, 1.5F, 2.0F, -2.5F, 3.0F});
}

}  // namespace

DriverRow& gyroscope(DriverRow& row) {
    vectorForm(row);
    return row.form({2, 2, 2}, Marker::kAllZero, {}, "\x7F\x7F\x7F\x7F")
        .data({-32768, 5, -6}, {-16384.0F, 2.5F, -3.0F, kAccuracyHigh});
}

void physicalRows(Rows& rows) {
    vectorForm(rows.emplace_back("AccSensor", 1, kNonWakeUp, "Accelerometer", 1, "", "", 0,
                                 "E AccSensor : Meta event"));
    rows.emplace_back("MagneticSensor", 2, kNonWakeUp, "Magnetometer", 2, "", "", 0,
                      "E MagneticSensor : Meta event")
        .form({4, 4, 4, 1}, Marker::kAllZero)
        .data({16777219, -2, 200, 2}, {8388610.0F, -1.0F, 100.0F, 2U})
        .bytes("\1\0\0\0\2\0\0\0\3\0\0\0\2\5\0\0"s, Posted{false, 5, {0.5F, 1.0F, 1.5F, 2U}})
        .form({2, 2, 2, 1}, Marker::kAllZero)
        .data({1, -2, 3, 1}, {0.5F, -1.0F, 1.5F, 1U});
    gyroscope(rows.emplace_back("GyroSensor", 4, kNonWakeUp, "Gyroscope", 4, "", "", 0,
                                "E GyroSensor : Meta event"));
    rows.emplace_back("PressureSensor", 6, kNonWakeUp, "Barometer", 6, "", "", 0,
                      "E PressureSensor : Meta event")
        .form({4, 2, 4, 4}, Marker::kAllZero, {3})
        .data({16777219, 9, -8388608, 8}, {6144.0009765625F})  // 25165827 / 4096, rounded
        .data({INT32_MIN, 0, 1, 0}, {524288.0F});              // the difference wraps
    rows.emplace_back("ProximitySensor", 8, kWakeUp, "Proximity", 65592, "physical_proximity",
                      kQSensor, 2, "E ProximitySensor : Meta event", "ProxSensor :")
        .form({1})
        .data({0}, {8.0F, 100.0F}, {"I ProximitySensor - lux 100", "I ProximitySensor - 8(cm)"})
        .data({2}, {0.0F, 0.0F}, {"I ProximitySensor - lux 0", "I ProximitySensor - 0(cm)"})
        .marker({0}, {"I ProximitySensor - lux 100"});
    DriverRow& magnetic =
        rows.emplace_back("UncalMagneticSensor", 14, kNonWakeUp, "Magnetometer Uncalibrated", 14,
                          "", "", 0, "E UncalMagneticSensor Sensor : Meta event");
    magnetic.form({4, 4, 4, 4, 4, 4}, Marker::kAllZero)
        .data({1, -2, 16777219, 4, -5, 200}, {0.5F, -1.0F, 8388610.0F, 2.0F, -2.5F, 100.0F})
        .bytes("\1\0\0\0\2\0\0\0\3\0\0\0\4\0\0\0\5\0\0\0\7"s,
               Posted{false, 0, {0.5F, 1.0F, 1.5F, 2.0F, 2.5F, 3.5F}});
    uncalibratedForm(magnetic);
    uncalibratedForm(rows.emplace_back("UncalGyroSensor", 16, kNonWakeUp, "Gyroscope Uncalibrated",
                                       16, "", "", 0, "E UncalGyroSensor : Meta event"));
    uncalibratedForm(rows.emplace_back("UncalAccSensor", 43, kNonWakeUp,
                                       "Accelerometer Uncalibrated", 35, "", "", 0,
                                       "E UncalAccSensor : Meta event"));
    vectorForm(rows.emplace_back("AccSubSensor", 58, kNonWakeUp, "Accelerometer-Sub", 65687,
                                 "accelerometer_sub", kQSensor, 0, "E AccSensor : Meta event"));
    uncalibratedForm(rows.emplace_back(
        "UncalAccSubSensor", 59, kNonWakeUp, "Accelerometer Uncalibrated Sub", 65688,
        "accelerometer_uncalibrated_sub", kQSensor, 0, "E UncalAccSensor : Meta event"));
    gyroscope(rows.emplace_back("GyroSubSensor", 60, kNonWakeUp, "Gyroscope-Sub", 65689,
                                "gyroscope_sub", kQSensor, 0, "E GyroSensor : Meta event"));
    uncalibratedForm(rows.emplace_back(
        "UncalGyroSubSensor", 61, kNonWakeUp, "Gyroscope Uncalibrated Sub", 65690,
        "gyroscope_uncalibrated_sub", kQSensor, 0, "E UncalGyroSensor : Meta event"));
}

}  // namespace golden
