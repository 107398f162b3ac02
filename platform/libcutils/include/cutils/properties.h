// System properties: short process-wide strings by name. Also used with the packaged libcutils,
// whose host build has none.
#pragma once

#define PROPERTY_KEY_MAX 32
#define PROPERTY_VALUE_MAX 92

extern "C" {

/// Copies the property to value, which has room for PROPERTY_VALUE_MAX bytes, and returns its
/// length. An unset or empty property gives the default, or "" when that is null. Any thread.
int property_get(const char* key, char* value, const char* default_value);

/// Sets a property (null: to ""). Returns 0, or a negative value when the value is longer than
/// PROPERTY_VALUE_MAX - 1 bytes or the key is null or empty. Any thread.
int property_set(const char* key, const char* value);

}  // extern "C"
