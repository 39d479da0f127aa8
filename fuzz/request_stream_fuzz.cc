// The request stream of a logged-in connection, through the loop the connection
// thread runs (serve_requests) on a socket: every class and sub-command, reloads,
// bad prefixes, motion payloads of any declared length, on every device type. Byte 0
// of an input picks the camera (bits 0-1: unknown model, fixed camera, pan/tilt
// camera; bit 2: test mode); the rest is what the client sends. Each input starts
// from the sandbox camera's files and the real start-up; command lines are checked
// and never run (quiet_runner.cc). Afterwards every text field is terminated and the
// record's runtime fields are as start-up left them.
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include "client/client_request.h"
#include "control/connection.h"
#include "control/listener.h"
#include "protocol/wire_text.h"
#include "settings/settings_record.h"
#include "support/fuzz_support.h"

namespace camrcd {

namespace {

const char* const kModels[] = {"ZR-X100", "ZR-Q310", "ZR-Q520", "ZR-Q831"};

std::string header_bytes(const RequestHeader& header) {
  return std::string(reinterpret_cast<const char*>(header.bytes), sizeof header.bytes);
}

void check_texts() {
  fuzz_check(text_terminated(settings.title.camera_title, sizeof settings.title.camera_title) &&
                 text_terminated(settings.osd.osd_title, sizeof settings.osd.osd_title) &&
                 text_terminated(settings.osd.TXT_STR, sizeof settings.osd.TXT_STR) &&
                 text_terminated(settings.preset.name, sizeof settings.preset.name),
             "a text field lost its terminating zero");
}

}  // namespace

void fuzz_setup() {
  camera_root();
}

// One seed per device type and request: the request with typical field bytes, and
// for the motion write its whole payload (the block map and the trailer).
void fuzz_seeds() {
  const uint8_t kFields[] = {2, 1, 2, 30, 1, 3, 1, 1, 1, 2, 2, 1, 3, 'L', 'o', 'b', 'b', 'y'};
  for (char type : {'\x01', '\x02'}) {
    for (size_t i = 0; i < kRequestCount; i++) {
      const MessageTable& kind = message(static_cast<MessageId>(i));
      if (kind.id == MessageId::kReloadRequest)
        continue;
      RequestHeader header = make_request(kind.id);
      memcpy(header.bytes + 4, kFields, sizeof kFields);
      std::string payload;
      if (kind.id == MessageId::kMotionWrite) {
        request_set_u16(&header, 6, kMotionPayloadSize);
        payload = "P" + std::string(kMotionBlockMapSize - 1, '\x01') + "\x55\xAA";
      }
      write_seed(std::string("type") + char('0' + type) + "-" + message_text(kind.id).name,
                 type + header_bytes(header) + payload);
    }
  }
  write_seed("type1-reload", '\x01' + header_bytes(make_reload_request(0x0005)));
}

}  // namespace camrcd

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace camrcd;
  if (size == 0)
    return 0;
  restore_camera_files();
  put_camera_file("admin/product_info.ls",
                  std::string("Vendor = ZR\nModel = ") + kModels[data[0] & 3] + "\n");
  memset(&settings, 0, sizeof settings);
  char program[] = "camrcd";
  char test_mode[] = "T";
  char* argv[] = {program, test_mode, nullptr};
  prepare_settings(data[0] & 4 ? 2 : 1, argv);
  SettingsRecord started = settings;

  int socket = socket_fed_with(data + 1, size - 1);
  fuzz_check(socket >= 0, "no socket pair");
  uint8_t* buffer = static_cast<uint8_t*>(malloc(kConnectionBufferSize));
  serve_requests(socket, buffer);
  free(buffer);
  close(socket);

  check_texts();
  fuzz_check(settings.device_type == started.device_type &&
                 settings.control_port == started.control_port && settings.user_count == 0 &&
                 strcmp(settings.web_root, started.web_root) == 0,
             "a request changed a runtime field");
  return 0;
}
