// What the magnetic-encoder models need from the program that runs them.
#pragma once

#include <string>

#include "Prompter.h"

class DeviceCommunication;

struct EncoderContext {
  DeviceCommunication* session = nullptr;  // null: there is no printer to talk to
  Prompter& prompter;
  std::string icon;         // the icon of alerts (the window's application icon)
  std::string printerName;  // the queue: the title of the track alerts and of the card question
};
