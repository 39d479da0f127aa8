// The piece reader of the sectioned files: a line buffer of 50 bytes. Each read
// returns the rest of the current line, at most 49 bytes, with its line feed when the
// line feed fits, so a longer line comes as several pieces and each is handled as a
// line of its own. Pieces are byte runs with a length: a NUL byte is a byte like any
// other, and a piece is written back exactly as it was read.
#ifndef CAMRCD_SETTINGS_SECTIONED_PIECE_READER_H_
#define CAMRCD_SETTINGS_SECTIONED_PIECE_READER_H_

#include <stddef.h>
#include <stdio.h>

#include "platform/file_reader.h"

namespace camrcd {

inline constexpr size_t kLineBufferSize = 50;
inline constexpr size_t kPieceCapacity = kLineBufferSize - 1;

struct Piece {
  char bytes[kLineBufferSize];  // bytes[length] is 0, so the text functions may read it
  size_t length;
};

// Reads the next piece of input into piece. False (piece empty) when input has ended.
bool read_piece(FileReader* input, Piece* piece);

// Whether text occurs anywhere in the piece.
bool piece_contains(const Piece& piece, const char* text);

// Whether the piece begins with text.
bool piece_begins_with(const Piece& piece, const char* text);

// Writes the piece's bytes unchanged.
void write_piece(FILE* output, const Piece& piece);

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_SECTIONED_PIECE_READER_H_
