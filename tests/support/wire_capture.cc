// The relay (one poll loop over the listener and every open pair), the pcap writer
// (every number written little- or big-endian by hand, whatever the host) and the PDML
// reader.
#include "support/wire_capture.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "client/client_socket.h"
#include "support/daemon_harness.h"

namespace camrcd {

namespace {

struct Pair {
  int connection;
  int client;
  int server;
};

}  // namespace

WireRelay::WireRelay(uint16_t target_port, size_t max_segment)
    : target_port_(target_port), max_segment_(max_segment) {
  listener_ = listening_socket(&port_);
  if (listener_ < 0 || pipe2(stop_pipe_, O_CLOEXEC) != 0) {
    port_ = 0;
    return;
  }
  thread_ = std::thread([this] { run(); });
}

WireRelay::~WireRelay() {
  if (thread_.joinable()) {
    (void)!write(stop_pipe_[1], "x", 1);
    thread_.join();
  }
  for (int fd : {listener_, stop_pipe_[0], stop_pipe_[1]})
    close(fd);  // -1 when never opened: refused, harmlessly
}

std::vector<Segment> WireRelay::segments() {
  std::lock_guard<std::mutex> hold(mutex_);
  return segments_;
}

// Forwards until stopped: each read is sent on in pieces of at most max_segment_ bytes,
// and each piece recorded; a side that ends ends its pair.
void WireRelay::run() {
  std::vector<Pair> pairs;
  int next_connection = 0;
  for (;;) {
    std::vector<pollfd> watch = {{stop_pipe_[0], POLLIN, 0}, {listener_, POLLIN, 0}};
    for (const Pair& pair : pairs) {
      watch.push_back({pair.client, POLLIN, 0});
      watch.push_back({pair.server, POLLIN, 0});
    }
    if (poll(watch.data(), watch.size(), -1) < 0)
      continue;
    if (watch[0].revents != 0)
      break;
    size_t watched = pairs.size();  // a pair accepted now is watched from the next round
    if (watch[1].revents & POLLIN) {
      int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      int server = client >= 0 ? client_connect("127.0.0.1", target_port_) : -1;
      if (server >= 0)
        pairs.push_back({next_connection++, client, server});
      else if (client >= 0)
        close(client);
    }
    for (size_t i = 0; i < watched; ++i) {
      Pair& pair = pairs[i];
      bool ended = false;
      for (bool to_server : {true, false}) {
        if (watch[2 + 2 * i + (to_server ? 0 : 1)].revents == 0)
          continue;
        uint8_t buffer[8192];
        ssize_t got = recv(to_server ? pair.client : pair.server, buffer, sizeof buffer, 0);
        if (got <= 0) {
          ended = true;
          continue;
        }
        for (ssize_t at = 0; at < got; at += static_cast<ssize_t>(max_segment_)) {
          size_t piece = std::min(max_segment_, static_cast<size_t>(got - at));
          send(to_server ? pair.server : pair.client, buffer + at, piece, MSG_NOSIGNAL);
          std::lock_guard<std::mutex> hold(mutex_);
          segments_.push_back({pair.connection, to_server, {buffer + at, buffer + at + piece}});
        }
      }
      if (ended) {
        close(pair.client);
        close(pair.server);
        pair.client = -1;
      }
    }
    pairs.erase(
        std::remove_if(pairs.begin(), pairs.end(), [](const Pair& p) { return p.client < 0; }),
        pairs.end());
  }
  for (const Pair& pair : pairs) {
    close(pair.client);
    close(pair.server);
  }
}

namespace {

using Bytes = std::vector<uint8_t>;

void put_le32(Bytes* out, uint32_t value) {
  for (int i = 0; i < 4; ++i)
    out->push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void put_be16(Bytes* out, uint32_t value) {
  out->push_back(static_cast<uint8_t>(value >> 8));
  out->push_back(static_cast<uint8_t>(value));
}

void put_be32(Bytes* out, uint32_t value) {
  put_be16(out, value >> 16);
  put_be16(out, value);
}

constexpr uint32_t kLoopback = 0x7F000001;
constexpr uint8_t kSyn = 0x02, kAck = 0x10, kPush = 0x08;

struct Flow {
  uint32_t sequence[2];  // next sequence number: [0] client, [1] server
};

// One IPv4 packet holding one TCP segment, with its pcap record header.
void put_packet(Bytes* out, uint32_t number, uint16_t client_port, uint16_t server_port,
                bool to_server, Flow* flow, uint8_t flags, const Bytes& payload) {
  Bytes packet;
  size_t total = 40 + payload.size();
  packet.insert(packet.end(), {0x45, 0});
  put_be16(&packet, static_cast<uint32_t>(total));
  put_be16(&packet, number & 0xFFFF);
  packet.insert(packet.end(), {0x40, 0, 64, 6, 0, 0});
  put_be32(&packet, kLoopback);  // checksums 0: unchecked
  put_be32(&packet, kLoopback);
  int side = to_server ? 0 : 1;
  put_be16(&packet, to_server ? client_port : server_port);
  put_be16(&packet, to_server ? server_port : client_port);
  put_be32(&packet, flow->sequence[side]);
  put_be32(&packet, flags & kAck ? flow->sequence[1 - side] : 0);
  packet.insert(packet.end(), {0x50, flags, 0xFF, 0xFF, 0, 0, 0, 0});
  packet.insert(packet.end(), payload.begin(), payload.end());
  flow->sequence[side] += static_cast<uint32_t>(payload.size()) + (flags & kSyn ? 1 : 0);
  put_le32(out, number / 1000);  // a packet a millisecond
  put_le32(out, (number % 1000) * 1000);
  put_le32(out, static_cast<uint32_t>(packet.size()));
  put_le32(out, static_cast<uint32_t>(packet.size()));
  out->insert(out->end(), packet.begin(), packet.end());
}

std::string xml_unescaped(std::string text) {
  static const std::pair<const char*, char> kEntities[] = {
      {"&quot;", '"'}, {"&apos;", '\''}, {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}};
  for (size_t at = text.find('&'); at != std::string::npos; at = text.find('&', at + 1)) {
    for (const auto& [entity, letter] : kEntities) {
      if (text.compare(at, strlen(entity), entity) == 0)
        text.replace(at, strlen(entity), 1, letter);
    }
  }
  return text;
}

// The value of attribute `name` in a PDML element, "" when it has none.
std::string attribute(const std::string& element, const char* name) {
  std::string key = std::string(" ") + name + "=\"";
  size_t at = element.find(key);
  if (at == std::string::npos)
    return "";
  at += key.size();
  return xml_unescaped(element.substr(at, element.find('"', at) - at));
}

}  // namespace

bool write_pcap(const std::string& path, const std::vector<Segment>& segments,
                uint16_t server_port) {
  Bytes out;
  put_le32(&out, 0xA1B2C3D4);
  out.insert(out.end(), {2, 0, 4, 0});  // version 2.4
  put_le32(&out, 0);
  put_le32(&out, 0);
  put_le32(&out, 65535);
  put_le32(&out, 101);  // raw IP
  std::map<int, Flow> flows;
  uint32_t number = 0;
  for (const Segment& segment : segments) {
    uint16_t client_port = static_cast<uint16_t>(40000 + segment.connection);
    if (flows.count(segment.connection) == 0) {
      Flow& flow = flows[segment.connection] = {{1000, 5000}};
      put_packet(&out, ++number, client_port, server_port, true, &flow, kSyn, {});
      put_packet(&out, ++number, client_port, server_port, false, &flow, kSyn | kAck, {});
      put_packet(&out, ++number, client_port, server_port, true, &flow, kAck, {});
    }
    put_packet(&out, ++number, client_port, server_port, segment.to_server,
               &flows[segment.connection], kPush | kAck, segment.bytes);
  }
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(out.data()), static_cast<std::streamsize>(out.size()));
  return static_cast<bool>(file);
}

bool dissect_capture(const std::string& dissector, const std::string& pcap,
                     const std::vector<std::string>& options,
                     std::vector<DissectedMessage>* messages, std::string* problem) {
  if (system("command -v tshark >/dev/null 2>&1") != 0) {
    *problem = "tshark is not installed (scripts/test installs it)";
    return false;
  }
  std::vector<std::string> words = {
      "/usr/bin/env", "tshark", "-n", "-X", "lua_script:" + dissector, "-r", pcap, "-T", "pdml"};
  words.insert(words.end(), options.begin(), options.end());
  int status = run_process(words, pcap + ".pdml", pcap + ".err");
  std::string output = read_file(pcap + ".pdml"), errors = read_file(pcap + ".err");
  unlink((pcap + ".pdml").c_str());
  unlink((pcap + ".err").c_str());
  messages->clear();
  int stream = -1;
  // One element at a time: a shown text may hold a line end, never a raw '>'.
  for (size_t at = output.find('<'); at != std::string::npos; at = output.find('<', at + 1)) {
    std::string tag = output.substr(at, output.find('>', at) - at);
    std::string name = attribute(tag, "name");
    if (tag.compare(0, 7, "<packet") == 0) {
      stream = -1;
    } else if (name == "tcp.stream") {
      stream = std::stoi(attribute(tag, "show"));
    } else if (tag.compare(0, 6, "<proto") == 0 && name == "camrcd") {
      messages->push_back({stream, "", {}, false});
    } else if (!messages->empty() && name.compare(0, 7, "camrcd.") == 0) {
      DissectedMessage& message = messages->back();
      std::string field = name.substr(7);
      message.malformed = message.malformed || field == "malformed";
      if (field == "message")
        message.title = attribute(tag, "show");
      message.fields.insert({field, {attribute(tag, "show"), attribute(tag, "value")}});
    }
  }
  errors += output;  // a Lua error shows in the packet tree as well
  size_t error = errors.find("Lua Error");
  if (error != std::string::npos) {
    *problem = "tshark reports a Lua error:\n" + errors.substr(error > 800 ? error - 800 : 0, 1600);
    return false;
  }
  if (status != 0) {
    *problem = "tshark failed:\n" + errors.substr(0, 4000);
    return false;
  }
  return true;
}

}  // namespace camrcd
