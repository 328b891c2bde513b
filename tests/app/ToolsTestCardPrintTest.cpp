// The console's test-card shortcut through the sandbox's private cupsd: the
// card travels cupsd -> backend -> the queue's emulator, and the shortcut
// itself never reaches the printer.
#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "AppTestSupport.h"
#include "RecordingWaits.h"
#include "SandboxEnv.h"
#include "ScriptedPrompter.h"
#include "ui_MainWindow.h"

namespace {

namespace fs = std::filesystem;

std::set<std::string> FilesIn(const std::string& dir) {
  std::set<std::string> names;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(dir, error)) names.insert(entry.path().string());
  return names;
}

// A PDF the emulator captured after `before` was listed, waiting up to about 20 s.
std::string NewPdfCapture(const std::string& dir, const std::set<std::string>& before) {
  for (int round = 0; round < 400; ++round) {
    for (const std::string& file : FilesIn(dir)) {
      if (!before.count(file) && fs::path(file).extension() == ".pdf") return file;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return {};
}

// What pdfinfo says about a file.
std::string PdfInfo(const std::string& path) {
  std::string output;
  std::FILE* pipe = popen(("pdfinfo '" + path + "' 2>&1").c_str(), "r");
  if (!pipe) return output;
  char buffer[512];
  while (std::fgets(buffer, sizeof buffer, pipe)) output += buffer;
  pclose(pipe);
  return output;
}

TEST(ToolsTestCardPrint, ConsoleShortcutPrintsTheParameterCardThroughCups) {
  ASSERT_TRUE(vkt_sandbox::Require());
  app_test::EnsureApplication();
  QTemporaryDir folder;
  ASSERT_TRUE(folder.isValid());
  const std::string root = folder.path().toStdString();
  setenv("XDG_RUNTIME_DIR", root.c_str(), 1);  // the card PDFs go to the user's private folder
  std::ofstream(root + "/os-release") << "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n";

  RecordingWaits waits;
  ScriptedPrompter prompter;
  AppDelegate::Seams seams;
  seams.queue = "Card";
  seams.documentsFolder = root;
  seams.osReleasePath = root + "/os-release";
  seams.redirectLog = false;
  seams.quit = [] {};
  AppDelegate app(prompter, std::move(seams));
  ASSERT_EQ(app.applicationDidFinishLaunching(), AppDelegate::StartupResult::kReady);
  prompter.prompts.clear();

  const std::string captures = vkt_sandbox::Var("VKT_EMU_CAPTURE_Card");
  const std::string transcript = vkt_sandbox::Var("VKT_EMU_TRANSCRIPT_Card");
  ASSERT_FALSE(captures.empty());
  const std::set<std::string> before = FilesIn(captures);
  const size_t transcriptBefore = app_test::ReadFile(transcript).size();

  app.ui().cmdTextField->setText("A 1");
  app.ui().ExecuteBtn->click();
  EXPECT_EQ(app.ui().PrintStatus->text(), "<ACK>");
  EXPECT_TRUE(prompter.prompts.empty());

  const std::string capture = NewPdfCapture(captures, before);
  ASSERT_FALSE(capture.empty()) << "no test card reached the emulator";
  const std::string info = PdfInfo(capture);
  const size_t pages = info.find("Pages:");
  ASSERT_NE(pages, std::string::npos) << info;
  EXPECT_EQ(std::atoi(info.c_str() + pages + 6), 2) << info;  // a Series 32 prints both sides
  EXPECT_NE(info.find("245.8 x 153.6 pts"), std::string::npos) << info;

  // The parameter card asked the printer for its settings; "A 1" itself was never sent.
  const std::string sent = app_test::ReadFile(transcript).substr(transcriptBefore);
  EXPECT_NE(sent.find("!V 3"), std::string::npos);
  // (The transcript writes ESC as \x1b; a PDF may well hold the letters "A 1" elsewhere.)
  const size_t shortcut = sent.find("\\x1bA 1");
  EXPECT_EQ(shortcut, std::string::npos) << sent.substr(shortcut == std::string::npos ? 0 : shortcut, 80);
  // The tool has its connection back.
  EXPECT_FALSE(app.ui().SerialNum->text().isEmpty());
  EXPECT_EQ(app.objDev()->GetSerialNumber(), app.ui().SerialNum->text().toStdString());
}

}  // namespace
