// The built camrc against the real daemon on a sandbox camera: the device
// information it prints (the whole JSON line for the sandbox's files), commands whose
// effects show in the configuration files, the camera programs and camrc's own output
// (data/writes_type*.txt), every example of the README, and the exit status and
// message of each kind of failure. Last, scripts/sandbox as a user runs it.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platform/shell_word.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

using Args = std::vector<std::string>;

std::unique_ptr<DaemonHarness> start_daemon(int type) {
  return std::make_unique<DaemonHarness>(DaemonOptions{type});
}

// True when `text` holds each of `lines` as a whole line.
bool has_lines(const std::string& text, const std::vector<std::string>& lines) {
  return std::all_of(lines.begin(), lines.end(), [&](const std::string& line) {
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
  });
}

// The calls made show `call` (program, then its last arguments).
bool stub_called(const std::string& root, const Args& call) {
  for (const StubCall& made : read_stub_calls(root)) {
    if (made.program == call[0] && made.args.size() + 1 >= call.size() &&
        std::equal(call.rbegin(), call.rend() - 1, made.args.rbegin()))
      return true;
  }
  return false;
}

// Runs the rows of data/writes_type<type>.txt in order on one daemon.
void run_command_rows(int type) {
  auto daemon = start_daemon(type);
  ASSERT_TRUE(daemon->ok()) << daemon->error();
  std::string map(4801, '\x07');
  map[0] = 'P';
  ASSERT_TRUE(write_text_file(daemon->root() + "/map.dat", map));
  std::ifstream rows(CAMRCD_SOURCE_DIR "/tests/tools/data/writes_type" + std::to_string(type) +
                     ".txt");
  size_t count = 0;
  for (std::string line; std::getline(rows, line);) {
    std::vector<std::string> c = split(line, " | ");
    if (line[0] == '#' || c.size() != 5)
      continue;
    SCOPED_TRACE(c[0]);
    ++count;
    clear_stub_logs(daemon->root());
    CamrcRun run;
    auto run_last = [&](const std::string& command) {
      Args args = split(command, " ");
      std::replace(args.begin(), args.end(), std::string("MAP"), daemon->root() + "/map.dat");
      run = run_camrc(daemon->port(), args);
      EXPECT_EQ(run.status, 0) << command << ": " << run.err;
    };
    std::vector<std::string> commands = split(c[0], " ; ");
    for (const std::string& command : commands)
      run_last(command);
    EXPECT_NE(run.err.find(c[4] == "-" ? "" : c[4]), std::string::npos) << run.err;
    std::vector<std::string> lines = split(c[2], "; ");
    if (c[1] == "stdout") {  // a program started in the background may change it late
      EXPECT_TRUE(wait_until(kDaemonWaitMs, [&] {
        return has_lines(run.out, lines) || (run_last(commands.back()), false);
      })) << run.out;
    } else {
      std::string file = read_file(daemon->web_path(c[1]));
      EXPECT_TRUE(has_lines(file, lines)) << c[2] << " in\n" << file;
    }
    if (c[3] != "-") {
      EXPECT_TRUE(
          wait_until(kDaemonWaitMs, [&] { return stub_called(daemon->root(), split(c[3], " ")); }))
          << c[3] << " in " << stub_calls_text(daemon->root(), "");
    }
  }
  EXPECT_GT(count, 5u);
  if (type == 1) {  // the last motion write sent the current map back
    EXPECT_TRUE(read_file(daemon->web_path("kelda2/env_motion_block.dat")) == map);
  }
}

TEST(Camrc, FixedCameraCommands) {
  run_command_rows(1);
}

// A pan/tilt daemon sends notices to port 1630: the suite holds the notice port, so
// that no listener of another test hears them.
TEST(NoticePortCamrc, PanTiltCommands) {
  run_command_rows(2);
}

