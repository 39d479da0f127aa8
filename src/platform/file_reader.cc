// The buffered reader. A descriptor is read kFileReaderBufferSize bytes at a time; a
// memory reader has all its bytes at hand from the start and is ended at once.
#include "platform/file_reader.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

namespace camrcd {

bool open_file_reader(FileReader* reader, const char* path) {
  int descriptor;
  do {
    descriptor = open(path, O_RDONLY | O_CLOEXEC);
  } while (descriptor < 0 && errno == EINTR);
  if (descriptor < 0)
    return false;
  reader->descriptor = descriptor;
  reader->next = reader->end = reader->buffer;
  reader->ended = false;
  return true;
}

void open_memory_reader(FileReader* reader, const void* bytes, size_t size) {
  reader->descriptor = -1;
  reader->next = static_cast<const unsigned char*>(bytes);
  reader->end = reader->next + size;
  reader->ended = true;
}

void close_file_reader(FileReader* reader) {
  if (reader->descriptor >= 0)
    close(reader->descriptor);
  reader->descriptor = -1;
}

int refill_and_read_byte(FileReader* reader) {
  if (reader->next < reader->end)
    return *reader->next++;
  while (!reader->ended) {
    ssize_t count = read(reader->descriptor, reader->buffer, sizeof reader->buffer);
    if (count < 0 && errno == EINTR)
      continue;
    if (count <= 0) {
      reader->ended = true;  // the end, or an error: either way nothing more comes
      break;
    }
    reader->next = reader->buffer;
    reader->end = reader->buffer + count;
    return *reader->next++;
  }
  return kEndOfInput;
}

bool read_file_start(const char* path, void* out, size_t size) {
  FileReader reader;
  if (!open_file_reader(&reader, path))
    return false;
  unsigned char* bytes = static_cast<unsigned char*>(out);
  size_t count = 0;
  while (count < size) {
    ssize_t got = read(reader.descriptor, bytes + count, size - count);
    if (got < 0 && errno == EINTR)
      continue;
    if (got <= 0)
      break;
    count += static_cast<size_t>(got);
  }
  close_file_reader(&reader);
  return true;
}

bool is_space(int c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

int skip_space(FileReader* reader) {
  int c = read_byte(reader);
  while (c != kEndOfInput && is_space(c))
    c = read_byte(reader);
  if (c != kEndOfInput)
    unread_byte(reader);
  return c;
}

bool scan_word(FileReader* reader, char* out, size_t size) {
  if (skip_space(reader) == kEndOfInput)
    return false;
  size_t length = 0;
  int c;
  for (c = read_byte(reader); c != kEndOfInput && !is_space(c); c = read_byte(reader)) {
    if (length + 1 < size)
      out[length++] = static_cast<char>(c);
  }
  if (c != kEndOfInput)
    unread_byte(reader);
  if (size > 0)
    out[length] = '\0';
  return true;
}

size_t read_line_piece(FileReader* reader, char* out, size_t capacity) {
  size_t length = 0;
  while (length + 1 < capacity) {
    int c = read_byte(reader);
    if (c == kEndOfInput)
      break;
    out[length++] = static_cast<char>(c);
    if (c == '\n')
      break;
  }
  if (capacity > 0)
    out[length] = '\0';
  return length;
}

}  // namespace camrcd
