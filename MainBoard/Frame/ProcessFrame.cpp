#include "Frame/ProcessFrame.h"

#include <czmq.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <thread>

#include "AltSignalStack.h"
#include "Frame/ServiceNotify.h"
#include "Shared/ProcessState.h"
#include "HeartBeater.h"
#include "Logger.h"
#include "Control/DlbSubHandler.h"
#include "Publish/MetadataPublisher.h"
#include "MqEndpoints.h"
#include "NetworkUtils.h"
#include "Reader/DlbStatusSubx.h"
#include "Timer.h"

namespace {

// Number of the last signal received; printed at exit.
std::atomic<int> gSignalStatus{0};

constexpr const char* kUsage =
    "Usage: %s -s <slot number>[1] 1->Slot-1, 2->Slot-2 ,3->Slot-3]\n\t -i <interface>[eth0]\n";
constexpr const char* kDefaultInterface = "eth0";
constexpr const char* kShortName = "Plovrest";
constexpr const char* kProcessName = "PlovrestDaemon";
constexpr const char* kVersion = "Tessaly-v0.0.65";
constexpr unsigned kTickMs = 1000;
constexpr int kHeartBeatWarnTicks = 300;
constexpr unsigned kAddressRetrySeconds = 30;
constexpr int kAddressLen = 16;

// The card's own link-local address by slot; slot 0 uses the interface's.
const char* const kSlotAddress[] = {nullptr, mq::kSlot1Addr, mq::kSlot2Addr, mq::kSlot3Addr};

Logger* gpLogger = nullptr;
cDlbStatusSubx* gpDlbStatusSubx = nullptr;

// Waits until the slot's address is known. Slots 1 to 3 take their fixed
// address at once; slot 0 retries every 30 seconds until the interface has one.
void WaitForAddress(const char* interfaceName, int slot) {
  char address[kAddressLen];
  for (;;) {
    memset(address, 0, sizeof address);
    const int failed = GetInterfaceAddressFromIoctl(interfaceName, address);
    const bool unset = strncmp(address, "0.0.0.0", sizeof address) == 0;
    if (unset) memset(address, 0, sizeof address);
    // A failed look-up that left some other text is accepted as it is.
    if (unset || !failed) {
      if (slot >= 1 && slot <= 3) {
        snprintf(address, sizeof address, "%.15s", kSlotAddress[slot]);
      }
      if (!IpAddrIsValid(address)) {
        if (gpLogger != nullptr) {
          gpLogger->Critical(
              "%s|%u|\"Failed to get IP for %s @ slot %d. Will try again after 30 seconds...\"",
              LogFileName(__FILE__), unsigned(__LINE__), interfaceName, slot);
        }
        sleep(kAddressRetrySeconds);
        continue;
      }
    }
    break;
  }
  if (gpLogger != nullptr) {
    gpLogger->Info("%s|%u|\"Got IP for %s : %s @ slot %d\"", LogFileName(__FILE__),
                   unsigned(__LINE__), interfaceName, address, slot);
  }
}

void ConfigureLogger(Logger* logger) {
  if (logger == nullptr) return;
  logger->mLevel = MSG_LEVEL_DEBUG;
  logger->mbConsole = true;
  // The name field takes a bounded print of 7 bytes: the first six characters.
  memset(logger->mName, 0, sizeof logger->mName);
  memcpy(logger->mName, kShortName, std::min<size_t>(strlen(kShortName), 6));
  logger->AttachMqOverTcp();
}

}  // namespace

bool ParseCommandLine(int argc, char** argv, int* slot, const char** interfaceName) {
  *slot = 0;
  *interfaceName = kDefaultInterface;
  opterr = 0;  // the usage text is the only diagnostic
  optind = 1;
  int option;
  bool ok = true;
  while ((option = getopt(argc, argv, "s:i:h")) != -1) {
    switch (option) {
      case 's': {
        const long value = strtol(optarg, nullptr, 10);
        // Unsigned comparison: negative values are rejected, text becomes 0.
        if (static_cast<unsigned long>(value) <= 3UL) {
          *slot = static_cast<int>(value);
        } else {
          ok = false;
        }
        break;
      }
      case 'i':
        *interfaceName = optarg;
        break;
      default:
        ok = false;
        break;
    }
    if (!ok) break;
  }
  if (!ok) fprintf(stderr, kUsage, argv[0]);
  return ok;
}

void signal_handler(int sig) {
  gSignalStatus.store(sig);
  sig_interrupted.store(true);
}

void signal_handler_sigsegv(int sig) {
  gSignalStatus.store(sig);
  sig_interrupted.store(true);
  // _exit, not exit: exit would run the atexit destructors (renderers,
  // sockets) inside the handler while the worker thread may still use them.
  _exit(sig);
}

