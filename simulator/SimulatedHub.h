#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "simulator/DeviceProfile.h"
#include "simulator/Request.h"

namespace simulator {

/** Answers calls on one node in the driver's place. A function left empty leaves the call alone. */
struct NodeHandler {
    /** Before the node is opened with `flags`: 0 to let it pass, else the errno of the open. */
    std::function<int(int flags)> onOpen;
    /** Bytes put into `buffer` (0 at the end), or a negative errno. */
    std::function<ssize_t(void* buffer, size_t size)> onRead;
    /** Bytes taken, or a negative errno. */
    std::function<ssize_t(const std::string& bytes)> onWrite;
    /** Non-negative result, or a negative errno. */
    std::function<int(unsigned long request, void* argument)> onIoctl;
};

/**
 * A sensor hub and its kernel driver, played on a temporary directory.
 *
 * While an instance lives, the process's calls on the hub's fixed paths ("/sys/class/sensors/...",
 * "/dev/iio:deviceN", "/data/vendor/..." and so on) are redirected into its tree and answered by
 * the rules of the real driver: what the driver would refuse is refused, and every request is kept
 * in order. At most one instance may live at a time, and it must outlive whatever holds its files
 * open. All methods may be called from any thread; handlers run on the calling product thread with
 * no lock of the hub held.
 */
class SimulatedHub {
  public:
    using Milliseconds = std::chrono::milliseconds;

    struct Options {
        uint64_t seed = 1;
        std::vector<SensorSpec> sensors = standardCatalogue();
        /** On: enabled sensors send records of their own, and a flush is answered by its marker.
         *  Off: records come only from push() and pushFlushMarker(). */
        bool generateSignals = false;
        bool hasQContext = true;       ///< the device of handle 32
        bool hasSensorHub = true;      ///< the device of handle 33
        bool hasShubInjection = true;  ///< "/dev/shub_data_injection"
        bool hasHbxInjection = true;   ///< "/dev/hbx_data_injection"
    };

    SimulatedHub();
    explicit SimulatedHub(const Options& options);
    ~SimulatedHub();
    SimulatedHub(const SimulatedHub&) = delete;
    SimulatedHub& operator=(const SimulatedHub&) = delete;

    /** The directory that stands for "/" of the device. */
    const std::string& root() const;

    // Records. -------------------------------------------------------------------------------

    /**
     * Queues one record, of any length from 1 to 4096 bytes, on the sensor's device. False when it
     * is lost as on a real device: unknown handle, buffer not enabled, or buffer full.
     */
    bool push(int handle, const std::string& record);
    bool push(int handle, const void* record, size_t size);

    /** Queues the all-zero record by which the hub reports a completed flush. */
    bool pushFlushMarker(int handle);

    /** Records queued and not yet read. */
    size_t queued(int handle) const;

    /**
     * Waits until every queued record has been read and the library's poll thread waits in poll()
     * again, so that everything it makes of the records has been posted. False on time-out.
     */
    bool waitIdle(Milliseconds timeout = Milliseconds(5000));

    /** Number N of the sensor's "/dev/iio:deviceN", -1 for a handle without device. */
    int deviceNumber(int handle) const;

    // Requests. ------------------------------------------------------------------------------

    /** All requests since construction or clearRequests(), in order, rejected ones included. */
    std::vector<Request> requests() const;
    std::vector<Request> requests(Request::Kind kind) const;
    void clearRequests();

    /** Waits until a kept request, old or new, satisfies the predicate. False on time-out. */
    bool waitForRequest(const std::function<bool(const Request&)>& predicate,
                        Milliseconds timeout = Milliseconds(5000));

    /** State that the accepted requests have left. */
    bool isEnabled(int handle) const;
    bool isBufferEnabled(int handle) const;
    int64_t periodNs(int handle) const;
    int64_t latencyNs(int handle) const;

    // Nodes. Paths are the device's own, for example "/sys/class/sensors/als_rear/als_data". ----

    /** Creates or replaces a file, with the directories above it. */
    void setFile(const std::string& path, const std::string& contents);
    void removeFile(const std::string& path);
    bool hasFile(const std::string& path) const;
    /** Whole contents, empty when there is no such file. */
    std::string readFile(const std::string& path) const;
    /** Names in a directory, sorted. */
    std::vector<std::string> listDirectory(const std::string& path) const;

    /** Replaces the specification file by raw bytes; the devices stay. */
    void setRawSpec(const std::string& bytes);

    /** Lets a handler answer for a node, which is created empty when absent. An own handler
     *  replaces the driver's. Streams of the C library bypass onRead and onWrite. */
    void setHandler(const std::string& path, NodeHandler handler);

    // Faults. The nth matching call from now fails with `error`, and so do the `count` - 1 calls
    // behind it; kForever for all of them. -------------------------------------------------------

    static constexpr int kForever = -1;

    /** Of a file, or of a directory named as the library names it. */
    void failOpen(const std::string& path, int error, int nth = 1, int count = 1);
    void failRead(const std::string& path, int error, int nth = 1, int count = 1);
    void failWrite(const std::string& path, int error, int nth = 1, int count = 1);
    void failIoctl(const std::string& path, int error, int nth = 1, int count = 1);
    /** The descriptor is closed all the same. */
    void failClose(const std::string& path, int error, int nth = 1, int count = 1);
    /** Reads of the sensor's record device; the record stays queued. */
    void failRead(int handle, int error, int nth = 1, int count = 1);
    /** poll() calls that watch a record device. */
    void failPoll(int error, int nth = 1, int count = 1);
    /** The next record read from the sensor ends after `bytes`; the rest of it is lost. */
    void cutNextRecord(int handle, size_t bytes);
    /** Unregisters the device: each read gives ENODEV and empties the queue. A later push() still
     *  wakes poll(), so that a read can be provoked. */
    void dropDevice(int handle);
    /** Fixed text for the data_available attribute instead of the true count. */
    void setDataAvailable(int handle, const std::string& text);
    void clearDataAvailable(int handle);
    void clearFaults();

    // Ending. --------------------------------------------------------------------------------

    /** Makes the library's poll() return once more, by a record that it ignores. */
    void wakeLibrary();

  private:
    class Impl;
    std::unique_ptr<Impl> mImpl;
};

/**
 * Wakes the library again and again while it lives. The library's poll thread looks at its stop
 * flag only after a wake-up, so whatever destroys the library (dlclose, exit) needs one around it.
 */
class ShutdownHelper {
  public:
    explicit ShutdownHelper(SimulatedHub& hub);
    ~ShutdownHelper();
    ShutdownHelper(const ShutdownHelper&) = delete;
    ShutdownHelper& operator=(const ShutdownHelper&) = delete;

  private:
    class Worker;
    std::unique_ptr<Worker> mWorker;
};

}  // namespace simulator
