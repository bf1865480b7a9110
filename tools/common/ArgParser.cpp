#include "common/ArgParser.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace tools {

namespace {
std::string Shown(double v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%g", v);
  return buf;
}
}  // namespace

ArgParser::ArgParser(int argc, char** argv, std::vector<OptionSpec> specs)
    : mSpecs(std::move(specs)) {
  for (int i = 1; i < argc; ++i) mArgs.emplace_back(argv[i]);
}

const OptionSpec* ArgParser::FindLong(const std::string& name) const {
  for (const auto& s : mSpecs)
    if (name == s.longName) return &s;
  return nullptr;
}

const OptionSpec* ArgParser::FindShort(char c) const {
  for (const auto& s : mSpecs)
    if (s.shortName != 0 && s.shortName == c) return &s;
  return nullptr;
}

bool ArgParser::Next(std::string& name, std::string& value) {
  value.clear();
  if (mIndex >= mArgs.size()) return false;
  const std::string arg = mArgs[mIndex++];
  const OptionSpec* spec = nullptr;
  std::string shown = arg;
  bool inlineValue = false;

  if (arg.size() > 2 && arg.compare(0, 2, "--") == 0) {
    std::string body = arg.substr(2);
    const auto eq = body.find('=');
    if (eq != std::string::npos) {
      value = body.substr(eq + 1);
      body.resize(eq);
      inlineValue = true;
    }
    shown = "--" + body;
    spec = FindLong(body);
  } else if (arg.size() == 2 && arg[0] == '-' && arg[1] != '-') {
    spec = FindShort(arg[1]);
  } else {
    mError = "unexpected argument '" + arg + "'";
    return false;
  }
  if (spec == nullptr) {
    mError = "unknown option '" + shown + "'";
    return false;
  }
  name = spec->longName;
  if (!spec->hasValue) {
    if (inlineValue) {
      mError = "option --" + name + " takes no value";
      return false;
    }
    return true;
  }
  if (!inlineValue) {
    if (mIndex >= mArgs.size()) {
      mError = "option --" + name + " needs a value";
      return false;
    }
    value = mArgs[mIndex++];
  }
  return true;
}

bool ParseNumber(const std::string& option, const std::string& text, double min, double max,
                 double& out, std::string& error) {
  errno = 0;
  char* end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  if (text.empty() || end == nullptr || *end != '\0' || errno == ERANGE || !std::isfinite(v)) {
    error = "--" + option + ": '" + text + "' is not a number";
    return false;
  }
  if (v < min || v > max) {
    error = "--" + option + ": " + text + " is out of range (" + Shown(min) + " to " + Shown(max) + ")";
    return false;
  }
  out = v;
  return true;
}

bool ParseCount(const std::string& option, const std::string& text, long min, long max, long& out,
                std::string& error) {
  errno = 0;
  char* end = nullptr;
  const long v = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || end == nullptr || *end != '\0' || errno == ERANGE) {
    error = "--" + option + ": '" + text + "' is not a whole number";
    return false;
  }
  if (v < min || v > max) {
    error = "--" + option + ": " + text + " is out of range (" + std::to_string(min) + " to " +
            std::to_string(max) + ")";
    return false;
  }
  out = v;
  return true;
}

bool ParseChoice(const std::string& option, const std::string& text,
                 const std::vector<std::string>& choices, std::string& error) {
  for (const auto& c : choices)
    if (text == c) return true;
  std::string list;
  for (const auto& c : choices) list += (list.empty() ? "" : ", ") + c;
  error = "--" + option + ": '" + text + "' is not one of: " + list;
  return false;
}

bool ParseHostPort(const std::string& option, const std::string& text, std::string& host, int& port,
                   std::string& error) {
  std::string address = host;
  std::string number = text;
  const auto colon = text.rfind(':');
  if (colon != std::string::npos) {
    address = text.substr(0, colon);
    number = text.substr(colon + 1);
    if (address.size() >= 2 && address.front() == '[' && address.back() == ']')
      address = address.substr(1, address.size() - 2);
  }
  long value = 0;
  if (address.empty() || !ParseCount(option, number, 0, 65535, value, error)) {
    error = "--" + option + ": '" + text + "' is not [ADDR:]PORT with PORT 0 to 65535";
    return false;
  }
  host = address;
  port = static_cast<int>(value);
  return true;
}

bool ParseEndpoint(const std::string& option, const std::string& text, std::string& out, std::string& error) {
  if (text.find("://") == std::string::npos) {
    error = "--" + option + ": '" + text + "' is not an endpoint URL (tcp://HOST:PORT or ipc://PATH)";
    return false;
  }
  out = text;
  return true;
}

bool ParseFileName(const std::string& option, const std::string& text, std::string& out, std::string& error) {
  if (text.empty()) {
    error = "--" + option + ": needs a file name";
    return false;
  }
  out = text;
  return true;
}

}  // namespace tools
