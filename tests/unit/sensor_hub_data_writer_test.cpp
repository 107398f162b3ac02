#include "hub/SensorHubDataWriter.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "tests/unit/HubFixture.h"

namespace {

using android::hardware::sensors::V1_0::Event;
using android::hardware::sensors::V2_0::zelva_sensorhub::hbx_data_injection_fd;
using android::hardware::sensors::V2_0::zelva_sensorhub::SensorHubDataWriter;
using testing_support::LogCapture;

constexpr int32_t kStart = 0;
constexpr int32_t kEnd = 1;
constexpr int32_t kData = 0x42554853;
constexpr char kDevice[] = "/dev/hbx_sensorhub";

/** Bytes that tell their position. */
std::string counted(size_t size) {
    std::string bytes(size, '\0');
    std::iota(bytes.begin(), bytes.end(), '\1');
    return bytes;
}

Event piece(int32_t kind, uint32_t length, const std::string& chunk = "") {
    uint8_t payload[64] = {};
    memcpy(payload, &kind, 4);
    memcpy(payload + 4, &length, 4);
    memcpy(payload + 8, chunk.data(), chunk.size());
    Event event = {};
    event.timestamp = 77;
    memcpy(&event.u, payload, sizeof(payload));
    return event;
}

/** One event given to the writer, its answer, and what was logged about the message. */
struct Step {
    int32_t kind;
    uint32_t length;
    std::string chunk;
    int32_t answer;
    std::string line = "";
};

const std::string kNotStarted = "E SensorHubDataWriter: does not start injection";
const std::string kNotFinished = "E SensorHubDataWriter: injection was not finished";
const std::string kTooBig = "D SensorHubDataWriter: too big data";
const std::string kNoRoom = "E SensorHubDataWriter: SetHubData failed , Not enough buffer ";

using Messages = std::vector<std::string>;

class SensorHubDataWriterTest : public testing_support::HubFixture {
  protected:
    SensorHubDataWriterTest() { open(); }
    ~SensorHubDataWriterTest() override { close(hbx_data_injection_fd); }

    void open() {
        LogCapture::take();
        mWriter = std::make_unique<SensorHubDataWriter>();
    }

    void give(const std::vector<Step>& steps) {
        for (const Step& step : steps) {
            SCOPED_TRACE(&step - steps.data());
            LogCapture::take();
            EXPECT_EQ(mWriter->handleData(piece(step.kind, step.length, step.chunk)), step.answer);
            EXPECT_TRUE(step.line.empty() || logged(step.line)) << step.line;
        }
    }

    /** The start and data events of a message in the largest pieces. */
    static std::vector<Step> stepsOf(const std::string& message) {
        std::vector<Step> steps = {{kStart, static_cast<uint32_t>(message.size()), "", 0}};
        int32_t stored = 0;
        for (size_t at = 0; at < message.size(); at += 56) {
            const std::string chunk = message.substr(at, 56);
            stored += static_cast<int32_t>(chunk.size());
            steps.push_back({kData, static_cast<uint32_t>(chunk.size()), chunk, stored});
        }
        return steps;
    }

    /** The messages that have arrived since the last call. */
    Messages messages() {
        Messages all = mServices.messages();
        all.erase(all.begin(), all.begin() + static_cast<ptrdiff_t>(mSeen));
        mSeen += all.size();
        return all;
    }

