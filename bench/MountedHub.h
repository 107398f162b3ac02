#pragma once

#include <V2_0/SubHal.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tools/proxy/HalProxyCallback.h"

namespace bench {

using Clock = std::chrono::steady_clock;
using EntryPoint =
    android::hardware::sensors::V2_0::implementation::ISensorsSubHal* (*)(uint32_t* version);

/**
 * The hub's files at their real paths: a folder that becomes the process's root, where an IIO
 * device is a FIFO in packet mode and an attribute a plain file. Nothing is interposed, so a
 * library that runs in it costs what it costs on a device, less the driver.
 */
class MountedHub {
  public:
    /**
     * @param handles the sensors that the specification file lists; the hub's own two come along
     * @param strangers further IIO devices, which no sensor asks for
     */
    explicit MountedHub(const std::vector<int>& handles, int strangers = 0);
    MountedHub(const MountedHub&) = delete;
    MountedHub& operator=(const MountedHub&) = delete;
    /** Leaves the root again and removes it. */
    ~MountedHub();

    /** Makes the folder the process's root. As root, or where user namespaces are allowed. */
    void enter();

    /** One write to a sensor's device; it must have room (256 records). */
    void push(int handle, const std::string& record);

    /** The device's `data_available`, until the next call. */
    void setDataAvailable(int handle, int count);

    /** A second FIFO of the sensor's kind, for a reader that is not the library. */
    int openTwin(int handle);
    void pushTwin(int handle, const std::string& record);

    /** IIO device numbers of all sensors. */
    const std::vector<int>& numbers() const { return mNumbers; }

  private:
    int makeFifo(const std::string& path);
    void makeDevice(int number, const std::string& name);
    void write(const std::string& path, const std::string& text);

    std::string mRoot;
    int mOldRoot = -1;
    bool mEntered = false;
    std::vector<int> mNumbers;
    std::map<int, int> mNumberOf;  // by handle
    std::map<int, int> mWriters;   // by handle
    std::map<int, int> mTwins;     // by handle
};

/** The library's entry point; the library is loaded, its object is not made yet. */
EntryPoint loadLibrary();

/** The standard catalogue's handles, at most `count`, with the named ones in front. */
std::vector<int> someHandles(size_t count, const std::vector<int>& first);

/**
 * Where a reader of records arrives, the library's proxy callback and the bare loop alike: holds
 * the reader at the gate sensor's record until the records behind it are in place, then notes when
 * the first and the last of them came.
 */
class Arrivals {
  public:
    /** Reader's thread: one record of the gate sensor. */
    void atGate() {
        mHeld.store(true, std::memory_order_release);
        while (!mOpen.load(std::memory_order_acquire)) {
        }
        mOpen.store(false, std::memory_order_relaxed);
    }
    /** Reader's thread: one record of the measured sensor. */
    void arrive() {
        if (mCount++ == 0) mFirst = Clock::now();
        if (mCount != mExpected) return;
        mLast = Clock::now();
        mDone.store(true, std::memory_order_release);
    }

    // The measuring thread.
    void expect(int count);
    void waitHeld();
    void open();
    void waitDone();

    /** From the first to the last record, per record behind the first; in ns. */
    double nsBetween() const;
    /** From the opened gate to the last record; in ns. */
    double nsSinceOpen() const;
    Clock::time_point first() const { return mFirst; }

  private:
    std::atomic<bool> mHeld{false};
    std::atomic<bool> mOpen{false};
    std::atomic<bool> mDone{false};
    // The reader's between expect() and waitDone().
    int mCount = 0;
    int mExpected = 0;
    Clock::time_point mFirst;
    Clock::time_point mLast;
    Clock::time_point mOpened;
};

/** The proxy as far as it costs nothing. */
class MeteringProxy : public android::hardware::sensors::V2_0::implementation::HalProxyCallback {
  public:
    explicit MeteringProxy(int gateHandle) : mGateHandle(gateHandle) {}

    void postEvents(
        const std::vector<android::hardware::sensors::V1_0::Event>& events,
        android::hardware::sensors::V2_0::implementation::ScopedWakelock wakelock) override;

    Arrivals arrivals;

  private:
    const int mGateHandle;
};

}  // namespace bench
