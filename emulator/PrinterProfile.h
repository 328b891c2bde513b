// One emulated printer's identity, settings, card and faults, and the reader
// of the "key = value" profile files that describe it (emulator/profiles/).
#pragma once

#include <map>
#include <string>
#include <vector>

// A fault or reply rule is keyed by a command pattern: it applies to a
// command whose text equals the pattern or starts with the pattern and a
// blank ("!V" covers "!V 15" and "!V 3", "+O" covers "+O" and "+O 5" but
// not "+OY").
struct PrinterProfile {
  // Identity.
  std::string model = "VKTS32";                  // "VKTS32", "VKTS31", "VKTS1", "VKTS3C"
  std::string firmware = "VKT32-M V1.02.03.016";  // reply text of ESC "V" CR
  std::string serial = "S32000001";               // reply of ESC "%SERIE" CR

  // Counters and printer values, as reply texts.
  std::string headResistance = "2950";  // "!V 15"
  long panelsPrinted = 1234;            // "!NL" (with printerErrors)
  long printerErrors = 0;
  int ribbonCode = 43;                  // "!RIBBON"
  long ribbonRemaining = 120;           // "!RIBLEN": remaining,capacity
  long ribbonCapacity = 200;
  std::string blackContrast = "5";      // "!V 3"
  std::string blackSpeed = "3";         // "!V 16"
  std::string varnishContrast = "4";    // "!V 4"
  std::string varnishSpeed = "2";       // "!V 17"
  std::string edgeCount = "17";         // "+EC"
  std::string ribbonBrake = "12 0";     // "+BR"
  std::string speedSettings = "MS 5 3 0 0 0 0 0 0 10 8";  // "$V" (eleven words)
  std::string lineEnd = "12";           // "+DL"
  std::string headNumber = "H0815";     // "%HEAD"

  // Settings that commands change.
  int offsetFrontX = 0;  // "+O"
  int offsetFrontY = 0;  // "+OY"
  int offsetBackX = 0;   // "+OB"
  int offsetBackY = 0;   // "+OYB"
  int feederMode = 0;    // "ATM 1 1" reads it, "ATM 0|1|2" sets it

  // Magnetic encoder. Without one, every encoder command gets the error form.
  bool hasEncoder = true;
  std::string trackWrite[3] = {"A", "B", "C"};  // "&CDEW t X"
  std::string trackRead[3] = {"Q", "R", "S"};   // "&CDER t X"
  int trackDensity[3] = {210, 75, 210};         // "&D t 210|75"
  std::string trackSentinel[3] = {"%", ";", ";"};
  bool highCoercivity = true;                   // "&C 1|0"
  std::string encoderWriteSpeed = "12";
  std::string encoderReadSpeed = "10";
  std::string trackBuffer[3];  // "&B t data", encoded onto the card by "&E*"
  std::string cardTrack[3];    // the card in the encoder, read by "&L1".."&L3"

  // Behaviour of the link.
  std::string replyTerminator = "\r";  // ends every value reply...
  // ...except the firmware text: the tool decides the model by the length of
  // that text as received, so it arrives exactly as written.
  std::string firmwareTerminator;
  int resetRefuseMs = 500;             // "R" and firmware: refuse connections this long
  int rawIdleMs = 300;                 // raw data inside a command connection ends after this quiet time

  // Exact reply bytes per command pattern (replaces the value or ACK).
  std::map<std::string, std::string> replyOverrides;
  // Faults per command pattern.
  std::map<std::string, int> nakCommands;      // pattern -> how many times (0 = always)
  std::vector<std::string> silentCommands;     // no reply at all, not even to "E 2"
  std::map<std::string, int> commandDelayMs;   // pattern -> delay of its reply
  int delayMs = 0;                             // delay of every reply
  long closeAfterBytes = 0;                    // drop a connection after it received this many bytes (0 = never)
  int closeAfterTimes = 0;                     // ...for this many connections (0 = every one)
};

// Reads a profile text over the defaults above. On failure returns false and
// names the line in `error`.
bool ParsePrinterProfile(const std::string& text, PrinterProfile* out, std::string* error);
// Reads a profile file (see emulator/profiles/README.md).
bool LoadPrinterProfile(const std::string& path, PrinterProfile* out, std::string* error);

// The profile's escape syntax: \xHH, \r, \n, \t, \e, \0, \\ .
// DecodeEscapes fails (returns false) on a malformed escape.
bool DecodeEscapes(const std::string& text, std::string* out);
// Printable ASCII stays as it is, a backslash becomes "\\", every other byte "\xhh".
std::string EncodeEscapes(const std::string& bytes);

// True when a fault or reply rule keyed `pattern` applies to `command`.
bool CommandMatches(const std::string& pattern, const std::string& command);
