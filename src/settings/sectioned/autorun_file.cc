// The autorun file's tables. Its own words: the auto-pan direction (reader: "ccw" 2,
// else "cw" 1, else 0; writer: bit 0 "cw", else bit 1 "ccw", else "none"), and the
// speed, read as a number and written as an optional number.
#include "settings/sectioned/autorun_file.h"

#include <stdio.h>

#include <iterator>

#include "settings/sectioned/sectioned_file.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

void read_direction(const Piece& piece, const KeyRule& key) {
  *static_cast<uint8_t*>(key.field) = piece_contains(piece, "ccw")  ? 2
                                      : piece_contains(piece, "cw") ? 1
                                                                    : 0;
}

void write_direction(const KeyRule& key, char text[kValueTextSize]) {
  uint8_t value = *static_cast<uint8_t*>(key.field);
  snprintf(text, kValueTextSize, "%s", value & 1 ? "cw" : value & 2 ? "ccw" : "none");
}

constexpr ValueKind kDirectionKind = {read_direction, write_direction};
constexpr ValueKind kSpeedKind = {read_number, write_optional_number};

constexpr SettingsRecord& s = settings;

constexpr KeyRule kAutopanKeys[] = {
    {"direction", &kDirectionKind, &s.autopan.direction, nullptr},
    {"speed", &kSpeedKind, &s.autopan.speed, nullptr},
};
constexpr KeyRule kPoaKeys[] = {
    {"enable", &kSwitchKind, &s.poa.enable, nullptr},
    {"actno", &kNumberKind, &s.poa.actno, nullptr},
    {"act", &kNumberKind, &s.poa.act, nullptr},
};
constexpr KeyRule kAutorunKeys[] = {
    {"enable", &kSwitchKind, &s.autorun.enable, nullptr},
    {"waittime", &kNumberKind, &s.autorun.waittime, nullptr},
    {"actno", &kNumberKind, &s.autorun.actno, nullptr},
    {"act", &kNumberKind, &s.autorun.act, nullptr},
};

template <size_t N>
constexpr SectionRule named(const char* header, const KeyRule (&keys)[N]) {
  return {header, nullptr, keys, N, nullptr, 0, nullptr, 0, nullptr, false};
}

// "[common]" has no keys of this group: a load reads nothing in it, a save copies it.
constexpr SectionRule kSections[] = {
    {"[common]", nullptr, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, false},
    named("[autopan]", kAutopanKeys),
    named("[poa]", kPoaKeys),
    named("[autorun]", kAutorunKeys),
};

void clear_switches() {
  s.autopan.direction = 0;
  s.poa.enable = 0;
  s.autorun.enable = 0;
}

}  // namespace

const SectionedFile kAutorunFile = {
    "kelda2/env_autorun.ls",
    "/tmp/env_autorun.ls",
    kSections,
    std::size(kSections),
    "Conf. Open ERR. env_autorun.ls\n",
    "WR. Conf. Open ERR. env_autorun.ls\n",
    "[common]\nversion = 01.00\n\n"
    "[autopan]\ndirection = none\nspeed = none\n\n"
    "[poa]\nenable = on\nact = 4\nactno = 1\n\n"
    "[autorun]\nenable = off\nwaittime = 255\nact = 255\nactno = 1\n\nend\n\n",
    false,
    false,
    clear_switches,
    nullptr,
    nullptr,
    nullptr,
};

void load_autorun() {
  load_sectioned_file(kAutorunFile);
}

void save_autorun() {
  save_sectioned_file(kAutorunFile);
}

}  // namespace camrcd
