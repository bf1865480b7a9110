#pragma once
// Publishing side of the message queue: binds a PUB socket and sends
// topic-prefixed messages. Logs nothing; callers log failures.

#include <string>

typedef struct _zsock_t zsock_t;

class MqPubHandler {
 public:
  MqPubHandler() = default;
  virtual ~MqPubHandler() = default;

  // Bind `sock`, or a new PUB socket when it is null, to ipc://<queue dir>/
  // <name> or tcp://<address>:<port>. Return the bound socket: `sock` itself,
  // or the new socket, which the caller then owns (DestroyMq). Null for a null
  // name/address, port 0, or a failed bind; a socket made here is then
  // destroyed, one passed in stays as it was.
  zsock_t* BindMqOverIpc(const char* name, zsock_t* sock);
  zsock_t* BindMqOverTcp(const char* address, unsigned int port, zsock_t* sock);
  // Not supported: always null.
  zsock_t* BindMqOverUdp(const char* address, unsigned int port, zsock_t* sock);
  // Destroys *sock (when any) and nulls it; a null `sock` is ignored.
  void DestroyMq(zsock_t** sock);

  // Each sends one message, the topic as its first part; true when sent,
  // false for a null argument or a failed send. The caller keeps its texts.
  bool SendJson(zsock_t* sock, const char* topic, const char* json);
  bool SendUint32(zsock_t* sock, const char* topic, unsigned int value);
  bool SendS44(zsock_t* sock, const char* topic, unsigned int a, unsigned int b);

  int miSlot = -1;
  int miUnused = 0;
  std::string mAddress;
  std::string mEndpoint;
  bool mbBoundOverIpc = false;
  bool mbBoundOverTcp = false;
  zsock_t* mpSock = nullptr;  // owned by the subclass that sets it
};
