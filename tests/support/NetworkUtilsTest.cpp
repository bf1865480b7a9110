// Address text rules, mask and gateway checks with their messages, the string
// builders, and the interface look-ups through ioctl (inside the private
// namespace, whose lo is up with 127.0.0.1 as its first address).

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "NetworkUtils.h"

namespace {

std::string Hex(unsigned value) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08x", value);
  return text;
}

// Runs `check` verbose and quiet: both give `valid`; only the verbose run
// prints, and it prints `message`.
template <typename Check>
void ExpectVerdict(Check check, bool valid, const std::string& message) {
  for (const bool verbose : {true, false}) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(check(verbose), valid) << (verbose ? "verbose" : "quiet");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), verbose ? message : "");
  }
}

TEST(NetworkUtils, AddressAndMaskText) {
  const struct { const char* text; bool ip, mask; } cases[] = {
      {"255.255.255.0", true, true},  {"0.0.0.0", true, true},         {"255.255.255.255", true, true},
      {"255.128.0.0", true, true},    {"255.255.255.254", true, true}, {"192.168.1.10", true, false},
      {"255.0.255.0", true, false},   {"255.255.255.1", true, false},  {"0.255.255.255", true, false},
      {"10.0.0", false, false},       {"10.0.0.0.1", false, false},    {"256.1.1.1", false, false},
      {"1.2.3.", false, false},       {" 1.2.3.4", false, false},      {"1.2.3.4 ", false, false},
      {"01.2.3.4", false, false},     {"", false, false},              {nullptr, false, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(IpAddrIsValid(c.text), c.ip) << (c.text ? c.text : "(null)");
    EXPECT_EQ(NetmaskIsValid(c.text), c.mask) << (c.text ? c.text : "(null)");
  }
  EXPECT_EQ(GetUint32FromIpString("10.1.2.3"), htonl(0x0A010203));  // network order
  EXPECT_EQ(GetUint32FromIpString("not an address"), 0u);
  EXPECT_EQ(GetUint32FromIpString(nullptr), 0u);
}

TEST(NetworkUtils, IpAddrAndMaskAreValid) {
  const std::string notMask24 = Hex(~GetUint32FromIpString("255.255.255.0"));
  const std::string net30 = Hex(GetUint32FromIpString("255.255.255.252"));
  const struct { const char* ip; const char* mask; bool valid; std::string message; } cases[] = {
      {"192.168.1.10", "255.255.255.0", true, ""},
      {"10.0.0", "255.0.0.0", false, ""},  // a bad IP is refused silently
      {"192.168.1.10", "255.0.255.0", false, "NET ERROR : The IP Mask (255.0.255.0) is invalid.\n"},
      {"192.168.1.0", "255.255.255.0", false,
       "NET ERROR : The Host ID cannot be zero.\n"
       " - IP Address 192.168.1.0 and complement of IP Mask 255.255.255.0.\n"},
      {"1.2.3.4", "255.255.255.255", false,
       "NET ERROR : The Host ID cannot be zero.\n"
       " - IP Address 1.2.3.4 and complement of IP Mask 255.255.255.255.\n"},
      {"0.0.0.5", "255.255.255.0", false,
       "NET ERROR : The network prefix cannot be zero. (IP Address 0.0.0.5 and IP Mask 255.255.255.0.)\n"},
      {"192.168.1.255", "255.255.255.0", false,
       "NET ERROR : The Host ID cannot be all ones. \n"
       " - IP Address 192.168.1.255 and IP Mask 255.255.255.0 results in " + notMask24 + ".\n"},
      {"255.255.255.253", "255.255.255.252", false,
       "NET ERROR : The network prefix cannot be all ones.\n"
       " - IP Address 255.255.255.253 and IP Mask 255.255.255.252 results in " + net30 + ".\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.ip) + " / " + c.mask);
    ExpectVerdict([&](bool verbose) { return IpAddrAndMaskAreValid(c.ip, c.mask, verbose); }, c.valid,
                  c.message);
  }
}

TEST(NetworkUtils, GatewayIsValid) {
  const struct { const char* ip; const char* gateway; bool valid; const char* message; } cases[] = {
      {"10.0.0.5", "10.0.0.1", true, ""},
      {"10.0.0.5", "10.0.1", false, "NET ERROR : The gateway address 10.0.1 is invalid.\n"},
      {"10.0.0.5", nullptr, false, "NET ERROR : The gateway address  is invalid.\n"},
      {"10.0.0.5", "10.0.1.1", false,
       "NET ERROR : Network prefix does not match IP. (IP Address 10.0.0.5, Gateway 10.0.1.1.)\n"},
      {"10.0.0.1", "10.0.0.1", false,
       "NET ERROR : Ip and Gateway cannot have same host ID. (IP Address 10.0.0.1, Gateway 10.0.0.1.)\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.gateway ? c.gateway : "(null)");
    ExpectVerdict([&](bool verbose) { return GatewayIsValid(c.ip, "255.255.255.0", c.gateway, verbose); },
                  c.valid, c.message);
  }
}

TEST(NetworkUtils, Formatters) {
  char out[32];
  testing::internal::CaptureStdout();
  EXPECT_EQ(CreateTcpSocketStringFromIpAndPort(out, "169.254.2.2", "9989"), 22);
  EXPECT_STREQ(out, "tcp://169.254.2.2:9989");
  EXPECT_EQ(CreateTcpSocketStringFromIpAndPort(out, "255.255.255.255", "123456789"), 31);  // the longest
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");

  // One character more does not fit: cut, reported, and the full length returned.
  testing::internal::CaptureStdout();
  EXPECT_EQ(CreateTcpSocketStringFromIpAndPort(out, "12345678901234567890", "54321"), 32);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "ERROR:  CreateTcpSocket IP <12345678901234567890>, port <54321>, Result: 32 Max Length: 32\n"
            "        Resultant string: <tcp://12345678901234567890:5432>\n\n");
  EXPECT_EQ(std::strlen(out), 31u);

  const std::pair<int, const char*> masks[] = {
      {1, "128.0.0.0"},       {9, "255.128.0.0"}, {17, "255.255.128.0"}, {31, "255.255.255.254"},
      {32, "255.255.255.255"}, {0, "0.0.0.0"},    {33, "0.0.0.0"},       {-1, "0.0.0.0"},
  };
  for (const auto& [bits, text] : masks) {
    char out[16];
    EXPECT_EQ(GetMaskFromNumBits(out, bits), static_cast<int>(std::strlen(text))) << bits;
    EXPECT_STREQ(out, text) << bits;
  }

  char mac[18];
  const unsigned char bytes[6] = {0x00, 0x1b, 0xA0, 0xff, 0x09, 0x7e};
  EXPECT_EQ(GetMacStringFromBytes(mac, bytes), 17);
  EXPECT_STREQ(mac, "00:1b:a0:ff:09:7e");
}

// Every look-up over buffers filled with junk: lo (up with 127.0.0.1, no
// hardware address) succeeds; names that are no interface fail, zeroing.
TEST(NetworkIface, LookUpsOnLoopbackAndUnknownNames) {
  const char* const failed = "NET ERROR :  - getting link local IP address.\n"
                             "NET ERROR :  - getting link local IP address.\n"
                             "NET ERROR : Unable to get mac address from ioctl.\n"
                             "NET ERROR : Unable to get mac address from ioctl.\n";
  const struct { const char* name; int rc; const char* address; const char* printed; } cases[] = {
      {"lo", 0, "127.0.0.1", ""}, {"nosuch0", 1, "0.0.0.0", failed}, {"", 1, "0.0.0.0", failed},
      {"a-name-much-longer-than-an-interface-name-can-be", 1, "0.0.0.0", failed}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    char address[16], endpoint[32] = "", text[18];
    unsigned char bytes[6];
    std::memset(address, 'x', sizeof(address));
    std::memset(bytes, 0xAA, sizeof(bytes));
    std::memset(text, 'x', sizeof(text));
    testing::internal::CaptureStdout();
    const int rc[] = {GetInterfaceAddressFromIoctl(c.name, address),
                      GetProcessMonitorSocketStringFromIoctl(c.name, endpoint), GetMacBytesFromIoctl(bytes, c.name),
                      GetMacStringFromIoctl(text, c.name)};
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.printed);
    EXPECT_THAT(rc, testing::Each(c.rc));
    EXPECT_STREQ(address, c.address);
    EXPECT_STREQ(endpoint, c.rc == 0 ? "tcp://127.0.0.1:9989" : "");
    EXPECT_THAT(bytes, testing::Each(0));  // loopback has no hardware address either
    EXPECT_EQ(std::string(text, sizeof(text)),
              c.rc == 0 ? std::string("00:00:00:00:00:00", sizeof(text)) : std::string(sizeof(text), '\0'));
  }
}

}  // namespace
