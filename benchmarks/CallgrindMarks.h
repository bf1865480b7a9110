#pragma once
// Callgrind's client requests when the valgrind headers are installed; they
// do nothing outside valgrind, and nothing at all without the headers (the
// program then runs but the counts cannot be taken).

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#define PLOVREST_HAVE_CALLGRIND 1
#else
#define CALLGRIND_TOGGLE_COLLECT
#define CALLGRIND_DUMP_STATS_AT(name) static_cast<void>(name)
#define PLOVREST_HAVE_CALLGRIND 0
#endif

namespace callgrind_marks {

// Counts the instructions of `loops` calls of f (collection on around them
// only: run under --collect-atstart=no) and dumps them as a profile part
// named `name`, which zeroes the counters for the next part.
template <typename F>
void CountLoops(const char* name, long loops, F&& f) {
  CALLGRIND_TOGGLE_COLLECT;
  for (long i = 0; i < loops; ++i) f();
  CALLGRIND_TOGGLE_COLLECT;
  CALLGRIND_DUMP_STATS_AT(name);
}

}  // namespace callgrind_marks
