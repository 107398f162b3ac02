#include <cmath>

#include "tests/drivers/Golden.h"

namespace golden {

void foldableRows(Rows& rows) {
    rows.emplace_back("FoldingAngle", 62, kNonWakeUp, "Folding Angle", 65686, "foling_angle",
                      kQSensor, 2, "E FoldingAngle : Meta event")
        .form({4})
        .data({-16777219}, {-16777220.0F}, {"I FoldingAngle: event = -16777219, time = %T"});
    rows.emplace_back("LidAngleFusion", 63, kWakeUp, "Lid Angle Fusion", 65695, "lid_angle_fusion",
                      kQSensor, 2, "E LidAngleFusion : Meta event")
        .form({4, 4, 1, 1, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4})
        .data({16777219, 95, 200, 7, 0.0125F, 1.0F, 1.25F, -1.0F, 2.0F, 2.25F, -2.0F, 3.0F, 3.25F,
               -3.0F, 4.0F, 4.25F, -4.0F},
              {16777220.0F, 95.0F},
              {"I LidAngleFusion: fusion_mode = 16777219, angle = 95, (state = 200, "
               "error_code = 7, dtime = 0.013, acc_main : 1.0000 1.2500 -1.0000, "
               "gyro_main = 2.0000 2.2500 -2.0000, acc_sub : 3.0000 3.2500 -3.0000, "
               "gyro_sub = 4.0000 4.2500 -4.0000), time = %T"});
    rows.emplace_back("HingeAngle", 64, kWakeUp, "Hinge Angle", 36, "", "", 2,
                      "E HingeAngle : Meta event")
        .form({4})
        .data({16777219}, {16777220.0F}, {"I HingeAngle: event = 16777219, time = %T"});
    rows.emplace_back("FoldingStateLpm", 65, kWakeUp, "Folding State Lpm", 65697,
                      "folding_state_lpm", kQSensor, 2, "E FoldingStateLpm : Meta event")
        .form({4, 4, 1, 1, 4, 4, 4, 4, 4, 4, 4})
        .data({3, -16777219, 200, 7, 0.5F, 1.0F, 1.25F, -1.0F, 2.0F, 2.25F, -2.0F},
              {3.0F, -16777220.0F},
              {"I FoldingStateLpm: fusion_mode = 3, angle = -16777219, (state = 200, "
               "error_code = 7, dtime = 0.500, acc_main : 1.0000 1.2500 -1.0000, "
               "acc_sub : 2.0000 2.2500 -2.0000), time = %T"})
        // What is no number only reaches the log.
        .data({0, 180, 0, 0, NAN, 1.0F, 1.25F, -1.0F, INFINITY, INFINITY, -INFINITY},
              {0.0F, 180.0F},
              {"I FoldingStateLpm: fusion_mode = 0, angle = 180, (state = 0, error_code = 0, "
               "dtime = nan, acc_main : 1.0000 1.2500 -1.0000, acc_sub : inf inf -inf), "
               "time = %T"});
    rows.emplace_back("AngleSensorStatus", 68, kWakeUp, "Angle Sensor Status", 65700,
                      "angle_sensor_status_check", kQSensor, 3, "E AngleSensorStatus : Meta event")
        .form({1})
        .data({-1}, {-1.0F}, {"I AngleSensorStatus : event = -1, time = %T"});
    rows.emplace_back("DeviceCommonInfo", 69, kWakeUp, "Device Common Info", 65649,
                      "device_common_info", "", 2, "E DeviceCommonInfo : Meta event")
        .form({1, 1, 1})
        .data({1, 255, 2}, {1.0F, 255.0F, 2.0F},
              {"I DeviceCommonInfo : device_type=1 table_mode=255 active_screen=2, time = %T"});
    rows.emplace_back("SarFolding", 70, kNonWakeUp, "Sar Folding", 65711, "sar_folding", kQSensor,
                      2, "E SarFolding : Meta event")
        .form({1})
        .data({255}, {255.0F}, {"I SarFolding : status=255 time = %T"});
}

}  // namespace golden
