#pragma once
// Process-wide log service: coloured console lines, an optional circular log
// file and JSON records pushed to the device's log-sink queue.
//
// Callers log with a format that starts "%s|%u|" (file name, line) followed by
// the text in literal double quotes; LOG_AT() below does the threshold checks
// and fills in the file and line.

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>

typedef struct _zsock_t zsock_t;

enum MsgLevel_e : int32_t {
  MSG_LEVEL_NOTSET = 0,
  MSG_LEVEL_DEBUG = 10,
  MSG_LEVEL_INFO = 20,
  MSG_LEVEL_WARN = 30,
  MSG_LEVEL_ERROR = 40,
  MSG_LEVEL_CRITICAL = 50,
};

enum MsgType_e : int32_t {
  MSG_TYPE_LOG = 0,
  MSG_TYPE_NOTIFY = 1,
};

class Logger {
 public:
  // The process's logger, made on first use (thread-safe); null when memory
  // runs out. DeleteInstance (run at exit) frees it: callers must have
  // stopped logging first; a later GetInstance makes a fresh one.
  static Logger* GetInstance();
  static void DeleteInstance();

  // Log one message at the function's level, when it is not below mLevel
  // and the logger is not muted: to the console (always for Critical), the
  // sink and the file. Return the character count of the caller's text in
  // the last output written, 0 when nothing was, -1 on an exception.
  int Critical(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
  int Error(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
  int Warn(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
  int Info(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
  int Debug(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
  // A notification: to the sink as a Notify record with `title`, else to
  // standard error. Returns the message's character count, -1 on an exception.
  int Notify(MsgLevel_e level, const char* title, const char* fmt, ...)
      __attribute__((format(printf, 4, 5)));
  // The level function of `level`: Write(MSG_LEVEL_ERROR, ...) is Error(...).
  int Write(MsgLevel_e level, const char* fmt, ...) __attribute__((format(printf, 3, 4)));

  // Pushes {"MsgType","Level","Name","Message"[,"Title"]} to the sink; true
  // when queued. False without a sink or message, or when the queue is full.
  bool SendJson(MsgType_e type, MsgLevel_e level, const char* message, const char* title);
  // The level's name ("DEBUG"...); "" for an unknown level. Static text.
  static const char* GetLevelName(MsgLevel_e level);

  // Connect the sink (tcp: queue of 200 records, never blocking; ipc:
  // unbounded). True once connected; false when already attached or the
  // connect failed. Each step is logged. The socket is the logger's own.
  bool AttachMqOverTcp();
  bool AttachMqOverIpc();
  // Closes the sink, if any; always true.
  bool DetachMq();
  bool isMqAttached() const { return mpMqSock != nullptr; }

  // Returns false even when the file was opened: callers must not read the
  // result as a failure indicator.
  // Truncates the file at `path` and logs to it, wrapping past totalSize /
  // count bytes (totalSize 5120..5 MiB, else the previous limit stays).
  bool AttachFile(const char* path, unsigned totalSize, unsigned count);
  // Stops file logging and closes the file; always true.
  bool DetachFile();

  static Logger* mpLogger;

  zsock_t* mpMqSock = nullptr;
  FILE* mpFile = nullptr;
  uint32_t mFileSizeLimit = 5120;
  uint32_t mFileCount = 1;
  int32_t mRewindCount = 0;
  std::string mFilePath;
  MsgLevel_e mLevel = MSG_LEVEL_WARN;
  bool mbReserved1 = true;   // set at construction, read by nothing
  bool mbReserved2 = false;  // set at construction, read by nothing
  bool mbConsole = false;
  bool mbFileAttached = false;
  bool mbMuted = false;
  char mName[8];
  char mMsgBuf[2048];

  // Console streams. Normally standard output and standard error; tests point
  // them at their own streams to read the lines back.
  FILE* mpConsoleOut = stdout;
  FILE* mpConsoleErr = stderr;

 private:
  Logger();
  ~Logger();
  Logger(const Logger&) = delete;
  Logger& operator=(const Logger&) = delete;

  int Log(MsgLevel_e level, const char* fmt, va_list args);
  bool AttachPush(const std::string& endpoint, int queueLimit);
  bool OpenFile(const char* path);
  bool RewindFile(FILE* stream);
  void CheckFileSize();
  void HandleFileError();
  void CloseFile();

  // Both threads log: one call's outputs (mMsgBuf, the sink socket, the file)
  // are written under this lock. Recursive because the attach functions log
  // through the level functions while holding it.
  std::recursive_mutex mMutex;
};

// The source file's name without its directories, for the "%s|%u|" prefix.
constexpr const char* LogFileName(const char* path) {
  const char* name = path;
  for (const char* p = path; *p != '\0'; ++p) {
    if (*p == '/') name = p + 1;
  }
  return name;
}

// Logs through a class's own logger copy when both the class threshold and
// the logger are present: LOG_AT(cFoo, Warn, 30, "\"Got %d.\"", n).
#define LOG_AT(Class, Func, Level, fmt, ...)                                        \
  do {                                                                                  \
    if (Class::mLogLevel <= (Level) && Class::mpLogger != nullptr) {                   \
      Class::mpLogger->Func("%s|%u|" fmt, LogFileName(__FILE__), unsigned(__LINE__), \
                            ##__VA_ARGS__);                                              \
    }                                                                                   \
  } while (0)
