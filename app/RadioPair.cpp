// The coercivity pair: an exclusive QButtonGroup could never show both off.
#include "RadioPair.h"

#include <QRadioButton>

RadioPair::RadioPair(QRadioButton* first, QRadioButton* second, QObject* parent)
    : QObject(parent), first_(first), second_(second) {
  first_->setAutoExclusive(false);
  second_->setAutoExclusive(false);
  // A click always leaves the clicked button on and the other off.
  connect(first_, &QRadioButton::clicked, this, [this] { SetStates(true, false); });
  connect(second_, &QRadioButton::clicked, this, [this] { SetStates(false, true); });
}

void RadioPair::SelectFirst() { SetStates(true, false); }

void RadioPair::SetStates(bool firstOn, bool secondOn) {
  first_->setChecked(firstOn);
  second_->setChecked(secondOn);
}

bool RadioPair::FirstOn() const { return first_->isChecked(); }
bool RadioPair::SecondOn() const { return second_->isChecked(); }
