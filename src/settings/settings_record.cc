// Storage of the settings record: zero-filled at process start, lives for ever.
#include "settings/settings_record.h"

namespace camrcd {

SettingsRecord settings;

}  // namespace camrcd
