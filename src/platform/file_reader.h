// The buffered reader under every configuration-file reader: a few kilobytes per
// read(2) into a buffer of its own, no stdio and no locking, one byte of push-back.
// Also the two token shapes the readers share: the word and the line piece.
#ifndef CAMRCD_PLATFORM_FILE_READER_H_
#define CAMRCD_PLATFORM_FILE_READER_H_

#include <stddef.h>

namespace camrcd {

inline constexpr size_t kFileReaderBufferSize = 4096;
inline constexpr int kEndOfInput = -1;

// A reader over an open descriptor or over bytes in memory (tests and fuzzers).
// Bytes in [next, end) are read and not yet taken; once `ended` is set no read(2) is
// tried again, so every call after the end returns kEndOfInput at once.
struct FileReader {
  int descriptor;  // -1: memory, or closed
  const unsigned char* next;
  const unsigned char* end;
  bool ended;
  unsigned char buffer[kFileReaderBufferSize];
};

// Opens path for reading (close-on-exec). False, with nothing to close, when it can't.
bool open_file_reader(FileReader* reader, const char* path);

// A reader over size bytes at bytes, which must outlive it. Nothing to close.
void open_memory_reader(FileReader* reader, const void* bytes, size_t size);

// Closes the descriptor, if any.
void close_file_reader(FileReader* reader);

// Refills the buffer and takes its first byte; kEndOfInput at the end or on an error.
int refill_and_read_byte(FileReader* reader);

// The next byte (0..255), or kEndOfInput.
inline int read_byte(FileReader* reader) {
  return reader->next < reader->end ? *reader->next++ : refill_and_read_byte(reader);
}

// Gives back the byte the last read_byte returned. Only valid right after a
// read_byte that returned a byte (it is still in the buffer then).
inline void unread_byte(FileReader* reader) {
  --reader->next;
}

// Reads the first size bytes of the file at path straight into out; a shorter file
// leaves the rest of out as it was. False, with out untouched, when it can't be opened.
bool read_file_start(const char* path, void* out, size_t size);

// Whitespace as the "C" locale's isspace() knows it.
bool is_space(int c);

// Consumes whitespace; the first other byte stays unread. Returns it (or kEndOfInput).
int skip_space(FileReader* reader);

// Skips whitespace and reads one word into out, as the C library's "%s" conversion
// does: the whole word is consumed, cut to size - 1 bytes in out, and the whitespace
// after it stays unread. False, leaving out untouched, when input ends before a word.
bool scan_word(FileReader* reader, char* out, size_t size);

// Reads the rest of the current line, at most capacity - 1 bytes, with its line feed
// when the line feed fits, as fgets() does; out[length] is 0 and the length is
// returned (NUL bytes included). 0 when input has ended.
size_t read_line_piece(FileReader* reader, char* out, size_t capacity);

}  // namespace camrcd

#endif  // CAMRCD_PLATFORM_FILE_READER_H_
