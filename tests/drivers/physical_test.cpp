#include <gtest/gtest.h>

#include "tests/drivers/DriverBench.h"

namespace driver_tests {

TEST(PressureSensor, ScaleFollowsTheVendor) {
    constexpr int kPressure = 6;
    const auto record = RecordBuilder().i32(100000).u16(0).i32(0).i32(0).u64(5).bytes();
    const auto hectopascals = [&](int vendor) {
        DriverBench bench({{kPressure, false, vendor}});
        bench.rebuild();
        EXPECT_EQ(LogCapture::contains("W PressureSensor : There is no vendor name"),
                  vendor != 3 && vendor != 8);
        return bench.read(kPressure, record).at(0).events.at(0).u.scalar;
    };
    EXPECT_EQ(hectopascals(3), 24.4140625F);  // STM, 1/4096
    EXPECT_EQ(hectopascals(8), 15.625F);      // Bosch Sensortec, 1/6400
    EXPECT_EQ(hectopascals(0), 100000.0F);
    EXPECT_EQ(hectopascals(200), 100000.0F);
}

}  // namespace driver_tests
