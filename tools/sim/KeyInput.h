#pragma once
// Key presses for the interactive mode: standard input, unbuffered and
// without echo while it is a terminal (a pipe works too, one key per byte).

#include <termios.h>

#include <string>

namespace sim {

struct KeyCommand {
  enum Kind { None, Event, NextStep, Pause, Quit, Help } kind = None;
  std::string event;  // for Event: the monitor event text
};

KeyCommand CommandForKey(char key);
const char* KeyHelp();

class KeyInput {
 public:
  KeyInput() = default;
  ~KeyInput();
  KeyInput(const KeyInput&) = delete;
  KeyInput& operator=(const KeyInput&) = delete;

  void Start();
  // The keys waiting on standard input; sets Eof() when it is closed.
  std::string Read();
  bool Eof() const { return mEof; }

 private:
  bool mRaw = false;
  bool mEof = false;
  termios mSaved{};
};

}  // namespace sim
