// Process-wide log service: coloured console lines, an optional circular log
// file and one JSON record per message on the log-sink queue.

#include "Logger.h"

#include <czmq.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <new>

#include "MqEndpoints.h"
#include "MqEndpointText.h"
#include "MqPush.h"
#include "Singleton.h"

Logger* Logger::mpLogger = nullptr;

namespace {

// Sink text (and Notify text) is composed with this bound inside mMsgBuf.
constexpr size_t kSinkBound = 2047;
constexpr int kSinkHighWaterMark = 200;
constexpr unsigned kMinFileSize = 5120;
constexpr unsigned kMaxFileSize = 5 * 1024 * 1024;

// Ends every console and file line: newline, then attribute reset.
constexpr const char* kLineEnd = "\n\033[0m";
constexpr const char* kFilePrefix = "\033[0;1m%llu|%s|%s|";
constexpr const char* kNotifyPrefix = "\033[0;33m%llu|%s|%s|";

struct LevelStyle {
  const char* prefix;  // takes (time stamp, short name, level name)
  bool toStdErr;
  bool alwaysConsole;  // printed even when console output is off
};

const LevelStyle& StyleFor(MsgLevel_e level) {
  static const LevelStyle kCritical{"\033[1;7m%llu|%s|%s|", true, true};
  static const LevelStyle kError{"\033[1;31m%llu|%s|%s|", true, false};
  static const LevelStyle kWarn{"\033[1;33m%llu|%s|%s|", true, false};
  static const LevelStyle kInfo{"\033[1;32m%llu|%s|%s|", false, false};
  static const LevelStyle kDebug{"\033[0;1m%llu|%s|%s|", false, false};
  switch (level) {
    case MSG_LEVEL_CRITICAL: return kCritical;
    case MSG_LEVEL_ERROR: return kError;
    case MSG_LEVEL_WARN: return kWarn;
    case MSG_LEVEL_INFO: return kInfo;
    default: return kDebug;
  }
}

// Milliseconds since the epoch from the real-time clock, formed in double
// precision and truncated.
unsigned long long TimeStampMs() {
  timespec ts{};
  clock_gettime(CLOCK_REALTIME, &ts);
  const double ms = static_cast<double>(ts.tv_nsec) * 1e-6 + static_cast<double>(ts.tv_sec) * 1000.0;
  return static_cast<unsigned long long>(ms);
}

// Guards creation and deletion of the single instance.
std::mutex gInstanceMutex;

}  // namespace

Logger::Logger() {
  // The owner writes the short name; keep it terminated until then.
  std::memset(mName, 0, sizeof(mName));
  std::memset(mMsgBuf, 0, sizeof(mMsgBuf));
}

Logger::~Logger() {
  DetachMq();
  CloseFile();
}

Logger* Logger::GetInstance() {
  std::lock_guard<std::mutex> lock(gInstanceMutex);
  // czmq shuts its context down from an exit handler of its own. Bringing it
  // up before registering ours means ours runs first, so a sink socket still
  // attached at exit is closed while the context is alive.
  if (mpLogger == nullptr) zsys_init();
  return SingleInstance(mpLogger, DeleteInstance, [] { return new Logger(); }, [] {});
}

// Callers must have stopped logging (other threads joined) before this runs;
// it is idempotent and leaves GetInstance able to build a fresh instance.
void Logger::DeleteInstance() {
  Logger* logger = nullptr;
  {
    std::lock_guard<std::mutex> lock(gInstanceMutex);
    logger = mpLogger;
    mpLogger = nullptr;
  }
  if (logger == nullptr) return;
  logger->DetachMq();
  logger->DetachFile();
  delete logger;
}

const char* Logger::GetLevelName(MsgLevel_e level) {
  switch (level) {
    case MSG_LEVEL_NOTSET: return "NOTSET";
    case MSG_LEVEL_DEBUG: return "DEBUG";
    case MSG_LEVEL_INFO: return "INFO";
    case MSG_LEVEL_WARN: return "WARN";
    case MSG_LEVEL_ERROR: return "ERROR";
    case MSG_LEVEL_CRITICAL: return "CRITICAL";
  }
  return "";
}

// The five level functions differ in their level only.
#define LOGGER_LEVEL_FUNCTION(Name, Level)      \
  int Logger::Name(const char* fmt, ...) {      \
    va_list args;                               \
    va_start(args, fmt);                        \
    const int result = Log(Level, fmt, args);   \
    va_end(args);                               \
    return result;                              \
  }

