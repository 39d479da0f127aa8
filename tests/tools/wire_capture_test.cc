// The generated dissector (build/camrcd.lua) under tshark: a real camrc session with a
// sandbox camera of each device type, captured by a recording relay, decodes with the
// values camrc sent and printed; malformed messages are marked, never a Lua error, and
// random bytes on the control port decode without one.
//
// CAMRCD_EXCHANGE_OUT=FILE makes the session test write its first connections (an info
// read, a picture write) as the exchange the protocol reference shows.
#include "support/wire_capture.h"

#include <ctype.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "protocol/wire_text.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

using Bytes = std::vector<uint8_t>;

const std::string kDissector = CAMRCD_BINARY_DIR "/camrcd.lua";
constexpr uint16_t kControlPort = 9001;
constexpr size_t kSegment = 1448;  // an Ethernet MSS: the motion payload takes four

std::string capture_path(const char* name) {
  return "/tmp/camrcd-" + std::string(name) + "-" + std::to_string(getpid()) + ".pcap";
}

// camrc prints control characters of a text as \xNN, and a text from a file line
// without its line end.
std::string printed_text(const std::string& raw_hex) {
  std::vector<uint8_t> bytes = from_hex(raw_hex);
  std::string text(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
  if (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
    text.pop_back();
  std::string out;
  for (unsigned char c : text) {
    char escaped[8];
    snprintf(escaped, sizeof escaped, "\\x%02X", c);
    out += c < 0x20 || c == 0x7F ? std::string(escaped) : std::string(1, static_cast<char>(c));
  }
  return out;
}

// A field as camrc prints it: texts, code names, or the number.
std::string as_printed(const std::string& name, const DissectedField& field) {
  const FieldText& info = field_text(find_field_named(name.c_str()));
  if (name.find("title") != std::string::npos || name == "preset_name")
    return printed_text(field.raw);
  const char* code = field.show.empty() || !isdigit(static_cast<unsigned char>(field.show[0]))
                         ? nullptr
                         : code_name(info.codes, std::stoul(field.show));
  return code != nullptr ? code : field.show;
}

// The last message titled `title` in streams [first, end).
const DissectedMessage* find_message(const std::vector<DissectedMessage>& messages, int first,
                                     int end, const std::string& title) {
  const DissectedMessage* found = nullptr;
  for (const DissectedMessage& message : messages) {
    if (message.stream >= first && message.stream < end && message.title == title)
      found = &message;
  }
  return found;
}

// A camrc command of data/capture_session.txt, and what crossed for it.
struct StepRun {
  std::vector<std::string> step;  // type, command, request, reply
  int first_stream, end_stream;
  std::string printed;
};

// Runs the steps of device type `type` through a relay to a fresh daemon; the segments
// join `segments` with their connections numbered on from `streams`.
void run_steps(int type, std::vector<Segment>* segments, int* streams, std::vector<StepRun>* runs) {
  DaemonHarness daemon(DaemonOptions{type});
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  WireRelay relay(daemon.port(), kSegment);
  ASSERT_NE(relay.port(), 0);
  auto connections = [&] {
    int seen = 0;
    for (const Segment& segment : relay.segments())
      seen = std::max(seen, segment.connection + 1);
    return seen;
  };
  std::ifstream steps(CAMRCD_SOURCE_DIR "/tests/tools/data/capture_session.txt");
  for (std::string line; std::getline(steps, line);) {
    std::vector<std::string> step = split(line, " | ");
    if (line[0] == '#' || step.size() != 4 || step[0] != std::to_string(type))
      continue;
    int before = connections();
    CamrcRun run = run_camrc(relay.port(), split(step[1], " "));
    ASSERT_EQ(run.status, 0) << step[1] << ": " << run.err;
    runs->push_back({step, *streams + before, *streams + connections(), run.out});
  }
  for (Segment segment : relay.segments()) {
    segment.connection += *streams;
    segments->push_back(segment);
  }
  *streams += connections();
}

// The connections of an info read and a write, as forwarded.
void write_exchange(const std::vector<Segment>& segments, std::vector<int> connections,
                    const char* path) {
  std::ofstream out(path);
  out << "# camrc info, then the write of camrc picture --brightness 200 --contrast 7, on the\n"
         "# sandbox camera (device type 1), as the relay forwarded them; made by\n"
         "# CAMRCD_EXCHANGE_OUT=FILE tools_tests --gtest_filter=WireCapture.Dissector*\n";
  for (int connection : connections) {
    out << "connection\n";
    for (const Segment& segment : segments) {
      if (segment.connection != connection)
        continue;
      out << (segment.to_server ? "client " : "server ")
          << to_hex(segment.bytes.data(), segment.bytes.size()) << "\n";
    }
  }
}

TEST(WireCapture, DissectorShowsWhatCamrcSentAndReceived) {
  std::vector<Segment> segments;
  std::vector<StepRun> runs;
  int streams = 0;
  run_steps(1, &segments, &streams, &runs);
  if (const char* exchange = getenv("CAMRCD_EXCHANGE_OUT"))
    write_exchange(segments, {runs[0].first_stream, runs[1].end_stream - 1}, exchange);
  run_steps(2, &segments, &streams, &runs);
  ASSERT_FALSE(HasFatalFailure());
  size_t motion_pieces = 0;  // the motion write's 4835 bytes, as forwarded
  for (const Segment& segment : segments)
    motion_pieces += segment.to_server && segment.bytes.size() == kSegment;
  EXPECT_GE(motion_pieces, 3u) << "the motion payload crossed in one piece";
  std::string pcap = capture_path("session");
  ASSERT_TRUE(write_pcap(pcap, segments, kControlPort));
  std::vector<DissectedMessage> messages;
  std::string problem;
  ASSERT_TRUE(dissect_capture(kDissector, pcap, {}, &messages, &problem)) << problem;
  unlink(pcap.c_str());

  for (const DissectedMessage& message : messages)
    EXPECT_FALSE(message.malformed) << message.title << " in stream " << message.stream;
  const DissectedMessage* opening = find_message(messages, 0, streams, "login opening");
  ASSERT_NE(opening, nullptr);
  EXPECT_EQ(opening->fields.find("login.user")->second.show, "demo");
  EXPECT_NE(find_message(messages, 0, streams, "login verdict: logged in"), nullptr);
  for (const StepRun& run : runs) {
    SCOPED_TRACE(run.step[1]);
    std::istringstream words(run.step[2]);
    std::string title, word;
    std::getline(words, title, ':');
    const DissectedMessage* request =
        find_message(messages, run.first_stream, run.end_stream, title);
    ASSERT_NE(request, nullptr) << title;
    while (words >> word) {
      std::string name = word.substr(0, word.find('='));
      auto field = request->fields.find(name);
      ASSERT_NE(field, request->fields.end()) << name;
      EXPECT_EQ(name + "=" + field->second.show, word);
    }
    if (run.step[3] == "-")
      continue;
    const DissectedMessage* reply =
        find_message(messages, run.first_stream, run.end_stream, run.step[3]);
    ASSERT_NE(reply, nullptr);
    for (const std::string& line : split(run.printed, "\n")) {
      if (line.empty())
        continue;
      std::string name = line.substr(0, line.find(": "));
      auto field = reply->fields.find(name);
      ASSERT_NE(field, reply->fields.end()) << line;
      EXPECT_EQ(name + ": " + as_printed(name, field->second), line);
    }
  }
}

// Hand-made connections, each ending with one malformed message, decoded with TCP
// reassembly off (a message beyond its segment is then short) and on.
TEST(WireCapture, MalformedMessagesAreMarked) {
  Bytes info_request = {0x77, 0x33, 0x10, 0x00};
  info_request.resize(32);
  auto reply_header = [](uint16_t payload, size_t sent) {
    Bytes reply = {uint8_t(payload), uint8_t(payload >> 8), 0, 0, 0x77, 0x33, 0x10, 0x01};
    reply.resize(sent);
    return reply;
  };
  const struct {
    const char* what;
    Bytes first;  // a good message before it, or none
    Bytes bad;
    bool to_server;
    bool malformed_reassembled;
  } cases[] = {
      {"bad prefix", info_request, Bytes(32, 0x5A), true, true},
      {"short header", {}, reply_header(0, 20), false, false},
      {"declared length beyond the segment", {}, reply_header(200, 42), false, false},
      {"declared length beyond the buffer", {}, reply_header(60000, 64), false, true},
      {"device information of the wrong length", {}, reply_header(3, 35), false, true},
  };
  std::vector<Segment> segments;
  for (size_t i = 0; i < std::size(cases); ++i) {
    if (!cases[i].first.empty())
      segments.push_back({int(i), cases[i].to_server, cases[i].first});
    segments.push_back({int(i), cases[i].to_server, cases[i].bad});
  }
  std::string pcap = capture_path("malformed");
  ASSERT_TRUE(write_pcap(pcap, segments, kControlPort));
  for (bool reassembly : {false, true}) {
    SCOPED_TRACE(reassembly ? "reassembly on" : "reassembly off");
    std::vector<DissectedMessage> messages;
    std::string problem;
    std::string option =
        std::string("tcp.desegment_tcp_streams:") + (reassembly ? "TRUE" : "FALSE");
    ASSERT_TRUE(dissect_capture(kDissector, pcap, {"-o", option}, &messages, &problem)) << problem;
    for (size_t i = 0; i < std::size(cases); ++i) {
      SCOPED_TRACE(cases[i].what);
      std::vector<bool> marks;
      for (const DissectedMessage& message : messages) {
        if (message.stream == int(i))
          marks.push_back(message.malformed);
      }
      std::vector<bool> wanted(cases[i].first.empty() ? 0 : 1, false);
      if (!reassembly || cases[i].malformed_reassembled)
        wanted.push_back(true);
      EXPECT_EQ(marks, wanted);
    }
  }
  unlink(pcap.c_str());
}

// Random bytes, and random bytes shaped as headers: a request of a known class, or a
// reply of a known sub-command whose payload fills its segment and ends with 55 AA.
TEST(WireCapture, RandomBytesDecodeWithoutLuaError) {
  std::mt19937 random(9001);
  const uint8_t kClasses[] = {0x10, 0x20, 0x40, 0x50, 0x60, 0x01};
  const uint8_t kSubs[] = {0x00, 0x01, 0x10, 0x11, 0x20, 0x21, 0x30, 0x31, 0x40, 0xF0, 0xF1};
  std::vector<Segment> segments;
  for (int connection = 0; connection < 6; ++connection) {
    for (int piece = 0; piece < 60; ++piece) {
      Segment segment{connection, random() % 2 == 0, Bytes(1 + random() % 300)};
      for (uint8_t& byte : segment.bytes)
        byte = static_cast<uint8_t>(random());
      Bytes& b = segment.bytes;
      if (piece % 2 == 0 && b.size() >= 8 && segment.to_server) {
        b[0] = 0x77, b[1] = 0x33, b[2] = kClasses[random() % 6], b[3] = kSubs[random() % 11];
      } else if (piece % 2 == 0 && b.size() >= 8) {
        b[0] = static_cast<uint8_t>(b.size() - 32), b[1] = 0;
        b[4] = 0x77, b[5] = 0x33, b[6] = 0x10, b[7] = kSubs[random() % 11];
        b[b.size() - 2] = 0x55, b[b.size() - 1] = 0xAA;
      }
      segments.push_back(segment);
    }
  }
  // On the default port, reassembled; and on another port the preference names.
  const struct {
    uint16_t port;
    std::vector<std::string> options;
  } runs[] = {
      {kControlPort, {"-o", "tcp.desegment_tcp_streams:TRUE"}},
      {9100, {"-o", "tcp.desegment_tcp_streams:FALSE", "-o", "camrcd.port:9100"}},
  };
  for (const auto& run : runs) {
    SCOPED_TRACE(run.port);
    std::string pcap = capture_path("random");
    ASSERT_TRUE(write_pcap(pcap, segments, run.port));
    std::vector<DissectedMessage> messages;
    std::string problem;
    EXPECT_TRUE(dissect_capture(kDissector, pcap, run.options, &messages, &problem)) << problem;
    EXPECT_FALSE(messages.empty()) << "nothing decoded";
    unlink(pcap.c_str());
  }
}

}  // namespace
}  // namespace camrcd
