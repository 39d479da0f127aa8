// camrc: the command-line client of the control port. The command line is turned
// into a plan (request header, optional payload, the reply to expect) before any
// connection is made, so a usage error never reaches the server; then the plan runs
// over one logged-in connection, which ends with a close request.
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "camrc_output.h"
#include "camrc_session.h"
#include "camrc_writes.h"
#include "client/client_request.h"
#include "client/reply_fields.h"
#include "control/replies.h"
#include "platform/console.h"
#include "settings/group_masks.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

enum ReplyKind { kExpectNone, kExpectInfo, kExpectMotion, kExpectClose };

struct Plan {
  RequestHeader header;
  ReplyKind expect = kExpectNone;
  bool json = false;
  const char* map_out = nullptr;  // motion get: where the block map goes
  std::vector<uint8_t> payload;   // motion set: the block map and its trailer
};

const char kUsage[] =
    "usage: camrc [--host H] [--port P] --user U (--password P | --password-file F)\n"
    "             COMMAND [ARGS...]\n"
    "  --host H          server name or address (default 127.0.0.1)\n"
    "  --port P          control port (default 9001)\n"
    "  --password-file F the password is the first line of F\n"
    "  --version         print camrc's version\n"
    "commands:\n"
    "  info [--json]                      print the device information\n"
    "  reload [--json] [--bits N] [GROUP...]\n"
    "                                     reload groups (video mpeg jpeg osd privacy\n"
    "                                     camcontrol1 camcontrol2 alarm autorun), print\n"
    "                                     the device information\n"
    "  motion get [--json] [--area N] [--map FILE]\n"
    "                                     print the motion settings; FILE receives the\n"
    "                                     4801-byte block map\n"
    "  motion set --map FILE [--valid N] [--flags N] [--area N]\n"
    "                                     send a 4801-byte block map (pan/tilt cameras\n"
    "                                     save it only with --area)\n"
    "  close                              send the close request\n"
    "write commands (an option not given leaves its setting unchanged):\n";

const char kExitStatuses[] =
    "  --resolution: 1 quadvga+vga, 2 vga+vga, 3 vga+qvga; alarm --mode: 1, 128, 64 or 192\n"
    "  numbers are decimal or 0x hexadecimal\n"
    "exit status: 0 success, 2 usage error, 3 connection refused or unreachable,\n"
    "  4 login refused, 5 the server ended the connection before its reply,\n"
    "  6 bad reply or none in time\n";

int usage_error(const std::string& message) {
  console_error("camrc: %s (camrc --help tells more)\n", message.c_str());
  return kCamrcUsage;
}

// Removes "--name" from argv; true when it was there.
bool take_flag(int* argc, char** argv, const char* name) {
  for (int i = 0; i < *argc; i++) {
    if (strcmp(argv[i], name) == 0) {
      memmove(argv + i, argv + i + 1, sizeof(char*) * (*argc - i - 1));
      --*argc;
      return true;
    }
  }
  return false;
}

// Removes "--name VALUE" from argv into *value. -1 when the value is missing.
int take_value(int* argc, char** argv, const char* name, const char** value) {
  for (int i = 0; i < *argc; i++) {
    if (strcmp(argv[i], name) != 0)
      continue;
    if (i + 1 >= *argc)
      return -1;
    *value = argv[i + 1];
    memmove(argv + i, argv + i + 2, sizeof(char*) * (*argc - i - 2));
    *argc -= 2;
    return 0;
  }
  return 0;
}

int prepare_info(int argc, char** argv, Plan* plan) {
  plan->json = take_flag(&argc, argv, "--json");
  if (argc > 0)
    return usage_error(std::string("info: unexpected \"") + argv[0] + "\"");
  plan->header = make_request(kClassInformation, kSubDeviceInfo);
  request_set_version(&plan->header, 6, 1, 0);
  plan->expect = kExpectInfo;
  return kCamrcOk;
}

struct ReloadGroup {
  const char* name;
  uint32_t bit;
};

const ReloadGroup kReloadGroups[] = {
    {"video", kLoadVideo},
    {"mpeg", kLoadMpeg},
    {"jpeg", kLoadJpeg},
    {"osd", kLoadOsd},
    {"privacy", kLoadPrivacy},
    {"camcontrol1", kLoadCamcontrol1},
    {"camcontrol2", kLoadCamcontrol2},
    {"alarm", kLoadAlarm},
    {"autorun", kLoadAutorun},
};

// The server answers a reload only for bits 0-9 and 12, and bytes 2-3 must not read
// as the information class (0x10 in byte 2).
bool reload_bits_valid(uint32_t bits) {
  return (bits & 0xEC00) == 0 && (bits >> 8) != kClassInformation;
}

