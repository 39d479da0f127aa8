// The layout keys: the few fields whose value decides a message's layout.
#include "protocol/wire_fields.h"

namespace camrcd {
namespace {

struct FieldKey {
  Field field;
  LayoutKey key;
};

constexpr FieldKey kLayoutKeys[] = {
    {Field::kClientVersion, LayoutKey::kRequestVersion},
    {Field::kPresetOperation, LayoutKey::kPresetOperation},
    {Field::kDeviceType, LayoutKey::kDeviceType},
    {Field::kPrivacyAreas, LayoutKey::kAreaCount},
    {Field::kMotionMapValid, LayoutKey::kMapValid},
    {Field::kMotionLayoutVersion, LayoutKey::kLayoutMajor},
};

}  // namespace

LayoutKey field_layout_key(Field field) {
  for (const FieldKey& entry : kLayoutKeys) {
    if (entry.field == field)
      return entry.key;
  }
  return LayoutKey::kNone;
}

}  // namespace camrcd
