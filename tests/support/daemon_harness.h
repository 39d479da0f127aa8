// Runs the real daemon for end-to-end tests in a sandbox camera root (tools/make-sandbox,
// a fresh temporary directory kept when CAMRCD_KEEP_SANDBOX is set) with CAMRCD_ROOT set
// and the sandbox's bin first in PATH; output goes to files; the destructor kills and
// reaps it. Also the client moves the end-to-end tests share and the stub logs. Every wait is
// bounded.
#ifndef CAMRCD_SUPPORT_DAEMON_HARNESS_H_
#define CAMRCD_SUPPORT_DAEMON_HARNESS_H_

#include <stdint.h>
#include <sys/types.h>

#include <functional>
#include <istream>
#include <string>
#include <utility>
#include <vector>

#include "client/client_request.h"
#include "client/client_socket.h"
#include "platform/dev_root.h"

namespace camrcd {

inline constexpr int kDaemonStartMs = 5000;
inline constexpr int kDaemonWaitMs = 3000;

struct DaemonOptions {
  explicit DaemonOptions(int type = 1) : camera_type(type) {}
  int camera_type;
  uint16_t port = 0;                   // where the daemon is to listen; 0 picks a free port
  bool port_file = true;               // false: no admin/stream_port_ch1.ls (port 9001)
  std::vector<std::string> arguments;  // after the program name
  // Edits of the sandbox before the start; receives the sandbox root.
  std::function<void(const std::string& root)> prepare;
  bool wait_for_listen = true;     // wait for "Control listen() started" at the start
  std::string program = "camrcd";  // the daemon: a program of the build directory
  int open_file_limit = 0;         // the daemon's descriptor limit; 0: inherited
};

class DaemonHarness {
 public:
  explicit DaemonHarness(const DaemonOptions& options = DaemonOptions());
  ~DaemonHarness();
  DaemonHarness(const DaemonHarness&) = delete;
  DaemonHarness& operator=(const DaemonHarness&) = delete;

  // True when the sandbox was made and the daemon started (and, when asked for,
  // announced its listener). On false, error() says why.
  bool ok() const { return ok_; }
  const std::string& error() const { return error_; }

  const std::string& root() const { return root_; }
  std::string web_path(const std::string& relative) const {
    return root_ + kWebRoot + "/" + relative;
  }
  uint16_t port() const { return port_; }  // where the daemon listens
  pid_t pid() const { return pid_; }

  std::string output() const;  // captured standard output and error so far
  std::string output_path() const { return root_ + "/daemon.out"; }
  size_t count_in_output(const std::string& text) const;

  // Waits for the daemon to end; true with its wait status when it did in time.
  bool wait_for_exit(int timeout_ms, int* status);

  // A connection whose greeting has been read, and one logged in as user; -1 on
  // failure. The caller closes them.
  int connect_client() const { return client_open("127.0.0.1", port_); }
  int login_client(const char* user = "demo", const char* password = "camera1") const;

  void stop();  // kills the daemon and reaps it

 private:
  bool launch(const DaemonOptions& options);  // makes the sandbox, starts the daemon

