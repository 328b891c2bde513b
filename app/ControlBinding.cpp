// The binding between widget-free controls and Qt widgets.
#include "ControlBinding.h"

#include <QAbstractButton>
#include <QLineEdit>
#include <QStringList>
#include <memory>

#include "ListControl.h"
#include "VktComboBox.h"

namespace control_binding {

void BindList(ListControl& control, VktComboBox* widget) {
  // While the widget is brought in line with the control, its own
  // notifications are not the user's and go nowhere.
  auto syncing = std::make_shared<bool>(false);
  auto show = [&control, widget, syncing] {
    *syncing = true;
    QStringList items;
    for (const std::string& item : control.Items()) items << QString::fromStdString(item);
    QStringList shown;
    for (int i = 0; i < widget->NumberOfItems(); ++i) shown << widget->ItemAt(i);
    if (shown != items) {
      widget->RemoveAllItems();
      widget->AddItems(items);
    }
    if (widget->IndexOfSelectedItem() != control.IndexOfSelectedItem())
      widget->SelectItemAtIndex(control.IndexOfSelectedItem());
    widget->setEnabled(control.IsEnabled());
    *syncing = false;
  };
  control.Observe(show);
  QObject::connect(widget, &VktComboBox::SelectionDidChange, widget, [&control, syncing](int index) {
    if (!*syncing) control.SelectItemAtIndex(index);
  });
  show();
}

void BindCheckBox(ToggleControl& control, QAbstractButton* widget, std::function<void()> clicked) {
  auto show = [&control, widget] {
    widget->setEnabled(control.IsEnabled());
    widget->setChecked(control.IsChecked());
  };
  control.Observe(show);
  // clicked, not toggled: only the user's clicks count as a change.
  QObject::connect(widget, &QAbstractButton::clicked, widget, [&control, widget, clicked](bool) {
    control.SetChecked(widget->isChecked());
    if (clicked) clicked();
  });
  show();
}

void BindButton(ToggleControl& control, QAbstractButton* widget, std::function<void()> clicked) {
  auto show = [&control, widget] { widget->setEnabled(control.IsEnabled()); };
  control.Observe(show);
  QObject::connect(widget, &QAbstractButton::clicked, widget, [clicked](bool) { clicked(); });
  show();
}

void BindText(TextControl& control, QLineEdit* widget, std::function<void(const std::string&)> edited) {
  auto show = [&control, widget] {
    const QString text = QString::fromStdString(control.Text());
    if (widget->text() != text) widget->setText(text);
    widget->setEnabled(control.IsEnabled());
  };
  control.Observe(show);
  // textEdited: the user's edits only; the program's setText above is not one.
  QObject::connect(widget, &QLineEdit::textEdited, widget,
                   [edited](const QString& text) { edited(text.toStdString()); });
  show();
}

}  // namespace control_binding
