// What the hub's devices and files do, as measured on a stock kernel; each hub has to do the same.

#include "tests/kernel/HubScript.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <thread>
#include <vector>

namespace hub_script {
namespace {

using namespace std::string_literals;

struct Script {
    const char* name;
    std::vector<std::string> steps;  ///< "CALL [ARGUMENTS] [-> RESULT]"; success has no result
    bool kernelWarns = false;        ///< a real kernel's log has warnings, too
};

void PrintTo(const Script& script, std::ostream* stream) {
    *stream << script.name;
}

const std::string kPage(4096, '\0');

// Calls; an attribute is one of the device, an absolute path, or below "hub/" one of the hub's:
//   write ATTRIBUTE TEXT, read ATTRIBUTE    open, one call, close; a read gives the text
//   reread ATTRIBUTE TEXT   on one descriptor: read all, write the text, read on
//   open ATTRIBUTE FLAGS    "r", "w" or "rw", and "c" to create
//   start            open the record device; it stays open
//   reopen, elsewhere       open it once more, in this or in another process
//   push LETTERS     one record for each; gives the letters that were taken
//   records BYTES    read the record device without waiting into so many; gives letters
//   poll             gives "in" or "quiet"
//   ioctl            of any number on the record device
//   batch NUMBER TIMEOUT DELAY FLAGS        an ioctl on the node that takes periods
//   wait, joined     a thread reads one record and waits for it; gives what it got
//   drop             unregister the device
const std::vector<Script> kScripts = {
    {"Numbers",
     {"read buffer/length -> 2\n", "write buffer/length 600\n", "write buffer/length +601",
      "read buffer/length -> 601\n", "write buffer/length 0602\0"s, "write buffer/length ",
      "read buffer/length -> 602\n", "write buffer/length  600 -> EINVAL",
      "write buffer/length 0x10 -> EINVAL", "write buffer/length 4294967296 -> ERANGE",
      "write buffer/length 0", "read buffer/length -> 2\n", "reread buffer/length 60500\n",
      "read buffer/length -> 60500\n", "write buffer/length 604" + kPage + " -> short 4096",
      "read buffer/length -> 604\n"}},
    {"TruthValues",
     {"write buffer/enable 1\n", "read buffer/enable -> 1\n", "write buffer/enable y",
      "write buffer/enable N\n", "write buffer/enable on\n", "write buffer/enable OFF",
      "write buffer/enable 11\0"s, "read buffer/enable -> 1\n", "write buffer/enable o -> EINVAL",
      "write buffer/enable 2 -> EINVAL", "read buffer/enable -> 1\n"}},
    {"LengthHoldsWhileTheBufferIsOn",
     {"write buffer/length 3\n", "write buffer/enable 1\n", "write buffer/length 3\n",
      "write buffer/length 4\n -> EBUSY", "push abcde -> abcd", "read buffer/data_available -> 4\n",
      "write buffer/enable 1\n", "read buffer/data_available -> 4\n", "write buffer/enable 0\n",
      "push f", "start", "poll -> in", "records 14 -> a", "write buffer/enable 1\n",
      "poll -> quiet", "read buffer/data_available -> 0\n"}},
    {"ReadsGiveWholeRecords",
     {"start",
      "records 14",
      "poll -> quiet",
      "write buffer/length 600\n",
      "write buffer/enable 1\n",
      "records 14 -> EAGAIN",
      "records 13 -> EINVAL",
      "push abcdefgh -> abcdefgh",
      "poll -> in",
      "records 13 -> EINVAL",
      "records 14 -> a",
      "records 27 -> b",
      "records 28 -> cd",
      "records 300 -> efgh",
      "records 300 -> EAGAIN",
      "push abcdefghijklmnopqrstuvwxyz -> abcdefghijklmnopqrstuvwxyz",
      "records 280 -> abcdefghijklmnopqrst",
      "poll -> in",
      "records 280 -> uvwxyz",
      "poll -> quiet",
      "ioctl -> ENODEV"}},
    {"WatermarkHoldsBack",
     {"read buffer/watermark -> 1\n", "write buffer/watermark 3 -> EINVAL",
      "write buffer/length 600\n", "write buffer/watermark 0 -> EINVAL", "write buffer/watermark 3",
      "write buffer/enable 1\n", "write buffer/watermark 4 -> EBUSY", "start", "push ab -> ab",
      "poll -> quiet", "push c -> c", "poll -> in", "records 14 -> a", "poll -> quiet",
      "records 14 -> b", "write buffer/enable 0\n", "poll -> in", "write buffer/length 2\n",
      "read buffer/watermark -> 2\n"}},
    {"OneOpenAtATime",
     {"start", "reopen -> EBUSY", "elsewhere -> EBUSY", "start", "reopen -> EBUSY"}},
    {"ModesBindEveryone",
     {"open name r", "open name rw -> EACCES", "open buffer/data_available w -> EACCES",
      "open buffer/length rw", "open buffer/length wc", "open buffer/none wc -> EACCES",
      "open buffer/none w -> ENOENT", "open hub/sensor_spec rw -> EACCES", "open hub/hbx_flush w",
      "open hub/hbx_flush rw -> EACCES", "open hub/enable rw", "open hub/none wc -> EACCES"}},
    {"RequestsAreTakenOnlyInTheDriversForm",
     {"write hub/enable 11\0"s, "write hub/enable 11 -> EINVAL", "write hub/enable 12\0 -> EINVAL"s,
      "write hub/enable 1\0 -> EINVAL"s, "write hub/enable 011\0 -> EINVAL"s,
      "write hub/enable 31\0 -> EINVAL"s, "write hub/hbx_flush 1\0"s,
      "write hub/hbx_flush 1 -> EINVAL", "write hub/hbx_flush 3\0 -> EINVAL"s,
      "write /dev/shub_data_injection \1\1xyz", "write /dev/shub_data_injection \2\1xyz -> EINVAL",
      "write /dev/shub_data_injection \1\7xyz -> EINVAL", "batch 8008FC01 7 5000000 0",
      "batch 8008FC01 0 1 1 -> EINVAL", "batch 8008FC01 0 1 4294967296 -> EINVAL",
      "batch 8008FC01 -1 1 0 -> EINVAL", "batch 8008FC01 0 -1 0 -> EINVAL",
      "batch 8008FC03 0 1 0 -> EINVAL", "batch 8008FD01 0 1 0 -> ENOTTY"}},
    {"DeviceGoesAway",
     {"start", "write buffer/enable 1\n", "push ab -> ab", "poll -> in", "drop", "poll -> quiet",
      "records 14 -> ENODEV", "push c", "poll -> quiet", "open buffer/length r -> ENOENT",
      "reopen -> ENOENT"}},
    {"WaitingReadGetsARecord",
     {"start", "write buffer/enable 1\n", "wait", "push a -> a", "joined -> a", "poll -> quiet"}},
    {"WaitingReadSeesTheDeviceGo",
     {"start", "write buffer/enable 1\n", "wait", "drop", "joined -> ENODEV", "poll -> quiet"}},
    {"BuffersOfFourMegabytes",
     {"write buffer/length 524288\n", "write buffer/enable 1\n -> ENOMEM",
      "read buffer/enable -> 0\n", "write buffer/length 1024\n", "write buffer/enable 1\n"},
     true},
};

std::string errnoName() {
    return strerrorname_np(errno);
}

/** Removes what stands before the separator, and the separator; all, when there is none. */
std::string cut(std::string* text, const std::string& separator) {
    const size_t end = std::min(text->find(separator), text->size());
    const std::string head = text->substr(0, end);
    text->erase(0, end + separator.size());
    return head;
}

class Player {
  public:
    explicit Player(Hub& hub) : mHub(hub) {}
    ~Player() {
        if (mReader.joinable()) mReader.join();
        if (mDevice >= 0) close(mDevice);
    }

