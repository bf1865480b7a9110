#include "DaemonHarness.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "MqEndpointText.h"

namespace harness {

namespace {

using mq::detail::IpcEndpoint;
using mq::detail::TcpEndpoint;
using Clock = std::chrono::steady_clock;


std::string FrameText(zframe_t* frame) {
  return frame ? std::string(reinterpret_cast<const char*>(zframe_data(frame)), zframe_size(frame)) : "";
}

std::function<void(const Message&)> gReceiveCheck;

}  // namespace

std::string DaemonPath() { return PLOVRESTD_PATH; }

ToolResult RunTool(const std::string& binary, const std::vector<std::string>& args, Ms timeout) {
  DaemonProcess tool(args, binary);
  const std::optional<int> status = tool.WaitExit(timeout);
  return {status.value_or(-1000), tool.Stdout(), tool.Stderr()};
}

std::string MakeTempDir() {
  char dirTemplate[] = "/tmp/plovrest-test-XXXXXX";
  if (mkdtemp(dirTemplate) == nullptr) throw std::runtime_error("mkdtemp failed");
  return dirTemplate;
}

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

DaemonProcess::DaemonProcess(const std::vector<std::string>& args, const std::string& binary)
    : mDir(MakeTempDir()) {
  std::vector<std::string> argvStore{binary.empty() ? DaemonPath() : binary};
  argvStore.insert(argvStore.end(), args.begin(), args.end());
  const std::string outPath = mDir + "/stdout", errPath = mDir + "/stderr";
  // A signal sent before the child has exec'd must act as on the daemon before
  // it installs its handlers, not run this process's handlers (CZMQ's would
  // swallow SIGTERM): signals stay blocked until the child has reset them.
  sigset_t all, previous;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &previous);
  mPid = fork();
  if (mPid != 0) pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  if (mPid < 0) throw std::runtime_error("fork failed");
  if (mPid == 0) {
    for (int sig = 1; sig < NSIG; ++sig) signal(sig, SIG_DFL);
    sigprocmask(SIG_SETMASK, &previous, nullptr);
    const int fds[] = {open("/dev/null", O_RDONLY), open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644),
                       open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644)};
    for (int fd = 0; fd < 3; ++fd) if (fds[fd] < 0 || dup2(fds[fd], fd) < 0) _exit(127);
    std::vector<char*> argv;
    for (auto& a : argvStore) argv.push_back(a.data());
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
  }
}

DaemonProcess::~DaemonProcess() {
  if (Running()) {
    kill(mPid, SIGKILL);
    WaitExit(Ms(5000));
  }
  std::error_code ignored;
  std::filesystem::remove_all(mDir, ignored);
}

void DaemonProcess::Signal(int sig) const {
  if (mPid > 0 && !mbReaped) kill(mPid, sig);
}

bool DaemonProcess::Running() {
  if (!mbReaped && mPid > 0 && waitpid(mPid, &mStatus, WNOHANG) == mPid) mbReaped = true;
  return !mbReaped && mPid > 0;
}

std::optional<int> DaemonProcess::WaitExit(Ms timeout) {
  if (!PollUntil([this] { return !Running(); }, timeout, Ms(2))) return std::nullopt;
  if (WIFEXITED(mStatus)) return WEXITSTATUS(mStatus);
  if (WIFSIGNALED(mStatus)) return -WTERMSIG(mStatus);
  return std::nullopt;
}

std::string DaemonProcess::Stdout() const { return ReadText(mDir + "/stdout"); }
std::string DaemonProcess::Stderr() const { return ReadText(mDir + "/stderr"); }

bool DaemonProcess::WaitForText(const char* file, const std::string& needle, Ms timeout) const {
  return PollUntil([&] { return ReadText(mDir + file).find(needle) != std::string::npos; }, timeout, Ms(10));
}

