// Round trips of every flat file through load_groups and save_groups: a file text
// (or none), the fields it loads, an optional change of wire fields, and the exact
// file written back and lines printed.
#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <utility>

#include "settings/camera_control_files.h"
#include "settings/group_table.h"
#include "settings/settings_record.h"
#include "settings/settings_test_root.h"

namespace camrcd {
namespace {

struct RoundTrip {
  const char* name;
  const char* file;
  const char* text;  // nullptr: the file is missing at the load
  uint32_t load_bit;
  uint32_t save_bit;
  const char* printed;  // by the load and the save together
  std::function<void()> check_and_change;
  const char* written;
};

class FlatFilesTest : public SettingsRootTest {
 protected:
  void run(const RoundTrip& trip) {
    SCOPED_TRACE(trip.name);
    memset(&settings, 0, sizeof settings);
    put_file(trip.file, trip.text);
    ::testing::internal::CaptureStdout();
    load_groups(trip.load_bit, 0);
    trip.check_and_change();
    save_groups(trip.save_bit, 0);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), trip.printed);
    EXPECT_EQ(file_text(trip.file), trip.written);
  }
};

const char kVideoFile[] =
    "VIDEO_TYPE = 1\nDD_RES = vga\nED_RES = qvga\nDD_REVERSE = off\nED_REVERSE = on\n"
    "EZOOM = 2\nend\n";
const char kMpegCbrFile[] =
    "enable = on\nsrc = dd\nprofile = sp\ngovl = 30\ngovs = 1\ncbr = on\ninputrate = 29\n"
    "bitrate = 768\npriority = framerate\nf_skipauto = off\nframeskip = 2\npacketsize = 1400\n"
    "framerate_en = 1\nquality = 9\nend\n";
const char kJpegFile[] =
    "enable = off\nsrc = ed\nhttp = off\nformat = 422\nqfactor = 70\nhuffmandcy = 1\n"
    "huffmandcc = 1\nhuffmanacy = 1\nhuffmanacc = 1\nframeskip = 3\ndri = 41\nport = 8010\n"
    "packetsize = 1200\nend\n";
const char kOsdFile[] =
    "OSD_EN = 1\nTXT_EN = 1\nTXT_TYPE = 1\nTXT_STR = Gate\nDATE_EN = 1\nTIME_EN = 1\n"
    "ICON_EN = 1\nICON_DN = 2\nICON_MD = 3\nICON_FAN = 4\nICON_HEATER = 5\nICON_SENSOR = 6\n"
    "ICON_RELAY = 7\nLANGUAGE = 8\nFONTSIZE = 9\nOSD_OUTLINE = 10\nOSD_MASK = 11\n"
    "OSD_COLOR = 12\nEND\n";
const char kOsdZeros[] =
    "OSD_EN = 0\nTXT_EN = 0\nTXT_TYPE = 1\nTXT_STR = \nDATE_EN = 0\nTIME_EN = 0\nICON_EN = 0\n"
    "ICON_DN = 0\nICON_MD = 0\nICON_FAN = 0\nICON_HEATER = 0\nICON_SENSOR = 0\n"
    "ICON_RELAY = 0\nLANGUAGE = 0\nFONTSIZE = 0\nOSD_OUTLINE = 0\nOSD_MASK = 0\n"
    "OSD_COLOR = 0\nEND\n";
const char kCam1File[] =
    "DNF = 1\nDNF_AUTO = 2\nDNF_WIR = 3\nBRIGHTNESS = 20\nCONTRAST = 5\nSHARPNESS = 6\n"
    "HUE = 0\nSATURATION = 8\nWB = 3\nWB_MANUAL = 9\nBLC = 1\nEND\n";
const char kPrivacyFile[] =
    "PRIVACY_EN = 1\nPRIVACY_COLOR = 3\nPRIVACY_MASK = 2\nSTARTX = 10\nSTARTY = 20\n"
    "WIDTH = 100\nHEIGHT = 50\n";
const char kAlarmFile[] =
    "ALARMIN_EN = 1\nNO_NC = 0\nIN_NAME = door\nALARMOUT_EN = 0\nOUT_WIR = 2\n"
    "OUT_DURATION = 1\nend\n";
