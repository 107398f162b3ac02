#pragma once

namespace subhalctl {

/** From now on Ctrl-C and SIGTERM only set a flag, for the verb to end in an orderly way. */
void catchInterrupts();

bool interrupted();

}  // namespace subhalctl
