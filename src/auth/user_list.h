// Looks a user up in the user list "admin/user_list.lst" below the web root. The file
// is read afresh at every call and nothing of it is kept. Records are four words,
// "label = name = password = rights"; a label beginning with "COUNT" makes a count line
// whose name word bounds the search to the count line and the next n records (without
// one, the first two records only). Names compare exactly; the rights byte (the low 8
// bits of the decimal rights word) refuses a user with bit 0 set and admits one only
// when bits 0x98 are all set.
#ifndef CAMRCD_AUTH_USER_LIST_H_
#define CAMRCD_AUTH_USER_LIST_H_

#include <stddef.h>
#include <stdint.h>

#include "platform/file_reader.h"

namespace camrcd {

// A name or password with its zero byte; longer words of the file are cut to 19.
inline constexpr size_t kUserFieldSize = 20;

inline constexpr int kUserAdmitted = 0;
inline constexpr int kUserListUnreadable = -1;
inline constexpr int kUserUnknown = -2;
inline constexpr int kUserRefused = -7;

// Searches the list `stream` reads for `sought` (compared over at most kUserFieldSize bytes, so it
// needs no terminator beyond that). Returns kUserAdmitted, kUserUnknown or
// kUserRefused; on a match (admitted or refused) fills name, password and rights.
// Prints "Auth Mismatch\n" when the rights lack bits 0x98 and bit 0 is clear.
int find_user_in_stream(FileReader* stream, const char* sought, char name[kUserFieldSize],
                        char password[kUserFieldSize], uint8_t* rights);

// Opens the user list and searches it for the name at offset 12 of the received
// opening message. Returns kUserListUnreadable, printing
// "fopen() failed - /admin/user_list.lst\n", when the file cannot be opened.
int find_user(const uint8_t* opening_message, char name[kUserFieldSize],
              char password[kUserFieldSize], uint8_t* rights);

}  // namespace camrcd

#endif  // CAMRCD_AUTH_USER_LIST_H_
