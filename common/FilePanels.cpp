// The open panel shared by the tools tab and the save/restore window.
#include "FilePanels.h"

#include <chrono>

#include "Prompter.h"
#include "Waits.h"

std::string GetSelectedFilePath(Prompter& prompter, int kind, const std::string& directory,
                                const std::function<void(const std::string&)>& chosen) {
  Prompter::FilePanel panel;
  panel.directory = directory;
  switch (kind) {
    case 1:
      panel.title = "Select Firmware File";
      panel.types = {"bin", "BIN"};
      break;
    case 2:
      panel.title = "Select PRN File";
      panel.types = {"prn", "PRN"};
      break;
    case 3:
      panel.title = "Select Settings File";
      panel.types = {"plist", "PLIST"};
      break;
    default:
      break;
  }
  std::string path = prompter.ChooseFileToOpen(panel);
  if (chosen) chosen(path);
  if (!path.empty()) Waits::Current().RunEventLoop(std::chrono::milliseconds(1000));
  return path;
}
