// Console output: format into a bounded buffer, then write it whole under a lock.
// Texts longer than the buffer are cut; the daemon's lines are far shorter.
#include "platform/console.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "platform/mutex.h"

namespace camrcd {
namespace {

constexpr size_t kLineCapacity = 8192;
Mutex console_lock;

void write_whole(int descriptor, const char* text, size_t length) {
  while (length > 0) {
    ssize_t written = write(descriptor, text, length);
    if (written < 0) {
      if (errno == EINTR)
        continue;
      return;
    }
    text += written;
    length -= static_cast<size_t>(written);
  }
}

void print_to(int descriptor, const char* format, va_list arguments) {
  char line[kLineCapacity];
  int length = vsnprintf(line, sizeof line, format, arguments);
  if (length <= 0)
    return;
  size_t size =
      static_cast<size_t>(length) < sizeof line ? static_cast<size_t>(length) : sizeof line - 1;
  MutexHold hold(console_lock);
  write_whole(descriptor, line, size);
}

}  // namespace

void console_print(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  print_to(STDOUT_FILENO, format, arguments);
  va_end(arguments);
}

void console_error(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  print_to(STDERR_FILENO, format, arguments);
  va_end(arguments);
}

void console_write(const char* text) {
  MutexHold hold(console_lock);
  write_whole(STDOUT_FILENO, text, strlen(text));
}

void console_print_from_signal(const char* text) {
  ssize_t ignored = write(STDOUT_FILENO, text, strlen(text));
  (void)ignored;
}

}  // namespace camrcd
