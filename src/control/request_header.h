// The two 32-byte headers of the control protocol and the connection buffer.
// Every request opens with a request header; every reply with a reply header.
// Multi-byte numbers are little-endian unless stated otherwise.
//
//   Request header (client to server)
//   byte 0       0x77 'w'          byte 1  0x33 '3'   (prefix 0x7733, byte 0 high)
//   byte 2       command class: 0x10 information, 0x20 stream, 0x40 event,
//                0x50 overlay, 0x60 camera; any other value is a reload request
//                and bytes 2-3 are then a big-endian group bit set
//   byte 3       sub-command within the class
//   byte 4-31    request fields (by request; unnamed bytes are ignored)
//
//   Reply header (server to client), every byte zero unless named
//   byte 0-1     payload length: total reply length - 32 (0 for a bare header)
//   byte 2-3     0
//   byte 4-5     0x77 0x33
//   byte 6       0x10, the class of every reply
//   byte 7       reply sub-command: the request's sub-command + 1
//   byte 8-9     parameter (always 0 in this server)
//   byte 10      0
//   byte 11-31   reply fields
//   byte 32-     payload, closed by the trailer 0x55 0xAA (counted in the length)
#ifndef CAMRCD_CONTROL_REQUEST_HEADER_H_
#define CAMRCD_CONTROL_REQUEST_HEADER_H_

#include <stddef.h>
#include <stdint.h>

namespace camrcd {

inline constexpr size_t kRequestHeaderSize = 32;
inline constexpr size_t kReplyHeaderSize = 32;

// The per-connection buffer: replies are built here, a motion payload is read here.
inline constexpr size_t kConnectionBufferSize = 4800 + 52;

// Request header offsets.
inline constexpr size_t kRequestPrefixHigh = 0;
inline constexpr size_t kRequestPrefixLow = 1;
inline constexpr size_t kRequestClass = 2;
inline constexpr size_t kRequestSub = 3;
inline constexpr size_t kRequestFields = 4;
inline constexpr uint16_t kRequestPrefix = 0x7733;

// Command classes.
inline constexpr uint8_t kClassInformation = 0x10;
inline constexpr uint8_t kClassStream = 0x20;
inline constexpr uint8_t kClassEvent = 0x40;
inline constexpr uint8_t kClassOverlay = 0x50;
inline constexpr uint8_t kClassCamera = 0x60;

// Sub-commands of the information class.
inline constexpr uint8_t kSubDeviceInfo = 0x00;
inline constexpr uint8_t kSubMotionRead = 0x10;
inline constexpr uint8_t kSubAlarmLinkRead = 0x20;
inline constexpr uint8_t kSubPresetRead = 0x30;
inline constexpr uint8_t kSubClose = 0xF0;
// Sub-commands of the stream class.
inline constexpr uint8_t kSubVideoResolution = 0x00;
inline constexpr uint8_t kSubMpeg = 0x10;
inline constexpr uint8_t kSubJpeg = 0x20;
inline constexpr uint8_t kSubAutorun = 0x40;
inline constexpr uint8_t kSubStreamSettings = 0xF0;
// Sub-commands of the event class.
inline constexpr uint8_t kSubMotionWrite = 0x00;
inline constexpr uint8_t kSubAlarm = 0x10;
inline constexpr uint8_t kSubAlarmLink = 0x11;
inline constexpr uint8_t kSubPreset = 0x20;
// Sub-commands of the overlay class.
inline constexpr uint8_t kSubOsd = 0x00;
inline constexpr uint8_t kSubTitle = 0x10;
inline constexpr uint8_t kSubPrivacy = 0x20;
// Sub-commands of the camera class.
inline constexpr uint8_t kSubPicture = 0x00;
inline constexpr uint8_t kSubWhiteBalance = 0x10;
inline constexpr uint8_t kSubCamcontrol2 = 0x20;

// Reply header offsets and values.
inline constexpr size_t kReplyLength = 0;
inline constexpr size_t kReplyPrefix = 4;
inline constexpr size_t kReplyClass = 6;
inline constexpr size_t kReplySub = 7;
inline constexpr size_t kReplyParameter = 8;
inline constexpr size_t kReplyFields = 11;
inline constexpr size_t kReplyPayload = 32;
inline constexpr uint8_t kReplyClassValue = 0x10;
inline constexpr uint8_t kTrailerFirst = 0x55;
inline constexpr uint8_t kTrailerSecond = 0xAA;

// Reply sub-commands.
inline constexpr uint8_t kReplyDeviceInfo = 0x01;
inline constexpr uint8_t kReplyMotion = 0x11;
inline constexpr uint8_t kReplyAlarmLink = 0x21;
inline constexpr uint8_t kReplyPreset = 0x31;
inline constexpr uint8_t kReplyClose = 0xF1;

// Reads the little-endian 16-bit value at p.
inline uint16_t read_le16(const uint8_t* p) {
  return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

// Writes the low 16 bits of value little-endian at p.
inline void write_le16(uint8_t* p, uint32_t value) {
  p[0] = static_cast<uint8_t>(value);
  p[1] = static_cast<uint8_t>(value >> 8);
}

}  // namespace camrcd

#endif  // CAMRCD_CONTROL_REQUEST_HEADER_H_
