// The daemon under a service manager's notify socket (as systemd's
// Type=notify gives it), in the private namespace: readiness once its
// endpoint takes subscribers, a status that follows what the simulator plays,
// keep-alives at half the watchdog time-out (again after a pause), and the stop.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <regex>

#include "DaemonHarness.h"

namespace {

using harness::DaemonProcess;
using harness::Ms;
using Clock = std::chrono::steady_clock;

// A datagram socket at a path, or at an abstract name ("@..."), as systemd's.
int BindUnix(const std::string& address, int type, bool bind) {
  sockaddr_un sa{};
  sa.sun_family = AF_UNIX;
  address.copy(sa.sun_path, sizeof sa.sun_path - 1);
  if (address[0] == '@') sa.sun_path[0] = '\0';
  const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
  const auto len = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
  if (fd >= 0 && (bind ? ::bind(fd, reinterpret_cast<sockaddr*>(&sa), len)
                       : connect(fd, reinterpret_cast<sockaddr*>(&sa), len)) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

struct Notice {
  Clock::time_point at;
  std::string text;
};

// Receives notices until one matches `pattern` (whole text), within `timeout`.
std::optional<Notice> WaitFor(int fd, const std::string& pattern, Ms timeout) {
  const std::regex wanted(pattern);
  const timeval tv{0, 100000};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
  for (const auto end = Clock::now() + timeout; Clock::now() < end;) {
    char buf[512];
    const ssize_t n = recv(fd, buf, sizeof buf, 0);
    Notice notice{Clock::now(), std::string(buf, n > 0 ? static_cast<size_t>(n) : 0)};
    if (n > 0 && std::regex_match(notice.text, wanted)) return notice;
  }
  return std::nullopt;
}

TEST(DaemonService, NotifiesReadinessStatusKeepAlivesAndStop) {
  const std::string dir = harness::MakeTempDir();
  for (const std::string& address : {dir + "/notify", "@plovrest-notify-" + std::to_string(getpid())}) {
    SCOPED_TRACE(address);
    const int notify = BindUnix(address, SOCK_DGRAM, true);
    ASSERT_GE(notify, 0);
    setenv("NOTIFY_SOCKET", address.c_str(), 1);
    setenv("WATCHDOG_USEC", "4000000", 1);
    DaemonProcess daemon({"-s", "2", "-i", "lo"});
    unsetenv("NOTIFY_SOCKET");
    unsetenv("WATCHDOG_USEC");

    ASSERT_TRUE(WaitFor(notify, "READY=1", Ms(10000)));
    const int subscriber = BindUnix("/run/shm/mq/dlbMetadataPub.ipc", SOCK_STREAM, false);
    EXPECT_GE(subscriber, 0) << "ready before its endpoint takes subscribers";
    close(subscriber);
    EXPECT_THAT(daemon.Stdout(), testing::HasSubstr("thread out of wait"));

    DaemonProcess sim({"--scenario", "ddp", "--zoom", "on", "--decoder-state", "processing", "--rate", "20",
                       "--at", "4:zoom off", "-q"},
                      PLOVREST_SIM_PATH);
    EXPECT_TRUE(WaitFor(notify, R"(STATUS=Decoding; Dolby Digital \(Plus\); [1-9][0-9]* records/s)", Ms(10000)));
    EXPECT_TRUE(WaitFor(notify, R"(STATUS=Not Decoding; Dolby Digital \(Plus\); 0 records/s)", Ms(10000)));

    // Keep-alives every 2 s, measured over three periods; again after a pause.
    const auto first = WaitFor(notify, "WATCHDOG=1", Ms(5000));
    std::optional<Notice> last = first;
    for (int i = 0; i < 3 && last; ++i) last = WaitFor(notify, "WATCHDOG=1", Ms(5000));
    ASSERT_TRUE(first && last);
    const double period = std::chrono::duration<double>(last->at - first->at).count() / 3;
    EXPECT_GE(period, 1.6);
    EXPECT_LE(period, 2.6);
    daemon.Signal(SIGSTOP);
    std::this_thread::sleep_for(Ms(3000));
    daemon.Signal(SIGCONT);
    EXPECT_TRUE(WaitFor(notify, "WATCHDOG=1", Ms(5000))) << "no keep-alive after SIGCONT";

    daemon.Signal(SIGTERM);
    EXPECT_TRUE(WaitFor(notify, "STOPPING=1", Ms(3000)));
    EXPECT_EQ(daemon.WaitExit(Ms(3000)), 0);
    EXPECT_THAT(daemon.Stdout(), testing::EndsWith("SignalValue: 15\n"));
    close(notify);
  }
  std::filesystem::remove_all(dir);
}

}  // namespace