const char kMotionFile[] =
    "MOTION_EN = 1\nMD_METHOD = 2\nACCURACY = 3\nTHRESHOLD = 9\nSENSITIVITY = 4\n"
    "THRESHOLD2 = 5\nSENSITIVITY2 = 6\nSEL_SX1 = 1\nSEL_SY1 = 2\nSEL_W1 = 3\nSEL_H1 = 4\n"
    "SEL_SX2 = 5\nSEL_SY2 = 6\nSEL_W2 = 7\nSEL_H2 = 8\nDSEL_SX3 = -9\nDSEL_SY3 = 10\n"
    "DSEL_W3 = 11\nDSEL_H3 = 12\nend\n";

// text with each pair's first string replaced by its second.
std::string edited(std::string text,
                   std::initializer_list<std::pair<const char*, const char*>> edits) {
  for (const auto& edit : edits)
    text.replace(text.find(edit.first), strlen(edit.first), edit.second);
  return text;
}

TEST_F(FlatFilesTest, RoundTrips) {
  const std::string three_words = edited(kOsdZeros, {{"OSD_EN = 0", "OSD_EN = 2"},
                                                     {"TXT_STR = ", "TXT_STR = a b c"},
                                                     {"DATE_EN = 0", "DATE_EN = 1"},
                                                     {"OSD_COLOR = 0", "OSD_COLOR = 5"}});
  const std::string first_word =
      edited(kOsdZeros, {{"TXT_EN = 0", "TXT_EN = 1"}, {"TXT_STR = ", "TXT_STR = a"}});
  const RoundTrip trips[] = {
      {"video pair 3 keeps reverse and zoom", "kelda2/env_video.ls", kVideoFile, 0x001, 0x002, "",
       [] {
         EXPECT_EQ(settings.video.VIDEO_TYPE, 1);
         EXPECT_EQ(settings.video.video_resolution, 3);
       },
       kVideoFile},
      {"video missing", "kelda2/env_video.ls", nullptr, 0x001, 0x002,
       "Conf. Open ERR. env_video.ls\nRD. Conf. Open ERR. env_video.ls\n",
       [] {
         EXPECT_EQ(settings.video.VIDEO_TYPE, 2);
         EXPECT_EQ(settings.video.video_resolution, 1);
       },
       "VIDEO_TYPE = 2\nDD_RES = quadvga\nED_RES = vga\nend\n"},
      {"mpeg cbr on, written by 0x1000", "kelda2/env_mpeg.ls", kMpegCbrFile, 0x002, 0x1000, "",
       [] {
         const MpegGroup& m = settings.mpeg;
         EXPECT_EQ(m.mpeg_enable_code, 2);
         EXPECT_EQ(m.mpeg_gop, 30);
         EXPECT_EQ(m.mpeg_cbr_code, 2);
         EXPECT_EQ(m.mpeg_rate, 30);
         EXPECT_EQ(m.mpeg_bitrate, 768);
         EXPECT_STREQ(m.priority, "framerate");
       },
       kMpegCbrFile},
      {"mpeg cbr rate 0 writes inputrate 255", "kelda2/env_mpeg.ls", kMpegCbrFile, 0x002, 0x004, "",
       [] {
         settings.mpeg.mpeg_rate = 0;
         settings.mpeg.mpeg_bitrate = 2048;
         settings.mpeg.mpeg_enable_code = 1;
       },
       "enable = off\nsrc = dd\nprofile = sp\ngovl = 30\ngovs = 1\ncbr = on\ninputrate = 255\n"
       "bitrate = 2048\npriority = framerate\nf_skipauto = off\nframeskip = 2\n"
       "packetsize = 1400\nframerate_en = 1\nquality = 9\nend\n"},
      {"mpeg missing leaves the group", "kelda2/env_mpeg.ls", nullptr, 0x002, 0x004,
       "Conf. Open ERR. env_mpeg.ls\n", [] { settings.mpeg.mpeg_rate = 12; },
       "enable = off\nsrc = \nprofile = \ngovl = 0\ngovs = \ncbr = off\ninputrate = 0\n"
       "bitrate = 0\npriority = \nf_skipauto = \nframeskip = 0\npacketsize = 0\n"
       "framerate_en = 0\nquality = 12\nend\n"},
      {"jpeg src stays without a known resolution", "kelda2/env_jpeg.ls", kJpegFile, 0x004, 0x008,
       "",
       [] {
         EXPECT_EQ(settings.jpeg.jpeg_enable_code, 1);
         EXPECT_EQ(settings.jpeg.jpeg_quality, 70);
       },
       kJpegFile},
      {"jpeg missing, then saved for resolution 2", "kelda2/env_jpeg.ls", nullptr, 0x004, 0x800,
       "Conf. Open ERR. env_jpeg.ls\n",
       [] {
         EXPECT_EQ(settings.jpeg.jpeg_enable_code, 2);
         EXPECT_EQ(settings.jpeg.jpeg_quality, 50);
         settings.video.video_resolution = 2;
       },
       "enable = on\nsrc = ed\nhttp = off\nformat = 422\nqfactor = 50\nhuffmandcy = 1\n"
       "huffmandcc = 1\nhuffmanacy = 1\nhuffmanacc = 1\nframeskip = 0\ndri = 40\nport = 8008\n"
       "packetsize = 1460\nend\n"},
      {"osd all flags", "kelda2/env_osd.ls", kOsdFile, 0x008, 0x010,
       "Conf. Open ERR. view_title.ls\n",
       [] {
         EXPECT_EQ(settings.osd.osd_enable_code, 2);
         EXPECT_EQ(settings.osd.osd_display_flags, 0x3C);
         EXPECT_EQ(settings.osd.osd_color, 12);
         EXPECT_STREQ(settings.osd.osd_title, "Gate");
         EXPECT_STREQ(settings.title.camera_title, "MegaPixel");
       },
       kOsdFile},
      {"osd three-word text leaves OSD_COLOR unread", "kelda2/env_osd.ls", three_words.c_str(),
       0x008, 0x010, "Conf. Open ERR. view_title.ls\n",
       [] {
         EXPECT_EQ(settings.osd.osd_enable_code, 1);
         EXPECT_EQ(settings.osd.osd_display_flags, 0x10);
         EXPECT_EQ(settings.osd.OSD_COLOR, 0);
         settings.osd.osd_display_flags = 0x20;
       },
       first_word.c_str()},
      {"osd missing", "kelda2/env_osd.ls", nullptr, 0x008, 0x010,
       "Conf. Open ERR. env_osd.ls\nConf. Open ERR. view_title.ls\n",
       [] { EXPECT_EQ(settings.osd.osd_enable_code, 0); }, kOsdZeros},
      {"camcontrol1 longer keys first, zero shows as 1", "kelda2/env_camcontrol1.ls", kCam1File,
       0x020, 0x040 | 0x400, "",
       [] {
         const Camcontrol1Group& c = settings.camcontrol1;
         EXPECT_EQ(c.cam_brightness, 69);
         EXPECT_EQ(c.cam_wb, 3);
         EXPECT_EQ(c.cam_wb_manual, 9);
         EXPECT_EQ(c.cam_hue, 1);
         EXPECT_EQ(c.DNF_WIR, 3);
       },
       "DNF = 1\nDNF_AUTO = 2\nDNF_WIR = 3\nBRIGHTNESS = 19\nCONTRAST = 5\nSHARPNESS = 6\n"
       "HUE = 1\nSATURATION = 8\nWB = 3\nWB_MANUAL = 9\nBLC = 1\nEND\n"},
      {"camcontrol2 switches", "kelda2/env_camcontrol2.ls",
       "MONOCHROME = 1\nNEGATIVE = 0\nCOLOR_BAR = 2\nSENSORUP = 6\nend\n", 0x040, 0x080, "",
       [] {
         EXPECT_EQ(settings.camcontrol2.cam_monochrome_code, 2);
         EXPECT_EQ(settings.camcontrol2.cam_negative_code, 1);
         EXPECT_EQ(settings.camcontrol2.cam_colorbar_code, 1);
         EXPECT_EQ(settings.camcontrol2.cam_sensorup, 6);
       },
       "MONOCHROME = 1\nNEGATIVE = 0\nCOLOR_BAR = 0\nSENSORUP = 6\nend\n"},
      {"camcontrol2 missing: silent, wire fields untouched", "kelda2/env_camcontrol2.ls", nullptr,
       0x040, 0x080, "", [] { EXPECT_EQ(settings.camcontrol2.SENSORUP, 4); },
       "MONOCHROME = 0\nNEGATIVE = 0\nCOLOR_BAR = 0\nSENSORUP = 0\nend\n"},
      {"privacy edges", "kelda2/env_privacy.ls", kPrivacyFile, 0x010, 0x100,
       "WR. Conf. OK. env_privacy.ls \n",
       [] {
         const PrivacyGroup& p = settings.privacy;
         EXPECT_EQ(p.privacy_area_valid, 1);
         EXPECT_EQ(p.privacy_enable_code, 2);
         EXPECT_EQ(p.privacy_left, 10);
         EXPECT_EQ(p.privacy_top, 20);
         EXPECT_EQ(p.privacy_right, 110);
         EXPECT_EQ(p.privacy_bottom, 70);
       },
       kPrivacyFile},
      {"privacy missing, negative size", "kelda2/env_privacy.ls", nullptr, 0x010, 0x100,
       "WR. Conf. OK. env_privacy.ls \n",
       [] {
         EXPECT_EQ(settings.privacy.privacy_area_valid, 0);
         EXPECT_EQ(settings.privacy.STARTY, 143);
         settings.privacy.privacy_left = 50;
         settings.privacy.privacy_right = 20;
         settings.privacy.privacy_bottom = 5;
       },
       "PRIVACY_EN = 0\nPRIVACY_COLOR = 0\nPRIVACY_MASK = 1\nSTARTX = 50\nSTARTY = 0\n"
       "WIDTH = -30\nHEIGHT = 5\n"},
      {"alarm", "kelda2/env_alarm.ls", kAlarmFile, 0x080, 0x020, "",
       [] {
         const AlarmGroup& a = settings.alarm;
         EXPECT_EQ(a.alarm_in_code, 2);
         EXPECT_EQ(a.alarm_in_polarity, 17);
         EXPECT_EQ(a.alarm_out_code, 1);
         EXPECT_EQ(a.alarm_out_mode, 64);
         EXPECT_EQ(a.alarm_out_duration, 255);
       },
       kAlarmFile},
      {"motion method 2", "kelda2/env_motion.ls", kMotionFile, 0x400, 0x200,
       "Rd. Conf. Open ERR. env_motion_block.dat\n",
       [] {
         EXPECT_EQ(settings.motion.THRESHOLD2, 5);
         EXPECT_EQ(settings.motion.THRESHOLD, 9);
         EXPECT_EQ(settings.motion_flags, 0x22);
         EXPECT_EQ(settings.motion_map_length, 4803);
       },
       kMotionFile},
  };
  for (const RoundTrip& trip : trips)
    run(trip);
  EXPECT_EQ(file_text("kelda2/env_motion_block.dat"), "<missing>");  // method 2
}

