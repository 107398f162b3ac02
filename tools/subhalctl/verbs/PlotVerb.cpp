#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/PlotPage.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {

ExitCode runPlot(Proxy&, const ConvertOptions& options) {
    RecordedRun run;
    const ExitCode loaded = run.load(options.recording);
    if (loaded != kOk) return loaded;
    if (!sendOutputTo(options.output)) return kUsage;
    printText(plotPage(run));
    return kOk;
}

}  // namespace subhalctl
