#pragma once

#include <log/log.h>

/**
 * The platform log under this library's tag, which log filters and the tests know. Included in
 * place of <log/log.h>; the macros take LOG_TAG where they are used, so neither the order of
 * includes nor a build's own definition matters.
 */
#undef LOG_TAG
#define LOG_TAG "SensorsHub"
