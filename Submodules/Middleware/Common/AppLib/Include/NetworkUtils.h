#pragma once
// IPv4 and MAC address helpers. Diagnostics go to standard output, each
// preceded by "NET ERROR : " (except the endpoint-length message). Every
// `out` buffer is the caller's, of at least the size noted beside it; nothing
// is allocated and nothing returned needs freeing.

// The interface's IPv4 address as text into `out` (16). 0 on success; 1 when
// `out` is null, the look-up failed or the address is not valid (the text
// found may still have been written).
int GetInterfaceAddressFromIoctl(const char* name, char* out /* 16 */);
// True for a dotted quad (exactly three dots) that inet_pton accepts.
bool IpAddrIsValid(const char* text);
// The address in network byte order; 0 for null or unparsable text.
unsigned int GetUint32FromIpString(const char* text);
// Writes "tcp://ip:port" into `out` (32). Returns the text's length; when it
// does not fit, prints two lines and returns the untruncated length
// (unusable); -1 for a null `out`.
int CreateTcpSocketStringFromIpAndPort(char* out /* 32 */, const char* ip, const char* port);
// The process monitor's endpoint on the interface's address into `out` (32);
// 0 on success, else GetInterfaceAddressFromIoctl's failure.
int GetProcessMonitorSocketStringFromIoctl(const char* name, char* out /* 32 */);
// True for a valid address whose one bits are contiguous from the top.
bool NetmaskIsValid(const char* text);
// True when ip and mask form a usable host address: valid mask, host and
// network parts neither all zeros nor all ones. `verbose` prints why not.
bool IpAddrAndMaskAreValid(const char* ip, const char* mask, bool verbose);
// True for a valid gateway inside ip/mask and other than ip itself; ip and
// mask are the caller's to validate first. `verbose` prints why not.
bool GatewayIsValid(const char* ip, const char* mask, const char* gateway, bool verbose);
// The interface's MAC into `out` (6); 0 on success, 1 on failure (`out`
// zeroed unless null).
int GetMacBytesFromIoctl(unsigned char* out /* 6 */, const char* name);
// "xx:xx:xx:xx:xx:xx" into `out` (18); the length written, 0 for null input.
int GetMacStringFromBytes(char* out /* 18 */, const unsigned char* bytes /* 6 */);
// The interface's MAC as text into `out` (18); 0 on success, 1 on failure.
int GetMacStringFromIoctl(char* out /* 18 */, const char* name);
// The netmask of `bits` leading ones as text into `out` (16) ("0.0.0.0"
// outside 1..32); the length written, 0 for a null `out`.
int GetMaskFromNumBits(char* out /* 16 */, int bits);
// "a.b.c.d" into `out` (16); the length written, 0 for null input.
int CreateIpStringFromBytes(char* out /* 16 */, const unsigned char* bytes /* 4 */);
// How often `c` occurs in `text` (0 for null).
int CountChars(char c, const char* text);
