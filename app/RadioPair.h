// Two radio buttons that exclude each other when the user clicks one, but
// that the program may also switch both off (a reply naming neither choice).
#pragma once

#include <QObject>

class QRadioButton;

class RadioPair : public QObject {
  Q_OBJECT
 public:
  RadioPair(QRadioButton* first, QRadioButton* second, QObject* parent = nullptr);

  // Deselects both, then selects the first (row 0, column 0 of the matrix).
  void SelectFirst();
  void SetStates(bool firstOn, bool secondOn);
  bool FirstOn() const;
  bool SecondOn() const;

 private:
  QRadioButton* first_;
  QRadioButton* second_;
};
