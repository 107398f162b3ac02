#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "simulator/DeviceState.h"
#include "simulator/Faults.h"
#include "simulator/FileRedirection.h"
#include "simulator/HubOptions.h"
#include "simulator/NodeHandler.h"
#include "simulator/Request.h"
#include "simulator/TempTree.h"

namespace simulator {

class IioDevice;
class SignalGenerator;

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
class SimulatedHub : private FileBackend {
  public:
    using Milliseconds = std::chrono::milliseconds;
    using Options = HubOptions;

    explicit SimulatedHub(const Options& options = {});
    ~SimulatedHub() override;
    SimulatedHub(const SimulatedHub&) = delete;
    SimulatedHub& operator=(const SimulatedHub&) = delete;

    // Records. -------------------------------------------------------------------------------

    /**
     * Queues one record, of any length from 1 to 4096 bytes, on the sensor's device. False when it
     * is lost as on a real device: unknown handle, buffer not enabled, or buffer full.
     */
    bool push(int handle, const std::string& record);

    /** Queues the all-zero record by which the hub reports a completed flush. */
    bool pushFlushMarker(int handle);

    /**
     * Waits until every record that poll() reports has been read and the library's poll thread
     * waits in poll() again, so that everything it makes of the records has been posted. False on
     * time-out.
     */
    bool waitIdle(Milliseconds timeout = Milliseconds(5000));

    /** Makes the library's poll() return once more, by a record that it ignores. */
    void wakeLibrary();

    // Devices. -------------------------------------------------------------------------------

    DeviceState device(int handle) const;
    /** "/dev/iio:deviceN"; empty for a handle without device. */
    std::string devicePath(int handle) const;
    /** "/sys/bus/iio/devices/iio:deviceN/" and `attribute`, for example "buffer/length". */
    std::string attributePath(int handle, const std::string& attribute) const;

    // Requests. ------------------------------------------------------------------------------

    /** All requests since construction or clearRequests(), in order, rejected ones included. */
    std::vector<Request> requests() const;
    std::vector<Request> requests(Request::Kind kind) const;
    void clearRequests();

    /** Waits until a kept request, old or new, satisfies the predicate. False on time-out. */
    bool waitForRequest(const std::function<bool(const Request&)>& predicate,
                        Milliseconds timeout = Milliseconds(5000));

    // Nodes. Paths are the device's own, for example "/sys/class/sensors/als_rear/als_data". ----

    /** The directory that stands for "/" of the device. */
    const std::string& root() const { return mTree.root(); }
    /** Creates or replaces a file, with the directories above it. */
    void setFile(const std::string& path, const std::string& contents) {
        mTree.write(path, contents);
    }
    void removeFile(const std::string& path) { mTree.remove(path); }
    bool hasFile(const std::string& path) const { return mTree.exists(path); }
    /** Whole contents, empty when there is no such file. */
    std::string readFile(const std::string& path) const { return mTree.read(path); }
    /** Names in a directory, sorted. */
    std::vector<std::string> listDirectory(const std::string& path) const {
        return mTree.list(path);
    }

    /** Replaces the specification file by raw bytes; the devices stay. */
    void setRawSpec(const std::string& bytes);

    /** Lets a handler answer for a node, which is created empty when absent. An own handler
     *  replaces the driver's. */
    void setHandler(const std::string& path, NodeHandler handler);

    // Faults. The nth matching call from now fails with `error`, and so do the `count` - 1 calls
    // behind it; kForever for all of them. -------------------------------------------------------

    static constexpr int kForever = Faults::kForever;

