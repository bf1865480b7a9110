#pragma once
// Black-box tests of the real plovrestd: a child process with captured output,
// and the daemon's peers (bound inside scripts/netns-run.sh).

#include <czmq.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace harness {

using Ms = std::chrono::milliseconds;

// Polls `done` every `step` until it holds (true) or `timeout` has passed (false).
template <typename F>
bool PollUntil(F done, Ms timeout, Ms step = Ms(10)) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!done()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(step);
  }
  return true;
}

// plovrestd (or any binary) run as a child with stdout/stderr in files and
// stdin from /dev/null; the one child-process harness of the tests.
class DaemonProcess {
 public:
  explicit DaemonProcess(const std::vector<std::string>& args, const std::string& binary = "");
  ~DaemonProcess();
  DaemonProcess(const DaemonProcess&) = delete;
  DaemonProcess& operator=(const DaemonProcess&) = delete;

  pid_t Pid() const { return mPid; }
  void Signal(int sig) const;
  // Exit status (0-255) when it exited, -N when killed by signal N, or
  // nothing when it is still running after the time-out.
  std::optional<int> WaitExit(Ms timeout);
  std::string Stdout() const;
  std::string Stderr() const;
  // True once the output holds `needle`, false when the time-out passes first.
  bool WaitForStdout(const std::string& needle, Ms timeout) const { return WaitForText("/stdout", needle, timeout); }
  bool WaitForStderr(const std::string& needle, Ms timeout) const { return WaitForText("/stderr", needle, timeout); }
  bool Running();

 private:
  bool WaitForText(const char* file, const std::string& needle, Ms timeout) const;
  pid_t mPid = -1;
  bool mbReaped = false;
  int mStatus = 0;
  std::string mDir;
};

// Path of the plovrestd binary under test (set by CMake).
std::string DaemonPath();

// A program run to completion, bounded by `timeout`: exit status as
// WaitExit gives it (-1000 when it did not finish), standard output and error.
struct ToolResult {
  int status = -1000;
  std::string out, err;
};
ToolResult RunTool(const std::string& binary, const std::vector<std::string>& args,
                   Ms timeout = Ms(30000));

// A fresh temporary directory (the caller removes it); a file read whole ("" when
// it cannot be read) and written whole.
std::string MakeTempDir();
std::string ReadText(const std::string& path);
void WriteText(const std::string& path, const std::string& text);

struct Message {
  std::string topic;
  std::string payload;  // empty when the message had one frame
  int frames = 0;
};

// Receives one message within the time-out.
std::optional<Message> Receive(zsock_t* sock, Ms timeout);
// Called with every message Receive returns (the end-to-end tests validate
// what the daemon publishes); an empty function removes it.
void SetReceiveCheck(std::function<void(const Message&)> check);
// Receives until pred matches, within the time-out; other messages are skipped.
std::optional<Message> ReceiveUntil(zsock_t* sock, Ms timeout,
                                    const std::function<bool(const Message&)>& pred);
// Sends a two-frame message [topic, payload].
void Send(zsock_t* sock, const std::string& topic, const std::string& payload);
void SendBytes(zsock_t* sock, const std::string& topic, const void* data, size_t size);

// Repeats send() every period until pred matches a message received on sub;
// the usual way to get past ZeroMQ's slow-joiner window without fixed sleeps.
std::optional<Message> SendUntil(const std::function<void()>& send, zsock_t* sub, Ms timeout,
                                 const std::function<bool(const Message&)>& pred,
                                 Ms period = Ms(50));

// Binds a new socket ("@" is added to the endpoint), retrying while a socket
// just closed on the same endpoint is still being released by ZeroMQ.
zsock_t* BindWithRetry(zsock_t* (*make)(const char*), const std::string& endpoint);

// Every peer of the daemon where the device has them, and a subscriber to it.
struct Peers {
  Peers();
  ~Peers();
  Peers(const Peers&) = delete;
  Peers& operator=(const Peers&) = delete;

  zsock_t* decoder = nullptr;      // PUB tcp 169.254.2.3:2002
  zsock_t* hwm = nullptr;          // PUB tcp 169.254.2.3:2000
  zsock_t* hbMon = nullptr;        // PUB ipc hbMonPubMq.ipc
  zsock_t* appServer = nullptr;    // PUB ipc appServer.ipc
  zsock_t* logSink = nullptr;      // PULL tcp 169.254.2.2:9000
  zsock_t* hbCollector = nullptr;  // PULL tcp 169.254.2.2:10000
  zsock_t* out = nullptr;          // SUB ipc dlbMetadataPub.ipc, all topics
};

// The decoder-state payload as the daemon formats it.
std::string StateText(const std::string& status, const std::string& event);

}  // namespace harness
