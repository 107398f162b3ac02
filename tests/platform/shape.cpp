// What a stand-in must share with the platform so that a library built here would run there. The
// assertions hold with every compiler; scripts/check-platform.sh has the rest printed from here.
#include <V2_0/SubHal.h>
#include <android/sensor.h>
#include <hardware/gralloc.h>
#include <hardware/gralloc1.h>
#include <hardware/sensors.h>

#include <type_traits>
#include <utility>

#ifdef GRALLOC_DEVICE_API_VERSION_1_0
#error "the platform has no such name"
#endif

namespace android::hardware::sensors::V2_0::implementation {

class Counter final : public IScopedWakelockRefCounter {
    bool incrementRefCountAndMaybeAcquireWakelock(size_t delta, int64_t* start) override;
    void decrementRefCountAndMaybeReleaseWakelock(size_t delta, int64_t start) override;
};

class Callback final : public IHalProxyCallback {
    Return<void> onDynamicSensorsConnected(const hidl_vec<SensorInfo>& infos) override;
    Return<void> onDynamicSensorsDisconnected(const hidl_vec<int32_t>& handles) override;
    void postEvents(const std::vector<Event>& events, ScopedWakelock wakelock) override;
    ScopedWakelock createScopedWakelock(bool lock) override;
};

class SubHalWithoutDebug : public ISensorsSubHal {
  public:
    Return<void> getSensorsList(getSensorsList_cb callback) override;
    Return<Result> setOperationMode(OperationMode mode) override;
    Return<Result> activate(int32_t handle, bool enabled) override;
    Return<Result> batch(int32_t handle, int64_t period, int64_t latency) override;
    Return<Result> flush(int32_t handle) override;
    Return<Result> injectSensorData(const Event& event) override;
    Return<void> registerDirectChannel(const SharedMemInfo& mem,
                                       registerDirectChannel_cb callback) override;
    Return<Result> unregisterDirectChannel(int32_t channel) override;
    Return<void> configDirectReport(int32_t sensor, int32_t channel, RateLevel rate,
                                    configDirectReport_cb callback) override;
    const std::string getName() override;
    using ISensorsSubHal::initialize;
    Return<Result> initialize(const sp<IHalProxyCallback>& callback) override;
};

class SubHal final : public SubHalWithoutDebug {
    Return<void> debug(const hidl_handle& handle, const hidl_vec<hidl_string>& args) override;
};

static_assert(std::is_abstract_v<SubHalWithoutDebug> && !std::is_abstract_v<SubHal>,
              "debug is every sub-HAL's own");

// The compiler checks access to the wakelock's constructor where it is named.
#define MAKES_WAKELOCKS(CLASS)                                                               \
    class CLASS {                                                                            \
      public:                                                                                \
        template <typename T>                                                                \
        static auto make(int)                                                                \
            -> decltype(T(std::declval<IScopedWakelockRefCounter*>(), std::declval<bool>()), \
                        std::true_type());                                                   \
        template <typename T>                                                                \
        static std::false_type make(...);                                                    \
    };

MAKES_WAKELOCKS(HalProxyCallbackBase)
MAKES_WAKELOCKS(ScopedWakelockTest)
MAKES_WAKELOCKS(HalProxyCallback)
template <typename Class>
constexpr bool kMakesWakelocks = decltype(Class::template make<ScopedWakelock>(0))::value;
static_assert(kMakesWakelocks<HalProxyCallbackBase> && kMakesWakelocks<ScopedWakelockTest> &&
                  !kMakesWakelocks<HalProxyCallback>,
              "friends of the wakelock");

#ifdef __LP64__
// The text inside has 32 bytes with one standard library and 24 with the other.
static_assert(sizeof(Return<void>) == sizeof(std::string) + 16, "Return<void> layout");
static_assert(sizeof(Return<int32_t>) == sizeof(std::string) + 16, "Return<int32_t> layout");
#endif
static_assert(sizeof(MQDescriptorSync<Event>) == 32, "MQDescriptorSync layout");

void printed();
void printed() {
    new Counter;
    new Callback;
    new SubHal;
}

}  // namespace android::hardware::sensors::V2_0::implementation
