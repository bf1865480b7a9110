#include "Shared/ProcessState.h"

std::atomic<bool> sig_interrupted{false};
pthread_barrier_t thread_barrier;
