// End-to-end requests to a pan/tilt camera through the real daemon, scripted in
// data/ptz_cases.txt (its header describes the directives): the four sectioned files
// as loads and saves leave them, the replies, the pan/tilt and gpio programs run with
// their arguments, the local notices on 127.0.0.1:1630 byte for byte, bad files and
// selectors. Then presets stored by one connection while another reads them. The
// scripted test listens on the notice port: ctest runs it under the lock notice_port.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "client/client_request.h"
#include "protocol/wire_text.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

// A block line's text with its escapes: \xNN a byte, {N*TEXT} TEXT N times (\n in
// TEXT a line feed), {root} the sandbox root.
std::string expand(std::string text, const std::string& root) {
  text = expand_escapes(text, root);
  for (size_t at = text.find('{'); at != std::string::npos; at = text.find('{', at + 1)) {
    size_t star = text.find('*', at), close = text.find('}', at);
    if (star == std::string::npos || close == std::string::npos || star > close)
      continue;
    std::string unit = text.substr(star + 1, close - star - 1), repeated;
    for (size_t n; (n = unit.find("\\n")) != std::string::npos;)
      unit.replace(n, 2, "\n");
    for (int i = std::stoi(text.substr(at + 1, star - at - 1)); i > 0; --i)
      repeated += unit;
    text.replace(at, close + 1 - at, repeated);
    at += repeated.size() - 1;
  }
  return text;
}

// Every notice waiting now, in hex.
std::vector<std::string> drain(int listener) {
  std::vector<std::string> notices;
  uint8_t bytes[64];
  for (ssize_t size; (size = recv(listener, bytes, sizeof bytes, MSG_DONTWAIT)) >= 0;)
    notices.push_back(to_hex(bytes, static_cast<size_t>(size)));
  return notices;
}

// Whether the expected notices arrive in order (a motion read's follows its reply),
// waiting for them if need be. Other programs on a shared machine may send to the
// port too, so notices between the expected ones are let pass.
bool notices_arrive(int listener, const std::vector<std::string>& expected,
                    std::vector<std::string>* received) {
  return wait_until(kDaemonWaitMs, [&] {
    for (const std::string& notice : drain(listener))
      received->push_back(notice);
    size_t found = 0;
    for (size_t i = 0; i < received->size() && found < expected.size(); ++i)
      found += (*received)[i] == expected[found] ? 1 : 0;
    return found == expected.size();
  });
}

struct Script {
  std::unique_ptr<DaemonHarness> daemon;
  int socket = -1;
  int listener = -1;
  Reply reply = {};
  size_t output_seen = 0;  // daemon output already checked by "printed"
  std::map<std::string, std::string> put;

  std::string path(const std::string& file) const {
    return file[0] == '/' ? daemon->root() + file : daemon->web_path(file);
  }
  void end_case() {
    if (daemon == nullptr)
      return;
    Reply info;  // the daemon still serves
    EXPECT_GT(request_info(socket, &info), 32) << daemon->output();
    close(socket);
    daemon.reset();
  }
  void start_case() {
    end_case();
    daemon = std::make_unique<DaemonHarness>(DaemonOptions{2});
    ASSERT_TRUE(daemon->ok()) << daemon->error();
    socket = daemon->login_client();
    ASSERT_GE(socket, 0);
    // The accept loop announces its next wait after this connection's: let it print
    // before what is printed from here on is checked.
    wait_until(kDaemonWaitMs, [&] { return daemon->count_in_output("==Accept wait!!!") >= 2; });
    output_seen = daemon->output().size();
    put.clear();
    clear_stub_logs(daemon->root());
    drain(listener);
  }
  // Sends "NAME BYTES [+map=FILL[,bad]]"; a read's reply is kept, a write is followed
  // by a device information request (its reply means the write is done).
  void send(const std::string& line) {
    size_t map = line.find(" +map=");
    std::vector<uint8_t> payload;
    if (map != std::string::npos) {
      payload.assign(4801, static_cast<uint8_t>(std::stoi(line.substr(map + 6), nullptr, 0)));
      payload[0] = 'P';
      payload.push_back(line.find(",bad", map) == std::string::npos ? 0x55 : 0);
      payload.push_back(0xAA);
    }
    std::string request = line.substr(0, map);
    ASSERT_EQ(0, send_named(socket, request, payload)) << request;
    const MessageTable* table = find_request_named(request.substr(0, request.find(' ')).c_str());
    Reply sync;
    bool answered = table->answer != MessageId::kCount;
    ASSERT_GT(answered ? read_reply(socket, &reply) : request_info(socket, &sync), 0)
        << request << "\n"
        << daemon->output();
  }
  // What was printed since the last check, but the request lines.
  std::string printed_since() {
    std::string output = daemon->output(), printed;
    for (const std::string& line : split(output.substr(output_seen), "\n")) {
      if (!line.empty() && line.find(" Ver ") == std::string::npos)
        printed += line + "\n";
    }
    output_seen = output.size();
    return printed;
  }
};

