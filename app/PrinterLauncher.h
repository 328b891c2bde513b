// PrinterLauncher: the printer chooser. Lists the CUPS queues that drive a
// supported card printer over USB or the printer's own socket scheme, and
// hands the chosen queue to start-up. Run modally with exec().
#pragma once

#include <QDialog>
#include <QStringList>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Prompter.h"

namespace Ui {
class PrinterLauncher;
}

class PrinterLauncher : public QDialog {
  Q_OBJECT
 public:
  explicit PrinterLauncher(Prompter& prompter, QWidget* parent = nullptr);
  ~PrinterLauncher() override;

  // Rebuilds the list from CUPS; the table keeps its last rows when no queue qualifies.
  void ListAvailablePrinter();
  int numberOfRowsInTableView() const { return static_cast<int>(_content.size()); }
  void tableViewSelectionDidChange();
  void OnClickSelectBtn();
  void OnClickCancelButton();
  void OnClickRefreshBtn() { ListAvailablePrinter(); }

  int32_t getcloseLauncher() const { return closeLauncher; }
  std::string getPrinterName() const { return selectedPrinterName; }
  const std::vector<std::string>& PrinterNames() const { return PrinterName; }
  Ui::PrinterLauncher& ui() { return *ui_; }

  // Closing the window or pressing Escape is a cancel.
  void reject() override { OnClickCancelButton(); }

  // True when a queue with this PPD file and device URI belongs in the list.
  static bool IsSupportedPCFileName(const char* pcFileName);
  static bool IsSupportedScheme(const std::string& scheme);

 private:
  void windowDidLoad();
  void ReloadTable();

  Prompter& prompter_;
  std::unique_ptr<Ui::PrinterLauncher> ui_;
  std::vector<std::string> PrinterName;
  std::vector<std::string> _content;
  std::string selectedPrinterName;
  int32_t closeLauncher = -1;
};
