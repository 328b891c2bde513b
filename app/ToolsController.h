// The tools tab: test cards, card eject and cleaning, the command console,
// sending a raw PRN file and the firmware download.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "TestCardPrinter.h"
#include "ToolsContext.h"

class AppDelegate;

class ToolsController {
 public:
  // Draws and prints test card `kind` in the colours of driver ribbon index
  // `ribbonIndex`, both sides when `dualSide`. Replaceable so tests need no
  // print system.
  using TestCardPrint = std::function<TestCardPrinter::Result(int kind, int ribbonIndex, bool dualSide)>;

  explicit ToolsController(AppDelegate& app);

  // ---- test cards ----
  void PrintTestCardBtn();
  void ProcessTestCard(int kind);
  void SetTestCardPrint(TestCardPrint print) { testCardPrint_ = std::move(print); }

  // ---- maintenance and console ----
  void EjectCardBtn();
  void CleanBtnclicked();
  void ExecuteBtnClick();

  // ---- PRN files ----
  void PRNSelectBtnClicked();
  void PRNSendBtnClicked();

  // ---- firmware ----
  void SelectFileBtnClicked();
  void ShowFmDetails();
  void DownloadFwBtnClicked();

  // The open panel for one file of kind 1 (firmware), 2 (PRN) or 3 (settings
  // file); the empty text when cancelled.
  std::string GetSelectedFilePath(int kind);

  // A firmware download is under way: the session must stay until it ends.
  bool Busy() const { return downloading_; }
  // Runs `action` once the download under way has ended (each one asked for, in order).
  void WhenIdle(std::function<void()> action) { whenIdle_.push_back(std::move(action)); }

 private:
  ToolsContext Context() const;
  TestCardPrinter::Result PrintWithCups(int kind, int ribbonIndex, bool dualSide);
  // The progress bar under the console's result line, for long sends.
  void BeginProgress(long long total);
  void AdvanceProgress(long long sent);
  void EndProgress();

  AppDelegate& app_;
  TestCardPrint testCardPrint_;
  long long progressTotal_ = 0;
  bool downloading_ = false;
  std::vector<std::function<void()>> whenIdle_;
};
