// The alarm link file's tables and its section defaults. An appended output is
// always named "Relay", whatever its name field holds.
#include "settings/sectioned/alarm_link_file.h"

#include <stdio.h>
#include <string.h>

#include <iterator>

#include "settings/sectioned/sectioned_file.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr SettingsRecord& s = settings;

constexpr KeyRule kCommonKeys[] = {
    {"alin-allen", &kSwitchKind, &s.alin_allen, nullptr},
    {"alout-allen", &kSwitchKind, &s.alout_allen, nullptr},
    {"alin-max", &kNumberKind, &s.alin_max, nullptr},
    {"alout-max", &kNumberKind, &s.alout_max, nullptr},
};
constexpr KeyRule kInputKeys[] = {
    {"enable", &kSwitchKind, &s.alarmin.enable, nullptr},
    {"type", &kNumberKind, &s.alarmin.type, nullptr},
    {"priority", &kNumberKind, &s.alarmin.priority, nullptr},
    {"actno", &kNumberKind, &s.alarmin.actno, nullptr},
    {"act", &kOptionalNumberKind, &s.alarmin.act, nullptr},
    {"relay", &kRelayCodeKind, &s.alarmin.relay, nullptr},
    {"record", &kSwitchKind, &s.alarmin.record, nullptr},
    {"email", &kSwitchKind, &s.alarmin.email, nullptr},
    {"name", &kTextKind, s.alarmin.name, nullptr},
};
constexpr KeyRule kInputAppended[] = {
    kInputKeys[0], kInputKeys[8], kInputKeys[1], kInputKeys[2], kInputKeys[4],
    kInputKeys[3], kInputKeys[5], kInputKeys[6], kInputKeys[7],
};
constexpr KeyRule kOutputKeys[] = {
    {"enable", &kSwitchKind, &s.alarmout.enable, nullptr},
    {"dwell", &kNumberKind, &s.alarmout.dwell, nullptr},
    {"name", &kTextKind, s.alarmout.name, nullptr},
    {"linkage", &kRelayCodeKind, &s.alarmout.linkage, nullptr},
};
constexpr KeyRule kOutputAppended[] = {
    kOutputKeys[0],
    {"name", &kFixedKind, s.alarmout.name, "Relay"},
    kOutputKeys[1],
    kOutputKeys[3],
};

void set_text(char* field, const char* text) {
  memset(field, 0, kSectionTextFieldSize);
  snprintf(field, kSectionTextFieldSize, "%s", text);
}

void input_defaults() {
  s.alarmin.enable = s.alin_max < s.current_alarmin ? 0 : 1;
  set_text(s.alarmin.name, "Sensor");
  s.alarmin.type = 2;
  s.alarmin.priority = 1;
  s.alarmin.act = 255;
  s.alarmin.actno = 1;
  s.alarmin.relay = 0;
  s.alarmin.record = 0;
  s.alarmin.email = 0;
}

void output_defaults() {
  s.alarmout.enable = s.alout_max < s.current_alarmout ? 0 : 1;
  set_text(s.alarmout.name, "Relay");
  s.alarmout.dwell = 5;
  s.alarmout.linkage = 24;
}

constexpr SectionRule kSections[] = {
    {"[common]", nullptr, kCommonKeys, std::size(kCommonKeys), nullptr, 0, nullptr, 0, nullptr,
     true},
    {"[alarmin%d]", &s.current_alarmin, kInputKeys, std::size(kInputKeys), nullptr, 0,
     kInputAppended, std::size(kInputAppended), input_defaults, false},
    {"[alarmout%d]", &s.current_alarmout, kOutputKeys, std::size(kOutputKeys), nullptr, 0,
     kOutputAppended, std::size(kOutputAppended), output_defaults, false},
};

}  // namespace

const SectionedFile kAlarmLinkFile = {
    "kelda2/env_alarm2.ls",
    "/tmp/env_alarm2.ls",
    kSections,
    std::size(kSections),
    "Conf. Open ERR. env_alarm2.ls\n",
    "WR Conf. ERR. env_alarm2.ls\n",
    "[common]\nversion = 01.00\nalin-allen = off\nalin-max = 1\nalout-allen = off\n"
    "alout-max = 1\n\nend\n\n",
    true,
    false,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
};

void load_alarm2() {
  load_sectioned_file(kAlarmLinkFile);
}

void save_alarm2() {
  save_sectioned_file(kAlarmLinkFile);
}

}  // namespace camrcd
