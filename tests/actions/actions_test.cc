// The device actions: the exact text of their command lines (option words, decimal
// numbers, trailing blanks; the pan/tilt lines too); the runner (signals reset in the child, an
// interrupted wait resumed); the local notices (the 32 bytes on the loopback address, the result,
// no socket left behind); and the actions through the real shell against stub
// programs in a root whose name needs quoting (the calls of an apply mask in order,
// hostile titles, stream_restarted; the descriptors a child gets: end to end).
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "actions/device_actions.h"
#include "actions/local_notifier.h"
#include "actions/ptz_actions.h"
#include "groups/group_table.h"
#include "platform/command_runner.h"
#include "platform/dev_root.h"
#include "platform/mutex.h"
#include "settings/group_locks.h"
#include "support/daemon_harness.h"

// The cases name a group's file-image fields and leave its wire fields zero.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace camrcd {
namespace {

template <typename Group>
std::string line_of(size_t (*build)(char*, size_t, const Group&), const Group& group) {
  char line[kCommandLineCapacity];
  return build(line, sizeof line, group) != 0 ? line : "<not built>";
}

// Each line of data/lines.txt: a builder and its fields, then the line it must build.
TEST(ActionLines, ExactText) {
  ASSERT_TRUE(dev_root_init(""));
  std::ifstream data(CAMRCD_SOURCE_DIR "/tests/actions/data/lines.txt");
  int count = 0;
  for (std::string line; std::getline(data, line);) {
    std::vector<std::string> parts = split(line, "|");
    std::istringstream words(parts[0]);
    std::string kind;
    uint8_t v[5] = {};
    words >> kind;
    for (int i = 0, number; i < 5 && words >> number; ++i)
      v[i] = static_cast<uint8_t>(number);
    if (kind[0] == '#')
      continue;
    std::string built =
        kind == "alarm" ? line_of(build_alarm_line, {v[0], v[1], "", v[2], v[3], v[4]})
        : kind == "wb"
            ? line_of(build_white_balance_line, {0, 0, 0, 0, 0, 0, 0, 0, v[0], v[1], v[2]})
        : kind == "camcontrol2" ? line_of(build_camcontrol2_line, {v[0], v[1], v[2], v[3]})
                                : line_of(build_tv_system_line, {v[0], v[1]});
    EXPECT_EQ(built, std::string(kWebRoot) + "/admin/" + parts[1]) << line;
    ++count;
  }
  EXPECT_EQ(count, 18);
  char small[40] = "x";  // lines that do not fit are not built
  EXPECT_EQ(build_alarm_line(small, sizeof small, AlarmGroup{}), 0u);
  EXPECT_STREQ(small, "");
  EXPECT_EQ(build_title_line(small, sizeof small, "a title far too long for forty bytes"), 0u);
}

// The pan/tilt lines as the shell gets them: the blanks at their ends (which no
// program sees as an argument) and the preset name as one quoted word.
TEST(PtzLines, ExactTextWithTrailingBlanksAndQuotedName) {
  ASSERT_TRUE(dev_root_init(""));
  using Build = size_t (*)(char*, size_t, const SettingsRecord&);
  const struct {
    Build build;
    void (*set)(SettingsRecord& r);
    const char* line;  // after the web root's admin/ folder
  } cases[] = {
      {build_autorun_line,
       [](SettingsRecord& r) {
         r.poa = {2, 4, 0}, r.autorun.enable = 1;
       },
       "ctrl_ptz --class=save2 --poa_action=last_action --poa_num=0 --autorun_action=none "},
      {build_autorun_line,
       [](SettingsRecord& r) {
         r.autorun = {2, 9, 4, 3};
       },
       "ctrl_ptz --class=save2 --poa_action=none --autorun_action=none --autorun_num=3 "
       "--autorun_delaytime=9 "},
      {build_md2_line,
       [](SettingsRecord& r) { r.motion_flags = 34, r.md.enable = 2, r.current_md = 3; },
       "ctrl_ptz --class=save1 --mdf=off --position=3  "},
      {build_md2_line,
       [](SettingsRecord& r) {
         r.motion_flags = 18, r.md = {2, 2, 4}, r.current_md = 3;
       },
       "ctrl_ptz --class=save1 --mdf=on --position=3 --start_action=sequence --start_num=4 "},
      {build_alarm2_gpio_line,
       [](SettingsRecord& r) {
         r.alarmout = {2, 255, 99, ""};
       },
       "ctrl_gpio -e s1 -n s1 -E r1 -a none -l 1"},
      {build_alarm2_ptz_line, [](SettingsRecord& r) { r.alin_allen = 2, r.alarmin.enable = 2; },
       "ctrl_ptz --alarm_action=none --alarm_num=0"},
      {build_preset2_line,
       [](SettingsRecord& r) {
         r.preset = {2, 5, 255, "it's $(x)"}, r.current_preset = 7, r.home = 7;
       },
       "ctrl_ptz --class=save1 --position=7 '--name=it'\\''s $(x)' --dwell=5 --group=255 "
       "--home=on"},
  };
  for (const auto& c : cases) {
    SettingsRecord record = {};
    c.set(record);
    char line[kCommandLineCapacity];
    ASSERT_NE(c.build(line, sizeof line, record), 0u) << c.line;
    EXPECT_EQ(std::string(line), std::string(kWebRoot) + "/admin/" + c.line);
  }
  char line[kCommandLineCapacity];
  build_clear_line(line, sizeof line, 0);
  EXPECT_EQ(std::string(line), std::string(kWebRoot) + "/admin/ctrl_ptz --class=clear_all");
}

void on_alarm(int) {}

// The server's own signal state (SIGPIPE ignored, a handler without SA_RESTART, a
// signal blocked) is left in place for the rest of the tests: the runner resets it.
TEST(CommandRunner, ChildGetsDefaultSignalsAndTheWaitOutlastsEintr) {
  signal(SIGPIPE, SIG_IGN);
  struct sigaction handler = {};
  handler.sa_handler = on_alarm;
  sigaction(SIGALRM, &handler, nullptr);
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
  ualarm(20000, 0);  // while the child sleeps
  std::string path = "/tmp/camrcd-runner." + std::to_string(getpid());
  run_command_line(("sleep 0.2; grep -E '^Sig(Blk|Ign)' /proc/self/status > " + path).c_str());
  FILE* status = fopen(path.c_str(), "re");  // complete only if the runner waited
  unsigned long long blocked_set = ~0ull, ignored_set = ~0ull;
  ASSERT_NE(status, nullptr);
  EXPECT_EQ(fscanf(status, "SigBlk: %llx SigIgn: %llx", &blocked_set, &ignored_set), 2);
  fclose(status);
  unlink(path.c_str());
  EXPECT_EQ(blocked_set, 0u);
  EXPECT_EQ(ignored_set & (1ull << (SIGPIPE - 1)), 0u);
}

// A UDP socket bound to 127.0.0.1:*port (0 picks one, stored back); -1 when taken.
// A datagram sent on the loopback address is queued before sendto returns, so the
// receiver reads without waiting.
int bind_receiver(uint16_t* port) {
  int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {AF_INET, htons(*port), {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t length = sizeof address;
  if (bind(descriptor, reinterpret_cast<sockaddr*>(&address), length) != 0) {
    close(descriptor);
    return -1;
  }
  getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length);
  *port = ntohs(address.sin_port);
  return descriptor;
}

TEST(LocalNotifier, BytesPortResultAndNoSocketLeft) {
  uint16_t port = kLocalNoticePort;  // the service port when it is free, else any
  int receiver = bind_receiver(&port);
  if (receiver < 0)
    receiver = bind_receiver(&(port = 0));
  ASSERT_GE(receiver, 0);
  for (uint8_t area : {3, 255, 0, 254}) {
    uint8_t notice[kLocalNoticeSize];
    build_md_area_notice(area, notice);
    port == kLocalNoticePort ? notify_md_area(area) : (void)local_notify(port, notice);
    std::vector<uint8_t> expected = {
        0x31, 0x30, 0xFF, 0x01, 0, 0, static_cast<uint8_t>(area == 255 ? 0x81 : 0x82), area, 0xFF};
    expected.resize(kLocalNoticeSize);
    uint8_t got[64];
    ssize_t size = recv(receiver, got, sizeof got, MSG_DONTWAIT);
    EXPECT_EQ(std::vector<uint8_t>(got, got + std::max<ssize_t>(size, 0)), expected) << int{area};
  }
  close(receiver);
  close(bind_receiver(&(port = 0)));                 // a port nobody listens on: sent all the same
  for (uint16_t to : {port, uint16_t{0}}) {          // port 0 refuses the send
    int lowest_free = fcntl(0, F_DUPFD_CLOEXEC, 0);  // a leaked socket would take it
    close(lowest_free);
    EXPECT_EQ(local_notify(to, std::vector<uint8_t>(kLocalNoticeSize).data()), to != 0) << to;
    int now_lowest = fcntl(0, F_DUPFD_CLOEXEC, 0);
    close(now_lowest);
    EXPECT_EQ(now_lowest, lowest_free) << to;
  }
}

class ActionsThroughStubs : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    char pattern[] = "/tmp/camrcd actions 'q'XXXXXX";
    installed_ = mkdtemp(pattern) != nullptr;
    root_ = pattern;
    for (const char* program :
         {"admin/ctrl_gpio", "admin/ctrl_dspset", "admin/ctrl_getjpeg", "admin/send_servertitle",
          "admin/allshutdown_exweb", "admin/write_PALQVGA_tvsystem", "kelda2/kd_video_run",
          "kelda2/kd_stream_rerun", "kelda2/kd_osd_webcmd", "kelda2/kd_privacy_webcmd",
          "kelda2/kd_md_run"})
      installed_ = installed_ && install_stub(root_ + kWebRoot + "/" + program);
    installed_ = installed_ && install_stub(root_ + "/bin/ctrl_osd");
    setenv("CAMRCD_ROOT", root_.c_str(), 1);
    setenv("PATH", (root_ + "/bin:" + getenv("PATH")).c_str(), 1);
  }
  static void TearDownTestSuite() {
    usleep(100000);  // a program started in the background finishes its logs
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  void SetUp() override {
    // Checked here, not in SetUpTestSuite, whose failure would only skip the tests.
    ASSERT_TRUE(installed_) << "the stub programs could not be installed";
    ASSERT_TRUE(dev_root_init(root_.c_str()));
    clear_stub_logs(root_);
  }
  static inline std::string root_;
  static inline bool installed_ = true;
};

TEST_F(ActionsThroughStubs, ApplyMasksRunTheirCallsInTableOrder) {
  struct Case {
    uint32_t mask;
    const char* calls;
    int stream_restarted;
  } cases[] = {
      // Every first-mask bit but title and video; mpeg comes last with its 1 s pause.
      {0x7F4,
       "kd_osd_webcmd; ctrl_gpio -s s1 -n s1 -R r1 -a sm -l 30; ctrl_dspset -i 2 -v 5; "
       "ctrl_dspset -b 7 -c 0 -s 0 -h 0 -t 0; ctrl_dspset -e off -f off -x off -n 4; "
       "kd_privacy_webcmd; ctrl_getjpeg; kd_md_run; kd_stream_rerun",
       1},
      // Both video bits restart the video, each in full.
      {0x1002,
       "allshutdown_exweb; write_PALQVGA_tvsystem; kd_video_run; allshutdown_exweb; "
       "write_PALQVGA_tvsystem; kd_video_run",
       1},
      {0x001, "send_servertitle", 0},  // the OSD shows its own text: no ctrl_osd
  };
  for (const Case& c : cases) {
    clear_stub_logs(root_);
    settings = SettingsRecord{};
    settings.alarm = {1, 0, "", 1, 3, 30};
    settings.camcontrol1 = {0, 0, 0, 7, 0, 0, 0, 0, 2, 5, 0};
    settings.camcontrol2 = {0, 0, 0, 4};
    settings.video = {0, 1};
    settings.osd.TXT_EN = 1;
    apply_groups(c.mask, 0);
    EXPECT_EQ(stub_calls_text(root_, c.calls, 5000), c.calls);
    MutexHold hold(stream_lock);
    EXPECT_EQ(settings.stream_restarted, c.stream_restarted);
  }
}

TEST_F(ActionsThroughStubs, TitleReachesCtrlOsdAsOneUnchangedArgument) {
  std::vector<std::string> titles = {
      "a;ctrl_osd x",     "it's", "say \"hi\"", "$(ctrl_osd x)", "`ctrl_osd x`", "back\\slash",
      "line\nctrl_osd x", "*",    "-x",         "a  b\tc",       "(x) | &",      "'; ctrl_osd '"};
  std::string bytes(255, '\0');
  std::iota(bytes.begin(), bytes.end(), 1);  // and every byte value, a title's width at a time
  for (size_t at = 0; at < bytes.size(); at += kTitleWidth)
    titles.push_back(bytes.substr(at, kTitleWidth));
  settings = SettingsRecord{};
  for (const std::string& title : titles) {
    clear_stub_logs(root_);
    snprintf(settings.title.camera_title, kTitleFieldSize, "%s", title.c_str());
    title_action();
    std::vector<StubCall> calls = wait_for_stub_calls(root_, 2, 3000);
    ASSERT_EQ(calls.size(), 2u) << title;
    EXPECT_EQ(calls[0].program + " " + calls[1].program, "ctrl_osd send_servertitle") << title;
    EXPECT_EQ(calls[0].args, (std::vector<std::string>{"-c", title}));
  }
}

}  // namespace
}  // namespace camrcd
