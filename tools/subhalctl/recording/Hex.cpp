#include "tools/subhalctl/recording/Hex.h"

#include <charconv>

namespace subhalctl {

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
    for (const char* pair = hex.data(); pair != hex.data() + hex.size(); pair += 2) {
        unsigned char byte = 0;
        if (std::from_chars(pair, pair + 2, byte, 16).ptr != pair + 2) return {};
        bytes.push_back(static_cast<char>(byte));
    }
    return bytes;
}

}  // namespace subhalctl
