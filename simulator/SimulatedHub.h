#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "simulator/Faults.h"
#include "simulator/FileTap.h"
#include "simulator/IioDevice.h"
#include "simulator/NodePaths.h"
#include "simulator/Request.h"
#include "simulator/TempTree.h"

namespace simulator {

class SignalGenerator;

struct HubOptions {
    uint64_t seed = 1;
    /** Listed in the specification file; one without a row in the table gets no device. */
    std::vector<SensorSpec> sensors = standardCatalogue();
    /** Enabled sensors send records of their own, and each flush is followed by its marker. If
     *  false, records come only from push() and pushFlushMarker(). */
    bool generateSignals = false;
    bool still = false;        ///< the device lies on a table, untouched
    bool hasSensorHub = true;  ///< the device of handle 33
};

/** Handles calls on one node instead of the driver. An empty function leaves the call unchanged. */
struct NodeHandler {
    /** Before the node is opened with `flags`: 0 or the errno of the open. */
    std::function<int(int flags)> onOpen;
    /** Bytes put into `buffer` (0 at the end), or a negative errno. */
    std::function<ssize_t(void* buffer, size_t size)> onRead;
    /** Bytes taken, or a negative errno. */
    std::function<ssize_t(const std::string& bytes)> onWrite;
    /** Non-negative result, or a negative errno. */
    std::function<int(unsigned long request, void* argument)> onIoctl;
};

/** A read of `text` from its beginning. */
inline ssize_t copyText(const std::string& text, void* buffer, size_t size) {
    return static_cast<ssize_t>(text.copy(static_cast<char*>(buffer), size));
}

/**
 * A sensor hub and its kernel driver, simulated in a temporary directory.
 *
 * While an instance lives, the process's calls on the hub's fixed paths ("/sys/class/sensors/...",
 * "/dev/iio:deviceN", "/data/vendor/..." and so on) are redirected into its tree and follow the
 * rules of the real driver: it refuses what the driver would refuse, and keeps every request in
 * order. At most one instance may live at a time, and it must outlive whatever holds its files
 * open. All methods may be called from any thread; handlers run on the calling product thread with
 * no lock of the hub held.
 */
class SimulatedHub : private TappedFiles {
  public:
    using Milliseconds = std::chrono::milliseconds;
    using Options = HubOptions;

    explicit SimulatedHub(const Options& options = {});
    ~SimulatedHub() override;
    SimulatedHub(const SimulatedHub&) = delete;
    SimulatedHub& operator=(const SimulatedHub&) = delete;

    // Records. -------------------------------------------------------------------------------

    /**
     * Queues one record, of any length from 1 to 4096 bytes, on the sensor's device. Returns false
     * if a real device would lose it: unknown handle, buffer not enabled, or buffer full.
     */
    bool push(int handle, const std::string& record);

    /** Queues the all-zero record by which the hub reports a completed flush. */
    bool pushFlushMarker(int handle);

    /**
     * Waits until every record that poll() reports has been read and the library's poll thread
     * waits in poll() again, so that all resulting events have been posted. False on time-out.
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

    /** All requests since construction or clearRequests(), in order, refused ones included. */
    std::vector<Request> requests() const;
    std::vector<Request> requests(Request::Kind kind) const;
    void clearRequests();

    /** Waits until a kept request, old or new, satisfies the predicate. False on time-out. */
    bool waitForRequest(const std::function<bool(const Request&)>& predicate,
                        Milliseconds timeout = Milliseconds(5000));

    // Nodes. Paths are the device's own, for example "/sys/class/sensors/als_rear/als_data". ----

    /** The directory that is "/" of the device. */
    const std::string& root() const { return mTree.root(); }
    /** Creates or replaces a file, with the directories above it. */
    void setFile(const std::string& path, const std::string& contents) {
        mTree.write(path, contents);
    }
    void removeFile(const std::string& path) { mTree.remove(path); }
    bool hasFile(const std::string& path) const { return mTree.exists(path); }
    /** Whole contents, empty if there is no such file. */
    std::string readFile(const std::string& path) const { return mTree.read(path); }
    /** Names in a directory, sorted. */
    std::vector<std::string> listDirectory(const std::string& path) const {
        return mTree.list(path);
    }

