// The connection thread: greets the client, admits it against the limit of five
// counted users, runs the authentication exchange and then the request loop. It
// owns its socket and its connection buffer and releases both, and its user slot,
// on every path.
#ifndef CAMRCD_CONTROL_CONNECTION_H_
#define CAMRCD_CONTROL_CONNECTION_H_

#include <stdint.h>

namespace camrcd {

// Most users served at once; a further client is authenticated, then closed.
inline constexpr int kUserLimit = 5;

// Thread entry: `arg` is the accepted descriptor itself (an intptr_t value). The
// thread detaches itself, serves the connection and ends.
void* connection_thread(void* arg);

// Serves one connection on the calling thread, from the greeting to the close
// (shutdown and close of `socket` included).
void serve_connection(int socket);

// The request loop of a logged-in connection: reads request headers from `socket` and
// executes them until one ends the connection; the caller then closes it. `buffer` is
// the connection buffer (kConnectionBufferSize bytes).
void serve_requests(int socket, uint8_t* buffer);

}  // namespace camrcd

#endif  // CAMRCD_CONTROL_CONNECTION_H_
