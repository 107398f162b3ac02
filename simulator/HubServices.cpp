#include "simulator/HubServices.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <utility>

#include "simulator/NodePaths.h"
#include "simulator/RecordBuilder.h"

namespace simulator {
namespace {

constexpr uint8_t kFileManagerCommand = 0xFB;
constexpr uint8_t kDumpCommand = 0xFC;
constexpr char kReadySignal = 3;

constexpr size_t kReplyHead = 5;
constexpr size_t kMaxReply = 4096;
constexpr size_t kContextData = 56;

/** What is wrong with the form of a reply to a request of `operation`; empty when nothing is. */
std::string complaint(const std::string& bytes, int operation) {
    if (bytes.size() < kReplyHead || bytes.size() > kMaxReply) {
        return "reply of " + std::to_string(bytes.size()) + " bytes";
    }
    const int replied = static_cast<unsigned char>(bytes[0]);
    if (replied != operation) {
        return "reply to operation " + std::to_string(replied) + " instead of " +
               std::to_string(operation);
    }
    int32_t result = 0;
    std::memcpy(&result, bytes.data() + 1, sizeof(result));
    const size_t data = bytes.size() - kReplyHead;
    const bool hasData = operation == HubServices::kRead && result > 0;
    if (data == (hasData ? static_cast<size_t>(result) : 0)) return "";
    return "result " + std::to_string(result) + " with " + std::to_string(data) + " bytes of data";
}

}  // namespace

/** The firmware's memory. */
class HubServices::State {
  public:
    ssize_t giveRequest(void* buffer, size_t size) {
        const std::lock_guard<std::mutex> lock(mMutex);
        const size_t count = std::min(size, mRequest.size());
        std::memcpy(buffer, mRequest.data(), count);
        return static_cast<ssize_t>(count);
    }

    ssize_t takeWrite(const std::string& bytes) {
        const std::lock_guard<std::mutex> lock(mMutex);
        if (bytes == std::string(1, kReadySignal)) {
            mReady = true;
        } else {
            const std::string wrong =
                mOperation < 0 ? "reply without a request" : complaint(bytes, mOperation);
            if (!wrong.empty()) mViolations.push_back(wrong);
            if (!wrong.empty()) return -EINVAL;
            mReply = bytes;
            mOperation = -1;
        }
        mChanged.notify_all();
        return static_cast<ssize_t>(bytes.size());
    }

    ssize_t takeMessage(const std::string& bytes) {
        const std::lock_guard<std::mutex> lock(mMutex);
        mMessages.push_back(bytes);
        return static_cast<ssize_t>(bytes.size());
    }

    void setRequest(int operation, const std::string& text) {
        const std::lock_guard<std::mutex> lock(mMutex);
        mOperation = operation;
        mRequest = text;
        mReply.reset();
    }

    bool waitReady(Milliseconds timeout) {
        std::unique_lock<std::mutex> lock(mMutex);
        return mChanged.wait_for(lock, timeout, [this] { return mReady; });
    }

    std::optional<std::string> takeReply() {
        const std::lock_guard<std::mutex> lock(mMutex);
        return std::exchange(mReply, std::nullopt);
    }

    std::vector<std::string> violations() {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mViolations;
    }

    std::vector<std::string> messages() {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mMessages;
    }

  private:
    std::mutex mMutex;  // guards all that follows
    std::condition_variable mChanged;
    bool mReady = false;
    int mOperation = -1;  // of the request without reply, -1 for none
    std::string mRequest;
    std::optional<std::string> mReply;
    std::vector<std::string> mViolations;
    std::vector<std::string> mMessages;
};

HubServices::HubServices(SimulatedHub& hub) : mHub(hub), mState(std::make_shared<State>()) {
    NodeHandler fileManager;
    fileManager.onOpen = [](int flags) { return (flags & O_ACCMODE) == O_RDWR ? 0 : EACCES; };
    fileManager.onRead = [state = mState](void* buffer, size_t size) {
        return state->giveRequest(buffer, size);
    };
    fileManager.onWrite = [state = mState](const std::string& bytes) {
        return state->takeWrite(bytes);
    };
    mHub.setHandler(kFileManagerPath, std::move(fileManager));

    NodeHandler messages;
    messages.onWrite = [state = mState](const std::string& bytes) {
        return state->takeMessage(bytes);
    };
    mHub.setHandler(kMessagePath, std::move(messages));

    setContextList({});
    setDumpContent("");
}

HubServices::~HubServices() = default;

bool HubServices::waitReady(Milliseconds timeout) {
    return mState->waitReady(timeout);
}

bool HubServices::pushCommand(uint8_t command, int type, int count) {
    RecordBuilder record;
    record.u8(command).u8(static_cast<uint8_t>(type)).u8(static_cast<uint8_t>(count)).u64(0);
    return mHub.push(kHousekeepingHandle, record.bytes());
}

bool HubServices::postRequest(int operation, const std::string& text) {
    mState->setRequest(operation, text);
    return pushCommand(kFileManagerCommand, operation, 0);
}

std::optional<std::string> HubServices::takeReply() {
    return mState->takeReply();
}

std::vector<std::string> HubServices::violations() const {
    return mState->violations();
}

void HubServices::setDumpContent(const std::string& bytes) {
    mHub.setFile(kDumpPath, bytes);
}

bool HubServices::requestDump(int type, int count) {
    return pushCommand(kDumpCommand, type, count);
}

void HubServices::setContextList(const std::array<uint32_t, 4>& words) {
    RecordBuilder list;
    for (const uint32_t word : words)
        list.u32(word);
    mHub.setFile(kContextListPath, list.bytes());
}

bool HubServices::pushContext(int32_t size, uint16_t begin, uint16_t end, const std::string& data,
                              int64_t timestampNs) {
    std::string field = data;
    field.resize(kContextData);
    RecordBuilder head;
    head.i32(size).u16(begin).u16(end);
    RecordBuilder tail;
    tail.i64(timestampNs);
    return mHub.push(kContextHandle, head.bytes() + field + tail.bytes());
}

std::vector<std::string> HubServices::messages() const {
    return mState->messages();
}

}  // namespace simulator
