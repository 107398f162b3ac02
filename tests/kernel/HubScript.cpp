// What the hub's devices and files do, as measured on a stock kernel; each hub has to do the same.

#include "tests/kernel/HubScript.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <thread>
#include <vector>

namespace hub_script {
namespace {

using namespace std::string_literals;

/** One call and what comes of it. */
struct Step {
    std::string call;
    std::string target;  ///< an attribute of the device, an absolute path, or an ioctl's number
    std::string text;
    std::string result;  ///< "" for success, a text that was read, or the name of an errno
};

struct Script {
    const char* name;
    std::vector<Step> steps;
    bool kernelWarns = false;  ///< a real kernel's log has warnings, too
};

void PrintTo(const Script& script, std::ostream* stream) {
    *stream << script.name;
}

const std::string kPage(4096, '\0');
constexpr char kEnable[] = "/sys/class/sensors/hbx_sensor/enable";
constexpr char kFlush[] = "/sys/class/sensors/hbx_sensor/hbx_flush";
constexpr char kInjection[] = "/dev/shub_data_injection";

std::string batchRecord(int64_t timeout, int64_t delay, int64_t flagAndPadding) {
    const int64_t fields[] = {timeout, delay, flagAndPadding};
    return {reinterpret_cast<const char*>(fields), sizeof(fields)};
}

// Calls:
//   write, read      open an attribute, one call, close; a read gives the text
//   reread           on one descriptor: read all, write the text, read on
//   open             an attribute or path with flags "r", "w" or "rw", and "c" to create
//   start            open the record device; it stays open
//   open device      once more; open elsewhere: the same in another process
//   push             one record for each letter of the text; gives the letters that were taken
//   records          read the record device without waiting into that many bytes; gives letters
//   poll             gives "in" or "quiet"
//   ioctl            of any number on the record device
//   batch            an ioctl on the node that takes periods
//   wait, joined     a thread reads one record and waits for it; gives what it got
//   drop             unregister the device
const std::vector<Script> kScripts = {
    {"Numbers",
     {{"read", "buffer/length", "", "2\n"},
      {"write", "buffer/length", "600\n", ""},
      {"write", "buffer/length", "+601", ""},
      {"read", "buffer/length", "", "601\n"},
      {"write", "buffer/length", "0602\0"s, ""},
      {"write", "buffer/length", "", ""},
      {"read", "buffer/length", "", "602\n"},
      {"write", "buffer/length", " 600", "EINVAL"},
      {"write", "buffer/length", "0x10", "EINVAL"},
      {"write", "buffer/length", "4294967296", "ERANGE"},
      {"write", "buffer/length", "0", ""},
      {"read", "buffer/length", "", "2\n"},
      {"reread", "buffer/length", "60500\n", ""},
      {"read", "buffer/length", "", "60500\n"},
      {"write", "buffer/length", "604" + kPage, "short 4096"},
      {"read", "buffer/length", "", "604\n"}}},
    {"TruthValues",
     {{"write", "buffer/enable", "1\n", ""},
      {"read", "buffer/enable", "", "1\n"},
      {"write", "buffer/enable", "y", ""},
      {"write", "buffer/enable", "N\n", ""},
      {"write", "buffer/enable", "on\n", ""},
      {"write", "buffer/enable", "OFF", ""},
      {"write", "buffer/enable", "11\0"s, ""},
      {"read", "buffer/enable", "", "1\n"},
      {"write", "buffer/enable", "o", "EINVAL"},
      {"write", "buffer/enable", "2", "EINVAL"},
      {"read", "buffer/enable", "", "1\n"}}},
    {"LengthHoldsWhileTheBufferIsOn",
     {{"write", "buffer/length", "3\n", ""},
      {"write", "buffer/enable", "1\n", ""},
      {"write", "buffer/length", "3\n", ""},
      {"write", "buffer/length", "4\n", "EBUSY"},
      {"push", "", "abcde", "abcd"},
      {"read", "buffer/data_available", "", "4\n"},
      {"write", "buffer/enable", "1\n", ""},
      {"read", "buffer/data_available", "", "4\n"},
      {"write", "buffer/enable", "0\n", ""},
      {"push", "", "f", ""},
      {"start", "", "", ""},
      {"poll", "", "", "in"},
      {"records", "", "14", "a"},
      {"write", "buffer/enable", "1\n", ""},
      {"poll", "", "", "quiet"},
      {"read", "buffer/data_available", "", "0\n"}}},
    {"ReadsGiveWholeRecords",
     {{"start", "", "", ""},
      {"records", "", "14", ""},
      {"poll", "", "", "quiet"},
      {"write", "buffer/length", "600\n", ""},
      {"write", "buffer/enable", "1\n", ""},
      {"records", "", "14", "EAGAIN"},
      {"records", "", "13", "EINVAL"},
      {"push", "", "abcdefgh", "abcdefgh"},
      {"poll", "", "", "in"},
      {"records", "", "13", "EINVAL"},
      {"records", "", "14", "a"},
      {"records", "", "27", "b"},
      {"records", "", "28", "cd"},
      {"records", "", "300", "efgh"},
      {"records", "", "300", "EAGAIN"},
      {"push", "", "abcdefghijklmnopqrstuvwxyz", "abcdefghijklmnopqrstuvwxyz"},
      {"records", "", "280", "abcdefghijklmnopqrst"},
      {"poll", "", "", "in"},
      {"records", "", "280", "uvwxyz"},
      {"poll", "", "", "quiet"},
      {"ioctl", "", "", "ENODEV"}}},
    {"WatermarkHoldsBack",
     {{"read", "buffer/watermark", "", "1\n"},
      {"write", "buffer/watermark", "3", "EINVAL"},
      {"write", "buffer/length", "600\n", ""},
      {"write", "buffer/watermark", "0", "EINVAL"},
      {"write", "buffer/watermark", "3", ""},
      {"write", "buffer/enable", "1\n", ""},
      {"write", "buffer/watermark", "4", "EBUSY"},
      {"start", "", "", ""},
      {"push", "", "ab", "ab"},
      {"poll", "", "", "quiet"},
      {"push", "", "c", "c"},
      {"poll", "", "", "in"},
      {"records", "", "14", "a"},
      {"poll", "", "", "quiet"},
      {"records", "", "14", "b"},
      {"write", "buffer/enable", "0\n", ""},
      {"poll", "", "", "in"},
      {"write", "buffer/length", "2\n", ""},
      {"read", "buffer/watermark", "", "2\n"}}},
    {"OneOpenAtATime",
     {{"start", "", "", ""},
      {"open device", "", "", "EBUSY"},
      {"open elsewhere", "", "", "EBUSY"},
      {"start", "", "", ""},
      {"open device", "", "", "EBUSY"}}},
    {"ModesBindEveryone",
     {{"open", "name", "r", ""},
      {"open", "name", "rw", "EACCES"},
      {"open", "buffer/data_available", "w", "EACCES"},
      {"open", "buffer/length", "rw", ""},
      {"open", "buffer/length", "wc", ""},
      {"open", "buffer/none", "wc", "EACCES"},
      {"open", "buffer/none", "w", "ENOENT"},
      {"open", "/sys/class/sensors/hbx_sensor/sensor_spec", "rw", "EACCES"},
      {"open", kFlush, "w", ""},
      {"open", kFlush, "rw", "EACCES"},
      {"open", kEnable, "rw", ""},
      {"open", "/sys/class/sensors/hbx_sensor/none", "wc", "EACCES"}}},
    {"RequestsAreTakenOnlyInTheDriversForm",
     {{"write", kEnable, "11\0"s, ""},
      {"write", kEnable, "11", "EINVAL"},
      {"write", kEnable, "12\0"s, "EINVAL"},
      {"write", kEnable, "1\0"s, "EINVAL"},
      {"write", kEnable, "011\0"s, "EINVAL"},
      {"write", kEnable, "31\0"s, "EINVAL"},
      {"write", kFlush, "1\0"s, ""},
      {"write", kFlush, "1", "EINVAL"},
      {"write", kFlush, "3\0"s, "EINVAL"},
      {"write", kInjection, "\1\1xyz", ""},
      {"write", kInjection, "\2\1xyz", "EINVAL"},
      {"write", kInjection, "\1\7xyz", "EINVAL"},
      {"batch", "8008FC01", batchRecord(7, 5000000, 0), ""},
      {"batch", "8008FC01", batchRecord(0, 1, 1), "EINVAL"},
      {"batch", "8008FC01", batchRecord(0, 1, int64_t{1} << 32), "EINVAL"},
      {"batch", "8008FC01", batchRecord(-1, 1, 0), "EINVAL"},
      {"batch", "8008FC01", batchRecord(0, -1, 0), "EINVAL"},
      {"batch", "8008FC03", batchRecord(0, 1, 0), "EINVAL"},
      {"batch", "8008FD01", batchRecord(0, 1, 0), "ENOTTY"}}},
    {"DeviceGoesAway",
     {{"start", "", "", ""},
      {"write", "buffer/enable", "1\n", ""},
      {"push", "", "ab", "ab"},
      {"poll", "", "", "in"},
      {"drop", "", "", ""},
      {"poll", "", "", "quiet"},
      {"records", "", "14", "ENODEV"},
      {"push", "", "c", ""},
      {"poll", "", "", "quiet"},
      {"open", "buffer/length", "r", "ENOENT"},
      {"open device", "", "", "ENOENT"}}},
    {"WaitingReadGetsARecord",
     {{"start", "", "", ""},
      {"write", "buffer/enable", "1\n", ""},
      {"wait", "", "", ""},
      {"push", "", "a", "a"},
      {"joined", "", "", "a"},
      {"poll", "", "", "quiet"}}},
    {"WaitingReadSeesTheDeviceGo",
     {{"start", "", "", ""},
      {"write", "buffer/enable", "1\n", ""},
      {"wait", "", "", ""},
      {"drop", "", "", ""},
      {"joined", "", "", "ENODEV"},
      {"poll", "", "", "quiet"}}},
    {"BuffersOfFourMegabytes",
     {{"write", "buffer/length", "524288\n", ""},
      {"write", "buffer/enable", "1\n", "ENOMEM"},
      {"read", "buffer/enable", "", "0\n"},
      {"write", "buffer/length", "1024\n", ""},
      {"write", "buffer/enable", "1\n", ""}},
     true},
};

std::string errnoName() {
    return strerrorname_np(errno);
}

class Player {
  public:
    explicit Player(Hub& hub) : mHub(hub) {}
    ~Player() {
        if (mReader.joinable()) mReader.join();
        if (mDevice >= 0) close(mDevice);
    }

