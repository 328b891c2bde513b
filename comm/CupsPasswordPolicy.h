// The tool never asks for a CUPS password.
#pragma once

// Installs a libcups password callback that answers none, for the calling
// thread (libcups keeps the callback per thread). Without it libcups asks on
// the controlling terminal ("Password for USER on HOST?") when the scheduler
// wants a login, and the window would hang on a prompt nobody sees; with it a
// user without rights gets the scheduler's refusal like any other failure.
void NeverAskForCupsPassword();
