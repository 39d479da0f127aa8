// camrc: the command-line client of the control port. The command line is read against
// the command table before any connection is made, so a malformed command never
// reaches the server. Every command then reads the device information first: the
// device type decides which commands and options the camera serves. A write whose
// options the server would take even when omitted reads the current values next and
// sends them. Reads and the final close share a connection; a write goes first on a
// fresh one (camrc_session.h tells why).
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "camrc_commands.h"
#include "camrc_output.h"
#include "camrc_session.h"
#include "client/client_request.h"
#include "client/reply_fields.h"
#include "platform/console.h"
#include "protocol/wire_text.h"

namespace camrcd {
namespace {

// A preset read moves the camera before the daemon replies.
constexpr int kPresetReadMs = 10000;

const char kUsage[] =
    "usage: camrc [--host H] [--port P] --user U (--password P | --password-file F)\n"
    "             COMMAND [ARGS...]\n"
    "  --host H            server name or address (default 127.0.0.1)\n"
    "  --port P            control port, 1 to 65535 (default 9001)\n"
    "  --user U            a user of the camera's user list\n"
    "  --password P        the user's password\n"
    "  --password-file F   the password is the first line of F\n"
    "  --version           print camrc's version\n"
    "\n"
    "Every command first reads the device information. An option left out leaves its\n"
    "setting unchanged: camrc sends 0, which the camera takes as unchanged, or, where the\n"
    "camera takes the value even when 0, the current value it reads first.\n"
    "Numbers are decimal or 0x hexadecimal; on/off switches are sent as 2/1.\n"
    "\n"
    "commands:\n"
    "  reload [--json] [--bits N] [GROUP...]\n"
    "      reload groups (video mpeg jpeg osd privacy camcontrol1 camcontrol2 alarm\n"
    "      autorun) and print the device information\n"
    "  close\n"
    "      send the close request alone\n";

const char kExitStatuses[] =
    "\n"
    "exit status: 0 success, 2 usage error, 3 connection refused or unreachable,\n"
    "  4 login refused, 5 the daemon ended the connection before serving the request\n"
    "  (it serves five clients at once), 6 bad reply or none in time, 7 the camera's\n"
    "  device type does not serve the command\n";

int usage_error(const std::string& message) {
  console_error("camrc: %s (camrc --help tells more)\n", message.c_str());
  return kCamrcUsage;
}

// The server answers a reload only for bits 0-9 and 12, and bytes 2-3 must not read
// as the information class (0x10 in byte 2).
bool reload_bits_valid(uint32_t bits) {
  return (bits & ~uint32_t{kReloadAcceptedBits}) == 0 && (bits >> 8) != kClassInformation;
}

int prepare_reload(int argc, char** argv, RequestHeader* header, bool* json) {
  uint32_t bits = 0;
  for (int i = 0; i < argc; i++) {
    if (strcmp(argv[i], "--json") == 0) {
      *json = true;
    } else if (strcmp(argv[i], "--bits") == 0) {
      uint32_t more = 0;
      if (i + 1 >= argc || parse_number(argv[++i], 0xFFFF, &more) != 0)
        return usage_error("reload --bits: expected a number such as 0x0005");
      bits |= more;
    } else {
      const ReloadGroup* found = nullptr;
      for (const ReloadGroup& group : kReloadGroups)
        found = strcmp(group.name, argv[i]) == 0 ? &group : found;
      if (found == nullptr)
        return usage_error(std::string("reload: unknown group \"") + argv[i] + "\"");
      bits |= found->bit;
    }
  }
  if (!reload_bits_valid(bits))
    return usage_error(
        "reload: the server answers only bits within 0x13FF whose high byte is not 0x10");
  *header = make_reload_request(static_cast<uint16_t>(bits));
  return kCamrcOk;
}

void print_fields(const DecodedReply& fields, bool json) {
  std::string text = json ? format_fields_json(fields) : format_fields_text(fields);
  console_print("%s", text.c_str());
}

// Sends a read request and decodes its reply, which must be the request's answer (a
// reload request's is the device information): kCamrcOk, or the exit status after
// printing why.
int read_decoded(Session* session, const RequestHeader& request, const char* what, Reply* reply,
                 DecodedReply* fields, int timeout_ms = kClientTimeoutMs) {
  MessageId answer = message(request.id).answer;
  int status = session_read(session, request, reply, what, timeout_ms);
  if (status == kCamrcOk && decode_reply(reply->bytes, reply->length, fields, answer) != 0) {
    console_error("camrc: %s: not a reply of this protocol\n", what);
    status = kCamrcBadReply;
  }
  return status;
}

const char* type_words(uint8_t device_type) {
  return device_type == 1 ? "a fixed camera" : device_type == 2 ? "a pan/tilt camera" : "a camera";
}

// Reads the current values for a write: the alarm link read of its input and output,
// the preset read of the default position, or the motion read of its area (area 1 on
// a fixed camera).
int read_current(Session* session, CurrentRead current, uint8_t device_type,
                 const RequestHeader& write, Reply* reply, DecodedReply* fields) {
  RequestHeader read;
  const char* what = "alarm link reply";
  if (current == kCurrentAlarmLink) {
    read = make_request(MessageId::kAlarmLinkRead);
    for (Field selector : {Field::kCurrentAlarmin, Field::kCurrentAlarmout})
      request_set(&read, selector, request_get(write, selector));
  } else if (current == kCurrentPresets) {
    what = "preset reply";
    read = make_request(MessageId::kPresetRead);
    request_set(&read, Field::kClientVersion, 0x100);
    // The one preset whose read does not move the camera.
    request_set(&read, Field::kCurrentPreset, kDefaultPosition);
  } else {
    what = "motion reply";
    read = make_request(MessageId::kMotionRead);
    if (device_type != 1) {  // with version 0 the daemon reads area 1
      request_set(&read, Field::kClientVersion, 0x100);
      request_set(&read, Field::kCurrentMd, request_get(write, Field::kCurrentMd));
    }
  }
  return read_decoded(session, read, what, reply, fields);
}

uint32_t field_number(const DecodedReply& fields, Field field) {
  const FieldValue* value = find_field(fields, field);
  return value != nullptr ? value->number : 0;
}

// The MPEG rate fields change meaning with the rate control: with CBR on the rate is
// the frame rate (+1) and the bit rate counts, with CBR off the rate is the quality and
// the bit rate shows as 0. The other mode's values cannot be read, so a switch of the
// rate control needs them given.
int check_rate_control(const ParsedCommand& parsed, const DecodedReply& info) {
  const char* cbr = given_value(parsed, "--cbr");
  uint8_t code_now = static_cast<uint8_t>(field_number(info, Field::kMpegCbr)), code = code_now;
  if (cbr != nullptr)
    code_value(kSwitchCodes, cbr, &code);
  std::string command = parsed.command->name;
  if (code != 2 && given_value(parsed, "--bitrate") != nullptr)
    return usage_error(command + " --bitrate: the camera takes a bit rate only with CBR on");
  if (code == 2 && code_now != 2 && given_value(parsed, "--bitrate") == nullptr)
    return usage_error(command +
                       " --cbr on needs --bitrate: the camera shows no bit rate while CBR is off");
  if (code != code_now && given_value(parsed, "--rate") == nullptr)
    return usage_error(command + " --cbr " + cbr +
                       " needs --rate: it is the frame rate with CBR on and the quality with CBR "
                       "off, and the camera shows only the one in use");
  return kCamrcOk;
}

// A map file of exactly kMotionBlockMapSize bytes, or the map of the current motion
// reply, then the trailer: the payload of a motion write.
int motion_payload(const ParsedCommand& parsed, const Reply& current,
                   std::vector<uint8_t>* payload) {
  const char* path = given_value(parsed, "--map");
  payload->assign(kMotionBlockMapSize + 1, 0);
  if (path == nullptr) {
    if (current.length != kMotionReplySize)
      return usage_error("motion set: the camera sent no block map to keep; give --map FILE");
    memcpy(payload->data(), current.bytes + kReplyPayload, kMotionBlockMapSize);
  } else {
    FILE* file = fopen(path, "rbe");
    size_t got = file != nullptr ? fread(payload->data(), 1, payload->size(), file) : 0;
    if (file != nullptr)
      fclose(file);
    if (got != kMotionBlockMapSize)
      return usage_error(std::string("motion set: \"") + path + "\" is not a 4801-byte map file");
  }
  payload->back() = kTrailerFirst;
  payload->push_back(kTrailerSecond);
  return kCamrcOk;
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

// Sends the read request and prints its reply.
int run_read(Session* session, const ParsedCommand& parsed, const RequestHeader& header) {
  Reply reply;
  DecodedReply fields;
  bool preset = header.id == MessageId::kPresetRead;
  int status = read_decoded(session, header, "reply", &reply, &fields,
                            preset ? kPresetReadMs : kClientTimeoutMs);
  if (status != kCamrcOk)
    return status;
  print_fields(fields, parsed.json);
  const char* map = given_value(parsed, "--map");
  return map != nullptr ? write_map_file(map, reply) : kCamrcOk;
}

// Everything after the device information: checks, current values, the request.
int run_after_info(Session* session, const ParsedCommand& parsed, const DecodedReply& info) {
  const Command& command = *parsed.command;
  uint8_t type = static_cast<uint8_t>(field_number(info, Field::kDeviceType));
  if ((command_types(command) & device_type_bit(type)) == 0) {
    console_error("camrc: %s: the camera is %s (device type %u), which does not serve it\n",
                  command.name, type_words(type), type);
    return kCamrcNotServed;
  }
  RequestHeader header;
  int built =
      build_request(parsed, type, command.current == kCurrentInfo ? &info : nullptr, &header);
  if (built != 0)
    return built == -2 ? kCamrcNotServed : kCamrcUsage;
  Reply current_reply;
  DecodedReply current_fields;
  if (command.current != kCurrentNone && command.current != kCurrentInfo) {
    int status =
        read_current(session, command.current, type, header, &current_reply, &current_fields);
    if (status != kCamrcOk)
      return status;
    build_request(parsed, type, &current_fields, &header);
  }
  const MessageTable& request = message(command.request);
  if (request.answer != MessageId::kCount)
    return run_read(session, parsed, header);

  std::vector<uint8_t> payload;
  uint32_t resolution = request_get(header, Field::kVideoResolution);
  if (request.id == MessageId::kVideoWrite &&
      resolution == field_number(info, Field::kVideoResolution)) {
    // The daemon ends the connection at once on a resolution it already has.
    console_error("camrc: video: the resolution is already %u; nothing sent\n", resolution);
    return kCamrcOk;
  }
  bool rate_control = false;
  for (size_t k = 0; k < kMaxOptions && command.options[k].name != nullptr; k++)
    rate_control = rate_control || strcmp(command.options[k].name, "--bitrate") == 0;
  if (rate_control) {
    int status = check_rate_control(parsed, info);
    if (status != kCamrcOk)
      return status;
  }
  if (request.id == MessageId::kMotionWrite) {
    int status = motion_payload(parsed, current_reply, &payload);
    if (status != kCamrcOk)
      return status;
    request_set(&header, Field::kMotionMapLength, static_cast<uint32_t>(payload.size()));
  }
  return session_write(session, header, payload, request.restarts_streams);
}

int run_command(Session* session, const ParsedCommand& parsed) {
  RequestHeader info_request = make_request(MessageId::kInfoRequest);
  request_set(&info_request, Field::kClientVersion, 0x100);
  Reply info;
  DecodedReply fields;
  int status = read_decoded(session, info_request, "device information", &info, &fields);
  if (status != kCamrcOk)
    return status;
  if (strcmp(parsed.command->name, "info") == 0) {
    print_fields(fields, parsed.json);
    return kCamrcOk;
  }
  return run_after_info(session, parsed, fields);
}

int run_reload(Session* session, const RequestHeader& header, bool json) {
  Reply reply;
  DecodedReply fields;
  int status = read_decoded(session, header, "device information", &reply, &fields);
  if (status == kCamrcOk)
    print_fields(fields, json);
  return status;
}

int run_close(Session* session) {
  Reply reply;
  int status = session_read(session, make_request(MessageId::kCloseRequest), &reply, "close");
  session_drop(session);
  if (status != kCamrcOk)
    return status;
  DecodedReply fields;
  if (decode_reply(reply.bytes, reply.length, &fields, MessageId::kCloseReply) != 0) {
    console_error("camrc: close: the answer is not the close reply\n");
    return kCamrcBadReply;
  }
  console_print("closed\n");
  return kCamrcOk;
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
  std::string help = std::string(kUsage) + commands_help() + kExitStatuses;
  console_write(help.c_str());
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

  int words = 0;
  const Command* command = find_command(argc - i, argv + i, &words);
  ParsedCommand parsed;
  RequestHeader reload;
  bool reload_json = false;
  int status = kCamrcOk;
  if (command != nullptr) {
    status = parse_command(*command, argc - i - words, argv + i + words, &parsed) == 0
                 ? kCamrcOk
                 : kCamrcUsage;
  } else if (strcmp(argv[i], "reload") == 0) {
    status = prepare_reload(argc - i - 1, argv + i + 1, &reload, &reload_json);
  } else if (strcmp(argv[i], "close") != 0) {
    return usage_error(std::string("unknown command \"") + argv[i] + "\"");
  } else if (argc - i > 1) {
    return usage_error(std::string("close: unexpected \"") + argv[i + 1] + "\"");
  }
  if (status != kCamrcOk)
    return status;
  std::string password;
  if (password_file != nullptr) {
    if ((status = read_password_file(password_file, &password)) != kCamrcOk)
      return status;
    target.password = password.c_str();
  }
  Session session;
  session.target = target;
  if (command != nullptr)
    status = run_command(&session, parsed);
  else if (strcmp(argv[i], "reload") == 0)
    status = run_reload(&session, reload, reload_json);
  else
    return run_close(&session);
  session_end(&session);
  return status;
}

}  // namespace
}  // namespace camrcd

int main(int argc, char** argv) {
  return camrcd::camrc_main(argc, argv);
}
