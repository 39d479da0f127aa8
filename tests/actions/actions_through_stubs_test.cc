// The actions run through the real shell against stub programs in a temporary root
// whose name needs quoting: arguments as the programs receive them, the order of an
// apply mask, hostile titles, descriptors reaching children, stream_restarted.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "actions/command_runner.h"
#include "actions/device_actions.h"
#include "platform/dev_root.h"
#include "settings/group_locks.h"
#include "settings/group_table.h"
#include "settings/settings_record.h"
#include "support/stub_log.h"

namespace camrcd {
namespace {

using Args = std::vector<std::string>;

const char* const kPrograms[] = {
    "admin/ctrl_gpio",
    "admin/ctrl_dspset",
    "admin/ctrl_getjpeg",
    "admin/send_servertitle",
    "admin/allshutdown_exweb",
    "admin/write_NTQVGA_tvsystem",
    "admin/write_NTVGA_tvsystem",
    "admin/write_PALQVGA_tvsystem",
    "admin/write_PALVGA_tvsystem",
    "kelda2/kd_video_run",
    "kelda2/kd_stream_rerun",
    "kelda2/kd_osd_webcmd",
    "kelda2/kd_privacy_webcmd",
    "kelda2/kd_md_run",
};

std::string names(const std::vector<StubCall>& calls) {
  std::string text;
  for (const StubCall& call : calls)
    text += call.program + " ";
  return text;
}

class ActionsThroughStubs : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    char pattern[] = "/tmp/camrcd actions 'q'XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    root_ = new std::string(pattern);
    for (const char* program : kPrograms) {
      ASSERT_TRUE(install_stub(*root_ + kWebRoot + "/" + program)) << program;
    }
    ASSERT_TRUE(install_stub(*root_ + "/bin/ctrl_osd"));
    setenv("CAMRCD_ROOT", root_->c_str(), 1);
    setenv("PATH", (*root_ + "/bin:" + getenv("PATH")).c_str(), 1);
  }
  static void TearDownTestSuite() {
    std::filesystem::remove_all(*root_);
    delete root_;
  }
  void SetUp() override {
    ASSERT_TRUE(dev_root_init(root_->c_str()));
    clear_stub_logs(*root_);
    settings = SettingsRecord{};
  }
  const std::string& root() const { return *root_; }

  static std::string* root_;
};

std::string* ActionsThroughStubs::root_ = nullptr;

TEST_F(ActionsThroughStubs, ApplyMaskRunsActionsInTableOrder) {
  settings.alarm.ALARMIN_EN = 1;
  settings.alarm.ALARMOUT_EN = 1;
  settings.alarm.OUT_WIR = 3;
  settings.alarm.OUT_DURATION = 30;
  settings.camcontrol1.WB = 2;
  settings.camcontrol1.WB_MANUAL = 5;
  settings.camcontrol1.BRIGHTNESS = 7;
  settings.camcontrol2.SENSORUP = 4;
  // Every first-mask bit but title and video; mpeg comes last with its 1 s pause.
  apply_groups(0x004 | 0x200 | 0x100 | 0x080 | 0x400 | 0x040 | 0x020 | 0x010, 0);
  std::vector<StubCall> calls = wait_for_stub_calls(root(), 9, 5000);
  const std::vector<StubCall> expected = {
      {"kd_osd_webcmd", {}},
      {"ctrl_gpio", {"-s", "s1", "-n", "s1", "-R", "r1", "-a", "sm", "-l", "30"}},
      {"ctrl_dspset", {"-i", "2", "-v", "5"}},
      {"ctrl_dspset", {"-b", "7", "-c", "0", "-s", "0", "-h", "0", "-t", "0"}},
      {"ctrl_dspset", {"-e", "off", "-f", "off", "-x", "off", "-n", "4"}},
      {"kd_privacy_webcmd", {}},
      {"ctrl_getjpeg", {}},
      {"kd_md_run", {}},
      {"kd_stream_rerun", {}},
  };
  ASSERT_EQ(calls.size(), expected.size()) << names(calls);
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(calls[i].program, expected[i].program) << i;
    EXPECT_EQ(calls[i].args, expected[i].args) << i;
  }
  EXPECT_EQ(settings.stream_restarted, 1);
}

