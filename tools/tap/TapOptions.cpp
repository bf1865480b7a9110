#include "tap/TapOptions.h"

#include "common/ArgParser.h"
#include "tap/Endpoints.h"

namespace tap {

const char* TapUsage() {
  return "Usage: plovrest-tap [OPTIONS]\n"
         "Shows what plovrestd publishes on its metadata endpoint: decoder state,\n"
         "status documents and presentation documents. Run it where the daemon's\n"
         "endpoint exists (on the device, or inside scripts/netns-run.sh).\n"
         "\n"
         "Live:\n"
         "  --topic TOPIC        show only TOPIC (exact name; repeat for several), e.g.\n"
         "                       DolbyProcStatus, DolbyMetadataGrp, DolbyMetadataGrpRepub,\n"
         "                       \"DolbyPAData>>\"\n"
         "  --view VIEW          summary (default): one line per message\n"
         "                       table: the items of each document (key, title, data, desc)\n"
         "                       pretty: each document as indented JSON\n"
         "                       raw: each payload as received\n"
         "                       json: each document as one line of compact JSON\n"
         "  --changes            show a document only when it differs from the previous one\n"
         "                       on its topic (its \"TS\" time stamp aside)\n"
         "  --stats              instead of messages, every --interval seconds: per-topic\n"
         "                       count and rate, the latest decoder state and stream\n"
         "  --interval S         seconds between statistics reports (default 2)\n"
         "  --jsonl              one JSON object per line and message, for scripts\n"
         "  --count N            exit after N messages shown\n"
         "  --timeout S          exit after S seconds (status 3 if --count was not reached)\n"
         "  --endpoint URL       subscribe to URL instead of the daemon's endpoint; the\n"
         "                       decoder's (tcp://169.254.2.3:2002) shows its records\n"
         "  --capture FILE       append each decoder record received, with its receive\n"
         "                       time, to FILE (plovrest-sim --replay plays it back);\n"
         "                       needs the decoder's endpoint (--endpoint)\n"
         "  --validate           check each document against its JSON Schema; an invalid\n"
         "                       one is marked with the first violation (JSON pointer and\n"
         "                       rule), a document cut at a NaN or infinite number as cut;\n"
         "                       --stats counts both\n"
         "  --http [ADDR:]PORT   also serve a live page on PORT (ADDR default 127.0.0.1,\n"
         "                       PORT 0: any free port): decoder state, documents as\n"
         "                       tables, the room with objects and beds, topic rates\n"
         "\n"
         "Record files:\n"
         "  --decode FILE        render a captured record (33,704 bytes) as the daemon\n"
         "                       does, shown with --view (default table) or --jsonl;\n"
         "                       with --view pretty, raw or json stdout holds only the\n"
         "                       documents and the summary lines go to stderr; an ED2\n"
         "                       record gives two documents, --topic picks one; a\n"
         "                       capture gives every record, numbered from 1 on the\n"
         "                       summary lines; one whose last record is cut gives its\n"
         "                       complete records, with a warning\n"
         "  --record N[-M]       with --decode of a capture: record N only (or N to M)\n"
         "  --fields             with --decode: the record's fields as JSON instead, in the\n"
         "                       form plovrest-sim --scenario-file takes (the last record\n"
         "                       of a capture, or a scenario with one step per --record)\n"
         "\n"
         "Reference:\n"
         "  --catalogue          write the catalogue of the documents (every key, title,\n"
         "                       code table and text) as JSON to stdout\n"
         "\n"
         "  -h, --help           this text\n"
         "  --version            the version\n"
         "\n"
         "Exit status: 0 done, 1 runtime failure (connect, write), 2 bad arguments,\n"
         "3 --timeout before --count messages, 4 missing or unreadable file, 5 bad file,\n"
         "6 --validate found an invalid document.\n"
         "\n"
         "Examples:\n"
         "  plovrest-tap --topic DolbyMetadataGrp --view table --changes\n"
         "  plovrest-tap --jsonl --count 20 --timeout 10\n"
         "  plovrest-tap --decode report.bin\n"
         "  plovrest-tap --decode report.bin --view json --validate | python3 -m json.tool\n";
}

const std::vector<tools::OptionSpec>& TapOptionSpecs() {
  static const std::vector<tools::OptionSpec> kSpecs = {{"endpoint", 0, true}, {"topic", 0, true},  {"view", 0, true},
      {"jsonl", 0, false},   {"stats", 0, false}, {"interval", 0, true},
      {"changes", 0, false}, {"count", 0, true},  {"timeout", 0, true},
      {"decode", 0, true},   {"fields", 0, false}, {"capture", 0, true},
      {"http", 0, true},     {"help", 'h', false},  {"version", 0, false},
      {"validate", 0, false}, {"catalogue", 0, false}, {"record", 0, true}};
  return kSpecs;
}

namespace {

// "N" or "N-M", 1 <= N <= M.
bool ParseRecordRange(const std::string& value, TapOptions& out, std::string& error) {
  const auto dash = value.find('-', 1);
  const std::string first = value.substr(0, dash);
  const std::string last = dash == std::string::npos ? first : value.substr(dash + 1);
  if (!tools::ParseCount("record", first, 1, 1000000000L, out.recordFirst, error) ||
      !tools::ParseCount("record", last, 1, 1000000000L, out.recordLast, error) ||
      out.recordLast < out.recordFirst) {
    error = "--record: '" + value + "' is not N or N-M with 1 <= N <= M";
    return false;
  }
  return true;
}

}  // namespace

bool ParseTapOptions(int argc, char** argv, TapOptions& out, std::string& error) {
  tools::ArgParser args(argc, argv, TapOptionSpecs());
  std::string name, value;
  bool intervalGiven = false;
  while (args.Next(name, value)) {
    if (name == "endpoint") {
      if (!tools::ParseEndpoint(name, value, out.endpoint, error)) return false;
    } else if (name == "topic") {
      if (value.empty()) {
        error = "--topic: needs a topic name";
        return false;
      }
      out.topics.push_back(value);
    } else if (name == "view") {
      if (!tools::ParseChoice(name, value, {"summary", "table", "pretty", "raw", "json"}, error)) return false;
      ViewFromName(value, out.view);
      out.viewGiven = true;
    } else if (name == "jsonl") {
      out.jsonl = true;
    } else if (name == "stats") {
      out.stats = true;
    } else if (name == "interval") {
      if (!tools::ParseNumber(name, value, 0.1, 3600, out.interval, error)) return false;
      intervalGiven = true;
    } else if (name == "changes") {
      out.changes = true;
    } else if (name == "count") {
      if (!tools::ParseCount(name, value, 1, 1000000000L, out.count, error)) return false;
    } else if (name == "timeout") {
      if (!tools::ParseNumber(name, value, 0.001, 7 * 24 * 3600.0, out.timeout, error)) return false;
    } else if (name == "decode") {
      out.decodeFile = value;
    } else if (name == "validate") {
      out.validate = true;
    } else if (name == "record") {
      if (!ParseRecordRange(value, out, error)) return false;
    } else if (name == "fields") {
      out.fields = true;
    } else if (name == "capture") {
      out.captureFile = value;
    } else if (name == "http") {
      if (!tools::ParseHostPort("http", value, out.httpHost, out.httpPort, error)) return false;
    } else if (name == "catalogue") {
      out.catalogue = true;
    } else if (name == "help") {
      out.help = true;
    } else if (name == "version") {
      out.version = true;
    }
  }
  if (args.Failed()) {
    error = args.Error();
    return false;
  }
  int modes = (out.jsonl ? 1 : 0) + (out.stats ? 1 : 0) + (out.viewGiven && out.decodeFile.empty() ? 1 : 0);
  if (modes > 1) {
    error = "--jsonl, --stats and --view exclude each other";
    return false;
  }
  if (intervalGiven && !out.stats) {
    error = "--interval: only with --stats";
    return false;
  }
  if ((out.fields || out.recordFirst > 0) && out.decodeFile.empty()) {
    error = std::string(out.fields ? "--fields" : "--record") + ": only with --decode FILE";
    return false;
  }
  if (!out.captureFile.empty() && out.decodeFile.empty() &&
      (out.endpoint.empty() || out.endpoint == DaemonEndpoint())) {
    error = "--capture: the daemon's endpoint carries documents, not decoder records; give the decoder's, "
            "--endpoint " + DecoderEndpoint();
    return false;
  }
  if (!out.decodeFile.empty()) {
    if (out.fields && (out.viewGiven || out.jsonl || out.validate)) {
      error = std::string(out.viewGiven ? "--view" : out.jsonl ? "--jsonl" : "--validate") +
              ": not with --fields, which writes the record's fields";
      return false;
    }
    if (out.jsonl && out.viewGiven) {
      error = "--jsonl and --view exclude each other";
      return false;
    }
    const char* live = out.stats ? "--stats" : out.changes ? "--changes"
                       : out.count ? "--count" : out.timeout > 0 ? "--timeout"
                       : !out.endpoint.empty() ? "--endpoint" : !out.captureFile.empty() ? "--capture"
                       : out.httpPort >= 0 ? "--http" : nullptr;
    if (live != nullptr) {
      error = std::string(live) + ": not with --decode, which reads a file";
      return false;
    }
    if (!out.viewGiven) out.view = View::Table;
  }
  return true;
}

}  // namespace tap