    std::unique_ptr<SensorHubDataWriter> mWriter;
    size_t mSeen = 0;
};

TEST_F(SensorHubDataWriterTest, SendsAShortMessageFromTheStartEventAlone) {
    give({{kStart, 10, counted(56), -1}});
    EXPECT_LOG("D 0102030405060708090a ",
               "D inject_qcontext_data: New hbx_data_injection_fd(" +
                   std::to_string(hbx_data_injection_fd) + ")",
               "D QContext Data Injection return 10");
    give({{kStart, 55, counted(56), -1},
          {kStart, 0, counted(56), -1},
          {kEnd, 0, "", -1, kNotStarted}});
    EXPECT_EQ(messages(), (Messages{counted(10), counted(55), ""}));
}

TEST_F(SensorHubDataWriterTest, PutsALongMessageTogether) {
    const std::string message = counted(120);
    give({{kStart, 120, "not part of it", 0},
          {kData, 56, message.substr(0, 56), 56},
          {kData, 56, message.substr(56, 56), 112},
          {kData, 8, message.substr(112), 120}});
    EXPECT_EQ(messages(), Messages{});
    give({{kEnd, 120, "", -1}});
    // Sixteen bytes to a line, the rest on the last.
    const auto log = LogCapture::take();
    ASSERT_EQ(log.size(), 10u);
    EXPECT_EQ(log[0].text, "0102030405060708090a0b0c0d0e0f10 ");
    EXPECT_EQ(log[7].text, "7172737475767778 ");
    give({{kEnd, 120, "", -1, kNotStarted}});
    EXPECT_EQ(messages(), Messages{message});
    for (const size_t size : {56u, 1119u}) {
        give(stepsOf(counted(size)));
        give({{kEnd, static_cast<uint32_t>(size), "", -1}});
        EXPECT_EQ(messages(), Messages{counted(size)});
    }
}

TEST_F(SensorHubDataWriterTest, RefusesWhatDoesNotFit) {
    // One byte more than the longest message is let in and gets no room; two are not let in.
    give({{kStart, 1120, "", 0}, {kData, 1, "x", -1}, {kEnd, 1120, "", -1, kNotFinished}});
    for (const uint32_t tooLong : {1121u, 0x80000000u, 0xFFFFFFFFu})
        give({{kStart, tooLong, "", -1, kTooBig}, {kData, 1, "x", -1, kNotStarted}});
    // A refused chunk leaves the message open and untouched.
    give({{kStart, 100, "", 0},
          {kData, 56, counted(56), 56},
          {kData, 45, counted(45), -1, kNoRoom + "45"},
          {kData, 64, counted(45), -1, kNoRoom + "64"},
          {kData, 44, counted(44), 100},
          {kEnd, 100, "", -1},
          {kStart, 1000, "", 0}});
    for (const uint32_t length : {57u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        give({{kData, length, counted(56), -1}});
    give({{kData, 56, counted(56), 56}, {kEnd, 1000, "", -1, kNotFinished}});
    // The lengths must agree.
    give(stepsOf(counted(60)));
    give({{kEnd, 61, "", -1}});
    // A new start drops the message at hand; an unknown kind does not.
    give({{kStart, 120, "", 0},
          {kData, 56, counted(56), 56},
          {kStart, 60, "", 0, "D SensorHubDataWriter: injection was not finished"},
          {kData, 56, counted(56), 56},
          {2, 56, counted(56), -1, "I SensorHubDataWriter: does not support this type 2"},
          {kData, 4, "last", 60},
          {kEnd, 60, "", -1}});
    EXPECT_EQ(messages(), (Messages{counted(56) + counted(44), counted(56) + "last"}));
}

TEST_F(SensorHubDataWriterTest, RetriesInterruptedWritesAndReportsOthers) {
    mHub.failWrite(kDevice, EINTR, 1, 2);
    give({{kStart, 3, "abc", -1}});
    EXPECT_EQ(LogCapture::count("E inject_qcontext_data: EINTR! retry to write"), 2);
    mHub.failWrite(kDevice, EIO);
    const uint8_t bytes[] = {1, 2, 3};
    EXPECT_EQ(SensorHubDataWriter::inject_qcontext_data(bytes, 3), -EIO);
    EXPECT_TRUE(logged("E inject_qcontext_data: error(-5) Input/output error"));
    EXPECT_TRUE(logged("D QContext Data Injection return -1"));
    EXPECT_EQ(SensorHubDataWriter::inject_qcontext_data(bytes, 2), 2);
    EXPECT_EQ(SensorHubDataWriter::inject_qcontext_data(bytes, -1), -EINVAL);
    EXPECT_EQ(messages(), (Messages{"abc", "\1\2"}));
}

TEST_F(SensorHubDataWriterTest, TakesTheFirstDeviceThatOpens) {
    close(hbx_data_injection_fd);
    mHub.failOpen(kDevice, EACCES, 1, simulator::SimulatedHub::kForever);
    Messages fallback;
    simulator::NodeHandler handler;
    handler.onWrite = [&](const std::string& bytes) {
        fallback.push_back(bytes);
        return static_cast<ssize_t>(bytes.size());
    };
    mHub.setHandler("/dev/shub_sensorhub", handler);
    open();
    EXPECT_TRUE(
        logged("E SensorHubDataWriter: open sensorhub device failed(-1) Permission denied"));
    EXPECT_TRUE(logged("E SensorHubDataWriter: open sensorhub device success(" +
                       std::to_string(hbx_data_injection_fd) + ")"));
    give({{kStart, 2, "hi", -1}});
    EXPECT_EQ(fallback, Messages{"hi"});

    close(hbx_data_injection_fd);
    mHub.removeFile("/dev/shub_sensorhub");
    open();
    EXPECT_LT(hbx_data_injection_fd, 0);
    give(stepsOf(counted(60)));
    give({{kEnd, 60, "", -1, "E inject_qcontext_data: invalid hbx_data_injection_fd(-1)"}});
}

TEST_F(SensorHubDataWriterTest, SeparateOperationsStayInBounds) {
    const std::vector<int> words(300, 0x04030201);
    mWriter->initBuffers(8, 5, words.data());
    EXPECT_EQ(mWriter->writeData(), -1);
    EXPECT_EQ(messages(), Messages{"\1\2\3\4\1\2\3\4"});

    mWriter->initBuffers(8, 5, nullptr);
    EXPECT_EQ(mWriter->setHubData(4, nullptr), -1);
    EXPECT_TRUE(logged("E SensorHubDataWriter: SetHubData failed ,wrong buffer"));
    EXPECT_EQ(mWriter->setHubData(6, words.data()), 6);
    EXPECT_EQ(mWriter->setHubData(3, words.data()), -1);
    EXPECT_EQ(mWriter->setHubData(-1, words.data()), -1);
    for (const int length : {-1, 1121, 0x7FFFFFFF}) {
        mWriter->initBuffers(length, 5, words.data());
        EXPECT_EQ(mWriter->setHubData(1, words.data()), -1) << length;
    }
    mWriter->initBuffers(1120, 5, words.data());
    EXPECT_EQ(mWriter->setHubData(1120, words.data()), 1120);
    mWriter->clearBuffer();
    mWriter->writeData();
    EXPECT_EQ(messages(), Messages{""});
}

}  // namespace