// The whole JSON line of each type is known (type 1 with a title of hostile bytes; it
// parses as JSON; type 2 has the auto-run block instead of the privacy block).
TEST(Camrc, InfoJsonMatchesSandboxFiles) {
  for (int type : {1, 2}) {
    SCOPED_TRACE(type);
    DaemonOptions options{type};
    options.prepare = [&](const std::string& root) {
      if (type == 1)
        write_text_file(root + "/home/zr/webserver/web/kelda2/view_title.ls",
                        "NAME = T\x01\"\\\xC3\xA9\x7F\nEND\n");
    };
    DaemonHarness daemon(options);
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    CamrcRun run = run_camrc(daemon.port(), {"info", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    std::string known =
        read_file(CAMRCD_SOURCE_DIR "/tests/tools/data/info_type" + std::to_string(type) + ".json");
    known.replace(known.find("CONNECT_PORT"), 12, std::to_string(daemon.port() - 1));
    known.replace(known.find("CONTROL_PORT"), 12, std::to_string(daemon.port()));
    EXPECT_EQ(run.out, known);
    EXPECT_NE(run_camrc(daemon.port(), {"info"}).out.find("\nmac_address: 00:a0:b1:c2:d3:e4\n"),
              std::string::npos);
  }
}

// Every camrc line of the README's shell examples exits 0 on the sandbox, in order; a
// comment after it names a line of its output, and a comment after a "cat" of a
// sandbox file a text of that file. Examples below the pan/tilt heading run on a
// pan/tilt camera.
TEST(NoticePortCamrc, ReadmeExamplesWork) {
  std::map<int, std::unique_ptr<DaemonHarness>> daemons;
  std::istringstream readme(read_file(CAMRCD_SOURCE_DIR "/README.md"));
  int type = 1;
  size_t examples = 0;
  bool in_shell = false;
  for (std::string line; std::getline(readme, line);) {
    in_shell = line == "```sh" || (in_shell && line != "```");
    type = line.rfind("## Pan/tilt", 0) == 0 ? 2 : line.rfind("## ", 0) == 0 ? 1 : type;
    bool camrc = line.rfind("build/release/camrc ", 0) == 0;
    bool cat = line.rfind("cat sandbox/camera/", 0) == 0;
    if (!in_shell || (!camrc && !cat))
      continue;
    SCOPED_TRACE(line);
    if (!daemons[type])
      daemons[type] = start_daemon(type);
    DaemonHarness& daemon = *daemons[type];
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    size_t hash = line.find(" # ");
    std::string comment = hash == std::string::npos ? "" : line.substr(hash + 3);
    std::istringstream words(line.substr(0, hash));
    Args args;
    for (std::string word; words >> word;)
      args.push_back(word);
    examples++;
    if (cat) {
      std::string path = daemon.root() + args[1].substr(std::string("sandbox/camera").size());
      EXPECT_TRUE(wait_until(kDaemonWaitMs, [&] {
        return read_file(path).find(comment) != std::string::npos;
      })) << read_file(path);
      continue;
    }
    CamrcRun run;
    EXPECT_TRUE(wait_until(kDaemonWaitMs, [&] {  // a background program may change it late
      run = run_camrc(daemon.port(), Args(args.begin() + 1, args.end()), {});
      return run.out.find(comment) != std::string::npos;
    })) << run.out;
    EXPECT_EQ(run.status, 0) << run.err;
  }
  EXPECT_GT(examples, 8u);
}

TEST(Camrc, FailuresHaveDistinctStatuses) {
  std::map<int, std::unique_ptr<DaemonHarness>> daemons;
  for (int type : {1, 2}) {
    daemons[type] = start_daemon(type);
    ASSERT_TRUE(daemons[type]->ok()) << daemons[type]->error();
  }
  const uint16_t unused = free_tcp_port();
  std::ifstream rows(CAMRCD_SOURCE_DIR "/tests/tools/data/failures.txt");
  size_t count = 0;
  for (std::string line; std::getline(rows, line);) {
    std::vector<std::string> c = split(line, " | ");
    if (line[0] == '#' || c.size() != 6)
      continue;
    SCOPED_TRACE(line);
    ++count;
    int type = std::stoi(c[0]);
    std::vector<int> held;
    for (int i = 0; i < std::stoi(c[1]); i++)
      held.push_back(daemons[type]->login_client());
    CamrcRun run = run_camrc(type == 0 ? unused : daemons[type]->port(), split(c[3], " "),
                             c[2] == "-" ? Args() : split(c[2], " "));
    EXPECT_EQ(std::to_string(run.status), c[4]) << run.err;
    EXPECT_NE(run.err.find(c[5]), std::string::npos) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    for (int socket : held)
      close(socket);
  }
  EXPECT_EQ(count, 16u);
}

constexpr int kNoticePortWaitMs = 60000;

// A pan/tilt sandbox on a chosen port and folder: its listener shows the notices, and
// its restart lets a daemon that restarted its streams serve connections whole again.
TEST(NoticePortSandbox, PanTiltCameraNoticesAndRestart) {
  // The resource lock orders this run's tests; another run may hold the port a while.
  ASSERT_TRUE(wait_until(kNoticePortWaitMs, [] { return close(bind_notice_port()) == 0; }))
      << "UDP port 1630 (the local notices) is held by another process; this test needs it";
  char folder[] = "/tmp/camrc-sandbox-XXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  std::string dir = folder, out = dir + "/sandbox.out";
  uint16_t port = free_tcp_port();
  std::string script = CAMRCD_SOURCE_DIR "/scripts/sandbox";
  pid_t sandbox = spawn_process(
      {"/usr/bin/env", "CAMRCD_BUILD_DIR=" CAMRCD_BINARY_DIR, "CAMRCD_EMULATOR=" CAMRCD_EMULATOR,
       "/bin/bash", script, "--type", "2", "--port", std::to_string(port), "--dir", dir},
      out, dir + "/sandbox.err");
  ASSERT_GT(sandbox, 0);
  struct Stop {  // whatever happens, the sandbox (and with it its daemon) ends
    pid_t& pid;
    std::string dir;
    ~Stop() {
      if (pid > 0 && kill(pid, SIGTERM) == 0)
        waitpid(pid, nullptr, 0);
      std::error_code ignored;
      std::filesystem::remove_all(dir, ignored);
    }
  } stop{sandbox, dir};
  auto output_has = [&](const std::string& text) {
    return wait_until(kDaemonStartMs,
                      [&] { return read_file(out).find(text) != std::string::npos; });
  };
  EXPECT_TRUE(output_has("Control listen() started - port(" + std::to_string(port) + ")"))
      << read_file(out);

  EXPECT_EQ(run_camrc(port, {"motion", "get", "--area", "3"}).status, 0);
  ASSERT_TRUE(output_has("notice: area 3 selected (0x82)"))
      << "no notice shown (was UDP port 1630 taken meanwhile?):\n"
      << read_file(out);
  EXPECT_TRUE(has_lines(read_file(dir + "/camera/notices.log"),
                        {"3130ff0100008203ff" + std::string(46, '0')}));
  EXPECT_NE(run_camrc(port, {"jpeg", "--quality", "40"}).err.find("restarts its streams"),
            std::string::npos);
  EXPECT_NE(run_camrc(port, {"info"}).err.find("one request"), std::string::npos);
  EXPECT_EQ(system(("/bin/bash " + script + " --restart --dir " + dir + " >/dev/null").c_str()), 0);
  CamrcRun run;
  EXPECT_TRUE(wait_until(kDaemonStartMs, [&] {
    run = run_camrc(port, {"info"});
    return run.status == 0 && run.err.empty();
  })) << run.err;

  kill(sandbox, SIGTERM);
  EXPECT_EQ(waitpid(sandbox, nullptr, 0), sandbox);
  sandbox = -1;
  EXPECT_TRUE(wait_until(kDaemonWaitMs, [&] { return run_camrc(port, {"info"}).status == 3; }))
      << "the daemon outlived its sandbox";
}

}  // namespace
}  // namespace camrcd
