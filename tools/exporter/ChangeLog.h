#pragma once
// The change history: each document compared with the previous one on its
// topic ("TS" aside), changes counted per field (a JSON pointer, indices
// kept) and the last changes kept, all in bounded memory.

#include <deque>
#include <map>
#include <string>
#include <utility>

#include <rapidjson/document.h>

namespace exporter {

struct Change {
  double time;        // seconds since the epoch, when the document arrived
  std::string topic;
  std::string field;  // JSON pointer, e.g. "/Streams/0/0/BitstreamInfo/ExData/0/Dialnorm/Data"
  std::string from;   // compact JSON of the old value; "null" when the field is new
  std::string to;     // compact JSON of the new value; "null" when the field is gone
                      // (a value longer than kMaxChangeValue: a string saying its kind and size)
};

// Longest value text a change keeps: a member that appears or goes can be a
// whole section of a document (hundreds of kilobytes for the largest ED2).
constexpr std::size_t kMaxChangeValue = 1024;

struct FieldCount {
  double count = 0;
  double last = 0;  // time of the last change
};

class ChangeLog {
 public:
  // Keeps the last `history` changes and counts at most `fields` fields one
  // by one; the changes of further fields are counted per topic in Dropped().
  explicit ChangeLog(std::size_t history = 1000, std::size_t fields = 4096);

  // Compares `doc` with the previous document of `topic` (the first one on a
  // topic changes nothing) and keeps a copy of it for the next comparison.
  void Compare(const std::string& topic, const rapidjson::Value& doc, double time);

  const std::deque<Change>& History() const { return mHistory; }
  // Per (topic, field): number of changes and time of the last one.
  const std::map<std::pair<std::string, std::string>, FieldCount>& Counts() const { return mCounts; }
  const std::map<std::string, double>& Dropped() const { return mDropped; }

  // The history as JSON lines, oldest first: {"time","topic","field","old","new"}.
  // A text that is not valid UTF-8 comes as a string with "\xNN" for such bytes.
  std::string JsonLines() const;

 private:
  void Record(const std::string& topic, const std::string& field, const rapidjson::Value* from,
              const rapidjson::Value* to, double time);
  void Diff(const std::string& topic, const rapidjson::Value* a, const rapidjson::Value* b, std::string& pointer,
            double time);

  std::size_t mHistoryLimit, mFieldLimit;
  std::deque<Change> mHistory;
  std::map<std::pair<std::string, std::string>, FieldCount> mCounts;
  std::map<std::string, double> mDropped;
  std::map<std::string, rapidjson::Document> mPrevious;
};

}  // namespace exporter