    /** Replaces the specification file by raw bytes; the devices stay. */
    void setRawSpec(const std::string& bytes) { setFile(kSpecPath, bytes); }

    /** Installs a handler for a node, which is created if it does not exist. A handler's function
     *  replaces the driver's. */
    void setHandler(const std::string& path, NodeHandler handler);

    // Faults. --------------------------------------------------------------------------------

    static constexpr int kForever = Faults::kForever;

    /**
     * The nth such call from now fails, and so do the `count` - 1 after it, or all with kForever.
     *
     * @param call "open" of a file or a directory; "read", which leaves a record queued; "write";
     *     "ioctl"; "close", which closes the descriptor all the same; or "poll" of record devices
     * @param path as the library names it; "" for a poll
     * @param error errno
     */
    void fail(const std::string& call, const std::string& path, int error, int nth = 1,
              int count = 1) {
        mFaults.add(call, path, error, nth, count);
    }
    /** Ends them all. */
    void clearFaults() { mFaults.clear(); }
    /** The next record read from the sensor ends after `bytes`; the rest of it is lost. */
    void cutNextRecord(int handle, size_t bytes);
    /** Unregisters the device: its files and queued records are gone; an open descriptor gets
     *  ENODEV from read() and no more events from poll(). */
    void dropDevice(int handle);
    /** Fixed text for the data_available attribute; nullopt for the true count. */
    void setDataAvailable(int handle, const std::optional<std::string>& text);

  private:
    /** A path that has been opened or described. Never removed, so that references stay valid. */
    struct Node {
        IioDevice* device = nullptr;
        std::optional<Request::Kind> takes;                // by a write; none: a plain file
        std::string (IioDevice::*text)() const = nullptr;  // null: not computed from the state
        std::shared_ptr<const NodeHandler> handler;        // guarded by mMutex

        bool isRecordDevice() const { return device != nullptr && text == nullptr; }
    };

    void buildDevices(const Options& options);
    void buildDevice(const SensorSpec& spec);
    /** The path's node; creates the file if there is none yet. */
    Node& createNode(const std::string& path);
    /** Null for a handle without device. */
    IioDevice* find(int handle) const;

    // The driver's side, in DriverCalls.cpp. Handlers and the generator are called without mMutex,
    // since both call back.
    std::string realPath(const std::string& path) const override { return mTree.real(path); }
    int enterDirectory(const std::string& path) override { return mFaults.next("open", path); }
    int open(const std::string& path, int flags, mode_t mode) override;
    ssize_t read(const std::string& path, int fd, void* buffer, size_t size) override;
    ssize_t write(const std::string& path, int fd, const void* buffer, size_t size) override;
    int ioctl(const std::string& path, int fd, unsigned long ioctlNumber, void* argument) override;
    int close(const std::string& path) override;
    int enterPoll() override;
    void leavePoll() override;

    /** One call on a node. */
    struct Visit {
        const Node& node;
        int fault;  // errno with which the call is to fail, or 0
        std::shared_ptr<const NodeHandler> handler;
    };
    Visit visit(const char* call, const std::string& path);

    int prepareOpen(const std::string& path, const Visit& visit, int flags) const;
    ssize_t readRecords(IioDevice& device, int fd, void* buffer, size_t size);
    /** Carries out a well-formed request, or sets its error. */
    void apply(Request* request);
    void keep(Request request);

    TempTree mTree;
    Faults mFaults;
    std::map<int, std::unique_ptr<IioDevice>> mDevices;  // by handle; fixed after construction

    mutable std::mutex mMutex;  // guards the devices' state and all that follows
    std::condition_variable mChanged;
    std::condition_variable mReadable;             // for reads that wait
    std::unordered_map<std::string, Node> mNodes;  // by path
    std::vector<Request> mRequests;
    int mPolling = 0;  // threads inside poll()

    std::unique_ptr<SignalGenerator> mGenerator;  // null without signals; destroyed first
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
    std::atomic<bool> mStop{false};
    std::thread mThread;
};

}  // namespace simulator