    /** Of a file, or of a directory named as the library names it. */
    void failOpen(const std::string& path, int error, int nth = 1, int count = 1) {
        addFault(Call::kOpen, path, error, nth, count);
    }
    void failRead(const std::string& path, int error, int nth = 1, int count = 1) {
        addFault(Call::kRead, path, error, nth, count);
    }
    /** Reads of the sensor's record device; the record stays queued. */
    void failRead(int handle, int error, int nth = 1, int count = 1) {
        addFault(Call::kRead, devicePath(handle), error, nth, count);
    }
    void failWrite(const std::string& path, int error, int nth = 1, int count = 1) {
        addFault(Call::kWrite, path, error, nth, count);
    }
    void failIoctl(const std::string& path, int error, int nth = 1, int count = 1) {
        addFault(Call::kIoctl, path, error, nth, count);
    }
    /** The descriptor is closed all the same. */
    void failClose(const std::string& path, int error, int nth = 1, int count = 1) {
        addFault(Call::kClose, path, error, nth, count);
    }
    /** poll() calls that watch a record device. */
    void failPoll(int error, int nth = 1, int count = 1) {
        addFault(Call::kPoll, "", error, nth, count);
    }
    /** All of the above end. */
    void clearFaults();
    /** The next record read from the sensor ends after `bytes`; the rest of it is lost. */
    void cutNextRecord(int handle, size_t bytes);
    /** Unregisters the device: its files and all that is queued are gone, what has it open gets
     *  ENODEV from read() and nothing more from poll(). */
    void dropDevice(int handle);
    /** Fixed text for the data_available attribute instead of the true count. */
    void setDataAvailable(int handle, const std::string& text);
    void clearDataAvailable(int handle);

  private:
    enum class NodeKind {
        kPlain,
        kEnable,
        kFlush,
        kBatch,
        kInjection,
        kBufferLength,
        kBufferWatermark,
        kBufferEnable,
        kDataAvailable,
        kRecords,
    };

    /** One path that has been opened or described. Never removed, so its number stays good. */
    struct Node {
        std::string path;
        NodeKind kind = NodeKind::kPlain;
        IioDevice* device = nullptr;
        std::shared_ptr<const NodeHandler> handler;  // guarded by mMutex
    };

    void buildDevices(const Options& options);
    void buildDevice(const SensorSpec& spec);
    void describe(const std::string& path, NodeKind kind, IioDevice* device = nullptr);
    uint32_t nodeNumber(const std::string& path);
    /** Null for a handle without device. */
    IioDevice* find(int handle) const;
    bool allRead() const;

    // The driver's side, in DriverCalls.cpp. Handlers and the generator are called without mMutex,
    // since both call back.
    std::string realPath(const std::string& path) const override;
    int enterDirectory(const std::string& path) override;
    int open(const std::string& path, int flags, mode_t mode, uint32_t* number) override;
    ssize_t read(uint32_t number, int fd, void* buffer, size_t size) override;
    ssize_t write(uint32_t number, int fd, const void* buffer, size_t size) override;
    int ioctl(uint32_t number, int fd, unsigned long ioctlNumber, void* argument) override;
    int close(uint32_t number) override;
    int enterPoll() override;
    void leavePoll() override;

    /** One call on a node begins. */
    struct Visit {
        const Node& node;  // stays good: nodes do not move, and only their handler changes
        int fault;         // errno with which the call is to fail, or 0
        std::shared_ptr<const NodeHandler> handler;
    };
    Visit visit(Call call, uint32_t number);

    int prepareOpen(const Visit& visit, int flags) const;
    ssize_t readRecords(IioDevice& device, int fd, void* buffer, size_t size);
    /** The text of an attribute that shows the device's state; none for other nodes. */
    std::optional<std::string> stateText(const Node& node) const;
    Request parse(const Node& node, const std::string& bytes) const;
    /** Carries an accepted request out, which may still refuse it. */
    void apply(const Node& node, Request* request);
    void notifyGenerator(const Request& request);
    void keep(Request request);
    void addFault(Call call, const std::string& path, int error, int nth, int count);

    TempTree mTree;
    std::vector<std::unique_ptr<IioDevice>> mDevices;  // fixed after construction
    std::map<int, IioDevice*> mByHandle;               // fixed after construction
    std::set<int> mHandles;                            // fixed after construction

    mutable std::mutex mMutex;  // guards the devices' state and all that follows
    std::condition_variable mChanged;
    std::condition_variable mReadable;  // for reads that wait
    std::deque<Node> mNodes;
    std::map<std::string, uint32_t> mNodeNumbers;
    Faults mFaults;
    std::vector<Request> mRequests;
    int mPolling = 0;  // threads inside poll()

    std::unique_ptr<SignalGenerator> mGenerator;  // null without signals; first to go
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
