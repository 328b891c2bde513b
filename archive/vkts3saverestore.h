// vkts3saverestore: the settings-archive window. Saves the printer's settings
// and the driver's settings of the queue to property-list files and restores
// them, showing the last file saved or chosen.
#pragma once

#include <QDialog>
#include <memory>
#include <string>

#include "PPDHelper.h"
#include "Prompter.h"
#include "SaveRestoreHost.h"

namespace Ui {
class vkts3saverestore;
}

class vkts3saverestore : public QDialog {
  Q_OBJECT
 public:
  // The window is ready to run once constructed: the PPD path is given and
  // windowDidLoad has run. `documentsFolder` empty means the user's
  // Documents folder as the desktop reports it.
  vkts3saverestore(const std::string& ppdPath, std::unique_ptr<SaveRestoreHost> host, QWidget* parent = nullptr,
                   const std::string& documentsFolder = {});
  ~vkts3saverestore() override;

  void SetPPDFileName(const std::string& path) { strPPDFileName = path; }
  void windowDidLoad();

  // The save panel titled `title`; ".plist" is appended unless the chosen
  // path holds it anywhere (any case). Empty when cancelled.
  std::string SaveFile(const std::string& title);
  // The open panel for one file of kind 1 (firmware, .bin), 2 (PRN file,
  // .prn) or 3 (settings, .plist); empty when cancelled. After a choice the
  // event loop runs for a second so the panel can close.
  static std::string GetSelectedFilePath(Prompter& prompter, int kind, const std::string& directory = {});
  std::string GetSelectedFilePath(int kind);
  void DisplayContentsofPlistFile(const std::string& path);

  void PrinterSettingSaveButton();
  void PrinterSettingsRestoreButton();
  void DriverSettingSaveButton();
  void DriverSettingsRestoreButton();
  // The driver restore. Returns 1 when both PPD saves were made, 0 when the
  // file was refused (the user was told why; the PPD is untouched), -1 when
  // a PPD save failed (logged by the PPD model).
  int UpdateDriverSettingsFromFile(const std::string& path);
  void SaveRestoreCloseBtn();

  PPDHelper* oPPDHelper() { return oPPDHelper_.get(); }
  const std::string& defaultDirectoryPath() const { return defaultDirectoryPath_; }

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  std::unique_ptr<Ui::vkts3saverestore> ui_;
  std::unique_ptr<SaveRestoreHost> host_;
  std::unique_ptr<PPDHelper> oPPDHelper_;
  std::string strPPDFileName;
  std::string documentsFolder_;
  std::string defaultDirectoryPath_;
};
