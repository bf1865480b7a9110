#pragma once
// The device's fixed message-queue endpoints. Everything that binds or
// connects takes its address, port or ipc name from here.

namespace mq {

constexpr const char* kIpcDir = "/run/shm/mq";
constexpr const char* kIpcFormat = "ipc://%s/%s";
constexpr const char* kTcpFormat = "tcp://%s:%u";

// Link-local addresses of the device's cards.
constexpr const char* kMainBoardAddr = "169.254.2.2";  // log sink, heartbeat collector
constexpr const char* kSlot1Addr = "169.254.2.3";      // decoder, hardware monitor
constexpr const char* kSlot2Addr = "169.254.2.4";
constexpr const char* kSlot3Addr = "169.254.2.2";

constexpr unsigned kLogSinkPort = 9000;
constexpr unsigned kHeartBeatPort = 10000;
constexpr unsigned kHwmPubPort = 2000;
constexpr unsigned kDecoderPubPort = 2002;

constexpr const char* kLogSinkIpc = "loggerSinkMq.ipc";
constexpr const char* kHeartBeatIpc = "hbMonPullMq.ipc";
constexpr const char* kHbMonPubIpc = "hbMonPubMq.ipc";
constexpr const char* kAppServerIpc = "appServer.ipc";
constexpr const char* kDlbMetadataPubIpc = "dlbMetadataPub.ipc";

constexpr int kTopicLen = 128;  // one topic-table entry, terminator included

// Largest message part the subscriptions take. A valid control message is a
// few hundred bytes and a decoder record 33,704 bytes; a larger part makes
// libzmq close that peer's connection (a subscriber reconnects by itself),
// without a log line, so a peer cannot exhaust memory or flood the log.
constexpr long kMaxControlMessageBytes = 64 * 1024;
constexpr long kMaxDecoderFrameBytes = 64 * 1024;

}  // namespace mq
