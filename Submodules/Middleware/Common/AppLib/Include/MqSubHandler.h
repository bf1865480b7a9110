#pragma once
// Subscribing side of the message queue: connects a SUB socket, subscribes a
// table of 128-character topics and hands one message at a time to a callback.

typedef struct _zsock_t zsock_t;

class MqSubHandler {
 public:
  using Callback = int (*)(const char* topic, const char* message);

  MqSubHandler() = default;
  virtual ~MqSubHandler() = default;

  zsock_t* AddMqOverIpc(const char* name, char (*topics)[128], int count, zsock_t* sock);
  zsock_t* AddMqOverTcp(const char* address, unsigned int port, char (*topics)[128], int count,
                        zsock_t* sock);
  zsock_t* AddMqOverUdp(const char* address, unsigned int port, char (*topics)[128], int count,
                        zsock_t* sock);
  bool UnsubscribeTopics(zsock_t* sock, char (*topics)[128], int count);
  void DestroyMq(zsock_t** sock);

  // Reads at most one message without waiting: 0 nothing read (or handled),
  // 1 a message without a topic, otherwise the callback's result.
  int MessageReader(zsock_t* sock);

  int miSlot = -1;
  int miSubscribed = 0;
  Callback mpCallback = nullptr;
};

// A subscriber that owns its socket (created by the owner's Init).
class SubHandler : public MqSubHandler {
 public:
  ~SubHandler() override;

  bool AddMqOverIpc(const char* name, char (*topics)[128], int count);
  bool AddMqOverTcp(const char* address, unsigned int port, char (*topics)[128], int count);
  bool IsConnected() const { return mbConnectedOverIpc || mbConnectedOverTcp; }

  bool mbConnectedOverIpc = false;
  bool mbConnectedOverTcp = false;
  zsock_t* mpSock = nullptr;
};