TEST(EndToEndPtzCamera, ScriptedCasesWithTheNoticePort) {
  Script run;
  run.listener = bind_notice_port();
  ASSERT_GE(run.listener, 0) << "UDP 127.0.0.1:1630"
                             << " is held by another process; this test needs it";
  std::ifstream data(CAMRCD_SOURCE_DIR "/tests/control/data/ptz_cases.txt");
  std::string line, name;
  int cases = 0;
  for (int number = 1; std::getline(data, line); ++number) {
    std::vector<std::string> lines;  // the block's lines, escapes not yet expanded
    std::string block = read_block(data, &number, &lines);
    SCOPED_TRACE(name + ", line " + std::to_string(number));
    std::istringstream words(line);
    std::string directive, argument;
    words >> directive;
    std::getline(words >> std::ws, argument);
    if (directive == "case") {
      name = argument;
      run.start_case();
      ++cases;
    }
    if (directive.empty() || directive[0] == '#' || directive == "case")
      continue;
    ASSERT_NE(run.daemon, nullptr) << "no case yet";
    const std::string& root = run.daemon->root();
    block = expand(block, root);
    std::string file = argument.substr(0, argument.find(' '));
    if (directive == "put" || directive == "script") {
      ASSERT_TRUE(write_text_file(run.path(file), run.put[file] = block)) << file;
      chmod(run.path(file).c_str(), directive == "script" ? 0755 : 0644);
    } else if (directive == "remove") {
      std::filesystem::remove(run.path(file));
    } else if (directive == "mkdir") {
      std::filesystem::remove(run.path(file));
      ASSERT_EQ(0, mkdir(run.path(file).c_str(), 0755)) << file;
    } else if (directive == "send") {
      run.send(expand(argument, root));
    } else if (directive == "reply") {
      expect_runs(run.reply, byte_runs(argument.c_str()), line);
    } else if (directive == "length") {
      EXPECT_EQ(std::to_string(run.reply.length), argument);
    } else if (directive == "reply-hex") {
      // {connect}, then {port}: the ports, little-endian.
      for (int port : {run.daemon->port() - 1, run.daemon->port() + 0}) {
        const uint8_t little_endian[2] = {static_cast<uint8_t>(port),
                                          static_cast<uint8_t>(port >> 8)};
        size_t at = argument.find('{');
        argument.replace(at, argument.find('}', at) + 1 - at, to_hex(little_endian, 2));
      }
      EXPECT_EQ(to_hex(run.reply.bytes, run.reply.length), argument);
    } else if (directive == "file") {
      std::string how = argument.substr(file.size());
      bool exists = std::filesystem::is_regular_file(run.path(file));
      std::string text = exists ? read_file(run.path(file)) : "<missing>";
      EXPECT_EQ(text, how == " same" ? run.put[file] : how == " missing" ? "<missing>" : block);
    } else if (directive == "printed") {
      EXPECT_EQ(run.printed_since(), block);
    } else if (directive == "calls") {
      std::string expected;
      for (const std::string& call : lines)
        expected += (expected.empty() ? "" : "; ") + expand(call, root);
      EXPECT_EQ(stub_calls_text(root, expected), expected);
      clear_stub_logs(root);
    } else if (directive == "args") {
      std::vector<StubCall> calls = wait_for_stub_calls(root, 1, kDaemonWaitMs);
      ASSERT_EQ(1u, calls.size());
      std::vector<std::string> expected;
      for (const std::string& argument : lines)
        expected.push_back(expand(argument, root));
      EXPECT_EQ(calls[0].args, expected);
      clear_stub_logs(root);
    } else if (directive == "notices") {
      std::vector<std::string> expected;
      for (const std::string& notice : lines)
        expected.push_back(notice + std::string(64 - notice.size(), '0'));
      std::vector<std::string> received;
      EXPECT_TRUE(notices_arrive(run.listener, expected, &received))
          << testing::PrintToString(received);
    } else {
      FAIL() << "unknown directive " << directive;
    }
  }
  run.end_case();
  close(run.listener);
  EXPECT_EQ(cases, 19);
}

// One connection stores presets 1 to 8 again and again while another reads them: each
// reply must name the preset it was asked for, with that preset's stored fields (its
// number as dwell and group, "p" and its number as name, read back with its line end).
TEST(EndToEndPtzConcurrency, PresetRepliesNameTheReadPresetWhileAnotherConnectionStores) {
  DaemonHarness daemon(DaemonOptions{2});
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int writer = daemon.login_client();
  int reader = daemon.login_client();
  ASSERT_TRUE(writer >= 0 && reader >= 0);
  auto store = [&](uint8_t preset) {  // number as dwell and group, "p" and it as name
    std::string p = std::to_string(preset);
    Reply reply;  // the device information reply paces the writes
    return send_named(writer,
                      "preset 10=2 11=" + p + " 12=" + p + " 13=" + p + " 14='p" + p + "'") == 0 &&
           request_info(writer, &reply) > 0;
  };
  for (uint8_t preset = 1; preset <= 8; ++preset)
    ASSERT_TRUE(store(preset));
  std::atomic<bool> stop(false);
  std::thread storing([&] {
    for (uint8_t preset = 1; !stop; preset = preset % 8 + 1)
      if (!store(preset))
        break;
  });
  int reads = 0, mixed = 0;
  for (; reads < 24; ++reads) {
    uint8_t preset = static_cast<uint8_t>(1 + reads % 8);
    Reply reply;
    ASSERT_EQ(0, send_named(reader, "preset-read 8=" + std::to_string(preset)));
    ASSERT_EQ(32, read_reply(reader, &reply));
    std::string name(reinterpret_cast<const char*>(reply.bytes + 20), 10);
    bool whole = reply.bytes[16] == 2 && reply.bytes[17] == preset && reply.bytes[18] == preset &&
                 reply.bytes[19] == preset && name.c_str() == "p" + std::to_string(preset) + "\n";
    mixed += whole ? 0 : 1;
  }
  stop = true;
  storing.join();
  EXPECT_EQ(0, mixed) << "of " << reads << " replies";
  EXPECT_TRUE(close_served(writer) && close_served(reader));
  close(writer);
  close(reader);
}

}  // namespace
}  // namespace camrcd
