#include <utils/RefBase.h>

namespace android {

RefBase::RefBase() = default;
RefBase::~RefBase() = default;

void RefBase::incStrong(const void* /*id*/) const {
    mStrong.fetch_add(1, std::memory_order_relaxed);
    if (!mReferenced.load(std::memory_order_relaxed) &&
        !mReferenced.exchange(true, std::memory_order_relaxed)) {
        const_cast<RefBase*>(this)->onFirstRef();
    }
}

void RefBase::decStrong(const void* id) const {
    // Every holder's last use happens before the deletion.
    if (mStrong.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        const_cast<RefBase*>(this)->onLastStrongRef(id);
        delete this;
    }
}

int32_t RefBase::getStrongCount() const {
    return mStrong.load(std::memory_order_relaxed);
}

void RefBase::onFirstRef() {}

void RefBase::onLastStrongRef(const void* /*id*/) {}

bool RefBase::onIncStrongAttempted(uint32_t /*flags*/, const void* /*id*/) {
    return false;
}

void RefBase::onLastWeakRef(const void* /*id*/) {}

}  // namespace android
