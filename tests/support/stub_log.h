// Reading the logs of the stub camera program (tools/camstub.cc) in a test root:
// stub.log holds one call per line (program base name, then each argument quoted and
// C-escaped), stub-fds.log one line per call with the descriptors the stub found open.
#ifndef CAMRCD_SUPPORT_STUB_LOG_H_
#define CAMRCD_SUPPORT_STUB_LOG_H_

#include <stddef.h>

#include <string>
#include <vector>

namespace camrcd {

// One program call as the stub saw it; args are unescaped, exactly as received. A line
// that does not parse becomes a call of program "<malformed> LINE" without arguments.
struct StubCall {
  std::string program;
  std::vector<std::string> args;
};

// One stub-fds.log line: the program and the descriptors it had open, ascending.
struct StubDescriptors {
  std::string program;
  std::vector<int> descriptors;
};

// Copies the built stub binary to path (mode 0755), creating the missing directories.
bool install_stub(const std::string& path);

// All calls of root/stub.log in file order (empty when the file is missing).
std::vector<StubCall> read_stub_calls(const std::string& root);

// Polls root/stub.log until it holds at least count calls or timeout_ms passed
// (for programs started in the background); returns what it holds then.
std::vector<StubCall> wait_for_stub_calls(const std::string& root, size_t count, int timeout_ms);

// All lines of root/stub-fds.log in file order.
std::vector<StubDescriptors> read_stub_descriptors(const std::string& root);

// Removes root/stub.log and root/stub-fds.log.
void clear_stub_logs(const std::string& root);

}  // namespace camrcd

#endif  // CAMRCD_SUPPORT_STUB_LOG_H_
