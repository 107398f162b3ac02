#include "simulator/RequestParser.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace simulator {
namespace {

constexpr uint32_t kBatchRequest = 0x8008FC00;

struct BatchRecord {
    int64_t timeout;
    int64_t delay;
    int32_t flag;
    int32_t padding;
};
static_assert(sizeof(BatchRecord) == 24);

Request refused(Request request, int error = EINVAL) {
    request.error = error;
    return request;
}

/** Value of a plain decimal without sign, spaces or leading zeros; -1 for anything else. */
int decimal(const std::string& text) {
    if (text.empty() || text.size() > 9 || (text.size() > 1 && text[0] == '0')) return -1;
    int value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return -1;
        value = value * 10 + (c - '0');
    }
    return value;
}

/** Removes `terminator` from the end of `text`; returns false if it is not there. */
bool takeTerminator(std::string* text, char terminator) {
    if (text->empty() || text->back() != terminator) return false;
    text->pop_back();
    return true;
}

/** The part of a write that the kernel's string functions see. */
std::string upToNul(const std::string& bytes) {
    return bytes.substr(0, bytes.find('\0'));
}

Request make(Request::Kind kind, const std::string& bytes) {
    Request request;
    request.kind = kind;
    request.bytes = bytes;
    return request;
}

Request parseBufferNumber(Request::Kind kind, const std::string& bytes) {
    Request request = make(kind, bytes);
    std::string text = upToNul(bytes);
    takeTerminator(&text, '\n');
    if (!text.empty() && text[0] == '+') text.erase(0, 1);
    const bool isNumber =
        !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber) return refused(request);
    const uint64_t value = std::strtoull(text.c_str(), nullptr, 10);  // saturates
    request.value = static_cast<uint32_t>(value);
    return value <= UINT32_MAX ? request : refused(request, ERANGE);
}

}  // namespace

Request parseEnable(const std::string& bytes) {
    Request request = make(Request::Kind::kEnable, bytes);
    std::string text = bytes;
    if (!takeTerminator(&text, '\0') || text.size() < 2) return refused(request);
    const int digit = text.back() - '0';
    text.pop_back();
    request.handle = decimal(text);
    request.enable = digit;
    return digit == 0 || digit == 1 ? request : refused(request);
}

Request parseFlush(const std::string& bytes) {
    Request request = make(Request::Kind::kFlush, bytes);
    std::string text = bytes;
    if (!takeTerminator(&text, '\0')) return refused(request);
    request.handle = decimal(text);
    return request;
}

Request parseBatch(unsigned long ioctlNumber, const void* record) {
    Request request = make(Request::Kind::kBatch, {});
    request.ioctlNumber = static_cast<uint32_t>(ioctlNumber);
    if ((request.ioctlNumber & ~0xFFUL) != kBatchRequest) return refused(request, ENOTTY);
    request.handle = static_cast<int>(request.ioctlNumber & 0xFF);
    if (record == nullptr) return refused(request, EFAULT);
    BatchRecord batch;
    std::memcpy(&batch, record, sizeof(batch));
    request.bytes.assign(static_cast<const char*>(record), sizeof(batch));
    request.periodNs = batch.delay;
    request.latencyNs = batch.timeout;
    request.flag = batch.flag;
    const bool sound =
        batch.flag == 0 && batch.padding == 0 && batch.delay >= 0 && batch.timeout >= 0;
    return sound ? request : refused(request);
}

Request parseBufferLength(const std::string& bytes) {
    return parseBufferNumber(Request::Kind::kBufferLength, bytes);
}

Request parseBufferWatermark(const std::string& bytes) {
    return parseBufferNumber(Request::Kind::kBufferWatermark, bytes);
}

Request parseBufferEnable(const std::string& bytes) {
    Request request = make(Request::Kind::kBufferEnable, bytes);
    std::string text = upToNul(bytes).substr(0, 2);
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const char first = text.empty() ? '\0' : text[0];
    if (text == "on" || first == '1' || first == 'y' || first == 't') {
        request.enable = 1;
    } else if (text == "of" || first == '0' || first == 'n' || first == 'f') {
        request.enable = 0;
    } else {
        return refused(request);
    }
    return request;
}

Request parseInjection(const std::string& bytes) {
    Request request = make(Request::Kind::kInjection, bytes);
    if (bytes.size() < 2 || bytes[0] != 1) return refused(request);
    request.handle = static_cast<unsigned char>(bytes[1]);
    return request;
}

Request parseRefused(const std::string& bytes) {
    return refused(make(Request::Kind::kWrite, bytes));
}

}  // namespace simulator