TEST_F(FlatFilesTest, ValueConversions) {
  const Camcontrol2Group& cam2 = settings.camcontrol2;
  struct Case {
    const char* file;
    const char* text;
    uint32_t load_bit;
    const uint8_t* field;
    int expected;
  } cases[] = {
      {"kelda2/env_mpeg.ls", "enable = onward\n", 0x002, &settings.mpeg.mpeg_enable_code, 2},
      {"kelda2/env_mpeg.ls", "enable = ON\n", 0x002, &settings.mpeg.mpeg_enable_code, 1},
      {"kelda2/env_mpeg.ls", "cbr = on\ninputrate = 255\n", 0x002, &settings.mpeg.mpeg_rate, 0},
      {"kelda2/env_mpeg.ls", "cbr = off\nquality = 7\n", 0x002, &settings.mpeg.mpeg_rate, 7},
      {"kelda2/env_alarm.ls", "OUT_DURATION = 255\n", 0x080, &settings.alarm.alarm_out_duration,
       255},
      {"kelda2/env_alarm.ls", "OUT_DURATION = 256\n", 0x080, &settings.alarm.alarm_out_duration, 0},
      {"kelda2/env_alarm.ls", "OUT_WIR = 7\n", 0x080, &settings.alarm.alarm_out_mode, 1},
      {"kelda2/env_camcontrol2.ls", "NEGATIVE = 257\n", 0x040, &cam2.cam_negative_code, 2},
      {"kelda2/env_video.ls", "DD_RES = quadvga\nED_RES = vga\n", 0x001,
       &settings.video.video_resolution, 1},
      {"kelda2/env_video.ls", "ED_RES = vgax\nDD_RES = vga_\n", 0x001,
       &settings.video.video_resolution, 2},
      {"kelda2/env_video.ls", "DD_RES = quadvga\nED_RES = qvga\n", 0x001,
       &settings.video.video_resolution, 0},
      {"kelda2/env_video.ls", "DD_RES = vga\n", 0x001, &settings.video.video_resolution, 0},
      {"kelda2/env_motion.ls", "MOTION_EN = 0\nMD_METHOD = 0\n", 0x400, &settings.motion_flags,
       0x10},
  };
  ::testing::internal::CaptureStdout();  // the motion block file is missing
  for (const Case& c : cases) {
    memset(&settings, 0, sizeof settings);
    put_file(c.file, c.text);
    load_groups(c.load_bit, 0);
    EXPECT_EQ(*c.field, c.expected) << c.text;
  }
  ::testing::internal::GetCapturedStdout();
  // Saves: a duration of 255 is written as 1, resolution 1 names the "dd" source.
  settings.alarm.alarm_out_duration = 255;
  settings.video.video_resolution = 1;
  save_groups(0x020 | 0x008, 0);
  EXPECT_NE(file_text("kelda2/env_alarm.ls").find("\nOUT_DURATION = 1\n"), std::string::npos);
  EXPECT_NE(file_text("kelda2/env_jpeg.ls").find("\nsrc = dd\n"), std::string::npos);
}

