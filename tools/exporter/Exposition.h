#pragma once
// Samples of the exporter's families written in the Prometheus text format
// (0.0.4) or in OpenMetrics 1.0, without time stamps.

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "exporter/MetricCatalogue.h"

namespace exporter {

using Labels = std::vector<std::pair<std::string, std::string>>;

class Exposition {
 public:
  // Every sample gets `slot` as its first label.
  explicit Exposition(std::string slot) : mSlot(std::move(slot)) {}

  // Adds a sample of `family` (a name of Catalogue().Families()); a second
  // sample with the same labels replaces the first.
  void Add(const std::string& family, const Labels& labels, double value);

  // The families of the catalogue in its order, each with its HELP and TYPE
  // lines and its samples; `openMetrics` ends with "# EOF". Label values go
  // through tap::VisibleText, so the text is valid UTF-8 whatever the
  // documents hold.
  std::string Text(bool openMetrics) const;

 private:
  std::string mSlot;
  std::map<std::string, std::map<Labels, double>> mSamples;
};

// The Content-Type of each format.
const char* ContentType(bool openMetrics);

// Whether an Accept header asks for OpenMetrics.
bool WantsOpenMetrics(const std::string& accept);

}  // namespace exporter
