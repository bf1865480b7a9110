#pragma once
// What the tap's web view streams to browsers: each message as one
// Server-Sent Event, with the verdict on its document.

#include <string>

#include "tap/DocCheck.h"
#include "tap/MessageView.h"
#include "tap/TopicStats.h"

namespace tap {

// "event: doc\ndata: <JsonLine(message) with a "check" member>\n\n".
std::string DocEvent(const Message& message, const DocCheck& check);

// "event: rates\ndata: {"topics":[{"topic","count","rate","ago"}...]}\n\n":
// what `stats` counted, at `now` on its clock.
std::string RatesEvent(const TopicStats& stats, double now);

}  // namespace tap
