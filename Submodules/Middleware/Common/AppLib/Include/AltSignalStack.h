#pragma once
// A signal stack of the calling thread's own. A stack overflow raises SIGSEGV
// with no stack left for a handler to run on; a handler installed with
// SA_ONSTACK runs on this stack instead, so it still gets to end the process
// its own way.

#include <cstddef>
#include <memory>

class cAltSignalStack {
 public:
  // Size of the stack: ample room for a handler and what it calls.
  static constexpr std::size_t kBytes = 256 * 1024;

  // Allocates the stack and makes it the calling thread's signal stack.
  // Installed() tells whether that worked; a failure leaves the thread as it was.
  cAltSignalStack();
  // Switches the calling thread's signal stack off and frees it. Must run on
  // the thread that constructed the object.
  ~cAltSignalStack();
  cAltSignalStack(const cAltSignalStack&) = delete;
  cAltSignalStack& operator=(const cAltSignalStack&) = delete;

  // True while the stack is the thread's signal stack.
  bool Installed() const { return mbInstalled; }

 private:
  std::unique_ptr<char[]> mpStack;
  bool mbInstalled = false;
};
