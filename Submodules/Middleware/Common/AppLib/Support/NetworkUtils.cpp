// IPv4 and MAC address helpers. Diagnostics go to standard output, never to
// the logger: the prefix "NET ERROR : " first, then the message.

#include "NetworkUtils.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t kIpTextLen = 16;
constexpr size_t kEndpointLen = 32;
constexpr size_t kMacTextLen = 18;
constexpr size_t kMacLen = 6;
constexpr const char* kProcessMonitorPort = "9989";

// Null texts print as empty.
const char* Text(const char* text) { return text != nullptr ? text : ""; }

void NetErrorPrefix() { std::printf("NET ERROR : "); }

// Prints the diagnostic (prefix, then the message) when `verbose`; always
// returns false, the verdict of every check that calls it.
bool Reject(bool verbose, const char* format, ...) __attribute__((format(printf, 2, 3)));
bool Reject(bool verbose, const char* format, ...) {
  if (!verbose) return false;
  NetErrorPrefix();
  va_list args;
  va_start(args, format);
  std::vprintf(format, args);
  va_end(args);
  return false;
}

void ReportLinkLocalFailure() {
  NetErrorPrefix();
  std::puts(" - getting link local IP address.");
}

// Interface names are cut to what the request can hold.
void CopyInterfaceName(ifreq* request, const char* name) {
  if (name != nullptr) std::strncpy(request->ifr_name, name, IFNAMSIZ - 1);
}

}  // namespace

int CountChars(char c, const char* text) {
  if (text == nullptr) return 0;
  int count = 0;
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p == c) ++count;
  }
  return count;
}

// Exactly three dots, then whatever inet_pton accepts. "0.0.0.0" passes.
bool IpAddrIsValid(const char* text) {
  if (CountChars('.', text) != 3) return false;
  in_addr addr{};
  return inet_pton(AF_INET, text, &addr) == 1;
}

unsigned int GetUint32FromIpString(const char* text) {
  if (text == nullptr) return 0;
  in_addr addr{};
  if (inet_aton(text, &addr) == 0) return 0;
  return addr.s_addr;
}

// A socket descriptor of 0 is treated as a failure as well.
int GetInterfaceAddressFromIoctl(const char* name, char* out) {
  if (out == nullptr) return 1;
  ifreq request;
  std::memset(&request, 0, sizeof(request));
  std::memset(out, 0, kIpTextLen);

  const int fd = socket(AF_INET, SOCK_DGRAM, 0);
  request.ifr_addr.sa_family = AF_INET;
  CopyInterfaceName(&request, name);
  const int rc = ioctl(fd, SIOCGIFADDR, &request);
  if (fd >= 0) close(fd);

  sockaddr_in addr;
  std::memcpy(&addr, &request.ifr_addr, sizeof(addr));
  const char* text = inet_ntoa(addr.sin_addr);
  if (!IpAddrIsValid(text)) {
    ReportLinkLocalFailure();
    return 1;
  }
  std::strncpy(out, text, kIpTextLen - 1);
  if (rc < 0 || fd <= 0) {
    ReportLinkLocalFailure();
    return 1;
  }
  return 0;
}

// Returns the length when it fits; otherwise reports both lines and returns
// the untruncated length, which callers must not use.
int CreateTcpSocketStringFromIpAndPort(char* out, const char* ip, const char* port) {
  if (out == nullptr) return -1;
  if (ip == nullptr) ip = "";
  if (port == nullptr) port = "";
  std::memset(out, 0, kEndpointLen);
  const int length = std::snprintf(out, kEndpointLen, "tcp://%s:%s", ip, port);
  if (length >= 1 && length <= static_cast<int>(kEndpointLen) - 1) return length;
  std::printf("ERROR:  CreateTcpSocket IP <%s>, port <%s>, Result: %d Max Length: %d\n", ip, port,
              length, static_cast<int>(kEndpointLen));
  std::printf("        Resultant string: <%s>\n\n", out);
  return length;
}

int GetProcessMonitorSocketStringFromIoctl(const char* name, char* out) {
  if (out == nullptr) return 1;
  char address[kIpTextLen];
  const int rc = GetInterfaceAddressFromIoctl(name, address);
  if (rc != 0) return rc;
  CreateTcpSocketStringFromIpAndPort(out, address, kProcessMonitorPort);
  return 0;
}

// Contiguous ones from the top: no 1 bit may follow a 0 bit.
bool NetmaskIsValid(const char* text) {
  if (!IpAddrIsValid(text)) return false;
  const uint32_t mask = ntohl(GetUint32FromIpString(text));
  bool seenZero = false;
  for (int bit = 31; bit >= 0; --bit) {
    const bool one = ((mask >> bit) & 1u) != 0;
    if (!one) {
      seenZero = true;
    } else if (seenZero) {
      return false;
    }
  }
  return true;
}

