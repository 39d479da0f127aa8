// Exact command-line text of the device actions, built from file-image fields:
// option words, decimal numbers, trailing blanks and the development root prefix.
#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include "actions/device_actions.h"
#include "platform/dev_root.h"

namespace camrcd {
namespace {

const std::string kAdmin = "/home/zr/webserver/web/admin/";

AlarmGroup alarm_of(uint8_t in, uint8_t no_nc, uint8_t out, uint8_t wiring, uint8_t duration) {
  AlarmGroup alarm{};
  alarm.ALARMIN_EN = in;
  alarm.NO_NC = no_nc;
  alarm.ALARMOUT_EN = out;
  alarm.OUT_WIR = wiring;
  alarm.OUT_DURATION = duration;
  return alarm;
}

Camcontrol2Group camcontrol2_of(uint8_t mono, uint8_t negative, uint8_t bar, uint8_t sensorup) {
  Camcontrol2Group camera{};
  camera.MONOCHROME = mono;
  camera.NEGATIVE = negative;
  camera.COLOR_BAR = bar;
  camera.SENSORUP = sensorup;
  return camera;
}

class ActionLines : public ::testing::Test {
 protected:
  void SetUp() override { dev_root_init(""); }
  char line[kCommandLineCapacity];
};

TEST_F(ActionLines, AlarmLine) {
  struct Case {
    AlarmGroup alarm;
    const char* options;
  } cases[] = {
      {alarm_of(1, 0, 1, 3, 30), "-s s1 -n s1 -R r1 -a sm -l 30 "},
      {alarm_of(0, 1, 2, 7, 0), "-e s1 -o s1 -E r1 -a none -l 0 "},
      {alarm_of(2, 2, 0, 0, 255), "-e s1 -n s1 -E r1 -a none -l 255 "},
      {alarm_of(1, 1, 1, 1, 5), "-s s1 -o s1 -R r1 -a s -l 5 "},
      {alarm_of(1, 1, 1, 2, 5), "-s s1 -o s1 -R r1 -a m -l 5 "},
      {alarm_of(1, 1, 1, 4, 5), "-s s1 -o s1 -R r1 -a none -l 5 "},
  };
  for (const Case& c : cases) {
    ASSERT_NE(build_alarm_line(line, sizeof line, c.alarm), 0u);
    EXPECT_EQ(std::string(line), kAdmin + "ctrl_gpio " + c.options);
  }
}

TEST_F(ActionLines, WhiteBalanceLine) {
  struct Case {
    uint8_t wb, wb_manual, blc;
    const char* tail;
  } cases[] = {
      {2, 5, 0, "-i 2 -v 5 "},  // no back-light word: ends with the blank before it
      {2, 5, 1, "-i 2 -v 5 -l off"},  {2, 5, 2, "-i 2 -v 5 -l blc1"},
      {2, 5, 3, "-i 2 -v 5 -l blc2"}, {0, 255, 4, "-i 0 -v 255 -l blc3"},
      {10, 100, 5, "-i 10 -v 100 "},  {1, 1, 255, "-i 1 -v 1 "},
  };
  for (const Case& c : cases) {
    Camcontrol1Group camera{};
    camera.WB = c.wb;
    camera.WB_MANUAL = c.wb_manual;
    camera.BLC = c.blc;
    ASSERT_NE(build_white_balance_line(line, sizeof line, camera), 0u);
    EXPECT_EQ(std::string(line), kAdmin + "ctrl_dspset " + c.tail) << int(c.blc);
  }
}

TEST_F(ActionLines, Camcontrol2Line) {
  struct Case {
    Camcontrol2Group camera;
    const char* tail;
  } cases[] = {
      {camcontrol2_of(1, 1, 1, 0), "-e on -f on -x on -n 0"},
      {camcontrol2_of(0, 2, 1, 15), "-e off -f off -x on -n 15"},
      {camcontrol2_of(2, 0, 0, 255), "-e off -f off -x off -n 255"},
      {camcontrol2_of(1, 0, 2, 3), "-e on -f off -x off -n 3"},
  };
  for (const Case& c : cases) {
    ASSERT_NE(build_camcontrol2_line(line, sizeof line, c.camera), 0u);
    EXPECT_EQ(std::string(line), kAdmin + "ctrl_dspset " + c.tail);
  }
}

TEST_F(ActionLines, TvSystemScript) {
  struct Case {
    uint8_t video_type, resolution;
    const char* script;
  } cases[] = {
      {1, 1, "NTQVGA"},  {1, 2, "NTVGA"},  {1, 0, "NTVGA"},  {0, 1, "PALQVGA"},
      {2, 1, "PALQVGA"}, {0, 3, "PALVGA"}, {2, 2, "PALVGA"}, {255, 255, "PALVGA"},
  };
  for (const Case& c : cases) {
    VideoGroup video{c.video_type, c.resolution};
    ASSERT_NE(build_tv_system_line(line, sizeof line, video), 0u);
    EXPECT_EQ(std::string(line), kAdmin + "write_" + c.script + "_tvsystem > /dev/null")
        << int(c.video_type) << "/" << int(c.resolution);
  }
}

TEST_F(ActionLines, RootGoesInFrontOfEveryAbsolutePathAsOneWord) {
  ASSERT_TRUE(dev_root_init("/tmp/a b'c"));
  const std::string root = "'/tmp/a b'\\''c'";
  build_program_line(line, sizeof line, "admin/send_servertitle", " >/dev/null &");
  EXPECT_EQ(std::string(line), root + kAdmin + "send_servertitle >/dev/null &");
  build_alarm_line(line, sizeof line, alarm_of(1, 0, 1, 3, 30));
  EXPECT_EQ(std::string(line), root + kAdmin + "ctrl_gpio -s s1 -n s1 -R r1 -a sm -l 30 ");
  // ctrl_osd is found through PATH: no root; the title is one shell word.
  EXPECT_EQ(build_title_line(line, sizeof line, "My cam"), 20u);
  EXPECT_EQ(std::string(line), "ctrl_osd -c 'My cam'");
  build_title_line(line, sizeof line, "it's");
  EXPECT_EQ(std::string(line), "ctrl_osd -c 'it'\\''s'");
}

TEST_F(ActionLines, LineThatDoesNotFitIsNotBuilt) {
  char small[40];
  memset(small, 'x', sizeof small);
  EXPECT_EQ(build_alarm_line(small, sizeof small, alarm_of(0, 0, 0, 0, 0)), 0u);
  EXPECT_STREQ(small, "");
  memset(small, 'x', sizeof small);
  EXPECT_EQ(build_title_line(small, sizeof small, "a title far too long for forty bytes"), 0u);
  EXPECT_STREQ(small, "");
  EXPECT_EQ(build_title_line(small, 5, "t"), 0u);
}

}  // namespace
}  // namespace camrcd
