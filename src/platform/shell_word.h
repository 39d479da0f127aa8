// The one quoting helper: turns any text into a single POSIX shell word that the
// shell hands to a program unchanged, whatever bytes (1 to 255) the text holds.
#ifndef CAMRCD_PLATFORM_SHELL_WORD_H_
#define CAMRCD_PLATFORM_SHELL_WORD_H_

#include <stddef.h>

namespace camrcd {

// Writes text as one shell word into out: wrapped in single quotes, each single
// quote written as '\''. Needs at most 4 * strlen(text) + 3 bytes; a word that does
// not fit is not written (out becomes "") and false is returned.
bool shell_word(char* out, size_t size, const char* text);

}  // namespace camrcd

#endif  // CAMRCD_PLATFORM_SHELL_WORD_H_
