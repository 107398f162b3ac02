// A library shaped like the product where it matters to its loader: an object in static storage
// whose thread waits in poll() without time-out, and whose destructor joins that thread.

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <thread>

namespace {

class Waiting {
  public:
    Waiting() : mFd(open("/dev/iio:device1", O_RDONLY)), mThread(&Waiting::run, this) {}

    ~Waiting() {
        mStop = true;
        mThread.join();
        close(mFd);
    }

    int records() const { return mRecords; }

  private:
    void run() {
        while (!mStop) {
            pollfd ready{mFd, POLLIN, 0};
            char record[64];
            if (poll(&ready, 1, -1) == 1 && read(mFd, record, sizeof(record)) > 0) ++mRecords;
        }
    }

    const int mFd;
    std::atomic<bool> mStop{false};
    std::atomic<int> mRecords{0};
    std::thread mThread;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) int sensorsHalGetSubHal() {
    static Waiting waiting;
    return waiting.records();
}
