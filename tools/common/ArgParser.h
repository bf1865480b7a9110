#pragma once
// Minimal long/short option reader for the tools. It only splits the command
// line into (option, value) pairs; each tool converts the values itself with
// the helpers below, which phrase every error with the option's name.

#include <string>
#include <vector>

namespace tools {

struct OptionSpec {
  const char* longName;  // without the leading "--"
  char shortName;        // 0 when there is none
  bool hasValue;
};

class ArgParser {
 public:
  ArgParser(int argc, char** argv, std::vector<OptionSpec> specs);

  // Reads the next option. Returns false at the end of the command line or on
  // an error; Failed() tells which. `name` is the long name of the option.
  bool Next(std::string& name, std::string& value);
  bool Failed() const { return !mError.empty(); }
  const std::string& Error() const { return mError; }

 private:
  const OptionSpec* FindLong(const std::string& name) const;
  const OptionSpec* FindShort(char c) const;

  std::vector<std::string> mArgs;
  std::vector<OptionSpec> mSpecs;
  std::size_t mIndex = 0;
  std::string mError;
};

// Value converters. On failure they return false and set `error` to a text
// that starts with "--<option>".
bool ParseNumber(const std::string& option, const std::string& text, double min, double max,
                 double& out, std::string& error);
bool ParseCount(const std::string& option, const std::string& text, long min, long max, long& out,
                std::string& error);
bool ParseChoice(const std::string& option, const std::string& text,
                 const std::vector<std::string>& choices, std::string& error);

// "[ADDR:]PORT" (ADDR an IPv4 address, a name or a bracketed IPv6 address;
// PORT 0 to 65535) into `host` (kept when ADDR is not given) and `port`.
bool ParseHostPort(const std::string& option, const std::string& text, std::string& host, int& port,
                   std::string& error);

// An endpoint URL (tcp://HOST:PORT, ipc://PATH: anything with "://") into
// `out`; `out` is left as it was on failure.
bool ParseEndpoint(const std::string& option, const std::string& text, std::string& out, std::string& error);

// A file name: any non-empty text, into `out`.
bool ParseFileName(const std::string& option, const std::string& text, std::string& out, std::string& error);

}  // namespace tools
