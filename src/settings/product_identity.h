// Product identity: the camera model named in admin/product_info.ls decides the
// device type (1 fixed camera, 2 pan/tilt camera, 0 unknown). Read once at start-up.
#ifndef CAMRCD_SETTINGS_PRODUCT_IDENTITY_H_
#define CAMRCD_SETTINGS_PRODUCT_IDENTITY_H_

#include <stdint.h>

#include "platform/file_reader.h"

namespace camrcd {

// The device type that a product file names: 1 or 2, or 0 when it names no listed
// model. Reads at most five pieces of at most 49 characters from `file`.
uint8_t device_type_of_product_file(FileReader* file);

// Reads the product file and sets settings.device_type (left 0 when the file is
// missing or names no listed model).
void read_product_identity();

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_PRODUCT_IDENTITY_H_
