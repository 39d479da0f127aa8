// Stub log reader: undoes the stub's quoting (\\ \" \n \t \r \xNN) line by line.
#include "support/stub_log.h"

#include <ctype.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace camrcd {
namespace {

// Reads one quoted argument starting at line[*at] == '"'; advances past the quote.
bool parse_quoted(const std::string& line, size_t* at, std::string* out) {
  static const char kEscapes[] = "\\\\\"\"n\nt\tr\r";  // pairs: the escape letter, its byte
  out->clear();
  size_t i = *at + 1;
  for (; i < line.size() && line[i] != '"'; ++i) {
    if (line[i] != '\\') {
      out->push_back(line[i]);
      continue;
    }
    if (++i >= line.size())
      return false;
    const char* pair = line[i] != '\0' ? strchr(kEscapes, line[i]) : nullptr;
    if (pair != nullptr && (pair - kEscapes) % 2 == 0) {
      out->push_back(pair[1]);
    } else if (line[i] == 'x' && i + 2 < line.size() && isxdigit(line[i + 1]) &&
               isxdigit(line[i + 2])) {
      out->push_back(static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16)));
      i += 2;
    } else {
      return false;
    }
  }
  if (i >= line.size())
    return false;
  *at = i + 1;
  return true;
}

std::vector<std::string> read_lines(const std::string& path) {
  std::vector<std::string> lines;
  std::ifstream in(path, std::ios::binary);
  for (std::string line; std::getline(in, line);)
    lines.push_back(line);
  return lines;
}

}  // namespace

std::string stub_binary_path() {
  return std::string(CAMRCD_BINARY_DIR) + "/camstub";
}

bool install_stub(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
  return std::filesystem::copy_file(stub_binary_path(), path,
                                    std::filesystem::copy_options::overwrite_existing, error) &&
         chmod(path.c_str(), 0755) == 0;
}

bool parse_stub_call(const std::string& line, StubCall* call) {
  size_t at = line.find(' ');
  call->program = line.substr(0, at);
  call->args.clear();
  if (call->program.empty())
    return false;
  while (at != std::string::npos && at < line.size()) {
    if (line[at] != ' ' || at + 1 >= line.size() || line[at + 1] != '"')
      return false;
    ++at;
    std::string argument;
    if (!parse_quoted(line, &at, &argument))
      return false;
    call->args.push_back(argument);
  }
  return true;
}

std::vector<StubCall> read_stub_calls(const std::string& root) {
  std::vector<StubCall> calls;
  for (const std::string& line : read_lines(root + "/stub.log")) {
    StubCall call;
    if (!parse_stub_call(line, &call))
      call = StubCall{"<malformed> " + line, {}};
    calls.push_back(call);
  }
  return calls;
}

std::vector<StubCall> wait_for_stub_calls(const std::string& root, size_t count, int timeout_ms) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  std::vector<StubCall> calls = read_stub_calls(root);
  while (calls.size() < count && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    calls = read_stub_calls(root);
  }
  return calls;
}

std::vector<StubDescriptors> read_stub_descriptors(const std::string& root) {
  std::vector<StubDescriptors> result;
  for (const std::string& line : read_lines(root + "/stub-fds.log")) {
    std::istringstream words(line);
    StubDescriptors entry;
    words >> entry.program;
    for (int descriptor; words >> descriptor;)
      entry.descriptors.push_back(descriptor);
    result.push_back(entry);
  }
  return result;
}

void clear_stub_logs(const std::string& root) {
  unlink((root + "/stub.log").c_str());
  unlink((root + "/stub-fds.log").c_str());
}

}  // namespace camrcd
