#include "ToolProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace tooltest {
namespace {

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

}  // namespace

std::string MakeTempDir() {
  char pattern[] = "/tmp/plovrest-tools-test-XXXXXX";
  if (mkdtemp(pattern) == nullptr) throw std::runtime_error("mkdtemp failed");
  return pattern;
}

void WriteText(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
}

ToolProcess::ToolProcess(const std::string& binary, const std::vector<std::string>& args, Input input)
    : mDir(MakeTempDir()) {
  std::vector<std::string> argv = {binary};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<char*> cargv;
  for (auto& a : argv) cargv.push_back(a.data());
  cargv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  int pipeFds[2] = {-1, -1};
  if (input == Input::Pipe && pipe2(pipeFds, O_CLOEXEC) == 0) {
    posix_spawn_file_actions_adddup2(&actions, pipeFds[0], STDIN_FILENO);
  } else {
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  }
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, (mDir + "/out").c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, (mDir + "/err").c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  const int rc = posix_spawn(&mPid, binary.c_str(), &actions, nullptr, cargv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (pipeFds[0] >= 0) close(pipeFds[0]);
  mStdin = pipeFds[1];
  if (rc != 0) throw std::runtime_error("cannot start " + binary);
}

ToolProcess::~ToolProcess() {
  if (mStdin >= 0) close(mStdin);
  if (!mReaped && mPid > 0) {
    kill(mPid, SIGKILL);
    waitpid(mPid, nullptr, 0);
  }
  std::remove((mDir + "/out").c_str());
  std::remove((mDir + "/err").c_str());
  rmdir(mDir.c_str());
}

std::optional<int> ToolProcess::Wait(Ms timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!mReaped) {
    const pid_t r = waitpid(mPid, &mStatus, WNOHANG);
    if (r == mPid) {
      mReaped = true;
      break;
    }
    if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
    std::this_thread::sleep_for(Ms(10));
  }
  if (WIFEXITED(mStatus)) return WEXITSTATUS(mStatus);
  if (WIFSIGNALED(mStatus)) return -WTERMSIG(mStatus);
  return std::nullopt;
}

void ToolProcess::Signal(int sig) const {
  if (!mReaped && mPid > 0) kill(mPid, sig);
}

bool ToolProcess::Write(const std::string& text) const {
  return mStdin >= 0 && write(mStdin, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

bool ToolProcess::WaitForStdout(const std::string& text, Ms timeout) const {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (Stdout().find(text) == std::string::npos) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(Ms(20));
  }
  return true;
}

std::string ToolProcess::Stdout() const { return ReadAll(mDir + "/out"); }
std::string ToolProcess::Stderr() const { return ReadAll(mDir + "/err"); }

ToolResult RunTool(const std::string& binary, const std::vector<std::string>& args, Ms timeout) {
  ToolProcess p(binary, args);
  ToolResult r;
  if (auto status = p.Wait(timeout)) r.status = *status;
  r.out = p.Stdout();
  r.err = p.Stderr();
  return r;
}

}  // namespace tooltest
