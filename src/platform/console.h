// Console output of the daemon: every progress and error line goes through here.
// A call writes its whole formatted text to the descriptor in one piece under one
// process-wide lock, so lines of different threads never interleave, also when
// standard output is a pipe or a file.
#ifndef CAMRCD_PLATFORM_CONSOLE_H_
#define CAMRCD_PLATFORM_CONSOLE_H_

namespace camrcd {

// Formats like printf and writes the text to standard output at once.
void console_print(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Formats like printf and writes the text to standard error at once.
void console_error(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Writes text to standard output whole, under the same lock, however long it is (the
// formatted calls cut a text at 8 KiB): for long fixed texts such as a program's help.
void console_write(const char* text);

// Writes a constant text to standard output with one write(2) call and no lock:
// the only console call that a signal handler may make.
void console_print_from_signal(const char* text);

}  // namespace camrcd

#endif  // CAMRCD_PLATFORM_CONSOLE_H_
