#pragma once
// Process-wide state that the process frame shares with the worker thread.

#include <pthread.h>

#include <atomic>

// Set by the signal handlers and by the exit path; ends the main loop and the
// worker thread's loop. Sequentially consistent: it is the shutdown handshake.
extern std::atomic<bool> sig_interrupted;

// Start-up barrier (count 1) the worker thread waits on when it starts.
extern pthread_barrier_t thread_barrier;
