#pragma once
// IPv4 and MAC address helpers. Diagnostics go to standard output, each
// preceded by "NET ERROR : " (except the endpoint-length message).

int GetInterfaceAddressFromIoctl(const char* name, char* out /* 16 */);
bool IpAddrIsValid(const char* text);
unsigned int GetUint32FromIpString(const char* text);
int CreateTcpSocketStringFromIpAndPort(char* out /* 32 */, const char* ip, const char* port);
int GetProcessMonitorSocketStringFromIoctl(const char* name, char* out /* 32 */);
bool NetmaskIsValid(const char* text);
bool IpAddrAndMaskAreValid(const char* ip, const char* mask, bool verbose);
bool GatewayIsValid(const char* ip, const char* mask, const char* gateway, bool verbose);
int GetMacBytesFromIoctl(unsigned char* out /* 6 */, const char* name);
int GetMacStringFromBytes(char* out /* 18 */, const unsigned char* bytes /* 6 */);
int GetMacStringFromIoctl(char* out /* 18 */, const char* name);
int GetMaskFromNumBits(char* out /* 16 */, int bits);
int CreateIpStringFromBytes(char* out /* 16 */, const unsigned char* bytes /* 4 */);
int CountChars(char c, const char* text);
