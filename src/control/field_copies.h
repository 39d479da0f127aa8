// Copies of write-request fields into the settings record: one table per write
// request (header byte, record field, rule, text sizes) and one walker. A table
// names the group lock that is held while its rows are copied.
//
// Rules: a one-byte field is stored when not 0 (nz) or whatever its value
// (always); a 16-bit field is little-endian into a 32-bit record field, stored when
// either byte is not 0; a text field is taken when its first byte is not 0 (or
// always), the record field is then zeroed over field_size bytes and at most width
// characters are copied; the MPEG bitrate is taken, even when 0, only while
// mpeg_cbr_code (after the rate-control byte was taken) is 2.
#ifndef CAMRCD_CONTROL_FIELD_COPIES_H_
#define CAMRCD_CONTROL_FIELD_COPIES_H_

#include <stddef.h>
#include <stdint.h>

#include <mutex>

namespace camrcd {

enum class CopyRule : uint8_t {
  kNonZero,        // uint8_t field
  kAlways,         // uint8_t field
  kTextNonZero,    // char field
  kTextAlways,     // char field
  kWord16NonZero,  // int32_t field
  kMpegBitrate,    // int32_t field (mpeg_bitrate)
};

struct FieldCopy {
  uint8_t offset;  // header byte (first byte of a 16-bit value or a text)
  CopyRule rule;
  void* field;         // record field, of the type the rule names
  uint8_t width;       // text: characters copied at most
  uint8_t field_size;  // text: bytes zeroed before the copy
};

struct FieldCopyTable {
  const FieldCopy* rows;
  size_t count;
  std::mutex* lock;  // held around the whole table; may be null
};

// Applies one row's rule to the record field. No lock is taken.
void copy_field(const FieldCopy& row, const uint8_t* header);

// Walks the table in row order, each row by its rule, under the table's lock (not
// taken when it is `held`, the lock the caller already holds).
void copy_fields(const FieldCopyTable& table, const uint8_t* header,
                 const std::mutex* held = nullptr);

// Stream class.
extern const FieldCopyTable kMpegWriteFields;        // bytes 4-9
extern const FieldCopyTable kJpegWriteFields;        // bytes 4-5
extern const FieldCopyTable kAutorunWriteFields;     // bytes 4-12
extern const FieldCopyTable kStreamMpegWriteFields;  // stream settings, bytes 5-10
extern const FieldCopyTable kStreamJpegWriteFields;  // stream settings, bytes 11-12
// Event class.
extern const FieldCopyTable kMotionWriteFields;     // device type 1: bytes 4-5
extern const FieldCopyTable kMd2MotionWriteFields;  // other types: byte 12 first, 4-5, 11-22
extern const FieldCopyTable kAlarmWriteFields;      // bytes 4-8
extern const FieldCopyTable kAlarmLinkWriteFields;  // bytes 6-20, selectors always
extern const FieldCopyTable kPresetSelectorField;   // byte 11, every operation
extern const FieldCopyTable kPresetSetFields;       // bytes 7-10, 12-23, operation 0
// Overlay class.
extern const FieldCopyTable kOsdWriteFields;      // bytes 4-27
extern const FieldCopyTable kTitleWriteFields;    // bytes 4-23
extern const FieldCopyTable kPrivacyWriteFields;  // bytes 4-14
// Camera class.
extern const FieldCopyTable kPictureWriteFields;       // bytes 4-8
extern const FieldCopyTable kWhiteBalanceWriteFields;  // bytes 4-6
extern const FieldCopyTable kCamcontrol2WriteFields;   // bytes 4-7

}  // namespace camrcd

#endif  // CAMRCD_CONTROL_FIELD_COPIES_H_
