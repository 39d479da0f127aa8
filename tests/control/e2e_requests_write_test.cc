// End-to-end writes of the event, overlay and camera classes on one fixed camera,
// in sequence: for each, the record fields after the write (nz and always rules, seen
// through the record view), the exact bytes of the rewritten file (removed before
// the write, so it must be written again) and the programs run with their arguments.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "client/client_request.h"
#include "support/daemon_harness.h"
#include "support/e2e_requests.h"
#include "support/stub_log.h"

namespace camrcd {
namespace {

struct WriteCase {
  const char* name;
  uint8_t command_class;
  uint8_t sub;
  BytePatches fields;   // request bytes
  BytePatches changed;  // record view bytes that change; every other byte stays
  const char* file;     // below the web root
  const char* written;  // its whole new text, or nullptr: its old text with `edits`
  LineEdits edits;
  std::vector<CallWords> calls;
};

const char kCamera1[] = "kelda2/env_camcontrol1.ls";

// Rows run in order on one daemon; each starts from what the rows before it left.
// The sandbox's osd file shows its text line (TXT_EN 1) until the osd row turns it
// off, after which the title action also hands the title to ctrl_osd.
const WriteCase kWrites[] = {
    {"title",
     kClassOverlay,
     kSubTitle,
     {{4, text_field("Hall 1", 20)}},
     {{83, text_field("Hall 1", 20)}},
     "admin/view_title.ls",
     "NAME = Hall 1\nEND\n",
     {},
     {{"send_servertitle"}}},
    {"title whose first byte is 0 changes nothing but is saved and applied",
     kClassOverlay,
     kSubTitle,
     {{5, "Yard"}},
     {},
     "admin/view_title.ls",
     "NAME = Hall 1\nEND\n",
     {},
     {{"send_servertitle"}}},
    {"osd: colour 0 unchanged, text line off",
     kClassOverlay,
     kSubOsd,
     {{4, bytes({1, 0, 0x14, 9})}, {8, text_field("Gate", 20)}},
     {{58, bytes({1})}, {60, bytes({0x14, 9})}, {62, text_field("Gate", 20)}},
     "kelda2/env_osd.ls",
     nullptr,
     {{"OSD_EN = 1", "OSD_EN = 0"},
      {"TXT_EN = 1", "TXT_EN = 0"},
      {"TXT_STR = Entrance", "TXT_STR = Gate"},
      {"TIME_EN = 1", "TIME_EN = 0"},
      {"ICON_EN = 0", "ICON_EN = 1"}},
     {{"kd_osd_webcmd"}}},
    {"title with shell characters reaches ctrl_osd as one argument",
     kClassOverlay,
     kSubTitle,
     {{4, text_field("a;b 'c' $(x)", 20)}},
     {{83, text_field("a;b 'c' $(x)", 20)}},
     "admin/view_title.ls",
     "NAME = a;b 'c' $(x)\nEND\n",
     {},
     {{"ctrl_osd", "-c", "a;b 'c' $(x)"}, {"send_servertitle"}}},
    {"privacy: left edge 0 unchanged, top 256",
     kClassOverlay,
     kSubPrivacy,
     {{4, bytes({2, 0, 0, 0, 0, 0x00, 0x01, 0x2C, 0x01, 0x90, 0x01})}},
     {{128, bytes({2})}, {133, bytes({0x00, 0x01, 0x2C, 0x01, 0x90, 0x01})}},
     "kelda2/env_privacy.ls",
     "PRIVACY_EN = 1\nPRIVACY_COLOR = 1\nPRIVACY_MASK = 1\nSTARTX = 7\nSTARTY = 256\n"
     "WIDTH = 293\nHEIGHT = 144\n",
     {},
     {{"kd_privacy_webcmd"}, {"ctrl_getjpeg"}}},
    {"alarm: output code 0 unchanged, mode 64, duration 255",
     kClassEvent,
     kSubAlarm,
     {{4, bytes({1, 17, 0, 64, 255})}},
     {{104, bytes({1, 17})}, {107, bytes({64, 255})}},
     "kelda2/env_alarm.ls",
     "ALARMIN_EN = 0\nNO_NC = 0\nIN_NAME = Door\nALARMOUT_EN = 1\nOUT_WIR = 2\n"
     "OUT_DURATION = 1\nend\n",
     {},
     {{"ctrl_gpio", "-e", "s1", "-n", "s1", "-R", "r1", "-a", "m", "-l", "1"}}},
    {"picture: contrast only; brightness 131 is saved as 27",
     kClassCamera,
     kSubPicture,
     {{4, bytes({0, 7, 0, 0, 0})}},
     {{111, bytes({7})}},
     kCamera1,
     nullptr,
     {{"BRIGHTNESS = 28", "BRIGHTNESS = 27"}, {"CONTRAST = 128", "CONTRAST = 7"}},
     {{"ctrl_dspset", "-b", "27", "-c", "7", "-s", "96", "-h", "128", "-t", "140"}}},
    {"white balance: WB 0 unchanged, BLC 3",
     kClassCamera,
     kSubWhiteBalance,
     {{4, bytes({0, 9, 3})}},
     {{119, bytes({9, 3})}},
     kCamera1,
     nullptr,
     {{"WB_MANUAL = 64", "WB_MANUAL = 9"}, {"BLC = 1", "BLC = 3"}},
     {{"ctrl_dspset", "-i", "1", "-v", "9", "-l", "blc2"}}},
    {"picture of zeros changes nothing but is saved and applied",
     kClassCamera,
     kSubPicture,
     {},
     {},
     kCamera1,
     nullptr,
     {},
     {{"ctrl_dspset", "-b", "27", "-c", "7", "-s", "96", "-h", "128", "-t", "140"}}},
    {"camcontrol2: negative 0 unchanged",
     kClassCamera,
     kSubCamcontrol2,
     {{4, bytes({2, 0, 1, 9})}},
     {{122, bytes({2})}, {125, bytes({9})}},
     "kelda2/env_camcontrol2.ls",
     "MONOCHROME = 1\nNEGATIVE = 0\nCOLOR_BAR = 0\nSENSORUP = 9\nend\n",
     {},
     {{"ctrl_dspset", "-e", "on", "-f", "off", "-x", "off", "-n", "9"}}},
};

TEST(EndToEndWrites, FieldsFileAndProgramsOfEachWrite) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int s = daemon.login_client();
  ASSERT_GE(s, 0);
  Reply before;
  ASSERT_TRUE(record_view(s, &before));
  for (const WriteCase& c : kWrites) {
    SCOPED_TRACE(c.name);
    std::string path = daemon.web_path(c.file);
    std::string old_text = file_text(path);
    unlink(path.c_str());
    clear_stub_logs(daemon.root());
    ASSERT_EQ(0, send_request(s, make_patched_request(c.command_class, c.sub, c.fields)));
    Reply after;  // answered once the write's save and apply are done
    ASSERT_TRUE(record_view(s, &after));
    EXPECT_EQ("", byte_differences(patched_reply(before, c.changed), reply_bytes(after)));
    EXPECT_EQ(c.written != nullptr ? c.written : with_lines(old_text, c.edits), file_text(path));
    EXPECT_EQ(c.calls, stub_call_words(daemon.root(), c.calls.size()));
    before = after;
  }
  // The device information request loads the files again: brightness 27 reads back as
  // 123, and the title comes from kelda2/view_title.ls, which no write touches.
  Reply info;
  ASSERT_TRUE(exchange(s, make_request(kClassInformation, kSubDeviceInfo), &info));
  EXPECT_EQ(123, info.bytes[110]);
  EXPECT_EQ(text_field("Lobby", 20), reply_bytes(info).substr(83, 20));
  close(s);
}

}  // namespace
}  // namespace camrcd
