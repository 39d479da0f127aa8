// End-to-end writes of the stream class, each on a fresh daemon (a video, MPEG or
// JPEG action marks the stream restarted for the rest of the process): the record
// fields, the rewritten files and the programs run; the writer's connection, another
// already logged in and a later one each end after their current request. A video
// write of the current value ends only the writer's connection, without a reply.
#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <vector>

#include "client/client_request.h"
#include "client/client_socket.h"
#include "platform/dev_root.h"
#include "support/daemon_harness.h"
#include "support/e2e_clients.h"
#include "support/e2e_requests.h"
#include "support/stub_log.h"

namespace camrcd {
namespace {

// The stream actions pause 1 s before their last program.
constexpr int kStreamWriteMs = 4000;

struct FileChange {
  const char* file;     // below the web root
  const char* written;  // its whole new text, or nullptr: its old text with `edits`
  LineEdits edits;
};

struct StreamCase {
  const char* name;
  std::function<void(const std::string& web)> prepare;  // nullptr: the sandbox as made
  uint8_t sub;
  BytePatches fields;
  BytePatches changed;  // record view bytes that change
  std::vector<FileChange> files;
  std::vector<CallWords> calls;
};

const CallWords kShutdown = {"allshutdown_exweb"};
const CallWords kVideoRun = {"kd_video_run"};

const StreamCase kCases[] = {
    {"mpeg, rate control off: the bitrate bytes are ignored",
     nullptr,
     kSubMpeg,
     {{4, bytes({1, 0, 1, 12, 0x00, 0x04})}},
     {{48, bytes({1})}, {50, bytes({1, 12})}},
     {{"kelda2/env_mpeg.ls",
       nullptr,
       {{"enable = on", "enable = off"},
        {"cbr = on", "cbr = off"},
        {"quality = 7", "quality = 12"}}}},
     {{"kd_stream_rerun"}}},
    {"mpeg of zeros while rate control is on: bitrate 0",
     nullptr,
     kSubMpeg,
     {},
     {{52, bytes({0, 0, 0, 0})}},
     {{"kelda2/env_mpeg.ls", nullptr, {{"bitrate = 768", "bitrate = 0"}}}},
     {{"kd_stream_rerun"}}},
    {"jpeg of zeros, file missing at start-up, resolution 2: the defaults with src ed",
     [](const std::string& web) {
       unlink((web + "kelda2/env_jpeg.ls").c_str());
       std::string video = web + "kelda2/env_video.ls";
       write_text_file(video, with_lines(file_text(video), {{"DD_RES = quadvga", "DD_RES = vga"}}));
     },
     kSubJpeg,
     {},
     {},
     {{"kelda2/env_jpeg.ls",
       "enable = on\nsrc = ed\nhttp = off\nformat = 422\nqfactor = 50\nhuffmandcy = 1\n"
       "huffmandcc = 1\nhuffmanacy = 1\nhuffmanacc = 1\nframeskip = 0\ndri = 40\nport = 8008\n"
       "packetsize = 1460\nend\n",
       {}}},
     {{"kd_stream_rerun"}}},
    {"video resolution 1 to 2: video and jpeg files, NT VGA script",
     nullptr,
     kSubVideoResolution,
     {{4, bytes({2})}},
     {{47, bytes({2})}},
     {{"kelda2/env_video.ls", nullptr, {{"DD_RES = quadvga", "DD_RES = vga"}}},
      {"kelda2/env_jpeg.ls", nullptr, {{"src = dd", "src = ed"}}}},
     {kShutdown, {"write_NTVGA_tvsystem"}, kVideoRun}},
    {"video resolution 5 is not accepted: nothing saved, the video action runs",
     nullptr,
     kSubVideoResolution,
     {{4, bytes({5})}},
     {},
     {{"kelda2/env_video.ls", nullptr, {}}, {"kelda2/env_jpeg.ls", nullptr, {}}},
     {kShutdown, {"write_NTQVGA_tvsystem"}, kVideoRun}},
    {"stream settings: resolution 3, bitrate 0 while rate control is on, quality 70",
     nullptr,
     kSubStreamSettings,
     {{4, bytes({3, 0, 0, 0, 0, 0, 0, 0, 70})}},
     {{47, bytes({3})}, {52, bytes({0, 0, 0, 0})}, {57, bytes({70})}},
     {{"kelda2/env_video.ls",
       nullptr,
       {{"DD_RES = quadvga", "DD_RES = vga"}, {"ED_RES = vga", "ED_RES = qvga"}}},
      {"kelda2/env_jpeg.ls", nullptr, {{"src = dd", "src = ed"}, {"qfactor = 50", "qfactor = 70"}}},
      {"kelda2/env_mpeg.ls", nullptr, {{"bitrate = 768", "bitrate = 0"}}}},
     {kShutdown, {"write_NTVGA_tvsystem"}, kVideoRun}},
};

// True when the connection answers one record view and then ends.
bool served_once_then_ended(int s, Reply* view) {
  return record_view(s, view) && client_wait_closed(s, kDaemonWaitMs);
}

TEST(EndToEndStreamWrites, FieldsFilesProgramsAndEveryConnectionEnds) {
  for (const StreamCase& c : kCases) {
    SCOPED_TRACE(c.name);
    DaemonOptions options;
    if (c.prepare)
      options.prepare = [&c](const std::string& root) { c.prepare(root + kWebRoot + "/"); };
    DaemonHarness daemon(options);
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    int writer = daemon.login_client();
    int other = daemon.login_client();
    ASSERT_TRUE(writer >= 0 && other >= 0);
    Reply before, after;
    ASSERT_TRUE(record_view(writer, &before));
    std::vector<std::string> old_texts;
    for (const FileChange& f : c.files)
      old_texts.push_back(file_text(daemon.web_path(f.file)));

    ASSERT_EQ(0, send_request(writer, make_patched_request(kClassStream, c.sub, c.fields)));
    EXPECT_TRUE(client_wait_closed(writer, kStreamWriteMs)) << "the writer was not closed";
    EXPECT_TRUE(served_once_then_ended(other, &after)) << "the other connection";
    EXPECT_EQ("", byte_differences(patched_reply(before, c.changed), reply_bytes(after)));
    int later = daemon.login_client();
    ASSERT_GE(later, 0);
    EXPECT_TRUE(served_once_then_ended(later, &after)) << "a later connection";

    for (size_t i = 0; i < c.files.size(); i++) {
      const FileChange& f = c.files[i];
      std::string expected = f.written != nullptr ? f.written : with_lines(old_texts[i], f.edits);
      EXPECT_EQ(expected, file_text(daemon.web_path(f.file))) << f.file;
    }
    EXPECT_EQ(c.calls, stub_call_words(daemon.root(), c.calls.size()));
    close(writer);
    close(other);
    close(later);
  }
}

// The current resolution again: the writer's connection ends at once without a
// reply; nothing is saved or run and the stream is not marked restarted, so the other
// connection goes on being served.
TEST(EndToEndStreamWrites, VideoWriteOfTheCurrentValueEndsOnlyTheWriter) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int writer = daemon.login_client();
  int other = daemon.login_client();
  ASSERT_TRUE(writer >= 0 && other >= 0);
  std::string video = file_text(daemon.web_path("kelda2/env_video.ls"));
  RequestHeader write = make_patched_request(kClassStream, kSubVideoResolution, {{4, bytes({1})}});
  ASSERT_EQ(0, send_request(writer, write));
  EXPECT_TRUE(client_wait_closed(writer, kDaemonWaitMs));
  for (int i = 0; i < 2; i++)
    EXPECT_TRUE(info_served(other)) << "request " << i;
  EXPECT_TRUE(close_served(other));
  EXPECT_EQ(video, file_text(daemon.web_path("kelda2/env_video.ls")));
  EXPECT_TRUE(read_stub_calls(daemon.root()).empty());
  close(writer);
  close(other);
}

}  // namespace
}  // namespace camrcd
