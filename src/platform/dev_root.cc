// Development root: a prefix for files and for the paths inside command lines.
// Set once at start-up, before any thread exists; read-only afterwards.
#include "platform/dev_root.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "platform/shell_word.h"

namespace camrcd {
namespace {

char root_text[kPathCapacity / 2 + 1];
char root_command_word[kPathCapacity * 2];

}  // namespace

bool dev_root_init(const char* root) {
  if (root == nullptr)
    root = getenv("CAMRCD_ROOT");
  root_text[0] = '\0';
  root_command_word[0] = '\0';
  if (root == nullptr || root[0] == '\0')
    return true;
  size_t length = strlen(root);
  while (length > 1 && root[length - 1] == '/')
    --length;  // "D/" and "D" mean the same
  if (length > kPathCapacity / 2)
    return false;
  memcpy(root_text, root, length);
  root_text[length] = '\0';
  shell_word(root_command_word, sizeof root_command_word, root_text);
  return true;
}

const char* dev_root() {
  return root_text;
}

const char* dev_root_for_command() {
  return root_command_word;
}

const char* rooted_path(char* out, size_t size, const char* absolute_path) {
  snprintf(out, size, "%s%s", root_text, absolute_path);
  return out;
}

const char* web_path(char* out, size_t size, const char* relative_path) {
  snprintf(out, size, "%s%s/%s", root_text, kWebRoot, relative_path);
  return out;
}

}  // namespace camrcd
