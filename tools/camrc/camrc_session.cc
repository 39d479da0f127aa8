// Session steps of camrc and the mapping of their failures onto exit statuses.
#include "camrc_session.h"

#include <unistd.h>

#include "client/client_login.h"
#include "client/client_socket.h"
#include "control/net_io.h"
#include "platform/console.h"

namespace camrcd {

namespace {

// The server may run camera programs before it reads the close request that follows
// a write (a video restart pauses for a second or more).
constexpr int kWriteSettleMs = 10000;

struct LoginReason {
  LoginOutcome outcome;
  uint32_t status;
  const char* reason;
};

const LoginReason kLoginReasons[] = {
    {kLoginRefused, kAuthStatusNoSuchUser, "no such user"},
    {kLoginRefused, kAuthStatusUserListUnreadable, "user list unreadable"},
    {kLoginRefused, kAuthStatusRightsRefused, "the user's rights refuse this service"},
    {kLoginRejected, kAuthStatusWrongResponse, "wrong password"},
    {kLoginRejected, kAuthStatusMalformedResponse, "malformed response"},
};

const char* login_reason(const LoginResult& result) {
  for (const LoginReason& row : kLoginReasons) {
    if (row.outcome == result.outcome && row.status == result.status)
      return row.reason;
  }
  return "unknown status";
}

bool is_close_reply(const Reply& reply) {
  return reply.length == kReplyHeaderSize && reply.bytes[kReplySub] == kReplyClose;
}

}  // namespace

int session_failure(int32_t code, const char* what) {
  if (code == kResultWouldBlock) {
    console_error("camrc: %s: no answer in time\n", what);
    return kCamrcBadReply;
  }
  if (code == kClientBadReply || code == kClientBadGreeting) {
    console_error("camrc: %s: not a reply of this protocol\n", what);
    return kCamrcBadReply;
  }
  console_error("camrc: %s: the server ended the connection\n", what);
  return kCamrcEnded;
}

int open_session(const SessionTarget& target, int* socket) {
  int fd = client_connect(target.host, target.port);
  if (fd < 0) {
    console_error("camrc: cannot connect to %s port %u: refused or unreachable\n", target.host,
                  target.port);
    return kCamrcUnreachable;
  }
  int32_t code = client_read_greeting(fd);
  if (code != 0) {
    close(fd);
    return session_failure(code, "greeting");
  }
  LoginResult login = client_login(fd, target.user, target.password);
  if (login.outcome == kLoginEnded) {
    close(fd);
    return session_failure(login.code, "login");
  }
  if (login.outcome != kLoginLoggedIn) {
    close(fd);
    console_error("camrc: login refused: %s (status %u)\n", login_reason(login), login.status);
    return kCamrcLoginRefused;
  }
  *socket = fd;
  return kCamrcOk;
}

int receive_reply(int socket, Reply* reply, const char* what) {
  int32_t got = read_reply(socket, reply);
  return got < 0 ? session_failure(got, what) : kCamrcOk;
}

int finish_after_write(int socket) {
  Reply reply;
  int32_t code = send_request(socket, make_request(kClassInformation, kSubClose));
  if (code == 0) {
    client_set_timeout(socket, kWriteSettleMs);
    code = read_reply(socket, &reply);
  }
  if (code == kResultWouldBlock || code == kClientBadReply)
    return session_failure(code, "close");
  if (code < 0) {
    console_error(
        "camrc: the server ended the connection after the write (it does so after a video, "
        "MPEG or JPEG write)\n");
    return kCamrcOk;
  }
  if (!is_close_reply(reply)) {
    console_error("camrc: close: the answer is not the close reply\n");
    return kCamrcBadReply;
  }
  return kCamrcOk;
}

void finish_after_read(int socket) {
  Reply reply;
  if (send_request(socket, make_request(kClassInformation, kSubClose)) == 0)
    read_reply(socket, &reply);
}

}  // namespace camrcd
