// Pieces of at most 49 bytes, cut from the buffered reader as fgets() would cut them.
#include "settings/sectioned/piece_reader.h"

#include <string.h>

namespace camrcd {
bool read_piece(FileReader* input, Piece* piece) {
  piece->length = read_line_piece(input, piece->bytes, sizeof piece->bytes);
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
