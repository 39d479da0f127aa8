// wiregen: prints what the protocol tables describe, for people and tools outside the
// daemon: the Wireshark dissector and the protocol reference for client developers.
//
// usage: wiregen lua [FILE]                 the dissector, to FILE or standard output
//        wiregen reference EXCHANGE [FILE]  the reference, with the recorded exchange
#include <stdio.h>
#include <string.h>

#include <string>

#include "lua_dissector.h"
#include "protocol_reference.h"

namespace {

int write_output(const std::string& text, const char* path) {
  FILE* out = path != nullptr ? fopen(path, "we") : stdout;
  bool written = out != nullptr && fwrite(text.data(), 1, text.size(), out) == text.size();
  if (out != nullptr && out != stdout && fclose(out) != 0)
    written = false;
  if (!written) {
    fprintf(stderr, "wiregen: cannot write %s\n", path != nullptr ? path : "standard output");
    return 1;
  }
  return 0;
}

int usage() {
  fprintf(stderr, "usage: wiregen lua [FILE]\n       wiregen reference EXCHANGE [FILE]\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 2 && argc <= 3 && strcmp(argv[1], "lua") == 0)
    return write_output(camrcd::lua_dissector(), argc == 3 ? argv[2] : nullptr);
  if (argc >= 3 && argc <= 4 && strcmp(argv[1], "reference") == 0) {
    std::string reference, error;
    if (!camrcd::protocol_reference(argv[2], &reference, &error)) {
      fprintf(stderr, "wiregen: %s\n", error.c_str());
      return 1;
    }
    return write_output(reference, argc == 4 ? argv[3] : nullptr);
  }
  return usage();
}
