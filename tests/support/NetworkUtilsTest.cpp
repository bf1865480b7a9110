// Address text rules, mask and gateway checks with their messages, and the
// string builders. Interface look-ups are in NetworkIfaceTest.cpp.

#include <arpa/inet.h>
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

TEST(NetworkUtils, IpAddrIsValid) {
  const std::pair<const char*, bool> cases[] = {
      {"192.168.1.10", true}, {"0.0.0.0", true},      {"255.255.255.255", true},
      {"10.0.0", false},      {"10.0.0.0.1", false},  {"256.1.1.1", false},
      {"1.2.3.", false},      {"a.b.c.d", false},     {" 1.2.3.4", false},
      {"1.2.3.4 ", false},    {"01.2.3.4", false},    {"", false},
      {nullptr, false},
  };
  for (const auto& [text, valid] : cases) {
    EXPECT_EQ(IpAddrIsValid(text), valid) << (text ? text : "(null)");
  }
}

TEST(NetworkUtils, GetUint32FromIpStringKeepsNetworkOrder) {
  EXPECT_EQ(GetUint32FromIpString("10.1.2.3"), htonl(0x0A010203));
  EXPECT_EQ(GetUint32FromIpString("255.255.255.0"), htonl(0xFFFFFF00));
  EXPECT_EQ(GetUint32FromIpString("not an address"), 0u);
  EXPECT_EQ(GetUint32FromIpString(nullptr), 0u);
}

TEST(NetworkUtils, NetmaskIsValid) {
  const std::pair<const char*, bool> cases[] = {
      {"255.255.255.0", true},   {"0.0.0.0", true},         {"255.255.255.255", true},
      {"255.128.0.0", true},     {"255.255.255.254", true}, {"128.0.0.0", true},
      {"255.0.255.0", false},    {"0.255.255.255", false},  {"255.255.255.1", false},
      {"254.255.0.0", false},    {"255.255.0", false},      {nullptr, false},
  };
  for (const auto& [text, valid] : cases) {
    EXPECT_EQ(NetmaskIsValid(text), valid) << (text ? text : "(null)");
  }
}

struct PairCase {
  const char* ip;
  const char* mask;
  bool valid;
  std::string message;  // printed when verbose
};

TEST(NetworkUtils, IpAddrAndMaskAreValid) {
  const unsigned notMask24 = ~GetUint32FromIpString("255.255.255.0");
  const unsigned net30 = GetUint32FromIpString("255.255.255.252");
  const PairCase cases[] = {
      {"192.168.1.10", "255.255.255.0", true, ""},
      {"10.0.0.1", "255.0.0.0", true, ""},
      {"10.0.0", "255.0.0.0", false, ""},  // a bad IP is refused silently
      {"192.168.1.10", "255.0.255.0", false,
       "NET ERROR : The IP Mask (255.0.255.0) is invalid.\n"},
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
       " - IP Address 192.168.1.255 and IP Mask 255.255.255.0 results in " + Hex(notMask24) + ".\n"},
      {"255.255.255.253", "255.255.255.252", false,
       "NET ERROR : The network prefix cannot be all ones.\n"
       " - IP Address 255.255.255.253 and IP Mask 255.255.255.252 results in " + Hex(net30) + ".\n"},
  };
  for (const PairCase& c : cases) {
    SCOPED_TRACE(std::string(c.ip) + " / " + c.mask);
    testing::internal::CaptureStdout();
    EXPECT_EQ(IpAddrAndMaskAreValid(c.ip, c.mask, true), c.valid);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.message);

    testing::internal::CaptureStdout();
    EXPECT_EQ(IpAddrAndMaskAreValid(c.ip, c.mask, false), c.valid);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  }
}

TEST(NetworkUtils, GatewayIsValid) {
  struct Case {
    const char* ip;
    const char* mask;
    const char* gateway;
    bool valid;
    const char* message;
  };
  const Case cases[] = {
      {"10.0.0.5", "255.255.255.0", "10.0.0.1", true, ""},
      {"10.0.0.5", "255.255.255.0", "10.0.1", false, "NET ERROR : The gateway address 10.0.1 is invalid.\n"},
      {"10.0.0.5", "255.255.255.0", "10.0.1.1", false,
       "NET ERROR : Network prefix does not match IP. (IP Address 10.0.0.5, Gateway 10.0.1.1.)\n"},
      {"10.0.0.1", "255.255.255.0", "10.0.0.1", false,
       "NET ERROR : Ip and Gateway cannot have same host ID. (IP Address 10.0.0.1, Gateway 10.0.0.1.)\n"},
      {"10.0.0.5", "255.255.255.0", nullptr, false, "NET ERROR : The gateway address  is invalid.\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.gateway ? c.gateway : "(null)");
    testing::internal::CaptureStdout();
    EXPECT_EQ(GatewayIsValid(c.ip, c.mask, c.gateway, true), c.valid);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.message);
    testing::internal::CaptureStdout();
    EXPECT_EQ(GatewayIsValid(c.ip, c.mask, c.gateway, false), c.valid);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  }
}

TEST(NetworkUtils, CreateTcpSocketString) {
  char out[32];
  std::memset(out, 'x', sizeof(out));
  EXPECT_EQ(CreateTcpSocketStringFromIpAndPort(out, "169.254.2.2", "9989"), 22);
  EXPECT_STREQ(out, "tcp://169.254.2.2:9989");

  // 31 characters is the longest that fits.
  testing::internal::CaptureStdout();
  EXPECT_EQ(CreateTcpSocketStringFromIpAndPort(out, "255.255.255.255", "123456789"), 31);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");

  // A 20-character IP with a 5-character port does not fit.
  testing::internal::CaptureStdout();
  const int result = CreateTcpSocketStringFromIpAndPort(out, "12345678901234567890", "54321");
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_EQ(result, 32);
  EXPECT_EQ(std::strlen(out), 31u);
  EXPECT_EQ(printed,
            "ERROR:  CreateTcpSocket IP <12345678901234567890>, port <54321>, Result: 32 Max Length: 32\n"
            "        Resultant string: <tcp://12345678901234567890:5432>\n\n");
}

TEST(NetworkUtils, GetMaskFromNumBits) {
  const std::pair<int, const char*> cases[] = {
      {1, "128.0.0.0"},    {8, "255.0.0.0"},       {9, "255.128.0.0"},     {17, "255.255.128.0"},
      {24, "255.255.255.0"}, {31, "255.255.255.254"}, {32, "255.255.255.255"}, {0, "0.0.0.0"},
      {33, "0.0.0.0"},     {-1, "0.0.0.0"},
  };
  for (const auto& [bits, text] : cases) {
    char out[16];
    std::memset(out, 'x', sizeof(out));
    EXPECT_EQ(GetMaskFromNumBits(out, bits), static_cast<int>(std::strlen(text))) << bits;
    EXPECT_STREQ(out, text) << bits;
    if (bits >= 1 && bits <= 32) {
      EXPECT_TRUE(NetmaskIsValid(out)) << bits;
    }
  }
}

TEST(NetworkUtils, ByteFormatters) {
  char ip[16];
  const unsigned char addr[4] = {169, 254, 2, 255};
  EXPECT_EQ(CreateIpStringFromBytes(ip, addr), 13);
  EXPECT_STREQ(ip, "169.254.2.255");

  char mac[18];
  const unsigned char bytes[6] = {0x00, 0x1b, 0xA0, 0xff, 0x09, 0x7e};
  EXPECT_EQ(GetMacStringFromBytes(mac, bytes), 17);
  EXPECT_STREQ(mac, "00:1b:a0:ff:09:7e");
}

}  // namespace
