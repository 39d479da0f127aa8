// Captures for the dissector tests, without privileges: a recording TCP relay that
// forwards a client's connections to the daemon and keeps every piece it forwards, as
// forwarded, and a writer that turns pieces into a pcap file with synthetic IPv4 and
// TCP headers (a handshake per connection, then one segment per piece), deterministic
// in every byte. Also tshark's PDML output read back as messages and fields.
#ifndef CAMRCD_SUPPORT_WIRE_CAPTURE_H_
#define CAMRCD_SUPPORT_WIRE_CAPTURE_H_

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace camrcd {

struct Segment {
  int connection;  // numbered from 0 in the order the relay accepted them
  bool to_server;
  std::vector<uint8_t> bytes;
};

class WireRelay {
 public:
  // Listens on a free loopback port and forwards to 127.0.0.1:target_port, in pieces of
  // at most max_segment bytes.
  WireRelay(uint16_t target_port, size_t max_segment);
  ~WireRelay();
  WireRelay(const WireRelay&) = delete;
  WireRelay& operator=(const WireRelay&) = delete;

  uint16_t port() const { return port_; }  // 0 when the relay could not listen
  std::vector<Segment> segments();         // what crossed so far

 private:
  void run();

  uint16_t target_port_;
  size_t max_segment_;
  uint16_t port_ = 0;
  int listener_ = -1;
  int stop_pipe_[2] = {-1, -1};
  std::thread thread_;
  std::mutex mutex_;
  std::vector<Segment> segments_;
};

// Writes the segments as a pcap file: connection n runs from 127.0.0.1:40000+n to
// 127.0.0.1:server_port. False when the file cannot be written.
bool write_pcap(const std::string& path, const std::vector<Segment>& segments,
                uint16_t server_port);

// One message as tshark's dissector showed it: its title, its fields by name (the shown
// value, and the raw bytes in hex), and whether it was marked malformed.
struct DissectedField {
  std::string show;
  std::string raw;
};
struct DissectedMessage {
  int stream;
  std::string title;
  std::multimap<std::string, DissectedField> fields;  // without the "camrcd." prefix
  bool malformed = false;
};

// Runs tshark with the dissector over the capture; false and a reason when tshark is
// missing or fails, or printed a Lua error (in *lua_errors).
bool dissect_capture(const std::string& dissector, const std::string& pcap,
                     const std::vector<std::string>& options,
                     std::vector<DissectedMessage>* messages, std::string* problem);

}  // namespace camrcd

#endif  // CAMRCD_SUPPORT_WIRE_CAPTURE_H_