TEST(BrightnessScale, ConvertsBothWays) {
  struct Case {
    uint8_t file, wire, file_again;
  } cases[] = {{44, 255, 44}, {12, 7, 12}, {11, 0, 12}, {20, 69, 19}, {28, 131, 27}};
  for (const Case& c : cases) {
    EXPECT_EQ(brightness_to_wire(c.file), c.wire) << int{c.file};
    EXPECT_EQ(brightness_to_file(c.wire), c.file_again) << int{c.file};
  }
  EXPECT_EQ(brightness_to_file(1), 12);
}

TEST_F(FlatFilesTest, TitleTakesTheFirstValueWhateverTheKey) {
  struct Case {
    const char* text;
    const char* title;
  } cases[] = {
      {"ANY = Front second\nNAME = Other\n", "Front"},
      {"NAME=Front\n", ""},
      {"NAME = ABCDEFGHIJKLMNOPQRSTUVWXYZ\n", "ABCDEFGHIJKLMNOPQRST"},
  };
  for (const Case& c : cases) {
    put_file("kelda2/view_title.ls", c.text);
    strcpy(settings.title.camera_title, "old");
    EXPECT_EQ(printed_by([] { load_groups(0x008, 0); }), "Conf. Open ERR. env_osd.ls\n");
    EXPECT_STREQ(settings.title.camera_title, c.title) << c.text;
  }
  save_groups(0x001, 0);
  EXPECT_EQ(file_text("admin/view_title.ls"), "NAME = ABCDEFGHIJKLMNOPQRST\nEND\n");
}

