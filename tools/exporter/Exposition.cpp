#include "exporter/Exposition.h"

#include <cmath>
#include <cstdio>

#include "tap/MessageView.h"

namespace exporter {
namespace {

std::string Escape(const std::string& text, bool quote) {
  std::string out;
  for (const char c : quote ? tap::VisibleText(text) : text) {
    if (c == '\\') out += "\\\\";
    else if (c == '\n') out += "\\n";
    else if (c == '"' && quote) out += "\\\"";
    else out += c;
  }
  return out;
}

std::string Number(double v) {
  if (std::isnan(v)) return "NaN";
  if (std::isinf(v)) return v > 0 ? "+Inf" : "-Inf";
  char buf[32];
  if (v == std::floor(v) && std::fabs(v) < 9007199254740992.0) {  // whole numbers below 2^53 as integers
    std::snprintf(buf, sizeof buf, "%.0f", v);
    return buf;
  }
  double back = 0;
  for (int precision = 1; precision <= 17; ++precision) {
    std::snprintf(buf, sizeof buf, "%.*g", precision, v);
    if (std::sscanf(buf, "%lf", &back) == 1 && back == v) break;
  }
  return buf;
}

// The family name OpenMetrics declares: without "_total" or "_info".
std::string BaseName(const Family& f) {
  const char* suffix = f.type == MetricType::Counter ? "_total" : f.type == MetricType::Info ? "_info" : "";
  const std::size_t n = std::char_traits<char>::length(suffix);
  if (n > 0 && f.name.size() > n && f.name.compare(f.name.size() - n, n, suffix) == 0)
    return f.name.substr(0, f.name.size() - n);
  return f.name;
}

}  // namespace

void Exposition::Add(const std::string& family, const Labels& labels, double value) {
  mSamples[family][labels] = value;
}

std::string Exposition::Text(bool openMetrics) const {
  std::string out;
  for (const Family& f : Catalogue().Families()) {
    const std::string declared = openMetrics ? BaseName(f) : f.name;
    const char* type = f.type == MetricType::Counter ? "counter"
                       : f.type == MetricType::Info && openMetrics ? "info"
                                                                   : "gauge";
    out += "# HELP " + declared + " " + Escape(f.help, false) + "\n# TYPE " + declared + " " + type + "\n";
    const auto samples = mSamples.find(f.name);
    if (samples == mSamples.end()) continue;
    for (const auto& s : samples->second) {
      out += f.name + "{slot=\"" + Escape(mSlot, true) + "\"";
      for (const auto& l : s.first) out += "," + l.first + "=\"" + Escape(l.second, true) + "\"";
      out += "} " + Number(s.second) + "\n";
    }
  }
  if (openMetrics) out += "# EOF\n";
  return out;
}

const char* ContentType(bool openMetrics) {
  return openMetrics ? "application/openmetrics-text; version=1.0.0; charset=utf-8"
                     : "text/plain; version=0.0.4; charset=utf-8";
}

bool WantsOpenMetrics(const std::string& accept) {
  return accept.find("application/openmetrics-text") != std::string::npos;
}

}  // namespace exporter