    /** What the call gives: a text, or the name of an errno. */
    std::string play(std::string text) {
        const std::string call = cut(&text, " ");
        const std::string target = cut(&text, " ");
        const auto onTarget = [&](int flags, const std::function<std::string(int fd)>& use) {
            return onFile(pathOf(target), flags, use);
        };
        const std::map<std::string, std::function<std::string()>> calls = {
            {"write", [&] { return onTarget(O_WRONLY, [&](int fd) { return write(fd, text); }); }},
            {"read", [&] { return onTarget(O_RDONLY, readPage); }},
            {"reread",
             [&] {
                 return onTarget(O_RDWR, [&](int fd) {
                     readPage(fd);
                     const std::string written = write(fd, text);
                     return written.empty() ? readPage(fd) : written;
                 });
             }},
            {"open", [&] { return onTarget(flagsOf(text), [](int) { return ""; }); }},
            {"start", [&] { return start(); }},
            {"reopen", [&] { return reopen(); }},
            {"elsewhere", [&] { return elsewhere(); }},
            {"push", [&] { return push(target); }},
            {"records", [&] { return records(std::stoul(target)); }},
            {"poll", [&] { return poll(); }},
            {"ioctl", [&] { return control(mDevice, 0x1234, nullptr); }},
            {"batch", [&] { return batch(std::stoul(target, nullptr, 16), text); }},
            {"wait", [&] { return wait(); }},
            {"joined", [&] { return mReader.join(), mRead; }},
            {"drop", [&] { return mHub.drop(), ""; }},
        };
        return calls.at(call)();
    }