TEST_F(ActionsThroughStubs, VideoBitsRunTheVideoRestartTwice) {
  settings.video = VideoGroup{1, 2};
  apply_groups(0x1000 | 0x002, 0);
  std::vector<StubCall> calls = read_stub_calls(root());
  EXPECT_EQ(names(calls),
            "allshutdown_exweb write_NTVGA_tvsystem kd_video_run "
            "allshutdown_exweb write_NTVGA_tvsystem kd_video_run ");
  std::lock_guard<std::mutex> hold(stream_lock);
  EXPECT_EQ(settings.stream_restarted, 1);
}

TEST_F(ActionsThroughStubs, TitleTextEnableDecidesOnCtrlOsd) {
  struct Case {
    uint8_t txt_en;
    const char* programs;
  } cases[] = {{0, "ctrl_osd send_servertitle "}, {1, "send_servertitle "}};
  for (const Case& c : cases) {
    clear_stub_logs(root());
    settings.osd.TXT_EN = c.txt_en;
    strcpy(settings.title.camera_title, "Hall");
    title_action();
    size_t count = c.txt_en == 0 ? 2 : 1;
    EXPECT_EQ(names(wait_for_stub_calls(root(), count, 3000)), c.programs);
  }
}

TEST_F(ActionsThroughStubs, HostileTitleArrivesAsOneUnchangedArgument) {
  const char* titles[] = {
      "a;ctrl_osd x",     "it's", "say \"hi\"", "$(ctrl_osd x)", "`ctrl_osd x`", "back\\slash",
      "line\nctrl_osd x", "*",    "-x",         "a  b\tc",       "(x) | &",      "'; ctrl_osd '",
  };
  for (const char* title : titles) {
    clear_stub_logs(root());
    ASSERT_LT(strlen(title), kTitleFieldSize);
    strcpy(settings.title.camera_title, title);
    title_action();
    std::vector<StubCall> calls = wait_for_stub_calls(root(), 2, 3000);
    usleep(20000);  // a second ctrl_osd, if one was started, would be logged by now
    calls = read_stub_calls(root());
    ASSERT_EQ(names(calls), "ctrl_osd send_servertitle ") << title;
    EXPECT_EQ(calls[0].args, (Args{"-c", title}));
  }
}

TEST_F(ActionsThroughStubs, TitleOfEveryByteArrivesIdentical) {
  std::string title;
  for (int byte = 1; byte <= 255; ++byte)
    title.push_back(static_cast<char>(byte));
  char line[4 * 255 + 64];
  ASSERT_NE(build_title_line(line, sizeof line, title.c_str()), 0u);
  run_command_line(line);
  std::vector<StubCall> calls = read_stub_calls(root());
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].program, "ctrl_osd");
  EXPECT_EQ(calls[0].args, (Args{"-c", title}));
}

TEST_F(ActionsThroughStubs, StubSeesNoCloseOnExecDescriptor) {
  FILE* file = fopen("/proc/self/status", "re");
  ASSERT_NE(file, nullptr);
  int file_descriptor = fileno(file);
  int socket_descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_GE(socket_descriptor, 0);
  osd_action();
  fclose(file);
  close(socket_descriptor);
  std::vector<StubDescriptors> seen = read_stub_descriptors(root());
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].program, "kd_osd_webcmd");
  const std::vector<int>& open = seen[0].descriptors;
  for (int standard : {0, 1, 2}) {
    EXPECT_NE(std::find(open.begin(), open.end(), standard), open.end()) << standard;
  }
  for (int inherited : {file_descriptor, socket_descriptor}) {
    EXPECT_EQ(std::find(open.begin(), open.end(), inherited), open.end()) << inherited;
  }
}

}  // namespace
}  // namespace camrcd
