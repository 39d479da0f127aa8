// The two socket operations of a connection, used by the request loop and by the
// authentication exchange. Results: 0 or the length on success, else a negative code.
#ifndef CAMRCD_PLATFORM_NET_IO_H_
#define CAMRCD_PLATFORM_NET_IO_H_

#include <stddef.h>
#include <stdint.h>

namespace camrcd {

// Result codes shared by the socket operations and the exchange.
inline constexpr int kResultRefused = -1;
inline constexpr int kResultReceiveFailed = -8;
inline constexpr int kResultWouldBlock = -20;
inline constexpr int kResultPeerGone = -30;
inline constexpr int kResultInterrupted = -31;
inline constexpr int kResultSendFailed = -32;

// One send call: 0 when it reports exactly `length` bytes sent; otherwise -30 for
// EPIPE, -31 for EINTR, -32 for anything else (a short send included). No retry.
int32_t net_send(int socket, const void* data, size_t length, int flags);

// Reads exactly `length` bytes, repeating the receive for the bytes still missing.
// EINTR repeats; EAGAIN gives -20; a closed peer gives -30; any other error -8.
// Returns `length` on success.
int32_t net_recv_all(int socket, void* data, size_t length, int flags);

// A point on the monotonic clock for net_recv_all_until, in milliseconds;
// kNoDeadline never comes.
inline constexpr int64_t kNoDeadline = 0;
int64_t net_deadline_in(int seconds);  // kNoDeadline when seconds is 0

// net_recv_all that also ends with -20 once `deadline` has passed before all bytes
// came. With kNoDeadline it is net_recv_all.
int32_t net_recv_all_until(int socket, void* data, size_t length, int flags, int64_t deadline);

}  // namespace camrcd

#endif  // CAMRCD_PLATFORM_NET_IO_H_
