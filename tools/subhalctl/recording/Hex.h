#pragma once

#include <optional>
#include <string>

namespace subhalctl {

/** Two digits a byte, in small letters. */
std::string hexOf(const std::string& bytes);
/** Nothing when it is not pairs of hexadecimal digits. */
std::optional<std::string> bytesOfHex(const std::string& hex);

}  // namespace subhalctl
