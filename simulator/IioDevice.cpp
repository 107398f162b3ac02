#include "simulator/IioDevice.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "simulator/FileTap.h"
#include "simulator/NodePaths.h"

namespace simulator {
namespace {

constexpr size_t kMaxRecord = 4096;       // one packet of a FIFO
constexpr uint64_t kMaxBuffer = 4 << 20;  // the kernel's largest allocation

/** How many records a kfifo of this length holds. */
uint64_t capacityOf(uint32_t length) {
    uint64_t capacity = 2;
    while (capacity < length)
        capacity *= 2;
    return capacity;
}

}  // namespace

IioDevice::IioDevice(const KnownSensor& known, const SensorSpec& spec, int number,
                     const TempTree& tree)
    : state{number}, mKnown(known), mSpec(spec), mFifo(tree.makeFifo(devicePath())) {}

IioDevice::~IioDevice() {
    ::close(mFifo);
}

std::string IioDevice::devicePath() const {
    return "/dev/iio:device" + std::to_string(state.number);
}

std::string IioDevice::attributePath(const std::string& attribute) const {
    return kIioDirectory + ("iio:device" + std::to_string(state.number)) + "/" + attribute;
}

int IioDevice::setLength(uint32_t length) {
    if (length == mLength) return 0;
    if (mBufferEnabled) return EBUSY;
    mLength = std::max(length, 2U);
    mWatermark = std::min(mWatermark, mLength);
    return 0;
}

int IioDevice::setWatermark(uint32_t watermark) {
    if (watermark == 0 || watermark > mLength) return EINVAL;
    if (mBufferEnabled) return EBUSY;
    mWatermark = watermark;
    return 0;
}

int IioDevice::setBufferEnabled(bool enable) {
    if (enable == mBufferEnabled) return 0;
    if (enable && capacityOf(mLength) * mKnown.recordSize > kMaxBuffer) return ENOMEM;
    if (enable) mRecords.clear();
    mBufferEnabled = enable;
    mEverEnabled = true;
    settle();
    return 0;
}

std::string IioDevice::dataAvailableText() const {
    return fixedDataAvailable ? *fixedDataAvailable : std::to_string(mRecords.size()) + "\n";
}

bool IioDevice::push(const std::string& record, bool force) {
    if (record.empty() || record.size() > kMaxRecord || mRemoved) return false;
    if (!force && (!mBufferEnabled || mRecords.size() >= capacityOf(mLength))) return false;
    mRecords.push_back(record);
    settle();
    return true;
}

ssize_t IioDevice::take(void* buffer, size_t size) {
    if (size < mRecords.front().size()) return -EINVAL;
    const size_t most = std::max<size_t>(1, size / mKnown.recordSize);
    size_t filled = 0;
    for (size_t i = 0; i < most && !mRecords.empty(); ++i) {
        size_t count = mRecords.front().size();
        if (count > size - filled) break;
        if (cutNext) count = std::min(count, *cutNext);
        cutNext.reset();
        std::memcpy(static_cast<char*>(buffer) + filled, mRecords.front().data(), count);
        filled += count;
        mRecords.pop_front();
        char packet;
        if (mInFifo > 0 && real::read(mFifo, &packet, sizeof(packet)) == 1) --mInFifo;
    }
    settle();
    return static_cast<ssize_t>(filled);
}

void IioDevice::remove() {
    mRemoved = true;
    mRecords.clear();
    settle();
}

void IioDevice::settle() {
    // The watermark applies only while the buffer is on.
    const size_t wanted = mBufferEnabled ? mWatermark : 1;
    const size_t shown = mRecords.size() >= wanted ? mRecords.size() : 0;
    char packet;
    for (; mInFifo > shown; --mInFifo)
        real::read(mFifo, &packet, sizeof(packet));
    for (; mInFifo < shown; ++mInFifo) {
        const std::string& record = mRecords[mInFifo];
        if (real::write(mFifo, record.data(), record.size()) < 0) return;
    }
}

}  // namespace simulator
