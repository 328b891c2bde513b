// A separate process that asks a USB printer for its firmware through the USB
// transport; run under vkt-usb-printer it proves the emulated printer reaches
// child processes too. Exit status 0 only when a reply came back.
#include <cstdio>

#include "USBCommunication.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: usb_probe SERIAL\n");
    return 2;
  }
  USBCommunication usb(argv[1], std::chrono::milliseconds(2000));
  usb.SendDataToPrinter("\x1bV\r", 3);
  usb.SendDataToPrinter("\x1b" "E 2\r", 5);
  ReplyBuffer reply;
  int count = usb.GetDataFromPrinter(&reply);
  if (count <= 0) {
    std::printf("status %u, no reply\n", usb.GetDeviceStatus());
    return 1;
  }
  std::printf("status %u, firmware [%.*s]\n", usb.GetDeviceStatus(), count, reply.get());
  return 0;
}