  private:
    std::string pathOf(const std::string& attribute) const {
        if (attribute[0] == '/') return attribute;
        if (attribute.rfind("hub/", 0) == 0)
            return "/sys/class/sensors/hbx_sensor/" + attribute.substr(4);
        return mHub.attributePath(attribute);
    }
    static int flagsOf(const std::string& mode) {
        const int access = mode[0] == 'w' ? O_WRONLY : mode[1] == 'w' ? O_RDWR : O_RDONLY;
        return access | (mode.back() == 'c' ? O_CREAT : 0);
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
    static std::string readPage(int fd) { return read(fd, kPage.size()); }
    static std::string control(int fd, unsigned long number, const void* argument) {
        return ::ioctl(fd, number, argument) < 0 ? errnoName() : "";
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

    std::string start() {
        if (mDevice >= 0) close(mDevice);
        mDevice = ::open(mHub.devicePath().c_str(), O_RDONLY | O_CLOEXEC);
        return mDevice >= 0 ? "" : errnoName();
    }
    std::string reopen() {
        return onFile(mHub.devicePath(), O_RDONLY, [](int) { return ""; });
    }
    std::string elsewhere() {
        const pid_t child = fork();
        if (child == 0) _exit(reopen().empty() ? 0 : errno);
        int status = 0;
        waitpid(child, &status, 0);
        return WEXITSTATUS(status) == 0 ? "" : strerrorname_np(WEXITSTATUS(status));
    }
    std::string push(const std::string& letters) {
        std::string taken;
        for (const char letter : letters) {
            if (mHub.push(std::string(kRecordSize, letter))) taken += letter;
        }
        return taken;
    }
    std::string records(size_t size) {
        fcntl(mDevice, F_SETFL, O_NONBLOCK);
        return letters(read(mDevice, size));
    }
    std::string poll() {
        pollfd device{mDevice, POLLIN, 0};
        const int count = ::poll(&device, 1, 0);
        return count == 0 ? "quiet" : device.revents == POLLIN ? "in" : "else";
    }
    static std::string batch(unsigned long number, const std::string& text) {
        int64_t fields[3];
        std::istringstream numbers(text);
        numbers >> fields[0] >> fields[1] >> fields[2];
        return onFile("/dev/batch_io", O_RDONLY,
                      [&](int fd) { return control(fd, number, fields); });
    }
    std::string wait() {
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
    for (std::string step : GetParam().steps) {
        SCOPED_TRACE(testing::PrintToString(step));
        const std::string call = cut(&step, " -> ");
        EXPECT_EQ(player.play(call), step);
    }
    if (GetParam().kernelWarns) hub->expectWarnings(false);
}

INSTANTIATE_TEST_SUITE_P(Hub, Scripts, testing::ValuesIn(kScripts),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace hub_script
