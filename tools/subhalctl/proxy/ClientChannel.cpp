#include "tools/subhalctl/proxy/ClientChannel.h"

#include <cutils/ashmem.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <csignal>
#include <cstring>
#include <optional>
#include <utility>

#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

using android::hardware::sensors::V1_0::SharedMemFormat;
using android::hardware::sensors::V1_0::SharedMemType;

constexpr int kPeriodMs = 1;

/** The memory, read without help from the writer. */
class Ring {
  public:
    Ring(const void* base, size_t bytes)
        : mRecords(static_cast<const sensors_event_t*>(base)),
          mSlots(bytes / sizeof(sensors_event_t)) {}

    /** The next record that is whole; nothing when the writer has written no more. */
    std::optional<sensors_event_t> next() {
        for (;;) {
            const uint32_t counter = counterOf(mSlot);
            if (counter == 0 || static_cast<int32_t>(counter - mExpected) < 0) return {};
            // If the writer has lapped us, the records between are gone, so go on from here.
            mExpected = counter + 1;
            sensors_event_t record = mRecords[mSlot];
            std::atomic_thread_fence(std::memory_order_acquire);
            const bool whole = counterOf(mSlot) == counter && !writerIsIn(mSlot, counter);
            mSlot = (mSlot + 1) % mSlots;
            if (!whole) continue;
            record.reserved0 = static_cast<int32_t>(counter);
            return record;
        }
    }

  private:
    uint32_t counterOf(size_t slot) const {
        return static_cast<uint32_t>(__atomic_load_n(&mRecords[slot].reserved0, __ATOMIC_ACQUIRE));
    }

    // A record's body changes before its counter does. The writer can only be in this slot when
    // the slot before it already holds the next round's record.
    bool writerIsIn(size_t slot, uint32_t counter) const {
        const uint32_t lastOfRound = counter + static_cast<uint32_t>(mSlots) - 1;
        const uint32_t before = counterOf((slot + mSlots - 1) % mSlots);
        return static_cast<int32_t>(before - lastOfRound) >= 0;
    }

    const sensors_event_t* mRecords;
    size_t mSlots;
    size_t mSlot = 0;
    uint32_t mExpected = 1;
};

[[noreturn]] void readRing(int regionFd, size_t bytes, int recordsFd, int stopFd) {
    // Ctrl-C reaches the whole process group, but the records in the ring are still wanted.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGTERM, SIG_IGN);
    std::signal(SIGHUP, SIG_IGN);
    const void* base = mmap(nullptr, bytes, PROT_READ, MAP_SHARED, regionFd, 0);
    if (base == MAP_FAILED) _exit(1);
    Ring ring(base, bytes);
    for (bool last = false;;) {
        while (const auto record = ring.next()) {
            const RingReader::Record found{*record, hubNowNs()};
            if (write(recordsFd, &found, sizeof(found)) < 0) _exit(0);  // nobody reads
        }
        if (last) _exit(0);
        pollfd stop{stopFd, POLLIN, 0};
        last = poll(&stop, 1, kPeriodMs) > 0;
    }
}

}  // namespace

ClientChannel::~ClientChannel() {
    unregister();
    if (mReporting) mProxy.switchOff(mSensor);
}

Result ClientChannel::registerMemory(const SharedMemory& memory) {
    native_handle_t* handle = native_handle_create(1, 0);
    handle->data[0] = dup(memory.fd());  // the library takes it over
    const auto answer = host_proxy::registerDirectChannel(
        mProxy.subHal(), {SharedMemType::ASHMEM, SharedMemFormat::SENSORS_EVENT, memory.bytes(),
                          android::hardware::hidl_handle(handle)});
    native_handle_delete(handle);
    mHandle = answer.value;
    return answer.result;
}

host_proxy::Answer ClientChannel::setRate(RateLevel level) {
    const auto answer = host_proxy::configDirectReport(mProxy.subHal(), mSensor, mHandle, level);
    mReporting |= answer.result == Result::OK;
    return answer;
}

