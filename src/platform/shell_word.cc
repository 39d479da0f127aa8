// Single-quote quoting: inside '...' the shell takes every byte literally except the
// closing quote, so a quote is written as '\'' (close, escaped quote, reopen).
#include "platform/shell_word.h"

namespace camrcd {

bool shell_word(char* out, size_t size, const char* text) {
  size_t at = 0;
  auto put = [&](char c) {
    if (at + 1 < size)
      out[at] = c;
    ++at;
  };
  put('\'');
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p == '\'') {
      put('\'');
      put('\\');
      put('\'');
      put('\'');
    } else {
      put(*p);
    }
  }
  put('\'');
  if (at + 1 > size) {
    if (size > 0)
      out[0] = '\0';
    return false;
  }
  out[at] = '\0';
  return true;
}

}  // namespace camrcd
