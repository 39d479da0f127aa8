// Session steps of camrc and the mapping of their failures onto exit statuses.
#include "camrc_session.h"

#include <unistd.h>

#include "client/client_login.h"
#include "client/reply_fields.h"
#include "platform/console.h"
#include "platform/net_io.h"

namespace camrcd {

namespace {

// The server may run camera programs before it reads the close request that follows
// a write (a video restart pauses for a second or more).
constexpr int kWriteSettleMs = 10000;
// How long the daemon may take to close a connection after its close reply.
constexpr int kCloseWaitMs = 2000;

// The reason the answer (a refusal) or the verdict gives.
const char* login_reason(const LoginResult& result) {
  uint16_t type = result.outcome == kLoginRefused ? kAuthTypeAnswer : kAuthTypeVerdict;
  const char* reason = login_status_reason(type, result.status);
  return reason != nullptr ? reason : "unknown status";
}

bool is_close_reply(const Reply& reply) {
  DecodedReply fields;
  return decode_reply(reply.bytes, reply.length, &fields, MessageId::kCloseReply) == 0;
}

// The exit status for a failed send or receive (a negative socket code or
// kClientBadReply), after printing "camrc: <what>: <why>".
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

int five_clients() {
  console_error(
      "camrc: the camera already serves five clients: the daemon closed the connection after "
      "the login\n");
  return kCamrcEnded;
}

void note_one_request(Session* s) {
  s->one_request = true;
  if (!s->noted)
    console_error(
        "camrc: note: the daemon ends every connection after one request: it does so after a "
        "video, MPEG or JPEG write, until it is restarted\n");
  s->noted = true;
}

// Connects, reads the greeting and logs in. kCamrcOk with the socket open, or the exit
// status after printing why.
int session_open(Session* s) {
  const SessionTarget& target = s->target;
  s->served = 0;
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
  s->socket = fd;
  return kCamrcOk;
}

// Sends the close request and reads its reply: 0 when it came, else the failure code.
int32_t send_close(int socket) {
  Reply reply;
  int32_t code = send_request(socket, make_request(MessageId::kCloseRequest));
  if (code == 0)
    code = read_reply(socket, &reply);
  if (code >= 0 && !is_close_reply(reply))
    code = kClientBadReply;
  if (code >= 0)
    client_wait_closed(socket, kCloseWaitMs);
  return code >= 0 ? 0 : code;
}

}  // namespace

void session_drop(Session* s) {
  if (s->socket >= 0)
    close(s->socket);
  s->socket = -1;
  s->served = 0;
}

void session_end(Session* s) {
  if (s->socket < 0)
    return;
  int32_t code = send_close(s->socket);
  if (code != 0 && code != kResultWouldBlock && code != kClientBadReply && s->served > 0)
    note_one_request(s);
  session_drop(s);
}

int session_read(Session* s, const RequestHeader& request, Reply* reply, const char* what,
                 int timeout_ms) {
  for (;;) {
    if (s->socket < 0) {
      int status = session_open(s);
      if (status != kCamrcOk)
        return status;
    }
    client_set_timeout(s->socket, timeout_ms);
    int32_t code = send_request(s->socket, request);
    if (code == 0)
      code = read_reply(s->socket, reply);
    if (code >= 0) {
      s->served++;
      if (s->one_request)
        session_drop(s);
      return kCamrcOk;
    }
    bool fresh = s->served == 0;
    session_drop(s);
    if (code == kResultWouldBlock || code == kClientBadReply)
      return session_failure(code, what);
    if (fresh)
      return five_clients();
    note_one_request(s);  // the daemon ended the connection after its last request
  }
}

int session_write(Session* s, const RequestHeader& request, const std::vector<uint8_t>& payload,
                  bool restarts_streams) {
  session_end(s);  // learns whether the daemon ends connections after one request
  int status = session_open(s);
  if (status != kCamrcOk)
    return status;
  client_set_timeout(s->socket, kWriteSettleMs);
  int32_t sent = send_request(s->socket, request, payload.data(), payload.size());
  int32_t code = sent == 0 ? send_close(s->socket) : sent;
  session_drop(s);
  if (code == 0)
    return kCamrcOk;
  if (code == kResultWouldBlock || code == kClientBadReply)
    return session_failure(code, "close");
  if (sent == 0 && restarts_streams) {
    console_error(
        "camrc: the daemon restarts its streams after this write: until it is restarted, it "
        "ends every connection after one request\n");
    return kCamrcOk;
  }
  if (sent == 0 && s->one_request)
    return kCamrcOk;  // served; the note has been printed
  console_error(
      "camrc: the camera already serves five clients: the daemon closed the connection without "
      "serving the write\n");
  return kCamrcEnded;
}

}  // namespace camrcd
