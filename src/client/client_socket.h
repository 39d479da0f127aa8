// The client's side of a control connection: connecting, the greeting, and whole
// sends and receives with a time limit, so that no caller waits for ever on a silent
// server. Results follow the socket operations' codes (platform/net_io.h); a receive
// that runs out of time gives kResultWouldBlock.
#ifndef CAMRCD_CLIENT_CLIENT_SOCKET_H_
#define CAMRCD_CLIENT_CLIENT_SOCKET_H_

#include <stddef.h>
#include <stdint.h>

namespace camrcd {

// Time limit of every send and receive of a client socket, unless set otherwise.
inline constexpr int kClientTimeoutMs = 3000;

// The greeting did not read "1000".
inline constexpr int kClientBadGreeting = -40;

// Opens a TCP connection (close-on-exec) to host:port; host is a name or a dotted
// IPv4 address. Connecting, sending and receiving are limited to timeout_ms each.
// Returns the socket, or -1 when no connection could be made.
int client_connect(const char* host, uint16_t port, int timeout_ms = kClientTimeoutMs);

// Sets the send and receive time limits of a socket. Returns 0, or -1 on failure.
int client_set_timeout(int socket, int timeout_ms);

// Sends all `length` bytes in one call without raising SIGPIPE: 0, or a negative code.
int32_t client_send(int socket, const void* data, size_t length);

// Receives exactly `length` bytes: `length`, or a negative code (-30 peer closed,
// -20 time limit reached, -8 other error).
int32_t client_recv(int socket, void* data, size_t length);

// Reads the 4-byte greeting: 0 when it is "1000", kClientBadGreeting when it is
// something else, or the receive's negative code.
int32_t client_read_greeting(int socket);

// connect + greeting. Returns the socket, or -1 (the socket is closed then).
int client_open(const char* host, uint16_t port, int timeout_ms = kClientTimeoutMs);

// True when the peer has closed the connection (a receive sees its end) within
// timeout_ms; bytes that arrive before the end are read and dropped.
bool client_wait_closed(int socket, int timeout_ms);

}  // namespace camrcd

#endif  // CAMRCD_CLIENT_CLIENT_SOCKET_H_
