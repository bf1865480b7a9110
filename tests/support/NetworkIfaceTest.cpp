// Interface look-ups through ioctl, inside the private namespace whose lo is
// up with 127.0.0.1 as its first address.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "NetworkUtils.h"

namespace {

// Runs every look-up on `name`; returns their results and what they printed.
struct LookUps {
  char address[16], endpoint[32], text[18];
  unsigned char bytes[6];
  int rc[4];
  std::string printed;
  explicit LookUps(const char* name) {
    std::memset(address, 'x', sizeof(address));
    std::memset(bytes, 0xAA, sizeof(bytes));
    std::memset(text, 'x', sizeof(text));
    testing::internal::CaptureStdout();
    rc[0] = GetInterfaceAddressFromIoctl(name, address);
    rc[1] = GetProcessMonitorSocketStringFromIoctl(name, endpoint);
    rc[2] = GetMacBytesFromIoctl(bytes, name);
    rc[3] = GetMacStringFromIoctl(text, name);
    printed = testing::internal::GetCapturedStdout();
  }
  bool ZeroMac() const { return bytes[0] == 0 && std::memcmp(bytes, bytes + 1, 5) == 0; }
};

TEST(NetworkIface, LoopbackLookUps) {
  const LookUps lo("lo");
  EXPECT_THAT(lo.rc, testing::Each(0));
  EXPECT_EQ(lo.printed, "");
  EXPECT_STREQ(lo.address, "127.0.0.1");
  EXPECT_STREQ(lo.endpoint, "tcp://127.0.0.1:9989");
  EXPECT_TRUE(lo.ZeroMac());  // loopback has no hardware address
  EXPECT_STREQ(lo.text, "00:00:00:00:00:00");
}

TEST(NetworkIface, UnknownInterfaceFailsWithZeroedResults) {
  for (const char* name : {"nosuch0", "", "a-name-much-longer-than-an-interface-name-can-be"}) {
    SCOPED_TRACE(name);
    const LookUps none(name);
    EXPECT_THAT(none.rc, testing::Each(1));
    EXPECT_EQ(none.printed,
              "NET ERROR :  - getting link local IP address.\n"
              "NET ERROR :  - getting link local IP address.\n"
              "NET ERROR : Unable to get mac address from ioctl.\n"
              "NET ERROR : Unable to get mac address from ioctl.\n");
    EXPECT_STREQ(none.address, "0.0.0.0");
    EXPECT_TRUE(none.ZeroMac());
    EXPECT_EQ(std::string(none.text, sizeof(none.text)), std::string(sizeof(none.text), '\0'));
  }
}

}  // namespace
