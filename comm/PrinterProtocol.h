// The framing bytes every printer exchange shares.
#pragma once

namespace printer_protocol {

// Asks the printer for the reply of the command before it: ESC "E 2" CR.
inline constexpr char kReplyRequest[] = "\x1b" "E 2\r";
inline constexpr int kReplyRequestLength = 5;

}  // namespace printer_protocol
