#include "simulator/Request.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string_view>

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

/** Value of a plain decimal without sign, spaces or leading zeros; -1 for anything else. */
int decimal(const std::string& text) {
    int value = -1;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value >= 0 && std::to_string(value) == text ? value : -1;
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

// Each gives 0 or the errno of the refusal.

int parseEnable(std::string text, Request* request) {
    if (!takeTerminator(&text, '\0') || text.size() < 2) return EINVAL;
    request->enable = text.back() - '0';
    text.pop_back();
    request->handle = decimal(text);
    return request->enable == 0 || request->enable == 1 ? 0 : EINVAL;
}

int parseFlush(std::string text, Request* request) {
    if (!takeTerminator(&text, '\0')) return EINVAL;
    request->handle = decimal(text);
    return 0;
}

int parseNumber(std::string text, Request* request) {
    takeTerminator(&text, '\n');
    if (!text.empty() && text[0] == '+') text.erase(0, 1);
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return EINVAL;
    const uint64_t value = std::strtoull(text.c_str(), nullptr, 10);  // saturates
    request->value = static_cast<uint32_t>(value);
    return value <= UINT32_MAX ? 0 : ERANGE;
}

int parseTruth(const std::string& text, Request* request) {
    const bool isWord = text[0] == 'o' || text[0] == 'O';  // "on", "off"
    const char letter = isWord ? text[1] : text[0];
    const auto isOneOf = [letter](std::string_view letters) {
        return letters.find(letter) != std::string_view::npos;
    };
    if (isOneOf(isWord ? "nN" : "1yYtT")) request->enable = 1;
    if (isOneOf(isWord ? "fF" : "0nNfF")) request->enable = 0;
    return request->enable >= 0 ? 0 : EINVAL;
}

int parseInjection(const std::string& bytes, Request* request) {
    if (bytes.size() < 2 || bytes[0] != 1) return EINVAL;
    request->handle = static_cast<unsigned char>(bytes[1]);
    return 0;
}

int parse(const std::string& bytes, Request* request) {
    switch (request->kind) {
        case Request::Kind::kEnable:
            return parseEnable(bytes, request);
        case Request::Kind::kFlush:
            return parseFlush(bytes, request);
        case Request::Kind::kBufferLength:
        case Request::Kind::kBufferWatermark:
            return parseNumber(upToNul(bytes), request);
        case Request::Kind::kBufferEnable:
            return parseTruth(upToNul(bytes), request);
        case Request::Kind::kInjection:
            return parseInjection(bytes, request);
        default:
            return EINVAL;
    }
}

int parseBatchRecord(const void* record, Request* request) {
    if ((request->ioctlNumber & ~0xFFUL) != kBatchRequest) return ENOTTY;
    request->handle = static_cast<int>(request->ioctlNumber & 0xFF);
    if (record == nullptr) return EFAULT;
    BatchRecord batch;
    std::memcpy(&batch, record, sizeof(batch));
    request->bytes.assign(static_cast<const char*>(record), sizeof(batch));
    request->periodNs = batch.delay;
    request->latencyNs = batch.timeout;
    request->flag = batch.flag;
    const bool sound =
        batch.flag == 0 && batch.padding == 0 && batch.delay >= 0 && batch.timeout >= 0;
    return sound ? 0 : EINVAL;
}

}  // namespace

Request parseWrite(Request::Kind kind, const std::string& bytes) {
    Request request;
    request.kind = kind;
    request.bytes = bytes;
    request.error = parse(bytes, &request);
    return request;
}

Request parseBatch(unsigned long ioctlNumber, const void* record) {
    Request request;
    request.kind = Request::Kind::kBatch;
    request.ioctlNumber = static_cast<uint32_t>(ioctlNumber);
    request.error = parseBatchRecord(record, &request);
    return request;
}

}  // namespace simulator