    std::string play(const Step& step) {
        const std::map<std::string, std::string (Player::*)(const Step&)> calls = {
            {"write", &Player::write},
            {"read", &Player::read},
            {"reread", &Player::reread},
            {"open", &Player::open},
            {"start", &Player::start},
            {"open device", &Player::openDevice},
            {"open elsewhere", &Player::openElsewhere},
            {"push", &Player::push},
            {"records", &Player::records},
            {"poll", &Player::poll},
            {"ioctl", &Player::ioctl},
            {"batch", &Player::batch},
            {"wait", &Player::wait},
            {"joined", &Player::joined},
            {"drop", &Player::drop},
        };
        return (this->*calls.at(step.call))(step);
    }

  private:
    std::string pathOf(const Step& step) const {
        return step.target[0] == '/' ? step.target : mHub.attributePath(step.target);
    }
    static std::string write(int fd, const std::string& text) {
        const ssize_t count = ::write(fd, text.data(), text.size());
        if (count < 0) return errnoName();
        return static_cast<size_t>(count) == text.size() ? "" : "short " + std::to_string(count);
    }
    static std::string read(int fd, size_t size) {
        std::string text(size, '?');
        const ssize_t count = ::read(fd, text.data(), size);
        return count < 0 ? errnoName() : text.substr(0, static_cast<size_t>(count));
    }
    static std::string onFile(const std::string& path, int flags,
                              const std::function<std::string(int fd)>& use) {
        const int fd = ::open(path.c_str(), flags | O_CLOEXEC, 0600);
        if (fd < 0) return errnoName();
        const std::string result = use(fd);
        close(fd);
        return result;
    }
    /** Each record is one letter repeated. */
    static std::string letters(const std::string& records) {
        if (!records.empty() && records[0] == 'E') return records;
        std::string result;
        for (size_t at = 0; at < records.size(); at += kRecordSize) {
            const std::string record = records.substr(at, kRecordSize);
            result += record == std::string(kRecordSize, record[0]) ? record[0] : '?';
        }
        return result;
    }

