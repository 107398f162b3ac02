#pragma once

namespace subhalctl {

/**
 * From now on the first Ctrl-C, SIGTERM or SIGHUP only asks the verb to end in an orderly way, with
 * all sensors off, and the second ends the process wherever it hangs. One that was ignored stays
 * ignored. SIGPIPE becomes a failed write.
 */
void catchInterrupts();

/** The same request from within, as when nobody reads the output any more. Any thread. */
void requestStop();

bool interrupted();

/** Readable once interrupted() is true. */
int interruptFd();

}  // namespace subhalctl
