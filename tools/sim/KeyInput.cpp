#include "sim/KeyInput.h"

#include <unistd.h>

namespace sim {

KeyCommand CommandForKey(char key) {
  KeyCommand c;
  auto event = [&c](const char* text) {
    c.kind = KeyCommand::Event;
    c.event = text;
  };
  switch (key) {
    case 'z': event("zoom on"); break;
    case 'p': event("preset on"); break;
    case 'x': event("decode stop"); break;
    case 'a': event("app-preset"); break;
    case 'l': event("lines 9 10 1000"); break;
    case 'L': event("lines 9 10 2000"); break;
    case 's': event("signal 1"); break;
    case 'd': event("decoder processing"); break;
    case 'D': event("decoder stopped"); break;
    case 'f': event("system fault"); break;
    case 'c': event("procs"); break;
    case 'n': c.kind = KeyCommand::NextStep; break;
    case ' ': c.kind = KeyCommand::Pause; break;
    case 'q': c.kind = KeyCommand::Quit; break;
    case '?':
    case 'h': c.kind = KeyCommand::Help; break;
    default: break;
  }
  return c;
}

const char* KeyHelp() {
  return "keys: z zoom on, p preset on, x decode stop, a app-preset,\n"
         "      l lines 9 10 1000, L lines 9 10 2000, s signal status,\n"
         "      d decoder processing, D decoder stopped, f system fault, c process status,\n"
         "      n next step, space pause/resume records, q quit, ? this help\n";
}

KeyInput::~KeyInput() {
  if (mRaw) tcsetattr(STDIN_FILENO, TCSANOW, &mSaved);
}

void KeyInput::Start() {
  if (!isatty(STDIN_FILENO)) return;
  if (tcgetattr(STDIN_FILENO, &mSaved) != 0) return;
  termios raw = mSaved;
  raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  raw.c_cc[VMIN] = 0;
  raw.c_cc[VTIME] = 0;
  mRaw = tcsetattr(STDIN_FILENO, TCSANOW, &raw) == 0;
}

std::string KeyInput::Read() {
  char buf[64];
  const ssize_t n = ::read(STDIN_FILENO, buf, sizeof buf);
  if (n == 0 && !mRaw) mEof = true;
  return n > 0 ? std::string(buf, static_cast<std::size_t>(n)) : std::string();
}

}  // namespace sim
