// Interface look-ups through ioctl, inside the private namespace whose lo is
// up with 127.0.0.1 as its first address.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "NetworkUtils.h"

namespace {

const char* kNoSuchInterface = "nosuch0";

TEST(NetworkIface, LoopbackAddress) {
  char out[16];
  std::memset(out, 'x', sizeof(out));
  testing::internal::CaptureStdout();
  EXPECT_EQ(GetInterfaceAddressFromIoctl("lo", out), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_STREQ(out, "127.0.0.1");

  char endpoint[32];
  EXPECT_EQ(GetProcessMonitorSocketStringFromIoctl("lo", endpoint), 0);
  EXPECT_STREQ(endpoint, "tcp://127.0.0.1:9989");
}

TEST(NetworkIface, UnknownInterfaceGivesZeroAddress) {
  const char* names[] = {kNoSuchInterface, "", "a-name-much-longer-than-an-interface-name-can-be"};
  for (const char* name : names) {
    SCOPED_TRACE(name);
    char out[16];
    std::memset(out, 'x', sizeof(out));
    testing::internal::CaptureStdout();
    EXPECT_EQ(GetInterfaceAddressFromIoctl(name, out), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "NET ERROR :  - getting link local IP address.\n");
    EXPECT_STREQ(out, "0.0.0.0");
  }

  char endpoint[32];
  std::memset(endpoint, 'x', sizeof(endpoint));
  testing::internal::CaptureStdout();
  EXPECT_EQ(GetProcessMonitorSocketStringFromIoctl(kNoSuchInterface, endpoint), 1);
  testing::internal::GetCapturedStdout();
}

TEST(NetworkIface, MacAddress) {
  unsigned char bytes[6];
  std::memset(bytes, 0xAA, sizeof(bytes));
  EXPECT_EQ(GetMacBytesFromIoctl(bytes, "lo"), 0);
  const unsigned char zero[6] = {0, 0, 0, 0, 0, 0};
  EXPECT_EQ(std::memcmp(bytes, zero, sizeof(zero)), 0);  // loopback has no hardware address

  char text[18];
  EXPECT_EQ(GetMacStringFromIoctl(text, "lo"), 0);
  EXPECT_STREQ(text, "00:00:00:00:00:00");

  std::memset(bytes, 0xAA, sizeof(bytes));
  std::memset(text, 'x', sizeof(text));
  testing::internal::CaptureStdout();
  EXPECT_EQ(GetMacBytesFromIoctl(bytes, kNoSuchInterface), 1);
  EXPECT_EQ(GetMacStringFromIoctl(text, kNoSuchInterface), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "NET ERROR : Unable to get mac address from ioctl.\n"
            "NET ERROR : Unable to get mac address from ioctl.\n");
  EXPECT_EQ(std::memcmp(bytes, zero, sizeof(zero)), 0);
  const char zeroText[18] = {};
  EXPECT_EQ(std::memcmp(text, zeroText, sizeof(zeroText)), 0);
}

}  // namespace