zsock_t* BindWithRetry(zsock_t* (*make)(const char*), const std::string& endpoint) {
  zsock_t* sock = nullptr;
  PollUntil([&] { return (sock = make(("@" + endpoint).c_str())) != nullptr; }, Ms(5000), Ms(20));
  return sock;
}

void SetReceiveCheck(std::function<void(const Message&)> check) { gReceiveCheck = std::move(check); }

std::optional<Message> Receive(zsock_t* sock, Ms timeout) {
  zpoller_t* poller = zpoller_new(sock, nullptr);
  const bool ready = zpoller_wait(poller, static_cast<int>(timeout.count())) != nullptr;
  zpoller_destroy(&poller);
  zmsg_t* msg = ready ? zmsg_recv(sock) : nullptr;
  if (msg == nullptr) return std::nullopt;
  Message m;
  m.frames = static_cast<int>(zmsg_size(msg));
  m.topic = FrameText(zmsg_first(msg));
  m.payload = FrameText(zmsg_next(msg));
  zmsg_destroy(&msg);
  if (gReceiveCheck) gReceiveCheck(m);
  return m;
}

std::optional<Message> ReceiveUntil(zsock_t* sock, Ms timeout,
                                    const std::function<bool(const Message&)>& pred) {
  const auto deadline = Clock::now() + timeout;
  for (;;) {
    const auto left = std::chrono::duration_cast<Ms>(deadline - Clock::now());
    if (left.count() <= 0) return std::nullopt;
    auto m = Receive(sock, left);
    if (!m || pred(*m)) return m;
  }
}

void Send(zsock_t* sock, const std::string& topic, const std::string& payload) {
  SendBytes(sock, topic, payload.data(), payload.size());
}

void SendBytes(zsock_t* sock, const std::string& topic, const void* data, size_t size) {
  zmsg_t* msg = zmsg_new();
  zmsg_addmem(msg, topic.data(), topic.size());
  zmsg_addmem(msg, data, size);
  zmsg_send(&msg, sock);
}

std::optional<Message> SendUntil(const std::function<void()>& send, zsock_t* sub, Ms timeout,
                                 const std::function<bool(const Message&)>& pred, Ms period) {
  const auto deadline = Clock::now() + timeout;
  while (Clock::now() < deadline) {
    send();
    if (auto m = ReceiveUntil(sub, period, pred)) return m;
  }
  return std::nullopt;
}

Peers::Peers() {
  decoder = BindWithRetry(zsock_new_pub, TcpEndpoint(mq::kSlot1Addr, mq::kDecoderPubPort));
  hwm = BindWithRetry(zsock_new_pub, TcpEndpoint(mq::kSlot1Addr, mq::kHwmPubPort));
  hbMon = BindWithRetry(zsock_new_pub, IpcEndpoint(mq::kHbMonPubIpc));
  appServer = BindWithRetry(zsock_new_pub, IpcEndpoint(mq::kAppServerIpc));
  logSink = BindWithRetry(zsock_new_pull, TcpEndpoint(mq::kMainBoardAddr, mq::kLogSinkPort));
  hbCollector = BindWithRetry(zsock_new_pull, TcpEndpoint(mq::kMainBoardAddr, mq::kHeartBeatPort));
  out = zsock_new_sub((">" + IpcEndpoint(mq::kDlbMetadataPubIpc)).c_str(), "");
  if (!decoder || !hwm || !hbMon || !appServer || !logSink || !hbCollector || !out) {
    throw std::runtime_error("a test peer could not bind (run inside scripts/netns-run.sh)");
  }
}

Peers::~Peers() {
  for (zsock_t** s : {&decoder, &hwm, &hbMon, &appServer, &logSink, &hbCollector, &out}) zsock_destroy(s);
}

std::string StateText(const std::string& status, const std::string& event) {
  return "{\"Status\" : \"" + status + "\", \"Event\" : \"" + event + "\"}";
}

}  // namespace harness
