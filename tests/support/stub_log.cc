// Stub log reader: undoes the stub's quoting (\\ \" \n \t \r \xNN) line by line.
#include "support/stub_log.h"

#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

namespace camrcd {
namespace {

int hex_value(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  if (c >= 'A' && c <= 'F')
    return c - 'A' + 10;
  return -1;
}

// Reads one quoted argument starting at line[*at] == '"'; advances past the quote.
bool parse_quoted(const std::string& line, size_t* at, std::string* out) {
  size_t i = *at + 1;
  out->clear();
  while (i < line.size() && line[i] != '"') {
    char c = line[i++];
    if (c != '\\') {
      out->push_back(c);
      continue;
    }
    if (i >= line.size())
      return false;
    char kind = line[i++];
    switch (kind) {
      case '\\':
        out->push_back('\\');
        break;
      case '"':
        out->push_back('"');
        break;
      case 'n':
        out->push_back('\n');
        break;
      case 't':
        out->push_back('\t');
        break;
      case 'r':
        out->push_back('\r');
        break;
      case 'x': {
        if (i + 2 > line.size())
          return false;
        int high = hex_value(line[i]), low = hex_value(line[i + 1]);
        if (high < 0 || low < 0)
          return false;
        out->push_back(static_cast<char>(high * 16 + low));
        i += 2;
        break;
      }
      default:
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

void make_directories(const std::string& path) {
  for (size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    mkdir(path.substr(0, slash).c_str(), 0755);
  }
}

}  // namespace

std::string stub_binary_path() {
  return std::string(CAMRCD_BINARY_DIR) + "/camstub";
}

bool install_stub(const std::string& path) {
  make_directories(path);
  std::ifstream in(stub_binary_path(), std::ios::binary);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (!in || !out)
    return false;
  out << in.rdbuf();
  out.close();
  return out.good() && chmod(path.c_str(), 0755) == 0;
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
