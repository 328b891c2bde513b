// The chooser's listing rule and its buttons.
#include "PrinterLauncher.h"

// libcups marks its PPD calls deprecated; they remain the way to read a PPD.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

#include <cups/cups.h>
#include <cups/ppd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QScreen>
#include <QTableWidget>
#include <QVBoxLayout>
#include <cstring>

#include "DeviceCommunication.h"
#include "Log.h"
#include "ui_PrinterLauncher.h"

namespace {

struct PpdCloser {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using PpdFile = std::unique_ptr<ppd_file_t, PpdCloser>;

struct DestList {
  int count = 0;
  cups_dest_t* dests = nullptr;
  DestList() { count = cupsGetDests(&dests); }
  ~DestList() { cupsFreeDests(count, dests); }
  DestList(const DestList&) = delete;
  DestList& operator=(const DestList&) = delete;
};

// The queue's PPD as the scheduler hands it out: a link to the installed file
// (local server) or a downloaded copy (remote server, unreadable file). The
// returned name is removed either way.
PpdFile OpenQueuePpd(const char* queue) {
  const char* returned = cupsGetPPD2(CUPS_HTTP_DEFAULT, queue);
  if (!returned) return nullptr;
  std::string path = returned;
  std::string target = path;
  struct stat info {};
  if (lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
    char buffer[1024] = {};
    ssize_t length = readlink(path.c_str(), buffer, sizeof(buffer) - 1);
    target = length > 0 ? std::string(buffer, static_cast<size_t>(length)) : std::string();
  }
  PpdFile ppd(target.empty() ? nullptr : ppdOpenFile(target.c_str()));
  unlink(path.c_str());
  return ppd;
}

}  // namespace

PrinterLauncher::PrinterLauncher(Prompter& prompter, QWidget* parent)
    : QDialog(parent), prompter_(prompter), ui_(std::make_unique<Ui::PrinterLauncher>()) {
  ui_->setupUi(this);
  ui_->nsTableView->horizontalHeader()->setObjectName("TableViewHeader");
  ui_->nsTableView->horizontalHeader()->setStretchLastSection(true);
  ui_->nsTableView->verticalHeader()->hide();
  ui_->nsTableView->setSelectionBehavior(QAbstractItemView::SelectRows);
  ui_->nsTableView->setSelectionMode(QAbstractItemView::SingleSelection);
  ui_->nsTableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
  ui_->nsTableView->setFocusPolicy(Qt::NoFocus);
  connect(ui_->nsTableView, &QTableWidget::itemSelectionChanged, this, [this] { tableViewSelectionDidChange(); });
  connect(ui_->selectbtn, &QPushButton::clicked, this, [this] { OnClickSelectBtn(); });
  connect(ui_->cancelbtn, &QPushButton::clicked, this, [this] { OnClickCancelButton(); });
  connect(ui_->refreshbtn, &QPushButton::clicked, this, [this] { OnClickRefreshBtn(); });
  windowDidLoad();
}

PrinterLauncher::~PrinterLauncher() = default;

void PrinterLauncher::windowDidLoad() {
  if (QScreen* screen = QGuiApplication::primaryScreen()) {
    move(screen->availableGeometry().center() - rect().center());
  }
  closeLauncher = -1;
  ui_->selectbtn->setEnabled(false);
  ListAvailablePrinter();
}

bool PrinterLauncher::IsSupportedPCFileName(const char* pcFileName) {
  if (!pcFileName) return false;
  for (const char* name : {"VKTS1.PPD", "VKTS31.PPD", "VKTS32.PPD", "VKTS32C.PPD"}) {
    if (std::strcmp(pcFileName, name) == 0) return true;
  }
  return false;
}

bool PrinterLauncher::IsSupportedScheme(const std::string& scheme) {
  // The session talks directly only over these two; ipp and dnssd queues are left out.
  return scheme == "usb" || scheme == "vkt3socket";
}

void PrinterLauncher::ListAvailablePrinter() {
  PrinterName.clear();
  _content.clear();
  {
    DestList list;
    for (int i = 0; i < list.count; ++i) {
      const cups_dest_t& dest = list.dests[i];
      PpdFile ppd = OpenQueuePpd(dest.name);
      if (!ppd || !IsSupportedPCFileName(ppd->pcfilename)) continue;
      const char* uri = cupsGetOption("device-uri", dest.num_options, dest.options);
      char scheme[255] = {}, user[255] = {}, host[1024] = {}, resource[1024] = {};
      int port = 0;
      if (uri) {
        httpSeparateURI(HTTP_URI_CODING_ALL, uri, scheme, sizeof(scheme), user, sizeof(user), host, sizeof(host),
                        &port, resource, sizeof(resource));
      }
      VktLog("The schme is %s\n", scheme);
      if (IsSupportedScheme(scheme)) PrinterName.push_back(dest.name);
    }
  }
  if (PrinterName.empty()) return;
  for (size_t row = 0; row < PrinterName.size(); ++row) _content.push_back(StringPrintf("Item %ld", static_cast<long>(row)));
  ReloadTable();
}

void PrinterLauncher::ReloadTable() {
  QTableWidget* table = ui_->nsTableView;
  table->clearContents();
  table->setRowCount(numberOfRowsInTableView());
  for (int row = 0; row < numberOfRowsInTableView(); ++row) {
    // Two labels per row: the row label above, the queue name below.
    auto* cell = new QWidget(table);
    auto* layout = new QVBoxLayout(cell);
    layout->setContentsMargins(6, 2, 6, 2);
    layout->setSpacing(0);
    auto* item = new QLabel(QString::fromStdString(_content[static_cast<size_t>(row)]), cell);
    auto* name = new QLabel(QString::fromStdString(PrinterName[static_cast<size_t>(row)]), cell);
    QFont bold = name->font();
    bold.setBold(true);
    name->setFont(bold);
    for (QLabel* label : {item, name}) {
      label->setAttribute(Qt::WA_TransparentForMouseEvents);  // a click selects the row
      layout->addWidget(label);
    }
    item->setObjectName(QStringLiteral("rowItem%1").arg(row));
    name->setObjectName(QStringLiteral("rowName%1").arg(row));
    table->setItem(row, 0, new QTableWidgetItem());
    table->setCellWidget(row, 0, cell);
    table->setRowHeight(row, 46);
  }
}

void PrinterLauncher::tableViewSelectionDidChange() {
  if (ui_->nsTableView->selectionModel()->selectedRows().isEmpty()) return;
  ui_->selectbtn->setEnabled(true);
}

void PrinterLauncher::OnClickSelectBtn() {
  const auto rows = ui_->nsTableView->selectionModel()->selectedRows();
  if (rows.isEmpty()) return;
  const size_t row = static_cast<size_t>(rows.first().row());
  if (row >= PrinterName.size()) return;
  selectedPrinterName = PrinterName[row];
  if (IsPrinterBusy(selectedPrinterName.c_str())) {
    prompter_.Show(selectedPrinterName, "The selcted printer is busy at the moment.", {"OK"},
                   Prompter::Level::kCaution);
    return;
  }
  done(QDialog::Accepted);
}

void PrinterLauncher::OnClickCancelButton() {
  closeLauncher = 1;
  for (QWidget* top : QApplication::topLevelWidgets()) {
    if (top != this) top->close();
  }
  done(QDialog::Rejected);
}
