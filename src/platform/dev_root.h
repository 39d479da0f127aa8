// The development root: when CAMRCD_ROOT names a directory D, every absolute path
// the server uses (files, and paths inside command lines) becomes D followed by that
// path. Unset or empty, paths are exactly the camera's. Read once by dev_root_init().
#ifndef CAMRCD_PLATFORM_DEV_ROOT_H_
#define CAMRCD_PLATFORM_DEV_ROOT_H_

#include <stddef.h>

namespace camrcd {

// The camera's web root, below which the configuration files and programs live.
inline constexpr char kWebRoot[] = "/home/zr/webserver/web";

// Largest path the server forms (root, web root and relative path).
inline constexpr size_t kPathCapacity = 512;

// Reads CAMRCD_ROOT (or takes `root` when it is not null, for tests). A root longer
// than kPathCapacity / 2 is refused and leaves the root empty; returns false then.
bool dev_root_init(const char* root = nullptr);

// The root as given ("" when none).
const char* dev_root();

// The root as one shell word ('...' quoted), "" when none: put it directly in front
// of an absolute path inside a command line.
const char* dev_root_for_command();

// out = root + absolute_path. Returns out.
const char* rooted_path(char* out, size_t size, const char* absolute_path);

// out = root + web_root + "/" + relative_path (relative_path has no leading slash).
const char* web_path(char* out, size_t size, const char* relative_path);

}  // namespace camrcd

#endif  // CAMRCD_PLATFORM_DEV_ROOT_H_