  bool ok_ = false;
  std::string error_;
  std::string root_;
  uint16_t port_ = 0;
  pid_t pid_ = -1;
};

// A socket listening on the wildcard address at *port (0: any, stored back), without
// SO_REUSEADDR; -1 when the port is taken. A TCP port on which nothing listens now.
int listening_socket(uint16_t* port);
uint16_t free_tcp_port();
// A UDP socket bound to 127.0.0.1:1630, where a pan/tilt daemon sends its local
// notices; -1 when another process holds the port.
int bind_notice_port();

// Starts argv[0] (a path) with stdin from /dev/null, stdout and stderr into the two
// files and no other descriptor. Its pid, or -1.
pid_t spawn_process(std::vector<std::string> argv, const std::string& out, const std::string& err);
// Runs it to its end: its exit status, or -1 when it did not exit normally.
int run_process(const std::vector<std::string>& argv, const std::string& out,
                const std::string& err);

// Milliseconds of a monotonic clock.
int64_t monotonic_ms();

// Polls done() every 5 ms until it is true (true) or timeout_ms passed (false).
bool wait_until(int timeout_ms, const std::function<bool()>& done);

// Writes text to path (replacing it); false on failure. Reads a whole file ("" when
// none). Splits text at every separator.
bool write_text_file(const std::string& path, const std::string& text);
std::string read_file(const std::string& path);
std::vector<std::string> split(const std::string& text, const std::string& separator);

// Bytes as lower-case hex digits, and back.
std::string to_hex(const uint8_t* bytes, size_t size);
std::vector<uint8_t> from_hex(const std::string& digits);

// The block after a directive line of a data file: the lines that follow, each marked
// '|' (ends with a line feed) or '~' (joins the next); *number counts them, and lines
// receives their texts without the mark. Then its escapes: \xNN a byte, {root} root.
std::string read_block(std::istream& in, int* number, std::vector<std::string>* lines = nullptr);
std::string expand_escapes(std::string text, const std::string& root);

// A fresh temporary development root (dev_root_init) holding the folders, named from
// its top ("/tmp"); "" on failure. remove_dev_root resets the root and removes it.
std::string make_dev_root(const std::vector<std::string>& folders);
void remove_dev_root(const std::string& root);

// A device information request served (a reply 0x01 with a good trailer), and a close
// request served (exactly the close reply, then the server closed the connection).
bool info_served(int socket);
bool close_served(int socket);
bool is_close_reply(const Reply& reply);  // length 32, 0x77 0x33 0x10 0xF1

// Bytes from offsets on, written "OFFSET=V,V OFFSET=V": values in C notation, or
// 'text' for its characters. "83='Lobby',0 104=2,0x12".
using ByteRuns = std::vector<std::pair<size_t, std::vector<uint8_t>>>;
ByteRuns byte_runs(const char* text);
// Each run equals the reply's bytes at its offset (a failure names label).
void expect_runs(const Reply& reply, const ByteRuns& runs, const std::string& label);

// Sends "NAME OFFSET=V ...": the request of that name (client_request.cc) with those
// bytes, then the payload. A device information request and its reply.
int32_t send_named(int socket, const std::string& request,
                   const std::vector<uint8_t>& payload = {});
int32_t request_info(int socket, Reply* reply);

// Sends bytes in pieces of the given sizes (the rest last), pausing pause_ms between.
bool send_in_pieces(int socket, const uint8_t* data, size_t length,
                    const std::vector<size_t>& pieces, int pause_ms);

// Waits until the daemon has finished with count connections (failed logins plus close
// sequences).
bool wait_for_ended(const DaemonHarness& daemon, size_t count, int timeout_ms = kDaemonWaitMs);

// The stub camera program's logs in a root (tools/camstub.cc): stub.log holds one call
// per line (program base name, then each argument quoted and C-escaped), stub-fds.log
// one line per call with the descriptors the stub found open.
// One program call as the stub saw it; args are unescaped, exactly as received. A line
// that does not parse becomes a call of program "<malformed> LINE" without arguments.
struct StubCall {
  std::string program;
  std::vector<std::string> args;
};

// One run of the built camrc: its exit status (-1 when it did not exit normally) and
// its output.
struct CamrcRun {
  int status = -1;
  std::string out, err;
};

// Runs the built camrc with the login options for port (none when login is empty),
// then args.
CamrcRun run_camrc(uint16_t port, const std::vector<std::string>& args,
                   const std::vector<std::string>& login = {"demo", "camera1"});

// The command that runs a built program of this tree: in a cross build the emulator's
// words come first (CAMRCD_EMULATOR), as the system cannot start a target program by
// itself. Empty when the program is not built for the machine these tests run on, so a
// host program in a target's tree (or the reverse) fails the test that would start it.
std::vector<std::string> target_command(const std::string& program);

// Puts the stub camera program at path (mode 0755), creating the missing directories:
// a copy of camstub, or in a cross build a script that runs camstub through the emulator
// under the name it was called by.
bool install_stub(const std::string& path);

// All calls of root/stub.log in file order (empty when the file is missing).
std::vector<StubCall> read_stub_calls(const std::string& root);

// Polls root/stub.log until it holds at least count calls or timeout_ms passed
// (for programs started in the background); returns what it holds then.
std::vector<StubCall> wait_for_stub_calls(const std::string& root, size_t count, int timeout_ms);

// The calls as "program arg ...; program ...", once as many as expected ran.
std::string stub_calls_text(const std::string& root, const std::string& expected,
                            int timeout_ms = kDaemonWaitMs);

// Removes root/stub.log and root/stub-fds.log.
void clear_stub_logs(const std::string& root);

}  // namespace camrcd

#endif  // CAMRCD_SUPPORT_DAEMON_HARNESS_H_