void ClientChannel::unregister() {
    if (mHandle > 0) mProxy.subHal().unregisterDirectChannel(mHandle);
    mHandle = -1;
}

SharedMemory::SharedMemory(size_t bytes)
    : mBytes(bytes), mFd(ashmem_create_region("subhalctl", bytes)) {
    if (mFd < 0) return;
    void* base = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, mFd, 0);
    if (base != MAP_FAILED) mBase = static_cast<char*>(base);
}

SharedMemory::~SharedMemory() {
    if (mBase != nullptr) munmap(mBase, mBytes);
    if (mFd >= 0) close(mFd);
}

sensors_event_t SharedMemory::record(size_t index) const {
    sensors_event_t record;
    std::memcpy(&record, mBase + index * sizeof(record), sizeof(record));
    return record;
}

void SharedMemory::fill(char byte) {
    std::memset(mBase, byte, mBytes);
}

bool SharedMemory::allZero() const {
    return std::all_of(mBase, mBase + mBytes, [](char byte) { return byte == 0; });
}

RingReader::RingReader(int regionFd, size_t bytes) {
    int records[2];
    int stops[2];
    if (pipe2(records, O_CLOEXEC) != 0 || pipe2(stops, O_CLOEXEC) != 0) return;
    mProcess = fork();
    if (mProcess == 0) {
        close(records[0]);
        close(stops[1]);
        readRing(regionFd, bytes, records[1], stops[0]);
    }
    close(records[1]);
    close(stops[0]);
    mRecordsFd = records[0];
    mStopFd = stops[1];
}

RingReader::~RingReader() {
    stop();
    // Without a reader at the pipe the process cannot be held up in a write.
    if (mRecordsFd >= 0) close(mRecordsFd);
    if (mProcess > 0) waitpid(mProcess, nullptr, 0);
}

void RingReader::stop() {
    if (mStopFd >= 0) close(std::exchange(mStopFd, -1));
}

bool RingReader::read(Record* record, int timeoutMs) {
    pollfd readable{mRecordsFd, POLLIN, 0};
    if (poll(&readable, 1, timeoutMs) <= 0) return false;
    // A record is shorter than what a pipe keeps together, so it comes whole or not at all.
    return ::read(mRecordsFd, record, sizeof(*record)) == static_cast<ssize_t>(sizeof(*record));
}

bool RingCheck::isWhole(const sensors_event_t& record) const {
    if (record.version != static_cast<int32_t>(sizeof(record))) return false;
    // A flush-complete record names its sensor in the payload.
    if (record.type == SENSOR_TYPE_META_DATA) return record.meta_data.sensor == mHandle;
    return record.type == mType && record.sensor == mHandle;
}

bool RingCheck::add(const sensors_event_t& record) {
    const auto next = static_cast<uint32_t>(record.reserved0);
    const auto ahead = next == 0 ? 1 : static_cast<int32_t>(next - mCounter);
    mFigures.missed += std::max(ahead - 1, 0);
    if (ahead <= 0) ++mFigures.repeated;
    mCounter += static_cast<uint32_t>(ahead);
    ++mFigures.records;
    const bool whole = isWhole(record);
    if (!whole) ++mFigures.torn;
    if (!whole || record.type == SENSOR_TYPE_META_DATA) return whole;
    if (record.timestamp < std::max<int64_t>(mLastNs, 1)) ++mFigures.backward;
    mLastNs = record.timestamp;
    mNewestNs = std::max(mNewestNs, mLastNs);
    if (record.timestamp >= mStartNs) mStamps.push_back(record.timestamp);
    return true;
}

RingCheck::Figures RingCheck::figures() const {
    Figures figures = mFigures;
    figures.lost = spacing().lost;
    return figures;
}

std::string RingCheck::Figures::text() const {
    const std::string wrong = backward > 0 ? formatted(", %" PRId64 " backward", backward) : "";
    return formatted(
        "%s, %" PRId64 " missed, %" PRId64 " repeated, %" PRId64 " torn%s, %" PRId64 " lost",
        counted(records, "record").c_str(), missed, repeated, torn, wrong.c_str(), lost);
}

}  // namespace subhalctl
