// The list wrapper: Qt would select item 0 when the first item arrives and
// report index changes caused by adding and removing; the tool must see
// neither.
#include "VktComboBox.h"

#include <QSignalBlocker>

VktComboBox::VktComboBox(QWidget* parent) : QComboBox(parent) {
  connect(this, &QComboBox::currentIndexChanged, this, [this](int index) {
    if (!quiet_) emit SelectionDidChange(index);
  });
}

void VktComboBox::RemoveAllItems() {
  quiet_ = true;
  clear();
  quiet_ = false;
}

void VktComboBox::AddItem(const QString& text) { AddItems(QStringList{text}); }

void VktComboBox::AddItems(const QStringList& texts) {
  quiet_ = true;
  const int selected = currentIndex();
  addItems(texts);
  if (currentIndex() != selected) setCurrentIndex(selected);
  quiet_ = false;
}

void VktComboBox::SelectItemAtIndex(int index) {
  if (index < -1 || index >= count()) index = -1;
  if (index == currentIndex()) {
    emit SelectionDidChange(index);
    return;
  }
  setCurrentIndex(index);  // notifies through currentIndexChanged
}

QString VktComboBox::ObjectValueOfSelectedItem() const {
  if (currentIndex() < 0) return QString();
  return currentText();
}
