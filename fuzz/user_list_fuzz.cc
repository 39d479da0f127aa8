// The user list parser (find_user_in_stream) on any text. An input is the name sought,
// a line feed, then the file. Whatever the file holds, a match fills terminated name
// and password fields with the name sought, and the result is one of the three.
#include <stdio.h>
#include <string.h>

#include <string>

#include "auth/user_list.h"
#include "support/fuzz_support.h"

namespace camrcd {

void fuzz_setup() {}

void fuzz_seeds() {
  std::string list = camera_file("admin/user_list.lst");
  for (const char* user : {"demo", "admin", "COUNT", "nobody"})
    write_seed(std::string("user-") + user, std::string(user) + "\n" + list);
  write_seed("no-count-line", "viewer\nU1 = demo = camera1 = 152\nU2 = viewer = v = 24\n");
  write_seed("short-records", "x\nCOUNT = 3\nA = x\nB = x = y\nC = x = y = 408\n");
}

}  // namespace camrcd

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace camrcd;
  const uint8_t* line_end = static_cast<const uint8_t*>(memchr(data, '\n', size));
  if (line_end == nullptr)
    return 0;
  char sought[kUserFieldSize] = {};
  memcpy(sought, data, std::min<size_t>(line_end - data, kUserFieldSize - 1));
  std::string file(reinterpret_cast<const char*>(line_end + 1), data + size - line_end - 1);
  FileReader stream;
  open_memory_reader(&stream, file.data(), file.size());
  char name[kUserFieldSize], password[kUserFieldSize];
  memset(name, 0x5A, sizeof name);
  memset(password, 0x5A, sizeof password);
  uint8_t rights = 0;
  int result = find_user_in_stream(&stream, sought, name, password, &rights);
  fuzz_check(result == kUserAdmitted || result == kUserUnknown || result == kUserRefused,
             "an unknown result");
  if (result != kUserUnknown) {
    fuzz_check(text_terminated(name, sizeof name) && text_terminated(password, sizeof password),
               "a user field without its end");
    fuzz_check(strcmp(name, sought) == 0, "a match with another name");
    fuzz_check(result == kUserRefused || (rights & 0x99) == 0x98, "admitted by the wrong rights");
  }
  return 0;
}