    std::string write(const Step& step) {
        return onFile(pathOf(step), O_WRONLY, [&](int fd) { return write(fd, step.text); });
    }
    std::string read(const Step& step) {
        return onFile(pathOf(step), O_RDONLY, [&](int fd) { return read(fd, kPage.size()); });
    }
    std::string reread(const Step& step) {
        return onFile(pathOf(step), O_RDWR, [&](int fd) {
            read(fd, kPage.size());
            const std::string written = write(fd, step.text);
            return written.empty() ? read(fd, kPage.size()) : written;
        });
    }
    std::string open(const Step& step) {
        const std::string& mode = step.text;
        int flags = mode.find('w') == std::string::npos ? O_RDONLY : O_WRONLY;
        if (mode.find("rw") != std::string::npos) flags = O_RDWR;
        if (mode.find('c') != std::string::npos) flags |= O_CREAT;
        return onFile(pathOf(step), flags, [](int) { return ""; });
    }
    std::string start(const Step&) {
        if (mDevice >= 0) close(mDevice);
        mDevice = ::open(mHub.devicePath().c_str(), O_RDONLY | O_CLOEXEC);
        return mDevice >= 0 ? "" : errnoName();
    }
    std::string openDevice(const Step&) {
        return onFile(mHub.devicePath(), O_RDONLY, [](int) { return ""; });
    }
    std::string openElsewhere(const Step& step) {
        const pid_t child = fork();
        if (child == 0) _exit(openDevice(step).empty() ? 0 : errno);
        int status = 0;
        waitpid(child, &status, 0);
        return WEXITSTATUS(status) == 0 ? "" : strerrorname_np(WEXITSTATUS(status));
    }
    std::string push(const Step& step) {
        std::string taken;
        for (const char letter : step.text) {
            if (mHub.push(std::string(kRecordSize, letter))) taken += letter;
        }
        return taken;
    }
    std::string records(const Step& step) {
        fcntl(mDevice, F_SETFL, O_NONBLOCK);
        return letters(read(mDevice, std::stoul(step.text)));
    }
    std::string poll(const Step&) {
        pollfd device{mDevice, POLLIN, 0};
        const int count = ::poll(&device, 1, 0);
        return count == 0 ? "quiet" : device.revents == POLLIN ? "in" : "else";
    }
    std::string ioctl(const Step&) {
        return ::ioctl(mDevice, 0x1234, nullptr) < 0 ? errnoName() : "";
    }
    std::string batch(const Step& step) {
        const unsigned long number = std::stoul(step.target, nullptr, 16);
        return onFile("/dev/batch_io", O_RDONLY, [&](int fd) {
            return ::ioctl(fd, number, step.text.data()) < 0 ? errnoName() : "";
        });
    }
    std::string wait(const Step&) {
        fcntl(mDevice, F_SETFL, 0);
        std::atomic<long> thread{0};
        mReader = std::thread([&] {
            thread = syscall(SYS_gettid);
            mRead = letters(read(mDevice, kRecordSize));
        });
        while (thread == 0)
            std::this_thread::yield();
        return isAsleep(thread) ? "" : "never waits";
    }
    static bool isAsleep(long thread) {
        for (int tries = 0; tries < 2000; ++tries) {
            std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
            std::string text;
            std::getline(stat, text);
            if (text.find(") S ") != std::string::npos) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }
    std::string joined(const Step&) {
        mReader.join();
        return mRead;
    }
    std::string drop(const Step&) {
        mHub.drop();
        return "";
    }

    Hub& mHub;
    int mDevice = -1;
    std::thread mReader;
    std::string mRead;
};

class Scripts : public testing::TestWithParam<Script> {};

TEST_P(Scripts, OnAHub) {
    const auto hub = newHub();
    if (GetParam().kernelWarns) hub->expectWarnings(true);
    Player player(*hub);
    for (size_t i = 0; i < GetParam().steps.size(); ++i) {
        const Step& step = GetParam().steps[i];
        EXPECT_EQ(player.play(step), step.result)
            << "step " << i << ": " << step.call << " " << step.target << " "
            << testing::PrintToString(step.text);
    }
    if (GetParam().kernelWarns) hub->expectWarnings(false);
}

INSTANTIATE_TEST_SUITE_P(Hub, Scripts, testing::ValuesIn(kScripts),
                         [](const auto& script) { return script.param.name; });

}  // namespace
}  // namespace hub_script