LOGGER_LEVEL_FUNCTION(Critical, MSG_LEVEL_CRITICAL)
LOGGER_LEVEL_FUNCTION(Error, MSG_LEVEL_ERROR)
LOGGER_LEVEL_FUNCTION(Warn, MSG_LEVEL_WARN)
LOGGER_LEVEL_FUNCTION(Info, MSG_LEVEL_INFO)
LOGGER_LEVEL_FUNCTION(Debug, MSG_LEVEL_DEBUG)
#undef LOGGER_LEVEL_FUNCTION

int Logger::Write(MsgLevel_e level, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = Log(level, fmt, args);
  va_end(args);
  return result;
}

// One message to up to three outputs. The result is the character count of
// the caller's text in the last output written (console, then sink, then
// file), 0 when nothing was written and -1 when an exception was caught.
int Logger::Log(MsgLevel_e level, const char* fmt, va_list args) {
  if (mLevel > level) return 0;
  if (mbMuted) return 0;
  if (fmt == nullptr) return 0;

  try {
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    const LevelStyle& style = StyleFor(level);
    const char* levelName = GetLevelName(level);
    char name[sizeof(mName) + 1] = {};
    std::memcpy(name, mName, sizeof(mName));
    int result = 0;

    if (style.alwaysConsole || mbConsole) {
      FILE* stream = style.toStdErr ? mpConsoleErr : mpConsoleOut;
      if (stream != nullptr) {
        std::fprintf(stream, style.prefix, TimeStampMs(), name, levelName);
        va_list copy;
        va_copy(copy, args);
        result = std::vfprintf(stream, fmt, copy);
        va_end(copy);
        std::fputs(kLineEnd, stream);
      }
    }

    if (mpMqSock != nullptr) {
      std::memset(mMsgBuf, 0, sizeof(mMsgBuf));
      std::snprintf(mMsgBuf, kSinkBound, "%llu|%s|%s|", TimeStampMs(), name, levelName);
      const size_t used = std::strlen(mMsgBuf);
      va_list copy;
      va_copy(copy, args);
      result = std::vsnprintf(mMsgBuf + used, kSinkBound - used, fmt, copy);
      va_end(copy);
      SendJson(MSG_TYPE_LOG, level, mMsgBuf, nullptr);
    }

    if (!mbFileAttached) return result;
    // Without an open file the line goes to standard output, unless the
    // console already has it.
    FILE* target = mpFile != nullptr ? mpFile : (mbConsole ? nullptr : mpConsoleOut);
    if (target != nullptr) {
      std::fprintf(target, kFilePrefix, TimeStampMs(), name, levelName);
      va_list copy;
      va_copy(copy, args);
      result = std::vfprintf(target, fmt, copy);
      va_end(copy);
      std::fputs(kLineEnd, target);
    }
    if (target != nullptr && target == mpFile) {
      HandleFileError();
      CheckFileSize();
    }
    return result;
  } catch (const std::exception&) {
    return -1;
  }
}

int Logger::Notify(MsgLevel_e level, const char* title, const char* fmt, ...) {
  if (fmt == nullptr) return 0;
  va_list args;
  va_start(args, fmt);
  int result = 0;
  try {
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    if (mpMqSock != nullptr) {
      std::memset(mMsgBuf, 0, sizeof(mMsgBuf));
      result = std::vsnprintf(mMsgBuf, kSinkBound, fmt, args);
      SendJson(MSG_TYPE_NOTIFY, level, mMsgBuf, title);
    } else if (mpConsoleErr != nullptr) {
      char name[sizeof(mName) + 1] = {};
      std::memcpy(name, mName, sizeof(mName));
      std::fprintf(mpConsoleErr, kNotifyPrefix, TimeStampMs(), name, GetLevelName(level));
      result = std::vfprintf(mpConsoleErr, fmt, args);
      std::fputs(kLineEnd, mpConsoleErr);
    }
  } catch (const std::exception&) {
    result = -1;
  }
  va_end(args);
  return result;
}

