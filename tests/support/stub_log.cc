// Stub log reader: undoes the stub's quoting (\\ \" \n \t \r \xNN) line by line.
#include "support/stub_log.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "support/daemon_harness.h"

namespace camrcd {
namespace {

std::vector<std::string> read_lines(const std::string& path) {
  std::vector<std::string> lines = split(read_file(path), "\n");
  lines.pop_back();  // what follows the last newline
  return lines;
}

// The program, then per argument a blank and the argument in double quotes.
bool parse_stub_call(const std::string& line, StubCall* call) {
  size_t at = line.find(' ');
  *call = StubCall{line.substr(0, at), {}};
  for (; at < line.size(); ++at) {  // at: the blank before an argument, then its end quote
    if (line.compare(at, 2, " \"") != 0)
      return false;
    std::string argument;
    for (at += 2; at < line.size() && line[at] != '"'; ++at) {
      char c = line[at];
      if (c == '\\' && ++at < line.size()) {
        size_t letter = std::string("ntrx").find(line[at]);
        c = letter == 3 ? static_cast<char>(std::stoi(line.substr(at + 1, 2), nullptr, 16))
            : letter != std::string::npos ? "\n\t\r"[letter]
                                          : line[at];
        at += letter == 3 ? 2 : 0;
      }
      argument.push_back(c);
    }
    if (at >= line.size())
      return false;
    call->args.push_back(argument);
  }
  return !call->program.empty();
}

}  // namespace

bool install_stub(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
  return std::filesystem::copy_file(CAMRCD_BINARY_DIR "/camstub", path,
                                    std::filesystem::copy_options::overwrite_existing, error) &&
         chmod(path.c_str(), 0755) == 0;
}

std::vector<StubCall> read_stub_calls(const std::string& root) {
  std::vector<StubCall> calls;
  for (const std::string& line : read_lines(root + "/stub.log")) {
    calls.emplace_back();
    if (!parse_stub_call(line, &calls.back()))
      calls.back() = StubCall{"<malformed> " + line, {}};
  }
  return calls;
}

std::vector<StubCall> wait_for_stub_calls(const std::string& root, size_t count, int timeout_ms) {
  std::vector<StubCall> calls;
  wait_until(timeout_ms, [&] { return (calls = read_stub_calls(root)).size() >= count; });
  return calls;
}

std::vector<StubDescriptors> read_stub_descriptors(const std::string& root) {
  std::vector<StubDescriptors> result;
  for (const std::string& line : read_lines(root + "/stub-fds.log")) {
    std::istringstream words(line);
    result.emplace_back();
    words >> result.back().program;
    for (int descriptor; words >> descriptor;)
      result.back().descriptors.push_back(descriptor);
  }
  return result;
}

void clear_stub_logs(const std::string& root) {
  unlink((root + "/stub.log").c_str());
  unlink((root + "/stub-fds.log").c_str());
}

}  // namespace camrcd
