// Binds a model's controls to the window's widgets: the widget shows the
// control, and the user's changes of the widget go to the control.
#pragma once

#include <functional>
#include <string>

class ListControl;
class TextControl;
class ToggleControl;
class VktComboBox;
class QAbstractButton;
class QLineEdit;

namespace control_binding {

// The list widget shows the control's items, selection and enabled state; a
// selection made on the widget (by the user, or by a test) selects in the
// control, which runs the control's handlers.
void BindList(ListControl& control, VktComboBox* widget);

// The check box shows the control's state; the user's click sets the control
// and then runs `clicked`.
void BindCheckBox(ToggleControl& control, QAbstractButton* widget, std::function<void()> clicked = {});

// The button's enabled state follows the control; a click runs `clicked`.
void BindButton(ToggleControl& control, QAbstractButton* widget, std::function<void()> clicked);

// The line edit shows the control's text and enabled state; the user's edits
// (not the program's) go to `edited` with the widget's new text, which
// decides what the control keeps.
void BindText(TextControl& control, QLineEdit* widget, std::function<void(const std::string&)> edited);

}  // namespace control_binding
