// Clean-up of one printer reply before it is shown: drops the reply's
// terminator, and turns the printer's error form into the empty text.
#pragma once

#include <string>

// An empty reply stays empty; NAK, two characters and EOT (the error form)
// becomes empty; any other reply loses its last character (the terminator).
void ClearErrorInBuffer(std::string& reply);
