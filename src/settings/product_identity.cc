// Product identity: finds the line of admin/product_info.ls that names the model and
// looks the model names up in table order. Lines are read in pieces of at most 49
// characters; at most five pieces are read.
#include "settings/product_identity.h"

#include <stdint.h>
#include <string.h>

#include "platform/console.h"
#include "platform/dev_root.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr int kProductLinesRead = 5;
constexpr size_t kProductLineSize = 50;

struct ModelRow {
  const char* name;
  uint8_t device_type;
};

// In the order the names are tried: the first one found in the line decides.
constexpr ModelRow kModels[] = {
    {"ZR-Q310", 1}, {"ZR-Q720", 1}, {"ZR-Q830", 1}, {"ZR-Q831", 1}, {"ZR-Q520", 2},
};

uint8_t device_type_of_model_line(const char* line) {
  for (const ModelRow& model : kModels) {
    if (strstr(line, model.name) != nullptr)
      return model.device_type;
  }
  return 0;
}

}  // namespace

uint8_t device_type_of_product_file(FileReader* file) {
  char line[kProductLineSize] = "";
  char piece[kProductLineSize];
  int lines_read = 0;
  bool found = false;
  while (lines_read < kProductLinesRead && read_line_piece(file, piece, sizeof piece) > 0) {
    memcpy(line, piece, sizeof line);
    ++lines_read;
    if (strstr(line, "Model") != nullptr) {
      found = true;
      break;
    }
  }
  // Five pieces without "Model": nothing to search. Otherwise the model line, or the
  // last piece read when the file ended first.
  if (lines_read == 0 || (!found && lines_read == kProductLinesRead))
    return 0;
  return device_type_of_model_line(line);
}

void read_product_identity() {
  char path[kPathCapacity];
  FileReader file;
  if (!open_file_reader(&file, web_path(path, sizeof path, "admin/product_info.ls"))) {
    console_print("Conf. Open ERR. %s\n", path);
    return;
  }
  uint8_t device_type = device_type_of_product_file(&file);
  close_file_reader(&file);
  if (device_type != 0)
    settings.device_type = device_type;
}

}  // namespace camrcd
