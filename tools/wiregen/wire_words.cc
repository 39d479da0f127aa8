// The word tables, in enumeration order.
#include "wire_words.h"

#include <stdio.h>

namespace camrcd {
namespace {

const Words kKinds[] = {
    {"byte", "byte"},
    {"le16", "16 bits, little-endian"},
    {"le32", "32 bits, little-endian"},
    {"be16", "16 bits, big-endian"},
    {"text", "text, zero-padded"},
    {"mac", "MAC address, last byte first"},
    {"version", "version: minor, then major"},
    {"reserved", "zero"},
    {"block", "bytes"},
    {"more_areas", "8 zero bytes per area after the first"},
};

const Words kPresences[] = {
    {"always", ""},
    {"fixed_camera", "device type 1 only"},
    {"not_fixed_camera", "device types other than 1"},
    {"pan_tilt", "device type 2 only"},
    {"not_pan_tilt", "device types other than 2"},
    {"privacy_area", "device types other than 2, when N > 0"},
    {"with_map", "only with the block map"},
    {"zero_without_map", "0 unless the block map is sent"},
    {"preset_set", "set operation (0) only"},
};

const Words kRules[] = {
    {"none", "not stored"},
    {"nz", "stored unless 0"},
    {"always", "stored, even 0"},
    {"if_cbr", "stored, even 0, while mpeg_cbr is 2 (on)"},
    {"area_or_first", "stored; area 1 when the version's major is 0"},
    {"resolution", "accepted when 1 to 3 and another than the current one"},
};

const char* const kKeys[] = {
    nullptr,     "device_type",      "layout_major",    "area_count",
    "map_valid", "preset_operation", "request_version",
};

template <typename Enum, size_t N>
const Words& pick(const Words (&table)[N], Enum value) {
  size_t index = static_cast<size_t>(value);
  return table[index < N ? index : 0];
}

}  // namespace

const Words& kind_words(WireKind kind) {
  return pick(kKinds, kind);
}

const Words& presence_words(Presence presence) {
  return pick(kPresences, presence);
}

const Words& rule_words(CopyRule rule) {
  return pick(kRules, rule);
}

const char* key_id(LayoutKey key) {
  size_t index = static_cast<size_t>(key);
  return index < sizeof kKeys / sizeof kKeys[0] ? kKeys[index] : nullptr;
}

void append_by_direction(std::string (*text_of)(const MessageTable&), std::string* requests,
                         std::string* replies) {
  for (size_t m = 0; m < kMessageCount; ++m) {
    const MessageTable& table = message(static_cast<MessageId>(m));
    *(table.request ? requests : replies) += text_of(table);
  }
}

std::string hex(unsigned value) {
  char text[16];
  snprintf(text, sizeof text, "0x%02X", value);
  return text;
}

}  // namespace camrcd
