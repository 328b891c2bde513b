// A list (combo box) that behaves like the system's pop-up lists: it can hold
// items with nothing selected, adding and removing items never selects or
// notifies, and every selection (the user's or the program's) notifies.
#pragma once

#include <QComboBox>
#include <QString>
#include <QStringList>

class VktComboBox : public QComboBox {
  Q_OBJECT
 public:
  explicit VktComboBox(QWidget* parent = nullptr);

  void RemoveAllItems();
  void AddItem(const QString& text);
  void AddItems(const QStringList& texts);
  // Selects the item at `index` (-1 for none) and notifies, even when the
  // index was already selected.
  void SelectItemAtIndex(int index);

  int IndexOfSelectedItem() const { return currentIndex(); }
  // The selected item's text; a null QString when nothing is selected.
  QString ObjectValueOfSelectedItem() const;
  int NumberOfItems() const { return count(); }
  QString ItemAt(int index) const { return itemText(index); }

 signals:
  // A selection changed, by the user or by SelectItemAtIndex.
  void SelectionDidChange(int index);

 private:
  bool quiet_ = false;  // true while items are added or removed
};
