#pragma once

#include <vector>

namespace proofs {

/** A function that a library calls, and what it is to call in its place. */
struct Redirected {
    const char* name;
    void* replacement;
    void** next;  ///< receives what stood there
};

/**
 * Changes the calls of one loaded library alone, whoever else calls the same functions. Names that
 * it does not call are passed over.
 */
void redirectCalls(void* library, const std::vector<Redirected>& calls);

}  // namespace proofs
