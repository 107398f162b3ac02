#include "tests/proofs/Session.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace proofs {

using namespace testing_support;
using simulator::HubServices;

namespace {

constexpr int kVdis = 38;
constexpr char kDumpDirectory[] = "/data/vendor/sensorhub/";
constexpr char kOldDump[] = "/data/vendor/sensorhub/shub_dump_005_20200101_000000";
constexpr char kFile[] = "/data/vendor/sensorhub/calibration";

struct Row {
    int handle;
    Session::Part part;
    std::string record;
};

const std::vector<Row>& rows() {
    static const std::vector<Row> all = {
        {1, Session::kAccelerometer, sample()},
        {17, Session::kOneShot, RecordBuilder().u8(1).u64(5).bytes()},
        {37, Session::kLight, RecordBuilder().i32(6).u8(4).i32(7).u8(3).u64(8).bytes()},
        {kVdis, Session::kGyroscope, sample()},
    };
    return all;
}

}  // namespace

Session::Session(const std::function<void(void* library)>& loaded)
    : mSubHal(testing_support::onlySensors({1, 17, 37, kVdis}),
              [&](simulator::SimulatedHub& hub) {
                  mRear = std::make_unique<simulator::RearLightSensor>(hub);
                  mServices = std::make_unique<HubServices>(hub);
                  mServices->setDumpContent("dump");
                  mServices->setContextList({1, 2, 3, 4});
                  if (!loaded) return;
                  mPreloaded = dlopen(SENSORHUB_LIBRARY, RTLD_NOW | RTLD_LOCAL);
                  loaded(mPreloaded);
              }),
      mHub(mSubHal.hub()),
      mHal(mSubHal.hal()) {
    if (mPreloaded != nullptr) dlclose(mPreloaded);  // mSubHal holds it
    for (const auto& info : host_proxy::sensorsOf(mHal))
        mListed.insert(info.sensorHandle);
    settle();
    mHal.initialize(&mSubHal.proxy());
}

void Session::expect(Part part, bool good, const std::string& what) {
    if (good) return;
    if (mLost == 0) mComplaint = what;
    mLost |= 1U << part;
}

void Session::settle() {
    // Without a single sensor the library has no thread.
    if (mListed.empty()) return;
    if (!mHub.waitIdle()) expect(kHanging, false, "hangs");
}

bool Session::delivers(int handle, const std::string& record) {
    mSubHal.proxy().take();
    if (!mHub.push(handle, record)) return false;
    settle();
    const auto posts = mSubHal.proxy().take();
    return std::any_of(posts.begin(), posts.end(), [handle](const auto& post) {
        return post.events.front().sensorHandle == handle;
    });
}

bool Session::hasKept(Request::Kind kind, int handle) {
    const auto requests = mHub.requests(kind);
    return std::any_of(requests.begin(), requests.end(), [handle](const Request& request) {
        return request.handle == handle && request.error == 0;
    });
}

void Session::inject(int handle, uint32_t word0, uint32_t word1) {
    Event event = {};
    event.sensorHandle = handle;
    auto* payload = reinterpret_cast<uint8_t*>(&event.u);
    memset(payload, 'm', sizeof(event.u));
    memcpy(payload, &word0, sizeof(word0));
    memcpy(payload + 4, &word1, sizeof(word1));
    mHal.injectSensorData(event);
}

std::string Session::serve(int operation, const std::string& request) {
    mServices->postRequest(operation, request);
    settle();
    return mServices->takeReply().value_or("");
}

uint32_t Session::round() {
    mLost = 0;
    mComplaint.clear();
    ++mRounds;
    mHub.clearRequests();
    std::set<int> listed;
    for (const auto& info : host_proxy::sensorsOf(mHal))
        listed.insert(info.sensorHandle);
    expect(kCatalogue, listed == mListed && mListed.size() == rows().size() + 1, "list");
    mRear->setChannels(100 + mRounds, 200 + mRounds);
    sensors();
    directChannel();
    firmware();
    for (const Row& row : rows())
        mHal.activate(row.handle, false);
    return mLost;
}