TEST_F(FlatFilesTest, MotionBlockMap) {
  put_file("kelda2/env_motion.ls", "MOTION_EN = 0\nMD_METHOD = 1\nend\n");
  std::string block(100, '\7');
  block[0] = '\0';
  put_file("kelda2/env_motion_block.dat", block.data(), block.size());
  memset(settings.motion_block_map, 3, kMotionBlockMapSize);
  load_groups(0x400, 0);
  EXPECT_EQ(settings.motion_flags, 0x11);
  EXPECT_EQ(settings.motion_block_map[0], kMotionBlockMarker);  // a 0 marker is fixed
  EXPECT_EQ(settings.motion_block_map[99], 7);
  EXPECT_EQ(settings.motion_block_map[100], 3);  // beyond a short file: as it was
  // Method 1 writes the whole map, even when the main file can't be written.
  put_file("kelda2/env_motion.ls", nullptr);
  ASSERT_EQ(mkdir(full_path("kelda2/env_motion.ls").c_str(), 0700), 0);
  EXPECT_EQ(printed_by([] { save_groups(0x200, 0); }), "WR. Conf. Open ERR. env_motion.ls\n");
  std::string written = file_text("kelda2/env_motion_block.dat");
  ASSERT_EQ(written.size(), kMotionBlockMapSize);
  EXPECT_EQ(written[0], 'P');
  EXPECT_EQ(written[100], 3);
  // A missing block file gives the default map.
  put_file("kelda2/env_motion_block.dat", nullptr);
  rmdir(full_path("kelda2/env_motion.ls").c_str());
  put_file("kelda2/env_motion.ls", "MOTION_EN = 1\nMD_METHOD = 0\nend\n");
  load_groups(0x400, 0);
  EXPECT_EQ(settings.motion_flags, 0x20);
  EXPECT_EQ(settings.motion_block_map[0], kMotionBlockMarker);
  EXPECT_EQ(settings.motion_block_map[4800], 10);
}

}  // namespace
}  // namespace camrcd
