// All that this program knows of the simulator.

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "simulator/HubServices.h"
#include "simulator/RearLightSensor.h"
#include "simulator/SimulatedHub.h"
#include "tools/subhalctl/DevicePaths.h"
#include "tools/subhalctl/Hub.h"

namespace subhalctl {
namespace {

using simulator::HubServices;

simulator::SimulatedHub::Options simulatorOptions(const HubOptions& options) {
    simulator::SimulatedHub::Options result;
    result.seed = options.seed;
    result.generateSignals = true;
    return result;
}

class SimulatedHub : public Hub {
  public:
    explicit SimulatedHub(const HubOptions& options)
        : mHub(simulatorOptions(options)), mServices(mHub), mRearLight(mHub) {
        mHub.setFile(kNfcCoverStatus, "0\n");  // or the flip cover detector stays hidden
        mServices.setDumpContent("dump of the simulated hub\n");
    }

    bool unload(host_proxy::SubHalLibrary& library) override {
        const simulator::ShutdownHelper helper(mHub);
        return library.unload();
    }

    void forgetInjections() override { mHub.clearRequests(); }

    std::vector<Injection> injections() override {
        std::vector<Injection> result;
        for (const auto& request : mHub.requests(simulator::Request::Kind::kInjection)) {
            result.push_back({request.bytes, request.error != 0});
        }
        return result;
    }

    std::vector<std::string> messages() override { return mServices.messages(); }

    bool waitReady() override { return mServices.waitReady(); }

    bool requestDump(int type, int count) override {
        return mServices.requestDump(type, count) && mHub.waitIdle();
    }

    std::vector<std::pair<std::string, size_t>> dumpFiles() override {
        std::vector<std::pair<std::string, size_t>> files;
        for (const std::string& name : mHub.listDirectory(kDumpDirectory)) {
            const std::string path = std::string(kDumpDirectory) + "/" + name;
            files.emplace_back(path, mHub.readFile(path).size());
        }
        return files;
    }

    std::optional<FileReply> requestFile(FileOperation operation, const std::string& path,
                                         const std::string& text, int size,
                                         int64_t offset) override {
        std::optional<HubServices::FileReply> reply;
        if (operation == FileOperation::kRead) reply = mServices.readFile(path, size, offset);
        if (operation == FileOperation::kWrite) reply = mServices.writeFile(path, text, offset);
        if (operation == FileOperation::kRemove) reply = mServices.removeFile(path);
        if (!reply) return {};
        return FileReply{reply->result, reply->data};
    }

    std::vector<std::string> violations() override { return mServices.violations(); }

  private:
    simulator::SimulatedHub mHub;
    HubServices mServices;
    simulator::RearLightSensor mRearLight;
};

}  // namespace

std::unique_ptr<Hub> makeSimulatedHub(const HubOptions& options, std::string* error) {
    const char* directory = std::getenv("TMPDIR");
    if (directory != nullptr && access(directory, W_OK | X_OK) != 0) {
        *error = std::string("no room for the simulated hub's files: TMPDIR=") + directory + ": " +
                 std::strerror(errno);
        return nullptr;
    }
    return std::make_unique<SimulatedHub>(options);
}

}  // namespace subhalctl
