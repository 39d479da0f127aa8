// The built camrc against the real daemon on a sandbox camera: the device
// information it prints (JSON that must parse and match the sandbox's files, also
// with a title of hostile bytes), writes that reach the configuration files and the
// camera programs, and the exit status of each kind of failure.
#include <ctype.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/daemon_harness.h"
#include "support/stub_log.h"

extern char** environ;

namespace camrcd {
namespace {

struct CamrcRun {
  int status = -1;  // exit status, or -1 when camrc did not exit normally
  std::string out, err;
};

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Runs the built camrc with args; its output goes through files.
CamrcRun run_camrc(const std::vector<std::string>& args) {
  static int serial = 0;
  std::string base = std::filesystem::temp_directory_path().string() + "/camrc-run-" +
                     std::to_string(getpid()) + "-" + std::to_string(serial++);
  std::string out_path = base + ".out", err_path = base + ".err";
  std::string program = CAMRCD_BINARY_DIR "/camrc";
  std::vector<char*> argv = {program.data()};
  std::vector<std::string> copies = args;
  for (std::string& arg : copies)
    argv.push_back(arg.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  posix_spawn_file_actions_addopen(&actions, 2, err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  pid_t pid = -1;
  CamrcRun run;
  int wait_status = 0;  // camrc's own socket time limits bound the wait
  if (posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ) == 0 &&
      waitpid(pid, &wait_status, 0) == pid && WIFEXITED(wait_status))
    run.status = WEXITSTATUS(wait_status);
  posix_spawn_file_actions_destroy(&actions);
  run.out = read_file(out_path);
  run.err = read_file(err_path);
  unlink(out_path.c_str());
  unlink(err_path.c_str());
  return run;
}

std::vector<std::string> login_args(uint16_t port, const char* password = "camera1",
                                    const char* user = "demo") {
  return {"--port", std::to_string(port), "--user", user, "--password", password};
}

std::vector<std::string> operator+(std::vector<std::string> a, const std::vector<std::string>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// A flat JSON object of strings and numbers, as camrc prints it: every value as text
// (strings unescaped). False when the text is not exactly one such object and a
// newline, or holds a byte outside ASCII.
bool parse_flat_json(const std::string& text, std::map<std::string, std::string>* fields) {
  size_t i = 0;
  auto string_at = [&](std::string* out) {
    if (i >= text.size() || text[i++] != '"')
      return false;
    for (; i < text.size() && text[i] != '"'; i++) {
      if (text[i] != '\\') {
        *out += text[i];
        continue;
      }
      char e = ++i < text.size() ? text[i] : 0;
      if (e == '"' || e == '\\') {
        *out += e;
      } else if (e == 'u' && text.compare(i + 1, 2, "00") == 0 && i + 4 < text.size()) {
        *out += static_cast<char>(std::stoul(text.substr(i + 3, 2), nullptr, 16));
        i += 4;
      } else {
        return false;  // camrc writes no other escapes
      }
    }
    return i++ < text.size();
  };
  for (unsigned char c : text) {
    if (c >= 0x80 || (c < 0x20 && c != '\n'))
      return false;
  }
  if (text.empty() || text[i++] != '{')
    return false;
  while (i < text.size() && text[i] != '}') {
    std::string key, value;
    if (!string_at(&key) || i >= text.size() || text[i++] != ':')
      return false;
    if (text[i] == '"') {
      if (!string_at(&value))
        return false;
    } else {
      while (i < text.size() && (isdigit(static_cast<unsigned char>(text[i])) || text[i] == '-'))
        value += text[i++];
      if (value.empty())
        return false;
    }
    (*fields)[key] = value;
    if (text[i] == ',')
      i++;
  }
  return text.substr(i) == "}\n";
}

TEST(Camrc, InfoJsonMatchesSandboxFiles) {
  const std::string hostile_title = "T\x01\"\\\xC3\xA9\x7F";
  struct Case {
    int type;
    bool hostile;
    std::map<std::string, std::string> expected;
    std::vector<std::string> present;  // whatever their values
    std::vector<std::string> absent;
  } cases[] = {
      {1,
       true,
       {{"device_type", "1"},
        {"mac_address", "00:a0:b1:c2:d3:e4"},
        {"web_port", "80"},
        {"camera_title", hostile_title},
        {"osd_title", "Entrance"},
        {"cam_brightness", "131"},  // BRIGHTNESS 28 on the file's scale
        {"mpeg_rate", "30"},
        {"mpeg_bitrate", "768"},
        {"alarm_in_polarity", "no"},
        {"alarm_out_duration", "5"},
        {"privacy_right", "91"}},
       {"privacy_bottom", "alarm_out_mode"},
       {"poa_enable"}},
      {2,
       false,
       {{"device_type", "2"}, {"layout_version", "1.00"}, {"camera_title", "Lobby"}},
       {"poa_enable", "autorun_actno"},
       {"alarm_in", "privacy_enable"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "type " << c.type);
    DaemonOptions options;
    options.camera_type = c.type;
    if (c.hostile) {
      options.prepare = [&](const std::string& root) {
        write_text_file(root + "/home/zr/webserver/web/kelda2/view_title.ls",
                        "NAME = " + hostile_title + "\nEND\n");
      };
    }
    DaemonHarness daemon(options);
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    CamrcRun run =
        run_camrc(login_args(daemon.port()) + std::vector<std::string>{"info", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    std::map<std::string, std::string> fields;
    ASSERT_TRUE(parse_flat_json(run.out, &fields)) << run.out;
    std::map<std::string, std::string> expected = c.expected;
    expected["control_port"] = std::to_string(daemon.port());
    expected["connect_port"] = std::to_string(daemon.port() - 1);
    for (const auto& [name, value] : expected)
      EXPECT_EQ(fields[name], value) << name;
    for (const std::string& name : c.present)
      EXPECT_EQ(fields.count(name), 1u) << name;
    for (const std::string& name : c.absent)
      EXPECT_EQ(fields.count(name), 0u) << name;
    CamrcRun text = run_camrc(login_args(daemon.port()) + std::vector<std::string>{"info"});
    EXPECT_NE(text.out.find("\nmac_address: 00:a0:b1:c2:d3:e4\n"), std::string::npos);
  }
}

// Waits until the stub log holds a call of program ending with last_args (programs
// started in the background log late).
bool wait_for_call(const std::string& root, const std::string& program,
                   const std::vector<std::string>& last_args) {
  for (int64_t deadline = monotonic_ms() + kDaemonWaitMs; monotonic_ms() < deadline;
       usleep(20000)) {
    for (const StubCall& call : read_stub_calls(root)) {
      if (call.program == program && call.args.size() >= last_args.size() &&
          std::equal(last_args.begin(), last_args.end(), call.args.end() - last_args.size()))
        return true;
    }
  }
  return false;
}

TEST(Camrc, WritesReachFilesAndPrograms) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  std::string map_path = daemon.root() + "/map.dat";
  std::string map(4801, '\x07');
  map[0] = 'P';
  ASSERT_TRUE(write_text_file(map_path, map));
  struct Case {
    std::vector<std::string> command;
    std::string file;
    std::vector<std::string> lines;  // each must stand in the file as a whole line
    std::string program;
    std::vector<std::string> last_args;  // the program's last arguments
    std::string note;                    // in camrc's standard error
  } cases[] = {
      {{"picture", "--brightness", "200", "--contrast", "7"},
       "kelda2/env_camcontrol1.ls",
       {"BRIGHTNESS = 36", "CONTRAST = 7", "HUE = 128"},
       "ctrl_dspset",
       {"-b", "36", "-c", "7", "-s", "96", "-h", "128", "-t", "140"},
       ""},
      {{"camcontrol2", "--monochrome", "on", "--sensorup", "9"},
       "kelda2/env_camcontrol2.ls",
       {"MONOCHROME = 1", "NEGATIVE = 0", "SENSORUP = 9"},
       "ctrl_dspset",
       {"-n", "9"},
       ""},
      {{"alarm", "--in", "off", "--polarity", "nc", "--mode", "64"},
       "kelda2/env_alarm.ls",
       {"ALARMIN_EN = 0", "NO_NC = 0", "OUT_WIR = 2", "OUT_DURATION = 5"},
       "ctrl_gpio",
       {"-l", "5"},
       ""},
      {{"title", "Hall-2"}, "admin/view_title.ls", {"NAME = Hall-2"}, "send_servertitle", {}, ""},
      {{"motion", "set", "--map", map_path, "--flags", "0x21"},
       "kelda2/env_motion.ls",
       {"MOTION_EN = 1", "MD_METHOD = 1"},
       "kd_md_run",
       {},
       ""},
      {{"mpeg", "--cbr", "off", "--rate", "12"},
       "kelda2/env_mpeg.ls",
       {"cbr = off", "quality = 12", "inputrate = 29"},
       "kd_stream_rerun",
       {},
       "ended the connection after the write"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.command[0]);
    clear_stub_logs(daemon.root());
    CamrcRun run = run_camrc(login_args(daemon.port()) + c.command);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.err.find(c.note), std::string::npos) << run.err;
    std::string file = "\n" + read_file(daemon.web_path(c.file));
    for (const std::string& line : c.lines)
      EXPECT_NE(file.find("\n" + line + "\n"), std::string::npos) << line << " in" << file;
    EXPECT_TRUE(wait_for_call(daemon.root(), c.program, c.last_args)) << c.program;
  }
  EXPECT_EQ(read_file(daemon.web_path("kelda2/env_motion_block.dat")), map);
}

TEST(Camrc, FailuresHaveDistinctStatuses) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  enum Target { kDaemon, kNobody, kDaemonFull };
  struct Case {
    const char* what;
    Target target;
    std::vector<std::string> login;  // password, user; empty: no login options
    std::vector<std::string> command;
    int status;
    std::string message;
  } cases[] = {
      {"wrong password", kDaemon, {"camera2", "demo"}, {"info"}, 4, "wrong password"},
      {"unknown user", kDaemon, {"camera1", "nemo"}, {"info"}, 4, "no such user"},
      {"refused", kNobody, {"camera1", "demo"}, {"info"}, 3, "refused or unreachable"},
      {"value too big",
       kDaemon,
       {"camera1", "demo"},
       {"picture", "--brightness", "300"},
       2,
       "--brightness"},
      {"unknown group", kDaemon, {"camera1", "demo"}, {"reload", "zoom"}, 2, "zoom"},
      {"no user", kDaemon, {}, {"info"}, 2, "--user"},
      // Last: the five held users leave only after the table.
      {"sixth user", kDaemonFull, {"camera1", "demo"}, {"info"}, 5, "ended the connection"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<int> held;
    uint16_t port = daemon.port();
    if (c.target == kNobody)
      port = free_tcp_port();
    for (int i = 0; c.target == kDaemonFull && i < 5; i++)
      held.push_back(daemon.login_client());
    std::vector<std::string> args = c.login.empty()
                                        ? std::vector<std::string>{"--port", std::to_string(port)}
                                        : login_args(port, c.login[0].c_str(), c.login[1].c_str());
    CamrcRun run = run_camrc(args + c.command);
    EXPECT_EQ(run.status, c.status) << run.err;
    EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    for (int socket : held)
      close(socket);
  }
}

}  // namespace
}  // namespace camrcd
