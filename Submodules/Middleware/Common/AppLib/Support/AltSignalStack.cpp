#include "AltSignalStack.h"

#include <csignal>
#include <new>

cAltSignalStack::cAltSignalStack() : mpStack(new (std::nothrow) char[kBytes]) {
  if (mpStack == nullptr) return;
  stack_t stack{};
  stack.ss_sp = mpStack.get();
  stack.ss_size = kBytes;
  mbInstalled = sigaltstack(&stack, nullptr) == 0;
}

cAltSignalStack::~cAltSignalStack() {
  if (!mbInstalled) return;
  stack_t current{};
  // An exit from a handler running on this stack would otherwise free the
  // stack it runs on; the process is ending, so the memory is left to it.
  if (sigaltstack(nullptr, &current) == 0 && (current.ss_flags & SS_ONSTACK) != 0) {
    mpStack.release();
    return;
  }
  stack_t off{};
  off.ss_flags = SS_DISABLE;
  sigaltstack(&off, nullptr);
}
