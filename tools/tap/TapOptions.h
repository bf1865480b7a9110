#pragma once
// Command line of plovrest-tap.

#include <string>
#include <vector>

#include "common/ArgParser.h"

#include "tap/MessageView.h"

namespace tap {

struct TapOptions {
  std::string endpoint;             // default: the daemon's publishing endpoint
  std::vector<std::string> topics;  // exact topics to show; empty shows all
  View view = View::Summary;
  bool viewGiven = false;
  bool jsonl = false;
  bool stats = false;
  double interval = 2.0;            // seconds between statistics reports
  bool changes = false;
  long count = 0;                   // stop after this many shown messages
  double timeout = 0;               // seconds; 0 waits for ever
  std::string decodeFile;
  bool fields = false;
  long recordFirst = 0;             // --record N or N-M: the records of a capture, counted
  long recordLast = 0;              // from 1; 0: every record
  bool validate = false;            // check documents against their JSON Schemas
  std::string captureFile;
  std::string httpHost = "127.0.0.1";  // --http [ADDR:]PORT: the web view
  int httpPort = -1;                    // -1: no web view; 0: any free port
  bool catalogue = false;           // write the documents' catalogue as JSON and exit
  bool help = false;
  bool version = false;
};

bool ParseTapOptions(int argc, char** argv, TapOptions& out, std::string& error);
const char* TapUsage();
// The options the parser takes (each is described in the usage text).
const std::vector<tools::OptionSpec>& TapOptionSpecs();

}  // namespace tap
