// Shows the library's calls on the hub's files in one session, the hub's own file requests among
// them, as "subhalctl --trace" does.

#include "tests/proofs/Session.h"
#include "tools/subhalctl/recording/CallTap.h"

int main() {
    const subhalctl::CallTap tap(false, {subhalctl::traceCall});
    proofs::Session session;
    return session.round() == 0 ? 0 : 1;
}
