// What the printer-tools models need from the program that runs them.
#pragma once

#include <string>

#include "Prompter.h"

class DeviceCommunication;

struct ToolsContext {
  DeviceCommunication* session = nullptr;  // null: there is no printer to talk to
  Prompter& prompter;
  std::string icon;  // the icon of alerts (the window's application icon)
};
