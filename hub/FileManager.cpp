#include <fcntl.h>
#include <inttypes.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>

#include "common/Log.h"
#include "hub/SensorHubSensor.h"
#include "sensors/DecimalText.h"
#include "sensors/HubPaths.h"
#include "sensors/UniqueFd.h"

// The hub firmware's access to host files. The path of a request is trusted; a READ of more than a
// reply holds ends the process.
namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

enum Operation { kRead, kWrite, kRemove };
constexpr const char* kOperationNames[] = {"READ", "WRITE", "REMOVE"};

constexpr size_t kRequestSize = 4096;

/** A request's comma-separated fields; a missing one is empty. */
struct FileRequest {
    std::string path;
    std::string size;
    std::string offset;
    std::string flag;              // WRITE: "0" when the hub wants no reply
    char data[kRequestSize] = {};  // WRITE: what came, then zeros
};

struct __attribute__((packed)) Reply {
    uint8_t operation;
    int32_t result;  // bytes, 0, -1 or a negative errno
    uint8_t data[4091];
};
static_assert(sizeof(Reply) == 4096);
constexpr size_t kReplyHead = sizeof(Reply) - sizeof(Reply::data);

/** Splits at the first four commas; the fifth field may hold any bytes. */
FileRequest split(const char* text, size_t length) {
    FileRequest request;
    const char* const end = text + length;
    for (std::string* field : {&request.path, &request.size, &request.offset, &request.flag}) {
        const char* comma = std::find(text, end, ',');
        field->assign(text, comma);
        text = comma == end ? end : comma + 1;
    }
    std::copy(text, end, request.data);
    return request;
}

int32_t refuse(const char* what, const std::string& text) {
    ALOGE("SensorHubSensor::fileManager: invalid %s %s", what, text.c_str());
    return -EINVAL;
}

/** 0, or -errno with the failure logged. */
int32_t openFile(const char* path, int flags, UniqueFd* file) {
    file->reset(open(path, flags | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC, 0660));
    if (file->ok()) return 0;
    const int error = errno;
    ALOGI("SensorHubSensor::fileManager: %s open failed(%d) %s", path, -error, strerror(error));
    return -error;
}

/** 0, or -errno with the failure logged. What cannot seek is read and written as it comes. */
int32_t seekTo(int fd, int64_t offset) {
    if (lseek64(fd, offset, SEEK_SET) >= 0 || errno == ESPIPE) return 0;
    const int error = errno;
    ALOGE("SensorHubSensor::fileManager: seek to %" PRId64 " failed(%d) %s", offset, -error,
          strerror(error));
    return -error;
}

int32_t readFile(const FileRequest& request, int32_t size, int64_t offset, Reply* reply) {
    UniqueFd file;
    if (const int32_t error = openFile(request.path.c_str(), O_RDONLY, &file)) return error;
    if (size < 0) return refuse("size", request.size);
    LOG_ALWAYS_FATAL_IF(static_cast<size_t>(size) > sizeof(reply->data),
                        "SensorHubSensor::fileManager: no reply holds %d bytes", size);
    if (const int32_t error = seekTo(file.get(), offset)) return error;
    return static_cast<int32_t>(read(file.get(), reply->data, static_cast<size_t>(size)));
}

int32_t writeFile(const FileRequest& request, int32_t size, int64_t offset) {
    if (size < 0 || static_cast<size_t>(size) > sizeof(request.data)) {
        return refuse("size", request.size);
    }
    UniqueFd file;
    if (const int32_t error = openFile(request.path.c_str(), O_WRONLY | O_CREAT, &file)) {
        return error;
    }
    if (const int32_t error = seekTo(file.get(), offset)) return error;
    return static_cast<int32_t>(write(file.get(), request.data, static_cast<size_t>(size)));
}

int32_t removeFile(const char* path) {
    const int32_t result = remove(path);
    ALOGI("SensorHubSensor::fileManager %s remove %d", path, result);
    return result;
}

/** Does what is asked and sets the result; false when the hub wants no reply. */
bool serve(Operation operation, const FileRequest& request, Reply* reply) {
    if (operation == kRemove) {
        reply->result = removeFile(request.path.c_str());
        return true;
    }
    int32_t size = 0;
    int64_t offset = 0;
    int32_t flag = 0;
    if (!parseDecimal(request.size.c_str(), &size)) {
        reply->result = refuse("size", request.size);
    } else if (!parseDecimal(request.offset.c_str(), &offset)) {
        reply->result = refuse("offset", request.offset);
    } else if (operation == kRead) {
        reply->result = readFile(request, size, offset, reply);
    } else if (!parseDecimal(request.flag.c_str(), &flag)) {
        reply->result = refuse("flag", request.flag);
    } else {
        reply->result = writeFile(request, size, offset);
        return flag != 0;
    }
    return true;
}

void send(int controlFd, const Reply& reply) {
    const size_t data =
        reply.operation == kRead && reply.result > 0 ? static_cast<size_t>(reply.result) : 0;
    const size_t length = kReplyHead + data;
    const int32_t result = reply.result;
    ALOGI("SensorHubSensor::fileManager: result %d, sendLen %d", result, static_cast<int>(length));
    if (write(controlFd, &reply, length) < 0) {
        const int error = errno;
        ALOGE("SensorHubSensor::fileManager: error(%d) %s", -error, strerror(error));
    }
}

}  // namespace

void SensorHubSensor::fileManager(int type) {
    if (type < 0 || static_cast<size_t>(type) >= std::size(kOperationNames)) {
        ALOGI("SensorHubSensor::fileManager: invalid type %d  ", type);
        return;
    }
    ALOGI("SensorHubSensor::fileManager: %s", kOperationNames[type]);
    const UniqueFd control(open(paths::kFileManager, O_RDWR | O_CLOEXEC));
    if (!control.ok()) {
        const int error = errno;
        ALOGI("SensorHubSensor::fileManager: shub_file open failed(%d) %s", -error,
              strerror(error));
        return;
    }
    char text[kRequestSize];
    const ssize_t length = read(control.get(), text, sizeof(text));
    if (length < 0) {
        ALOGI("SensorHubSensor::fileManager: shub_file read failed(%d)", -errno);
        return;
    }
    const FileRequest request = split(text, static_cast<size_t>(length));
    Reply reply = {};
    reply.operation = static_cast<uint8_t>(type);
    if (serve(static_cast<Operation>(type), request, &reply)) send(control.get(), reply);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
