// Pieces of at most 49 bytes, read a byte at a time through input_byte(), the one
// place that touches the input stream.
#include "settings/sectioned/piece_reader.h"

#include <string.h>

namespace camrcd {
namespace {

int input_byte(FILE* input) {
  return getc(input);
}

}  // namespace

bool read_piece(FILE* input, Piece* piece) {
  piece->length = 0;
  while (piece->length < kPieceCapacity) {
    int c = input_byte(input);
    if (c == EOF)
      break;
    piece->bytes[piece->length++] = static_cast<char>(c);
    if (c == '\n')
      break;
  }
  piece->bytes[piece->length] = '\0';
  return piece->length > 0;
}

bool piece_contains(const Piece& piece, const char* text) {
  return memmem(piece.bytes, piece.length, text, strlen(text)) != nullptr;
}

bool piece_begins_with(const Piece& piece, const char* text) {
  size_t length = strlen(text);
  return piece.length >= length && memcmp(piece.bytes, text, length) == 0;
}

void write_piece(FILE* output, const Piece& piece) {
  fwrite(piece.bytes, 1, piece.length, output);
}

}  // namespace camrcd
