// What the library asks of the hub, as the kernel hands it to a driver: each byte of each call.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "simulator/RecordBuilder.h"
#include "tests/kernel/KernelBench.h"

namespace kernel_tests {
namespace {

using namespace std::string_literals;
using simulator::RecordBuilder;

constexpr int kAcc = 1;
constexpr int kContext = 32;
constexpr int kHousekeeping = 33;
constexpr int kVdis = 38;
constexpr char kDataDirectory[] = "/data/vendor/sensorhub/";

std::string batchRecord(int64_t timeoutNs, int64_t periodNs) {
    return RecordBuilder().i64(timeoutNs).i64(periodNs).i64(0).bytes();
}

std::string fileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class Requests : public testing::Test {
  protected:
    Requests() : mBench({kAcc, 5, kVdis}) {
        mBench.activate(kAcc);
        EXPECT_TRUE(mBench.settle(kAcc));
        mBench.hub().takeRequests();
    }

    void expectNext(hub_node node, const std::string& bytes, uint32_t number = 0, int error = 0) {
        const auto request = mBench.hub().nextRequest(kPatience);
        ASSERT_TRUE(request) << "nothing was asked";
        EXPECT_EQ(request->node, node);
        EXPECT_EQ(request->bytes, bytes);
        EXPECT_EQ(request->number, number);
        EXPECT_EQ(request->error, error);
    }
    void expectNoMore() { EXPECT_EQ(mBench.hub().takeRequests().size(), 0U); }

    void command(uint8_t kind, uint8_t type, uint8_t count) {
        const std::string record = RecordBuilder().u8(kind).u8(type).u8(count).u64(0).bytes();
        EXPECT_EQ(mBench.hub().push(kHousekeeping, record), 1);
    }

    KernelBench mBench;
};

TEST_F(Requests, EnableBatchAndFlushByteByByte) {
    mBench.activate(kVdis);
    expectNext(HUB_NODE_ENABLE, "381\0"s);
    mBench.activate(5, false);
    expectNext(HUB_NODE_ENABLE, "50\0"s);
    EXPECT_EQ(mBench.hal().flush(kVdis), Result::OK);
    expectNext(HUB_NODE_FLUSH, "38\0"s);
    EXPECT_EQ(mBench.hal().batch(kVdis, 10000000, 300000000000), Result::OK);
    expectNext(HUB_NODE_BATCH, batchRecord(300000000000, 10000000), 0x8008FC26);
    EXPECT_EQ(mBench.hub().state(kVdis).latency_ns, 300000000000);
    expectNoMore();
}

TEST_F(Requests, RefusalsReachTheProxy) {
    mBench.hub().fail(HUB_NODE_ENABLE, EIO, kVdis);
    EXPECT_EQ(mBench.hal().activate(kVdis, true), Result::BAD_VALUE);
    expectNext(HUB_NODE_ENABLE, "381\0"s, 0, EIO);
    mBench.hub().fail(HUB_NODE_FLUSH, EAGAIN);
    EXPECT_EQ(mBench.hal().flush(kVdis), Result::BAD_VALUE);
    expectNext(HUB_NODE_FLUSH, "38\0"s, 0, EAGAIN);
    mBench.hub().fail(HUB_NODE_BATCH, EREMOTEIO);
    EXPECT_EQ(mBench.hal().batch(kVdis, 10000000, 0), Result::BAD_VALUE);
    expectNext(HUB_NODE_BATCH, batchRecord(0, 10000000), 0x8008FC26, EREMOTEIO);
    EXPECT_EQ(mBench.hub().state(kVdis).period_ns, 0);
    // Nothing is rolled back: the sensor's row is on, so that its events pass.
    EXPECT_EQ(mBench.hub().push(kVdis, axesRecord(9)), 1);
    EXPECT_EQ(mBench.times(1), std::vector<int64_t>{9});
}

TEST_F(Requests, InjectionsAndMessagesArriveWhole) {
    Event event = {};
    event.sensorHandle = kAcc;
    for (uint32_t i = 0; i < 16; ++i)
        memcpy(&event.u.data[i], &i, sizeof(i));
    event.u.data[0] = 1e9F;
    uint32_t code = 0;
    memcpy(&code, &event.u.data[0], sizeof(code));
    EXPECT_EQ(mBench.hal().injectSensorData(event), Result::OK);
    RecordBuilder packet;
    packet.u8(1).u8(kAcc).u32(code);
    for (uint32_t i = 2; i < 16; ++i)
        packet.u32(i);
    expectNext(HUB_NODE_SHUB_INJECTION, packet.bytes());

    const auto injectMessage = [&](int32_t kind, uint32_t length, const std::string& chunk) {
        Event part = {};
        part.sensorHandle = kContext;
        const std::string head = RecordBuilder().i32(kind).u32(length).bytes() + chunk;
        memcpy(&part.u, head.data(), head.size());
        EXPECT_EQ(mBench.hal().injectSensorData(part), Result::OK);
    };
    const std::string first(56, 'a');
    injectMessage(0, 60, "");
    injectMessage(0x42554853, 56, first);
    injectMessage(0x42554853, 4, "tail");
    injectMessage(1, 60, "");
    expectNext(HUB_NODE_MESSAGE, first + "tail");
    expectNoMore();
}

// The exchange moves the file position: the reply arrives behind the request that was read.
TEST_F(Requests, FileManagerAndDumps) {
    const std::string path = kDataDirectory + "calibration"s;
    const std::string write = path + ",4,0,1,\1,\0\3"s;
    mBench.hub().setFile(HUB_NODE_FILE_MANAGER, write);
    command(0xFB, 1, 0);
    expectNext(HUB_NODE_FILE_MANAGER, "\1\4\0\0\0"s, static_cast<uint32_t>(write.size()));
    EXPECT_EQ(fileText(path), "\1,\0\3"s);
    const std::string read = path + ",100,1";
    mBench.hub().setFile(HUB_NODE_FILE_MANAGER, read);
    command(0xFB, 0, 0);
    expectNext(HUB_NODE_FILE_MANAGER, "\0\3\0\0\0,\0\3"s, static_cast<uint32_t>(read.size()));
    mBench.hub().setFile(HUB_NODE_FILE_MANAGER, path);
    command(0xFB, 2, 0);
    expectNext(HUB_NODE_FILE_MANAGER, "\2\0\0\0\0"s, static_cast<uint32_t>(path.size()));
    EXPECT_NE(access(path.c_str(), F_OK), 0);

    std::string dump;
    for (int i = 0; i < HUB_MAX_FILE; ++i)
        dump += static_cast<char>(i % 251);
    mBench.hub().setFile(HUB_NODE_DUMP, dump);
    command(0xFC, 5, 1);
    ASSERT_TRUE(mBench.settle(kAcc));
    EXPECT_EQ(fileText(kDataDirectory + "shub_dump"s), dump);
    expectNoMore();
}

TEST_F(Requests, ContextsReachTheProxy) {
    mBench.activate(kContext);
    ASSERT_TRUE(mBench.settle(kAcc));
    mBench.take();
    mBench.hub().setFile(HUB_NODE_CONTEXT_LIST, RecordBuilder().u64(1).u64(3).bytes());
    EXPECT_EQ(mBench.hal().flush(kAcc), Result::OK);
    std::string context = RecordBuilder().i32(8).u16(0).u16(7).bytes() + "context!";
    context.resize(64);
    EXPECT_EQ(mBench.hub().push(kContext, context + RecordBuilder().u64(5).bytes()), 1);
    const auto posted = mBench.take(1);
    ASSERT_EQ(posted.size(), 1U);
    EXPECT_EQ(posted[0].event.timestamp, 5);
    EXPECT_EQ(memcmp(reinterpret_cast<const char*>(&posted[0].event.u) + 8, "context!", 8), 0);
}

/** What a driver makes of each text, without the library. */
struct Text {
    const char* path;
    std::string bytes;
    int error;
};

TEST_F(Requests, OnlyTheDriversFormIsTaken) {
    constexpr char kEnable[] = "/sys/class/sensors/hbx_sensor/enable";
    constexpr char kFlush[] = "/sys/class/sensors/hbx_sensor/hbx_flush";
    constexpr char kInjection[] = "/dev/shub_data_injection";
    const Text texts[] = {
        {kEnable, "11\0"s, 0},           {kEnable, "11"s, EINVAL},
        {kEnable, "12\0"s, EINVAL},      {kEnable, "1\0"s, EINVAL},
        {kEnable, "011\0"s, EINVAL},     {kEnable, "31\0"s, EINVAL},
        {kEnable, "1 1\0"s, EINVAL},     {kFlush, "38\0"s, 0},
        {kFlush, "38"s, EINVAL},         {kFlush, "3\0"s, EINVAL},
        {kFlush, "x\0"s, EINVAL},        {kInjection, "\1\1xyz", 0},
        {kInjection, "\2\1xyz", EINVAL}, {kInjection, "\1\7xyz", EINVAL},
    };
    for (const Text& text : texts) {
        const int fd = open(text.path, O_WRONLY);
        ASSERT_GE(fd, 0) << text.path;
        const ssize_t count = write(fd, text.bytes.data(), text.bytes.size());
        EXPECT_EQ(count < 0 ? errno : 0, text.error) << testing::PrintToString(text.bytes);
        close(fd);
        const auto request = mBench.hub().nextRequest(kPatience);
        ASSERT_TRUE(request);
        EXPECT_EQ(request->bytes, text.bytes);
        EXPECT_EQ(request->error, text.error);
    }
}

}  // namespace
}  // namespace kernel_tests
