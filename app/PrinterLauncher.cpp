// The chooser's listing rule and its buttons.
#include "PrinterLauncher.h"

#include <QApplication>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QScreen>
#include <QTableWidget>
#include <QVBoxLayout>

#include "CardQueues.h"
#include "DeviceCommunication.h"
#include "Log.h"
#include "ui_PrinterLauncher.h"

PrinterLauncher::PrinterLauncher(Prompter& prompter, QWidget* parent)
    : QDialog(parent), prompter_(prompter), ui_(std::make_unique<Ui::PrinterLauncher>()) {
  ui_->setupUi(this);
  ui_->nsTableView->horizontalHeader()->setObjectName("TableViewHeader");
  ui_->nsTableView->horizontalHeader()->setStretchLastSection(true);
  ui_->nsTableView->verticalHeader()->hide();
  ui_->nsTableView->setSelectionBehavior(QAbstractItemView::SelectRows);
  ui_->nsTableView->setSelectionMode(QAbstractItemView::SingleSelection);
  ui_->nsTableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
  // The table takes the keyboard: the arrow keys choose a row, Return selects it.
  ui_->nsTableView->setFocusPolicy(Qt::StrongFocus);
  ui_->nsTableView->setFocus();
  connect(ui_->nsTableView, &QTableWidget::itemSelectionChanged, this, [this] { tableViewSelectionDidChange(); });
  connect(ui_->nsTableView, &QTableWidget::activated, this, [this] { OnClickSelectBtn(); });
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
  return card_queues::IsSupportedPCFileName(pcFileName);
}

bool PrinterLauncher::IsSupportedScheme(const std::string& scheme) { return card_queues::IsSupportedScheme(scheme); }

void PrinterLauncher::ListAvailablePrinter() {
  PrinterName = card_queues::List();
  _content.clear();
  for (size_t row = 0; row < PrinterName.size(); ++row) _content.push_back(StringPrintf("Item %ld", static_cast<long>(row)));
  ReloadTable();
}

void PrinterLauncher::ReloadTable() {
  QTableWidget* table = ui_->nsTableView;
  table->clearSelection();  // a refreshed list has no row chosen
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
  // Select is offered only while a row is chosen (a refreshed list has none).
  ui_->selectbtn->setEnabled(!ui_->nsTableView->selectionModel()->selectedRows().isEmpty());
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
