#include <android/hidl/base/1.0/IBase.h>

namespace android::hidl::base::V1_0 {

const char* IBase::descriptor = "android.hidl.base@1.0::IBase";

}  // namespace android::hidl::base::V1_0