void InstallSignalHandlers() {
  signal(SIGTERM, signal_handler);
  // On the thread's own signal stack, so that a stack overflow still ends
  // with status 11.
  struct sigaction segv {};
  segv.sa_handler = signal_handler_sigsegv;
  segv.sa_flags = SA_ONSTACK;
  sigemptyset(&segv.sa_mask);
  sigaction(SIGSEGV, &segv, nullptr);
  signal(SIGINT, signal_handler);
  signal(SIGILL, signal_handler);
  signal(SIGABRT, signal_handler);
  signal(SIGFPE, signal_handler);
}

void sendHeartBeat() {
  static cHeartBeater* gpHb = cHeartBeater::GetInstance();
  // Nothing in the daemon requests a republish yet, so the tick stays quiet;
  // the periodic beat itself is deliberately not sent from here.
  if (gpHb != nullptr && gpHb->mbRepubRequested) {
    gpHb->mbRepubRequested = false;
    gpHb->RequestRepub();
  }
}

void initHeartBeat() {
  static cHeartBeater* gpHb = cHeartBeater::GetInstance();
  if (gpHb == nullptr) return;
  cHeartBeater::mLogLevel = 10;
  gpHb->SetHeartBeatJson(kProcessName, kVersion, PROCESS_STATUS_RUNNING);
  if (gpHb->mbVersionSet) gpHb->ConnectMqOverTcp();
}

void MessageReaderLoop() {
  static cDlbSubHandler* pDlbSubs = cDlbSubHandler::GetInstance();
  if (pDlbSubs == nullptr) return;
  cTimer tick;
  tick.SetTimeout(kTickMs);  // stopped, so the first pass ticks at once
  sendHeartBeat();
  int heartBeatCounter = 0;
  // Readiness, status and keep-alives for a service manager that asks for
  // them (NOTIFY_SOCKET); inert otherwise.
  cServiceNotifier notifier;
  for (;;) {
    notifier.Tend(cTimer::GetCurrentTimeMs());
    if (pDlbSubs->IsConnected()) {
      pDlbSubs->RestoreDroppedPeers();
      const int result = pDlbSubs->MessageReader(pDlbSubs->mpSock);
      if (result == -1) break;
      cTimer::SleepNs(result != 0 ? 10000L : 10000000L);
    } else {
      cTimer::SleepNs(10000000L);
    }
    if (tick.HasTimedOut()) {
      tick.SetTimeout(kTickMs);
      tick.Restart();
      sendHeartBeat();
      if (heartBeatCounter > kHeartBeatWarnTicks) {
        if (gpLogger != nullptr) {
          gpLogger->Warn("%s|%u|\"HB DEBUG PlovrestDeamon .\"", LogFileName(__FILE__),
                         unsigned(__LINE__));
        }
        heartBeatCounter = 0;
      } else {
        ++heartBeatCounter;
      }
    }
    if (sig_interrupted.load()) break;
  }
  notifier.Stopping();
}

int RunDaemon(int argc, char** argv) {
  // Line-buffered, so a supervisor or a pipe sees each line as it is printed.
  setvbuf(stdout, nullptr, _IOLBF, 0);
  // CZMQ would otherwise catch SIGINT/SIGTERM from its first socket on and
  // swallow a stop request that arrives before our handlers are installed.
  zsys_handler_set(nullptr);

  static Logger* plogger = Logger::GetInstance();
  gpLogger = Logger::GetInstance();
  ConfigureLogger(plogger);

  int slot = 0;
  const char* interfaceName = nullptr;
  if (!ParseCommandLine(argc, argv, &slot, &interfaceName)) return 1;

  WaitForAddress(interfaceName, slot);
  initPubs(slot);
  addSubs(slot);
  initHeartBeat();
  const cAltSignalStack signalStack;
  InstallSignalHandlers();

  gpDlbStatusSubx = new cDlbStatusSubx();
  pthread_barrier_init(&thread_barrier, nullptr, 1);

  std::thread worker;
  if (gpDlbStatusSubx->Init() == 0) {
    worker = std::thread(std::ref(*gpDlbStatusSubx));
    MessageReaderLoop();
    zsys_interrupted = 1;
    sig_interrupted.store(true);
    worker.join();
  }

  pthread_barrier_destroy(&thread_barrier);
  cleanPubs();
  if (plogger != nullptr) plogger->DetachMq();
  if (gpDlbStatusSubx != nullptr) {
    gpDlbStatusSubx->Cleanup();
    delete gpDlbStatusSubx;
    gpDlbStatusSubx = nullptr;
  }
  printf("SignalValue: %d\n", gSignalStatus.load());
  return 0;
}