void Session::sensors() {
    for (const Row& row : rows()) {
        const std::string name = "sensor " + std::to_string(row.handle) + ": ";
        const int64_t periodNs = 20'000'000 + 1000 * (mRounds % 2);
        expect(row.part, mHal.activate(row.handle, true) == Result::OK, name + "activate");
        expect(row.part, mHub.device(row.handle).enabled, name + "on");
        // The slow one makes the library ask for the count.
        expect(row.part, mHal.batch(row.handle, periodNs, 1'000'000'000) == Result::OK,
               name + "batch");
        expect(row.part, mHub.device(row.handle).periodNs == periodNs, name + "period");
        for (int i = 0; i < 2; ++i) {
            if (row.part == kOneShot) expect(row.part, mHal.activate(17, true) == Result::OK, name);
            expect(row.part, delivers(row.handle, row.record), name + "event");
        }
        inject(row.handle, 7, 0);
        if (row.part == kOneShot) {
            expect(row.part, !mHub.device(row.handle).enabled, name + "off");
            continue;
        }
        // The light sensor takes no such command.
        expect(row.part, row.part == kLight || hasKept(Request::Kind::kInjection, row.handle),
               name + "injection");
        const bool flushed = mHal.flush(row.handle) == Result::OK;
        expect(row.part, flushed && hasKept(Request::Kind::kFlush, row.handle), name + "flush");
    }
}

void Session::directChannel() {
    const ClientMemory memory;
    const int32_t channel = mSubHal.openChannel(memory);
    expect(kGyroscope, channel > 0, "channel");
    const auto configure = [&](RateLevel rate) {
        return host_proxy::configDirectReport(mHal, kVdis, channel, rate).value;
    };
    expect(kGyroscope, configure(RateLevel::FAST) == kVdis, "report");
    delivers(kVdis, sample());
    expect(kGyroscope, memory.sensor(0) == kVdis, "record in the channel");
    configure(RateLevel::STOP);
    configure(RateLevel::NORMAL);
    mHal.unregisterDirectChannel(channel);
    expect(kGyroscope, memory.isZero(), "channel's end");
}

void Session::firmware() {
    const std::string number = std::to_string(mRounds);
    expect(kContext, mHal.activate(32, true) == Result::OK, "context on");
    expect(kContext, mServices->pushContext(8, 0, 7, "context", 1), "context record");
    settle();
    const auto posts = mSubHal.proxy().take();
    // Its list, then the record.
    expect(kContext, posts.size() >= 2 && posts.back().events.front().sensorHandle == 32,
           "context");
    expect(kContext, mHal.flush(32) == Result::OK, "context flush");
    mHal.activate(32, false);

    const size_t before = mServices->messages().size();
    inject(32, 0, 20);
    inject(32, 0, 60);
    inject(32, 0x42554853, 56);
    inject(32, 0x42554853, 4);
    inject(32, 1, 60);
    expect(kMessages, mServices->messages().size() == before + 2, "messages");

    const std::string path = kFile;
    serve(HubServices::kWrite, path + ",6,0,1,lines" + number.back());
    const std::string reply = serve(HubServices::kRead, path + ",6,0");
    expect(kFiles,
           reply.size() > 5 && reply.substr(5) == "lines" + number.substr(number.size() - 1),
           "file");
    serve(HubServices::kRemove, path);
    expect(kFiles, !mHub.hasFile(path), "removed file");

    mServices->setDumpContent("dump " + number);
    mHub.setFile(kOldDump, "");
    mServices->requestDump(5, 1);
    settle();
    expect(kDumps, !mHub.hasFile(kOldDump), "old dump");
    expect(kDumps, mHub.readFile(std::string(kDumpDirectory) + "shub_dump") == "dump " + number,
           "dump");
    mServices->requestDump(6, 2);
    settle();
    expect(kDumps, mHub.listDirectory(kDumpDirectory).size() >= 3, "dumps");
    for (const std::string& name : mHub.listDirectory(kDumpDirectory))
        mHub.removeFile(kDumpDirectory + name);
}

std::vector<std::string> openFiles() {
    std::vector<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::string target = std::filesystem::read_symlink(entry.path(), gone);
        if (!gone && target.find("hbx_sensorhub") == std::string::npos) all.push_back(target);
    }
    return all;
}

}  // namespace proofs
