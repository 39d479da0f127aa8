// Request building, exchanges, file texts and stub-log words of the end-to-end
// request tests.
#include "support/e2e_requests.h"

#include <string.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "support/stub_log.h"

namespace camrcd {

std::string bytes(std::initializer_list<int> values) {
  std::string out;
  for (int value : values)
    out.push_back(static_cast<char>(value));
  return out;
}

std::string text_field(const char* text, size_t width) {
  std::string out(text, strnlen(text, width));
  out.resize(width, '\0');
  return out;
}

RequestHeader make_patched_request(uint8_t command_class, uint8_t sub, const BytePatches& fields) {
  RequestHeader request = make_request(command_class, sub);
  for (const BytePatch& patch : fields) {
    for (size_t i = 0; i < patch.bytes.size(); i++)
      request_set_byte(&request, patch.at + i, static_cast<uint8_t>(patch.bytes[i]));
  }
  return request;
}

std::string reply_bytes(const Reply& reply) {
  return std::string(reinterpret_cast<const char*>(reply.bytes), reply.length);
}

std::string patched_reply(const Reply& reply, const BytePatches& patches) {
  std::string out = reply_bytes(reply);
  for (const BytePatch& patch : patches)
    out.replace(patch.at, patch.bytes.size(), patch.bytes);
  return out;
}

std::string byte_differences(const std::string& expected, const std::string& actual) {
  if (expected.size() != actual.size())
    return "length " + std::to_string(expected.size()) + ", not " + std::to_string(actual.size());
  std::string out;
  for (size_t i = 0; i < expected.size(); i++) {
    if (expected[i] != actual[i]) {
      out += "byte " + std::to_string(i) + ": " +
             std::to_string(static_cast<uint8_t>(expected[i])) + ", not " +
             std::to_string(static_cast<uint8_t>(actual[i])) + "; ";
    }
  }
  return out;
}

bool exchange(int socket, const RequestHeader& request, Reply* reply) {
  return send_request(socket, request) == 0 && read_reply(socket, reply) > 0;
}

bool record_view(int socket, Reply* reply) {
  return exchange(socket, make_reload_request(0), reply);
}

std::string file_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

bool file_exists(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0;
}

std::string with_lines(const std::string& base, const LineEdits& edits) {
  std::string out = "\n" + base;
  for (const auto& edit : edits) {
    size_t at = out.find("\n" + edit.first + "\n");
    if (at == std::string::npos) {
      out += "<no line: " + edit.first + ">";
      continue;
    }
    out.replace(at + 1, edit.first.size(), edit.second);
  }
  return out.substr(1);
}

std::vector<CallWords> stub_call_words(const std::string& root, size_t count, int timeout_ms) {
  std::vector<CallWords> calls;
  for (const StubCall& call : wait_for_stub_calls(root, count, timeout_ms)) {
    CallWords words = {call.program};
    words.insert(words.end(), call.args.begin(), call.args.end());
    calls.push_back(words);
  }
  return calls;
}

}  // namespace camrcd
