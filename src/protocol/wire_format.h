// What every message of the control protocol shares: the greeting, the two 32-byte
// headers, the payload trailer, the command classes and the byte order. Each message's
// own fields are rows of the message tables (messages.h); the login messages are
// login_message.h. Numbers are little-endian unless stated otherwise.
//
//   Greeting (server to client, on connect): the four characters "1000".
//
//   Request header (client to server)
//   byte 0-1     0x77 0x33 ('w' '3'), read as the big-endian prefix 0x7733
//   byte 2       command class: 0x10 information, 0x20 stream, 0x40 event,
//                0x50 overlay, 0x60 camera; any other value makes a reload request,
//                whose bytes 2-3 are then a big-endian group bit set
//   byte 3       sub-command within the class
//   byte 4-31    request fields (unnamed bytes are ignored)
//   byte 32-     the motion write alone: its payload (length in bytes 6-7)
//
//   Reply header (server to client), every byte zero unless named
//   byte 0-1     payload length: total reply length - 32 (0 for a bare header)
//   byte 4-5     0x77 0x33
//   byte 6       0x10, the class of every reply
//   byte 7       reply sub-command: the request's sub-command + 1
//   byte 8-9     parameter (always 0 from this server)
//   byte 11-31   reply fields
//   byte 32-     payload, closed by the trailer 0x55 0xAA (counted in the length)
#ifndef CAMRCD_PROTOCOL_WIRE_FORMAT_H_
#define CAMRCD_PROTOCOL_WIRE_FORMAT_H_

#include <stddef.h>
#include <stdint.h>

namespace camrcd {

inline constexpr char kGreeting[4] = {'1', '0', '0', '0'};

inline constexpr size_t kRequestHeaderSize = 32;
inline constexpr size_t kReplyHeaderSize = 32;

// The server's per-connection buffer: replies are built here, a motion payload is read
// here. A reply whose payload does not fit it is not one of this protocol.
inline constexpr size_t kConnectionBufferSize = 4800 + 52;

// The motion block map (a marker byte, then 4800 cells) and the payload that carries
// it: the map, then the trailer.
inline constexpr size_t kMotionBlockMapSize = 4801;
inline constexpr size_t kMotionPayloadSize = kMotionBlockMapSize + 2;
inline constexpr size_t kMotionReplySize = kReplyHeaderSize + kMotionPayloadSize;

// Request header.
inline constexpr size_t kRequestPrefixHigh = 0;
inline constexpr size_t kRequestPrefixLow = 1;
inline constexpr size_t kRequestClass = 2;
inline constexpr size_t kRequestSub = 3;
inline constexpr uint16_t kRequestPrefix = 0x7733;

// Reply header.
inline constexpr size_t kReplyLength = 0;
inline constexpr size_t kReplyPrefix = 4;
inline constexpr size_t kReplyClass = 6;
inline constexpr size_t kReplySub = 7;
inline constexpr size_t kReplyParameter = 8;
inline constexpr size_t kReplyPayload = 32;
inline constexpr uint8_t kReplyClassValue = 0x10;
inline constexpr uint8_t kTrailerFirst = 0x55;
inline constexpr uint8_t kTrailerSecond = 0xAA;

// Command classes. A reload request is any other class byte.
inline constexpr uint8_t kClassInformation = 0x10;
inline constexpr uint8_t kClassStream = 0x20;
inline constexpr uint8_t kClassEvent = 0x40;
inline constexpr uint8_t kClassOverlay = 0x50;
inline constexpr uint8_t kClassCamera = 0x60;

// A preset write's operation bits (0 is the set operation), and the preset number of
// the default position, which a preset read never moves the camera to.
inline constexpr uint8_t kPresetClearOne = 0x02;
inline constexpr uint8_t kPresetClearAll = 0x20;  // tested first
inline constexpr uint8_t kDefaultPosition = 255;

// The groups a reload request names, one bit each (bytes 2-3, big-endian; bits 0x001
// to 0x100, named in wire_text.h). Bits 0x200 and 0x1000 are accepted and load
// nothing; a request with any bit outside kReloadAcceptedBits is ignored.
inline constexpr uint16_t kReloadAcceptedBits = 0x13FF;

inline uint16_t read_le16(const uint8_t* p) {
  return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

inline uint32_t read_le32(const uint8_t* p) {
  return read_le16(p) | static_cast<uint32_t>(read_le16(p + 2)) << 16;
}

// Writes the low 16 bits of value little-endian at p.
inline void write_le16(uint8_t* p, uint32_t value) {
  p[0] = static_cast<uint8_t>(value);
  p[1] = static_cast<uint8_t>(value >> 8);
}

inline void write_le32(uint8_t* p, uint32_t value) {
  write_le16(p, value);
  write_le16(p + 2, value >> 16);
}

}  // namespace camrcd

#endif  // CAMRCD_PROTOCOL_WIRE_FORMAT_H_
