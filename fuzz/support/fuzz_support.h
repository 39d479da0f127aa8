// What the fuzz targets share: the entry points each target defines besides
// LLVMFuzzerTestOneInput, a sandbox camera whose files are put back before each input,
// a socket that hands bytes to the code under test, invariant checks and seed writing.
// Every target runs single-threaded; nothing here is thread-safe.
#ifndef CAMRCD_FUZZ_SUPPORT_FUZZ_SUPPORT_H_
#define CAMRCD_FUZZ_SUPPORT_FUZZ_SUPPORT_H_

#include <stddef.h>
#include <stdint.h>

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace camrcd {

// Defined by each target. fuzz_setup runs once before the first input; fuzz_seeds
// writes the target's seed inputs with write_seed. When CAMRCD_FUZZ_SEEDS names a
// directory, the program writes its seeds there after the setup and exits.
void fuzz_setup();
void fuzz_seeds();

// Writes one seed input into the seed directory.
void write_seed(const std::string& name, const std::string& bytes);

// A pan/tilt sandbox camera below /dev/shm or /tmp (tools/make-sandbox), made at the
// first call;
// the development root is set to it. Returns the root.
const std::string& camera_root();

// Puts back every configuration file of the camera as it was made, and removes the
// files that requests create beside them.
void restore_camera_files();

// The text of a camera file as made; `path` is below the web root, or absolute.
std::string camera_file(const std::string& path);

// Replaces a file of the camera; `path` as for camera_file.
void put_camera_file(const std::string& path, const std::string& text);

// The first end of a socket pair whose other end has sent `bytes` (as many as fit
// the socket's buffer) and was closed: receives give the bytes, then the end of the
// stream, and sends fail with EPIPE. -1 when no pair could be made.
int socket_fed_with(const uint8_t* bytes, size_t size);

// A broken invariant is a crash: prints `what` and aborts when `holds` is false.
void fuzz_check(bool holds, const char* what);

// True when the text field of `size` bytes holds its terminating zero.
bool text_terminated(const char* field, size_t size);

}  // namespace camrcd

#endif  // CAMRCD_FUZZ_SUPPORT_FUZZ_SUPPORT_H_