int prepare_reload(int argc, char** argv, Plan* plan) {
  plan->json = take_flag(&argc, argv, "--json");
  const char* raw = nullptr;
  uint32_t bits = 0;
  if (take_value(&argc, argv, "--bits", &raw) != 0 ||
      (raw != nullptr && parse_number(raw, 0xFFFF, &bits) != 0))
    return usage_error("reload --bits: expected a number such as 0x0005");
  for (int i = 0; i < argc; i++) {
    const ReloadGroup* found = nullptr;
    for (const ReloadGroup& group : kReloadGroups)
      found = strcmp(group.name, argv[i]) == 0 ? &group : found;
    if (found == nullptr)
      return usage_error(std::string("reload: unknown group \"") + argv[i] + "\"");
    bits |= found->bit;
  }
  if (!reload_bits_valid(bits))
    return usage_error(
        "reload: the server answers only bits within 0x13FF whose high byte is not 0x10");
  plan->header = make_reload_request(static_cast<uint16_t>(bits));
  plan->expect = kExpectInfo;
  return kCamrcOk;
}

int prepare_close(int argc, char** argv, Plan* plan) {
  if (argc > 0)
    return usage_error(std::string("close: unexpected \"") + argv[0] + "\"");
  plan->header = make_request(kClassInformation, kSubClose);
  plan->expect = kExpectClose;
  return kCamrcOk;
}

// Reads a block map file of exactly kMotionBlockMapSize bytes into the payload and
// adds the trailer.
int read_map_file(const char* path, std::vector<uint8_t>* payload) {
  FILE* file = fopen(path, "rbe");
  if (file == nullptr)
    return usage_error(std::string("motion set: cannot open \"") + path + "\"");
  payload->assign(kMotionBlockMapSize + 1, 0);
  size_t got = fread(payload->data(), 1, payload->size(), file);
  fclose(file);
  if (got != kMotionBlockMapSize)
    return usage_error(std::string("motion set: \"") + path + "\" is not a 4801-byte map");
  payload->back() = kTrailerFirst;
  payload->push_back(kTrailerSecond);
  return kCamrcOk;
}

int prepare_motion(int argc, char** argv, Plan* plan) {
  if (argc < 1 || (strcmp(argv[0], "get") != 0 && strcmp(argv[0], "set") != 0))
    return usage_error("motion: expected get or set");
  bool get = strcmp(argv[0], "get") == 0;
  argc--, argv++;
  const char* map = nullptr;
  if (take_value(&argc, argv, "--map", &map) != 0)
    return usage_error("motion: --map needs a file name");
  if (get) {
    plan->json = take_flag(&argc, argv, "--json");
    bool area = false;
    for (int i = 0; i < argc; i++)
      area = area || strcmp(argv[i], "--area") == 0;
    plan->header = make_request(kClassInformation, kSubMotionRead);
    if (parse_write_options(kMotionGetOptions, argc, argv, &plan->header) != 0)
      return kCamrcUsage;
    if (area)  // with version 0 the server reads area set 1, whatever byte 8 holds
      request_set_version(&plan->header, 6, 1, 0);
    plan->map_out = map;
    plan->expect = kExpectMotion;
    return kCamrcOk;
  }
  if (map == nullptr)
    return usage_error("motion set: --map FILE is required");
  plan->header = make_request(kClassEvent, kSubMotionWrite);
  if (parse_write_options(kMotionSetOptions, argc, argv, &plan->header) != 0)
    return kCamrcUsage;
  int status = read_map_file(map, &plan->payload);
  if (status != kCamrcOk)
    return status;
  request_set_u16(&plan->header, 6, static_cast<uint16_t>(plan->payload.size()));
  request_set_version(&plan->header, 8, 1, 0);
  return kCamrcOk;
}

int prepare_write(const WriteCommand& command, int argc, char** argv, Plan* plan) {
  const RequestKind* kind = find_request_kind(command.request);
  plan->header = make_request(kind->command_class, kind->sub);
  return parse_write_options(command, argc, argv, &plan->header) == 0 ? kCamrcOk : kCamrcUsage;
}

using PrepareFn = int (*)(int argc, char** argv, Plan* plan);

struct CommandRow {
  const char* name;
  PrepareFn prepare;
};

const CommandRow kCommands[] = {
    {"info", prepare_info},
    {"reload", prepare_reload},
    {"close", prepare_close},
    {"motion", prepare_motion},
};

int prepare(const char* name, int argc, char** argv, Plan* plan) {
  for (const CommandRow& row : kCommands) {
    if (strcmp(row.name, name) == 0)
      return row.prepare(argc, argv, plan);
  }
  if (const WriteCommand* command = find_write_command(name))
    return prepare_write(*command, argc, argv, plan);
  return usage_error(std::string("unknown command \"") + name + "\"");
}

void print_fields(const DecodedReply& fields, bool json) {
  std::string text = json ? format_fields_json(fields) : format_fields_text(fields);
  console_print("%s", text.c_str());
}

