#pragma once

#include <cerrno>
#include <cstdlib>
#include <limits>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Reads a decimal number at the start of a text, as scanf's %d does: blanks and a sign before it,
 * anything behind it. False, with `value` as it was, when there are no digits (errno EINVAL) or T
 * cannot hold the number (errno ERANGE).
 */
template <typename T>
bool parseDecimal(const char* text, T* value) {
    char* end = nullptr;
    errno = 0;
    const long long number = strtoll(text, &end, 10);
    if (end == text) {
        errno = EINVAL;
        return false;
    }
    if (errno != 0 || number < std::numeric_limits<T>::min() ||
        number > std::numeric_limits<T>::max()) {
        errno = ERANGE;
        return false;
    }
    *value = static_cast<T>(number);
    return true;
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