// Words stay in network byte order, as inet_aton gives them, and so do the
// values printed with 0x%08x.
bool IpAddrAndMaskAreValid(const char* ip, const char* mask, bool verbose) {
  if (!IpAddrIsValid(ip)) return false;
  if (!NetmaskIsValid(mask)) return Reject(verbose, "The IP Mask (%s) is invalid.\n", Text(mask));
  const uint32_t ipWord = GetUint32FromIpString(ip);
  const uint32_t maskWord = GetUint32FromIpString(mask);
  const uint32_t host = ipWord & ~maskWord;
  const uint32_t net = ipWord & maskWord;

  if (host == 0) {
    return Reject(verbose,
                  "The Host ID cannot be zero.\n - IP Address %s and complement of IP Mask %s.\n",
                  ip, mask);
  }
  if (net == 0) {
    return Reject(verbose, "The network prefix cannot be zero. (IP Address %s and IP Mask %s.)\n",
                  ip, mask);
  }
  if (host == ~maskWord) {
    return Reject(verbose,
                  "The Host ID cannot be all ones. \n - IP Address %s and IP Mask %s results in "
                  "0x%08x.\n",
                  ip, mask, ~maskWord);
  }
  if (net == maskWord) {
    return Reject(verbose,
                  "The network prefix cannot be all ones.\n - IP Address %s and IP Mask %s results "
                  "in 0x%08x.\n",
                  ip, mask, net);
  }
  return true;
}

// The IP and mask are the caller's to validate first.
bool GatewayIsValid(const char* ip, const char* mask, const char* gateway, bool verbose) {
  if (!IpAddrIsValid(gateway)) {
    return Reject(verbose, "The gateway address %s is invalid.\n", Text(gateway));
  }
  const uint32_t ipWord = GetUint32FromIpString(ip);
  const uint32_t maskWord = GetUint32FromIpString(mask);
  const uint32_t gatewayWord = GetUint32FromIpString(gateway);
  if ((ipWord & maskWord) != (gatewayWord & maskWord)) {
    return Reject(verbose, "Network prefix does not match IP. (IP Address %s, Gateway %s.)\n",
                  Text(ip), gateway);
  }
  if (ipWord == gatewayWord) {
    return Reject(verbose,
                  "Ip and Gateway cannot have same host ID. (IP Address %s, Gateway %s.)\n",
                  Text(ip), gateway);
  }
  return true;
}

int GetMacBytesFromIoctl(unsigned char* out, const char* name) {
  if (out == nullptr) return 1;
  ifreq request;
  std::memset(&request, 0, sizeof(request));
  const int fd = socket(AF_INET, SOCK_DGRAM, 0);
  CopyInterfaceName(&request, name);
  request.ifr_addr.sa_family = AF_INET;
  const int rc = ioctl(fd, SIOCGIFHWADDR, &request);
  // Closed here rather than left open, so repeated look-ups cannot run the
  // process out of descriptors.
  if (fd >= 0) close(fd);
  if (rc < 0) {
    std::memset(out, 0, kMacLen);
    NetErrorPrefix();
    std::puts("Unable to get mac address from ioctl.");
    return 1;
  }
  std::memcpy(out, request.ifr_hwaddr.sa_data, kMacLen);
  return 0;
}

int GetMacStringFromBytes(char* out, const unsigned char* bytes) {
  if (out == nullptr || bytes == nullptr) return 0;
  return std::snprintf(out, kMacTextLen, "%02x:%02x:%02x:%02x:%02x:%02x", bytes[0], bytes[1], bytes[2],
                       bytes[3], bytes[4], bytes[5]);
}

int GetMacStringFromIoctl(char* out, const char* name) {
  if (out == nullptr) return 1;
  unsigned char bytes[kMacLen];
  if (GetMacBytesFromIoctl(bytes, name) != 0) {
    std::memset(out, 0, kMacTextLen);
    return 1;
  }
  GetMacStringFromBytes(out, bytes);
  return 0;
}

// The `bits` most significant bits set, byte 0 first; anything outside 1..32
// gives "0.0.0.0".
int GetMaskFromNumBits(char* out, int bits) {
  if (out == nullptr) return 0;
  std::memset(out, 0, kIpTextLen);
  unsigned char mask[4] = {0, 0, 0, 0};
  if (bits >= 1 && bits <= 32) {
    for (int i = 0; i < bits; ++i) mask[i / 8] |= static_cast<unsigned char>(0x80u >> (i % 8));
  }
  return std::snprintf(out, kIpTextLen, "%d.%d.%d.%d", mask[0], mask[1], mask[2], mask[3]);
}

int CreateIpStringFromBytes(char* out, const unsigned char* bytes) {
  if (out == nullptr || bytes == nullptr) return 0;
  return std::snprintf(out, kIpTextLen, "%d.%d.%d.%d", bytes[0], bytes[1], bytes[2], bytes[3]);
}