bool Logger::SendJson(MsgType_e type, MsgLevel_e level, const char* message, const char* title) {
  try {
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    if (message == nullptr || mpMqSock == nullptr) return false;

    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.StartObject();
    writer.Key("MsgType");
    writer.Int(type);
    writer.Key("Level");
    writer.Int(level);
    writer.Key("Name");
    writer.String(mName, static_cast<rapidjson::SizeType>(strnlen(mName, sizeof(mName))));
    writer.Key("Message");
    writer.String(message);
    if (type == MSG_TYPE_NOTIFY && title != nullptr) {
      writer.Key("Title");
      writer.String(title);
    }
    writer.EndObject();

    // The sink socket never blocks: when the queue is full the record is lost.
    return zstr_send(mpMqSock, buffer.GetString()) == 0;
  } catch (const std::exception&) {
    return false;
  }
}

// The tcp sink never blocks the caller: a queue of 200 records, and records
// beyond it are dropped.
bool Logger::AttachMqOverTcp() {
  return AttachPush(mq::detail::TcpEndpoint(mq::kMainBoardAddr, mq::kLogSinkPort),
                    kSinkHighWaterMark);
}

bool Logger::AttachMqOverIpc() { return AttachPush(mq::detail::IpcEndpoint(mq::kLogSinkIpc), 0); }

// The connection messages name the endpoint directly, without the usual
// file-and-line prefix. "Connected" is written once the socket is attached,
// so it reaches the sink as well.
bool Logger::AttachPush(const std::string& endpoint, int queueLimit) {
  std::lock_guard<std::recursive_mutex> lock(mMutex);
  return mq::ConnectPush(&mpMqSock, endpoint.c_str(), queueLimit,
                         [this](MsgLevel_e level, const char* text, const char* where) {
                           Write(level, "%s %s", text, where);
                         });
}

bool Logger::DetachMq() {
  std::lock_guard<std::recursive_mutex> lock(mMutex);
  if (mpMqSock != nullptr) zsock_destroy(&mpMqSock);
  mpMqSock = nullptr;
  return true;
}

// Returns false even when the file was opened, as callers expect.
bool Logger::AttachFile(const char* path, unsigned totalSize, unsigned count) {
  std::lock_guard<std::recursive_mutex> lock(mMutex);
  CloseFile();
  if (totalSize >= kMinFileSize && totalSize <= kMaxFileSize) {
    // A count of 0 is taken as 1: the whole size then goes to the one file.
    mFileCount = count == 0 ? 1 : count;
    mFileSizeLimit = totalSize / mFileCount;
  }
  if (path == nullptr || !OpenFile(path)) return false;
  mFilePath = path;
  mbFileAttached = true;
  return false;
}

bool Logger::DetachFile() {
  std::lock_guard<std::recursive_mutex> lock(mMutex);
  mbFileAttached = false;
  CloseFile();
  return true;
}

// Truncates the file and starts it with a "Count" header. A stream still
// open (a ring that failed to rewind) is closed first so its buffer cannot
// land in the new file.
bool Logger::OpenFile(const char* path) {
  CloseFile();
  if (path == nullptr) return false;
  FILE* stream = std::fopen(path, "w+");
  if (stream == nullptr) return false;
  if (!RewindFile(stream)) {
    std::fclose(stream);
    return false;
  }
  mpFile = stream;
  return true;
}

bool Logger::RewindFile(FILE* stream) {
  if (stream == nullptr) return false;
  std::fseek(stream, 0, SEEK_SET);
  std::fprintf(stream, "%llu|Count %.10d\n", TimeStampMs(), mRewindCount);
  if (std::ferror(stream)) return false;
  std::fflush(stream);
  ++mRewindCount;
  return true;
}

// Past the limit the file wraps: the write position returns to the start and
// new lines overwrite the oldest ones in place, without truncating.
void Logger::CheckFileSize() {
  if (!mbFileAttached || mpFile == nullptr) return;
  std::fflush(mpFile);
  const long position = std::ftell(mpFile);
  if (position > static_cast<long>(mFileSizeLimit)) {
    if (!RewindFile(mpFile)) OpenFile(mFilePath.c_str());
  }
}

// A failed write closes the file. It is reopened (truncated) only while
// console output is on; otherwise later lines go to standard output.
void Logger::HandleFileError() {
  if (mpFile == nullptr || !std::ferror(mpFile)) return;
  std::clearerr(mpFile);
  CloseFile();
  if (mbConsole) OpenFile(mFilePath.c_str());
}

void Logger::CloseFile() {
  if (mpFile != nullptr) {
    std::fclose(mpFile);
    mpFile = nullptr;
  }
}
