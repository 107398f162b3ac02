#include <cutils/properties.h>
#include <fcntl.h>

#include <limits>

#include "tests/drivers/DriverBench.h"

namespace driver_tests {
namespace {

constexpr int kFlipCover = 42;
constexpr int kSequentialStep = 47;
constexpr int kSarBackoff = 54;
constexpr int kDropClassifier = 57;
constexpr char kCoverStatus[] = "/sys/class/sensors/flip_cover_detector_sensor/nfc_cover_status";

class Motion : public testing::Test, protected DriverBench {
  protected:
    Motion()
        : DriverBench({{kFlipCover, true},
                       {kSequentialStep, false},
                       {kSarBackoff, true},
                       {kDropClassifier, true}}) {}
};

class BuildType : public Motion {
  protected:
    ~BuildType() override { property_set("ro.build.type", ""); }
};

TEST_F(BuildType, DecidesWhetherTracesAreDelivered) {
    struct {
        const char* property;
        const char* line;
        bool delivered;
    } const kCases[] = {
        {"", "DropClassifier:: build_type user, user_build 1", false},
        {"user", "DropClassifier:: build_type user, user_build 1", false},
        {"eng", "DropClassifier:: build_type eng, user_build 0", true},
        {"en", "DropClassifier:: build_type en, user_build 1", false},
        {"userdebug", "DropClassifier:: build_type userdebug, user_build 0", true},
        {"userdebug2", "DropClassifier:: build_type userdebug2, user_build 0", true},
        {"my-eng", "DropClassifier:: build_type my-eng, user_build 1", false},
    };
    for (const auto& tested : kCases) {
        SCOPED_TRACE(tested.line);
        LogCapture::take();
        property_set("ro.build.type", tested.property);
        rebuild();
        EXPECT_EQ(LogCapture::count("I " + tested.line), 1);
        property_set("ro.build.type", tested.delivered ? "user" : "eng");  // too late

        const auto values = RecordBuilder().i64(1).i64(2).i64(3).u64(9).bytes();
        EXPECT_EQ(read(kDropClassifier, "\xFF" + values).size(), tested.delivered ? 1U : 0U);
        EXPECT_EQ(read(kDropClassifier, std::string(1, '\0') + values).size(), 1U);
    }
}

TEST_F(Motion, FlipCoverIsListedWhileItsStatusFileOpensReadWrite) {
    SensorBase& cover = sensor(kFlipCover);
    EXPECT_FALSE(cover.isShownSensorList());
    int askedFor = -1;
    int answer = 0;
    simulator::NodeHandler handler;
    handler.onOpen = [&](int flags) {
        askedFor = flags & O_ACCMODE;
        return answer;
    };
    mHub.setHandler(kCoverStatus, handler);
    EXPECT_TRUE(cover.isShownSensorList());
    EXPECT_EQ(askedFor, O_RDWR);
    answer = EACCES;
    EXPECT_FALSE(cover.isShownSensorList());
}

TEST_F(Motion, SarBackoffInjectsOneValue) {
    for (const uint32_t code : {0U, 1U})
        EXPECT_EQ(inject(kSarBackoff, code, {1}), 0);
    // The last is 2.0 as a float: the sub-command is raw bits.
    for (const uint32_t code : {2U, 0x10000001U, 0x40000000U})
        EXPECT_EQ(inject(kSarBackoff, code, {1}), -EINVAL);
    EXPECT_EQ(takeWritten(), Packets());
    EXPECT_LOG();

    EXPECT_EQ(inject(kSarBackoff, 0x10000000, {-2.75F}), 0);
    EXPECT_LOG("I SarBackoffMotion::injectSensorData: data -2");
    inject(kSarBackoff, 0x10000000, {1e20F});
    inject(kSarBackoff, 0x10000000, {std::numeric_limits<float>::quiet_NaN()});
    const RecordBuilder head = RecordBuilder().u8(1).u8(54);
    EXPECT_EQ(takeWritten(), (Packets{RecordBuilder(head).i32(-2).bytes(),
                                      RecordBuilder(head).i32(INT32_MAX).bytes(),
                                      RecordBuilder(head).i32(0).bytes()}));

    mHub.failWrite(kInjection, EIO);
    EXPECT_EQ(inject(kSarBackoff, 0x10000000, {1}), -EIO);
}

TEST_F(Motion, SequentialStepSendsItsPeriodAsThreshold) {
    SensorBase& step = sensor(kSequentialStep);
    struct {
        int64_t periodNs;
        int64_t threshold;
        const char* line;
    } const kCases[] = {
        {2500000, 2, "SequentialStep::batch: threshold 2"},
        {999999, 0, "SequentialStep::batch: threshold 0"},
        {-2500000, -2, "SequentialStep::batch: threshold -2"},
        {5000000000000000, 5000000000, "SequentialStep::batch: threshold 5000000000"},
    };
    for (const auto& tested : kCases) {
        EXPECT_EQ(step.batch(kSequentialStep, tested.periodNs, 7000000), 0);
        EXPECT_EQ(takeWritten(),
                  Packets{RecordBuilder().u8(1).u8(47).u8(0x80).i64(tested.threshold).bytes()});
        EXPECT_LOG("I " + tested.line);
    }

    mHub.failWrite(kInjection, EIO);
    EXPECT_EQ(step.batch(kSequentialStep, 2500000, 0), 0);
    EXPECT_EQ(LogCapture::count("E SequentialStep::writeInjection: error(-5) Input/output error"),
              1);
}

}  // namespace
}  // namespace driver_tests
