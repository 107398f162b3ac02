#include "simulator/IioDevice.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "simulator/FileRedirection.h"
#include "simulator/HubPaths.h"

namespace simulator {
namespace {

constexpr size_t kMaxRecord = 4096;  // one packet of a FIFO
constexpr int kMaxLength = 1 << 20;

}  // namespace

IioDevice::IioDevice(const DeviceProfile& profile, const SensorSpec& spec, int number)
    : mProfile(profile), mSpec(spec), mNumber(number) {}

IioDevice::~IioDevice() {
    if (mFifo >= 0) ::close(mFifo);
}

bool IioDevice::attach(const std::string& path) {
    // Also open for reading, so that the open does not wait for a reader and a reader's close does
    // not break the FIFO. O_DIRECT is refused at open here, but taken afterwards.
    mFifo = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    return mFifo >= 0 && fcntl(mFifo, F_SETFL, O_NONBLOCK | O_DIRECT) == 0;
}

std::string IioDevice::devicePath() const {
    return "/dev/iio:device" + std::to_string(mNumber);
}

std::string IioDevice::attributePath(const std::string& attribute) const {
    return kIioDirectory + ("iio:device" + std::to_string(mNumber)) + "/" + attribute;
}

int IioDevice::setLength(int length) {
    if (length == mLength) return 0;
    if (mBufferEnabled) return EBUSY;
    if (length < 1 || length > kMaxLength) return EINVAL;
    mLength = length;
    mCapacity = 1;
    while (mCapacity < static_cast<size_t>(length))
        mCapacity *= 2;
    return 0;
}

void IioDevice::setBufferEnabled(bool enable) {
    if (enable && !mBufferEnabled) drain();
    mBufferEnabled = enable;
    mEverEnabled = mEverEnabled || enable;
}

bool IioDevice::push(const std::string& record, bool force) {
    if (record.empty() || record.size() > kMaxRecord) return false;
    if (!force && (!mBufferEnabled || mRecords.size() >= mCapacity)) return false;
    mRecords.push_back(record);
    refill();
    return true;
}

ssize_t IioDevice::take(int fd, void* buffer, size_t size) {
    if (size < mRecords.front().size()) return -EINVAL;
    char record[kMaxRecord];
    const ssize_t got = real::read(fd, record, sizeof(record));
    if (got < 0) return -errno;
    taken();
    size_t count = std::min(static_cast<size_t>(got), size);
    if (cutNext) {
        count = std::min(count, *cutNext);
        cutNext.reset();
    }
    std::memcpy(buffer, record, count);
    return static_cast<ssize_t>(count);
}

void IioDevice::taken() {
    if (mRecords.empty()) return;
    mRecords.pop_front();
    if (mInFifo > 0) --mInFifo;
    refill();
}

void IioDevice::drain() {
    mRecords.clear();
    mInFifo = 0;
    char record[kMaxRecord];
    while (real::read(mFifo, record, sizeof(record)) > 0) {
    }
}

std::string IioDevice::dataAvailable() const {
    return fixedDataAvailable ? *fixedDataAvailable : std::to_string(mRecords.size()) + "\n";
}

void IioDevice::refill() {
    while (mInFifo < mRecords.size()) {
        const std::string& record = mRecords[mInFifo];
        if (real::write(mFifo, record.data(), record.size()) < 0) return;
        ++mInFifo;
    }
}

}  // namespace simulator
