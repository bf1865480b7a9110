#pragma once
// Exit statuses of plovrest-sim and plovrest-tap: the same number for the
// same kind of failure in both tools.

namespace tools {

constexpr int kExitDone = 0;
constexpr int kExitFailure = 1;      // at run time: bind, connect, write
constexpr int kExitBadArguments = 2;  // the command line
constexpr int kExitTimedOut = 3;     // tap: --timeout before --count messages
constexpr int kExitNoFile = 4;       // an input file that is missing or cannot be read
constexpr int kExitBadFile = 5;      // an input file whose contents are wrong
constexpr int kExitInvalid = 6;      // tap --validate: a document its schema rejects

}  // namespace tools
