// User list reader. A record is scanned like the pattern "%s = %s = %s = %s": when the
// text after a word is not "=", the record ends there and the next one starts with that
// text. Words longer than 19 characters are cut to their first 19 (the rest of the word
// is skipped), so no field ever overflows.
#include "auth/user_list.h"

#include <string.h>

#include "platform/console.h"
#include "platform/decimal.h"
#include "platform/dev_root.h"
#include "protocol/login_message.h"

namespace camrcd {
namespace {

struct UserRecord {
  char label[kUserFieldSize];
  char name[kUserFieldSize];
  char password[kUserFieldSize];
  char rights[kUserFieldSize];
};

// White space and one "="; anything else is left unread and ends the record.
bool read_equals(FileReader* stream) {
  if (skip_space(stream) != '=')
    return false;
  read_byte(stream);
  return true;
}

// Returns the number of words read, or kEndOfInput when the stream ends before the first.
// Fields beyond the words read keep what they held.
int read_record(FileReader* stream, UserRecord* record) {
  char* fields[4] = {record->label, record->name, record->password, record->rights};
  for (int i = 0; i < 4; ++i) {
    if (i > 0 && !read_equals(stream))
      return i;
    if (!scan_word(stream, fields[i], kUserFieldSize))
      return i == 0 ? kEndOfInput : i;
  }
  return 4;
}

int decide(uint8_t rights) {
  if (rights & 0x01)
    return kUserRefused;
  if ((rights & 0x98) == 0x98)
    return kUserAdmitted;
  console_print("Auth Mismatch\n");
  return kUserRefused;
}

}  // namespace

int find_user_in_stream(FileReader* stream, const char* sought, char name[kUserFieldSize],
                        char password[kUserFieldSize], uint8_t* rights) {
  // The rights word is not cleared between records: a record of three words reuses the
  // rights of the record before it.
  UserRecord record = {};
  uint32_t bound = 1;
  for (uint32_t index = 0; index <= bound; ++index) {
    memset(record.name, 0, sizeof record.name);
    memset(record.password, 0, sizeof record.password);
    if (read_record(stream, &record) == kEndOfInput)
      return kUserUnknown;
    if (strncmp(record.label, "COUNT", 5) == 0) {
      bound = static_cast<uint32_t>(decimal_int32(record.name));
    }
    // Equal up to and including the field's zero byte: exact, case counting.
    if (strncmp(record.name, sought, kUserFieldSize) != 0)
      continue;
    memcpy(name, record.name, kUserFieldSize);
    memcpy(password, record.password, kUserFieldSize);
    *rights = static_cast<uint8_t>(decimal_int32(record.rights) & 0xFF);
    return decide(*rights);
  }
  return kUserUnknown;
}

int find_user(const uint8_t* opening_message, char name[kUserFieldSize],
              char password[kUserFieldSize], uint8_t* rights) {
  char path[kPathCapacity];
  FileReader stream;
  if (!open_file_reader(&stream, web_path(path, sizeof path, "admin/user_list.lst"))) {
    console_print("fopen() failed - /admin/user_list.lst\n");
    return kUserListUnreadable;
  }
  const char* sought = reinterpret_cast<const char*>(opening_message + kAuthDataOffset);
  int result = find_user_in_stream(&stream, sought, name, password, rights);
  close_file_reader(&stream);
  return result;
}

}  // namespace camrcd
