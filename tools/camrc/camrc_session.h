// camrc's connection: connect, greeting and login, each failure turned into camrc's
// exit status with a one-line message on standard error; and the clean end of a
// connection with a close request.
#ifndef CAMRCD_TOOLS_CAMRC_CAMRC_SESSION_H_
#define CAMRCD_TOOLS_CAMRC_CAMRC_SESSION_H_

#include <stdint.h>

#include "client/client_request.h"

namespace camrcd {

// camrc's exit statuses.
enum CamrcStatus : int {
  kCamrcOk = 0,
  kCamrcUsage = 2,
  kCamrcUnreachable = 3,   // connection refused or host unreachable
  kCamrcLoginRefused = 4,  // the login was refused; the reason is printed
  kCamrcEnded = 5,         // the server ended the connection before its reply
  kCamrcBadReply = 6,      // a reply that is not one, or none in time
};

struct SessionTarget {
  const char* host;
  uint16_t port;
  const char* user;
  const char* password;
};

// Connects, reads the greeting and logs in. kCamrcOk with *socket set, or the exit
// status after printing why.
int open_session(const SessionTarget& target, int* socket);

// The exit status for a failed send or receive (a negative socket code or
// kClientBadReply), after printing "camrc: <what>: <why>".
int session_failure(int32_t code, const char* what);

// Reads one reply: kCamrcOk, or the failure's exit status after its message.
int receive_reply(int socket, Reply* reply, const char* what);

// Ends the connection cleanly after a write: a close request and its reply. When the
// server has already ended the connection, says so and gives kCamrcOk (a write is
// not answered). A reply that is not the close reply gives kCamrcBadReply.
int finish_after_write(int socket);

// Ends the connection after a read: a close request, its reply if any; never fails.
void finish_after_read(int socket);

}  // namespace camrcd

#endif  // CAMRCD_TOOLS_CAMRC_CAMRC_SESSION_H_
