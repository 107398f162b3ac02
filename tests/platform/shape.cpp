// What a stand-in must share with the platform so that a library built here would run there. The
// assertions hold with every compiler; scripts/check-platform.sh has virtual tables printed of it.
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

// Where a class's destructor is defined, the compiler lays out its virtual table, pure functions
// included.
struct Counter : IScopedWakelockRefCounter {
    ~Counter() override;
};
struct Callback : IHalProxyCallback {
    ~Callback() override;
};
struct SubHal : ISensorsSubHal {
    ~SubHal() override;
};
Counter::~Counter() = default;
Callback::~Callback() = default;
SubHal::~SubHal() = default;

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

}  // namespace android::hardware::sensors::V2_0::implementation
