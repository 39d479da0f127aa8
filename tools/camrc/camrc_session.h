// camrc's conversation with the daemon: connect, greeting and login, requests and their
// replies, and the clean end of a connection with a close request. Each failure
// becomes camrc's exit status, after a one-line message on standard error.
//
// Two behaviours of the daemon shape it. Once a video, MPEG or JPEG write has restarted
// its streams, the daemon ends every connection after one request until it is itself
// restarted: the session learns this when a connection that has served a request ends
// before the next reply, says so once, and from then on opens a fresh connection per
// request. And the daemon serves five clients at once: it logs a sixth in, then closes
// the connection before its first request. So a fresh connection that ends before its
// first reply means five clients, and a write (which has no reply) is only ever sent as
// the first request of a fresh connection, whose close request then shows whether the
// write was served.
#ifndef CAMRCD_TOOLS_CAMRC_CAMRC_SESSION_H_
#define CAMRCD_TOOLS_CAMRC_CAMRC_SESSION_H_

#include <stdint.h>

#include <vector>

#include "client/client_request.h"
#include "client/client_socket.h"

namespace camrcd {

// camrc's exit statuses.
enum CamrcStatus : int {
  kCamrcOk = 0,
  kCamrcUsage = 2,
  kCamrcUnreachable = 3,   // connection refused or host unreachable
  kCamrcLoginRefused = 4,  // the login was refused; the reason is printed
  kCamrcEnded = 5,         // the server ended the connection before serving the request
  kCamrcBadReply = 6,      // a reply that is not one, or none in time
  kCamrcNotServed = 7,     // the camera's device type does not serve the command
};

struct SessionTarget {
  const char* host;
  uint16_t port;
  const char* user;
  const char* password;
};

struct Session {
  SessionTarget target;
  int socket = -1;
  int served = 0;            // requests the open connection has served
  bool one_request = false;  // the daemon ends every connection after one request
  bool noted = false;        // camrc has said so
};

// Sends a read request and reads its reply, reconnecting once when the daemon has
// ended a connection that already served a request. kCamrcOk, or the exit status
// after printing why ("camrc: <what>: ...").
int session_read(Session* session, const RequestHeader& request, Reply* reply, const char* what,
                 int timeout_ms = kClientTimeoutMs);

// Sends a write request (and its payload) as the first request of a fresh connection,
// then a close request. kCamrcOk when the close reply came, or when the connection
// ended because the daemon restarts its streams (after this write, when
// restarts_streams, or since an earlier one); kCamrcEnded when the daemon served five
// clients; kCamrcBadReply for a wrong answer or none in time.
int session_write(Session* session, const RequestHeader& request,
                  const std::vector<uint8_t>& payload, bool restarts_streams);

// Ends the open connection, if any, with a close request and waits (bounded) for the
// daemon to close it, so that its user slot is free again.
void session_end(Session* session);

// Closes the open connection without a word to the daemon (it has closed it already).
void session_drop(Session* session);

}  // namespace camrcd

#endif  // CAMRCD_TOOLS_CAMRC_CAMRC_SESSION_H_
