#pragma once
// Publishing side of the message queue: binds a PUB socket and sends
// topic-prefixed messages. Logs nothing; callers log failures.

#include <string>

typedef struct _zsock_t zsock_t;

class MqPubHandler {
 public:
  MqPubHandler() = default;
  virtual ~MqPubHandler() = default;

  zsock_t* BindMqOverIpc(const char* name, zsock_t* sock);
  zsock_t* BindMqOverTcp(const char* address, unsigned int port, zsock_t* sock);
  zsock_t* BindMqOverUdp(const char* address, unsigned int port, zsock_t* sock);
  void DestroyMq(zsock_t** sock);

  bool SendJson(zsock_t* sock, const char* topic, const char* json);
  bool SendUint32(zsock_t* sock, const char* topic, unsigned int value);
  bool SendS44(zsock_t* sock, const char* topic, unsigned int a, unsigned int b);

  int miSlot = -1;
  int miUnused = 0;
  std::string mAddress;
  std::string mEndpoint;
  bool mbBoundOverIpc = false;
  bool mbBoundOverTcp = false;
  zsock_t* mpSock = nullptr;
};
