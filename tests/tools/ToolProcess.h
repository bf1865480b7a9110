#pragma once
// Runs one of the tools as a child process, standard output and error in
// temporary files, standard input from /dev/null or from a pipe.

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace tooltest {

using Ms = std::chrono::milliseconds;

class ToolProcess {
 public:
  enum class Input { None, Pipe };
  ToolProcess(const std::string& binary, const std::vector<std::string>& args, Input input = Input::None);
  ~ToolProcess();  // kills the child if it still runs
  ToolProcess(const ToolProcess&) = delete;
  ToolProcess& operator=(const ToolProcess&) = delete;

  // Exit status (0-255), -N when killed by signal N, nothing while it still
  // runs after `timeout`.
  std::optional<int> Wait(Ms timeout);
  void Signal(int sig) const;
  // Writes to the child's standard input (Input::Pipe only).
  bool Write(const std::string& text) const;
  // Waits until standard output contains `text`; false after `timeout`.
  bool WaitForStdout(const std::string& text, Ms timeout) const;
  std::string Stdout() const;
  std::string Stderr() const;

 private:
  pid_t mPid = -1;
  int mStdin = -1;
  bool mReaped = false;
  int mStatus = 0;
  std::string mDir;
};

struct ToolResult {
  int status = -1000;  // -1000: did not finish in time
  std::string out;
  std::string err;
};

// Runs to completion (bounded by `timeout`).
ToolResult RunTool(const std::string& binary, const std::vector<std::string>& args, Ms timeout = Ms(30000));

// A fresh temporary directory for test files.
std::string MakeTempDir();
void WriteText(const std::string& path, const std::string& text);

}  // namespace tooltest
