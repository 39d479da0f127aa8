// The fuzz targets link this file in place of platform/command_runner.cc and
// platform/pause.cc: no command line starts a program and no pause waits, so an input
// runs in microseconds whatever requests it makes, and nothing on the machine is ever
// started. Each command line is checked instead: it opens as one of the server's
// lines does (a program below the web root, ctrl_osd, mkdir, mv or sync); outside its
// single-quoted words it holds none of the shell's separators, substitutions or
// quotes, so no client text became shell syntax; and the words of client text unquote
// to it exactly (the title for ctrl_osd, "--name=" and the preset name for ctrl_ptz).
#include <string.h>

#include <string>

#include "platform/command_runner.h"
#include "platform/dev_root.h"
#include "platform/pause.h"
#include "settings/settings_record.h"
#include "support/fuzz_support.h"

namespace camrcd {
namespace {

constexpr char kTitleHead[] = "ctrl_osd -c ";

bool starts_with(const char* line, const std::string& head) {
  return strncmp(line, head.c_str(), head.size()) == 0;
}

bool known_head(const char* line) {
  const std::string heads[] = {std::string(dev_root_for_command()) + kWebRoot + "/", kTitleHead,
                               "mkdir -p ", "mv -f ", "sync"};
  for (const std::string& head : heads) {
    if (starts_with(line, head))
      return true;
  }
  return false;
}

// The text the shell makes of `line`'s words from `at` on, blanks kept, up to the end
// or (when `one_word`) the first blank outside quotes; false when a quote is left open
// or shell syntax stands outside the quotes.
bool unquote(const char* at, std::string* text, bool one_word = false) {
  bool quoted = false;
  for (; *at != '\0' && (quoted || !one_word || *at != ' '); ++at) {
    if (*at == '\'') {
      quoted = !quoted;
    } else if (quoted) {
      text->push_back(*at);
    } else if (*at == '\\' && at[1] != '\0') {
      text->push_back(*++at);
    } else if (strchr(";|`$()<\"\n\\", *at) != nullptr) {
      return false;
    } else {
      text->push_back(*at);
    }
  }
  return !quoted;
}

// The client text of a field, as a program must receive it after `prefix`.
std::string field_text(const char* prefix, const char* field, size_t most) {
  return prefix + std::string(field, strnlen(field, most));
}

// The word where `word` starts in `line`, unquoted, must be `expected`.
void check_word(const char* word, const std::string& expected, const char* what) {
  std::string text;
  fuzz_check(word != nullptr && unquote(word, &text, true) && text == expected, what);
}

}  // namespace

void run_command_line(const char* line) {
  std::string text;
  fuzz_check(known_head(line), "a command line that the server never builds");
  fuzz_check(unquote(line, &text), "shell syntax outside the quoted words of a command line");
  if (starts_with(line, kTitleHead)) {
    const TitleGroup& title = settings.title;
    check_word(line + strlen(kTitleHead),
               field_text("", title.camera_title, sizeof title.camera_title),
               "ctrl_osd did not get the title as one unchanged word");
  }
  if (strstr(line, "/admin/ctrl_ptz --class=save1 --position=") != nullptr &&
      strstr(line, "--name=") != nullptr) {
    check_word(strstr(line, "'--name="),
               field_text("--name=", settings.preset.name, kSectionTextFieldSize - 1),
               "ctrl_ptz did not get the preset name as one unchanged word");
  }
}

void pause_microseconds(uint32_t) {}

}  // namespace camrcd
