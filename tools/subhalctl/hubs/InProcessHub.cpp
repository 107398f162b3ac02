#include "tools/subhalctl/hubs/InProcessHub.h"

#include <cstdlib>
#include <cstring>

#include "simulator/TempTree.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {

bool haveRoom() {
    std::string directory;
    const int error = simulator::TempTree::tryOut(&directory);
    if (error == 0) return true;
    const char* chosen = std::getenv("TMPDIR");
    const bool byUser = chosen != nullptr && directory == chosen;
    complain("no room for the simulated hub's files: %s%s: %s", byUser ? "TMPDIR=" : "",
             directory.c_str(), std::strerror(error));
    return false;
}

InProcessHub::InProcessHub(const simulator::SimulatedHub::Options& options)
    : mHub(options), mServices(mHub), mRearLight(mHub) {
    mHub.setFile(kNfcCoverPath, "0\n");  // or the flip cover detector stays hidden
    mServices.setDumpContent("dump of the simulated hub\n");
}

bool InProcessHub::unload(host_proxy::SubHalLibrary& library) {
    const simulator::ShutdownHelper helper(mHub);
    return library.unload();
}

std::vector<simulator::Request> InProcessHub::takeInjections() {
    std::vector<simulator::Request> injections =
        mHub.requests(simulator::Request::Kind::kInjection);
    mHub.clearRequests();
    return injections;
}

std::vector<std::pair<std::string, size_t>> InProcessHub::dumpFiles() {
    std::vector<std::pair<std::string, size_t>> files;
    for (const std::string& name : mHub.listDirectory(kDataDirectory)) {
        const std::string path = std::string(kDataDirectory) + "/" + name;
        files.emplace_back(path, mHub.readFile(path).size());
    }
    return files;
}

}  // namespace subhalctl
