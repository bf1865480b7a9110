#pragma once
// Subscribing side of the message queue: connects a SUB socket, subscribes a
// table of 128-character topics and hands one message at a time to a callback.

typedef struct _zsock_t zsock_t;

class MqSubHandler {
 public:
  // Receives each message's topic and text (null when it has no second
  // part); both are freed after the call returns.
  using Callback = int (*)(const char* topic, const char* message);

  MqSubHandler() = default;
  virtual ~MqSubHandler() = default;

  // Connect `sock`, or a new SUB socket when it is null, to ipc://<queue
  // dir>/<name> or tcp://<address>:<port> and subscribe each of the `count`
  // entries of `topics` that holds a terminated topic (miSubscribed counts
  // them). Return the connected socket: `sock` itself, or the new socket,
  // which the caller then owns (DestroyMq). Null for a null name/address,
  // port 0, or a failed connect; a socket made here is then destroyed, one
  // passed in stays as it was.
  zsock_t* AddMqOverIpc(const char* name, char (*topics)[128], int count, zsock_t* sock);
  zsock_t* AddMqOverTcp(const char* address, unsigned int port, char (*topics)[128], int count,
                        zsock_t* sock);
  // Not supported: always null.
  zsock_t* AddMqOverUdp(const char* address, unsigned int port, char (*topics)[128], int count,
                        zsock_t* sock);
  // Unsubscribes the table's terminated entries; false for a null socket or
  // table or a count below 1.
  bool UnsubscribeTopics(zsock_t* sock, char (*topics)[128], int count);
  // Destroys *sock (when any) and nulls it; a null `sock` is ignored.
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
  // Destroys the socket.
  ~SubHandler() override;

  // Connect the owned socket as above; true (and the IPC or TCP connected
  // flag set) on success, false without a socket or when the connect failed.
  bool AddMqOverIpc(const char* name, char (*topics)[128], int count);
  bool AddMqOverTcp(const char* address, unsigned int port, char (*topics)[128], int count);
  // True once either add succeeded.
  bool IsConnected() const { return mbConnectedOverIpc || mbConnectedOverTcp; }

  bool mbConnectedOverIpc = false;
  bool mbConnectedOverTcp = false;
  zsock_t* mpSock = nullptr;  // owned
};
