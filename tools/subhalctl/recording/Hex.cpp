#include "tools/subhalctl/recording/Hex.h"

namespace subhalctl {
namespace {

int digit(char letter) {
    if (letter >= '0' && letter <= '9') return letter - '0';
    if (letter >= 'a' && letter <= 'f') return letter - 'a' + 10;
    return letter >= 'A' && letter <= 'F' ? letter - 'A' + 10 : -1;
}

}  // namespace

std::string hexOf(const std::string& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(2 * bytes.size());
    for (const char byte : bytes) {
        hex += kDigits[static_cast<unsigned char>(byte) >> 4];
        hex += kDigits[static_cast<unsigned char>(byte) & 0xF];
    }
    return hex;
}

std::optional<std::string> bytesOfHex(const std::string& hex) {
    std::string bytes;
    if (hex.size() % 2 != 0) return {};
    for (size_t i = 0; i < hex.size(); i += 2) {
        const int high = digit(hex[i]);
        const int low = digit(hex[i + 1]);
        if (high < 0 || low < 0) return {};
        bytes.push_back(static_cast<char>(high * 16 + low));
    }
    return bytes;
}

}  // namespace subhalctl
