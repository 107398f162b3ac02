#include "simulator/HubServices.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
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

/** The error in the form of a reply to a request of `operation`; empty if there is none. */
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

ssize_t HubServices::State::takeWrite(const std::string& bytes) {
    const Lock lock(mutex);
    if (bytes == std::string(1, kReadySignal)) {
        ready = true;
    } else {
        const std::string wrong =
            operation < 0 ? "reply without a request" : complaint(bytes, operation);
        if (!wrong.empty()) violations.push_back(wrong);
        if (!wrong.empty()) return -EINVAL;
        reply = bytes;
        operation = -1;
    }
    changed.notify_all();
    return static_cast<ssize_t>(bytes.size());
}

HubServices::HubServices(SimulatedHub& hub) : mHub(hub) {
    NodeHandler fileManager;
    fileManager.onOpen = [](int flags) { return (flags & O_ACCMODE) == O_RDWR ? 0 : EACCES; };
    fileManager.onRead = [state = mState](void* buffer, size_t size) {
        const Lock lock(state->mutex);
        return copyText(state->request, buffer, size);
    };
    fileManager.onWrite = [state = mState](const std::string& bytes) {
        return state->takeWrite(bytes);
    };
    mHub.setHandler(kFileManagerPath, std::move(fileManager));

    NodeHandler messages;
    messages.onWrite = [state = mState](const std::string& bytes) {
        const Lock lock(state->mutex);
        state->messages.push_back(bytes);
        return static_cast<ssize_t>(bytes.size());
    };
    mHub.setHandler(kMessagePath, std::move(messages));

    setContextList({});
    setDumpContent("");
}

bool HubServices::waitReady(Milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mState->mutex);
    return mState->changed.wait_for(lock, timeout, [this] { return mState->ready; });
}

bool HubServices::pushCommand(uint8_t command, int type, int count) {
    RecordBuilder record;
    record.u8(command).u8(static_cast<uint8_t>(type)).u8(static_cast<uint8_t>(count)).u64(0);
    return mHub.push(kHousekeepingHandle, record.bytes());
}

bool HubServices::postRequest(int operation, const std::string& text) {
    {
        const Lock lock(mState->mutex);
        mState->operation = operation;
        mState->request = text;
        mState->reply.reset();
    }
    return pushCommand(kFileManagerCommand, operation, 0);
}

std::optional<std::string> HubServices::takeReply() {
    const Lock lock(mState->mutex);
    return std::exchange(mState->reply, std::nullopt);
}

std::vector<std::string> HubServices::violations() const {
    const Lock lock(mState->mutex);
    return mState->violations;
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
    RecordBuilder record;
    record.i32(size).u16(begin).u16(end).text(field).i64(timestampNs);
    return mHub.push(kContextHandle, record.bytes());
}

std::vector<std::string> HubServices::messages() const {
    const Lock lock(mState->mutex);
    return mState->messages;
}

}  // namespace simulator
