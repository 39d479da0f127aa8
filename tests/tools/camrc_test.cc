// The built camrc against the real daemon on a sandbox camera: the device
// information it prints (the whole JSON line for the sandbox's files, with a title of
// hostile bytes), writes that reach the configuration files and the camera programs
// (data/writes.txt), and the exit status of each kind of failure.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "platform/shell_word.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

using Args = std::vector<std::string>;

struct CamrcRun {
  int status = -1;  // exit status, or -1 when camrc did not exit normally
  std::string out, err;
};

// Runs the built camrc with the login options for port, then args.
CamrcRun run_camrc(uint16_t port, const Args& args, const Args& login = {"demo", "camera1"}) {
  Args all = target_command(CAMRCD_BINARY_DIR "/camrc");
  if (all.empty())
    return {-1, "", "camrc is not built for the machine these tests run on"};
  all.insert(all.end(), {"--port", std::to_string(port)});
  if (!login.empty())
    all.insert(all.end(), {"--user", login[0], "--password", login[1]});
  all.insert(all.end(), args.begin(), args.end());
  std::string base = "/tmp/camrc-run-" + std::to_string(getpid());
  std::string command;
  for (const std::string& arg : all) {
    char word[1024];
    shell_word(word, sizeof word, arg.c_str());
    command += std::string(command.empty() ? "" : " ") + word;
  }
  int status = system((command + " >" + base + ".out 2>" + base + ".err").c_str());
  CamrcRun run{WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(base + ".out"),
               read_file(base + ".err")};
  unlink((base + ".out").c_str());
  unlink((base + ".err").c_str());
  return run;
}

// The whole JSON line of each type is known (type 1 with a title of hostile bytes; it
// parses as JSON; type 2 has another layout).
TEST(Camrc, InfoJsonMatchesSandboxFiles) {
  for (int type : {1, 2}) {
    SCOPED_TRACE(type);
    DaemonOptions options;
    options.camera_type = type;
    options.prepare = [&](const std::string& root) {
      if (type == 1)
        write_text_file(root + "/home/zr/webserver/web/kelda2/view_title.ls",
                        "NAME = T\x01\"\\\xC3\xA9\x7F\nEND\n");
    };
    DaemonHarness daemon(options);
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    CamrcRun run = run_camrc(daemon.port(), {"info", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    std::string ports = "\"connect_port\":" + std::to_string(daemon.port() - 1) +
                        ",\"control_port\":" + std::to_string(daemon.port()) + ",";
    std::vector<std::string> known = split(
        read_file(CAMRCD_SOURCE_DIR "/tests/tools/data/info_type" + std::to_string(type) + ".json"),
        "\"connect_port\":CONNECT_PORT,\"control_port\":CONTROL_PORT,");
    ASSERT_EQ(known.size(), 2u);
    EXPECT_EQ(run.out, known[0] + ports + known[1]);
    EXPECT_NE(run_camrc(daemon.port(), {"info"}).out.find("\nmac_address: 00:a0:b1:c2:d3:e4\n"),
              std::string::npos);
  }
}

// Each line of data/writes.txt: the command, then what it must leave behind.
TEST(Camrc, WritesReachFilesAndPrograms) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  std::string map(4801, '\x07');
  map[0] = 'P';
  ASSERT_TRUE(write_text_file(daemon.root() + "/map.dat", map));
  std::ifstream cases(CAMRCD_SOURCE_DIR "/tests/tools/data/writes.txt");
  size_t count = 0;
  for (std::string line; std::getline(cases, line);) {
    std::vector<std::string> c = split(line, " | ");
    if (line[0] == '#' || c.size() != 5)
      continue;
    SCOPED_TRACE(c[0]);
    ++count;
    Args command = split(c[0], " "), call = split(c[3], " ");
    std::replace(command.begin(), command.end(), std::string("MAP"), daemon.root() + "/map.dat");
    clear_stub_logs(daemon.root());
    CamrcRun run = run_camrc(daemon.port(), command);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.err.find(c[4] == "-" ? "" : c[4]), std::string::npos) << run.err;
    std::string file = "\n" + read_file(daemon.web_path(c[1]));
    for (const std::string& expected : split(c[2], "; "))
      EXPECT_NE(file.find("\n" + expected + "\n"), std::string::npos) << expected << " in" << file;
    EXPECT_TRUE(wait_until(kDaemonWaitMs, [&] {  // programs run in the background log late
      for (const StubCall& made : read_stub_calls(daemon.root())) {
        if (made.program == call[0] && made.args.size() + 1 >= call.size() &&
            std::equal(call.rbegin(), call.rend() - 1, made.args.rbegin()))
          return true;
      }
      return false;
    })) << c[3];
  }
  EXPECT_EQ(count, 6u);
  EXPECT_EQ(read_file(daemon.web_path("kelda2/env_motion_block.dat")), map);
}

TEST(Camrc, FailuresHaveDistinctStatuses) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  const struct {
    bool full;  // five users already logged in
    uint16_t port;
    Args login, command;
    int status;
    std::string message;
  } cases[] = {
      {false, daemon.port(), {"demo", "camera2"}, {"info"}, 4, "wrong password"},
      {false, daemon.port(), {"nemo", "camera1"}, {"info"}, 4, "no such user"},
      {false, free_tcp_port(), {"demo", "camera1"}, {"info"}, 3, "refused or unreachable"},
      {false, daemon.port(), {"demo", "x"}, {"picture", "--brightness", "300"}, 2, "--brightness"},
      {false, daemon.port(), {}, {"info"}, 2, "--user"},
      {true, daemon.port(), {"demo", "camera1"}, {"info"}, 5, "ended the connection"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    std::vector<int> held;
    for (int i = 0; c.full && i < 5; i++)
      held.push_back(daemon.login_client());
    CamrcRun run = run_camrc(c.port, c.command, c.login);
    EXPECT_EQ(run.status, c.status) << run.err;
    EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    for (int socket : held)
      close(socket);
  }
}

}  // namespace
}  // namespace camrcd
