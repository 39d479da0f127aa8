// Stand-in for every camera program: records its call, does what the camera's program
// does where the daemon reads the result back, and exits with 0.
// Appends one line to $CAMRCD_ROOT/stub.log (./stub.log without the variable): the base
// name, then per argument a blank and the argument in double quotes with C escapes
// (\\ \" \n \t \r, \xNN for other bytes below 0x20 or from 0x7f). Appends one line to
// stub-fds.log: the base name and its open descriptors, ascending. One write per line.
// send_servertitle then carries the title the daemon wrote (admin/view_title.ls) to
// where the daemon reads it (kelda2/view_title.ls), replacing that file in one rename.
#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

std::string base_name(const char* path) {
  const char* slash = strrchr(path, '/');
  return slash != nullptr ? slash + 1 : path;
}

void append_quoted(std::string* line, const char* argument) {
  static const char kHex[] = "0123456789abcdef";
  line->append(" \"");
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(argument); *p; ++p) {
    switch (*p) {
      case '\\':
        line->append("\\\\");
        break;
      case '"':
        line->append("\\\"");
        break;
      case '\n':
        line->append("\\n");
        break;
      case '\t':
        line->append("\\t");
        break;
      case '\r':
        line->append("\\r");
        break;
      default:
        if (*p < 0x20 || *p >= 0x7f) {
          const char escape[] = {'\\', 'x', kHex[*p >> 4], kHex[*p & 15]};
          line->append(escape, sizeof escape);
        } else {
          line->push_back(static_cast<char>(*p));
        }
    }
  }
  line->push_back('"');
}

// The descriptors open now, without the one of the directory stream that lists them.
std::vector<int> open_descriptors() {
  std::vector<int> found;
  DIR* directory = opendir("/proc/self/fd");
  if (directory == nullptr)
    return found;
  int own = dirfd(directory);
  while (dirent* entry = readdir(directory)) {
    if (entry->d_name[0] == '.')
      continue;
    int descriptor = atoi(entry->d_name);
    if (descriptor != own)
      found.push_back(descriptor);
  }
  closedir(directory);
  std::sort(found.begin(), found.end());
  return found;
}

void append_line(const std::string& path, const std::string& line) {
  int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (descriptor < 0)
    return;
  ssize_t written = write(descriptor, line.data(), line.size());
  (void)written;
  close(descriptor);
}

void copy_file(const std::string& from, const std::string& to) {
  FILE* in = fopen(from.c_str(), "rbe");
  if (in == nullptr)
    return;
  std::string temporary = to + ".camstub";
  FILE* out = fopen(temporary.c_str(), "wbe");
  char buffer[4096];
  size_t got = 0;
  while (out != nullptr && (got = fread(buffer, 1, sizeof buffer, in)) > 0)
    fwrite(buffer, 1, got, out);
  fclose(in);
  if (out != nullptr && fclose(out) == 0)
    rename(temporary.c_str(), to.c_str());
}

void send_servertitle(const std::string& root) {
  const std::string web = root + "home/zr/webserver/web/";
  copy_file(web + "admin/view_title.ls", web + "kelda2/view_title.ls");
}

// Programs whose effect the daemon reads back, and what they do (given the root with
// its trailing slash).
const struct {
  const char* name;
  void (*run)(const std::string& root);
} kEffects[] = {{"send_servertitle", send_servertitle}};

}  // namespace

int main(int argc, char** argv) {
  std::vector<int> descriptors = open_descriptors();
  std::string name = base_name(argc > 0 ? argv[0] : "camstub");
  const char* root = getenv("CAMRCD_ROOT");
  std::string folder =
      root != nullptr && root[0] != '\0' ? std::string(root) + "/" : std::string("./");

  std::string call = name;
  for (int i = 1; i < argc; ++i)
    append_quoted(&call, argv[i]);
  call.push_back('\n');
  append_line(folder + "stub.log", call);

  std::string listing = name;
  for (int descriptor : descriptors)
    listing += " " + std::to_string(descriptor);
  listing.push_back('\n');
  append_line(folder + "stub-fds.log", listing);
  for (const auto& effect : kEffects) {
    if (name == effect.name)
      effect.run(folder);
  }
  return 0;
}