int write_map_file(const char* path, const Reply& reply) {
  if (reply.length != kMotionReplySize) {
    console_error("camrc: motion get: the reply carries no block map\n");
    return kCamrcBadReply;
  }
  FILE* file = fopen(path, "wbe");
  bool written = file != nullptr && fwrite(reply.bytes + kReplyPayload, 1, kMotionBlockMapSize,
                                           file) == kMotionBlockMapSize;
  if (file != nullptr && fclose(file) != 0)
    written = false;
  if (!written) {
    console_error("camrc: motion get: cannot write \"%s\"\n", path);
    return kCamrcUsage;
  }
  return kCamrcOk;
}

// Reads and prints the reply the plan expects.
int take_reply(int socket, const Plan& plan) {
  Reply reply;
  const char* what = plan.expect == kExpectMotion  ? "motion reply"
                     : plan.expect == kExpectClose ? "close reply"
                                                   : "device information reply";
  int status = receive_reply(socket, &reply, what);
  if (status != kCamrcOk)
    return status;
  if (plan.expect == kExpectClose) {
    bool closed = reply.length == kReplyHeaderSize && reply.bytes[kReplySub] == kReplyClose;
    if (closed)
      console_print("closed\n");
    return closed ? kCamrcOk : session_failure(kClientBadReply, what);
  }
  DecodedReply fields;
  int decoded = plan.expect == kExpectMotion
                    ? decode_motion_reply(reply.bytes, reply.length, &fields)
                    : decode_device_info(reply.bytes, reply.length, &fields);
  if (decoded != 0)
    return session_failure(kClientBadReply, what);
  print_fields(fields, plan.json);
  if (plan.map_out != nullptr)
    status = write_map_file(plan.map_out, reply);
  finish_after_read(socket);
  return status;
}

int run_plan(const SessionTarget& target, const Plan& plan) {
  int socket = -1;
  int status = open_session(target, &socket);
  if (status != kCamrcOk)
    return status;
  int32_t code = send_request(socket, plan.header, plan.payload.data(), plan.payload.size());
  if (code != 0)
    status = session_failure(code, "request");
  else if (plan.expect == kExpectNone)
    status = finish_after_write(socket);
  else
    status = take_reply(socket, plan);
  close(socket);
  return status;
}

int read_password_file(const char* path, std::string* password) {
  FILE* file = fopen(path, "re");
  char line[256] = "";
  bool read = file != nullptr && fgets(line, sizeof(line), file) != nullptr;
  if (file != nullptr)
    fclose(file);
  if (!read)
    return usage_error(std::string("cannot read the password file \"") + path + "\"");
  line[strcspn(line, "\r\n")] = 0;
  *password = line;
  return kCamrcOk;
}

int print_help() {
  console_print("%s", kUsage);
  print_write_usage();
  console_print("%s", kExitStatuses);
  return kCamrcOk;
}

int camrc_main(int argc, char** argv) {
  SessionTarget target = {"127.0.0.1", 9001, nullptr, nullptr};
  const char* port = nullptr;
  const char* password_file = nullptr;
  const struct {
    const char* name;
    const char** slot;
  } options[] = {{"--host", &target.host},
                 {"--port", &port},
                 {"--user", &target.user},
                 {"--password", &target.password},
                 {"--password-file", &password_file}};
  int i = 1;
  for (; i < argc && argv[i][0] == '-'; i += 2) {
    if (strcmp(argv[i], "--help") == 0 || strcmp(argv[i], "-h") == 0)
      return print_help();
    if (strcmp(argv[i], "--version") == 0) {
      console_print("camrc %s\n", CAMRCD_VERSION);  // the project version, set in CMake
      return kCamrcOk;
    }
    const char** slot = nullptr;
    for (const auto& option : options)
      slot = strcmp(option.name, argv[i]) == 0 ? option.slot : slot;
    if (slot == nullptr)
      return usage_error(std::string("unknown option \"") + argv[i] + "\"");
    if (i + 1 >= argc)
      return usage_error(std::string(argv[i]) + " needs a value");
    *slot = argv[i + 1];
  }
  uint32_t port_number = target.port;
  if (port != nullptr && (parse_number(port, 0xFFFF, &port_number) != 0 || port_number == 0))
    return usage_error("--port: expected 1 to 65535");
  target.port = static_cast<uint16_t>(port_number);
  if (i >= argc)
    return usage_error("no command given");
  if (target.user == nullptr)
    return usage_error("--user is required");
  if ((target.password == nullptr) == (password_file == nullptr))
    return usage_error("give one of --password and --password-file");
  Plan plan;
  int status = prepare(argv[i], argc - i - 1, argv + i + 1, &plan);
  if (status != kCamrcOk)
    return status;
  std::string password;
  if (password_file != nullptr) {
    if ((status = read_password_file(password_file, &password)) != kCamrcOk)
      return status;
    target.password = password.c_str();
  }
  return run_plan(target, plan);
}

}  // namespace
}  // namespace camrcd

int main(int argc, char** argv) {
  return camrcd::camrc_main(argc, argv);
}
