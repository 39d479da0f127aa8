// The connection thread: greets the client, admits it against the limit of five
// counted users, runs the authentication exchange and then the request loop. It
// owns its socket and its connection buffer and releases both, and its user slot,
// on every path.
#ifndef CAMRCD_CONTROL_CONNECTION_H_
#define CAMRCD_CONTROL_CONNECTION_H_

namespace camrcd {

// Most users served at once; a further client is authenticated, then closed.
inline constexpr int kUserLimit = 5;

// Thread entry: `arg` is the accepted descriptor itself (an intptr_t value). The
// thread detaches itself, serves the connection and ends.
void* connection_thread(void* arg);

// Serves one connection on the calling thread, from the greeting to the close
// (shutdown and close of `socket` included).
void serve_connection(int socket);

}  // namespace camrcd

#endif  // CAMRCD_CONTROL_CONNECTION_H_
