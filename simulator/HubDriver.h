#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "simulator/Faults.h"
#include "simulator/FileRedirection.h"
#include "simulator/IioDevice.h"
#include "simulator/SignalGenerator.h"
#include "simulator/SimulatedHub.h"
#include "simulator/TempTree.h"

namespace simulator {

/**
 * The kernel driver's side of the hub: answers the redirected calls, keeps the requests and the
 * state that they leave. Calls of the generator and of handlers are made without mMutex, since both
 * call back.
 */
class HubDriver final : public FileBackend {
  public:
    explicit HubDriver(const SimulatedHub::Options& options);
    ~HubDriver() override;

    // FileBackend.
    std::string realPath(const std::string& hubPath) const override;
    int enterDirectory(const std::string& path) override;
    int open(const std::string& hubPath, int flags, mode_t mode, uint32_t* node) override;
    ssize_t read(uint32_t node, int fd, void* buffer, size_t size) override;
    ssize_t write(uint32_t node, int fd, const void* buffer, size_t size) override;
    int ioctl(uint32_t node, int fd, unsigned long request, void* argument) override;
    int close(uint32_t node) override;
    int enterPoll() override;
    void leavePoll() override;

    const TempTree& tree() const { return mTree; }

    bool push(int handle, const std::string& record);
    bool waitIdle(std::chrono::milliseconds timeout);
    void wake();

    std::vector<Request> requests() const;
    void clearRequests();
    bool waitForRequest(const std::function<bool(const Request&)>& predicate,
                        std::chrono::milliseconds timeout);

    void setHandler(const std::string& path, NodeHandler handler);
    void addFault(Call call, const std::string& path, int error, int nth, int count);
    void clearFaults();

    /** Runs `use` on the device of `handle` under the lock; false when there is no such device. */
    template <typename Use>
    bool withDevice(int handle, Use use) const {
        std::lock_guard<std::mutex> lock(mMutex);
        const auto found = mByHandle.find(handle);
        if (found == mByHandle.end()) return false;
        use(*found->second);
        return true;
    }

  private:
    enum class NodeKind {
        kPlain,
        kEnable,
        kFlush,
        kBatch,
        kInjection,
        kBufferLength,
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

    void buildDevices(const SimulatedHub::Options& options);
    void buildDevice(const SensorSpec& spec);
    void describe(const std::string& path, NodeKind kind, IioDevice* device = nullptr);
    uint32_t nodeNumber(const std::string& path);
    /** Stays good: nodes do not move, and only their handler changes. */
    const Node& node(uint32_t number) const;
    std::shared_ptr<const NodeHandler> handlerOf(const Node& node) const;

    int prepareOpen(const Node& node, int flags);
    ssize_t readRecord(const Node& node, int fd, void* buffer, size_t size);
    Request parse(const Node& node, const std::string& bytes, int* length) const;
    /** Carries an accepted request out, which may still refuse it. */
    void apply(const Node& node, int length, Request* request);
    void notifyGenerator(const Request& request);
    void keep(Request request);
    int nextFault(Call call, const std::string& path);
    bool allRead() const;

    TempTree mTree;
    std::vector<std::unique_ptr<IioDevice>> mDevices;  // fixed after construction
    std::map<int, IioDevice*> mByHandle;               // fixed after construction
    std::set<int> mHandles;                            // fixed after construction

    mutable std::mutex mMutex;  // guards the devices' state and all that follows
    std::condition_variable mChanged;
    std::deque<Node> mNodes;
    std::map<std::string, uint32_t> mNodeNumbers;
    Faults mFaults;
    std::vector<Request> mRequests;
    int mPolling = 0;  // threads inside poll()

    std::unique_ptr<SignalGenerator> mGenerator;  // null without signals; first to go
};

}  // namespace simulator
