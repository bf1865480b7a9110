#pragma once
// The daemon's process frame: command line, slot addressing, start-up order,
// main loop and orderly shutdown.

// Parses "-s <slot> -i <interface> -h". Returns false (after printing the usage
// text to standard error) when the process is to exit with status 1.
bool ParseCommandLine(int argc, char** argv, int* slot, const char** interfaceName);

// Record the signal and set sig_interrupted; the second then ends the
// process at once with the signal's number as status.
void signal_handler(int sig);
void signal_handler_sigsegv(int sig);
// SIGTERM, SIGINT, SIGILL, SIGABRT, SIGFPE → signal_handler; SIGSEGV →
// signal_handler_sigsegv, run on the thread's alternate signal stack when it
// has one (cAltSignalStack), so that even a stack overflow exits with 11.
void InstallSignalHandlers();

// One-second tick hook: forwards a pending republish request, nothing else.
void sendHeartBeat();
// Sets up the heartbeat client's record and connects it (when it exists).
void initHeartBeat();

// Main-thread loop over the subscriptions until a signal or an exit command;
// returns at once without a subscription handler.
void MessageReaderLoop();

// The whole process: start-up, loop, shutdown. Returns main's exit status.
int RunDaemon(int argc, char** argv);
