// The library's requests as the kernel passes them to a driver, byte by byte.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "simulator/RecordBuilder.h"
#include "tests/kernel/KernelBench.h"

namespace kernel_tests {
namespace {

using namespace std::string_literals;
using simulator::RecordBuilder;

constexpr int kAcc = 1;
constexpr int kHousekeeping = 33;
constexpr int kVdis = 38;
constexpr char kDataDirectory[] = "/data/vendor/sensorhub/";

std::string fileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class Requests : public testing::Test {
  protected:
    Requests() : mBench({kAcc, kVdis}) {
        mBench.activate(kAcc);
        EXPECT_TRUE(mBench.settle(kAcc));
        mBench.hub().takeRequests();
    }

    void expectNext(hub_node node, const std::string& bytes, uint32_t number = 0) {
        const auto request = mBench.hub().nextRequest(kPatience);
        ASSERT_TRUE(request) << "no request";
        EXPECT_EQ(request->node, node);
        EXPECT_EQ(request->bytes, bytes);
        EXPECT_EQ(request->number, number);
        EXPECT_EQ(request->error, 0);
    }
    void expectNoMore() { EXPECT_EQ(mBench.hub().takeRequests().size(), 0U); }

    void command(uint8_t kind, uint8_t type, uint8_t count) {
        const std::string record = RecordBuilder().u8(kind).u8(type).u8(count).u64(0).bytes();
        EXPECT_EQ(mBench.hub().push(kHousekeeping, record), 1);
    }

    KernelBench mBench;
};

TEST_F(Requests, EnableBatchAndFlushByteByByte) {
    EXPECT_EQ(mBench.hal().activate(kVdis, true), Result::OK);
    expectNext(HUB_NODE_ENABLE, "381\0"s);
    EXPECT_EQ(mBench.hal().flush(kVdis), Result::OK);
    expectNext(HUB_NODE_FLUSH, "38\0"s);
    EXPECT_EQ(mBench.hal().batch(kVdis, 10000000, 300000000000), Result::OK);
    expectNext(HUB_NODE_BATCH, RecordBuilder().i64(300000000000).i64(10000000).i64(0).bytes(),
               0x8008FC26);
    expectNoMore();
}

// The exchange moves the file position: the reply arrives behind the request that was read.
TEST_F(Requests, FileManagerAndDumps) {
    const std::string path = kDataDirectory + "calibration"s;
    const std::pair<std::string, std::string> exchanges[] = {
        {path + ",100,1", "\0\3\0\0\0,\0\3"s},
        {path + ",4,0,1,\1,\0\3"s, "\1\4\0\0\0"s},
        {path, "\2\0\0\0\0"s},
    };
    for (const uint8_t type : std::initializer_list<uint8_t>{1, 0, 2}) {  // write, read, remove
        const auto& [request, reply] = exchanges[type];
        mBench.hub().setFile(HUB_NODE_FILE_MANAGER, request);
        command(0xFB, type, 0);
        expectNext(HUB_NODE_FILE_MANAGER, reply, static_cast<uint32_t>(request.size()));
        EXPECT_EQ(fileText(path), type == 2 ? "" : "\1,\0\3"s);
    }
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

}  // namespace
}  // namespace kernel_tests
